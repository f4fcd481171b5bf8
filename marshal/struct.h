// Struct: the byte image of a native structure, built member by member, with
// a record per member that keeps its value (and, for an indirect member, the
// object its address points into) alive for as long as the Struct lives.
//
// `_data` holds the bytes; `_dataDict` maps each member name to its record,
// a vector of exactly four values made with room for four, so the address of
// element 1 never changes:
//   0 offset, 1 value, 2 size in bytes (1, 2, 4 or 8), 3 indirect flag.
#pragma once

#include "module/frame.h"

namespace structrec {

constexpr unsigned kOffset = 0;
constexpr unsigned kValue = 1;
constexpr unsigned kSize = 2;
constexpr unsigned kIndirect = 3;
constexpr unsigned kFields = 4;

// A new member record holding its four values (value moved in) in the
// vector's own room. Records of structures made and dropped again and again
// (a call's parameters, built anew for every call) take the places of
// records released before, a few of which wait for reuse instead of going
// back to the heap.
TulVector* newRecord(unsigned offset, TulValue&& value, unsigned size, bool indirect);

// The record of a dictionary entry, or null when the entry holds anything
// other than a well-formed record (a script may have replaced it).
TulVector* recordOf(const TulDictionaryEntry* e);

// Where an indirect member's address points now: into the nested Struct's
// bytes, or into what the record's value holds (a number, characters, bytes).
void* targetOf(TulVector* record);

}  // namespace structrec

// The read-back methods, bound with the others in struct_layout.cpp.
bool struct_getValue(TulVirtualMachine* vm, int argc, ValPtr& sp);
bool struct_getData(TulVirtualMachine* vm, int argc, ValPtr& sp);
bool struct_update(TulVirtualMachine* vm, int argc, ValPtr& sp);

// Struct: the byte image of a native structure, built member by member, with
// a record per member that keeps its value (and, for an indirect member, the
// object its address points into) alive for as long as the Struct lives.
//
// `_data` holds the bytes; `_dataDict` maps each member name to its record,
// a vector of exactly four values made with room for four, so the address of
// element 1 never changes:
//   0 offset, 1 value, 2 size in bytes (1, 2, 4 or 8), 3 indirect flag.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

#include "module/frame.h"

namespace structrec {

constexpr unsigned kOffset = 0;
constexpr unsigned kValue = 1;
constexpr unsigned kSize = 2;
constexpr unsigned kIndirect = 3;
constexpr unsigned kFields = 4;

// The records released lately, kept for reuse (see Record).
struct KeptRecord {
  KeptRecord* next;
};
extern KeptRecord* gKeptRecords;
extern unsigned gKeptRecordCount;
constexpr unsigned kKeptRecords = 64;

// A member record as the host sees it (a vector of four values), holding
// its values in the vector's own room. Records of structures made and
// dropped again and again (a call's parameters, built anew for every call)
// take the places of records released before, a few of which wait for reuse
// instead of going back to the heap. Made inline where members are added,
// as a structure makes them by the dozen. The host runs on one thread, so
// the kept list takes no lock.
class Record final : public TulVector {
 public:
  Record(unsigned offset, TulValue&& value, unsigned size, bool indirect)
      : TulVector(OwnRoom{}, kFields) {
    TulValue* v = data();
    new (v + kOffset) TulValue(static_cast<int>(offset));
    new (v + kValue) TulValue(std::move(value));
    new (v + kSize) TulValue(static_cast<int>(size));
    new (v + kIndirect) TulValue(indirect ? 1 : 0);
    setPlacedSize(kFields);
  }
  static void* operator new(std::size_t bytes) {
    if (KeptRecord* r = gKeptRecords) {
      gKeptRecords = r->next;
      --gKeptRecordCount;
      unpoisonKept(r, bytes);
      return r;
    }
    return ::operator new(bytes);
  }
  static void operator delete(void* p, std::size_t bytes);

 protected:
  void lastReleased() override;
  // A kept record's bytes past its link are poisoned for the address
  // sanitizer, so that a use after release is still caught.
  static void unpoisonKept(void* p, std::size_t bytes) {
#if defined(__SANITIZE_ADDRESS__)
    __asan_unpoison_memory_region(p, bytes);
#else
    (void)p;
    (void)bytes;
#endif
  }
};

inline TulVector* newRecord(unsigned offset, TulValue&& value, unsigned size, bool indirect) {
  return new Record(offset, std::move(value), size, indirect);
}

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

// Struct layout building: the constructor and the twelve adding methods,
// and the class table.
// Members lie at byte offsets without alignment; numbers are little-endian;
// an indirect member's 4 bytes hold the address of what its record keeps.
//
// Invariant: a reported error leaves the structure as it was: steps that can
// fail come before the first change, or undo it before the report.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

#include "marshal/struct.h"
#include "module/classes.h"
#include "module/errors.h"

using namespace structrec;

namespace {

// Bytes the structure's buffer has room for from the start: most structures
// handed to the system are smaller, so their bytes are allocated once.
constexpr unsigned kFirstRoom = 32;

enum class Kind { Int, Int8, Int16, Float, Double, IntPtr, FloatPtr, DoublePtr, String, CBuffer, Buffer, Struct };

struct KindInfo {
  unsigned width;  // bytes in _data
  bool indirect;
};

constexpr KindInfo info(Kind k) {
  switch (k) {
    case Kind::Int8: return {1, false};
    case Kind::Int16: return {2, false};
    case Kind::Int:
    case Kind::Float: return {4, false};
    case Kind::Double: return {8, false};
    default: return {4, true};
  }
}

// The hosts are little-endian: a number's first bytes in memory are its low
// ones, so they are copied as they lie.
static_assert(sizeof(std::uint32_t) == 4, "four bytes");
template <unsigned Width>
void writeLE(unsigned char* p, std::uint32_t v) {
  std::memcpy(p, &v, Width);
}

// The value a member of kind k keeps for the argument, or a report and Nil.
TulValue memberValue(Frame& f, Kind k, const TulValue& a) {
  switch (k) {
    case Kind::Int:
    case Kind::IntPtr: return TulValue(static_cast<int>(a));
    case Kind::Int8: return TulValue(static_cast<int>(static_cast<signed char>(static_cast<int>(a) & 0xFF)));
    case Kind::Int16: return TulValue(static_cast<int>(static_cast<std::int16_t>(static_cast<int>(a) & 0xFFFF)));
    // A number of the member's own kind is kept as it is, without the
    // conversion's call.
    case Kind::Float:
    case Kind::FloatPtr:
      return a.type() == TulValueType::F32 ? TulValue(a) : TulValue(static_cast<float>(a));
    case Kind::Double:
    case Kind::DoublePtr:
      return a.type() == TulValueType::F64 ? TulValue(a) : TulValue(static_cast<double>(a));
    case Kind::String: {
      TulValue copy = a;
      TulString* s = f.interp().getStringFromValueExtern(copy);
      if (s) return TulValue(s);
      f.badType(a, TulValueType::String);
      return TulValue();
    }
    case Kind::CBuffer:
      if (a.type() == TulValueType::CharBuffer) return a;
      f.badType(a, TulValueType::CharBuffer);
      return TulValue();
    case Kind::Buffer:
      if (a.type() == TulValueType::Buffer) return a;
      f.badType(a, TulValueType::Buffer);
      return TulValue();
    case Kind::Struct: {
      if (!a.isObject()) {
        f.badType(a, TulValueType::Object);
        return TulValue();
      }
      TulObject* obj = static_cast<TulObject*>(a);
      if (isObjectOf(a, f.self()->getClass())) return a;
      f.fail(err::kNotAStruct, obj && obj->getClass() ? obj->getClass()->getName().c_str() : "");
      return TulValue();
    }
  }
  return TulValue();
}

// A direct member's bytes, from the value memberValue made for its kind.
template <Kind K>
void writeDirect(unsigned char* p, TulValue& value) {
  if constexpr (K == Kind::Float) {
    const float f = value.f32();
    std::memcpy(p, &f, sizeof f);
  } else if constexpr (K == Kind::Double) {
    const double d = value.f64();
    std::memcpy(p, &d, sizeof d);
  } else
    writeLE<info(K).width>(p, static_cast<std::uint32_t>(static_cast<int>(value)));
}

// The room doubled (at least to `need`) when the bytes run out of it, so
// that a structure built member by member is copied only a few times.
[[gnu::noinline]] bool growRoom(TulBuffer& data, unsigned need) {
  if (data.capacity() <= UINT32_MAX / 2 && !data.setSize(std::max(need, 2 * data.capacity())))
    return false;
  return data.setSize(need);
}

// Grows the bytes to `need`, zero-filled. False when the memory cannot be
// had (nothing changes then). Within the room, as most members are, it
// takes no call.
[[gnu::always_inline]] inline bool growBytes(TulBuffer& data, unsigned need) {
  if (need <= data.size()) return true;
  if (need <= data.capacity()) return data.setSize(need);
  return growRoom(data, need);
}

// A number's conversion neither fails nor runs script code.
constexpr bool isNumber(Kind k) {
  return k != Kind::String && k != Kind::CBuffer && k != Kind::Buffer && k != Kind::Struct;
}

// A new record for the member at `offset`, value moved in.
template <Kind K>
TulVector* makeRecord(unsigned offset, TulValue&& value) {
  const KindInfo kind = info(K);
  return newRecord(offset, std::move(value), kind.width, kind.indirect);
}

// Writes the member's bytes from its record.
template <Kind K>
void writeMember(TulVector& record, unsigned char* at) {
  if (info(K).indirect)
    writeLE<4>(at, static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(targetOf(&record))));
  else
    writeDirect<K>(at, record[kValue]);
}

template <Kind K>
bool struct_add(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, 3)) return false;
  TulDictionary* dict = f.memberAs<TulDictionary>(Member::StructDataDict, TulValueType::Dictionary);
  if (!dict) return false;
  TulBuffer* data = f.memberAs<TulBuffer>(Member::StructData, TulValueType::Buffer);
  if (!data) return false;
  TulString* name = refIn<TulString>(f.arg(0), TulValueType::String);
  if (!name) return f.badType(f.arg(0), TulValueType::String);
  const KindInfo kind = info(K);

  if (isNumber(K) && f.argCount() == 2) {
    // Nothing after the test for a member already defined can fail but the
    // memory for the bytes, so the entry is taken at once (the test and the
    // insert share one probe) and taken out again, before the report, when
    // the bytes cannot be had. The record comes first: it can only throw.
    const unsigned offset = data->size();
    TulVector* record = makeRecord<K>(offset, memberValue(f, K, f.arg(1)));
    TulValue held = TulValue::strongRef(TulValueType::Vector, record);
    TulDictionaryEntry* entry = dict->add(*name);
    if (!entry) return f.fail(err::kStructMemberDefined, name->c_str());
    if (!growBytes(*data, offset + kind.width)) {
      dict->erase(entry);
      return f.fail(err::kOutOfMemory);
    }
    writeMember<K>(*record, data->data() + offset);
    entry->value = std::move(held);
    return f.retInt(static_cast<int>(offset));
  }

  std::uint32_t hash;
  if (dict->find(*name, hash)) return f.fail(err::kStructMemberDefined, name->c_str());
  unsigned size = data->size();
  unsigned offset = size;
  if (f.argCount() == 3) {
    int requested;
    if (!f.intArg(2, requested)) return false;
    if (requested >= 0 && static_cast<unsigned>(requested) <= size)
      offset = static_cast<unsigned>(requested);
  }
  TulValue value = memberValue(f, K, f.arg(1));
  if (value.type() == TulValueType::Nil) return false;
  if (!growBytes(*data, offset + kind.width)) return f.fail(err::kOutOfMemory);
  // The record's values are in its own room from the start, so the address
  // of element 1 is fixed before it is taken.
  TulVector* record = makeRecord<K>(offset, std::move(value));
  dict->append(*name, hash)->value = TulValue::strongRef(TulValueType::Vector, record);
  writeMember<K>(*record, data->data() + offset);
  return f.retInt(static_cast<int>(offset));
}

bool struct_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulValue* dict = f.member(Member::StructDataDict);
  TulValue* data = f.member(Member::StructData);
  if (!dict || !data) return f.badType(TulValue(), TulValueType::Buffer);
  *dict = TulValue::strongRef(TulValueType::Dictionary, new TulDictionary(false));
  *data = TulValue::strongRef(TulValueType::Buffer, new TulBuffer(kFirstRoom));
  return f.retSelf();
}

constexpr MemberRow kStructMembers[] = {
    {"_data", Member::StructData},
    {"_dataDict", Member::StructDataDict},
};

constexpr MethodRow kStructMethods[] = {
    {"Struct", struct_new},
    {"addInt", struct_add<Kind::Int>},
    {"addIntPtr", struct_add<Kind::IntPtr>},
    {"addInt8", struct_add<Kind::Int8>},
    {"addInt16", struct_add<Kind::Int16>},
    {"addDouble", struct_add<Kind::Double>},
    {"addDoublePtr", struct_add<Kind::DoublePtr>},
    {"addFloat", struct_add<Kind::Float>},
    {"addFloatPtr", struct_add<Kind::FloatPtr>},
    {"addString", struct_add<Kind::String>},
    {"addCBuffer", struct_add<Kind::CBuffer>},
    {"addBuffer", struct_add<Kind::Buffer>},
    {"addStruct", struct_add<Kind::Struct>},
    {"getValue", struct_getValue},
    {"getData", struct_getData},
    {"update", struct_update},
};

}  // namespace

const ClassSpec kStructSpec = {"Struct", nullptr, kStructMembers, {}, kStructMethods, {}};

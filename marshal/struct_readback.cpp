// Struct read-back: getValue returns a member's value, getData hands out the
// structure's bytes, update refreshes direct members from those bytes.
//
// Before getData hands the bytes out it refreshes indirect members whose
// target has moved (a string made longer, a buffer grown, members added to a
// nested Struct): their 4 bytes are rewritten with the target's current
// address, unless a member added later overlaps them (a union over the
// pointer keeps what that member wrote).
#include <cstdint>
#include <cstring>

#include "marshal/struct.h"
#include "module/errors.h"

using namespace structrec;

namespace {

std::int32_t readLE(const unsigned char* p, unsigned width) {
  std::uint32_t u = 0;
  for (unsigned i = width; i-- > 0;) u = (u << 8) | p[i];
  return static_cast<std::int32_t>(u);
}

struct Span {
  unsigned offset;
  unsigned size;
  bool overlaps(const Span& o) const { return offset < o.offset + o.size && o.offset < offset + size; }
};

// A record's place in _data, when the record is well formed and fits.
bool spanOf(TulVector* r, const TulBuffer* data, Span& out) {
  int offset = static_cast<int>((*r)[kOffset]);
  int size = static_cast<int>((*r)[kSize]);
  if (offset < 0 || size <= 0 || static_cast<unsigned>(offset) + static_cast<unsigned>(size) > data->size())
    return false;
  out = {static_cast<unsigned>(offset), static_cast<unsigned>(size)};
  return true;
}

bool isIndirect(TulVector* r) { return static_cast<int>((*r)[kIndirect]) != 0; }

bool overlappedLater(const TulDictionaryEntry* e, const Span& span, const TulBuffer* data) {
  for (const TulDictionaryEntry* later = e->next; later; later = later->next) {
    TulVector* r = recordOf(later);
    Span other;
    if (r && spanOf(r, data, other) && other.overlaps(span)) return true;
  }
  return false;
}

void refreshAddresses(TulBuffer* data, const TulDictionary& dict) {
  for (const TulDictionaryEntry* e = dict.getFirst(); e; e = e->next) {
    TulVector* r = recordOf(e);
    Span span;
    if (!r || !isIndirect(r) || !spanOf(r, data, span) || span.size != 4) continue;
    auto now = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(targetOf(r)));
    unsigned char* at = data->data() + span.offset;
    if (static_cast<std::uint32_t>(readLE(at, 4)) == now || overlappedLater(e, span, data)) continue;
    for (unsigned i = 0; i < 4; ++i, now >>= 8) at[i] = static_cast<unsigned char>(now & 0xFF);
  }
}

// Sets a direct member's number from its bytes, in place: the value keeps
// its type.
void refreshDirect(TulVector* r, const TulBuffer* data) {
  Span span;
  if (!spanOf(r, data, span)) return;
  TulValue& value = (*r)[kValue];
  const unsigned char* at = data->data() + span.offset;
  void* target = value.addr();
  if (!target || !value.isNumber()) return;
  switch (span.size) {
    case 8:
      if (value.type() == TulValueType::F64) std::memcpy(target, at, 8);
      break;
    case 4:
      if (value.type() == TulValueType::F32 || value.type() == TulValueType::I32 ||
          value.type() == TulValueType::U32)
        std::memcpy(target, at, 4);
      break;
    case 2:
    case 1: {
      std::int32_t n = readLE(at, span.size);
      n = span.size == 2 ? static_cast<std::int16_t>(n) : static_cast<signed char>(n);
      if (value.type() == TulValueType::I32) std::memcpy(target, &n, 4);
      break;
    }
    default: break;
  }
}

}  // namespace

bool struct_getValue(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulDictionary* dict = f.memberAs<TulDictionary>(Member::StructDataDict, TulValueType::Dictionary);
  if (!dict) return false;
  TulString* name = f.interp().getStringFromValueExtern(f.arg(0));
  if (!name) return f.badType(f.arg(0), TulValueType::String);
  TulDictionaryEntry* e = dict->find(*name);
  TulVector* r = e ? recordOf(e) : nullptr;
  if (!r) return f.fail(err::kStructMemberNotFound, name->c_str());
  return f.ret((*r)[kValue]);
}

bool struct_getData(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulBuffer* data = f.memberAs<TulBuffer>(Member::StructData, TulValueType::Buffer);
  if (!data) return false;
  TulValue* dict = f.member(Member::StructDataDict);
  if (TulDictionary* d = dict ? static_cast<TulDictionary*>(*dict) : nullptr)
    refreshAddresses(data, *d);
  return f.ret(TulValue(data));
}

bool struct_update(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulBuffer* data = f.memberAs<TulBuffer>(Member::StructData, TulValueType::Buffer);
  if (!data) return false;
  TulDictionary* dict = f.memberAs<TulDictionary>(Member::StructDataDict, TulValueType::Dictionary);
  if (!dict) return false;
  for (const TulDictionaryEntry* e = dict->getFirst(); e; e = e->next) {
    TulVector* r = recordOf(e);
    if (r && !isIndirect(r)) refreshDirect(r, data);
  }
  return f.retSelf();
}

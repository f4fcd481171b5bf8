// The member records shared by Struct's layout and read-back methods.
#include <cstddef>
#include <new>

#include "marshal/struct.h"

namespace structrec {

namespace {

// A record as the host sees it (a vector of four values), whose storage
// comes from and goes back to the released records below. The host runs on
// one thread, so the list takes no lock. Under the address sanitizer every
// record is its own allocation, so that a use after release is still caught.
class Record final : public TulVector {
 public:
  Record() : TulVector(kFields, true) {}
  static void* operator new(std::size_t bytes);
  static void operator delete(void* p, std::size_t bytes);
};

constexpr unsigned kKeptRecords = 64;

struct Released {
  Released* next;
};
Released* gReleased = nullptr;
unsigned gReleasedCount = 0;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kReuse = false;
#else
constexpr bool kReuse = true;
#endif

void* Record::operator new(std::size_t bytes) {
  if (kReuse && gReleased) {
    Released* r = gReleased;
    gReleased = r->next;
    --gReleasedCount;
    return r;
  }
  return ::operator new(bytes);
}

void Record::operator delete(void* p, std::size_t bytes) {
  if (kReuse && gReleasedCount < kKeptRecords) {
    gReleased = new (p) Released{gReleased};
    ++gReleasedCount;
    return;
  }
  ::operator delete(p, bytes);
}

}  // namespace

TulVector* newRecord() { return new Record; }

TulVector* recordOf(const TulDictionaryEntry* e) {
  TulVector* r = static_cast<TulVector*>(e->value);
  return r && r->size() == kFields ? r : nullptr;
}

void* targetOf(TulVector* record) {
  TulValue& value = (*record)[kValue];
  TulObject* nested = static_cast<TulObject*>(value);
  if (!nested) return value.addr();
  TulValue* data = memberSlot(nested, Member::StructData);
  return data ? data->addr() : nullptr;
}

}  // namespace structrec


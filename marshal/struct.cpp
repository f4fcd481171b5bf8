// The member records shared by Struct's layout and read-back methods.
#include <cstddef>
#include <new>

#include "marshal/struct.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(addr, size) ((void)(addr), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(addr, size) ((void)(addr), (void)(size))
#endif

namespace structrec {

namespace {

// A record as the host sees it (a vector of four values), whose storage
// comes from and goes back to the released records below. The host runs on
// one thread, so the list takes no lock. A kept record's bytes past its
// link are poisoned for the address sanitizer, so that a use after release
// is still caught.
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
  static void* operator new(std::size_t bytes);
  static void operator delete(void* p, std::size_t bytes);

 protected:
  // A record of plain values (numbers, as every record of a number member
  // holds) has nothing to release: it is freed directly, without the
  // vector's scan of its values. Anything else takes the general path.
  void lastReleased() override {
    if (size() == kFields) {
      const TulValue* v = data();
      if (!isRef(v[0]) && !isRef(v[1]) && !isRef(v[2]) && !isRef(v[3])) setPlacedSize(0);
    }
    delete this;
  }

 private:
  static bool isRef(const TulValue& v) { return v.type() >= TulValueType::Object; }
};

constexpr unsigned kKeptRecords = 64;

struct Released {
  Released* next;
};
Released* gReleased = nullptr;
unsigned gReleasedCount = 0;

void* Record::operator new(std::size_t bytes) {
  if (Released* r = gReleased) {
    gReleased = r->next;
    --gReleasedCount;
    ASAN_UNPOISON_MEMORY_REGION(r, bytes);
    return r;
  }
  return ::operator new(bytes);
}

void Record::operator delete(void* p, std::size_t bytes) {
  if (gReleasedCount < kKeptRecords) {
    gReleased = new (p) Released{gReleased};
    ++gReleasedCount;
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(p) + sizeof(Released), bytes - sizeof(Released));
    return;
  }
  ::operator delete(p, bytes);
}

}  // namespace

TulVector* newRecord(unsigned offset, TulValue&& value, unsigned size, bool indirect) {
  return new Record(offset, std::move(value), size, indirect);
}

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


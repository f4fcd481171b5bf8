// The member records shared by Struct's layout and read-back methods.
#include <cstddef>
#include <new>

#include "marshal/struct.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(addr, size) ((void)(addr), (void)(size))
#endif

namespace structrec {

KeptRecord* gKeptRecords = nullptr;
unsigned gKeptRecordCount = 0;

namespace {

bool isRef(const TulValue& v) { return v.type() >= TulValueType::Object; }

}  // namespace

// A record of plain values (numbers, as every record of a number member
// holds) has nothing to release: it leaves in place, without the vector's
// destructor, its scan of values or the calls between them. Anything else
// (a value holding a reference, a record a script resized) takes the
// general path.
void Record::lastReleased() {
  const TulValue* v = data();
  if (size() == kFields && !isRef(v[0]) && !isRef(v[1]) && !isRef(v[2]) && !isRef(v[3]) &&
      leaveInPlace()) {
    Record::operator delete(this, sizeof(Record));
    return;
  }
  delete this;
}

void Record::operator delete(void* p, std::size_t bytes) {
  if (gKeptRecordCount < kKeptRecords) {
    gKeptRecords = new (p) KeptRecord{gKeptRecords};
    ++gKeptRecordCount;
    ASAN_POISON_MEMORY_REGION(static_cast<char*>(p) + sizeof(KeptRecord), bytes - sizeof(KeptRecord));
    return;
  }
  ::operator delete(p, bytes);
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


// The member records shared by Struct's layout and read-back methods.
#include "marshal/struct.h"


namespace structrec {

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


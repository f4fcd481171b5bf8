// The native-method frame (see frame.h). Slot p is the result slot; for an
// instance method p+1 is `this` and the arguments follow, for a static method
// the arguments start at p+1. argc counts every slot after p.
#include "module/frame.h"

#include <utility>

#include "module/errors.h"


bool Frame::checkCounts(int minArgs, int maxArgs) const {
  if (nargs_ < minArgs) return fail(err::kTooFew);
  if (nargs_ > maxArgs) return fail(err::kTooMany);
  return true;
}

bool Frame::failThis() const { return fail(err::kInvalidThis); }

void Frame::memberBadType(const TulValue* slot, TulValueType tag) const {
  badType(slot ? *slot : TulValue(), tag);
}

bool Frame::enterStatic(int minArgs, int maxArgs) {
  first_ = 1;
  nargs_ = argc_;
  return checkCounts(minArgs, maxArgs);
}


ValPtr Frame::argCursor(int i) const {
  return ValPtr{result_.vec, result_.index + first_ + i};
}


bool Frame::intArg(int i, int& out) const {
  const TulValue& v = arg(i);
  // A 32-bit integer, the common case, passes without the runtime's check.
  if (v.type() != TulValueType::I32 && !interp().checkType(v, TulValueType::Int)) return false;
  out = static_cast<int>(v);
  return true;
}


bool Frame::retSelfSlow() { return ret(TulValue(self_)); }

bool Frame::retNothing() {
  result_->dispose();
  sp_ = result_;
  return true;
}

bool Frame::fail(const char* message, const char* detail) const {
  return interp().returnError(message, detail);
}

bool Frame::badType(const TulValue& actual, TulValueType expected) const {
  return interp().badType(actual.type(), expected);
}

TulObject* objectOfClass(const TulValue& v, Name cls) {
  TulObject* obj = objectIn(v);
  if (!obj || !obj->getClass()) return nullptr;
  return obj->getClass()->isSubtypeOf(nameString(cls)) ? obj : nullptr;
}

TulBuffer* bufferMember(TulObject* obj, Member m, unsigned minSize) {
  TulValue* slot = memberSlot(obj, m);
  TulBuffer* buf = slot ? static_cast<TulBuffer*>(*slot) : nullptr;
  return buf && buf->size() >= minSize ? buf : nullptr;
}

TulClass* findClass(TulVirtualMachine* vm, const TulString& name) {
  TulDictionaryEntry* e = vm->classes().find(name);
  return e ? static_cast<TulClass*>(e->value) : nullptr;
}

TulValue newObjectWith(TulClass* cls, Member m, TulValue v) {
  auto* made = new TulObject(cls);
  TulValue obj(made);
  TulValue* slot = memberSlot(made, m);
  if (!slot) return TulValue();
  *slot = std::move(v);
  return obj;
}

bool isObjectOf(const TulValue& v, TulClass* cls) {
  TulObject* obj = objectIn(v);
  return obj && obj->getClass() && obj->getClass()->isSubtypeOf(cls);
}

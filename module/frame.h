// The native-method frame. Every native method opens with a Frame: it finds
// the result slot, fetches `this`, checks the argument counts and writes the
// result, so the order of the shared checks (this, too few, too many) lives
// here and nowhere else.
//
// Invariant: a method either returns one of the ret*() results (true, the
// caller's cursor now on the result slot) or the false of a report, with the
// caller's cursor untouched.
#pragma once

#include "host/tul.h"
#include "module/members.h"
#include "module/names.h"
#include "module/script_calls.h"

class Frame {
 public:
  // The cursor is read a field at a time, as the caller wrote it: one wider
  // read of the two writes would wait for both.
  Frame(TulVirtualMachine* vm, int argc, ValPtr& sp)
      : vm_(vm), sp_(sp), result_{sp.vec, sp.index - argc}, argc_(argc), first_(1),
        nargs_(argc) {}

  // Instance methods: checks `this`, then minArgs and maxArgs, which count
  // the script's arguments (not `this`). False after the report.
  bool enter(int minArgs, int maxArgs);
  // Static methods: the same count checks, without `this`.
  bool enterStatic(int minArgs, int maxArgs);

  TulVirtualMachine* vm() const { return vm_; }
  TulInterpreter& interp() const { return *vm_->interpreter(); }
  TulObject* self() const { return self_; }
  int argCount() const { return nargs_; }
  // The i-th script argument, from 0, and a stack cursor on it.
  TulValue& arg(int i) const {
    return (*result_.vec)[static_cast<unsigned>(result_.index + first_ + i)];
  }
  ValPtr argCursor(int i) const;
  // The slot of one of this object's data members through the member index
  // cache; null when the object has no such slot.
  TulValue* member(Member m) const { return memberSlot(self_, m); }

  // The i-th argument as an integer, after the host's integer check. False
  // after the host's report.
  bool intArg(int i, int& out) const;

  // The data member m when it holds a value of the given tag; otherwise a
  // bad-type report (actual: the member's tag) and null.
  template <class T>
  T* memberAs(Member m, TulValueType tag) const {
    TulValue* slot = member(m);
    if (slot && slot->type() == tag) return static_cast<T*>(slot->refObject());
    memberBadType(slot, tag);
    return nullptr;
  }

  // Results. Each writes the result slot, moves the caller's cursor onto it
  // and returns true.
  bool ret(const TulValue& v) {
    *result_ = v;
    sp_ = result_;
    return true;
  }
  bool ret(TulValue&& v) {
    *result_ = std::move(v);
    sp_ = result_;
    return true;
  }
  // An integer is written in place over a slot that holds no reference
  // (the usual result slot), without a value made and moved in.
  [[gnu::always_inline]] bool retInt(int v) {
    if (!result_->putInt(v)) *result_ = TulValue(v);
    sp_ = result_;
    return true;
  }
  bool retBool(bool b) { return ret(TulValue(b ? 1 : 0)); }
  // Constructors: the object itself. `this` held strongly in its slot is
  // copied as it is (not moved: a caller that built the frame itself may
  // call again with the same `this`); a weak one gives a strong reference.
  bool retSelf() {
    const TulValue& self = (*result_.vec)[static_cast<unsigned>(result_.index + 1)];
    if (first_ == 2 && self.type() == TulValueType::Object) return ret(TulValue(self));
    return retSelfSlow();
  }
  bool retNothing();  // the result slot is left empty

  // True when a message handler that the system called during one of this
  // method's system calls failed (see script_calls.h); the error stands.
  bool handlerFailed() const { return watch_.handlerFailed(); }
  void resetHandlerFailed() { watch_.reset(); }

  // Reports (they always return false).
  bool fail(const char* message, const char* detail = nullptr) const;
  bool badType(const TulValue& actual, TulValueType expected) const;

 private:
  bool checkCounts(int minArgs, int maxArgs) const;
  bool retSelfSlow();
  void memberBadType(const TulValue* slot, TulValueType tag) const;
  bool failThis() const;

  TulVirtualMachine* vm_;
  ValPtr& sp_;
  ValPtr result_;  // p: the result slot
  int argc_;
  int first_;      // offset of the first script argument from p
  int nargs_;
  TulObject* self_ = nullptr;
  CallWatch watch_{CallWatch::Kind::Native};
};

// Inline: every call of an instance method opens with it, and message
// dispatch makes three a message. The reports stay out of line.
inline bool Frame::enter(int minArgs, int maxArgs) {
  // Without a slot for `this` there is no object to call the method on.
  if (argc_ < 1) return failThis();
  self_ = objectIn((*result_.vec)[static_cast<unsigned>(result_.index + 1)]);
  if (!self_) return failThis();
  first_ = 2;
  nargs_ = argc_ - 1;
  if (nargs_ < minArgs || nargs_ > maxArgs) return checkCounts(minArgs, maxArgs);
  return true;
}

// The object a value refers to when that object's class is the named class
// or derives from it; null otherwise.
TulObject* objectOfClass(const TulValue& v, Name cls);

// The byte buffer held in data member m of obj when it holds one of at least
// minSize bytes; null otherwise.
TulBuffer* bufferMember(TulObject* obj, Member m, unsigned minSize);

// True for a value that stands for one character: a number of any of the
// host's numeric tags.
inline bool isCharacter(const TulValue& v) { return isNumericTag(v.type()); }

// A new object of cls, made natively (no script constructor runs), with data
// member m set to v (moved in). Nil when cls has no such member.
TulValue newObjectWith(TulClass* cls, Member m, TulValue v);

// True when v is an object whose class is cls or derives from it.
bool isObjectOf(const TulValue& v, TulClass* cls);

// A registered class by name; null when there is no entry or it holds no
// class.
TulClass* findClass(TulVirtualMachine* vm, const TulString& name);

// Calls between native methods and script code (see script_calls.h).
#include "module/script_calls.h"

namespace {

// The innermost watch of the interpreter thread; the watches themselves live
// in the frames of the calls that made them.
CallWatch* gInnermost = nullptr;

// Argument vectors kept for reuse, one per nesting depth of CallArgs, built
// at load; each holds one reference of the library's own. Between borrowings
// every value in them is Nil, so none keeps anything of any machine alive.
// Nesting is shallow in practice: a message with handlers takes two depths,
// and each message a handler sends takes two more.
constexpr unsigned kKeptDepths = 8;
constexpr unsigned kKeptRoom = 5;  // values: the handler walk's arguments
TulVector* gKept[kKeptDepths];
unsigned gBorrowed = 0;  // CallArgs alive that hold a kept vector

// The kept vector of the next depth with count values. A machine's teardown
// may have emptied it (the runtime clears every live vector then), so its
// size is set each time; its storage stays.
TulVector* borrowKept(unsigned count) {
  TulVector* vec = gKept[gBorrowed];
  while (vec->size() > count) vec->pop_back();
  while (vec->size() < count) vec->push_back(TulValue());
  ++gBorrowed;
  return vec;
}

}  // namespace

CallWatch::CallWatch(Kind kind) : outer_(gInnermost), kind_(kind) { gInnermost = this; }

CallWatch::~CallWatch() { gInnermost = outer_; }

void CallWatch::noteHandlerFailure() {
  if (gInnermost && gInnermost->kind_ == Kind::Native) gInnermost->failed_ = true;
}

bool invokeScript(TulInterpreter& in, TulValue& result, TulObject* obj, const char* name,
                  TulVector* args) {
  const CallWatch boundary(CallWatch::Kind::ScriptCall);
  return in.invokeMember(result, obj, name, args);
}

bool createScriptObject(TulInterpreter& in, TulValue& out, const TulString& className,
                        TulVector* args) {
  const CallWatch boundary(CallWatch::Kind::ScriptCall);
  return in.createObject(out, className, args);
}

CallArgs::CallArgs(unsigned count) {
  if (gBorrowed < kKeptDepths && gKept[gBorrowed]) {
    vec_ = borrowKept(count);
    kept_ = true;
    return;
  }
  own_.emplace(count, true);
  vec_ = &*own_;
}

// Each value is moved out before it is released: a dtor run by the release
// may send messages, which borrow the next depth, since this one still
// counts as borrowed.
CallArgs::~CallArgs() {
  if (!kept_) return;
  for (unsigned i = vec_->size(); i-- > 0;) {
    TulValue given(std::move((*vec_)[i]));
  }
  --gBorrowed;
}

void buildCallArgs() {
  for (TulVector*& vec : gKept) {
    if (vec) continue;
    vec = new TulVector(kKeptRoom, false);  // the library's own reference
    vec->retain();
  }
}

void releaseCallArgs() {
  for (TulVector*& vec : gKept) {
    if (vec) vec->release();
    vec = nullptr;
  }
  gBorrowed = 0;
}

// Calls between native methods and script code (see script_calls.h).
#include "module/script_calls.h"

namespace {

// The innermost watch of the interpreter thread; the watches themselves live
// in the frames of the calls that made them.
CallWatch* gInnermost = nullptr;

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

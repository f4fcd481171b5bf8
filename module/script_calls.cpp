// Calls between native methods and script code (see script_calls.h).
#include "module/script_calls.h"

TulCallSite gCallSites[] = {
    {"preprocessMessage"}, {"preprocessMessage"}, {"getParent"},
    {"handleMessage"},     {"handleMessage"},
};
static_assert(sizeof gCallSites / sizeof gCallSites[0] == static_cast<unsigned>(Call::Count),
              "one site per call");

CallWatch* CallWatch::innermost_ = nullptr;

void CallWatch::noteHandlerFailure() {
  if (innermost_ && innermost_->kind_ == Kind::Native) innermost_->failed_ = true;
}

bool invokeScript(TulInterpreter& in, TulValue& result, TulObject* obj, const char* name,
                  TulVector* args) {
  const CallWatch boundary(CallWatch::Kind::ScriptCall);
  return in.invokeMember(result, obj, name, args);
}

bool invokeScript(TulInterpreter& in, TulValue& result, TulObject* obj, Call call,
                  const TulValue* args, int nargs) {
  const CallWatch boundary(CallWatch::Kind::ScriptCall);
  return in.invokeMember(result, obj, gCallSites[static_cast<unsigned>(call)], args, nargs);
}

bool createScriptObject(TulInterpreter& in, TulValue& out, const TulString& className,
                        TulVector* args) {
  const CallWatch boundary(CallWatch::Kind::ScriptCall);
  return in.createObject(out, className, args);
}

// Script classes. A class declaration becomes a runtime class made with
// Machine::defineClass whose methods are bound with addScriptMethod, so
// native code reaches a script override through invokeMember, and
// createObject runs a script constructor, exactly as with any host.
//
// Invariant: runMethod is the only way the runtime enters script code, and
// it never lets an error of the interpreter cross back other than as a
// report through the runtime's interpreter and a false result.
#include "script/interp.h"

#include <exception>
#include <memory>

#include "script/values.h"

namespace tulscript {
namespace {

TulClass* classOf(const TulValue& v) { return static_cast<TulClass*>(v); }

}  // namespace

bool Interp::declareClass(const ClassDecl& d, Frame& f, TulClass*& out) {
  TulClass* base = nullptr;
  if (!d.baseName.empty()) {
    TulValue b;
    if (!readVar(d.base, f, d.line, b)) return false;
    base = classOf(b);
    if (!base)
      return fail(f, d.line, "base of class '" + d.name + "' must be a class, but '" + d.baseName +
                                 "' is " + typeTagName(b.type()));
  }
  TulClass* cls = vm_->defineClass(d.name.c_str(), base);
  if (!cls) return failFromHost(f, d.line);
  for (const std::string& m : d.members)
    if (!cls->addDataMember(m.c_str())) return failFromHost(f, d.line);
  cls->fixupDataDefs();
  // Call sites resolved before this class existed look again.
  ++classEpoch_;
  auto& own = scriptMethods_[cls];
  for (const FunctionDecl* fn : d.methods) {
    if (!fn->isStatic) {
      auto placed = own.emplace(fn->name, fn);
      if (!placed.second) placed.first->second = nullptr;
    }
    tulrt::ScriptMethod method = [this, fn, cls](TulVirtualMachine*, int argc, ValPtr& sp) {
      return runMethod(*fn, cls, argc, sp);
    };
    if (fn->isStatic)
      tulrt::addStaticScriptMethod(cls, fn->name.c_str(), std::move(method));
    else
      tulrt::addScriptMethod(cls, fn->name.c_str(), std::move(method));
  }
  // The class is visible before its static initializers run, so they may
  // call its static methods.
  defineGlobal(d.name, TulValue(cls));
  out = cls;
  return true;
}

// The native frame: the result slot lies argc slots below sp, then `this`
// (instance methods), then the arguments. False after reporting a frame the
// method cannot take. `this` and the arguments are read where the frame
// holds them (the runtime's stack does not move, and the frame keeps them
// for the call); a static method's self is Nil.
namespace {

bool tooManyForMethod(TulInterpreter& host, const FunctionDecl& fn, TulClass* cls, int nargs) {
  std::string text = "too many arguments to " + std::string(tulrt::className(cls)) + "." +
                     fn.name + " (takes " + std::to_string(fn.params.size()) + ", got " +
                     std::to_string(nargs) + ")";
  return host.returnError(text.c_str(), nullptr);
}

}  // namespace

TUL_ALWAYS_INLINE bool Interp::methodArguments(const FunctionDecl& fn, TulClass* cls, int argc,
                                               const ValPtr& p, const TulValue*& self,
                                               const TulValue*& args, int& count) {
  static const TulValue kNoSelf;
  int first = p.index + 1;
  int nargs = argc;
  self = &kNoSelf;
  if (!fn.isStatic) {
    if (argc < 1 || !objectIn(*ValPtr{p.vec, first}))
      return vm_->interp().returnError("invalid 'this' pointer", nullptr);
    self = &*ValPtr{p.vec, first};
    ++first;
    --nargs;
  }
  if (nargs > fn.code.params)
    return tooManyForMethod(vm_->interp(), fn, cls, nargs);
  args = nargs ? &*ValPtr{p.vec, first} : nullptr;
  count = nargs;
  return true;
}

bool Interp::runMethod(const FunctionDecl& fn, TulClass* cls, int argc, ValPtr& sp) {
  if (stopping()) {
    // Objects released while an exit unwinds go without their dtor; any
    // other method refuses, so native code calling in gives up quickly.
    if (fn.name != "dtor" || fn.isStatic)
      return vm_->interp().returnError("the script is stopping", nullptr);
    sp -= argc;
    return true;
  }
  ValPtr p = sp;
  p -= argc;
  const TulValue* self = nullptr;
  const TulValue* args = nullptr;
  int nargs = 0;
  if (!methodArguments(fn, cls, argc, p, self, args, nargs)) return false;

  // This method may run while an error unwinds the script (a `dtor` of a
  // value released on the way); that error resumes afterwards. The record
  // means something only while an error is under way, so only then is it
  // kept (a copy of its texts for every call would cost more than the call).
  const StopKind savedStop = stop_;
  std::unique_ptr<ScriptError> savedError;
  if (savedStop == StopKind::Error) savedError = std::make_unique<ScriptError>(error_);
  stop_ = StopKind::None;
  TulValue result;
  bool ok = runGuarded(fn, cls, *self, args, nargs, result);
  if (ok) {
    *p = fn.isConstructor ? *self : std::move(result);
    sp = p;
  } else {
    forwardToHost();
  }
  if (!stopping()) {
    stop_ = savedStop;
    if (savedError) error_ = std::move(*savedError);
  }
  return ok;
}

// Runs a method for the runtime: the stack is measured from here when no
// run is under way, and no exception gets past.
bool Interp::runGuarded(const FunctionDecl& fn, TulClass* cls, const TulValue& self,
                        const TulValue* args, int nargs, TulValue& result) {
  if (activeRuns_++ == 0) {
    char here = 0;
    stackBase_ = reinterpret_cast<std::uintptr_t>(&here);
  }
  Frame caller;
  caller.program = fn.program;
  bool ok = false;
  try {
    if (enterCall(caller, fn.line)) {
      ok = callScript(fn, self, cls, args, nargs, result);
      leaveCall();
    }
  } catch (const std::exception& e) {
    ok = fail(caller, fn.line, std::string("internal error: ") + e.what());
  }
  --activeRuns_;
  return ok;
}

}  // namespace tulscript

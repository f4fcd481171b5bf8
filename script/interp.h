// The interpreter behind Engine, shared by its source files: the VM that
// runs compiled code (vm.cpp, with the language's operations in
// operations.cpp), calls and frames (interpreter.cpp), classes and the
// runtime's calls of script methods (classes.cpp), built-ins (builtins.cpp)
// and loading (engine.cpp, which compiles each file with compiler.cpp).
//
// Invariant: a function that returns false (or Flow::Fail) has recorded why
// in `stop_`; the runtime's error record is consulted only right after a
// runtime call has failed, and cleared once its error has been taken over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "runtime/runtime.h"
#include "script/ast.h"
#include "script/bytecode.h"
#include "script/compiler.h"
#include "script/engine.h"
#include "script/parser.h"
#include "script/slot_stack.h"

// For the few accessors every instruction uses: the compiler's own budget
// would leave some of them out of line. Unoptimised builds (the sanitizer
// build) leave them as calls: inlined there, each use would keep its own
// copy of their locals on the VM's stack frame, and deep recursion would
// run out of stack long before an optimised build does.
#if defined(__GNUC__) && defined(__OPTIMIZE__)
#  define TUL_ALWAYS_INLINE __attribute__((always_inline)) inline
#  define TUL_NOINLINE __attribute__((noinline))
#elif defined(__GNUC__)
#  define TUL_ALWAYS_INLINE inline
#  define TUL_NOINLINE __attribute__((noinline))
#else
#  define TUL_ALWAYS_INLINE inline
#  define TUL_NOINLINE
#endif

namespace tulscript {

class Interp;
struct Frame;

// The value of operand x in its space, which begins at base.
TUL_ALWAYS_INLINE TulValue* operandAt(TulValue* base, std::int32_t x) {
  return reinterpret_cast<TulValue*>(reinterpret_cast<char*>(base) + operand::offset(x));
}
TUL_ALWAYS_INLINE const TulValue* operandAt(const TulValue* base, std::int32_t x) {
  return reinterpret_cast<const TulValue*>(reinterpret_cast<const char*>(base) +
                                           operand::offset(x));
}

// How deeply print() and str() show containers inside containers.
constexpr int kMaxDisplayDepth = 100;

// Nested script calls allowed whatever the stack budget says: about as deep
// as the default stack of a 32-bit Linux process let calls go when each
// took more of it, so a script's reach does not depend on how lean a call
// has become.
constexpr int kMaxScriptCallDepth = 9000;

// What a built-in gets: its arguments, its result, and where it was called.
struct BuiltinCall {
  Interp& in;
  Frame& frame;
  int line;
  const char* name;
  const TulValue* args;
  int argc;
  TulValue& result;
  // Fails the call with "NAME: MESSAGE".
  bool fail(const std::string& message) const;
};

using BuiltinFn = bool (*)(BuiltinCall& call);

// A function value (tag Function): script code of some program, or a
// built-in.
class FunctionObject : public TulRefObject {
 public:
  FunctionObject(std::shared_ptr<const Program> program, const FunctionDecl* decl)
      : program_(std::move(program)), decl_(decl) {}
  FunctionObject(const char* name, BuiltinFn fn, int minArgs, int maxArgs)
      : builtinName_(name), builtin_(fn), minArgs_(minArgs), maxArgs_(maxArgs) {}

  const FunctionDecl* decl() const { return decl_; }
  BuiltinFn builtin() const { return builtin_; }
  std::string name() const { return decl_ ? decl_->name : builtinName_; }
  const char* builtinName() const { return builtinName_; }
  int minArgs() const { return minArgs_; }
  int maxArgs() const { return maxArgs_; }  // -1: any number

 private:
  std::shared_ptr<const Program> program_;  // keeps decl_ alive
  const FunctionDecl* decl_ = nullptr;
  const char* builtinName_ = "";
  BuiltinFn builtin_ = nullptr;
  int minArgs_ = 0;
  int maxArgs_ = 0;
};

// The function object a value holds, or null.
FunctionObject* functionOf(const TulValue& v);

// Whether fn is the built-in len or push (builtins.cpp), which a call by
// name may run on a vector in place.
extern const BuiltinFn kBuiltinLen;
extern const BuiltinFn kBuiltinPush;
inline bool isBuiltinLen(const FunctionObject& fn) { return fn.builtin() == kBuiltinLen; }
inline bool isBuiltinPush(const FunctionObject& fn) { return fn.builtin() == kBuiltinPush; }

// One activation: a file's top level, a function or a method.
struct Frame {
  const Program* program = nullptr;  // errors point into its file
  TulValue* slots = nullptr;
  // `this`, held by whoever runs the frame for as long as it runs; null
  // outside instance methods.
  const TulValue* self = nullptr;
  TulClass* cls = nullptr;   // the class whose method runs (for `base`)
  TulValue ret;              // the value of `return`
  // The code running and its current instruction, saved before anything
  // that can fail, so that an error finds its line (lines::Op ...).
  const Code* code = nullptr;
  const Ins* ip = nullptr;

  const TulValue& thisValue() const {
    static const TulValue nil;
    return self ? *self : nil;
  }
};

// Slots of the frame of script function fn called with n arguments (more
// arguments than its frame holds still get a slot each, for the error).
inline std::size_t frameSlots(const FunctionDecl& fn, int n) {
  return static_cast<std::size_t>(n > fn.code.frameSize ? n : fn.code.frameSize);
}

// The frame of a call of script function fn, which takes over the n
// arguments at args.
class CalleeFrame : public SlotFrame {
 public:
  CalleeFrame(SlotStack& stack, const FunctionDecl& fn, TulValue* args, int n)
      : SlotFrame(stack, frameSlots(fn, n)) {
    for (int i = 0; i < n; ++i) moveInto(slots()[i], std::move(args[i]));
  }
};

enum class Flow { Normal, Return, Fail };

// The line `line` stands for in frame f: itself when it is one, else the
// line of that kind (lines::Op ...) the frame's current instruction records.
int lineIn(const Frame& f, int line);

// e, placed at the frame's file and the line when it has no place yet.
ScriptError placedAt(ScriptError e, const Frame& f, int line);

// Why evaluation is unwinding. Exit and Abort pass through every `catch`.
enum class StopKind { None, Error, Exit, Abort };

class Interp : public GlobalNames {
 public:
  explicit Interp(const EngineOptions& options);
  ~Interp() override;

  tulrt::Machine& machine() { return *vm_; }
  const EngineOptions& options() const { return opts_; }
  std::ostream& out() { return *out_; }
  std::ostream& err() { return *err_; }

  // engine.cpp
  int runFile(const std::string& path);
  int runSource(const std::string& name, const std::string& source);
  void setArgs(const std::vector<std::string>& args);
  const ScriptError& lastError() const { return lastError_; }

  // GlobalNames
  int globalIndex(const std::string& name) override;
  void defineGlobal(const std::string& name, const TulValue& value);

  // --- errors -------------------------------------------------------------
  // Record an error at the frame's file and the line; always false.
  bool fail(const Frame& f, int line, const std::string& message);
  bool failWith(ScriptError e);
  // Takes over the error a failed runtime call recorded (or keeps an exit or
  // abort already under way); always false.
  bool failFromHost(const Frame& f, int line);
  bool stopExit(int code);
  bool stopping() const { return stop_ == StopKind::Exit || stop_ == StopKind::Abort; }

  // --- running code (vm.cpp, interpreter.cpp) -----------------------------
  // Runs compiled code on a frame: Normal when it ran to its end, Return
  // (the value in f.ret) or Fail.
  Flow run(const Code& code, Frame& f);
  bool runProgram(const Program& p);
  // Calls a function value with arguments; `line` is the call site's.
  bool callValue(Frame& f, int line, const TulValue& callee, const TulValue* args, int n,
                 TulValue& out, const std::string& calleeName);
  // The same with arguments the caller drops after the call: an object's
  // constructor takes them over.
  bool callValue(Frame& f, int line, const TulValue& callee, TulValue* args, int n,
                 TulValue& out, const std::string& calleeName);
  // Script code of a function or method; self nil for plain functions.
  bool callScript(const FunctionDecl& fn, const TulValue& self, TulClass* cls,
                  const TulValue* args, int n, TulValue& out);
  // The same with the arguments already in the first n of the frame's
  // slots (at least fn.slotCount of them, the rest nil), where the caller
  // evaluated them.
  TUL_ALWAYS_INLINE bool callFunctionInPlace(Frame& f, int line, const FunctionDecl& fn,
                                             TulValue* slots, int n, TulValue& out) {
    if (n > static_cast<int>(fn.params.size())) return tooManyArguments(f, line, fn, n);
    if (!enterCall(f, line)) return false;
    const bool ok = runFrame(fn, slots, nullptr, nullptr, out);
    leaveCall();
    return ok;
  }
  // A built-in; checks the number of arguments first.
  bool callBuiltin(Frame& f, int line, const FunctionObject& fn, const TulValue* args, int n,
                   TulValue& out);
  // As the runtime would run it: its depth limit counts these calls too, so
  // endless recursion ends with the runtime's own error at the same place.
  TUL_ALWAYS_INLINE bool callMethodInPlace(Frame& f, int line, const FunctionDecl& fn,
                                           TulClass* owner, const TulValue& self,
                                           TulValue* slots, TulValue& out) {
    if (methodsTooDeep(f, line) || !enterCall(f, line)) return false;
    ++methodDepth_;
    TulValue result;
    const bool ok = runFrame(fn, slots, &self, owner, result);
    --methodDepth_;
    leaveCall();
    if (!ok) return false;
    out = fn.isConstructor ? self : std::move(result);
    return true;
  }
  // Fills a method call site's cache for cls: the script method `name`
  // resolves to, when the interpreter may run it itself.
  TUL_ALWAYS_INLINE void resolveMethod(SiteCache& site, TulClass* cls, const std::string& name) {
    if (site.cls != cls || site.epoch != classEpoch_) resolveMethodSlow(site, cls, name);
  }
  // An operator hook of cls (OP_ADD, OP_VREF, ...): whether the class has
  // it, and the script method it resolves to, found once per class and
  // hook and trusted while no class has been declared since.
  struct HookSite {
    bool present = false;
    SiteCache site;
  };
  const HookSite& resolveHook(TulClass* cls, const char* hook);
  unsigned classEpoch() const { return classEpoch_; }
  SlotStack& slotStack() { return slotStack_; }
  // obj.name(args) through the runtime, so overrides win.
  // self null: a static method.
  bool callMethod(Frame& f, int line, const TulValue* self, TulClass* cls, const char* name,
                  const TulValue* args, int n, TulValue& out);
  // The native method a call site's name resolves to for cls, found once
  // per class and kept while no class binds a method; null for a method
  // the runtime must find by name (a missing one, a C++-written one).
  TUL_ALWAYS_INLINE NativeMethod nativeAt(NativeSite& site, TulClass* cls,
                                          const std::string& name) {
    if (site.cls != cls || site.generation != *methodGeneration_) findNative(site, cls, name);
    return site.fn;
  }
  // self.fn(args) for a native method nativeAt found, as callMethod runs
  // it, the arguments moved into the runtime's frame (left nil).
  TUL_ALWAYS_INLINE bool callNative(Frame& f, int line, const TulValue& self, NativeMethod fn,
                                    TulValue* args, int n, TulValue& out) {
    if (!enterCall(f, line)) return false;
    Forwarded outer = haveForwarded_ ? enterNativeCall() : nullptr;
    // The runtime writes the result only when the call succeeds.
    const bool ok = host_->callNative(out, fn, self, args, n);
    leaveCall();
    // Success with nothing forwarded before or during the call, the common
    // case, has nothing to hand back.
    return (ok && !outer && !haveForwarded_) || leaveNativeCall(f, line, ok, std::move(outer));
  }
  // The text print() and str() show; may run toString() of objects.
  bool display(Frame& f, int line, const TulValue& v, std::string& out, int depth = 0);
  TulValue functionValue(const FunctionDecl& fn);
  // A step of the budget; false (and an abort) once it is spent.
  bool step(const Frame& f, int line) {
    return opts_.maxSteps <= 0 || ++steps_ <= opts_.maxSteps || stepsSpent(f, line);
  }
  // Bounds the C++ stack used by nested calls; false after the error.
  TUL_ALWAYS_INLINE bool enterCall(const Frame& f, int line) {
    if (!withinStack()) return stackOverflow(f, line);
    ++callDepth_;
    return true;
  }
  // Whether one more nested call is allowed.
  TUL_ALWAYS_INLINE bool withinStack() const {
    const char here = 0;
    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(&here);
    const std::size_t used = stackBase_ > at ? stackBase_ - at : 0;
    return callDepth_ < kMaxScriptCallDepth && used <= stackBudget_;
  }
  void leaveCall() { --callDepth_; }
  // The allocation limit for a string, buffer or vector of n units.
  bool checkSize(const Frame& f, int line, std::uint64_t n, const char* what);

  // --- classes (classes.cpp) ----------------------------------------------
  // The class of a class statement, defined as its global; its statics
  // are the caller's to add.
  bool declareClass(const ClassDecl& d, Frame& f, TulClass*& out);
  // The frame the runtime hands a script method (see classes.cpp).
  bool runMethod(const FunctionDecl& fn, TulClass* cls, int argc, ValPtr& sp);

  // --- built-ins (builtins.cpp) -------------------------------------------
  void defineBuiltins();

  bool readVar(const VarRef& v, Frame& f, int line, TulValue& out) {
    if (v.kind == VarRef::Kind::Local) {
      out = f.slots[v.index];
      return true;
    }
    const std::size_t i = static_cast<std::size_t>(v.index);
    if (!defined_[i]) return readUndefined(v.index, f, line, out);
    out = globals_[i];
    return true;
  }
  bool writeVar(const VarRef& v, Frame& f, int line, const TulValue& value) {
    if (v.kind == VarRef::Kind::Local) {
      f.slots[v.index] = value;
      return true;
    }
    const std::size_t i = static_cast<std::size_t>(v.index);
    if (!defined_[i]) return writeUndeclared(globalNames_[i], f, line);
    globals_[i] = value;
    return true;
  }

  // Operand x of the frame's instruction (bytecode.h): where its value
  // is. A global read undefined gives the class of that name, or fails
  // with the line of the operand's read (`which`: lines::B, C or D).
  TUL_ALWAYS_INLINE const TulValue* read(std::int32_t x, Frame& f, int which) {
    const int i = operand::index(x);
    // Locals first: they are what most operands are.
    if (operand::space(x) == operand::Local) return operandAt(f.slots, x);
    if (operand::space(x) == operand::Const) return operandAt(f.code->consts.data(), x);
    if (operand::space(x) == operand::This) return &f.thisValue();
    if (defined_[static_cast<std::size_t>(i)]) return &globals_[static_cast<std::size_t>(i)];
    return readGlobal(i, f, which);
  }
  // The same for the VM's loop, which saves the frame's instruction only
  // where an error can be reported.
  // (consts: the code's constants, where the loop keeps them).
  TUL_ALWAYS_INLINE const TulValue* read(std::int32_t x, Frame& f, int which, const Ins* ip,
                                         const TulValue* consts) {
    const int i = operand::index(x);
    if (operand::space(x) == operand::Local) return operandAt(f.slots, x);
    if (operand::space(x) == operand::Const) return operandAt(consts, x);
    if (operand::space(x) == operand::This) return &f.thisValue();
    if (defined_[static_cast<std::size_t>(i)]) return &globals_[static_cast<std::size_t>(i)];
    f.ip = ip;
    return readGlobal(i, f, which);
  }
  // Where a variable operand (a local or a defined global) is; null for any
  // other operand.
  TUL_ALWAYS_INLINE TulValue* variableSlot(std::int32_t x, TulValue* locals) {
    if (operand::space(x) == operand::Local) return operandAt(locals, x);
    return operand::space(x) == operand::Global ? globalSlot(x) : nullptr;
  }
  // The slot of a defined global operand, else null.
  TUL_ALWAYS_INLINE TulValue* globalSlot(std::int32_t x) {
    const std::size_t i = static_cast<std::size_t>(operand::index(x));
    return defined_[i] ? &globals_[i] : nullptr;
  }
  // Writes the frame's instruction's destination x (an undeclared global
  // fails at the instruction's target line).
  TUL_ALWAYS_INLINE bool store(std::int32_t x, Frame& f, TulValue&& v, const Ins* ip) {
    if (operand::space(x) == operand::Local) {
      moveInto(*operandAt(f.slots, x), std::move(v));
      return true;
    }
    f.ip = ip;
    return store(x, f, std::move(v));
  }
  TUL_ALWAYS_INLINE bool store(std::int32_t x, Frame& f, TulValue&& v) {
    if (operand::space(x) == operand::Local) {
      moveInto(f.slots[operand::index(x)], std::move(v));
      return true;
    }
    if (operand::space(x) == operand::Global) {
      if (TulValue* g = globalSlot(x)) {
        *g = std::move(v);
        return true;
      }
    }
    return storeSlow(x, f, std::move(v));
  }
  TUL_ALWAYS_INLINE bool storeInt(std::int32_t x, Frame& f, std::int32_t r, const Ins* ip) {
    if (operand::space(x) == operand::Local) {
      if (operandAt(f.slots, x)->putInt(r)) return true;
    } else if (operand::space(x) == operand::Global) {
      TulValue* g = globalSlot(x);
      if (g && g->putInt(r)) return true;
    }
    f.ip = ip;
    return storeIntSlow(x, f, r);
  }
  // Around every call from script code into the runtime. An error that a
  // script method called further in raised and native code then answered
  // for itself waits as "forwarded" until the call returns; leaveNativeCall
  // turns it (or the call's own failure) into this script's error, and
  // hands an error that was already waiting before the call back to the
  // enclosing call. False when the call failed.
  // What waited before the call, kept aside for its length: null when
  // nothing did, so the common call saves and restores nothing.
  struct ForwardedError {
    ScriptError error;
    tulrt::ErrorRecord record;
  };
  using Forwarded = std::unique_ptr<ForwardedError>;
  Forwarded enterNativeCall();
  bool leaveNativeCall(const Frame& f, int line, bool ok, Forwarded&& outer);
  // A function value called by the host program from inside a native call
  // (an idle hook, say). A failure is forwarded to the runtime like that of
  // a script method, so it surfaces when control returns to the script.
  bool callFunctionFromHost(const TulValue& fn, const std::vector<TulValue>& args,
                            TulValue& out);
  void deferError(const std::string& message);

  // The value `catch (e)` binds: a dictionary with message, detail, actual,
  // expected, file and line.
  TulValue errorValue(const ScriptError& e);
  // Takes the error under way for a `catch`; false for exit and abort.
  bool takeError(ScriptError& out);

 private:
  // A new object of cls, the arguments moved into its constructor's frame.
  bool createObject(Frame& f, int line, TulClass* cls, TulValue* args, int n, TulValue& out);
  bool displayObject(Frame& f, int line, const TulValue& v, std::string& out, int depth);
  bool displayText(Frame& f, int line, const TulValue& text, std::string& out, int depth);
  bool displayContainer(Frame& f, int line, const TulValue& v, std::string& out, int depth);
  bool stepsSpent(const Frame& f, int line);
  TUL_NOINLINE bool stackOverflow(const Frame& f, int line);
  bool readUndefined(int global, Frame& f, int line, TulValue& out);
  bool writeUndeclared(const std::string& name, Frame& f, int line);

  // vm.cpp: the instructions' slow paths, kept out of run() so that a
  // script call costs the C++ stack only run()'s own small frame. Each
  // takes the frame, whose ip is the instruction's.
  TUL_NOINLINE const TulValue* readGlobal(int index, Frame& f, int which);
  TUL_NOINLINE bool storeSlow(std::int32_t x, Frame& f, TulValue&& v);
  TUL_NOINLINE bool storeIntSlow(std::int32_t x, Frame& f, std::int32_t r);
  TUL_NOINLINE bool countStep(Frame& f, int line);
  TUL_NOINLINE bool binarySlow(Frame& f, TokenKind op, const TulValue& x, const TulValue& y);
  bool joinStrings(Frame& f, const TulValue& x, const TulValue& y, bool& done);
  TUL_NOINLINE int jumpSlow(Frame& f, const TulValue& x, const TulValue& y);
  TUL_NOINLINE bool incVarSlow(Frame& f);
  TUL_NOINLINE int stepLessSlow(Frame& f);
  TUL_NOINLINE bool unarySlow(Frame& f, const TulValue& x);
  TUL_NOINLINE bool callee(Frame& f, const void** pending);
  TUL_NOINLINE bool callPending(Frame& f, const void* pending, TulValue* args, int n);
  TUL_NOINLINE bool callTemp(Frame& f);
  TUL_NOINLINE bool callFunctionAt(Frame& f, const FunctionDecl& fn, TulValue* args, int n);
  TUL_NOINLINE bool lenOrPush(Frame& f, const void* pending);
  TUL_NOINLINE bool method(Frame& f);
  // The native method instruction f.ip's site found before for its object's
  // class (an object a local or `this` holds), while that still stands;
  // null when the call must look further.
  TUL_ALWAYS_INLINE NativeMethod knownNative(const Frame& f, const TulValue*& obj);
  // obj.native(args) for the call at f.ip, the result stored.
  TUL_NOINLINE bool nativeMethod(Frame& f, const TulValue& obj, NativeMethod native);
  TUL_NOINLINE bool baseMethod(Frame& f);
  TUL_NOINLINE bool member(Frame& f, bool write);
  TUL_NOINLINE bool index(Frame& f, bool write);
  TUL_NOINLINE int forInNext(Frame& f);
  TUL_NOINLINE bool storeCopy(Frame& f, const TulValue& v);
  TUL_NOINLINE bool rare(Frame& f);
  // A `try` under way in a frame: where its handler starts, the variable
  // that takes the error and the first temporary the body may have used.
  // (Four words, so that counting them is a shift.)
  struct TryHandler {
    int target;
    std::int32_t caught;
    int temps;
    int unused = 0;
  };
  TUL_NOINLINE bool catchError(Frame& f, const TryHandler& h);
  // A script function called from script code runs as an activation of
  // the caller's run() loop rather than in a run() of its own: its frame,
  // where its slots begin on the slot stack, and what the caller resumes
  // with when it ends.
  struct Activation {
    Frame frame;
    SlotStack::Mark mark{};
    Frame* caller = nullptr;
    const void** callerPending = nullptr;
    std::size_t callerTryBase = 0;
    bool method = false;       // a script method (counted in methodDepth_)
    bool constructor = false;  // ... that gives its object
    const void* pending[kMaxPendingCalls];
    Activation* outer = nullptr;  // the one this one runs inside
    Activation* inner = nullptr;  // the one a call from it reuses, once made
  };
  // Starts fn's activation, which takes over the n arguments at args.
  Activation& pushActivation(const FunctionDecl& fn, TulValue* args, int n,
                                          Frame& caller, const void** callerPending,
                                          std::size_t callerTryBase);
  TUL_NOINLINE Activation* methodActivation(Frame& f, const void** pending,
                                            std::size_t tryBase);
  // Ends the innermost activation (its result already taken), releasing its
  // slots; the caller's frame, with its pending callees and first handler.
  Frame* popActivation(const void**& pending, std::size_t& tryBase);
  bool methodArguments(const FunctionDecl& fn, TulClass* cls, int argc, const ValPtr& p,
                       const TulValue*& self, const TulValue*& args, int& nargs);
  bool runGuarded(const FunctionDecl& fn, TulClass* cls, const TulValue& self,
                  const TulValue* args, int nargs, TulValue& result);
  // Runs fn on its frame's slots; self null outside instance methods.
  TUL_ALWAYS_INLINE bool runFrame(const FunctionDecl& fn, TulValue* slots, const TulValue* self,
                                  TulClass* cls, TulValue& out) {
    if (fn.selfSlot >= 0) slots[fn.selfSlot] = functionValue(fn);
    Frame frame;
    frame.program = fn.program;
    frame.slots = slots;
    frame.self = self;
    frame.cls = cls;
    const Flow fl = run(fn.code, frame);
    if (fl == Flow::Fail) return false;
    out = fl == Flow::Return ? std::move(frame.ret) : TulValue();
    return true;
  }
  TUL_NOINLINE bool tooManyArguments(const Frame& f, int line, const FunctionDecl& fn, int n);
  // Whether the methods run now reach the runtime's depth limit (then
  // after the error).
  TUL_NOINLINE bool methodsTooDeep(const Frame& f, int line);
  TUL_NOINLINE void resolveMethodSlow(SiteCache& site, TulClass* cls, const std::string& name);
  TUL_NOINLINE void findNative(NativeSite& site, TulClass* cls, const std::string& name);
  void forwardToHost();
  void keepNativeCallFailure(const tulrt::ErrorRecord& r);
  void reraiseFirstForwarded();
  bool sameAsForwarded(const tulrt::ErrorRecord& r) const;
  std::shared_ptr<Program> loadProgram(const std::string& path, const std::string& shown,
                                       const std::string* source, int& status);
  bool resolveIncludes(Program& p, int& status);
  int runLoaded(const Program& p);
  int finish(bool ok);
  void reportDtorError(const tulrt::ErrorRecord& e);

  std::unique_ptr<tulrt::Machine> vm_;
  tulrt::Interpreter* host_ = &vm_->interp();  // vm_'s, kept at hand for native calls
  const int* hostDepth_ = host_->callDepthCounter();  // read at every method call
  EngineOptions opts_;
  std::ostream* out_;
  std::ostream* err_;

  std::vector<TulValue> globals_;
  std::vector<char> defined_;
  // The class each global read undefined found, by global index: where an
  // operand points while its instruction runs (a deque, so that it stays
  // put while nested code reads further globals).
  std::deque<TulValue> classReads_;
  std::deque<std::uint64_t> classReadsAt_;  // the method generation of each read
  // The `try` handlers of every run under way, innermost last; each run
  // owns those above the size it found.
  std::vector<TryHandler> tries_;
  std::vector<std::string> globalNames_;  // by index
  std::unordered_map<std::string, int> globalIndex_;

  std::vector<std::shared_ptr<Program>> programs_;  // by fileIndex
  std::unordered_set<std::string> included_;

  StopKind stop_ = StopKind::None;
  ScriptError error_;       // valid while stop_ is Error
  int exitCode_ = 0;
  ScriptError forwarded_;   // the last error handed to the runtime
  tulrt::ErrorRecord forwardedRecord_;  // ... as the runtime recorded it
  bool haveForwarded_ = false;
  std::vector<const void*> displaying_;  // containers being shown, for cycles
  ScriptError lastError_;

  // Every built-in's function value, so that a call may hold a built-in
  // borrowed while its arguments run (they may reassign the variable).
  std::vector<TulValue> builtins_;
  SlotStack slotStack_;
  // Script classes by runtime class: their own instance methods by name
  // (null for a name bound twice, which the runtime settles).
  std::unordered_map<const TulClass*, std::unordered_map<std::string, const FunctionDecl*>>
      scriptMethods_;
  const std::uint64_t* methodGeneration_ = &tulrt::methodGeneration();
  NativeSite toStringSite_;  // str() and print() of objects
  const std::string kToString = "toString";
  unsigned classEpoch_ = 1;  // call sites' caches start at 0: never current
  // Keyed by class and the hook's name, a literal of the evaluator's.
  struct HookKeyHash {
    std::size_t operator()(const std::pair<const TulClass*, const char*>& k) const {
      return std::hash<const void*>()(k.first) * 31 + std::hash<const void*>()(k.second);
    }
  };
  std::unordered_map<std::pair<const TulClass*, const char*>, HookSite, HookKeyHash> hooks_;
  int methodDepth_ = 0;      // script methods called without the runtime

  std::int64_t steps_ = 0;
  int callDepth_ = 0;
  // Activations by depth, each allocated once so that it stays put, and
  // chained from the root (which stands for none) through `inner`, so
  // that a call takes the next one with a single read.
  std::vector<std::unique_ptr<Activation>> activations_;
  Activation rootActivation_;
  Activation* innermost_ = &rootActivation_;  // the one under way
  TUL_NOINLINE Activation* deeperActivation();
  std::uintptr_t stackBase_ = 0;
  std::size_t stackBudget_ = 0;
  int activeRuns_ = 0;  // runs and method frames entered from outside
};

}  // namespace tulscript

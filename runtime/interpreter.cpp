// The interpreter: the error record, type checks, and the call frames through
// which every method (native or C++-written) is run.
//
// Invariant: a call leaves the stack as it found it: every slot its frame
// used is Nil again and `top` and `depth` are restored, whether the call
// succeeded or failed.
#include <cassert>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include "runtime/machine_impl.h"

using tulrt::ErrorRecord;
using tulrt::Machine;
using tulrt::detail::Callee;
using tulrt::detail::implOf;
using tulrt::detail::report;

namespace tulrt {
namespace detail {

Machine::Impl& implOf(const TulInterpreter* in) {
  return *reinterpret_cast<const InterpSlot*>(static_cast<const Interpreter*>(in))->owner;
}

bool report(Machine::Impl* m, const std::string& message, const char* detail) {
  if (!m) return false;
  m->error = ErrorRecord{};
  m->error.set = true;
  m->error.message = message;
  m->error.hasDetail = detail != nullptr;
  if (detail) m->error.detail = detail;
  return false;
}

}  // namespace detail
}  // namespace tulrt

namespace {

constexpr const char* kStackOverflow = "stack overflow";

std::string methodNotFound(const TulClass* cls, const char* name) {
  return std::string("Method ") + tulrt::className(cls) + "::" + (name ? name : "") +
         " not found";
}

bool isNonNegative(const TulValue& v) { return static_cast<double>(v) >= 0; }

// Whether v passes as the type code; see checkType.
bool accepts(const TulValue& v, TulValueType code) {
  switch (code) {
    case TulValueType::Number: return v.isNumber();
    case TulValueType::Int: return v.isInteger();
    case TulValueType::UInt: return v.isInteger() && isNonNegative(v);
    case TulValueType::Handle:
      return v.isInteger() || v.type() == TulValueType::Nil;
    case TulValueType::Object:
      return v.type() == TulValueType::Object || static_cast<TulObject*>(v) != nullptr;
    default: return v.type() == code;
  }
}

// Runs a call, turning a C++ exception that escapes it (a C++-written
// method's own, or an allocation a script asked for that cannot be had) into
// a script error: the frame must still be unwound by the caller. Forced
// inline, with the native call below: left to itself the compiler made each
// a function of its own, a frame more for every call.
template <class Run>
[[gnu::always_inline]] inline bool guarded(Machine::Impl& m, Run run) {
  try {
    return run();
  } catch (const std::bad_alloc&) {
    return report(&m, "out of memory");
  } catch (const std::exception& e) {
    return report(&m, std::string("unhandled exception: ") + e.what());
  } catch (...) {
    return report(&m, "unhandled exception");
  }
}

inline bool runCallee(Machine::Impl& m, const Callee& c, int argc, ValPtr& sp) {
  assert(c && "a call frame needs a method");
  TulVirtualMachine* vm = m.self;
  return guarded(m, [&] { return c.native ? c.native(vm, argc, sp) : (*c.script)(vm, argc, sp); });
}

// The same for a native method known to be one, as a call from script
// finds it.
[[gnu::always_inline]] inline bool runCallee(Machine::Impl& m, NativeMethod native, int argc,
                                             ValPtr& sp) {
  return guarded(m, [&] { return native(m.self, argc, sp); });
}

// Whether a value holds a reference (strong or weak) that assignment or
// destruction must give back; every other value is plain bits.
bool holdsReference(const TulValue& v) {
  return static_cast<int>(v.type()) >= static_cast<int>(TulValueType::Object);
}

// Writes v (a value, or an object as a strong reference) into a slot of the
// frame. A slot above top is nil (machine_impl.h), so the copy is made in
// place, with nothing there to give back.
template <class V>
inline void place(TulValue& slot, const V& v) {
  assert(!holdsReference(slot));
  new (&slot) TulValue(v);
}

inline void place(TulValue& slot, TulValue&& v) {
  assert(!holdsReference(slot));
  new (&slot) TulValue(std::move(v));
}

const TulValue& selfOf(const TulValue* self) { return *self; }
TulValue selfOf(TulObject* self) { return TulValue::strongRef(TulValueType::Object, self); }

// Moves a value into a nil slot and leaves the source nil: a reference
// travels with its bits, so nothing is retained or released. (Field by
// field, as the move constructor copies: one 16-byte copy would read
// bytes that narrower stores wrote a moment ago, and wait for them.)
inline void relocate(TulValue& to, TulValue& from) { new (&to) TulValue(std::move(from)); }

// Releases what a slot held (see resetSlots).
void drop(TulValue& slot) { TulValue dropped(std::move(slot)); }

// Writes Nil over a slot as its 16 zero bytes, whatever it held (the
// caller gives back any reference).
inline void wipe(TulValue& slot) { std::memset(static_cast<void*>(&slot), 0, sizeof(TulValue)); }

// Empties the slots [from, to]. Each value is taken out before it is
// released: a destructor run by the release may make calls of its own, which
// take slots above the restored top. A strong reference is released inline,
// a weak one through the value; anything else is simply overwritten.
inline void resetSlots(TulValue* from, const TulValue* to) {
  for (TulValue* slot = from; slot <= to; ++slot) {
    if (TulRefObject* held = slot->refObject()) {
      wipe(*slot);
      held->release();
    } else if (holdsReference(*slot)) {
      drop(*slot);
    } else {
      wipe(*slot);
    }
  }
}

// The last slot a frame used: its arguments, or further if the callee moved
// its cursor up to push values of its own. The cursor's index is asked
// first: a callee that leaves it on its last argument, as nearly all do,
// answers there.
int frameEnd(const TulVector& stack, const ValPtr& sp, int lastArg) {
  const bool movedUp = sp.index > lastArg && sp.vec == &stack &&
                       sp.index < static_cast<int>(stack.size());
  return movedUp ? sp.index : lastArg;
}

// In int: top lies inside the stack and slots counts values that exist in
// memory, each 16 bytes of a 32-bit address space, so the sum stays far
// below INT_MAX.
bool fitsFrame(const Machine::Impl& m, int slots) {
  return m.depth < tulrt::kMaxCallDepth &&
         static_cast<unsigned>(m.top + slots) < m.stack->size();
}

// The frame: the result slot at p = top+1, then `this` (instance calls), then
// the arguments; the callee gets sp on the last of them. Self is a value or
// an object, placed as place() takes it; Arg is TulValue when the arguments
// are moved in; C is a Callee or a NativeMethod, as runCallee takes it.
template <class Self, class Arg, class C>
bool runFrame(Machine::Impl& m, C c, Self self, Arg* args, int nargs, TulValue& result) {
  const int argc = (self ? 1 : 0) + nargs;
  if (!fitsFrame(m, argc + 1)) return report(&m, kStackOverflow);
  TulVector& stack = *m.stack;
  const int p = m.top + 1;
  const int savedTop = m.top;
  TulValue* const frame = &stack[static_cast<unsigned>(p)];
  assert(frame->type() == TulValueType::Nil);
  TulValue* next = frame + 1;
  if (self) place(*next++, selfOf(self));
  for (int i = 0; i < nargs; ++i) place(next[i], static_cast<Arg&&>(args[i]));
  ValPtr sp{&stack, p + argc};
  m.top = p + argc;
  ++m.depth;
  const bool ok = runCallee(m, c, argc, sp);
  --m.depth;
  TulValue answer(std::move(*frame));
  m.top = savedTop;
  resetSlots(frame, &stack[static_cast<unsigned>(frameEnd(stack, sp, p + argc))]);
  if (ok) result = std::move(answer);
  return ok;
}

// A call's failure, out of line: its text becomes a string only when it is
// needed, and the calls' own code keeps fewer registers to save.
[[gnu::noinline]] bool fail(Machine::Impl& m, const char* message) {
  return report(&m, message);
}

// An argument placed into a slot above top, which the invariant of
// machine_impl.h keeps nil, so nothing there is given back: copied,
// taking the reference it holds (the caller keeps its own), or moved,
// leaving the caller's nil.
inline void placeArg(TulValue& slot, const TulValue& v) {
  assert(!holdsReference(slot));
  new (&slot) TulValue(v);
}
inline void placeArg(TulValue& slot, TulValue& v) {
  assert(!holdsReference(slot));
  relocate(slot, v);
}

// runFrame's work for a native method on an object, as a call by name or a
// construction finds it: `this` placed from the object, the arguments
// placed as placeArg takes them (Arg as for runFrame), and the answer moved
// straight into *result before the slots are emptied (a destructor run then
// may take the slots above top); with result null the answer is dropped
// with them.
template <class Arg>
[[gnu::always_inline]] inline bool runNativeOn(Machine::Impl& m, NativeMethod fn,
                                               TulObject* obj, Arg* args, int nargs,
                                               TulValue* result) {
  const int argc = nargs + 1;
  if (!fitsFrame(m, argc + 1)) return fail(m, kStackOverflow);
  const int savedTop = m.top;
  TulValue* const frame = m.stack->data() + savedTop + 1;
  assert(frame->type() == TulValueType::Nil && !holdsReference(frame[1]));
  new (&frame[1]) TulValue(TulValue::strongRef(TulValueType::Object, obj));
  for (int i = 0; i < nargs; ++i) placeArg(frame[2 + i], args[i]);
  ValPtr sp{m.stack.get(), savedTop + 1 + argc};
  m.top = sp.index;
  ++m.depth;
  const bool ok = runCallee(m, fn, argc, sp);
  --m.depth;
  const int lastArg = savedTop + 1 + argc;
  TulVector& stack = *m.stack;
  TulValue* from = stack.data() + savedTop + 1;
  if (ok && result) {
    if (holdsReference(*result))
      *result = std::move(*from);
    else
      relocate(*result, *from);
    ++from;
  }
  m.top = savedTop;
  resetSlots(from, &stack[static_cast<unsigned>(frameEnd(stack, sp, lastArg))]);
  return ok;
}

}  // namespace

namespace tulrt {
namespace detail {

bool invoke(Machine::Impl& m, const Callee& c, const TulValue* self,
            const TulValue* args, int nargs, TulValue& result) {
  return runFrame<const TulValue*, const TulValue, const Callee&>(m, c, self, args, nargs,
                                                                   result);
}

bool invokeMoving(Machine::Impl& m, const Callee& c, const TulValue* self, TulValue* args,
                  int nargs, TulValue& result) {
  return runFrame<const TulValue*, TulValue, const Callee&>(m, c, self, args, nargs, result);
}

namespace {

// The constructor is the method that the nearest class of the chain binds
// under its own name (null: none). Remembered for the method generation it
// was found in, which binding, a change of base and naming a class all end;
// asked at every construction, so the remembered one is read inline.
const MethodEntry* findConstructor(const TulClass* cls) {
  const TulClassState& s = cls->state();
  s.ctor = nullptr;
  for (const TulClass* c = cls; c && !s.ctor; c = baseClass(c)) {
    const char* name = className(c);
    if (*name) s.ctor = c->state().methods.find(name);
  }
  s.ctorGeneration = gMethodGeneration;
  return s.ctor;
}

inline const MethodEntry* constructorOf(const TulClass* cls) {
  const TulClassState& s = cls->state();
  return sameGeneration(s.ctorGeneration, gMethodGeneration) ? s.ctor : findConstructor(cls);
}

}  // namespace

// Arg as for runFrame. A native constructor runs in the frame a call by
// name gives a native method.
template <class Arg>
bool constructWith(Machine::Impl& m, TulValue& out, TulClass* cls, Arg* args, int nargs) {
  if (!cls) return fail(m, "invalid class");
  auto* const made = new TulObject(cls);
  TulValue obj = TulValue::strongRef(TulValueType::Object, made);  // owns it from here
  const MethodEntry* ctor = constructorOf(cls);
  if (!ctor) {
    if (nargs > 0) return fail(m, "too many arguments");
    out = std::move(obj);
    return true;
  }
  bool ok;
  if (ctor->native) {
    ok = runNativeOn(m, ctor->native, made, args, nargs, static_cast<TulValue*>(nullptr));
  } else {
    TulValue ignored;
    ok = runFrame(m, Callee{nullptr, ctor->script.get()}, &obj, args, nargs, ignored);
  }
  if (!ok) {
    // An object whose constructor failed was never made: no dtor for it.
    TulObjectAccess::dtorRan(*made) = true;
    return false;
  }
  out = std::move(obj);
  return true;
}

bool construct(Machine::Impl& m, TulValue& out, TulClass* cls, const TulValue* args,
               int nargs) {
  return constructWith(m, out, cls, args, nargs);
}

}  // namespace detail
}  // namespace tulrt

// --- TulInterpreter: the library's side -------------------------------------

bool TulInterpreter::returnError(const char* message, const char* detail) {
  return report(&implOf(this), message ? message : "", detail);
}

bool TulInterpreter::badType(TulValueType actual, TulValueType expected) {
  Machine::Impl& m = implOf(this);
  report(&m, std::string("Bad type: expected ") + tulrt::typeName(expected) + ", got " +
                 tulrt::typeName(actual));
  m.error.typeError = true;
  m.error.actual = actual;
  m.error.expected = expected;
  return false;
}

bool TulInterpreter::checkType(const TulValue& v, TulValueType code) {
  return accepts(v, code) || badType(v.type(), code);
}

TulString* TulInterpreter::getStringFromValueExtern(TulValue& v) {
  return static_cast<TulString*>(v);
}

namespace {

// The answer of a call that native code made: a failure is told to the host
// before the native code sees it.
bool nativeCallAnswer(Machine::Impl& m, bool ok) {
  if (!ok && m.nativeCallFailureHandler) m.nativeCallFailureHandler(m.error);
  return ok;
}

}  // namespace

bool TulInterpreter::createObject(TulValue& out, const TulString& className,
                                  TulVector* args) {
  Machine::Impl& m = implOf(this);
  TulClass* cls = m.self->findClass(className.c_str());
  if (!cls)
    return nativeCallAnswer(m, report(&m, std::string("Class ") + className.c_str() + " not found"));
  const bool hasArgs = args && args->size();
  return nativeCallAnswer(m, tulrt::detail::construct(m, out, cls, hasArgs ? args->data() : nullptr,
                                                      hasArgs ? static_cast<int>(args->size()) : 0));
}

bool tulrt::Interpreter::create(TulValue& out, TulClass* cls, TulValue* args, int nargs) {
  Machine::Impl& m = implOf(this);
  const char* name = tulrt::className(cls);
  if (!*name)
    return nativeCallAnswer(m, report(&m, std::string("Class ") + name + " not found"));
  return nativeCallAnswer(m, tulrt::detail::constructWith(m, out, cls, args, nargs));
}

namespace {

// Runs the entry found for obj's class under name, with obj as `this`.
bool callEntry(Machine::Impl& m, TulObject* obj, const MethodEntry* e, const char* name,
               const TulValue* args, int nargs, TulValue& result) {
  const TulClass* cls = obj->getClass();
  if (!e) return report(&m, cls ? methodNotFound(cls, name) : "invalid object");
  if (e->native) return runNativeOn(m, e->native, obj, args, nargs, &result);
  return runFrame(m, Callee{nullptr, e->script.get()}, obj, args, nargs, result);
}

// A call by name that is not a native method on an object: a static call
// (obj null), a script method, or a name nothing binds.
[[gnu::noinline]] bool callOtherByName(Machine::Impl& m, TulClass* cls, TulObject* obj,
                                       const MethodEntry* e, const char* name,
                                       const TulValue* args, int nargs, TulValue& result) {
  if (!cls) return report(&m, obj ? "invalid object" : "invalid class");
  if (!e) return report(&m, methodNotFound(cls, name));
  if (e->native)
    return runFrame(m, e->native, static_cast<const TulValue*>(nullptr), args, nargs, result);
  const Callee callee{nullptr, e->script.get()};
  if (obj) return runFrame(m, callee, obj, args, nargs, result);
  return runFrame(m, callee, static_cast<const TulValue*>(nullptr), args, nargs, result);
}

// A call by name with obj as `this` (null for a static call on cls): the
// class's cache is read inline, and a native method on an object, the
// common case, runs in a frame of its own shape; the rest goes out of line.
[[gnu::always_inline]] inline bool callByName(Machine::Impl& m, TulClass* cls, TulObject* obj,
                                              const char* name, const TulValue* args,
                                              int nargs, TulValue& result) {
  const MethodEntry* e =
      cls && name ? tulrt::detail::findEntryFast(cls, name, !obj) : nullptr;
  if (e && obj && e->native) return runNativeOn(m, e->native, obj, args, nargs, &result);
  return callOtherByName(m, cls, obj, e, name, args, nargs, result);
}

}  // namespace

bool TulInterpreter::invokeMember(TulValue& result, TulObject* obj, const char* name,
                                  TulVector* args) {
  Machine::Impl& m = implOf(this);
  if (!obj) return nativeCallAnswer(m, fail(m, "invalid object"));
  const bool hasArgs = args && args->size();
  return nativeCallAnswer(m, callByName(m, obj->getClass(), obj, name,
                                        hasArgs ? args->data() : nullptr,
                                        hasArgs ? static_cast<int>(args->size()) : 0, result));
}

bool TulInterpreter::invokeMember(TulValue& result, TulObject* obj, TulCallSite& site,
                                  const TulValue* args, int nargs) {
  Machine::Impl& m = implOf(this);
  if (!obj) return nativeCallAnswer(m, report(&m, "invalid object"));
  TulClass* cls = obj->getClass();
  const MethodEntry* e = cls ? tulrt::detail::findMethodAt(cls, site) : nullptr;
  return nativeCallAnswer(m, callEntry(m, obj, e, site.name, args, nargs, result));
}

NativeMethod TulInterpreter::nativeMethodAt(TulObject* obj, TulCallSite& site) {
  TulClass* cls = obj ? obj->getClass() : nullptr;
  const MethodEntry* e = cls ? tulrt::detail::findMethodAt(cls, site) : nullptr;
  return e ? e->native : nullptr;
}

bool TulInterpreter::callFailed() { return nativeCallAnswer(implOf(this), false); }

// --- Interpreter: the runtime's own face ------------------------------------

namespace tulrt {

Machine& Interpreter::machine() { return *implOf(this).self; }

const ErrorRecord& Interpreter::lastError() const {
  return implOf(this).error;
}

void Interpreter::clearError() { implOf(this).error = ErrorRecord{}; }

bool Interpreter::call(TulValue& result, TulClass* cls, const char* name,
                       const TulValue* self, const TulValue* args, int nargs) {
  Machine::Impl& m = implOf(this);
  if (!cls) return report(&m, self ? "invalid object" : "invalid class");
  const detail::Callee callee = detail::findMethod(cls, name, self == nullptr);
  if (!callee) return report(&m, methodNotFound(cls, name));
  return detail::invoke(m, callee, self, args, nargs, result);
}


// runFrame's work for the one shape a script's call of a native method
// takes: `this` held by the frame, the arguments moved in, and the answer
// written straight into result from its slot, before the slots are emptied
// (a destructor run then may take the slots above top). An argument is left
// nil even when the frame does not fit, so the caller has none to drop.
bool Interpreter::callNative(TulValue& result, NativeMethod fn, const TulValue& self,
                             TulValue* args, int nargs) {
  Machine::Impl& m = implOf(this);
  const int argc = nargs + 1;
  if (!fitsFrame(m, argc + 1)) {
    for (int i = 0; i < nargs; ++i) drop(args[i]);
    return report(&m, kStackOverflow);
  }
  TulVector& stack = *m.stack;
  const int savedTop = m.top;
  const int p = savedTop + 1;
  TulValue* const frame = &stack[static_cast<unsigned>(p)];
  assert(frame->type() == TulValueType::Nil);
  place(frame[1], self);
  for (int i = 0; i < nargs; ++i) placeArg(frame[2 + i], args[i]);
  ValPtr sp{&stack, p + argc};
  m.top = p + argc;
  ++m.depth;
  const bool ok = runCallee(m, fn, argc, sp);
  --m.depth;
  TulValue* from = frame;
  if (ok) {
    if (holdsReference(result))
      result = std::move(*frame);
    else
      relocate(result, *frame);
    ++from;
  }
  m.top = savedTop;
  resetSlots(from, &stack[static_cast<unsigned>(frameEnd(stack, sp, p + argc))]);
  return ok;
}

bool Interpreter::callMember(TulValue& result, TulObject* obj, const char* name,
                             std::initializer_list<TulValue> args) {
  if (!obj) return fail(implOf(this), "invalid object");
  return callByName(implOf(this), obj->getClass(), obj, name, args.begin(),
                    static_cast<int>(args.size()), result);
}

bool Interpreter::callStatic(TulValue& result, TulClass* cls, const char* name,
                             std::initializer_list<TulValue> args) {
  return callByName(implOf(this), cls, nullptr, name, args.begin(),
                    static_cast<int>(args.size()), result);
}

// Looked up from the base; a class without a base has nothing to inherit.
bool Interpreter::callInherited(TulValue& result, TulClass* cls, TulObject* obj,
                                const char* name, std::initializer_list<TulValue> args) {
  Machine::Impl& m = implOf(this);
  if (!cls || !obj) return report(&m, "invalid object");
  TulClass* base = baseClass(cls);
  const detail::Callee callee = detail::findMethod(base, name, false);
  if (!callee) return report(&m, methodNotFound(base ? base : cls, name));
  const TulValue self(obj);
  return detail::invoke(m, callee, &self, args.begin(), static_cast<int>(args.size()),
                        result);
}

bool Interpreter::construct(TulValue& out, TulClass* cls,
                            std::initializer_list<TulValue> args) {
  return detail::construct(implOf(this), out, cls, args.begin(),
                           static_cast<int>(args.size()));
}

// An empty handler brings back the default (printing to stderr).
void Interpreter::setDtorErrorHandler(std::function<void(const ErrorRecord&)> handler) {
  implOf(this).dtorErrorHandler = std::move(handler);
}

void Interpreter::setNativeCallFailureHandler(std::function<void(const ErrorRecord&)> handler) {
  implOf(this).nativeCallFailureHandler = std::move(handler);
}

int Interpreter::callDepth() const { return implOf(this).depth; }
const int* Interpreter::callDepthCounter() const { return &implOf(this).depth; }

unsigned Interpreter::stackUsed() const {
  return static_cast<unsigned>(implOf(this).top + 1);
}

}  // namespace tulrt

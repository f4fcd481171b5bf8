// The VM: runs a Code on a frame. Each instruction does the common case
// inline (32-bit integers, a vector's element, a member at the index its
// site remembers, a script function or method called by its declaration)
// and hands everything else to operations.cpp and the call machinery of
// interpreter.cpp, which report errors with the instruction's lines.
//
// Dispatch is threaded (each instruction jumps straight to the next one's
// code). The frame is given the instruction under way before anything that
// can fail, so a slow path takes only the frame and an error looks its line
// up from there. A script function called by name or through a value runs
// as a new activation of the same loop; a method, and script code entered
// from native code (a hook, a callback), runs in a nested run().
#include <algorithm>
#include <cstring>
#include <string>

#include "script/compiler.h"
#include "script/interp.h"
#include "script/operations.h"
#include "script/values.h"

namespace tulscript {
namespace {

// Releases what a slot holds, if it holds a reference. (The last release
// is out of line: run() would otherwise hold a temporary for each use,
// which unoptimised builds keep apart on the stack.)
inline void dropRef(TulValue& v) {
  if (holdsReference(v)) dropHeld(v);
}

// A pending callee: a script function's declaration, or a built-in's
// function object with the low bit set.
const FunctionDecl* scriptCallee(const void* p) {
  return (reinterpret_cast<std::uintptr_t>(p) & 1) ? nullptr
                                                   : static_cast<const FunctionDecl*>(p);
}
const FunctionObject* builtinCallee(const void* p) {
  const std::uintptr_t bits = reinterpret_cast<std::uintptr_t>(p);
  return (bits & 1) ? reinterpret_cast<const FunctionObject*>(bits & ~std::uintptr_t(1)) : nullptr;
}

const TulValue kNil;

// The element o[k] where it lies: a vector's at an integer index within it,
// a dictionary's under a string key (absent when it has none); null where
// the general way must read it (and report what is wrong).
inline const TulValue* elementInPlace(const TulValue& o, const TulValue& k,
                                      const TulValue* absent) {
  if (o.type() == TulValueType::Vector) {
    const TulVector* vec = static_cast<TulVector*>(o.refObject());
    const unsigned at = static_cast<unsigned>(static_cast<int>(k));
    return k.type() == TulValueType::I32 && at < vec->size() ? &(*vec)[at] : nullptr;
  }
  if (k.type() != TulValueType::String) return nullptr;
  const TulDictionaryEntry* e =
      static_cast<TulDictionary*>(o.refObject())->find(*static_cast<TulString*>(k.refObject()));
  return e ? &e->value : absent;
}

// v itself, or a string of its own for a string.
TulValue fresh(const TulValue& v) {
  TulString* s = static_cast<TulString*>(v);
  return s ? makeString(s->c_str(), s->length()) : v;
}

// The characters + joins for a string or a number: a string's own, or the
// number's text formatted into buf; false for any other value.
bool joinable(const TulValue& v, char (&buf)[32], std::string& longer, const char*& p,
              unsigned& n) {
  if (TulString* s = static_cast<TulString*>(v)) {
    p = s->c_str();
    n = s->length();
    return true;
  }
  if (!v.isNumber()) return false;
  if (v.type() == TulValueType::I32) {
    const std::int32_t i = static_cast<int>(v);
    std::uint32_t u = i < 0 ? 0u - static_cast<std::uint32_t>(i) : static_cast<std::uint32_t>(i);
    char* end = buf + sizeof buf;
    char* q = end;
    do {
      *--q = static_cast<char>('0' + u % 10);
      u /= 10;
    } while (u);
    if (i < 0) *--q = '-';
    p = q;
    n = static_cast<unsigned>(end - q);
    return true;
  }
  longer = formatNumber(v);
  p = longer.data();
  n = static_cast<unsigned>(longer.size());
  return true;
}

}  // namespace

// --- operands ---------------------------------------------------------------------

const TulValue* Interp::readGlobal(int index, Frame& f, int which) {
  const std::size_t i = static_cast<std::size_t>(index);
  if (classReads_.size() <= i) {
    classReads_.resize(i + 1);
    classReadsAt_.resize(i + 1, 0);
  }
  // Naming a class starts a new method generation, so a class read by name
  // in this one is still the class of that name.
  if (classReadsAt_[i] == *methodGeneration_ && classReads_[i].type() == TulValueType::Class)
    return &classReads_[i];
  if (!readUndefined(index, f, which, classReads_[i])) return nullptr;
  classReadsAt_[i] = *methodGeneration_;
  return &classReads_[i];
}

bool Interp::storeSlow(std::int32_t x, Frame& f, TulValue&& v) {
  if (operand::space(x) == operand::This) return true;  // not wanted
  if (operand::space(x) == operand::Local) {
    f.slots[operand::index(x)] = std::move(v);
    return true;
  }
  const std::size_t i = static_cast<std::size_t>(operand::index(x));
  if (!defined_[i]) return writeUndeclared(globalNames_[i], f, lines::Target);
  globals_[i] = std::move(v);
  return true;
}

bool Interp::storeIntSlow(std::int32_t x, Frame& f, std::int32_t r) {
  return storeSlow(x, f, TulValue(r));
}

// --- slow paths, out of line so that run() keeps a small frame ----------------------

// A step of the budget at the instruction's line of that kind (lines::Op,
// or lines::Step for a loop's turn that an instruction counts itself).
bool Interp::countStep(Frame& f, int line) { return step(f, line); }

// a = x + y for a string and a string or a number: appended in place to a
// string x that only its consumed temporary holds (so a chain a + b + c
// builds one string), else joined into a new string.
bool Interp::joinStrings(Frame& f, const TulValue& x,
                         const TulValue& y, bool& done) {
  const Ins* ip = f.ip;
  char xb[32], yb[32];
  std::string xl, yl;
  const char *xp, *yp;
  unsigned xn, yn;
  done = (static_cast<TulString*>(x) || static_cast<TulString*>(y)) &&
         joinable(x, xb, xl, xp, xn) && joinable(y, yb, yl, yp, yn);
  if (!done) return true;
  if (!checkSize(f, lines::Op, std::uint64_t(xn) + yn, "string")) return false;
  TulString* s = static_cast<TulString*>(x);
  const bool consumed = ((ip->flags & kFreeB) || ip->a == ip->b) &&
                        operand::space(ip->b) == operand::Local;
  if (s && consumed && s->refCount() == 1) {
    s->append(yp, yn);
    if (ip->a == ip->b) return true;
    TulValue v(std::move(f.slots[operand::index(ip->b)]));
    return store(ip->a, f, std::move(v));
  }
  // Joined first, so that the new string is allocated once at its size.
  char small[128];
  std::string large;
  char* joined = small;
  if (xn + yn > sizeof small) {
    large.resize(std::size_t(xn) + yn);
    joined = &large[0];
  }
  std::memcpy(joined, xp, xn);
  std::memcpy(joined + xn, yp, yn);
  TulValue out(new TulString(joined, xn + yn));
  return store(ip->a, f, std::move(out));
}

// a = b OP c by the general rules. A string constant met by an object's
// hook is handed over as a string of its own, as a literal always is.
bool Interp::binarySlow(Frame& f, TokenKind op,
                        const TulValue& x, const TulValue& y) {
  const Ins* ip = f.ip;
  if (op == TokenKind::Plus) {
    bool done = false;
    if (!joinStrings(f, x, y, done)) return false;
    if (done) return true;
  }
  TulValue out;
  if ((x.isObject() || y.isObject()) &&
      (operand::space(ip->b) == operand::Const || operand::space(ip->c) == operand::Const)) {
    const TulValue ownX = fresh(x), ownY = fresh(y);
    if (!ops::binary(*this, f, lines::Op, op, ownX, ownY, out)) return false;
  } else if (!ops::binary(*this, f, lines::Op, op, x, y, out)) {
    return false;
  }
  return store(ip->a, f, std::move(out));
}

// Whether a compare-and-jump jumps (1) or not (0), by the general rules;
// -1 after an error.
int Interp::jumpSlow(Frame& f, const TulValue& x,
                     const TulValue& y) {
  const Ins* ip = f.ip;
  TulValue out;
  if (!ops::binary(*this, f, lines::Op, opToken(ip->op), x, y, out)) return -1;
  return isTrue(out) != ((ip->flags & kNegate) != 0) ? 1 : 0;
}

// Variable b stepped by d (prefix when kPrefix), its value unused.
bool Interp::incVarSlow(Frame& f) {
  const Ins* ip = f.ip;
  const TulValue* old = read(ip->b, f, lines::B);
  if (!old) return false;
  TulValue held(*old), updated;
  if (!ops::stepped(*this, f, lines::Op, ip->d > 0, (ip->flags & kPrefix) != 0, held, updated))
    return false;
  return store(ip->b, f, std::move(updated));
}

// The end of a counting loop's turn for anything but integers: 1 when the
// loop goes on, 0 when it ends, -1 after an error.
int Interp::stepLessSlow(Frame& f) {
  const Ins* ip = f.ip;
  if (!incVarSlow(f)) return -1;
  if (!step(f, lines::Step)) return -1;
  const TulValue* x = read(ip->b, f, lines::B);
  if (!x) return -1;
  const TulValue* y = read(ip->c, f, lines::C);
  if (!y) return -1;
  TulValue out;
  if (!ops::binary(*this, f, lines::Target, TokenKind::Less, *x, *y, out)) return -1;
  return isTrue(out) ? 1 : 0;
}

bool Interp::unarySlow(Frame& f, const TulValue& x) {
  const Ins* ip = f.ip;
  TulValue out;
  const TokenKind op = opToken(ip->op);
  if (!ops::unary(*this, f, lines::Op, op, x, out)) return false;
  return store(ip->a, f, std::move(out));
}

// The callee of pending call k: what variable b holds.
bool Interp::callee(Frame& f, const void** pending) {
  const Ins* ip = f.ip;
  const TulValue* v = read(ip->b, f, lines::B);
  if (!v) return false;
  const void*& held = pending[ip->spare];
  if (const FunctionObject* fn = functionOf(*v)) {
    held = fn->decl() ? static_cast<const void*>(fn->decl())
                      : reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(fn) | 1);
    return true;
  }
  held = nullptr;
  f.slots[operand::index(ip->a)] = *v;
  return true;
}

// a = pending call k with the n values at args; the arguments are used up.
// a = script function fn called with the n arguments at args, which its
// frame takes over; the lines only an error needs are looked up then.
bool Interp::callFunctionAt(Frame& f, const FunctionDecl& fn,
                            TulValue* args, int n) {
  const Ins* ip = f.ip;
  if (n > static_cast<int>(fn.params.size())) return tooManyArguments(f, lines::Op, fn, n);
  TulValue out;
  {
    CalleeFrame frame(slotStack_, fn, args, n);
    TulValue* slots = frame.slots();
    if (!withinStack()) return stackOverflow(f, lines::Op);
    ++callDepth_;
    const bool ok = runFrame(fn, slots, nullptr, nullptr, out);
    leaveCall();
    if (!ok) return false;
  }
  return store(ip->a, f, std::move(out));
}

TUL_ALWAYS_INLINE Interp::Activation& Interp::pushActivation(const FunctionDecl& fn, TulValue* args, int n,
                                           Frame& caller, const void** callerPending,
                                           std::size_t callerTryBase) {
  Activation* next = innermost_->inner;
  if (!next) next = deeperActivation();
  innermost_ = next;
  Activation& a = *next;
  ++callDepth_;
  a.mark = slotStack_.mark();
  // Calls that come here pass no more arguments than fn has parameters,
  // and a frame holds them all. The frame begins at the arguments where the
  // caller's slots allow, else above them: slots taken are nil, and the
  // arguments are moved in without a release.
  TulValue* slots = args;
  const std::size_t size = static_cast<std::size_t>(fn.code.frameSize);
  if (!slotStack_.takeOver(args, static_cast<std::size_t>(n), size, a.mark)) {
    slots = slotStack_.take(size);
    for (int i = 0; i < n; ++i) relocate(slots[i], args[i]);
  }
  if (fn.selfSlot >= 0) slots[fn.selfSlot] = functionValue(fn);
  a.frame.program = fn.program;
  a.frame.slots = slots;
  a.frame.self = nullptr;
  a.frame.cls = nullptr;
  a.frame.code = &fn.code;
  a.frame.ip = fn.code.ins.data();
  a.caller = &caller;
  a.callerPending = callerPending;
  a.callerTryBase = callerTryBase;
  a.method = false;
  a.constructor = false;
  return a;
}

Interp::Activation* Interp::deeperActivation() {
  activations_.emplace_back(new Activation());
  Activation* a = activations_.back().get();
  a->outer = innermost_;
  innermost_->inner = a;
  return a;
}

TUL_ALWAYS_INLINE Frame* Interp::popActivation(const void**& pending, std::size_t& tryBase) {
  Activation& a = *innermost_;
  innermost_ = a.outer;
  Frame* caller = a.caller;
  pending = a.callerPending;
  tryBase = a.callerTryBase;
  // Read field by field: the mark was written a few instructions ago, and
  // a load wider than the stores that wrote it would wait for them.
  const SlotStack::Mark mark{a.mark.block, a.mark.top, a.mark.from};
  --callDepth_;
  if (a.method) --methodDepth_;
  // A dtor run by the release may start activations of its own, at this
  // depth: nothing of this one is read past here.
  slotStack_.release(mark);
  return caller;
}

// The activation of the script method that instruction f.ip's site has
// found for its object's class, started; null when the call must go the
// general way (a native method, a weak reference, too many arguments, calls
// too deep).
Interp::Activation* Interp::methodActivation(Frame& f, const void** pending,
                                             std::size_t tryBase) {
  const Ins* ip = f.ip;
  const TulValue* obj = operand::space(ip->b) == operand::Local ? &f.slots[operand::index(ip->b)]
                        : operand::space(ip->b) == operand::This ? f.self
                                                                 : nullptr;
  if (!obj || obj->type() != TulValueType::Object) return nullptr;
  CallSite& site = f.code->calls[static_cast<std::size_t>(ip->c)];
  resolveMethod(site.cache, static_cast<TulObject*>(obj->refObject())->getClass(), site.name);
  const FunctionDecl* fn = site.cache.fn;
  if (!fn || site.argc > fn->code.params || callDepth_ >= kMaxScriptCallDepth ||
      methodDepth_ + *hostDepth_ >= tulrt::kMaxCallDepth)
    return nullptr;
  Activation& a = pushActivation(*fn, f.slots + ip->d, site.argc, f, pending, tryBase);
  a.method = true;
  a.constructor = fn->isConstructor;
  a.frame.self = obj;
  a.frame.cls = site.cache.owner;
  ++methodDepth_;
  return &a;
}

bool Interp::callPending(Frame& f, const void* pending,
                         TulValue* args, int n) {
  const Ins* ip = f.ip;
  if (const FunctionDecl* fn = scriptCallee(pending)) return callFunctionAt(f, *fn, args, n);
  TulValue out;
  bool ok;
  {
    if (const FunctionObject* b = builtinCallee(pending))
      ok = callBuiltin(f, lines::Op, *b, args, n, out);
    else
      ok = callValue(f, lines::Op, args[-1], args, n, out,
                     f.code->calls[static_cast<std::size_t>(ip->d)].name);
    for (int i = -1; i < n; ++i) dropRef(args[i]);
  }
  return ok && store(ip->a, f, std::move(out));
}

bool Interp::callTemp(Frame& f) {
  const Ins* ip = f.ip;
  TulValue* callee = f.slots + ip->b;
  TulValue* args = callee + 1;
  const int n = ip->c;
  TulValue out;
  bool ok;
  FunctionObject* fn = functionOf(*callee);
  if (fn && fn->decl()) {
    const FunctionDecl& decl = *fn->decl();
    CalleeFrame frame(slotStack_, decl, args, n);
    TulValue* slots = frame.slots();
    dropRef(*callee);  // the declaration lives as long as its program
    ok = callFunctionInPlace(f, lines::Op, decl, slots, n, out);
  } else {
    ok = callValue(f, lines::Op, *callee, args, n, out,
                   f.code->calls[static_cast<std::size_t>(ip->d)].name);
    for (int i = -1; i < n; ++i) dropRef(args[i]);
  }
  return ok && store(ip->a, f, std::move(out));
}

// len(v) and push(v, x) run on the vector where it is while the callee is
// the built-in; anything else is an ordinary call of the callee.
bool Interp::lenOrPush(Frame& f, const void* pending) {
  const Ins* ip = f.ip;
  const bool isPush = ip->op == Op::Push;
  TulValue* callee =
      f.slots + (isPush ? f.code->calls[static_cast<std::size_t>(ip->d)].calleeSlot : ip->c);
  TulValue* args = callee + 1;
  const int n = isPush ? 2 : 1;
  const TulValue* v = read(ip->b, f, lines::B);
  if (!v) return false;
  const TulValue* x = nullptr;
  if (isPush && !(x = read(ip->c, f, lines::C))) return false;
  const FunctionObject* b = builtinCallee(pending);
  TulVector* vec = static_cast<TulVector*>(*v);
  if (b && vec && (isPush ? isBuiltinPush(*b) : isBuiltinLen(*b))) {
    TulValue out;
    if (isPush) {
      if (!checkSize(f, lines::Op, std::uint64_t(vec->size()) + 1, "vector")) return false;
      vec->push_back(*x);
    }
    out = TulValue(static_cast<int>(vec->size()));
    for (int i = 0; i < n; ++i) dropRef(args[i]);
    return store(ip->a, f, std::move(out));
  }
  if (v != &args[0]) args[0] = *v;
  if (isPush && x != &args[1]) args[1] = *x;
  return callPending(f, pending, args, n);
}

bool Interp::method(Frame& f) {
  const Ins* ip = f.ip;
  CallSite& e = f.code->calls[static_cast<std::size_t>(ip->c)];
  const TulValue* obj = read(ip->b, f, lines::B);
  if (!obj) return false;
  const int n = e.argc;
  TulValue* args = f.slots + ip->d;
  const FunctionDecl* fn = nullptr;
  NativeMethod native = nullptr;
  // The arguments may have ended an object held by a weak reference.
  if (TulObject* o = obj->isObject() ? ops::objectOf(*obj) : nullptr) {
    resolveMethod(e.cache, o->getClass(), e.name);
    fn = e.cache.fn;
    if (fn && n > static_cast<int>(fn->params.size())) fn = nullptr;
    if (!e.cache.fn) native = nativeAt(e.native, o->getClass(), e.name);
  }
  if (native) return nativeMethod(f, *obj, native);
  TulValue out;
  bool ok;
  if (fn) {
    CalleeFrame frame(slotStack_, *fn, args, n);
    TulValue* slots = frame.slots();
    ok = callMethodInPlace(f, lines::Op, *fn, e.cache.owner, *obj, slots, out);
  } else {
    ok = ops::callNamed(*this, f, lines::Op, *obj, e.name, args, n, out);
    for (int i = 0; i < n; ++i) dropRef(args[i]);
  }
  if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
  return ok && store(ip->a, f, std::move(out));
}

// Both caches must still speak for the class: the method site's (no script
// method of that name) and the native site's (the runtime's binding).
// A site that found a script method last leaves at the first test.
NativeMethod Interp::knownNative(const Frame& f, const TulValue*& obj) {
  const Ins* ip = f.ip;
  const CallSite& e = f.code->calls[static_cast<std::size_t>(ip->c)];
  if (e.cache.fn || !e.native.fn) return nullptr;
  obj = operand::space(ip->b) == operand::Local ? &f.slots[operand::index(ip->b)]
        : operand::space(ip->b) == operand::This ? f.self
                                                 : nullptr;
  if (!obj || obj->type() != TulValueType::Object) return nullptr;
  const TulClass* cls = static_cast<TulObject*>(obj->refObject())->getClass();
  if (e.cache.cls != cls || e.cache.epoch != classEpoch_ || e.native.cls != cls ||
      e.native.generation != *methodGeneration_)
    return nullptr;
  return e.native.fn;
}

// A native method takes its arguments where they are: they are moved into
// the runtime's frame, which leaves them nil, so a call that ran has none
// to drop; one refused before the runtime saw it still holds them.
// The answer goes straight into a local destination: the runtime writes it
// only when the call succeeds, and the compiler never marks the object's
// temp as freed when it is the destination too.
bool Interp::nativeMethod(Frame& f, const TulValue& obj, NativeMethod native) {
  const Ins* ip = f.ip;
  const int n = f.code->calls[static_cast<std::size_t>(ip->c)].argc;
  TulValue* args = f.slots + ip->d;
  const bool freeB = ip->flags & kFreeB;
  if (operand::space(ip->a) == operand::Local) {
    const bool ok = callNative(f, lines::Op, obj, native, args, n, f.slots[operand::index(ip->a)]);
    if (!ok)
      for (int i = 0; i < n; ++i) dropRef(args[i]);
    if (freeB) dropRef(f.slots[operand::index(ip->b)]);
    return ok;
  }
  TulValue out;
  const bool ok = callNative(f, lines::Op, obj, native, args, n, out);
  if (!ok)
    for (int i = 0; i < n; ++i) dropRef(args[i]);
  if (freeB) dropRef(f.slots[operand::index(ip->b)]);
  return ok && store(ip->a, f, std::move(out));
}

bool Interp::baseMethod(Frame& f) {
  const Ins* ip = f.ip;
  CallSite& e = f.code->calls[static_cast<std::size_t>(ip->c)];
  TulValue* args = f.slots + ip->d;
  TulValue out;
  const bool ok = ops::callBase(*this, f, lines::Op, e.name, e.native, args, e.argc, out);
  for (int i = 0; i < e.argc; ++i) dropRef(args[i]);
  return ok && store(ip->a, f, std::move(out));
}

bool Interp::member(Frame& f, bool write) {
  const Ins* ip = f.ip;
  MemberSite& m = f.code->members[static_cast<std::size_t>(write ? ip->d : ip->c)];
  const TulValue* obj = read(ip->b, f, lines::B);
  if (!obj) return false;
  TulValue* slot = nullptr;
  if (write) {
    const TulValue* v = read(ip->c, f, lines::C);
    if (!v || !ops::memberSlot(*this, f, lines::Op, *obj, m.name, m.cache, true, slot))
      return false;
    *slot = *v;
    if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
    if (ip->flags & kFreeC) dropRef(f.slots[operand::index(ip->c)]);
    return true;
  }
  if (!ops::memberSlot(*this, f, lines::Op, *obj, m.name, m.cache, false, slot)) return false;
  // A copy first: writing it may release the object the slot belongs to.
  TulValue v = slot ? *slot : TulValue();
  if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
  return store(ip->a, f, std::move(v));
}

bool Interp::index(Frame& f, bool write) {
  const Ins* ip = f.ip;
  const TulValue* obj = read(ip->b, f, lines::B);
  if (!obj) return false;
  const TulValue* key = read(ip->c, f, lines::C);
  if (!key) return false;
  if (write) {
    const TulValue* v = read(ip->d, f, lines::D);
    if (!v || !ops::writeIndex(*this, f, lines::Op, *obj, *key, *v)) return false;
    if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
    if (ip->flags & kFreeC) dropRef(f.slots[operand::index(ip->c)]);
    if (ip->flags & kFreeD) dropRef(f.slots[operand::index(ip->d)]);
    return true;
  }
  TulValue v;
  if (!ops::readIndex(*this, f, lines::Op, *obj, *key, v)) return false;
  if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
  if (ip->flags & kFreeC) dropRef(f.slots[operand::index(ip->c)]);
  return store(ip->a, f, std::move(v));
}

// Instructions that are never on a hot path.
bool Interp::rare(Frame& f) {
  const Ins* ip = f.ip;
  TulValue* R = f.slots;
  switch (ip->op) {
    case Op::DefGlobal: {
      const TulValue* v = read(ip->b, f, lines::B);
      if (!v) return false;
      const TulValue held(*v);
      if (ip->flags & kFreeB) dropRef(*operandAt(R, ip->b));
      const std::size_t i = static_cast<std::size_t>(ip->a);
      globals_[i] = held;
      defined_[i] = 1;
      return true;
    }
    case Op::LoadStr:
      return store(ip->a, f, literalString(*f.code, static_cast<std::size_t>(ip->b)));
    case Op::LoadFn:
      return store(ip->a, f, functionValue(*f.code->functions[static_cast<std::size_t>(ip->b)]));
    case Op::NewVec: {
      if (!checkSize(f, lines::Op, static_cast<std::uint64_t>(ip->d), "vector")) return false;
      return store(ip->a, f, TulValue(new TulVector(static_cast<unsigned>(ip->d), false)));
    }
    case Op::VecPush:
      static_cast<TulVector*>(*operandAt(R, ip->a))->push_back(*operandAt(R, ip->b));
      dropRef(*operandAt(R, ip->b));
      return true;
    case Op::NewDict: return store(ip->a, f, TulValue(new TulDictionary()));
    case Op::DictKey: {
      TulString* k = nullptr;
      return ops::dictionaryKey(*this, f, lines::Op, *operandAt(R, ip->b), k);
    }
    case Op::DictPut: {
      const TulValue* v = read(ip->c, f, lines::C);
      if (!v) return false;
      TulDictionary* d = static_cast<TulDictionary*>(*operandAt(R, ip->a));
      *(*d)[*static_cast<TulString*>(*operandAt(R, ip->b))] = *v;
      dropRef(*operandAt(R, ip->b));
      if (ip->flags & kFreeC) dropRef(*operandAt(R, ip->c));
      return true;
    }
    case Op::IncDec: {
      const TulValue* old = read(ip->b, f, lines::B);
      if (!old) return false;
      TulValue updated;
      if (!ops::stepped(*this, f, lines::Op, ip->d > 0, (ip->flags & kPrefix) != 0, *old,
                        updated))
        return false;
      if (ip->flags & kFreeB) dropRef(*operandAt(R, ip->b));
      return store(ip->a, f, std::move(updated));
    }
    case Op::ForInPrep: {
      TulValue* seq = R + ip->b;
      if (!ops::forInStart(*this, f, lines::Op, seq[0], seq[1])) return false;
      seq[2] = TulValue(0);
      return true;
    }
    case Op::Throw: {
      const TulValue* v = read(ip->b, f, lines::B);
      if (!v) return false;
      const TulValue held(*v);
      return ops::raise(*this, f, lines::Op, held);
    }
    case Op::Class: {
      TulClass* cls = nullptr;
      if (!declareClass(*f.code->classes[static_cast<std::size_t>(ip->b)], f, cls)) return false;
      *operandAt(R, ip->a) = TulValue(cls);
      return true;
    }
    case Op::Static: {
      const TulValue* v = read(ip->b, f, lines::B);
      if (!v) return false;
      const std::string& name = f.code->strings[static_cast<std::size_t>(ip->c)];
      static_cast<TulClass*>(*operandAt(R, ip->a))->addStaticDataMember(name.c_str(), *v);
      if (ip->flags & kFreeB) dropRef(*operandAt(R, ip->b));
      return true;
    }
    case Op::Include: {
      const Program* p = f.code->includes[static_cast<std::size_t>(ip->b)].program;
      return !p || runProgram(*p);
    }
    default:
      return fail(f, lines::Op, "internal error: unknown instruction");
  }
}

// The error under way, caught by handler h: false for exit and abort,
// which pass every catch.
bool Interp::catchError(Frame& f, const TryHandler& h) {
  ScriptError caught;
  if (!takeError(caught)) return false;
  // What the failed statement left in temporaries goes now.
  for (int s = h.temps; s < f.code->frameSize; ++s) dropRef(f.slots[s]);
  f.slots[operand::index(h.caught)] = errorValue(caught);
  return true;
}

// 1 with the loop's variable set to the next item, 0 at the end, -1
// after an error.
int Interp::forInNext(Frame& f) {
  const Ins* ip = f.ip;
  TulValue* seq = f.slots + ip->b;
  TulValue item;
  bool more = false;
  if (!ops::forInNext(*this, f, lines::Op, seq[0], seq[1], seq[2], item, more)) return -1;
  if (!more) return 0;
  return store(ip->d, f, std::move(item)) ? 1 : -1;
}

// The destination of instruction ip = a copy of v.
bool Interp::storeCopy(Frame& f, const TulValue& v) {
  const Ins* ip = f.ip;
  TulValue copy(v);
  return store(ip->a, f, std::move(copy));
}

// --- the loop ----------------------------------------------------------------------------

// Threaded dispatch takes the addresses of labels, which GCC and Clang
// (also for MinGW) provide as an extension; other compilers, and builds
// configured with TUL_SWITCH_DISPATCH, dispatch through a switch that
// jumps to the same labels. A jump to a label runs no destructors: no
// instruction keeps an object with one alive where it dispatches the next.
#if defined(__GNUC__) && !defined(TUL_SWITCH_DISPATCH)
#  define TUL_COMPUTED_GOTO 1
#  pragma GCC diagnostic push
#  pragma GCC diagnostic ignored "-Wpedantic"
#else
#  define TUL_COMPUTED_GOTO 0
#endif
Flow Interp::run(const Code& code, Frame& entry) {
#if TUL_COMPUTED_GOTO
  static const void* const kLabels[] = {
#  define TUL_OP(name, label, token) &&label,
#  include "script/opcodes.def"
  };
  static_assert(sizeof kLabels / sizeof kLabels[0] == kOpCount, "a label for every instruction");
#endif

  // The activation running: its frame, code, slots, constants, pending
  // callees and the first of the try handlers it owns. Script functions
  // called by name or through a value run as activations of this same loop
  // (Call, CallValue), so these change with each call and return.
  Activation* const outer0 = innermost_;  // the activations this run starts lie inside it
  Frame* F = &entry;
  std::size_t tryBase = tries_.size();
  const void* entryPending[kMaxPendingCalls];
  const void** pending = entryPending;
  const Ins* first = code.ins.data();
  const Ins* ip = first;
  TulValue* R = entry.slots;
  const TulValue* K = code.consts.data();
  // Where each operand space begins, for kDirect instructions: the locals,
  // the globals and the constants (the globals' array moves only when a
  // file is loaded, which happens only under a call out of this loop).
  TulValue* base[4] = {R, globals_.data(), const_cast<TulValue*>(K), nullptr};
  entry.code = &code;
  std::int32_t r;   // an integer result (one slot for all instructions)

// The instruction under way lives in `ip`; the frame gets it (F->ip) only
// before something that can fail or call out, where an error finds it.
#if TUL_COMPUTED_GOTO
#  define DISPATCH() goto* kLabels[static_cast<int>(ip->op)]
#else
#  define DISPATCH() goto dispatch
#endif
#define NEXT() \
  do {         \
    ++ip;      \
    DISPATCH();\
  } while (0)
#define READ(x, which) read((x), *F, (which), ip, K)
// Destination a = a copy of v. Over a local that holds no reference the
// copy is built in place; anywhere else it is made before the old value
// goes, which may release what v lies in.
#define COPY_TO_A(v)                                                              \
  do {                                                                            \
    const TulValue& copied = (v);                                                 \
    if (operand::space(ip->a) == operand::Local &&                                \
        !holdsReference(*operandAt(R, ip->a))) {                                  \
      new (operandAt(R, ip->a)) TulValue(copied);                                 \
    } else {                                                                      \
      CHECK(storeCopy(*F, copied));                                               \
    }                                                                             \
  } while (0)
// Runs activation a from its first instruction.
#define ENTER(a)                      \
  do {                                \
    Activation& entered = (a);        \
    F = &entered.frame;               \
    pending = entered.pending;        \
    tryBase = tries_.size();          \
    first = F->code->ins.data();      \
    ip = first;                       \
    R = F->slots;                     \
    K = F->code->consts.data();       \
    base[operand::Local] = R;         \
    base[operand::Global] = globals_.data(); \
    base[operand::Const] = const_cast<TulValue*>(K); \
    DISPATCH();                       \
  } while (0)
// Goes on with frame F where it stood.
#define RESUME()                      \
  do {                                \
    first = F->code->ins.data();      \
    ip = F->ip;                       \
    R = F->slots;                     \
    K = F->code->consts.data();       \
    base[operand::Local] = R;         \
    base[operand::Global] = globals_.data(); \
    base[operand::Const] = const_cast<TulValue*>(K); \
  } while (0)
// (Only a reference goes out of line: a temporary that holds a number
// needs nothing.)
#define FREE(flag, x) \
  if ((ip->flags & (flag)) && holdsReference(*operandAt(R, x))) dropRef(*operandAt(R, x))
#define FREE_BC()                                 \
  if (ip->flags & (kFreeB | kFreeC)) {            \
    FREE(kFreeB, ip->b);                          \
    FREE(kFreeC, ip->c);                          \
  }
// == and != never run script code (no hook compares): done here for any
// operands.
#define IS_EQUALITY(op) (opToken(op) == TokenKind::EqEq || opToken(op) == TokenKind::BangEq)
// Both operands 32-bit integers.
#define BOTH_INT(x, y) \
  ((static_cast<unsigned>((x)->type()) ^ 64u) | (static_cast<unsigned>((y)->type()) ^ 64u)) == 0
#if defined(__GNUC__)
#  define TUL_LIKELY(x) __builtin_expect(!!(x), 1)
#else
#  define TUL_LIKELY(x) (x)
#endif
// Where an operand of a kDirect instruction lies, and its destination.
#define DIRECT(x) operandAt(static_cast<const TulValue*>(base[operand::space(x)]), x)
#define DIRECT_DEST(x) operandAt(base[operand::space(x)], x)
// The two operands x and y of a kDirect instruction: whether both are
// integers, and their values (taken at once, so that nothing but the
// values stays live).
#define DIRECT_INTS(x, y)                                                  \
  const TulValue* xp = DIRECT(x);                                          \
  const unsigned xt = static_cast<unsigned>(xp->type());                   \
  const std::int32_t xi = xp->i32();                                       \
  const TulValue* yp = DIRECT(y);                                          \
  const bool ints = ((xt ^ 64u) | (static_cast<unsigned>(yp->type()) ^ 64u)) == 0; \
  const std::int32_t yi = yp->i32()
// A slow path that may fail: the frame's instruction is saved first, where
// its error finds its line.
#define CHECK(ok)                          \
  do {                                     \
    F->ip = ip;                            \
    if (!(ok)) goto failed;                \
    base[operand::Global] = globals_.data(); \
  } while (0)
// A read or a write that saved the instruction itself where it may fail.
#define ENSURE(x) \
  if (!(x)) goto failed

#if !TUL_COMPUTED_GOTO
dispatch:
  switch (ip->op) {
#  define TUL_OP(name, label, token) \
    case Op::name:                   \
      goto label;
#  include "script/opcodes.def"
  }
#endif
  DISPATCH();

Step:
  CHECK(countStep(*F, lines::Op));
  NEXT();

Move:
  if (ip->flags & kDirect) {
    COPY_TO_A(*DIRECT(ip->b));
  } else if (ip->flags & kFreeB) {
    ENSURE(store(ip->a, *F, std::move(*operandAt(R, ip->b)), ip));
  } else {
    const TulValue* x = READ(ip->b, lines::B);
    ENSURE(x);
    COPY_TO_A(*x);
  }
  NEXT();

#define BINARY(NAME)                                                         \
  NAME : {                                                                          \
    if (ip->flags & kIntC) {                                                        \
      const TulValue* xp = DIRECT(ip->b);                                           \
      if (TUL_LIKELY(xp->type() == TulValueType::I32) &&                            \
          intBinary(opToken(Op::NAME), xp->i32(), ip->d, r) &&                      \
          putInteger(*DIRECT_DEST(ip->a), r))                                            \
        NEXT();                                                                     \
    } else if (ip->flags & kDirect) {                                               \
      DIRECT_INTS(ip->b, ip->c);                                                    \
      if (TUL_LIKELY(ints) && intBinary(opToken(Op::NAME), xi, yi, r) &&                        \
          putInteger(*DIRECT_DEST(ip->a), r))                                            \
        NEXT();                                                                     \
    }                                                                               \
    const TulValue* x = READ(ip->b, lines::B);                                \
    ENSURE(x);                                                                       \
    const TulValue* y = READ(ip->c, lines::C);                                \
    ENSURE(y);                                                                       \
    if (BOTH_INT(x, y) && intBinary(opToken(Op::NAME), x->i32(), y->i32(), r)) {                \
      ENSURE(storeInt(ip->a, *F, r, ip));                                       \
    } else if (IS_EQUALITY(Op::NAME)) {                                             \
      r = valuesEqual(*x, *y) == (opToken(Op::NAME) == TokenKind::EqEq);            \
      ENSURE(storeInt(ip->a, *F, r, ip));                                           \
    } else {                                                                        \
      CHECK(binarySlow(*F, opToken(Op::NAME), *x, *y));                                \
    }                                                                               \
    FREE_BC();                                                                      \
    NEXT();                                                                         \
  }
  BINARY(Add)
  BINARY(Sub)
  BINARY(Mul)
  BINARY(Div)
  BINARY(Mod)
  BINARY(BitAnd)
  BINARY(BitOr)
  BINARY(BitXor)
  BINARY(Shl)
  BINARY(Shr)
  BINARY(UShr)
  BINARY(Less)
  BINARY(LessEq)
  BINARY(Greater)
  BINARY(GreaterEq)
  BINARY(Equal)
  BINARY(NotEqual)
#undef BINARY

Unary: {
  const TulValue* x = READ(ip->b, lines::B);
  ENSURE(x);
  if (x->type() == TulValueType::I32 && ip->op != Op::Plus) {
    const std::uint32_t u = static_cast<std::uint32_t>(static_cast<int>(*x));
    ENSURE(storeInt(ip->a, *F, static_cast<std::int32_t>(ip->op == Op::Neg ? 0u - u : ~u), ip));
  } else {
    CHECK(unarySlow(*F, *x));
  }
  FREE(kFreeB, ip->b);
  NEXT();
}

Not: {
  const TulValue* x = READ(ip->b, lines::B);
  ENSURE(x);
  const bool truth = isTrue(*x);
  FREE(kFreeB, ip->b);
  ENSURE(storeInt(ip->a, *F, truth ? 0 : 1, ip));
  NEXT();
}

Jump:
  ip = first + ip->a;
  DISPATCH();

JumpIf: {
  const TulValue* x = READ(ip->b, lines::B);
  ENSURE(x);
  const bool taken = isTrue(*x) != ((ip->flags & kNegate) != 0);
  FREE(kFreeB, ip->b);
  if (taken) {
    ip = first + ip->a;
    DISPATCH();
  }
  NEXT();
}

// To the instruction's target when the test holds (kNegate: when it does
// not), else on to the next.
#define JUMP_WHEN(HOLDS)                          \
  if ((HOLDS) != ((ip->flags & kNegate) != 0)) {  \
    ip = first + ip->a;                           \
    DISPATCH();                                   \
  }                                               \
  NEXT()

#define COMPARE_JUMP(NAME)                                                   \
  NAME : {                                                                          \
    if (ip->flags & kIntC) {                                                        \
      const TulValue* xp = DIRECT(ip->b);                                           \
      if (TUL_LIKELY(xp->type() == TulValueType::I32)) {                            \
        intBinary(opToken(Op::NAME), xp->i32(), ip->d, r);                          \
        JUMP_WHEN(r != 0);                                                          \
      }                                                                             \
    } else if (ip->flags & kDirect) {                                               \
      DIRECT_INTS(ip->b, ip->c);                                                    \
      if (TUL_LIKELY(ints)) {                                                       \
        intBinary(opToken(Op::NAME), xi, yi, r);                                    \
        JUMP_WHEN(r != 0);                                                          \
      }                                                                             \
    }                                                                               \
    const TulValue* x = READ(ip->b, lines::B);                                \
    ENSURE(x);                                                                       \
    const TulValue* y = READ(ip->c, lines::C);                                \
    ENSURE(y);                                                                       \
    int taken;                                                                      \
    if (BOTH_INT(x, y) && intBinary(opToken(Op::NAME), x->i32(), y->i32(), r)) {                \
      taken = (r != 0) != ((ip->flags & kNegate) != 0);                             \
    } else if (IS_EQUALITY(Op::NAME)) {                                             \
      taken = (valuesEqual(*x, *y) == (opToken(Op::NAME) == TokenKind::EqEq)) !=    \
              ((ip->flags & kNegate) != 0);                                         \
    } else {                                                                        \
      F->ip = ip;                                                                  \
      taken = jumpSlow(*F, *x, *y);                                        \
      CHECK(taken >= 0);                                                            \
    }                                                                               \
    FREE_BC();                                                                      \
    if (taken) {                                                                    \
      ip = first + ip->a;                                                           \
      DISPATCH();                                                                   \
    }                                                                               \
    NEXT();                                                                         \
  }
  COMPARE_JUMP(JumpLess)
  COMPARE_JUMP(JumpLessEq)
  COMPARE_JUMP(JumpGreater)
  COMPARE_JUMP(JumpGreaterEq)
  COMPARE_JUMP(JumpEqual)
  COMPARE_JUMP(JumpNotEqual)
#undef COMPARE_JUMP

StepLess: {
  if ((ip->flags & (kDirect | kCounted)) == kDirect) {
    TulValue* i = DIRECT_DEST(ip->b);
    const TulValue* n = DIRECT(ip->c);
    if (TUL_LIKELY(BOTH_INT(i, n))) {
      r = static_cast<std::int32_t>(static_cast<std::uint32_t>(i->i32()) + 1u);
      putInteger(*i, r);
      if (r < n->i32()) {
        ip = first + ip->a;
        DISPATCH();
      }
      NEXT();
    }
  }
  TulValue* i = operand::space(ip->b) == operand::Local ? operandAt(R, ip->b)
                                                         : globalSlot(ip->b);
  const TulValue* n = READ(ip->c, lines::C);
  int taken;
  if (i && n && BOTH_INT(i, n)) {
    const std::int32_t next = static_cast<std::int32_t>(static_cast<std::uint32_t>(i->i32()) + 1u);
    i->putInt(next);
    if (ip->flags & kCounted) CHECK(countStep(*F, lines::Step));
    taken = next < n->i32();
  } else {
    F->ip = ip;
    taken = stepLessSlow(*F);
    CHECK(taken >= 0);
  }
  if (taken) {
    ip = first + ip->a;
    DISPATCH();
  }
  NEXT();
}

IncVar: {
  TulValue* v = operand::space(ip->b) == operand::Local ? operandAt(R, ip->b)
                                                         : globalSlot(ip->b);
  if (v && v->type() == TulValueType::I32) {
    v->putInt(static_cast<std::int32_t>(static_cast<std::uint32_t>(v->i32()) +
                                        static_cast<std::uint32_t>(ip->d)));
  } else {
    CHECK(incVarSlow(*F));
  }
  NEXT();
}

Callee: {
  // A variable that holds a script function: its declaration.
  const TulValue* v = operand::space(ip->b) == operand::Local ? operandAt(R, ip->b)
                      : operand::space(ip->b) == operand::Global ? globalSlot(ip->b)
                                                                  : nullptr;
  const FunctionObject* fn = v && v->type() == TulValueType::Function
                                 ? static_cast<const FunctionObject*>(v->refObject())
                                 : nullptr;
  if (fn && fn->decl())
    pending[ip->spare] = fn->decl();
  else if (fn)  // a built-in, marked by the low bit
    pending[ip->spare] =
        reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(fn) | 1);
  else
    CHECK(callee(*F, pending));
}
  NEXT();

// A function read from a vector or a dictionary in a variable: held like a
// callee read from a variable; anything else is read the general way into
// temp a, which the call then calls.
CalleeIndex: {
  const TulValue* o = variableSlot(ip->b, R);
  const TulValue* item = nullptr;
  if (o && (o->type() == TulValueType::Vector || o->type() == TulValueType::Dictionary)) {
    const TulValue* k = READ(ip->c, lines::C);
    ENSURE(k);
    item = elementInPlace(*o, *k, nullptr);
  }
  if (item && item->type() == TulValueType::Function) {
    const FunctionObject* fn = static_cast<const FunctionObject*>(item->refObject());
    pending[ip->spare] =
        fn->decl() ? static_cast<const void*>(fn->decl())
                   : reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(fn) | 1);
    // The declaration outlives the value, which the release may end.
    FREE_BC();
    NEXT();
  }
  pending[ip->spare] = nullptr;
  CHECK(index(*F, false));
  NEXT();
}

// A script function called by name or through a value runs in this loop
// (unless the call fails at once: too many arguments, calls too deep).
Call:
  if (const FunctionDecl* fn = scriptCallee(pending[ip->spare])) {
    if (ip->c <= fn->code.params && callDepth_ < kMaxScriptCallDepth)
    {
      F->ip = ip;
      ENTER(pushActivation(*fn, R + ip->b, ip->c, *F, pending, tryBase));
    }
    CHECK(callFunctionAt(*F, *fn, R + ip->b, ip->c));
  } else {
    CHECK(callPending(*F, pending[ip->spare], R + ip->b, ip->c));
  }
  NEXT();

CallValue: {
  TulValue* callee = R + ip->b;
  const FunctionObject* fo = callee->type() == TulValueType::Function
                                 ? static_cast<const FunctionObject*>(callee->refObject())
                                 : nullptr;
  const FunctionDecl* fn = fo ? fo->decl() : nullptr;
  if (fn && ip->c <= fn->code.params && callDepth_ < kMaxScriptCallDepth) {
    F->ip = ip;
    Activation& a = pushActivation(*fn, callee + 1, ip->c, *F, pending, tryBase);
    dropRef(*callee);  // the declaration lives as long as its program
    ENTER(a);
  }
  CHECK(callTemp(*F));
  NEXT();
}

// len(v) of a vector in a variable, the callee still the built-in len.
LenOrPush: {
  const FunctionObject* b = builtinCallee(pending[ip->spare]);
  const TulValue* v = ip->op == Op::Len && b && isBuiltinLen(*b) ? variableSlot(ip->b, R) : nullptr;
  if (v && v->type() == TulValueType::Vector) {
    const int n = static_cast<int>(static_cast<TulVector*>(v->refObject())->size());
    dropRef(R[ip->c + 1]);  // the argument's temporary, when it took one
    ENSURE(storeInt(ip->a, *F, n, ip));
    NEXT();
  }
  CHECK(lenOrPush(*F, pending[ip->spare]));
  NEXT();
}

// A script method that the site has found for the object's class runs in
// this loop too, `this` held where the caller keeps the object (a local or
// its own `this`) until it returns.
Method: {
  F->ip = ip;
  const TulValue* obj;
  if (NativeMethod native = knownNative(*F, obj)) {
    CHECK(nativeMethod(*F, *obj, native));
    NEXT();
  }
  if (Activation* a = methodActivation(*F, pending, tryBase)) ENTER(*a);
  CHECK(method(*F));
  NEXT();
}

BaseMethod:
  CHECK(baseMethod(*F));
  NEXT();

GetMember: {
  // A data member of an object in a local or `this`, at the index the site
  // remembers for its class.
  const TulValue* o = operand::space(ip->b) == operand::Local ? operandAt(R, ip->b)
                      : operand::space(ip->b) == operand::This ? F->self
                                                                : nullptr;
  bool done = false;
  if (o && o->type() == TulValueType::Object) {
    TulObject* obj = static_cast<TulObject*>(o->refObject());
    const SiteCache& site = F->code->members[static_cast<std::size_t>(ip->c)].cache;
    TulVector* data = obj->getMemberData();
    if (site.cls == obj->getClass() && site.epoch == classEpoch_ && site.index >= 0 && data &&
        static_cast<unsigned>(site.index) < data->size()) {
      // Copied before the temporary holding the object goes.
      COPY_TO_A((*data)[static_cast<unsigned>(site.index)]);
      FREE(kFreeB, ip->b);
      done = true;
    }
  }
  if (!done) CHECK(member(*F, false));
}
  NEXT();

SetMember:
  CHECK(member(*F, true));
  NEXT();

GetIndex: {
  // v[i] of a vector at an index within it, d[k] of a dictionary with a
  // string key, the container in a variable.
  const TulValue* o = variableSlot(ip->b, R);
  bool done = false;
  if (o && (o->type() == TulValueType::Vector || o->type() == TulValueType::Dictionary)) {
    const TulValue* k = READ(ip->c, lines::C);
    ENSURE(k);
    const TulValue* item = elementInPlace(*o, *k, &kNil);
    if (item) {
      COPY_TO_A(*item);
      FREE_BC();
      done = true;
    }
  }
  if (!done) CHECK(index(*F, false));
}
  NEXT();

SetIndex: {
  // The same places written: a vector's element within it, a dictionary's
  // entry.
  const TulValue* o = variableSlot(ip->b, R);
  bool done = false;
  if (o && (o->type() == TulValueType::Vector || o->type() == TulValueType::Dictionary)) {
    const TulValue* k = READ(ip->c, lines::C);
    ENSURE(k);
    const TulValue* v = READ(ip->d, lines::D);
    ENSURE(v);
    TulValue* slot = nullptr;
    if (o->type() == TulValueType::Vector) {
      TulVector* vec = static_cast<TulVector*>(o->refObject());
      const unsigned at = static_cast<unsigned>(static_cast<int>(*k));
      if (k->type() == TulValueType::I32 && at < vec->size()) slot = &(*vec)[at];
    } else if (k->type() == TulValueType::String) {
      slot = &(*static_cast<TulDictionary*>(o->refObject()))[*static_cast<TulString*>(
                  k->refObject())]->value;
    }
    if (slot) {
      *slot = *v;
      if (ip->flags & (kFreeB | kFreeC | kFreeD)) {
        FREE(kFreeB, ip->b);
        FREE(kFreeC, ip->c);
        FREE(kFreeD, ip->d);
      }
      done = true;
    }
  }
  if (!done) CHECK(index(*F, true));
}
  NEXT();

// A `return` inside a `try` leaves its handlers behind.
Return: {
  // The frame's slots end with it: a local's value is taken, not copied.
  if ((ip->flags & kFreeB) || operand::space(ip->b) == operand::Local) {
    // An integer to a caller in this loop goes straight to its
    // destination, read as it was written.
    const TulValue* x = operandAt(R, ip->b);
    if (x->type() == TulValueType::I32 && innermost_ != outer0) {
      r = x->i32();
      if (tries_.size() != tryBase) tries_.resize(tryBase);
      goto returnedInt;
    }
    F->ret = std::move(*operandAt(R, ip->b));
  } else {
    const TulValue* x = READ(ip->b, lines::B);
    ENSURE(x);
    F->ret = *x;
  }
  if (tries_.size() != tryBase) tries_.resize(tryBase);
  if (innermost_ == outer0) return Flow::Return;
  goto returned;
}

ReturnNil:
  if (tries_.size() != tryBase) tries_.resize(tryBase);
  if (innermost_ == outer0) return Flow::Normal;
  goto returned;

// The activation has ended: its caller goes on with the result.
returned: {
  bool ok;
  {
    TulValue out(std::move(F->ret));
    const Activation& ended = *innermost_;
    const bool method = ended.method, constructor = ended.constructor;
    F = popActivation(pending, tryBase);
    RESUME();
    if (method) {
      // A constructor gives its object; the object's temporary goes now.
      if (constructor)
        out = operand::space(ip->b) == operand::Local ? *operandAt(R, ip->b) : *F->self;
      FREE(kFreeB, ip->b);
    }
    ok = store(ip->a, *F, std::move(out), ip);
  }
  ENSURE(ok);
  NEXT();
}

// The same for an integer result r.
returnedInt: {
  const Activation& ended = *innermost_;
  if (ended.constructor) {
    F->ret = TulValue(r);
    goto returned;
  }
  const bool method = ended.method;
  F = popActivation(pending, tryBase);
  RESUME();
  if (method) FREE(kFreeB, ip->b);
  ENSURE(storeInt(ip->a, *F, r, ip));
  NEXT();
}

ForInNext: {
  F->ip = ip;
  const int more = forInNext(*F);
  CHECK(more >= 0);
  if (!more) {
    ip = first + ip->a;
    DISPATCH();
  }
  NEXT();
}

TryBegin:
  tries_.push_back({ip->a, ip->b, ip->c});
  NEXT();

TryEnd:
  tries_.resize(tries_.size() - static_cast<std::size_t>(ip->d));
  NEXT();

Rare:
  CHECK(rare(*F));
  NEXT();

// The innermost handler of the activation catches the error; without one
// the activation ends and its caller fails in turn. Exit and abort pass
// every handler.
failed:
  if (tries_.size() > tryBase) {
    if (catchError(*F, tries_.back())) {
      ip = first + tries_.back().target;
      tries_.pop_back();
      DISPATCH();
    }
    tries_.resize(tryBase);
  }
  if (innermost_ == outer0) return Flow::Fail;
  F = popActivation(pending, tryBase);
  RESUME();
  goto failed;
#undef DISPATCH
#undef NEXT
#undef READ
#undef ENTER
#undef COPY_TO_A
#undef RESUME
#undef FREE
#undef FREE_BC
#undef BOTH_INT
#undef IS_EQUALITY
#undef DIRECT
#undef DIRECT_DEST
#undef DIRECT_INTS
#undef TUL_LIKELY
#undef CHECK
#undef ENSURE
}
#if TUL_COMPUTED_GOTO
#  pragma GCC diagnostic pop
#endif

}  // namespace tulscript

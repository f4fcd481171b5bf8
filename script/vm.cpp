// The VM: runs a Code on a frame. Each instruction does the common case
// inline (32-bit integers, a vector's element, a member at the index its
// site remembers, a script function or method called by its declaration)
// and hands everything else to operations.cpp and the call machinery of
// interpreter.cpp, which report errors with the instruction's lines.
//
// Dispatch is threaded (each instruction jumps straight to the next one's
// code). A call of script code runs in a nested run() on the callee's
// frame.
#include <algorithm>

#include "script/compiler.h"
#include "script/interp.h"
#include "script/operations.h"
#include "script/values.h"

namespace tulscript {
namespace {

TUL_NOINLINE void clearSlot(TulValue& v) { v = TulValue(); }

// Releases what a slot holds, if it holds a reference. (The clearing is
// out of line: run() would otherwise hold a temporary for each use, which
// unoptimised builds keep apart on the stack.)
inline void dropRef(TulValue& v) {
  if (static_cast<unsigned>(v.type()) >= static_cast<unsigned>(TulValueType::Object))
    clearSlot(v);
}

// The operators of Add ... NotEqual, in that order.
constexpr TokenKind kBinaryTokens[] = {
    TokenKind::Plus,    TokenKind::Minus,     TokenKind::Star, TokenKind::Slash,
    TokenKind::Percent, TokenKind::Amp,       TokenKind::Pipe, TokenKind::Caret,
    TokenKind::Shl,     TokenKind::Shr,       TokenKind::UShr, TokenKind::Less,
    TokenKind::LessEq,  TokenKind::Greater,   TokenKind::GreaterEq, TokenKind::EqEq,
    TokenKind::BangEq,
};
// The comparison a compare-and-jump makes.
TokenKind jumpToken(Op op) {
  return kBinaryTokens[static_cast<int>(op) - static_cast<int>(Op::JumpLess) +
                       static_cast<int>(Op::Less) - static_cast<int>(Op::Add)];
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

// v itself, or a string of its own for a string.
TulValue fresh(const TulValue& v) {
  TulString* s = static_cast<TulString*>(v);
  return s ? makeString(s->c_str(), s->length()) : v;
}

const std::string& calleeName(const CallExpr& e) {
  static const std::string none;
  return e.callee && e.callee->kind == ExprKind::Variable
             ? static_cast<const VariableExpr&>(*e.callee).var.name
             : none;
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

const TulValue* Interp::readGlobal(int index, Frame& f, const Code& code, const Ins* ip,
                                   int which, TulValue& scratch) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  const int line = which == 1 ? info.lineB : which == 2 ? info.lineC : info.lineD;
  if (!readUndefined(index, f, line, scratch)) return nullptr;
  return &scratch;
}

bool Interp::storeSlow(std::int32_t x, Frame& f, TulValue&& v, const Code& code,
                       const Ins* ip) {
  if (operand::space(x) == operand::This) return true;  // not wanted
  if (operand::space(x) == operand::Local) {
    f.slots[operand::index(x)] = std::move(v);
    return true;
  }
  const std::size_t i = static_cast<std::size_t>(operand::index(x));
  if (!defined_[i]) {
    const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
    return writeUndeclared(globalNames_[i], f, info.targetLine);
  }
  globals_[i] = std::move(v);
  return true;
}

bool Interp::storeIntSlow(std::int32_t x, Frame& f, std::int32_t r, const Code& code,
                          const Ins* ip) {
  return storeSlow(x, f, TulValue(r), code, ip);
}

// --- slow paths, out of line so that run() keeps a small frame ----------------------

bool Interp::countStep(const Code& code, const Ins* ip, Frame& f) {
  return step(f, code.info[static_cast<std::size_t>(ip - code.ins.data())].line);
}

// The step of a loop's turn that an instruction counts itself.
bool Interp::countLoopStep(const Code& code, const Ins* ip, Frame& f) {
  return step(f, code.info[static_cast<std::size_t>(ip - code.ins.data())].stepLine);
}

// a = x + y for a string and a string or a number: appended in place to a
// string x that only its consumed temporary holds (so a chain a + b + c
// builds one string), else joined into a new string.
bool Interp::joinStrings(const Code& code, const Ins* ip, Frame& f, const TulValue& x,
                         const TulValue& y, bool& done) {
  char xb[32], yb[32];
  std::string xl, yl;
  const char *xp, *yp;
  unsigned xn, yn;
  done = (static_cast<TulString*>(x) || static_cast<TulString*>(y)) &&
         joinable(x, xb, xl, xp, xn) && joinable(y, yb, yl, yp, yn);
  if (!done) return true;
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  if (!checkSize(f, info.line, std::uint64_t(xn) + yn, "string")) return false;
  TulString* s = static_cast<TulString*>(x);
  const bool consumed = ((ip->flags & kFreeB) || ip->a == ip->b) &&
                        operand::space(ip->b) == operand::Local;
  if (s && consumed && s->refCount() == 1) {
    s->append(yp, yn);
    if (ip->a == ip->b) return true;
    TulValue v(std::move(f.slots[operand::index(ip->b)]));
    return store(ip->a, f, std::move(v), code, ip);
  }
  TulValue out(new TulString(xp, xn));
  static_cast<TulString*>(out)->append(yp, yn);
  return store(ip->a, f, std::move(out), code, ip);
}

// a = b OP c by the general rules. A string constant met by an object's
// hook is handed over as a string of its own, as a literal always is.
bool Interp::binarySlow(const Code& code, const Ins* ip, Frame& f, TokenKind op,
                        const TulValue& x, const TulValue& y) {
  if (op == TokenKind::Plus) {
    bool done = false;
    if (!joinStrings(code, ip, f, x, y, done)) return false;
    if (done) return true;
  }
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue out;
  if ((x.isObject() || y.isObject()) &&
      (operand::space(ip->b) == operand::Const || operand::space(ip->c) == operand::Const)) {
    const TulValue ownX = fresh(x), ownY = fresh(y);
    if (!ops::binary(*this, f, info.line, op, ownX, ownY, out)) return false;
  } else if (!ops::binary(*this, f, info.line, op, x, y, out)) {
    return false;
  }
  return store(ip->a, f, std::move(out), code, ip);
}

// Whether a compare-and-jump jumps (1) or not (0), by the general rules;
// -1 after an error.
int Interp::jumpSlow(const Code& code, const Ins* ip, Frame& f, const TulValue& x,
                     const TulValue& y) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue out;
  if (!ops::binary(*this, f, info.line, jumpToken(ip->op), x, y, out)) return -1;
  return isTrue(out) != ((ip->flags & kNegate) != 0) ? 1 : 0;
}

// Variable b stepped by d (prefix when kPrefix), its value unused.
bool Interp::incVarSlow(const Code& code, const Ins* ip, Frame& f) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue scratch;
  const TulValue* old = read(ip->b, f, code, ip, 1, scratch);
  if (!old) return false;
  TulValue held(*old), updated;
  if (!ops::stepped(*this, f, info.line, ip->d > 0, (ip->flags & kPrefix) != 0, held, updated))
    return false;
  return store(ip->b, f, std::move(updated), code, ip);
}

// The end of a counting loop's turn for anything but integers: 1 when the
// loop goes on, 0 when it ends, -1 after an error.
int Interp::stepLessSlow(const Code& code, const Ins* ip, Frame& f) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  if (!incVarSlow(code, ip, f)) return -1;
  if (!step(f, info.stepLine)) return -1;
  TulValue sb, sc;
  const TulValue* x = read(ip->b, f, code, ip, 1, sb);
  if (!x) return -1;
  const TulValue* y = read(ip->c, f, code, ip, 2, sc);
  if (!y) return -1;
  TulValue out;
  if (!ops::binary(*this, f, info.targetLine, TokenKind::Less, *x, *y, out)) return -1;
  return isTrue(out) ? 1 : 0;
}

bool Interp::unarySlow(const Code& code, const Ins* ip, Frame& f, const TulValue& x) {
  static constexpr TokenKind kTokens[] = {TokenKind::Minus, TokenKind::Plus, TokenKind::Bang,
                                          TokenKind::Tilde};
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue out;
  const TokenKind op = kTokens[static_cast<int>(ip->op) - static_cast<int>(Op::Neg)];
  if (!ops::unary(*this, f, info.line, op, x, out)) return false;
  return store(ip->a, f, std::move(out), code, ip);
}

// The callee of pending call k: what variable b holds.
bool Interp::callee(const Code& code, const Ins* ip, Frame& f, const void** pending) {
  TulValue scratch;
  const TulValue* v = read(ip->b, f, code, ip, 1, scratch);
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
bool Interp::callFunctionAt(const Code& code, const Ins* ip, Frame& f, const FunctionDecl& fn,
                            TulValue* args, int n) {
  if (n > static_cast<int>(fn.params.size())) return tooManyArguments(f, lineAt(code, ip), fn, n);
  TulValue out;
  {
    CalleeFrame frame(slotStack_, fn, args, n);
    TulValue* slots = frame.slots();
    if (!withinStack()) return stackOverflow(f, lineAt(code, ip));
    ++callDepth_;
    const bool ok = runFrame(fn, slots, nullptr, nullptr, out);
    leaveCall();
    if (!ok) return false;
  }
  return store(ip->a, f, std::move(out), code, ip);
}

int Interp::lineAt(const Code& code, const Ins* ip) {
  return code.info[static_cast<std::size_t>(ip - code.ins.data())].line;
}

bool Interp::callPending(const Code& code, const Ins* ip, Frame& f, const void* pending,
                         TulValue* args, int n) {
  if (const FunctionDecl* fn = scriptCallee(pending)) return callFunctionAt(code, ip, f, *fn, args, n);
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue out;
  bool ok;
  {
    if (const FunctionObject* b = builtinCallee(pending))
      ok = callBuiltin(f, info.line, *b, args, n, out);
    else
      ok = callValue(f, info.line, args[-1], args, n, out,
                     calleeName(*static_cast<const CallExpr*>(info.ref)));
    for (int i = -1; i < n; ++i) dropRef(args[i]);
  }
  return ok && store(ip->a, f, std::move(out), code, ip);
}

bool Interp::callTemp(const Code& code, const Ins* ip, Frame& f) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
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
    ok = callFunctionInPlace(f, info.line, decl, slots, n, out);
  } else {
    ok = callValue(f, info.line, *callee, args, n, out,
                   calleeName(*static_cast<const CallExpr*>(info.ref)));
    for (int i = -1; i < n; ++i) dropRef(args[i]);
  }
  return ok && store(ip->a, f, std::move(out), code, ip);
}

// len(v) and push(v, x) run on the vector where it is while the callee is
// the built-in; anything else is an ordinary call of the callee.
bool Interp::lenOrPush(const Code& code, const Ins* ip, Frame& f, const void* pending) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  const bool isPush = ip->op == Op::Push;
  TulValue* callee = f.slots + (isPush ? ip->d : ip->c);
  TulValue* args = callee + 1;
  const int n = isPush ? 2 : 1;
  TulValue sb, sc;
  const TulValue* v = read(ip->b, f, code, ip, 1, sb);
  if (!v) return false;
  const TulValue* x = nullptr;
  if (isPush && !(x = read(ip->c, f, code, ip, 2, sc))) return false;
  const FunctionObject* b = builtinCallee(pending);
  TulVector* vec = static_cast<TulVector*>(*v);
  if (b && vec && (isPush ? isBuiltinPush(*b) : isBuiltinLen(*b))) {
    TulValue out;
    if (isPush) {
      if (!checkSize(f, info.line, std::uint64_t(vec->size()) + 1, "vector")) return false;
      vec->push_back(*x);
    }
    out = TulValue(static_cast<int>(vec->size()));
    for (int i = 0; i < n; ++i) dropRef(args[i]);
    return store(ip->a, f, std::move(out), code, ip);
  }
  if (v != &args[0]) args[0] = *v;
  if (isPush && x != &args[1]) args[1] = *x;
  return callPending(code, ip, f, pending, args, n);
}

bool Interp::method(const Code& code, const Ins* ip, Frame& f) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  const auto& e = *static_cast<const CallExpr*>(info.ref);
  TulValue scratch;
  const TulValue* obj = read(ip->b, f, code, ip, 1, scratch);
  if (!obj) return false;
  const int n = ip->c;
  TulValue* args = f.slots + ip->d;
  const FunctionDecl* fn = nullptr;
  // The arguments may have ended an object held by a weak reference.
  if (TulObject* o = obj->isObject() ? ops::objectOf(*obj) : nullptr) {
    resolveMethod(e.cache, o->getClass(), e.name);
    fn = e.cache.fn;
    if (fn && n > static_cast<int>(fn->params.size())) fn = nullptr;
  }
  TulValue out;
  bool ok;
  if (fn) {
    CalleeFrame frame(slotStack_, *fn, args, n);
    TulValue* slots = frame.slots();
    ok = callMethodInPlace(f, info.line, *fn, e.cache.owner, *obj, slots, out);
  } else {
    ok = ops::callNamed(*this, f, info.line, *obj, e.name, args, n, out);
    for (int i = 0; i < n; ++i) dropRef(args[i]);
  }
  if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
  return ok && store(ip->a, f, std::move(out), code, ip);
}

bool Interp::baseMethod(const Code& code, const Ins* ip, Frame& f) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  const auto& e = *static_cast<const CallExpr*>(info.ref);
  TulValue* args = f.slots + ip->d;
  TulValue out;
  const bool ok = ops::callBase(*this, f, info.line, e.name, args, ip->c, out);
  for (int i = 0; i < ip->c; ++i) dropRef(args[i]);
  return ok && store(ip->a, f, std::move(out), code, ip);
}

bool Interp::member(const Code& code, const Ins* ip, Frame& f, bool write) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  const auto& m = *static_cast<const MemberExpr*>(info.ref);
  TulValue sb, sc;
  const TulValue* obj = read(ip->b, f, code, ip, 1, sb);
  if (!obj) return false;
  TulValue* slot = nullptr;
  if (write) {
    const TulValue* v = read(ip->c, f, code, ip, 2, sc);
    if (!v || !ops::memberSlot(*this, f, info.line, *obj, m.name, m.cache, true, slot))
      return false;
    *slot = *v;
    if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
    if (ip->flags & kFreeC) dropRef(f.slots[operand::index(ip->c)]);
    return true;
  }
  if (!ops::memberSlot(*this, f, info.line, *obj, m.name, m.cache, false, slot)) return false;
  // A copy first: writing it may release the object the slot belongs to.
  TulValue v = slot ? *slot : TulValue();
  if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
  return store(ip->a, f, std::move(v), code, ip);
}

bool Interp::index(const Code& code, const Ins* ip, Frame& f, bool write) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue sb, sc, sd;
  const TulValue* obj = read(ip->b, f, code, ip, 1, sb);
  if (!obj) return false;
  const TulValue* key = read(ip->c, f, code, ip, 2, sc);
  if (!key) return false;
  if (write) {
    const TulValue* v = read(ip->d, f, code, ip, 3, sd);
    if (!v || !ops::writeIndex(*this, f, info.line, *obj, *key, *v)) return false;
    if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
    if (ip->flags & kFreeC) dropRef(f.slots[operand::index(ip->c)]);
    if (ip->flags & kFreeD) dropRef(f.slots[operand::index(ip->d)]);
    return true;
  }
  TulValue v;
  if (!ops::readIndex(*this, f, info.line, *obj, *key, v)) return false;
  if (ip->flags & kFreeB) dropRef(f.slots[operand::index(ip->b)]);
  if (ip->flags & kFreeC) dropRef(f.slots[operand::index(ip->c)]);
  return store(ip->a, f, std::move(v), code, ip);
}

// Instructions that are never on a hot path.
bool Interp::rare(const Code& code, const Ins* ip, Frame& f) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue* R = f.slots;
  TulValue scratch;
  switch (ip->op) {
    case Op::DefGlobal: {
      const TulValue* v = read(ip->b, f, code, ip, 1, scratch);
      if (!v) return false;
      const TulValue held(*v);
      if (ip->flags & kFreeB) dropRef(R[operand::index(ip->b)]);
      const std::size_t i = static_cast<std::size_t>(ip->a);
      globals_[i] = held;
      defined_[i] = 1;
      return true;
    }
    case Op::LoadStr:
      return store(ip->a, f, makeString(*static_cast<const std::string*>(info.ref)), code, ip);
    case Op::LoadFn:
      return store(ip->a, f, functionValue(*static_cast<const FunctionDecl*>(info.ref)), code, ip);
    case Op::NewVec: {
      if (!checkSize(f, info.line, static_cast<std::uint64_t>(ip->d), "vector")) return false;
      return store(ip->a, f, TulValue(new TulVector(static_cast<unsigned>(ip->d), false)), code, ip);
    }
    case Op::VecPush:
      static_cast<TulVector*>(R[operand::index(ip->a)])->push_back(R[operand::index(ip->b)]);
      dropRef(R[operand::index(ip->b)]);
      return true;
    case Op::NewDict: return store(ip->a, f, TulValue(new TulDictionary()), code, ip);
    case Op::DictKey: {
      TulString* k = nullptr;
      return ops::dictionaryKey(*this, f, info.line, R[operand::index(ip->b)], k);
    }
    case Op::DictPut: {
      const TulValue* v = read(ip->c, f, code, ip, 2, scratch);
      if (!v) return false;
      TulDictionary* d = static_cast<TulDictionary*>(R[operand::index(ip->a)]);
      *(*d)[*static_cast<TulString*>(R[operand::index(ip->b)])] = *v;
      dropRef(R[operand::index(ip->b)]);
      if (ip->flags & kFreeC) dropRef(R[operand::index(ip->c)]);
      return true;
    }
    case Op::IncDec: {
      const TulValue* old = read(ip->b, f, code, ip, 1, scratch);
      if (!old) return false;
      TulValue updated;
      if (!ops::stepped(*this, f, info.line, ip->d > 0, (ip->flags & kPrefix) != 0, *old,
                        updated))
        return false;
      if (ip->flags & kFreeB) dropRef(R[operand::index(ip->b)]);
      return store(ip->a, f, std::move(updated), code, ip);
    }
    case Op::ForInPrep: {
      TulValue* seq = R + ip->b;
      if (!ops::forInStart(*this, f, info.line, seq[0], seq[1])) return false;
      seq[2] = TulValue(0);
      return true;
    }
    case Op::Throw: {
      const TulValue* v = read(ip->b, f, code, ip, 1, scratch);
      if (!v) return false;
      const TulValue held(*v);
      return ops::raise(*this, f, info.line, held);
    }
    case Op::Class: {
      TulClass* cls = nullptr;
      if (!declareClass(*static_cast<const ClassStmt*>(info.ref), f, cls)) return false;
      R[operand::index(ip->a)] = TulValue(cls);
      return true;
    }
    case Op::Static: {
      const TulValue* v = read(ip->b, f, code, ip, 1, scratch);
      if (!v) return false;
      const auto& sv = *static_cast<const StaticVarDecl*>(info.ref);
      static_cast<TulClass*>(R[operand::index(ip->a)])->addStaticDataMember(sv.name.c_str(), *v);
      if (ip->flags & kFreeB) dropRef(R[operand::index(ip->b)]);
      return true;
    }
    case Op::Include: {
      const Program* p = static_cast<const IncludeStmt*>(info.ref)->program;
      return !p || runProgram(*p);
    }
    default:
      return fail(f, info.line, "internal error: unknown instruction");
  }
}

// The error under way, caught by handler h: false for exit and abort,
// which pass every catch.
bool Interp::catchError(const Code& code, Frame& f, const TryHandler& h) {
  ScriptError caught;
  if (!takeError(caught)) return false;
  // What the failed statement left in temporaries goes now.
  for (int s = h.temps; s < code.frameSize; ++s) dropRef(f.slots[s]);
  f.slots[operand::index(h.caught)] = errorValue(caught);
  return true;
}

// 1 with the loop's variable set to the next item, 0 at the end, -1
// after an error.
int Interp::forInNext(const Code& code, const Ins* ip, Frame& f) {
  const InsInfo& info = code.info[static_cast<std::size_t>(ip - code.ins.data())];
  TulValue* seq = f.slots + ip->b;
  TulValue item;
  bool more = false;
  if (!ops::forInNext(*this, f, info.line, seq[0], seq[1], seq[2], item, more)) return -1;
  if (!more) return 0;
  return store(ip->d, f, std::move(item), code, ip) ? 1 : -1;
}

// The destination of instruction ip = a copy of v.
bool Interp::storeCopy(const Code& code, const Ins* ip, Frame& f, const TulValue& v) {
  TulValue copy(v);
  return store(ip->a, f, std::move(copy), code, ip);
}

// --- the loop ----------------------------------------------------------------------------

// Threaded dispatch takes the addresses of labels, which GCC and Clang
// (also for MinGW) provide as an extension. A jump through a label's
// address runs no destructors: no instruction keeps an object with one
// alive where it dispatches the next.
#if defined(__GNUC__)
#  pragma GCC diagnostic push
#  pragma GCC diagnostic ignored "-Wpedantic"
#endif
Flow Interp::run(const Code& code, Frame& f) {
  // In the order of Op.
  static const void* const kLabels[] = {
      &&Step, &&Move, &&Rare, &&Rare, &&Rare, &&Rare, &&Rare, &&Rare, &&Rare, &&Rare,
      &&Add, &&Sub, &&Mul, &&Div, &&Mod, &&BitAnd, &&BitOr, &&BitXor, &&Shl, &&Shr, &&UShr,
      &&Less, &&LessEq, &&Greater, &&GreaterEq, &&Equal, &&NotEqual,
      &&Unary, &&Unary, &&Not, &&Unary,
      &&Jump, &&JumpIf,
      &&JumpLess, &&JumpLessEq, &&JumpGreater, &&JumpGreaterEq, &&JumpEqual, &&JumpNotEqual,
      &&StepLess, &&Rare, &&IncVar,
      &&Callee, &&Call, &&CallValue, &&LenOrPush, &&LenOrPush, &&Method, &&BaseMethod,
      &&GetMember, &&SetMember, &&GetIndex, &&SetIndex,
      &&Return, &&ReturnNil, &&Rare, &&ForInNext, &&TryBegin, &&TryEnd, &&Rare, &&Rare, &&Rare,
      &&Rare,
  };
  static_assert(sizeof kLabels / sizeof kLabels[0] == static_cast<int>(Op::Include) + 1,
                "a label for every instruction");

  std::vector<TryHandler> handlers;
  const void* pending[kMaxPendingCalls];
  const Ins* const first = code.ins.data();
  const Ins* ip = first;
  TulValue* const R = f.slots;
  const bool limited = opts_.maxSteps > 0;
  TulValue sb, sc;  // class values read through undefined globals
  std::int32_t r;   // an integer result (one slot for all instructions)

#define DISPATCH() goto *kLabels[static_cast<int>(ip->op)]
#define NEXT() \
  do {         \
    ++ip;      \
    DISPATCH();\
  } while (0)
#define READ(x, which, scratch) read((x), f, code, ip, (which), (scratch))
#define FREE(flag, x) \
  if (ip->flags & (flag)) dropRef(R[operand::index(x)])
#define FREE_BC()                                 \
  if (ip->flags & (kFreeB | kFreeC)) {            \
    FREE(kFreeB, ip->b);                          \
    FREE(kFreeC, ip->c);                          \
  }
// Both operands 32-bit integers.
#define BOTH_INT(x, y) \
  ((static_cast<unsigned>((x)->type()) ^ 64u) | (static_cast<unsigned>((y)->type()) ^ 64u)) == 0
#define CHECK(ok) \
  if (!(ok)) goto failed

  DISPATCH();

Step:
  CHECK(countStep(code, ip, f));
  NEXT();

Move:
  if (ip->flags & kFreeB) {
    CHECK(store(ip->a, f, std::move(R[operand::index(ip->b)]), code, ip));
  } else {
    const TulValue* x = READ(ip->b, 1, sb);
    CHECK(x);
    if (operand::space(ip->a) == operand::Local) {
      R[operand::index(ip->a)] = *x;  // copied before the old value goes
    } else {
      CHECK(storeCopy(code, ip, f, *x));
    }
  }
  NEXT();

#define BINARY(NAME, TOKEN)                                                         \
  NAME : {                                                                          \
    const TulValue* x = READ(ip->b, 1, sb);                                \
    CHECK(x);                                                                       \
    const TulValue* y = READ(ip->c, 2, sc);                                \
    CHECK(y);                                                                       \
    if (BOTH_INT(x, y) && intBinary(TOKEN, x->i32(), y->i32(), r)) {                \
      CHECK(storeInt(ip->a, f, r, code, ip));                                       \
    } else {                                                                        \
      CHECK(binarySlow(code, ip, f, TOKEN, *x, *y));                                \
    }                                                                               \
    FREE_BC();                                                                      \
    NEXT();                                                                         \
  }
  BINARY(Add, TokenKind::Plus)
  BINARY(Sub, TokenKind::Minus)
  BINARY(Mul, TokenKind::Star)
  BINARY(Div, TokenKind::Slash)
  BINARY(Mod, TokenKind::Percent)
  BINARY(BitAnd, TokenKind::Amp)
  BINARY(BitOr, TokenKind::Pipe)
  BINARY(BitXor, TokenKind::Caret)
  BINARY(Shl, TokenKind::Shl)
  BINARY(Shr, TokenKind::Shr)
  BINARY(UShr, TokenKind::UShr)
  BINARY(Less, TokenKind::Less)
  BINARY(LessEq, TokenKind::LessEq)
  BINARY(Greater, TokenKind::Greater)
  BINARY(GreaterEq, TokenKind::GreaterEq)
  BINARY(Equal, TokenKind::EqEq)
  BINARY(NotEqual, TokenKind::BangEq)
#undef BINARY

Unary: {
  const TulValue* x = READ(ip->b, 1, sb);
  CHECK(x);
  if (x->type() == TulValueType::I32 && ip->op != Op::Plus) {
    const std::uint32_t u = static_cast<std::uint32_t>(static_cast<int>(*x));
    CHECK(storeInt(ip->a, f, static_cast<std::int32_t>(ip->op == Op::Neg ? 0u - u : ~u), code, ip));
  } else {
    CHECK(unarySlow(code, ip, f, *x));
  }
  FREE(kFreeB, ip->b);
  NEXT();
}

Not: {
  const TulValue* x = READ(ip->b, 1, sb);
  CHECK(x);
  const bool truth = isTrue(*x);
  FREE(kFreeB, ip->b);
  CHECK(storeInt(ip->a, f, truth ? 0 : 1, code, ip));
  NEXT();
}

Jump:
  ip = first + ip->a;
  DISPATCH();

JumpIf: {
  const TulValue* x = READ(ip->b, 1, sb);
  CHECK(x);
  const bool taken = isTrue(*x) != ((ip->flags & kNegate) != 0);
  FREE(kFreeB, ip->b);
  if (taken) {
    ip = first + ip->a;
    DISPATCH();
  }
  NEXT();
}

#define COMPARE_JUMP(NAME, TOKEN)                                                   \
  NAME : {                                                                          \
    const TulValue* x = READ(ip->b, 1, sb);                                \
    CHECK(x);                                                                       \
    const TulValue* y = READ(ip->c, 2, sc);                                \
    CHECK(y);                                                                       \
    int taken;                                                                      \
    if (BOTH_INT(x, y) && intBinary(TOKEN, x->i32(), y->i32(), r)) {                \
      taken = (r != 0) != ((ip->flags & kNegate) != 0);                             \
    } else {                                                                        \
      taken = jumpSlow(code, ip, f, *x, *y);                                        \
      CHECK(taken >= 0);                                                            \
    }                                                                               \
    FREE_BC();                                                                      \
    if (taken) {                                                                    \
      ip = first + ip->a;                                                           \
      DISPATCH();                                                                   \
    }                                                                               \
    NEXT();                                                                         \
  }
  COMPARE_JUMP(JumpLess, TokenKind::Less)
  COMPARE_JUMP(JumpLessEq, TokenKind::LessEq)
  COMPARE_JUMP(JumpGreater, TokenKind::Greater)
  COMPARE_JUMP(JumpGreaterEq, TokenKind::GreaterEq)
  COMPARE_JUMP(JumpEqual, TokenKind::EqEq)
  COMPARE_JUMP(JumpNotEqual, TokenKind::BangEq)
#undef COMPARE_JUMP

StepLess: {
  TulValue* i = operand::space(ip->b) == operand::Local ? &R[operand::index(ip->b)]
                                                         : globalSlot(ip->b);
  const TulValue* n = READ(ip->c, 2, sc);
  int taken;
  if (i && n && BOTH_INT(i, n)) {
    const std::int32_t next = static_cast<std::int32_t>(static_cast<std::uint32_t>(i->i32()) + 1u);
    i->putInt(next);
    if (limited && !countLoopStep(code, ip, f)) goto failed;
    taken = next < n->i32();
  } else {
    taken = stepLessSlow(code, ip, f);
    CHECK(taken >= 0);
  }
  if (taken) {
    ip = first + ip->a;
    DISPATCH();
  }
  NEXT();
}

IncVar: {
  TulValue* v = operand::space(ip->b) == operand::Local ? &R[operand::index(ip->b)]
                                                         : globalSlot(ip->b);
  if (v && v->type() == TulValueType::I32) {
    v->putInt(static_cast<std::int32_t>(static_cast<std::uint32_t>(v->i32()) +
                                        static_cast<std::uint32_t>(ip->d)));
  } else {
    CHECK(incVarSlow(code, ip, f));
  }
  NEXT();
}

Callee: {
  // A variable that holds a script function: its declaration.
  const TulValue* v = operand::space(ip->b) == operand::Local ? &R[operand::index(ip->b)]
                      : operand::space(ip->b) == operand::Global ? globalSlot(ip->b)
                                                                  : nullptr;
  const FunctionObject* fn = v && v->type() == TulValueType::Function
                                 ? static_cast<const FunctionObject*>(v->refObject())
                                 : nullptr;
  if (fn && fn->decl())
    pending[ip->spare] = fn->decl();
  else
    CHECK(callee(code, ip, f, pending));
}
  NEXT();

Call:
  if (const FunctionDecl* fn = scriptCallee(pending[ip->spare])) {
    CHECK(callFunctionAt(code, ip, f, *fn, R + ip->b, ip->c));
  } else {
    CHECK(callPending(code, ip, f, pending[ip->spare], R + ip->b, ip->c));
  }
  NEXT();

CallValue:
  CHECK(callTemp(code, ip, f));
  NEXT();

LenOrPush:
  CHECK(lenOrPush(code, ip, f, pending[ip->spare]));
  NEXT();

Method:
  CHECK(method(code, ip, f));
  NEXT();

BaseMethod:
  CHECK(baseMethod(code, ip, f));
  NEXT();

GetMember: {
  // A data member of an object in a local or `this`, at the index the site
  // remembers for its class.
  const TulValue* o = operand::space(ip->b) == operand::Local ? &R[operand::index(ip->b)]
                      : operand::space(ip->b) == operand::This ? f.self
                                                                : nullptr;
  bool done = false;
  if (o && o->type() == TulValueType::Object) {
    TulObject* obj = static_cast<TulObject*>(o->refObject());
    const SiteCache& site =
        static_cast<const MemberExpr*>(code.info[static_cast<std::size_t>(ip - first)].ref)->cache;
    TulVector* data = obj->getMemberData();
    if (site.cls == obj->getClass() && site.epoch == classEpoch_ && site.index >= 0 && data &&
        static_cast<unsigned>(site.index) < data->size()) {
      // Copied before the temporary holding the object goes.
      CHECK(storeCopy(code, ip, f, (*data)[static_cast<unsigned>(site.index)]));
      FREE(kFreeB, ip->b);
      done = true;
    }
  }
  if (!done) CHECK(member(code, ip, f, false));
}
  NEXT();

SetMember:
  CHECK(member(code, ip, f, true));
  NEXT();

GetIndex: {
  // v[i] of a vector at an index within it, d[k] of a dictionary with a
  // string key, the container in a variable.
  const TulValue* o = variableSlot(ip->b, R);
  bool done = false;
  if (o && (o->type() == TulValueType::Vector || o->type() == TulValueType::Dictionary)) {
    const TulValue* k = READ(ip->c, 2, sc);
    CHECK(k);
    const TulValue* item = nullptr;
    if (o->type() == TulValueType::Vector) {
      const TulVector* vec = static_cast<TulVector*>(o->refObject());
      const unsigned at = static_cast<unsigned>(static_cast<int>(*k));
      if (k->type() == TulValueType::I32 && at < vec->size()) item = &(*vec)[at];
    } else if (k->type() == TulValueType::String) {
      const TulDictionaryEntry* e = static_cast<TulDictionary*>(o->refObject())
                                        ->find(*static_cast<TulString*>(k->refObject()));
      item = e ? &e->value : &kNil;
    }
    if (item) {
      CHECK(storeCopy(code, ip, f, *item));
      FREE_BC();
      done = true;
    }
  }
  if (!done) CHECK(index(code, ip, f, false));
}
  NEXT();

SetIndex: {
  // The same places written: a vector's element within it, a dictionary's
  // entry.
  const TulValue* o = variableSlot(ip->b, R);
  bool done = false;
  if (o && (o->type() == TulValueType::Vector || o->type() == TulValueType::Dictionary)) {
    const TulValue* k = READ(ip->c, 2, sc);
    CHECK(k);
    const TulValue* v = READ(ip->d, 3, sb);
    CHECK(v);
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
  if (!done) CHECK(index(code, ip, f, true));
}
  NEXT();

Return: {
  if (ip->flags & kFreeB) {
    f.ret = std::move(R[operand::index(ip->b)]);
    return Flow::Return;
  }
  const TulValue* x = READ(ip->b, 1, sb);
  CHECK(x);
  f.ret = *x;
  return Flow::Return;
}

ReturnNil:
  return Flow::Normal;

ForInNext: {
  const int more = forInNext(code, ip, f);
  CHECK(more >= 0);
  if (!more) {
    ip = first + ip->a;
    DISPATCH();
  }
  NEXT();
}

TryBegin:
  handlers.push_back({ip->a, ip->b, ip->c});
  NEXT();

TryEnd:
  handlers.resize(handlers.size() - static_cast<std::size_t>(ip->d));
  NEXT();

Rare:
  CHECK(rare(code, ip, f));
  NEXT();

failed:
  if (handlers.empty() || !catchError(code, f, handlers.back())) return Flow::Fail;
  ip = first + handlers.back().target;
  handlers.pop_back();
  DISPATCH();
#undef DISPATCH
#undef NEXT
#undef READ
#undef FREE
#undef FREE_BC
#undef BOTH_INT
#undef CHECK
}
#if defined(__GNUC__)
#  pragma GCC diagnostic pop
#endif

}  // namespace tulscript

// The evaluator: walks expressions and statements. Objects meet operators
// only through their hook methods (OP_ADD, OP_ADD_R, OP_SUB, OP_VREF,
// OP_VSET, OP_INC, OP_PINC), called through the runtime exactly as native
// code would call them, so a script override and a native method are
// reached alike; plain values go to values.cpp.
//
// Each case of eval() and exec() that needs temporaries lives in its own
// function kept out of line, so one level of script recursion costs the
// C++ stack only the frames it really uses.
#include "script/interp.h"

#include <algorithm>

#include "script/values.h"

#if defined(__GNUC__)
#  define TUL_NOINLINE __attribute__((noinline))
#  define TUL_INLINE __attribute__((always_inline)) inline
#else
#  define TUL_NOINLINE
#  define TUL_INLINE inline
#endif

namespace tulscript {
namespace {

const char* classNameOf(TulClass* cls) { return tulrt::className(cls); }

std::string quoted(const std::string& name) { return "'" + name + "'"; }

// The object a value refers to, or null (also for a weak reference whose
// object is gone).
TulObject* objectOf(const TulValue& v) { return static_cast<TulObject*>(v); }

bool deadObject(Interp& in, Frame& f, int line) {
  return in.fail(f, line, "the object this reference pointed to no longer exists");
}

TulString* stringOf(const TulValue& v) { return static_cast<TulString*>(v); }

// --- operator hooks ---------------------------------------------------------

TUL_NOINLINE bool callHook(Interp& in, Frame& f, int line, const TulValue& obj,
                           const char* hook, const char* op, const TulValue* args, int n,
                           TulValue& out) {
  TulObject* o = objectOf(obj);
  if (!o) return deadObject(in, f, line);
  TulClass* cls = o->getClass();
  const Interp::HookSite& h = in.resolveHook(cls, hook);
  if (!h.present)
    return in.fail(f, line, std::string("operator '") + op + "' is not defined for class " +
                                classNameOf(cls) + " (no method " + hook + ")");
  const FunctionDecl* method = h.site.fn;
  if (!method || n > static_cast<int>(method->params.size()))
    return in.callMethod(f, line, &obj, cls, hook, args, n, out);
  // A script hook runs as a method call site's method does: the object and
  // the arguments copied into its frame, since obj may be a variable the
  // hook's body reassigns.
  TulClass* owner = h.site.owner;
  const TulValue self(obj);
  SlotFrame frame(in.slotStack(), method->slotCount > n ? method->slotCount : (n ? n : 1));
  for (int i = 0; i < n; ++i) frame.slots()[i] = args[i];
  return in.callMethodInPlace(f, line, *method, owner, self, frame.slots(), out);
}

bool objectOperandError(Interp& in, Frame& f, int line, const char* op, const TulValue& obj) {
  TulObject* o = objectOf(obj);
  if (!o) return deadObject(in, f, line);
  return in.fail(f, line, std::string("operator '") + op + "' is not defined for class " +
                              classNameOf(o->getClass()));
}

// a OP b with the hooks of + and - first.
TUL_NOINLINE bool binaryOp(Interp& in, Frame& f, int line, TokenKind op, const TulValue& a,
                           const TulValue& b, TulValue& out) {
  if (a.type() == TulValueType::I32 && b.type() == TulValueType::I32 &&
      applyIntBinary(op, static_cast<int>(a), static_cast<int>(b), out))
    return true;
  if (op == TokenKind::Plus) {
    if (a.isObject()) return callHook(in, f, line, a, "OP_ADD", "+", &b, 1, out);
    if (b.isObject()) return callHook(in, f, line, b, "OP_ADD_R", "+", &a, 1, out);
  }
  if (op == TokenKind::Minus && a.isObject())
    return callHook(in, f, line, a, "OP_SUB", "-", &b, 1, out);
  if (a.isObject()) return objectOperandError(in, f, line, tokenSpelling(op), a);
  if (b.isObject()) return objectOperandError(in, f, line, tokenSpelling(op), b);
  std::string error;
  if (!applyBinary(op, a, b, out, error)) return in.fail(f, line, error);
  if (TulString* s = stringOf(out)) return in.checkSize(f, line, s->length(), "string");
  return true;
}

TokenKind compoundBase(TokenKind op) {
  switch (op) {
    case TokenKind::PlusEq: return TokenKind::Plus;
    case TokenKind::MinusEq: return TokenKind::Minus;
    case TokenKind::StarEq: return TokenKind::Star;
    case TokenKind::SlashEq: return TokenKind::Slash;
    case TokenKind::PercentEq: return TokenKind::Percent;
    case TokenKind::AmpEq: return TokenKind::Amp;
    case TokenKind::PipeEq: return TokenKind::Pipe;
    case TokenKind::CaretEq: return TokenKind::Caret;
    case TokenKind::ShlEq: return TokenKind::Shl;
    case TokenKind::ShrEq: return TokenKind::Shr;
    default: return TokenKind::UShr;
  }
}

// --- members and elements -----------------------------------------------------

// The site remembers the member's index for the class it last met.
TUL_NOINLINE bool memberSlot(Interp& in, Frame& f, int line, const TulValue& obj,
                             const std::string& name, SiteCache& site, bool forWrite,
                             TulValue*& slot) {
  if (obj.isObject()) {
    TulObject* o = objectOf(obj);
    if (!o) return deadObject(in, f, line);
    TulClass* cls = o->getClass();
    if (site.cls != cls || site.epoch != in.classEpoch()) {
      site.cls = cls;
      site.epoch = in.classEpoch();
      site.index = cls->getMemberIndex(TulString(name.c_str()));
    }
    const int index = site.index;
    TulVector* data = o->getMemberData();
    if (index >= 0 && data && static_cast<unsigned>(index) < data->size()) {
      slot = &(*data)[static_cast<unsigned>(index)];
      return true;
    }
    if (tulrt::hasMethod(cls, name.c_str()))
      return in.fail(f, line, quoted(name) + " is a method of class " + classNameOf(cls) +
                                  "; call it with " + name + "(...)");
    return in.fail(f, line, std::string("class ") + classNameOf(cls) +
                                " has no data member " + quoted(name));
  }
  if (TulClass* cls = static_cast<TulClass*>(obj)) {
    slot = tulrt::findStatic(cls, name.c_str());
    if (slot) return true;
    return in.fail(f, line, std::string("class ") + classNameOf(cls) +
                                " has no static data member " + quoted(name));
  }
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulDictionaryEntry* e = forWrite ? (*d)[name.c_str()] : d->find(name.c_str());
    slot = e ? &e->value : nullptr;
    return true;
  }
  return in.fail(f, line, std::string(forWrite ? "cannot assign member " : "cannot read member ") +
                              quoted(name) + " of " + typeTagName(obj.type()));
}

bool readMember(Interp& in, Frame& f, int line, const TulValue& obj, const MemberExpr& e,
                TulValue& out) {
  TulValue* slot = nullptr;
  if (!memberSlot(in, f, line, obj, e.name, e.cache, false, slot)) return false;
  out = slot ? *slot : TulValue();
  return true;
}

bool writeMember(Interp& in, Frame& f, int line, const TulValue& obj, const MemberExpr& e,
                 const TulValue& v) {
  TulValue* slot = nullptr;
  if (!memberSlot(in, f, line, obj, e.name, e.cache, true, slot)) return false;
  *slot = v;
  return true;
}

// An element index of a sequence of `size` elements; `append` allows size.
bool elementIndex(Interp& in, Frame& f, int line, const TulValue& key, unsigned size,
                  const char* what, bool append, unsigned& index) {
  // Whole doubles count as integers, as the host's own checks count them.
  if (!key.isInteger())
    return in.fail(f, line, std::string(what) + " index must be an integer, not " +
                                typeTagName(key.type()));
  std::int64_t i = isIntegral(key) ? integralValue(key)
                                   : static_cast<std::int64_t>(static_cast<double>(key));
  std::int64_t limit = static_cast<std::int64_t>(size) + (append ? 1 : 0);
  if (i < 0 || i >= limit)
    return in.fail(f, line, "index " + std::to_string(i) + " out of range for " + what +
                                " of size " + std::to_string(size));
  index = static_cast<unsigned>(i);
  return true;
}

bool dictionaryKey(Interp& in, Frame& f, int line, const TulValue& key, TulString*& out) {
  out = stringOf(key);
  if (out) return true;
  return in.fail(f, line, std::string("dictionary key must be a string, not ") +
                              typeTagName(key.type()));
}

TUL_NOINLINE bool readIndex(Interp& in, Frame& f, int line, const TulValue& obj,
                            const TulValue& key, TulValue& out) {
  if (obj.isObject()) return callHook(in, f, line, obj, "OP_VREF", "[]", &key, 1, out);
  unsigned i = 0;
  if (TulVector* v = static_cast<TulVector*>(obj)) {
    if (!elementIndex(in, f, line, key, v->size(), "vector", false, i)) return false;
    out = (*v)[i];
    return true;
  }
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulString* k = nullptr;
    if (!dictionaryKey(in, f, line, key, k)) return false;
    TulDictionaryEntry* e = d->find(*k);
    out = e ? e->value : TulValue();
    return true;
  }
  if (TulString* s = stringOf(obj)) {
    if (!elementIndex(in, f, line, key, s->length(), "string", false, i)) return false;
    out = TulValue(static_cast<int>(static_cast<unsigned char>(s->c_str()[i])));
    return true;
  }
  if (TulBuffer* b = static_cast<TulBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "buffer", false, i)) return false;
    out = TulValue(static_cast<int>(b->data()[i]));
    return true;
  }
  if (TulCharBuffer* b = static_cast<TulCharBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "charbuffer", false, i)) return false;
    out = TulValue(static_cast<int>(static_cast<unsigned char>(b->data()[i])));
    return true;
  }
  return in.fail(f, line, std::string("cannot index ") + typeTagName(obj.type()));
}

bool byteValue(Interp& in, Frame& f, int line, const TulValue& v, const char* what,
               unsigned char& out) {
  if (!v.isNumber())
    return in.fail(f, line, std::string("a ") + what + " element must be a number, not " +
                                typeTagName(v.type()));
  out = static_cast<unsigned char>(static_cast<unsigned>(v) & 0xFFu);
  return true;
}

TUL_NOINLINE bool writeIndex(Interp& in, Frame& f, int line, const TulValue& obj,
                             const TulValue& key, const TulValue& v) {
  if (obj.isObject()) {
    TulValue args[2] = {key, v};
    TulValue ignored;
    return callHook(in, f, line, obj, "OP_VSET", "[]=", args, 2, ignored);
  }
  unsigned i = 0;
  if (TulVector* vec = static_cast<TulVector*>(obj)) {
    if (!elementIndex(in, f, line, key, vec->size(), "vector", true, i)) return false;
    if (i < vec->size()) {
      (*vec)[i] = v;
      return true;
    }
    if (!in.checkSize(f, line, std::uint64_t(i) + 1, "vector")) return false;
    vec->push_back(v);
    return true;
  }
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulString* k = nullptr;
    if (!dictionaryKey(in, f, line, key, k)) return false;
    *(*d)[*k] = v;
    return true;
  }
  unsigned char byte = 0;
  if (TulBuffer* b = static_cast<TulBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "buffer", false, i)) return false;
    if (!byteValue(in, f, line, v, "buffer", byte)) return false;
    b->data()[i] = byte;
    return true;
  }
  if (TulCharBuffer* b = static_cast<TulCharBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "charbuffer", false, i)) return false;
    if (!byteValue(in, f, line, v, "charbuffer", byte)) return false;
    b->data()[i] = static_cast<char>(byte);
    return true;
  }
  if (stringOf(obj)) return in.fail(f, line, "strings are read-only: cannot assign an element");
  return in.fail(f, line, std::string("cannot assign an element of ") + typeTagName(obj.type()));
}

// --- places -------------------------------------------------------------------

// An assignable place with its container and key evaluated once, so that
// `a[f()] += 1` calls f once.
struct Place {
  const Expr* target = nullptr;
  TulValue object;  // Member and Index
  TulValue key;     // Index
};

bool resolvePlace(Interp& in, const Expr& target, Frame& f, Place& p) {
  p.target = &target;
  if (target.kind == ExprKind::Variable) return true;
  const auto& m = static_cast<const MemberExpr&>(target);
  if (!in.eval(*m.object, f, p.object)) return false;
  return target.kind != ExprKind::Index || in.eval(*m.index, f, p.key);
}

bool readPlace(Interp& in, const Place& p, Frame& f, TulValue& out) {
  const Expr& t = *p.target;
  if (t.kind == ExprKind::Variable)
    return in.readVar(static_cast<const VariableExpr&>(t).var, f, t.line, out);
  if (t.kind == ExprKind::Member)
    return readMember(in, f, t.line, p.object, static_cast<const MemberExpr&>(t), out);
  return readIndex(in, f, t.line, p.object, p.key, out);
}

bool writePlace(Interp& in, const Place& p, Frame& f, const TulValue& v) {
  const Expr& t = *p.target;
  if (t.kind == ExprKind::Variable)
    return in.writeVar(static_cast<const VariableExpr&>(t).var, f, t.line, v);
  if (t.kind == ExprKind::Member)
    return writeMember(in, f, t.line, p.object, static_cast<const MemberExpr&>(t), v);
  return writeIndex(in, f, t.line, p.object, p.key, v);
}

// --- expressions ----------------------------------------------------------------

TUL_NOINLINE bool evalVector(Interp& in, const ListExpr& e, Frame& f, TulValue& out) {
  if (!in.checkSize(f, e.line, e.values.size(), "vector")) return false;
  TulValue result(new TulVector(static_cast<unsigned>(e.values.size()), false));
  TulVector* v = static_cast<TulVector*>(result);
  for (const ExprPtr& x : e.values) {
    TulValue item;
    if (!in.eval(*x, f, item)) return false;
    v->push_back(item);
  }
  out = std::move(result);
  return true;
}

TUL_NOINLINE bool evalDictionary(Interp& in, const ListExpr& e, Frame& f, TulValue& out) {
  TulValue result(new TulDictionary());
  TulDictionary* d = static_cast<TulDictionary*>(result);
  for (std::size_t i = 0; i < e.keys.size(); ++i) {
    TulValue key, value;
    if (!in.eval(*e.keys[i], f, key)) return false;
    TulString* k = nullptr;
    if (!dictionaryKey(in, f, e.keys[i]->line, key, k)) return false;
    if (!in.eval(*e.values[i], f, value)) return false;
    *(*d)[*k] = value;
  }
  out = std::move(result);
  return true;
}

TUL_NOINLINE bool evalUnary(Interp& in, const UnaryExpr& e, Frame& f, TulValue& out) {
  TulValue v;
  if (!in.eval(*e.operand, f, v)) return false;
  if (e.op == TokenKind::Bang) {
    out = TulValue(isTrue(v) ? 0 : 1);
    return true;
  }
  if (v.isObject()) return objectOperandError(in, f, e.line, tokenSpelling(e.op), v);
  std::string error;
  if (!applyUnary(e.op, v, out, error)) return in.fail(f, e.line, error);
  return true;
}

TUL_INLINE bool isLeaf(const Expr& e) {
  return e.kind == ExprKind::Int || e.kind == ExprKind::Variable;
}

// Whether the integer path may take e at all: a call of tryInt for any
// other tree would only say no.
TUL_INLINE bool mayBeInt(const Expr& e) { return e.intShaped || isLeaf(e); }

// --- chains of + ------------------------------------------------------------------

// The most + nodes of one left-leaning chain built in one buffer; a longer
// chain starts from its inner part evaluated the ordinary way.
constexpr int kChainMax = 32;

bool isPlus(const Expr& e) {
  return e.kind == ExprKind::Binary && static_cast<const BinaryExpr&>(e).op == TokenKind::Plus;
}

// A chain worth a buffer: at least two + in a row, or a string literal as
// its first operand.
bool isStringChain(const BinaryExpr& e) {
  return e.op == TokenKind::Plus && (isPlus(*e.left) || e.left->kind == ExprKind::String);
}

// The text of a number, as formatNumber gives it, appended; 32-bit
// integers without a string of their own.
void appendNumber(std::string& text, const TulValue& v) {
  if (v.type() != TulValueType::I32) {
    text += formatNumber(v);
    return;
  }
  const std::int32_t i = static_cast<int>(v);
  std::uint32_t u = i < 0 ? 0u - static_cast<std::uint32_t>(i) : static_cast<std::uint32_t>(i);
  char digits[12];
  char* p = digits + sizeof digits;
  do {
    *--p = static_cast<char>('0' + u % 10);
    u /= 10;
  } while (u);
  if (i < 0) *--p = '-';
  text.append(p, static_cast<std::size_t>(digits + sizeof digits - p));
}

// x0 + x1 + ... + xn, evaluated as the tree of + nodes would be (each
// operand in order, each + with its own line), except that while the
// value so far is a string and the next operand a string or a number, the
// text is appended to one buffer: one host string for the whole chain
// instead of one for each +. An operand of any other kind meets the string
// as a value, through binaryOp, as it would have.
TUL_NOINLINE bool evalStringChain(Interp& in, const BinaryExpr& e, Frame& f, TulValue& out) {
  const BinaryExpr* nodes[kChainMax];
  int n = 0;
  for (const BinaryExpr* b = &e; n < kChainMax; b = static_cast<const BinaryExpr*>(b->left.get())) {
    nodes[n++] = b;
    if (!isPlus(*b->left)) break;
  }
  const Expr& first = *nodes[n - 1]->left;
  std::string text;
  bool buffered = first.kind == ExprKind::String;
  TulValue acc;
  if (buffered)
    text = static_cast<const LiteralExpr&>(first).text;
  else if (!in.eval(first, f, acc))
    return false;
  for (int i = n - 1; i >= 0; --i) {
    const BinaryExpr& node = *nodes[i];
    const Expr& right = *node.right;
    if (buffered && right.kind == ExprKind::String) {
      text += static_cast<const LiteralExpr&>(right).text;
      if (!in.checkSize(f, node.line, text.size(), "string")) return false;
      continue;
    }
    TulValue b;
    if (!in.eval(right, f, b)) return false;
    const bool appendable = b.isNumber() || stringOf(b);
    if (!buffered && appendable && stringOf(acc)) {
      text.assign(stringOf(acc)->c_str(), stringOf(acc)->length());
      buffered = true;
    }
    if (buffered && appendable) {
      if (TulString* t = stringOf(b))
        text.append(t->c_str(), t->length());
      else
        appendNumber(text, b);
      if (!in.checkSize(f, node.line, text.size(), "string")) return false;
      continue;
    }
    if (buffered) {
      acc = makeString(text);
      buffered = false;
    }
    TulValue r;
    if (!binaryOp(in, f, node.line, TokenKind::Plus, acc, b, r)) return false;
    acc = std::move(r);
  }
  out = buffered ? makeString(text) : std::move(acc);
  return true;
}

TUL_NOINLINE bool evalBinary(Interp& in, const BinaryExpr& e, Frame& f, TulValue& out) {
  if (isStringChain(e)) return evalStringChain(in, e, f, out);
  TulValue a, b;
  if (!in.eval(*e.left, f, a) || !in.eval(*e.right, f, b)) return false;
  if (a.type() == TulValueType::I32 && b.type() == TulValueType::I32 &&
      applyIntBinary(e.op, static_cast<int>(a), static_cast<int>(b), out))
    return true;
  if (e.op == TokenKind::EqEq || e.op == TokenKind::BangEq) {
    bool eq = valuesEqual(a, b);
    out = TulValue((e.op == TokenKind::EqEq) == eq ? 1 : 0);
    return true;
  }
  return binaryOp(in, f, e.line, e.op, a, b, out);
}

// && and || give the operand that decided, as in JavaScript.
TUL_NOINLINE bool evalLogical(Interp& in, const BinaryExpr& e, Frame& f, TulValue& out) {
  if (!in.eval(*e.left, f, out)) return false;
  bool decided = e.op == TokenKind::AmpAmp ? !isTrue(out) : isTrue(out);
  if (decided) return true;
  return in.eval(*e.right, f, out);
}

// A variable as the target: no place to resolve.
// What x = e or x OP= e stores when both sides are integers (see
// Interp::tryInt); false, with nothing done, when the general way must
// compute it.
bool intAssignment(const Interp& in, const BinaryExpr& e, const Frame& f, std::int32_t& r) {
  if (e.op == TokenKind::Eq) return in.tryInt(*e.right, f, r);
  std::int32_t x = 0, y = 0;
  return in.tryInt(*e.left, f, x) && in.tryInt(*e.right, f, y) &&
         intBinary(compoundBase(e.op), x, y, r);
}

bool assignVariable(Interp& in, const BinaryExpr& e, Frame& f, TulValue& out) {
  const auto& target = static_cast<const VariableExpr&>(*e.left);
  std::int32_t r = 0;
  if (intAssignment(in, e, f, r)) {
    if (!in.writeVar(target.var, f, target.line, TulValue(r))) return false;
    out = TulValue(r);
    return true;
  }
  TulValue value;
  if (e.op == TokenKind::Eq) {
    if (!in.eval(*e.right, f, value)) return false;
  } else {
    TulValue old, rhs;
    if (!in.readVar(target.var, f, target.line, old) || !in.eval(*e.right, f, rhs)) return false;
    if (!binaryOp(in, f, e.line, compoundBase(e.op), old, rhs, value)) return false;
  }
  if (!in.writeVar(target.var, f, target.line, value)) return false;
  out = std::move(value);
  return true;
}

TUL_NOINLINE bool evalAssign(Interp& in, const BinaryExpr& e, Frame& f, TulValue& out) {
  if (e.left->kind == ExprKind::Variable) return assignVariable(in, e, f, out);
  Place p;
  if (!resolvePlace(in, *e.left, f, p)) return false;
  TulValue value;
  if (e.op == TokenKind::Eq) {
    if (!in.eval(*e.right, f, value)) return false;
  } else {
    TulValue old, rhs;
    if (!readPlace(in, p, f, old) || !in.eval(*e.right, f, rhs)) return false;
    if (!binaryOp(in, f, e.line, compoundBase(e.op), old, rhs, value)) return false;
  }
  if (!writePlace(in, p, f, value)) return false;
  out = std::move(value);
  return true;
}

// ++a on an object is a = a.OP_INC() and gives the new a; a++ is
// tmp = a; a = a.OP_PINC() and gives tmp.
// ++ and -- of an integer variable, the loop counter's case. False when
// the variable holds anything else or is an undefined global (the general
// way then reads it again: reading has no effects of its own). The
// variable is updated where it is: an integer holds no reference.
bool incDecVariable(Interp& in, const IncDecExpr& e, Frame& f, TulValue& out) {
  TulValue* v = in.varSlot(static_cast<const VariableExpr&>(*e.target).var, f);
  if (!v || v->type() != TulValueType::I32) return false;
  const std::int32_t old = static_cast<int>(*v);
  const std::uint32_t u = static_cast<std::uint32_t>(old);
  const std::int32_t updated = static_cast<std::int32_t>(e.increment ? u + 1 : u - 1);
  *v = TulValue(updated);
  out = TulValue(e.prefix ? updated : old);
  return true;
}

// An expression whose value nobody uses (a statement, a for loop's step):
// an integer assignment to a variable, or ++ or -- of one, makes no value.
bool evalDiscarded(Interp& in, const Expr& e, Frame& f) {
  TulValue ignored;
  if (e.kind == ExprKind::Assign) {
    const auto& a = static_cast<const BinaryExpr&>(e);
    std::int32_t r = 0;
    if (a.left->kind == ExprKind::Variable && intAssignment(in, a, f, r))
      return in.writeVar(static_cast<const VariableExpr&>(*a.left).var, f, a.left->line,
                         TulValue(r));
  } else if (e.kind == ExprKind::IncDec) {
    const auto& i = static_cast<const IncDecExpr&>(e);
    if (i.target->kind == ExprKind::Variable && incDecVariable(in, i, f, ignored)) return true;
  }
  return in.eval(e, f, ignored);
}

TUL_NOINLINE bool evalIncDec(Interp& in, const IncDecExpr& e, Frame& f, TulValue& out) {
  if (e.target->kind == ExprKind::Variable && incDecVariable(in, e, f, out)) return true;
  Place p;
  TulValue old, updated;
  if (!resolvePlace(in, *e.target, f, p) || !readPlace(in, p, f, old)) return false;
  const char* op = e.increment ? "++" : "--";
  if (old.isObject()) {
    if (!e.increment) return objectOperandError(in, f, e.line, op, old);
    const char* hook = e.prefix ? "OP_INC" : "OP_PINC";
    if (!callHook(in, f, e.line, old, hook, op, nullptr, 0, updated)) return false;
  } else if (old.type() != TulValueType::I32 ||
             !applyIntBinary(e.increment ? TokenKind::Plus : TokenKind::Minus,
                             static_cast<int>(old), 1, updated)) {
    if (!old.isNumber())
      return in.fail(f, e.line, std::string("cannot apply '") + op + "' to " +
                                    typeTagName(old.type()));
    std::string error;
    if (!applyBinary(e.increment ? TokenKind::Plus : TokenKind::Minus, old, TulValue(1),
                     updated, error))
      return in.fail(f, e.line, error);
  }
  if (!writePlace(in, p, f, updated)) return false;
  out = e.prefix ? std::move(updated) : std::move(old);
  return true;
}

// Arguments are evaluated straight into the slots of the callee's frame,
// taken from the interpreter's slot stack: `reserve` is the callee's frame
// size when it is script code, so nothing is copied to call it.
bool evalArgs(Interp& in, const std::vector<ExprPtr>& list, Frame& f, TulValue* slots) {
  for (std::size_t i = 0; i < list.size(); ++i)
    if (!in.eval(*list[i], f, slots[i])) return false;
  return true;
}

std::size_t frameSize(const std::vector<ExprPtr>& args, const FunctionDecl* fn) {
  std::size_t n = args.size();
  if (fn && static_cast<std::size_t>(fn->slotCount) > n) n = static_cast<std::size_t>(fn->slotCount);
  return n ? n : 1;
}

const std::string& calleeName(const CallExpr& e) {
  static const std::string none;
  return e.callee->kind == ExprKind::Variable ? static_cast<const VariableExpr&>(*e.callee).var.name
                                              : none;
}

// A function named by a variable is called without copying its value,
// whatever the arguments do to the variable: a script function's
// declaration lives as long as its program, which the interpreter keeps,
// and a built-in as long as the interpreter.
const FunctionObject* namedFunction(const Interp& in, const CallExpr& e, const Frame& f) {
  if (e.callee->kind != ExprKind::Variable) return nullptr;
  const TulValue* v = in.peekVar(static_cast<const VariableExpr&>(*e.callee).var, f);
  return v ? functionOf(*v) : nullptr;
}


enum class Shortcut { NotTaken, Done, Failed };

// len(v) and push(v, x) with v a variable that holds a vector and x a
// literal, a variable or an integer expression: the vector is used where
// the variable holds it, without a frame for the call. Reading x runs no
// script code, so v still holds the vector when it is pushed to. NotTaken,
// with nothing done, for anything else: the general way then reads the
// arguments again (reading has no effects) and reports what it finds.
TUL_NOINLINE Shortcut vectorBuiltin(Interp& in, const CallExpr& e, const FunctionObject& fn,
                                    Frame& f, TulValue& out) {
  const std::size_t n = e.args.size();
  if (n == 0 || e.args[0]->kind != ExprKind::Variable) return Shortcut::NotTaken;
  const TulValue* held = in.peekVar(static_cast<const VariableExpr&>(*e.args[0]).var, f);
  if (!held || held->type() != TulValueType::Vector) return Shortcut::NotTaken;
  TulVector* v = static_cast<TulVector*>(*held);
  if (n == 1 && isBuiltinLen(fn)) {
    out = TulValue(static_cast<int>(v->size()));
    return Shortcut::Done;
  }
  if (n != 2 || !isBuiltinPush(fn)) return Shortcut::NotTaken;
  const Expr& x = *e.args[1];
  std::int32_t i = 0;
  TulValue item;
  if (isLeaf(x)) {
    if (!in.eval(x, f, item)) return Shortcut::Failed;
  } else if (x.intShaped && in.tryInt(x, f, i)) {
    item = TulValue(i);
  } else {
    return Shortcut::NotTaken;
  }
  if (!in.checkSize(f, e.line, std::uint64_t(v->size()) + 1, "vector")) return Shortcut::Failed;
  v->push_back(item);
  out = TulValue(static_cast<int>(v->size()));
  return Shortcut::Done;
}

TUL_NOINLINE bool evalCall(Interp& in, const CallExpr& e, Frame& f, TulValue& out) {
  const int n = static_cast<int>(e.args.size());
  if (const FunctionObject* named = namedFunction(in, e, f)) {
    const FunctionDecl* decl = named->decl();
    if (!decl) {
      const Shortcut done = vectorBuiltin(in, e, *named, f, out);
      if (done != Shortcut::NotTaken) return done == Shortcut::Done;
    }
    SlotFrame frame(in.slotStack(), frameSize(e.args, decl));
    if (!evalArgs(in, e.args, f, frame.slots())) return false;
    if (decl) return in.callFunctionInPlace(f, e.line, *decl, frame.slots(), n, out);
    return in.callBuiltin(f, e.line, *named, frame.slots(), n, out);
  }
  TulValue callee;
  if (!in.eval(*e.callee, f, callee)) return false;
  FunctionObject* fn = functionOf(callee);
  const FunctionDecl* decl = fn ? fn->decl() : nullptr;
  SlotFrame frame(in.slotStack(), frameSize(e.args, decl));
  if (!evalArgs(in, e.args, f, frame.slots())) return false;
  if (decl) return in.callFunctionInPlace(f, e.line, *decl, frame.slots(), n, out);
  return in.callValue(f, e.line, callee, frame.slots(), n, out, calleeName(e));
}

// `this.Base(args)` where Base is a class the object derives from: runs
// the constructor Base defines, or the one it inherits.
bool ancestorConstructor(TulClass* cls, const std::string& name, TulClass*& owner,
                         std::string& ctor) {
  TulClass* c = cls;
  while (c && name != classNameOf(c)) c = tulrt::baseClass(c);
  if (!c) return false;
  for (owner = c; owner; owner = tulrt::baseClass(owner)) {
    ctor = classNameOf(owner);
    std::vector<std::string> own = tulrt::ownMethodNames(owner);
    if (std::find(own.begin(), own.end(), ctor) != own.end()) return true;
  }
  ctor.clear();
  return true;
}

bool callOnObject(Interp& in, Frame& f, int line, const TulValue& obj, const std::string& name,
                  const TulValue* args, int n, TulValue& out) {
  TulObject* o = objectOf(obj);
  if (!o) return deadObject(in, f, line);
  TulClass* cls = o->getClass();
  if (tulrt::hasMethod(cls, name.c_str()))
    return in.callMethod(f, line, &obj, cls, name.c_str(), args, n, out);
  TulClass* owner = nullptr;
  std::string ctor;
  if (ancestorConstructor(cls, name, owner, ctor)) {
    if (!ctor.empty() && !in.callMethod(f, line, &obj, owner, ctor.c_str(), args, n, out))
      return false;
    out = obj;
    return true;
  }
  if (tulrt::hasMethod(cls, name.c_str(), true))
    return in.fail(f, line, quoted(name) + " is a static method of class " + classNameOf(cls) +
                                "; call it as " + classNameOf(cls) + "." + name + "(...)");
  return in.fail(f, line, std::string("class ") + classNameOf(cls) + " has no method " +
                              quoted(name));
}

bool callOnClass(Interp& in, Frame& f, int line, TulClass* cls, const std::string& name,
                 const TulValue* args, int n, TulValue& out) {
  if (tulrt::hasMethod(cls, name.c_str(), true))
    return in.callMethod(f, line, nullptr, cls, name.c_str(), args, n, out);
  if (tulrt::hasMethod(cls, name.c_str()))
    return in.fail(f, line, quoted(name) + " is not a static method of class " +
                                classNameOf(cls) + "; call it on an object");
  return in.fail(f, line, std::string("class ") + classNameOf(cls) + " has no static method " +
                              quoted(name));
}

// A script method the site's cache names runs here without the runtime;
// anything else (native methods, ancestors' constructors, errors) goes the
// runtime's way, so what it reaches is what native code would reach.
TUL_NOINLINE bool evalMethodCall(Interp& in, const CallExpr& e, Frame& f, TulValue& out) {
  TulValue obj;
  if (!in.eval(*e.callee, f, obj)) return false;
  const int n = static_cast<int>(e.args.size());
  const FunctionDecl* method = nullptr;
  if (TulObject* o = obj.isObject() ? objectOf(obj) : nullptr) {
    in.resolveMethod(e.cache, o->getClass(), e.name);
    method = e.cache.fn;
    if (method && n > static_cast<int>(method->params.size())) method = nullptr;
  }
  SlotFrame frame(in.slotStack(), frameSize(e.args, method));
  TulValue* args = frame.slots();
  if (!evalArgs(in, e.args, f, args)) return false;
  // The arguments may have ended an object held by a weak reference.
  if (method && objectOf(obj))
    return in.callMethodInPlace(f, e.line, *method, e.cache.owner, obj, args, out);
  if (obj.isObject()) return callOnObject(in, f, e.line, obj, e.name, args, n, out);
  if (TulClass* cls = static_cast<TulClass*>(obj))
    return callOnClass(in, f, e.line, cls, e.name, args, n, out);
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulDictionaryEntry* entry = d->find(e.name.c_str());
    if (!entry) return in.fail(f, e.line, "dictionary has no member " + quoted(e.name));
    TulValue callee = entry->value;
    return in.callValue(f, e.line, callee, args, n, out, e.name);
  }
  return in.fail(f, e.line, "cannot call method " + quoted(e.name) + " on " +
                                typeTagName(obj.type()));
}

TUL_NOINLINE bool evalBaseCall(Interp& in, const CallExpr& e, Frame& f, TulValue& out) {
  SlotFrame frame(in.slotStack(), frameSize(e.args, nullptr));
  TulValue* args = frame.slots();
  if (!evalArgs(in, e.args, f, args)) return false;
  TulClass* base = f.cls ? tulrt::baseClass(f.cls) : nullptr;
  if (!base || !tulrt::hasMethod(base, e.name.c_str()))
    return in.fail(f, e.line, std::string("base class ") + (base ? classNameOf(base) : "?") +
                                  " has no method " + quoted(e.name));
  return in.callMethod(f, e.line, &f.thisValue(), base, e.name.c_str(), args,
                       static_cast<int>(e.args.size()), out);
}

// Reading a member runs no script code, so `this.name` and `var.name` read
// the object where the frame holds it, without copying its value.
TUL_NOINLINE bool evalMember(Interp& in, const MemberExpr& e, Frame& f, TulValue& out) {
  const Expr& o = *e.object;
  const TulValue* held = o.kind == ExprKind::This ? &f.thisValue()
                         : o.kind == ExprKind::Variable
                             ? in.peekVar(static_cast<const VariableExpr&>(o).var, f)
                             : nullptr;
  if (held) return readMember(in, f, e.line, *held, e, out);
  TulValue obj;
  if (!in.eval(o, f, obj)) return false;
  return readMember(in, f, e.line, obj, e, out);
}

// v[i] with v a variable that holds a vector and i an integer expression
// within it: the vector is read where the frame holds it. False, with
// nothing done, for anything else (the general way then evaluates both
// again, which has no effects).
bool readVectorElement(Interp& in, const MemberExpr& e, Frame& f, TulValue& out) {
  if (e.object->kind != ExprKind::Variable) return false;
  const TulValue* held = in.peekVar(static_cast<const VariableExpr&>(*e.object).var, f);
  std::int32_t i = 0;
  if (!held || held->type() != TulValueType::Vector || !in.tryInt(*e.index, f, i)) return false;
  const TulVector* v = static_cast<TulVector*>(*held);
  if (i < 0 || static_cast<unsigned>(i) >= v->size()) return false;
  out = (*v)[static_cast<unsigned>(i)];
  return true;
}

TUL_NOINLINE bool evalIndex(Interp& in, const MemberExpr& e, Frame& f, TulValue& out) {
  if (readVectorElement(in, e, f, out)) return true;
  TulValue obj, key;
  if (!in.eval(*e.object, f, obj) || !in.eval(*e.index, f, key)) return false;
  return readIndex(in, f, e.line, obj, key, out);
}

// --- statements -------------------------------------------------------------------

// Body flows that end a loop: break ends it normally, return and failure
// leave the loop with that flow.
bool loopEnds(Flow fl, Flow& result) {
  if (fl == Flow::Break) {
    result = Flow::Normal;
    return true;
  }
  if (fl == Flow::Return || fl == Flow::Fail) {
    result = fl;
    return true;
  }
  return false;
}

// A literal or a variable holding a 32-bit integer, read where it is.
TUL_INLINE bool intLeaf(const Interp& in, const Expr& e, const Frame& f, std::int32_t& out) {
  if (e.kind == ExprKind::Int) {
    out = static_cast<const LiteralExpr&>(e).intValue;
    return true;
  }
  if (e.kind != ExprKind::Variable) return false;
  const TulValue* v = in.peekVar(static_cast<const VariableExpr&>(e).var, f);
  if (!v || v->type() != TulValueType::I32) return false;
  out = static_cast<int>(*v);
  return true;
}

// A condition of the shape `i < n`: an operator between two literals
// or variables (null for any other shape).
TUL_INLINE const BinaryExpr* leafCondition(const Expr* cond) {
  if (!cond || cond->kind != ExprKind::Binary) return nullptr;
  const auto& b = static_cast<const BinaryExpr&>(*cond);
  return isLeaf(*b.left) && isLeaf(*b.right) ? &b : nullptr;
}

// A loop's or an if's condition, `i < n` read straight from the two operands when they
// hold integers; anything else goes through Interp::condition, which reads
// them again (reading has no effects) and reports what there is to report.
TUL_INLINE bool fastCondition(Interp& in, const Expr& cond, const BinaryExpr* leaves, Frame& f,
                          bool& out) {
  std::int32_t x, y, r;
  if (leaves && intLeaf(in, *leaves->left, f, x) && intLeaf(in, *leaves->right, f, y) &&
      intBinary(leaves->op, x, y, r)) {
    out = r != 0;
    return true;
  }
  return in.condition(cond, f, out);
}

// A loop step of the shape `i++` (or ++i, i--, --i): the variable updated
// where it is when it holds an integer, as incDecVariable would.
TUL_INLINE bool loopStep(Interp& in, const Expr& step, Frame& f) {
  if (step.kind == ExprKind::IncDec) {
    const auto& e = static_cast<const IncDecExpr&>(step);
    if (e.target->kind == ExprKind::Variable) {
      TulValue* v = in.varSlot(static_cast<const VariableExpr&>(*e.target).var, f);
      if (v && v->type() == TulValueType::I32) {
        const std::uint32_t u = static_cast<std::uint32_t>(static_cast<int>(*v));
        // A copy, which the compiler inlines; it leaves the move out of line.
        const TulValue updated(static_cast<std::int32_t>(e.increment ? u + 1 : u - 1));
        *v = updated;
        return true;
      }
    }
  }
  return evalDiscarded(in, step, f);
}

TUL_NOINLINE Flow execWhile(Interp& in, const IfStmt& s, Frame& f) {
  const BinaryExpr* leaves = leafCondition(s.cond.get());
  for (;;) {
    if (!in.step(f, s.line)) return Flow::Fail;
    bool c = false;
    if (!fastCondition(in, *s.cond, leaves, f, c)) return Flow::Fail;
    if (!c) return Flow::Normal;
    Flow result;
    if (loopEnds(in.exec(*s.then, f), result)) return result;
  }
}

TUL_NOINLINE Flow execFor(Interp& in, const ForStmt& s, Frame& f) {
  if (s.init) {
    Flow fl = in.exec(*s.init, f);
    if (fl != Flow::Normal) return fl;
  }
  const BinaryExpr* leaves = leafCondition(s.cond.get());
  for (;;) {
    if (!in.step(f, s.line)) return Flow::Fail;
    if (s.cond) {
      bool c = false;
      if (!fastCondition(in, *s.cond, leaves, f, c)) return Flow::Fail;
      if (!c) return Flow::Normal;
    }
    Flow result;
    if (loopEnds(in.exec(*s.body, f), result)) return result;
    if (s.step && !loopStep(in, *s.step, f)) return Flow::Fail;
  }
}

// Vectors give their values, read afresh each turn so the body may change
// the vector; dictionaries give the keys they had when the loop began,
// skipping those erased meanwhile.
TUL_NOINLINE Flow execForIn(Interp& in, const ForInStmt& s, Frame& f) {
  TulValue seq;
  if (!in.eval(*s.iterable, f, seq)) return Flow::Fail;
  Flow result;
  if (TulVector* v = static_cast<TulVector*>(seq)) {
    for (unsigned i = 0; i < v->size(); ++i) {
      if (!in.step(f, s.line)) return Flow::Fail;
      TulValue item = (*v)[i];
      if (!in.writeVar(s.var, f, s.line, item)) return Flow::Fail;
      if (loopEnds(in.exec(*s.body, f), result)) return result;
    }
    return Flow::Normal;
  }
  TulDictionary* d = static_cast<TulDictionary*>(seq);
  if (!d) {
    in.fail(f, s.line, std::string("cannot iterate over ") + typeTagName(seq.type()) +
                           " (for ... in takes a vector or a dictionary)");
    return Flow::Fail;
  }
  std::vector<TulValue> keys;
  for (TulDictionaryEntry* e = d->getFirst(); e; e = e->next)
    keys.push_back(makeString(e->key.c_str(), e->key.length()));
  for (const TulValue& key : keys) {
    if (!in.step(f, s.line)) return Flow::Fail;
    if (!d->find(*static_cast<TulString*>(key))) continue;
    if (!in.writeVar(s.var, f, s.line, key)) return Flow::Fail;
    if (loopEnds(in.exec(*s.body, f), result)) return result;
  }
  return Flow::Normal;
}

TUL_NOINLINE Flow execTry(Interp& in, const TryStmt& s, Frame& f) {
  Flow fl = in.exec(*s.body, f);
  ScriptError caught;
  if (fl != Flow::Fail || !in.takeError(caught)) return fl;
  if (!in.writeVar(s.caught, f, s.line, in.errorValue(caught))) return Flow::Fail;
  return in.exec(*s.handler, f);
}

TUL_NOINLINE Flow execThrow(Interp& in, const ExprStmt& s, Frame& f) {
  TulValue v;
  if (!in.eval(*s.value, f, v)) return Flow::Fail;
  ScriptError e;
  e.file = f.program->fileName;
  e.line = s.line;
  // Throwing a caught error again keeps its texts.
  TulDictionary* d = static_cast<TulDictionary*>(v);
  TulDictionaryEntry* message = d ? d->find("message") : nullptr;
  if (message && stringOf(message->value)) {
    e.message = stringOf(message->value)->c_str();
    TulDictionaryEntry* detail = d->find("detail");
    if (detail && stringOf(detail->value)) {
      e.hasDetail = true;
      e.detail = stringOf(detail->value)->c_str();
    }
  } else if (!in.display(f, s.line, v, e.message)) {
    return Flow::Fail;
  }
  in.failWith(std::move(e));
  return Flow::Fail;
}

TUL_NOINLINE Flow execVar(Interp& in, const VarStmt& s, Frame& f) {
  TulValue v;
  if (s.init && !in.eval(*s.init, f, v)) return Flow::Fail;
  if (s.var.kind == VarRef::Kind::Local) {
    f.slots[s.var.index] = std::move(v);
    return Flow::Normal;
  }
  in.defineGlobal(s.var.name, v);
  return Flow::Normal;
}

TUL_NOINLINE Flow execIf(Interp& in, const IfStmt& s, Frame& f) {
  bool c = false;
  if (!fastCondition(in, *s.cond, leafCondition(s.cond.get()), f, c)) return Flow::Fail;
  if (c) return in.exec(*s.then, f);
  return s.otherwise ? in.exec(*s.otherwise, f) : Flow::Normal;
}

TUL_NOINLINE Flow execReturn(Interp& in, const ExprStmt& s, Frame& f) {
  if (!s.value) {
    f.ret = TulValue();
    return Flow::Return;
  }
  return in.eval(*s.value, f, f.ret) ? Flow::Return : Flow::Fail;
}

TUL_NOINLINE Flow execExpr(Interp& in, const ExprStmt& s, Frame& f) {
  return evalDiscarded(in, *s.value, f) ? Flow::Normal : Flow::Fail;
}

}  // namespace

bool Interp::eval(const Expr& e, Frame& f, TulValue& out) {
  switch (e.kind) {
    case ExprKind::Nil: out = TulValue(); return true;
    case ExprKind::Int: out = TulValue(static_cast<const LiteralExpr&>(e).intValue); return true;
    case ExprKind::Double:
      out = TulValue(static_cast<const LiteralExpr&>(e).doubleValue);
      return true;
    case ExprKind::String: out = makeString(static_cast<const LiteralExpr&>(e).text); return true;
    case ExprKind::VectorLit: return evalVector(*this, static_cast<const ListExpr&>(e), f, out);
    case ExprKind::DictLit: return evalDictionary(*this, static_cast<const ListExpr&>(e), f, out);
    case ExprKind::Variable:
      return readVar(static_cast<const VariableExpr&>(e).var, f, e.line, out);
    case ExprKind::This: out = f.thisValue(); return true;
    case ExprKind::FunctionLit:
      out = functionValue(*static_cast<const FunctionExpr&>(e).fn);
      return true;
    case ExprKind::Unary: return evalUnary(*this, static_cast<const UnaryExpr&>(e), f, out);
    case ExprKind::Binary: {
      // `n - 1`: two literals or variables, read in place.
      const auto& b = static_cast<const BinaryExpr&>(e);
      std::int32_t x, y, r;
      if (isLeaf(*b.left) && isLeaf(*b.right)) {
        if (!intLeaf(*this, *b.left, f, x) || !intLeaf(*this, *b.right, f, y) ||
            !intBinary(b.op, x, y, r))
          return evalBinary(*this, b, f, out);
      } else if (!e.intShaped || !tryInt(e, f, r)) {
        return evalBinary(*this, b, f, out);
      }
      out = TulValue(r);
      return true;
    }
    case ExprKind::Logical: return evalLogical(*this, static_cast<const BinaryExpr&>(e), f, out);
    case ExprKind::Conditional: {
      const auto& c = static_cast<const ConditionalExpr&>(e);
      bool yes = false;
      if (!condition(*c.cond, f, yes)) return false;
      return eval(yes ? *c.then : *c.otherwise, f, out);
    }
    case ExprKind::Assign: return evalAssign(*this, static_cast<const BinaryExpr&>(e), f, out);
    case ExprKind::IncDec: return evalIncDec(*this, static_cast<const IncDecExpr&>(e), f, out);
    case ExprKind::Call: return evalCall(*this, static_cast<const CallExpr&>(e), f, out);
    case ExprKind::MethodCall:
      return evalMethodCall(*this, static_cast<const CallExpr&>(e), f, out);
    case ExprKind::BaseCall: return evalBaseCall(*this, static_cast<const CallExpr&>(e), f, out);
    case ExprKind::Member: return evalMember(*this, static_cast<const MemberExpr&>(e), f, out);
    case ExprKind::Index: return evalIndex(*this, static_cast<const MemberExpr&>(e), f, out);
  }
  return fail(f, e.line, "internal error: unknown expression");
}

namespace {

// An operand on the integer path: a literal or a variable is read here, so
// the leaves of an expression cost no call of their own.
TUL_INLINE bool intOperand(const Interp& in, const Expr& e, const Frame& f, std::int32_t& out) {
  if (e.kind == ExprKind::Int) {
    out = static_cast<const LiteralExpr&>(e).intValue;
    return true;
  }
  if (e.kind != ExprKind::Variable)
    return e.kind == ExprKind::Index || e.kind == ExprKind::Call ? in.intAccess(e, f, out)
                                                                : in.tryInt(e, f, out);
  const TulValue* v = in.peekVar(static_cast<const VariableExpr&>(e).var, f);
  if (!v || v->type() != TulValueType::I32) return false;
  out = static_cast<int>(*v);
  return true;
}

}  // namespace

bool Interp::tryInt(const Expr& e, const Frame& f, std::int32_t& out) const {
  switch (e.kind) {
    case ExprKind::Int: out = static_cast<const LiteralExpr&>(e).intValue; return true;
    case ExprKind::Variable: {
      const TulValue* v = peekVar(static_cast<const VariableExpr&>(e).var, f);
      if (!v || v->type() != TulValueType::I32) return false;
      out = static_cast<int>(*v);
      return true;
    }
    case ExprKind::Binary: {
      const auto& b = static_cast<const BinaryExpr&>(e);
      std::int32_t x, y;
      return e.intShaped && e.height <= kIntPathHeight && intOperand(*this, *b.left, f, x) &&
             intOperand(*this, *b.right, f, y) && intBinary(b.op, x, y, out);
    }
    case ExprKind::Unary: {
      const auto& u = static_cast<const UnaryExpr&>(e);
      std::int32_t x;
      if (!e.intShaped || e.height > kIntPathHeight || !intOperand(*this, *u.operand, f, x))
        return false;
      const std::uint32_t ux = static_cast<std::uint32_t>(x);
      switch (u.op) {
        case TokenKind::Minus: out = static_cast<std::int32_t>(0u - ux); return true;
        case TokenKind::Tilde: out = static_cast<std::int32_t>(~ux); return true;
        case TokenKind::Bang: out = x == 0; return true;
        default: out = x; return true;  // unary plus
      }
    }
    default: return false;
  }
}

// v[i] and len(v) as operands, out of line so that tryInt keeps its small
// frame.
TUL_NOINLINE bool Interp::intAccess(const Expr& e, const Frame& f, std::int32_t& out) const {
  if (!e.intShaped || e.height > kIntPathHeight) return false;
  return e.kind == ExprKind::Index ? intElement(e, f, out) : intLength(e, f, out);
}

// v[i]: an integer element of the vector a variable holds, at an index
// within it.
bool Interp::intElement(const Expr& e, const Frame& f, std::int32_t& out) const {
  const auto& m = static_cast<const MemberExpr&>(e);
  const TulValue* held = peekVar(static_cast<const VariableExpr&>(*m.object).var, f);
  std::int32_t i;
  if (!held || held->type() != TulValueType::Vector || !intOperand(*this, *m.index, f, i))
    return false;
  const TulVector* v = static_cast<TulVector*>(*held);
  if (i < 0 || static_cast<unsigned>(i) >= v->size()) return false;
  const TulValue& x = (*v)[static_cast<unsigned>(i)];
  if (x.type() != TulValueType::I32) return false;
  out = static_cast<int>(x);
  return true;
}

// len(v) while `len` holds the built-in and v a vector.
bool Interp::intLength(const Expr& e, const Frame& f, std::int32_t& out) const {
  const auto& c = static_cast<const CallExpr&>(e);
  const TulValue* callee = peekVar(static_cast<const VariableExpr&>(*c.callee).var, f);
  const FunctionObject* fn = callee ? functionOf(*callee) : nullptr;
  if (!fn || !isBuiltinLen(*fn)) return false;
  const TulValue* held = peekVar(static_cast<const VariableExpr&>(*c.args[0]).var, f);
  if (!held || held->type() != TulValueType::Vector) return false;
  out = static_cast<std::int32_t>(static_cast<TulVector*>(*held)->size());
  return true;
}

bool Interp::condition(const Expr& e, Frame& f, bool& out) {
  std::int32_t r;
  if (mayBeInt(e) && tryInt(e, f, r)) {
    out = r != 0;
    return true;
  }
  TulValue c;
  if (!eval(e, f, c)) return false;
  out = isTrue(c);
  return true;
}

Flow Interp::exec(const Stmt& s, Frame& f) {
  if (!step(f, s.line)) return Flow::Fail;
  switch (s.kind) {
    case StmtKind::Expr: return execExpr(*this, static_cast<const ExprStmt&>(s), f);
    case StmtKind::Var: return execVar(*this, static_cast<const VarStmt&>(s), f);
    case StmtKind::Block: return execList(static_cast<const BlockStmt&>(s).body, f);
    case StmtKind::If: return execIf(*this, static_cast<const IfStmt&>(s), f);
    case StmtKind::While: return execWhile(*this, static_cast<const IfStmt&>(s), f);
    case StmtKind::For: return execFor(*this, static_cast<const ForStmt&>(s), f);
    case StmtKind::ForIn: return execForIn(*this, static_cast<const ForInStmt&>(s), f);
    case StmtKind::Break: return Flow::Break;
    case StmtKind::Continue: return Flow::Continue;
    case StmtKind::Return: return execReturn(*this, static_cast<const ExprStmt&>(s), f);
    case StmtKind::Try: return execTry(*this, static_cast<const TryStmt&>(s), f);
    case StmtKind::Throw: return execThrow(*this, static_cast<const ExprStmt&>(s), f);
    case StmtKind::Function: {
      const auto& fs = static_cast<const FunctionStmt&>(s);
      if (fs.hoisted) return Flow::Normal;
      if (fs.var.kind == VarRef::Kind::Local) {
        f.slots[fs.var.index] = functionValue(*fs.fn);
        return Flow::Normal;
      }
      defineGlobal(fs.var.name, functionValue(*fs.fn));
      return Flow::Normal;
    }
    case StmtKind::Class:
      return declareClass(static_cast<const ClassStmt&>(s), f) ? Flow::Normal : Flow::Fail;
    case StmtKind::Include: {
      const Program* p = static_cast<const IncludeStmt&>(s).program;
      return !p || runProgram(*p) ? Flow::Normal : Flow::Fail;
    }
  }
  fail(f, s.line, "internal error: unknown statement");
  return Flow::Fail;
}

Flow Interp::execList(const std::vector<StmtPtr>& list, Frame& f) {
  for (const StmtPtr& s : list) {
    Flow fl = exec(*s, f);
    if (fl != Flow::Normal) return fl;
  }
  return Flow::Normal;
}

bool Interp::runProgram(const Program& p) {
  std::vector<TulValue> slots(static_cast<std::size_t>(std::max(p.slotCount, 1)));
  Frame f;
  f.program = &p;
  f.slots = slots.data();
  // Functions of a file exist before its first statement runs, so they may
  // call each other whatever their order.
  for (const StmtPtr& s : p.body.body) {
    if (s->kind != StmtKind::Function) continue;
    const auto& fs = static_cast<const FunctionStmt&>(*s);
    if (fs.hoisted) defineGlobal(fs.var.name, functionValue(*fs.fn));
  }
  Flow fl = execList(p.body.body, f);
  return fl != Flow::Fail;
}

// A global read before its definition: a class the module registered is
// visible under its name.
bool Interp::readUndefined(const VarRef& v, Frame& f, int line, TulValue& out) {
  if (TulClass* cls = vm_->findClass(v.name.c_str())) {
    out = TulValue(cls);
    return true;
  }
  return fail(f, line, "undefined variable " + quoted(v.name));
}

bool Interp::writeUndeclared(const VarRef& v, Frame& f, int line) {
  return fail(f, line, "assignment to undeclared variable " + quoted(v.name) +
                           " (declare it with var)");
}

// A built-in checks its argument count here, so each one sees only the
// counts it accepts.
bool Interp::callBuiltin(Frame& f, int line, const FunctionObject& fn, const TulValue* args,
                         int n, TulValue& out) {
  if (n < fn.minArgs() || (fn.maxArgs() >= 0 && n > fn.maxArgs())) {
    std::string want = fn.minArgs() == fn.maxArgs() ? std::to_string(fn.minArgs())
                       : fn.maxArgs() < 0 ? "at least " + std::to_string(fn.minArgs())
                                          : std::to_string(fn.minArgs()) + " to " +
                                                std::to_string(fn.maxArgs());
    bool one = want == "1" || (want.size() > 2 && want.compare(want.size() - 2, 2, " 1") == 0);
    return fail(f, line, fn.name() + ": expected " + want + " argument" + (one ? "" : "s") +
                             ", got " + std::to_string(n));
  }
  out = TulValue();
  BuiltinCall call{*this, f, line, fn.builtinName(), args, n, out};
  return fn.builtin()(call);
}

bool Interp::callValue(Frame& f, int line, const TulValue& callee, const TulValue* args, int n,
                       TulValue& out, const std::string& calleeName) {
  if (FunctionObject* fn = functionOf(callee)) {
    if (fn->builtin()) return callBuiltin(f, line, *fn, args, n, out);
    const FunctionDecl& decl = *fn->decl();
    SlotFrame frame(slotStack_, static_cast<std::size_t>(std::max({decl.slotCount, n, 1})));
    std::copy(args, args + n, frame.slots());
    return callFunctionInPlace(f, line, decl, frame.slots(), n, out);
  }
  if (TulClass* cls = static_cast<TulClass*>(callee)) {
    TulVector argv(static_cast<unsigned>(n), false);
    for (int i = 0; i < n; ++i) argv.push_back(args[i]);
    Forwarded outer = enterNativeCall();
    bool ok = vm_->interp().createObject(out, TulString(classNameOf(cls)), &argv);
    return leaveNativeCall(f, line, ok, std::move(outer));
  }
  std::string what = calleeName.empty()
                         ? "a value of type " + std::string(typeTagName(callee.type()))
                         : quoted(calleeName) + " (" + typeTagName(callee.type()) + ")";
  return fail(f, line, "cannot call " + what + ": not a function or class");
}

bool Interp::callScript(const FunctionDecl& fn, const TulValue& self, TulClass* cls,
                        const TulValue* args, int n, TulValue& out) {
  SlotFrame frame(slotStack_, static_cast<std::size_t>(std::max(fn.slotCount, 1)));
  TulValue* slots = frame.slots();
  for (int i = 0; i < n && i < static_cast<int>(fn.params.size()); ++i) slots[i] = args[i];
  return runFrame(fn, slots, self, cls, out);
}

bool Interp::runFrame(const FunctionDecl& fn, TulValue* slots, const TulValue& self,
                      TulClass* cls, TulValue& out) {
  if (fn.selfSlot >= 0) slots[fn.selfSlot] = functionValue(fn);
  Frame frame;
  frame.program = fn.program;
  frame.slots = slots;
  frame.self = &self;
  frame.cls = cls;
  Flow fl = execList(fn.body.body, frame);
  if (fl == Flow::Fail) return false;
  out = fl == Flow::Return ? std::move(frame.ret) : TulValue();
  return true;
}

bool Interp::callFunctionInPlace(Frame& f, int line, const FunctionDecl& fn, TulValue* slots,
                                 int n, TulValue& out) {
  if (n > static_cast<int>(fn.params.size()))
    return fail(f, line, "too many arguments to " +
                             (fn.name.empty() ? std::string("function") : quoted(fn.name)) +
                             " (takes " + std::to_string(fn.params.size()) + ", got " +
                             std::to_string(n) + ")");
  if (!enterCall(f, line)) return false;
  bool ok = runFrame(fn, slots, TulValue(), nullptr, out);
  leaveCall();
  return ok;
}

// As the runtime would run it: its depth limit counts these calls too, so
// endless recursion ends with the runtime's own error at the same place.
bool Interp::callMethodInPlace(Frame& f, int line, const FunctionDecl& fn, TulClass* owner,
                               const TulValue& self, TulValue* slots, TulValue& out) {
  if (methodDepth_ + vm_->interp().callDepth() >= tulrt::kMaxCallDepth)
    return fail(f, line, "stack overflow");
  if (!enterCall(f, line)) return false;
  ++methodDepth_;
  TulValue result;
  bool ok = runFrame(fn, slots, self, owner, result);
  --methodDepth_;
  leaveCall();
  if (!ok) return false;
  out = fn.isConstructor ? self : std::move(result);
  return true;
}

void Interp::resolveMethod(SiteCache& site, TulClass* cls, const std::string& name) {
  if (site.cls == cls && site.epoch == classEpoch_) return;
  site.cls = cls;
  site.epoch = classEpoch_;
  site.fn = nullptr;
  site.owner = nullptr;
  for (TulClass* c = cls; c; c = tulrt::baseClass(c)) {
    auto script = scriptMethods_.find(c);
    if (script == scriptMethods_.end()) {
      std::vector<std::string> own = tulrt::ownMethodNames(c);
      if (std::find(own.begin(), own.end(), name) != own.end()) return;  // native
      continue;
    }
    auto m = script->second.find(name);
    if (m == script->second.end()) continue;
    site.fn = m->second;
    site.owner = c;
    return;
  }
}

const Interp::HookSite& Interp::resolveHook(TulClass* cls, const char* hook) {
  HookSite& h = hooks_[{cls, hook}];
  if (h.site.cls == cls && h.site.epoch == classEpoch_) return h;
  h.present = tulrt::hasMethod(cls, hook);
  resolveMethod(h.site, cls, hook);
  return h;
}

bool Interp::callMethod(Frame& f, int line, const TulValue* self, TulClass* cls,
                        const char* name, const TulValue* args, int n, TulValue& out) {
  if (!enterCall(f, line)) return false;
  TulValue result;
  Forwarded outer = enterNativeCall();
  bool ok = vm_->interp().call(result, cls, name, self, args, n);
  leaveCall();
  if (!leaveNativeCall(f, line, ok, std::move(outer))) return false;
  out = std::move(result);
  return true;
}

namespace {

// The text of a value that is not a container or an object.
bool displayPlain(const TulValue& v, std::string& out, int depth) {
  switch (v.type()) {
    case TulValueType::Nil: case TulValueType::Empty: out += "nil"; return true;
    case TulValueType::String: {
      TulString* s = stringOf(v);
      if (depth > 0) out += '"';
      out.append(s->c_str(), s->length());
      if (depth > 0) out += '"';
      return true;
    }
    case TulValueType::Class:
      out += std::string("<class ") + classNameOf(static_cast<TulClass*>(v)) + ">";
      return true;
    case TulValueType::Function: {
      std::string name = functionOf(v) ? functionOf(v)->name() : "";
      out += name.empty() ? "<function>" : "<function " + name + ">";
      return true;
    }
    case TulValueType::Buffer:
      out += "<buffer of " + std::to_string(static_cast<TulBuffer*>(v)->size()) + " bytes>";
      return true;
    case TulValueType::CharBuffer:
      out += "<charbuffer of " + std::to_string(static_cast<TulCharBuffer*>(v)->size()) + " chars>";
      return true;
    case TulValueType::DictEntry:
      out += std::string("<dictentry ") + static_cast<TulDictionaryEntry*>(v)->key.c_str() + ">";
      return true;
    default: break;
  }
  if (v.isNumber()) {
    out += formatNumber(v);
    return true;
  }
  if (v.isObject() || static_cast<TulVector*>(v) || static_cast<TulDictionary*>(v)) return false;
  out += std::string("<") + typeTagName(v.type()) + ">";
  return true;
}

}  // namespace

// An object shows through its toString() when its class has one.
bool Interp::displayObject(Frame& f, int line, const TulValue& v, std::string& out, int depth) {
  TulObject* o = objectOf(v);
  if (!o) {
    out += "<gone object>";
    return true;
  }
  TulClass* cls = o->getClass();
  if (!tulrt::hasMethod(cls, "toString")) {
    out += std::string("<") + classNameOf(cls) + " object>";
    return true;
  }
  TulValue text;
  if (!callMethod(f, line, &v, cls, "toString", nullptr, 0, text)) return false;
  if (TulString* s = stringOf(text)) {
    out.append(s->c_str(), s->length());
    return true;
  }
  return display(f, line, text, out, depth + 1);
}

// Containers show as literals; one met again inside itself shows as [...]
// or {...}, and nesting past a depth is cut short the same way.
bool Interp::displayContainer(Frame& f, int line, const TulValue& v, std::string& out,
                              int depth) {
  TulVector* vec = static_cast<TulVector*>(v);
  TulDictionary* dict = static_cast<TulDictionary*>(v);
  const void* id = v.refObject();
  if (depth > kMaxDisplayDepth ||
      std::find(displaying_.begin(), displaying_.end(), id) != displaying_.end()) {
    out += vec ? "[...]" : "{...}";
    return true;
  }
  displaying_.push_back(id);
  bool ok = true;
  out += vec ? "[" : "{";
  if (vec) {
    for (unsigned i = 0; ok && i < vec->size(); ++i) {
      if (i) out += ", ";
      TulValue item = (*vec)[i];
      ok = display(f, line, item, out, depth + 1);
    }
  } else {
    for (TulDictionaryEntry* e = dict->getFirst(); ok && e; e = e->next) {
      if (e != dict->getFirst()) out += ", ";
      out += '"';
      out.append(e->key.c_str(), e->key.length());
      out += "\": ";
      TulValue item = e->value;
      ok = display(f, line, item, out, depth + 1);
    }
  }
  out += vec ? "]" : "}";
  displaying_.pop_back();
  return ok;
}

bool Interp::display(Frame& f, int line, const TulValue& v, std::string& out, int depth) {
  if (displayPlain(v, out, depth)) return true;
  if (v.isObject()) return displayObject(f, line, v, out, depth);
  return displayContainer(f, line, v, out, depth);
}

TulValue Interp::functionValue(const FunctionDecl& fn) {
  std::shared_ptr<const Program> program = programs_[static_cast<std::size_t>(fn.program->fileIndex)];
  return TulValue::fromRef(TulValueType::Function, new FunctionObject(std::move(program), &fn));
}

FunctionObject* functionOf(const TulValue& v) {
  if (v.type() != TulValueType::Function) return nullptr;
  return static_cast<FunctionObject*>(v.refObject());
}

}  // namespace tulscript

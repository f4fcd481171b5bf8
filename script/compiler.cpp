// The compiler: one pass over a function's tree, emitting instructions in
// the order the language evaluates things, so that effects and errors come
// in the order the program states them.
//
// Registers are frame slots: a variable is its own slot (or its global),
// and intermediate values take temporaries laid out above the variables,
// as a stack: an expression's temporaries are given back once the
// instruction that uses them has run, and that instruction releases what
// they held (kFreeB, kFreeC), so an object made for one expression goes
// when that expression is done with it.
//
// An operation reads a variable where it is when nothing evaluated between
// the read the program states and the operation can change the variable or
// fail first: for a local, nothing that assigns it; for a global, nothing
// that can run script code, and either nothing that can fail or a global
// the file's top level has certainly defined by then.
//
// Steps: when the run has a step budget, each statement counts one when it
// begins, and each turn of a loop one more, with Step instructions; a run
// without one pays nothing for them.
#include "script/compiler.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include "script/values.h"

namespace tulscript {
namespace {

bool isComparison(TokenKind op) {
  switch (op) {
    case TokenKind::Less: case TokenKind::LessEq: case TokenKind::Greater:
    case TokenKind::GreaterEq: case TokenKind::EqEq: case TokenKind::BangEq:
      return true;
    default:
      return false;
  }
}

Op binaryOp(TokenKind op) { return opFor(op, Op::Add, Op::NotEqual); }
Op jumpOp(TokenKind op) { return opFor(op, Op::JumpLess, Op::JumpNotEqual); }
Op unaryOp(TokenKind op) { return opFor(op, Op::Neg, Op::BitNot); }

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

const VarRef* variableOf(const Expr& e) {
  return e.kind == ExprKind::Variable ? &static_cast<const VariableExpr&>(e).var : nullptr;
}

// The name of the variable a call's callee is, which errors about the
// call show ("" for any other callee).
std::string calleeName(const CallExpr& e) {
  const VarRef* v = e.callee ? variableOf(*e.callee) : nullptr;
  return v ? v->name : std::string();
}

// Evaluating e runs no script code and changes no variable: literals,
// variables, `this`, member reads and the operators that never call an
// operator hook (only + and - do, and [] reads).
bool isSimple(const Expr& e) {
  switch (e.kind) {
    case ExprKind::Nil: case ExprKind::Int: case ExprKind::Double: case ExprKind::String:
    case ExprKind::Variable: case ExprKind::This: case ExprKind::FunctionLit:
      return true;
    case ExprKind::Member: return isSimple(*static_cast<const MemberExpr&>(e).object);
    case ExprKind::Unary: return isSimple(*static_cast<const UnaryExpr&>(e).operand);
    case ExprKind::Binary: {
      const auto& b = static_cast<const BinaryExpr&>(e);
      return b.op != TokenKind::Plus && b.op != TokenKind::Minus && isSimple(*b.left) &&
             isSimple(*b.right);
    }
    case ExprKind::Logical: {
      const auto& b = static_cast<const BinaryExpr&>(e);
      return isSimple(*b.left) && isSimple(*b.right);
    }
    case ExprKind::Conditional: {
      const auto& c = static_cast<const ConditionalExpr&>(e);
      return isSimple(*c.cond) && isSimple(*c.then) && isSimple(*c.otherwise);
    }
    default:
      return false;
  }
}

// Evaluating e cannot fail or do anything: literals, locals and `this`.
bool isInert(const Expr& e) {
  switch (e.kind) {
    case ExprKind::Nil: case ExprKind::Int: case ExprKind::Double: case ExprKind::String:
    case ExprKind::This:
      return true;
    case ExprKind::Variable:
      return static_cast<const VariableExpr&>(e).var.kind == VarRef::Kind::Local;
    default:
      return false;
  }
}

// Whether e assigns (or steps) local slot `slot` anywhere inside it.
bool assignsLocal(const Expr& e, int slot) {
  auto targets = [slot](const Expr& t) {
    const VarRef* v = variableOf(t);
    return v && v->kind == VarRef::Kind::Local && v->index == slot;
  };
  switch (e.kind) {
    case ExprKind::Assign: {
      const auto& b = static_cast<const BinaryExpr&>(e);
      return targets(*b.left) || assignsLocal(*b.left, slot) || assignsLocal(*b.right, slot);
    }
    case ExprKind::IncDec: {
      const auto& i = static_cast<const IncDecExpr&>(e);
      return targets(*i.target) || assignsLocal(*i.target, slot);
    }
    case ExprKind::Unary: return assignsLocal(*static_cast<const UnaryExpr&>(e).operand, slot);
    case ExprKind::Binary: case ExprKind::Logical: {
      const auto& b = static_cast<const BinaryExpr&>(e);
      return assignsLocal(*b.left, slot) || assignsLocal(*b.right, slot);
    }
    case ExprKind::Conditional: {
      const auto& c = static_cast<const ConditionalExpr&>(e);
      return assignsLocal(*c.cond, slot) || assignsLocal(*c.then, slot) ||
             assignsLocal(*c.otherwise, slot);
    }
    case ExprKind::Call: case ExprKind::MethodCall: case ExprKind::BaseCall: {
      const auto& c = static_cast<const CallExpr&>(e);
      if (c.callee && assignsLocal(*c.callee, slot)) return true;
      for (const ExprPtr& a : c.args)
        if (assignsLocal(*a, slot)) return true;
      return false;
    }
    case ExprKind::Member: case ExprKind::Index: {
      const auto& m = static_cast<const MemberExpr&>(e);
      return assignsLocal(*m.object, slot) || (m.index && assignsLocal(*m.index, slot));
    }
    case ExprKind::VectorLit: case ExprKind::DictLit: {
      const auto& l = static_cast<const ListExpr&>(e);
      for (const ExprPtr& k : l.keys)
        if (assignsLocal(*k, slot)) return true;
      for (const ExprPtr& v : l.values)
        if (assignsLocal(*v, slot)) return true;
      return false;
    }
    default:
      return false;
  }
}

class Compiler {
 public:
  Compiler(Code& code, int locals, std::vector<char>* knownGlobals, bool countSteps)
      : code_(code), locals_(locals), known_(knownGlobals), counting_(countSteps) {}

  void body(const std::vector<StmtPtr>& list) {
    for (const StmtPtr& s : list) statement(*s);
    emit(Op::ReturnNil, 0);
    code_.frameSize = std::max(1, locals_ + maxTemps_);
    code_.pendingCalls = maxPending_;
  }

 private:
  // --- emitting -----------------------------------------------------------------

  // The next instruction's index, as a jump target.
  int here() const { return static_cast<int>(code_.ins.size()); }

  int emit(Op op, int line, std::int32_t a = 0, std::int32_t b = 0, std::int32_t c = 0,
           std::int32_t d = 0, std::uint8_t flags = 0) {
    Ins ins;
    ins.op = op;
    ins.flags = flags;
    ins.a = a;
    ins.b = b;
    ins.c = c;
    ins.d = d;
    if (direct(op, a, b, c, flags)) ins.flags |= kDirect;
    const int pc = here();
    code_.ins.push_back(ins);
    if (code_.lineRuns.empty() || code_.lineRuns.back().line != line)
      code_.lineRuns.push_back({pc, line});
    extraLine(pc, lines::Target, targetLine_);
    extraLine(pc, lines::B, lineOf(b));
    extraLine(pc, lines::C, lineOf(c));
    extraLine(pc, lines::D, lineOf(d));
    // An integer constant c rides in d as well, where the VM takes it
    // without reading the constant.
    if ((ins.flags & kDirect) && op != Op::StepLess && d == 0 &&
        operand::space(c) == operand::Const) {
      const TulValue& k = code_.consts[static_cast<std::size_t>(operand::index(c))];
      if (k.type() == TulValueType::I32) {
        at(pc).flags |= kIntC;
        at(pc).d = k.i32();
      }
    }
    return pc;
  }
  // Whether instruction op's operands all qualify for kDirect.
  bool direct(Op op, std::int32_t a, std::int32_t b, std::int32_t c, std::uint8_t flags) const {
    const bool compareJump = op >= Op::JumpLess && op <= Op::JumpNotEqual;
    // A Move that uses up a temporary moves it rather than copy it.
    if (op == Op::Move)
      return !(flags & kFreeB) && operand::space(a) == operand::Local && directOperand(b);
    if (!(op >= Op::Add && op <= Op::NotEqual) && !compareJump && op != Op::StepLess)
      return false;
    if (!directOperand(b) || !directOperand(c)) return false;
    if (compareJump) return true;
    if (op == Op::StepLess) return operand::space(b) != operand::Const;
    return operand::space(a) != operand::Const && directOperand(a);
  }
  bool directOperand(std::int32_t x) const {
    switch (operand::space(x)) {
      case operand::Local:
      case operand::Const:
        return true;
      case operand::Global:
        return knownGlobal(operand::index(x));
      default:
        return false;
    }
  }
  // Records a line other than the operation's for the instruction at pc
  // (kept in order of pc, then kind; none means 0).
  void extraLine(int pc, int kind, int line) {
    if (line == 0) return;
    std::vector<ExtraLine>& x = code_.extraLines;
    auto at = std::find_if(x.rbegin(), x.rend(), [&](const ExtraLine& e) {
      return e.pc < pc || (e.pc == pc && e.kind > kind);
    });
    x.insert(at.base(), {pc, kind, line});
  }
  // A site of each table, by its index.
  std::int32_t callSite(const std::string& name, int argc = 0) {
    CallSite site;
    site.name = name;
    site.argc = argc;
    code_.calls.push_back(std::move(site));
    return static_cast<std::int32_t>(code_.calls.size()) - 1;
  }
  std::int32_t memberSite(const std::string& name) {
    MemberSite site;
    site.name = name;
    code_.members.push_back(std::move(site));
    return static_cast<std::int32_t>(code_.members.size()) - 1;
  }
  std::int32_t stringIndex(const std::string& text) {
    code_.strings.push_back(text);
    return static_cast<std::int32_t>(code_.strings.size()) - 1;
  }
  std::int32_t functionIndex(const FunctionDecl* fn) {
    code_.functions.push_back(fn);
    return static_cast<std::int32_t>(code_.functions.size()) - 1;
  }
  Ins& at(int pc) { return code_.ins[static_cast<std::size_t>(pc)]; }
  void patch(int pc, int target) { at(pc).a = target; }
  void patchAll(const std::vector<int>& list, int target) {
    for (int pc : list) patch(pc, target);
  }

  // A step of the budget, where a statement begins or a loop's turn does;
  // nothing when the run has no budget.
  void addStep(int line) {
    if (counting_) emit(Op::Step, line);
  }

  // The line a write to a global reports while a variable's value is
  // being computed.
  struct Target {
    Compiler& c;
    int saved;
    Target(Compiler& compiler, int line) : c(compiler), saved(compiler.targetLine_) {
      c.targetLine_ = line;
    }
    ~Target() { c.targetLine_ = saved; }
  };

  // --- operands and temporaries ----------------------------------------------------

  std::int32_t temp() {
    const int t = locals_ + temps_++;
    maxTemps_ = std::max(maxTemps_, temps_);
    return operand::local(t);
  }
  bool isTemp(std::int32_t x) const {
    return operand::space(x) == operand::Local && operand::index(x) >= locals_;
  }
  // The flags that release b, c and d once the instruction writing a has
  // run.
  std::uint8_t frees(std::int32_t a, std::int32_t b, std::int32_t c = -1,
                     std::int32_t d = -1) const {
    std::uint8_t f = 0;
    if (isTemp(b) && b != a) f |= kFreeB;
    if (isTemp(c) && c != a && c != b) f |= kFreeC;
    if (isTemp(d) && d != a && d != b && d != c) f |= kFreeD;
    return f;
  }

  std::int32_t constant(const TulValue& v) {
    code_.consts.push_back(v);
    return operand::constant(static_cast<int>(code_.consts.size()) - 1);
  }
  std::int32_t intConstant(std::int32_t i) {
    auto found = ints_.find(i);
    if (found != ints_.end()) return found->second;
    const std::int32_t x = constant(TulValue(i));
    ints_.emplace(i, x);
    return x;
  }
  std::int32_t nilConstant() {
    if (nil_ < 0) nil_ = constant(TulValue());
    return nil_;
  }
  // A variable as an operand, remembering the line of this read of it.
  std::int32_t variable(const VarRef& v, int line) {
    const std::int32_t x =
        v.kind == VarRef::Kind::Local ? operand::local(v.index) : operand::global(v.index);
    if (v.kind == VarRef::Kind::Global) globalLines_[x] = line;
    return x;
  }
  // The line an error about reading operand x reports (an undefined
  // global): the latest read of it compiled.
  int lineOf(std::int32_t x) const {
    if (operand::space(x) != operand::Global) return 0;
    auto found = globalLines_.find(x);
    return found == globalLines_.end() ? 0 : found->second;
  }

  bool knownGlobal(int index) const {
    return known_ && static_cast<std::size_t>(index) < known_->size() &&
           (*known_)[static_cast<std::size_t>(index)];
  }
  void markKnown(const VarRef& v) {
    if (!known_ || v.kind != VarRef::Kind::Global) return;
    const std::size_t i = static_cast<std::size_t>(v.index);
    if (known_->size() <= i) known_->resize(i + 1, 0);
    (*known_)[i] = 1;
  }

  // Whether operand x, read where it is, still holds what it held before
  // `later` was evaluated, and reading it then fails where it would have
  // failed before.
  bool stable(std::int32_t x, const std::vector<const Expr*>& later) const {
    if (isTemp(x)) return true;
    switch (operand::space(x)) {
      case operand::Local:
        for (const Expr* e : later)
          if (assignsLocal(*e, operand::index(x))) return false;
        return true;
      case operand::Global: {
        const bool known = knownGlobal(operand::index(x));
        for (const Expr* e : later)
          if (!isSimple(*e) || (!known && !isInert(*e))) return false;
        return true;
      }
      default:
        return true;
    }
  }

  std::int32_t copied(std::int32_t x, int line) {
    const std::int32_t t = temp();
    emit(Op::Move, line, t, x);
    return t;
  }

  // e's value as an operand: a variable, `this` or a constant where it is,
  // anything else in a temporary.
  std::int32_t value(const Expr& e) {
    switch (e.kind) {
      case ExprKind::Nil: return nilConstant();
      case ExprKind::Int: return intConstant(static_cast<const LiteralExpr&>(e).intValue);
      case ExprKind::Double:
        return constant(TulValue(static_cast<const LiteralExpr&>(e).doubleValue));
      case ExprKind::This: return operand::self();
      case ExprKind::Variable:
        return variable(static_cast<const VariableExpr&>(e).var, e.line);
      default: {
        const std::int32_t t = temp();
        into(e, t);
        return t;
      }
    }
  }

  // e's value as an operand that still holds it once `later` has been
  // evaluated: copied into a temporary when it would not.
  std::int32_t operandFor(const Expr& e, const std::vector<const Expr*>& later) {
    const std::int32_t x = operatorOperand(e);
    return stable(x, later) ? x : copied(x, e.line);
  }

  // An operand of an operator: as value() gives it, and a string literal as
  // a constant, which the operator only reads (a literal anywhere else is
  // a new string each time, since native code may write into it).
  std::int32_t operatorOperand(const Expr& e) {
    if (e.kind != ExprKind::String) return value(e);
    const std::string& text = static_cast<const LiteralExpr&>(e).text;
    auto found = strings_.find(text);
    if (found != strings_.end()) return found->second;
    const std::int32_t x = constant(makeString(text));
    strings_.emplace(text, x);
    return x;
  }

  // --- expressions -------------------------------------------------------------------

  // Evaluates e into dst: a temporary, a variable (the write, and its error
  // for an undeclared global, come last) or operand::discard().
  void into(const Expr& e, std::int32_t dst) {
    const int mark = temps_;
    switch (e.kind) {
      case ExprKind::Nil: case ExprKind::Int: case ExprKind::Double: case ExprKind::Variable:
      case ExprKind::This:
        move(dst, value(e), e.line);
        break;
      case ExprKind::String:
        emit(Op::LoadStr, e.line, dst, stringIndex(static_cast<const LiteralExpr&>(e).text));
        break;
      case ExprKind::FunctionLit:
        emit(Op::LoadFn, e.line, dst, functionIndex(static_cast<const FunctionExpr&>(e).fn));
        break;
      case ExprKind::VectorLit: case ExprKind::DictLit: case ExprKind::Logical:
      case ExprKind::IncDec:
        // These write their result before they are done reading: into a
        // temporary first when the result goes anywhere else.
        if (!isTemp(dst)) {
          const std::int32_t t = temp();
          into(e, t);
          move(dst, t, e.line);
        } else if (e.kind == ExprKind::Logical) {
          logical(static_cast<const BinaryExpr&>(e), dst);
        } else if (e.kind == ExprKind::IncDec) {
          incDec(static_cast<const IncDecExpr&>(e), dst);
        } else {
          list(static_cast<const ListExpr&>(e), dst);
        }
        break;
      case ExprKind::Unary: {
        const auto& u = static_cast<const UnaryExpr&>(e);
        const std::int32_t x = value(*u.operand);
        emit(unaryOp(u.op), e.line, dst, x, 0, 0, frees(dst, x));
        break;
      }
      case ExprKind::Binary: {
        const auto& b = static_cast<const BinaryExpr&>(e);
        const std::int32_t x = operandFor(*b.left, {b.right.get()});
        const std::int32_t y = operatorOperand(*b.right);
        emit(binaryOp(b.op), e.line, dst, x, y, 0, frees(dst, x, y));
        break;
      }
      case ExprKind::Conditional: {
        const auto& c = static_cast<const ConditionalExpr&>(e);
        std::vector<int> otherwise = jumpsIf(*c.cond, false);
        into(*c.then, dst);
        const int end = emit(Op::Jump, e.line);
        patchAll(otherwise, here());
        into(*c.otherwise, dst);
        patch(end, here());
        break;
      }
      case ExprKind::Assign: move(dst, assign(static_cast<const BinaryExpr&>(e), true), e.line); break;
      case ExprKind::Call: call(static_cast<const CallExpr&>(e), dst); break;
      case ExprKind::MethodCall: methodCall(static_cast<const CallExpr&>(e), dst); break;
      case ExprKind::BaseCall: {
        const auto& c = static_cast<const CallExpr&>(e);
        const std::int32_t first = arguments(c.args);
        emit(Op::BaseMethod, e.line, dst, 0, callSite(c.name, static_cast<int>(c.args.size())),
             operand::index(first));
        break;
      }
      case ExprKind::Member: {
        const auto& m = static_cast<const MemberExpr&>(e);
        const std::int32_t o = value(*m.object);
        emit(Op::GetMember, e.line, dst, o, memberSite(m.name), 0, frees(dst, o));
        break;
      }
      case ExprKind::Index: {
        const auto& m = static_cast<const MemberExpr&>(e);
        const std::int32_t o = operandFor(*m.object, {m.index.get()});
        const std::int32_t k = value(*m.index);
        emit(Op::GetIndex, e.line, dst, o, k, 0, frees(dst, o, k));
        break;
      }
    }
    temps_ = mark;
  }

  // dst = x (a temporary x is moved).
  void move(std::int32_t dst, std::int32_t x, int line) {
    if (dst == x && operand::space(x) == operand::Local) return;
    emit(Op::Move, line, dst, x, 0, 0, frees(dst, x));
  }

  void list(const ListExpr& e, std::int32_t dst) {
    if (e.kind == ExprKind::VectorLit) {
      emit(Op::NewVec, e.line, dst, 0, 0, static_cast<std::int32_t>(e.values.size()));
      for (const ExprPtr& x : e.values) {
        const std::int32_t t = temp();
        into(*x, t);
        emit(Op::VecPush, x->line, dst, t, 0, 0, kFreeB);
        temps_ -= 1;
      }
      return;
    }
    emit(Op::NewDict, e.line, dst);
    for (std::size_t i = 0; i < e.keys.size(); ++i) {
      const int mark = temps_;
      const std::int32_t k = temp();
      into(*e.keys[i], k);
      emit(Op::DictKey, e.keys[i]->line, 0, k);
      const std::int32_t v = value(*e.values[i]);
      emit(Op::DictPut, e.line, dst, k, v, 0, frees(dst, k, v));
      temps_ = mark;
    }
  }

  // && and || give the operand that decided, as in JavaScript.
  void logical(const BinaryExpr& e, std::int32_t dst) {
    into(*e.left, dst);
    const std::uint8_t whenDecided = e.op == TokenKind::AmpAmp ? kNegate : 0;
    const int decided = emit(Op::JumpIf, e.line, 0, dst, 0, 0, whenDecided);
    into(*e.right, dst);
    patch(decided, here());
  }

  // Jumps (to be patched) taken when e's truth is `when`; otherwise the
  // code falls through.
  std::vector<int> jumpsIf(const Expr& e, bool when) {
    const int mark = temps_;
    const std::uint8_t negate = when ? 0 : kNegate;
    std::vector<int> jumps;
    if (e.kind == ExprKind::Int) {
      if ((static_cast<const LiteralExpr&>(e).intValue != 0) == when)
        jumps.push_back(emit(Op::Jump, e.line));
    } else if (e.kind == ExprKind::Unary &&
               static_cast<const UnaryExpr&>(e).op == TokenKind::Bang) {
      jumps = jumpsIf(*static_cast<const UnaryExpr&>(e).operand, !when);
    } else if (e.kind == ExprKind::Logical) {
      const auto& b = static_cast<const BinaryExpr&>(e);
      // a && b is true when both are; a || b is false when both are.
      if ((b.op == TokenKind::AmpAmp) == when) {
        std::vector<int> out = jumpsIf(*b.left, !when);
        jumps = jumpsIf(*b.right, when);
        patchAll(out, here());
      } else {
        jumps = jumpsIf(*b.left, when);
        std::vector<int> more = jumpsIf(*b.right, when);
        jumps.insert(jumps.end(), more.begin(), more.end());
      }
    } else if (e.kind == ExprKind::Binary && isComparison(static_cast<const BinaryExpr&>(e).op)) {
      const auto& b = static_cast<const BinaryExpr&>(e);
      const std::int32_t x = operandFor(*b.left, {b.right.get()});
      const std::int32_t y = operatorOperand(*b.right);
      jumps.push_back(emit(jumpOp(b.op), e.line, 0, x, y, 0,
                           static_cast<std::uint8_t>(frees(0, x, y) | negate)));
    } else {
      const std::int32_t x = value(e);
      jumps.push_back(emit(Op::JumpIf, e.line, 0, x, 0, 0,
                           static_cast<std::uint8_t>(frees(0, x) | negate)));
    }
    temps_ = mark;
    return jumps;
  }

  // --- assignment, ++ and -- ------------------------------------------------------------

  // The place an assignment or a step writes: a variable, or an object's
  // member or element with the object (and key) evaluated once, before
  // `later`.
  struct Place {
    const Expr* target;
    std::int32_t object = 0;  // the variable itself, or the object
    std::int32_t key = 0;     // Index
  };

  Place place(const Expr& target, const std::vector<const Expr*>& later) {
    Place p{&target};
    if (const VarRef* v = variableOf(target)) {
      p.object = variable(*v, target.line);
      return p;
    }
    const auto& m = static_cast<const MemberExpr&>(target);
    if (target.kind == ExprKind::Member) {
      p.object = operandFor(*m.object, later);
      return p;
    }
    std::vector<const Expr*> rest{m.index.get()};
    rest.insert(rest.end(), later.begin(), later.end());
    p.object = operandFor(*m.object, rest);
    p.key = operandFor(*m.index, later);
    return p;
  }

  // dst = the place's value; the place stays as it is for writePlace.
  void readPlace(const Place& p, std::int32_t dst) {
    const Expr& t = *p.target;
    if (t.kind == ExprKind::Variable)
      emit(Op::Move, t.line, dst, p.object);
    else if (t.kind == ExprKind::Member)
      emit(Op::GetMember, t.line, dst, p.object,
           memberSite(static_cast<const MemberExpr&>(t).name));
    else
      emit(Op::GetIndex, t.line, dst, p.object, p.key);
  }

  // The place = x; the place's temporaries are done with, and x too unless
  // `keep`.
  void writePlace(const Place& p, std::int32_t x, bool keep) {
    const Expr& t = *p.target;
    const std::int32_t value = keep ? -1 : x;
    if (t.kind == ExprKind::Variable) {
      Target line(*this, t.line);
      emit(Op::Move, t.line, p.object, x, 0, 0, frees(p.object, value));
    } else if (t.kind == ExprKind::Member) {
      emit(Op::SetMember, t.line, 0, p.object, x, memberSite(static_cast<const MemberExpr&>(t).name),
           frees(0, p.object, value));
    } else {
      emit(Op::SetIndex, t.line, 0, p.object, p.key, x, frees(0, p.object, p.key, value));
    }
  }

  // Assigns; the operand that holds the assigned value afterwards, when it
  // is `wanted`.
  std::int32_t assign(const BinaryExpr& e, bool wanted) {
    const Expr& target = *e.left;
    if (const VarRef* v = variableOf(target)) {
      Target line(*this, target.line);
      if (e.op == TokenKind::Eq) {
        const std::int32_t var = variable(*v, target.line);
        into(*e.right, var);
        return var;
      }
      const std::int32_t old = operandFor(target, {e.right.get()});
      const std::int32_t rhs = value(*e.right);
      const std::int32_t var = variable(*v, target.line);
      emit(binaryOp(compoundBase(e.op)), e.line, var, old, rhs, 0, frees(var, old, rhs));
      return var;
    }
    Place p = place(target, {e.right.get()});
    std::int32_t x;
    if (e.op == TokenKind::Eq) {
      x = value(*e.right);
      // A variable's value could change while the place is written (a
      // hook of []= runs script code): the value stays as it was.
      if (wanted && !isTemp(x) && operand::space(x) != operand::Const) x = copied(x, e.line);
    } else {
      x = temp();
      readPlace(p, x);
      const std::int32_t rhs = value(*e.right);
      emit(binaryOp(compoundBase(e.op)), e.line, x, x, rhs, 0, frees(x, x, rhs));
    }
    writePlace(p, x, wanted);
    return x;
  }

  void incDec(const IncDecExpr& e, std::int32_t dst) {
    Place p = place(*e.target, {});
    // ++x gives the new value, x++ the old one; the other is done with
    // once the place has the new one.
    const std::int32_t old = e.prefix ? temp() : dst;
    const std::int32_t updated = e.prefix ? dst : temp();
    readPlace(p, old);
    emit(Op::IncDec, e.line, updated, old, 0, e.increment ? 1 : -1,
         static_cast<std::uint8_t>(e.prefix ? kPrefix | kFreeB : 0));
    writePlace(p, updated, e.prefix);
  }

  // An expression whose value nobody uses.
  void discard(const Expr& e) {
    const int mark = temps_;
    if (e.kind == ExprKind::Assign) {
      assign(static_cast<const BinaryExpr&>(e), false);
    } else if (e.kind == ExprKind::IncDec &&
               static_cast<const IncDecExpr&>(e).target->kind == ExprKind::Variable) {
      const auto& i = static_cast<const IncDecExpr&>(e);
      Target line(*this, i.target->line);
      const std::int32_t var = variable(static_cast<const VariableExpr&>(*i.target).var,
                                        i.target->line);
      emit(Op::IncVar, e.line, 0, var, 0, i.increment ? 1 : -1, i.prefix ? kPrefix : 0);
    } else if (e.kind == ExprKind::Variable && static_cast<const VariableExpr&>(e).var.kind ==
                                                   VarRef::Kind::Global) {
      emit(Op::Move, e.line, operand::discard(), value(e));  // reading may fail
    } else if (e.kind != ExprKind::Variable && e.kind != ExprKind::This &&
               e.kind != ExprKind::Int && e.kind != ExprKind::Double &&
               e.kind != ExprKind::Nil) {
      into(e, operand::discard());
    }
    temps_ = mark;
  }

  // Drops what temp t holds now.
  void release(std::int32_t t, int line) { emit(Op::Move, line, t, nilConstant()); }

  // --- calls ----------------------------------------------------------------------------

  // Evaluates the arguments into consecutive temporaries; the first.
  std::int32_t arguments(const std::vector<ExprPtr>& args) {
    const std::int32_t first = operand::local(locals_ + temps_);
    for (const ExprPtr& a : args) into(*a, temp());
    return first;
  }

  // An argument where it is when it is a variable, `this` or a constant
  // that `later` leaves alone, else evaluated into the temporary t.
  std::int32_t argumentAt(const Expr& e, std::int32_t t,
                          const std::vector<const Expr*>& later) {
    switch (e.kind) {
      case ExprKind::Nil: case ExprKind::Int: case ExprKind::Double: case ExprKind::This:
      case ExprKind::Variable: {
        const std::int32_t x = value(e);
        if (stable(x, later)) return x;
        emit(Op::Move, e.line, t, x);
        return t;
      }
      default:
        into(e, t);
        return t;
    }
  }

  void call(const CallExpr& e, std::int32_t dst) {
    const std::int32_t n = static_cast<std::int32_t>(e.args.size());
    const VarRef* named = variableOf(*e.callee);
    const std::int32_t callee = temp();
    if (!named && e.callee->kind == ExprKind::Index && pending_ < kMaxPendingCalls) {
      // A function read from a container is held the same way, without a
      // reference to it taken and dropped; the container and the key are
      // evaluated first, as for any read of an element.
      const auto& m = static_cast<const MemberExpr&>(*e.callee);
      const int mark = temps_;
      const std::int32_t o = operandFor(*m.object, {m.index.get()});
      const std::int32_t key = value(*m.index);
      const int k = pending_++;
      maxPending_ = std::max(maxPending_, pending_);
      at(emit(Op::CalleeIndex, e.callee->line, callee, o, key, 0, frees(callee, o, key))).spare =
          static_cast<std::uint8_t>(k);
      temps_ = mark;
      const std::int32_t first = arguments(e.args);
      at(emit(Op::Call, e.line, dst, operand::index(first), n, callSite(calleeName(e)))).spare =
          static_cast<std::uint8_t>(k);
      --pending_;
      return;
    }
    if (!named || pending_ >= kMaxPendingCalls) {
      into(*e.callee, callee);
      arguments(e.args);
      emit(Op::CallValue, e.line, dst, operand::index(callee), n, callSite(calleeName(e)));
      return;
    }
    // The callee is read before the arguments, as it is written; a script
    // function or built-in is held as its declaration, which lives as long
    // as the program, so an argument that reassigns the variable changes
    // nothing for this call.
    const int k = pending_++;
    maxPending_ = std::max(maxPending_, pending_);
    at(emit(Op::Callee, e.callee->line, callee, variable(*named, e.callee->line))).spare =
        static_cast<std::uint8_t>(k);
    int pc;
    if (n == 1 && named->name == "len") {
      const std::int32_t v = argumentAt(*e.args[0], temp(), {});
      pc = emit(Op::Len, e.line, dst, v, operand::index(callee), callSite(named->name));
    } else if (n == 2 && named->name == "push") {
      const std::int32_t a0 = temp();
      const std::int32_t a1 = temp();
      const std::int32_t v = argumentAt(*e.args[0], a0, {e.args[1].get()});
      const std::int32_t x = argumentAt(*e.args[1], a1, {});
      const std::int32_t site = callSite(named->name);
      code_.calls[static_cast<std::size_t>(site)].calleeSlot = operand::index(callee);
      pc = emit(Op::Push, e.line, dst, v, x, site);
    } else {
      const std::int32_t first = arguments(e.args);
      pc = emit(Op::Call, e.line, dst, operand::index(first), n, callSite(named->name));
    }
    at(pc).spare = static_cast<std::uint8_t>(k);
    --pending_;
  }

  void methodCall(const CallExpr& e, std::int32_t dst) {
    std::vector<const Expr*> later;
    for (const ExprPtr& a : e.args) later.push_back(a.get());
    // The object stays alive while its method runs: a global, which the
    // method may reassign, is held in a temporary.
    std::int32_t obj = value(*e.callee);
    if (operand::space(obj) == operand::Global || !stable(obj, later))
      obj = copied(obj, e.callee->line);
    const std::int32_t first = arguments(e.args);
    emit(Op::Method, e.line, dst, obj, callSite(e.name, static_cast<int>(e.args.size())),
         operand::index(first), frees(dst, obj));
  }

  // --- statements ----------------------------------------------------------------------

  struct Loop {
    std::vector<int> breaks, continues;
    int tryDepth;
  };

  void statement(const Stmt& s) {
    addStep(s.line);
    const int mark = temps_;
    switch (s.kind) {
      case StmtKind::Expr: discard(*static_cast<const ExprStmt&>(s).value); break;
      case StmtKind::Var: varStatement(static_cast<const VarStmt&>(s)); break;
      case StmtKind::Block:
        for (const StmtPtr& inner : static_cast<const BlockStmt&>(s).body) statement(*inner);
        break;
      case StmtKind::If: ifStatement(static_cast<const IfStmt&>(s)); break;
      case StmtKind::While: whileStatement(static_cast<const IfStmt&>(s)); break;
      case StmtKind::For: forStatement(static_cast<const ForStmt&>(s)); break;
      case StmtKind::ForIn: forInStatement(static_cast<const ForInStmt&>(s)); break;
      case StmtKind::Break: case StmtKind::Continue: {
        Loop& loop = loops_.back();
        if (tryDepth_ > loop.tryDepth)
          emit(Op::TryEnd, s.line, 0, 0, 0, tryDepth_ - loop.tryDepth);
        const int pc = emit(Op::Jump, s.line);
        (s.kind == StmtKind::Break ? loop.breaks : loop.continues).push_back(pc);
        break;
      }
      case StmtKind::Return: {
        const auto& r = static_cast<const ExprStmt&>(s);
        if (!r.value) {
          emit(Op::ReturnNil, s.line);
        } else {
          const std::int32_t x = value(*r.value);
          emit(Op::Return, s.line, 0, x, 0, 0, frees(0, x));
        }
        break;
      }
      case StmtKind::Try: tryStatement(static_cast<const TryStmt&>(s)); break;
      case StmtKind::Throw:
        emit(Op::Throw, s.line, 0, value(*static_cast<const ExprStmt&>(s).value));
        break;
      case StmtKind::Function: {
        const auto& f = static_cast<const FunctionStmt&>(s);
        if (f.hoisted) break;  // defined before the file's first statement
        emit(Op::LoadFn, s.line, variable(f.var, s.line), functionIndex(f.fn));
        break;
      }
      case StmtKind::Class: classStatement(static_cast<const ClassStmt&>(s)); break;
      case StmtKind::Include: {
        code_.includes.push_back({static_cast<const IncludeStmt&>(s).path, s.line, nullptr});
        emit(Op::Include, s.line, 0, static_cast<std::int32_t>(code_.includes.size()) - 1);
        break;
      }
    }
    temps_ = mark;
  }

  void varStatement(const VarStmt& s) {
    if (s.var.kind == VarRef::Kind::Local) {
      const std::int32_t slot = operand::local(s.var.index);
      if (s.init)
        into(*s.init, slot);
      else
        emit(Op::Move, s.line, slot, nilConstant());
      return;
    }
    const std::int32_t x = s.init ? value(*s.init) : nilConstant();
    emit(Op::DefGlobal, s.line, s.var.index, x, 0, 0, frees(-1, x));
    markKnown(s.var);
  }

  void classStatement(const ClassStmt& s) {
    const std::int32_t cls = temp();
    code_.classes.push_back(s.cls);
    emit(Op::Class, s.line, cls, static_cast<std::int32_t>(code_.classes.size()) - 1);
    for (const StaticVarDecl& sv : s.cls->statics) {
      const int mark = temps_;
      const std::int32_t x = sv.init ? value(*sv.init) : nilConstant();
      emit(Op::Static, sv.line, cls, x, stringIndex(sv.name), 0, frees(cls, x));
      temps_ = mark;
    }
    release(cls, s.line);
    markKnown(s.var);
  }

  void ifStatement(const IfStmt& s) {
    std::vector<int> otherwise = jumpsIf(*s.cond, false);
    statement(*s.then);
    if (s.otherwise) {
      const int end = emit(Op::Jump, s.line);
      patchAll(otherwise, here());
      statement(*s.otherwise);
      patch(end, here());
    } else {
      patchAll(otherwise, here());
    }
  }

  // A loop tests its condition at the bottom: the first test is reached by
  // a jump, and each turn counts its step on the test's first instruction.
  void whileStatement(const IfStmt& s) {
    const int enter = emit(Op::Jump, s.line);
    loops_.push_back({{}, {}, tryDepth_});
    const int top = here();
    statement(*s.then);
    const int test = here();
    patch(enter, test);
    addStep(s.line);
    bottom(s.cond.get(), s.line, top);
    finishLoop(test);
  }

  // Jumps to top while cond holds (always, without one).
  void bottom(const Expr* cond, int line, int top) {
    if (!cond) {
      patch(emit(Op::Jump, line), top);
      return;
    }
    patchAll(jumpsIf(*cond, true), top);
  }

  void finishLoop(int continueTarget) {
    Loop loop = std::move(loops_.back());
    loops_.pop_back();
    patchAll(loop.continues, continueTarget);
    patchAll(loop.breaks, here());
  }

  // for (...; i < n; i++) with i a variable and n a literal or a variable:
  // the step, the turn's count and the test become one instruction.
  static const IncDecExpr* countingStep(const ForStmt& s) {
    if (!s.step || !s.cond || s.step->kind != ExprKind::IncDec ||
        s.cond->kind != ExprKind::Binary)
      return nullptr;
    const auto& step = static_cast<const IncDecExpr&>(*s.step);
    const auto& cond = static_cast<const BinaryExpr&>(*s.cond);
    const VarRef* i = variableOf(*step.target);
    const VarRef* left = variableOf(*cond.left);
    if (!step.increment || cond.op != TokenKind::Less || !i || !left || i->kind != left->kind ||
        i->index != left->index)
      return nullptr;
    const Expr& n = *cond.right;
    return n.kind == ExprKind::Int || n.kind == ExprKind::Variable ? &step : nullptr;
  }

  void forStatement(const ForStmt& s) {
    if (s.init) statement(*s.init);
    if (const IncDecExpr* step = countingStep(s)) {
      const auto& cond = static_cast<const BinaryExpr&>(*s.cond);
      addStep(s.line);
      const std::vector<int> skip = jumpsIf(cond, false);
      loops_.push_back({{}, {}, tryDepth_});
      const int top = here();
      statement(*s.body);
      const int next = here();
      const int pc = [&] {
        Target line(*this, cond.line);
        const std::int32_t i =
            variable(static_cast<const VariableExpr&>(*step->target).var, step->target->line);
        return emit(Op::StepLess, step->line, top, i, value(*cond.right), 1,
                    counting_ ? kCounted : 0);
      }();
      extraLine(pc, lines::Step, s.line);  // the turn's step, counted after the ++
      patchAll(skip, here());
      finishLoop(next);
      return;
    }
    const int enter = emit(Op::Jump, s.line);
    loops_.push_back({{}, {}, tryDepth_});
    const int top = here();
    statement(*s.body);
    const int next = here();
    if (s.step) discard(*s.step);
    const int test = here();
    patch(enter, test);
    addStep(s.line);
    bottom(s.cond.get(), s.line, top);
    finishLoop(next);
  }

  // Temps seq, seq + 1 and seq + 2 hold the sequence, the keys of a
  // dictionary and the position for as long as the loop runs.
  void forInStatement(const ForInStmt& s) {
    const std::int32_t seq = temp();
    temp();
    temp();
    into(*s.iterable, seq);
    emit(Op::ForInPrep, s.line, 0, operand::index(seq));
    loops_.push_back({{}, {}, tryDepth_});
    const int next = here();
    int pc;
    {
      Target line(*this, s.line);
      pc = emit(Op::ForInNext, s.line, 0, operand::index(seq), 0, variable(s.var, s.line));
    }
    statement(*s.body);
    patch(emit(Op::Jump, s.line), next);
    finishLoop(next);
    patch(pc, here());
    release(seq, s.line);
    release(operand::local(operand::index(seq) + 1), s.line);
  }

  void tryStatement(const TryStmt& s) {
    const int begin =
        emit(Op::TryBegin, s.line, 0, variable(s.caught, s.line), locals_ + temps_);
    ++tryDepth_;
    statement(*s.body);
    --tryDepth_;
    emit(Op::TryEnd, s.line, 0, 0, 0, 1);
    const int end = emit(Op::Jump, s.line);
    patch(begin, here());
    statement(*s.handler);
    patch(end, here());
  }

  Code& code_;
  const int locals_;
  std::vector<char>* known_;  // globals certainly defined (a file's top level only)
  int temps_ = 0;
  int maxTemps_ = 0;
  const bool counting_;  // the run has a step budget
  int targetLine_ = 0;
  int pending_ = 0;
  int maxPending_ = 0;
  int tryDepth_ = 0;
  std::vector<Loop> loops_;
  std::unordered_map<std::int32_t, std::int32_t> ints_;
  std::unordered_map<std::string, std::int32_t> strings_;
  std::int32_t nil_ = -1;
  std::unordered_map<std::int32_t, int> globalLines_;
};

}  // namespace

void compileProgram(Program& program, bool countSteps) {
  for (const std::unique_ptr<FunctionDecl>& fn : program.functions) {
    Compiler c(fn->code, fn->slotCount, nullptr, countSteps);
    c.body(fn->body.body);
    fn->code.params = static_cast<int>(fn->params.size());
  }
  // Functions of a file are defined before its first statement runs.
  std::vector<char> known;
  Compiler top(program.code, program.slotCount, &known, countSteps);
  for (const StmtPtr& s : program.body.body) {
    if (s->kind != StmtKind::Function) continue;
    const auto& f = static_cast<const FunctionStmt&>(*s);
    if (!f.hoisted) continue;
    program.hoisted.push_back({f.var.name, f.fn});
    const std::size_t i = static_cast<std::size_t>(f.var.index);
    if (known.size() <= i) known.resize(i + 1, 0);
    known[i] = 1;
  }
  top.body(program.body.body);
  // The tree is done with: nothing compiled points into it.
  program.body.body.clear();
  for (const std::unique_ptr<FunctionDecl>& fn : program.functions) fn->body.body.clear();
  for (const std::unique_ptr<ClassDecl>& cls : program.classes)
    for (StaticVarDecl& sv : cls->statics) sv.init.reset();
}

}  // namespace tulscript

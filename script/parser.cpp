// A recursive-descent parser with C's operator precedence. Variables are
// resolved as they are declared: `var` at a file's top level makes a
// global; anywhere else it takes a slot in the enclosing function's frame,
// and a slot is reused once its block has closed.
//
// A syntax error unwinds the parser with a ParseFailure, caught in
// parseProgram and nowhere else; the first error is the only one reported.
#include "script/parser.h"

#include <algorithm>
#include <utility>

namespace tulscript {
namespace {

struct ParseFailure {};

// One function's frame while it is being laid out.
struct Scope {
  Scope* enclosing = nullptr;
  FunctionDecl* fn = nullptr;  // null: a file's top level
  std::vector<std::pair<std::string, int>> names;  // visible locals, innermost last
  std::vector<std::pair<std::size_t, int>> blocks; // names.size() and nextSlot at each open block
  int nextSlot = 0;
  int maxSlots = 0;
  int loopDepth = 0;
};

// Binding strength of the binary operators, weakest first.
int precedence(TokenKind k) {
  switch (k) {
    case TokenKind::PipePipe: return 1;
    case TokenKind::AmpAmp: return 2;
    case TokenKind::Pipe: return 3;
    case TokenKind::Caret: return 4;
    case TokenKind::Amp: return 5;
    case TokenKind::EqEq: case TokenKind::BangEq: return 6;
    case TokenKind::Less: case TokenKind::LessEq:
    case TokenKind::Greater: case TokenKind::GreaterEq: return 7;
    case TokenKind::Shl: case TokenKind::Shr: case TokenKind::UShr: return 8;
    case TokenKind::Plus: case TokenKind::Minus: return 9;
    case TokenKind::Star: case TokenKind::Slash: case TokenKind::Percent: return 10;
    default: return 0;
  }
}

bool isAssignment(TokenKind k) {
  switch (k) {
    case TokenKind::Eq: case TokenKind::PlusEq: case TokenKind::MinusEq:
    case TokenKind::StarEq: case TokenKind::SlashEq: case TokenKind::PercentEq:
    case TokenKind::AmpEq: case TokenKind::PipeEq: case TokenKind::CaretEq:
    case TokenKind::ShlEq: case TokenKind::ShrEq: case TokenKind::UShrEq:
      return true;
    default:
      return false;
  }
}

bool isAssignable(const Expr& e) {
  return e.kind == ExprKind::Variable || e.kind == ExprKind::Member ||
         e.kind == ExprKind::Index;
}

class Parser {
 public:
  Parser(std::vector<Token>& tokens, Program& program, GlobalNames& globals,
         SyntaxError& error, const ParseOptions& options)
      : toks_(tokens), prog_(program), globals_(globals), error_(error), opts_(options) {}

  void run() {
    Scope top;
    scope_ = &top;
    while (peek().kind != TokenKind::End) statementInto(prog_.body.body);
    prog_.slotCount = top.maxSlots;
    for (StmtPtr& s : prog_.body.body) {
      if (s->kind != StmtKind::Function) continue;
      auto& f = static_cast<FunctionStmt&>(*s);
      f.hoisted = f.var.kind == VarRef::Kind::Global;
    }
  }

 private:
  // --- tokens -------------------------------------------------------------

  const Token& peek(std::size_t ahead = 0) const {
    return toks_[std::min(pos_ + ahead, toks_.size() - 1)];
  }
  const Token& advance() {
    const Token& t = toks_[pos_];
    if (pos_ + 1 < toks_.size()) ++pos_;
    return t;
  }
  bool match(TokenKind k) {
    if (peek().kind != k) return false;
    advance();
    return true;
  }
  [[noreturn]] void failAt(const Token& t, std::string message) {
    error_.line = t.line;
    error_.col = t.col;
    error_.message = std::move(message);
    throw ParseFailure{};
  }
  const Token& expect(TokenKind k, const char* context) {
    if (peek().kind != k)
      failAt(peek(), std::string("expected '") + tokenSpelling(k) + "' " + context +
                         ", found " + describeToken(peek()));
    return advance();
  }
  // A statement ends with ';', which may be left out before a '}' or the
  // end of the file.
  void endStatement(const char* context) {
    if (match(TokenKind::Semicolon)) return;
    if (peek().kind == TokenKind::RBrace || peek().kind == TokenKind::End) return;
    expect(TokenKind::Semicolon, context);
  }
  std::string expectName(const char* what) {
    if (peek().kind != TokenKind::Ident)
      failAt(peek(), std::string("expected ") + what + ", found " + describeToken(peek()));
    return advance().text;
  }

  // Statement and expression recursion share one budget.
  struct Nest {
    Parser& p;
    Nest(Parser& parser, const Token& at) : p(parser) {
      if (++p.depth_ > kMaxNesting) p.failAt(at, "nesting too deep");
    }
    ~Nest() { --p.depth_; }
  };

  template <class T>
  std::unique_ptr<T> node(ExprKind k, int line) {
    return std::make_unique<T>(k, line);
  }
  // Records a node's height; a tree that grows past the limit (a long chain
  // of `a + b + c ...`, say) is an error like deep nesting.
  ExprPtr sized(ExprPtr e, std::initializer_list<const Expr*> children, const Token& at) {
    int h = 0;
    for (const Expr* c : children)
      if (c) h = std::max(h, c->height);
    e->height = h + 1;
    if (e->height > kMaxNesting) failAt(at, "expression too deeply nested");
    return e;
  }

  // --- scopes -------------------------------------------------------------

  bool atFileLevel() const { return !scope_->fn && scope_->blocks.empty(); }

  void openBlock() { scope_->blocks.emplace_back(scope_->names.size(), scope_->nextSlot); }
  void closeBlock() {
    scope_->names.resize(scope_->blocks.back().first);
    scope_->nextSlot = scope_->blocks.back().second;
    scope_->blocks.pop_back();
  }

  VarRef declare(const std::string& name) {
    VarRef v;
    v.name = name;
    if (atFileLevel()) {
      v.kind = VarRef::Kind::Global;
      v.index = globals_.globalIndex(name);
      return v;
    }
    v.kind = VarRef::Kind::Local;
    v.index = scope_->nextSlot++;
    scope_->maxSlots = std::max(scope_->maxSlots, scope_->nextSlot);
    scope_->names.emplace_back(name, v.index);
    return v;
  }

  static const std::pair<std::string, int>* findLocal(const Scope& s, const std::string& name) {
    for (auto it = s.names.rbegin(); it != s.names.rend(); ++it)
      if (it->first == name) return &*it;
    return nullptr;
  }

  VarRef resolve(const Token& at) {
    VarRef v;
    v.name = at.text;
    if (const auto* local = findLocal(*scope_, at.text)) {
      v.kind = VarRef::Kind::Local;
      v.index = local->second;
      return v;
    }
    for (const Scope* s = scope_->enclosing; s; s = s->enclosing)
      if (findLocal(*s, at.text))
        failAt(at, "'" + at.text +
                       "' is a local variable of an enclosing function; functions "
                       "see only their own variables and globals");
    v.kind = VarRef::Kind::Global;
    v.index = globals_.globalIndex(at.text);
    return v;
  }

  // --- statements ---------------------------------------------------------

  StmtPtr statement() {
    std::vector<StmtPtr> list;
    int line = peek().line;
    statementInto(list);
    if (list.size() == 1) return std::move(list[0]);
    auto block = std::make_unique<BlockStmt>(StmtKind::Block, line);
    block->body = std::move(list);
    return block;
  }

  // Most statements add one node; `var a, b;` adds one per variable.
  void statementInto(std::vector<StmtPtr>& out) {
    const Token& t = peek();
    Nest nest(*this, t);
    switch (t.kind) {
      case TokenKind::KwVar: return varStatement(out);
      case TokenKind::KwFunction:
        if (peek(1).kind == TokenKind::Ident) return out.push_back(functionStatement());
        break;
      case TokenKind::KwClass: return out.push_back(classStatement());
      case TokenKind::LBrace: return out.push_back(block());
      case TokenKind::KwIf: return out.push_back(ifStatement());
      case TokenKind::KwWhile: return out.push_back(whileStatement());
      case TokenKind::KwFor: return out.push_back(forStatement());
      case TokenKind::KwBreak: case TokenKind::KwContinue: return out.push_back(jump());
      case TokenKind::KwReturn: return out.push_back(returnStatement());
      case TokenKind::KwTry: return out.push_back(tryStatement());
      case TokenKind::KwThrow: {
        advance();
        auto s = std::make_unique<ExprStmt>(StmtKind::Throw, t.line);
        s->value = expression();
        endStatement("after 'throw' value");
        return out.push_back(std::move(s));
      }
      case TokenKind::KwInclude: return out.push_back(includeStatement());
      case TokenKind::Semicolon:
        advance();
        return;
      default:
        break;
    }
    auto s = std::make_unique<ExprStmt>(StmtKind::Expr, t.line);
    s->value = expression();
    endStatement("after expression");
    out.push_back(std::move(s));
  }

  void varStatement(std::vector<StmtPtr>& out) {
    advance();
    do {
      const Token& nameTok = peek();
      std::string name = expectName("a variable name after 'var'");
      auto s = std::make_unique<VarStmt>(StmtKind::Var, nameTok.line);
      // The initializer is resolved before the name exists, so
      // `var x = x;` reads an outer x.
      if (match(TokenKind::Eq)) s->init = assignment();
      s->var = declare(name);
      out.push_back(std::move(s));
    } while (match(TokenKind::Comma));
    endStatement("after variable declaration");
  }

  std::unique_ptr<BlockStmt> block() {
    const Token& open = expect(TokenKind::LBrace, "to open a block");
    auto b = std::make_unique<BlockStmt>(StmtKind::Block, open.line);
    openBlock();
    while (peek().kind != TokenKind::RBrace) {
      if (peek().kind == TokenKind::End)
        failAt(peek(), "expected '}' to close the block opened on line " +
                           std::to_string(open.line) + ", found end of file");
      statementInto(b->body);
    }
    advance();
    closeBlock();
    return b;
  }

  StmtPtr ifStatement() {
    const Token& t = advance();
    auto s = std::make_unique<IfStmt>(StmtKind::If, t.line);
    expect(TokenKind::LParen, "after 'if'");
    s->cond = expression();
    expect(TokenKind::RParen, "after the condition");
    s->then = scopedStatement();
    if (match(TokenKind::KwElse)) s->otherwise = scopedStatement();
    return s;
  }

  // A statement that is the body of if/while/for: its declarations belong
  // to it alone.
  StmtPtr scopedStatement() {
    openBlock();
    StmtPtr s = statement();
    closeBlock();
    return s;
  }

  StmtPtr loopBody() {
    ++scope_->loopDepth;
    StmtPtr body = scopedStatement();
    --scope_->loopDepth;
    return body;
  }

  StmtPtr whileStatement() {
    const Token& t = advance();
    auto s = std::make_unique<IfStmt>(StmtKind::While, t.line);
    expect(TokenKind::LParen, "after 'while'");
    s->cond = expression();
    expect(TokenKind::RParen, "after the condition");
    s->then = loopBody();
    return s;
  }

  StmtPtr forStatement() {
    const Token& t = advance();
    expect(TokenKind::LParen, "after 'for'");
    openBlock();
    StmtPtr result;
    bool declared = peek().kind == TokenKind::KwVar;
    std::size_t nameAt = declared ? 1 : 0;
    if (peek(nameAt).kind == TokenKind::Ident && peek(nameAt + 1).kind == TokenKind::KwIn)
      result = forInRest(t, declared);
    else
      result = forRest(t);
    closeBlock();
    return result;
  }

  StmtPtr forInRest(const Token& t, bool declared) {
    auto s = std::make_unique<ForInStmt>(StmtKind::ForIn, t.line);
    if (declared) advance();
    const Token& nameTok = advance();
    advance();  // in
    s->iterable = expression();
    expect(TokenKind::RParen, "after the 'for ... in' head");
    if (declared) {
      // A loop variable is local to the loop, even at a file's top level.
      openBlock();
      s->var = declareLocalHere(nameTok.text);
    } else {
      s->var = resolve(nameTok);
    }
    s->body = loopBody();
    if (declared) closeBlock();
    return s;
  }

  VarRef declareLocalHere(const std::string& name) {
    VarRef v;
    v.name = name;
    v.kind = VarRef::Kind::Local;
    v.index = scope_->nextSlot++;
    scope_->maxSlots = std::max(scope_->maxSlots, scope_->nextSlot);
    scope_->names.emplace_back(name, v.index);
    return v;
  }

  StmtPtr forRest(const Token& t) {
    auto s = std::make_unique<ForStmt>(StmtKind::For, t.line);
    if (peek().kind == TokenKind::KwVar) {
      std::vector<StmtPtr> init;
      varStatement(init);  // consumes the ';'
      auto b = std::make_unique<BlockStmt>(StmtKind::Block, t.line);
      b->body = std::move(init);
      s->init = std::move(b);
    } else if (!match(TokenKind::Semicolon)) {
      auto init = std::make_unique<ExprStmt>(StmtKind::Expr, peek().line);
      init->value = expression();
      s->init = std::move(init);
      expect(TokenKind::Semicolon, "after the loop's initialization");
    }
    if (peek().kind != TokenKind::Semicolon) s->cond = expression();
    expect(TokenKind::Semicolon, "after the loop condition");
    if (peek().kind != TokenKind::RParen) s->step = expression();
    expect(TokenKind::RParen, "after the 'for' head");
    s->body = loopBody();
    return s;
  }

  StmtPtr jump() {
    const Token& t = advance();
    bool isBreak = t.kind == TokenKind::KwBreak;
    if (scope_->loopDepth == 0)
      failAt(t, std::string("'") + tokenSpelling(t.kind) + "' outside a loop");
    endStatement(isBreak ? "after 'break'" : "after 'continue'");
    return std::make_unique<Stmt>(isBreak ? StmtKind::Break : StmtKind::Continue, t.line);
  }

  StmtPtr returnStatement() {
    const Token& t = advance();
    if (!scope_->fn) failAt(t, "'return' outside a function");
    auto s = std::make_unique<ExprStmt>(StmtKind::Return, t.line);
    if (peek().kind != TokenKind::Semicolon) s->value = expression();
    endStatement("after 'return'");
    return s;
  }

  StmtPtr tryStatement() {
    const Token& t = advance();
    auto s = std::make_unique<TryStmt>(StmtKind::Try, t.line);
    s->body = block();
    expect(TokenKind::KwCatch, "after the 'try' block");
    expect(TokenKind::LParen, "after 'catch'");
    std::string name = expectName("the name of the caught error");
    expect(TokenKind::RParen, "after the caught error's name");
    openBlock();
    s->caught = declareLocalHere(name);
    s->handler = block();
    closeBlock();
    return s;
  }

  StmtPtr includeStatement() {
    const Token& t = advance();
    if (!opts_.allowInclude) failAt(t, "'include' is not available here");
    if (!atFileLevel()) failAt(t, "'include' must be at the top level of a file");
    auto s = std::make_unique<IncludeStmt>(StmtKind::Include, t.line);
    if (peek().kind != TokenKind::String)
      failAt(peek(), "expected a file name string after 'include', found " + describeToken(peek()));
    s->path = advance().text;
    if (s->path.empty()) failAt(t, "empty file name after 'include'");
    endStatement("after the included file's name");
    return s;
  }

  // --- functions and classes ----------------------------------------------

  StmtPtr functionStatement() {
    const Token& t = advance();
    const Token& nameTok = peek();
    std::string name = expectName("a function name");
    auto s = std::make_unique<FunctionStmt>(StmtKind::Function, t.line);
    bool fileLevel = atFileLevel();
    s->var = declare(name);
    s->fn = function(name, nameTok.line, /*selfSlot=*/!fileLevel);
    return s;
  }

  FunctionDecl* newFunction(const std::string& name, int line) {
    prog_.functions.push_back(std::make_unique<FunctionDecl>());
    FunctionDecl* fn = prog_.functions.back().get();
    fn->name = name;
    fn->line = line;
    fn->program = &prog_;
    return fn;
  }

  // Parameters and body; the caller has consumed everything before '('.
  FunctionDecl* function(const std::string& name, int line, bool selfSlot,
                         FunctionDecl* fn = nullptr) {
    if (!fn) fn = newFunction(name, line);
    Scope inner;
    inner.enclosing = scope_;
    inner.fn = fn;
    Scope* outer = scope_;
    scope_ = &inner;
    expect(TokenKind::LParen, "to open the parameter list");
    if (peek().kind != TokenKind::RParen) {
      do {
        const Token& p = peek();
        std::string param = expectName("a parameter name");
        if (findLocal(inner, param)) failAt(p, "duplicate parameter '" + param + "'");
        declareLocalHere(param);
        fn->params.push_back(param);
      } while (match(TokenKind::Comma));
    }
    expect(TokenKind::RParen, "after the parameters");
    if (selfSlot && !name.empty()) fn->selfSlot = declareLocalHere(name).index;
    std::unique_ptr<BlockStmt> body = block();
    fn->body.line = body->line;
    fn->body.body = std::move(body->body);
    fn->slotCount = inner.maxSlots;
    scope_ = outer;
    return fn;
  }

  StmtPtr classStatement() {
    const Token& t = advance();
    if (!atFileLevel()) failAt(t, "classes must be declared at the top level of a file");
    prog_.classes.push_back(std::make_unique<ClassDecl>());
    ClassDecl* cls = prog_.classes.back().get();
    cls->line = t.line;
    cls->name = expectName("a class name");
    if (match(TokenKind::Colon)) {
      const Token& baseTok = peek();
      cls->baseName = expectName("the base class's name");
      if (cls->baseName == cls->name) failAt(baseTok, "a class cannot derive from itself");
      cls->base = resolve(baseTok);
    }
    auto s = std::make_unique<ClassStmt>(StmtKind::Class, t.line);
    s->var = declare(cls->name);
    s->cls = cls;
    expect(TokenKind::LBrace, "to open the class body");
    while (!match(TokenKind::RBrace)) {
      if (peek().kind == TokenKind::End)
        failAt(peek(), "expected '}' to close class '" + cls->name + "', found end of file");
      classMember(*cls);
    }
    return s;
  }

  void classMember(ClassDecl& cls) {
    bool isStatic = match(TokenKind::KwStatic);
    if (match(TokenKind::KwVar)) {
      do {
        const Token& nameTok = peek();
        std::string name = expectName("a data member name");
        if (isStatic) {
          StaticVarDecl sv;
          sv.name = name;
          sv.line = nameTok.line;
          if (match(TokenKind::Eq)) sv.init = assignment();
          cls.statics.push_back(std::move(sv));
        } else {
          if (peek().kind == TokenKind::Eq)
            failAt(peek(), "data members cannot have initializers; set '" + name +
                               "' in the constructor");
          if (std::find(cls.members.begin(), cls.members.end(), name) != cls.members.end())
            failAt(nameTok, "duplicate data member '" + name + "'");
          cls.members.push_back(name);
        }
      } while (match(TokenKind::Comma));
      expect(TokenKind::Semicolon, "after data member declaration");
      return;
    }
    const Token& nameTok = peek();
    std::string name = expectName("a method or 'var' in the class body");
    for (const FunctionDecl* m : cls.methods)
      if (m->name == name && m->isStatic == isStatic)
        failAt(nameTok, "duplicate method '" + name + "'");
    FunctionDecl* fn = newFunction(name, nameTok.line);
    fn->isMethod = true;
    fn->isStatic = isStatic;
    fn->isConstructor = !isStatic && name == cls.name;
    fn->owner = &cls;
    cls.methods.push_back(fn);
    function(name, nameTok.line, false, fn);
  }

  // --- expressions --------------------------------------------------------

  ExprPtr expression() { return assignment(); }

  ExprPtr assignment() {
    const Token& start = peek();
    Nest nest(*this, start);
    ExprPtr target = conditional();
    if (!isAssignment(peek().kind)) return target;
    const Token& op = advance();
    if (!isAssignable(*target))
      failAt(op, std::string("cannot assign to this expression with '") +
                     tokenSpelling(op.kind) + "'");
    auto e = node<BinaryExpr>(ExprKind::Assign, op.line);
    e->op = op.kind;
    e->right = assignment();
    const Expr* l = target.get();
    const Expr* r = e->right.get();
    e->left = std::move(target);
    return sized(std::move(e), {l, r}, op);
  }

  ExprPtr conditional() {
    ExprPtr cond = binary(1);
    if (peek().kind != TokenKind::Question) return cond;
    const Token& q = advance();
    auto e = node<ConditionalExpr>(ExprKind::Conditional, q.line);
    e->then = assignment();
    expect(TokenKind::Colon, "in the conditional expression");
    e->otherwise = assignment();
    e->cond = std::move(cond);
    const Expr* c = e->cond.get();
    const Expr* a = e->then.get();
    const Expr* b = e->otherwise.get();
    return sized(std::move(e), {c, a, b}, q);
  }

  ExprPtr binary(int minPrec) {
    ExprPtr left = unary();
    for (;;) {
      int prec = precedence(peek().kind);
      if (prec < minPrec || prec == 0) return left;
      const Token& op = advance();
      ExprPtr right = binary(prec + 1);
      bool logical = op.kind == TokenKind::AmpAmp || op.kind == TokenKind::PipePipe;
      auto e = node<BinaryExpr>(logical ? ExprKind::Logical : ExprKind::Binary, op.line);
      e->op = op.kind;
      const Expr* l = left.get();
      const Expr* r = right.get();
      e->left = std::move(left);
      e->right = std::move(right);
      left = sized(std::move(e), {l, r}, op);
    }
  }

  ExprPtr unary() {
    const Token& t = peek();
    Nest nest(*this, t);
    switch (t.kind) {
      case TokenKind::Minus: case TokenKind::Plus: case TokenKind::Bang:
      case TokenKind::Tilde: {
        advance();
        auto e = node<UnaryExpr>(ExprKind::Unary, t.line);
        e->op = t.kind;
        e->operand = unary();
        const Expr* operand = e->operand.get();
        return sized(std::move(e), {operand}, t);
      }
      case TokenKind::PlusPlus: case TokenKind::MinusMinus: {
        advance();
        auto e = node<IncDecExpr>(ExprKind::IncDec, t.line);
        e->prefix = true;
        e->increment = t.kind == TokenKind::PlusPlus;
        e->target = unary();
        if (!isAssignable(*e->target))
          failAt(t, std::string("operand of '") + tokenSpelling(t.kind) +
                        "' must be a variable, member or element");
        const Expr* target = e->target.get();
        return sized(std::move(e), {target}, t);
      }
      default:
        return postfix(primary());
    }
  }

  std::vector<ExprPtr> arguments() {
    std::vector<ExprPtr> args;
    if (peek().kind != TokenKind::RParen) {
      do {
        args.push_back(assignment());
      } while (match(TokenKind::Comma));
    }
    expect(TokenKind::RParen, "after the arguments");
    return args;
  }

  static int maxHeight(const std::vector<ExprPtr>& list) {
    int h = 0;
    for (const ExprPtr& e : list) h = std::max(h, e->height);
    return h;
  }

  ExprPtr postfix(ExprPtr e) {
    for (;;) {
      const Token& t = peek();
      switch (t.kind) {
        case TokenKind::LParen: e = callSuffix(std::move(e)); break;
        case TokenKind::Dot: e = memberSuffix(std::move(e)); break;
        case TokenKind::LBracket: e = indexSuffix(std::move(e)); break;
        case TokenKind::PlusPlus: case TokenKind::MinusMinus:
          if (!isAssignable(*e)) return e;
          e = incDecSuffix(std::move(e));
          break;
        default:
          return e;
      }
    }
  }

  // `a.b(...)` becomes a method call on a; anything else called is a value.
  ExprPtr callSuffix(ExprPtr e) {
    const Token& t = advance();
    bool method = e->kind == ExprKind::Member;
    auto call = node<CallExpr>(method ? ExprKind::MethodCall : ExprKind::Call, t.line);
    if (method) {
      auto& m = static_cast<MemberExpr&>(*e);
      call->name = m.name;
      call->callee = std::move(m.object);
    } else {
      call->callee = std::move(e);
    }
    call->args = arguments();
    call->height = std::max(call->callee->height, maxHeight(call->args)) + 1;
    if (call->height > kMaxNesting) failAt(t, "expression too deeply nested");
    return call;
  }

  ExprPtr memberSuffix(ExprPtr e) {
    const Token& t = advance();
    auto m = node<MemberExpr>(ExprKind::Member, t.line);
    m->name = expectName("a member name after '.'");
    m->object = std::move(e);
    const Expr* o = m->object.get();
    return sized(std::move(m), {o}, t);
  }

  ExprPtr indexSuffix(ExprPtr e) {
    const Token& t = advance();
    auto m = node<MemberExpr>(ExprKind::Index, t.line);
    m->index = expression();
    expect(TokenKind::RBracket, "after the index");
    m->object = std::move(e);
    const Expr* o = m->object.get();
    const Expr* i = m->index.get();
    return sized(std::move(m), {o, i}, t);
  }

  ExprPtr incDecSuffix(ExprPtr e) {
    const Token& t = advance();
    auto inc = node<IncDecExpr>(ExprKind::IncDec, t.line);
    inc->prefix = false;
    inc->increment = t.kind == TokenKind::PlusPlus;
    inc->target = std::move(e);
    const Expr* target = inc->target.get();
    return sized(std::move(inc), {target}, t);
  }

  ExprPtr primary() {
    const Token& t = peek();
    switch (t.kind) {
      case TokenKind::Int: case TokenKind::KwTrue: case TokenKind::KwFalse:
      case TokenKind::Double: case TokenKind::String:
        return literal();
      case TokenKind::KwNil:
        advance();
        return std::make_unique<Expr>(ExprKind::Nil, t.line);
      case TokenKind::KwThis:
        advance();
        if (!scope_->fn || !scope_->fn->isMethod || scope_->fn->isStatic)
          failAt(t, "'this' used outside an instance method");
        return std::make_unique<Expr>(ExprKind::This, t.line);
      case TokenKind::KwBase: return baseCall();
      case TokenKind::Ident: {
        advance();
        auto e = node<VariableExpr>(ExprKind::Variable, t.line);
        e->var = resolve(t);
        return e;
      }
      case TokenKind::LParen: {
        advance();
        ExprPtr inner = expression();
        expect(TokenKind::RParen, "to close the parenthesis");
        return inner;
      }
      case TokenKind::LBracket: return vectorLiteral();
      case TokenKind::LBrace: return dictLiteral();
      case TokenKind::KwFunction: return functionLiteral();
      default:
        failAt(t, "expected an expression, found " + describeToken(t));
    }
  }

  ExprPtr literal() {
    const Token& t = advance();
    ExprKind kind = t.kind == TokenKind::Double   ? ExprKind::Double
                    : t.kind == TokenKind::String ? ExprKind::String
                                                  : ExprKind::Int;
    auto e = node<LiteralExpr>(kind, t.line);
    e->intValue = t.kind == TokenKind::KwTrue ? 1 : t.intValue;
    e->doubleValue = t.doubleValue;
    e->text = t.text;
    return e;
  }

  ExprPtr baseCall() {
    const Token& t = advance();
    const FunctionDecl* fn = scope_->fn;
    if (!fn || !fn->isMethod || fn->isStatic)
      failAt(t, "'base' used outside an instance method");
    if (fn->owner->baseName.empty())
      failAt(t, "'base' used in class '" + fn->owner->name + "', which has no base class");
    expect(TokenKind::Dot, "after 'base'");
    auto call = node<CallExpr>(ExprKind::BaseCall, t.line);
    call->name = expectName("a method name after 'base.'");
    if (peek().kind != TokenKind::LParen)
      failAt(peek(), "'base." + call->name + "' must be called: base." + call->name + "(...)");
    advance();
    call->args = arguments();
    call->height = maxHeight(call->args) + 1;
    return call;
  }

  ExprPtr vectorLiteral() {
    const Token& t = advance();
    auto e = node<ListExpr>(ExprKind::VectorLit, t.line);
    while (peek().kind != TokenKind::RBracket) {
      e->values.push_back(assignment());
      if (!match(TokenKind::Comma)) break;
    }
    expect(TokenKind::RBracket, "to close the vector");
    e->height = maxHeight(e->values) + 1;
    return e;
  }

  ExprPtr dictLiteral() {
    const Token& t = advance();
    auto e = node<ListExpr>(ExprKind::DictLit, t.line);
    while (peek().kind != TokenKind::RBrace) {
      // A bare name before ':' is the key itself, as in {width: 3}.
      if (peek().kind == TokenKind::Ident && peek(1).kind == TokenKind::Colon) {
        const Token& k = advance();
        auto key = node<LiteralExpr>(ExprKind::String, k.line);
        key->text = k.text;
        e->keys.push_back(std::move(key));
      } else {
        e->keys.push_back(assignment());
      }
      expect(TokenKind::Colon, "after the dictionary key");
      e->values.push_back(assignment());
      if (!match(TokenKind::Comma)) break;
    }
    expect(TokenKind::RBrace, "to close the dictionary");
    e->height = std::max(maxHeight(e->keys), maxHeight(e->values)) + 1;
    return e;
  }

  ExprPtr functionLiteral() {
    const Token& t = advance();
    std::string name;
    if (peek().kind == TokenKind::Ident) name = advance().text;
    auto e = node<FunctionExpr>(ExprKind::FunctionLit, t.line);
    e->fn = function(name, t.line, /*selfSlot=*/true);
    return e;
  }

  std::vector<Token>& toks_;
  std::size_t pos_ = 0;
  Program& prog_;
  GlobalNames& globals_;
  SyntaxError& error_;
  const ParseOptions& opts_;
  Scope* scope_ = nullptr;
  int depth_ = 0;
};

}  // namespace

bool parseProgram(const std::string& source, Program& out, GlobalNames& globals,
                  SyntaxError& error, const ParseOptions& options) {
  std::vector<Token> tokens;
  if (!tokenize(source, tokens, error)) return false;
  Parser parser(tokens, out, globals, error, options);
  try {
    parser.run();
  } catch (const ParseFailure&) {
    return false;
  }
  return true;
}

}  // namespace tulscript

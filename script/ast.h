// The syntax tree the parser builds and the compiler turns into bytecode.
// Names are resolved while parsing: a variable is either a slot of its
// function's frame or an index into the engine's global table, so nothing
// looks a variable up by name at run time.
//
// Invariant: no tree is deeper than the parser's nesting limit, so walking
// (and destroying) it recursively cannot exhaust the C++ stack.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "script/bytecode.h"
#include "script/lexer.h"

class TulClass;

namespace tulscript {

struct Program;
struct FunctionDecl;
struct ClassDecl;

// A variable as the parser resolved it.
struct VarRef {
  enum class Kind : std::uint8_t { Local, Global };
  Kind kind = Kind::Global;
  int index = 0;  // frame slot or global index
  std::string name;
};

enum class ExprKind : std::uint8_t {
  Nil, Int, Double, String,  // literals
  VectorLit, DictLit,
  Variable, This,
  FunctionLit,
  Unary,        // op: Minus, Plus, Bang, Tilde
  Binary,       // arithmetic, bitwise, comparison
  Logical,      // op: AmpAmp, PipePipe
  Conditional,  // a ? b : c
  Assign,       // op: Eq or a compound operator
  IncDec,       // prefix or postfix ++ / --
  Call,         // callee(args)
  MethodCall,   // object.name(args)
  BaseCall,     // base.name(args)
  Member,       // object.name
  Index,        // object[index]
};

struct Expr {
  explicit Expr(ExprKind k, int l) : kind(k), line(l) {}
  virtual ~Expr() = default;
  ExprKind kind;
  int line;
  int height = 1;  // nodes on the longest path down; the parser bounds it
};
using ExprPtr = std::unique_ptr<Expr>;

struct LiteralExpr : Expr {
  using Expr::Expr;
  std::int32_t intValue = 0;
  double doubleValue = 0;
  std::string text;
};

struct ListExpr : Expr {  // vector literal; dictionary literal (keys, values)
  using Expr::Expr;
  std::vector<ExprPtr> keys;
  std::vector<ExprPtr> values;
};

struct VariableExpr : Expr {
  using Expr::Expr;
  VarRef var;
};

struct FunctionExpr : Expr {
  using Expr::Expr;
  const FunctionDecl* fn = nullptr;  // owned by the Program
};

struct UnaryExpr : Expr {
  using Expr::Expr;
  TokenKind op = TokenKind::Minus;
  ExprPtr operand;
};

struct BinaryExpr : Expr {  // also Logical and Assign (left is the target)
  using Expr::Expr;
  TokenKind op = TokenKind::Plus;
  ExprPtr left;
  ExprPtr right;
};

struct ConditionalExpr : Expr {
  using Expr::Expr;
  ExprPtr cond, then, otherwise;
};

struct IncDecExpr : Expr {
  using Expr::Expr;
  bool prefix = true;
  bool increment = true;
  ExprPtr target;
};

struct CallExpr : Expr {  // Call, MethodCall, BaseCall
  using Expr::Expr;
  ExprPtr callee;  // Call: the function; MethodCall: the object
  std::string name;
  std::vector<ExprPtr> args;
};

struct MemberExpr : Expr {  // Member (name) and Index (index)
  using Expr::Expr;
  ExprPtr object;
  std::string name;
  ExprPtr index;
};

enum class StmtKind : std::uint8_t {
  Expr, Var, Block, If, While, For, ForIn, Break, Continue, Return, Try,
  Throw, Function, Class, Include,
};

struct Stmt {
  explicit Stmt(StmtKind k, int l) : kind(k), line(l) {}
  virtual ~Stmt() = default;
  StmtKind kind;
  int line;
};
using StmtPtr = std::unique_ptr<Stmt>;

struct ExprStmt : Stmt {  // Expr, Throw, Return (value may be null)
  using Stmt::Stmt;
  ExprPtr value;
};

struct VarStmt : Stmt {
  using Stmt::Stmt;
  VarRef var;
  ExprPtr init;  // may be null: the variable starts as nil
};

struct BlockStmt : Stmt {
  using Stmt::Stmt;
  std::vector<StmtPtr> body;
};

struct IfStmt : Stmt {  // If and While (otherwise null)
  using Stmt::Stmt;
  ExprPtr cond;
  StmtPtr then;
  StmtPtr otherwise;
};

struct ForStmt : Stmt {
  using Stmt::Stmt;
  StmtPtr init;  // may be null
  ExprPtr cond;  // may be null: always true
  ExprPtr step;  // may be null
  StmtPtr body;
};

struct ForInStmt : Stmt {
  using Stmt::Stmt;
  VarRef var;
  ExprPtr iterable;
  StmtPtr body;
};

struct TryStmt : Stmt {
  using Stmt::Stmt;
  StmtPtr body;
  VarRef caught;
  StmtPtr handler;
};

struct FunctionStmt : Stmt {
  using Stmt::Stmt;
  VarRef var;
  const FunctionDecl* fn = nullptr;
  bool hoisted = false;  // defined before the file's first statement runs
};

struct ClassStmt : Stmt {
  using Stmt::Stmt;
  VarRef var;
  const ClassDecl* cls = nullptr;
};

struct IncludeStmt : Stmt {
  using Stmt::Stmt;
  std::string path;  // as written
};

struct FunctionDecl {
  std::string name;  // "" for a function literal
  const Program* program = nullptr;
  int line = 0;
  std::vector<std::string> params;  // slots 0..n-1
  int slotCount = 0;
  int selfSlot = -1;  // slot that holds the function itself (named literals)
  bool isMethod = false;
  bool isStatic = false;
  bool isConstructor = false;
  const ClassDecl* owner = nullptr;
  BlockStmt body{StmtKind::Block, 0};
  Code code;  // the body compiled; its frame holds the slots and temporaries
};

struct StaticVarDecl {
  std::string name;
  ExprPtr init;  // may be null: nil
  int line = 0;
};

struct ClassDecl {
  std::string name;
  std::string baseName;  // "" when the class has no base
  VarRef base;           // how the base's name resolves
  int line = 0;
  std::vector<std::string> members;
  std::vector<StaticVarDecl> statics;
  std::vector<FunctionDecl*> methods;  // owned by the Program
};

// A function of a file's top level, defined before its first statement
// runs.
struct HoistedFunction {
  std::string name;  // the global's
  const FunctionDecl* fn;
};

// One parsed source file. Its functions and classes live as long as it does;
// function values hold the program through a shared pointer. The
// statements (`body`, each function's body, the statics' initializers) are
// the syntax tree, dropped once compiled: from then on only the
// declarations and their code remain.
struct Program {
  std::string fileName;  // as errors show it
  int fileIndex = 0;
  BlockStmt body{StmtKind::Block, 1};
  int slotCount = 0;  // frame of the file's top level
  std::vector<std::unique_ptr<FunctionDecl>> functions;
  std::vector<std::unique_ptr<ClassDecl>> classes;
  std::vector<HoistedFunction> hoisted;
  Code code;  // the top level compiled
};

}  // namespace tulscript

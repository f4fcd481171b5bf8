// The compiled form of a function body or a file's top level: a register
// bytecode whose registers are the frame's slots. The parser has already
// resolved every variable to a slot or a global; the compiler (compiler.cpp)
// lays out temporaries above the locals and turns statements and
// expressions into instructions; the VM (vm.cpp) runs them.
//
// Invariant: a Code never changes once compiled. Everything an instruction
// needs for an error (its lines, the name it looks up) is in its InsInfo,
// read only when something is reported or looked up.
#pragma once

#include <cstdint>
#include <vector>

#include "host/tul.h"

namespace tulscript {

// An operand: where an instruction reads a value, or writes one. The low
// two bits say which space, the rest are the index in it.
namespace operand {
enum Space : std::int32_t { Local = 0, Global = 1, Const = 2, This = 3 };
constexpr std::int32_t local(int i) { return i << 2 | Local; }
constexpr std::int32_t global(int i) { return i << 2 | Global; }
constexpr std::int32_t constant(int i) { return i << 2 | Const; }
constexpr std::int32_t self() { return This; }
// As a destination, This means the value is not wanted: it is dropped.
constexpr std::int32_t discard() { return This; }
constexpr Space space(std::int32_t x) { return static_cast<Space>(x & 3); }
constexpr int index(std::int32_t x) { return x >> 2; }
}  // namespace operand

// a, b, c, d are operands, slot numbers, counts or jump targets as each
// instruction says; "temps" are consecutive slots starting at a slot number.
enum class Op : std::uint8_t {
  Step,       // a step of the budget (only where the run has one)
  Move,       // a = b
  DefGlobal,  // global a defined as b (`var` at a file's top level)
  LoadStr,    // a = a new string of the literal (ref)
  LoadFn,     // a = a function value of the declaration (ref)
  NewVec,     // a = an empty vector for d elements (its size checked first)
  VecPush,    // vector a gets temp b (moved)
  NewDict,    // a = an empty dictionary
  DictKey,    // b must be a string (a key of a literal, at its line)
  DictPut,    // dictionary a: key b = c

  // a = b OP c; the order follows TokenKind's binary operators (kBinaryOps).
  Add, Sub, Mul, Div, Mod, BitAnd, BitOr, BitXor, Shl, Shr, UShr,
  Less, LessEq, Greater, GreaterEq, Equal, NotEqual,
  // a = OP b
  Neg, Plus, Not, BitNot,

  Jump,       // to a
  JumpIf,     // to a when b is true (flag kNegate: when false)
  // to a when b OP c holds (kNegate: when it does not)
  JumpLess, JumpLessEq, JumpGreater, JumpGreaterEq, JumpEqual, JumpNotEqual,
  // The end of a counting loop's turn: variable b += 1, the loop's step
  // (counted here, at stepLine), then to a while b < c (compared at
  // targetLine, the condition's line).
  StepLess,

  IncDec,     // a = b stepped: d = 1 or -1, kPrefix; objects through hooks
  IncVar,     // variable b stepped by d (1 or -1; kPrefix: ++b), its value unused

  // Calls by a variable's name hold their callee while the arguments are
  // evaluated: pending call k (in `spare`), or its value in the temp before
  // the arguments when it is no function.
  Callee,     // pending call k = the function variable b holds, else temp a = b
  Call,       // a = pending call k (args: c temps from slot b)
  CallValue,  // a = temp b called with the c temps after it
  Len,        // a = len(b) when pending call k is the built-in len, else a call
              // (callee temp: slot c)
  Push,       // a = push(b, c) likewise (callee temp: slot d)
  Method,     // a = b.name(c temps from d); ref: the CallExpr
  BaseMethod, // a = base.name(c temps from d); ref: the CallExpr
  GetMember,  // a = b.name; ref: the MemberExpr
  SetMember,  // b.name = c; ref: the MemberExpr
  GetIndex,   // a = b[c]
  SetIndex,   // b[c] = d

  Return,     // the frame returns b
  ReturnNil,
  ForInPrep,  // temps b, b+1, b+2: the sequence, its keys, the position
  ForInNext,  // variable d = the next item of temps b.., else to a
  TryBegin,   // a handler at a for the error into variable b; temps from c die
  TryEnd,     // the innermost handler goes (d of them)
  Throw,      // the error b
  Class,      // a = the class the ClassStmt (ref) declares
  Static,     // class a gets the static (ref: StaticVarDecl) = b
  Include,    // runs the file the IncludeStmt (ref) names
};

// Instruction flags.
constexpr std::uint8_t kFreeB = 1;   // b is a temp this instruction used up
constexpr std::uint8_t kFreeC = 2;   // c likewise
constexpr std::uint8_t kFreeD = 16;  // d likewise
constexpr std::uint8_t kNegate = 4;  // jumps: on the opposite outcome
constexpr std::uint8_t kPrefix = 8;  // IncDec: the value is the new one

struct Ins {
  Op op;
  std::uint8_t flags = 0;
  std::uint8_t spare = 0;  // Callee, Call, Len, Push: the pending call
  std::uint8_t unused = 0;
  std::int32_t a = 0, b = 0, c = 0, d = 0;
};

// What only an error or a step report needs.
struct InsInfo {
  int line = 0;            // the operation's
  int stepLine = 0;        // StepLess: the loop's, for its turn's step
  int targetLine = 0;      // the variable's, for a write to a global
  int lineB = 0, lineC = 0, lineD = 0;  // the reads of globals b, c and d
  const void* ref = nullptr;
};

struct Code {
  std::vector<Ins> ins;
  std::vector<InsInfo> info;
  std::vector<TulValue> consts;  // numbers and nil
  int frameSize = 1;             // locals and temporaries
  int pendingCalls = 0;          // callees held at once (Callee ... Call)
};

}  // namespace tulscript

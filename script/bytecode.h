// The compiled form of a function body or a file's top level: a register
// bytecode whose registers are the frame's slots. The parser has already
// resolved every variable to a slot or a global; the compiler (compiler.cpp)
// lays out temporaries above the locals and turns statements and
// expressions into instructions; the VM (vm.cpp) runs them.
//
// Invariant: a Code never changes once compiled, but for its sites'
// caches. What only an error needs (the lines) is looked up from the
// instruction's index when one is reported, never while running.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/tul.h"
#include "script/lexer.h"

class TulClass;

namespace tulscript {

struct FunctionDecl;
struct ClassDecl;
struct Program;

// An operand: where an instruction reads a value, or writes one. The low
// two bits say which space; the rest, with the low four bits clear, is the
// byte offset of the value in it, so that finding an operand is a mask and
// an add (a value is 16 bytes).
namespace operand {
enum Space : std::int32_t { Local = 0, Global = 1, Const = 2, This = 3 };
constexpr int kShift = 4;  // log2 of a value's size
constexpr std::int32_t local(int i) { return i << kShift | Local; }
constexpr std::int32_t global(int i) { return i << kShift | Global; }
constexpr std::int32_t constant(int i) { return i << kShift | Const; }
constexpr std::int32_t self() { return This; }
// As a destination, This means the value is not wanted: it is dropped.
constexpr std::int32_t discard() { return This; }
constexpr Space space(std::int32_t x) { return static_cast<Space>(x & 3); }
constexpr int index(std::int32_t x) { return x >> kShift; }
// The byte offset of operand x's value from the start of its space.
constexpr std::int32_t offset(std::int32_t x) { return x & ~((1 << kShift) - 1); }
}  // namespace operand

enum class Op : std::uint8_t {
#define TUL_OP(name, label, token) name,
#include "script/opcodes.def"
};

constexpr int kOpCount = 0
#define TUL_OP(name, label, token) +1
#include "script/opcodes.def"
    ;

// The operator an instruction applies (TokenKind::End for none).
constexpr TokenKind kOpTokens[] = {
#define TUL_OP(name, label, token) TokenKind::token,
#include "script/opcodes.def"
};
constexpr TokenKind opToken(Op op) { return kOpTokens[static_cast<int>(op)]; }

// The instruction of [first, last] that applies operator t (last when none
// does: the rows' order puts the catch-all there).
constexpr Op opFor(TokenKind t, Op first, Op last) {
  for (int i = static_cast<int>(first); i < static_cast<int>(last); ++i)
    if (kOpTokens[i] == t) return static_cast<Op>(i);
  return last;
}

// An instruction's name, as a listing shows it.
const char* opName(Op op);

// Instruction flags.
constexpr std::uint8_t kFreeB = 1;   // b is a temp this instruction used up
constexpr std::uint8_t kFreeC = 2;   // c likewise
constexpr std::uint8_t kFreeD = 16;  // d likewise
constexpr std::uint8_t kNegate = 4;  // jumps: on the opposite outcome
constexpr std::uint8_t kPrefix = 8;  // IncDec: the value is the new one
// Arithmetic, comparisons, compare-and-jumps, StepLess and a Move into a
// local that copies: every operand the instruction reads, and its
// destination, is a local, a constant or a global the file's top level has
// certainly defined by then, so each lies where its space and index say
// without a check.
constexpr std::uint8_t kDirect = 32;
constexpr std::uint8_t kCounted = 64;  // StepLess: the run has a step budget
// A kDirect arithmetic, comparison or compare-and-jump whose c is an
// integer constant: d holds its value.
constexpr std::uint8_t kIntC = 128;

struct Ins {
  Op op;
  std::uint8_t flags = 0;
  std::uint8_t spare = 0;  // Callee, Call, Len, Push: the pending call
  std::uint8_t unused = 0;
  std::int32_t a = 0, b = 0, c = 0, d = 0;
};
static_assert(sizeof(Ins) == 20, "an instruction is five words");
static_assert(sizeof(TulValue) == 1 << operand::kShift, "an operand's offset counts values");

// Where an error's line comes from: a line itself (0 or more), or one of
// the lines the frame's current instruction records, looked up in its
// code's tables only when an error is reported.
namespace lines {
constexpr int Op = -1;      // the operation's
constexpr int Step = -2;    // StepLess: the loop's, for its turn's step
constexpr int Target = -3;  // the variable's, for a write to an undeclared global
constexpr int B = -4;       // the reads of globals b, c and d
constexpr int C = -5;
constexpr int D = -6;
}  // namespace lines

// What a method call or member access site found for the class it met
// last; trusted only for that class and while no class has been declared
// since (`epoch`, the interpreter's count of declarations).
struct SiteCache {
  TulClass* cls = nullptr;
  unsigned epoch = 0;
  int index = -1;                    // member sites: the data member's index
  const FunctionDecl* fn = nullptr;  // method sites: the script method, or
  TulClass* owner = nullptr;         // null for one the runtime must call
};

// The native method a method call site found for the class it met last;
// trusted while the runtime's method generation is the one it was found in.
struct NativeSite {
  TulClass* cls = nullptr;
  std::uint64_t generation = 0;
  NativeMethod fn = nullptr;
};

// A call: the method's name (Method, BaseMethod) or the callee variable's
// (calls by name, for errors), and what the call site has found.
struct CallSite {
  std::string name;
  int argc = 0;         // Method, BaseMethod
  int calleeSlot = 0;   // Push: the temp before the arguments
  SiteCache cache;      // Method
  NativeSite native;    // Method, when the cache has no script method; BaseMethod
};

struct MemberSite {
  std::string name;
  SiteCache cache;
};

// An `include`, its file loaded once the including file has been compiled.
struct IncludeSite {
  std::string path;  // as written
  int line = 0;
  const Program* program = nullptr;  // null: included earlier, nothing to run
};

// A run of instructions from `pc` on that share a line.
struct LineRun {
  int pc;
  int line;
};
// A line other than the operation's (lines::Step ... lines::D) of the
// instruction at pc; absent means 0.
struct ExtraLine {
  int pc;
  int kind;
  int line;
};

// A compiled function body or top level. Besides the instructions it owns
// every table they index: constants, literal strings, the declarations of
// functions and classes it makes, its call, member and include sites and
// its lines, so it needs nothing of the syntax tree it was compiled from.
// The sites' caches are the only part a run writes.
struct Code {
  std::vector<Ins> ins;
  std::vector<TulValue> consts;  // numbers, nil and the strings operators read
  std::vector<std::string> strings;
  mutable std::vector<TulValue> literals;  // LoadStr: see literalString
  std::vector<const FunctionDecl*> functions;
  std::vector<const ClassDecl*> classes;
  mutable std::vector<CallSite> calls;
  mutable std::vector<MemberSite> members;
  std::vector<IncludeSite> includes;
  std::vector<LineRun> lineRuns;     // by pc
  std::vector<ExtraLine> extraLines; // by pc, then kind
  int params = 0;                // the function's parameters
  int frameSize = 1;             // locals and temporaries
  int pendingCalls = 0;          // callees held at once (Callee ... Call)

  // The line `which` (lines::Op ... lines::D) of the instruction at pc.
  int lineAt(int pc, int which) const;
};

}  // namespace tulscript

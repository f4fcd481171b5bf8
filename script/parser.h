// The parser of the tul language: tokens in, a Program out, with every
// variable resolved to a frame slot or a global index.
//
// Invariant: a Program that parsed without error is safe to run: its trees
// respect the nesting limit, `break`/`continue` lie inside loops, `return`
// inside functions, `base` inside methods of derived classes, and no
// function reads a local variable of an enclosing function.
#pragma once

#include <string>

#include "script/ast.h"
#include "script/lexer.h"

namespace tulscript {

// How deeply expressions and statements may nest.
constexpr int kMaxNesting = 200;

// Gives every global name one index, shared by all files of a run.
class GlobalNames {
 public:
  virtual ~GlobalNames() = default;
  virtual int globalIndex(const std::string& name) = 0;
};

struct ParseOptions {
  bool allowInclude = true;
};

// Parses the source into `out` (whose fileName and fileIndex the caller
// sets). False with `error` at the first syntax error; `out` is then
// incomplete and must not be run.
bool parseProgram(const std::string& source, Program& out, GlobalNames& globals,
                  SyntaxError& error, const ParseOptions& options = {});

}  // namespace tulscript

// Turns a parsed file into bytecode (bytecode.h): its top level into
// Program::code and every function and method into FunctionDecl::code.
#pragma once

#include "script/ast.h"

namespace tulscript {

// The most calls whose callee a frame holds while their arguments are
// evaluated (f(g(h(x))) holds three); calls nested deeper hold their callee
// as a value instead.
constexpr int kMaxPendingCalls = 16;

// countSteps: the run has a step budget (EngineOptions::maxSteps), which
// the code then counts.
void compileProgram(Program& program, bool countSteps);

}  // namespace tulscript

// The compiler's output on its own: the syntax tree is gone once a file is
// compiled, the lines an error reports come from the code's own tables
// (for each kind of line an instruction keeps).
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "script/compiler.h"
#include "script/engine.h"
#include "script/parser.h"
#include "tests/script_engine/names.h"

namespace tulscript {
namespace {

TEST(Compiler, DropsTheTreeAndKeepsDeclarations) {
  Program p;
  Names names;
  SyntaxError error;
  ASSERT_TRUE(parseProgram("function f(a) { return a + 1; }\n"
                           "class C { static var s = f(1); m() { return 2; } }\n"
                           "var g = function () { return \"x\"; };\n",
                           p, names, error, ParseOptions()))
      << error.message;
  compileProgram(p, false);
  EXPECT_TRUE(p.body.body.empty());
  ASSERT_EQ(p.functions.size(), 3u);
  for (const auto& fn : p.functions) {
    EXPECT_TRUE(fn->body.body.empty()) << fn->name;
    EXPECT_FALSE(fn->code.ins.empty()) << fn->name;
  }
  ASSERT_EQ(p.classes.size(), 1u);
  EXPECT_EQ(p.classes[0]->statics[0].init, nullptr);
  ASSERT_EQ(p.hoisted.size(), 1u);
  EXPECT_EQ(p.hoisted[0].name, "f");
}

// Each kind of line an instruction reports, on statements that span lines
// so that the operation's line and the others differ.
TEST(Compiler, ErrorsReportTheLineOfWhatFailed) {
  const struct {
    const char* src;
    int maxSteps;
    const char* err;
  } cases[] = {
      // The operation's, after earlier lines in the same function.
      {"function f(a) {\n var x = 1;\n return a +\n  nil;\n}\nf(1);", 0,
       "t.tul:3: error: "},
      // A global read as the second operand, on its own line.
      {"var a = 1;\nvar b = a +\n\n undefinedName;", 0, "t.tul:4: error: undefined variable"},
      // The variable written, not the value's line.
      {"function f() {\n undeclared =\n  1;\n}\nf();", 0,
       "t.tul:2: error: assignment to undeclared variable"},
      // A counting loop's turn counts its step at the loop's line.
      {"var n = 0;\nfor (var i = 0;\n i < 100000;\n i++)\n n = n;", 52,
       "t.tul:2: error: step limit exceeded"},
      // A call by name keeps the callee's name for its error.
      {"var notFn = 3;\n\nnotFn(\n1);", 0, "t.tul:3: error: cannot call 'notFn' (int)"},
  };
  for (const auto& c : cases) {
    std::ostringstream out, err;
    EngineOptions options;
    options.out = &out;
    options.err = &err;
    options.maxSteps = c.maxSteps;
    Engine engine(options);
    EXPECT_EQ(engine.runSource("t.tul", c.src), kStatusError) << c.src;
    EXPECT_EQ(err.str().compare(0, std::string(c.err).size(), c.err), 0)
        << c.src << "\n got: " << err.str();
  }
}

}  // namespace
}  // namespace tulscript

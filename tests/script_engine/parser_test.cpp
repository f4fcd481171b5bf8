// The lexer and parser on their own: the place and text of syntax errors.
// Scoping and hoisting are checked by the scripts under
// tests/script/language (scope.tul, functions.tul).
#include <gtest/gtest.h>

#include <string>

#include "script/lexer.h"
#include "script/parser.h"
#include "tests/script_engine/names.h"

namespace tulscript {
namespace {

struct ErrorCase {
  const char* src;
  int line;
  int col;
  const char* message;
};

bool parse(const std::string& src, SyntaxError& e) {
  Names names;
  Program p;
  return parseProgram(src, p, names, e);
}

void expectSyntaxError(const ErrorCase& c) {
  SyntaxError e;
  ASSERT_FALSE(parse(c.src, e)) << c.src;
  EXPECT_EQ(e.message, c.message) << c.src;
  EXPECT_EQ(e.line, c.line) << c.src;
  EXPECT_EQ(e.col, c.col) << c.src;
}

TEST(Lexer, MalformedTokensAreReportedWhereTheyStart) {
  const ErrorCase cases[] = {
      {"x = \"abc", 1, 5, "unterminated string"},
      {"x = \"ab\ncd\"", 1, 5, "unterminated string"},
      {"/* never closed", 1, 1, "unterminated comment"},
      {"''", 1, 1, "empty character literal"},
      {"'ab'", 1, 1, "character literal must hold one character"},
      {"\"\\x4\"", 1, 2, "escape '\\x' needs two hexadecimal digits"},
      {"12abc", 1, 1, "malformed number"},
      {"1e+", 1, 1, "malformed number: exponent without digits"},
      {"0x", 1, 1, "malformed number: '0x' without digits"},
      {"0x100000000", 1, 1, "integer literal does not fit in 32 bits"},
      {"a # b", 1, 3, "unexpected character '#'"},
      {"a \x01 b", 1, 3, "unexpected character (byte 0x01)"},
  };
  for (const ErrorCase& c : cases) expectSyntaxError(c);
}

TEST(Parser, StatementsInTheWrongPlaceAreSyntaxErrors) {
  const ErrorCase cases[] = {
      {"continue;", 1, 1, "'continue' outside a loop"},
      {"var x = 1;\nreturn x;", 2, 1, "'return' outside a function"},
      {"class P { m() { return base.m(); } }", 1, 24,
       "'base' used in class 'P', which has no base class"},
      {"class C { var _a = 1; }", 1, 18,
       "data members cannot have initializers; set '_a' in the constructor"},
      {"function f() { return this; }", 1, 23, "'this' used outside an instance method"},
      {"function f() { while (1) { function g() { break; } } }", 1, 43, "'break' outside a loop"},
      {"function f() { class C {} }", 1, 16, "classes must be declared at the top level of a file"},
      {"if (1) include \"x\";", 1, 8, "'include' must be at the top level of a file"},
      {"class C { static m() { return this; } }", 1, 31, "'this' used outside an instance method"},
      {"class C : B { static m() { base.m(); } }", 1, 28, "'base' used outside an instance method"},
      {"class C : B { m() { return base.x; } }", 1, 34, "'base.x' must be called: base.x(...)"},
      {"class C : C {}", 1, 11, "a class cannot derive from itself"},
      {"class C { m() {} m() {} }", 1, 18, "duplicate method 'm'"},
      {"class C { var _a, _a; }", 1, 19, "duplicate data member '_a'"},
      {"function f(a, a) {}", 1, 15, "duplicate parameter 'a'"},
      {"var;", 1, 4, "expected a variable name after 'var', found ';'"},
      {"1++;", 1, 2, "expected ';' after expression, found '++'"},
      {"++1;", 1, 1, "operand of '++' must be a variable, member or element"},
      {"f() = 1;", 1, 5, "cannot assign to this expression with '='"},
      {"x = [1, 2;", 1, 10, "expected ']' to close the vector, found ';'"},
      {"x = {1 2};", 1, 8, "expected ':' after the dictionary key, found integer 2"},
      {"a ? b;", 1, 6, "expected ':' in the conditional expression, found ';'"},
      {"for (var x in) {}", 1, 14, "expected an expression, found ')'"},
      {"try {} x", 1, 8, "expected 'catch' after the 'try' block, found identifier 'x'"},
  };
  for (const ErrorCase& c : cases) expectSyntaxError(c);
}

}  // namespace
}  // namespace tulscript

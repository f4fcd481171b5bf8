// Fuzzing the front end in process: thousands of scripts made from a seed
// corpus by token and byte mutations, splices and plain random token runs,
// each run on a fresh engine with the module's classes registered. Every
// run must end (a step budget bounds it) with a status and, for a failure,
// a well-formed diagnostic; nothing may crash or leak host objects.
//
// The generator is seeded with a constant, so a failure repeats exactly;
// the failing script is printed. TUL_FUZZ_SEED and TUL_FUZZ_SCRIPTS in the
// environment explore further than the fixed run does; TUL_FUZZ_TRACE=1
// writes each script to standard error before it runs (for a crash).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "module/tul2class.h"
#include "runtime/runtime.h"
#include "script/engine.h"
#include "script/lexer.h"

namespace tulscript {
namespace {

constexpr int kScripts = 8000;
constexpr std::uint32_t kRandomSeed = 20240611;

unsigned long fromEnvironment(const char* name, unsigned long fallback) {
  const char* v = std::getenv(name);
  return v && *v ? std::strtoul(v, nullptr, 10) : fallback;
}

const char* const kSeeds[] = {
    "var a = 1; var b = a + 2 * 3 - 4 / 2 % 3; print(a, b, a << 3, -b >> 1, ~a, a ^ b);",
    "function fib(n) { return n < 2 ? n : fib(n - 1) + fib(n - 2); } print(fib(12));",
    "var v = [1, \"two\", 3.5, nil, [4]]; for (var x in v) print(x); v[0] += 5; v[5] = 6;",
    "var d = {\"k\": 1, name: \"n\"}; d.k++; d[\"z\"] = d; for (var k in d) print(k, d[k]);",
    "var i = 0; while (i < 10) { i++; if (i % 3 == 0) continue; if (i > 7) break; }",
    "for (var i = 0; i < 5; i++) { for (var j = i; j; j--) { print(i * j); } }",
    "class A { var _x; static var _n = 0; A(x) { this._x = x; A._n++; } get() { return this._x; } "
    "static count() { return A._n; } }\n"
    "class B : A { B(x) { this.A(x * 2); } get() { return base.get() + 1; } } print(B(3).get(), A.count());",
    "class P : POINT { P(x, y) { this.POINT(x, y); } getX() { return base.getX() * 2; } } "
    "var p = P(1, 2) + POINT(3, 4); print(p.getX(), p.getY(), classof(p));",
    "var r = RECT(1, 2, 3, 4); r.setPos(POINT(0, 0)); r.setSize(SIZE(5, 6)); print(r.getSize().getW(), r.ok());",
    "var m = MSG(); m.setMsgId(WM_PAINT); m.setPoint(1, 2); print(m.getPoint().getX(), MSG(m).getMsgId());",
    "var a = ACCEL('A', 100, FVIRTKEY | FCONTROL); print(a.getKey(), a.getCmd(), a.getFVirt());",
    "class N { var _v; N(v) { this._v = v; } OP_ADD(o) { return N(this._v + o); } OP_ADD_R(o) { return N(o); } "
    "OP_SUB(o) { return N(this._v - o); } OP_VREF(i) { return i; } OP_VSET(i, v) { this._v = v; } "
    "OP_INC() { return N(this._v + 1); } OP_PINC() { return N(this._v + 2); } }\n"
    "var n = N(1); n = n + 1; n = 2 + n; n = n - 1; n[0] = n[1]; ++n; n++; n += 3;",
    "try { throw \"x\"; } catch (e) { print(e.message, e.detail, e.line); } "
    "try { POINT(1, 2, 3); } catch (e) { print(e.message); }",
    "var s = \"abc\" + 1 + 2.5; print(s[0], len(s), str(s), typeof(s), s < \"b\", s == \"abc12.5\");",
    "var b = buffer(4); b[0] = 300; b[3] = -1; print(bytes(b), len(b), typeof(b));",
    "var f = function (x) { return x * x; }; var g = function h(n) { return n ? h(n - 1) : 0; }; print(f(3), g(4));",
    "var vec = Vector([1, 2, 3]); vec.push_back(4); print(vec[0], vec.size()); "
    "var dict = Dictionary(); dict[\"a\"] = 1; var it = dict.begin(); it++; print(dict.size());",
    "var st = String(\"hello\"); st = st + \" world\"; print(st.length(), st.find(\"o\"), st.substr(1, 3));",
    "var x = 1 ? 2 : 3; var y = 0 || nil || \"z\"; var z = 1 && 0; print(x, y, z, !z, 1 < 2 == 1);",
    "assert(1, \"fine\"); print(format(\"%d-%s\", 1, \"a\"), chr(66), int(\"0x10\"), double(\"1.5\"));",
    "function rec(n) { return rec(n + 1); } try { rec(0); } catch (e) { print(e.message); }",
    "var t = 40; for (var k in {\"a\": 1, \"b\": 2}) t += 1; exit(t);",
    "class E { dtor() { print(\"gone\"); } } var e = E(); e = nil; var w = [E()]; w = nil;",
    "/* block */ // line\nvar q = 0xFFFFFFFF; q >>>= 4; q |= 1; q &= ~2; q ^= 3; q <<= 1; q %= 7; q /= 2;",
};

// Words that may stand in for each other without breaking the syntax, so
// that a mutated script still parses and reaches the interpreter.
const char* const kOperands[] = {
    "0", "1", "-1", "7", "2147483647", "0x80000000", "1.5", "0.0", "-0.5", "1e308",
    "\"s\"", "\"\"", "nil", "true", "[]", "{}", "[1, \"a\"]", "x", "print", "POINT",
    "RECT(1, 2, 3, 4)", "POINT(1, 2)", "SIZE()", "MSG()", "ACCEL(1, 2)", "buffer(2)",
    "Vector()", "Dictionary()", "String(\"t\")", "this", "A", "f",
};
const char* const kBinaryOperators[] = {
    "+", "-", "*", "/", "%", "&", "|", "^", "<<", ">>", ">>>", "&&", "||",
    "==", "!=", "<", "<=", ">", ">=",
};

// Spellings the random generators draw from.
const char* const kPool[] = {
    "var", "function", "class", "static", "if", "else", "while", "for", "in", "break",
    "continue", "return", "try", "catch", "throw", "nil", "true", "false", "this", "base",
    "(", ")", "{", "}", "[", "]", ",", ";", ":", ".", "?", "+", "-", "*", "/", "%",
    "&", "|", "^", "~", "!", "<<", ">>", ">>>", "&&", "||", "++", "--", "=", "==", "!=",
    "<", "<=", ">", ">=", "+=", "-=", "<<=", "x", "y", "f", "A", "B", "POINT", "RECT",
    "SIZE", "MSG", "ACCEL", "Vector", "Dictionary", "String", "print", "str", "len",
    "push", "buffer", "bytes", "exit", "assert", "OP_ADD", "OP_VREF", "getX", "_x",
    "0", "1", "-1", "2147483647", "0x80000000", "1.5", "0.0", "1e308", "\"s\"", "\"\"",
    "'c'", "\"\\x41\"", "/*", "*/", "//", "\n", "\"", "'", "\\", "@",
};

// The seed's text split at the start of each token, so that a word is a
// token with the space and comments after it.
std::vector<std::string> splitAtTokens(const std::string& src) {
  std::vector<Token> tokens;
  SyntaxError error;
  EXPECT_TRUE(tokenize(src, tokens, error)) << src << ": " << error.message;
  std::vector<std::size_t> lineStarts{0};
  for (std::size_t i = 0; i < src.size(); ++i)
    if (src[i] == '\n') lineStarts.push_back(i + 1);
  std::vector<std::string> out;
  std::size_t from = 0;
  for (const Token& t : tokens) {
    const std::size_t at = t.kind == TokenKind::End
                               ? src.size()
                               : lineStarts[static_cast<std::size_t>(t.line - 1)] +
                                     static_cast<std::size_t>(t.col - 1);
    if (at > from) out.push_back(src.substr(from, at - from));
    from = at;
  }
  return out;
}

class Generator {
 public:
  Generator() : rng_(static_cast<std::uint32_t>(fromEnvironment("TUL_FUZZ_SEED", kRandomSeed))) {
    for (const char* seed : kSeeds) seeds_.push_back(splitAtTokens(seed));
  }

  // Mostly small edits, which keep a script parsing often enough to reach
  // the interpreter; the rest stress the lexer and parser.
  std::string next() {
    const std::size_t r = pick(20);
    if (r < 7) return join(mutateTokens(randomSeed(), 1));
    if (r < 10) return join(mutateTokens(randomSeed(), 2 + static_cast<int>(pick(4))));
    if (r < 13) return mutateBytes(kSeeds[pick(std::size(kSeeds))]);
    if (r < 16) return join(splice());
    if (r < 18) return join(randomTokens());
    return std::string(kSeeds[pick(std::size(kSeeds))]) + "\n" + kSeeds[pick(std::size(kSeeds))];
  }

 private:
  std::size_t pick(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng_); }
  const std::vector<std::string>& randomSeed() { return seeds_[pick(seeds_.size())]; }
  std::string poolWord() { return kPool[pick(std::size(kPool))]; }

  static std::string join(const std::vector<std::string>& words) {
    std::string s;
    for (const std::string& w : words) s += w + " ";
    return s;
  }

  std::vector<std::string> mutateTokens(std::vector<std::string> w, int edits) {
    for (int i = 0; i < edits && !w.empty(); ++i) {
      std::size_t at = pick(w.size());
      switch (pick(10)) {
        case 5: case 6: case 7: case 8: case 9: w[at] = sameKind(w[at]); break;
        case 0: w.erase(w.begin() + static_cast<long>(at)); break;
        case 1: w.insert(w.begin() + static_cast<long>(at), poolWord()); break;
        case 2: w[at] = poolWord(); break;
        case 3: std::swap(w[at], w[pick(w.size())]); break;
        default: {  // repeat a span, which deepens nesting and loops
          std::size_t len = 1 + pick(std::min<std::size_t>(8, w.size() - at));
          std::vector<std::string> span(w.begin() + static_cast<long>(at),
                                        w.begin() + static_cast<long>(at + len));
          w.insert(w.begin() + static_cast<long>(at), span.begin(), span.end());
        }
      }
    }
    return w;
  }

  // A word of the same kind: operand for operand, operator for operator.
  std::string sameKind(const std::string& word) {
    const std::string w = word.substr(0, word.find_last_not_of(" \n") + 1);
    for (const char* op : kBinaryOperators)
      if (w == op) return kBinaryOperators[pick(std::size(kBinaryOperators))];
    std::vector<Token> tokens;
    SyntaxError error;
    if (!tokenize(word, tokens, error) || tokens.size() != 2) return word;
    const TokenKind k = tokens[0].kind;
    const bool operand = (k >= TokenKind::Ident && k <= TokenKind::String) ||
                         k == TokenKind::KwNil || k == TokenKind::KwTrue || k == TokenKind::KwFalse;
    return operand ? kOperands[pick(std::size(kOperands))] : word;
  }

  std::string mutateBytes(std::string s) {
    int edits = 1 + static_cast<int>(pick(6));
    for (int i = 0; i < edits && !s.empty(); ++i) {
      std::size_t at = pick(s.size());
      switch (pick(4)) {
        case 0: s.erase(at, 1); break;
        case 1: s.insert(at, 1, static_cast<char>(pick(256))); break;
        case 2: s[at] = static_cast<char>(pick(128)); break;
        default: s.resize(at); break;
      }
    }
    return s;
  }

  std::vector<std::string> splice() {
    const std::vector<std::string>& a = randomSeed();
    const std::vector<std::string>& b = randomSeed();
    std::vector<std::string> out(a.begin(), a.begin() + static_cast<long>(pick(a.size() + 1)));
    out.insert(out.end(), b.begin() + static_cast<long>(pick(b.size() + 1)), b.end());
    return out;
  }

  std::vector<std::string> randomTokens() {
    std::vector<std::string> w(1 + pick(60));
    for (std::string& s : w) s = poolWord();
    return w;
  }

  std::mt19937 rng_;
  std::vector<std::vector<std::string>> seeds_;
};

// "NAME:LINE: error: ..." or "NAME:LINE:COL: error: ...".
bool isDiagnostic(const std::string& line) {
  if (line.compare(0, 20, "tul: error in dtor: ") == 0) return true;
  const std::string prefix = "fuzz.tul:";
  if (line.compare(0, prefix.size(), prefix) != 0) return false;
  std::size_t at = line.find(": error: ");
  return at != std::string::npos && at + 9 < line.size() + 1;
}

int runOnce(EngineOptions options, const std::string& script, std::ostringstream& err) {
  std::ostringstream out;
  options.out = &out;
  options.err = &err;
  Engine engine(options);
  RegisterNativeModule(&engine.machine());
  return engine.runSource("fuzz.tul", script);
}

TEST(Fuzz, RandomAndMutatedScriptsEndCleanly) {
  EngineOptions options;
  options.maxSteps = 10000;
  options.machineStackSlots = 4096;
  options.maxAllocation = 1 << 14;
  options.allowMemoryAccess = false;
  options.allowInclude = false;
  // Every seed runs cleanly (mutations start from working programs), and
  // once before objects are counted: the library builds some process-wide
  // values on first use (the DictIterator name).
  for (const char* seed : kSeeds) {
    std::ostringstream err;
    const int status = runOnce(options, seed, err);
    EXPECT_TRUE(status != kStatusSyntax && err.str().find("error") == std::string::npos)
        << seed << "\n" << err.str();
  }
  const long liveBefore = tulrt::liveObjects();
  Generator gen;
  int outcomes[3] = {0, 0, 0};
  const int scripts = static_cast<int>(fromEnvironment("TUL_FUZZ_SCRIPTS", kScripts));
  const bool trace = fromEnvironment("TUL_FUZZ_TRACE", 0) != 0;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < scripts; ++i) {
    std::string script = gen.next();
    if (trace) std::fprintf(stderr, "--- script %d\n%s\n", i, script.c_str());
    std::ostringstream err;
    int status = runOnce(options, script, err);
    if (status >= 0 && status <= 2) ++outcomes[status];
    // A failure says why, in the diagnostic format, on its last line (a
    // failed dtor may have reported before it).
    std::string text = err.str();
    bool exited = script.find("exit") != std::string::npos;
    if ((status == kStatusError || status == kStatusSyntax) && !exited) {
      ASSERT_FALSE(text.empty()) << "script " << i << ":\n" << script;
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
      ASSERT_TRUE(isDiagnostic(line)) << "script " << i << ": " << line << "\n" << script;
    ASSERT_EQ(tulrt::liveObjects(), liveBefore) << "script " << i << " leaked:\n" << script;
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  // Mutations must reach past the parser often enough to fuzz the
  // interpreter too.
  EXPECT_GT(outcomes[0] + outcomes[1], scripts / 5);
  std::printf("fuzz: %d scripts in %.1f s: %d ran, %d run-time errors, %d syntax errors\n",
              scripts, seconds, outcomes[0], outcomes[1], outcomes[2]);
}

}  // namespace
}  // namespace tulscript

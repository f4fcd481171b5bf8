// The formatting constructor of TulString: conversions of script values.
#include <string>
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

using FormatTest = rtest::MachineTest;

std::string format(const char* fmt, std::vector<TulValue> values) {
  TulVector stack;
  for (const TulValue& v : values) stack.push_back(v);
  const TulString s(fmt, static_cast<int>(values.size()), ValPtr{&stack, 0});
  return std::string(s.c_str(), s.length());
}

TulValue str(const char* s) { return TulValue(new TulString(s)); }

TEST_F(FormatTest, ConvertsEachValueFromItsTag) {
  const TulValue obj(new TulObject(vm().defineClass("POINT", nullptr)));
  const struct {
    const char* format;
    std::vector<TulValue> values;
    std::string expected;
  } cases[] = {
      {"%d|%i|%u", {TulValue(-3), TulValue(7.9), TulValue(-1)}, "-3|7|4294967295"},
      {"%x %X %o %#x", {TulValue(255), TulValue(255), TulValue(8), TulValue(255)},
       "ff FF 10 0xff"},
      {"[%5d][%-5d][%05d][%+d][% d]",
       {TulValue(42), TulValue(42), TulValue(42), TulValue(42), TulValue(42)},
       "[   42][42   ][00042][+42][ 42]"},
      {"%.2f %e %g %G", {TulValue(3.14159), TulValue(1500.0), TulValue(0.5), TulValue(1e-10)},
       "3.14 1.500000e+03 0.5 1E-10"},
      {"%s %s %s %s", {str("txt"), TulValue(12), TulValue(2.5), TulValue()}, "txt 12 2.5 nil"},
      {"%s|%6s|%-6s|%.2s", {obj, str("ab"), str("ab"), str("abcdef")},
       "<POINT>|    ab|ab    |ab"},
      {"%d %f", {str("9"), str("1")}, "0 0.000000"},
      {"%c%c%c", {TulValue(72), str("iz"), TulValue(33)}, "Hi!"},
      {"%*d|%-*d|%.*f", {TulValue(4), TulValue(7), TulValue(3), TulValue(7), TulValue(1),
                         TulValue(2.25)},
       "   7|7  |2.2"},
      {"%*d", {TulValue(-3), TulValue(1)}, "1  "},
      {"%s|%d|%f|%c|", {}, "|0|0.000000||"},
      {"%d", {TulValue(1), TulValue(2)}, "1"},
      {"100%% %y %n %", {}, "100% %y %n %"},
      {"%ld %5", {TulValue(3)}, "3 %5"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ(format(c.format, c.values), c.expected);
  }
}

TEST(FormatLimitsTest, WidthsAreBoundedAndOnlyNValuesAreRead) {
  EXPECT_EQ(format("%999999999d", {TulValue(1)}).size(), 1000u);
  EXPECT_EQ(format("%.999999999f", {TulValue(1.0)}).size(), 1002u);
  TulVector stack;
  stack.push_back(TulValue(1));
  stack.push_back(TulValue(2));
  const TulString s("%d %d", 1, ValPtr{&stack, 0});
  EXPECT_STREQ(s.c_str(), "1 0");
  const TulString past("%d", 1, ValPtr{&stack, 5});  // a cursor past the end reads nothing
  EXPECT_STREQ(past.c_str(), "0");
}

}  // namespace

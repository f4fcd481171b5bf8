// TulString: searching from any start, and comparison.
#include <string>
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

TEST(StringTest, FindAcceptsAnyStart) {
  const TulString s("abcabc");
  const struct {
    const char* needle;
    int start;
    int expected;
  } cases[] = {
      {"bc", 0, 1},  {"bc", 2, 4},   {"bc", -9, 1}, {"bc", 5, -1},
      {"bc", 6, -1}, {"bc", 99, -1}, {"", 3, 3},    {"", 6, 6},
      {"", 7, -1},   {"zz", 0, -1},  {"abcabcx", 0, -1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.needle) + " from " + std::to_string(c.start));
    EXPECT_EQ(s.find(c.needle, c.start), c.expected);
    EXPECT_EQ(s.find(TulString(c.needle), c.start), c.expected);
  }
  EXPECT_EQ(s.find('c', -3), 2);
  EXPECT_EQ(s.find('c', 3), 5);
  EXPECT_EQ(s.find('c', 6), -1);
  EXPECT_EQ(s.find('\0', 0), -1);  // the terminator is not part of the string
}

TEST(StringTest, CompareOrdersBytesAndIcompareFoldsOnlyAscii) {
  EXPECT_LT(TulString("abc").compare("abd"), 0);
  EXPECT_GT(TulString("abcd").compare(TulString("abc")), 0);
  EXPECT_LT(TulString("ab").compare(TulString("ab\0", 3)), 0);
  EXPECT_GT(TulString("\x80").compare("a"), 0);  // bytes compare unsigned
  EXPECT_EQ(TulString("HeLLo").icompare("hello"), 0);
  EXPECT_NE(TulString("\xC4").icompare("\xE4"), 0);
}

}  // namespace

// TulString: edge positions and counts, comparison, replacement, aliasing
// and the UTF-16 form.
#include <string>
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

std::string text(const TulString& s) { return std::string(s.c_str(), s.length()); }

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

TEST(StringTest, SubstrAndEraseClampOrRefuseOutOfRangeArguments) {
  const struct {
    int pos;
    int count;
    const char* substr;
    const char* erased;
  } cases[] = {
      {0, -1, "hello", ""},   {1, 3, "ell", "ho"},    {3, 99, "lo", "hel"},
      {5, 1, "", "hello"},    {6, 1, "", "hello"},    {-1, 2, "", "hello"},
      {2, 0, "", "hello"},    {4, -7, "o", "hell"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.pos) + "," + std::to_string(c.count));
    TulString s("hello");
    EXPECT_EQ(text(s.substr(c.pos, c.count)), c.substr);
    s.erase(c.pos, c.count);
    EXPECT_EQ(text(s), c.erased);
    EXPECT_EQ(s.c_str()[s.length()], '\0');
  }
}

// Insert clamps positions and ignores non-positive counts; appending and
// inserting a string's own characters is safe.
TEST(StringTest, InsertClampsAndAppendingOrInsertingItselfIsSafe) {
  TulString s("ace");
  s.insert(1, TulString("b"));
  s.insert(-5, '<', 2);
  s.insert(99, '>', 1);
  s.insert(2, 'x', 0);
  s.insert(2, 'x', -4);
  EXPECT_EQ(text(s), "<<abce>");
  s = "ab";
  s += s;
  s.insert(1, s);
  EXPECT_EQ(text(s), "aababbab");
  s = s.c_str() + 3;  // assigning from its own characters
  EXPECT_EQ(text(s), "abbab");
  std::string grown;
  for (int i = 0; i < 100; ++i) {
    s += 'z';
    grown += 'z';
  }
  EXPECT_EQ(text(s), "abbab" + grown);
}

TEST(StringTest, CompareOrdersBytesAndIcompareFoldsOnlyAscii) {
  EXPECT_LT(TulString("abc").compare("abd"), 0);
  EXPECT_GT(TulString("abcd").compare(TulString("abc")), 0);
  EXPECT_LT(TulString("ab").compare(TulString("ab\0", 3)), 0);
  EXPECT_GT(TulString("\x80").compare("a"), 0);  // bytes compare unsigned
  EXPECT_EQ(TulString("HeLLo").icompare("hello"), 0);
  EXPECT_NE(TulString("\xC4").icompare("\xE4"), 0);
}

TEST(StringTest, ReplaceIsLeftToRightAndAcceptsItself) {
  TulString s("a-b--c");
  s.replace(TulString("--"), TulString("+"));
  s.replace('-', '_');
  s.replace(TulString(""), TulString("x"));
  EXPECT_EQ(text(s), "a_b+c");
  s.replace(TulString("a"), s);
  EXPECT_EQ(text(s), "a_b+c_b+c");
}

TEST(StringTest, WideFormMapsWindows1252AndFollowsChanges) {
  TulString s("A\x80\x81\x9F\xE9");
  const std::vector<std::uint16_t> expected = {0x41, 0x20AC, 0x81, 0x178, 0xE9, 0};
  EXPECT_EQ(std::vector<std::uint16_t>(s.w_str(), s.w_str() + 6), expected);
  s += "!";
  EXPECT_EQ(s.w_str()[5], u'!');
  s.data()[0] = 'B';
  EXPECT_EQ(s.w_str()[0], u'B');
}

// Short texts live in the string itself: growing past that room, copying,
// appending from itself and shrinking again keep the characters.
TEST(StringTest, TextsAcrossTheShortRoomKeepTheirCharacters) {
  const std::string lengths[] = {"", std::string(14, 'a'), std::string(15, 'b'),
                                 std::string(16, 'c'), std::string(40, 'd')};
  for (const std::string& first : lengths) {
    for (const std::string& second : lengths) {
      SCOPED_TRACE(std::to_string(first.size()) + " then " + std::to_string(second.size()));
      TulString s(first.c_str());
      s.append(second.c_str(), static_cast<unsigned>(second.size()));
      EXPECT_EQ(text(s), first + second);
      s += s;
      EXPECT_EQ(text(s), first + second + first + second);
      const TulString copy(s);
      EXPECT_EQ(text(copy), text(s));
      s = second.c_str();
      EXPECT_EQ(text(s), second);
      EXPECT_EQ(s.c_str()[s.length()], '\0');
    }
  }
}

}  // namespace

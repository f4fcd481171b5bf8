// TulString: searching from any start, comparison, and texts across the
// room a short string keeps in itself.
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

TEST(StringTest, SubstrTakesWhatFitsAndNothingOutOfRange) {
  const TulString s("abcdef");
  const struct {
    int pos, count;
    const char* expected;
  } cases[] = {{2, -1, "cdef"}, {2, 0, ""}, {2, 2, "cd"}, {2, 99, "cdef"},
               {6, 1, ""},      {7, 1, ""}, {-1, 2, ""}, {0, 3, "abc"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.pos) + ", " + std::to_string(c.count));
    EXPECT_EQ(text(s.substr(c.pos, c.count)), c.expected);
  }
}

TEST(StringTest, CompareOrdersBytesAndIcompareFoldsOnlyAscii) {
  EXPECT_LT(TulString("abc").compare("abd"), 0);
  EXPECT_GT(TulString("abcd").compare(TulString("abc")), 0);
  EXPECT_LT(TulString("ab").compare(TulString("ab\0", 3)), 0);
  EXPECT_GT(TulString("\x80").compare("a"), 0);  // bytes compare unsigned
  EXPECT_EQ(TulString("HeLLo").icompare("hello"), 0);
  EXPECT_NE(TulString("\xC4").icompare("\xE4"), 0);
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

// The UTF-16 form keeps its buffer until the characters change: a string
// that grows must not be written past it (the sanitizer sees the overrun).
TEST(StringTest, WideFormFollowsAGrowingString) {
  const std::string longer(200, 'x');
  const struct {
    const char* name;
    void (*change)(TulString&, const std::string&);
    std::string expected;
  } cases[] = {
      {"assign", [](TulString& s, const std::string& t) { s = t.c_str(); }, longer},
      {"insert itself", [](TulString& s, const std::string&) { s.insert(2, s); }, "ababcdcd"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    TulString s("abcd");
    s.w_str();
    c.change(s, longer);
    EXPECT_EQ(text(s), c.expected);
    const std::u16string wide(reinterpret_cast<const char16_t*>(s.w_str()));
    EXPECT_EQ(wide, std::u16string(c.expected.begin(), c.expected.end()));
  }
}

}  // namespace

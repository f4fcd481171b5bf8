// The win32 class's machinery below the script: the generic __stdcall
// caller for every word count, and the words and result readers the table
// takes from the declarations.
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include <gtest/gtest.h>
#include <windows.h>

#include "tools/tul/win32_functions.h"
#include "tools/tul/win32_invoke.h"

namespace {

using Word = std::uint32_t;

// What the last probe received.
std::array<Word, kMaxWin32Words> gSeen;
int gSeenCount = -1;

template <std::size_t>
using WordAt = Word;

// A __stdcall function of exactly N words: a caller that pushes any other
// number leaves the stack unbalanced when the probe pops its own.
template <std::size_t... I>
Word WINAPI probe(WordAt<I>... w) {
  gSeen = {{w...}};
  gSeenCount = static_cast<int>(sizeof...(I));
  return 0xA5000000u + static_cast<Word>(sizeof...(I));
}

template <std::size_t... I>
Win32Proc probeOf(std::index_sequence<I...>) {
  return reinterpret_cast<Win32Proc>(&probe<I...>);
}

template <std::size_t... N>
std::array<Win32Proc, sizeof...(N)> allProbes(std::index_sequence<N...>) {
  return {{probeOf(std::make_index_sequence<N>{})...}};
}

const Win32Function* row(const char* name) {
  for (const Win32Function& f : win32Functions())
    if (std::strcmp(f.name, name) == 0) return &f;
  return nullptr;
}

TEST(StdcallCaller, PassesEveryWordInOrderForEveryCount) {
  const auto probes = allProbes(std::make_index_sequence<kMaxWin32Words + 1>{});
  std::array<Word, kMaxWin32Words> words;
  for (int i = 0; i < kMaxWin32Words; ++i) words[static_cast<std::size_t>(i)] = 0x100u * Word(i + 1) + 7u;
  for (int n = 0; n <= kMaxWin32Words; ++n) {
    gSeen.fill(0);
    Word result = callStdcall(probes[static_cast<std::size_t>(n)], words.data(), n);
    EXPECT_EQ(result, 0xA5000000u + Word(n)) << n << " words";
    ASSERT_EQ(gSeenCount, n);
    for (int i = 0; i < n; ++i)
      EXPECT_EQ(gSeen[static_cast<std::size_t>(i)], words[static_cast<std::size_t>(i)])
          << "word " << i << " of " << n;
  }
}

TEST(Win32Table, WordsCountStackSlotsNotParameters) {
  struct Case { const char* name; int words; };
  // A POINT by value (PtInRect, WindowFromPoint, ChildWindowFromPoint) takes
  // two words; narrow parameters (GetKeyState's int, MessageBeep's UINT) one.
  constexpr Case kCases[] = {
      {"GetLastError", 0}, {"SetLastError", 1}, {"GetKeyState", 1}, {"PtInRect", 3},
      {"WindowFromPoint", 2}, {"ChildWindowFromPoint", 3}, {"ScrollWindowEx", 8},
      {"CreateWindowExA", 12}, {"InitCommonControls", 0},
  };
  for (const Case& c : kCases) {
    const Win32Function* f = row(c.name);
    ASSERT_NE(f, nullptr) << c.name;
    EXPECT_EQ(f->words, c.words) << c.name;
  }
}

TEST(Win32Table, ResultsAreReadThroughTheDeclaredType) {
  struct Case { const char* name; Word raw; std::int32_t expected; };
  // The upper bits of a narrow result are whatever the callee left there.
  constexpr Case kCases[] = {
      {"GetKeyState", 0x1234FF80u, -128},            // SHORT: sign-extended
      {"RegisterClassA", 0xFFFFC001u, 0xC001},       // ATOM: zero-extended
      {"GetLastError", 0xFFFFFFFFu, -1},             // DWORD: the pattern, signed
      {"FindWindowA", 0x80000000u, INT32_MIN},       // a handle: the pattern
      {"SendMessageA", 0x7FFFFFFFu, 0x7FFFFFFF},
  };
  for (const Case& c : kCases) {
    const Win32Function* f = row(c.name);
    ASSERT_NE(f, nullptr) << c.name;
    ASSERT_NE(f->result, nullptr) << c.name;
    EXPECT_EQ(f->result(c.raw), c.expected) << c.name;
  }
  for (const char* none : {"SetLastError", "Sleep", "PostQuitMessage", "InitCommonControls"}) {
    ASSERT_NE(row(none), nullptr) << none;
    EXPECT_EQ(row(none)->result, nullptr) << none << " returns nothing";
  }
}

}  // namespace

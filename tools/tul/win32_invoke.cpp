// The generic __stdcall caller (see win32_invoke.h). Each word count has its
// own function type, Word(WINAPI*)(Word, ..., Word); the switch picks the one
// the count asks for, so the compiler emits the pushes and the call and the
// callee pops what it was given.
#include "tools/tul/win32_invoke.h"

#include <cassert>
#include <cstddef>
#include <utility>

#include <windows.h>

namespace {

using Word = std::uint32_t;

template <std::size_t>
using WordAt = Word;

template <std::size_t... I>
Word callWith(Win32Proc fn, const Word* w, std::index_sequence<I...>) {
  using Fn = Word(WINAPI*)(WordAt<I>...);
  return reinterpret_cast<Fn>(fn)(w[I]...);
}

template <std::size_t N>
Word callWords(Win32Proc fn, const Word* w) {
  return callWith(fn, w, std::make_index_sequence<N>{});
}

}  // namespace

std::uint32_t callStdcall(Win32Proc fn, const std::uint32_t* words, int count) {
  assert(fn && "no function to call");
  switch (count) {
    case 0: return callWords<0>(fn, words);
    case 1: return callWords<1>(fn, words);
    case 2: return callWords<2>(fn, words);
    case 3: return callWords<3>(fn, words);
    case 4: return callWords<4>(fn, words);
    case 5: return callWords<5>(fn, words);
    case 6: return callWords<6>(fn, words);
    case 7: return callWords<7>(fn, words);
    case 8: return callWords<8>(fn, words);
    case 9: return callWords<9>(fn, words);
    case 10: return callWords<10>(fn, words);
    case 11: return callWords<11>(fn, words);
    case 12: return callWords<12>(fn, words);
    case 13: return callWords<13>(fn, words);
    case 14: return callWords<14>(fn, words);
    default: break;
  }
  static_assert(kMaxWin32Words == 14, "one case per word count up to the maximum");
  assert(false && "more words than any function of the table takes");
  return 0;
}

// What a Win32 function's declaration tells the `win32` class: how many
// 32-bit stack words its parameters take and how to read its result from the
// 32-bit register it comes back in. Both are worked out from the type of
// `&::Name`, so the headers of the system (or of the Linux layer) are the
// only source of truth.
//
// Invariant: only __stdcall functions whose result fits the 32-bit register
// (or that return nothing) are accepted; anything else stops the build.
#pragma once

#include <cstdint>
#include <type_traits>

#include <windows.h>

#include "tools/tul/win32_invoke.h"

// Declared and never defined: a declaration of any other kind (a cdecl
// function, a macro that is not a function) has no words to count.
template <class F>
struct Win32Signature;

template <class R, class... Params>
struct Win32Signature<R(WINAPI*)(Params...)> {
  // A parameter takes whole 4-byte slots on the stack: a BOOL or a WORD one,
  // a POINT passed by value two.
  static constexpr int kWords = (0 + ... + static_cast<int>((sizeof(Params) + 3) / 4));
  using Result = R;

  static_assert(kWords <= kMaxWin32Words, "the caller has no case for this many words");
  static_assert(std::is_void_v<R> || std::is_integral_v<R> || std::is_enum_v<R> ||
                    std::is_pointer_v<R>,
                "only results that come back in the 32-bit integer register");
  static_assert(sizeof(std::conditional_t<std::is_void_v<R>, char, R>) <= 4,
                "results wider than 32 bits");
};

// The script's integer for a raw result register. The callee only sets as
// many bits as its result type has (an ATOM or a SHORT leaves the upper half
// of the register undefined), so the raw value goes through that type
// first: a SHORT comes out sign-extended, a WORD zero-extended.
template <class R>
std::int32_t win32ResultAs(std::uint32_t raw) {
  if constexpr (std::is_pointer_v<R>)
    return static_cast<std::int32_t>(raw);
  else
    return static_cast<std::int32_t>(static_cast<R>(raw));
}

// The reader for F's result; null when F returns nothing.
template <class F>
constexpr Win32Result win32ResultReader() {
  using R = typename Win32Signature<F>::Result;
  if constexpr (std::is_void_v<R>)
    return nullptr;
  else
    return &win32ResultAs<R>;
}

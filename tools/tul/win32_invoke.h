// Calling a __stdcall function whose parameters are given as 32-bit stack
// words, whatever its declared types: the part of the `win32` class that
// knows the calling convention.
//
// Invariant: a call pushes exactly the words the function takes. __stdcall
// functions pop their own parameters, so a count that differs from the
// function's own corrupts the stack; the table (win32_functions.h) supplies
// the count from the function's declaration.
#pragma once

#include <cstdint>

// The most words any function of the table takes (CreateFontA).
constexpr int kMaxWin32Words = 14;

// A function's address with its type erased; converted back to the right
// word count at the call. (`void (*)()` is the type that every function
// pointer may be cast to and from without a warning.)
using Win32Proc = void (*)();

// Reads a function's result from the raw 32-bit result register.
using Win32Result = std::int32_t (*)(std::uint32_t raw);

// Calls fn with count words (0 to kMaxWin32Words), the first word lowest on
// the stack, as a C caller passes the first parameter, and answers the raw
// result register (undefined for a function that returns nothing).
std::uint32_t callStdcall(Win32Proc fn, const std::uint32_t* words, int count);

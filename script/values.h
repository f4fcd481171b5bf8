// What the language does with plain host values: truth, equality, the
// arithmetic, bitwise and comparison operators, and the short type names
// and text forms that scripts see. Objects never reach these functions:
// the interpreter dispatches them to their operator hooks first.
//
// Invariant: integer results wrap at 32 bits; no operation here has
// undefined behaviour for any pair of inputs (INT_MIN / -1 included).
#pragma once

#include <cstdint>
#include <string>

#include "host/tul.h"
#include "script/lexer.h"

namespace tulscript {

struct Code;

// Numbers without a fraction part: every numeric tag but F32 and F64.
bool isIntegral(const TulValue& v);
bool isFloating(const TulValue& v);
// The exact value of an integral number (U32 keeps its unsigned value).
std::int64_t integralValue(const TulValue& v);

// nil, the empty value, 0 and 0.0 are false; everything else is true.
bool truthy(const TulValue& v);
// The same, with the common case of an integer inline.
inline bool isTrue(const TulValue& v) {
  return v.type() == TulValueType::I32 ? static_cast<int>(v) != 0 : truthy(v);
}

// Numbers by value, strings by content, nil and empty alike, everything
// else by identity.
bool valuesEqual(const TulValue& a, const TulValue& b);

// The binary operators on plain values (+ - * / % & | ^ << >> >>> and the
// four orderings). False with `error` set when the operator does not apply
// to the operands or an integer is divided by zero.
bool applyBinary(TokenKind op, const TulValue& a, const TulValue& b, TulValue& out,
                 std::string& error);
// The same for two 32-bit integers, the common case, without the checks
// the general case needs and with the results applyBinary gives; false,
// with r untouched, for a division or modulo by zero (applyBinary reports
// those) and for an operator that is not binary arithmetic or comparison.
// Always inlined: on the integer path its call would cost as much as the
// operation.
#if defined(__GNUC__)
__attribute__((always_inline))
#endif
inline bool intBinary(TokenKind op, std::int32_t x, std::int32_t y, std::int32_t& r) {
  const std::uint32_t ux = static_cast<std::uint32_t>(x), uy = static_cast<std::uint32_t>(y);
  switch (op) {
    case TokenKind::Plus: r = static_cast<std::int32_t>(ux + uy); return true;
    case TokenKind::Minus: r = static_cast<std::int32_t>(ux - uy); return true;
    case TokenKind::Star: r = static_cast<std::int32_t>(ux * uy); return true;
    // INT_MIN / -1 overflows in C++; it wraps to INT_MIN here.
    case TokenKind::Slash:
      if (y == 0) return false;
      r = y == -1 ? static_cast<std::int32_t>(0u - ux) : x / y;
      return true;
    case TokenKind::Percent:
      if (y == 0) return false;
      r = y == -1 ? 0 : x % y;
      return true;
    case TokenKind::Amp: r = static_cast<std::int32_t>(ux & uy); return true;
    case TokenKind::Pipe: r = static_cast<std::int32_t>(ux | uy); return true;
    case TokenKind::Caret: r = static_cast<std::int32_t>(ux ^ uy); return true;
    case TokenKind::Shl: r = static_cast<std::int32_t>(ux << (uy & 31)); return true;
    case TokenKind::UShr: r = static_cast<std::int32_t>(ux >> (uy & 31)); return true;
    case TokenKind::Shr: {
      // Arithmetic, written so it does not depend on how the compiler
      // shifts negative numbers.
      const std::uint32_t n = uy & 31;
      std::uint32_t u = ux >> n;
      if ((ux & 0x80000000u) && n) u |= ~(0xFFFFFFFFu >> n);
      r = static_cast<std::int32_t>(u);
      return true;
    }
    case TokenKind::Less: r = x < y; return true;
    case TokenKind::LessEq: r = x <= y; return true;
    case TokenKind::Greater: r = x > y; return true;
    case TokenKind::GreaterEq: r = x >= y; return true;
    case TokenKind::EqEq: r = x == y; return true;
    case TokenKind::BangEq: r = x != y; return true;
    default: return false;
  }
}
inline bool applyIntBinary(TokenKind op, std::int32_t x, std::int32_t y, TulValue& out) {
  std::int32_t r;
  if (!intBinary(op, x, y, r)) return false;
  out = TulValue(r);
  return true;
}

// Unary minus and plus, and ~.
bool applyUnary(TokenKind op, const TulValue& v, TulValue& out, std::string& error);

// The short name `typeof` gives: "nil", "int", "double", "string", ... For
// the type codes that only checkType understands: "number", "uint", "handle".
const char* typeTagName(TulValueType t);

// The shortest decimal form that reads back as the same double, with ".0"
// added to whole numbers: 1.5, 0.1, 3.0, 1e+21, inf, nan.
std::string formatDouble(double d);
// The text of a number.
std::string formatNumber(const TulValue& v);

// A string value holding a copy of the bytes.
TulValue makeString(const std::string& s);
TulValue makeString(const char* data, std::size_t size);
// The string literal i of code, as a value no one else holds: the string
// made for it last time when that one has been given back by everyone and
// still reads as the literal, else a new one.
TulValue literalString(const Code& code, std::size_t i);

}  // namespace tulscript

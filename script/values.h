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
// the general case needs; false for an operator it leaves to applyBinary
// (division and modulo, which may fail, and the shifts).
inline bool applyIntBinary(TokenKind op, std::int32_t x, std::int32_t y, TulValue& out) {
  const std::uint32_t ux = static_cast<std::uint32_t>(x), uy = static_cast<std::uint32_t>(y);
  switch (op) {
    case TokenKind::Plus: out = TulValue(static_cast<std::int32_t>(ux + uy)); return true;
    case TokenKind::Minus: out = TulValue(static_cast<std::int32_t>(ux - uy)); return true;
    case TokenKind::Star: out = TulValue(static_cast<std::int32_t>(ux * uy)); return true;
    case TokenKind::Amp: out = TulValue(static_cast<std::int32_t>(ux & uy)); return true;
    case TokenKind::Pipe: out = TulValue(static_cast<std::int32_t>(ux | uy)); return true;
    case TokenKind::Caret: out = TulValue(static_cast<std::int32_t>(ux ^ uy)); return true;
    case TokenKind::Less: out = TulValue(x < y ? 1 : 0); return true;
    case TokenKind::LessEq: out = TulValue(x <= y ? 1 : 0); return true;
    case TokenKind::Greater: out = TulValue(x > y ? 1 : 0); return true;
    case TokenKind::GreaterEq: out = TulValue(x >= y ? 1 : 0); return true;
    case TokenKind::EqEq: out = TulValue(x == y ? 1 : 0); return true;
    case TokenKind::BangEq: out = TulValue(x != y ? 1 : 0); return true;
    default: return false;
  }
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

}  // namespace tulscript

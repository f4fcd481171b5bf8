// Operators on plain values. Integer arithmetic is done on uint32_t, whose
// wrap-around is defined, and converted back; doubles follow IEEE rules
// (1.0 / 0 is inf), but an integer division or modulo by zero is an error.
#include "script/values.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "script/bytecode.h"

namespace tulscript {
namespace {

std::uint32_t bits(const TulValue& v) { return static_cast<std::uint32_t>(integralValue(v)); }
TulValue fromBits(std::uint32_t u) { return TulValue(static_cast<std::int32_t>(u)); }

TulString* stringOf(const TulValue& v) { return static_cast<TulString*>(v); }

std::string operandError(TokenKind op, const TulValue& a, const TulValue& b) {
  return std::string("cannot apply '") + tokenSpelling(op) + "' to " + typeTagName(a.type()) +
         " and " + typeTagName(b.type());
}

bool concatenate(const TulValue& a, const TulValue& b, TulValue& out) {
  std::string s = stringOf(a) ? std::string(stringOf(a)->c_str(), stringOf(a)->length())
                              : formatNumber(a);
  if (TulString* t = stringOf(b))
    s.append(t->c_str(), t->length());
  else
    s += formatNumber(b);
  out = makeString(s);
  return true;
}

bool integerOp(TokenKind op, const TulValue& a, const TulValue& b, TulValue& out,
               std::string& error) {
  std::uint32_t x = bits(a), y = bits(b);
  std::int32_t sx = static_cast<std::int32_t>(x), sy = static_cast<std::int32_t>(y);
  switch (op) {
    case TokenKind::Plus: out = fromBits(x + y); return true;
    case TokenKind::Minus: out = fromBits(x - y); return true;
    case TokenKind::Star: out = fromBits(x * y); return true;
    case TokenKind::Slash:
      if (y == 0) return (error = "division by zero", false);
      // INT_MIN / -1 overflows in C++; it wraps to INT_MIN here.
      out = sy == -1 ? fromBits(0u - x) : TulValue(sx / sy);
      return true;
    case TokenKind::Percent:
      if (y == 0) return (error = "modulo by zero", false);
      out = sy == -1 ? TulValue(0) : TulValue(sx % sy);
      return true;
    case TokenKind::Amp: out = fromBits(x & y); return true;
    case TokenKind::Pipe: out = fromBits(x | y); return true;
    case TokenKind::Caret: out = fromBits(x ^ y); return true;
    case TokenKind::Shl: out = fromBits(x << (y & 31)); return true;
    case TokenKind::UShr: out = fromBits(x >> (y & 31)); return true;
    case TokenKind::Shr: {
      // An arithmetic shift, written so it does not depend on how the
      // compiler shifts negative numbers.
      std::uint32_t n = y & 31;
      std::uint32_t r = x >> n;
      if ((x & 0x80000000u) && n) r |= ~(0xFFFFFFFFu >> n);
      out = fromBits(r);
      return true;
    }
    default: return false;
  }
}

bool doubleOp(TokenKind op, double x, double y, TulValue& out) {
  switch (op) {
    case TokenKind::Plus: out = TulValue(x + y); return true;
    case TokenKind::Minus: out = TulValue(x - y); return true;
    case TokenKind::Star: out = TulValue(x * y); return true;
    case TokenKind::Slash: out = TulValue(x / y); return true;
    case TokenKind::Percent: out = TulValue(std::fmod(x, y)); return true;
    default: return false;
  }
}

bool isOrdering(TokenKind op) {
  return op == TokenKind::Less || op == TokenKind::LessEq || op == TokenKind::Greater ||
         op == TokenKind::GreaterEq;
}

// -1, 0 or 1; false when the operands cannot be ordered (NaN included).
bool order(const TulValue& a, const TulValue& b, int& out) {
  if (isIntegral(a) && isIntegral(b)) {
    std::int64_t x = integralValue(a), y = integralValue(b);
    out = x < y ? -1 : x > y ? 1 : 0;
    return true;
  }
  if (a.isNumber() && b.isNumber()) {
    double x = static_cast<double>(a), y = static_cast<double>(b);
    if (std::isnan(x) || std::isnan(y)) return false;
    out = x < y ? -1 : x > y ? 1 : 0;
    return true;
  }
  TulString* s = stringOf(a);
  TulString* t = stringOf(b);
  if (!s || !t) return false;
  int c = s->compare(*t);
  out = c < 0 ? -1 : c > 0 ? 1 : 0;
  return true;
}

}  // namespace

bool isIntegral(const TulValue& v) { return v.isNumber() && !isFloating(v); }

bool isFloating(const TulValue& v) {
  return v.type() == TulValueType::F32 || v.type() == TulValueType::F64;
}

std::int64_t integralValue(const TulValue& v) {
  if (v.type() == TulValueType::U32) return static_cast<unsigned>(v);
  return static_cast<int>(v);
}

bool truthy(const TulValue& v) {
  if (v.type() == TulValueType::Nil || v.type() == TulValueType::Empty) return false;
  if (isFloating(v)) return static_cast<double>(v) != 0.0;
  if (v.isNumber()) return integralValue(v) != 0;
  return true;
}

bool valuesEqual(const TulValue& a, const TulValue& b) {
  if (a.isNumber() && b.isNumber()) {
    if (isIntegral(a) && isIntegral(b)) return integralValue(a) == integralValue(b);
    return static_cast<double>(a) == static_cast<double>(b);
  }
  bool aNone = a.type() == TulValueType::Nil || a.type() == TulValueType::Empty;
  bool bNone = b.type() == TulValueType::Nil || b.type() == TulValueType::Empty;
  if (aNone || bNone) return aNone && bNone;
  if (a.isObject() && b.isObject())
    return static_cast<TulObject*>(a) == static_cast<TulObject*>(b);
  if (a.type() != b.type()) return false;
  if (TulString* s = stringOf(a)) {
    TulString* t = stringOf(b);
    return s->length() == t->length() && std::memcmp(s->c_str(), t->c_str(), s->length()) == 0;
  }
  return a.refObject() == b.refObject();
}

bool applyBinary(TokenKind op, const TulValue& a, const TulValue& b, TulValue& out,
                 std::string& error) {
  if (isOrdering(op)) {
    int c = 0;
    if (!order(a, b, c)) {
      if (!(a.isNumber() && b.isNumber())) return (error = operandError(op, a, b), false);
      out = TulValue(0);  // NaN orders with nothing
      return true;
    }
    bool r = op == TokenKind::Less      ? c < 0
             : op == TokenKind::LessEq  ? c <= 0
             : op == TokenKind::Greater ? c > 0
                                        : c >= 0;
    out = TulValue(r ? 1 : 0);
    return true;
  }
  if (op == TokenKind::Plus && (stringOf(a) || stringOf(b)) &&
      (stringOf(a) || a.isNumber()) && (stringOf(b) || b.isNumber()))
    return concatenate(a, b, out);
  if (!a.isNumber() || !b.isNumber()) return (error = operandError(op, a, b), false);
  if (isIntegral(a) && isIntegral(b)) {
    if (integerOp(op, a, b, out, error)) return true;
    if (error.empty()) error = operandError(op, a, b);
    return false;
  }
  if (doubleOp(op, static_cast<double>(a), static_cast<double>(b), out)) return true;
  error = std::string("operator '") + tokenSpelling(op) + "' needs integers, got " +
          typeTagName(a.type()) + " and " + typeTagName(b.type());
  return false;
}

bool applyUnary(TokenKind op, const TulValue& v, TulValue& out, std::string& error) {
  if (!v.isNumber()) {
    error = std::string("cannot apply unary '") + tokenSpelling(op) + "' to " +
            typeTagName(v.type());
    return false;
  }
  if (op == TokenKind::Tilde) {
    if (isFloating(v)) return (error = "operator '~' needs an integer, got double", false);
    out = fromBits(~bits(v));
    return true;
  }
  if (op == TokenKind::Plus) {
    out = v;
    return true;
  }
  out = isFloating(v) ? TulValue(-static_cast<double>(v)) : fromBits(0u - bits(v));
  return true;
}

const char* typeTagName(TulValueType t) {
  switch (t) {
    case TulValueType::Nil: return "nil";
    case TulValueType::Empty: return "empty";
    case TulValueType::Number: return "number";
    case TulValueType::Int: return "int";
    case TulValueType::UInt: return "uint";
    case TulValueType::Handle: return "handle";
    case TulValueType::F32: case TulValueType::F64: return "double";
    case TulValueType::Object: case TulValueType::ObjectRef: return "object";
    case TulValueType::Class: return "class";
    case TulValueType::String: return "string";
    case TulValueType::Buffer: return "buffer";
    case TulValueType::CharBuffer: return "charbuffer";
    case TulValueType::Vector: return "vector";
    case TulValueType::Dictionary: return "dictionary";
    case TulValueType::DictEntry: return "dictentry";
    case TulValueType::Function: return "function";
    default: break;
  }
  if (isNumericTag(t)) return "int";
  return "unknown";
}

std::string formatDouble(double d) {
  if (std::isnan(d)) return "nan";
  if (std::isinf(d)) return d < 0 ? "-inf" : "inf";
  // The fewest significant digits that read back exactly...
  char buf[64];
  int digits = 1;
  for (; digits < 17; ++digits) {
    std::snprintf(buf, sizeof buf, "%.*e", digits - 1, d);
    if (std::strtod(buf, nullptr) == d) break;
  }
  std::snprintf(buf, sizeof buf, "%.*e", digits - 1, d);
  char* e = std::strchr(buf, 'e');
  int exponent = std::atoi(e + 1);
  // ...written out in full unless the number is very large or very small.
  // The exponent is written here: some C libraries give it three digits.
  if (exponent < -5 || exponent >= 17) {
    char tail[16];
    int magnitude = exponent < 0 ? -exponent : exponent;
    std::snprintf(tail, sizeof tail, "e%c%02d", exponent < 0 ? '-' : '+', magnitude);
    return std::string(buf, e) + tail;
  }
  int decimals = std::max(digits - 1 - exponent, 0);
  std::snprintf(buf, sizeof buf, "%.*f", decimals, d);
  std::string s = buf;
  if (decimals == 0) s += ".0";
  return s;
}

std::string formatNumber(const TulValue& v) {
  if (isFloating(v)) return formatDouble(static_cast<double>(v));
  return std::to_string(integralValue(v));
}

TulValue makeString(const std::string& s) { return makeString(s.data(), s.size()); }

TulValue makeString(const char* data, std::size_t size) {
  return TulValue(new TulString(data, static_cast<unsigned>(size)));
}

// A literal evaluated in a loop would otherwise make and free a string each
// time. The code keeps the last one; while its count is 1 the code is its
// only holder, so handing it out again is indistinguishable from a new
// string, provided its text is still the literal's: native code may write
// into a string it is given. Strings have no weak references, so a count
// of 1 leaves no one else who could see it.
TulValue literalString(const Code& code, std::size_t i) {
  if (code.literals.size() != code.strings.size()) code.literals.resize(code.strings.size());
  TulValue& kept = code.literals[i];
  const std::string& text = code.strings[i];
  const TulString* s = refIn<TulString>(kept, TulValueType::String);
  const bool reusable = s && s->refCount() == 1 && s->length() == text.size() &&
                        std::memcmp(s->c_str(), text.data(), text.size()) == 0;
  if (!reusable) kept = makeString(text);
  return kept;
}

}  // namespace tulscript

// The formatting constructor of TulString: printf-style conversions applied
// to script values taken from the value stack.
//
// Invariant: only the n values handed over are ever read, and only the
// conversions listed in kConversions reach the C library's snprintf, with
// widths and precisions already bounded; everything else is copied as text.
#include <cstdio>
#include <cstring>
#include <string>

#include "host/vm.h"
#include "runtime/runtime.h"

namespace {

// Bounds on widths and precisions, so a script cannot make one conversion
// allocate more than a few kilobytes.
constexpr int kMaxFieldWidth = 1000;
constexpr int kMaxPrecision = 1000;

constexpr const char* kFlags = "-+ #0";
constexpr const char* kLengthModifiers = "hlLqjzt";
constexpr const char* kConversions = "diuxXocsfeEgG";

// The script values to format, read in order; past the last one every read
// answers "missing".
class ValueSource {
 public:
  ValueSource(int n, ValPtr first) : first_(first), n_(n < 0 ? 0 : n) {}

  const TulValue* next() {
    if (used_ >= n_ || !first_.vec) return nullptr;
    const long long index = static_cast<long long>(first_.index) + used_++;
    if (index < 0 || index >= static_cast<long long>(first_.vec->size())) return nullptr;
    return &(*first_.vec)[static_cast<unsigned>(index)];
  }

 private:
  ValPtr first_;
  int n_;
  int used_ = 0;
};

// One parsed conversion: "%" flags width "." precision conversion.
struct Field {
  std::string flags;
  int width = -1;
  int precision = -1;  // -1: none given
  char conversion = 0;
};

int clampInt(long long v, int limit) { return v > limit ? limit : static_cast<int>(v); }

// Reads digits at p (moving p), saturating at limit.
int readNumber(const char*& p, int limit) {
  long long v = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    if (v <= limit) v = v * 10 + (*p - '0');
  }
  return clampInt(v, limit);
}

// A `*` width: negative means left-aligned, as in printf.
void takeStarWidth(Field& field, ValueSource& values) {
  const TulValue* v = values.next();
  const long long w = v ? static_cast<int>(*v) : 0;
  if (w < 0) field.flags += '-';
  field.width = clampInt(w < 0 ? -w : w, kMaxFieldWidth);
}

// Parses flags, width, precision and length modifiers from p; leaves p on the
// conversion character (or the terminating zero).
Field parseField(const char*& p, ValueSource& values) {
  Field field;
  for (; *p && std::strchr(kFlags, *p); ++p) field.flags += *p;
  if (*p == '*') {
    ++p;
    takeStarWidth(field, values);
  } else if (*p >= '0' && *p <= '9') {
    field.width = readNumber(p, kMaxFieldWidth);
  }
  if (*p == '.') {
    ++p;
    if (*p == '*') {
      ++p;
      const TulValue* v = values.next();
      const int prec = v ? static_cast<int>(*v) : 0;
      field.precision = prec < 0 ? -1 : clampInt(prec, kMaxPrecision);
    } else {
      field.precision = readNumber(p, kMaxPrecision);
    }
  }
  while (*p && std::strchr(kLengthModifiers, *p)) ++p;
  field.conversion = *p;
  return field;
}

// The C format for one number: flags, width and precision as parsed.
std::string cFormat(const Field& field, const char* conversion) {
  std::string f = "%" + field.flags;
  if (field.width >= 0) f += std::to_string(field.width);
  if (field.precision >= 0) f += "." + std::to_string(field.precision);
  return f + conversion;
}

template <class T>
std::string formatNumber(const std::string& cfmt, T v) {
  const int n = std::snprintf(nullptr, 0, cfmt.c_str(), v);
  if (n <= 0) return std::string();
  std::string out(static_cast<std::size_t>(n) + 1, '\0');
  std::snprintf(&out[0], out.size(), cfmt.c_str(), v);
  out.resize(static_cast<std::size_t>(n));
  return out;
}

std::string objectText(const TulValue& v) {
  auto* obj = static_cast<TulObject*>(v);
  if (!obj) return "nil";
  return std::string("<") + tulrt::className(obj->getClass()) + ">";
}

// The text %s gives a value: numbers as numbers, strings as themselves,
// objects as their class name in angle brackets.
std::string valueText(const TulValue& v) {
  switch (v.type()) {
    case TulValueType::Nil: return "nil";
    case TulValueType::Empty: return "";
    case TulValueType::U32: return std::to_string(static_cast<unsigned>(v));
    case TulValueType::F32:
    case TulValueType::F64: return formatNumber("%g", static_cast<double>(v));
    case TulValueType::Bool: return static_cast<int>(v) ? "true" : "false";
    case TulValueType::Char: return std::string(1, static_cast<char>(static_cast<int>(v)));
    case TulValueType::String: {
      auto* s = static_cast<TulString*>(v);
      return std::string(s->c_str(), s->length());
    }
    case TulValueType::Object:
    case TulValueType::ObjectRef: return objectText(v);
    case TulValueType::Class:
      return std::string("<class ") + tulrt::className(static_cast<TulClass*>(v)) + ">";
    default: break;
  }
  if (v.isNumber()) return std::to_string(static_cast<int>(v));
  return std::string("<") + tulrt::typeName(v.type()) + ">";
}

// %c: a number's character, or a string's first character; nothing for a
// zero code or anything else.
std::string charText(const TulValue* v) {
  if (!v) return std::string();
  if (v->type() == TulValueType::String) {
    auto* s = static_cast<TulString*>(*v);
    return s->length() ? std::string(1, s->c_str()[0]) : std::string();
  }
  const int code = v->isNumber() ? static_cast<int>(*v) : 0;
  return code ? std::string(1, static_cast<char>(code)) : std::string();
}

// Text conversions pad by hand: the text may hold zero bytes.
std::string padText(const Field& field, std::string text) {
  if (field.precision >= 0 && text.size() > static_cast<std::size_t>(field.precision))
    text.resize(static_cast<std::size_t>(field.precision));
  if (field.width < 0 || text.size() >= static_cast<std::size_t>(field.width)) return text;
  const std::string pad(static_cast<std::size_t>(field.width) - text.size(), ' ');
  const bool left = field.flags.find('-') != std::string::npos;
  return left ? text + pad : pad + text;
}

std::string convert(const Field& field, const TulValue* v) {
  const TulValue zero;
  const TulValue& value = v ? *v : zero;
  switch (field.conversion) {
    case 'd':
    case 'i': return formatNumber(cFormat(field, "d"), static_cast<int>(value));
    case 'u':
    case 'x':
    case 'X':
    case 'o': {
      const char conv[2] = {field.conversion, 0};
      return formatNumber(cFormat(field, conv), static_cast<unsigned>(value));
    }
    case 'c': {
      Field textField = field;
      textField.precision = -1;
      return padText(textField, charText(v));
    }
    case 's': return padText(field, v ? valueText(*v) : std::string());
    default: {
      const char conv[2] = {field.conversion, 0};
      return formatNumber(cFormat(field, conv), static_cast<double>(value));
    }
  }
}

}  // namespace

TulString::TulString(const char* format, int n, ValPtr first) : TulString() {
  if (!format) return;
  ValueSource values(n, first);
  std::string out;
  for (const char* p = format; *p;) {
    if (*p != '%') {
      out += *p++;
      continue;
    }
    const char* start = p++;
    if (*p == '%') {
      out += '%';
      ++p;
      continue;
    }
    const Field field = parseField(p, values);
    if (!field.conversion) {  // a field cut short by the end: copied as text
      out.append(start, p);
      break;
    }
    ++p;
    if (!std::strchr(kConversions, field.conversion)) {
      out.append(start, p);
      continue;
    }
    out += convert(field, values.next());
  }
  assign(out.data(), static_cast<unsigned>(out.size()));
}

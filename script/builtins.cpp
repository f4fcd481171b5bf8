// The built-in functions and predefined globals: print, str, typeof,
// classof, assert, exit, len, buffer, bytes and the few helpers scripts
// need (push, chr, format, int, double, readFile, writeFile), the `mem`
// functions that read and write process memory, ARGS and the Win32
// constants.
//
// The mem functions dereference whatever address they are given, as a
// native call would: they exist for tests and for simulating system calls,
// and an engine can leave them out (EngineOptions::allowMemoryAccess).
#include "script/interp.h"

#include <algorithm>
#include <charconv>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "script/files.h"
#include "script/values.h"
#include "script/win32_constants.h"

namespace tulscript {
namespace {

TulString* stringOf(const TulValue& v) { return static_cast<TulString*>(v); }

bool intArg(BuiltinCall& c, int i, std::int64_t& out) {
  if (!isIntegral(c.args[i]))
    return c.fail("argument " + std::to_string(i + 1) + " must be an integer, not " +
                  typeTagName(c.args[i].type()));
  out = integralValue(c.args[i]);
  return true;
}

bool builtin_print(BuiltinCall& c) {
  std::string line;
  for (int i = 0; i < c.argc; ++i) {
    if (i) line += ' ';
    if (!c.in.display(c.frame, c.line, c.args[i], line)) return false;
  }
  line += '\n';
  c.in.out() << line;
  return true;
}

bool builtin_str(BuiltinCall& c) {
  // An integer or a string, the commonest, straight into the new string.
  const TulValue& v = c.args[0];
  if (v.type() == TulValueType::I32) {
    char digits[16];
    const auto r = std::to_chars(digits, digits + sizeof digits, static_cast<int>(v));
    c.result = makeString(digits, static_cast<std::size_t>(r.ptr - digits));
    return true;
  }
  if (TulString* s = stringOf(v)) {
    c.result = makeString(s->c_str(), s->length());
    return true;
  }
  std::string text;
  if (!c.in.display(c.frame, c.line, c.args[0], text)) return false;
  c.result = makeString(text);
  return true;
}

bool builtin_typeof(BuiltinCall& c) {
  c.result = makeString(typeTagName(c.args[0].type()));
  return true;
}

bool builtin_classof(BuiltinCall& c) {
  const TulValue& v = c.args[0];
  if (TulClass* cls = static_cast<TulClass*>(v)) {
    c.result = makeString(tulrt::className(cls));
    return true;
  }
  TulObject* o = static_cast<TulObject*>(v);
  if (!o) return c.fail(std::string("expected an object, not ") + typeTagName(v.type()));
  c.result = makeString(tulrt::className(o->getClass()));
  return true;
}

bool builtin_assert(BuiltinCall& c) {
  if (truthy(c.args[0])) return true;
  std::string message = "assertion failed";
  if (c.argc > 1) {
    message += ": ";
    if (!c.in.display(c.frame, c.line, c.args[1], message)) return false;
  }
  return c.in.fail(c.frame, c.line, message);
}

bool builtin_exit(BuiltinCall& c) {
  std::int64_t code = 0;
  if (c.argc > 0 && !intArg(c, 0, code)) return false;
  return c.in.stopExit(static_cast<int>(code));
}

bool builtin_len(BuiltinCall& c) {
  const TulValue& v = c.args[0];
  unsigned n = 0;
  if (TulString* s = stringOf(v)) n = s->length();
  else if (TulVector* vec = static_cast<TulVector*>(v)) n = vec->size();
  else if (TulDictionary* d = static_cast<TulDictionary*>(v)) n = d->count();
  else if (TulBuffer* b = static_cast<TulBuffer*>(v)) n = b->size();
  else if (TulCharBuffer* cb = static_cast<TulCharBuffer*>(v)) n = cb->size();
  else
    return c.fail(std::string("expected a string, vector, dictionary or buffer, not ") +
                  typeTagName(v.type()));
  c.result = TulValue(static_cast<int>(n));
  return true;
}

bool builtin_buffer(BuiltinCall& c) {
  std::int64_t n = 0;
  if (!intArg(c, 0, n)) return false;
  if (n < 0) return c.fail("size must not be negative, got " + std::to_string(n));
  if (!c.in.checkSize(c.frame, c.line, static_cast<std::uint64_t>(n), "buffer")) return false;
  TulValue v(new TulBuffer());
  if (!static_cast<TulBuffer*>(v)->setSize(static_cast<unsigned>(n)))
    return c.fail("cannot allocate " + std::to_string(n) + " bytes");
  c.result = std::move(v);
  return true;
}

bool builtin_bytes(BuiltinCall& c) {
  const unsigned char* data = nullptr;
  unsigned n = 0;
  if (TulBuffer* b = static_cast<TulBuffer*>(c.args[0])) {
    data = b->data();
    n = b->size();
  } else if (TulCharBuffer* cb = static_cast<TulCharBuffer*>(c.args[0])) {
    data = reinterpret_cast<const unsigned char*>(cb->data());
    n = cb->size();
  } else {
    return c.fail(std::string("expected a buffer, not ") + typeTagName(c.args[0].type()));
  }
  TulValue v(new TulVector(n, false));
  for (unsigned i = 0; i < n; ++i) static_cast<TulVector*>(v)->push_back(TulValue(int(data[i])));
  c.result = std::move(v);
  return true;
}

bool builtin_push(BuiltinCall& c) {
  TulVector* v = static_cast<TulVector*>(c.args[0]);
  if (!v) return c.fail(std::string("expected a vector, not ") + typeTagName(c.args[0].type()));
  if (!c.in.checkSize(c.frame, c.line, std::uint64_t(v->size()) + 1, "vector")) return false;
  v->push_back(c.args[1]);
  c.result = TulValue(static_cast<int>(v->size()));
  return true;
}

bool builtin_chr(BuiltinCall& c) {
  std::int64_t code = 0;
  if (!intArg(c, 0, code)) return false;
  if (code < 0 || code > 255) return c.fail("character code out of range: " + std::to_string(code));
  char ch = static_cast<char>(code);
  c.result = makeString(&ch, 1);
  return true;
}

// printf-style formatting done by the host's own string formatting.
bool builtin_format(BuiltinCall& c) {
  TulString* fmt = stringOf(c.args[0]);
  if (!fmt) return c.fail(std::string("format must be a string, not ") + typeTagName(c.args[0].type()));
  TulVector values(static_cast<unsigned>(c.argc), false);
  for (int i = 1; i < c.argc; ++i) values.push_back(c.args[i]);
  TulValue v(new TulString(fmt->c_str(), c.argc - 1, ValPtr{&values, 0}));
  if (!c.in.checkSize(c.frame, c.line, static_cast<TulString*>(v)->length(), "string")) return false;
  c.result = std::move(v);
  return true;
}

bool builtin_int(BuiltinCall& c) {
  const TulValue& v = c.args[0];
  if (v.isNumber()) {
    c.result = isIntegral(v) ? TulValue(static_cast<int>(integralValue(v)))
                             : TulValue(static_cast<int>(v));
    return true;
  }
  TulString* s = stringOf(v);
  if (!s) return c.fail(std::string("cannot convert ") + typeTagName(v.type()) + " to an integer");
  const char* text = s->c_str();
  char* end = nullptr;
  errno = 0;
  long long n = std::strtoll(text, &end, 0);
  bool hex = std::strchr(text, 'x') || std::strchr(text, 'X');
  if (end == text || *end != '\0' || errno == ERANGE || n > (hex ? 0xFFFFFFFFll : 0x7FFFFFFFll) ||
      n < -0x80000000ll)
    return c.fail(std::string("cannot convert \"") + text + "\" to an integer");
  c.result = TulValue(static_cast<std::int32_t>(static_cast<std::uint32_t>(n)));
  return true;
}

bool builtin_double(BuiltinCall& c) {
  const TulValue& v = c.args[0];
  if (v.isNumber()) {
    c.result = TulValue(static_cast<double>(v));
    return true;
  }
  TulString* s = stringOf(v);
  if (!s) return c.fail(std::string("cannot convert ") + typeTagName(v.type()) + " to a double");
  char* end = nullptr;
  double d = std::strtod(s->c_str(), &end);
  if (end == s->c_str() || *end != '\0')
    return c.fail(std::string("cannot convert \"") + s->c_str() + "\" to a double");
  c.result = TulValue(d);
  return true;
}

// --- files ------------------------------------------------------------------

// A file name: a string, whole up to its end (the system's names stop at a
// zero byte, which would name another file).
bool pathArg(BuiltinCall& c, std::string& out) {
  TulString* s = stringOf(c.args[0]);
  if (!s)
    return c.fail(std::string("argument 1 must be a string, not ") + typeTagName(c.args[0].type()));
  out.assign(s->c_str(), s->length());
  if (out.empty()) return c.fail("the path is empty");
  if (out.find('\0') != std::string::npos) return c.fail("the path holds a zero byte");
  return true;
}

bool builtin_readFile(BuiltinCall& c) {
  std::string path;
  if (!pathArg(c, path)) return false;
  std::uint64_t limit = kMaxFileBytes;
  if (c.in.options().maxAllocation) limit = std::min<std::uint64_t>(limit, c.in.options().maxAllocation);
  std::string data, error;
  switch (readWholeFile(path, limit, data, error)) {
  case FileRead::Failed: return c.fail(error);
  case FileRead::TooLarge:
    return c.fail("cannot read " + path + ": the file is larger than " + std::to_string(limit) +
                  " bytes");
  case FileRead::Read: break;
  }
  c.result = makeString(data);
  return true;
}

// Gives the number of bytes written.
bool builtin_writeFile(BuiltinCall& c) {
  std::string path;
  if (!pathArg(c, path)) return false;
  const TulValue& text = c.args[1];
  const char* bytes = nullptr;
  std::size_t n = 0;
  if (TulString* s = stringOf(text)) {
    bytes = s->c_str();
    n = s->length();
  } else if (TulBuffer* b = static_cast<TulBuffer*>(text)) {
    bytes = reinterpret_cast<const char*>(b->data());
    n = b->size();
  } else if (TulCharBuffer* cb = static_cast<TulCharBuffer*>(text)) {
    bytes = cb->data();
    n = cb->size();
  } else {
    return c.fail(std::string("argument 2 must be a string or a buffer, not ") +
                  typeTagName(text.type()));
  }
  std::string error;
  if (!replaceFile(path, bytes, n, error)) return c.fail(error);
  c.result = TulValue(static_cast<int>(n));
  return true;
}

// --- mem --------------------------------------------------------------------

bool address(BuiltinCall& c, void*& out) {
  std::int64_t a = 0;
  if (!intArg(c, 0, a)) return false;
  if (a == 0) return c.fail("null address");
  out = reinterpret_cast<void*>(static_cast<std::uintptr_t>(static_cast<std::uint32_t>(a)));
  return true;
}

template <class T>
bool memRead(BuiltinCall& c) {
  void* p = nullptr;
  if (!address(c, p)) return false;
  T value;
  std::memcpy(&value, p, sizeof value);
  c.result = TulValue(value);
  return true;
}

bool mem_read8(BuiltinCall& c) {
  void* p = nullptr;
  if (!address(c, p)) return false;
  c.result = TulValue(static_cast<int>(*static_cast<unsigned char*>(p)));
  return true;
}

bool mem_read16(BuiltinCall& c) {
  void* p = nullptr;
  if (!address(c, p)) return false;
  std::uint16_t value;
  std::memcpy(&value, p, sizeof value);
  c.result = TulValue(static_cast<int>(value));
  return true;
}

template <class T>
bool memWrite(BuiltinCall& c, T value) {
  void* p = nullptr;
  if (!address(c, p)) return false;
  std::memcpy(p, &value, sizeof value);
  return true;
}

bool numberArg(BuiltinCall& c, int i) {
  if (c.args[i].isNumber()) return true;
  return c.fail("argument " + std::to_string(i + 1) + " must be a number, not " +
                typeTagName(c.args[i].type()));
}

std::uint32_t lowBits(const TulValue& v) {
  return isIntegral(v) ? static_cast<std::uint32_t>(integralValue(v)) : static_cast<unsigned>(v);
}

bool mem_write8(BuiltinCall& c) {
  return numberArg(c, 1) && memWrite(c, static_cast<std::uint8_t>(lowBits(c.args[1])));
}
bool mem_write16(BuiltinCall& c) {
  return numberArg(c, 1) && memWrite(c, static_cast<std::uint16_t>(lowBits(c.args[1])));
}
bool mem_write32(BuiltinCall& c) {
  return numberArg(c, 1) && memWrite(c, lowBits(c.args[1]));
}
bool mem_writeDouble(BuiltinCall& c) {
  return numberArg(c, 1) && memWrite(c, static_cast<double>(c.args[1]));
}

// The address a native call receives for a buffer, char buffer or string:
// where its bytes or characters lie.
bool mem_address(BuiltinCall& c) {
  const TulValue& v = c.args[0];
  TulValueType t = v.type();
  if (t != TulValueType::Buffer && t != TulValueType::CharBuffer && t != TulValueType::String)
    return c.fail(std::string("expected a buffer or a string, not ") + typeTagName(t));
  TulValue copy = v;
  c.result = TulValue(static_cast<int>(reinterpret_cast<std::uintptr_t>(copy.addr())));
  return true;
}

struct BuiltinRow {
  const char* name;
  BuiltinFn fn;
  int minArgs;
  int maxArgs;  // -1: any number
};

constexpr BuiltinRow kBuiltins[] = {
    {"print", builtin_print, 0, -1},   {"str", builtin_str, 1, 1},
    {"typeof", builtin_typeof, 1, 1},  {"classof", builtin_classof, 1, 1},
    {"assert", builtin_assert, 1, 2},  {"exit", builtin_exit, 0, 1},
    {"len", builtin_len, 1, 1},        {"buffer", builtin_buffer, 1, 1},
    {"bytes", builtin_bytes, 1, 1},    {"push", builtin_push, 2, 2},
    {"chr", builtin_chr, 1, 1},        {"format", builtin_format, 1, -1},
    {"int", builtin_int, 1, 1},        {"double", builtin_double, 1, 1},
    {"readFile", builtin_readFile, 1, 1}, {"writeFile", builtin_writeFile, 2, 2},
};

constexpr BuiltinRow kMemFunctions[] = {
    {"mem.address", mem_address, 1, 1},
    {"mem.read8", mem_read8, 1, 1},
    {"mem.read16", mem_read16, 1, 1},
    {"mem.read32", memRead<std::int32_t>, 1, 1},
    {"mem.readDouble", memRead<double>, 1, 1},
    {"mem.write8", mem_write8, 2, 2},
    {"mem.write16", mem_write16, 2, 2},
    {"mem.write32", mem_write32, 2, 2},
    {"mem.writeDouble", mem_writeDouble, 2, 2},
};

TulValue functionValueOf(const BuiltinRow& row) {
  return TulValue::fromRef(TulValueType::Function,
                           new FunctionObject(row.name, row.fn, row.minArgs, row.maxArgs));
}

}  // namespace

extern const BuiltinFn kBuiltinLen = builtin_len;
extern const BuiltinFn kBuiltinPush = builtin_push;

void Interp::defineBuiltins() {
  for (const BuiltinRow& row : kBuiltins) {
    builtins_.push_back(functionValueOf(row));
    defineGlobal(row.name, builtins_.back());
  }
  if (opts_.allowMemoryAccess) {
    TulValue mem(new TulDictionary());
    for (const BuiltinRow& row : kMemFunctions) {
      builtins_.push_back(functionValueOf(row));
      *(*static_cast<TulDictionary*>(mem))[row.name + 4] = builtins_.back();
    }
    defineGlobal("mem", mem);
  }
  for (const NamedConstant& c : kWin32Constants) defineGlobal(c.name, TulValue(c.value));
}

}  // namespace tulscript

// String: a script text type over one host string in `_str`. Results of the
// operators and substr are new objects of the class of `this`, made without
// running a script constructor, so a script class derived from String gets
// results of its own class.
//
// Invariant: no method changes `_str` before all of its checks have passed.
#include <climits>
#include <cstring>
#include <utility>

#include "module/classes.h"
#include "module/errors.h"
#include "module/frame.h"

namespace {

char charOf(const TulValue& v) {
  return static_cast<char>(static_cast<int>(v) & 0xFF);
}

TulString* text(Frame& f) {
  return f.memberAs<TulString>(Member::StringStr, TulValueType::String);
}

// The string a value holds, or null: what the host's
// getStringFromValueExtern answers, read inline since most calls pass one.
TulString* stringIn(const TulValue& v) { return refIn<TulString>(v, TulValueType::String); }

// A string argument, or a bad-type report (string expected) and null.
TulString* stringArg(Frame& f, int i) {
  TulString* s = stringIn(f.arg(i));
  if (!s) f.badType(f.arg(i), TulValueType::String);
  return s;
}

// The result: a new object of the class of `this` holding the string text.
bool newString(Frame& f, TulValue text) {
  TulValue obj = newObjectWith(f.self()->getClass(), Member::StringStr, std::move(text));
  if (obj.type() == TulValueType::Nil) return f.badType(TulValue(), TulValueType::String);
  return f.ret(std::move(obj));
}

bool string_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, INT_MAX)) return false;
  TulValue* slot = f.member(Member::StringStr);
  if (!slot) return f.badType(TulValue(), TulValueType::String);
  if (f.argCount() == 0) {
    *slot = TulValue(new TulString());
    return f.retSelf();
  }
  TulString* format = stringArg(f, 0);
  if (!format) return false;
  if (f.argCount() == 1) {
    // A string that only this frame holds (a literal, say) becomes the
    // object's own: no one else can see it change.
    *slot = format->refCount() == 1 ? std::move(f.arg(0)) : TulValue(new TulString(*format));
    return f.retSelf();
  }
  *slot = TulValue(new TulString(format->c_str(), f.argCount() - 1, f.argCursor(1)));
  return f.retSelf();
}

// The text argument of + : a string first, then a character.
template <bool Right>
bool string_add(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulString* s = stringIn(f.arg(0));
  bool isChar = !s && isCharacter(f.arg(0));
  if (!s && !isChar) return f.badType(f.arg(0), TulValueType::String);
  TulString* mine = text(f);
  if (!mine) return false;
  auto* result = new TulString(*mine);
  TulValue owner(result);
  if (Right && s) result->insert(0, *s);
  if (Right && isChar) result->insert(0, charOf(f.arg(0)), 1);
  if (!Right && s) *result += s->c_str();  // up to its first zero character
  if (!Right && isChar) *result += charOf(f.arg(0));
  return newString(f, std::move(owner));
}

bool string_vref(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulString* s = text(f);
  int index;
  if (!s || !f.intArg(0, index)) return false;
  if (index < 0 || static_cast<unsigned>(index) >= s->length())
    return f.fail(err::kSubscriptOutOfRange);
  return f.retInt(static_cast<signed char>(s->c_str()[index]));
}

bool string_vset(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, 2)) return false;
  TulString* s = text(f);
  int index, code;
  if (!s || !f.intArg(0, index) || !f.intArg(1, code)) return false;
  if (index < 0 || static_cast<unsigned>(index) >= s->length())
    return f.fail(err::kSubscriptOutOfRange);
  s->data()[index] = static_cast<char>(code & 0xFF);
  return f.retNothing();
}

template <bool IgnoreCase>
bool string_compare(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulString* s = text(f);
  TulString* other = s ? stringArg(f, 0) : nullptr;
  if (!other) return false;
  return f.retInt(IgnoreCase ? s->icompare(*other) : s->compare(*other));
}

bool string_length(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulString* s = text(f);
  if (!s) return false;
  return f.ret(TulValue(s->length()));
}

bool string_c_str(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulString* s = text(f);
  if (!s) return false;
  // The flag marks the integer as the address of a string's characters.
  return f.ret(TulValue(static_cast<int>(reinterpret_cast<std::uintptr_t>(s->c_str())), true));
}

bool string_c_buf(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulString* s = text(f);
  if (!s) return false;
  unsigned n = s->length() + 1;
  auto* buf = new TulCharBuffer(n);
  TulValue result(buf);
  std::strncpy(buf->data(), s->c_str(), n);
  buf->adjustSize();
  return f.ret(result);
}

// a_buf and w_buf: the 8-bit form with its zero byte, or the UTF-16 form with
// its zero unit, never more than the form holds.
template <bool Wide>
bool string_buffer(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulString* s = text(f);
  if (!s) return false;
  unsigned n = Wide ? 2 * s->length() + 2 : s->length() + 1;
  auto* buf = new TulBuffer(n);
  TulValue result(buf);
  buf->setSize(n);
  const void* form = Wide ? static_cast<const void*>(s->w_str())
                          : static_cast<const void*>(s->a_str());
  std::memcpy(buf->data(), form, n);
  return f.ret(result);
}

bool string_clear(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulString* s = text(f);
  if (!s) return false;
  s->clear();
  return f.retNothing();
}

bool string_substr(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 2)) return false;
  TulString* s = text(f);
  int pos, count = -1;
  if (!s || !f.intArg(0, pos)) return false;
  if (f.argCount() == 2 && !f.intArg(1, count)) return false;
  return newString(f, TulValue(new TulString(*s, pos, count)));
}

bool string_find(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 2)) return false;
  TulString* s = text(f);
  int start = 0;
  if (!s) return false;
  if (f.argCount() == 2 && !f.intArg(1, start)) return false;
  if (isCharacter(f.arg(0))) return f.retInt(s->find(charOf(f.arg(0)), start));
  TulString* what = stringArg(f, 0);
  if (!what) return false;
  return f.retInt(s->find(*what, start));
}

bool string_replace(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, 2)) return false;
  TulString* s = text(f);
  if (!s) return false;
  if (isCharacter(f.arg(0))) {
    int to;
    if (!f.intArg(1, to)) return false;
    s->replace(charOf(f.arg(0)), static_cast<char>(to & 0xFF));
    return f.retSelf();
  }
  TulString* from = stringArg(f, 0);
  if (!from) return false;
  TulString* to = stringArg(f, 1);
  if (!to) return false;
  s->replace(*from, *to);
  return f.retSelf();
}

bool string_insert(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, 3)) return false;
  TulString* s = text(f);
  int pos;
  if (!s || !f.intArg(0, pos)) return false;
  if (isCharacter(f.arg(1))) {
    int count = 1;
    if (f.argCount() == 3 && !f.intArg(2, count)) return false;
    s->insert(pos, charOf(f.arg(1)), count);
    return f.retSelf();
  }
  if (f.argCount() == 3) return f.fail(err::kTooMany);
  TulString* what = stringArg(f, 1);
  if (!what) return false;
  s->insert(pos, *what);
  return f.retSelf();
}

bool string_append(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulString* s = text(f);
  if (!s) return false;
  if (isCharacter(f.arg(0))) {
    *s += charOf(f.arg(0));
    return f.retSelf();
  }
  TulString* what = stringArg(f, 0);
  if (!what) return false;
  *s += *what;
  return f.retSelf();
}

bool string_toString(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulString* s = text(f);
  if (!s) return false;
  return f.ret(TulValue(new TulString(*s)));
}

constexpr MemberRow kStringMembers[] = {{"_str", Member::StringStr}};

constexpr MethodRow kStringMethods[] = {
    {"String", string_new},
    {"OP_ADD", string_add<false>},
    {"OP_ADD_R", string_add<true>},
    {"OP_VREF", string_vref},
    {"OP_VSET", string_vset},
    {"compare", string_compare<false>},
    {"icompare", string_compare<true>},
    {"length", string_length},
    {"c_str", string_c_str},
    {"c_buf", string_c_buf},
    {"a_buf", string_buffer<false>},
    {"w_buf", string_buffer<true>},
    {"clear", string_clear},
    {"substr", string_substr},
    {"find", string_find},
    {"replace", string_replace},
    {"insert", string_insert},
    {"append", string_append},
    {"toString", string_toString},
    {"string", string_toString},
};

}  // namespace

const ClassSpec kStringSpec = {"String", nullptr, kStringMembers, {}, kStringMethods, {}};

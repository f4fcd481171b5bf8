// The language's operations on values, for the VM's slow paths (see
// operations.h).
#include "script/operations.h"

#include <algorithm>
#include <vector>

#include "script/values.h"

#if defined(__GNUC__)
#  define TUL_NOINLINE __attribute__((noinline))
#else
#  define TUL_NOINLINE
#endif

namespace tulscript {
namespace ops {
namespace {

const char* classNameOf(TulClass* cls) { return tulrt::className(cls); }

std::string quoted(const std::string& name) { return "'" + name + "'"; }

// --- operator hooks ---------------------------------------------------------

TUL_NOINLINE bool callHook(Interp& in, Frame& f, int line, const TulValue& obj,
                           const char* hook, const char* op, const TulValue* args, int n,
                           TulValue& out) {
  TulObject* o = objectOf(obj);
  if (!o) return deadObject(in, f, line);
  TulClass* cls = o->getClass();
  const Interp::HookSite& h = in.resolveHook(cls, hook);
  if (!h.present)
    return in.fail(f, line, std::string("operator '") + op + "' is not defined for class " +
                                classNameOf(cls) + " (no method " + hook + ")");
  const FunctionDecl* method = h.site.fn;
  if (!method || n > static_cast<int>(method->params.size()))
    return in.callMethod(f, line, &obj, cls, hook, args, n, out);
  // A script hook runs as a method call site's method does: the object and
  // the arguments copied into its frame, since obj may be a variable the
  // hook's body reassigns.
  TulClass* owner = h.site.owner;
  const TulValue self(obj);
  SlotFrame frame(in.slotStack(), frameSlots(*method, n));
  for (int i = 0; i < n; ++i) frame.slots()[i] = args[i];
  return in.callMethodInPlace(f, line, *method, owner, self, frame.slots(), out);
}

bool objectOperandError(Interp& in, Frame& f, int line, const char* op, const TulValue& obj) {
  TulObject* o = objectOf(obj);
  if (!o) return deadObject(in, f, line);
  return in.fail(f, line, std::string("operator '") + op + "' is not defined for class " +
                              classNameOf(o->getClass()));
}

// --- elements -----------------------------------------------------------------

// An element index of a sequence of `size` elements; `append` allows size.
bool elementIndex(Interp& in, Frame& f, int line, const TulValue& key, unsigned size,
                  const char* what, bool append, unsigned& index) {
  // Whole doubles count as integers, as the host's own checks count them.
  if (!key.isInteger())
    return in.fail(f, line, std::string(what) + " index must be an integer, not " +
                                typeTagName(key.type()));
  std::int64_t i = isIntegral(key) ? integralValue(key)
                                   : static_cast<std::int64_t>(static_cast<double>(key));
  std::int64_t limit = static_cast<std::int64_t>(size) + (append ? 1 : 0);
  if (i < 0 || i >= limit)
    return in.fail(f, line, "index " + std::to_string(i) + " out of range for " + what +
                                " of size " + std::to_string(size));
  index = static_cast<unsigned>(i);
  return true;
}

bool byteValue(Interp& in, Frame& f, int line, const TulValue& v, const char* what,
               unsigned char& out) {
  if (!v.isNumber())
    return in.fail(f, line, std::string("a ") + what + " element must be a number, not " +
                                typeTagName(v.type()));
  out = static_cast<unsigned char>(static_cast<unsigned>(v) & 0xFFu);
  return true;
}

// --- calls by name ------------------------------------------------------------------

// `this.Base(args)` where Base is a class the object derives from: runs
// the constructor Base defines, or the one it inherits.
bool ancestorConstructor(TulClass* cls, const std::string& name, TulClass*& owner,
                         std::string& ctor) {
  TulClass* c = cls;
  while (c && name != classNameOf(c)) c = tulrt::baseClass(c);
  if (!c) return false;
  for (owner = c; owner; owner = tulrt::baseClass(owner)) {
    ctor = classNameOf(owner);
    std::vector<std::string> own = tulrt::ownMethodNames(owner);
    if (std::find(own.begin(), own.end(), ctor) != own.end()) return true;
  }
  ctor.clear();
  return true;
}

bool callOnObject(Interp& in, Frame& f, int line, const TulValue& obj, const std::string& name,
                  const TulValue* args, int n, TulValue& out) {
  TulObject* o = objectOf(obj);
  if (!o) return deadObject(in, f, line);
  TulClass* cls = o->getClass();
  if (tulrt::hasMethod(cls, name.c_str()))
    return in.callMethod(f, line, &obj, cls, name.c_str(), args, n, out);
  TulClass* owner = nullptr;
  std::string ctor;
  if (ancestorConstructor(cls, name, owner, ctor)) {
    if (!ctor.empty() && !in.callMethod(f, line, &obj, owner, ctor.c_str(), args, n, out))
      return false;
    out = obj;
    return true;
  }
  if (tulrt::hasMethod(cls, name.c_str(), true))
    return in.fail(f, line, quoted(name) + " is a static method of class " + classNameOf(cls) +
                                "; call it as " + classNameOf(cls) + "." + name + "(...)");
  return in.fail(f, line, std::string("class ") + classNameOf(cls) + " has no method " +
                              quoted(name));
}

bool callOnClass(Interp& in, Frame& f, int line, TulClass* cls, const std::string& name,
                 const TulValue* args, int n, TulValue& out) {
  if (tulrt::hasMethod(cls, name.c_str(), true))
    return in.callMethod(f, line, nullptr, cls, name.c_str(), args, n, out);
  if (tulrt::hasMethod(cls, name.c_str()))
    return in.fail(f, line, quoted(name) + " is not a static method of class " +
                                classNameOf(cls) + "; call it on an object");
  return in.fail(f, line, std::string("class ") + classNameOf(cls) + " has no static method " +
                              quoted(name));
}

}  // namespace

bool deadObject(Interp& in, Frame& f, int line) {
  return in.fail(f, line, "the object this reference pointed to no longer exists");
}

// --- operators ------------------------------------------------------------------

bool binary(Interp& in, Frame& f, int line, TokenKind op, const TulValue& a, const TulValue& b,
            TulValue& out) {
  if (a.type() == TulValueType::I32 && b.type() == TulValueType::I32 &&
      applyIntBinary(op, static_cast<int>(a), static_cast<int>(b), out))
    return true;
  if (op == TokenKind::EqEq || op == TokenKind::BangEq) {
    const bool eq = valuesEqual(a, b);
    out = TulValue((op == TokenKind::EqEq) == eq ? 1 : 0);
    return true;
  }
  if (op == TokenKind::Plus) {
    if (a.isObject()) return callHook(in, f, line, a, "OP_ADD", "+", &b, 1, out);
    if (b.isObject()) return callHook(in, f, line, b, "OP_ADD_R", "+", &a, 1, out);
  }
  if (op == TokenKind::Minus && a.isObject())
    return callHook(in, f, line, a, "OP_SUB", "-", &b, 1, out);
  if (a.isObject()) return objectOperandError(in, f, line, tokenSpelling(op), a);
  if (b.isObject()) return objectOperandError(in, f, line, tokenSpelling(op), b);
  std::string error;
  if (!applyBinary(op, a, b, out, error)) return in.fail(f, line, error);
  if (TulString* s = stringOf(out)) return in.checkSize(f, line, s->length(), "string");
  return true;
}

bool unary(Interp& in, Frame& f, int line, TokenKind op, const TulValue& v, TulValue& out) {
  if (op == TokenKind::Bang) {
    out = TulValue(isTrue(v) ? 0 : 1);
    return true;
  }
  if (v.isObject()) return objectOperandError(in, f, line, tokenSpelling(op), v);
  std::string error;
  if (!applyUnary(op, v, out, error)) return in.fail(f, line, error);
  return true;
}

// ++a on an object is a = a.OP_INC() and gives the new a; a++ is
// tmp = a; a = a.OP_PINC() and gives tmp.
bool stepped(Interp& in, Frame& f, int line, bool increment, bool prefix, const TulValue& old,
             TulValue& out) {
  const char* op = increment ? "++" : "--";
  const TokenKind arith = increment ? TokenKind::Plus : TokenKind::Minus;
  if (old.isObject()) {
    if (!increment) return objectOperandError(in, f, line, op, old);
    return callHook(in, f, line, old, prefix ? "OP_INC" : "OP_PINC", op, nullptr, 0, out);
  }
  if (old.type() == TulValueType::I32 && applyIntBinary(arith, static_cast<int>(old), 1, out))
    return true;
  if (!old.isNumber())
    return in.fail(f, line, std::string("cannot apply '") + op + "' to " +
                                typeTagName(old.type()));
  std::string error;
  if (!applyBinary(arith, old, TulValue(1), out, error)) return in.fail(f, line, error);
  return true;
}

// --- members and elements -----------------------------------------------------

bool memberSlot(Interp& in, Frame& f, int line, const TulValue& obj, const std::string& name,
                SiteCache& site, bool forWrite, TulValue*& slot) {
  if (obj.isObject()) {
    TulObject* o = objectOf(obj);
    if (!o) return deadObject(in, f, line);
    TulClass* cls = o->getClass();
    if (site.cls != cls || site.epoch != in.classEpoch()) {
      site.cls = cls;
      site.epoch = in.classEpoch();
      site.index = cls->getMemberIndex(TulString(name.c_str()));
    }
    const int index = site.index;
    TulVector* data = o->getMemberData();
    if (index >= 0 && data && static_cast<unsigned>(index) < data->size()) {
      slot = &(*data)[static_cast<unsigned>(index)];
      return true;
    }
    if (tulrt::hasMethod(cls, name.c_str()))
      return in.fail(f, line, quoted(name) + " is a method of class " + classNameOf(cls) +
                                  "; call it with " + name + "(...)");
    return in.fail(f, line, std::string("class ") + classNameOf(cls) +
                                " has no data member " + quoted(name));
  }
  if (TulClass* cls = static_cast<TulClass*>(obj)) {
    slot = tulrt::findStatic(cls, name.c_str());
    if (slot) return true;
    return in.fail(f, line, std::string("class ") + classNameOf(cls) +
                                " has no static data member " + quoted(name));
  }
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulDictionaryEntry* e = forWrite ? (*d)[name.c_str()] : d->find(name.c_str());
    slot = e ? &e->value : nullptr;
    return true;
  }
  return in.fail(f, line, std::string(forWrite ? "cannot assign member " : "cannot read member ") +
                              quoted(name) + " of " + typeTagName(obj.type()));
}

bool dictionaryKey(Interp& in, Frame& f, int line, const TulValue& key, TulString*& out) {
  out = stringOf(key);
  if (out) return true;
  return in.fail(f, line, std::string("dictionary key must be a string, not ") +
                              typeTagName(key.type()));
}

bool readIndex(Interp& in, Frame& f, int line, const TulValue& obj, const TulValue& key,
               TulValue& out) {
  if (obj.isObject()) return callHook(in, f, line, obj, "OP_VREF", "[]", &key, 1, out);
  unsigned i = 0;
  if (TulVector* v = static_cast<TulVector*>(obj)) {
    if (!elementIndex(in, f, line, key, v->size(), "vector", false, i)) return false;
    out = (*v)[i];
    return true;
  }
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulString* k = nullptr;
    if (!dictionaryKey(in, f, line, key, k)) return false;
    TulDictionaryEntry* e = d->find(*k);
    out = e ? e->value : TulValue();
    return true;
  }
  if (TulString* s = stringOf(obj)) {
    if (!elementIndex(in, f, line, key, s->length(), "string", false, i)) return false;
    out = TulValue(static_cast<int>(static_cast<unsigned char>(s->c_str()[i])));
    return true;
  }
  if (TulBuffer* b = static_cast<TulBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "buffer", false, i)) return false;
    out = TulValue(static_cast<int>(b->data()[i]));
    return true;
  }
  if (TulCharBuffer* b = static_cast<TulCharBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "charbuffer", false, i)) return false;
    out = TulValue(static_cast<int>(static_cast<unsigned char>(b->data()[i])));
    return true;
  }
  return in.fail(f, line, std::string("cannot index ") + typeTagName(obj.type()));
}

bool writeIndex(Interp& in, Frame& f, int line, const TulValue& obj, const TulValue& key,
                const TulValue& v) {
  if (obj.isObject()) {
    TulValue args[2] = {key, v};
    TulValue ignored;
    return callHook(in, f, line, obj, "OP_VSET", "[]=", args, 2, ignored);
  }
  unsigned i = 0;
  if (TulVector* vec = static_cast<TulVector*>(obj)) {
    if (!elementIndex(in, f, line, key, vec->size(), "vector", true, i)) return false;
    if (i < vec->size()) {
      (*vec)[i] = v;
      return true;
    }
    if (!in.checkSize(f, line, std::uint64_t(i) + 1, "vector")) return false;
    vec->push_back(v);
    return true;
  }
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulString* k = nullptr;
    if (!dictionaryKey(in, f, line, key, k)) return false;
    *(*d)[*k] = v;
    return true;
  }
  unsigned char byte = 0;
  if (TulBuffer* b = static_cast<TulBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "buffer", false, i)) return false;
    if (!byteValue(in, f, line, v, "buffer", byte)) return false;
    b->data()[i] = byte;
    return true;
  }
  if (TulCharBuffer* b = static_cast<TulCharBuffer*>(obj)) {
    if (!elementIndex(in, f, line, key, b->size(), "charbuffer", false, i)) return false;
    if (!byteValue(in, f, line, v, "charbuffer", byte)) return false;
    b->data()[i] = static_cast<char>(byte);
    return true;
  }
  if (stringOf(obj)) return in.fail(f, line, "strings are read-only: cannot assign an element");
  return in.fail(f, line, std::string("cannot assign an element of ") + typeTagName(obj.type()));
}

// --- calls by name ------------------------------------------------------------------

bool callNamed(Interp& in, Frame& f, int line, const TulValue& obj, const std::string& name,
               const TulValue* args, int n, TulValue& out) {
  if (obj.isObject()) return callOnObject(in, f, line, obj, name, args, n, out);
  if (TulClass* cls = static_cast<TulClass*>(obj))
    return callOnClass(in, f, line, cls, name, args, n, out);
  if (TulDictionary* d = static_cast<TulDictionary*>(obj)) {
    TulDictionaryEntry* entry = d->find(name.c_str());
    if (!entry) return in.fail(f, line, "dictionary has no member " + quoted(name));
    TulValue callee = entry->value;
    return in.callValue(f, line, callee, args, n, out, name);
  }
  return in.fail(f, line, "cannot call method " + quoted(name) + " on " +
                              typeTagName(obj.type()));
}

// A native method of the base is called as the site found it (while no
// class binds a method); a script one goes by name through the runtime,
// which holds it for the call.
bool callBase(Interp& in, Frame& f, int line, const std::string& name, NativeSite& site,
              TulValue* args, int n, TulValue& out) {
  TulClass* base = f.cls ? tulrt::baseClass(f.cls) : nullptr;
  if (NativeMethod fn = base ? in.nativeAt(site, base, name) : nullptr)
    return in.callNative(f, line, f.thisValue(), fn, args, n, out);
  if (!base || !tulrt::hasMethod(base, name.c_str()))
    return in.fail(f, line, std::string("base class ") + (base ? classNameOf(base) : "?") +
                                " has no method " + quoted(name));
  return in.callMethod(f, line, &f.thisValue(), base, name.c_str(), args, n, out);
}

// --- throw and for ... in -------------------------------------------------------------

bool raise(Interp& in, Frame& f, int line, const TulValue& v) {
  ScriptError e;
  e.file = f.program->fileName;
  e.line = lineIn(f, line);
  // Throwing a caught error again keeps its texts.
  TulDictionary* d = static_cast<TulDictionary*>(v);
  TulDictionaryEntry* message = d ? d->find("message") : nullptr;
  if (message && stringOf(message->value)) {
    e.message = stringOf(message->value)->c_str();
    TulDictionaryEntry* detail = d->find("detail");
    if (detail && stringOf(detail->value)) {
      e.hasDetail = true;
      e.detail = stringOf(detail->value)->c_str();
    }
  } else if (!in.display(f, line, v, e.message)) {
    return false;
  }
  return in.failWith(std::move(e));
}

// Vectors give their values, read afresh each turn so the body may change
// the vector; dictionaries give the keys they had when the loop began,
// skipping those erased meanwhile.
bool forInStart(Interp& in, Frame& f, int line, const TulValue& seq, TulValue& keys) {
  if (static_cast<TulVector*>(seq)) return true;
  TulDictionary* d = static_cast<TulDictionary*>(seq);
  if (!d)
    return in.fail(f, line, std::string("cannot iterate over ") + typeTagName(seq.type()) +
                                " (for ... in takes a vector or a dictionary)");
  TulValue list(new TulVector(d->count(), false));
  TulVector* v = static_cast<TulVector*>(list);
  for (TulDictionaryEntry* e = d->getFirst(); e; e = e->next)
    v->push_back(makeString(e->key.c_str(), e->key.length()));
  keys = std::move(list);
  return true;
}

bool forInNext(Interp& in, Frame& f, int line, const TulValue& seq, const TulValue& keys,
               TulValue& position, TulValue& item, bool& more) {
  unsigned i = static_cast<unsigned>(static_cast<int>(position));
  more = false;
  if (TulVector* v = static_cast<TulVector*>(seq)) {
    if (i >= v->size()) return true;
    if (!in.step(f, line)) return false;
    item = (*v)[i];
    position = TulValue(static_cast<int>(i + 1));
    more = true;
    return true;
  }
  TulDictionary* d = static_cast<TulDictionary*>(seq);
  const TulVector* list = static_cast<TulVector*>(keys);
  for (; i < list->size(); ++i) {
    if (!in.step(f, line)) return false;
    const TulValue& key = (*list)[i];
    if (!d->find(*static_cast<TulString*>(key))) continue;
    item = key;
    position = TulValue(static_cast<int>(i + 1));
    more = true;
    return true;
  }
  position = TulValue(static_cast<int>(i));
  return true;
}

}  // namespace ops
}  // namespace tulscript

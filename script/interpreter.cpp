// The call machinery shared by the VM and the runtime's calls into script
// code: frames for script functions and methods, built-ins, method lookup
// for call sites and operator hooks, calls through the runtime, and the
// text print() and str() show.
#include "script/interp.h"

#include <algorithm>
#include <cassert>

#include "script/operations.h"
#include "script/values.h"

namespace tulscript {
namespace {

const char* classNameOf(TulClass* cls) { return tulrt::className(cls); }

std::string quoted(const std::string& name) { return "'" + name + "'"; }

using ops::objectOf;
using ops::stringOf;

}  // namespace

bool Interp::runProgram(const Program& p) {
  // The file's slots lie on the slot stack like a function's, so that a
  // call made at the top level hands its arguments over where they lie.
  SlotFrame slots(slotStack_, static_cast<std::size_t>(p.code.frameSize));
  Frame f;
  f.program = &p;
  f.slots = slots.slots();
  // Functions of a file exist before its first statement runs, so they may
  // call each other whatever their order.
  for (const HoistedFunction& h : p.hoisted) defineGlobal(h.name, functionValue(*h.fn));
  return run(p.code, f) != Flow::Fail;
}

// A global read before its definition: a class the module registered is
// visible under its name.
bool Interp::readUndefined(int global, Frame& f, int line, TulValue& out) {
  const std::string& name = globalNames_[static_cast<std::size_t>(global)];
  if (TulClass* cls = vm_->findClass(name.c_str())) {
    out = TulValue(cls);
    return true;
  }
  return fail(f, line, "undefined variable " + quoted(name));
}

bool Interp::writeUndeclared(const std::string& name, Frame& f, int line) {
  return fail(f, line, "assignment to undeclared variable " + quoted(name) +
                           " (declare it with var)");
}

// A built-in checks its argument count here, so each one sees only the
// counts it accepts.
bool Interp::callBuiltin(Frame& f, int line, const FunctionObject& fn, const TulValue* args,
                         int n, TulValue& out) {
  if (n < fn.minArgs() || (fn.maxArgs() >= 0 && n > fn.maxArgs())) {
    std::string want = fn.minArgs() == fn.maxArgs() ? std::to_string(fn.minArgs())
                       : fn.maxArgs() < 0 ? "at least " + std::to_string(fn.minArgs())
                                          : std::to_string(fn.minArgs()) + " to " +
                                                std::to_string(fn.maxArgs());
    bool one = want == "1" || (want.size() > 2 && want.compare(want.size() - 2, 2, " 1") == 0);
    return fail(f, line, fn.name() + ": expected " + want + " argument" + (one ? "" : "s") +
                             ", got " + std::to_string(n));
  }
  out = TulValue();
  BuiltinCall call{*this, f, line, fn.builtinName(), args, n, out};
  return fn.builtin()(call);
}

bool Interp::callValue(Frame& f, int line, const TulValue& callee, const TulValue* args, int n,
                       TulValue& out, const std::string& calleeName) {
  if (FunctionObject* fn = functionOf(callee)) {
    if (fn->builtin()) return callBuiltin(f, line, *fn, args, n, out);
    const FunctionDecl& decl = *fn->decl();
    SlotFrame frame(slotStack_, frameSlots(decl, n));
    std::copy(args, args + n, frame.slots());
    return callFunctionInPlace(f, line, decl, frame.slots(), n, out);
  }
  if (TulClass* cls = static_cast<TulClass*>(callee)) {
    std::vector<TulValue> copied(args, args + n);
    return createObject(f, line, cls, copied.data(), n, out);
  }
  std::string what = calleeName.empty()
                         ? "a value of type " + std::string(typeTagName(callee.type()))
                         : quoted(calleeName) + " (" + typeTagName(callee.type()) + ")";
  return fail(f, line, "cannot call " + what + ": not a function or class");
}

bool Interp::callValue(Frame& f, int line, const TulValue& callee, TulValue* args, int n,
                       TulValue& out, const std::string& calleeName) {
  if (TulClass* cls = static_cast<TulClass*>(callee))
    return createObject(f, line, cls, args, n, out);
  return callValue(f, line, callee, static_cast<const TulValue*>(args), n, out, calleeName);
}

bool Interp::createObject(Frame& f, int line, TulClass* cls, TulValue* args, int n,
                          TulValue& out) {
  Forwarded outer = haveForwarded_ ? enterNativeCall() : nullptr;
  bool ok = vm_->interp().create(out, cls, args, n);
  // As for callNative: the common case has nothing to hand back.
  return (ok && !outer && !haveForwarded_) || leaveNativeCall(f, line, ok, std::move(outer));
}

bool Interp::callScript(const FunctionDecl& fn, const TulValue& self, TulClass* cls,
                        const TulValue* args, int n, TulValue& out) {
  SlotFrame frame(slotStack_, static_cast<std::size_t>(fn.code.frameSize));
  TulValue* slots = frame.slots();
  // The slots come nil: the arguments are copied in, not assigned. The
  // caller (methodArguments) has refused more arguments than parameters.
  assert(n <= fn.code.params);
  for (int i = 0; i < n; ++i) new (&slots[i]) TulValue(args[i]);
  return runFrame(fn, slots, &self, cls, out);
}

bool Interp::tooManyArguments(const Frame& f, int line, const FunctionDecl& fn, int n) {
  return fail(f, line, "too many arguments to " +
                           (fn.name.empty() ? std::string("function") : quoted(fn.name)) +
                           " (takes " + std::to_string(fn.params.size()) + ", got " +
                           std::to_string(n) + ")");
}

bool Interp::methodsTooDeep(const Frame& f, int line) {
  if (methodDepth_ + *hostDepth_ < tulrt::kMaxCallDepth) return false;
  fail(f, line, "stack overflow");
  return true;
}

void Interp::resolveMethodSlow(SiteCache& site, TulClass* cls, const std::string& name) {
  site.cls = cls;
  site.epoch = classEpoch_;
  site.fn = nullptr;
  site.owner = nullptr;
  for (TulClass* c = cls; c; c = tulrt::baseClass(c)) {
    auto script = scriptMethods_.find(c);
    if (script == scriptMethods_.end()) {
      std::vector<std::string> own = tulrt::ownMethodNames(c);
      if (std::find(own.begin(), own.end(), name) != own.end()) return;  // native
      continue;
    }
    auto m = script->second.find(name);
    if (m == script->second.end()) continue;
    site.fn = m->second;
    site.owner = c;
    return;
  }
}

const Interp::HookSite& Interp::resolveHook(TulClass* cls, const char* hook) {
  HookSite& h = hooks_[{cls, hook}];
  if (h.site.cls == cls && h.site.epoch == classEpoch_) return h;
  h.present = tulrt::hasMethod(cls, hook);
  resolveMethod(h.site, cls, hook);
  return h;
}

bool Interp::callMethod(Frame& f, int line, const TulValue* self, TulClass* cls,
                        const char* name, const TulValue* args, int n, TulValue& out) {
  if (!enterCall(f, line)) return false;
  TulValue result;
  Forwarded outer = enterNativeCall();
  bool ok = vm_->interp().call(result, cls, name, self, args, n);
  leaveCall();
  if (!leaveNativeCall(f, line, ok, std::move(outer))) return false;
  out = std::move(result);
  return true;
}

void Interp::findNative(NativeSite& site, TulClass* cls, const std::string& name) {
  site.cls = cls;
  site.generation = *methodGeneration_;
  site.fn = tulrt::findNativeMethod(cls, name.c_str());
}

namespace {

// The text of a value that is not a container or an object.
bool displayPlain(const TulValue& v, std::string& out, int depth) {
  switch (v.type()) {
    case TulValueType::Nil: case TulValueType::Empty: out += "nil"; return true;
    case TulValueType::String: {
      TulString* s = stringOf(v);
      if (depth > 0) out += '"';
      out.append(s->c_str(), s->length());
      if (depth > 0) out += '"';
      return true;
    }
    case TulValueType::Class:
      out += std::string("<class ") + classNameOf(static_cast<TulClass*>(v)) + ">";
      return true;
    case TulValueType::Function: {
      std::string name = functionOf(v) ? functionOf(v)->name() : "";
      out += name.empty() ? "<function>" : "<function " + name + ">";
      return true;
    }
    case TulValueType::Buffer:
      out += "<buffer of " + std::to_string(static_cast<TulBuffer*>(v)->size()) + " bytes>";
      return true;
    case TulValueType::CharBuffer:
      out += "<charbuffer of " + std::to_string(static_cast<TulCharBuffer*>(v)->size()) + " chars>";
      return true;
    case TulValueType::DictEntry:
      out += std::string("<dictentry ") + static_cast<TulDictionaryEntry*>(v)->key.c_str() + ">";
      return true;
    default: break;
  }
  if (v.isNumber()) {
    out += formatNumber(v);
    return true;
  }
  if (v.isObject() || static_cast<TulVector*>(v) || static_cast<TulDictionary*>(v)) return false;
  out += std::string("<") + typeTagName(v.type()) + ">";
  return true;
}

}  // namespace

// An object shows through its toString() when its class has one.
bool Interp::displayObject(Frame& f, int line, const TulValue& v, std::string& out, int depth) {
  TulObject* o = objectOf(v);
  if (!o) {
    out += "<gone object>";
    return true;
  }
  TulClass* cls = o->getClass();
  TulValue text;
  // A native toString (String's), found once per class.
  if (NativeMethod native = nativeAt(toStringSite_, cls, kToString)) {
    if (!callNative(f, line, v, native, nullptr, 0, text)) return false;
    return displayText(f, line, text, out, depth);
  }
  if (!tulrt::hasMethod(cls, "toString")) {
    out += std::string("<") + classNameOf(cls) + " object>";
    return true;
  }
  if (!callMethod(f, line, &v, cls, "toString", nullptr, 0, text)) return false;
  return displayText(f, line, text, out, depth);
}

// What an object's toString gave: its characters when it is a string.
bool Interp::displayText(Frame& f, int line, const TulValue& text, std::string& out, int depth) {
  if (TulString* s = stringOf(text)) {
    out.append(s->c_str(), s->length());
    return true;
  }
  return display(f, line, text, out, depth + 1);
}

// Containers show as literals; one met again inside itself shows as [...]
// or {...}, and nesting past a depth is cut short the same way.
bool Interp::displayContainer(Frame& f, int line, const TulValue& v, std::string& out,
                              int depth) {
  TulVector* vec = static_cast<TulVector*>(v);
  TulDictionary* dict = static_cast<TulDictionary*>(v);
  const void* id = v.refObject();
  if (depth > kMaxDisplayDepth ||
      std::find(displaying_.begin(), displaying_.end(), id) != displaying_.end()) {
    out += vec ? "[...]" : "{...}";
    return true;
  }
  displaying_.push_back(id);
  bool ok = true;
  out += vec ? "[" : "{";
  if (vec) {
    for (unsigned i = 0; ok && i < vec->size(); ++i) {
      if (i) out += ", ";
      TulValue item = (*vec)[i];
      ok = display(f, line, item, out, depth + 1);
    }
  } else {
    for (TulDictionaryEntry* e = dict->getFirst(); ok && e; e = e->next) {
      if (e != dict->getFirst()) out += ", ";
      out += '"';
      out.append(e->key.c_str(), e->key.length());
      out += "\": ";
      TulValue item = e->value;
      ok = display(f, line, item, out, depth + 1);
    }
  }
  out += vec ? "]" : "}";
  displaying_.pop_back();
  return ok;
}

bool Interp::display(Frame& f, int line, const TulValue& v, std::string& out, int depth) {
  if (displayPlain(v, out, depth)) return true;
  if (v.isObject()) return displayObject(f, line, v, out, depth);
  return displayContainer(f, line, v, out, depth);
}

TulValue Interp::functionValue(const FunctionDecl& fn) {
  std::shared_ptr<const Program> program = programs_[static_cast<std::size_t>(fn.program->fileIndex)];
  return TulValue::fromRef(TulValueType::Function, new FunctionObject(std::move(program), &fn));
}

FunctionObject* functionOf(const TulValue& v) {
  if (v.type() != TulValueType::Function) return nullptr;
  return static_cast<FunctionObject*>(v.refObject());
}

}  // namespace tulscript

// Script classes: member layout, static members, method tables and the
// lookups through the class chain, plus the class introspection of runtime.h.
//
// Invariant: the chain of bases never loops (setBaseClass refuses a cycle),
// so every walk up the chain ends.
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

#if defined(__ELF__)
#include <link.h>
#endif

#include "runtime/machine_impl.h"

using tulrt::detail::newMethodGeneration;
using tulrt::detail::report;

// The method generation (see MethodLookupCache); starts at 1 so that an
// unfilled slot never matches. 64 bits: it cannot wrap round to an old one.
std::uint64_t tulrt::detail::gMethodGeneration = 1;

namespace {

using tulrt::detail::gMethodGeneration;

const TulClassState& stateOf(const TulClass* cls) { return cls->state(); }

const TulClass* baseOf(const TulClass* cls) { return stateOf(cls).base.get(); }

bool missingName(const char* name) { return !name || !*name; }

// The base's layout, then the class's own members; a name already taken
// keeps its first index.
void rebuildLayout(TulClassState& s) {
  s.layout = s.base ? s.base->state().layout : std::vector<std::string>{};
  s.layout.insert(s.layout.end(), s.ownMembers.begin(), s.ownMembers.end());
  s.memberIndex.clear();
  for (std::size_t i = 0; i < s.layout.size(); ++i)
    s.memberIndex.emplace(s.layout[i], static_cast<int>(i));
}

bool bindMethod(TulClass* cls, bool isStatic, const char* name, NativeMethod native,
                std::shared_ptr<const tulrt::ScriptMethod> script) {
  if (!cls) return false;
  TulClassState& s = cls->state();
  if (missingName(name) || (!native && !(script && *script)))
    return report(s.machine, "Method binding needs a name and a function");
  (isStatic ? s.staticMethods : s.methods).bind(name, native, std::move(script));
  return true;
}

}  // namespace

// --- MethodTable ------------------------------------------------------------

void MethodTable::bind(const char* name, NativeMethod native,
                       std::shared_ptr<const tulrt::ScriptMethod> script) {
  newMethodGeneration();
  auto it = index_.find(name);
  if (it == index_.end()) {
    entries_.push_back(MethodEntry{name, native, std::move(script)});
    index_.emplace(entries_.back().name, entries_.size() - 1);
    return;
  }
  MethodEntry& e = entries_[it->second];
  e.native = native;
  if (e.script) retired_.push_back(std::move(e.script));
  e.script = std::move(script);
}

const MethodEntry* MethodTable::find(const char* name) const {
  auto it = index_.find(name);
  return it == index_.end() ? nullptr : &entries_[it->second];
}

std::vector<std::string> MethodTable::names() const {
  std::vector<std::string> out;
  for (const MethodEntry& e : entries_) out.push_back(e.name);
  return out;
}

void MethodTable::clear() {
  newMethodGeneration();
  index_.clear();
  entries_.clear();
  retired_.clear();
}

// --- TulClass ---------------------------------------------------------------

// The machine keeps the class (one reference) until it is torn down, so a
// class that never gets registered is freed all the same.
TulClass::TulClass(TulVirtualMachine& vm) : state_(new TulClassState) {
  state_->vm = &vm;
  state_->machine = &tulrt::detail::implOf(&vm);
  state_->statics = tulrt::Ref<TulDictionary>(new TulDictionary(false));
  state_->machine->classList.push_back(this);
  retain();
}

TulClass::~TulClass() {
  newMethodGeneration();
  delete state_;
}

TulVirtualMachine& TulClass::getVM() { return *state_->vm; }

const TulString& TulClass::getName() const { return state_->name; }

bool TulClass::addDataMember(const char* name) {
  if (missingName(name)) return report(state_->machine, "Data member needs a name");
  if (state_->memberIndex.count(name))
    return report(state_->machine, std::string("Data member ") + name + " already defined");
  state_->ownMembers.push_back(name);
  rebuildLayout(*state_);
  return true;
}

bool TulClass::addStaticDataMember(const char* name, const TulValue& initial) {
  if (missingName(name)) return report(state_->machine, "Static member needs a name");
  if (state_->statics->find(name))
    return report(state_->machine, std::string("Static member ") + name + " already defined");
  (*state_->statics)[name]->value = initial;
  return true;
}

bool TulClass::addMethod(const char* name, NativeMethod fn, unsigned char) {
  return bindMethod(this, false, name, fn, nullptr);
}

bool TulClass::addStaticMethod(const char* name, NativeMethod fn, unsigned char) {
  return bindMethod(this, true, name, fn, nullptr);
}

bool TulClass::setBaseClass(TulClass* base) {
  if (!base || base->isSubtypeOf(this))
    return report(state_->machine, std::string("Invalid base class for ") + state_->name.c_str());
  state_->base = tulrt::Ref<TulClass>(base);
  newMethodGeneration();
  rebuildLayout(*state_);
  return true;
}

// Bases first, so members a base gained since are picked up all the way up.
void TulClass::fixupDataDefs() {
  if (state_->base) state_->base->fixupDataDefs();
  rebuildLayout(*state_);
}

int TulClass::getMemberIndex(const TulString& name) {
  auto it = state_->memberIndex.find(std::string(name.c_str(), name.length()));
  return it == state_->memberIndex.end() ? -1 : it->second;
}

TulDictionaryEntry* TulClass::findOwnMember(const TulString& name, bool) {
  return state_->statics->find(name);
}

bool TulClass::isSubtypeOf(const TulString& className) {
  for (const TulClass* c = this; c; c = baseOf(c))
    if (stateOf(c).name.compare(className) == 0) return true;
  return false;
}

bool TulClass::isSubtypeOf(TulClass* other) {
  for (const TulClass* c = this; c; c = baseOf(c))
    if (c == other) return true;
  return false;
}

// --- Lookup and introspection -----------------------------------------------

namespace tulrt {
namespace detail {

namespace {

const MethodEntry* findInChain(const TulClass* cls, const char* name, bool isStatic) {
  for (const TulClass* c = cls; c; c = baseOf(c)) {
    const TulClassState& s = stateOf(c);
    if (const MethodEntry* e = (isStatic ? s.staticMethods : s.methods).find(name)) return e;
  }
  return nullptr;
}

// A miss is looked up through the chain; only a method found is remembered,
// so a name no class binds always takes the long way (and reports).
const MethodEntry* cachedFind(const TulClass* cls, const char* name, bool isStatic) {
  if (const MethodEntry* e = cachedEntry(cls, name, isStatic)) return e;
  const MethodEntry* e = findInChain(cls, name, isStatic);
  auto& slots = isStatic ? cls->state().lookups.statics : cls->state().lookups.instance;
  if (e)
    slots[cacheSlotOf(name)] =
        MethodLookupCache::Slot{name, e, gMethodGeneration, fixedText(name, e->name.size() + 1)};
  return e;
}

}  // namespace

void newMethodGeneration() { ++gMethodGeneration; }

#if defined(__ELF__)
namespace {

// The loaded segments of the main program (the first object the loader
// lists) that are mapped without write access: a program has a few (read
// only, code, read only again); one with more has the rest compared as
// any name is. Plain data, so nothing destroys it before a lookup made
// from another static's destructor.
struct ReadOnlyRanges {
  struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
  };
  Range range[8];
  unsigned count;
};

ReadOnlyRanges readOnlyProgramRanges() {
  ReadOnlyRanges ranges{};
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* out) {
        auto& r = *static_cast<ReadOnlyRanges*>(out);
        for (ElfW(Half) i = 0; i < info->dlpi_phnum; ++i) {
          const ElfW(Phdr)& ph = info->dlpi_phdr[i];
          if (ph.p_type != PT_LOAD || (ph.p_flags & PF_W)) continue;
          if (r.count == std::size(r.range)) break;
          const std::uintptr_t begin = info->dlpi_addr + ph.p_vaddr;
          r.range[r.count++] = {begin, begin + ph.p_memsz};
        }
        return 1;
      },
      &ranges);
  return ranges;
}

}  // namespace

bool fixedText(const char* text, std::size_t size) {
  static const ReadOnlyRanges ranges = readOnlyProgramRanges();
  const auto a = reinterpret_cast<std::uintptr_t>(text);
  for (unsigned i = 0; i < ranges.count; ++i) {
    const ReadOnlyRanges::Range& r = ranges.range[i];
    if (a >= r.begin && a < r.end && size <= r.end - a) return true;
  }
  return false;
}
#else
bool fixedText(const char*, std::size_t) { return false; }
#endif

Callee findMethod(const TulClass* cls, const char* name, bool isStatic) {
  const MethodEntry* e = findEntry(cls, name, isStatic);
  return e ? Callee{e->native, e->script.get()} : Callee{};
}

const MethodEntry* findEntry(const TulClass* cls, const char* name, bool isStatic) {
  return name && cls ? cachedFind(cls, name, isStatic) : nullptr;
}

// The site remembers one class: a site that sees several takes the class's
// own cache for the others, as a call by name would.
const MethodEntry* findMethodAtSlowly(const TulClass* cls, TulCallSite& site) {
  if (!site.name || !cls) return nullptr;
  const MethodEntry* e = cachedFind(cls, site.name, false);
  if (e) {
    site.cls = cls;
    site.method = e;
    site.generation = gMethodGeneration;
    site.native = e->native;
    site.generationNow = &gMethodGeneration;
  }
  return e;
}

}  // namespace detail

bool addScriptMethod(TulClass* cls, const char* name, ScriptMethod fn) {
  return bindMethod(cls, false, name, nullptr,
                    std::make_shared<const ScriptMethod>(std::move(fn)));
}

bool addStaticScriptMethod(TulClass* cls, const char* name, ScriptMethod fn) {
  return bindMethod(cls, true, name, nullptr,
                    std::make_shared<const ScriptMethod>(std::move(fn)));
}

const char* className(const TulClass* cls) {
  return cls ? stateOf(cls).name.c_str() : "";
}

TulClass* baseClass(const TulClass* cls) {
  return cls ? stateOf(cls).base.get() : nullptr;
}

std::vector<std::string> dataMemberNames(const TulClass* cls) {
  return cls ? stateOf(cls).layout : std::vector<std::string>{};
}

std::vector<std::string> staticMemberNames(const TulClass* cls) {
  std::vector<std::string> out;
  if (!cls) return out;
  for (const TulDictionaryEntry* e = stateOf(cls).statics->getFirst(); e; e = e->next)
    out.emplace_back(e->key.c_str(), e->key.length());
  return out;
}

std::vector<std::string> ownMethodNames(const TulClass* cls) {
  return cls ? stateOf(cls).methods.names() : std::vector<std::string>{};
}

std::vector<std::string> ownStaticMethodNames(const TulClass* cls) {
  return cls ? stateOf(cls).staticMethods.names() : std::vector<std::string>{};
}

TulValue* findStatic(TulClass* cls, const char* name) {
  if (!name) return nullptr;
  for (const TulClass* c = cls; c; c = baseOf(c))
    if (TulDictionaryEntry* e = stateOf(c).statics->find(name)) return &e->value;
  return nullptr;
}

// Asks the cache for the entry alone: a Callee would hold a script method
// (a reference count taken and given back) only to be tested.
bool hasMethod(const TulClass* cls, const char* name, bool isStatic) {
  return cls && name && detail::cachedFind(cls, name, isStatic);
}

NativeMethod findNativeMethod(const TulClass* cls, const char* name) {
  const detail::Callee c = detail::findMethod(cls, name, false);
  return c.script ? nullptr : c.native;
}

const std::uint64_t& methodGeneration() { return gMethodGeneration; }

}  // namespace tulrt

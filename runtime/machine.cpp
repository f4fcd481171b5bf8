// Machines: creation, class registration and teardown.
//
// Invariant: teardown releases everything the machine made. It runs the
// remaining dtors while the machine can still run code, then, with dtors
// switched off, empties members, statics and (for a thread's last machine)
// every container, which breaks any reference cycle among them.
#include <string>
#include <vector>

#include "runtime/machine_impl.h"

using tulrt::Machine;
using tulrt::Ref;
using tulrt::detail::implOf;
using tulrt::detail::report;

namespace {

// The thread's live machines, most recent first, linked through prevLive.
thread_local Machine::Impl* tLiveMachines = nullptr;

// A dtor may create objects whose own dtors must run too; this many rounds
// is plenty for that and still ends if dtors keep resurrecting objects.
constexpr int kMaxTeardownRounds = 16;

void unlinkLive(Machine::Impl* m) {
  for (Machine::Impl** p = &tLiveMachines; *p; p = &(*p)->prevLive) {
    if (*p == m) {
      *p = m->prevLive;
      return;
    }
  }
}

bool isOnlyLiveMachine(const Machine::Impl* m) {
  return tLiveMachines == m && m->prevLive == nullptr;
}

// The machine's objects that someone owns (an object still at count zero
// belongs to nobody, and retaining it would free it).
std::vector<Ref<TulObject>> ownedObjects(const Machine::Impl& m) {
  std::vector<Ref<TulObject>> out;
  for (TulObject* o = m.firstObject; o; o = TulObjectAccess::next(*o))
    if (o->refCount() > 0) out.emplace_back(o);
  return out;
}

void clearStack(Machine::Impl& m) {
  TulVector& stack = *m.stack;
  for (unsigned i = 0; i < stack.size(); ++i) {
    TulValue dropped(std::move(stack[i]));
  }
  m.top = -1;
}

// Whether any dtor ran this round.
bool runPendingDtors(Machine::Impl& m) {
  bool ran = false;
  for (const Ref<TulObject>& o : ownedObjects(m)) {
    if (TulObjectAccess::dtorRan(*o) || !tulrt::detail::wantsDtor(*o)) continue;
    tulrt::detail::runDtor(*o);
    ran = true;
  }
  return ran;
}

// Members become Nil (sizes stay, for whoever still holds an object).
void breakCycles(Machine::Impl& m) {
  for (const Ref<TulObject>& o : ownedObjects(m)) {
    TulVector& members = *o->getMemberData();
    for (unsigned i = 0; i < members.size(); ++i) {
      TulValue dropped(std::move(members[i]));
    }
  }
  for (TulClass* cls : m.classList) {
    TulClassState& s = cls->state();
    s.statics->clear();
    s.methods.clear();
    s.staticMethods.clear();
  }
}

// Classes still held elsewhere outlive the machine, cut off from it.
void releaseClasses(Machine::Impl& m) {
  m.lastClass.reset();
  m.classes->clear();
  m.classes.reset();
  std::vector<TulClass*> classes;
  classes.swap(m.classList);
  for (TulClass* cls : classes) cls->state().machine = nullptr;
  for (TulClass* cls : classes) cls->release();
}

}  // namespace

// --- TulVirtualMachine: the library's side ----------------------------------

namespace tulrt {
namespace detail {

Machine::Impl& implOf(TulVirtualMachine* vm) { return static_cast<Machine*>(vm)->impl(); }

}  // namespace detail
}  // namespace tulrt

TulInterpreter* TulVirtualMachine::interpreter() { return &implOf(this).slot.interp; }

TulDictionary& TulVirtualMachine::classes() { return *implOf(this).classes; }

bool TulVirtualMachine::registerNativeClass(const char* name, TulClass* cls) {
  Machine::Impl& m = implOf(this);
  if (!name || !*name || !cls)
    return report(&m, "Class registration needs a name and a class");
  if (m.classes->find(name))
    return report(&m, std::string("Class ") + name + " already registered");
  cls->state().name = name;
  tulrt::detail::newMethodGeneration();  // a class's name names its constructor
  (*m.classes)[name]->value = TulValue(cls);
  return true;
}

bool TulVirtualMachine::isInDbg() { return implOf(this).inDbg; }

// --- Machine ----------------------------------------------------------------

namespace tulrt {

Machine::Machine(unsigned stackSlots) : impl_(new Impl) {
  impl_->self = this;
  impl_->slot.owner = impl_;
  impl_->classes = Ref<TulDictionary>(new TulDictionary(false));
  impl_->stack = Ref<TulVector>(new TulVector(stackSlots, true));
  impl_->prevLive = tLiveMachines;
  tLiveMachines = impl_;
}

Machine::~Machine() {
  Impl& m = *impl_;
  clearStack(m);
  for (int round = 0; round < kMaxTeardownRounds && runPendingDtors(m); ++round) {
  }
  m.dtorsEnabled = false;
  breakCycles(m);
  if (isOnlyLiveMachine(impl_)) detail::clearLiveContainers();
  releaseClasses(m);
  m.stack.reset();
  unlinkLive(impl_);
  delete impl_;
}

Interpreter& Machine::interp() { return impl_->slot.interp; }

void Machine::setInDbg(bool on) { impl_->inDbg = on; }

namespace {

// Whether key holds exactly the text name.
bool holdsName(const TulString& key, const char* name) {
  const char* k = key.c_str();
  for (unsigned i = 0; k[i] == name[i]; ++i)
    if (!name[i]) return i == key.length();
  return false;
}

}  // namespace

// The entry found last is asked first: the same address and the same text,
// and still in the registry (an erased entry keeps its key). Its value is
// read anew, so a class registered over it is seen.
TulClass* Machine::findClass(const char* name) {
  if (!name) return nullptr;
  Impl& m = *impl_;
  const TulDictionaryEntry* last = m.lastClass.get();
  if (last && m.lastClassName == name && !last->erased() &&
      (m.lastClassNameFixed || holdsName(last->key, name)))
    return refIn<TulClass>(last->value, TulValueType::Class);
  TulDictionaryEntry* e = m.classes->find(name);
  if (!e) return nullptr;
  m.lastClass = Ref<TulDictionaryEntry>(e);
  m.lastClassName = name;
  m.lastClassNameFixed = detail::fixedText(name, e->key.length() + 1);
  return static_cast<TulClass*>(e->value);
}

TulClass* Machine::defineClass(const char* name, TulClass* base,
                               std::initializer_list<const char*> members) {
  auto* cls = new TulClass(*this);  // kept by the machine until teardown
  if (base && !cls->setBaseClass(base)) return nullptr;
  if (!registerNativeClass(name, cls)) return nullptr;
  for (const char* member : members)
    if (!cls->addDataMember(member)) return nullptr;
  cls->fixupDataDefs();
  return cls;
}

const std::vector<TulClass*>& Machine::allClasses() const { return impl_->classList; }

Machine* Machine::current() { return tLiveMachines ? tLiveMachines->self : nullptr; }

}  // namespace tulrt

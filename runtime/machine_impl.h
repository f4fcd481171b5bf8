// The private side of a machine: its interpreter, stack, error record, class
// list and live objects, and the runtime-internal calls shared by its files.
//
// Invariant: `top` is the index of the highest stack slot in use by a call
// (-1 when idle); every slot above it is Nil, so a nested call may take the
// slots from top+1 without saving anything.
#pragma once

#include <functional>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "runtime/class_state.h"
#include "runtime/ref.h"
#include "runtime/runtime.h"

namespace tulrt {

// The interpreter has no data of its own: it sits first in this slot, next to
// its machine, so the machine is found from the interpreter's address.
struct InterpSlot {
  Interpreter interp;
  Machine::Impl* owner = nullptr;
};
static_assert(std::is_standard_layout<InterpSlot>::value,
              "the interpreter's address must be its slot's address");

struct Machine::Impl {
  Machine* self = nullptr;
  InterpSlot slot;
  Ref<TulDictionary> classes;
  // The entry findClass found last and the address of the name it was asked
  // by: hosts ask for one class by one name again and again. Where that
  // name's text cannot change (detail::fixedText), the entry's key, which
  // stays as it is while the entry is in the registry, still holds it.
  Ref<TulDictionaryEntry> lastClass;
  const char* lastClassName = nullptr;
  bool lastClassNameFixed = false;
  // Every class made for this machine; each holds one reference from here
  // until teardown.
  std::vector<TulClass*> classList;
  Ref<TulVector> stack;
  int top = -1;
  int depth = 0;
  ErrorRecord error;
  bool inDbg = false;
  // Cleared during teardown once every remaining dtor has run, so cycles can
  // be broken without calling into script code again.
  bool dtorsEnabled = true;
  std::function<void(const ErrorRecord&)> dtorErrorHandler;  // empty: stderr
  std::function<void(const ErrorRecord&)> nativeCallFailureHandler;  // empty: none
  // Objects of this machine's classes that are alive (not owned from here),
  // oldest first, linked through the objects themselves (TulObjectAccess).
  TulObject* firstObject = nullptr;
  TulObject* lastObject = nullptr;
  Impl* prevLive = nullptr;  // the thread's list of live machines
};

namespace detail {

// Whether a container may take a block of that many bytes (see
// tulrt::setContainerLimit).
bool withinContainerLimit(std::size_t bytes);

// Zero-filled storage for a table or block of at least kLargeBlock bytes
// that is read at random (a large dictionary's slots and entries); null
// when it cannot be had. Where the system has huge pages, the block is
// rounded up to a multiple of kLargeRound bytes (a huge page), aligned to
// one and marked for them, so reading it needs one address translation per
// huge page rather than one per small page. freeLarge takes the same byte
// count.
constexpr std::size_t kLargeBlock = std::size_t(1) << 20;
constexpr std::size_t kLargeRound = std::size_t(2) << 20;
void* allocLarge(std::size_t bytes);
void freeLarge(void* block, std::size_t bytes);

Machine::Impl& implOf(TulVirtualMachine* vm);
Machine::Impl& implOf(const TulInterpreter* in);

// Records the error in the machine (when there is one); always false.
bool report(Machine::Impl* m, const std::string& message,
            const char* detail = nullptr);

// A method found by lookup. A script method's callable lives as long as its
// class, even when rebound during the call (MethodTable retires it), and
// the class outlives the call (the object called holds it; the machine holds
// every class until teardown), so the callee is held by a plain pointer.
struct Callee {
  NativeMethod native = nullptr;
  const ScriptMethod* script = nullptr;
  explicit operator bool() const { return native || script; }
};

// Looks `name` up in cls, then in its bases.
Callee findMethod(const TulClass* cls, const char* name, bool isStatic);
// Starts a new method generation: every lookup remembered so far is stale.
void newMethodGeneration();
// The same, giving the table's entry (null when none binds the name).
const MethodEntry* findEntry(const TulClass* cls, const char* name, bool isStatic);
// Bumped by every change to any method table or class chain; what a cache
// remembers stands only in the generation it was filled in (class.cpp).
extern std::uint64_t gMethodGeneration;

// Whether name is the text of a method's name, inline: the C library's
// vectorised comparison costs more than these few bytes, most of all under
// an emulator. A bound name never holds a zero byte (it was given as a C
// string), so its terminator ends the comparison too, and name is read no
// further than its own first difference.
inline bool sameName(const std::string& bound, const char* name) {
  const char* k = bound.c_str();
  for (std::size_t i = 0, n = bound.size(); i <= n; ++i)
    if (k[i] != name[i]) return false;
  return true;
}

// Whether the size bytes at text can never change while the process lives:
// they lie in the main program's read-only segments (its string literals),
// which stay mapped and unwritten until the process ends. False wherever
// that cannot be told.
bool fixedText(const char* text, std::size_t size);

// Whether two generations are one, compared a word at a time: left to
// itself the compiler takes the pair through a vector register.
inline bool sameGeneration(std::uint64_t a, std::uint64_t b) {
  return static_cast<std::uint32_t>(a) == static_cast<std::uint32_t>(b) &&
         static_cast<std::uint32_t>(a >> 32) == static_cast<std::uint32_t>(b >> 32);
}

inline std::size_t cacheSlotOf(const char* name) {
  const auto a = reinterpret_cast<std::uintptr_t>(name);
  return (a ^ (a >> 3) ^ (a >> 7)) % MethodLookupCache::kSlots;
}

// What the class's cache holds for name in this generation, read inline (a
// call by name asks it first); null when the slot holds something else.
inline const MethodEntry* cachedEntry(const TulClass* cls, const char* name, bool isStatic) {
  const auto& slots = isStatic ? cls->state().lookups.statics : cls->state().lookups.instance;
  const MethodLookupCache::Slot& slot = slots[cacheSlotOf(name)];
  if (slot.name == name && sameGeneration(slot.generation, gMethodGeneration) &&
      (slot.fixedText || sameName(slot.entry->name, name)))
    return slot.entry;
  return nullptr;
}

// findEntry with the cache read inline; cls and name are not null.
inline const MethodEntry* findEntryFast(const TulClass* cls, const char* name, bool isStatic) {
  if (const MethodEntry* e = cachedEntry(cls, name, isStatic)) return e;
  return findEntry(cls, name, isStatic);
}

// The instance method a call site names, through what the site remembers
// (see TulCallSite); null when the chain binds none. What the site remembers
// is checked inline, the lookup is out of line.
const MethodEntry* findMethodAtSlowly(const TulClass* cls, TulCallSite& site);
inline const MethodEntry* findMethodAt(const TulClass* cls, TulCallSite& site) {
  if (site.cls == cls && site.generation == gMethodGeneration)
    return static_cast<const MethodEntry*>(site.method);
  return findMethodAtSlowly(cls, site);
}

// Runs one call frame (see interpreter.cpp); result is written on success
// only.
bool invoke(Machine::Impl& m, const Callee& c, const TulValue* self,
            const TulValue* args, int nargs, TulValue& result);
// The same, the arguments moved into the frame (left nil).
bool invokeMoving(Machine::Impl& m, const Callee& c, const TulValue* self, TulValue* args,
                  int nargs, TulValue& result);

// Creates an object of cls and runs the constructor of its chain.
bool construct(Machine::Impl& m, TulValue& out, TulClass* cls,
               const TulValue* args, int nargs);

// Releases that reach zero while another is being carried out on this thread
// run inside it a few levels deep, and deeper than that wait in a queue that
// the level above drains (value.cpp). Code run from a release (a dtor) gets
// a count of its own while this lives, so what it releases is gone by the
// time it goes on, as anywhere else.
class OwnReleaseQueue {
 public:
  OwnReleaseQueue();
  ~OwnReleaseQueue();
  OwnReleaseQueue(const OwnReleaseQueue&) = delete;
  OwnReleaseQueue& operator=(const OwnReleaseQueue&) = delete;

 private:
  unsigned outerDepth_ = 0;
  std::vector<TulRefObject*> outerPending_;
};

// Runs obj's `dtor` once, reporting a failure to the handler.
void runDtor(TulObject& obj);
bool wantsDtor(TulObject& obj);

// Every vector and dictionary alive in the process, so the last machine can
// break cycles among them.
void trackContainer(TulLiveLink& link, TulRefObject* c);
void untrackContainer(TulLiveLink& link);
void clearLiveContainers();

}  // namespace detail
}  // namespace tulrt

// The runtime's door into TulObject's private state.
class TulObjectAccess {
 public:
  static bool& dtorRan(TulObject& o) { return o.dtorRan_; }
  static TulObject* next(const TulObject& o) { return o.liveNext_; }
  static void link(tulrt::Machine::Impl& m, TulObject& o) {
    o.livePrev_ = m.lastObject;
    o.liveNext_ = nullptr;
    if (m.lastObject) m.lastObject->liveNext_ = &o; else m.firstObject = &o;
    m.lastObject = &o;
  }
  static void unlink(tulrt::Machine::Impl& m, TulObject& o) {
    if (o.livePrev_) o.livePrev_->liveNext_ = o.liveNext_; else m.firstObject = o.liveNext_;
    if (o.liveNext_) o.liveNext_->livePrev_ = o.livePrev_; else m.lastObject = o.livePrev_;
    o.livePrev_ = o.liveNext_ = nullptr;
  }
};

// The runtime's state of one script class: its name, base, member layout,
// static members and method tables.
//
// Invariant: `layout` is the base's layout followed by `ownMembers`, and
// `memberIndex` maps every name of `layout` to its position, so an inherited
// member has the same index in a derived class as in its base.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "runtime/ref.h"
#include "runtime/runtime.h"

// One bound method: a native function or a C++ callable standing for script
// code. A callable that rebinding replaces is kept by its table (retired),
// so a call in progress, which holds it by a plain pointer, keeps it.
struct MethodEntry {
  std::string name;
  NativeMethod native = nullptr;
  std::shared_ptr<const tulrt::ScriptMethod> script;
};

// Methods in binding order, found by name through an index. The entries sit
// in a deque so that neither an entry nor the name the index views moves
// when later ones are bound; a lookup then allocates nothing.
class MethodTable {
 public:
  // Rebinding a name replaces its function but keeps its first position; the
  // callable replaced lives on with the table (rebinding is rare, calls are
  // not: they need not take a shared count).
  void bind(const char* name, NativeMethod native,
            std::shared_ptr<const tulrt::ScriptMethod> script);
  const MethodEntry* find(const char* name) const;
  std::vector<std::string> names() const;
  void clear();

 private:
  std::deque<MethodEntry> entries_;
  std::unordered_map<std::string_view, std::size_t> index_;
  std::vector<std::shared_ptr<const tulrt::ScriptMethod>> retired_;
};

// A class's recent lookups through its chain, by the name's address. The
// caller's text is compared all the same, so a reused buffer cannot hit a
// stale slot, unless it lies where it can never change (fixedText: the
// program's own read-only data, where its string literals are). A slot
// stands only in the method generation it was filled in: binding, clearing a
// table or changing a base anywhere starts a new one, so an entry pointer
// found here is always one the tables still hold.
struct MethodLookupCache {
  struct Slot {
    const char* name = nullptr;
    const MethodEntry* entry = nullptr;
    std::uint64_t generation = 0;  // 0: never filled
    bool fixedText = false;
  };
  static constexpr std::size_t kSlots = 8;
  std::array<Slot, kSlots> instance;
  std::array<Slot, kSlots> statics;
};

class TulClassState {
 public:
  tulrt::Machine::Impl* machine = nullptr;  // null once the machine is gone
  TulVirtualMachine* vm = nullptr;
  TulString name;                           // empty until registered
  tulrt::Ref<TulClass> base;
  std::vector<std::string> ownMembers;
  std::vector<std::string> layout;
  std::unordered_map<std::string, int> memberIndex;
  tulrt::Ref<TulDictionary> statics;
  MethodTable methods;
  MethodTable staticMethods;
  mutable MethodLookupCache lookups;  // a cache: filled by const lookups
  // Whether the chain binds `dtor`, as of method generation dtorGeneration
  // (0: not looked up): asked at each object's end, and findMethod does not
  // remember a name it did not find.
  mutable bool hasDtor = false;
  mutable std::uint64_t dtorGeneration = 0;
  // The constructor of the chain (null: none), as of method generation
  // ctorGeneration (0: not looked up): asked at every construction.
  mutable const MethodEntry* ctor = nullptr;
  mutable std::uint64_t ctorGeneration = 0;
};

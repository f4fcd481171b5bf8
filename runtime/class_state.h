// The runtime's state of one script class: its name, base, member layout,
// static members and method tables.
//
// Invariant: `layout` is the base's layout followed by `ownMembers`, and
// `memberIndex` maps every name of `layout` to its position, so an inherited
// member has the same index in a derived class as in its base.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "runtime/ref.h"
#include "runtime/runtime.h"

// One bound method: a native function or a C++ callable standing for script
// code. The callable is shared so a call in progress keeps it alive even if
// the method is rebound meanwhile.
struct MethodEntry {
  std::string name;
  NativeMethod native = nullptr;
  std::shared_ptr<const tulrt::ScriptMethod> script;
};

// Methods in binding order, found by name through an index.
class MethodTable {
 public:
  // Rebinding a name replaces its function but keeps its first position.
  void bind(const char* name, NativeMethod native,
            std::shared_ptr<const tulrt::ScriptMethod> script);
  const MethodEntry* find(const char* name) const;
  std::vector<std::string> names() const;
  void clear();

 private:
  std::vector<MethodEntry> entries_;
  std::unordered_map<std::string, std::size_t> index_;
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
};

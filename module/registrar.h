// Registration as data: each class is one ClassSpec (name, base, data members,
// static data members, methods and static methods in binding order), and one
// generic registrar turns such a description into a host class and fills the
// member index cache. An alias is a second row naming the same function.
#pragma once

#include <cstddef>

#include "host/tul.h"
#include "module/members.h"
#include "module/names.h"

// A read-only view of a constant table.
template <class T>
struct Table {
  const T* rows = nullptr;
  std::size_t count = 0;

  constexpr Table() = default;
  template <std::size_t N>
  constexpr Table(const T (&a)[N]) : rows(a), count(N) {}
  constexpr const T* begin() const { return rows; }
  constexpr const T* end() const { return rows + count; }
};

struct MethodRow {
  const char* name;
  NativeMethod fn;
};

struct MemberRow {
  const char* name;
  Member id;
};

struct StaticRow {
  Name name;
  int initial;
};

struct ClassSpec {
  const char* name;
  const char* base;  // looked up among the registered classes; null: none
  Table<MemberRow> members;
  Table<StaticRow> statics;
  Table<MethodRow> methods;  // the constructor first, under the class's name
  Table<MethodRow> staticMethods;
};

// Creates, registers and fills one class. A refused registration, or a base
// that is not registered, leaves the class out; nothing is reported beyond
// what the host reported itself.
void registerClass(TulVirtualMachine* vm, const ClassSpec& desc);

// The classes in the order RegisterNativeModule registers them.
Table<const ClassSpec*> registrationOrder();

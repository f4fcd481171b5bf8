// A host for tests that play the part of scripts: a fresh machine with the
// library's classes registered, and short ways to create objects, call
// methods and check the exact error a call reports.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "containers/dict_iterator.h"
#include "module/tul2class.h"
#include "runtime/runtime.h"

// Values the library builds once on first use and keeps for the life of the
// process are built before a test counts live objects.
inline void warmUpProcessWideValues() {
  static const bool warm = [] {
    dictIteratorName();
    return true;
  }();
  (void)warm;
}

class HostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    warmUpProcessWideValues();
    liveBefore_ = tulrt::liveObjects();
    vm_ = new tulrt::Machine();
    RegisterNativeModule(vm_);
    ASSERT_FALSE(interp().lastError().set) << interp().lastError().message;
  }

  void TearDown() override {
    delete vm_;
    // Every host object the test made is gone with the machine.
    EXPECT_EQ(tulrt::liveObjects(), liveBefore_) << "host objects leaked";
  }

  tulrt::Interpreter& interp() { return vm_->interp(); }
  TulClass* cls(const char* name) { return vm_->findClass(name); }

  // name(args...) through the interpreter's createObject, as a script
  // creates objects.
  TulValue make(const char* name, const std::vector<TulValue>& args = {}) {
    TulValue out;
    EXPECT_EQ(constructError(name, args, &out), "") << name;
    return out;
  }

  // obj.name(args...); a failure fails the test.
  TulValue call(const TulValue& obj, const char* name,
                std::initializer_list<TulValue> args = {}) {
    TulValue out;
    EXPECT_TRUE(interp().callMember(out, static_cast<TulObject*>(obj), name, args))
        << name << ": " << interp().lastError().message;
    return out;
  }

  int callInt(const TulValue& obj, const char* name,
              std::initializer_list<TulValue> args = {}) {
    return static_cast<int>(call(obj, name, args));
  }

  // The error text of a call that must fail ("" when it succeeded).
  std::string errorOf(const TulValue& obj, const char* name,
                      std::initializer_list<TulValue> args = {}) {
    TulValue out;
    interp().clearError();
    if (interp().callMember(out, static_cast<TulObject*>(obj), name, args))
      return "";
    return interp().lastError().message;
  }

  // The error text of constructing name(args...) ("" on success).
  std::string constructError(const char* name, const std::vector<TulValue>& args,
                             TulValue* out = nullptr) {
    TulVector vec(static_cast<unsigned>(args.size()), false);
    for (const TulValue& a : args) vec.push_back(a);
    TulValue made;
    interp().clearError();
    if (!interp().createObject(made, TulString(name), &vec))
      return interp().lastError().message;
    if (out) *out = made;
    return "";
  }

  // Calls method `name` of class `className` with an arbitrary `this` value
  // and n extra arguments of 0; the error text ("" on success).
  std::string rawCallError(const char* className, const char* name,
                           const TulValue& self, int nargs) {
    std::vector<TulValue> args(static_cast<size_t>(nargs), TulValue(0));
    TulValue out;
    interp().clearError();
    if (interp().call(out, cls(className), name, &self, args.data(), nargs))
      return "";
    return interp().lastError().message;
  }

  // Replaces data member `member` of obj, as a script assigning it would.
  void setMember(const TulValue& obj, const char* member, const TulValue& v) {
    TulObject* o = static_cast<TulObject*>(obj);
    int index = o->getClass()->getMemberIndex(TulString(member));
    ASSERT_GE(index, 0) << member;
    (*o->getMemberData())[static_cast<unsigned>(index)] = v;
  }

  tulrt::Machine* vm_ = nullptr;

 private:
  long liveBefore_ = 0;
};


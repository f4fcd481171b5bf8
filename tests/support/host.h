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

class HostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dictIteratorName();  // built once for the process, so not counted as a leak
    liveBefore_ = tulrt::liveObjects();
    vm_ = new tulrt::Machine();
    RegisterNativeModule(vm_);
    ASSERT_FALSE(interp().lastError().set) << interp().lastError().message;
  }

  void TearDown() override {
    delete vm_;
    EXPECT_EQ(tulrt::liveObjects(), liveBefore_) << "host objects outlived the machine";
  }

  tulrt::Interpreter& interp() { return vm_->interp(); }

  // name(args...) through the interpreter's createObject, as a script
  // creates objects; a failure fails the test.
  TulValue make(const char* name, const std::vector<TulValue>& args = {}) {
    TulVector vec(static_cast<unsigned>(args.size()), false);
    for (const TulValue& a : args) vec.push_back(a);
    TulValue made;
    EXPECT_TRUE(interp().createObject(made, TulString(name), &vec))
        << name << ": " << interp().lastError().message;
    return made;
  }

  // obj.name(args...); a failure fails the test.
  std::string errorOf(const TulValue& obj, const char* name,
                      std::initializer_list<TulValue> args = {}) {
    TulValue out;
    interp().clearError();
    if (interp().callMember(out, static_cast<TulObject*>(obj), name, args)) return "";
    return interp().lastError().message;
  }

  // Method `name` of class `className` called with any `this` (null for a
  // static call) and n arguments of 0; the error text ("" on success).
  std::string rawCallError(const char* className, const char* name, const TulValue* self,
                           int nargs) {
    std::vector<TulValue> args(static_cast<size_t>(nargs), TulValue(0));
    TulValue out;
    interp().clearError();
    if (interp().call(out, vm_->findClass(className), name, self, args.data(), nargs)) return "";
    return interp().lastError().message;
  }

  tulrt::Machine* vm_ = nullptr;

 private:
  long liveBefore_ = 0;
};

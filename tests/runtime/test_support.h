// Shared helpers for the runtime tests: a fixture that owns a machine and
// checks that its teardown releases every host object, and frame access for
// native methods written in tests.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "runtime/runtime.h"

namespace rtest {

class MachineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    before_ = tulrt::liveObjects();
    vm_ = std::make_unique<tulrt::Machine>();
  }
  void TearDown() override {
    vm_.reset();
    EXPECT_EQ(tulrt::liveObjects(), before_) << "host objects outlived the machine";
  }

  tulrt::Machine& vm() { return *vm_; }
  tulrt::Interpreter& in() { return vm_->interp(); }
  std::string lastMessage() { return in().lastError().message; }

 private:
  long before_ = 0;
  std::unique_ptr<tulrt::Machine> vm_;
};

// Slot k of a frame: 0 is the result slot, then `this` (instance calls) and
// the arguments.
inline TulValue& frameSlot(const ValPtr& sp, int argc, int k) {
  return (*sp.vec)[static_cast<unsigned>(sp.index - argc + k)];
}

inline bool returnValue(const ValPtr& sp, int argc, const TulValue& v) {
  frameSlot(sp, argc, 0) = v;
  return true;
}

}  // namespace rtest

// The frame of a static method of one of the runner's classes (`win32`,
// `desktop`): the result slot lies argc slots below the cursor and the
// arguments follow it. The cursor is an index into the value stack, so it
// stays right when a call that runs script code makes the stack grow.
// Reports name the method ("desktop.press: ..."); like native methods, a
// call answers true after writing its result or false after a report.
#pragma once

#include <cstdint>
#include <string>

#include "host/tul.h"

class StaticCall {
 public:
  // qualifiedName: "class.method", the prefix of every report.
  StaticCall(TulVirtualMachine* vm, int argc, ValPtr& sp, std::string qualifiedName)
      : vm_(vm), sp_(sp), result_(sp), argc_(argc), name_(std::move(qualifiedName)) {
    result_ -= argc;
  }

  int argCount() const { return argc_; }
  TulValue& arg(int i) const {
    return (*result_.vec)[static_cast<unsigned>(result_.index + 1 + i)];
  }
  const std::string& name() const { return name_; }
  TulVirtualMachine* vm() const { return vm_; }

  bool ret(const TulValue& v) {
    *result_ = v;
    sp_ = result_;
    return true;
  }
  bool retInt(std::int32_t v) { return ret(TulValue(static_cast<int>(v))); }
  // As a native method that returns nothing: the result slot stays empty.
  bool retNothing() {
    result_->dispose();
    sp_ = result_;
    return true;
  }

  // "NAME: message".
  bool fail(const std::string& message) const {
    return vm_->interpreter()->returnError((name_ + ": " + message).c_str(), nullptr);
  }
  // The one text a call that the platform cannot do reports, naming itself.
  bool notAvailable() const {
    return vm_->interpreter()->returnError("not available on this platform", name_.c_str());
  }

 private:
  TulVirtualMachine* vm_;
  ValPtr& sp_;
  ValPtr result_;
  int argc_;
  std::string name_;
};

// A host with windows: script classes whose methods are C++ callables with
// the native frame (so native code reaches them as it reaches a script
// override), the simulated user, and a check that a test leaves no window,
// accelerator table, brush or registry entry behind.
#pragma once

#include <windows.h>
#include <win32sim.h>

#include <functional>
#include <initializer_list>
#include <vector>

#include "tests/support/host.h"
#include "window/registry.h"

// One call of a method written in C++ for a test class.
struct ScriptCall {
  TulObject* self = nullptr;  // null for a static method
  std::vector<TulValue> args;
  TulValue result;  // what the method answers; nil unless set
  int arg(std::size_t i) const { return static_cast<int>(args.at(i)); }
};
using ScriptBody = std::function<bool(ScriptCall&)>;

class WindowTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    before_ = win32sim::counts();
    registryBefore_ = registryCount();
  }

  void TearDown() override {
    drainQueue();
    win32sim::setIdleHook(nullptr);
    HostTest::TearDown();
    // The machine is gone, and with it every window object: nothing of
    // theirs may stay registered.
    EXPECT_EQ(registryCount(), registryBefore_) << "registry entries left";
    win32sim::Counts now = win32sim::counts();
    EXPECT_EQ(now.windows, before_.windows) << "windows left";
    EXPECT_EQ(now.acceleratorTables, before_.acceleratorTables) << "accelerator tables left";
    EXPECT_EQ(now.brushes, before_.brushes) << "brushes left";
    EXPECT_EQ(now.dcs, before_.dcs) << "device contexts left";
  }

  // A class deriving from base (a library class by default WinBase).
  TulClass* subclassOf(const char* name, const char* base = "WinBase") {
    return vm_->defineClass(name, cls(base));
  }

  // Binds method `name` of cls to body, as a script class would define it.
  void define(TulClass* c, const char* name, ScriptBody body, bool isStatic = false) {
    tulrt::ScriptMethod method = [body, isStatic](TulVirtualMachine*, int argc, ValPtr& sp) {
      ValPtr p = sp;
      p -= argc;
      ScriptCall call;
      int first = p.index + 1;
      if (!isStatic) call.self = static_cast<TulObject*>(*ValPtr{p.vec, first++});
      for (int i = first; i <= p.index + argc; ++i) call.args.push_back(*ValPtr{p.vec, i});
      if (!body(call)) return false;
      *p = call.result;
      sp = p;
      return true;
    };
    if (isStatic)
      tulrt::addStaticScriptMethod(c, name, method);
    else
      tulrt::addScriptMethod(c, name, method);
  }

  // base.name(args) from inside a method of cls, with the call's arguments.
  bool inherited(TulClass* c, ScriptCall& call, const char* name) {
    const TulValue self(call.self);
    return interp().call(call.result, tulrt::baseClass(c), name, &self, call.args.data(),
                         static_cast<int>(call.args.size()));
  }

  // A new object of cls, its constructor run as a script would run it.
  TulValue object(TulClass* c, std::initializer_list<TulValue> args = {}) {
    TulValue out;
    EXPECT_TRUE(interp().construct(out, c, args)) << interp().lastError().message;
    return out;
  }

  // obj.create(args...), which must succeed.
  void create(const TulValue& obj, std::initializer_list<TulValue> args) {
    EXPECT_EQ(static_cast<int>(call(obj, "create", args)), 1);
  }

  static HWND hwndOf(const TulValue& window) {
    TulObject* obj = static_cast<TulObject*>(window);
    int index = obj->getClass()->getMemberIndex(TulString("_hwnd"));
    return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(
        static_cast<unsigned>(static_cast<int>((*obj->getMemberData())[static_cast<unsigned>(index)]))));
  }

  static TulValue str(const char* s) { return TulValue(new TulString(s)); }
  static TulValue handleValue(HWND h) {
    return TulValue(static_cast<int>(reinterpret_cast<std::uintptr_t>(h)));
  }

  // WinBase.name(args...), a static method.
  bool callStatic(const char* name, std::initializer_list<TulValue> args = {},
                  TulValue* out = nullptr) {
    TulValue result;
    interp().clearError();
    bool ok = interp().callStatic(result, cls("WinBase"), name, args);
    if (out) *out = result;
    return ok;
  }

  static void drainQueue() {
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
  }

 private:
  win32sim::Counts before_;
  unsigned registryBefore_ = 0;
};

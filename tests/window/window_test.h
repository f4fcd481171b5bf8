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
  TulObject* self = nullptr;
  std::vector<TulValue> args;
  TulValue result;  // what the method answers; nil unless set
  int arg(std::size_t i) const { return static_cast<int>(args.at(i)); }
};

class WindowTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    before_ = win32sim::counts();
    registryBefore_ = registryCount();
  }

  void TearDown() override {
    for (MSG msg; PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE);) {
    }
    HostTest::TearDown();
    // The machine is gone, and with it every window object: nothing of
    // theirs may stay registered.
    EXPECT_EQ(registryCount(), registryBefore_) << "registry entries left";
    const win32sim::Counts now = win32sim::counts();
    EXPECT_EQ(now.windows, before_.windows) << "windows left";
    EXPECT_EQ(now.acceleratorTables, before_.acceleratorTables) << "accelerator tables left";
    EXPECT_EQ(now.brushes, before_.brushes) << "brushes left";
    EXPECT_EQ(now.dcs, before_.dcs) << "device contexts left";
  }

  TulClass* subclassOf(const char* name) { return vm_->defineClass(name, cls("WinBase")); }

  // Binds method `name` of c to body, as a script class would define it.
  void define(TulClass* c, const char* name, std::function<bool(ScriptCall&)> body) {
    tulrt::addScriptMethod(c, name, [body](TulVirtualMachine*, int argc, ValPtr& sp) {
      ValPtr p = sp;
      p -= argc;
      ScriptCall call;
      call.self = static_cast<TulObject*>(*ValPtr{p.vec, p.index + 1});
      for (int i = p.index + 2; i <= p.index + argc; ++i) call.args.push_back(*ValPtr{p.vec, i});
      if (!body(call)) return false;
      *p = call.result;
      sp = p;
      return true;
    });
  }

  // base.name(args) from inside a method of c, with the call's arguments.
  bool inherited(TulClass* c, ScriptCall& call, const char* name) {
    const TulValue self(call.self);
    return interp().call(call.result, tulrt::baseClass(c), name, &self, call.args.data(),
                         static_cast<int>(call.args.size()));
  }

  // A new object of c, its constructor run as a script would run it.
  TulValue object(TulClass* c) {
    TulValue out;
    EXPECT_TRUE(interp().construct(out, c)) << interp().lastError().message;
    return out;
  }

  // A window of class c made by its create method: by default a popup, or
  // a visible child of parent.
  TulValue window(TulClass* c, HWND parent = nullptr, int style = 0) {
    TulValue w = object(c);
    if (!style) style = parent ? int(WS_CHILD | WS_VISIBLE) : int(WS_POPUP);
    EXPECT_EQ(callInt(w, "create", {str("Tul2Window"), handleValue(parent), TulValue(0),
                                    TulValue(0), TulValue(40), TulValue(40), TulValue(style)}),
              1);
    return w;
  }

  static HWND hwndOf(const TulValue& window) {
    auto* obj = static_cast<TulObject*>(window);
    const int index = obj->getClass()->getMemberIndex(TulString("_hwnd"));
    return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(
        static_cast<unsigned>((*obj->getMemberData())[static_cast<unsigned>(index)])));
  }
  static TulValue str(const char* s) { return TulValue(new TulString(s)); }
  static TulValue handleValue(HWND h) {
    return TulValue(static_cast<int>(reinterpret_cast<std::uintptr_t>(h)));
  }

  // WinBase.name(), a static method.
  bool callStatic(const char* name) {
    TulValue result;
    interp().clearError();
    return interp().callStatic(result, cls("WinBase"), name);
  }

 private:
  win32sim::Counts before_;
  unsigned registryBefore_ = 0;
};

// The engine in process: script classes reached from native code the way
// the library reaches them (invokeMember, createObject), errors and exits
// crossing native frames, the resource limits, and lifetimes.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include <windows.h>

#include "module/frame.h"
#include "module/tul2class.h"
#include "runtime/runtime.h"
#include "script/engine.h"

namespace tulscript {
namespace {

// A native class standing for library code that calls back into scripts:
// `hook` has a native default, `callHook(x)` calls this.hook(x) through
// invokeMember, and the static `make(name, x)` creates an object by class
// name through createObject.
bool caller_hook(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  return f.ret(TulValue(new TulString("native hook")));
}

bool caller_callHook(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulVector args(1, false);
  args.push_back(f.arg(0));
  TulValue result;
  if (!f.interp().invokeMember(result, f.self(), "hook", &args)) return false;
  return f.ret(result);
}

bool caller_make(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(2, 2)) return false;
  TulString* name = static_cast<TulString*>(f.arg(0));
  if (!name) return f.fail("class name expected");
  TulVector args(1, false);
  args.push_back(f.arg(1));
  TulValue made;
  if (!f.interp().createObject(made, *name, &args)) return false;
  return f.ret(made);
}

// `rebind()` binds another native function as `hook`, as a module loaded
// later may.
bool caller_otherHook(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  return f.ret(TulValue(new TulString("rebound hook")));
}

bool caller_rebind(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(0, 0)) return false;
  static_cast<tulrt::Machine*>(vm)->findClass("Caller")->addMethod("hook", caller_otherHook, 0);
  return f.retNothing();
}

// `debugger(on)` stops the machine as its debugger would, or lets it go on.
bool caller_debugger(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  static_cast<tulrt::Machine*>(vm)->setInDbg(static_cast<int>(f.arg(0)) != 0);
  return f.retNothing();
}

void registerCaller(TulVirtualMachine& vm) {
  TulClass* cls = new TulClass(vm);  // the machine keeps it
  ASSERT_TRUE(vm.registerNativeClass("Caller", cls));
  cls->addMethod("hook", caller_hook, 0);
  cls->addMethod("callHook", caller_callHook, 0);
  cls->addStaticMethod("make", caller_make, 0);
  cls->addStaticMethod("debugger", caller_debugger, 0);
  cls->addStaticMethod("rebind", caller_rebind, 0);
  cls->fixupDataDefs();
}

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override { liveBefore_ = tulrt::liveObjects(); }
  void TearDown() override {
    EXPECT_EQ(tulrt::liveObjects(), liveBefore_) << "host objects outlived their engine";
  }

  Outcome run(const std::string& source, EngineOptions options = {}) {
    std::ostringstream out, err;
    options.out = &out;
    options.err = &err;
    Outcome r;
    {
      Engine engine(options);
      RegisterNativeModule(&engine.machine());
      registerCaller(engine.machine());
      r.status = engine.runSource("t.tul", source);
    }
    r.out = out.str();
    r.err = err.str();
    return r;
  }

 private:
  long liveBefore_ = 0;
};

constexpr const char* kMine =
    "class Mine : Caller {\n"
    "  var _seen;\n"
    "  Mine(x) { this._seen = x; }\n"
    "  hook(v) { return \"script hook \" + str(v) + \" \" + str(this._seen); }\n"
    "}\n";

TEST_F(EngineTest, ExitInsideOverrideEndsTheRunThroughNativeFrames) {
  Outcome r = run(
      "class Quit : Caller { hook(v) { exit(v); } }\n"
      "try { Quit().callHook(4); } catch (e) { print(\"caught\"); }\n"
      "print(\"not reached\");\n");
  EXPECT_EQ(r.status, 4);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "");
}

// No catch holds back a step limit, nor a native frame in between.
TEST_F(EngineTest, LimitsStopEndlessLoopsAndBoundStringsBuffersAndVectors) {
  EngineOptions limited;
  limited.maxSteps = 5000;
  limited.maxAllocation = 1000;
  const std::string steps = "t.tul:1: error: step limit exceeded\n";
  const std::string tooLarge = " too large (1001 exceeds the limit of 1000)\n";
  const struct {
    const char* src;
    std::string err;
  } cases[] = {
      {"while (true) {}", steps},
      {"function f() { for (;;) {} } f();", steps},
      {"while (1) { try { while (1) {} } catch (e) { print(\"caught\"); } }", steps},
      {"class Spin : Caller { hook(v) { while (1) {} } } Spin().callHook(0);", steps},
      {"var s = \"ab\"; while (1) s = s + s;",
       "t.tul:1: error: string too large (1024 exceeds the limit of 1000)\n"},
      {"buffer(1001);", "t.tul:1: error: buffer" + tooLarge},
      {"var v = []; while (1) push(v, 1);", "t.tul:1: error: vector" + tooLarge},
      {"var v = []; var i = 0; while (1) v[i++] = 1;", "t.tul:1: error: vector" + tooLarge},
  };
  for (const auto& c : cases) {
    const Outcome r = run(c.src, limited);
    EXPECT_EQ(r.status, kStatusError) << c.src;
    EXPECT_EQ(r.out, "") << c.src;
    EXPECT_EQ(r.err, c.err) << c.src;
  }
}

TEST_F(EngineTest, AllocationLimitStopsAChainOfPlusAtTheFirstPlusPastIt) {
  EngineOptions limited;
  limited.maxAllocation = 1000;
  // Each round adds 10 characters; the + of "01234" to 1,000 of them fails
  // before tick() runs a 101st time.
  Outcome r = run(
      "var n = 0;\n"
      "function tick() { n++; return \"\"; }\n"
      "var s = \"\";\n"
      "try { while (1) s = s + \"01234\" + tick() + 56789; }\n"
      "catch (e) { print(e.message, e.line, n, len(s)); }\n",
      limited);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "string too large (1005 exceeds the limit of 1000) 4 100 1000\n");
}

// Objects made by name from native code run their script constructor; a
// failing dtor is reported with its place and the run goes on; cycles and
// leftovers go with the engine (the fixture counts them).
TEST_F(EngineTest, NativeCreationDtorErrorsAndCyclesAtTheEnd) {
  Outcome r = run(std::string(kMine) +
                  "var made = Caller.make(\"Mine\", \"by name\");\n"
                  "print(classof(made), made._seen, made.callHook(3));\n"
                  "try { Caller.make(\"Nope\", 1); } catch (e) { print(e.message); }\n"
                  "class Leaky {\n  dtor() {\n    throw \"cannot close\";\n  }\n}\n"
                  "var l = Leaky();\nl = nil;\n"
                  "class Node { var _next, _data;\n"
                  "  Node() { this._next = this; this._data = [this]; } }\n"
                  "var ring = Node();\n"
                  "var v = [1]; v[1] = v;\n"
                  "var d = {}; d.self = d; d.f = function () { return d; };\n"
                  "var p = POINT(1, 2) + POINT(3, 4);\n"
                  "class Holder : RECT { var _held; }\n"
                  "var h = Holder(); h._held = h;\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "Mine by name script hook 3 by name\nClass Nope not found\n");
  EXPECT_EQ(r.err, "t.tul:11: error: cannot close (in dtor)\n");
}

// One call site meets native and script methods in turn, and a native
// method bound again after it was first called.
TEST_F(EngineTest, AMethodCallSiteFollowsClassesAndRebinding) {
  Outcome r = run(std::string(kMine) +
                  "for (var i = 0; i < 4; i++) {\n"
                  "  print((i == 1 ? Mine(1) : Caller()).hook(2));\n"
                  "  if (i == 2) Caller.rebind();\n"
                  "}\n");
  EXPECT_EQ(r.out, "native hook\nscript hook 2 1\nnative hook\nrebound hook\n") << r.err;
}

TEST_F(EngineTest, GlobalsOutliveOneRunOfTheSameEngine) {
  std::ostringstream out, err;
  EngineOptions options;
  options.out = &out;
  options.err = &err;
  Engine engine(options);
  EXPECT_EQ(engine.runSource("a", "var total = 1; class K { static var _n = 2; }"), 0);
  EXPECT_EQ(engine.runSource("b", "total += K._n; print(total);"), 0);
  EXPECT_EQ(engine.runSource("c", "undefinedName;"), kStatusError);
  EXPECT_EQ(engine.runSource("d", "print(total);"), 0);
  EXPECT_EQ(out.str(), "3\n3\n");
  EXPECT_EQ(err.str(), "c:1: error: undefined variable 'undefinedName'\n");
}

// Stopped in its debugger, the machine runs no window's script code, except
// the first message of the window being created, which gives it its object.
TEST_F(EngineTest, TheDebuggerSilencesWindowScriptsButCreationGoesOn) {
  Outcome r = run(
      "var seen = 0;\n"
      "class W : WinBase { handleMessage(h, m, wp, lp) { seen++; return base.handleMessage(h, m, wp, lp); } }\n"
      "var w = W();\n"
      "Caller.debugger(1);\n"
      "w.create(\"Tul2Window\", 0, 0, 0, 10, 10, WS_POPUP);\n"
      "w.setPosition(5, 5);\n"
      "var stopped = seen;\n"
      "Caller.debugger(0);\n"
      "w.setPosition(9, 9);\n"
      "print(stopped, seen > stopped, w.getHandle());\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.substr(0, 4), "1 1 ");
  DestroyWindow(reinterpret_cast<HWND>(std::stoul(r.out.substr(4))));
}

}  // namespace
}  // namespace tulscript

// Message dispatch: the window procedure, the handler walk (order, a handler
// that consumes, non-objects, a failing handler, a list changed during the
// walk), the built-in reactions and whose messages they concern, the
// debugger flag, preprocessMessage climbing registered parents, and windows
// destroyed or released from inside their own handlers.
#include <algorithm>
#include <string>

#include "module/errors.h"
#include "tests/window/window_test.h"

namespace {

class DispatchTest : public WindowTest {
 protected:
  // A WinMsgHandler class whose handleMessage records its name and answers
  // `answer` for WM_USER (1 for everything else).
  TulValue handler(const char* name, int answer, std::vector<std::string>& log) {
    TulClass* c = cls(name) ? cls(name) : subclassOf(name, "WinMsgHandler");
    define(c, "handleMessage", [name, answer, &log](ScriptCall& call) {
      bool mine = call.arg(2) == WM_USER;
      if (mine) log.push_back(name);
      call.result = TulValue(mine ? answer : 1);
      return true;
    });
    return object(c);
  }

  TulValue topWindow(TulClass* c = nullptr) {
    TulValue w = c ? object(c) : make("WinBase");
    create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(200),
               TulValue(150), TulValue(int(WS_POPUP | WS_VISIBLE))});
    return w;
  }
};

TEST_F(DispatchTest, HandlersRunInOrderUntilOneAnswersZero) {
  std::vector<std::string> log;
  TulValue w = topWindow();
  TulValue a = handler("A", 1, log), b = handler("B", 0, log), c = handler("C", 1, log);
  for (const TulValue& h : {a, b, c}) EXPECT_EQ(callInt(w, "addMsgHandler", {h}), 1);
  EXPECT_EQ(callInt(w, "addMsgHandler", {a}), 0);  // no object is in the list twice
  EXPECT_EQ(static_cast<TulObject*>(call(a, "getOwner")), static_cast<TulObject*>(w));
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_USER, 0, 0), 0);
  EXPECT_EQ(log, (std::vector<std::string>{"A", "B"}));
  // Without the consuming handler, default processing answers.
  EXPECT_EQ(callInt(w, "removeMsgHandler", {b}), 1);
  EXPECT_EQ(callInt(w, "removeMsgHandler", {b}), 0);
  log.clear();
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_USER, 0, 0), 0);
  EXPECT_EQ(log, (std::vector<std::string>{"A", "C"}));
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_GETTEXTLENGTH, 0, 0), 0);
  call(w, "removeAllMsgHandlers");
  log.clear();
  SendMessageA(hwndOf(w), WM_USER, 0, 0);
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(static_cast<TulObject*>(call(a, "getOwner")), static_cast<TulObject*>(w));
  DestroyWindow(hwndOf(w));
}

TEST_F(DispatchTest, HandlerArgumentsAndOwnersOfSharedHandlers) {
  std::vector<std::string> log;
  TulValue first = topWindow(), second = topWindow();
  TulValue shared = handler("S", 1, log);
  EXPECT_EQ(callInt(first, "addMsgHandler", {shared}), 1);
  EXPECT_EQ(callInt(second, "addMsgHandler", {shared}), 1);
  EXPECT_EQ(static_cast<TulObject*>(call(shared, "getOwner")), static_cast<TulObject*>(first));
  EXPECT_EQ(errorOf(first, "addMsgHandler", {make("WinBase")}), err::kHandlerExpected);
  EXPECT_EQ(errorOf(first, "removeMsgHandler", {TulValue(1)}), err::kHandlerExpected);
  setMember(first, "_handlerList", TulValue(3));
  EXPECT_EQ(errorOf(first, "addMsgHandler", {shared}), err::kHandlerListMissing);
  EXPECT_EQ(errorOf(first, "removeAllMsgHandlers"), err::kHandlerListMissing);
  // A missing list skips the walk without an error.
  EXPECT_EQ(SendMessageA(hwndOf(first), WM_GETTEXTLENGTH, 0, 0), 0);
  DestroyWindow(hwndOf(first));
  DestroyWindow(hwndOf(second));
}

TEST_F(DispatchTest, NonObjectsAreSkippedAndAFailingHandlerStopsEverything) {
  std::vector<std::string> log;
  TulClass* failing = subclassOf("Failing", "WinMsgHandler");
  define(failing, "handleMessage", [this](ScriptCall&) {
    return interp().returnError("handler broke", nullptr);
  });
  TulValue w = topWindow();
  TulValue list = TulValue(new TulVector());
  static_cast<TulVector*>(list)->push_back(TulValue(42));
  static_cast<TulVector*>(list)->push_back(handler("A", 1, log));
  static_cast<TulVector*>(list)->push_back(object(failing));
  static_cast<TulVector*>(list)->push_back(handler("C", 1, log));
  setMember(w, "_handlerList", list);
  EXPECT_EQ(errorOf(w, "handleMessage", {handleValue(hwndOf(w)), TulValue(int(WM_USER)),
                                         TulValue(0), TulValue(0)}),
            "handler broke");
  EXPECT_EQ(log, (std::vector<std::string>{"A"}));
  // Through the system the error stays with the interpreter and the default
  // procedure answers.
  interp().clearError();
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_GETTEXTLENGTH, 0, 0), 0);
  EXPECT_EQ(interp().lastError().message, "handler broke");
  interp().clearError();
  DestroyWindow(hwndOf(w));
}

TEST_F(DispatchTest, AWalkSeesTheListAsItIsNowNeverPastItsEnd) {
  std::vector<std::string> log;
  TulValue w = topWindow();
  TulValue a = handler("A", 1, log), b = handler("B", 1, log), c = handler("C", 1, log);
  TulValue d = handler("D", 1, log);
  TulClass* editor = subclassOf("Editor", "WinMsgHandler");
  define(editor, "handleMessage", [&](ScriptCall& call) {
    if (call.arg(2) == WM_USER) {
      log.push_back("E");
      // Removes itself and the next handler, then adds two at the end.
      EXPECT_EQ(callInt(w, "removeMsgHandler", {TulValue(call.self)}), 1);
      EXPECT_EQ(callInt(w, "removeMsgHandler", {b}), 1);
      EXPECT_EQ(callInt(w, "addMsgHandler", {c}), 1);
      EXPECT_EQ(callInt(w, "addMsgHandler", {d}), 1);
    }
    call.result = TulValue(1);
    return true;
  });
  call(w, "addMsgHandler", {a});
  call(w, "addMsgHandler", {object(editor)});  // only the list keeps it alive
  call(w, "addMsgHandler", {b});
  SendMessageA(hwndOf(w), WM_USER, 0, 0);
  // The walk took its three steps: A, the editor, then what stands third
  // now (C, which took the second place, is not reached this time).
  EXPECT_EQ(log, (std::vector<std::string>{"A", "E", "D"}));
  log.clear();
  SendMessageA(hwndOf(w), WM_USER, 0, 0);
  EXPECT_EQ(log, (std::vector<std::string>{"A", "C", "D"}));
  // A list that shrinks under the walk ends it.
  TulClass* clearer = subclassOf("Clearer", "WinMsgHandler");
  define(clearer, "handleMessage", [&](ScriptCall& c2) {
    if (c2.arg(2) == WM_USER) call(w, "removeAllMsgHandlers");
    c2.result = TulValue(1);
    return true;
  });
  call(w, "removeMsgHandler", {c});
  call(w, "addMsgHandler", {object(clearer)});
  call(w, "addMsgHandler", {c});
  log.clear();
  SendMessageA(hwndOf(w), WM_USER, 0, 0);
  EXPECT_EQ(log, (std::vector<std::string>{"A", "D"}));
  DestroyWindow(hwndOf(w));
}

TEST_F(DispatchTest, TheBrushErasesOnlyTheWindowsOwnBackgroundAndGoesWithIt) {
  TulValue w = topWindow();
  HWND h = hwndOf(w);
  UpdateWindow(h);
  HBRUSH red = CreateSolidBrush(RGB(255, 0, 0));
  setMember(w, "_backBrush", handleValue(reinterpret_cast<HWND>(red)));
  HDC dc = GetDC(h);
  auto erase = [&](HWND target) {
    return callInt(w, "handleMessage", {handleValue(target), TulValue(int(WM_ERASEBKGND)),
                                        handleValue(reinterpret_cast<HWND>(dc)), TulValue(0)});
  };
  // Another window's erase request gets default processing (the class
  // brush, which answers 1) and leaves this window's pixels alone.
  HWND other = CreateWindowExA(0, "Tul2Window", "", WS_POPUP, 0, 0, 5, 5, nullptr, nullptr,
                               nullptr, nullptr);
  EXPECT_EQ(erase(other), 1);
  EXPECT_EQ(win32sim::pixel(h, 10, 10), RGB(255, 255, 255));
  SetMapMode(dc, MM_LOMETRIC);
  EXPECT_EQ(erase(h), 0);
  EXPECT_EQ(win32sim::pixel(h, 10, 10), RGB(255, 0, 0));
  EXPECT_EQ(win32sim::pixel(h, 199, 149), RGB(255, 0, 0));
  EXPECT_EQ(GetMapMode(dc), MM_TEXT);
  ReleaseDC(h, dc);
  DestroyWindow(other);
  DestroyWindow(h);
  TulObject* o = static_cast<TulObject*>(w);
  int index = o->getClass()->getMemberIndex(TulString("_backBrush"));
  EXPECT_EQ(static_cast<int>((*o->getMemberData())[static_cast<unsigned>(index)]), 0);
  EXPECT_FALSE(DeleteObject(red));  // deleted with the window
}

TEST_F(DispatchTest, WhileStoppedInTheDebuggerRegisteredWindowsAnswerZero) {
  TulClass* probe = subclassOf("Probe");
  int calls = 0;
  define(probe, "handleMessage", [&](ScriptCall& c) {
    ++calls;
    return inherited(probe, c, "handleMessage");
  });
  TulValue w = topWindow(probe);
  SetWindowTextA(hwndOf(w), "abc");
  calls = 0;
  vm_->setInDbg(true);
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_GETTEXTLENGTH, 0, 0), 0);  // not 3
  EXPECT_EQ(calls, 0);
  vm_->setInDbg(false);
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_GETTEXTLENGTH, 0, 0), 3);
  EXPECT_EQ(calls, 1);
  DestroyWindow(hwndOf(w));
}

TEST_F(DispatchTest, PreprocessClimbsRegisteredParentsToTheFirstTable) {
  TulValue top = topWindow();
  TulValue mid = make("WinBase");
  create(mid, {str("Tul2Window"), top, TulValue(0), TulValue(0), TulValue(50), TulValue(50),
               TulValue(int(WS_CHILD | WS_VISIBLE))});
  HWND leaf = CreateWindowExA(0, "Static", "", WS_CHILD, 0, 0, 5, 5, hwndOf(mid), nullptr,
                              nullptr, nullptr);
  TulValue leafObj = make("WinBase");
  call(leafObj, "createFromHandle", {handleValue(leaf)});
  TulClass* commands = subclassOf("Commands", "WinMsgHandler");
  std::vector<int> seen;
  define(commands, "handleMessage", [&](ScriptCall& c) {
    if (c.arg(2) == WM_COMMAND) seen.push_back(c.arg(3));
    c.result = TulValue(1);
    return true;
  });
  call(top, "addMsgHandler", {object(commands)});
  call(top, "addAccelerator", {TulValue(VK_F5), TulValue(42), TulValue(FVIRTKEY)});

  TulValue msg = make("MSG");
  call(msg, "setHwnd", {handleValue(leaf)});
  call(msg, "setMsgId", {TulValue(int(WM_KEYDOWN))});
  call(msg, "setWParam", {TulValue(VK_F5)});
  EXPECT_EQ(callInt(leafObj, "preprocessMessage", {msg}), 1);
  EXPECT_EQ(seen, (std::vector<int>{MAKEWPARAM(42, 1)}));
  call(msg, "setWParam", {TulValue(VK_F6)});
  EXPECT_EQ(callInt(leafObj, "preprocessMessage", {msg}), 0);
  // Without a table on the way up any argument is taken.
  TulValue lone = topWindow();
  EXPECT_EQ(callInt(lone, "preprocessMessage", {TulValue(5)}), 0);
  DestroyWindow(hwndOf(lone));
  EXPECT_EQ(errorOf(top, "preprocessMessage", {TulValue(5)}), err::kMsgArgumentExpected);
  setMember(msg, "_msg", TulValue(new TulBuffer(27)));
  EXPECT_EQ(errorOf(top, "preprocessMessage", {msg}), err::kInvalidMsgData);
  DestroyWindow(hwndOf(top));
}

TEST_F(DispatchTest, AWindowDestroyedAndReleasedInsideItsOwnHandler) {
  TulClass* selfDestroying = subclassOf("SelfDestroying");
  TulValue keep;
  std::vector<unsigned> seen;
  define(selfDestroying, "handleMessage", [&](ScriptCall& c) {
    seen.push_back(static_cast<unsigned>(c.arg(1)));
    if (c.arg(1) == WM_USER) {
      DestroyWindow(hwndOf(TulValue(c.self)));
      keep = TulValue();  // the last reference but the call's own
    }
    return inherited(selfDestroying, c, "handleMessage");
  });
  keep = topWindow(selfDestroying);
  HWND h = hwndOf(keep);
  unsigned registered = registryCount();
  SendMessageA(h, WM_USER, 0, 0);
  EXPECT_FALSE(IsWindow(h));
  EXPECT_EQ(registryCount(), registered - 1);
  // WM_DESTROY reached the script; WM_NCDESTROY, after the entry went, not.
  EXPECT_NE(std::find(seen.begin(), seen.end(), unsigned(WM_DESTROY)), seen.end());
  EXPECT_EQ(std::find(seen.begin(), seen.end(), unsigned(WM_NCDESTROY)), seen.end());
}

TEST_F(DispatchTest, AFailedDestroyLeavesNoEntryBehind) {
  TulClass* failing = subclassOf("FailsOnDestroy");
  define(failing, "handleMessage", [&](ScriptCall& c) {
    if (c.arg(1) == WM_DESTROY) return interp().returnError("no", nullptr);
    return inherited(failing, c, "handleMessage");
  });
  TulValue w = topWindow(failing);
  unsigned registered = registryCount();
  DestroyWindow(hwndOf(w));
  EXPECT_EQ(registryCount(), registered - 1);
  interp().clearError();
}

}  // namespace

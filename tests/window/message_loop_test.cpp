// The message loop and accelerators: how mainLoop ends (quit, an empty
// registry, a failing preprocessMessage, a failing handler), what it hands
// to preprocessMessage, the debugger flag, identifiers, and accelerator
// tables translated with and without modifiers, rebuilt and destroyed.
#include "module/errors.h"
#include "tests/window/window_test.h"

namespace {

constexpr int kQuitCommand = 100;
constexpr int kPlainCommand = 101;

class MessageLoopTest : public WindowTest {
 protected:
  // A window class that records WM_COMMAND identifiers and quits on
  // kQuitCommand.
  TulValue commandWindow(std::vector<int>& commands) {
    TulClass* c = subclassOf("CommandWindow");
    define(c, "handleMessage", [this, c, &commands](ScriptCall& call) {
      if (call.arg(1) == WM_COMMAND) {
        commands.push_back(LOWORD(call.arg(2)));
        if (LOWORD(call.arg(2)) == kQuitCommand && !callStatic("forceQuit")) return false;
      }
      return inherited(c, call, "handleMessage");
    });
    TulValue w = object(c);
    create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(100),
               TulValue(100), TulValue(int(WS_POPUP | WS_VISIBLE))});
    SetFocus(hwndOf(w));
    return w;
  }

  bool mainLoop() { return callStatic("mainLoop"); }
};

TEST_F(MessageLoopTest, ForceQuitEndsTheLoopAndTheReturnCodeStays) {
  std::vector<int> commands;
  TulValue w = commandWindow(commands);
  ASSERT_TRUE(callStatic("setReturnCode", {TulValue(3)}));
  PostMessageA(hwndOf(w), WM_COMMAND, kPlainCommand, 0);
  PostMessageA(hwndOf(w), WM_COMMAND, kQuitCommand, 0);
  PostMessageA(hwndOf(w), WM_COMMAND, kPlainCommand + 1, 0);  // after the quit: still handled
  ASSERT_TRUE(mainLoop()) << interp().lastError().message;
  EXPECT_EQ(commands, (std::vector<int>{kPlainCommand, kQuitCommand, kPlainCommand + 1}));
  EXPECT_EQ(static_cast<int>(*tulrt::findStatic(cls("WinBase"), "_returnCode")), 3);
  EXPECT_FALSE(callStatic("setReturnCode", {str("x")}));
  EXPECT_FALSE(callStatic("setAutoQuit", {TulValue(1.5)}));
  DestroyWindow(hwndOf(w));
}

TEST_F(MessageLoopTest, TheLoopEndsWhenNoWindowIsRegistered) {
  std::vector<int> commands;
  TulValue w = commandWindow(commands);
  ASSERT_TRUE(callStatic("setAutoQuit", {TulValue(0)}));  // changes nothing here
  PostMessageA(hwndOf(w), WM_CLOSE, 0, 0);  // destroys the last window
  PostThreadMessageA(GetCurrentThreadId(), WM_USER, 0, 0);
  PostThreadMessageA(GetCurrentThreadId(), WM_USER + 1, 0, 0);
  ASSERT_TRUE(mainLoop());
  MSG left;
  ASSERT_TRUE(PeekMessageA(&left, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(left.message, unsigned(WM_USER + 1));  // the loop stopped at WM_USER
}

TEST_F(MessageLoopTest, PreprocessSeesEachMessageAndCanConsumeIt) {
  TulClass* c = subclassOf("Filtering");
  std::vector<int> preprocessed, handled;
  define(c, "preprocessMessage", [&](ScriptCall& call) {
    int id = callInt(call.args[0], "getMsgId");
    preprocessed.push_back(id);
    EXPECT_EQ(callInt(call.args[0], "getHwnd"), static_cast<int>(handleValue(hwndOf(TulValue(call.self)))));
    call.result = TulValue(id == WM_USER ? 1 : 0);
    return true;
  });
  define(c, "handleMessage", [&](ScriptCall& call) {
    if (call.arg(1) >= WM_USER) handled.push_back(call.arg(1));
    if (call.arg(1) == WM_USER + 2 && !callStatic("forceQuit")) return false;
    return inherited(c, call, "handleMessage");
  });
  TulValue w = object(c);
  create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(10), TulValue(10),
             TulValue(int(WS_POPUP))});
  for (int m : {WM_USER, WM_USER + 1, WM_USER + 2}) PostMessageA(hwndOf(w), m, 0, 0);
  ASSERT_TRUE(mainLoop());
  EXPECT_EQ(preprocessed, (std::vector<int>{WM_USER, WM_USER + 1, WM_USER + 2}));
  EXPECT_EQ(handled, (std::vector<int>{WM_USER + 1, WM_USER + 2}));

  // A failing preprocessMessage ends the loop with its error, the message
  // neither translated nor dispatched.
  define(c, "preprocessMessage", [this](ScriptCall&) {
    return interp().returnError("preprocess broke", nullptr);
  });
  handled.clear();
  PostMessageA(hwndOf(w), WM_USER + 1, 0, 0);
  EXPECT_FALSE(mainLoop());
  EXPECT_EQ(interp().lastError().message, "preprocess broke");
  EXPECT_TRUE(handled.empty());
  DestroyWindow(hwndOf(w));
}

TEST_F(MessageLoopTest, AHandlerThatFailsEndsTheLoopWithItsError) {
  TulClass* c = subclassOf("Failing");
  define(c, "handleMessage", [&](ScriptCall& call) {
    if (call.arg(1) == WM_USER) return interp().returnError("handler broke", nullptr);
    return inherited(c, call, "handleMessage");
  });
  TulValue w = object(c);
  create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(10), TulValue(10),
             TulValue(int(WS_POPUP))});
  PostMessageA(hwndOf(w), WM_USER, 0, 0);
  PostMessageA(hwndOf(w), WM_USER + 1, 0, 0);
  EXPECT_FALSE(mainLoop());
  EXPECT_EQ(interp().lastError().message, "handler broke");
  MSG left;
  ASSERT_TRUE(PeekMessageA(&left, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(left.message, unsigned(WM_USER + 1));

  // A failure deeper in, reached only through default processing (WM_CLOSE
  // destroys the window, whose WM_DESTROY handler fails), ends it too.
  define(c, "handleMessage", [&](ScriptCall& call) {
    if (call.arg(1) == WM_DESTROY) return interp().returnError("destroy broke", nullptr);
    return inherited(c, call, "handleMessage");
  });
  interp().clearError();
  PostMessageA(hwndOf(w), WM_CLOSE, 0, 0);
  EXPECT_FALSE(mainLoop());
  EXPECT_EQ(interp().lastError().message, "destroy broke");
  EXPECT_FALSE(IsWindow(hwndOf(w)));
  interp().clearError();
}

TEST_F(MessageLoopTest, AnErrorAHandlerCaughtDoesNotEndTheLoop) {
  TulClass* c = subclassOf("Catching");
  define(c, "handleMessage", [&](ScriptCall& call) {
    HWND h = hwndOf(TulValue(call.self));
    if (call.arg(1) == WM_USER) return interp().returnError("inner broke", nullptr);
    if (call.arg(1) == WM_USER + 1) {
      SendMessageA(h, WM_USER, 0, 0);  // fails inside; this handler takes it
      interp().clearError();
    }
    if (call.arg(1) == WM_USER + 2 && !callStatic("forceQuit")) return false;
    return inherited(c, call, "handleMessage");
  });
  TulValue w = object(c);
  create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(10), TulValue(10),
             TulValue(int(WS_POPUP))});
  PostMessageA(hwndOf(w), WM_USER + 1, 0, 0);
  PostMessageA(hwndOf(w), WM_USER + 2, 0, 0);
  EXPECT_TRUE(mainLoop()) << interp().lastError().message;
  DestroyWindow(hwndOf(w));
}

TEST_F(MessageLoopTest, InTheDebuggerFetchedMessagesAreDropped) {
  std::vector<int> commands;
  TulValue w = commandWindow(commands);
  vm_->setInDbg(true);
  PostMessageA(hwndOf(w), WM_COMMAND, kPlainCommand, 0);
  PostQuitMessage(0);
  ASSERT_TRUE(mainLoop());
  vm_->setInDbg(false);
  EXPECT_TRUE(commands.empty());
  DestroyWindow(hwndOf(w));
}

TEST_F(MessageLoopTest, IdentifiersCountFromOneAndCommonControls) {
  TulValue id;
  for (int expected : {1, 2, 3}) {
    ASSERT_TRUE(callStatic("createID", {}, &id));
    EXPECT_EQ(static_cast<int>(id), expected);
  }
  ASSERT_TRUE(callStatic("initCommonControls", {TulValue(255)}, &id));
  EXPECT_EQ(static_cast<int>(id), 1);
  EXPECT_FALSE(callStatic("initCommonControls", {str("all")}));
  TulValue old;
  ASSERT_TRUE(callStatic("getHInstance", {}, &old));
  ASSERT_TRUE(callStatic("setHInstance", {TulValue(0x1234)}));
  ASSERT_TRUE(callStatic("getHInstance", {}, &id));
  EXPECT_EQ(static_cast<int>(id), 0x1234);
  ASSERT_TRUE(callStatic("setHInstance", {old}));
  EXPECT_FALSE(callStatic("createID", {TulValue(1)}));
  EXPECT_EQ(interp().lastError().message, err::kTooMany);
}

TEST_F(MessageLoopTest, AcceleratorsTranslateExactlyTheirModifiers) {
  std::vector<int> commands;
  TulValue w = commandWindow(commands);
  EXPECT_EQ(call(w, "addAccelerator", {TulValue('Q'), TulValue(kQuitCommand),
                                       TulValue(FVIRTKEY | FCONTROL)})
                .type(),
            TulValueType::Empty);
  call(w, "addAccelerator", {TulValue('P'), TulValue(kPlainCommand), TulValue(FVIRTKEY)});
  win32sim::pressKey('P', win32sim::kShift);  // Shift is not in the entry: no command
  win32sim::pressKey('P');
  win32sim::pressKey('Q');
  win32sim::pressKey('Q', win32sim::kControl);
  ASSERT_TRUE(mainLoop()) << interp().lastError().message;
  EXPECT_EQ(commands, (std::vector<int>{kPlainCommand, kQuitCommand}));
  DestroyWindow(hwndOf(w));
}

TEST_F(MessageLoopTest, TablesAreRebuiltFromTheArrayAndDestroyed) {
  const int tables = win32sim::counts().acceleratorTables;
  TulValue w = make("WinBase");
  for (int key : {'A', 'B', 'C'}) call(w, "addAccelerator", {TulValue(key), TulValue(key)});
  EXPECT_EQ(static_cast<TulVector*>(call(w, "getAcceleratorArray"))->size(), 3u);
  EXPECT_EQ(win32sim::counts().acceleratorTables, tables + 1);
  auto table = [&] {
    TulObject* o = static_cast<TulObject*>(w);
    int i = o->getClass()->getMemberIndex(TulString("_haccel"));
    return reinterpret_cast<HACCEL>(static_cast<std::uintptr_t>(
        static_cast<unsigned>(static_cast<int>((*o->getMemberData())[static_cast<unsigned>(i)]))));
  };
  EXPECT_EQ(CopyAcceleratorTableA(table(), nullptr, 0), 3);
  // Edits of the shared array count at the next rebuild only; elements that
  // are not ACCEL objects become entries of zeros.
  TulVector* array = static_cast<TulVector*>(call(w, "getAcceleratorArray"));
  array->push_back(TulValue(7));
  array->push_back(make("RECT"));
  EXPECT_EQ(CopyAcceleratorTableA(table(), nullptr, 0), 3);
  call(w, "applyAccelerators");
  ACCEL entries[5];
  ASSERT_EQ(CopyAcceleratorTableA(table(), entries, 5), 5);
  EXPECT_EQ(entries[2].key, 'C');
  EXPECT_EQ(entries[3].key | entries[3].cmd | entries[3].fVirt, 0);
  EXPECT_EQ(entries[4].key | entries[4].cmd | entries[4].fVirt, 0);
  EXPECT_EQ(win32sim::counts().acceleratorTables, tables + 1);
  array->clear();
  call(w, "applyAccelerators");
  EXPECT_EQ(table(), nullptr);
  EXPECT_EQ(win32sim::counts().acceleratorTables, tables);

  EXPECT_EQ(errorOf(w, "addAccelerator", {TulValue(1)}), err::kTooFew);
  EXPECT_EQ(errorOf(w, "addAccelerator", {TulValue(1), TulValue(2), TulValue(3), TulValue(4)}),
            err::kTooMany);
  EXPECT_EQ(errorOf(w, "addAccelerator", {make("RECT"), TulValue(2)}), "");  // key 0
  setMember(w, "_accelArray", TulValue(1));
  EXPECT_EQ(errorOf(w, "addAccelerator", {TulValue(1), TulValue(2)}), err::kAcceleratorArrayMissing);
  EXPECT_EQ(errorOf(w, "applyAccelerators"), err::kAcceleratorArrayMissing);
}

}  // namespace

// What scripts cannot see of WinBase: the window being created and its first
// WM_NCCREATE, the registry after objects are released past a dtor
// override, and the debugger flag. The script tests under tests/script/window
// check the rest (torture.tul the entries a failed WM_DESTROY leaves,
// handler_errors.tul an error a handler caught), on the Linux layer and on
// Wine alike.
#include "module/errors.h"
#include "tests/window/window_test.h"
#include "window/window_class.h"

namespace {

class WinBaseTest : public WindowTest {
 protected:
  TulValue popup(TulClass* c) {
    TulValue w = c ? object(c) : make("WinBase");
    create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(50),
               TulValue(50), TulValue(int(WS_POPUP))});
    return w;
  }
};

TEST_F(WinBaseTest, TheFirstMessageTheScriptSeesIsNcCreateBeforeTheHandleIsSet) {
  TulClass* probe = subclassOf("Probe");
  std::vector<std::pair<unsigned, int>> seen;
  define(probe, "handleMessage", [&](ScriptCall& c) {
    seen.emplace_back(static_cast<unsigned>(c.arg(1)), callInt(TulValue(c.self), "getHandle"));
    return inherited(probe, c, "handleMessage");
  });
  TulValue w = object(probe);
  create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(50), TulValue(50),
             TulValue(int(WS_OVERLAPPEDWINDOW | WS_VISIBLE))});
  ASSERT_EQ(seen.size(), 1u);  // the rest of creation went to the default procedure
  EXPECT_EQ(seen[0], std::make_pair(unsigned(WM_NCCREATE), 0));
  EXPECT_EQ(pendingCreateWindow(), nullptr);
  SendMessageA(hwndOf(w), WM_USER, 0, 0);
  EXPECT_EQ(seen.back().first, unsigned(WM_USER));
  EXPECT_NE(seen.back().second, 0);
  DestroyWindow(hwndOf(w));
}

// A released object's entry going is pinned by tests/script/window/torture.tul.
TEST_F(WinBaseTest, AReleasedObjectTakesTheWindowBeingCreatedWithIt) {
  TulValue failed = make("WinBase");
  EXPECT_EQ(errorOf(failed, "create", {str("NoSuchClass")}), err::kWindowCreationFailed);
  EXPECT_EQ(pendingCreateWindow(), static_cast<TulObject*>(failed));
  failed = TulValue();
  EXPECT_EQ(pendingCreateWindow(), nullptr);
}

TEST_F(WinBaseTest, ADtorOverrideStillReleasesTheEntryAndTheTable) {
  TulClass* mine = subclassOf("Mine");
  int dtors = 0;
  define(mine, "dtor", [&](ScriptCall&) { ++dtors; return true; });
  TulValue w = popup(mine);
  call(w, "addAccelerator", {TulValue('A'), TulValue(1)});
  HWND h = hwndOf(w);
  const unsigned registered = registryCount();
  w = TulValue();
  EXPECT_EQ(dtors, 1);
  EXPECT_EQ(registryCount(), registered - 1);
  DestroyWindow(h);  // the fixture checks that the table went too
}

TEST_F(WinBaseTest, StoppedInTheDebuggerWindowsAnswerZeroAndTheLoopDropsMessages) {
  TulClass* probe = subclassOf("Probe");
  int calls = 0;
  define(probe, "handleMessage", [&](ScriptCall& c) {
    ++calls;
    return inherited(probe, c, "handleMessage");
  });
  TulValue w = popup(probe);
  SetWindowTextA(hwndOf(w), "abc");
  calls = 0;
  vm_->setInDbg(true);
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_GETTEXTLENGTH, 0, 0), 0);  // not 3
  PostMessageA(hwndOf(w), WM_USER, 0, 0);
  PostQuitMessage(0);
  EXPECT_TRUE(callStatic("mainLoop"));
  EXPECT_EQ(calls, 0);
  vm_->setInDbg(false);
  EXPECT_EQ(SendMessageA(hwndOf(w), WM_GETTEXTLENGTH, 0, 0), 3);
  EXPECT_EQ(calls, 1);
  DestroyWindow(hwndOf(w));
}

}  // namespace

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

using WinBaseTest = WindowTest;

// Stopped in the debugger, windows answer 0 and the loop drops messages.
TEST_F(WinBaseTest, FirstMessageIsNcCreateBeforeTheHandleAndTheDebuggerSilencesScripts) {
  TulClass* probe = subclassOf("Probe");
  std::vector<std::pair<unsigned, int>> seen;
  define(probe, "handleMessage", [&](ScriptCall& c) {
    seen.emplace_back(static_cast<unsigned>(c.arg(1)), callInt(TulValue(c.self), "getHandle"));
    return inherited(probe, c, "handleMessage");
  });
  TulValue w = window(probe, nullptr, int(WS_OVERLAPPEDWINDOW | WS_VISIBLE));
  const HWND h = hwndOf(w);
  ASSERT_EQ(seen.size(), 1u);  // the rest of creation went to the default procedure
  EXPECT_EQ(seen[0], std::make_pair(unsigned(WM_NCCREATE), 0));
  EXPECT_EQ(pendingCreateWindow(), nullptr);
  SendMessageA(h, WM_USER, 0, 0);
  EXPECT_EQ(seen.back().first, unsigned(WM_USER));
  EXPECT_NE(seen.back().second, 0);

  SetWindowTextA(h, "abc");
  seen.clear();
  vm_->setInDbg(true);
  EXPECT_EQ(SendMessageA(h, WM_GETTEXTLENGTH, 0, 0), 0);  // not 3
  PostMessageA(h, WM_USER, 0, 0);
  PostQuitMessage(0);
  EXPECT_TRUE(callStatic("mainLoop"));
  EXPECT_TRUE(seen.empty());
  vm_->setInDbg(false);
  EXPECT_EQ(SendMessageA(h, WM_GETTEXTLENGTH, 0, 0), 3);
  EXPECT_EQ(seen.size(), 1u);
  DestroyWindow(h);
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
  TulValue w = window(mine);
  call(w, "addAccelerator", {TulValue('A'), TulValue(1)});
  HWND h = hwndOf(w);
  const unsigned registered = registryCount();
  w = TulValue();
  EXPECT_EQ(dtors, 1);
  EXPECT_EQ(registryCount(), registered - 1);
  DestroyWindow(h);  // the fixture checks that the table went too
}

}  // namespace

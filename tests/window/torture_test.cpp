// Re-entrancy as native code sees it: after handlers destroy windows,
// release objects and run loops of their own in the middle of a dispatch,
// every registry entry still names a live object standing for its window,
// and an object that cannot forget its window is never handed one. The
// script tests under tests/script/window (torture.tul) check what scripts
// see of the same.
#include "module/errors.h"
#include "tests/window/window_test.h"
#include "window/window_class.h"

namespace {

class TortureTest : public WindowTest {
 protected:
  // Every entry can be found by its object's own handle (so the order the
  // lookups bisect holds), and that handle is a live window.
  static void expectRegistryConsistent() {
    for (unsigned i = 0; i < registryCount(); ++i) {
      TulValue obj(registryObject(static_cast<int>(i)));
      HWND h = hwndOf(obj);
      EXPECT_EQ(registryFind(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(h))),
                static_cast<int>(i));
      EXPECT_TRUE(IsWindow(h)) << "entry " << i << " outlived its window";
    }
  }
};

TEST_F(TortureTest, AnObjectOfAnotherClassIsNeverGivenAWindow) {
  const unsigned registered = registryCount();
  const long windows = win32sim::counts().windows;
  for (const char* name : {"POINT", "Vector", "WinMsgHandler"}) {
    TulValue notAWindow = make(name);
    TulValue result;
    EXPECT_FALSE(interp().call(result, cls("WinBase"), "create", &notAWindow,
                               std::vector<TulValue>{str("Tul2Window")}.data(), 1));
    EXPECT_EQ(interp().lastError().message, err::kWindowCreationFailed) << name;
    interp().clearError();
    EXPECT_EQ(pendingCreateWindow(), nullptr) << name;
    const TulValue desktop = handleValue(GetDesktopWindow());
    ASSERT_TRUE(interp().call(result, cls("WinBase"), "createFromHandle", &notAWindow, &desktop, 1));
    EXPECT_EQ(static_cast<int>(result), 0) << name;
  }
  EXPECT_EQ(registryCount(), registered);
  EXPECT_EQ(win32sim::counts().windows, windows);
}

// Each message makes the handler of the window it reaches do one violent
// thing; after each, the registry must still be whole.
TEST_F(TortureTest, TheRegistryStaysWholeThroughViolentHandlers) {
  TulClass* wild = subclassOf("Wild");
  std::vector<TulValue> kept;  // the references the "script" holds
  define(wild, "handleMessage", [&](ScriptCall& c) {
    HWND h = hwndOf(TulValue(c.self));
    switch (c.arg(1)) {
      case WM_USER:  // destroy the parent, from the child
        DestroyWindow(GetParent(h));
        break;
      case WM_USER + 1:  // drop every reference to every window object
        kept.clear();
        break;
      case WM_USER + 2:  // make a child and a sibling, then destroy itself
        kept.push_back(window(wild, h));
        kept.push_back(window(wild));
        DestroyWindow(h);
        break;
      case WM_USER + 3:  // a loop of its own, which the next message ends
        PostMessageA(h, WM_USER + 4, 0, 0);
        if (!callStatic("mainLoop")) return false;
        PostQuitMessage(0);  // and then the outer loop
        break;
      case WM_USER + 4:
        DestroyWindow(h);
        if (!callStatic("forceQuit")) return false;
        break;
    }
    return inherited(wild, c, "handleMessage");
  });

  kept.push_back(window(wild));
  kept.push_back(window(wild, hwndOf(kept[0])));
  SendMessageA(hwndOf(kept[1]), WM_USER, 0, 0);
  EXPECT_FALSE(IsWindow(hwndOf(kept[0])));
  expectRegistryConsistent();

  kept.clear();
  kept.push_back(window(wild));
  SendMessageA(hwndOf(kept[0]), WM_USER + 2, 0, 0);
  ASSERT_EQ(kept.size(), 3u);
  EXPECT_FALSE(IsWindow(hwndOf(kept[0])));
  EXPECT_FALSE(IsWindow(hwndOf(kept[1])));  // the child went with it
  EXPECT_TRUE(IsWindow(hwndOf(kept[2])));
  expectRegistryConsistent();

  HWND sibling = hwndOf(kept[2]);
  SendMessageA(sibling, WM_USER + 1, 0, 0);  // its own object released mid-call
  EXPECT_TRUE(kept.empty());
  expectRegistryConsistent();
  EXPECT_EQ(SendMessageA(sibling, WM_USER + 2, 0, 0), 0);  // nobody answers any more
  DestroyWindow(sibling);

  kept.push_back(window(wild));
  PostMessageA(hwndOf(kept[0]), WM_USER + 3, 0, 0);
  EXPECT_TRUE(callStatic("mainLoop")) << interp().lastError().message;
  EXPECT_FALSE(IsWindow(hwndOf(kept[0])));
  expectRegistryConsistent();
}

}  // namespace

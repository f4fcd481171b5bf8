// Menus where the probe (tests/win32/probes/menu.cpp) and the script test
// (tests/script/desktop/menus.tul) cannot reach: what the open menu looks
// like and the system menu from the keyboard.
#include "tests/win32/layer_test.h"

#include <vector>

namespace {

using layertest::LayerTest;

class Menus : public LayerTest {
 protected:
  void SetUp() override {
    LayerTest::SetUp();
    main_ = layertest::createMain();
    bar_ = CreateMenu();
    file_ = CreatePopupMenu();
    AppendMenuA(file_, MF_STRING, 101, "&Open");
    AppendMenuA(bar_, MF_POPUP, reinterpret_cast<UINT_PTR>(file_), "&File");
    SetMenu(main_, bar_);
    layertest::pumpAll();
    // The menu messages, as "name:detail" lines.
    layertest::messageHook() = [this](HWND, UINT msg, WPARAM wp, LPARAM lp, LRESULT*) {
      if (msg == WM_INITMENUPOPUP) log_.push_back("popup:" + std::to_string(LOWORD(lp)));
      if (msg == WM_UNINITMENUPOPUP) log_.push_back(std::string("unpopup:") + nameOf(wp));
      if (msg == WM_EXITMENULOOP) log_.push_back("exit");
      if (msg == WM_ENTERIDLE) log_.push_back("idle");
      if (msg == WM_SYSCOMMAND && (wp & 0xFFF0) == SC_CLOSE) log_.push_back("close");
      return false;
    };
  }
  void TearDown() override {
    if (IsWindow(main_)) DestroyWindow(main_);
    LayerTest::TearDown();
  }
  const char* nameOf(WPARAM menu) const {
    const HMENU m = reinterpret_cast<HMENU>(menu);
    return m == file_ ? "file" : "other";
  }
  HWND main_ = nullptr;
  HMENU bar_ = nullptr, file_ = nullptr;
  std::vector<std::string> log_;
};

COLORREF barPixel(HWND hwnd, HMENU bar, int item) {
  RECT r;
  GetMenuItemRect(hwnd, bar, static_cast<UINT>(item), &r);
  return win32sim::screenPixel(r.left + 1, r.top + 1);
}

TEST_F(Menus, TheOpenBarItemIsHighlightedAndItsPopupIsAMenuWindow) {
  COLORREF whileOpen = CLR_INVALID;
  HWND popup = nullptr;
  std::string error;
  ASSERT_TRUE(win32sim::chooseMenu(main_, {"File"}, &error)) << error;
  win32sim::setIdleHook([&] {
    whileOpen = barPixel(main_, bar_, 0);
    popup = FindWindowA("#32768", NULL);
    EndMenu();
  });
  layertest::pumpAll();
  EXPECT_EQ(whileOpen, GetSysColor(COLOR_HIGHLIGHT));
  EXPECT_TRUE(popup && !IsWindow(popup)) << "the pop-up window goes when the menu closes";
  EXPECT_EQ(barPixel(main_, bar_, 0), GetSysColor(COLOR_MENU));
  EXPECT_EQ(log_, (std::vector<std::string>{"popup:0", "idle", "unpopup:file", "exit"}));
}

TEST_F(Menus, AltSpaceOpensTheSystemMenuWhoseLastItemCloses) {
  win32sim::pressKey(VK_SPACE, win32sim::kAlt);
  win32sim::pressKey(VK_UP);
  win32sim::pressKey(VK_RETURN);
  layertest::pumpAll();
  EXPECT_FALSE(IsWindow(main_));
  EXPECT_EQ(log_, (std::vector<std::string>{"popup:0", "unpopup:other", "exit", "close"}));
}

}  // namespace

// The ListBox class as a person uses it: clicks, keys and typing through the
// queue, and what it looks like on the screen. The messages themselves
// (multiple selection, the scroll bar and its range among them) are checked
// against Wine by the listbox probe.
#include "tests/win32/layer_test.h"

#include <vector>

namespace {

using layertest::LayerTest;

class ListBox : public LayerTest {
 protected:
  // A list box with `n` items "item0".., exactly `rows` items tall, in a
  // visible main window whose WM_COMMAND notifications the log records.
  HWND make(DWORD style, int n, int rows) {
    main_ = layertest::createMain();
    HWND lb = CreateWindowExA(0, "LISTBOX", "", WS_CHILD | WS_VISIBLE | style, 10, 10, 120, 100,
                              main_, reinterpret_cast<HMENU>(5), NULL, NULL);
    for (int i = 0; i < n; ++i) {
      char text[16];
      snprintf(text, sizeof text, "item%d", i);
      SendMessageA(lb, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    }
    height_ = static_cast<int>(SendMessageA(lb, LB_GETITEMHEIGHT, 0, 0));
    MoveWindow(lb, 10, 10, 120, rows * height_, TRUE);
    layertest::pumpAll();
    layertest::recorded().clear();
    return lb;
  }
  std::vector<int> notifications() { return layertest::notificationsTo(main_); }
  void TearDown() override {
    DestroyWindow(main_);
    LayerTest::TearDown();
  }
  HWND main_ = nullptr;
  int height_ = 0;
};

long cur(HWND lb) { return static_cast<long>(SendMessageA(lb, LB_GETCURSEL, 0, 0)); }
long top(HWND lb) { return static_cast<long>(SendMessageA(lb, LB_GETTOPINDEX, 0, 0)); }

TEST_F(ListBox, QueuedClickKeysAndTypingSelectAndNotify) {
  HWND lb = make(LBS_NOTIFY, 8, 4);
  win32sim::click(lb, 5, 2 * height_ + 1);
  layertest::pumpAll();
  EXPECT_EQ(GetFocus(), lb);
  EXPECT_EQ(cur(lb), 2);
  EXPECT_EQ(notifications(), (std::vector<int>{LBN_SETFOCUS, LBN_SELCHANGE}));
  EXPECT_EQ(GetCapture(), nullptr) << "the button-up ends the click";

  struct Step {
    int vk;
    long cur, top;
  } steps[] = {{VK_DOWN, 3, 0}, {VK_NEXT, 6, 3}, {VK_END, 7, 4}, {VK_HOME, 0, 0}, {VK_UP, 0, 0}};
  for (const Step& s : steps) {
    win32sim::pressKey(s.vk);
    layertest::pumpAll();
    EXPECT_EQ(cur(lb), s.cur) << "key " << s.vk;
    EXPECT_EQ(top(lb), s.top) << "key " << s.vk;
    EXPECT_EQ(notifications(), std::vector<int>{LBN_SELCHANGE}) << "key " << s.vk;
  }
  win32sim::typeText("i");
  layertest::pumpAll();
  EXPECT_EQ(cur(lb), 1) << "the next item after the caret starting with the letter";
  EXPECT_EQ(notifications(), std::vector<int>{LBN_SELCHANGE});
  SendMessageA(lb, LB_SETCURSEL, 5, 0);
  EXPECT_TRUE(notifications().empty()) << "a message is not the user";
}

TEST_F(ListBox, PaintsParentColoursHighlightAndFocusRectangle) {
  static HBRUSH yellow;
  yellow = CreateSolidBrush(RGB(255, 255, 0));
  layertest::messageHook() = [](HWND, UINT msg, WPARAM, LPARAM, LRESULT* answer) {
    if (msg != WM_CTLCOLORLISTBOX) return false;
    *answer = reinterpret_cast<LRESULT>(yellow);
    return true;
  };
  HWND lb = make(0, 3, 4);
  SendMessageA(lb, LB_SETCURSEL, 1, 0);
  UpdateWindow(lb);
  int right = 110;
  EXPECT_EQ(win32sim::pixel(lb, right, 3 * height_ + 2), RGB(255, 255, 0)) << "below the items";
  EXPECT_EQ(win32sim::pixel(lb, right, 2), RGB(255, 255, 0)) << "an unselected item";
  EXPECT_EQ(win32sim::pixel(lb, right, height_ + 2), GetSysColor(COLOR_HIGHLIGHT));
  SetFocus(lb);
  UpdateWindow(lb);
  // The dotted frame inverts the highlight at the item's top-left corner.
  EXPECT_EQ(win32sim::pixel(lb, 0, height_), GetSysColor(COLOR_HIGHLIGHT) ^ 0xFFFFFF);
  EXPECT_EQ(win32sim::pixel(lb, 1, height_), GetSysColor(COLOR_HIGHLIGHT)) << "every other pixel";
  layertest::messageHook() = nullptr;
  DestroyWindow(main_);
  main_ = nullptr;
  DeleteObject(yellow);
}

}  // namespace

// The ComboBox class where the combo probe and the script test do not
// reach: the pointer over the dropped list, a drag from the box into it,
// the simple style, and what the box looks like on the screen.
#include "tests/win32/layer_test.h"

#include <vector>

namespace {

using layertest::LayerTest;

class ComboBox : public LayerTest {
 protected:
  // A combo box of five items "item0".. in a visible main window whose
  // WM_COMMAND notifications the log records.
  HWND make(DWORD style) {
    main_ = layertest::createMain();
    HWND combo = CreateWindowExA(0, "ComboBox", "", WS_CHILD | WS_VISIBLE | style, 10, 10, 120, 150,
                                 main_, reinterpret_cast<HMENU>(5), NULL, NULL);
    for (const char* text : {"item0", "item1", "item2", "item3", "item4"})
      SendMessageA(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text));
    info_.cbSize = sizeof info_;
    GetComboBoxInfo(combo, &info_);
    height_ = static_cast<int>(SendMessageA(combo, CB_GETITEMHEIGHT, 0, 0));
    layertest::pumpAll();
    layertest::recorded().clear();
    return combo;
  }
  std::vector<int> notifications() { return layertest::notificationsTo(main_); }
  void clickButton(HWND combo) {
    win32sim::click(combo, (info_.rcButton.left + info_.rcButton.right) / 2, info_.rcButton.top + 2);
    layertest::pumpAll();
  }
  void TearDown() override {
    DestroyWindow(main_);
    LayerTest::TearDown();  // the pop-up list goes with the box: no window is left
  }
  HWND main_ = nullptr;
  COMBOBOXINFO info_{};
  int height_ = 0;
};

long cur(HWND combo) { return static_cast<long>(SendMessageA(combo, CB_GETCURSEL, 0, 0)); }

TEST_F(ComboBox, PointerOverTheListSelectsSilentlyAndAClickOutsideTakesItBack) {
  HWND combo = make(CBS_DROPDOWNLIST);
  SendMessageA(combo, CB_SETCURSEL, 1, 0);
  clickButton(combo);
  EXPECT_EQ(notifications(), (std::vector<int>{CBN_SETFOCUS, CBN_DROPDOWN}));
  EXPECT_EQ(GetCapture(), info_.hwndList) << "the list follows the pointer";
  win32sim::mouseMove(info_.hwndList, 10, 3 * height_ + 1);
  layertest::pumpAll();
  EXPECT_EQ(cur(combo), 3);
  EXPECT_TRUE(notifications().empty()) << "hovering tells no one";
  win32sim::click(main_, 250, 150);
  layertest::pumpAll();
  EXPECT_EQ(cur(combo), 1) << "a cancel takes the selection back";
  EXPECT_EQ(notifications(), (std::vector<int>{CBN_SELENDCANCEL, CBN_CLOSEUP}));
  EXPECT_FALSE(IsWindowVisible(info_.hwndList));
  EXPECT_EQ(GetCapture(), nullptr);
}

TEST_F(ComboBox, DraggingFromTheButtonIntoTheListPicksWhereReleased) {
  HWND combo = make(CBS_DROPDOWN);
  RECT box;
  GetClientRect(combo, &box);
  int x = (info_.rcButton.left + info_.rcButton.right) / 2;
  win32sim::drag(combo, x, info_.rcButton.top + 2, x, box.bottom + 2 * height_ + height_ / 2);
  layertest::pumpAll();
  EXPECT_EQ(cur(combo), 2);
  EXPECT_EQ(notifications(), (std::vector<int>{CBN_SETFOCUS, CBN_DROPDOWN, CBN_SELENDOK, CBN_CLOSEUP,
                                               CBN_SELCHANGE}));
  char text[16] = "";
  GetWindowTextA(combo, text, sizeof text);
  EXPECT_STREQ(text, "item2");
}

TEST_F(ComboBox, SimpleStyleKeepsItsListShownAndPicksAtOnce) {
  HWND combo = make(CBS_SIMPLE);
  EXPECT_EQ(GetParent(info_.hwndList), combo);
  EXPECT_TRUE(IsWindowVisible(info_.hwndList));
  EXPECT_EQ(info_.stateButton, static_cast<DWORD>(STATE_SYSTEM_INVISIBLE));
  win32sim::click(info_.hwndList, 5, height_ + 1);
  layertest::pumpAll();
  EXPECT_EQ(GetFocus(), info_.hwndItem);
  EXPECT_EQ(cur(combo), 1);
  EXPECT_EQ(notifications(), (std::vector<int>{CBN_SETFOCUS, CBN_SELENDOK, CBN_SELCHANGE}));
  win32sim::pressKey(VK_DOWN);
  layertest::pumpAll();
  EXPECT_EQ(cur(combo), 2);
  EXPECT_EQ(notifications(), std::vector<int>{CBN_SELCHANGE}) << "keys on a shown list only move it";
  SendMessageA(combo, CB_SHOWDROPDOWN, TRUE, 0);
  EXPECT_EQ(SendMessageA(combo, CB_GETDROPPEDSTATE, 0, 0), 0) << "nothing to drop";
  EXPECT_TRUE(notifications().empty());
}

TEST_F(ComboBox, FocusedDropDownListShowsItsItemHighlighted) {
  HWND combo = make(CBS_DROPDOWNLIST);
  SendMessageA(combo, CB_SETCURSEL, 0, 0);
  int y = (info_.rcItem.top + info_.rcItem.bottom) / 2;
  layertest::pumpAll();
  EXPECT_EQ(win32sim::pixel(combo, info_.rcItem.right - 3, y), GetSysColor(COLOR_WINDOW));
  SetFocus(combo);
  layertest::pumpAll();
  EXPECT_EQ(win32sim::pixel(combo, info_.rcItem.right - 3, y), GetSysColor(COLOR_HIGHLIGHT));
  EXPECT_EQ(win32sim::pixel(combo, 0, 0), GetSysColor(COLOR_BTNSHADOW)) << "the sunken edge";
  int arrowX = (info_.rcButton.left + info_.rcButton.right) / 2;
  int arrowY = (info_.rcButton.top + info_.rcButton.bottom) / 2;
  EXPECT_EQ(win32sim::pixel(combo, arrowX, arrowY), GetSysColor(COLOR_BTNTEXT)) << "the arrow";
}

}  // namespace

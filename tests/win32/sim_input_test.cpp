// The simulated user's gestures reach programs as the system's input would:
// to controls, as the scroll-bar tracking loop's messages, and as key names. Typed keys, accelerators,
// resizing and single scroll messages are pinned by tests/script/desktop.
#include "tests/win32/layer_test.h"

#include <cstring>

namespace {

using layertest::Expect;
using layertest::LayerTest;

class SimInput : public LayerTest {};

TEST_F(SimInput, ControlsReportTheUsersGesturesToTheirParent) {
  HWND h = layertest::createMain();
  HWND b = CreateWindowExA(0, "BUTTON", "Go", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 30, 10, 80, 24,
                           h, reinterpret_cast<HMENU>(42), NULL, NULL);
  HWND bar = CreateWindowExA(0, "SCROLLBAR", "", WS_CHILD | WS_VISIBLE | SBS_VERT, 0, 0, 17, 100,
                             h, NULL, NULL, NULL);
  layertest::pumpAll();
  layertest::recorded().clear();
  win32sim::click(b, 5, 5);
  layertest::pumpAll();
  const Expect want[] = {{WM_COMMAND, MAKEWPARAM(42, BN_CLICKED), false}};
  EXPECT_SEQUENCE(want);
  EXPECT_EQ(GetFocus(), b);
  win32sim::clickScrollArrow(bar, SB_CTL, false);
  ASSERT_EQ(layertest::recorded().size(), 2u);
  EXPECT_EQ(layertest::recorded()[0].hwnd, h);
  EXPECT_EQ(layertest::recorded()[0].lp, reinterpret_cast<LPARAM>(bar));
  layertest::recorded().clear();
  DestroyWindow(h);
}

TEST_F(SimInput, ScrollGesturesSendTheTrackingLoopsMessages) {
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_VSCROLL);
  SCROLLINFO si = {sizeof si, SIF_RANGE | SIF_PAGE, 0, 100, 10, 0, 0};
  SetScrollInfo(h, SB_VERT, &si, TRUE);
  std::vector<int> trackSeen;
  layertest::messageHook() = [&](HWND hwnd, UINT msg, WPARAM wp, LPARAM, LRESULT* answer) {
    if (msg != WM_VSCROLL || LOWORD(wp) != SB_THUMBTRACK) return false;
    SCROLLINFO now = {sizeof now, SIF_TRACKPOS | SIF_POS, 0, 0, 0, 0, 0};
    GetScrollInfo(hwnd, SB_VERT, &now);
    trackSeen.push_back(now.nTrackPos);
    EXPECT_EQ(now.nPos, 0) << "the program moves the thumb itself";
    *answer = 0;
    return true;
  };
  layertest::recorded().clear();
  win32sim::clickScrollArrow(h, SB_VERT, true);
  win32sim::clickScrollPage(h, SB_VERT, false);
  win32sim::dragScrollThumb(h, SB_VERT, {10, 40, 70});
  const Expect want[] = {
      {WM_VSCROLL, SB_LINEDOWN, false},
      {WM_VSCROLL, SB_ENDSCROLL, false},
      {WM_VSCROLL, SB_PAGEUP, false},
      {WM_VSCROLL, SB_ENDSCROLL, false},
      {WM_VSCROLL, MAKEWPARAM(SB_THUMBTRACK, 10), false},
      {WM_VSCROLL, MAKEWPARAM(SB_THUMBTRACK, 40), false},
      {WM_VSCROLL, MAKEWPARAM(SB_THUMBTRACK, 70), false},
      {WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, 70), false},
      {WM_VSCROLL, SB_ENDSCROLL, false},
  };
  EXPECT_SEQUENCE(want);
  EXPECT_EQ(trackSeen, (std::vector<int>{10, 40, 70}));
  si.fMask = SIF_TRACKPOS;
  GetScrollInfo(h, SB_VERT, &si);
  EXPECT_EQ(si.nTrackPos, 0) << "after the drag nTrackPos is nPos again";
  DestroyWindow(h);
}

TEST_F(SimInput, AWindowDestroyedDuringAThumbMessageIsLeftAlone) {
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_VSCROLL);
  layertest::messageHook() = [](HWND hwnd, UINT msg, WPARAM, LPARAM, LRESULT*) {
    if (msg == WM_VSCROLL) DestroyWindow(hwnd);
    return false;
  };
  layertest::recorded().clear();
  win32sim::sendScrollMessage(h, SB_VERT, SB_THUMBTRACK, 5);
  EXPECT_FALSE(IsWindow(h));
  win32sim::sendScrollMessage(h, SB_VERT, SB_THUMBTRACK, 5);  // a stale handle sends nothing
  ASSERT_EQ(layertest::recorded().size(), 2u);
  EXPECT_EQ(layertest::recorded()[0].msg, static_cast<UINT>(WM_VSCROLL));
  EXPECT_EQ(layertest::recorded()[1].msg, static_cast<UINT>(WM_DESTROY));
  layertest::recorded().clear();
}

TEST_F(SimInput, KeyNamesFollowTheScanCodeAndTheBuffer) {
  struct Case {
    LONG lParam;
    const char* name;
  } const cases[] = {
      {0x1E << 16, "A"},
      {0x01 << 16, "Esc"},
      {0x36 << 16, "Right Shift"},
      {(0x36 << 16) | (1 << 25), "Shift"},  // left and right not told apart
      {(0x1D << 16) | (1 << 24), "Right Ctrl"},
      {(0x48 << 16) | (1 << 24), "Up"},
      {0x48 << 16, "Num 8"},
      {0x7F << 16, ""},
  };
  char buffer[32];
  for (const Case& c : cases) {
    int n = GetKeyNameTextA(c.lParam, buffer, sizeof buffer);
    EXPECT_STREQ(buffer, c.name) << std::hex << c.lParam;
    EXPECT_EQ(n, static_cast<int>(strlen(c.name)));
  }
  EXPECT_EQ(GetKeyNameTextA(0x1D << 16, buffer, 4), 3);
  EXPECT_STREQ(buffer, "Ctr") << "cut to the buffer with its NUL";
}

}  // namespace

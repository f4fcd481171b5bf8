// The simulated user's gestures reach programs as the system's input would:
// through the queue, with the key state following retrieval, translated to
// characters and accelerators, and as the scroll-bar tracking loop's messages.
#include "tests/win32/layer_test.h"

namespace {

using layertest::Expect;
using layertest::LayerTest;

class SimInput : public LayerTest {};

// A message loop as programs write it, with an accelerator table.
void runLoop(HACCEL accel, HWND target) {
  MSG m;
  while (GetMessageA(&m, NULL, 0, 0) > 0) {
    if (accel && TranslateAcceleratorA(target, accel, &m)) continue;
    TranslateMessage(&m);
    DispatchMessageA(&m);
  }
}

TEST_F(SimInput, TypedTextArrivesAsKeysAndCharacters) {
  HWND h = layertest::createMain();
  layertest::pumpAll();
  layertest::recorded().clear();
  win32sim::typeText("aB!");
  layertest::pumpAll();
  const Expect want[] = {
      {WM_KEYDOWN, 'A', false},      {WM_CHAR, 'a', false},        {WM_KEYUP, 'A', false},
      {WM_KEYDOWN, VK_SHIFT, false}, {WM_KEYDOWN, 'B', false},     {WM_CHAR, 'B', false},
      {WM_KEYUP, 'B', false},        {WM_KEYUP, VK_SHIFT, false},  {WM_KEYDOWN, VK_SHIFT, false},
      {WM_KEYDOWN, '1', false},      {WM_CHAR, '!', false},        {WM_KEYUP, '1', false},
      {WM_KEYUP, VK_SHIFT, false},
  };
  EXPECT_SEQUENCE(want);
  DestroyWindow(h);
}

TEST_F(SimInput, KeyStateFollowsRetrievalNotTheKeyboard) {
  HWND h = layertest::createMain();
  layertest::pumpAll();
  win32sim::keyDown(VK_CONTROL);
  EXPECT_EQ(GetKeyState(VK_CONTROL) & 0x8000, 0) << "not yet retrieved";
  EXPECT_NE(GetAsyncKeyState(VK_CONTROL) & 0x8000, 0) << "the keyboard itself";
  MSG m;
  ASSERT_TRUE(PeekMessageA(&m, NULL, 0, 0, PM_REMOVE));
  EXPECT_EQ(m.message, static_cast<UINT>(WM_KEYDOWN));
  EXPECT_EQ(m.hwnd, h) << "keys go to the focus";
  EXPECT_NE(GetKeyState(VK_CONTROL) & 0x8000, 0);
  win32sim::keyUp(VK_CONTROL);
  layertest::pumpAll();
  EXPECT_EQ(GetKeyState(VK_CONTROL) & 0x8000, 0);
  DestroyWindow(h);
}

TEST_F(SimInput, AcceleratorsSeeTheModifiersOfTheirMessage) {
  HWND h = layertest::createMain();
  ACCEL entries[] = {{FVIRTKEY | FCONTROL, 'N', 100}, {FVIRTKEY | FCONTROL | FSHIFT, 'N', 101},
                     {FVIRTKEY | FALT, VK_F5, 102}};
  HACCEL table = CreateAcceleratorTableA(entries, 3);
  layertest::pumpAll();
  layertest::recorded().clear();
  win32sim::pressKey('N', win32sim::kControl);
  win32sim::pressKey('N', win32sim::kControl | win32sim::kShift);
  win32sim::pressKey(VK_F5, win32sim::kAlt);
  win32sim::pressKey('N');
  win32sim::closeWindow(h);
  SetWindowLongA(h, 0, 1);  // quit when destroyed
  runLoop(table, h);
  std::vector<WPARAM> commands;
  for (const layertest::Recorded& r : layertest::recorded())
    if (r.msg == WM_COMMAND) commands.push_back(r.wp);
  EXPECT_EQ(commands, (std::vector<WPARAM>{MAKEWPARAM(100, 1), MAKEWPARAM(101, 1),
                                           MAKEWPARAM(102, 1)}));
  DestroyAcceleratorTable(table);
  layertest::recorded().clear();
}

TEST_F(SimInput, AltF4ClosesTheTopLevelWindow) {
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW | WS_VISIBLE, true);
  layertest::pumpAll();
  layertest::recorded().clear();
  win32sim::pressKey(VK_F4, win32sim::kAlt);
  runLoop(NULL, h);
  EXPECT_FALSE(IsWindow(h));
  bool sawClose = false;
  for (const layertest::Recorded& r : layertest::recorded())
    sawClose = sawClose || (r.msg == WM_SYSCOMMAND && r.wp == SC_CLOSE);
  EXPECT_TRUE(sawClose);
  layertest::recorded().clear();
}

TEST_F(SimInput, ClickingAButtonNotifiesItsParent) {
  HWND h = layertest::createMain();
  HWND b = CreateWindowExA(0, "BUTTON", "Go", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 10, 10, 80, 24,
                           h, reinterpret_cast<HMENU>(42), NULL, NULL);
  layertest::pumpAll();
  layertest::recorded().clear();
  win32sim::click(b, 5, 5);
  layertest::pumpAll();
  const Expect want[] = {{WM_COMMAND, MAKEWPARAM(42, BN_CLICKED), false}};
  EXPECT_SEQUENCE(want);
  EXPECT_EQ(GetFocus(), b);
  DestroyWindow(h);
}

TEST_F(SimInput, TypingIntoAnEditChangesItsText) {
  HWND h = layertest::createMain();
  HWND e = CreateWindowExA(WS_EX_CLIENTEDGE, "EDIT", "", WS_CHILD | WS_VISIBLE, 10, 10, 120, 20, h,
                           reinterpret_cast<HMENU>(7), NULL, NULL);
  SetFocus(e);
  win32sim::typeText("helo");
  win32sim::pressKey(VK_LEFT);
  win32sim::typeText("l");
  win32sim::pressKey(VK_END);
  win32sim::pressKey(VK_BACK);
  win32sim::typeText("o!");
  layertest::pumpAll();
  char text[32] = "";
  GetWindowTextA(e, text, sizeof text);
  EXPECT_STREQ(text, "hello!");
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

TEST_F(SimInput, OneScrollMessageHoldsTheTrackPositionOnlyWhileHandled) {
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_HSCROLL);
  SCROLLINFO si = {sizeof si, SIF_RANGE | SIF_POS, 0, 200, 0, 30, 0};
  SetScrollInfo(h, SB_HORZ, &si, TRUE);
  int seenTrack = -1;
  layertest::messageHook() = [&](HWND hwnd, UINT msg, WPARAM, LPARAM, LRESULT* answer) {
    if (msg != WM_HSCROLL) return false;
    SCROLLINFO now = {sizeof now, SIF_TRACKPOS, 0, 0, 0, 0, 0};
    GetScrollInfo(hwnd, SB_HORZ, &now);
    seenTrack = now.nTrackPos;
    *answer = 0;
    return true;
  };
  const struct {
    int code, position;
    WPARAM wp;
    int track;  // nTrackPos during the message
  } cases[] = {
      {SB_LINEDOWN, 0, SB_LINEDOWN, 30},
      {SB_THUMBTRACK, 150, MAKEWPARAM(SB_THUMBTRACK, 150), 150},
      {SB_THUMBPOSITION, 151, MAKEWPARAM(SB_THUMBPOSITION, 151), 151},
      {SB_PAGEUP, 99, SB_PAGEUP, 30},  // only thumb codes carry a position
      {SB_ENDSCROLL, 0, SB_ENDSCROLL, 30},
  };
  for (const auto& c : cases) {
    layertest::recorded().clear();
    win32sim::sendScrollMessage(h, SB_HORZ, c.code, c.position);
    ASSERT_EQ(layertest::recorded().size(), 1u) << "code " << c.code;
    EXPECT_EQ(layertest::recorded()[0].wp, c.wp) << "code " << c.code;
    EXPECT_EQ(layertest::recorded()[0].lp, 0) << "a window's own bar";
    EXPECT_EQ(seenTrack, c.track) << "code " << c.code;
    si.fMask = SIF_TRACKPOS | SIF_POS;
    GetScrollInfo(h, SB_HORZ, &si);
    EXPECT_EQ(si.nTrackPos, 30) << "after code " << c.code;
    EXPECT_EQ(si.nPos, 30) << "the program moves the thumb itself";
  }
  layertest::recorded().clear();
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

TEST_F(SimInput, ScrollBarControlsReportToTheirParent) {
  HWND h = layertest::createMain();
  HWND bar = CreateWindowExA(0, "SCROLLBAR", "", WS_CHILD | WS_VISIBLE | SBS_VERT, 0, 0, 17, 100,
                             h, NULL, NULL, NULL);
  layertest::recorded().clear();
  win32sim::clickScrollArrow(bar, SB_CTL, false);
  ASSERT_EQ(layertest::recorded().size(), 2u);
  EXPECT_EQ(layertest::recorded()[0].hwnd, h);
  EXPECT_EQ(layertest::recorded()[0].lp, reinterpret_cast<LPARAM>(bar));
  layertest::recorded().clear();
  DestroyWindow(h);
}

TEST_F(SimInput, ResizingSendsSizeBetweenSizeMoveMessages) {
  HWND h = layertest::createMain();
  layertest::pumpAll();
  layertest::recorded().clear();
  win32sim::resizeWindow(h, 400, 250);
  const Expect want[] = {{WM_ENTERSIZEMOVE}, {WM_SIZE, SIZE_RESTORED, false}, {WM_EXITSIZEMOVE}};
  EXPECT_SEQUENCE(want);
  RECT r;
  GetClientRect(h, &r);
  EXPECT_EQ(r.right, 392);
  EXPECT_EQ(r.bottom, 223);
  DestroyWindow(h);
}

}  // namespace

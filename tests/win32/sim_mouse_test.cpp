// The simulated mouse reaches windows as the system's input path does: hit
// testing, activation, the cursor, capture, double-clicks, the wheel to the
// focus, and the button controls clicked by it.
#include "tests/win32/layer_test.h"

#include <vector>

namespace {

using layertest::LayerTest;

class SimMouse : public LayerTest {};

struct Seen {
  HWND hwnd;
  UINT msg;
  WPARAM wp;
  LPARAM lp;
};

std::vector<Seen>& seen() {
  static std::vector<Seen> log;
  return log;
}

LRESULT& mouseActivateAnswer() {
  static LRESULT answer = 0;  // 0: DefWindowProcA's
  return answer;
}

bool isMouseSide(UINT msg) {
  return msg == WM_SETCURSOR || msg == WM_MOUSEACTIVATE || msg == WM_MOUSEWHEEL ||
         (msg >= WM_MOUSEMOVE && msg <= WM_MBUTTONDBLCLK) ||
         (msg >= WM_NCMOUSEMOVE && msg <= WM_NCMBUTTONDBLCLK) || msg == WM_COMMAND ||
         msg == WM_VSCROLL || msg == WM_PARENTNOTIFY;
}

LRESULT CALLBACK mouseProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (isMouseSide(msg)) seen().push_back({hwnd, msg, wp, lp});
  if (msg == WM_MOUSEACTIVATE && mouseActivateAnswer()) return mouseActivateAnswer();
  return DefWindowProcA(hwnd, msg, wp, lp);
}

// A top-level window of a class with or without CS_DBLCLKS.
HWND createWindow(bool doubleClicks, int x = 40) {
  const char* name = doubleClicks ? "MouseTestDbl" : "MouseTestPlain";
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof wc;
  wc.style = doubleClicks ? CS_DBLCLKS : 0;
  wc.lpfnWndProc = mouseProc;
  wc.hInstance = GetModuleHandleA(NULL);
  wc.hCursor = LoadCursorA(NULL, IDC_ARROW);
  wc.lpszClassName = name;
  RegisterClassExA(&wc);
  HWND h = CreateWindowExA(0, name, "mouse", WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_VSCROLL, x, 40,
                           300, 200, NULL, NULL, GetModuleHandleA(NULL), NULL);
  layertest::pumpAll();
  seen().clear();
  return h;
}

std::vector<UINT> messagesOf(HWND hwnd, bool withFeedback = true) {
  std::vector<UINT> out;
  for (const Seen& s : seen()) {
    if (s.hwnd != hwnd || s.msg == WM_MOUSEMOVE) continue;
    if (!withFeedback && (s.msg == WM_SETCURSOR || s.msg == WM_MOUSEACTIVATE)) continue;
    out.push_back(s.msg);
  }
  seen().clear();
  return out;
}

TEST_F(SimMouse, APressActivatesAnInactiveWindowAndSetsTheCursorFirst) {
  HWND a = createWindow(false, 20);
  HWND b = createWindow(false, 400);
  ASSERT_EQ(GetActiveWindow(), b);
  win32sim::click(a, 10, 10);
  layertest::pumpAll();
  const std::vector<UINT> first = {WM_SETCURSOR,  WM_MOUSEACTIVATE, WM_SETCURSOR,
                                   WM_LBUTTONDOWN, WM_SETCURSOR,    WM_LBUTTONUP};
  EXPECT_EQ(messagesOf(a), first);
  EXPECT_EQ(GetActiveWindow(), a);
  win32sim::click(a, 12, 10);  // active now: no WM_MOUSEACTIVATE
  layertest::pumpAll();
  const std::vector<UINT> second = {WM_SETCURSOR, WM_SETCURSOR, WM_LBUTTONDOWN, WM_SETCURSOR,
                                    WM_LBUTTONUP};
  EXPECT_EQ(messagesOf(a), second);
  DestroyWindow(a);
  DestroyWindow(b);
}

TEST_F(SimMouse, AnEatenPressNeverArrivesAndAskedNotToTheWindowStaysInactive) {
  HWND a = createWindow(false, 20);
  HWND b = createWindow(false, 400);
  mouseActivateAnswer() = MA_NOACTIVATEANDEAT;
  win32sim::click(a, 10, 10);
  layertest::pumpAll();
  mouseActivateAnswer() = 0;
  const std::vector<UINT> want = {WM_LBUTTONUP};  // the press was eaten
  EXPECT_EQ(messagesOf(a, false), want);
  EXPECT_EQ(GetActiveWindow(), b);
  DestroyWindow(a);
  DestroyWindow(b);
}

TEST_F(SimMouse, DoubleClicksNeedTheClassStyleTheTimeAndTheDistance) {
  const UINT kDown = WM_LBUTTONDOWN, kUp = WM_LBUTTONUP, kDbl = WM_LBUTTONDBLCLK;
  struct Case {
    const char* name;
    bool classStyle;
    DWORD pause;  // between the clicks
    int dx;       // the second click's offset
    std::vector<UINT> want;
  } cases[] = {
      {"double", true, 0, 0, {kDown, kUp, kDbl, kUp}},
      {"no CS_DBLCLKS", false, 0, 0, {kDown, kUp, kDown, kUp}},
      {"too slow", true, GetDoubleClickTime(), 0, {kDown, kUp, kDown, kUp}},
      {"just in time", true, GetDoubleClickTime() - 1, 0, {kDown, kUp, kDbl, kUp}},
      {"too far", true, 0, GetSystemMetrics(SM_CXDOUBLECLK) / 2 + 1, {kDown, kUp, kDown, kUp}},
      {"near enough", true, 0, GetSystemMetrics(SM_CXDOUBLECLK) / 2, {kDown, kUp, kDbl, kUp}},
  };
  for (const Case& c : cases) {
    HWND h = createWindow(c.classStyle);
    win32sim::advanceClock(GetDoubleClickTime());  // no earlier press counts
    win32sim::click(h, 50, 50);
    layertest::pumpAll();
    win32sim::advanceClock(c.pause);
    win32sim::click(h, 50 + c.dx, 50);
    layertest::pumpAll();
    EXPECT_EQ(messagesOf(h, false), c.want) << c.name;
    DestroyWindow(h);
  }
}

TEST_F(SimMouse, TheClickAfterADoubleClickIsAPressAgain) {
  HWND h = createWindow(true);
  win32sim::doubleClick(h, 5, 5);
  win32sim::click(h, 5, 5);
  layertest::pumpAll();
  const std::vector<UINT> want = {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK,
                                  WM_LBUTTONUP,   WM_LBUTTONDOWN, WM_LBUTTONUP};
  EXPECT_EQ(messagesOf(h, false), want);
  DestroyWindow(h);
}

TEST_F(SimMouse, ButtonsModifiersAndTheKeyStateTravelWithTheMessages) {
  HWND h = createWindow(false);
  win32sim::click(h, 7, 9, VK_RBUTTON, win32sim::kControl);
  MSG m;
  while (PeekMessageA(&m, NULL, 0, 0, PM_REMOVE)) {
    if (m.message == WM_RBUTTONDOWN) {
      EXPECT_EQ(m.wParam, static_cast<WPARAM>(MK_RBUTTON | MK_CONTROL));
      EXPECT_EQ(m.lParam, MAKELPARAM(7, 9));
      EXPECT_NE(GetKeyState(VK_RBUTTON) & 0x8000, 0);
    }
    if (m.message == WM_RBUTTONUP) {
      EXPECT_EQ(m.wParam, static_cast<WPARAM>(MK_CONTROL));
    }
    DispatchMessageA(&m);
  }
  EXPECT_EQ(GetKeyState(VK_RBUTTON) & 0x8000, 0);
  EXPECT_EQ(GetKeyState(VK_CONTROL) & 0x8000, 0);
  seen().clear();
  DestroyWindow(h);
}

TEST_F(SimMouse, OutsideTheClientAreaTheFrameGetsNonClientMessages) {
  HWND h = createWindow(false);
  RECT client;
  GetClientRect(h, &client);
  POINT onFrame{client.right / 2, -3};  // the caption
  win32sim::mouseMove(h, onFrame.x, onFrame.y);
  layertest::pumpAll();
  ClientToScreen(h, &onFrame);
  std::vector<Seen> moves;
  for (const Seen& s : seen())
    if (s.msg == WM_NCMOUSEMOVE) moves.push_back(s);
  seen().clear();
  ASSERT_EQ(moves.size(), 1u);
  EXPECT_EQ(moves[0].wp, static_cast<WPARAM>(HTCAPTION));
  EXPECT_EQ(moves[0].lp, MAKELPARAM(onFrame.x, onFrame.y)) << "screen coordinates";
  DestroyWindow(h);
}

// The scroll codes a window's bar or a scroll bar control sends to hwnd.
std::vector<WPARAM> scrollCodes(HWND hwnd) {
  std::vector<WPARAM> out;
  for (const Seen& s : seen())
    if (s.hwnd == hwnd && s.msg == WM_VSCROLL) out.push_back(LOWORD(s.wp));
  seen().clear();
  return out;
}

TEST_F(SimMouse, APressOnAScrollBarIsTrackedUntilTheRelease) {
  struct Case {
    const char* name;
    int from, to;  // along the bar, from its top
    std::vector<WPARAM> want;
  } cases[] = {
      {"top arrow", 5, 5, {SB_LINEUP, SB_ENDSCROLL}},
      {"bottom arrow", 95, 95, {SB_LINEDOWN, SB_ENDSCROLL}},
      {"page below the thumb", 60, 60, {SB_PAGEDOWN, SB_ENDSCROLL}},
      {"page above the thumb", 25, 25, {SB_PAGEUP, SB_ENDSCROLL}},
      {"the thumb dragged (in four steps)", 48, 65,
       {SB_THUMBTRACK, SB_THUMBTRACK, SB_THUMBTRACK, SB_THUMBTRACK, SB_THUMBPOSITION, SB_ENDSCROLL}},
      {"the thumb held still", 48, 48, {SB_THUMBPOSITION, SB_ENDSCROLL}},
  };
  for (bool control : {false, true}) {
    HWND h = createWindow(false);
    // A 100-pixel bar either way: the window's (17 wide, right of a client
    // area 100 high) or a control at the client's left edge.
    SetWindowPos(h, NULL, 0, 0, 200, 100 + GetSystemMetrics(SM_CYCAPTION) + 2 * GetSystemMetrics(SM_CYFRAME),
                 SWP_NOMOVE | SWP_NOZORDER);
    HWND bar = control ? CreateWindowExA(0, "SCROLLBAR", "", WS_CHILD | WS_VISIBLE | SBS_VERT, 0,
                                         0, 17, 100, h, NULL, NULL, NULL)
                       : h;
    int which = control ? SB_CTL : SB_VERT;
    SCROLLINFO si{sizeof si, SIF_ALL, 0, 99, 20, 40, 0};
    SetScrollInfo(bar, which, &si, TRUE);
    SCROLLBARINFO info{};
    info.cbSize = sizeof info;
    GetScrollBarInfo(bar, control ? OBJID_CLIENT : OBJID_VSCROLL, &info);
    ASSERT_EQ(info.rcScrollBar.bottom - info.rcScrollBar.top, 100);
    ASSERT_LE(info.xyThumbTop, 48);
    ASSERT_GT(info.xyThumbBottom, 48);
    // The bar's points in the window's client coordinates.
    POINT origin{info.rcScrollBar.left + 5, info.rcScrollBar.top};
    ScreenToClient(h, &origin);
    for (const Case& c : cases) {
      SetScrollPos(bar, which, 40, TRUE);
      seen().clear();
      win32sim::drag(h, origin.x, origin.y + c.from, origin.x, origin.y + c.to);
      layertest::pumpAll();
      EXPECT_EQ(scrollCodes(h), c.want) << c.name << (control ? " (control)" : " (window)");
      EXPECT_EQ(GetCapture(), static_cast<HWND>(NULL));
    }
    DestroyWindow(h);
  }
}

TEST_F(SimMouse, TheWheelGoesToTheFocusAndUpToItsParent) {
  HWND h = createWindow(false);
  HWND button = CreateWindowExA(0, "BUTTON", "b", WS_CHILD | WS_VISIBLE, 200, 100, 50, 20, h, NULL,
                                NULL, NULL);
  SetFocus(button);
  seen().clear();
  win32sim::wheel(h, 10, 10, -2);  // over the parent, towards the user
  layertest::pumpAll();
  std::vector<Seen> wheels;
  for (const Seen& s : seen())
    if (s.msg == WM_MOUSEWHEEL) wheels.push_back(s);
  seen().clear();
  ASSERT_EQ(wheels.size(), 1u) << "the button passes it up";
  EXPECT_EQ(wheels[0].hwnd, h);
  EXPECT_EQ(GET_WHEEL_DELTA_WPARAM(wheels[0].wp), -2 * WHEEL_DELTA);
  DestroyWindow(h);
}

// The parent's WM_COMMAND notifications from its children.
int clicksFrom(HWND parent, HWND child) {
  int n = 0;
  for (const Seen& s : seen())
    if (s.hwnd == parent && s.msg == WM_COMMAND && HIWORD(s.wp) == BN_CLICKED &&
        s.lp == reinterpret_cast<LPARAM>(child))
      ++n;
  return n;
}

TEST_F(SimMouse, APushButtonClicksOnlyWhenReleasedOverIt) {
  HWND h = createWindow(false);
  HWND b = CreateWindowExA(0, "BUTTON", "Go", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 20, 20, 80,
                           24, h, reinterpret_cast<HMENU>(5), NULL, NULL);
  seen().clear();
  win32sim::drag(b, 10, 10, 150, 10);  // pressed, then released outside
  layertest::pumpAll();
  EXPECT_EQ(clicksFrom(h, b), 0);
  EXPECT_EQ(GetCapture(), static_cast<HWND>(NULL));
  seen().clear();
  win32sim::drag(b, 10, 10, 150, 10);
  win32sim::mouseMove(b, 40, 12);  // and back in before the release
  win32sim::mouseButton(VK_LBUTTON, false);
  win32sim::drag(b, 10, 10, 60, 12);
  win32sim::doubleClick(b, 30, 10);  // a push button's double-click is a second click
  layertest::pumpAll();
  EXPECT_EQ(clicksFrom(h, b), 3);
  seen().clear();
  DestroyWindow(h);
}

TEST_F(SimMouse, CheckBoxesToggleAndRadioButtonsMoveTheCheckInTheirGroup) {
  HWND h = createWindow(false);
  auto make = [h](DWORD style, int y) {
    return CreateWindowExA(0, "BUTTON", "x", WS_CHILD | WS_VISIBLE | style, 10, y, 100, 20, h,
                           NULL, NULL, NULL);
  };
  HWND box = make(BS_AUTOCHECKBOX, 0);
  HWND r1 = make(BS_AUTORADIOBUTTON | WS_GROUP, 30);
  HWND r2 = make(BS_AUTORADIOBUTTON, 60);
  HWND other = make(BS_AUTORADIOBUTTON | WS_GROUP, 90);  // the next group
  SendMessageA(r1, BM_SETCHECK, BST_CHECKED, 0);
  SendMessageA(other, BM_SETCHECK, BST_CHECKED, 0);
  win32sim::click(box, 5, 5);
  win32sim::click(r2, 5, 5);
  layertest::pumpAll();
  EXPECT_EQ(SendMessageA(box, BM_GETCHECK, 0, 0), BST_CHECKED);
  EXPECT_EQ(SendMessageA(r1, BM_GETCHECK, 0, 0), BST_UNCHECKED);
  EXPECT_EQ(SendMessageA(r2, BM_GETCHECK, 0, 0), BST_CHECKED);
  EXPECT_EQ(SendMessageA(other, BM_GETCHECK, 0, 0), BST_CHECKED);
  win32sim::advanceClock(GetDoubleClickTime());
  win32sim::click(box, 5, 5);
  layertest::pumpAll();
  EXPECT_EQ(SendMessageA(box, BM_GETCHECK, 0, 0), BST_UNCHECKED);
  seen().clear();
  DestroyWindow(h);
}

TEST_F(SimMouse, APressTellsEachParentUpTheChainWithThePointInItsOwnCoordinates) {
  HWND h = createWindow(false);
  HWND middle = CreateWindowExA(0, "MouseTestPlain", "", WS_CHILD | WS_VISIBLE, 20, 30, 150, 100, h,
                                NULL, NULL, NULL);
  HWND inner = CreateWindowExA(0, "Static", "", WS_CHILD | WS_VISIBLE, 5, 7, 50, 40, middle, NULL,
                               NULL, NULL);
  seen().clear();
  win32sim::click(inner, 3, 4);
  win32sim::doubleClick(inner, 3, 4, VK_MBUTTON);  // Static has CS_DBLCLKS: no notice for the second
  layertest::pumpAll();
  std::vector<Seen> notes;
  for (const Seen& s : seen())
    if (s.msg == WM_PARENTNOTIFY) notes.push_back(s);
  seen().clear();
  ASSERT_EQ(notes.size(), 4u);
  EXPECT_EQ(notes[0].hwnd, middle);
  EXPECT_EQ(notes[0].wp, static_cast<WPARAM>(WM_LBUTTONDOWN));
  EXPECT_EQ(notes[0].lp, MAKELPARAM(8, 11));
  EXPECT_EQ(notes[1].hwnd, h);
  EXPECT_EQ(notes[1].lp, MAKELPARAM(28, 41));
  EXPECT_EQ(notes[2].wp, static_cast<WPARAM>(WM_MBUTTONDOWN));
  SetWindowLongA(inner, GWL_EXSTYLE, WS_EX_NOPARENTNOTIFY);
  win32sim::advanceClock(GetDoubleClickTime());
  win32sim::click(inner, 3, 4);
  layertest::pumpAll();
  for (const Seen& s : seen()) EXPECT_NE(s.msg, static_cast<UINT>(WM_PARENTNOTIFY));
  seen().clear();
  DestroyWindow(h);
}

}  // namespace

// The simulated mouse where the script tests (tests/script/desktop/mouse_*)
// and the mouse probe cannot reach: the sizing border and scroll-bar
// tracking. What a
// click, the wheel and the buttons do is pinned there, and agrees with Wine.
#include "tests/win32/layer_test.h"

#include <vector>

namespace {

using layertest::LayerTest;

class SimMouse : public LayerTest {};

// The scroll codes the test's window got, in order.
std::vector<WPARAM>& scrollCodes() {
  static std::vector<WPARAM> codes;
  return codes;
}

LRESULT CALLBACK mouseProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_VSCROLL) scrollCodes().push_back(LOWORD(wp));
  return DefWindowProcA(hwnd, msg, wp, lp);
}

// A top-level window with a vertical scroll bar.
HWND createWindow() {
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof wc;
  wc.lpfnWndProc = mouseProc;
  wc.hInstance = GetModuleHandleA(NULL);
  wc.hCursor = LoadCursorA(NULL, IDC_ARROW);
  wc.lpszClassName = "MouseTest";
  RegisterClassExA(&wc);
  HWND h = CreateWindowExA(0, "MouseTest", "mouse", WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_VSCROLL,
                           40, 40, 300, 200, NULL, NULL, GetModuleHandleA(NULL), NULL);
  layertest::pumpAll();
  scrollCodes().clear();
  return h;
}

TEST_F(SimMouse, TheSizingBorderIsHitAndDraggedByItsEdgesAndCorners) {
  HWND h = createWindow();
  RECT r;
  GetWindowRect(h, &r);
  const int w = r.right - r.left, ht = r.bottom - r.top;
  struct Case {
    int x, y;  // from the window's top-left corner
    LRESULT want;
  } cases[] = {
      {1, ht / 2, HTLEFT},       {w - 2, ht / 2, HTRIGHT},           {w / 2, 1, HTTOP},
      {w / 2, ht - 2, HTBOTTOM}, {1, 1, HTTOPLEFT},                  {w - 2, ht - 2, HTBOTTOMRIGHT},
      {w - 5, 1, HTTOPRIGHT},    {1, ht - 5, HTBOTTOMLEFT},          {w / 2, 12, HTCAPTION},
      {10, ht / 2, HTCLIENT},    {w - 2, 5, HTTOPRIGHT} /* the corner reaches down the edge */,
  };
  for (const Case& c : cases) {
    LPARAM at = MAKELPARAM(r.left + c.x, r.top + c.y);
    EXPECT_EQ(SendMessageA(h, WM_NCHITTEST, 0, at), c.want) << c.x << "," << c.y;
  }
  POINT corner{r.right - 2, r.bottom - 2};
  ScreenToClient(h, &corner);
  win32sim::drag(h, corner.x, corner.y, corner.x + 20, corner.y + 10);
  POINT left{r.left + 1, r.top + ht / 2};
  ScreenToClient(h, &left);
  win32sim::drag(h, left.x, left.y, left.x - 8, left.y + 30);
  layertest::pumpAll();
  RECT now;
  GetWindowRect(h, &now);
  EXPECT_EQ(now.left, r.left - 8);
  EXPECT_EQ(now.top, r.top) << "the left edge moves across only";
  EXPECT_EQ(now.right, r.right + 20);
  EXPECT_EQ(now.bottom, r.bottom + 10);
  DestroyWindow(h);
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
      {"the thumb dragged (its queued moves coalesce)", 48, 65,
       {SB_THUMBTRACK, SB_THUMBPOSITION, SB_ENDSCROLL}},
      {"the thumb held still", 48, 48, {SB_THUMBPOSITION, SB_ENDSCROLL}},
  };
  for (bool control : {false, true}) {
    HWND h = createWindow();
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
      scrollCodes().clear();
      win32sim::drag(h, origin.x, origin.y + c.from, origin.x, origin.y + c.to);
      layertest::pumpAll();
      EXPECT_EQ(scrollCodes(), c.want) << c.name << (control ? " (control)" : " (window)");
      EXPECT_EQ(GetCapture(), static_cast<HWND>(NULL));
    }
    DestroyWindow(h);
  }
}

}  // namespace

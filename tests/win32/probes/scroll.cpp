// Scroll bars and ScrollWindowEx: which windows have scroll data, the
// clamping rules of SetScrollInfo, failure cases, ShowScrollBar's frame
// changes, and scrolling that moves children and invalidates what it uncovers.
#include "probe.h"

using namespace probe;

namespace {

SCROLLINFO scrollInfo(UINT mask, int min = 0, int max = 0, UINT page = 0, int pos = 0) {
  return SCROLLINFO{sizeof(SCROLLINFO), mask, min, max, page, pos, 0};
}

void printInfo(const char* label, HWND hwnd, int bar) {
  SCROLLINFO si = scrollInfo(SIF_ALL);
  BOOL ok = GetScrollInfo(hwnd, bar, &si);
  printf("%s: %d range %d..%d page %u pos %d track %d\n", label, ok, si.nMin, si.nMax,
         si.nPage, si.nPos, si.nTrackPos);
}

int set(HWND hwnd, int bar, UINT mask, int min, int max, UINT page, int pos) {
  SCROLLINFO si = scrollInfo(mask, min, max, page, pos);
  return SetScrollInfo(hwnd, bar, &si, FALSE);
}

void existence() {
  HWND with = createAt("ProbeScroll", "w", WS_POPUP | WS_VSCROLL, 0, 0, 100, 100, NULL);
  HWND without = createAt("ProbeScroll", "n", WS_POPUP, 0, 0, 100, 100, NULL);
  printInfo("created with WS_VSCROLL, vertical", with, SB_VERT);
  printInfo("created with WS_VSCROLL, horizontal", with, SB_HORZ);
  printInfo("without scroll styles", without, SB_VERT);
  int lo = 5, hi = 5;
  BOOL ok = GetScrollRange(without, SB_VERT, &lo, &hi);
  printf("GetScrollRange without data: %d %d..%d pos %d\n", ok, lo, hi,
         GetScrollPos(without, SB_VERT));
  SetWindowLongA(without, GWL_STYLE, GetWindowLongA(without, GWL_STYLE) | WS_HSCROLL);
  printInfo("style added by SetWindowLong", without, SB_HORZ);
  set(without, SB_HORZ, SIF_POS, 0, 0, 0, 3);
  printInfo("after SetScrollInfo, other bar", without, SB_VERT);
  DestroyWindow(with);
  discard(without);
}

void clamping() {
  HWND h = createAt("ProbeScroll", "h", WS_POPUP | WS_VSCROLL, 0, 0, 100, 100, NULL);
  struct Case {
    const char* label;
    UINT mask;
    int min, max;
    UINT page;
    int pos;
  } const cases[] = {
      {"range 0..100", SIF_RANGE, 0, 100, 0, 0},
      {"page 10 pos 95", SIF_PAGE | SIF_POS, 0, 0, 10, 95},
      {"pos -7", SIF_POS, 0, 0, 0, -7},
      {"pos 1000", SIF_POS, 0, 0, 0, 1000},
      {"page 200", SIF_PAGE, 0, 0, 200, 0},
      {"page 10", SIF_PAGE, 0, 0, 10, 0},
      {"range 20..10", SIF_RANGE, 20, 10, 0, 0},
      {"range -50..50 pos 60", SIF_RANGE | SIF_POS, -50, 50, 0, 60},
      {"range 0..9 page 10", SIF_RANGE | SIF_PAGE, 0, 9, 10, 0},
      {"all 0..100 page 20 pos 90", SIF_ALL, 0, 100, 20, 90},
  };
  for (const Case& c : cases) {
    int ret = set(h, SB_VERT, c.mask, c.min, c.max, c.page, c.pos);
    SCROLLINFO si = scrollInfo(SIF_ALL);
    GetScrollInfo(h, SB_VERT, &si);
    printf("%s: returns %d -> %d..%d page %u pos %d, WS_VSCROLL %d\n", c.label, ret, si.nMin,
           si.nMax, si.nPage, si.nPos, (GetWindowLongA(h, GWL_STYLE) & WS_VSCROLL) != 0);
  }
  SCROLLINFO si = scrollInfo(SIF_ALL);
  si.cbSize = sizeof si + 4;
  printf("GetScrollInfo bad cbSize: %d\n", GetScrollInfo(h, SB_VERT, &si));
  si.cbSize = sizeof si;
  si.fMask = 0;
  printf("GetScrollInfo no mask: %d\n", GetScrollInfo(h, SB_VERT, &si));
  si.fMask = 0x100;
  printf("GetScrollInfo unknown mask: %d\n", GetScrollInfo(h, SB_VERT, &si));
  si = scrollInfo(SIF_POS, 0, 0, 0, 10);
  si.cbSize = 12;
  printf("SetScrollInfo bad cbSize returns %d\n", SetScrollInfo(h, SB_VERT, &si, FALSE));
  printInfo("unchanged", h, SB_VERT);
  set(h, SB_VERT, SIF_RANGE | SIF_PAGE | SIF_DISABLENOSCROLL, 0, 10, 50, 0);
  printf("DISABLENOSCROLL keeps the bar: %d\n", (GetWindowLongA(h, GWL_STYLE) & WS_VSCROLL) != 0);
  printf("SetScrollPos returns old %d\n", SetScrollPos(h, SB_HORZ, 7, FALSE));
  int old = SetScrollPos(h, SB_HORZ, 9, FALSE);
  printf("SetScrollPos again returns %d, GetScrollPos %d\n", old, GetScrollPos(h, SB_HORZ));
  discard(h);
}

void showing() {
  HWND h = createAt("ProbeScroll", "h", WS_POPUP | WS_VISIBLE, 0, 0, 100, 100, NULL);
  clearLog();
  printf("ShowScrollBar horizontal: %d\n", ShowScrollBar(h, SB_HORZ, TRUE));
  printLog("show horizontal bar");
  printWindowRects("h", h);
  printf("again: %d\n", ShowScrollBar(h, SB_HORZ, TRUE));
  printLog("show again");
  ShowScrollBar(h, SB_BOTH, TRUE);
  printWindowRects("both", h);
  clearLog();
  logged("hide both", ShowScrollBar(h, SB_BOTH, FALSE));
  printWindowRects("none", h);
  logged("range bigger than page shows the bar",
         set(h, SB_VERT, SIF_RANGE | SIF_PAGE, 0, 99, 20, 0));
  printWindowRects("after SetScrollInfo", h);
  logged("page covering the range hides it", set(h, SB_VERT, SIF_PAGE, 0, 0, 100, 0));
  discard(h);
}

void scrolling() {
  HWND p = createAt("ProbeScroll", "P", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 20, 300, 200, NULL);
  HWND a = createAt("ProbeScroll", "a", WS_CHILD | WS_VISIBLE, 10, 30, 40, 40, p);
  HWND b = createAt("ProbeScroll", "b", WS_CHILD, 200, 100, 40, 40, p);
  HWND g = createAt("ProbeScroll", "g", WS_CHILD | WS_VISIBLE, 1, 1, 10, 10, a);
  pump();
  clearLog();
  RECT upd;
  int ret = ScrollWindowEx(p, 0, -20, NULL, NULL, NULL, &upd, SW_SCROLLCHILDREN);
  printf("ScrollWindowEx returns %d\n", ret);
  printRect("uncovered", upd);
  printLog("scroll children");
  for (HWND w : {a, b, g})
    printf("%s now at %ld,%ld\n", hname(w), (long)windowRect(w).left, (long)windowRect(w).top);
  RECT r;
  GetUpdateRect(p, &r, FALSE);
  printRect("update without SW_INVALIDATE", r);
  ret = ScrollWindowEx(p, -5, 0, NULL, NULL, NULL, &upd, SW_INVALIDATE | SW_ERASE);
  printf("ScrollWindowEx returns %d\n", ret);
  printRect("uncovered", upd);
  GetUpdateRect(p, &r, FALSE);
  printRect("update with SW_INVALIDATE", r);
  printLog("scroll without children");
  logged("paint after scroll", UpdateWindow(p));
  RECT part = {0, 0, 100, 100};
  ScrollWindowEx(p, 0, 10, &part, NULL, NULL, &upd, SW_SCROLLCHILDREN);
  printRect("uncovered in part", upd);
  printLog("scroll part with children");
  ret = ScrollWindowEx(p, 0, 0, NULL, NULL, NULL, &upd, SW_INVALIDATE);
  printf("ScrollWindowEx by nothing returns %d\n", ret);
  discard(p);
}

}  // namespace

int main() {
  registerClass("ProbeScroll", loggingProc, (HBRUSH)(COLOR_WINDOW + 1));
  g_ignoreFocus = true;
  existence();
  clamping();
  showing();
  scrolling();
}

// Frames and geometry: client rectangles of framed windows, coordinate
// mapping, the messages of moving and resizing, style changes that wait for
// SWP_FRAMECHANGED, parents and owners, and the order of EnumChildWindows.
#include "probe.h"

using namespace probe;

namespace {

HWND create(const char* name, DWORD ex, DWORD style, int x, int y, int w, int h, HWND parent) {
  return createAt("ProbeGeometry", name, style, x, y, w, h, parent, ex);
}

void frames() {
  struct Case {
    const char* label;
    DWORD style, ex;
  } const cases[] = {
      {"border", WS_BORDER, 0},
      {"dlgframe", WS_DLGFRAME, 0},
      {"caption", WS_CAPTION, 0},
      {"thickframe", WS_THICKFRAME, 0},
      {"caption|thickframe", WS_CAPTION | WS_THICKFRAME, 0},
      {"clientedge", 0, WS_EX_CLIENTEDGE},
      {"staticedge", 0, WS_EX_STATICEDGE},
      {"dlgmodalframe", 0, WS_EX_DLGMODALFRAME},
      {"hscroll", WS_HSCROLL, 0},
      {"vscroll", WS_VSCROLL, 0},
      {"border|both scroll|clientedge", WS_BORDER | WS_HSCROLL | WS_VSCROLL, WS_EX_CLIENTEDGE},
  };
  for (const Case& c : cases) {
    HWND h = create("f", c.ex, WS_POPUP | c.style, 10, 10, 200, 100, NULL);
    RECT r = clientRect(h), adj = {0, 0, 100, 50};
    AdjustWindowRectEx(&adj, WS_POPUP | c.style, FALSE, c.ex);
    printf("popup %s: client %ldx%ld adjust %s\n", c.label, (long)r.right, (long)r.bottom,
           rectText(adj));
    DestroyWindow(h);
  }
  HWND o = create("o", 0, WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  printWindowRects("overlappedwindow", o);
  POINT pt = {0, 0};
  ClientToScreen(o, &pt);
  printf("client origin on screen: %ld,%ld\n", (long)pt.x, (long)pt.y);
  HWND c = create("c", WS_EX_CLIENTEDGE, WS_CHILD | WS_BORDER, 5, 6, 50, 40, o);
  printWindowRects("child", c);
  pt.x = pt.y = 0;
  ClientToScreen(c, &pt);
  printf("child client origin on screen: %ld,%ld\n", (long)pt.x, (long)pt.y);
  POINT back = pt;
  ScreenToClient(o, &back);
  printf("back to parent client: %ld,%ld\n", (long)back.x, (long)back.y);
  POINT m = {1, 1};
  LONG_PTR delta = MapWindowPoints(c, o, &m, 1);
  printf("map child->parent: %ld,%ld delta %d,%d\n", (long)m.x, (long)m.y,
         (int)(short)LOWORD(delta), (int)(short)HIWORD(delta));
  pt = {7, 8};
  BOOL ok = ClientToScreen(GetDesktopWindow(), &pt);
  printf("desktop ClientToScreen: %d %ld,%ld\n", ok, (long)pt.x, (long)pt.y);
  SetLastError(0);
  ok = ClientToScreen(NULL, &pt);
  printf("NULL ClientToScreen: %d err=%lu %ld,%ld\n", ok, GetLastError(), (long)pt.x,
         (long)pt.y);
  printRect("desktop", windowRect(GetDesktopWindow()));
  printf("metrics: screen %dx%d caption %d frame %d dlgframe %d border %d edge %d vscroll %d hscroll %d\n",
         GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN),
         GetSystemMetrics(SM_CYCAPTION), GetSystemMetrics(SM_CXFRAME),
         GetSystemMetrics(SM_CXDLGFRAME), GetSystemMetrics(SM_CXBORDER),
         GetSystemMetrics(SM_CXEDGE), GetSystemMetrics(SM_CXVSCROLL),
         GetSystemMetrics(SM_CYHSCROLL));
  discard(o);
}

LRESULT CALLBACK minMaxProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_GETMINMAXINFO) {
    const MINMAXINFO* m = reinterpret_cast<const MINMAXINFO*>(lp);
    printf("  minmaxinfo: max size %ldx%ld at %ld,%ld, max tracking %ldx%ld\n",
           (long)m->ptMaxSize.x, (long)m->ptMaxSize.y, (long)m->ptMaxPosition.x,
           (long)m->ptMaxPosition.y, (long)m->ptMaxTrackSize.x, (long)m->ptMaxTrackSize.y);
  }
  return DefWindowProcA(hwnd, msg, wp, lp);
}

void minMaxInfo() {
  registerClass("ProbeMinMax", minMaxProc);
  const Labelled styles[] = {
      {"overlappedwindow", WS_OVERLAPPEDWINDOW},
      {"popup thickframe", WS_POPUP | WS_THICKFRAME},
      {"popup caption|thickframe", WS_POPUP | WS_CAPTION | WS_THICKFRAME},
  };
  for (const Labelled& c : styles) {
    printf("%s:\n", c.label);
    DestroyWindow(createAt("ProbeMinMax", "", c.value, 0, 0, 200, 100, NULL));
  }
  HWND p = createAt("ProbeMinMax", "", WS_POPUP, 0, 0, 300, 200, NULL);
  printf("child with a sizing frame:\n");
  createAt("ProbeMinMax", "", WS_CHILD | WS_THICKFRAME, 0, 0, 200, 100, p);
  DestroyWindow(p);
}

void moving() {
  HWND o = create("P", 0, WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  HWND c = create("c", 0, WS_CHILD | WS_VISIBLE, 5, 6, 50, 40, o);
  clearLog();
  logged("move hidden overlapped", MoveWindow(o, 30, 40, 300, 200, FALSE));
  logged("resize hidden overlapped", MoveWindow(o, 30, 40, 320, 210, FALSE));
  logged("same again", MoveWindow(o, 30, 40, 320, 210, FALSE));
  logged("SetWindowPos size only",
         SetWindowPos(o, NULL, 0, 0, 330, 220, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE));
  printWindowRects("P", o);
  logged("move child", MoveWindow(c, 8, 9, 50, 40, TRUE));
  logged("resize child activating", SetWindowPos(c, NULL, 8, 9, 60, 45, SWP_NOZORDER));
  logged("move child noactivate",
         SetWindowPos(c, NULL, 1, 2, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE));
  printWindowRects("c", c);

  LONG old = SetWindowLongA(o, GWL_STYLE, GetWindowLongA(o, GWL_STYLE) & ~WS_THICKFRAME);
  printf("SetWindowLong style returns old %#lx\n", (unsigned long)old);
  printLog("style change");
  printWindowRects("P before FRAMECHANGED", o);
  logged("FRAMECHANGED", SetWindowPos(o, NULL, 0, 0, 0, 0,
                                      SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_FRAMECHANGED));
  printWindowRects("P after FRAMECHANGED", o);
  logged("same style again", SetWindowLongA(o, GWL_STYLE, GetWindowLongA(o, GWL_STYLE)));
  SetWindowLongA(c, GWL_STYLE, GetWindowLongA(c, GWL_STYLE) & ~WS_VISIBLE);
  printf("child visible after clearing WS_VISIBLE: %d\n", IsWindowVisible(c));
  printLog("WS_VISIBLE cleared");
  logged("exstyle change", SetWindowLongA(c, GWL_EXSTYLE, WS_EX_CLIENTEDGE));
  PRINT_ERR("bad index", SetWindowLongA(o, 12345, 1));
  PRINT_ERR("bad window", GetWindowLongA(NULL, GWL_STYLE));
  printf("id %ld\n", (long)GetWindowLongA(c, GWL_ID));
  discard(o);
}

void parents() {
  HWND a = create("A", 0, WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  HWND b = create("B", 0, WS_OVERLAPPEDWINDOW, 100, 100, 300, 200, NULL);
  HWND c = create("c", 0, WS_CHILD, 5, 6, 50, 40, a);
  HWND pop = create("pop", 0, WS_POPUP, 5, 6, 50, 40, NULL);
  printf("GetParent child=%s overlapped=%s desktop=%s\n", hname(GetParent(c)),
         hname(GetParent(a)), hname(GetParent(GetDesktopWindow())));
  SetLastError(0);
  HWND none = GetParent(NULL);
  printf("GetParent(NULL)=%s err=%lu\n", hname(none), GetLastError());
  printf("GetAncestor(A, GA_PARENT)=%s\n", hname(GetAncestor(a, GA_PARENT)));
  clearLog();
  HWND prev = SetParent(c, b);
  printf("SetParent returns %s, now %s\n", hname(prev), hname(GetParent(c)));
  printWindowRects("c under B", c);
  printLog("SetParent hidden child");
  prev = SetParent(pop, a);
  printf("SetParent popup returns %s, style %#lx\n", hname(prev),
         (unsigned long)GetWindowLongA(pop, GWL_STYLE));
  prev = SetParent(pop, NULL);
  printf("SetParent back returns %s\n", hname(prev));
  ShowWindow(c, SW_SHOWNA);
  clearLog();
  logged("SetParent visible child", SetParent(c, a));
  printf("IsChild(A,c)=%d IsChild(B,c)=%d\n", IsChild(a, c), IsChild(b, c));
  DestroyWindow(pop);
  DestroyWindow(a);
  discard(b);
}

char g_order[256];
BOOL CALLBACK collect(HWND hwnd, LPARAM stopAt) {
  strcat(g_order, hname(hwnd));
  strcat(g_order, " ");
  return strcmp(hname(hwnd), (const char*)stopAt) != 0;
}

void enumeration() {
  HWND p = create("P", 0, WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  HWND a = create("a", 0, WS_CHILD, 0, 0, 10, 10, p);
  create("a1", 0, WS_CHILD, 0, 0, 10, 10, a);
  create("a2", 0, WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, a);
  HWND b = create("b", 0, WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, p);
  create("b1", 0, WS_CHILD, 0, 0, 10, 10, b);
  create("c", 0, WS_CHILD, 0, 0, 10, 10, p);
  g_order[0] = 0;
  EnumChildWindows(p, collect, (LPARAM) "");
  printf("enum: %s\n", g_order);
  g_order[0] = 0;
  EnumChildWindows(p, collect, (LPARAM) "b");
  printf("enum stopped at b: %s\n", g_order);
  printf("GW_CHILD %s, next %s, last %s\n", hname(GetWindow(p, GW_CHILD)),
         hname(GetWindow(GetWindow(p, GW_CHILD), GW_HWNDNEXT)),
         hname(GetWindow(GetWindow(p, GW_CHILD), GW_HWNDLAST)));
  discard(p);
}

// Coordinates far out: SetWindowPos holds positions to 16 bits and sizes to
// 0..32767; a window created far out keeps its far edge at the largest value.
void farOut() {
  HWND p = create("far", 0, WS_POPUP, 0x7FFFFF00, 10, 0x7FFFFFFF, 100, NULL);
  auto report = [p](const char* what, BOOL /* the move, done first */) {
    RECT r = windowRect(p);
    printf("%s: %ld %ld %ld %ld\n", what, (long)r.left, (long)r.top, (long)r.right, (long)r.bottom);
  };
  report("created far out", TRUE);
  report("moved far right",
         SetWindowPos(p, NULL, 0x7FFFFFFF, 5, 295, 100, SWP_NOZORDER | SWP_NOACTIVATE));
  report("sized huge",
         SetWindowPos(p, NULL, 10, 5, 0x7FFFFFFF, 0x7FFFFFFF, SWP_NOZORDER | SWP_NOACTIVATE));
  report("moved far left", MoveWindow(p, -0x7FFFFFFF - 1, -5, -300, 50, FALSE));
  discard(p);
}

}  // namespace

int main() {
  registerClass("ProbeGeometry", loggingProc);
  frames();
  minMaxInfo();
  moving();
  parents();
  enumeration();
  farOut();
}

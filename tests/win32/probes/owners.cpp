// Scroll bar controls through their messages, owners and parents, the
// topmost band, menu bars, deferred positions and window search: the places
// where Wine's user32 tests found the layer apart from the system.
#include "probe.h"

using namespace probe;

namespace {

WNDPROC g_scrollProc;
UINT g_lastMask;
int g_setInfoCount;

// A ScrollBar subclass that notes what SetScrollInfo and friends send.
LRESULT CALLBACK scrollSpy(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == SBM_SETSCROLLINFO) {
    ++g_setInfoCount;
    g_lastMask = reinterpret_cast<const SCROLLINFO*>(lp)->fMask;
  }
  return CallWindowProcA(g_scrollProc, hwnd, msg, wp, lp);
}

void scrollControls() {
  HWND parent = createNamed("ProbeOwners", "bars", WS_POPUP | WS_VISIBLE, NULL);
  HWND bar = createAt("ScrollBar", "", WS_CHILD | WS_VISIBLE, 0, 0, 120, 17, parent);
  WNDCLASSEXA info;
  info.cbSize = sizeof info;
  GetClassInfoExA(NULL, "ScrollBar", &info);
  printf("ScrollBar class extra bytes: %d\n", info.cbWndExtra);
  int lo = -1, hi = -1;
  GetScrollRange(bar, SB_CTL, &lo, &hi);
  printf("new control range %d..%d\n", lo, hi);
  int previous = SetScrollPos(bar, SB_CTL, 30, FALSE);
  printf("SetScrollPos(30) on 0..0 returns %d, pos %d\n", previous, GetScrollPos(bar, SB_CTL));
  SetScrollRange(bar, SB_CTL, 0, 100, FALSE);
  SetScrollPos(bar, SB_CTL, 30, FALSE);
  printf("SetScrollPos(40) returns %d\n", SetScrollPos(bar, SB_CTL, 40, FALSE));

  g_scrollProc = reinterpret_cast<WNDPROC>(
      SetWindowLongPtrA(bar, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(scrollSpy)));
  SetScrollPos(bar, SB_CTL, 50, FALSE);
  printf("SetScrollPos sends SBM_SETSCROLLINFO %d time(s), fMask %#x\n", g_setInfoCount,
         g_lastMask);
  // SIF_POS with a bit no flag uses.
  for (SCROLLINFO si : {SCROLLINFO{sizeof(SCROLLINFO), SIF_POS | 0x1000, 0, 0, 0, 60, 0},
                        SCROLLINFO{sizeof(SCROLLINFO), SIF_POS | 0x20, 0, 0, 0, 70, 0}})
    printf("SetScrollInfo(SIF_POS|%#x) returns %d\n", si.fMask & ~SIF_POS,
           SetScrollInfo(bar, SB_CTL, &si, FALSE));

  const Labelled enables[] = {{"ESB_DISABLE_BOTH", ESB_DISABLE_BOTH},
                              {"ESB_DISABLE_LTUP", ESB_DISABLE_LTUP},
                              {"ESB_ENABLE_BOTH", ESB_ENABLE_BOTH}};
  for (const Labelled& e : enables) {
    BOOL done = EnableScrollBar(bar, SB_CTL, e.value);
    printf("EnableScrollBar(%s) %d, window enabled %d\n", e.label, done, IsWindowEnabled(bar));
  }
  SetLastError(0);
  BOOL enabled = EnableScrollBar(parent, SB_CTL, ESB_ENABLE_BOTH);
  printf("EnableScrollBar(SB_CTL) on a plain window %d, error %lu\n", enabled, GetLastError());

  SCROLLBARINFO sbi;
  sbi.cbSize = sizeof sbi;
  RECT r = windowRect(bar);
  BOOL ok = GetScrollBarInfo(bar, OBJID_CLIENT, &sbi);
  printf("GetScrollBarInfo(OBJID_CLIENT) %d, rectangle is the window's %d, arrows %d\n", ok,
         EqualRect(&r, &sbi.rcScrollBar), sbi.dxyLineButton);

  HWND plain = createNamed("ProbeOwners", "plain", WS_POPUP, NULL);
  SetScrollRange(plain, SB_VERT, 0, 100, FALSE);
  printf("SetScrollRange(SB_VERT) on a window without bars adds WS_VSCROLL: %d\n",
         (GetWindowLongA(plain, GWL_STYLE) & WS_VSCROLL) != 0);
  DestroyWindow(plain);
  DestroyWindow(parent);
}

void parents() {
  HWND owner = createNamed("ProbeOwners", "owner", WS_POPUP, NULL);
  HWND child = createNamed("ProbeOwners", "child", WS_CHILD, owner);
  auto report = [](const char* what, HWND h) {
    printf("%s: GWL_HWNDPARENT %s, GetParent %s, GA_ROOTOWNER %s\n", what,
           hname(reinterpret_cast<HWND>(GetWindowLongPtrA(h, GWLP_HWNDPARENT))),
           hname(GetParent(h)), hname(GetAncestor(h, GA_ROOTOWNER)));
  };
  report("child", child);
  SetWindowLongA(child, GWL_STYLE, WS_POPUP | WS_CHILD);
  report("child as WS_POPUP|WS_CHILD", child);
  report("owned", createNamed("ProbeOwners", "owned", WS_POPUP, owner));
  LONG desktopStyle = GetWindowLongA(GetDesktopWindow(), GWL_STYLE);
  LONG old = SetWindowLongA(GetDesktopWindow(), GWL_STYLE, 0);
  printf("SetWindowLongA(desktop, GWL_STYLE) changes it %d\n",
         old != 0 && GetWindowLongA(GetDesktopWindow(), GWL_STYLE) != desktopStyle);
  SetLastError(0xdeadbeef);
  MapWindowPoints(NULL, NULL, NULL, 0);
  printf("MapWindowPoints leaves the last error: %d\n", GetLastError() == 0xdeadbeef);
  DestroyWindow(owner);
}

void zOrder() {
  HWND owner = createNamed("ProbeOwners", "zowner", WS_POPUP | WS_VISIBLE, NULL);
  HWND a = createNamed("ProbeOwners", "za", WS_POPUP | WS_VISIBLE, owner);
  HWND b = createNamed("ProbeOwners", "zb", WS_POPUP | WS_VISIBLE, NULL);
  auto place = [](HWND h, HWND after) {
    SetWindowPos(h, after, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
  };
  place(b, HWND_TOPMOST);
  printf("zb HWND_TOPMOST: topmost %d, first window %s\n", topmost(b), hname(GetTopWindow(NULL)));
  place(owner, HWND_TOP);
  printf("zowner HWND_TOP: first window %s, above zowner %s\n", hname(GetTopWindow(NULL)),
         hname(GetWindow(owner, GW_HWNDPREV)));
  place(a, HWND_TOPMOST);
  place(owner, HWND_TOPMOST);
  printf("za, then zowner HWND_TOPMOST: zowner %d za %d\n", topmost(owner), topmost(a));
  place(b, HWND_NOTOPMOST);
  printf("zb HWND_NOTOPMOST: topmost %d, below zowner %s\n", topmost(b),
         hname(GetWindow(owner, GW_HWNDNEXT)));
  place(b, HWND_TOPMOST);
  place(b, HWND_BOTTOM);
  printf("zb HWND_BOTTOM: topmost %d\n", topmost(b));
  DestroyWindow(b);
  DestroyWindow(owner);
}

void menus() {
  HWND w = createNamed("ProbeOwners", "menu window", WS_OVERLAPPED | WS_CAPTION | WS_VISIBLE, NULL);
  RECT before = clientRect(w);
  HMENU bar = CreateMenu();
  HMENU sub = CreatePopupMenu();
  AppendMenuA(sub, MF_STRING, 101, "Open");
  AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(sub), "File");
  BOOL set = SetMenu(w, bar);
  printf("SetMenu %d, GetMenu is it %d, items %d, sub-item id %u\n", set, GetMenu(w) == bar,
         GetMenuItemCount(bar), GetMenuItemID(GetSubMenu(bar, 0), 0));
  printf("menu bar takes %ld pixels (SM_CYMENU %d)\n", (long)(before.bottom - clientRect(w).bottom),
         GetSystemMetrics(SM_CYMENU));
  HWND child = CreateWindowA("ProbeOwners", "", WS_CHILD, 0, 0, 10, 10, w, NULL, NULL, NULL);
  HMENU other = CreateMenu();
  SetLastError(0);
  set = SetMenu(child, other);
  printf("SetMenu on a child %d, error %lu\n", set, GetLastError());
  DestroyMenu(other);
  DestroyWindow(w);
  printf("the menu goes with its window: IsMenu %d\n", IsMenu(bar));
}

void deferred() {
  HWND w = createNamed("ProbeOwners", "deferred", WS_POPUP, NULL);
  HDWP list = BeginDeferWindowPos(1);
  SetLastError(0);
  HDWP bad = DeferWindowPos(list, GetDesktopWindow(), NULL, 0, 0, 10, 10, 0);
  printf("DeferWindowPos(desktop) %d, error %lu\n", bad != NULL, GetLastError());
  SetLastError(0);
  bad = DeferWindowPos(NULL, w, NULL, 0, 0, 10, 10, 0);
  printf("DeferWindowPos(NULL list) %d, error %lu\n", bad != NULL, GetLastError());
  list = DeferWindowPos(list, w, NULL, 5, 6, 70, 80, SWP_NOZORDER | SWP_NOACTIVATE);
  printWindowRects("before EndDeferWindowPos", w);
  printf("EndDeferWindowPos %d\n", EndDeferWindowPos(list));
  printWindowRects("after EndDeferWindowPos", w);

  printf("FindWindowExA(class, NULL) finds it %d; (class, \"\") finds it %d\n",
         FindWindowExA(NULL, NULL, "ProbeOwners", NULL) != NULL,
         FindWindowExA(NULL, NULL, "ProbeOwners", "") != NULL);
  printf("FindWindowExA(no such class) %d\n",
         FindWindowExA(NULL, NULL, "NoSuchClassAnywhere", NULL) != NULL);
  DestroyWindow(w);
}

void hidingKeepsActivation() {
  HWND w = createNamed("ProbeOwners", "active", WS_POPUP | WS_VISIBLE, NULL);
  SetActiveWindow(w);
  SetWindowPos(w, NULL, 0, 0, 0, 0,
               SWP_NOZORDER | SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_HIDEWINDOW);
  printf("hidden with SWP_NOACTIVATE: still active %d\n", GetActiveWindow() == w);
  ShowWindow(w, SW_SHOW);
  ShowWindow(w, SW_HIDE);
  printf("hidden with SW_HIDE: still active %d\n", GetActiveWindow() == w);
  DestroyWindow(w);
}

char g_shown[128];

// Notes each WM_SHOWWINDOW as name(wParam,lParam) before the default
// handling, which hides or shows an owned window told of its owner.
LRESULT CALLBACK showSpy(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_SHOWWINDOW) {
    size_t used = strlen(g_shown);
    snprintf(g_shown + used, sizeof g_shown - used, " %s(%d,%d)", hname(hwnd), (int)wp, (int)lp);
  }
  return DefWindowProcA(hwnd, msg, wp, lp);
}

// Owned pop-ups go while their owner is minimised and come back with it;
// one hidden beforehand stays hidden, and one owned through another is
// left to its own owner.
void popupsOfMinimisedOwner() {
  HWND owner = createNamed("ProbeShowSpy", "own", WS_POPUP | WS_CAPTION | WS_VISIBLE, NULL);
  HWND shown = createNamed("ProbeShowSpy", "p1", WS_POPUP | WS_VISIBLE, owner);
  HWND hidden = createNamed("ProbeShowSpy", "p2", WS_POPUP, owner);
  HWND grand = createNamed("ProbeShowSpy", "p3", WS_POPUP | WS_VISIBLE, shown);
  auto report = [&](const char* what, LRESULT /* the action, done first */) {
    printf("%s:%s; visible p1 %d p2 %d p3 %d\n", what, g_shown, IsWindowVisible(shown),
           IsWindowVisible(hidden), IsWindowVisible(grand));
    g_shown[0] = 0;
  };
  SetActiveWindow(owner);
  g_shown[0] = 0;
  report("SC_MINIMIZE", SendMessageA(owner, WM_SYSCOMMAND, SC_MINIMIZE, 0));
  report("SC_RESTORE", SendMessageA(owner, WM_SYSCOMMAND, SC_RESTORE, 0));
  report("ShowWindow(SW_MINIMIZE)", ShowWindow(owner, SW_MINIMIZE));
  report("ShowWindow(SW_RESTORE)", ShowWindow(owner, SW_RESTORE));
  DestroyWindow(owner);
}

}  // namespace

int main() {
  registerClass("ProbeOwners", DefWindowProcA, (HBRUSH)(COLOR_WINDOW + 1));
  scrollControls();
  parents();
  zOrder();
  menus();
  deferred();
  hidingKeepsActivation();
  registerClass("ProbeShowSpy", showSpy);
  popupsOfMinimisedOwner();
}

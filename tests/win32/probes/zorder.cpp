// Owners in the z-order, the topmost band, activation and focus: where
// Wine's user32 tests, which pass on the system, found the layer apart.
#include "probe.h"

using namespace probe;

namespace {

// The named top-level windows, top first; a topmost one is starred.
void printOrder(const char* what) {
  printf("%s:", what);
  for (HWND h = GetTopWindow(NULL); h; h = GetWindow(h, GW_HWNDNEXT))
    if (strcmp(hname(h), "?") != 0) printf(" %s%s", hname(h), topmost(h) ? "*" : "");
  printf(" (active %s)\n", hname(GetActiveWindow()));
}

const UINT kKeep = SWP_NOMOVE | SWP_NOSIZE;

// Moves in turn, each followed by the order it left.
struct Move {
  HWND window;
  HWND after;
  const char* what;
};

void moveAll(std::initializer_list<Move> moves) {
  for (const Move& m : moves) {
    SetWindowPos(m.window, m.after, 0, 0, 0, 0, kKeep);
    printOrder(m.what);
  }
}

// Owned pop-ups ride above their owners, each in its band.
void ownedPopups() {
  HWND d = createNamed("ProbeZOrder", "D", WS_POPUP | WS_VISIBLE, NULL);
  HWND f = createNamed("ProbeZOrder", "F", WS_POPUP, NULL);
  SetWindowPos(f, d, 0, 0, 0, 0, kKeep | SWP_NOACTIVATE);
  HWND c = createNamed("ProbeZOrder", "C", WS_POPUP, f);
  HWND b = createNamed("ProbeZOrder", "B", WS_POPUP, f, WS_EX_TOPMOST);
  HWND a = createNamed("ProbeZOrder", "A", WS_POPUP, NULL, WS_EX_TOPMOST);
  printOrder("created C, B owned by F");
  SetWindowPos(f, HWND_TOP, 0, 0, 0, 0, kKeep | SWP_NOACTIVATE);
  printOrder("F HWND_TOP");
  DestroyWindow(c);
  c = createNamed("ProbeZOrder", "C", WS_POPUP, a);
  printOrder("C owned by topmost A");
  for (HWND h : {a, b, c, f, d}) DestroyWindow(h);
}

// The owner tree of the system's test: O owns H and H2, H owns c and c2, c
// owns g.
void topmostBand() {
  HWND o = createNamed("ProbeZOrder", "O", WS_POPUP | WS_VISIBLE, NULL);
  HWND h = createNamed("ProbeZOrder", "H", WS_POPUP | WS_VISIBLE, o);
  HWND h2 = createNamed("ProbeZOrder", "H2", WS_POPUP | WS_VISIBLE, o);
  printOrder("O owns H, H2");
  moveAll({
      {h, HWND_TOPMOST, "H HWND_TOPMOST"},
      {h2, h, "H2 after H (activates H2)"},
      {h, h2, "H after H2 (activates H: to the top)"},
      {h, h2, "H after H2 again (active: leaves the band)"},
      {o, HWND_TOPMOST, "O HWND_TOPMOST"},
      {h, HWND_NOTOPMOST, "H HWND_NOTOPMOST"},
      {h2, HWND_NOTOPMOST, "H2 HWND_NOTOPMOST, not topmost"},
      {h, HWND_BOTTOM, "H HWND_BOTTOM"},
  });
  HWND c2 = createNamed("ProbeZOrder", "c2", WS_POPUP | WS_VISIBLE, h);
  HWND c = createNamed("ProbeZOrder", "c", WS_POPUP | WS_VISIBLE, h);
  HWND g = createNamed("ProbeZOrder", "g", WS_POPUP | WS_VISIBLE, c);
  printOrder("H owns c2, c; c owns g");
  moveAll({
      {g, HWND_TOPMOST, "g HWND_TOPMOST"},
      {c2, HWND_NOTOPMOST, "c2 HWND_NOTOPMOST, not topmost"},
      {c, HWND_TOPMOST, "c HWND_TOPMOST"},
      {h, HWND_NOTOPMOST, "H HWND_NOTOPMOST, not topmost"},
      {c, HWND_TOPMOST, "c HWND_TOPMOST again"},
      {c, HWND_BOTTOM, "c HWND_BOTTOM"},
  });
  printf("GetLastActivePopup(O) %s, (H2) %s\n", hname(GetLastActivePopup(o)),
         hname(GetLastActivePopup(h2)));
  DestroyWindow(o);
}

// Who is active after a window goes, and who may take the focus.
void activation() {
  HWND main = createNamed("ProbeZOrder", "main", WS_POPUP | WS_VISIBLE, NULL);
  HWND other = createNamed("ProbeZOrder", "other", WS_POPUP | WS_VISIBLE, NULL);
  HWND owned = createNamed("ProbeZOrder", "owned", WS_POPUP | WS_VISIBLE, main);
  ShowWindow(owned, SW_HIDE);
  printf("owned hidden: active %s\n", hname(GetActiveWindow()));
  HWND gone = createNamed("ProbeZOrder", "gone", WS_POPUP | WS_VISIBLE, other);
  SetWindowPos(gone, NULL, 0, 0, 0, 0, kKeep | SWP_NOZORDER | SWP_NOACTIVATE | SWP_HIDEWINDOW);
  printf("hidden without activation: active %s\n", hname(GetActiveWindow()));
  DestroyWindow(gone);
  printf("then destroyed: active %s\n", hname(GetActiveWindow()));

  HWND child = createNamed("ProbeZOrder", "child", WS_CHILD | WS_VISIBLE, main);
  SetActiveWindow(main);
  HWND fromChild = SetActiveWindow(child);
  SetLastError(0xdeadbeef);
  HWND fromDesktop = SetActiveWindow(GetDesktopWindow());
  bool errorKept = GetLastError() == 0xdeadbeef;
  printf("SetActiveWindow(child) %s; (desktop) %s, error kept %d; active %s\n", hname(fromChild),
         hname(fromDesktop), errorKept, hname(GetActiveWindow()));

  SetFocus(child);
  EnableWindow(main, FALSE);
  printf("parent disabled: focus %s\n", hname(GetFocus()));
  EnableWindow(main, TRUE);
  HWND inner = createNamed("ProbeZOrder", "inner", WS_CHILD | WS_VISIBLE, child);
  SetFocus(inner);
  ShowWindow(child, SW_HIDE);
  printf("parent of the focus hidden: focus %s\n", hname(GetFocus()));
  ShowWindow(child, SW_SHOW);
  SetFocus(main);
  SetParent(child, GetDesktopWindow());
  HWND toChild = SetFocus(child), toInner = SetFocus(inner);
  printf("SetFocus(child of the desktop) %s, (its child) %s; focus %s\n", hname(toChild),
         hname(toInner), hname(GetFocus()));
  DestroyWindow(child);
  DestroyWindow(other);
  DestroyWindow(main);
}

BOOL CALLBACK keepGoing(HWND, LPARAM) { return TRUE; }

// Parents, owners and minimised owned windows.
void owners() {
  HWND top = createNamed("ProbeZOrder", "top", WS_OVERLAPPED | WS_VISIBLE, NULL);
  HWND child = createNamed("ProbeZOrder", "kid", WS_CHILD, top);
  HWND byChild = createNamed("ProbeZOrder", "byKid", WS_POPUP, child);
  printf("owner given a child: %s\n", hname(GetWindow(byChild, GW_OWNER)));
  printf("EnumChildWindows with no children %d\n",
         EnumChildWindows(byChild, keepGoing, 0));
  SetLastError(0);
  HWND previous = SetParent(top, byChild);
  printf("SetParent(owner, owned) %s, error %lu\n", hname(previous), GetLastError());

  HWND one = createNamed("ProbeZOrder", "one", WS_CAPTION | WS_VISIBLE, top);
  HWND two = createNamed("ProbeZOrder", "two", WS_CAPTION | WS_VISIBLE, top);
  ShowWindow(one, SW_MINIMIZE);
  ShowWindow(two, SW_MINIMIZE);
  SetWindowPos(one, NULL, 0, 0, 300, 300, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  printWindowRects("first minimised owned window, resized", one);
  printWindowRects("second minimised owned window", two);
  DestroyWindow(top);
}

}  // namespace

int main() {
  registerClass("ProbeZOrder", DefWindowProcA, (HBRUSH)(COLOR_WINDOW + 1));
  ownedPopups();
  topmostBand();
  activation();
  owners();
}

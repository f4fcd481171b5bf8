// ShowWindow: return values, the geometry and style of minimised, maximised
// and restored windows, their messages, and GetWindowPlacement.
#include "probe.h"

using namespace probe;

namespace {

void printPlacement(const char* label, HWND hwnd) {
  WINDOWPLACEMENT wp = {};
  wp.length = sizeof wp;
  BOOL ok = GetWindowPlacement(hwnd, &wp);
  printf("%s: placement %d flags %u show %u min (%ld,%ld) max (%ld,%ld) normal %s\n", label, ok,
         wp.flags, wp.showCmd, (long)wp.ptMinPosition.x, (long)wp.ptMinPosition.y,
         (long)wp.ptMaxPosition.x, (long)wp.ptMaxPosition.y, rectText(wp.rcNormalPosition));
}

void printState(const char* label, HWND hwnd) {
  printWindowRects(label, hwnd);
  DWORD style = GetWindowLongA(hwnd, GWL_STYLE);
  printf("%s: visible %d iconic %d zoomed %d min-style %d max-style %d\n", label,
         IsWindowVisible(hwnd), IsIconic(hwnd), IsZoomed(hwnd), (style & WS_MINIMIZE) != 0,
         (style & WS_MAXIMIZE) != 0);
}

void returnValues() {
  const int cmds[] = {SW_HIDE,           SW_SHOWNORMAL, SW_SHOWMINIMIZED, SW_SHOWMAXIMIZED,
                      SW_SHOWNOACTIVATE, SW_SHOW,       SW_MINIMIZE,      SW_SHOWMINNOACTIVE,
                      SW_SHOWNA,         SW_RESTORE,    SW_SHOWDEFAULT,   SW_FORCEMINIMIZE};
  for (int cmd : cmds) {
    HWND h = createAt("ProbeShow", "r", WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
    BOOL first = ShowWindow(h, cmd), second = ShowWindow(h, cmd);
    printf("cmd %2d: returns %d then %d, visible %d iconic %d zoomed %d\n", cmd, first, second,
           IsWindowVisible(h), IsIconic(h), IsZoomed(h));
    DestroyWindow(h);
  }
  clearLog();
}

void topLevel() {
  HWND h = createAt("ProbeShow", "P", WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  printPlacement("new hidden", h);
  ShowWindow(h, SW_SHOWNORMAL);
  clearLog();
  // Each command's messages, then the state it left (and the placement).
  const struct {
    int cmd;
    const char *logged, *state, *placement;
  } steps[] = {
      {SW_MINIMIZE, "minimize", "minimized", "minimized"},
      {SW_RESTORE, "restore from minimized", "restored", NULL},
      {SW_MAXIMIZE, "maximize", "maximized", "maximized"},
      {SW_HIDE, "hide maximized", "hidden maximized", "hidden maximized"},
      {SW_RESTORE, "restore hidden maximized", "restored", NULL},
  };
  for (const auto& step : steps) {
    logged(step.logged, ShowWindow(h, step.cmd));
    printState(step.state, h);
    if (step.placement) printPlacement(step.placement, h);
  }
  MoveWindow(h, 40, 50, 200, 100, FALSE);
  ShowWindow(h, SW_SHOWMINIMIZED);
  clearLog();
  printPlacement("minimized after move", h);
  ShowWindow(h, SW_HIDE);
  printPlacement("hidden minimized", h);
  ShowWindow(h, SW_SHOWNORMAL);
  printState("shown normal", h);
  clearLog();
  logged("hide", ShowWindow(h, SW_HIDE));
  WINDOWPLACEMENT wp = {};
  PRINT_ERR("placement with length 0", GetWindowPlacement(h, &wp));
  discard(h);
}

void createdMaximized() {
  HWND h = createAt("ProbeShow", "M", WS_OVERLAPPEDWINDOW | WS_MAXIMIZE, 10, 20, 300, 200, NULL);
  printLog("created maximized, hidden");
  printState("created maximized", h);
  logged("first show of a maximized window", ShowWindow(h, SW_SHOW));
  discard(h);
}

void children() {
  // The parent does not record: how it repaints around its child is not the
  // point here.
  HWND p =
      createAt("ProbeShowQuiet", "P", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 20, 300, 200, NULL);
  HWND c = createAt("ProbeShow", "c", WS_CHILD | WS_CAPTION | WS_THICKFRAME, 10, 10, 150, 80, p);
  clearLog();
  printf("child show returns %d\n", ShowWindow(c, SW_SHOW));
  printLog("show child");
  logged("minimize child", ShowWindow(c, SW_MINIMIZE));
  printState("minimized child", c);
  logged("maximize child", ShowWindow(c, SW_MAXIMIZE));
  printState("maximized child", c);
  logged("restore child", ShowWindow(c, SW_RESTORE));
  printf("child hide returns %d\n", ShowWindow(c, SW_HIDE));
  printLog("hide child");
  discard(p);
}

// The restore-to-maximised mark and the maximised place through a run of
// commands, each step with the flags and position it must leave.
void placementMarks() {
  HWND h = createAt("ProbeShowQuiet", "M", WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  const Labelled steps[] = {
      {"minimized from normal", SW_SHOWMINIMIZED},
      {"maximized from minimized", SW_SHOWMAXIMIZED},
      {"shown without activation", SW_SHOWNOACTIVATE},
      {"maximized from normal", SW_MAXIMIZE},
      {"minimized from maximized", SW_MINIMIZE},
      {"restored to maximized", SW_RESTORE},
      {"restored to normal", SW_RESTORE},
      {"minimized again", SW_MINIMIZE},
  };
  for (const Labelled& step : steps) {
    ShowWindow(h, (int)step.value);
    printPlacement(step.label, h);
  }
  ShowWindow(h, SW_MAXIMIZE);
  SetWindowPos(h, NULL, 100, 100, 100, 100, SWP_NOZORDER | SWP_NOACTIVATE);
  printPlacement("maximized, then moved", h);
  discard(h);
}

// Minimised children stack from the parent's bottom-left corner, a row each
// when two do not fit side by side, and keep their size.
void minimizedChildren() {
  HWND p =
      createAt("ProbeShowQuiet", "P", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10, 20, 300, 200, NULL);
  HWND a = createAt("ProbeShowQuiet", "a", WS_CHILD | WS_VISIBLE | WS_CAPTION, 10, 10, 100, 80, p);
  HWND b = createAt("ProbeShowQuiet", "b", WS_CHILD | WS_VISIBLE | WS_CAPTION, 20, 20, 100, 80, p);
  ShowWindow(a, SW_MINIMIZE);
  ShowWindow(b, SW_MINIMIZE);
  printWindowRects("first minimized child", a);
  printWindowRects("second minimized child", b);
  SetWindowPos(a, NULL, 0, 0, 200, 200, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  printWindowRects("minimized child after resizing", a);
  discard(p);
}

}  // namespace

int main() {
  registerClass("ProbeShow", loggingProc);
  registerClass("ProbeShowQuiet", DefWindowProcA);
  g_ignoreFocus = true;
  returnValues();
  topLevel();
  createdMaximized();
  children();
  placementMarks();
  minimizedChildren();
}

// The mouse through SendInput: what a window and its parent get, in order,
// for a click on an inactive window, a click on the active one, a
// double-click (the class has CS_DBLCLKS), a click on a child button,
// a drag while the window holds the capture, right-clicks (the
// context menu's request goes up from a child) and a turn
// of the wheel. Repeats of a message in a row are printed once (the
// system may set the cursor or report a move more than once).
#include "probe.h"

using namespace probe;

namespace {

HWND g_main, g_other, g_button;
bool g_capture;  // the main window takes the capture while a button is down

const char* nameOf(HWND hwnd) {
  return hwnd == g_main ? "main" : hwnd == g_button ? "button" : hwnd == g_other ? "other" : "?";
}

// The messages heard; a point and the keys follow a name unless proc says
// otherwise.
// clang-format off
#define M(m) {WM_##m, #m}
const MsgName kHeard[] = {
    M(MOUSEACTIVATE), M(SETCURSOR), M(MOUSEMOVE), M(LBUTTONDOWN), M(CAPTURECHANGED), M(LBUTTONUP),
    M(LBUTTONDBLCLK), M(RBUTTONDOWN), M(RBUTTONUP), M(CONTEXTMENU), M(PARENTNOTIFY), M(COMMAND),
    M(MOUSEWHEEL),
};
#undef M
// clang-format on

LRESULT CALLBACK proc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  const char* name = nullptr;
  for (const MsgName& m : kHeard)
    if (m.msg == msg) name = m.name;
  // A child made or destroyed is not a mouse matter.
  if (!name || (msg == WM_PARENTNOTIFY && LOWORD(wp) < WM_MOUSEFIRST))
    return DefWindowProcA(hwnd, msg, wp, lp);
  char text[128];
  char* rest = text + sprintf(text, "  %s %s", nameOf(hwnd), name);
  short x = (short)LOWORD(lp), y = (short)HIWORD(lp);
  if (msg == WM_SETCURSOR)
    sprintf(rest, " for %s", nameOf((HWND)wp));
  else if (msg == WM_CONTEXTMENU)
    sprintf(rest, " from %s at %d,%d", nameOf((HWND)wp), x, y);
  else if (msg == WM_PARENTNOTIFY)
    sprintf(rest, " %#x at %d,%d", LOWORD(wp), x, y);
  else if (msg == WM_COMMAND)
    sprintf(rest, " id %d code %d", LOWORD(wp), HIWORD(wp));
  else if (msg == WM_MOUSEWHEEL)
    sprintf(rest, " delta %d at %d,%d", (short)HIWORD(wp), x, y);
  else if (msg == WM_LBUTTONDBLCLK)
    sprintf(rest, " %d,%d", x, y);
  else if (!isOneOf(msg, {WM_MOUSEACTIVATE, WM_CAPTURECHANGED}) &&
           (msg != WM_MOUSEMOVE || g_capture))
    sprintf(rest, " %d,%d keys %d", x, y, (int)wp);
  // The capture changes before the line is printed, as its messages come first.
  if (g_capture && msg == WM_LBUTTONDOWN) SetCapture(hwnd);
  if (g_capture && msg == WM_LBUTTONUP) ReleaseCapture();
  printOnce(text);
  return DefWindowProcA(hwnd, msg, wp, lp);
}

// Sends a gesture's input and prints what the windows heard of it.
void gesture(const char* what, INPUT* in, int n) {
  printf("-- %s\n", what);
  g_lastLine[0] = 0;
  SendInput(n, in, sizeof(INPUT));
  pumpFor(5);
}

// A click (or two) at a client point of hwnd, with the left button or,
// given its flags, another.
void click(const char* what, HWND hwnd, int x, int y, int clicks, DWORD down = MOUSEEVENTF_LEFTDOWN,
           DWORD up = MOUSEEVENTF_LEFTUP) {
  POINT p = {x, y};
  ClientToScreen(hwnd, &p);
  INPUT in[5];
  int n = 0;
  in[n++] = mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, p.x, p.y);
  for (int i = 0; i < clicks; ++i) {
    in[n++] = mouseInput(down);
    in[n++] = mouseInput(up);
  }
  gesture(what, in, n);
}

// A drag with the left button from one client point of hwnd to another,
// in two moves; the window takes the capture at the press.
void drag(const char* what, HWND hwnd, POINT from, POINT to) {
  POINT a = from, m = {(from.x + to.x) / 2, (from.y + to.y) / 2}, b = to;
  ClientToScreen(hwnd, &a);
  ClientToScreen(hwnd, &m);
  ClientToScreen(hwnd, &b);
  INPUT in[5] = {mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, a.x, a.y),
                 mouseInput(MOUSEEVENTF_LEFTDOWN),
                 mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, m.x, m.y),
                 mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, b.x, b.y),
                 mouseInput(MOUSEEVENTF_LEFTUP)};
  gesture(what, in, 5);
}

}  // namespace

int main() {
  registerClass("ProbeMouse", proc, (HBRUSH)(COLOR_WINDOW + 1), CS_DBLCLKS);
  g_main =
      createAt("ProbeMouse", "main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 300, 200, NULL);
  g_button = createAt("BUTTON", "button", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 150, 20, 80, 24,
                      g_main, 0, 7, "Go");
  g_other =
      createAt("ProbeMouse", "other", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 500, 100, 200, 150, NULL);
  SetForegroundWindow(g_other);
  pumpFor(5);
  printf("active: %s\n", nameOf(GetActiveWindow()));
  click("a click on the inactive main window", g_main, 40, 50, 1);
  printf("active: %s\n", nameOf(GetActiveWindow()));
  click("a click on the active main window, away from the last", g_main, 90, 100, 1);
  Sleep(GetDoubleClickTime() + 50);
  click("a double-click", g_main, 60, 60, 2);
  Sleep(GetDoubleClickTime() + 50);
  click("a click on the button", g_button, 10, 10, 1);
  g_capture = true;
  drag("a drag across the main window, which takes the capture", g_main, POINT{20, 20},
       POINT{120, 140});
  g_capture = false;
  click("a right-click on the main window", g_main, 30, 40, 1, MOUSEEVENTF_RIGHTDOWN,
        MOUSEEVENTF_RIGHTUP);
  click("a right-click on the button", g_button, 5, 5, 1, MOUSEEVENTF_RIGHTDOWN,
        MOUSEEVENTF_RIGHTUP);
  SetFocus(g_main);
  INPUT wheel = mouseInput(MOUSEEVENTF_WHEEL, 0, 0, (DWORD)-WHEEL_DELTA);
  gesture("the wheel turned one notch towards the user", &wheel, 1);
  DestroyWindow(g_other);
  DestroyWindow(g_main);
}

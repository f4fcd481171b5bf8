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

LRESULT CALLBACK proc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  char text[128] = "";
  short x = (short)LOWORD(lp), y = (short)HIWORD(lp);
  switch (msg) {
    case WM_MOUSEACTIVATE:
      sprintf(text, "  %s MOUSEACTIVATE", nameOf(hwnd));
      break;
    case WM_SETCURSOR:
      sprintf(text, "  %s SETCURSOR for %s", nameOf(hwnd), nameOf((HWND)wp));
      break;
    case WM_MOUSEMOVE:
      if (g_capture)
        sprintf(text, "  %s MOUSEMOVE %d,%d keys %d", nameOf(hwnd), x, y, (int)wp);
      else
        sprintf(text, "  %s MOUSEMOVE", nameOf(hwnd));
      break;
    case WM_LBUTTONDOWN:
      sprintf(text, "  %s LBUTTONDOWN %d,%d keys %d", nameOf(hwnd), x, y, (int)wp);
      if (g_capture) SetCapture(hwnd);
      break;
    case WM_CAPTURECHANGED:
      sprintf(text, "  %s CAPTURECHANGED", nameOf(hwnd));
      break;
    case WM_LBUTTONUP:
      sprintf(text, "  %s LBUTTONUP %d,%d keys %d", nameOf(hwnd), x, y, (int)wp);
      if (g_capture) ReleaseCapture();
      break;
    case WM_LBUTTONDBLCLK:
      sprintf(text, "  %s LBUTTONDBLCLK %d,%d", nameOf(hwnd), x, y);
      break;
    case WM_RBUTTONDOWN:
      sprintf(text, "  %s RBUTTONDOWN %d,%d keys %d", nameOf(hwnd), x, y, (int)wp);
      break;
    case WM_RBUTTONUP:
      sprintf(text, "  %s RBUTTONUP %d,%d keys %d", nameOf(hwnd), x, y, (int)wp);
      break;
    case WM_CONTEXTMENU:
      sprintf(text, "  %s CONTEXTMENU from %s at %d,%d", nameOf(hwnd), nameOf((HWND)wp), x, y);
      break;
    case WM_PARENTNOTIFY:
      if (LOWORD(wp) < WM_MOUSEFIRST) break;  // a child made or destroyed
      sprintf(text, "  %s PARENTNOTIFY %#x at %d,%d", nameOf(hwnd), LOWORD(wp), x, y);
      break;
    case WM_COMMAND:
      sprintf(text, "  %s COMMAND id %d code %d", nameOf(hwnd), LOWORD(wp), HIWORD(wp));
      break;
    case WM_MOUSEWHEEL:
      sprintf(text, "  %s MOUSEWHEEL delta %d at %d,%d", nameOf(hwnd), (short)HIWORD(wp), x, y);
      break;
  }
  if (*text) printOnce(text);
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

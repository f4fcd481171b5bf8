// The cursor, the system's move and size loop, capture and class lookup:
// where the cursor is and what posted messages carry of it, SC_MOVE and
// SC_SIZE driven by posted mouse moves and keys, WM_CANCELMODE, the
// rectangle WM_NCCALCSIZE gets at creation, and which class a name finds.
#include "probe.h"

using namespace probe;

namespace {

int g_enter, g_exit, g_moving, g_sizing;
// Whether the first WM_NCCALCSIZE(0) since it was set to -1 got the window's
// screen rectangle (1) or another (0).
int g_ncCalcInScreen = -1;

LRESULT CALLBACK loopProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
  case WM_ENTERSIZEMOVE: ++g_enter; break;
  case WM_EXITSIZEMOVE: ++g_exit; break;
  case WM_MOVING: ++g_moving; break;
  case WM_SIZING: ++g_sizing; break;
  case WM_NCCALCSIZE:
    if (!wp && g_ncCalcInScreen < 0) {
      RECT r = windowRect(hwnd);
      g_ncCalcInScreen = EqualRect(&r, reinterpret_cast<RECT*>(lp)) != 0;
    }
    break;
  }
  return DefWindowProcA(hwnd, msg, wp, lp);
}

void printPlace(const char* what, HWND hwnd) {
  printf("%s: %s\n", what, rectText(windowRect(hwnd)));
}

// Names and runs the loop that WM_SYSCOMMAND starts, fed by posted messages, until the
// command itself has been dispatched.
void runCommand(HWND hwnd, const char* what, WPARAM command, POINT start, POINT to, WPARAM key) {
  puts(what);
  g_enter = g_exit = g_moving = g_sizing = 0;
  SetCursorPos(start.x, start.y);
  PostMessageA(hwnd, WM_SYSCOMMAND, command, MAKELONG(start.x, start.y));
  SetCursorPos(to.x, to.y);
  PostMessageA(hwnd, WM_MOUSEMOVE, 0, MAKELONG(to.x, to.y));
  PostMessageA(hwnd, WM_KEYDOWN, key, 0);
  MSG msg;
  while (GetMessageA(&msg, 0, 0, 0)) {
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
    if (msg.message == WM_SYSCOMMAND) break;
  }
  printf("  enter %d exit %d moving %d sizing %d, capture %s\n", g_enter, g_exit, g_moving,
         g_sizing, GetCapture() ? "held" : "none");
}

void cursor() {
  puts("-- cursor");
  for (POINT to : {POINT{120, 140}, POINT{-50, 30}}) {
    POINT p;
    SetCursorPos(to.x, to.y);
    GetCursorPos(&p);
    printf("after SetCursorPos(%ld,%ld): (%ld,%ld)\n", to.x, to.y, p.x, p.y);
  }
  pump();
  SetCursorPos(340, 320);
  PostMessageA(NULL, WM_APP, 0, 0);
  SetCursorPos(350, 330);
  MSG msg;
  while (GetMessageA(&msg, NULL, 0, 0) && msg.message != WM_APP) {
  }
  DWORD pos = GetMessagePos();
  printf("a message posted at (340,320) carries (%ld,%ld); GetMessagePos (%d,%d)\n", msg.pt.x,
         msg.pt.y, (short)LOWORD(pos), (short)HIWORD(pos));
  pump();
}

void moveAndSize(HWND hwnd) {
  puts("-- the move and size loop");
  SetWindowPos(hwnd, NULL, 100, 100, 200, 200, SWP_NOZORDER | SWP_NOACTIVATE);
  printPlace("start", hwnd);
  runCommand(hwnd, "SC_SIZE|9 from (100,100) to (110,100), Return:", SC_SIZE | 9, POINT{100, 100},
             POINT{110, 100}, VK_RETURN);
  printPlace("  now", hwnd);
  runCommand(hwnd, "SC_MOVE|HTCAPTION from (150,110) to (170,140), Escape:", SC_MOVE | HTCAPTION,
             POINT{150, 110}, POINT{170, 140}, VK_ESCAPE);
  printPlace("  now", hwnd);
  runCommand(hwnd, "SC_MOVE|HTCAPTION from (150,110) to (130,150), Return:", SC_MOVE | HTCAPTION,
             POINT{150, 110}, POINT{130, 150}, VK_RETURN);
  printPlace("  now", hwnd);
  ShowWindow(hwnd, SW_MAXIMIZE);
  RECT before = windowRect(hwnd);
  runCommand(hwnd, "SC_MOVE|HTCAPTION of a maximised window, Return:", SC_MOVE | HTCAPTION,
             POINT{150, 10}, POINT{170, 40}, VK_RETURN);
  RECT after = windowRect(hwnd);
  printf("  unmoved: %s\n", EqualRect(&before, &after) ? "yes" : "no");
  ShowWindow(hwnd, SW_RESTORE);
}

void cancelMode(HWND a, HWND b) {
  puts("-- WM_CANCELMODE");
  SetCapture(a);
  SendMessageA(b, WM_CANCELMODE, 0, 0);
  printf("sent to another window: capture %s\n", hname(GetCapture()));
  SendMessageA(a, WM_CANCELMODE, 0, 0);
  printf("sent to the capture: capture %s\n", hname(GetCapture()));
}

void classes() {
  puts("-- class lookup");
  HINSTANCE self = GetModuleHandleA(NULL);
  HINSTANCE user32 = GetModuleHandleA("user32.dll");
  WNDCLASSA wc = {};
  wc.lpfnWndProc = DefWindowProcA;
  wc.hInstance = self;
  wc.lpszClassName = "BUTTON";
  wc.lpszMenuName = "mine";
  wc.style = CS_GLOBALCLASS;
  printf("global BUTTON: %s\n", RegisterClassA(&wc) ? "registered" : "refused");
  wc.style = 0;
  printf("local BUTTON: %s\n", RegisterClassA(&wc) ? "registered" : "refused");
  WNDCLASSA found;
  if (GetClassInfoA(self, "BUTTON", &found))
    printf("this module finds menu %s\n", found.lpszMenuName ? found.lpszMenuName : "(none)");
  printf("unregister the local one: %d\n", UnregisterClassA("BUTTON", self));
  GetClassInfoA(NULL, "BUTTON", &found);
  printf("GetClassInfo(NULL) hInstance: %s\n", found.hInstance ? "set" : "NULL");
  GetClassInfoA(user32, "BUTTON", &found);
  printf("GetClassInfo(user32) hInstance: %s\n", found.hInstance ? "set" : "NULL");
  HWND button = CreateWindowA("Button", "b", WS_POPUP, 0, 0, 10, 10, NULL, NULL, self, NULL);
  printf("a button's class module is user32: %s\n",
         reinterpret_cast<HINSTANCE>(GetClassLongPtrA(button, GCLP_HMODULE)) == user32 ? "yes"
                                                                                       : "no");
  DestroyWindow(button);
  WNDCLASSEXA edit;
  edit.cbSize = sizeof edit;
  GetClassInfoExA(NULL, "Edit", &edit);
  // 6 on 32-bit systems, 8 on 64-bit ones.
  printf("Edit has window extra bytes: %s\n", edit.cbWndExtra >= 6 ? "yes" : "no");
}

}  // namespace

int main() {
  registerClass("ProbeInput", loopProc);
  HWND main =
      createAt("ProbeInput", "main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 200, 200, NULL);
  HWND other = createAt("ProbeInput", "other", WS_POPUP, 400, 400, 50, 50, NULL);
  g_ncCalcInScreen = -1;
  HWND child = createAt("ProbeInput", "child", WS_CHILD | WS_VISIBLE, 10, 10, 50, 50, main);
  printf("a child's WM_NCCALCSIZE at creation gets its screen rectangle: %s\n",
         g_ncCalcInScreen == 1 ? "yes" : "no");
  DestroyWindow(child);
  pump();

  cursor();
  moveAndSize(main);
  cancelMode(main, other);
  classes();
  DestroyWindow(other);
  DestroyWindow(main);
}

// The message queue: retrieval order (posted, quit, paint, timers), WM_PAINT
// only when nothing else is pending, GetMessage's results, TranslateMessage,
// re-entrant SendMessage and the window text messages.
#include "probe.h"

using namespace probe;

namespace {

HWND create(const char* name, DWORD style, HWND parent) {
  return createAt("ProbeQueue", name, style, 10, 10, 200, 150, parent);
}

int g_depth;
LRESULT CALLBACK queueProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  record(hwnd, msg, wp, lp);
  if (msg == WM_USER && wp < 3) {
    ++g_depth;
    LRESULT inner = SendMessageA(hwnd, WM_USER, wp + 1, 0);
    --g_depth;
    return inner + 10;
  }
  if (msg == WM_USER) return 100;
  if (msg == WM_PAINT) {
    PAINTSTRUCT ps;
    BeginPaint(hwnd, &ps);
    EndPaint(hwnd, &ps);
    return 0;
  }
  return DefWindowProcA(hwnd, msg, wp, lp);
}

// Retrieves everything pending without waiting and prints it in order; the
// record of what dispatching it sent is dropped.
void drain(const char* label) {
  MSG msg;
  printf("%s:", label);
  int guard = 0;
  while (PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE) && guard++ < 50) {
    if (msg.message == WM_QUIT) printf(" QUIT(%d)", (int)msg.wParam);
    if (!msgName(msg.message)) continue;  // WM_QUIT among them
    printf(" %s:%s", hname(msg.hwnd), msgName(msg.message));
    if (msg.message >= WM_USER) printf("(%d)", (int)msg.wParam);
    DispatchMessageA(&msg);
  }
  printf("\n");
  clearLog();
}

void order() {
  HWND p = create("P", WS_OVERLAPPEDWINDOW | WS_VISIBLE, NULL);
  HWND c = create("c", WS_CHILD | WS_VISIBLE, p);
  drain("initial");
  InvalidateRect(c, NULL, TRUE);
  InvalidateRect(p, NULL, TRUE);
  PostMessageA(p, WM_USER, 7, 0);
  PostMessageA(c, WM_USER, 8, 0);
  drain("posted before paint, parent before child");
  PostMessageA(p, WM_USER, 5, 0);
  PostQuitMessage(3);
  PostMessageA(p, WM_USER, 6, 0);
  InvalidateRect(p, NULL, FALSE);
  drain("quit after posted, before paint");
  SetTimer(p, 9, 10, NULL);
  Sleep(50);
  InvalidateRect(p, NULL, FALSE);
  PostMessageA(p, WM_USER, 4, 0);
  drain("posted, paint, timer");
  KillTimer(p, 9);
  printf("KillTimer again: %d\n", KillTimer(p, 9));
  MSG msg;
  PostMessageA(p, WM_USER, 4, 0);
  PostMessageA(p, WM_USER, 5, 0);
  BOOL got = PeekMessageA(&msg, p, WM_USER, WM_USER, PM_NOREMOVE);
  printf("peek no remove: %d wParam %d\n", got, (int)msg.wParam);
  got = PeekMessageA(&msg, NULL, WM_USER, WM_USER, PM_REMOVE);
  printf("peek remove: %d wParam %d\n", got, (int)msg.wParam);
  got = PeekMessageA(&msg, c, 0, 0, PM_REMOVE);
  printf("peek other window: %d\n", got);
  drain("rest");
  PostMessageA(NULL, WM_USER + 1, 1, 2);
  got = GetMessageA(&msg, NULL, 0, 0);
  printf("thread message: %d hwnd %s msg %s\n", got, hname(msg.hwnd), msgName(msg.message));
  PostQuitMessage(4);
  got = GetMessageA(&msg, NULL, 0, 0);
  printf("GetMessage quit: %d message %#x wParam %d\n", got, msg.message, (int)msg.wParam);
  PRINT_ERR("GetMessage bad window", GetMessageA(&msg, (HWND)(INT_PTR)0x7ffe, 0, 0));
  discard(p);
}

void sending() {
  HWND p = create("P", WS_OVERLAPPEDWINDOW, NULL);
  clearLog();
  printf("nested send result %ld\n", (long)SendMessageA(p, WM_USER, 0, 0));
  printLog("nested send");
  printf("SetWindowText: %d\n", SetWindowTextA(p, "New title"));
  char buf[32];
  int n = GetWindowTextA(p, buf, 4);
  printf("GetWindowText into 4: %d '%s'\n", n, buf);
  n = GetWindowTextA(p, buf, sizeof buf);
  printf("GetWindowText: %d '%s' length %d\n", n, buf, GetWindowTextLengthA(p));
  printLog("text messages");
  printf("WM_GETTEXT 0 chars: %ld\n", (long)SendMessageA(p, WM_GETTEXT, 0, (LPARAM)buf));
  SendMessageA(p, WM_SETTEXT, 0, 0);
  printf("after WM_SETTEXT NULL: length %d\n", GetWindowTextLengthA(p));
  discard(p);
}

// The keyboard state with only vk down (none for 0).
void holdOnly(int vk) {
  BYTE keys[256] = {};
  if (vk) keys[vk] = 0x80;
  SetKeyboardState(keys);
}

void translating() {
  HWND p = create("P", WS_OVERLAPPEDWINDOW, NULL);
  struct Case {
    UINT msg;
    WPARAM vk;
  } const cases[] = {
      {WM_KEYDOWN, 'A'},     {WM_KEYDOWN, VK_RETURN},
      {WM_KEYDOWN, VK_F5},   {WM_KEYDOWN, VK_ESCAPE},
      {WM_KEYDOWN, VK_BACK}, {WM_KEYDOWN, '5'},
      {WM_KEYUP, 'A'},       {WM_SYSKEYDOWN, 'F'},
      {WM_CHAR, 'a'},        {WM_USER, 0},
  };
  for (int shift = 0; shift < 2; ++shift) {
    holdOnly(shift ? VK_SHIFT : 0);
    for (const Case& c : cases) {
      MSG msg = {p, c.msg, c.vk, 1, 0, {0, 0}};
      BOOL t = TranslateMessage(&msg);
      printf("translate %s %#x shift %d: %d ->", msgName(c.msg), (unsigned)c.vk, shift, t);
      MSG out;
      while (PeekMessageA(&out, NULL, 0, 0, PM_REMOVE))
        if (msgName(out.message))
          printf(" %s(%#x)", msgName(out.message), (unsigned)out.wParam);
      printf("\n");
    }
  }
  holdOnly(VK_CONTROL);
  MSG msg = {p, WM_KEYDOWN, 'C', 0, 0, {0, 0}};
  TranslateMessage(&msg);
  MSG out;
  while (PeekMessageA(&out, NULL, 0, 0, PM_REMOVE))
    if (out.message == WM_CHAR) printf("ctrl+C gives WM_CHAR %#x\n", (unsigned)out.wParam);
  printf("GetKeyState control %#x shift %#x\n", (unsigned)(GetKeyState(VK_CONTROL) & 0xffff),
         (unsigned)(GetKeyState(VK_SHIFT) & 0xffff));
  holdOnly(0);
  discard(p);
}

}  // namespace

int main() {
  registerClass("ProbeQueue", queueProc, (HBRUSH)(COLOR_WINDOW + 1));
  order();
  sending();
  translating();
}

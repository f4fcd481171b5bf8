// Shared helpers of the behaviour probes: plain Win32 programs that print what
// the system did, built both against the layer and for the real system.
// Invariant: nothing printed depends on pointer size or on handle values --
// windows are printed by the names the probe gave them, never as numbers.
#ifndef TUL_WIN32_PROBE_H
#define TUL_WIN32_PROBE_H

#include <windows.h>
#include <stdio.h>
#include <string.h>

#include <initializer_list>

namespace probe {

struct MsgName {
  UINT msg;
  const char* name;
};

// A value and the label a probe prints it by.
struct Labelled {
  const char* label;
  UINT value;
};

// Only these messages are recorded; activation, IME and icon traffic differs
// between systems and is left out on purpose.
// clang-format off
#define W(m) {WM_##m, #m}
const MsgName kWatched[] = {
    W(CREATE), W(DESTROY), W(MOVE), W(SIZE), W(ACTIVATE), W(SETFOCUS), W(KILLFOCUS), W(SETTEXT),
    W(GETTEXT), W(GETTEXTLENGTH), W(PAINT), W(CLOSE), W(QUERYOPEN), W(ERASEBKGND), W(SHOWWINDOW),
    W(GETMINMAXINFO), W(CHILDACTIVATE), W(WINDOWPOSCHANGING), W(WINDOWPOSCHANGED), W(STYLECHANGING),
    W(STYLECHANGED), W(NCCREATE), W(NCDESTROY), W(NCCALCSIZE), W(NCPAINT), W(KEYDOWN), W(KEYUP),
    W(CHAR), W(SYSKEYDOWN), W(SYSCHAR), W(COMMAND), W(SYSCOMMAND), W(TIMER), W(HSCROLL), W(VSCROLL),
    W(PARENTNOTIFY), W(USER), {WM_USER + 1, "USER+1"}, {WM_USER + 2, "USER+2"}, W(APP),
};
// clang-format on
#undef W

inline const char* msgName(UINT msg) {
  for (const MsgName& m : kWatched)
    if (m.msg == msg) return m.name;
  return nullptr;
}

// Windows get names when they are created: the name set by expect() is given
// to the first unknown window that receives a message.
// Names are the probes' string constants, kept by pointer.
struct Named {
  HWND hwnd;
  const char* name;
};
inline Named g_named[128];
inline int g_namedCount;
inline const char* g_pending = "?";

inline void expect(const char* name) { g_pending = name; }

inline void nameWindow(HWND hwnd, const char* name) {
  if (g_namedCount < 128) g_named[g_namedCount++] = Named{hwnd, name};
}

inline const char* hname(HWND hwnd) {
  if (!hwnd) return "NULL";
  if (hwnd == GetDesktopWindow()) return "desktop";
  for (int i = g_namedCount - 1; i >= 0; --i)
    if (g_named[i].hwnd == hwnd) return g_named[i].name;
  return "?";
}

// Creates a window of the probe's class, named for the log.
inline HWND createNamed(const char* cls, const char* name, DWORD style, HWND parent,
                        DWORD ex = 0) {
  expect(name);
  HWND h = CreateWindowExA(ex, cls, name, style, 100, 100, 200, 150, parent, NULL,
                           GetModuleHandleA(NULL), NULL);
  nameWindow(h, name);
  return h;
}

// Creates a window at a place and size, named for the log; its text is its
// name unless text is given.
inline HWND createAt(const char* cls, const char* name, DWORD style, int x, int y, int w, int h,
                     HWND parent, DWORD ex = 0, int id = 0, const char* text = NULL,
                     void* params = NULL) {
  expect(name);
  HWND hwnd = CreateWindowExA(ex, cls, text ? text : name, style, x, y, w, h, parent,
                              (HMENU)(INT_PTR)id, GetModuleHandleA(NULL), params);
  if (hwnd) nameWindow(hwnd, name);
  return hwnd;
}

struct Logged {
  HWND hwnd;
  UINT msg;
  WPARAM wp;
  LPARAM lp;
  UINT swpFlags;  // WM_WINDOWPOS*: the flags, read while the pointer is valid
};
inline Logged g_log[1024];
inline int g_logCount;

// Activation and focus traffic around minimising and restoring differs
// between systems; probes about geometry switch it off.
inline bool g_ignoreFocus;

inline void record(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (strcmp(hname(hwnd), "?") == 0) nameWindow(hwnd, g_pending);
  if (!msgName(msg) || g_logCount == 1024) return;
  if (g_ignoreFocus && (msg == WM_ACTIVATE || msg == WM_SETFOCUS || msg == WM_KILLFOCUS)) return;
  bool pos = msg == WM_WINDOWPOSCHANGING || msg == WM_WINDOWPOSCHANGED;
  g_log[g_logCount++] = Logged{hwnd, msg, wp, lp, pos ? ((const WINDOWPOS*)lp)->flags : 0};
}

// Flags worth comparing; the others are internal bookkeeping of a system.
const UINT kSwpShown = SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE |
                       SWP_FRAMECHANGED | SWP_SHOWWINDOW | SWP_HIDEWINDOW;

inline bool isOneOf(UINT msg, std::initializer_list<UINT> msgs) {
  for (UINT m : msgs)
    if (m == msg) return true;
  return false;
}

inline void printOne(const Logged& e) {
  printf(" %s:%s", hname(e.hwnd), msgName(e.msg));
  int x = (short)LOWORD(e.lp), y = (short)HIWORD(e.lp);
  if (e.msg == WM_SIZE)
    printf("(%d,%dx%d)", (int)e.wp, x, y);
  else if (e.msg == WM_MOVE)
    printf("(%d,%d)", x, y);
  else if (isOneOf(e.msg, {WM_SHOWWINDOW, WM_NCCALCSIZE, WM_ACTIVATE}))
    printf("(%d)", (int)LOWORD(e.wp));
  else if (isOneOf(e.msg, {WM_WINDOWPOSCHANGING, WM_WINDOWPOSCHANGED}))
    printf("(%#x)", (unsigned)(e.swpFlags & kSwpShown));
  else if (e.msg == WM_PARENTNOTIFY)
    printf("(%s,%s)", msgName(LOWORD(e.wp)) ? msgName(LOWORD(e.wp)) : "?", hname((HWND)e.lp));
  else if (e.msg == WM_COMMAND)
    printf("(%#x,%s)", (unsigned)e.wp, hname((HWND)e.lp));
  else if (e.msg == WM_SYSCOMMAND)
    printf("(%#x,%#x)", (unsigned)e.wp, (unsigned)e.lp);
  else if (isOneOf(e.msg, {WM_KEYDOWN, WM_KEYUP, WM_CHAR, WM_SYSKEYDOWN, WM_SYSCHAR, WM_TIMER,
                           WM_STYLECHANGING, WM_STYLECHANGED}))
    printf("(%d)", (int)e.wp);
  else if (isOneOf(e.msg, {WM_HSCROLL, WM_VSCROLL}))
    printf("(%d,%d)", (int)LOWORD(e.wp), (int)(short)HIWORD(e.wp));
}

// Prints and clears the record: "label: P:NCCREATE P:NCCALCSIZE(0) ...".
inline void printLog(const char* label) {
  printf("%s:", label);
  if (g_logCount == 0) printf(" (none)");
  for (int i = 0; i < g_logCount; ++i) printOne(g_log[i]);
  printf("\n");
  g_logCount = 0;
}

inline void clearLog() { g_logCount = 0; }

// Destroys a window and drops the record of what that sent.
inline void discard(HWND hwnd) {
  DestroyWindow(hwnd);
  clearLog();
}

// Prints the record under label once the action given (a call's result) is
// done: logged("minimize", ShowWindow(h, SW_MINIMIZE)).
template <typename T>
inline void logged(const char* label, const T&) {
  printLog(label);
}

// "label: v1 v2 ...". Braced lists are evaluated left to right, unlike a
// call's arguments, so the values are the results of the calls in the order
// written.
inline void printValues(const char* label, std::initializer_list<LRESULT> values) {
  printf("%s:", label);
  for (LRESULT v : values) printf(" %ld", (long)v);
  printf("\n");
}

// Messages to controls, their results as the controls give them.
inline LRESULT send(HWND h, UINT msg, WPARAM wp, LPARAM lp) { return SendMessageA(h, msg, wp, lp); }
inline LRESULT sendText(HWND h, UINT msg, WPARAM wp, const char* s) {
  return SendMessageA(h, msg, wp, (LPARAM)s);
}

// What a parent heard from its controls, kept as " NAME NAME ..." until a
// probe prints and empties it.
inline char g_notes[512];
inline void note(const char* s) {
  size_t n = strlen(g_notes);
  snprintf(g_notes + n, sizeof g_notes - n, " %s", s);
}

// The recording procedure most probes use for their windows.
inline LRESULT CALLBACK loggingProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  record(hwnd, msg, wp, lp);
  return DefWindowProcA(hwnd, msg, wp, lp);
}

inline ATOM registerClass(const char* name, WNDPROC proc, HBRUSH background = NULL,
                          UINT style = 0, int wndExtra = 0) {
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof wc;
  wc.style = style;
  wc.lpfnWndProc = proc;
  wc.cbWndExtra = wndExtra;
  wc.hInstance = GetModuleHandleA(NULL);
  wc.hCursor = LoadCursorA(NULL, IDC_ARROW);
  wc.hbrBackground = background;
  wc.lpszClassName = name;
  return RegisterClassExA(&wc);
}


// "label: value err=E": the call's result and the error it left, cleared
// before the call.
inline void printWithError(const char* label, long value) {
  printf("%s: %ld err=%lu\n", label, value, (unsigned long)GetLastError());
}
#define PRINT_ERR(label, call) (SetLastError(0), probe::printWithError(label, (long)(call)))

// "(left,top)-(right,bottom)", in one of four buffers used in turn, so that
// one printf can show several rectangles.
inline const char* rectText(const RECT& r) {
  static char bufs[4][64];
  static int next;
  char* b = bufs[next++ % 4];
  snprintf(b, sizeof bufs[0], "(%ld,%ld)-(%ld,%ld)", (long)r.left, (long)r.top, (long)r.right,
           (long)r.bottom);
  return b;
}

// The metrics of the font a control draws with (its WM_GETFONT).
inline TEXTMETRICA fontMetricsOf(HWND hwnd) {
  HDC dc = GetDC(hwnd);
  HGDIOBJ old = SelectObject(dc, (HGDIOBJ)SendMessageA(hwnd, WM_GETFONT, 0, 0));
  TEXTMETRICA tm;
  GetTextMetricsA(dc, &tm);
  SelectObject(dc, old);
  ReleaseDC(hwnd, dc);
  return tm;
}

// A window's rectangle on the screen, and its client area.
inline RECT windowRect(HWND hwnd) {
  RECT r = {};
  GetWindowRect(hwnd, &r);
  return r;
}

inline RECT clientRect(HWND hwnd) {
  RECT r = {};
  GetClientRect(hwnd, &r);
  return r;
}

inline void printRect(const char* label, const RECT& r) {
  printf("%s: %s %ldx%ld\n", label, rectText(r), (long)(r.right - r.left),
         (long)(r.bottom - r.top));
}

// A window's text, in a buffer that the next call reuses.
inline const char* windowText(HWND hwnd) {
  static char buf[256];
  GetWindowTextA(hwnd, buf, sizeof buf);
  return buf;
}

inline bool topmost(HWND hwnd) { return (GetWindowLongA(hwnd, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0; }

inline void printWindowRects(const char* label, HWND hwnd) {
  RECT w = windowRect(hwnd), c = clientRect(hwnd);
  printf("%s: window (%ld,%ld) %ldx%ld client %ldx%ld\n", label, (long)w.left, (long)w.top,
         (long)(w.right - w.left), (long)(w.bottom - w.top), (long)c.right, (long)c.bottom);
}

// Prints a line of text unless it repeats the line printed before it;
// a new section empties g_lastLine first.
inline char g_lastLine[160];
inline void printOnce(const char* text) {
  if (strcmp(text, g_lastLine) == 0) return;
  snprintf(g_lastLine, sizeof g_lastLine, "%s", text);
  puts(text);
}

// Drains posted messages without waiting, dispatching them.
inline void pump() {
  MSG msg;
  while (PeekMessageA(&msg, NULL, 0, 0, PM_REMOVE)) {
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
}

// Dispatches what arrives for rounds of 20 ms each, so that input sent to
// the system meanwhile reaches the windows.
inline void pumpFor(int rounds) {
  for (int round = 0; round < rounds; ++round) {
    pump();
    Sleep(20);
  }
}

// The probes' hand, through SendInput: a key going down or up, and a mouse
// event (with MOUSEEVENTF_ABSOLUTE, x and y are screen pixels).
inline INPUT keyInput(WORD vk, bool up) {
  INPUT in = {};
  in.type = INPUT_KEYBOARD;
  in.ki.wVk = vk;
  in.ki.dwFlags = up ? KEYEVENTF_KEYUP : 0;
  return in;
}

inline INPUT mouseInput(DWORD flags, int x = 0, int y = 0, DWORD data = 0) {
  INPUT in = {};
  in.type = INPUT_MOUSE;
  in.mi.dwFlags = flags;
  in.mi.mouseData = data;
  if (flags & MOUSEEVENTF_ABSOLUTE) {
    int cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
    in.mi.dx = (x * 65536 + cx - 1) / cx;
    in.mi.dy = (y * 65536 + cy - 1) / cy;
  }
  return in;
}

}  // namespace probe

#endif

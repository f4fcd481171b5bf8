// The simulated user's hands: keys and text (queued as hardware input, so
// the program reads them with GetMessageA), mouse clicks, the scroll-bar
// gestures of the system's tracking loop, and resizing or closing windows.
// Invariant: every gesture produces exactly the messages the system's own
// handling of that gesture would, through the same queue and procedures.
#include <win32sim.h>

#include "user/user.h"

#include <cctype>
#include <cstring>

namespace w32 {

namespace {

// Set-1 scan codes of the keys a test is likely to press; 0 for the rest.
BYTE scanCode(int vk) {
  static const char kTop[] = "QWERTYUIOP", kMiddle[] = "ASDFGHJKL", kBottom[] = "ZXCVBNM";
  if (vk >= '1' && vk <= '9') return static_cast<BYTE>(2 + vk - '1');
  if (vk == '0') return 11;
  if (const char* p = strchr(kTop, vk); p && vk) return static_cast<BYTE>(16 + (p - kTop));
  if (const char* p = strchr(kMiddle, vk); p && vk) return static_cast<BYTE>(30 + (p - kMiddle));
  if (const char* p = strchr(kBottom, vk); p && vk) return static_cast<BYTE>(44 + (p - kBottom));
  if (vk >= VK_F1 && vk <= VK_F10) return static_cast<BYTE>(59 + vk - VK_F1);
  switch (vk) {
  case VK_ESCAPE: return 1;
  case VK_BACK: return 14;
  case VK_TAB: return 15;
  case VK_RETURN: return 28;
  case VK_CONTROL: return 29;
  case VK_SHIFT: return 42;
  case VK_MENU: return 56;
  case VK_SPACE: return 57;
  case VK_UP: return 72;
  case VK_LEFT: return 75;
  case VK_RIGHT: return 77;
  case VK_DOWN: return 80;
  default: return 0;
  }
}

POINT cursorNow() {
  POINT p;
  GetCursorPos(&p);
  return p;
}

void key(int vk, bool down) {
  bool alt = asyncKeyDown(VK_MENU) || (vk == VK_MENU && down);
  bool ctrl = asyncKeyDown(VK_CONTROL);
  bool wasDown = asyncKeyDown(vk);
  setAsyncKey(vk, down);
  bool sys = (alt && !ctrl) || vk == VK_F10;
  LPARAM lp = 1 | (static_cast<LPARAM>(scanCode(vk)) << 16);
  if (alt && !(vk == VK_MENU && !down)) lp |= 1L << 29;
  if (!down || wasDown) lp |= 1L << 30;
  if (!down) lp |= static_cast<LPARAM>(1UL << 31);
  UINT message = down ? (sys ? WM_SYSKEYDOWN : WM_KEYDOWN) : (sys ? WM_SYSKEYUP : WM_KEYUP);
  queueInput(message, static_cast<WPARAM>(vk), lp, nullptr, cursorNow());
}

// The key and Shift state that type c on a US keyboard; false if none does.
bool keyFor(char c, int* vk, bool* shift) {
  static const char kShiftedDigits[] = ")!@#$%^&*(";
  static const struct {
    int vk;
    char plain, shifted;
  } kOem[] = {{VK_OEM_1, ';', ':'},      {VK_OEM_PLUS, '=', '+'},  {VK_OEM_COMMA, ',', '<'},
              {VK_OEM_MINUS, '-', '_'},  {VK_OEM_PERIOD, '.', '>'}, {VK_OEM_2, '/', '?'},
              {VK_OEM_3, '`', '~'},      {VK_OEM_4, '[', '{'},     {VK_OEM_5, '\\', '|'},
              {VK_OEM_6, ']', '}'},      {VK_OEM_7, '\'', '"'}};
  *shift = false;
  if (isalpha(static_cast<unsigned char>(c))) {
    *vk = toupper(static_cast<unsigned char>(c));
    *shift = isupper(static_cast<unsigned char>(c)) != 0;
    return true;
  }
  if (isdigit(static_cast<unsigned char>(c))) {
    *vk = c;
    return true;
  }
  if (const char* p = strchr(kShiftedDigits, c); p && c) {
    *vk = '0' + static_cast<int>(p - kShiftedDigits);
    *shift = true;
    return true;
  }
  switch (c) {
  case ' ': *vk = VK_SPACE; return true;
  case '\n': *vk = VK_RETURN; return true;
  case '\t': *vk = VK_TAB; return true;
  default: break;
  }
  for (const auto& o : kOem) {
    if (c == o.plain || c == o.shifted) {
      *vk = o.vk;
      *shift = c == o.shifted;
      return true;
    }
  }
  return false;
}

struct BarTarget {
  HWND to = nullptr;
  UINT message = 0;
  LPARAM control = 0;
};

BarTarget barTarget(HWND hwnd, int bar) {
  BarTarget t;
  Window* w = findWindow(hwnd);
  if (!w) return t;
  if (bar == SB_CTL) {
    t.to = isChild(*w) ? w->parent : hwnd;
    t.message = (w->style & SBS_VERT) ? WM_VSCROLL : WM_HSCROLL;
    t.control = reinterpret_cast<LPARAM>(hwnd);
    return t;
  }
  t.to = hwnd;
  t.message = bar == SB_VERT ? WM_VSCROLL : WM_HSCROLL;
  return t;
}

void sendScroll(const BarTarget& t, WORD code, int position) {
  if (!findWindow(t.to)) return;
  sendMessage(t.to, t.message, MAKEWPARAM(code, position), t.control);
}

bool isThumbCode(int code) { return code == SB_THUMBTRACK || code == SB_THUMBPOSITION; }

// The bar's tracking state, set for one message and put back afterwards
// (the procedure may have destroyed the window meanwhile).
class TrackingScope {
 public:
  TrackingScope(HWND hwnd, int bar, int position) : hwnd_(hwnd), bar_(bar) {
    ScrollBarInfo* info = find();
    if (!info) return;
    saved_ = *info;
    info->tracking = true;
    info->trackPos = position;
  }
  ~TrackingScope() {
    ScrollBarInfo* info = find();
    if (!info) return;
    info->tracking = saved_.tracking;
    info->trackPos = saved_.trackPos;
  }
  TrackingScope(const TrackingScope&) = delete;
  TrackingScope& operator=(const TrackingScope&) = delete;

 private:
  ScrollBarInfo* find() const {
    Window* w = findWindow(hwnd_);
    return w ? scrollInfoOf(*w, bar_) : nullptr;
  }
  HWND hwnd_;
  int bar_;
  ScrollBarInfo saved_;
};

}  // namespace

}  // namespace w32

namespace win32sim {

using namespace w32;

void keyDown(int vk) { key(vk, true); }

void keyUp(int vk) { key(vk, false); }

void pressKey(int vk, unsigned modifiers) {
  if (modifiers & kShift) keyDown(VK_SHIFT);
  if (modifiers & kControl) keyDown(VK_CONTROL);
  if (modifiers & kAlt) keyDown(VK_MENU);
  keyDown(vk);
  keyUp(vk);
  if (modifiers & kAlt) keyUp(VK_MENU);
  if (modifiers & kControl) keyUp(VK_CONTROL);
  if (modifiers & kShift) keyUp(VK_SHIFT);
}

void typeText(const char* text) {
  for (const char* p = text; p && *p; ++p) {
    int vk = 0;
    bool shift = false;
    if (!keyFor(*p, &vk, &shift)) continue;
    pressKey(vk, shift ? kShift : kNoModifier);
  }
}

void focusWindow(HWND hwnd) { queueFocusChange(hwnd); }

void mouseMove(HWND hwnd, int x, int y) {
  POINT screen{x, y};
  if (ClientToScreen(hwnd, &screen)) SetCursorPos(screen.x, screen.y);
}

void mouseButton(int vk, bool down) {
  static const struct {
    int vk;
    UINT down;
  } kButtons[] = {{VK_LBUTTON, WM_LBUTTONDOWN}, {VK_RBUTTON, WM_RBUTTONDOWN}, {VK_MBUTTON, WM_MBUTTONDOWN}};
  for (const auto& b : kButtons) {
    if (b.vk != vk) continue;
    setAsyncKey(vk, down);
    queueMouseInput(down ? b.down : b.down + 1, heldMouseKeys(), cursorNow());
  }
}

void click(HWND hwnd, int x, int y, int vk, unsigned modifiers) {
  if (!IsWindow(hwnd)) return;
  if (modifiers & kShift) keyDown(VK_SHIFT);
  if (modifiers & kControl) keyDown(VK_CONTROL);
  if (modifiers & kAlt) keyDown(VK_MENU);
  mouseMove(hwnd, x, y);
  mouseButton(vk, true);
  mouseButton(vk, false);
  if (modifiers & kAlt) keyUp(VK_MENU);
  if (modifiers & kControl) keyUp(VK_CONTROL);
  if (modifiers & kShift) keyUp(VK_SHIFT);
}

void doubleClick(HWND hwnd, int x, int y, int vk) {
  click(hwnd, x, y, vk);
  click(hwnd, x, y, vk);
}

void drag(HWND hwnd, int x1, int y1, int x2, int y2, int vk) {
  if (!IsWindow(hwnd)) return;
  constexpr int kSteps = 4;
  mouseMove(hwnd, x1, y1);
  mouseButton(vk, true);
  for (int i = 1; i <= kSteps; ++i)
    mouseMove(hwnd, x1 + (x2 - x1) * i / kSteps, y1 + (y2 - y1) * i / kSteps);
  mouseButton(vk, false);
}

void wheel(HWND hwnd, int x, int y, int notches) {
  if (!IsWindow(hwnd)) return;
  mouseMove(hwnd, x, y);
  WPARAM wp = MAKEWPARAM(heldMouseKeys(), static_cast<WORD>(notches * WHEEL_DELTA));
  queueMouseInput(WM_MOUSEWHEEL, wp, cursorNow());
}

void sendScrollMessage(HWND hwnd, int bar, int code, int position) {
  BarTarget t = barTarget(hwnd, bar);
  if (!isThumbCode(code)) {
    sendScroll(t, static_cast<WORD>(code), 0);
    return;
  }
  TrackingScope tracking(hwnd, bar, position);
  sendScroll(t, static_cast<WORD>(code), position);
}

void clickScrollArrow(HWND hwnd, int bar, bool towardsEnd) {
  sendScrollMessage(hwnd, bar, towardsEnd ? SB_LINEDOWN : SB_LINEUP, 0);
  sendScrollMessage(hwnd, bar, SB_ENDSCROLL, 0);
}

void clickScrollPage(HWND hwnd, int bar, bool towardsEnd) {
  sendScrollMessage(hwnd, bar, towardsEnd ? SB_PAGEDOWN : SB_PAGEUP, 0);
  sendScrollMessage(hwnd, bar, SB_ENDSCROLL, 0);
}

void dragScrollThumb(HWND hwnd, int bar, const std::vector<int>& positions) {
  if (positions.empty()) return;
  for (int p : positions) sendScrollMessage(hwnd, bar, SB_THUMBTRACK, p);
  sendScrollMessage(hwnd, bar, SB_THUMBPOSITION, positions.back());
  sendScrollMessage(hwnd, bar, SB_ENDSCROLL, 0);
}

void resizeWindow(HWND hwnd, int width, int height) {
  if (!findWindow(hwnd)) return;
  sendMessage(hwnd, WM_ENTERSIZEMOVE, 0, 0);
  SetWindowPos(hwnd, NULL, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  sendMessage(hwnd, WM_EXITSIZEMOVE, 0, 0);
}

void closeWindow(HWND hwnd) {
  RECT r;
  if (!GetWindowRect(hwnd, &r)) return;
  POINT box{r.right - 8, r.top + 8};  // over the close box of a captioned window
  LPARAM lp = MAKELPARAM(box.x, box.y);
  queueInput(WM_NCLBUTTONDOWN, HTCLOSE, lp, hwnd, box);
  queueInput(WM_NCLBUTTONUP, HTCLOSE, lp, hwnd, box);
}

}  // namespace win32sim

using namespace w32;

extern "C" {

// The system's own way for a program to act as the hands: each event goes
// where the simulated user's would. Keys by virtual key (KEYEVENTF_KEYUP);
// the mouse moves relative or absolute (0 to 65535 across the screen), its
// buttons and wheel act where the cursor is. Other kinds, and mouse side
// buttons, are not inserted; the count of events inserted is returned.
UINT WINAPI SendInput(UINT cInputs, LPINPUT pInputs, int cbSize) {
  if (!pInputs || cbSize != static_cast<int>(sizeof(INPUT))) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  static const struct {
    DWORD flag;
    int vk;
    bool down;
  } kButtons[] = {{MOUSEEVENTF_LEFTDOWN, VK_LBUTTON, true},    {MOUSEEVENTF_LEFTUP, VK_LBUTTON, false},
                  {MOUSEEVENTF_RIGHTDOWN, VK_RBUTTON, true},   {MOUSEEVENTF_RIGHTUP, VK_RBUTTON, false},
                  {MOUSEEVENTF_MIDDLEDOWN, VK_MBUTTON, true},  {MOUSEEVENTF_MIDDLEUP, VK_MBUTTON, false}};
  UINT done = 0;
  for (UINT i = 0; i < cInputs; ++i) {
    const INPUT& in = pInputs[i];
    if (in.type == INPUT_KEYBOARD) {
      if (in.ki.dwFlags & KEYEVENTF_KEYUP) win32sim::keyUp(in.ki.wVk);
      else win32sim::keyDown(in.ki.wVk);
      ++done;
      continue;
    }
    if (in.type != INPUT_MOUSE) break;
    const MOUSEINPUT& mi = in.mi;
    if (mi.dwFlags & MOUSEEVENTF_MOVE) {
      POINT p = cursorNow();
      if (mi.dwFlags & MOUSEEVENTF_ABSOLUTE) {
        p.x = static_cast<LONG>(static_cast<long long>(mi.dx) * GetSystemMetrics(SM_CXSCREEN) / 65536);
        p.y = static_cast<LONG>(static_cast<long long>(mi.dy) * GetSystemMetrics(SM_CYSCREEN) / 65536);
      } else {
        p.x += mi.dx;
        p.y += mi.dy;
      }
      SetCursorPos(p.x, p.y);
    }
    for (const auto& b : kButtons)
      if (mi.dwFlags & b.flag) win32sim::mouseButton(b.vk, b.down);
    if (mi.dwFlags & MOUSEEVENTF_WHEEL) {
      WPARAM wp = MAKEWPARAM(heldMouseKeys(), static_cast<WORD>(mi.mouseData));
      queueMouseInput(WM_MOUSEWHEEL, wp, cursorNow());
    }
    ++done;
  }
  return done;
}

}  // extern "C"

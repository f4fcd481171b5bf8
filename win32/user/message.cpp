// The thread's message queue: sending, posting, retrieval in the system's
// order (posted messages, then WM_QUIT, then input, then WM_PAINT, then
// WM_TIMER), keyboard translation, timers on the simulated clock, and the
// hooks that stand in for waiting (the idle hook, and the one told that
// nothing can arrive any more).
// Invariants: WM_PAINT and WM_TIMER are never stored -- they are made when
// retrieval finds nothing earlier in the order; the key state that
// GetKeyState reports changes only when an input message is retrieved; a
// focus change queued with the input is made only once everything queued
// before it has been taken, and nothing queued after it is offered before.
#include "user/user.h"

#include "kernel/kernel.h"

#include <unistd.h>
#include <win32sim.h>

#include <algorithm>
#include <cstdlib>
#include <cstdio>
#include <deque>
#include <functional>

namespace w32 {

namespace {

constexpr UINT kMinTimerInterval = 10;  // USER_TIMER_MINIMUM, milliseconds
// Timers without a window take ids counting down from here, as the system
// gives them, and run out below the last.
constexpr UINT_PTR kFirstThreadTimer = 0x7FFF;
constexpr UINT_PTR kLastThreadTimer = 0x101;
constexpr DWORD kThreadId = 1;

struct InputEvent {
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  HWND target;  // mouse input: the window under the point; keys: null (the focus)
  POINT screen;
  bool cursorMove = false;   // mouse input: where it goes is decided when it is taken
  bool routed = false;       // mouse input whose place was decided (hit, raw are set)
  LRESULT hit = HTCLIENT;    // the hit test's answer where it was routed
  UINT raw = 0;              // the client message it was before the hit test made it WM_NC*
  HWND under = nullptr;      // the wheel: the window under the cursor, which sets it
  bool focusChange = false;  // no message: target takes the focus when it is reached
};

struct Timer {
  HWND hwnd;
  UINT_PTR id;
  UINT interval;
  TIMERPROC proc;
  DWORD due;
};

struct Queue {
  std::deque<MSG> posted;
  std::deque<InputEvent> input;
  std::vector<Timer> timers;
  bool quit = false;
  int quitCode = 0;
  BYTE keys[256] = {};       // the thread's key state, as of the last retrieved input
  BYTE asyncKeys[256] = {};  // the keyboard itself
  DWORD lastTime = 0;
  POINT lastPos{};
  POINT cursor{};
  // The last button press, for telling a double-click: its message, window,
  // time and screen point; message 0 when the next press cannot be one.
  UINT lastPress = 0;
  HWND lastPressWindow = nullptr;
  DWORD lastPressTime = 0;
  POINT lastPressPoint{};
  UINT_PTR nextThreadTimer = kFirstThreadTimer;
  win32sim::IdleHook idleHook;
  bool inIdleHook = false;
  unsigned long activity = 0;  // procedures run and screens saved, ever
  win32sim::NothingCanArriveHook nothingCanArrive;
};

Queue& queue() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static Queue& q = *new Queue;
  return q;
}

bool inRange(UINT msg, UINT first, UINT last) {
  if (first == 0 && last == 0) return true;
  return msg >= first && msg <= last;
}

bool windowMatches(HWND filter, HWND hwnd) {
  if (!filter) return true;
  if (filter == reinterpret_cast<HWND>(-1)) return hwnd == nullptr;
  return hwnd == filter || isAncestor(filter, hwnd);
}

MSG makeMsg(HWND hwnd, UINT message, WPARAM wp, LPARAM lp) {
  MSG m;
  m.hwnd = hwnd;
  m.message = message;
  m.wParam = wp;
  m.lParam = lp;
  m.time = clockNow();
  m.pt = queue().cursor;
  return m;
}

bool isKeyMessage(UINT m) { return m >= WM_KEYFIRST && m <= WM_KEYLAST; }
bool isMouseMessage(UINT m) {
  return (m >= WM_MOUSEFIRST && m <= WM_MOUSELAST) || (m >= WM_NCMOUSEMOVE && m <= WM_NCMBUTTONDBLCLK);
}

constexpr UINT kDoubleClickTime = 500;  // milliseconds, the system's default
constexpr UINT kNonClientOffset = WM_MOUSEMOVE - WM_NCMOUSEMOVE;

// The button of a button message (client or WM_NC*), 0 for other messages;
// *down tells a press (or double-click) from a release.
int buttonOf(UINT m, bool* down) {
  if (m >= WM_NCMOUSEMOVE && m <= WM_NCMBUTTONDBLCLK) m += kNonClientOffset;
  static const int kButtons[] = {VK_LBUTTON, VK_RBUTTON, VK_MBUTTON};
  if (m < WM_LBUTTONDOWN || m > WM_MBUTTONDBLCLK) return 0;
  *down = (m - WM_LBUTTONDOWN) % 3 != 1;
  return kButtons[(m - WM_LBUTTONDOWN) / 3];
}

bool isPress(UINT m) {
  bool down = false;
  return buttonOf(m, &down) && down;
}

// Keyboard input goes to the focus; with none, to the active window as
// system keys; with neither it is dropped.
HWND keyTarget(UINT* message) {
  if (HWND f = focusWindow()) return f;
  HWND a = activeWindow();
  if (!a) return nullptr;
  if (*message == WM_KEYDOWN) *message = WM_SYSKEYDOWN;
  else if (*message == WM_KEYUP) *message = WM_SYSKEYUP;
  return a;
}

void applyKeyState(const MSG& m) {
  Queue& q = queue();
  if (m.message == WM_KEYDOWN || m.message == WM_SYSKEYDOWN) {
    BYTE& k = q.keys[m.wParam & 0xff];
    if (!(k & 0x80)) k = static_cast<BYTE>(k ^ 0x01);  // the toggle bit flips on each press
    k = static_cast<BYTE>(k | 0x80);
  } else if (m.message == WM_KEYUP || m.message == WM_SYSKEYUP) {
    q.keys[m.wParam & 0xff] = static_cast<BYTE>(q.keys[m.wParam & 0xff] & ~0x80);
  } else if (bool down = false; int vk = buttonOf(m.message, &down)) {
    q.keys[vk] = static_cast<BYTE>(down ? (q.keys[vk] | 0x80) : (q.keys[vk] & ~0x80));
  }
  BYTE sides[][3] = {{VK_SHIFT, VK_LSHIFT, VK_RSHIFT},
                     {VK_CONTROL, VK_LCONTROL, VK_RCONTROL},
                     {VK_MENU, VK_LMENU, VK_RMENU}};
  for (auto& s : sides)
    if (m.wParam == s[0] && isKeyMessage(m.message)) q.keys[s[1]] = q.keys[s[0]];
}

// A press in a class with CS_DBLCLKS becomes a double-click when the same
// button was pressed last, on the same window, within the double-click time
// and the double-click rectangle around that press; the press after a
// double-click starts anew.
UINT pressOrDoubleClick(Queue& q, const InputEvent& e, HWND target) {
  Window* w = findWindow(target);
  DWORD now = clockNow();
  bool near = std::abs(e.screen.x - q.lastPressPoint.x) <= GetSystemMetrics(SM_CXDOUBLECLK) / 2 &&
              std::abs(e.screen.y - q.lastPressPoint.y) <= GetSystemMetrics(SM_CYDOUBLECLK) / 2;
  bool doubled = w && (w->cls->style & CS_DBLCLKS) && q.lastPress == e.message &&
                 q.lastPressWindow == target && now - q.lastPressTime < kDoubleClickTime && near;
  q.lastPress = doubled ? 0 : e.message;
  q.lastPressWindow = target;
  q.lastPressTime = now;
  q.lastPressPoint = e.screen;
  return doubled ? e.message + (WM_LBUTTONDBLCLK - WM_LBUTTONDOWN) : e.message;
}

// Mouse input goes to the capture as client input; else to the window under
// the cursor, which tells by its hit test whether it lands in the client area
// (else it arrives as the WM_NC* message with the hit code). The wheel goes
// to the focus, or the active window, with the point on the screen.
void routeMouse(Queue& q, InputEvent& e) {
  e.cursorMove = false;
  e.routed = true;
  e.raw = e.message;
  if (e.message == WM_MOUSEWHEEL) {
    e.target = focusWindow() ? focusWindow() : activeWindow();
    e.lParam = MAKELPARAM(e.screen.x, e.screen.y);
    if (!GetCapture() && (e.under = WindowFromPoint(e.screen)) != nullptr)
      e.hit = sendMessage(e.under, WM_NCHITTEST, 0, e.lParam);
    return;
  }
  e.target = GetCapture();
  POINT local = e.screen;
  if (!e.target) {
    e.target = WindowFromPoint(e.screen);
    if (!e.target) return;
    e.hit = sendMessage(e.target, WM_NCHITTEST, 0, MAKELPARAM(e.screen.x, e.screen.y));
    if (!findWindow(e.target)) {
      e.target = nullptr;
      return;
    }
    if (e.hit != HTCLIENT) {
      if (isPress(e.message)) q.lastPress = 0;
      e.message -= kNonClientOffset;
      e.wParam = static_cast<WPARAM>(e.hit);
      e.lParam = MAKELPARAM(e.screen.x, e.screen.y);
      return;
    }
  }
  if (isPress(e.message)) e.raw = e.message = pressOrDoubleClick(q, e, e.target);
  ScreenToClient(e.target, &local);
  e.lParam = MAKELPARAM(local.x, local.y);
}

// A press in a child's client area tells its parents first, up the chain
// of children without WS_EX_NOPARENTNOTIFY: WM_PARENTNOTIFY with the press's
// message and the point in each parent's client coordinates.
void notifyParentsOfPress(HWND hwnd, UINT message, POINT screen) {
  for (;;) {
    Window* w = findWindow(hwnd);
    if (!w || !isChild(*w) || (w->exStyle & WS_EX_NOPARENTNOTIFY)) return;
    Window* p = parentOf(*w);
    if (!p || isDesktop(*p)) return;
    hwnd = p->hwnd;
    POINT local = screen;
    ScreenToClient(hwnd, &local);
    sendMessage(hwnd, WM_PARENTNOTIFY, MAKEWPARAM(message, 0), MAKELPARAM(local.x, local.y));
  }
}

// What the system does with mouse input as it is taken, before the program
// sees it: a press asks the window under it whether to activate
// (WM_MOUSEACTIVATE, unless it is the active window) and the window sets the
// cursor (WM_SETCURSOR), neither while a window has the capture. False when
// the window ate the press (MA_ACTIVATEANDEAT, MA_NOACTIVATEANDEAT).
bool mouseFeedback(const InputEvent& e, HWND target) {
  if (e.message == WM_LBUTTONDOWN || e.message == WM_RBUTTONDOWN || e.message == WM_MBUTTONDOWN)
    notifyParentsOfPress(target, e.message, e.screen);
  if (!findWindow(target)) return false;
  if (GetCapture()) return true;
  if (e.message == WM_MOUSEWHEEL) {
    // The window under the cursor sets it; the wheel goes to the focus.
    if (findWindow(e.under))
      sendMessage(e.under, WM_SETCURSOR, reinterpret_cast<WPARAM>(e.under),
                  MAKELPARAM(e.hit, WM_MOUSEWHEEL));
    return findWindow(target) != nullptr;
  }
  LPARAM lp = MAKELPARAM(e.hit, e.raw);
  bool eat = false;
  if (isPress(e.message) && target != activeWindow()) {
    HWND top = GetAncestor(target, GA_ROOT);
    LRESULT r = sendMessage(target, WM_MOUSEACTIVATE, reinterpret_cast<WPARAM>(top), lp);
    eat = r == MA_ACTIVATEANDEAT || r == MA_NOACTIVATEANDEAT;
    if (r != MA_NOACTIVATE && r != MA_NOACTIVATEANDEAT && top && findWindow(top) &&
        activeWindow() != top)
      activate(top);
  }
  if (findWindow(target))
    sendMessage(target, WM_SETCURSOR, reinterpret_cast<WPARAM>(target), lp);
  return !eat && findWindow(target);
}

// The user moves the keyboard focus as a click into the window would, but
// without the click: its top-level window comes to the front and the window
// takes the focus. A window destroyed meanwhile takes nothing.
void makeFocusChange(HWND hwnd) {
  if (!hwnd || !findWindow(hwnd)) return;
  HWND top = GetAncestor(hwnd, GA_ROOT);
  if (top && GetForegroundWindow() != top) SetForegroundWindow(top);
  if (findWindow(hwnd) && GetFocus() != hwnd) SetFocus(hwnd);
}

// The window an input event goes to if it is taken now (message becomes
// the message it arrives as); null when it reaches none.
HWND currentTarget(const InputEvent& e, UINT* message) {
  *message = e.message;
  HWND target = isMouseMessage(e.message) ? e.target : keyTarget(message);
  return target && findWindow(target) ? target : nullptr;
}

// A focus change reached by retrieval: made once everything queued before it
// is gone. Input before it that reaches no window is dropped now (as taking
// it would), so that the new focus does not receive it; input still waiting
// for a filtered retrieval keeps the change, and what follows it, waiting.
bool reachFocusChange(Queue& q, std::deque<InputEvent>::iterator change) {
  UINT message = 0;
  for (auto it = q.input.begin(); it != change; ++it)
    if (currentTarget(*it, &message)) return false;
  while (!q.input.front().focusChange) {
    currentTarget(q.input.front(), &message);
    applyKeyState(makeMsg(nullptr, message, q.input.front().wParam, q.input.front().lParam));
    q.input.pop_front();
  }
  HWND hwnd = q.input.front().target;
  q.input.pop_front();
  makeFocusChange(hwnd);
  return true;
}

bool takeInput(HWND filter, UINT first, UINT last, bool remove, MSG* out) {
  Queue& q = queue();
  auto it = q.input.begin();
  while (it != q.input.end()) {
    if (it->focusChange) {
      if (!reachFocusChange(q, it)) return false;
      it = q.input.begin();  // the focus messages may have changed the queue
      continue;
    }
    if (it->cursorMove) {
      routeMouse(q, *it);
      it = q.input.begin();  // the hit test may have changed the queue
      continue;
    }
    UINT message = 0;
    HWND target = currentTarget(*it, &message);
    if (!target) {
      if (!remove) {
        ++it;
        continue;
      }
      applyKeyState(makeMsg(nullptr, message, it->wParam, it->lParam));
      it = q.input.erase(it);
      continue;
    }
    if (!inRange(message, first, last) || !windowMatches(filter, target)) {
      ++it;
      continue;
    }
    *out = makeMsg(target, message, it->wParam, it->lParam);
    out->pt = it->screen;
    if (remove) {
      InputEvent taken = *it;
      q.input.erase(it);
      applyKeyState(*out);
      if (taken.routed && !mouseFeedback(taken, target)) {
        it = q.input.begin();  // eaten; the procedures may have changed the queue
        continue;
      }
    }
    return true;
  }
  return false;
}

bool takeTimer(HWND filter, UINT first, UINT last, bool remove, MSG* out);

// Input, then paint, then timers.
bool peekExceptPosted(MSG* msg, HWND filter, UINT first, UINT last, bool remove, UINT kinds) {
  if ((kinds & QS_INPUT) && takeInput(filter, first, last, remove, msg)) return true;
  if ((kinds & QS_PAINT) && filter != reinterpret_cast<HWND>(-1) && inRange(WM_PAINT, first, last)) {
    if (HWND h = nextWindowToPaint(filter)) {
      *msg = makeMsg(h, WM_PAINT, 0, 0);
      return true;
    }
  }
  return (kinds & QS_TIMER) && takeTimer(filter, first, last, remove, msg);
}

bool takeTimer(HWND filter, UINT first, UINT last, bool remove, MSG* out) {
  Queue& q = queue();
  if (!inRange(WM_TIMER, first, last)) return false;
  Timer* best = nullptr;
  for (Timer& t : q.timers) {
    if (t.due > clockNow() || !windowMatches(filter, t.hwnd)) continue;
    if (!best || t.due < best->due) best = &t;
  }
  if (!best) return false;
  *out = makeMsg(best->hwnd, WM_TIMER, best->id, reinterpret_cast<LPARAM>(best->proc));
  if (remove) best->due = clockNow() + best->interval;
  return true;
}

// kinds: the QS_ bits of what may be taken (PeekMessage's PM_QS_ flags);
// posted messages and WM_QUIT are QS_POSTMESSAGE.
bool peek(MSG* msg, HWND filter, UINT first, UINT last, bool remove,
          UINT kinds = QS_ALLEVENTS) {
  Queue& q = queue();
  if (!(kinds & QS_POSTMESSAGE)) return peekExceptPosted(msg, filter, first, last, remove, kinds);
  for (auto it = q.posted.begin(); it != q.posted.end(); ++it) {
    if (!inRange(it->message, first, last) || !windowMatches(filter, it->hwnd)) continue;
    *msg = *it;
    if (remove) q.posted.erase(it);
    return true;
  }
  if (q.quit && inRange(WM_QUIT, first, last)) {
    *msg = makeMsg(nullptr, WM_QUIT, static_cast<WPARAM>(q.quitCode), 0);
    if (remove) q.quit = false;
    return true;
  }
  return peekExceptPosted(msg, filter, first, last, remove, kinds);
}

bool threadTimerInUse(const Queue& q, UINT_PTR id) {
  return std::any_of(q.timers.begin(), q.timers.end(),
                     [&](const Timer& t) { return !t.hwnd && t.id == id; });
}

// The next free id for a timer without a window, or 0 when all are taken.
UINT_PTR freeThreadTimerId(Queue& q) {
  size_t used = static_cast<size_t>(std::count_if(q.timers.begin(), q.timers.end(),
                                                  [](const Timer& t) { return !t.hwnd; }));
  if (used > kFirstThreadTimer - kLastThreadTimer) return 0;
  for (;;) {
    UINT_PTR id = q.nextThreadTimer;
    q.nextThreadTimer = id == kLastThreadTimer ? kFirstThreadTimer : id - 1;
    if (!threadTimerInUse(q, id)) return id;
  }
}

bool anyTimer() { return !queue().timers.empty(); }

void advanceToNextTimer() {
  DWORD soonest = 0;
  bool found = false;
  for (const Timer& t : queue().timers) {
    if (!found || t.due < soonest) soonest = t.due;
    found = true;
  }
  if (found && soonest > clockNow()) clockAdvance(soonest - clockNow());
}

bool validFilter(HWND filter) {
  return !filter || filter == reinterpret_cast<HWND>(-1) || findWindow(filter);
}

// The character a key gives with the current key state, US layout; 0 if none.
int translateKey(UINT vk, const BYTE* keys) {
  bool shift = keys[VK_SHIFT] & 0x80;
  bool ctrl = keys[VK_CONTROL] & 0x80;
  bool caps = keys[VK_CAPITAL] & 0x01;
  if (vk >= 'A' && vk <= 'Z') {
    if (ctrl) return static_cast<int>(vk - 'A' + 1);
    return (shift != caps) ? static_cast<int>(vk) : static_cast<int>(vk - 'A' + 'a');
  }
  if (vk >= '0' && vk <= '9') {
    if (ctrl) return 0;
    static const char kShiftedDigits[] = ")!@#$%^&*(";
    return shift ? kShiftedDigits[vk - '0'] : static_cast<int>(vk);
  }
  switch (vk) {
  case VK_SPACE: return ' ';
  case VK_RETURN: return ctrl ? '\n' : '\r';
  case VK_BACK: return ctrl ? 0x7f : '\b';
  case VK_TAB: return ctrl ? 0 : '\t';
  case VK_ESCAPE: return 0x1b;
  case VK_MULTIPLY: return '*';
  case VK_ADD: return '+';
  case VK_SUBTRACT: return '-';
  case VK_DECIMAL: return '.';
  case VK_DIVIDE: return '/';
  default: break;
  }
  if (vk >= VK_NUMPAD0 && vk <= VK_NUMPAD9) return static_cast<int>('0' + vk - VK_NUMPAD0);
  if (ctrl) return 0;
  struct Oem {
    UINT vk;
    char plain, shifted;
  };
  static const Oem kOem[] = {{VK_OEM_1, ';', ':'},     {VK_OEM_PLUS, '=', '+'},
                             {VK_OEM_COMMA, ',', '<'}, {VK_OEM_MINUS, '-', '_'},
                             {VK_OEM_PERIOD, '.', '>'}, {VK_OEM_2, '/', '?'},
                             {VK_OEM_3, '`', '~'},     {VK_OEM_4, '[', '{'},
                             {VK_OEM_5, '\\', '|'},    {VK_OEM_6, ']', '}'},
                             {VK_OEM_7, '\'', '"'}};
  for (const Oem& o : kOem)
    if (o.vk == vk) return shift ? o.shifted : o.plain;
  return 0;
}

// Stands in for waiting: the idle hook first, then the clock jumps to the
// next timer. False when nothing can ever arrive. True also when the hook
// made nothing arrive but ran a window procedure or saved the screen: the
// caller looks again and, finding nothing, waits again.
bool waitForSomething(HWND filter, UINT first, UINT last) {
  Queue& q = queue();
  MSG probe;
  if (q.idleHook && !q.inIdleHook) {
    q.inIdleHook = true;
    win32sim::IdleHook hook = q.idleHook;
    const unsigned long before = q.activity;
    hook();
    q.inIdleHook = false;
    // A hook that ran a window procedure or saved the screen acted as the
    // user even if nothing arrived: it is asked again.
    if (q.activity != before || peek(&probe, filter, first, last, false)) return true;
  }
  if (anyTimer()) {
    advanceToNextTimer();
    return true;
  }
  return false;
}

// After waitForSomething found that nothing can ever arrive: the owner of the
// hook decides how the wait ends, otherwise one line on stderr says why it
// ends. True when the hook made something retrievable.
bool giveUpWaiting(const char* caller, HWND filter, UINT first, UINT last) {
  if (!queue().nothingCanArrive) {
    fprintf(stderr,
            "%s: nothing can arrive (no input, posted message, paint or timer); "
            "returning instead of waiting forever\n",
            caller);
    return false;
  }
  // A copy: the hook may replace or remove itself.
  win32sim::NothingCanArriveHook hook = queue().nothingCanArrive;
  hook();
  MSG probe;
  return peek(&probe, filter, first, last, false);
}

}  // namespace

LRESULT sendMessage(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w || !w->proc) return 0;
  noteActivity();
  return w->proc(hwnd, msg, wp, lp);
}

void noteActivity() { ++queue().activity; }

void sendParentNotify(HWND hwnd, UINT event) {
  Window* w = findWindow(hwnd);
  if (!w || (w->style & (WS_CHILD | WS_POPUP)) != WS_CHILD) return;
  if (w->exStyle & WS_EX_NOPARENTNOTIFY) return;
  Window* p = parentOf(*w);
  if (!p || isDesktop(*p)) return;
  sendMessage(p->hwnd, WM_PARENTNOTIFY, MAKEWPARAM(event, w->id), reinterpret_cast<LPARAM>(hwnd));
}

void purgeWindow(HWND hwnd) {
  Queue& q = queue();
  q.posted.erase(std::remove_if(q.posted.begin(), q.posted.end(),
                                [hwnd](const MSG& m) { return m.hwnd == hwnd; }),
                 q.posted.end());
  q.timers.erase(std::remove_if(q.timers.begin(), q.timers.end(),
                                [hwnd](const Timer& t) { return t.hwnd == hwnd; }),
                 q.timers.end());
  for (InputEvent& e : q.input)
    if (e.target == hwnd) e.target = nullptr;
  if (q.lastPressWindow == hwnd) q.lastPress = 0;
}

// The cursor moves as the hand does, before the program reads the input.
void queueInput(UINT message, WPARAM wp, LPARAM lp, HWND target, POINT screen) {
  if (isMouseMessage(message)) queue().cursor = screen;
  queue().input.push_back(InputEvent{message, wp, lp, target, screen});
}

void queueMouseInput(UINT message, WPARAM wp, POINT screen) {
  Queue& q = queue();
  q.cursor = screen;
  // Moves coalesce: a move queued right after another one not yet taken
  // replaces it, so the program sees only where the pointer went.
  if (message == WM_MOUSEMOVE && !q.input.empty()) {
    InputEvent& last = q.input.back();
    if (last.message == WM_MOUSEMOVE && last.cursorMove && !last.routed) {
      last.wParam = wp;
      last.screen = screen;
      return;
    }
  }
  InputEvent e{message, wp, 0, nullptr, screen};
  e.cursorMove = true;
  q.input.push_back(e);
}

WPARAM heldMouseKeys() {
  WPARAM keys = 0;
  if (asyncKeyDown(VK_LBUTTON)) keys |= MK_LBUTTON;
  if (asyncKeyDown(VK_RBUTTON)) keys |= MK_RBUTTON;
  if (asyncKeyDown(VK_MBUTTON)) keys |= MK_MBUTTON;
  if (asyncKeyDown(VK_SHIFT)) keys |= MK_SHIFT;
  if (asyncKeyDown(VK_CONTROL)) keys |= MK_CONTROL;
  return keys;
}

void queueInputFirst(const std::function<void()>& queueing) {
  Queue& q = queue();
  std::deque<InputEvent> later;
  later.swap(q.input);
  queueing();
  for (InputEvent& e : later) q.input.push_back(e);
}

void queueFocusChange(HWND hwnd) {
  InputEvent change{0, 0, 0, hwnd, queue().cursor};
  change.focusChange = true;
  queue().input.push_back(change);
}

void setAsyncKey(int vk, bool down) {
  BYTE& k = queue().asyncKeys[vk & 0xff];
  k = static_cast<BYTE>(down ? (k | 0x80) : (k & ~0x80));
}

bool asyncKeyDown(int vk) { return (queue().asyncKeys[vk & 0xff] & 0x80) != 0; }

int liveTimerCount() { return static_cast<int>(queue().timers.size()); }

}  // namespace w32

namespace win32sim {

void setIdleHook(IdleHook hook) { w32::queue().idleHook = std::move(hook); }

void setNothingCanArriveHook(NothingCanArriveHook hook) {
  w32::queue().nothingCanArrive = std::move(hook);
}

}  // namespace win32sim

using namespace w32;

extern "C" {

LRESULT WINAPI SendMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) {
  if (!checkWindow(hWnd)) return 0;
  return sendMessage(hWnd, Msg, wParam, lParam);
}

// Device events from 0x8000 on carry a structure, which cannot wait in a
// queue: they can only be sent.
constexpr UINT kDeviceChange = 0x0219;  // WM_DEVICECHANGE
constexpr WPARAM kDeviceEventWithData = 0x8000;
constexpr DWORD kErrorMessageSyncOnly = 1159;  // ERROR_MESSAGE_SYNC_ONLY

BOOL WINAPI PostMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) {
  if (hWnd && !checkWindow(hWnd)) return FALSE;
  if (Msg == kDeviceChange && (wParam & kDeviceEventWithData)) {
    SetLastError(kErrorMessageSyncOnly);
    return FALSE;
  }
  queue().posted.push_back(makeMsg(hWnd, Msg, wParam, lParam));
  return TRUE;
}

BOOL WINAPI PostThreadMessageA(DWORD idThread, UINT Msg, WPARAM wParam, LPARAM lParam) {
  if (idThread != kThreadId) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return PostMessageA(NULL, Msg, wParam, lParam);
}

DWORD WINAPI GetCurrentThreadId(void) { return kThreadId; }

BOOL WINAPI PeekMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax,
                         UINT wRemoveMsg) {
  if (!validFilter(hWnd)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  MSG m;
  UINT kinds = HIWORD(wRemoveMsg) ? HIWORD(wRemoveMsg) : static_cast<UINT>(QS_ALLEVENTS);
  if (!peek(&m, hWnd, wMsgFilterMin, wMsgFilterMax, (wRemoveMsg & PM_REMOVE) != 0, kinds))
    return FALSE;
  queue().lastTime = m.time;
  queue().lastPos = m.pt;
  if (lpMsg) *lpMsg = m;
  return TRUE;
}

BOOL WINAPI GetMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax) {
  if (!validFilter(hWnd)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return -1;
  }
  for (;;) {
    MSG m;
    if (peek(&m, hWnd, wMsgFilterMin, wMsgFilterMax, true)) {
      queue().lastTime = m.time;
      queue().lastPos = m.pt;
      if (lpMsg) *lpMsg = m;
      return m.message != WM_QUIT;
    }
    if (!waitForSomething(hWnd, wMsgFilterMin, wMsgFilterMax) &&
        !giveUpWaiting("GetMessageA", hWnd, wMsgFilterMin, wMsgFilterMax))
      return -1;
  }
}

BOOL WINAPI WaitMessage(void) {
  MSG m;
  if (peek(&m, nullptr, 0, 0, false)) return TRUE;
  return waitForSomething(nullptr, 0, 0) || giveUpWaiting("WaitMessage", nullptr, 0, 0);
}

// No kernel object exists to wait on; with none, the wait ends when the queue
// holds something the mask asks for, else after the timeout on the simulated
// clock (an infinite wait is WaitMessage's).
DWORD WINAPI MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL fWaitAll,
                                       DWORD dwMilliseconds, DWORD dwWakeMask) {
  (void)pHandles;
  (void)fWaitAll;
  if (nCount) {
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
  }
  if (HIWORD(GetQueueStatus(dwWakeMask))) return WAIT_OBJECT_0;
  if (dwMilliseconds == INFINITE) return WaitMessage() ? WAIT_OBJECT_0 : WAIT_FAILED;
  clockAdvance(dwMilliseconds);
  return HIWORD(GetQueueStatus(dwWakeMask)) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

DWORD WINAPI GetCurrentProcessId(void) { return static_cast<DWORD>(getpid()); }

// Every window belongs to the one thread; the desktop too, as nothing else
// runs.
DWORD WINAPI GetWindowThreadProcessId(HWND hWnd, LPDWORD lpdwProcessId) {
  if (!checkWindow(hWnd)) return 0;
  if (lpdwProcessId) *lpdwProcessId = GetCurrentProcessId();
  return kThreadId;
}

DWORD WINAPI GetQueueStatus(UINT flags) {
  Queue& q = queue();
  DWORD status = 0;
  if (!q.posted.empty() || q.quit) status |= QS_POSTMESSAGE;
  for (const InputEvent& e : q.input) {
    if (e.focusChange) continue;
    if (e.message == WM_MOUSEMOVE || e.message == WM_NCMOUSEMOVE) status |= QS_MOUSEMOVE;
    else status |= isMouseMessage(e.message) ? QS_MOUSEBUTTON : QS_KEY;
  }
  if (nextWindowToPaint(nullptr)) status |= QS_PAINT;
  for (const Timer& t : q.timers)
    if (t.due <= clockNow()) status |= QS_TIMER;
  status &= flags;
  return MAKELONG(status, status);
}

LONG WINAPI GetMessageTime(void) { return static_cast<LONG>(queue().lastTime); }

DWORD WINAPI GetMessagePos(void) {
  return static_cast<DWORD>(MAKELONG(queue().lastPos.x, queue().lastPos.y));
}

BOOL WINAPI TranslateMessage(const MSG* lpMsg) {
  if (!lpMsg) return FALSE;
  UINT m = lpMsg->message;
  if (m != WM_KEYDOWN && m != WM_KEYUP && m != WM_SYSKEYDOWN && m != WM_SYSKEYUP) return FALSE;
  if (m == WM_KEYUP || m == WM_SYSKEYUP) return TRUE;
  int ch = translateKey(static_cast<UINT>(lpMsg->wParam), queue().keys);
  if (ch) {
    UINT charMsg = m == WM_KEYDOWN ? WM_CHAR : WM_SYSCHAR;
    queue().posted.push_back(makeMsg(lpMsg->hwnd, charMsg, static_cast<WPARAM>(ch), lpMsg->lParam));
  }
  return TRUE;
}

LRESULT WINAPI DispatchMessageA(const MSG* lpMsg) {
  if (!lpMsg) return 0;
  if (lpMsg->message == WM_TIMER && lpMsg->lParam) {
    reinterpret_cast<TIMERPROC>(lpMsg->lParam)(lpMsg->hwnd, WM_TIMER, lpMsg->wParam, clockNow());
    return 0;
  }
  if (!lpMsg->hwnd) return 0;
  if (!checkWindow(lpMsg->hwnd)) return 0;
  if (lpMsg->message == WM_PAINT) {
    WindowRef w = pinWindow(lpMsg->hwnd);
    ++w->paintDispatches;
    LRESULT result = sendMessage(lpMsg->hwnd, WM_PAINT, lpMsg->wParam, lpMsg->lParam);
    --w->paintDispatches;
    // A WM_PAINT that left the window invalid: its frame and background are
    // brought up to date (WM_NCPAINT, WM_ERASEBKGND), as on the system; the
    // client area stays invalid, so WM_PAINT comes again.
    if (findWindow(lpMsg->hwnd)) eraseNow(lpMsg->hwnd, false);
    return result;
  }
  LRESULT result = sendMessage(lpMsg->hwnd, lpMsg->message, lpMsg->wParam, lpMsg->lParam);
  return result;
}

void WINAPI PostQuitMessage(int nExitCode) {
  queue().quit = true;
  queue().quitCode = nExitCode;
}

UINT_PTR WINAPI SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc) {
  if (hWnd && !checkWindow(hWnd)) return 0;
  Queue& q = queue();
  UINT interval = std::max(uElapse, kMinTimerInterval);
  if (interval > 0x7FFFFFFF) interval = 0x7FFFFFFF;
  UINT_PTR id = nIDEvent;
  if (!hWnd) {
    bool existing = nIDEvent && threadTimerInUse(q, nIDEvent);
    if (!existing && !(id = freeThreadTimerId(q))) {
      SetLastError(ERROR_NO_MORE_USER_HANDLES);
      return 0;
    }
  }
  for (Timer& t : q.timers) {
    if (t.hwnd == hWnd && t.id == id) {
      t.interval = interval;
      t.proc = lpTimerFunc;
      t.due = clockNow() + interval;
      return (hWnd && !id) ? 1 : id;
    }
  }
  q.timers.push_back(Timer{hWnd, id, interval, lpTimerFunc, clockNow() + interval});
  return (hWnd && !id) ? 1 : id;
}

BOOL WINAPI KillTimer(HWND hWnd, UINT_PTR uIDEvent) {
  Queue& q = queue();
  auto it = std::find_if(q.timers.begin(), q.timers.end(),
                         [&](const Timer& t) { return t.hwnd == hWnd && t.id == uIDEvent; });
  if (it == q.timers.end()) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  q.timers.erase(it);
  return TRUE;
}

SHORT WINAPI GetKeyState(int nVirtKey) {
  BYTE k = queue().keys[nVirtKey & 0xff];
  SHORT state = static_cast<SHORT>(k & 0x01);
  if (k & 0x80) state = static_cast<SHORT>(state | static_cast<SHORT>(0xff80));
  return state;
}

SHORT WINAPI GetAsyncKeyState(int vKey) {
  return asyncKeyDown(vKey) ? static_cast<SHORT>(0x8000) : 0;
}

BOOL WINAPI GetKeyboardState(PBYTE lpKeyState) {
  if (!lpKeyState) return FALSE;
  std::copy(queue().keys, queue().keys + 256, lpKeyState);
  return TRUE;
}

BOOL WINAPI SetKeyboardState(LPBYTE lpKeyState) {
  if (!lpKeyState) return FALSE;
  std::copy(lpKeyState, lpKeyState + 256, queue().keys);
  return TRUE;
}

// The cursor stays on the screen; moving it queues a mouse move, as the
// hand's moves do, and moving it where it is queues nothing.
BOOL WINAPI SetCursorPos(int X, int Y) {
  POINT p{std::clamp(X, 0, kScreenWidth - 1), std::clamp(Y, 0, kScreenHeight - 1)};
  Queue& q = queue();
  if (p.x == q.cursor.x && p.y == q.cursor.y) return TRUE;
  queueMouseInput(WM_MOUSEMOVE, heldMouseKeys(), p);
  return TRUE;
}

UINT WINAPI GetDoubleClickTime(void) { return kDoubleClickTime; }

BOOL WINAPI GetCursorPos(LPPOINT lpPoint) {
  if (!lpPoint) return FALSE;
  *lpPoint = queue().cursor;
  return TRUE;
}

}  // extern "C"

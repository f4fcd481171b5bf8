// The desktop on the real system, through the system's own means: keys are
// real keyboard input (SendInput) for the focus window, so the key state
// that GetKeyState and TranslateAcceleratorA see changes as the program
// retrieves them; closing is the close box's WM_SYSCOMMAND(SC_CLOSE); resizing
// is SetWindowPos between WM_ENTERSIZEMOVE and WM_EXITSIZEMOVE; pixels come
// from GetPixel; a screenshot is composed from the windows' own DCs; the
// clock is Sleep. The last file dialog and the counts of objects made are
// recorded in front of the system's functions (desktop_windows_calls.cpp).
//
// Gestures keep the order the Linux layer's queued input gives them: a
// change of focus waits until the keys sent before it have been retrieved,
// then a marker message posted to the probe window makes it when the
// program's loop dispatches it, and only then are the keys behind it sent
// (the system gives a key to the focus of the moment it passes through the
// input path); a close waits for the keys before it the same way. Mouse
// gestures are real mouse input too (SendInput, absolute coordinates mapped
// from the window's client area to the screen when their turn comes), sent
// in their turn with the keys; their button and wheel messages count as
// input on its way until retrieved. Nothing is
// sent or moved while a dialog box waits for the user, whom the Linux layer
// answers before the program reads any further input.
//
// The system offers no hook for "GetMessageA would wait". A helper thread
// stands in: every kProbeMs it sends a probe to a message-only window of the
// script's thread, and a message sent from another thread is handled only
// inside the thread's message retrieval, where the program never sees it.
// A probe handled while the queue holds nothing ready is the moment the loop
// would wait: it answers a dialog box of the system waiting for the user (a
// file dialog from the queued answers, else cancelled; a message box through
// desktop.cpp's answerMessageBox, which reads what the box shows), carries
// out the gestures still held, then runs the script's idle function once
// per wait, and ends a loop in which nothing arrived for
// kNothingArrivesAfterMs. An idle function that sent a message to a window
// (WH_CALLWNDPROC sees it) is run again at the next wait, as if something
// had arrived. Keys still on their way hold the wait off, and so, for a
// while, does a posted message not yet retrieved. A WH_GETMESSAGE
// hook sees what does arrive.
//
// Invariant: the helper thread only sends probes; everything else, the
// script included, runs on the script's thread, and a probe does nothing
// while no script runs.
#include "tools/tul/desktop_windows.h"

#include "tools/tul/desktop_platform.h"

#include "sim/png.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <utility>

namespace desktop {

namespace {

constexpr DWORD kProbeMs = 10;
constexpr DWORD kNothingArrivesAfterMs = 3000;  // waiting this long: nothing will come
// Keys sent but not yet retrieved may still be on their way through the
// system's input path (slow on a loaded machine): the loop is not counted as
// waiting until they arrive or this long passes without one arriving (keys
// that reach no window never arrive).
constexpr DWORD kKeysInFlightMs = 2000;
constexpr UINT kProbeMessage = WM_APP + 1;      // for the probe window only
constexpr UINT kFocusMessage = WM_APP + 2;      // posted to it: a held focus change's turn
constexpr const char* kProbeClass = "TulDesktopProbe";
// Messages of these kinds ready in the queue mean the loop is not waiting.
constexpr UINT kReady = QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY;
constexpr int kFileNameCombo = 0x47C;           // cmb13: the name box of an Explorer-style dialog
constexpr int kFileNameEdit = 0x480;            // edt1: the name box of an old-style dialog
constexpr int kMessageBoxText = 0xFFFF;         // the static control holding a message box's text

struct Answer {
  bool cancel;
  std::string path;
};

// A gesture of the user waiting for its turn (see the top of the file).
struct Gesture {
  enum class Kind { Keys, Focus, Close, Mouse, Menu };
  explicit Gesture(Kind k, HWND h = nullptr) : kind(k), hwnd(h) {}
  Kind kind;
  HWND hwnd = nullptr;       // Focus, Close
  std::vector<INPUT> keys;   // Keys
  LPARAM point = 0;          // Close: where the close box is clicked
  unsigned long marker = 0;  // Focus: the marker posted for it, 0 before
  MouseGesture mouse;        // Mouse
  std::vector<std::string> path;  // Menu: the item texts from the bar down
};

// The menu path being followed: each pop-up of it, once shown, gets a
// click on the next item. Empty when none.
struct MenuPath {
  HWND owner = nullptr;
  HMENU expected = nullptr;        // the pop-up whose item is next, null for any pop-up
  std::vector<std::string> rest;   // the next item first
};

struct Watch {
  HHOOK hook = nullptr;
  HHOOK sendHook = nullptr;
  HWND probeWindow = nullptr;
  bool activity = true;  // a message was retrieved since the last wait
  DWORD idleSince = 0;
  bool inIdle = false;   // the script's idle function is running
  bool idleActed = false;  // it sent a message to a window or saved the screen
  std::deque<Answer> answers;
  unsigned long keysSent = 0;       // key, button and wheel events handed to SendInput
  unsigned long keysRetrieved = 0;  // their messages the thread has retrieved
  DWORD lastKeyProgress = 0;        // when a key was last sent or retrieved
  DWORD postedSeen = 0;             // when a posted message was first seen waiting, 0 for none
  std::deque<Gesture> gestures;
  unsigned long markers = 0;        // focus markers posted so far
  MenuPath menu;                    // being followed in an open menu
  std::deque<std::pair<bool, std::vector<std::string>>> popupAnswers;  // (dismiss, path)
};

Watch& watch() {
  // Never destroyed: the hook may still be called while the process ends.
  static Watch& w = *new Watch;
  return w;
}

bool isClass(HWND hwnd, const char* name) {
  char cls[32] = "";
  GetClassNameA(hwnd, cls, sizeof cls);
  return lstrcmpiA(cls, name) == 0;
}

// The system's own per-thread windows (input method windows), which a
// program neither makes nor destroys.
bool isSystemWindow(HWND hwnd) { return isClass(hwnd, "IME") || isClass(hwnd, "MSCTFIME UI"); }

BOOL CALLBACK collectTopLevel(HWND hwnd, LPARAM lp) {
  if (!isSystemWindow(hwnd)) reinterpret_cast<std::vector<HWND>*>(lp)->push_back(hwnd);
  return TRUE;
}

BOOL CALLBACK countChild(HWND, LPARAM lp) {
  ++*reinterpret_cast<int*>(lp);
  return TRUE;
}

// ---- Dialog boxes waiting for the user ----

// The system's own dialog boxes, which the user answers: a file dialog (it
// has a name box) or a message box (its text control). Any other dialog is
// the program's, which the script drives itself.
bool isSystemDialog(HWND hwnd) {
  return GetDlgItem(hwnd, kFileNameCombo) || GetDlgItem(hwnd, kFileNameEdit) ||
         GetDlgItem(hwnd, kMessageBoxText);
}

// A dialog box of the system that waits for the user: shown, or about to be
// (a modal dialog disables its owner before it shows itself), and taking
// input.
bool isWaitingDialog(HWND hwnd) {
  if (!isClass(hwnd, "#32770") || !IsWindowEnabled(hwnd) || !isSystemDialog(hwnd)) return false;
  HWND owner = GetWindow(hwnd, GW_OWNER);
  return IsWindowVisible(hwnd) || (owner && !IsWindowEnabled(owner));
}

BOOL CALLBACK findWaitingDialog(HWND hwnd, LPARAM lp) {
  if (!isWaitingDialog(hwnd)) return TRUE;
  *reinterpret_cast<HWND*>(lp) = hwnd;
  return FALSE;
}

HWND waitingDialog() {
  HWND dialog = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), findWaitingDialog, reinterpret_cast<LPARAM>(&dialog));
  return dialog;
}

void pressButton(HWND dialog, int id) {
  PostMessageA(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

// The user types the next queued answer into the name box and presses OK,
// or cancels; with nothing queued the user cancels.
void answerFileDialog(HWND dialog, HWND nameBox) {
  std::deque<Answer>& answers = watch().answers;
  if (answers.empty() || answers.front().cancel) {
    if (!answers.empty()) answers.pop_front();
    pressButton(dialog, IDCANCEL);
    return;
  }
  SetWindowTextA(nameBox, answers.front().path.c_str());
  answers.pop_front();
  pressButton(dialog, IDOK);
}

// ---- Message boxes, read as the user reads them ----

bool isAnswer(int id) { return (id >= IDOK && id <= IDNO) || id == IDTRYAGAIN || id == IDCONTINUE; }

std::string windowText(HWND hwnd) {
  std::string text(static_cast<size_t>(GetWindowTextLengthA(hwnd)) + 1, '\0');
  text.resize(static_cast<size_t>(GetWindowTextA(hwnd, &text[0], static_cast<int>(text.size()))));
  return text;
}

// The icon a box shows, by the system's shared icons it loads.
UINT iconOf(HWND iconStatic) {
  static const struct {
    LPCSTR icon;
    UINT type;
  } kIcons[] = {{IDI_HAND, MB_ICONHAND},
                {IDI_QUESTION, MB_ICONQUESTION},
                {IDI_EXCLAMATION, MB_ICONEXCLAMATION},
                {IDI_ASTERISK, MB_ICONASTERISK}};
  HICON shown = reinterpret_cast<HICON>(SendMessageA(iconStatic, STM_GETICON, 0, 0));
  for (const auto& i : kIcons)
    if (shown && shown == LoadIconA(NULL, i.icon)) return i.type;
  return 0;
}

struct BoxReading {
  MessageBoxRecord* box = nullptr;
  std::vector<std::pair<LONG, int>> buttons;  // left edge, answer
  bool haveText = false;
};

BOOL CALLBACK readBoxControl(HWND hwnd, LPARAM lp) {
  BoxReading& r = *reinterpret_cast<BoxReading*>(lp);
  if (!IsWindowVisible(hwnd)) return TRUE;
  const LONG style = GetWindowLongA(hwnd, GWL_STYLE);
  if (isClass(hwnd, "Static") && (style & SS_TYPEMASK) == SS_ICON) {
    r.box->icon = iconOf(hwnd);
  } else if (isClass(hwnd, "Static") && !r.haveText) {
    r.box->text = windowText(hwnd);
    r.haveText = true;
  } else if (isClass(hwnd, "Button") && isAnswer(GetDlgCtrlID(hwnd))) {
    RECT rect;
    GetWindowRect(hwnd, &rect);
    r.buttons.emplace_back(rect.left, GetDlgCtrlID(hwnd));
    if ((style & BS_TYPEMASK) == BS_DEFPUSHBUTTON) r.box->defaultButton = GetDlgCtrlID(hwnd);
  }
  return TRUE;
}

// What a message box shows: false for a dialog without a button that
// answers it. With no default push button (a MB_DEFBUTTONn past its
// buttons), the first button is the default, as the Linux layer has it.
bool readMessageBox(HWND dialog, MessageBoxRecord* box) {
  BoxReading r;
  r.box = box;
  box->defaultButton = 0;
  EnumChildWindows(dialog, readBoxControl, reinterpret_cast<LPARAM>(&r));
  if (r.buttons.empty()) return false;
  std::sort(r.buttons.begin(), r.buttons.end());
  for (const auto& b : r.buttons) box->buttons.push_back(b.second);
  if (std::find(box->buttons.begin(), box->buttons.end(), box->defaultButton) == box->buttons.end())
    box->defaultButton = box->buttons.front();
  box->caption = windowText(dialog);
  box->owner = GetWindow(dialog, GW_OWNER);
  return true;
}

// True when a dialog box of the thread was waiting and has been answered.
bool answerWaitingDialog() {
  HWND dialog = waitingDialog();
  if (!dialog) return false;
  HWND nameBox = GetDlgItem(dialog, kFileNameCombo);
  if (!nameBox) nameBox = GetDlgItem(dialog, kFileNameEdit);
  if (nameBox) {
    answerFileDialog(dialog, nameBox);
    return true;
  }
  MessageBoxRecord box;
  if (readMessageBox(dialog, &box)) {
    pressButton(dialog, answerMessageBox(box));
    return true;
  }
  LRESULT def = SendMessageA(dialog, DM_GETDEFID, 0, 0);
  pressButton(dialog, HIWORD(def) == DC_HASDEFID ? LOWORD(def) : IDOK);
  return true;
}

// ---- Menus, chosen as a person chooses them ----

// An item's text as shown and compared: no "&" marks, nothing after a tab.
std::string shownText(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size() && text[i] != '\t'; ++i) {
    if (text[i] == '&' && i + 1 < text.size()) ++i;
    out += text[i];
  }
  return out;
}

// The position of the item named text in hmenu (not a separator), or -1.
int itemNamed(HMENU hmenu, const std::string& text) {
  const int n = GetMenuItemCount(hmenu);
  for (int i = 0; i < n; ++i) {
    char buffer[256] = "";
    if (GetMenuState(hmenu, static_cast<UINT>(i), MF_BYPOSITION) & MF_SEPARATOR) continue;
    GetMenuStringA(hmenu, static_cast<UINT>(i), buffer, sizeof buffer, MF_BYPOSITION);
    if (shownText(buffer) == shownText(text)) return i;
  }
  return -1;
}

bool itemDisabled(HMENU hmenu, int pos) {
  const UINT state = GetMenuState(hmenu, static_cast<UINT>(pos), MF_BYPOSITION);
  return (state & (MF_GRAYED | MF_DISABLED)) != 0;
}

INPUT mouseInput(DWORD flags, POINT screen = POINT{}, DWORD data = 0);
INPUT keyInput(int vk, bool up);
void sendKeys(std::vector<INPUT>& in);

// A click in the middle of a shown item: the bar's through its window, a
// pop-up's through the pop-up's own window (GetMenuItemRect with no
// window finds it).
bool clickItem(HWND owner, HMENU hmenu, int pos, bool bar) {
  RECT r;
  if (!GetMenuItemRect(bar ? owner : NULL, hmenu, static_cast<UINT>(pos), &r)) return false;
  const POINT p{(r.left + r.right) / 2, (r.top + r.bottom) / 2};
  std::vector<INPUT> in{mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, p),
                        mouseInput(MOUSEEVENTF_LEFTDOWN), mouseInput(MOUSEEVENTF_LEFTUP)};
  sendKeys(in);
  return true;
}

struct ShownPopups {
  std::vector<HMENU> menus;
};

BOOL CALLBACK collectPopup(HWND hwnd, LPARAM lp) {
  if (IsWindowVisible(hwnd) && isClass(hwnd, "#32768"))
    reinterpret_cast<ShownPopups*>(lp)->menus.push_back(
        reinterpret_cast<HMENU>(SendMessageA(hwnd, MN_GETHMENU, 0, 0)));
  return TRUE;
}

// The menus the thread's pop-up windows show now.
std::vector<HMENU> shownPopups() {
  ShownPopups found;
  EnumThreadWindows(GetCurrentThreadId(), collectPopup, reinterpret_cast<LPARAM>(&found));
  return found.menus;
}

bool isShown(HMENU hmenu) {
  std::vector<HMENU> shown = shownPopups();
  return std::find(shown.begin(), shown.end(), hmenu) != shown.end();
}

void pressEscape() {
  std::vector<INPUT> in{keyInput(VK_ESCAPE, false), keyInput(VK_ESCAPE, true)};
  sendKeys(in);
}

// The loop waits with a menu open: the next item of the path is clicked
// once its pop-up shows, or an answer queued for TrackPopupMenu starts.
// True when the user acted.
bool followMenu() {
  Watch& w = watch();
  std::vector<HMENU> shown = shownPopups();
  if (w.menu.rest.empty() && !w.popupAnswers.empty() && shown.size() == 1) {
    auto answer = w.popupAnswers.front();
    w.popupAnswers.pop_front();
    if (answer.first) {
      pressEscape();
      return true;
    }
    w.menu.expected = shown.front();
    w.menu.rest = answer.second;
  }
  if (w.menu.rest.empty()) return false;
  HMENU at = w.menu.expected;
  if (!at || !isShown(at)) return false;
  const int pos = itemNamed(at, w.menu.rest.front());
  if (pos < 0 || itemDisabled(at, pos) || !clickItem(w.menu.owner, at, pos, false)) {
    w.menu = MenuPath{};  // the program changed the menu as it opened: the user gives up
    EndMenu();
    return true;
  }
  w.menu.rest.erase(w.menu.rest.begin());
  w.menu.expected = GetSubMenu(at, pos);
  return true;
}

// ---- Gestures in input order ----

// Key, button and wheel events each become one message the thread
// retrieves; moves may be merged, so they are not counted.
bool arrivesAsMessage(const INPUT& in) {
  return in.type == INPUT_KEYBOARD ||
         (in.type == INPUT_MOUSE && (in.mi.dwFlags & ~(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE)));
}

void sendKeys(std::vector<INPUT>& in) {
  if (in.empty()) return;
  UINT sent = SendInput(static_cast<UINT>(in.size()), in.data(), sizeof(INPUT));
  watch().keysSent += static_cast<unsigned long>(
      std::count_if(in.begin(), in.begin() + sent, arrivesAsMessage));
  watch().lastKeyProgress = GetTickCount();
}

void addMouseInputs(std::vector<INPUT>& in, const MouseGesture& g);

// The user moves the focus as a click into the window would, without the
// click: its top-level window comes to the front and the window takes the
// focus. A window destroyed meanwhile takes nothing.
void makeFocusChange(HWND hwnd) {
  if (!IsWindow(hwnd)) return;
  HWND top = GetAncestor(hwnd, GA_ROOT);
  if (top && GetForegroundWindow() != top) SetForegroundWindow(top);
  if (IsWindow(hwnd) && GetFocus() != hwnd) SetFocus(hwnd);
}

// Carries out the gestures whose turn has come, in order. idle: the loop is
// waiting, so keys not yet retrieved never will be (they reached no window)
// and a marker not yet dispatched never will be (a filtered loop).
void advanceGestures(bool idle) {
  Watch& w = watch();
  if (idle) w.keysRetrieved = w.keysSent;
  // While a menu is open or about to take an answer, the next gesture waits
  // for the loop to wait: sent earlier, the open menu would take it (on
  // Linux the user's clicks in a menu go before what was queued after).
  if (!idle && (!w.popupAnswers.empty() || !w.menu.rest.empty() || !shownPopups().empty()))
    return;
  while (!w.gestures.empty() && !waitingDialog()) {
    if (!w.menu.rest.empty()) return;  // the user is busy with a menu
    Gesture& g = w.gestures.front();
    if (g.kind == Gesture::Kind::Keys) {
      sendKeys(g.keys);
    } else if (g.kind == Gesture::Kind::Mouse && w.keysRetrieved >= w.keysSent) {
      // Mapped now, where the window is when the hand gets there.
      std::vector<INPUT> in;
      if (IsWindow(g.mouse.hwnd)) addMouseInputs(in, g.mouse);
      sendKeys(in);
    } else if (g.kind == Gesture::Kind::Menu && w.keysRetrieved >= w.keysSent) {
      // The bar item is clicked now; the rest of the path as its pop-ups
      // show, and what follows waits until the path is done.
      if (!w.menu.rest.empty()) return;
      HMENU bar = IsWindow(g.hwnd) ? GetMenu(g.hwnd) : nullptr;
      const int pos = bar ? itemNamed(bar, g.path.front()) : -1;
      if (pos >= 0 && clickItem(g.hwnd, bar, pos, true) && g.path.size() > 1) {
        w.menu.owner = g.hwnd;
        w.menu.expected = GetSubMenu(bar, pos);
        w.menu.rest.assign(g.path.begin() + 1, g.path.end());
      }
    } else if (w.keysRetrieved < w.keysSent) {
      return;
    } else if (g.kind == Gesture::Kind::Close) {
      if (IsWindow(g.hwnd)) PostMessageA(g.hwnd, WM_SYSCOMMAND, SC_CLOSE, g.point);
    } else if (idle && g.marker) {
      makeFocusChange(g.hwnd);
    } else {
      if (!g.marker) {
        g.marker = ++w.markers;
        PostMessageA(w.probeWindow, kFocusMessage, g.marker, 0);
      }
      return;  // what follows waits for the marker
    }
    w.gestures.pop_front();
  }
}

// The program's loop dispatched a focus marker: the change is made, unless
// it is stale or a dialog box came up meanwhile (then it waits for the box
// to be answered and is posted anew).
void onFocusMarker(unsigned long marker) {
  Watch& w = watch();
  if (w.gestures.empty() || w.gestures.front().kind != Gesture::Kind::Focus ||
      w.gestures.front().marker != marker)
    return;
  if (waitingDialog()) {
    w.gestures.front().marker = 0;
    return;
  }
  HWND hwnd = w.gestures.front().hwnd;
  w.gestures.pop_front();
  makeFocusChange(hwnd);
  advanceGestures(false);
}

void addGesture(Gesture g) {
  watch().gestures.push_back(std::move(g));
  advanceGestures(false);
}

bool isKeyInput(UINT message) {
  return message == WM_KEYDOWN || message == WM_KEYUP || message == WM_SYSKEYDOWN ||
         message == WM_SYSKEYUP;
}

// The button and wheel messages, in the client area or outside it.
bool isButtonInput(UINT message) {
  return (message >= WM_LBUTTONDOWN && message <= WM_MBUTTONDBLCLK) || message == WM_MOUSEWHEEL ||
         (message >= WM_NCLBUTTONDOWN && message <= WM_NCMBUTTONDBLCLK);
}

// ---- Waiting ----

// A posted message still in the queue, though not new since the last look
// (a loop inside the program, such as the menu's, may have looked and left
// it: the command a menu posts as it ends). Given a while to be retrieved,
// then taken for one a filtered loop passes over.
bool postedWaiting() {
  Watch& w = watch();
  if (!(HIWORD(GetQueueStatus(QS_POSTMESSAGE)) & QS_POSTMESSAGE)) {
    w.postedSeen = 0;
    return false;
  }
  const DWORD now = GetTickCount();
  if (!w.postedSeen) w.postedSeen = now;
  return now - w.postedSeen < kKeysInFlightMs;
}

// A probe arrived while the thread retrieves messages; with nothing ready
// the loop would wait.
void onProbe() {
  Watch& w = watch();
  if (!scriptRunning() || (LOWORD(GetQueueStatus(QS_ALLINPUT)) & kReady)) return;
  if (w.keysRetrieved < w.keysSent && GetTickCount() - w.lastKeyProgress < kKeysInFlightMs) return;
  if (postedWaiting()) return;
  if (answerWaitingDialog()) return;
  if (followMenu()) return;
  if (!w.gestures.empty() && w.menu.rest.empty()) {
    advanceGestures(true);
    return;
  }
  DWORD now = GetTickCount();
  if (w.activity) {
    w.activity = false;
    w.idleSince = now;
    w.idleActed = false;
    w.inIdle = true;
    idleNow();
    w.inIdle = false;
    // Sending a message to a window is acting as the user even when nothing
    // arrives: the function is asked again at the next wait.
    if (w.idleActed) w.activity = true;
    return;
  }
  if (now - w.idleSince < kNothingArrivesAfterMs) return;
  w.idleSince = now;
  // A menu left open would swallow the WM_QUIT that ends the loop.
  if (!shownPopups().empty() || GetCapture()) EndMenu();
  nothingCanArrive();
}

LRESULT CALLBACK probeProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == kFocusMessage) {
    onFocusMarker(static_cast<unsigned long>(wp));
    return 0;
  }
  if (msg != kProbeMessage) return DefWindowProcA(hwnd, msg, wp, lp);
  onProbe();
  return 0;
}

// The helper thread: one probe at a time, so a busy script thread is never
// flooded; it ends when the probe window goes.
DWORD WINAPI sendProbes(LPVOID window) {
  HWND target = static_cast<HWND>(window);
  while (IsWindow(target)) {
    DWORD_PTR ignored = 0;
    SendMessageTimeoutA(target, kProbeMessage, 0, 0, SMTO_NORMAL, INFINITE, &ignored);
    Sleep(kProbeMs);
  }
  return 0;
}

HWND makeProbeWindow() {
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof wc;
  wc.lpfnWndProc = probeProc;
  wc.hInstance = GetModuleHandleA(NULL);
  wc.lpszClassName = kProbeClass;
  RegisterClassExA(&wc);
  return CreateWindowExA(0, kProbeClass, "", 0, 0, 0, 0, 0, HWND_MESSAGE, NULL, wc.hInstance, NULL);
}

LRESULT CALLBACK watchRetrieval(int code, WPARAM wp, LPARAM lp) {
  const MSG* m = reinterpret_cast<const MSG*>(lp);
  if (code == HC_ACTION && wp == PM_REMOVE && m) {
    watch().activity = true;
    if (isKeyInput(m->message) || isButtonInput(m->message)) {
      ++watch().keysRetrieved;
      watch().lastKeyProgress = GetTickCount();
      advanceGestures(false);
    }
  }
  return CallNextHookEx(watch().hook, code, wp, lp);
}

// Messages sent to the thread's windows, seen while the idle function runs.
LRESULT CALLBACK watchSends(int code, WPARAM wp, LPARAM lp) {
  Watch& w = watch();
  const CWPSTRUCT* c = reinterpret_cast<const CWPSTRUCT*>(lp);
  if (code == HC_ACTION && w.inIdle && c && c->hwnd != w.probeWindow) w.idleActed = true;
  return CallNextHookEx(w.sendHook, code, wp, lp);
}

// ---- Keys ----

INPUT keyInput(int vk, bool up) {
  INPUT in{};
  in.type = INPUT_KEYBOARD;
  in.ki.wVk = static_cast<WORD>(vk);
  in.ki.wScan = static_cast<WORD>(MapVirtualKeyA(static_cast<UINT>(vk), MAPVK_VK_TO_VSC));
  in.ki.dwFlags = up ? KEYEVENTF_KEYUP : 0;
  return in;
}

// The modifiers go down in the layer's order (Shift, Ctrl, Alt) and come up
// in reverse, around the key.
void addPress(std::vector<INPUT>& in, int vk, unsigned modifiers) {
  static const struct {
    unsigned bit;
    int vk;
  } kModifiers[] = {{kShift, VK_SHIFT}, {kControl, VK_CONTROL}, {kAlt, VK_MENU}};
  for (const auto& m : kModifiers)
    if (modifiers & m.bit) in.push_back(keyInput(m.vk, false));
  in.push_back(keyInput(vk, false));
  in.push_back(keyInput(vk, true));
  for (auto it = std::rbegin(kModifiers); it != std::rend(kModifiers); ++it)
    if (modifiers & it->bit) in.push_back(keyInput(it->vk, true));
}

// The key (and Shift) that types c, as the Linux layer's US keyboard does:
// printable ASCII, '\n' as Return and '\t' as Tab; false for the rest.
bool keyFor(char c, int* vk, bool* shift) {
  *shift = false;
  if (c == '\n' || c == '\t') {
    *vk = c == '\n' ? VK_RETURN : VK_TAB;
    return true;
  }
  if (c < 32 || c > 126) return false;
  SHORT scan = VkKeyScanA(c);
  if (scan == -1 || (scan & 0x0600)) return false;  // no key, or one that needs Ctrl or Alt
  *vk = scan & 0xFF;
  *shift = (scan & 0x0100) != 0;
  return true;
}

// ---- Mouse ----

INPUT mouseInput(DWORD flags, POINT screen, DWORD data) {
  INPUT in{};
  in.type = INPUT_MOUSE;
  in.mi.dwFlags = flags;
  in.mi.mouseData = data;
  if (flags & MOUSEEVENTF_ABSOLUTE) {
    // 0 to 65535 across the primary screen; rounded up so that the system's
    // mapping back lands on the pixel itself.
    const LONGLONG cx = GetSystemMetrics(SM_CXSCREEN), cy = GetSystemMetrics(SM_CYSCREEN);
    in.mi.dx = static_cast<LONG>((screen.x * 65536LL + cx - 1) / cx);
    in.mi.dy = static_cast<LONG>((screen.y * 65536LL + cy - 1) / cy);
  }
  return in;
}

INPUT moveTo(HWND hwnd, POINT client) {
  ClientToScreen(hwnd, &client);
  return mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, client);
}

void addButton(std::vector<INPUT>& in, int button, bool down) {
  static const struct {
    int vk;
    DWORD down, up;
  } kButtons[] = {{VK_LBUTTON, MOUSEEVENTF_LEFTDOWN, MOUSEEVENTF_LEFTUP},
                  {VK_RBUTTON, MOUSEEVENTF_RIGHTDOWN, MOUSEEVENTF_RIGHTUP},
                  {VK_MBUTTON, MOUSEEVENTF_MIDDLEDOWN, MOUSEEVENTF_MIDDLEUP}};
  for (const auto& b : kButtons)
    if (b.vk == button) in.push_back(mouseInput(down ? b.down : b.up));
}

// The same steps as the Linux layer's hand: a drag moves in four steps.
void addMouseInputs(std::vector<INPUT>& in, const MouseGesture& g) {
  static const struct {
    unsigned bit;
    int vk;
  } kModifiers[] = {{kShift, VK_SHIFT}, {kControl, VK_CONTROL}, {kAlt, VK_MENU}};
  constexpr int kDragSteps = 4;
  switch (g.action) {
  case MouseAction::Move: in.push_back(moveTo(g.hwnd, g.at)); break;
  case MouseAction::Click:
    for (const auto& m : kModifiers)
      if (g.modifiers & m.bit) in.push_back(keyInput(m.vk, false));
    in.push_back(moveTo(g.hwnd, g.at));
    addButton(in, g.button, true);
    addButton(in, g.button, false);
    for (auto it = std::rbegin(kModifiers); it != std::rend(kModifiers); ++it)
      if (g.modifiers & it->bit) in.push_back(keyInput(it->vk, true));
    break;
  case MouseAction::DoubleClick:
    in.push_back(moveTo(g.hwnd, g.at));
    for (int i = 0; i < 2; ++i) {
      addButton(in, g.button, true);
      addButton(in, g.button, false);
    }
    break;
  case MouseAction::Drag:
    in.push_back(moveTo(g.hwnd, g.at));
    addButton(in, g.button, true);
    for (int i = 1; i <= kDragSteps; ++i)
      in.push_back(moveTo(g.hwnd, POINT{g.at.x + (g.to.x - g.at.x) * i / kDragSteps,
                                        g.at.y + (g.to.y - g.at.y) * i / kDragSteps}));
    addButton(in, g.button, false);
    break;
  case MouseAction::Wheel:
    in.push_back(moveTo(g.hwnd, g.at));
    in.push_back(mouseInput(MOUSEEVENTF_WHEEL, POINT{},
                            static_cast<DWORD>(g.notches * WHEEL_DELTA)));
    break;
  }
}

}  // namespace

void platformWatchWaiting() {
  Watch& w = watch();
  if (!w.hook)
    w.hook = SetWindowsHookExA(WH_GETMESSAGE, watchRetrieval, NULL, GetCurrentThreadId());
  if (!w.sendHook)
    w.sendHook = SetWindowsHookExA(WH_CALLWNDPROC, watchSends, NULL, GetCurrentThreadId());
  if (w.probeWindow) return;
  w.probeWindow = makeProbeWindow();
  if (!w.probeWindow) return;
  if (HANDLE thread = CreateThread(NULL, 0, sendProbes, w.probeWindow, 0, NULL))
    CloseHandle(thread);
}

bool platformPress(HWND hwnd, int vk, unsigned modifiers) {
  Gesture keys(Gesture::Kind::Keys);
  addPress(keys.keys, vk, modifiers);
  addGesture(Gesture(Gesture::Kind::Focus, hwnd));
  addGesture(std::move(keys));
  return true;
}

bool platformType(HWND hwnd, const std::string& text) {
  Gesture keys(Gesture::Kind::Keys);
  for (char c : text) {
    int vk = 0;
    bool shift = false;
    if (keyFor(c, &vk, &shift)) addPress(keys.keys, vk, shift ? kShift : 0);
  }
  addGesture(Gesture(Gesture::Kind::Focus, hwnd));
  addGesture(std::move(keys));
  return true;
}

void platformKeyUp(int vk) {
  std::vector<INPUT> in{keyInput(vk, true)};
  sendKeys(in);
}

// Posted once the keys sent before it are retrieved, as the queued click of
// the Linux layer's user arrives through the loop after them; the point is
// the one that user clicks.
bool platformClose(HWND hwnd) {
  RECT r;
  GetWindowRect(hwnd, &r);
  Gesture close(Gesture::Kind::Close, hwnd);
  close.point = MAKELPARAM(r.right - 8, r.top + 8);
  addGesture(std::move(close));
  return true;
}

bool platformMouse(const MouseGesture& g) {
  Gesture mouse(Gesture::Kind::Mouse, g.hwnd);
  mouse.mouse = g;
  addGesture(std::move(mouse));
  return true;
}

bool platformResize(HWND hwnd, int width, int height) {
  SendMessageA(hwnd, WM_ENTERSIZEMOVE, 0, 0);
  SetWindowPos(hwnd, NULL, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  if (IsWindow(hwnd)) SendMessageA(hwnd, WM_EXITSIZEMOVE, 0, 0);
  return true;
}

// The system reports a track position only inside its own tracking loop,
// which only a real drag enters; the other codes are the bar's plain
// messages.
// The path is checked now, against the menu as it is, as on Linux.
MenuChoice platformChooseMenu(HWND hwnd, const std::vector<std::string>& path, std::string* why) {
  HMENU at = GetMenu(hwnd);
  if (!at || !IsMenu(at) || (GetWindowLongA(hwnd, GWL_STYLE) & (WS_CHILD | WS_POPUP)) == WS_CHILD) {
    *why = "the window has no menu bar";
    return MenuChoice::Refused;
  }
  for (size_t i = 0; i < path.size(); ++i) {
    const int pos = itemNamed(at, path[i]);
    if (pos < 0) {
      *why = "the menu has no item \"" + path[i] + "\"";
      return MenuChoice::Refused;
    }
    if (itemDisabled(at, pos)) {
      *why = "the item \"" + path[i] + "\" is disabled";
      return MenuChoice::Refused;
    }
    HMENU sub = GetSubMenu(at, pos);
    if (i + 1 < path.size() && !sub) {
      *why = "the item \"" + path[i] + "\" has no submenu";
      return MenuChoice::Refused;
    }
    at = sub;
  }
  Gesture menu(Gesture::Kind::Menu, hwnd);
  menu.path = path;
  addGesture(std::move(menu));
  return MenuChoice::Queued;
}

// Answered when the pop-up shows and the loop waits; one already waiting
// (the idle function answers it) is answered at the next probe.
bool platformAnswerPopupMenu(const std::vector<std::string>* path) {
  watch().popupAnswers.emplace_back(path == nullptr, path ? *path : std::vector<std::string>());
  return true;
}

bool platformScroll(HWND hwnd, int bar, int code, int) {
  if (code == SB_THUMBTRACK || code == SB_THUMBPOSITION) return false;
  SendMessageA(hwnd, bar == SB_VERT ? WM_VSCROLL : WM_HSCROLL, static_cast<WPARAM>(code), 0);
  return true;
}

bool platformQueueDialogAnswer(bool cancel, const std::string& path) {
  watch().answers.push_back(Answer{cancel, path});
  return true;
}


bool platformPixel(HWND hwnd, int x, int y, COLORREF* out) {
  RECT r;
  *out = CLR_INVALID;
  if (!GetClientRect(hwnd, &r) || x < 0 || y < 0 || x >= r.right || y >= r.bottom) return true;
  HDC dc = GetDC(hwnd);
  *out = GetPixel(dc, x, y);
  ReleaseDC(hwnd, dc);
  return true;
}

// The screen as the Linux layer composes it: the desktop's colour, and the
// thread's visible top-level windows over it from the bottom of the z-order
// up, each copied from its own window DC (a real screen would show other
// programs too, and a headless one has no pixels of its own).
SaveResult platformScreenshot(const std::string& path) {
  // Looking at the screen is acting as the user: an idle function that did
  // is called again at the next wait, as on the Linux layer.
  if (watch().inIdle) watch().idleActed = true;
  const int width = GetSystemMetrics(SM_CXSCREEN), height = GetSystemMetrics(SM_CYSCREEN);
  HDC screen = GetDC(NULL);
  HDC memory = CreateCompatibleDC(screen);
  HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  ReleaseDC(NULL, screen);
  HGDIOBJ old = SelectObject(memory, bitmap);
  RECT all = {0, 0, width, height};
  HBRUSH desk = CreateSolidBrush(GetSysColor(COLOR_DESKTOP));
  FillRect(memory, &all, desk);
  DeleteObject(desk);
  std::vector<HWND> tops = platformTopLevelWindows();  // top of the z-order first
  for (auto it = tops.rbegin(); it != tops.rend(); ++it) {
    RECT r;
    if (!IsWindowVisible(*it) || !GetWindowRect(*it, &r)) continue;
    HDC dc = GetWindowDC(*it);
    BitBlt(memory, r.left, r.top, r.right - r.left, r.bottom - r.top, dc, 0, 0, SRCCOPY);
    ReleaseDC(*it, dc);
  }
  SelectObject(memory, old);
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // rows top to bottom
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  std::vector<DWORD> bgrx(static_cast<size_t>(width) * static_cast<size_t>(height));
  int rows = GetDIBits(memory, bitmap, 0, static_cast<UINT>(height), bgrx.data(), &info,
                       DIB_RGB_COLORS);
  DeleteObject(bitmap);
  DeleteDC(memory);
  if (rows != height) return SaveResult::CannotWrite;
  std::vector<uint8_t> rgb;
  rgb.reserve(bgrx.size() * 3);
  for (DWORD p : bgrx) {
    rgb.push_back(static_cast<uint8_t>(p >> 16));
    rgb.push_back(static_cast<uint8_t>(p >> 8));
    rgb.push_back(static_cast<uint8_t>(p));
  }
  return w32::writePng(path, width, height, rgb) ? SaveResult::Saved : SaveResult::CannotWrite;
}

bool platformAdvance(DWORD ms) {
  Sleep(ms);
  return true;
}

bool platformCount(CountKind kind, int* out) {
  if (kind != CountKind::Windows) return countMade(kind, out);
  std::vector<HWND> tops = platformTopLevelWindows();
  *out = static_cast<int>(tops.size());
  for (HWND h : tops) EnumChildWindows(h, countChild, reinterpret_cast<LPARAM>(out));
  return true;
}

std::vector<HWND> platformTopLevelWindows() {
  std::vector<HWND> out;
  EnumThreadWindows(GetCurrentThreadId(), collectTopLevel, reinterpret_cast<LPARAM>(&out));
  return out;
}

void platformForget() {
  Watch& w = watch();
  forgetFileDialogs();
  w.answers.clear();
  w.gestures.clear();
  w.menu = MenuPath{};
  w.popupAnswers.clear();
  w.keysRetrieved = w.keysSent;
  w.activity = true;
}

}  // namespace desktop

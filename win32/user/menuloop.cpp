// The menu loop: a press on the bar, Alt or F10, a mnemonic with Alt, and
// TrackPopupMenu open menus here, and the loop reads the thread's input
// itself (the owner holds the capture) until an item is chosen or the menu
// is dismissed. It tells the owner what happens in the system's order:
// WM_ENTERMENULOOP, WM_INITMENU, WM_MENUSELECT and WM_INITMENUPOPUP as items
// are selected and pop-ups open, WM_ENTERIDLE when it is about to wait,
// WM_UNINITMENUPOPUP as they close, WM_MENUSELECT(0xFFFF, 0), then
// WM_EXITMENULOOP; the command is posted (WM_COMMAND, or WM_SYSCOMMAND from
// the system menu) unless TrackPopupMenu was asked to return it.
// Invariant: after every message sent the menus are looked up again by
// handle, and the loop ends when its owner or its top menu is gone.
#include "user/menu.h"

#include <algorithm>
#include <cctype>
#include <memory>

namespace w32 {

namespace {

constexpr int kPopupFrame = 3;  // the pop-up window's raised frame, each side
constexpr int kEndedByClose = -2;  // execFocused: a submenu opened instead

struct Tracker {
  HWND owner = nullptr;
  HMENU top = nullptr;      // the bar, the system menu's holder or TrackPopupMenu's pop-up
  HMENU current = nullptr;  // the deepest open menu, which the keyboard works in
  UINT flags = 0;           // TPM_* (TPM_NONOTIFY, TPM_RETURNCMD, TPM_RIGHTBUTTON)
  bool popupMode = false;   // TrackPopupMenu
  POINT pt{};
};

Tracker*& activeTracker() {
  static Tracker* t = nullptr;
  return t;
}

bool notifies(const Tracker& t) { return !(t.flags & TPM_NONOTIFY); }

UINT systemFlag(const Menu& m) { return m.sysMenu ? MF_SYSMENU : 0; }

// The item whose submenu is sub, in hmenu; kNoItem if none.
UINT parentItem(HMENU hmenu, HMENU sub) {
  const Menu* m = findMenu(hmenu);
  if (!m) return kNoItem;
  for (UINT i = 0; i < m->items.size(); ++i)
    if (m->items[i].submenu == sub) return i;
  return kNoItem;
}

// The open submenu of hmenu's selected item, or null.
HMENU openSubmenu(HMENU hmenu) {
  const Menu* m = findMenu(hmenu);
  if (!m || m->focused == kNoItem || m->focused >= m->items.size()) return nullptr;
  const MenuItem& item = m->items[m->focused];
  return (item.type & MF_POPUP) && (item.state & MF_MOUSESELECT) ? item.submenu : nullptr;
}

void redraw(HWND owner, HMENU hmenu) {
  const Menu* m = findMenu(hmenu);
  if (!m) return;
  if (m->shown) redrawPopup(hmenu);
  else if (GetMenu(owner) == hmenu) redrawMenuBar(owner);
}

// Selects the item at index (kNoItem: none) and tells the owner; selecting
// none in a submenu tells of its parent item in topmenu instead.
void selectItem(HWND owner, HMENU hmenu, UINT index, bool tell, HMENU topmenu) {
  Menu* m = findMenu(hmenu);
  if (!m || m->focused == index) return;
  if (m->focused < m->items.size()) m->items[m->focused].state &= ~static_cast<UINT>(MF_HILITE);
  m->focused = index < m->items.size() ? index : kNoItem;
  if (m->focused != kNoItem) m->items[index].state |= MF_HILITE;
  redraw(owner, hmenu);
  if (!tell) return;
  if (m->focused != kNoItem) {
    const MenuItem& item = m->items[index];
    const UINT what = (item.type & MF_POPUP) ? index : item.id;
    sendMessage(owner, WM_MENUSELECT,
                MAKEWPARAM(what, item.type | item.state | systemFlag(*m)),
                reinterpret_cast<LPARAM>(hmenu));
    return;
  }
  const UINT pos = topmenu ? parentItem(topmenu, hmenu) : kNoItem;
  const Menu* parent = findMenu(topmenu);
  if (pos == kNoItem || !parent) return;
  const MenuItem& item = parent->items[pos];
  sendMessage(owner, WM_MENUSELECT,
              MAKEWPARAM(pos, item.type | item.state | systemFlag(*parent)),
              reinterpret_cast<LPARAM>(topmenu));
}

// Moves the selection to the next (or previous) item that is not a
// separator, round the end.
void moveSelection(HWND owner, HMENU hmenu, int step) {
  const Menu* m = findMenu(hmenu);
  if (!m || m->items.empty()) return;
  const int n = static_cast<int>(m->items.size());
  int from = m->focused == kNoItem ? (step > 0 ? -1 : n) : static_cast<int>(m->focused);
  for (int k = 1; k <= n; ++k) {
    const int i = ((from + step * k) % n + n) % n;
    if (!isSeparator(m->items[static_cast<size_t>(i)])) {
      selectItem(owner, hmenu, static_cast<UINT>(i), true, nullptr);
      return;
    }
  }
}

// The system menu's items enabled as the window's state allows.
void initSystemPopup(HWND owner, HMENU sys) {
  Window* w = findWindow(owner);
  if (!w) return;
  const DWORD s = w->style;
  const bool max = (s & WS_MAXIMIZE) != 0, min = (s & WS_MINIMIZE) != 0;
  auto enable = [&](UINT id, bool on) { EnableMenuItem(sys, id, on ? MF_ENABLED : MF_GRAYED); };
  enable(SC_RESTORE, max || min);
  enable(SC_MOVE, !max);
  enable(SC_SIZE, (s & WS_THICKFRAME) && !max && !min);
  enable(SC_MINIMIZE, (s & WS_MINIMIZEBOX) && !min);
  enable(SC_MAXIMIZE, (s & WS_MAXIMIZEBOX) && !max);
  enable(SC_CLOSE, !(w->cls->style & CS_NOCLOSE));
}

// Lays the pop-up out and shows its window at (x, y) on the screen, kept on
// the screen; false when it has no items.
bool showPopup(HWND owner, HMENU hmenu, int x, int y, UINT flags, const RECT* parentItem) {
  Menu* m = findMenu(hmenu);
  if (!m) return false;
  if (m->focused < m->items.size()) m->items[m->focused].state &= ~static_cast<UINT>(MF_HILITE);
  m->focused = kNoItem;
  if (m->items.empty()) return false;
  layoutPopup(hmenu);
  const int w = m->size.cx + 2 * kPopupFrame, h = m->size.cy + 2 * kPopupFrame;
  if (flags & TPM_CENTERALIGN) x -= w / 2;
  else if (flags & TPM_RIGHTALIGN) x -= w;
  if (flags & TPM_VCENTERALIGN) y -= h / 2;
  else if (flags & TPM_BOTTOMALIGN) y -= h;
  const int sw = systemMetric(SM_CXSCREEN), sh = systemMetric(SM_CYSCREEN);
  if (x + w > sw) x = parentItem ? parentItem->left - w + kPopupFrame : sw - w;
  if (y + h > sh) y = sh - h;
  x = std::max(x, 0);
  y = std::max(y, 0);
  HWND popup = CreateWindowExA(WS_EX_TOOLWINDOW | WS_EX_TOPMOST | WS_EX_DLGMODALFRAME, "#32768",
                               nullptr, WS_POPUP | WS_CLIPSIBLINGS, x, y, w, h, owner, nullptr,
                               nullptr, nullptr);
  if (!popup) return false;
  if (!(m = findMenu(hmenu))) {
    DestroyWindow(popup);
    return false;
  }
  m->shown = popup;
  SetWindowPos(popup, HWND_TOPMOST, x, y, w, h, SWP_SHOWWINDOW | SWP_NOACTIVATE);
  UpdateWindow(popup);
  return true;
}

void hidePopupWindow(HMENU hmenu) {
  Menu* m = findMenu(hmenu);
  if (!m || !m->shown) return;
  HWND popup = m->shown;
  m->shown = nullptr;
  DestroyWindow(popup);
}

// Closes the submenus open below hmenu's selected item, deepest first.
void hideSubPopups(Tracker& t, HMENU hmenu, bool tell) {
  Menu* m = findMenu(hmenu);
  if (!m || m->focused >= m->items.size()) return;
  MenuItem& item = m->items[m->focused];
  if (!(item.type & MF_POPUP) || !(item.state & MF_MOUSESELECT)) return;
  item.state &= ~static_cast<UINT>(MF_MOUSESELECT);
  HMENU sub = item.submenu;
  const Menu* sm = findMenu(sub);
  if (!sm) return;
  const bool sys = sm->sysMenu;
  hideSubPopups(t, sub, false);
  selectItem(t.owner, sub, kNoItem, tell, nullptr);
  hidePopupWindow(sub);
  if (notifies(t))
    sendMessage(t.owner, WM_UNINITMENUPOPUP, reinterpret_cast<WPARAM>(sub), MAKELPARAM(0, sys));
}

void simulatedUserLooks(const Tracker& t, HMENU shown) {
  simulatedUserSeesMenu(t.owner, shown, t.popupMode && shown == t.top);
}

// Where the submenu of hmenu's item at pos opens: to the right of a
// pop-up's item (its first item level with it), under a bar item, and for
// the system menu below the caption's corner.
POINT subPopupCorner(const Tracker& t, HMENU hmenu, UINT pos) {
  const Menu* m = findMenu(hmenu);
  RECT r{};
  if (m && m->shown && itemScreenRect(t.owner, hmenu, pos, &r)) {
    RECT win;
    GetWindowRect(m->shown, &win);
    return POINT{win.right - kPopupFrame, r.top - kPopupFrame};
  }
  if (itemScreenRect(t.owner, hmenu, pos, &r)) return POINT{r.left, r.bottom};
  RECT win{};
  GetWindowRect(t.owner, &win);
  return POINT{win.left + systemMetric(SM_CXFRAME),
               win.top + systemMetric(SM_CYFRAME) + systemMetric(SM_CYCAPTION)};
}

// Opens the submenu of hmenu's selected item (with its first item selected
// when asked); answers the menu the keyboard now works in.
HMENU showSubPopup(Tracker& t, HMENU hmenu, bool selectFirst) {
  Menu* m = findMenu(hmenu);
  if (!m || m->focused >= m->items.size()) return hmenu;
  const UINT pos = m->focused;
  if (!(m->items[pos].type & MF_POPUP) || isDisabled(m->items[pos])) return hmenu;
  const HMENU sub = m->items[pos].submenu;
  // A submenu destroyed while its item holds it: the loop, finding no menu
  // to work in, ends (as Wine's does).
  if (!findMenu(sub)) return sub;
  const bool sys = m->sysMenu;
  if (sys) initSystemPopup(t.owner, sub);
  if (notifies(t))
    sendMessage(t.owner, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(sub), MAKELPARAM(pos, sys));
  if (!(m = findMenu(hmenu)) || pos >= m->items.size() || m->items[pos].submenu != sub ||
      !findMenu(sub))
    return hmenu;
  m->items[pos].state |= MF_HILITE | MF_MOUSESELECT;
  RECT item{};
  const bool nested = m->shown != nullptr && itemScreenRect(t.owner, hmenu, pos, &item);
  const POINT at = subPopupCorner(t, hmenu, pos);
  const UINT aligned = TPM_CENTERALIGN | TPM_RIGHTALIGN | TPM_VCENTERALIGN | TPM_BOTTOMALIGN;
  if (!showPopup(t.owner, sub, at.x, at.y, t.flags & ~aligned, nested ? &item : nullptr))
    return hmenu;
  if (selectFirst) moveSelection(t.owner, sub, 1);
  simulatedUserLooks(t, sub);
  return sub;
}

// Selects the item of hPtMenu at id, closing what was open below it; a bar
// item of another top menu switches to that menu.
void switchTracking(Tracker& t, HMENU hPtMenu, UINT id) {
  hideSubPopups(t, hPtMenu, false);
  selectItem(t.owner, hPtMenu, id, true, nullptr);
}

// The deepest open menu under the point, the bar included; null when none.
HMENU menuAtPoint(Tracker& t, HMENU hmenu, POINT pt, int depth = 0) {
  if (depth > 64) return nullptr;
  if (HMENU sub = openSubmenu(hmenu))
    if (HMENU found = menuAtPoint(t, sub, pt, depth + 1)) return found;
  const Menu* m = findMenu(hmenu);
  if (!m) return nullptr;
  if (m->shown) {
    RECT r;
    GetWindowRect(m->shown, &r);
    return pointInRect(r, pt.x, pt.y) ? hmenu : nullptr;
  }
  if (GetMenu(t.owner) != hmenu) return nullptr;
  Window* w = findWindow(t.owner);
  if (!w) return nullptr;
  const RECT win = windowRectOnScreen(*w);
  const RECT bar = offsetRect(menuBarRect(*w), win.left, win.top);
  return pointInRect(bar, pt.x, pt.y) ? hmenu : nullptr;
}

// Carries out the selected item: posts its command (or, with
// TPM_RETURNCMD, answers it), or opens its submenu (kEndedByClose), or
// answers -1 when it cannot be chosen.
int execFocused(Tracker& t, HMENU hmenu) {
  Menu* m = findMenu(hmenu);
  if (!m || m->focused >= m->items.size()) return -1;
  const MenuItem item = m->items[m->focused];
  if (item.type & MF_POPUP) {
    t.current = showSubPopup(t, hmenu, true);
    return kEndedByClose;
  }
  if (isDisabled(item) || isSeparator(item)) return -1;
  if (!(t.flags & TPM_RETURNCMD)) {
    const Menu* top = findMenu(t.top);
    if (m->sysMenu) {
      PostMessageA(t.owner, WM_SYSCOMMAND, item.id, MAKELPARAM(t.pt.x, t.pt.y));
    } else if ((m->style | (top ? top->style : 0)) & MNS_NOTIFYBYPOS) {
      PostMessageA(t.owner, WM_MENUCOMMAND, m->focused, reinterpret_cast<LPARAM>(hmenu));
    } else {
      PostMessageA(t.owner, WM_COMMAND, item.id, 0);
    }
  }
  return static_cast<int>(item.id);
}

bool buttonDown(Tracker& t, HMENU hPtMenu) {
  if (!hPtMenu) return false;
  const UINT id = itemAtPoint(t.owner, hPtMenu, t.pt);
  Menu* m = findMenu(hPtMenu);
  if (!m || id == kNoItem) return false;
  if (m->focused != id) switchTracking(t, hPtMenu, id);
  if (!(m = findMenu(hPtMenu)) || id >= m->items.size()) return true;
  if (!(m->items[id].state & MF_MOUSESELECT)) t.current = showSubPopup(t, hPtMenu, false);
  return true;
}

// -1 keeps the loop going; otherwise the command chosen, or 0 when a second
// click on an open bar item closes the menu.
int buttonUp(Tracker& t, HMENU hPtMenu) {
  Menu* m = findMenu(hPtMenu);
  if (!m) return -1;
  const UINT id = itemAtPoint(t.owner, hPtMenu, t.pt);
  if (id != kNoItem && m->focused == id) {
    if (!(m->items[id].type & MF_POPUP)) {
      const int done = execFocused(t, hPtMenu);
      return done == -1 || done == kEndedByClose ? -1 : done;
    }
    if (hPtMenu == t.top && m->timeToHide) return 0;
  }
  if ((m = findMenu(hPtMenu)) && GetMenu(t.owner) == hPtMenu) m->timeToHide = true;
  return -1;
}

void mouseMove(Tracker& t, HMENU hPtMenu) {
  const UINT id = hPtMenu ? itemAtPoint(t.owner, hPtMenu, t.pt) : kNoItem;
  if (id == kNoItem) {
    // Off every item: the deepest menu loses its selection unless a
    // submenu of it is open.
    if (!openSubmenu(t.current)) selectItem(t.owner, t.current, kNoItem, true, t.top);
    return;
  }
  const Menu* m = findMenu(hPtMenu);
  if (!m || m->focused == id) return;
  switchTracking(t, hPtMenu, id);
  t.current = showSubPopup(t, hPtMenu, false);
}

// The menu whose submenu is hmenu, walking down from the top; null for the top.
HMENU parentMenu(const Tracker& t, HMENU hmenu) {
  HMENU at = t.top;
  for (int depth = 0; at && depth < 64; ++depth) {
    HMENU sub = openSubmenu(at);
    if (sub == hmenu) return at;
    at = sub;
  }
  return nullptr;
}

bool isBar(const Tracker& t, HMENU hmenu) {
  const Menu* m = findMenu(hmenu);
  return m && !m->popup && !m->shown && !t.popupMode;
}

bool keyEscape(Tracker& t) {
  if (t.current == t.top) return true;
  HMENU parent = parentMenu(t, t.current);
  if (!parent) return true;
  hideSubPopups(t, parent, true);
  t.current = parent;
  return false;
}

// Left closes a nested submenu; in the bar's own pop-up (or on the bar) it
// moves to the bar's previous item, opening its pop-up if one was open.
void keyLeftRight(Tracker& t, int step) {
  HMENU parent = parentMenu(t, t.current);
  if (step < 0 && parent && !isBar(t, parent)) {
    hideSubPopups(t, parent, true);
    t.current = parent;
    return;
  }
  if (step > 0 && !isBar(t, t.current)) {
    const Menu* m = findMenu(t.current);
    if (m && m->focused < m->items.size() && (m->items[m->focused].type & MF_POPUP)) {
      t.current = showSubPopup(t, t.current, true);
      return;
    }
  }
  if (!isBar(t, t.top)) return;
  const bool wasOpen = t.current != t.top;
  hideSubPopups(t, t.top, false);
  moveSelection(t.owner, t.top, step);
  t.current = t.top;
  if (wasOpen) t.current = showSubPopup(t, t.top, true);
}

// The item whose mnemonic is key; else the owner's WM_MENUCHAR answer:
// kNoItem to ignore, kNoItem - 1 to close the menu.
UINT findItemByKey(HWND owner, HMENU hmenu, WPARAM key, bool force) {
  const Menu* m = findMenu(hmenu);
  if (!m) return kNoItem;
  if (!force) {
    const int want = toupper(static_cast<int>(key & 0xFF));
    for (UINT i = 0; i < m->items.size(); ++i) {
      const MenuLabel l = menuLabel(m->items[i].text);
      if (l.mnemonic >= 0 &&
          toupper(static_cast<unsigned char>(l.shown[static_cast<size_t>(l.mnemonic)])) == want)
        return i;
    }
  }
  const LRESULT answer = sendMessage(owner, WM_MENUCHAR,
                                     MAKEWPARAM(key, (m->popup ? MF_POPUP : 0) | systemFlag(*m)),
                                     reinterpret_cast<LPARAM>(hmenu));
  if (HIWORD(answer) == MNC_EXECUTE) return LOWORD(answer);
  if (HIWORD(answer) == MNC_CLOSE) return kNoItem - 1;
  return kNoItem;
}

enum class Step { Go, End };

Step onKeyDown(Tracker& t, const MSG& msg) {
  switch (msg.wParam) {
  case VK_MENU:
  case VK_F10:
    return Step::End;
  case VK_HOME:
  case VK_END:
    selectItem(t.owner, t.current, kNoItem, false, nullptr);
    moveSelection(t.owner, t.current, msg.wParam == VK_HOME ? 1 : -1);
    return Step::Go;
  case VK_UP:
  case VK_DOWN:
    if (isBar(t, t.current)) t.current = showSubPopup(t, t.top, true);
    else moveSelection(t.owner, t.current, msg.wParam == VK_UP ? -1 : 1);
    return Step::Go;
  case VK_LEFT:
    keyLeftRight(t, -1);
    return Step::Go;
  case VK_RIGHT:
    keyLeftRight(t, 1);
    return Step::Go;
  case VK_ESCAPE:
    return keyEscape(t) ? Step::End : Step::Go;
  default:
    TranslateMessage(&msg);
    return Step::Go;
  }
}

Step onChar(Tracker& t, const MSG& msg, int* executed) {
  if (msg.wParam == '\r' || msg.wParam == ' ') {
    *executed = execFocused(t, t.current);
    return *executed == kEndedByClose ? Step::Go : Step::End;
  }
  if (msg.wParam < 32) return Step::Go;
  const UINT pos = findItemByKey(t.owner, t.current, msg.wParam, false);
  if (pos == kNoItem - 1) return Step::End;
  if (pos == kNoItem) {
    MessageBeep(0);
    return Step::Go;
  }
  selectItem(t.owner, t.current, pos, true, nullptr);
  *executed = execFocused(t, t.current);
  return *executed == kEndedByClose ? Step::Go : Step::End;
}

bool isButtonDown(const Tracker& t, UINT m) {
  return m == WM_LBUTTONDOWN || m == WM_LBUTTONDBLCLK ||
         ((t.flags & TPM_RIGHTBUTTON) && (m == WM_RBUTTONDOWN || m == WM_RBUTTONDBLCLK));
}

bool isButtonUp(const Tracker& t, UINT m) {
  return m == WM_LBUTTONUP || ((t.flags & TPM_RIGHTBUTTON) && m == WM_RBUTTONUP);
}

// Takes the next message for the loop, leaving it in the queue: while
// nothing is there the owner hears WM_ENTERIDLE once and the thread waits
// (the idle hook runs). False when nothing can ever arrive.
bool nextMessage(Tracker& t, MSG* msg, bool* idleSent) {
  for (;;) {
    if (PeekMessageA(msg, nullptr, 0, 0, PM_NOREMOVE)) return true;
    simulatedUserLooks(t, t.current);
    if (PeekMessageA(msg, nullptr, 0, 0, PM_NOREMOVE)) return true;
    if (!*idleSent) {
      *idleSent = true;
      const Menu* m = findMenu(t.current);
      sendMessage(t.owner, WM_ENTERIDLE, MSGF_MENU,
                  reinterpret_cast<LPARAM>(m && m->shown ? m->shown : nullptr));
      continue;
    }
    if (!WaitMessage()) return false;
  }
}

void dropMessage(const MSG& msg) {
  MSG gone;
  PeekMessageA(&gone, nullptr, msg.message, msg.message, PM_REMOVE);
}

// The menus left open when the owner went: their windows and selections
// go silently (there is no one to tell).
void forgetOpenMenus(HMENU hmenu, int depth = 0) {
  Menu* m = findMenu(hmenu);
  if (!m || depth > 64) return;
  HMENU sub = openSubmenu(hmenu);
  for (MenuItem& item : m->items) item.state &= ~static_cast<UINT>(MF_HILITE | MF_MOUSESELECT);
  m->focused = kNoItem;
  m->timeToHide = false;
  hidePopupWindow(hmenu);
  forgetOpenMenus(sub, depth + 1);
}

// A mouse message: whether the menu ends, and (*leave) whether the message
// stays queued for its window (a press, or a bar menu's release, outside
// every menu, which ends it).
Step onMouse(Tracker& t, const MSG& msg, int* executed, bool* leave) {
  *leave = false;
  HMENU under = menuAtPoint(t, t.top, t.pt);
  if (isButtonDown(t, msg.message)) {
    *leave = !buttonDown(t, under);
    return *leave ? Step::End : Step::Go;
  }
  if (isButtonUp(t, msg.message)) {
    if (!under) {
      *leave = !t.popupMode;
      return *leave ? Step::End : Step::Go;
    }
    *executed = buttonUp(t, under);
    return *executed != -1 ? Step::End : Step::Go;
  }
  if (msg.message == WM_MOUSEMOVE && under) mouseMove(t, under);
  return Step::Go;
}

// The pop-ups still open close, deepest first, and the owner hears the
// selection go (WM_MENUSELECT with 0xFFFF).
void closeMenus(Tracker& t) {
  if (findMenu(t.top) && findWindow(t.owner)) {
    hideSubPopups(t, t.top, false);
    Menu* top = findMenu(t.top);
    if (top && top->shown) {
      const bool sys = top->sysMenu;
      hidePopupWindow(t.top);
      if (notifies(t))
        sendMessage(t.owner, WM_UNINITMENUPOPUP, reinterpret_cast<WPARAM>(t.top),
                    MAKELPARAM(0, sys));
    }
    selectItem(t.owner, t.top, kNoItem, false, nullptr);
    sendMessage(t.owner, WM_MENUSELECT, MAKEWPARAM(0, 0xFFFF), 0);
  }
  forgetOpenMenus(t.top);
}

// Reads and answers input until the menu ends; answers the command chosen
// (0 for none). Mouse and key messages are the menu's; the rest are
// dispatched as they come.
int trackMenu(Tracker& t, bool startsWithPress, bool endAtOnce) {
  int executed = -1;
  bool end = endAtOnce;
  if (startsWithPress && !end) end = !buttonDown(t, menuAtPoint(t, t.top, t.pt));
  SetCapture(t.owner);
  bool idleSent = false;
  while (!end) {
    if (!findWindow(t.owner) || !findMenu(t.top) || !findMenu(t.current)) break;
    MSG msg;
    if (!nextMessage(t, &msg, &idleSent) || msg.message == WM_QUIT) break;
    if (msg.message == WM_CANCELMODE) {
      dropMessage(msg);
      break;
    }
    t.pt = msg.pt;
    idleSent = false;
    const bool mouse = msg.message >= WM_MOUSEFIRST && msg.message <= WM_MOUSELAST;
    const bool key = msg.message >= WM_KEYFIRST && msg.message <= WM_KEYLAST;
    bool leave = false;
    if (!mouse) dropMessage(msg);
    if (mouse) {
      end = onMouse(t, msg, &executed, &leave) == Step::End;
    } else if (key && (msg.message == WM_KEYDOWN || msg.message == WM_SYSKEYDOWN)) {
      end = onKeyDown(t, msg) == Step::End;
    } else if (key && (msg.message == WM_CHAR || msg.message == WM_SYSCHAR)) {
      end = onChar(t, msg, &executed) == Step::End;
    } else if (!key) {
      DispatchMessageA(&msg);
    }
    if (mouse && !leave) dropMessage(msg);
  }
  if (GetCapture() == t.owner) ReleaseCapture();
  closeMenus(t);
  return executed < 0 ? 0 : executed;
}

void initTracking(const Tracker& t) {
  HideCaret(nullptr);
  if (notifies(t)) sendMessage(t.owner, WM_ENTERMENULOOP, t.popupMode, 0);
  if (findWindow(t.owner))
    sendMessage(t.owner, WM_SETCURSOR, reinterpret_cast<WPARAM>(t.owner), HTCAPTION);
  if (notifies(t) && findWindow(t.owner))
    sendMessage(t.owner, WM_INITMENU, reinterpret_cast<WPARAM>(t.top), 0);
}

void exitTracking(const Tracker& t) {
  // Sent even with TPM_NONOTIFY, as Wine does.
  if (findWindow(t.owner)) sendMessage(t.owner, WM_EXITMENULOOP, t.popupMode, 0);
  ShowCaret(nullptr);
}

// Runs one loop with the tracker registered for EndMenu.
class ActiveScope {
 public:
  explicit ActiveScope(Tracker* t) : saved_(activeTracker()) { activeTracker() = t; }
  ~ActiveScope() { activeTracker() = saved_; }
  ActiveScope(const ActiveScope&) = delete;
  ActiveScope& operator=(const ActiveScope&) = delete;

 private:
  Tracker* saved_;
};

// The system menu is tracked as a bar of one item (the window's icon) whose
// pop-up is the window's system menu.
class SystemMenuHolder {
 public:
  explicit SystemMenuHolder(HWND hwnd) : menu_(CreateMenu()) {
    Menu* m = findMenu(menu_);
    MenuItem icon;
    icon.type = MF_POPUP;
    icon.submenu = systemMenuOf(hwnd);
    icon.id = static_cast<UINT>(reinterpret_cast<UINT_PTR>(icon.submenu));
    m->items.push_back(icon);
    m->sysMenu = true;
  }
  ~SystemMenuHolder() {
    if (Menu* m = findMenu(menu_)) m->items.clear();  // the system menu stays the window's
    DestroyMenu(menu_);
  }
  SystemMenuHolder(const SystemMenuHolder&) = delete;
  SystemMenuHolder& operator=(const SystemMenuHolder&) = delete;
  HMENU handle() const { return menu_; }

 private:
  HMENU menu_;
};

}  // namespace

HWND menuLoopOwner() { return activeTracker() ? activeTracker()->owner : nullptr; }

bool shownContextMenu(HWND* owner, HMENU* menu) {
  const Tracker* t = activeTracker();
  const Menu* m = t && t->popupMode ? findMenu(t->top) : nullptr;
  if (!m || !m->shown) return false;
  *owner = t->owner;
  *menu = t->top;
  return true;
}

void trackMenuBarByMouse(HWND hwnd, POINT screen) {
  HMENU bar = GetMenu(hwnd);
  Window* w = findWindow(hwnd);
  if (!w || !hasMenuBar(*w) || activeTracker()) return;
  Tracker t;
  t.owner = hwnd;
  t.top = t.current = bar;
  t.pt = screen;
  ActiveScope scope(&t);
  initTracking(t);
  t.top = t.current = GetMenu(hwnd);  // the owner may have changed it
  if (findMenu(t.top)) trackMenu(t, true, false);
  exitTracking(t);
}

void trackMenuBarByKey(HWND hwnd, WCHAR key) {
  Window* w = findWindow(hwnd);
  while (w && isChild(*w)) w = parentOf(*w);
  if (!w || activeTracker()) return;
  hwnd = w->hwnd;
  const bool useSystem = !hasMenuBar(*w) || (w->style & WS_MINIMIZE) || key == ' ';
  if (useSystem && !(w->style & WS_SYSMENU)) return;
  std::unique_ptr<SystemMenuHolder> holder;
  if (useSystem) holder = std::make_unique<SystemMenuHolder>(hwnd);
  Tracker t;
  t.owner = hwnd;
  t.top = t.current = useSystem ? holder->handle() : GetMenu(hwnd);
  ActiveScope scope(&t);
  initTracking(t);
  if (!useSystem) t.top = t.current = GetMenu(hwnd);
  if (!findMenu(t.top) || !findWindow(hwnd)) {
    exitTracking(t);
    return;
  }
  UINT item = useSystem ? 0 : kNoItem;
  bool endAtOnce = false;
  if (key && key != ' ') {
    item = findItemByKey(hwnd, t.top, key, useSystem);
    if (item >= kNoItem - 1) {
      if (item == kNoItem) MessageBeep(0);
      endAtOnce = true;
    }
  }
  if (!endAtOnce) {
    selectItem(hwnd, t.top, item, true, nullptr);
    if (!useSystem || key == ' ') {
      if (item == kNoItem) moveSelection(hwnd, t.top, 1);
      else PostMessageA(hwnd, WM_KEYDOWN, VK_RETURN, 0);
    }
  }
  trackMenu(t, false, endAtOnce);
  exitTracking(t);
}

}  // namespace w32

using namespace w32;

extern "C" {

BOOL WINAPI TrackPopupMenuEx(HMENU hMenu, UINT uFlags, int x, int y, HWND hwnd, LPTPMPARAMS lptpm) {
  (void)lptpm;
  Menu* m = findMenu(hMenu);
  if (!m) {
    SetLastError(ERROR_INVALID_MENU_HANDLE);
    return FALSE;
  }
  if (!checkWindow(hwnd)) return FALSE;
  if ((m->shown && findWindow(m->shown)) || (activeTracker() && !(uFlags & TPM_RECURSE))) {
    SetLastError(ERROR_POPUP_ALREADY_ACTIVE);
    return FALSE;
  }
  Tracker t;
  t.owner = hwnd;
  t.top = t.current = hMenu;
  t.flags = uFlags;
  t.popupMode = true;
  t.pt = POINT{x, y};
  ActiveScope scope(&t);
  initTracking(t);
  if (notifies(t) && findWindow(hwnd) && findMenu(hMenu))
    sendMessage(hwnd, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(hMenu), 0);
  int result = 0;
  const bool shown = findWindow(hwnd) && showPopup(hwnd, hMenu, x, y, uFlags, nullptr);
  if (shown) {
    simulatedUserLooks(t, hMenu);
    result = trackMenu(t, false, false);
  }
  exitTracking(t);
  SetLastError(ERROR_SUCCESS);
  if (!shown) {
    if (Menu* again = findMenu(hMenu); again && again->shown) hidePopupWindow(hMenu);
    if (notifies(t) && findWindow(hwnd))
      sendMessage(hwnd, WM_UNINITMENUPOPUP, reinterpret_cast<WPARAM>(hMenu), 0);
    return FALSE;
  }
  if (!(uFlags & TPM_RETURNCMD)) return TRUE;
  return result;
}

BOOL WINAPI TrackPopupMenu(HMENU hMenu, UINT uFlags, int x, int y, int nReserved, HWND hWnd,
                           const RECT* prcRect) {
  (void)nReserved;
  (void)prcRect;
  return TrackPopupMenuEx(hMenu, uFlags, x, y, hWnd, nullptr);
}

// Ends the menu loop that runs, as a dismissal: the loop finds the
// WM_CANCELMODE posted to its owner.
BOOL WINAPI EndMenu(void) {
  Tracker* t = activeTracker();
  if (!t) return TRUE;
  PostMessageA(t->owner, WM_CANCELMODE, 0, 0);
  return TRUE;
}

}  // extern "C"

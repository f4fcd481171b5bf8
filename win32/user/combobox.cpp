// The ComboBox class: a text part (an EDIT child, id 1001, for CBS_SIMPLE
// and CBS_DROPDOWN; drawn by the combo box itself for CBS_DROPDOWNLIST) over
// a list part (a ComboLBox, id 1000: a child below the text for CBS_SIMPLE,
// else a pop-up list, a child of the desktop shown under the box on drop-down).
// Invariants: the parts tell the combo box through WM_COMMAND (EN_*, and
// LBN_SELCHANGE from the list), and the combo box alone tells its parent, in
// the system's order; every notification is sent, so the state is looked up
// again after it (the parent may destroy the control).
#include "user/user.h"

#include <algorithm>
#include <climits>
#include <string>

namespace w32 {

struct ComboBoxState {
  DWORD style = 0;  // the creation style: the type, CBS_SORT, CBS_NOINTEGRALHEIGHT, ...
  HWND edit = nullptr;
  HWND list = nullptr;
  int textHeight = 0;  // the text part's height inside the border
  RECT textRect{};     // client coordinates
  RECT buttonRect{};   // client coordinates; empty for CBS_SIMPLE
  int droppedHeight = 0;  // from the box's top to the list's bottom
  int droppedWidth = 0;   // CB_SETDROPPEDWIDTH's, 0 for the box's own width
  int droppedIndex = -1;  // the selection when the list dropped down, for a cancel
  bool dropped = false;
  bool focused = false;
  bool buttonDown = false;  // the button is drawn pushed
  bool tracking = false;    // the box holds the capture from the press that dropped the list
  bool extendedUI = false;
  bool keepOpen = false;    // the list's next LBN_SELCHANGE came from keys on the shown list
  bool resizing = false;    // the box is fixing its own height
};

namespace {

constexpr int kEditId = 1001;
constexpr int kListId = 1000;
constexpr int kBorder = 2;         // the sunken edge round the box, pixels
constexpr int kEditPadding = 1;    // between the text part and the edit inside it
constexpr int kItemPadding = 2;    // CB_GETITEMHEIGHT(-1) is the text part's height less this
constexpr int kButtonWidth = 17;   // SM_CXVSCROLL
constexpr int kComboExtraBytes = 4;     // as the 32-bit system declares the classes
constexpr int kComboListExtraBytes = 4;
constexpr int kMaxHeight = 32767;

ComboBoxState* stateOf(HWND hwnd) {
  Window* w = findWindow(hwnd);
  return w ? w->comboBox.get() : nullptr;
}

int typeOf(const ComboBoxState& s) { return static_cast<int>(s.style & 3); }
bool isSimple(const ComboBoxState& s) { return typeOf(s) == CBS_SIMPLE; }
bool hasEdit(const ComboBoxState& s) { return typeOf(s) != CBS_DROPDOWNLIST; }

LRESULT toList(const ComboBoxState& s, UINT msg, WPARAM wp, LPARAM lp) {
  return SendMessageA(s.list, msg, wp, lp);
}

int fontHeight(HWND hwnd) {
  HDC dc = GetDC(hwnd);
  TEXTMETRICA tm;
  int h = GetTextMetricsA(dc, &tm) ? tm.tmHeight : kCharHeight;
  ReleaseDC(hwnd, dc);
  return h;
}

// The height the box keeps for the drop-down styles: the text part in its border.
int boxHeight(const ComboBoxState& s) { return s.textHeight + 2 * kBorder; }

void notify(HWND hwnd, WORD code) { notifyParent(hwnd, code); }

// ---- Geometry ----

// Places the text part, the button, the edit and the simple list in the
// client area.
void layOut(HWND hwnd, ComboBoxState& s) {
  RECT client;
  GetClientRect(hwnd, &client);
  s.textRect = makeRect(kBorder, kBorder, client.right - kBorder, kBorder + s.textHeight);
  s.buttonRect = RECT{};
  if (!isSimple(s)) {
    s.buttonRect = makeRect(s.textRect.right - kButtonWidth, s.textRect.top, s.textRect.right,
                            s.textRect.bottom);
    s.textRect.right = s.buttonRect.left - (typeOf(s) == CBS_DROPDOWN ? kBorder : 0);
  }
  if (s.edit) {
    RECT e = s.textRect;
    InflateRect(&e, -kEditPadding, -kEditPadding);
    SetWindowPos(s.edit, nullptr, e.left, e.top, rectWidth(e), rectHeight(e),
                 SWP_NOZORDER | SWP_NOACTIVATE);
  }
  if (isSimple(s) && s.list) {
    int top = s.textRect.bottom + kBorder;
    SetWindowPos(s.list, nullptr, 0, top, client.right, std::max<int>(client.bottom - top, 0),
                 SWP_NOZORDER | SWP_NOACTIVATE);
  }
}

// The drop-down styles keep one height, the text part's; asking for more
// makes the dropped list reach that far down.
void fixHeight(HWND hwnd, ComboBoxState& s) {
  if (isSimple(s) || s.resizing) return;
  RECT r;
  GetWindowRect(hwnd, &r);
  int wanted = boxHeight(s);
  if (rectHeight(r) > wanted) s.droppedHeight = rectHeight(r);
  if (rectHeight(r) == wanted) return;
  s.resizing = true;
  SetWindowPos(hwnd, nullptr, 0, 0, rectWidth(r), wanted,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOREDRAW);
  if (ComboBoxState* again = stateOf(hwnd)) again->resizing = false;
}

RECT droppedControlRect(HWND hwnd, const ComboBoxState& s) {
  RECT r;
  GetWindowRect(hwnd, &r);
  r.right = r.left + std::max<int>(rectWidth(r), s.droppedWidth);
  r.bottom = r.top + s.droppedHeight;
  return r;
}

// The pop-up list under the box: as wide as the dropped rectangle, as tall
// as the items that fit between the box and the dropped rectangle's bottom
// (whole items unless CBS_NOINTEGRALHEIGHT), never taller than all of them.
void placeDroppedList(HWND hwnd, const ComboBoxState& s) {
  RECT box;
  GetWindowRect(hwnd, &box);
  RECT frame{}, inner{};
  GetWindowRect(s.list, &frame);
  GetClientRect(s.list, &inner);
  int nonClient = static_cast<int>(rectHeight(frame) - inner.bottom);
  int itemHeight = std::max<int>(static_cast<int>(toList(s, LB_GETITEMHEIGHT, 0, 0)), 1);
  int count = static_cast<int>(toList(s, LB_GETCOUNT, 0, 0));
  int room = std::max(s.droppedHeight - static_cast<int>(rectHeight(box)) - 1 - nonClient, 0);
  int height = count ? std::min(count * itemHeight, room) : itemHeight;
  if (!(s.style & CBS_NOINTEGRALHEIGHT)) height -= height % itemHeight;
  RECT dropped = droppedControlRect(hwnd, s);
  SetWindowPos(s.list, HWND_TOPMOST, box.left, box.bottom, rectWidth(dropped), height + nonClient,
               SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

// ---- The text part ----

// Writes the edit part (which tells no one of WM_SETTEXT) and selects it
// all when the box has the focus.
void setEditText(HWND hwnd, const char* text) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s || !s->edit) return;
  HWND edit = s->edit;
  SendMessageA(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
  if ((s = stateOf(hwnd)) && s->focused) SendMessageA(edit, EM_SETSEL, 0, INT_MAX);
}

std::string itemText(const ComboBoxState& s, int index) {
  LRESULT n = toList(s, LB_GETTEXTLEN, static_cast<WPARAM>(index), 0);
  if (n < 0) return std::string();
  std::string text(static_cast<size_t>(n) + 1, '\0');
  toList(s, LB_GETTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&text[0]));
  text.resize(static_cast<size_t>(n));
  return text;
}

void paintTextNow(HWND hwnd, const std::string& text);

// The text part shows the selected item at once: the edit part is
// rewritten, or the drop-down list's box draws it (the system reads the
// item even when the box is hidden).
void showSelection(HWND hwnd) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  int index = static_cast<int>(toList(*s, LB_GETCURSEL, 0, 0));
  std::string text = index >= 0 ? itemText(*s, index) : std::string();
  if (s->edit) setEditText(hwnd, text.c_str());
  else paintTextNow(hwnd, text);
}

// The list follows the edit part's text: the first item beginning with it
// becomes the caret and the top, and the selection when `select`, else the
// list has none. Answers the item, or LB_ERR.
int followEdit(const ComboBoxState& s, bool select) {
  int length = GetWindowTextLengthA(s.edit);
  int found = LB_ERR;
  if (length > 0) {
    std::string text(static_cast<size_t>(length) + 1, '\0');
    GetWindowTextA(s.edit, &text[0], length + 1);
    found = static_cast<int>(toList(s, LB_FINDSTRING, static_cast<WPARAM>(-1),
                                    reinterpret_cast<LPARAM>(text.c_str())));
  }
  toList(s, LB_SETCURSEL, static_cast<WPARAM>(select ? found : -1), 0);
  toList(s, LB_SETTOPINDEX, static_cast<WPARAM>(std::max(found, 0)), 0);
  return found;
}

// ---- Dropping down and closing up ----

void dropDown(HWND hwnd) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s || s->dropped || isSimple(*s)) return;
  notify(hwnd, CBN_DROPDOWN);
  if (!(s = stateOf(hwnd)) || s->dropped) return;
  s->dropped = true;
  if (typeOf(*s) == CBS_DROPDOWN) {
    s->droppedIndex = followEdit(*s, true);
    if (!s->tracking && s->droppedIndex >= 0) {
      setEditText(hwnd, itemText(*s, s->droppedIndex).c_str());
      if (!(s = stateOf(hwnd))) return;
    }
  } else {
    s->droppedIndex = static_cast<int>(toList(*s, LB_GETCURSEL, 0, 0));
    toList(*s, LB_SETTOPINDEX, static_cast<WPARAM>(std::max(s->droppedIndex, 0)), 0);
  }
  placeDroppedList(hwnd, *s);
  if (!(s = stateOf(hwnd))) return;
  InvalidateRect(hwnd, nullptr, TRUE);
  if (GetCapture() != hwnd) SetCapture(s->list);
}

// Ends a choice: CBN_SELENDOK or CBN_SELENDCANCEL, then, when the list was
// down, it goes up and CBN_CLOSEUP follows. The system sends the first even
// when nothing was dropped (a key that changed the selection, a lost focus).
void closeUp(HWND hwnd, bool ok) {
  notify(hwnd, ok ? CBN_SELENDOK : CBN_SELENDCANCEL);
  ComboBoxState* s = stateOf(hwnd);
  if (!s || isSimple(*s) || !s->dropped) return;
  s->dropped = false;
  s->buttonDown = false;
  ShowWindow(s->list, SW_HIDE);
  if ((s = stateOf(hwnd)) && GetCapture() == s->list) ReleaseCapture();
  InvalidateRect(hwnd, nullptr, TRUE);
  notify(hwnd, CBN_CLOSEUP);
}

void flip(HWND hwnd, bool ok) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s || isSimple(*s)) return;
  if (s->dropped) closeUp(hwnd, ok);
  else dropDown(hwnd);
}

// ---- Focus ----

void gainFocus(HWND hwnd) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s || s->focused) return;
  if (s->edit) SendMessageA(s->edit, EM_SETSEL, 0, INT_MAX);
  if ((s = stateOf(hwnd))) InvalidateRect(hwnd, &s->textRect, TRUE);
  notify(hwnd, CBN_SETFOCUS);
  if ((s = stateOf(hwnd))) s->focused = true;
}

void loseFocus(HWND hwnd) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s || !s->focused) return;
  if (s->dropped) {
    // A choice the user had not finished goes back to where it was.
    toList(*s, LB_SETCURSEL, static_cast<WPARAM>(s->droppedIndex), 0);
  }
  closeUp(hwnd, false);
  if (!(s = stateOf(hwnd))) return;
  if (s->edit) SendMessageA(s->edit, EM_SETSEL, 0, 0);
  if (!(s = stateOf(hwnd))) return;
  s->focused = false;
  InvalidateRect(hwnd, &s->textRect, TRUE);
  notify(hwnd, CBN_KILLFOCUS);
}

// ---- What the parts say ----

// LBN_SELCHANGE from the list: a choice by the mouse or by keys on the
// closed list ends the selection (and closes the list); keys on the shown
// list only move it. The parent hears CBN_SELCHANGE before the text part
// changes, as on the system.
void listChanged(HWND hwnd) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  if (s->keepOpen) {
    s->keepOpen = false;
  } else {
    closeUp(hwnd, true);
  }
  notify(hwnd, CBN_SELCHANGE);
  showSelection(hwnd);
}

void editCommand(HWND hwnd, WORD code) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  switch (code) {
  case EN_SETFOCUS: gainFocus(hwnd); return;
  case EN_KILLFOCUS: loseFocus(hwnd); return;
  case EN_UPDATE: notify(hwnd, CBN_EDITUPDATE); return;
  case EN_CHANGE:
    followEdit(*s, s->dropped);
    notify(hwnd, CBN_EDITCHANGE);
    return;
  default: return;
  }
}

void onCommand(HWND hwnd, WPARAM wp, LPARAM lp) {
  ComboBoxState* s = stateOf(hwnd);
  HWND from = reinterpret_cast<HWND>(lp);
  if (!s || !from) return;
  if (from == s->edit) return editCommand(hwnd, HIWORD(wp));
  if (from == s->list && HIWORD(wp) == LBN_SELCHANGE) listChanged(hwnd);
}

// ---- The user's actions on the box ----

void onButtonDown(HWND hwnd, LPARAM lp) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  if (!s->focused) SetFocus(hwnd);
  if (!(s = stateOf(hwnd)) || !s->focused) return;
  POINT at = {static_cast<short>(LOWORD(lp)), static_cast<short>(HIWORD(lp))};
  bool onButton = PtInRect(&s->buttonRect, at) != 0;
  if (typeOf(*s) != CBS_DROPDOWNLIST && !(onButton && typeOf(*s) == CBS_DROPDOWN)) return;
  if (s->dropped) {
    closeUp(hwnd, true);
    if ((s = stateOf(hwnd)) && s->tracking) {
      s->tracking = false;
      ReleaseCapture();
    }
    return;
  }
  s->buttonDown = onButton;
  s->tracking = true;
  SetCapture(hwnd);
  dropDown(hwnd);
}

// The press that dropped the list ends: the list takes the capture and
// follows the mouse until the user picks an item or clicks elsewhere.
void onButtonUp(HWND hwnd) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  if (s->tracking) {
    s->tracking = false;
    if (typeOf(*s) == CBS_DROPDOWN) {
      int found = followEdit(*s, true);
      if (found >= 0) setEditText(hwnd, itemText(*s, found).c_str());
      if (!(s = stateOf(hwnd))) return;
    }
    ReleaseCapture();
    if ((s = stateOf(hwnd)) && s->dropped) SetCapture(s->list);
  }
  if ((s = stateOf(hwnd)) && s->buttonDown) {
    s->buttonDown = false;
    InvalidateRect(hwnd, &s->buttonRect, TRUE);
  }
}

// Dragging from the box into the list hands the press over to the list.
void onMouseMove(HWND hwnd, WPARAM wp, LPARAM lp) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s || !s->tracking) return;
  POINT at = {static_cast<short>(LOWORD(lp)), static_cast<short>(HIWORD(lp))};
  if (s->buttonDown && !PtInRect(&s->buttonRect, at)) {
    s->buttonDown = false;
    InvalidateRect(hwnd, &s->buttonRect, TRUE);
  }
  RECT inner;
  GetClientRect(s->list, &inner);
  MapWindowPoints(hwnd, s->list, &at, 1);
  if (!PtInRect(&inner, at)) return;
  s->tracking = false;
  ReleaseCapture();
  if (!(s = stateOf(hwnd))) return;
  if (typeOf(*s) == CBS_DROPDOWN) followEdit(*s, true);
  toList(*s, WM_LBUTTONDOWN, wp, MAKELPARAM(at.x, at.y));
}

// A key message's context code: Alt was held.
bool altDown(LPARAM lp) { return (lp & (1L << 29)) != 0; }

void onKeyDown(HWND hwnd, WPARAM vk, LPARAM lp) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  if ((vk == VK_RETURN || vk == VK_ESCAPE) && s->dropped) return closeUp(hwnd, vk == VK_RETURN);
  if (vk == VK_F4 && !s->extendedUI) return flip(hwnd, false);
  SendMessageA(s->edit ? s->edit : s->list, WM_KEYDOWN, vk, lp);
}

// ---- The list part (ComboLBox) ----

HWND comboOfList(HWND list) {
  Window* w = findWindow(list);
  return w ? w->ctl.combo : nullptr;
}

void tellCombo(HWND list) {
  HWND combo = comboOfList(list);
  if (combo)
    SendMessageA(combo, WM_COMMAND, MAKEWPARAM(kListId, LBN_SELCHANGE), reinterpret_cast<LPARAM>(list));
}

bool listShown(HWND list) { return IsWindowVisible(list) != 0; }

// The user moved the selection with a key or a typed letter: the combo box
// hears of it, and keeps a shown list open.
void pickByKey(HWND list, int index) {
  HWND combo = comboOfList(list);
  ComboBoxState* s = stateOf(combo);
  if (!s) return;
  SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(index), 0);
  if ((s = stateOf(combo)) && listShown(list)) s->keepOpen = true;
  tellCombo(list);
}

int listPage(HWND list) {
  RECT r;
  GetClientRect(list, &r);
  int h = std::max<int>(static_cast<int>(SendMessageA(list, LB_GETITEMHEIGHT, 0, 0)), 1);
  return std::max<int>(r.bottom / h, 1);
}

// Where a key takes the selection; -1 for keys that do not move it. With
// none yet, the first move goes to the caret's item.
int keyTarget(HWND list, WPARAM vk) {
  int count = static_cast<int>(SendMessageA(list, LB_GETCOUNT, 0, 0));
  if (!count) return -1;
  int sel = static_cast<int>(SendMessageA(list, LB_GETCURSEL, 0, 0));
  int from = sel >= 0 ? sel : static_cast<int>(SendMessageA(list, LB_GETCARETINDEX, 0, 0));
  int step = sel >= 0 ? 1 : 0;
  switch (vk) {
  case VK_UP:
  case VK_LEFT: return std::max(from - step, 0);
  case VK_DOWN:
  case VK_RIGHT: return std::min(from + step, count - 1);
  case VK_PRIOR: return std::max(from - listPage(list) + 1, 0);
  case VK_NEXT: return std::min(from + listPage(list) - 1, count - 1);
  case VK_HOME: return 0;
  case VK_END: return count - 1;
  default: return -1;
  }
}

void listKeyDown(HWND list, WPARAM vk) {
  ComboBoxState* s = stateOf(comboOfList(list));
  if (s && !isSimple(*s)) {
    // The system lets a program open and close the list with keys sent to it.
    bool opens = s->extendedUI ? (!s->dropped && (vk == VK_DOWN || vk == VK_UP)) : vk == VK_F4;
    if (opens) return flip(comboOfList(list), false);
  }
  int target = keyTarget(list, vk);
  if (target >= 0) pickByKey(list, target);
}

void listChar(HWND list, WPARAM ch) {
  char prefix[2] = {static_cast<char>(ch), 0};
  int caret = static_cast<int>(SendMessageA(list, LB_GETCARETINDEX, 0, 0));
  int found = static_cast<int>(SendMessageA(list, LB_FINDSTRING, static_cast<WPARAM>(caret),
                                            reinterpret_cast<LPARAM>(prefix)));
  if (found != LB_ERR) pickByKey(list, found);
}

int itemAt(HWND list, POINT at) {
  int count = static_cast<int>(SendMessageA(list, LB_GETCOUNT, 0, 0));
  if (!count) return -1;
  int h = std::max<int>(static_cast<int>(SendMessageA(list, LB_GETITEMHEIGHT, 0, 0)), 1);
  int top = static_cast<int>(SendMessageA(list, LB_GETTOPINDEX, 0, 0));
  int row = at.y < 0 ? -1 : static_cast<int>(at.y) / h;
  return std::clamp(top + row, 0, count - 1);
}

bool inClient(HWND list, POINT at) {
  RECT r;
  GetClientRect(list, &r);
  return PtInRect(&r, at) != 0;
}

POINT pointOf(LPARAM lp) { return POINT{static_cast<short>(LOWORD(lp)), static_cast<short>(HIWORD(lp))}; }

// The list's press flag, kept in the control state the list box does not use.
bool& pressed(Window& w) { return w.ctl.pushed; }

// A press in the items picks one (the choice is made when the button comes
// up); a press outside the list cancels the drop-down; one on its frame
// (the scroll bar) goes to the frame with the capture kept.
void listButtonDown(HWND list, LPARAM lp) {
  HWND combo = comboOfList(list);
  ComboBoxState* s = stateOf(combo);
  if (!s) return;
  POINT at = pointOf(lp);
  if (isSimple(*s) && GetFocus() != (s->edit ? s->edit : combo)) {
    SetFocus(combo);
    if (!(s = stateOf(combo))) return;
  }
  if (inClient(list, at)) {
    Window* w = findWindow(list);
    if (!w) return;
    s->droppedIndex = static_cast<int>(SendMessageA(list, LB_GETCURSEL, 0, 0));
    int i = itemAt(list, at);
    if (i >= 0) SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(i), 0);
    if ((w = findWindow(list))) pressed(*w) = true;
    SetCapture(list);
    return;
  }
  HWND before = GetCapture();
  ReleaseCapture();
  POINT screen = at;
  ClientToScreen(list, &screen);
  RECT frame;
  GetWindowRect(list, &frame);
  if (!PtInRect(&frame, screen)) {
    if ((s = stateOf(combo))) SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(s->droppedIndex), 0);
    flip(combo, false);
    return;
  }
  LRESULT hit = SendMessageA(list, WM_NCHITTEST, 0, MAKELPARAM(screen.x, screen.y));
  SendMessageA(list, WM_NCLBUTTONDOWN, static_cast<WPARAM>(hit), MAKELPARAM(screen.x, screen.y));
  if (before && findWindow(list) && listShown(list)) SetCapture(before);
}

void listButtonUp(HWND list, LPARAM lp) {
  Window* w = findWindow(list);
  HWND combo = comboOfList(list);
  ComboBoxState* s = stateOf(combo);
  if (!w || !s) return;
  // A release away from the items takes the selection back to where it was.
  if (!isSimple(*s) && (lp == -1 || !inClient(list, pointOf(lp))))
    SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(s->droppedIndex), 0);
  if (!(w = findWindow(list)) || !pressed(*w)) return;
  pressed(*w) = false;
  if (GetCapture() == list) ReleaseCapture();
  if (SendMessageA(list, LB_GETCOUNT, 0, 0) > 0) tellCombo(list);
}

// While the list is down the item under the mouse is shown selected.
void listMouseMove(HWND list, LPARAM lp) {
  ComboBoxState* s = stateOf(comboOfList(list));
  Window* w = findWindow(list);
  if (!s || !w || isSimple(*s)) return;
  POINT at = pointOf(lp);
  if (!inClient(list, at) && !pressed(*w)) return;
  int i = itemAt(list, at);
  if (i >= 0 && i != SendMessageA(list, LB_GETCURSEL, 0, 0))
    SendMessageA(list, LB_SETCURSEL, static_cast<WPARAM>(i), 0);
}

LRESULT CALLBACK comboListProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
  case WM_MOUSEACTIVATE: return MA_NOACTIVATE;
  case WM_KEYDOWN: listKeyDown(hwnd, wp); return 0;
  case WM_CHAR: listChar(hwnd, wp); return 0;
  case WM_LBUTTONDOWN:
  case WM_LBUTTONDBLCLK: listButtonDown(hwnd, lp); return 0;
  case WM_LBUTTONUP: listButtonUp(hwnd, lp); return 0;
  case WM_MOUSEMOVE: listMouseMove(hwnd, lp); return 0;
  case WM_SETFOCUS:
  case WM_KILLFOCUS: return 0;  // the combo box has the focus for its list
  default: return listBoxProc(hwnd, msg, wp, lp);
  }
}

// ---- Painting ----

void fillBox(HDC dc, const RECT& r, int color) { FillRect(dc, &r, systemColorBrush(color)); }

// Two pixels of 3-D edge: `outerTopLeft` and `outerBottomRight` outside,
// the inner pair inside them.
void edge(HDC dc, const RECT& r, int topLeft, int bottomRight) {
  fillBox(dc, makeRect(r.left, r.top, r.right, r.top + 1), topLeft);
  fillBox(dc, makeRect(r.left, r.top, r.left + 1, r.bottom), topLeft);
  fillBox(dc, makeRect(r.left, r.bottom - 1, r.right, r.bottom), bottomRight);
  fillBox(dc, makeRect(r.right - 1, r.top, r.right, r.bottom), bottomRight);
}

void sunkenEdge(HDC dc, RECT r) {
  edge(dc, r, COLOR_BTNSHADOW, COLOR_BTNHIGHLIGHT);
  InflateRect(&r, -1, -1);
  edge(dc, r, COLOR_3DDKSHADOW, COLOR_3DLIGHT);
}

// The button with its downward arrow: raised, or flat and shifted while pushed.
void paintButton(HDC dc, const ComboBoxState& s) {
  RECT r = s.buttonRect;
  fillBox(dc, r, COLOR_BTNFACE);
  if (s.buttonDown) {
    edge(dc, r, COLOR_BTNSHADOW, COLOR_BTNSHADOW);
  } else {
    edge(dc, r, COLOR_3DLIGHT, COLOR_3DDKSHADOW);
    RECT inner = r;
    InflateRect(&inner, -1, -1);
    edge(dc, inner, COLOR_BTNHIGHLIGHT, COLOR_BTNSHADOW);
  }
  int shift = s.buttonDown ? 1 : 0;
  int cx = (r.left + r.right) / 2 + shift, cy = (r.top + r.bottom) / 2 - 1 + shift;
  bool enabled = IsWindowEnabled(s.list) != 0;
  for (int row = 0; row < 4; ++row)
    fillBox(dc, makeRect(cx - 3 + row, cy + row, cx + 4 - row, cy + row + 1),
            enabled ? COLOR_BTNTEXT : COLOR_GRAYTEXT);
}

// CBS_DROPDOWNLIST draws its text part: the selected item, highlighted
// while the box has the focus and the list is up.
void paintText(HDC dc, const ComboBoxState& s, const std::string& text, HBRUSH background) {
  RECT r = s.textRect;
  InflateRect(&r, -1, -1);
  bool highlight = s.focused && !s.dropped;
  FillRect(dc, &r, highlight ? systemColorBrush(COLOR_HIGHLIGHT) : background);
  COLORREF ink = GetTextColor(dc);
  if (highlight) SetTextColor(dc, sysColor(COLOR_HIGHLIGHTTEXT));
  SetBkMode(dc, TRANSPARENT);
  RECT textArea = makeRect(r.left + 1, r.top, r.right, r.bottom);
  DrawTextA(dc, text.c_str(), static_cast<int>(text.size()), &textArea,
            DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
  SetTextColor(dc, ink);
  if (highlight) DrawFocusRect(dc, &r);
}

std::string selectedText(const ComboBoxState& s) {
  int index = static_cast<int>(toList(s, LB_GETCURSEL, 0, 0));
  return index >= 0 ? itemText(s, index) : std::string();
}

void paintTextNow(HWND hwnd, const std::string& text) {
  if (!IsWindowVisible(hwnd)) return;
  HDC dc = GetDC(hwnd);
  HBRUSH background = askParentForBrush(hwnd, dc, WM_CTLCOLOREDIT);
  if (ComboBoxState* s = stateOf(hwnd)) paintText(dc, *s, text, background);
  ReleaseDC(hwnd, dc);
}

void paint(HWND hwnd) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  HBRUSH background = askParentForBrush(hwnd, dc, WM_CTLCOLOREDIT);
  ComboBoxState* s = stateOf(hwnd);
  if (s) {
    RECT client;
    GetClientRect(hwnd, &client);
    SetBkMode(dc, TRANSPARENT);
    if (Window* w = findWindow(hwnd)) selectControlFont(dc, *w);
    if (isSimple(*s)) {
      RECT box = makeRect(0, 0, client.right, s->textRect.bottom + kBorder);
      FillRect(dc, &box, background);
      sunkenEdge(dc, box);
    } else {
      FillRect(dc, &client, background);
      sunkenEdge(dc, client);
      paintButton(dc, *s);
      if (!s->edit) paintText(dc, *s, selectedText(*s), background);
    }
  }
  EndPaint(hwnd, &ps);
}

// ---- Messages ----

HWND makeEdit(HWND hwnd, const ComboBoxState& s) {
  DWORD style = WS_CHILD | WS_VISIBLE | ES_NOHIDESEL | ES_LEFT;
  if (s.style & CBS_AUTOHSCROLL) style |= ES_AUTOHSCROLL;
  if (s.style & CBS_UPPERCASE) style |= ES_UPPERCASE;
  if (s.style & CBS_LOWERCASE) style |= ES_LOWERCASE;
  return CreateWindowExA(0, "Edit", "", style, 0, 0, 0, 0, hwnd, reinterpret_cast<HMENU>(kEditId),
                         nullptr, nullptr);
}

// The list of a drop-down style is a child of the desktop, so it can show
// outside the box's parent; the combo box it belongs to is kept with it.
HWND makeList(HWND hwnd, const ComboBoxState& s, const CREATESTRUCTA& cs) {
  DWORD style = WS_CHILD | WS_CLIPSIBLINGS | LBS_COMBOBOX | LBS_HASSTRINGS | LBS_NOTIFY |
                (cs.style & WS_VSCROLL);
  if (s.style & CBS_SORT) style |= LBS_SORT;
  if (s.style & CBS_NOINTEGRALHEIGHT) style |= LBS_NOINTEGRALHEIGHT;
  if (s.style & CBS_DISABLENOSCROLL) style |= LBS_DISABLENOSCROLL;
  DWORD exStyle = 0;
  HWND parent = hwnd;
  if (isSimple(s)) {
    style |= WS_VISIBLE;
    exStyle = WS_EX_CLIENTEDGE;
  } else {
    style |= WS_BORDER;
    exStyle = WS_EX_TOOLWINDOW;
    parent = GetDesktopWindow();
  }
  return CreateWindowExA(exStyle, "ComboLBox", nullptr, style, 0, 0, cs.cx, cs.cy, parent,
                         reinterpret_cast<HMENU>(kListId), nullptr, nullptr);
}

LRESULT create(HWND hwnd, const CREATESTRUCTA& cs) {
  Window* w = findWindow(hwnd);
  if (!w) return -1;
  auto state = std::make_shared<ComboBoxState>();
  state->style = static_cast<DWORD>(cs.style);
  state->textHeight = fontHeight(hwnd) + 2 + kItemPadding;
  state->droppedHeight = cs.cy;
  w->comboBox = state;
  HWND list = makeList(hwnd, *state, cs);
  if (!list || !(w = findWindow(hwnd)) || !w->comboBox) return -1;
  state = w->comboBox;
  state->list = list;
  if (Window* l = findWindow(list)) l->ctl.combo = hwnd;
  if (hasEdit(*state)) {
    state->edit = makeEdit(hwnd, *state);
    if (!state->edit) return -1;
  }
  fixHeight(hwnd, *state);
  if (ComboBoxState* s = stateOf(hwnd)) layOut(hwnd, *s);
  return 0;
}

// WM_SETFONT: the box keeps the font (not owned), gives it to its parts,
// and its text part takes the font's height, as does the box's own height
// for the drop-down styles.
void setFont(HWND hwnd, WPARAM wp, LPARAM lp) {
  setControlFont(hwnd, wp, 0);
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  HWND edit = s->edit, list = s->list;
  if (edit) SendMessageA(edit, WM_SETFONT, wp, FALSE);
  if (list) SendMessageA(list, WM_SETFONT, wp, FALSE);
  if (!(s = stateOf(hwnd))) return;
  s->textHeight = fontOf(reinterpret_cast<HGDIOBJ>(wp)).height() + 2 + kItemPadding;
  fixHeight(hwnd, *s);
  if ((s = stateOf(hwnd)) != nullptr) layOut(hwnd, *s);
  if (LOWORD(lp)) InvalidateRect(hwnd, nullptr, TRUE);
}

void destroy(HWND hwnd) {
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return;
  HWND list = s->list;
  s->list = nullptr;
  if (Window* l = findWindow(list)) l->ctl.combo = nullptr;
  // Children go with the box; the pop-up list is the desktop's.
  if (list && GetParent(list) != hwnd) DestroyWindow(list);
}

LRESULT getText(const ComboBoxState& s, WPARAM size, LPARAM lp) {
  if (s.edit) return SendMessageA(s.edit, WM_GETTEXT, size, lp);
  char* out = reinterpret_cast<char*>(lp);
  if (!out || !size) return 0;
  int index = static_cast<int>(toList(s, LB_GETCURSEL, 0, 0));
  std::string text = index >= 0 ? itemText(s, index) : std::string();
  size_t n = std::min(text.size(), static_cast<size_t>(size) - 1);
  text.copy(out, n);
  out[n] = 0;
  return static_cast<LRESULT>(n);
}

LRESULT getInfo(HWND hwnd, const ComboBoxState& s, COMBOBOXINFO* info) {
  if (!info) return FALSE;
  info->rcItem = s.textRect;
  info->rcButton = s.buttonRect;
  info->stateButton = isSimple(s) ? STATE_SYSTEM_INVISIBLE : (s.buttonDown ? STATE_SYSTEM_PRESSED : 0);
  info->hwndCombo = hwnd;
  info->hwndItem = s.edit;
  info->hwndList = s.list;
  return TRUE;
}

// CB_SETDROPPEDWIDTH: a width below the box's gives it back its own width
// (0 and -1 leave the width alone); the answer is the width now in use.
LRESULT setDroppedWidth(HWND hwnd, ComboBoxState& s, WPARAM wp) {
  if (isSimple(s) || static_cast<int>(wp) >= 32768) return CB_ERR;
  RECT r;
  GetWindowRect(hwnd, &r);
  int width = static_cast<int>(wp);
  if (width >= rectWidth(r)) s.droppedWidth = width;
  else if (width > 0) s.droppedWidth = 0;
  return std::max<int>(s.droppedWidth, rectWidth(r));
}

LRESULT setItemHeight(HWND hwnd, ComboBoxState& s, WPARAM wp, LPARAM lp) {
  int height = static_cast<int>(lp);
  if (height < 0 || height > kMaxHeight) return CB_ERR;
  if (static_cast<int>(wp) != -1) return toList(s, LB_SETITEMHEIGHT, wp, lp);
  s.textHeight = height + kItemPadding;
  if (!isSimple(s)) {
    RECT r;
    GetWindowRect(hwnd, &r);
    s.resizing = true;
    SetWindowPos(hwnd, nullptr, 0, 0, rectWidth(r), boxHeight(s),
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ComboBoxState* again = stateOf(hwnd);
    if (!again) return CB_ERR;
    again->resizing = false;
  }
  if (ComboBoxState* again = stateOf(hwnd)) layOut(hwnd, *again);
  InvalidateRect(hwnd, nullptr, TRUE);
  return height;
}

// CB_SETCURSEL and CB_SELECTSTRING choose without telling the parent; the
// text part follows.
LRESULT chooseQuietly(HWND hwnd, const ComboBoxState& s, UINT listMsg, WPARAM wp, LPARAM lp) {
  LRESULT r = toList(s, listMsg, wp, lp);
  if (r >= 0) toList(s, LB_SETTOPINDEX, static_cast<WPARAM>(r), 0);
  if (listMsg == LB_SETCURSEL || r >= 0) showSelection(hwnd);
  return r;
}

LRESULT editSelection(const ComboBoxState& s, UINT msg, WPARAM wp, LPARAM lp) {
  if (!s.edit) return CB_ERR;
  if (msg == CB_GETEDITSEL) return SendMessageA(s.edit, EM_GETSEL, wp, lp);
  SendMessageA(s.edit, EM_SETSEL, static_cast<WPARAM>(static_cast<short>(LOWORD(lp))),
               static_cast<short>(HIWORD(lp)));
  return TRUE;
}

LRESULT comboMessage(HWND hwnd, ComboBoxState& s, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
  case CB_ADDSTRING: return toList(s, LB_ADDSTRING, 0, lp);
  case CB_INSERTSTRING: return toList(s, LB_INSERTSTRING, wp, lp);
  case CB_DELETESTRING: return toList(s, LB_DELETESTRING, wp, 0);
  case CB_RESETCONTENT:
    toList(s, LB_RESETCONTENT, 0, 0);
    InvalidateRect(hwnd, nullptr, TRUE);
    return CB_OKAY;
  case CB_GETCOUNT: return toList(s, LB_GETCOUNT, 0, 0);
  case CB_GETCURSEL: return toList(s, LB_GETCURSEL, 0, 0);
  case CB_SETCURSEL: return chooseQuietly(hwnd, s, LB_SETCURSEL, wp, 0);
  case CB_SELECTSTRING: return chooseQuietly(hwnd, s, LB_SELECTSTRING, wp, lp);
  case CB_GETLBTEXT: return toList(s, LB_GETTEXT, wp, lp);
  case CB_GETLBTEXTLEN: return toList(s, LB_GETTEXTLEN, wp, 0);
  case CB_FINDSTRING: return toList(s, LB_FINDSTRING, wp, lp);
  case CB_FINDSTRINGEXACT: return toList(s, LB_FINDSTRINGEXACT, wp, lp);
  case CB_GETITEMDATA: return toList(s, LB_GETITEMDATA, wp, 0);
  case CB_SETITEMDATA: return toList(s, LB_SETITEMDATA, wp, lp);
  case CB_GETTOPINDEX: return toList(s, LB_GETTOPINDEX, 0, 0);
  case CB_SETTOPINDEX: return toList(s, LB_SETTOPINDEX, wp, 0) == LB_ERR ? CB_ERR : CB_OKAY;
  case CB_GETITEMHEIGHT:
    if (static_cast<int>(wp) == -1) return s.textHeight - kItemPadding;
    return toList(s, LB_GETITEMHEIGHT, wp, 0);
  case CB_SETITEMHEIGHT: return setItemHeight(hwnd, s, wp, lp);
  case CB_SHOWDROPDOWN:
    if (wp && !s.dropped) dropDown(hwnd);
    else if (!wp && s.dropped) closeUp(hwnd, false);
    return TRUE;
  case CB_GETDROPPEDSTATE: return s.dropped;
  case CB_GETDROPPEDCONTROLRECT:
    if (lp) *reinterpret_cast<RECT*>(lp) = droppedControlRect(hwnd, s);
    return CB_OKAY;
  case CB_SETDROPPEDWIDTH: return setDroppedWidth(hwnd, s, wp);
  case CB_GETDROPPEDWIDTH: return isSimple(s) ? CB_ERR : setDroppedWidth(hwnd, s, 0);
  case CB_SETEXTENDEDUI:
    if (isSimple(s)) return CB_ERR;
    s.extendedUI = wp != 0;
    return CB_OKAY;
  case CB_GETEXTENDEDUI: return s.extendedUI;
  case CB_LIMITTEXT:
    if (s.edit) SendMessageA(s.edit, EM_LIMITTEXT, wp, 0);
    return TRUE;
  case CB_GETEDITSEL:
  case CB_SETEDITSEL: return editSelection(s, msg, wp, lp);
  case CB_GETCOMBOBOXINFO: return getInfo(hwnd, s, reinterpret_cast<COMBOBOXINFO*>(lp));
  default: return CB_ERR;
  }
}

bool isComboMessage(UINT msg) {
  return (msg >= CB_GETEDITSEL && msg <= CB_INITSTORAGE) || msg == CB_GETCOMBOBOXINFO;
}

// The parts' colour questions go on to the box's parent, as the box's own do.
LRESULT forwardColor(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (w && isChild(*w)) return SendMessageA(w->parent, msg, wp, lp);
  return DefWindowProcA(hwnd, msg, wp, lp);
}

// The box has no frame of its own (it draws its edge in the client area),
// so the styles that would give it one go before its frame is measured.
void dropFrameStyles(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  w->style &= ~static_cast<DWORD>(WS_BORDER | WS_HSCROLL | WS_VSCROLL);
  w->exStyle &= ~static_cast<DWORD>(WS_EX_CLIENTEDGE);
}

LRESULT CALLBACK comboBoxProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_NCCREATE) dropFrameStyles(hwnd);
  if (msg == WM_CREATE) return create(hwnd, *reinterpret_cast<const CREATESTRUCTA*>(lp));
  ComboBoxState* s = stateOf(hwnd);
  if (!s) return DefWindowProcA(hwnd, msg, wp, lp);
  if (isComboMessage(msg)) return comboMessage(hwnd, *s, msg, wp, lp);
  switch (msg) {
  case WM_DESTROY: destroy(hwnd); return 0;
  case WM_SIZE:
    fixHeight(hwnd, *s);
    if ((s = stateOf(hwnd))) layOut(hwnd, *s);
    return 0;
  case WM_PAINT: paint(hwnd); return 0;
  case WM_ERASEBKGND: return 1;  // WM_PAINT fills with the parent's brush
  case WM_SETFONT: setFont(hwnd, wp, lp); return TRUE;  // as Wine answers
  case WM_GETFONT: {
    Window* w = findWindow(hwnd);
    return w ? reinterpret_cast<LRESULT>(w->ctl.font) : 0;
  }
  case WM_GETDLGCODE: {
    const MSG* m = reinterpret_cast<const MSG*>(lp);
    LRESULT code = DLGC_WANTCHARS | DLGC_WANTARROWS;
    if (m && s->dropped && m->message == WM_KEYDOWN && (m->wParam == VK_RETURN || m->wParam == VK_ESCAPE))
      code |= DLGC_WANTMESSAGE;
    return code;
  }
  case WM_SETFOCUS:
    if (s->edit) SetFocus(s->edit);
    else gainFocus(hwnd);
    return 0;
  case WM_KILLFOCUS: {
    HWND to = reinterpret_cast<HWND>(wp);
    if (!to || (to != s->edit && to != s->list)) loseFocus(hwnd);
    return 0;
  }
  case WM_COMMAND: onCommand(hwnd, wp, lp); return 0;
  case WM_CTLCOLOR:
  case WM_CTLCOLORMSGBOX:
  case WM_CTLCOLOREDIT:
  case WM_CTLCOLORLISTBOX:
  case WM_CTLCOLORBTN:
  case WM_CTLCOLORDLG:
  case WM_CTLCOLORSCROLLBAR:
  case WM_CTLCOLORSTATIC: return forwardColor(hwnd, msg, wp, lp);
  case WM_LBUTTONDOWN:
  case WM_LBUTTONDBLCLK: onButtonDown(hwnd, lp); return TRUE;
  case WM_LBUTTONUP: onButtonUp(hwnd); return TRUE;
  case WM_MOUSEMOVE: onMouseMove(hwnd, wp, lp); return TRUE;
  case WM_KEYDOWN: onKeyDown(hwnd, wp, lp); return 0;
  case WM_SYSKEYDOWN:
    if (altDown(lp) && (wp == VK_UP || wp == VK_DOWN)) {
      flip(hwnd, false);
      return 0;
    }
    return DefWindowProcA(hwnd, msg, wp, lp);
  case WM_CHAR: return SendMessageA(s->edit ? s->edit : s->list, msg, wp, lp);
  case WM_SETTEXT:
  case WM_CLEAR:
  case WM_CUT:
  case WM_PASTE:
  case WM_COPY: return s->edit ? SendMessageA(s->edit, msg, wp, lp) : CB_ERR;
  case WM_GETTEXT: return getText(*s, wp, lp);
  case WM_GETTEXTLENGTH: {
    if (s->edit) return SendMessageA(s->edit, msg, wp, lp);
    int index = static_cast<int>(toList(*s, LB_GETCURSEL, 0, 0));
    return index >= 0 ? toList(*s, LB_GETTEXTLEN, static_cast<WPARAM>(index), 0) : 0;
  }
  case WM_ENABLE:
    if (s->edit) EnableWindow(s->edit, static_cast<BOOL>(wp));
    if ((s = stateOf(hwnd))) EnableWindow(s->list, static_cast<BOOL>(wp));
    InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  default: return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace

bool isComboEdit(HWND edit) {
  ComboBoxState* s = stateOf(GetParent(edit));
  return s && s->edit == edit;
}

bool comboEditKey(HWND edit, UINT msg, WPARAM vk, LPARAM lp) {
  HWND combo = GetParent(edit);
  ComboBoxState* s = stateOf(combo);
  if (!s || s->edit != edit) return false;
  if (msg == WM_SYSKEYDOWN) {
    if (!altDown(lp) || (vk != VK_UP && vk != VK_DOWN)) return false;
    flip(combo, false);
    return true;
  }
  switch (vk) {
  case VK_UP:
  case VK_DOWN:
    if (s->extendedUI && !s->dropped && !isSimple(*s)) dropDown(combo);
    else listKeyDown(s->list, vk);
    return true;
  case VK_PRIOR:
  case VK_NEXT:
    if (!s->dropped) return false;
    listKeyDown(s->list, vk);
    return true;
  case VK_F4:
    if (!s->extendedUI) flip(combo, false);
    return true;
  case VK_RETURN:
  case VK_ESCAPE:
    if (!s->dropped) return false;
    closeUp(combo, vk == VK_RETURN);
    return true;
  default: return false;
  }
}

void registerComboBoxClasses() {
  registerSystemClass("ComboBox", comboBoxProc, CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW | CS_PARENTDC,
                      IDC_ARROW, kComboExtraBytes);
  registerSystemClass("ComboLBox", comboListProc, CS_DBLCLKS | CS_SAVEBITS, IDC_ARROW,
                      kComboListExtraBytes);
}

}  // namespace w32

using namespace w32;

BOOL WINAPI GetComboBoxInfo(HWND hwndCombo, PCOMBOBOXINFO pcbi) {
  return static_cast<BOOL>(SendMessageA(hwndCombo, CB_GETCOMBOBOXINFO, 0, reinterpret_cast<LPARAM>(pcbi)));
}

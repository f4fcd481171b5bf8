// The ListBox class: a column of text items of one height, kept sorted or in
// the caller's order, with single, multiple or extended selection, driven by
// LB_* messages, the keyboard, the mouse, its scroll bar and the wheel.
// Invariant: LBN_* notifications come only from the user's actions (keys,
// clicks, focus), never from LB_* messages, and only with LBS_NOTIFY; every
// one is sent, so the state is read again after it (the parent may destroy
// the control).
#include "user/user.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

namespace w32 {

struct ListItem {
  std::string text;
  ULONG_PTR data = 0;
  bool selected = false;  // multiple and extended selection only
};

struct ListBoxState {
  std::vector<ListItem> items;
  // The creation style: showing and hiding the bar changes the window's
  // WS_VSCROLL, but the control keeps the bar it was made with.
  DWORD style = 0;
  int itemHeight = kCharHeight;
  int top = 0;
  int caret = 0;      // the item with the focus rectangle
  int selected = -1;  // single: the selection; multiple: the last item reached by keys
  int anchor = -1;    // where a Shift range starts: the last item clicked or reached
  int wheelRest = 0;  // wheel delta not yet turned into lines
  bool captured = false;
  bool focused = false;
};

namespace {

constexpr int kTextIndent = 1;   // pixels between the left edge and an item's text
constexpr int kMaxItemHeight = 255;
constexpr int kWheelLines = 3;   // lines per wheel notch, the system's default
constexpr int kListBoxExtraBytes = 4;  // as the 32-bit system declares the class

ListBoxState* stateOf(HWND hwnd) {
  Window* w = findWindow(hwnd);
  return w ? w->listBox.get() : nullptr;
}

int count(const ListBoxState& s) { return static_cast<int>(s.items.size()); }
bool inRange(const ListBoxState& s, int i) { return i >= 0 && i < count(s); }
// With both styles the control selects as LBS_EXTENDEDSEL alone.
bool extendedSel(const ListBoxState& s) { return (s.style & LBS_EXTENDEDSEL) != 0; }
bool multipleSel(const ListBoxState& s) {
  return !extendedSel(s) && (s.style & LBS_MULTIPLESEL) != 0;
}
bool anyMultiSel(const ListBoxState& s) { return (s.style & (LBS_MULTIPLESEL | LBS_EXTENDEDSEL)) != 0; }

bool isSelected(const ListBoxState& s, int i) {
  return anyMultiSel(s) ? s.items[i].selected : i == s.selected;
}

int clientHeight(HWND hwnd) {
  RECT r;
  GetClientRect(hwnd, &r);
  return r.bottom;
}

// Items wholly shown, at least one.
int pageSize(HWND hwnd, const ListBoxState& s) {
  return std::max(1, clientHeight(hwnd) / s.itemHeight);
}

void notify(HWND hwnd, WORD code) {
  ListBoxState* s = stateOf(hwnd);
  if (s && (s->style & LBS_NOTIFY)) notifyParent(hwnd, code);
}

void updateScrollBar(HWND hwnd, const ListBoxState& s) {
  if (!(s.style & WS_VSCROLL)) return;
  SCROLLINFO si = {sizeof si, SIF_RANGE | SIF_PAGE | SIF_POS, 0, std::max(count(s) - 1, 0),
                   static_cast<UINT>(pageSize(hwnd, s)), s.top, 0};
  if (s.style & LBS_DISABLENOSCROLL) si.fMask |= SIF_DISABLENOSCROLL;
  SetScrollInfo(hwnd, SB_VERT, &si, TRUE);
}

void setTop(HWND hwnd, ListBoxState& s, int top) {
  top = std::clamp(top, 0, std::max(0, count(s) - pageSize(hwnd, s)));
  if (top == s.top) return;
  s.top = top;
  InvalidateRect(hwnd, nullptr, TRUE);
  updateScrollBar(hwnd, s);
}

void scrollIntoView(HWND hwnd, ListBoxState& s, int i) {
  if (i < s.top) return setTop(hwnd, s, i);
  int page = pageSize(hwnd, s);
  if (i >= s.top + page) setTop(hwnd, s, i - page + 1);
}

void contentChanged(HWND hwnd, ListBoxState& s) {
  s.top = std::clamp(s.top, 0, std::max(0, count(s) - pageSize(hwnd, s)));
  InvalidateRect(hwnd, nullptr, TRUE);
  updateScrollBar(hwnd, s);
}

void setCaret(HWND hwnd, ListBoxState& s, int i) {
  s.caret = i;
  scrollIntoView(hwnd, s, i);
  InvalidateRect(hwnd, nullptr, TRUE);
}

void selectRange(ListBoxState& s, int first, int last, bool on) {
  for (int i = std::max(first, 0); i <= last && i < count(s); ++i) s.items[i].selected = on;
}

// Single selection: the one selected item (-1 for none).
void selectOnly(HWND hwnd, ListBoxState& s, int i) {
  if (s.selected == i) return;
  s.selected = i;
  InvalidateRect(hwnd, nullptr, TRUE);
}

// ---- Strings ----

bool startsWithNoCase(const std::string& text, const char* prefix) {
  size_t n = std::strlen(prefix);
  if (n > text.size()) return false;
  for (size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(text[i])) !=
        std::tolower(static_cast<unsigned char>(prefix[i])))
      return false;
  return true;
}

// The first item after `start` (wrapping round, `start` itself last) whose
// text begins with `text`, or is it when `exact`; LB_ERR when none or when
// `text` is empty. A start outside the items searches from the first.
int findString(const ListBoxState& s, int start, const char* text, bool exact) {
  if (!text || !*text || s.items.empty()) return LB_ERR;
  if (!inRange(s, start)) start = -1;
  for (int k = 1; k <= count(s); ++k) {
    int i = (start + k) % count(s);
    const std::string& item = s.items[i].text;
    if (exact ? lstrcmpiA(item.c_str(), text) == 0 : startsWithNoCase(item, text)) return i;
  }
  return LB_ERR;
}

// Where LBS_SORT puts `text`: before the first item that does not sort
// before it, an equal item included.
int sortedPosition(const ListBoxState& s, const char* text) {
  auto at = std::lower_bound(s.items.begin(), s.items.end(), text,
                             [](const ListItem& item, const char* t) {
                               return lstrcmpiA(item.text.c_str(), t) < 0;
                             });
  return static_cast<int>(at - s.items.begin());
}

LRESULT insertItem(HWND hwnd, ListBoxState& s, int index, const char* text) {
  if (index == -1) index = count(s);
  if (index < 0 || index > count(s)) return LB_ERR;
  ListItem item;
  item.text = text ? text : "";
  s.items.insert(s.items.begin() + index, std::move(item));
  // The selection moves with its item; the caret stays where it is.
  if (s.selected >= index) ++s.selected;
  contentChanged(hwnd, s);
  return index;
}

LRESULT deleteItem(HWND hwnd, ListBoxState& s, int index) {
  if (!inRange(s, index)) return LB_ERR;
  s.items.erase(s.items.begin() + index);
  if (s.selected == index) s.selected = -1;
  else if (s.selected > index) --s.selected;
  if (s.caret >= count(s)) s.caret = std::max(count(s) - 1, 0);
  if (s.anchor >= count(s)) s.anchor = count(s) - 1;
  contentChanged(hwnd, s);
  return count(s);
}

void resetContent(HWND hwnd, ListBoxState& s) {
  s.items.clear();
  s.selected = -1;
  s.caret = s.top = 0;
  s.anchor = -1;
  contentChanged(hwnd, s);
}

// ---- Selection by messages ----

LRESULT setCurSel(HWND hwnd, ListBoxState& s, int index) {
  if (anyMultiSel(s) || index < -1 || index >= count(s)) return LB_ERR;
  if (index == -1) {
    selectOnly(hwnd, s, -1);
    return LB_ERR;
  }
  setCaret(hwnd, s, index);
  selectOnly(hwnd, s, index);
  return index;
}

LRESULT getCurSel(const ListBoxState& s) {
  if (s.items.empty()) return LB_ERR;
  if (!anyMultiSel(s) || s.selected != -1) return s.selected;
  return s.caret;
}

// LB_SETSEL: -1 means every item; selecting an item also moves the caret
// to it. A single-selection list takes it as a choice of its one item.
LRESULT setSel(HWND hwnd, ListBoxState& s, bool on, int index) {
  if (index < -1 || index >= count(s)) return LB_ERR;
  if (!anyMultiSel(s)) {
    if (on && index >= 0) {
      setCaret(hwnd, s, index);
      selectOnly(hwnd, s, index);
    } else if (!on && (index == -1 || index == s.selected)) {
      selectOnly(hwnd, s, -1);
    }
    return LB_OKAY;
  }
  if (index == -1) {
    selectRange(s, 0, count(s) - 1, on);
  } else {
    s.items[index].selected = on;
    if (on) {
      s.anchor = index;
      setCaret(hwnd, s, index);
    }
  }
  InvalidateRect(hwnd, nullptr, TRUE);
  return LB_OKAY;
}

LRESULT getSelCount(const ListBoxState& s) {
  if (!anyMultiSel(s)) return LB_ERR;
  return std::count_if(s.items.begin(), s.items.end(), [](const ListItem& i) { return i.selected; });
}

LRESULT getSelItems(const ListBoxState& s, int max, int* out) {
  if (!anyMultiSel(s)) return LB_ERR;
  int n = 0;
  for (int i = 0; i < count(s) && n < max && out; ++i)
    if (s.items[i].selected) out[n++] = i;
  return n;
}

// LB_SELITEMRANGE: the items from the low word to the high word, in either
// order, the last one cut to the items; multiple selection only.
LRESULT selectItemRange(HWND hwnd, ListBoxState& s, bool on, LPARAM lp) {
  if (!anyMultiSel(s)) return LB_ERR;
  int first = LOWORD(lp), last = HIWORD(lp);
  if (first > last) std::swap(first, last);
  selectRange(s, first, std::min(last, count(s) - 1), on);
  InvalidateRect(hwnd, nullptr, TRUE);
  return LB_OKAY;
}

LRESULT selectString(HWND hwnd, ListBoxState& s, int start, const char* text) {
  int found = findString(s, start, text, false);
  if (found == LB_ERR) return LB_ERR;
  setCaret(hwnd, s, found);
  if (!anyMultiSel(s)) selectOnly(hwnd, s, found);
  return found;
}

LRESULT getItemRect(HWND hwnd, const ListBoxState& s, int index, RECT* r) {
  if (!r) return LB_ERR;
  if (index >= count(s)) {
    *r = RECT{};
    return LB_ERR;
  }
  RECT client;
  GetClientRect(hwnd, &client);
  int y = (index - s.top) * s.itemHeight;
  *r = makeRect(0, y, client.right, y + s.itemHeight);
  return r->top < client.bottom && r->bottom > 0;
}

// ---- The user's actions ----

bool keyDown(int vk) { return (GetKeyState(vk) & 0x8000) != 0; }

// The keyboard or a typed letter moved the caret to `target`: the
// selection follows it as the style says, and the parent hears of it even
// when nothing changed.
void moveByUser(HWND hwnd, ListBoxState& s, int target) {
  bool shift = keyDown(VK_SHIFT), control = keyDown(VK_CONTROL);
  if (!anyMultiSel(s) || (extendedSel(s) && !shift) || s.anchor < 0) s.anchor = target;
  setCaret(hwnd, s, target);
  if (multipleSel(s)) {
    s.selected = target;
  } else if (extendedSel(s)) {
    s.selected = target;
    if (!control) {
      selectRange(s, 0, count(s) - 1, false);
      selectRange(s, std::min(s.anchor, target), std::max(s.anchor, target), true);
    }
  } else {
    selectOnly(hwnd, s, target);
  }
  notify(hwnd, LBN_SELCHANGE);
}

// Where a navigation key takes the caret, or -1 for other keys.
int keyTarget(HWND hwnd, const ListBoxState& s, WPARAM vk) {
  int last = count(s) - 1, page = pageSize(hwnd, s);
  switch (vk) {
  case VK_UP:
  case VK_LEFT: return std::max(s.caret - 1, 0);
  case VK_DOWN:
  case VK_RIGHT: return std::min(s.caret + 1, last);
  case VK_PRIOR: return std::max(s.caret - page + 1, 0);
  case VK_NEXT: return std::min(s.caret + page - 1, last);
  case VK_HOME: return 0;
  case VK_END: return last;
  case VK_SPACE: return extendedSel(s) ? s.caret : -1;
  default: return -1;
  }
}

void onKeyDown(HWND hwnd, ListBoxState& s, WPARAM vk) {
  if (s.items.empty()) return;
  if (vk == VK_SPACE && multipleSel(s)) {
    // Space toggles the caret's item and tells no one, as the system does.
    s.items[s.caret].selected = !s.items[s.caret].selected;
    InvalidateRect(hwnd, nullptr, TRUE);
    return;
  }
  int target = keyTarget(hwnd, s, vk);
  if (target >= 0) moveByUser(hwnd, s, target);
}

void onChar(HWND hwnd, ListBoxState& s, WPARAM ch) {
  char prefix[2] = {static_cast<char>(ch), 0};
  int found = findString(s, s.caret, prefix, false);
  if (found != LB_ERR) moveByUser(hwnd, s, found);
}

int itemAt(const ListBoxState& s, LPARAM lp) {
  int y = static_cast<short>(HIWORD(lp));
  int i = s.top + (y < 0 ? -1 : y / s.itemHeight);
  return std::clamp(i, 0, count(s) - 1);
}

void onButtonDown(HWND hwnd, WPARAM wp, LPARAM lp) {
  ListBoxState* s = stateOf(hwnd);
  if (!s) return;
  if (GetFocus() != hwnd) SetFocus(hwnd);
  if (!(s = stateOf(hwnd)) || s->items.empty()) return;
  int i = itemAt(*s, lp);
  if (multipleSel(*s) || (extendedSel(*s) && (wp & MK_CONTROL))) {
    s->items[i].selected = !s->items[i].selected;
    s->anchor = i;
  } else if (extendedSel(*s)) {
    if (!(wp & MK_SHIFT) || s->anchor < 0) s->anchor = i;
    selectRange(*s, 0, count(*s) - 1, false);
    selectRange(*s, std::min(s->anchor, i), std::max(s->anchor, i), true);
  } else {
    s->anchor = i;
    selectOnly(hwnd, *s, i);
  }
  setCaret(hwnd, *s, i);
  s->captured = true;
  SetCapture(hwnd);
}

// The click's LBN_SELCHANGE comes when the button is let go, whether or not
// the selection changed.
void onButtonUp(HWND hwnd) {
  ListBoxState* s = stateOf(hwnd);
  if (!s || !s->captured) return;
  s->captured = false;
  if (GetCapture() == hwnd) ReleaseCapture();
  if ((s = stateOf(hwnd)) && !s->items.empty()) notify(hwnd, LBN_SELCHANGE);
}

void onVScroll(HWND hwnd, ListBoxState& s, WPARAM wp) {
  int page = pageSize(hwnd, s);
  switch (LOWORD(wp)) {
  case SB_LINEUP: return setTop(hwnd, s, s.top - 1);
  case SB_LINEDOWN: return setTop(hwnd, s, s.top + 1);
  case SB_PAGEUP: return setTop(hwnd, s, s.top - page);
  case SB_PAGEDOWN: return setTop(hwnd, s, s.top + page);
  case SB_TOP: return setTop(hwnd, s, 0);
  case SB_BOTTOM: return setTop(hwnd, s, count(s));
  case SB_THUMBPOSITION: return setTop(hwnd, s, HIWORD(wp));
  case SB_THUMBTRACK: {
    // While the thumb is dragged the bar's tracking position is the truth.
    SCROLLINFO si = {sizeof si, SIF_TRACKPOS, 0, 0, 0, 0, 0};
    GetScrollInfo(hwnd, SB_VERT, &si);
    return setTop(hwnd, s, si.nTrackPos);
  }
  default: return;
  }
}

// Whole notches scroll kWheelLines items (at most a page); what is left of
// a partial notch waits for the next message.
void onWheel(HWND hwnd, ListBoxState& s, WPARAM wp) {
  int lines = std::min(kWheelLines, pageSize(hwnd, s));
  s.wheelRest += GET_WHEEL_DELTA_WPARAM(wp);
  int step = lines * s.wheelRest / WHEEL_DELTA;
  s.wheelRest -= step * WHEEL_DELTA / lines;
  setTop(hwnd, s, s.top - step);
}

// A list box without LBS_NOINTEGRALHEIGHT shows whole items only: it takes
// the part of an item off its own height.
void fitWholeItems(HWND hwnd, const ListBoxState& s) {
  if (s.style & LBS_NOINTEGRALHEIGHT) return;
  int rest = clientHeight(hwnd) % s.itemHeight;
  if (!rest) return;
  RECT r;
  GetWindowRect(hwnd, &r);
  SetWindowPos(hwnd, nullptr, 0, 0, rectWidth(r), rectHeight(r) - rest,
               SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void paint(HWND hwnd) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  HBRUSH background = askParentForBrush(hwnd, dc, WM_CTLCOLORLISTBOX);
  ListBoxState* s = stateOf(hwnd);
  if (s) {
    RECT client;
    GetClientRect(hwnd, &client);
    FillRect(dc, &client, background);
    if (Window* w = findWindow(hwnd)) selectControlFont(dc, *w);
    SetBkMode(dc, TRANSPARENT);
    COLORREF text = GetTextColor(dc);
    for (int i = s->top; i < count(*s); ++i) {
      RECT r;
      if (getItemRect(hwnd, *s, i, &r) != 1) break;
      bool selected = isSelected(*s, i);
      if (selected) FillRect(dc, &r, systemColorBrush(COLOR_HIGHLIGHT));
      SetTextColor(dc, selected ? sysColor(COLOR_HIGHLIGHTTEXT) : text);
      TextOutA(dc, r.left + kTextIndent, r.top, s->items[i].text.c_str(),
               static_cast<int>(s->items[i].text.size()));
    }
    SetTextColor(dc, text);
    RECT r;
    if (s->focused && getItemRect(hwnd, *s, s->caret, &r) == 1) DrawFocusRect(dc, &r);
  }
  EndPaint(hwnd, &ps);
}

void create(HWND hwnd, const CREATESTRUCTA& cs) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  auto s = std::make_shared<ListBoxState>();
  s->style = static_cast<DWORD>(cs.style);
  // LBS_NOSEL takes the control back to single selection.
  if (s->style & LBS_NOSEL) s->style &= ~static_cast<DWORD>(LBS_MULTIPLESEL | LBS_EXTENDEDSEL);
  HDC dc = GetDC(hwnd);
  TEXTMETRICA tm;
  if (GetTextMetricsA(dc, &tm)) s->itemHeight = tm.tmHeight;
  ReleaseDC(hwnd, dc);
  w->listBox = s;
  updateScrollBar(hwnd, *s);
}

LRESULT itemMessage(HWND hwnd, ListBoxState& s, UINT msg, WPARAM wp, LPARAM lp) {
  int index = static_cast<int>(wp);
  switch (msg) {
  case LB_ADDSTRING: {
    const char* text = reinterpret_cast<const char*>(lp);
    return insertItem(hwnd, s, (s.style & LBS_SORT) ? sortedPosition(s, text ? text : "") : -1,
                      text);
  }
  case LB_INSERTSTRING: return insertItem(hwnd, s, index, reinterpret_cast<const char*>(lp));
  case LB_DELETESTRING: return deleteItem(hwnd, s, index);
  case LB_RESETCONTENT: resetContent(hwnd, s); return LB_OKAY;
  case LB_GETCOUNT: return count(s);
  case LB_GETTEXT:
    if (!inRange(s, index)) return LB_ERR;
    if (lp) std::strcpy(reinterpret_cast<char*>(lp), s.items[index].text.c_str());
    return static_cast<LRESULT>(s.items[index].text.size());
  case LB_GETTEXTLEN:
    return inRange(s, index) ? static_cast<LRESULT>(s.items[index].text.size()) : LB_ERR;
  case LB_SETITEMDATA:
    if (!inRange(s, index)) return LB_ERR;
    s.items[index].data = static_cast<ULONG_PTR>(lp);
    return TRUE;
  case LB_GETITEMDATA:
    return inRange(s, index) ? static_cast<LRESULT>(s.items[index].data) : LB_ERR;
  case LB_FINDSTRING:
  case LB_FINDSTRINGEXACT:
    return findString(s, index, reinterpret_cast<const char*>(lp), msg == LB_FINDSTRINGEXACT);
  default: return LB_ERR;
  }
}

LRESULT selectionMessage(HWND hwnd, ListBoxState& s, UINT msg, WPARAM wp, LPARAM lp) {
  int index = static_cast<int>(wp);
  switch (msg) {
  case LB_SELECTSTRING: return selectString(hwnd, s, index, reinterpret_cast<const char*>(lp));
  case LB_SETCURSEL: return setCurSel(hwnd, s, index);
  case LB_GETCURSEL: return getCurSel(s);
  case LB_SETSEL: return setSel(hwnd, s, wp != 0, static_cast<int>(lp));
  case LB_GETSEL: return inRange(s, index) ? (isSelected(s, index) ? 1 : 0) : LB_ERR;
  case LB_GETSELCOUNT: return getSelCount(s);
  case LB_GETSELITEMS: return getSelItems(s, index, reinterpret_cast<int*>(lp));
  case LB_SELITEMRANGE: return selectItemRange(hwnd, s, wp != 0, lp);
  case LB_GETANCHORINDEX: return s.anchor;
  case LB_SETANCHORINDEX:
    if (!inRange(s, index)) return LB_ERR;
    s.anchor = index;
    return LB_OKAY;
  case LB_GETCARETINDEX: return s.caret;
  case LB_SETCARETINDEX:
    if (!anyMultiSel(s) || !inRange(s, index)) return LB_ERR;
    setCaret(hwnd, s, index);
    return LB_OKAY;
  default: return LB_ERR;
  }
}

// The items take the height of the new font's cell, as LB_SETITEMHEIGHT
// would set it, without repainting unless lParam asks.
void setFont(HWND hwnd, ListBoxState& s, WPARAM wp, LPARAM lp) {
  setControlFont(hwnd, wp, 0);
  TEXTMETRICA tm;
  fillTextMetrics(fontOf(reinterpret_cast<HGDIOBJ>(wp)), &tm);
  s.itemHeight = static_cast<int>(tm.tmHeight);
  s.top = std::clamp(s.top, 0, std::max(0, count(s) - pageSize(hwnd, s)));
  updateScrollBar(hwnd, s);
  if (LOWORD(lp)) InvalidateRect(hwnd, nullptr, TRUE);
}

LRESULT viewMessage(HWND hwnd, ListBoxState& s, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
  case LB_GETITEMRECT:
    return getItemRect(hwnd, s, static_cast<int>(wp), reinterpret_cast<RECT*>(lp));
  case LB_GETITEMHEIGHT: return s.itemHeight;
  case LB_SETITEMHEIGHT: {
    // The whole of lParam is the height: a high word makes it too tall.
    if (static_cast<UINT>(lp) > kMaxItemHeight) return LB_ERR;
    s.itemHeight = std::max(static_cast<int>(lp), 1);  // 0 is taken as 1
    contentChanged(hwnd, s);
    return LB_OKAY;
  }
  case LB_GETTOPINDEX: return s.top;
  case LB_SETTOPINDEX:
    setTop(hwnd, s, static_cast<int>(wp));
    return LB_OKAY;
  default: return LB_ERR;
  }
}

}  // namespace

LRESULT CALLBACK listBoxProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_CREATE) {
    create(hwnd, *reinterpret_cast<const CREATESTRUCTA*>(lp));
    return 0;
  }
  ListBoxState* s = stateOf(hwnd);
  if (!s) return DefWindowProcA(hwnd, msg, wp, lp);
  switch (msg) {
  case WM_SIZE:
    fitWholeItems(hwnd, *s);
    if ((s = stateOf(hwnd))) contentChanged(hwnd, *s);
    return 0;
  case WM_PAINT: paint(hwnd); return 0;
  case WM_ERASEBKGND: return 1;  // WM_PAINT fills with the parent's brush
  case WM_GETDLGCODE: return DLGC_WANTARROWS | DLGC_WANTCHARS;
  case WM_SETFONT: setFont(hwnd, *s, wp, lp); return 0;
  case WM_GETFONT: {
    Window* w = findWindow(hwnd);
    return w ? reinterpret_cast<LRESULT>(w->ctl.font) : 0;
  }
  case WM_KILLFOCUS:
    // A click whose button-up never came ends here, as if it had.
    onButtonUp(hwnd);
    if (!(s = stateOf(hwnd))) return 0;
    [[fallthrough]];
  case WM_SETFOCUS:
    s->focused = msg == WM_SETFOCUS;
    InvalidateRect(hwnd, nullptr, TRUE);
    notify(hwnd, msg == WM_SETFOCUS ? LBN_SETFOCUS : LBN_KILLFOCUS);
    return 0;
  case WM_KEYDOWN: onKeyDown(hwnd, *s, wp); return 0;
  case WM_CHAR: onChar(hwnd, *s, wp); return 0;
  case WM_LBUTTONDOWN: onButtonDown(hwnd, wp, lp); return 0;
  case WM_LBUTTONUP: onButtonUp(hwnd); return 0;
  case WM_LBUTTONDBLCLK: notify(hwnd, LBN_DBLCLK); return 0;
  case WM_VSCROLL: onVScroll(hwnd, *s, wp); return 0;
  case WM_MOUSEWHEEL: onWheel(hwnd, *s, wp); return 0;
  case LB_ADDSTRING:
  case LB_INSERTSTRING:
  case LB_DELETESTRING:
  case LB_RESETCONTENT:
  case LB_GETCOUNT:
  case LB_GETTEXT:
  case LB_GETTEXTLEN:
  case LB_SETITEMDATA:
  case LB_GETITEMDATA:
  case LB_FINDSTRING:
  case LB_FINDSTRINGEXACT:
    return itemMessage(hwnd, *s, msg, wp, lp);
  case LB_SELECTSTRING:
  case LB_SETCURSEL:
  case LB_GETCURSEL:
  case LB_SETSEL:
  case LB_GETSEL:
  case LB_GETSELCOUNT:
  case LB_GETSELITEMS:
  case LB_SELITEMRANGE:
  case LB_GETANCHORINDEX:
  case LB_SETANCHORINDEX:
  case LB_GETCARETINDEX:
  case LB_SETCARETINDEX:
    return selectionMessage(hwnd, *s, msg, wp, lp);
  case LB_GETITEMRECT:
  case LB_GETITEMHEIGHT:
  case LB_SETITEMHEIGHT:
  case LB_GETTOPINDEX:
  case LB_SETTOPINDEX:
    return viewMessage(hwnd, *s, msg, wp, lp);
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

void registerListBoxClass() {
  registerSystemClass("ListBox", listBoxProc, CS_DBLCLKS | CS_PARENTDC, IDC_ARROW, kListBoxExtraBytes);
}

}  // namespace w32

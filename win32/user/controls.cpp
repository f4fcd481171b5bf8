// The built-in control classes: BUTTON, EDIT and SCROLLBAR, each
// with a small procedure of its own, so that programs can create them,
// talk to them and subclass them as on the system.
// Invariant: a control tells its parent only through WM_COMMAND (and asks it
// for colours through WM_CTLCOLOR*), sent, never posted, as the system does.
#include "user/user.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace w32 {

void notifyParent(HWND hwnd, WORD code) {
  Window* w = findWindow(hwnd);
  if (!w || !isChild(*w)) return;
  sendMessage(w->parent, WM_COMMAND, MAKEWPARAM(w->id, code), reinterpret_cast<LPARAM>(hwnd));
}

HBRUSH askParentForBrush(HWND hwnd, HDC dc, UINT message) {
  Window* w = findWindow(hwnd);
  HWND parent = (w && isChild(*w)) ? w->parent : hwnd;
  // A combo box's list asks the combo box, which asks its own parent.
  if (w && w->ctl.combo) parent = w->ctl.combo;
  LRESULT r = sendMessage(parent, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(hwnd));
  if (!r) r = DefWindowProcA(parent, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(hwnd));
  return reinterpret_cast<HBRUSH>(r);
}

// The font a control was given goes into each DC it paints with.
void selectControlFont(HDC dc, const Window& w) {
  if (w.ctl.font) SelectObject(dc, w.ctl.font);
}

// WM_SETFONT of the controls: the font is kept, not owned (its maker deletes
// it), and drawn with from the next paint; a nonzero lParam repaints now.
void setControlFont(HWND hwnd, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  w->ctl.font = reinterpret_cast<HFONT>(wp);
  if (LOWORD(lp)) InvalidateRect(hwnd, nullptr, TRUE);
}

namespace {

constexpr int kCheckBox = 13;  // side of a check box square, pixels

RECT clientRectOf(const Window& w) {
  return makeRect(0, 0, rectWidth(w.client), rectHeight(w.client));
}

// ---- BUTTON ----

bool isCheckType(UINT type) {
  return type == BS_CHECKBOX || type == BS_AUTOCHECKBOX || type == BS_3STATE ||
         type == BS_AUTO3STATE || type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON;
}

// The other automatic radio buttons of w's group (the siblings from the one
// with WS_GROUP before it to the next one with WS_GROUP) lose their check.
void uncheckGroup(const Window& w) {
  Window* parent = findWindow(w.parent);
  if (!parent) return;
  const std::vector<HWND>& all = parent->children;
  auto self = std::find(all.begin(), all.end(), w.hwnd);
  if (self == all.end()) return;
  auto first = self;
  while (first != all.begin()) {
    Window* c = findWindow(*first);
    if (c && (c->style & WS_GROUP)) break;
    --first;
  }
  for (auto it = first; it != all.end(); ++it) {
    Window* c = findWindow(*it);
    if (!c) continue;
    if (it != first && (c->style & WS_GROUP)) break;
    if (c != &w && (c->style & BS_TYPEMASK) == BS_AUTORADIOBUTTON && c->ctl.check) {
      c->ctl.check = BST_UNCHECKED;
      InvalidateRect(c->hwnd, nullptr, TRUE);
    }
  }
}

void buttonClicked(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  switch (w->style & BS_TYPEMASK) {
  case BS_AUTOCHECKBOX:
    w->ctl.check = w->ctl.check == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED;
    break;
  case BS_AUTO3STATE:
    w->ctl.check = (w->ctl.check + 1) % 3;
    break;
  case BS_AUTORADIOBUTTON:
    uncheckGroup(*w);
    w->ctl.check = BST_CHECKED;
    break;
  default:
    break;
  }
  InvalidateRect(hwnd, nullptr, TRUE);
  notifyParent(hwnd, BN_CLICKED);
}

// The classic check box: a sunken square, white inside, with a tick when
// checked (grey for the third state).
void drawCheckMark(HDC dc, RECT box, int check) {
  auto band = [&](LONG l, LONG t, LONG r, LONG b, int color) {
    RECT e = makeRect(l, t, r, b);
    FillRect(dc, &e, systemColorBrush(color));
  };
  band(box.left, box.top, box.right - 1, box.top + 1, COLOR_BTNSHADOW);
  band(box.left, box.top, box.left + 1, box.bottom - 1, COLOR_BTNSHADOW);
  band(box.left + 1, box.top + 1, box.right - 2, box.top + 2, COLOR_3DDKSHADOW);
  band(box.left + 1, box.top + 1, box.left + 2, box.bottom - 2, COLOR_3DDKSHADOW);
  band(box.left, box.bottom - 1, box.right, box.bottom, COLOR_BTNHIGHLIGHT);
  band(box.right - 1, box.top, box.right, box.bottom, COLOR_BTNHIGHLIGHT);
  band(box.left + 1, box.bottom - 2, box.right - 1, box.bottom - 1, COLOR_3DLIGHT);
  band(box.right - 2, box.top + 1, box.right - 1, box.bottom - 1, COLOR_3DLIGHT);
  band(box.left + 2, box.top + 2, box.right - 2, box.bottom - 2,
       check == BST_INDETERMINATE ? COLOR_BTNFACE : COLOR_WINDOW);
  if (!check) return;
  // The tick, 7 pixels wide: each column's top row, three pixels deep.
  static const int kTickTop[7] = {2, 3, 4, 3, 2, 1, 0};
  int ink = check == BST_CHECKED ? COLOR_WINDOWTEXT : COLOR_BTNSHADOW;
  for (int i = 0; i < 7; ++i) {
    LONG x = box.left + 3 + i, y = box.top + 3 + kTickTop[i];
    band(x, y, x + 1, y + 3, ink);
  }
}

// The classic radio button: a sunken circle, white inside, with a dot when
// checked.
void drawRadioMark(HDC dc, RECT box, int check) {
  HGDIOBJ pen = SelectObject(dc, GetStockObject(NULL_PEN));
  HGDIOBJ brush = SelectObject(dc, systemColorBrush(COLOR_BTNSHADOW));
  Ellipse(dc, box.left, box.top, box.right, box.bottom);
  SelectObject(dc, systemColorBrush(COLOR_WINDOW));
  Ellipse(dc, box.left + 1, box.top + 1, box.right - 1, box.bottom - 1);
  if (check) {
    SelectObject(dc, systemColorBrush(COLOR_WINDOWTEXT));
    Ellipse(dc, box.left + 4, box.top + 4, box.right - 3, box.bottom - 3);
  }
  SelectObject(dc, brush);
  SelectObject(dc, pen);
}

void paintButton(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  UINT type = static_cast<UINT>(w->style & BS_TYPEMASK);
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  // Check boxes and radio buttons stand on their parent's background, which
  // they ask for as a static control does; push buttons ask WM_CTLCOLORBTN.
  HBRUSH background =
      askParentForBrush(hwnd, dc, isCheckType(type) ? WM_CTLCOLORSTATIC : WM_CTLCOLORBTN);
  if (!(w = findWindow(hwnd))) return;
  RECT r = clientRectOf(*w);
  selectControlFont(dc, *w);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, sysColor(COLOR_BTNTEXT));
  if (isCheckType(type)) {
    FillRect(dc, &r, background);
    RECT box = makeRect(0, (rectHeight(r) - kCheckBox) / 2, kCheckBox,
                        (rectHeight(r) - kCheckBox) / 2 + kCheckBox);
    if (type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON)
      drawRadioMark(dc, box, w->ctl.check);
    else
      drawCheckMark(dc, box, w->ctl.check);
    RECT text = makeRect(kCheckBox + 4, 0, r.right, r.bottom);
    DrawTextA(dc, w->text.c_str(), -1, &text, DT_SINGLELINE | DT_VCENTER | DT_LEFT);
  } else {
    FillRect(dc, &r, systemColorBrush(COLOR_BTNFACE));
    COLORREF light = w->ctl.pushed ? COLOR_BTNSHADOW : COLOR_BTNHIGHLIGHT;
    COLORREF dark = w->ctl.pushed ? COLOR_BTNHIGHLIGHT : COLOR_3DDKSHADOW;
    RECT top = makeRect(r.left, r.top, r.right, r.top + 1);
    RECT left = makeRect(r.left, r.top, r.left + 1, r.bottom);
    RECT bottom = makeRect(r.left, r.bottom - 1, r.right, r.bottom);
    RECT right = makeRect(r.right - 1, r.top, r.right, r.bottom);
    FillRect(dc, &top, systemColorBrush(static_cast<int>(light)));
    FillRect(dc, &left, systemColorBrush(static_cast<int>(light)));
    FillRect(dc, &bottom, systemColorBrush(static_cast<int>(dark)));
    FillRect(dc, &right, systemColorBrush(static_cast<int>(dark)));
    DrawTextA(dc, w->text.c_str(), -1, &r, DT_SINGLELINE | DT_VCENTER | DT_CENTER);
  }
  EndPaint(hwnd, &ps);
}

LRESULT CALLBACK buttonProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  switch (msg) {
  case WM_PAINT:
    paintButton(hwnd);
    return 0;
  case WM_ERASEBKGND:
    return 1;
  case WM_LBUTTONDBLCLK: {
    // A double-click is a second press, except where the button tells it.
    UINT type = static_cast<UINT>(w->style & BS_TYPEMASK);
    if ((w->style & BS_NOTIFY) || type == BS_RADIOBUTTON || type == BS_OWNERDRAW) {
      notifyParent(hwnd, BN_DOUBLECLICKED);
      return 0;
    }
  }
    [[fallthrough]];
  case WM_LBUTTONDOWN:
    SetFocus(hwnd);
    if ((w = findWindow(hwnd)) == nullptr) return 0;
    w->ctl.pushed = true;
    SetCapture(hwnd);
    InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case WM_LBUTTONUP: {
    bool wasPushed = w->ctl.pushed;
    w->ctl.pushed = false;
    if (GetCapture() == hwnd) ReleaseCapture();
    InvalidateRect(hwnd, nullptr, TRUE);
    POINT pt{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))};
    if ((w = findWindow(hwnd)) && wasPushed && pointInRect(clientRectOf(*w), pt.x, pt.y))
      buttonClicked(hwnd);
    return 0;
  }
  case WM_MOUSEMOVE:
    // While the button is held the pressed look follows the cursor in and out.
    if (GetCapture() == hwnd) {
      POINT pt{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))};
      bool inside = pointInRect(clientRectOf(*w), pt.x, pt.y);
      if (inside != w->ctl.pushed) {
        w->ctl.pushed = inside;
        InvalidateRect(hwnd, nullptr, TRUE);
      }
    }
    return 0;
  case BM_CLICK:
    sendMessage(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, 0);
    sendMessage(hwnd, WM_LBUTTONUP, 0, 0);
    return 0;
  case BM_GETCHECK:
    return w->ctl.check;
  case BM_SETCHECK:
    if (isCheckType(static_cast<UINT>(w->style & BS_TYPEMASK))) {
      w->ctl.check = static_cast<int>(wp & 3);
      InvalidateRect(hwnd, nullptr, TRUE);
    }
    return 0;
  case BM_GETSTATE:
    return w->ctl.check | (w->ctl.pushed ? BST_PUSHED : 0) | (GetFocus() == hwnd ? BST_FOCUS : 0);
  case BM_SETSTATE:
    w->ctl.pushed = wp != 0;
    InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case WM_GETDLGCODE:
    switch (w->style & BS_TYPEMASK) {
    case BS_PUSHBUTTON: return DLGC_BUTTON | DLGC_UNDEFPUSHBUTTON;
    case BS_DEFPUSHBUTTON: return DLGC_BUTTON | DLGC_DEFPUSHBUTTON;
    case BS_RADIOBUTTON:
    case BS_AUTORADIOBUTTON: return DLGC_BUTTON | DLGC_RADIOBUTTON;
    case BS_GROUPBOX: return DLGC_STATIC;
    default: return DLGC_BUTTON;
    }
  case WM_SETFONT:
    setControlFont(hwnd, wp, lp);
    return 0;
  case WM_GETFONT:
    return reinterpret_cast<LRESULT>(w->ctl.font);
  case BM_SETSTYLE:
    w->style = (w->style & 0xFFFF0000) | LOWORD(wp);
    if (lp) InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case WM_SETTEXT: {
    LRESULT r = DefWindowProcA(hwnd, msg, wp, lp);
    InvalidateRect(hwnd, nullptr, TRUE);
    return r;
  }
  case WM_SETFOCUS:
    // The focus shows at once, as the system draws it: the colours are
    // asked for now, not when the queue next paints.
    InvalidateRect(hwnd, nullptr, TRUE);
    UpdateWindow(hwnd);
    return 0;
  case WM_KILLFOCUS:
    // A click in progress ends when the focus goes: the capture it took is
    // given back (which unpresses the button, below).
    if (w->ctl.pushed && GetCapture() == hwnd) ReleaseCapture();
    InvalidateRect(hwnd, nullptr, TRUE);
    UpdateWindow(hwnd);
    return 0;
  case WM_CAPTURECHANGED:
    if (w->ctl.pushed) {
      w->ctl.pushed = false;
      InvalidateRect(hwnd, nullptr, TRUE);
    }
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

// ---- EDIT ----

bool singleLine(const Window& w) { return !(w.style & ES_MULTILINE); }

constexpr int kEditMargin = 1;  // pixels between the client edge and the text

// A line of an edit control's text: where it starts and how many characters
// it shows (its line break not counted).
struct EditLine {
  DWORD start;
  DWORD length;
};

// A single-line control shows one line; a multi-line one breaks the text
// after each "\r\n", as the system's edit control does (a lone '\r' or '\n'
// is a character of its line). There is no word wrapping.
std::vector<EditLine> editLines(const Window& w) {
  std::vector<EditLine> lines;
  const std::string& t = w.text;
  DWORD start = 0;
  if (!singleLine(w)) {
    for (DWORD i = 0; i + 1 < t.size(); ++i) {
      if (t[i] != '\r' || t[i + 1] != '\n') continue;
      lines.push_back(EditLine{start, i - start});
      start = i + 2;
      ++i;
    }
  }
  lines.push_back(EditLine{start, static_cast<DWORD>(t.size()) - start});
  return lines;
}

// The line holding character index pos; the end of the text is on the last.
size_t lineOf(const std::vector<EditLine>& lines, DWORD pos) {
  size_t i = 0;
  while (i + 1 < lines.size() && lines[i + 1].start <= pos) ++i;
  return i;
}

// Where the caret stands before character index pos, in client coordinates:
// after the characters before it on its line, in the control's font (of
// fixed pitch). A place inside a line break is the end of its line.
POINT editCharPos(const Window& w, const std::vector<EditLine>& lines, DWORD pos) {
  Font font = fontOf(w.ctl.font);
  size_t line = lineOf(lines, pos);
  DWORD column = std::min(pos - lines[line].start, lines[line].length);
  return POINT{kEditMargin + static_cast<LONG>(column) * font.advance(),
               kEditMargin + static_cast<LONG>(line) * font.height()};
}

// The character index nearest to a client point: the line under it (the
// first or last beyond the text), and on it the nearer edge of the
// character under the point (the line's end beyond its last character).
DWORD editCharFromPoint(const Window& w, const std::vector<EditLine>& lines, LONG x, LONG y) {
  Font font = fontOf(w.ctl.font);
  LONG row = (y - kEditMargin) / font.height();
  size_t line = y < kEditMargin ? 0 : std::min<size_t>(static_cast<size_t>(row), lines.size() - 1);
  LONG column = (x - kEditMargin + font.advance() / 2) / font.advance();
  column = std::max<LONG>(0, std::min<LONG>(column, static_cast<LONG>(lines[line].length)));
  return lines[line].start + static_cast<DWORD>(column);
}

// The word a double-click at pos selects, on its line, by the system's
// default word breaks: back to the start of the word before pos (over the
// spaces before it), on over the rest of that word and the spaces after it.
void editWordAt(const std::string& t, const EditLine& line, DWORD pos, DWORD* from, DWORD* to) {
  const char* s = t.c_str() + line.start;
  DWORD count = line.length, i = pos - line.start;
  DWORD left = i ? i - 1 : 0, right = left;
  if (count == 0) {
    *from = *to = line.start;
    return;
  }
  if (s[left] == ' ') {
    while (left && s[left] == ' ') --left;
    if (left) {
      while (left && s[left] != ' ') --left;
      if (s[left] == ' ') ++left;
    }
  } else {
    while (left && s[left] != ' ') --left;
    if (s[left] == ' ') ++left;
  }
  if (s[right] != ' ')
    while (right < count && s[right] != ' ') ++right;
  while (right < count && s[right] == ' ') ++right;
  *from = line.start + left;
  *to = line.start + right;
}

bool lineBreakAt(const std::string& t, DWORD pos) {
  return pos + 1 < t.size() && t[pos] == '\r' && t[pos + 1] == '\n';
}

// The characters a caret step or a deletion from pos takes: a multi-line
// control's line break goes as one.
DWORD stepBack(const Window& w, DWORD pos) {
  if (pos == 0) return 0;
  return !singleLine(w) && pos >= 2 && lineBreakAt(w.text, pos - 2) ? 2 : 1;
}
DWORD stepForward(const Window& w, DWORD pos) {
  if (pos >= w.text.size()) return 0;
  return !singleLine(w) && lineBreakAt(w.text, pos) ? 2 : 1;
}

void normaliseSelection(Window& w) {
  DWORD len = static_cast<DWORD>(w.text.size());
  w.ctl.selStart = std::min(w.ctl.selStart, len);
  w.ctl.selEnd = std::min(w.ctl.selEnd, len);
}

// Moves the caret, when the control has it, to where the selection ends.
void placeCaret(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || GetFocus() != hwnd) return;
  normaliseSelection(*w);
  POINT at = editCharPos(*w, editLines(*w), w->ctl.selEnd);
  SetCaretPos(at.x, at.y);
}

void editChanged(HWND hwnd) {
  placeCaret(hwnd);
  InvalidateRect(hwnd, nullptr, TRUE);
  notifyParent(hwnd, EN_UPDATE);
  notifyParent(hwnd, EN_CHANGE);
}

// Replaces the selection with s, within the text limit; the caret follows.
void replaceSelection(HWND hwnd, const std::string& s) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  normaliseSelection(*w);
  DWORD a = std::min(w->ctl.selStart, w->ctl.selEnd), b = std::max(w->ctl.selStart, w->ctl.selEnd);
  size_t room = w->ctl.limit > w->text.size() - (b - a) ? w->ctl.limit - (w->text.size() - (b - a)) : 0;
  std::string insert = s.substr(0, std::min(room, s.size()));
  if (w->style & ES_UPPERCASE)
    for (char& c : insert) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  if (w->style & ES_LOWERCASE)
    for (char& c : insert) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  w->text.replace(a, b - a, insert);
  w->ctl.selStart = w->ctl.selEnd = a + static_cast<DWORD>(insert.size());
  editChanged(hwnd);
}

void editChar(HWND hwnd, WPARAM ch) {
  Window* w = findWindow(hwnd);
  if (!w || (w->style & ES_READONLY)) return;
  normaliseSelection(*w);
  if (ch == '\b') {
    if (w->ctl.selStart == w->ctl.selEnd) w->ctl.selStart -= stepBack(*w, w->ctl.selStart);
    if (w->ctl.selStart != w->ctl.selEnd) replaceSelection(hwnd, "");
    return;
  }
  if (ch == '\r' && !singleLine(*w)) {
    replaceSelection(hwnd, "\r\n");
    return;
  }
  if (ch < ' ' || ch > 0xff) return;
  if ((w->style & ES_NUMBER) && !isdigit(static_cast<int>(ch))) return;
  replaceSelection(hwnd, std::string(1, static_cast<char>(ch)));
}

void editKey(HWND hwnd, WPARAM vk) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  normaliseSelection(*w);
  DWORD caret = w->ctl.selEnd, len = static_cast<DWORD>(w->text.size());
  std::vector<EditLine> lines = editLines(*w);
  const EditLine& line = lines[lineOf(lines, caret)];
  bool control = (GetKeyState(VK_CONTROL) & 0x8000) != 0;
  switch (vk) {
  case VK_LEFT: caret -= stepBack(*w, caret); break;
  case VK_RIGHT: caret += stepForward(*w, caret); break;
  case VK_HOME: caret = control ? 0 : line.start; break;
  case VK_END: caret = control ? len : line.start + line.length; break;
  case VK_UP:
  case VK_DOWN: {
    // The same column on the line above or below, or that line's end.
    size_t at = lineOf(lines, caret);
    if (singleLine(*w) || (vk == VK_UP ? at == 0 : at + 1 == lines.size())) return;
    const EditLine& next = lines[vk == VK_UP ? at - 1 : at + 1];
    caret = next.start + std::min(caret - line.start, next.length);
    break;
  }
  case VK_DELETE:
    if (w->style & ES_READONLY) return;
    if (w->ctl.selStart == w->ctl.selEnd) w->ctl.selEnd += stepForward(*w, w->ctl.selEnd);
    if (w->ctl.selStart != w->ctl.selEnd) replaceSelection(hwnd, "");
    return;
  default:
    return;
  }
  w->ctl.selStart = w->ctl.selEnd = caret;
  placeCaret(hwnd);
  InvalidateRect(hwnd, nullptr, TRUE);
}

// The mouse: a press takes the focus and the capture and places the caret
// (Shift keeps the selection's other end), a move with the capture drags
// the selection's moving end, the release lets go, and a double-click
// selects the word under the point. The caret stands at the moving end.
void editMouse(HWND hwnd, UINT msg, WPARAM keys, LPARAM lp) {
  if (msg == WM_LBUTTONUP) {
    if (GetCapture() == hwnd) ReleaseCapture();
    return;
  }
  if (msg == WM_MOUSEMOVE && GetCapture() != hwnd) return;
  if (msg != WM_MOUSEMOVE && GetFocus() != hwnd) SetFocus(hwnd);
  Window* w = findWindow(hwnd);
  if (!w) return;
  normaliseSelection(*w);
  std::vector<EditLine> lines = editLines(*w);
  DWORD at = editCharFromPoint(*w, lines, static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp)));
  if (msg == WM_LBUTTONDBLCLK) {
    editWordAt(w->text, lines[lineOf(lines, at)], at, &w->ctl.selStart, &w->ctl.selEnd);
  } else {
    if (msg == WM_LBUTTONDOWN && !(keys & MK_SHIFT)) w->ctl.selStart = at;
    w->ctl.selEnd = at;
  }
  if (msg != WM_MOUSEMOVE) SetCapture(hwnd);
  if (!(w = findWindow(hwnd))) return;
  placeCaret(hwnd);
  InvalidateRect(hwnd, nullptr, TRUE);
}

void paintEdit(HWND hwnd) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  HBRUSH brush = askParentForBrush(hwnd, dc, WM_CTLCOLOREDIT);
  Window* w = findWindow(hwnd);
  if (w) {
    RECT r = clientRectOf(*w);
    FillRect(dc, &r, brush);
    selectControlFont(dc, *w);
    LONG lineHeight = fontOf(w->ctl.font).height();
    std::string shown = (w->style & ES_PASSWORD) ? std::string(w->text.size(), '*') : w->text;
    SetBkMode(dc, TRANSPARENT);
    // Each line where editCharPos places its characters, clipped to the
    // text area; the system's caret shows over them.
    LONG bottom = r.bottom - kEditMargin;
    std::vector<EditLine> lines = editLines(*w);
    normaliseSelection(*w);
    DWORD selFrom = std::min(w->ctl.selStart, w->ctl.selEnd), selTo = std::max(w->ctl.selStart, w->ctl.selEnd);
    bool focused = GetFocus() == hwnd;
    LONG advance = fontOf(w->ctl.font).advance();
    for (size_t i = 0; i < lines.size(); ++i) {
      POINT at = editCharPos(*w, lines, lines[i].start);
      if (at.y >= bottom) break;
      RECT line = makeRect(at.x, at.y, r.right - kEditMargin, std::min(bottom, at.y + lineHeight));
      DrawTextA(dc, shown.c_str() + lines[i].start, static_cast<int>(lines[i].length), &line,
                DT_SINGLELINE | DT_NOPREFIX);
      // The selected part of the line, in the highlight's colours, while
      // the control has the focus (always with ES_NOHIDESEL).
      DWORD a = std::max(selFrom, lines[i].start), b = std::min(selTo, lines[i].start + lines[i].length);
      if (a >= b || !(focused || (w->style & ES_NOHIDESEL))) continue;
      POINT left = editCharPos(*w, lines, a);
      RECT mark = makeRect(left.x, at.y, left.x + static_cast<LONG>(b - a) * advance, line.bottom);
      FillRect(dc, &mark, systemColorBrush(COLOR_HIGHLIGHT));
      COLORREF ink = SetTextColor(dc, sysColor(COLOR_HIGHLIGHTTEXT));
      DrawTextA(dc, shown.c_str() + a, static_cast<int>(b - a), &mark, DT_SINGLELINE | DT_NOPREFIX);
      SetTextColor(dc, ink);
    }
  }
  EndPaint(hwnd, &ps);
}

LRESULT editSetSel(Window& w, WPARAM wp, LPARAM lp) {
  DWORD len = static_cast<DWORD>(w.text.size());
  int start = static_cast<int>(wp), end = static_cast<int>(lp);
  if (start == -1) {
    w.ctl.selStart = w.ctl.selEnd;
    return 1;
  }
  DWORD s = static_cast<DWORD>(std::max(start, 0));
  DWORD e = end < 0 ? len : static_cast<DWORD>(end);
  w.ctl.selStart = std::min(std::min(s, e), len);
  w.ctl.selEnd = std::min(std::max(s, e), len);
  return 1;
}

LRESULT CALLBACK editProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  switch (msg) {
  case WM_CREATE:
    w->ctl.limit = singleLine(*w) ? 0x7FFFFFFE : 0xFFFFFFFF;
    return 0;
  case WM_PAINT:
    paintEdit(hwnd);
    return 0;
  case WM_ERASEBKGND:
    return 1;
  case WM_SETTEXT: {
    LRESULT r = DefWindowProcA(hwnd, msg, wp, lp);
    if ((w = findWindow(hwnd)) == nullptr) return r;
    w->ctl.selStart = w->ctl.selEnd = 0;
    // A combo box's edit part tells no one: the box reports its own changes.
    if (singleLine(*w) && !isComboEdit(hwnd)) {
      editChanged(hwnd);
      return r;
    }
    placeCaret(hwnd);
    InvalidateRect(hwnd, nullptr, TRUE);
    return r;
  }
  case WM_GETDLGCODE:
    return DLGC_WANTCHARS | DLGC_HASSETSEL | DLGC_WANTARROWS |
           (singleLine(*w) ? 0 : DLGC_WANTALLKEYS);
  case EM_SETSEL: {
    LRESULT r = editSetSel(*w, wp, lp);
    placeCaret(hwnd);
    return r;
  }
  case EM_POSFROMCHAR: {
    // Past the last character there is no character to place: -1.
    if (wp >= w->text.size()) return -1;
    POINT at = editCharPos(*w, editLines(*w), static_cast<DWORD>(wp));
    return MAKELONG(at.x, at.y);
  }
  case EM_GETLINECOUNT:
    return static_cast<LRESULT>(editLines(*w).size());
  case EM_LINEFROMCHAR: {
    // -1: the line of the selection's start (the caret's without one).
    normaliseSelection(*w);
    DWORD pos = static_cast<int>(wp) < 0 ? std::min(w->ctl.selStart, w->ctl.selEnd)
                                          : static_cast<DWORD>(wp);
    return static_cast<LRESULT>(lineOf(editLines(*w), pos));
  }
  case EM_LINEINDEX: {
    // -1: the caret's line; a line past the last: -1.
    std::vector<EditLine> lines = editLines(*w);
    normaliseSelection(*w);
    size_t line = static_cast<int>(wp) < 0 ? lineOf(lines, w->ctl.selEnd) : wp;
    return line < lines.size() ? static_cast<LRESULT>(lines[line].start) : -1;
  }
  case EM_GETSEL: {
    // In order, whichever end the caret is at.
    normaliseSelection(*w);
    DWORD from = std::min(w->ctl.selStart, w->ctl.selEnd), to = std::max(w->ctl.selStart, w->ctl.selEnd);
    if (wp) *reinterpret_cast<DWORD*>(wp) = from;
    if (lp) *reinterpret_cast<DWORD*>(lp) = to;
    return MAKELONG(from, to);
  }
  case EM_REPLACESEL:
    replaceSelection(hwnd, lp ? reinterpret_cast<const char*>(lp) : "");
    return 0;
  case EM_LIMITTEXT:
    w->ctl.limit = wp ? static_cast<UINT>(wp) : (singleLine(*w) ? 0x7FFFFFFE : 0xFFFFFFFF);
    return 0;
  case EM_GETLIMITTEXT:
    return static_cast<LRESULT>(w->ctl.limit);
  case WM_CHAR:
    editChar(hwnd, wp);
    return 0;
  case WM_KEYDOWN:
    if (comboEditKey(hwnd, msg, wp, lp)) return 0;
    editKey(hwnd, wp);
    return 0;
  case WM_SYSKEYDOWN:
    if (comboEditKey(hwnd, msg, wp, lp)) return 0;
    return DefWindowProcA(hwnd, msg, wp, lp);
  case WM_LBUTTONDOWN:
  case WM_LBUTTONDBLCLK:
  case WM_MOUSEMOVE:
  case WM_LBUTTONUP:
    editMouse(hwnd, msg, wp, lp);
    return 0;
  case WM_SETFONT:
    setControlFont(hwnd, wp, lp);
    // A caret shown meanwhile takes the new line height and place.
    if (GetFocus() == hwnd && (w = findWindow(hwnd)) != nullptr) {
      CreateCaret(hwnd, nullptr, 1, fontOf(w->ctl.font).height());
      placeCaret(hwnd);
      ShowCaret(hwnd);
    }
    return 0;
  case WM_GETFONT:
    return reinterpret_cast<LRESULT>(w->ctl.font);
  case WM_SETFOCUS:
    // The caret is the system's, one line high, while the control has the focus.
    CreateCaret(hwnd, nullptr, 1, fontOf(w->ctl.font).height());
    placeCaret(hwnd);
    ShowCaret(hwnd);
    InvalidateRect(hwnd, nullptr, TRUE);
    notifyParent(hwnd, EN_SETFOCUS);
    return 0;
  case WM_KILLFOCUS:
    DestroyCaret();
    InvalidateRect(hwnd, nullptr, TRUE);
    notifyParent(hwnd, EN_KILLFOCUS);
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace

void registerSystemClasses() {
  registerSystemClass("Button", buttonProc, CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW | CS_PARENTDC, IDC_ARROW);
  registerSystemClass("Static", staticProc, CS_DBLCLKS | CS_PARENTDC, IDC_ARROW);
  registerSystemClass("Edit", editProc, CS_DBLCLKS | CS_PARENTDC, IDC_IBEAM, kEditExtraBytes);
  registerSystemClass("ScrollBar", scrollBarProc, CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW | CS_PARENTDC,
                      IDC_ARROW, kScrollBarExtraBytes);
  registerListBoxClass();
  registerComboBoxClasses();
  registerDialogClasses();
}

}  // namespace w32

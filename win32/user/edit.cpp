// The EDIT control: single- and multi-line text with a selection, the
// system's caret, keyboard and mouse editing, undo, the clipboard, and its
// messages. The text is the window's own (WM_GETTEXT reads it as for any
// window); the layout lives in EditState: the format rectangle the text is
// laid out in, the margins, the scroll offsets and the undo record.
// Invariant: the selection's ends are character indices into the text,
// clamped to its length before use (a notification handler may change the
// text under them); the caret stands at selEnd, the anchor at selStart.
#include "user/user.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace w32 {

struct EditState {
  HWND notify = nullptr;  // CREATESTRUCT's hwndParent: a child's parent, a popup's owner
  RECT format{};          // where the text is laid out, client coordinates (EM_GETRECT)
  int leftMargin = 0;
  int rightMargin = 0;
  int xOffset = 0;          // pixels the text is scrolled to the left
  int firstLine = 0;        // the top visible line of a multi-line control
  bool border = false;      // WS_BORDER, which the control draws itself
  bool modified = false;    // EM_GETMODIFY
  bool dialogMode = false;  // a dialog asked WM_GETDLGCODE with its message
  char passwordChar = '*';
  EDITWORDBREAKPROCA wordBreak = nullptr;  // kept for EM_GETWORDBREAKPROC; lines break at spaces
  // The last edit that EM_UNDO reverses: `inserted` characters now stand at
  // undoPos where `deleted` stood. Undoing swaps them, so it is redone next.
  DWORD undoPos = 0;
  DWORD undoInserted = 0;
  std::string deleted;
};

namespace {

constexpr UINT kSingleLineMaxLimit = 0x7FFFFFFE;  // EM_SETLIMITTEXT 0, single-line
constexpr UINT kMultiLineMaxLimit = 0xFFFFFFFF;   // EM_SETLIMITTEXT 0, multi-line

bool singleLine(const Window& w) { return !(w.style & ES_MULTILINE); }

// A multi-line control wraps its lines at the format rectangle's width
// unless it scrolls sideways.
bool wraps(const Window& w) { return !singleLine(w) && !(w.style & (ES_AUTOHSCROLL | WS_HSCROLL)); }

struct Metrics {
  int advance;
  int height;
};
Metrics metricsOf(const Window& w) {
  Font f = fontOf(w.ctl.font);
  return Metrics{f.advance(), f.height()};
}

int formatWidth(const EditState& s) { return s.format.right - s.format.left; }

// A line as the control lays it out: where it starts, how many characters
// it shows, and where the next line starts (after a "\r\n", or right after
// it where a long line wraps).
struct EditLine {
  DWORD start;
  DWORD length;
  DWORD next;
};

// One hard line [from, to) cut where it is wider than the format rectangle:
// after the last space that fits, else after as many characters as fit.
void wrapLine(const std::string& t, DWORD from, DWORD to, DWORD perLine,
              std::vector<EditLine>* out) {
  while (to - from > perLine) {
    DWORD cut = from + perLine;
    DWORD space = cut;
    while (space > from && t[space] != ' ') --space;
    if (t[space] == ' ') cut = space + 1;
    out->push_back(EditLine{from, cut - from, cut});
    from = cut;
  }
  out->push_back(EditLine{from, to - from, to});
}

// A single-line control shows one line; a multi-line one breaks the text
// after each "\r\n" (a lone '\r' or '\n' is a character of its line) and,
// when it wraps, where a line is wider than the format rectangle.
std::vector<EditLine> editLines(const Window& w, const EditState& s) {
  std::vector<EditLine> lines;
  const std::string& t = w.text;
  DWORD len = static_cast<DWORD>(t.size());
  if (singleLine(w)) return {EditLine{0, len, len}};
  DWORD perLine = 0;
  if (wraps(w)) perLine = static_cast<DWORD>(std::max(1, formatWidth(s) / metricsOf(w).advance));
  DWORD start = 0;
  for (DWORD i = 0;; ++i) {
    bool end = i >= len;
    if (!end && !(t[i] == '\r' && i + 1 < len && t[i + 1] == '\n')) continue;
    if (perLine) {
      wrapLine(t, start, i, perLine, &lines);
    } else {
      lines.push_back(EditLine{start, i - start, i});
    }
    if (end) break;
    lines.back().next = i + 2;
    start = i + 2;
    ++i;
  }
  return lines;
}

// The line holding character index pos; the end of the text is on the last.
size_t lineOf(const std::vector<EditLine>& lines, DWORD pos) {
  size_t i = 0;
  while (i + 1 < lines.size() && lines[i + 1].start <= pos) ++i;
  return i;
}

int visibleLines(const Window& w, const EditState& s) {
  return std::max(1, static_cast<int>(s.format.bottom - s.format.top) / metricsOf(w).height);
}

// Where a line's first character stands: the format rectangle's left, the
// scroll offset, and the alignment of a line narrower than the rectangle.
LONG lineX(const Window& w, const EditState& s, const EditLine& line) {
  LONG width = static_cast<LONG>(line.length) * metricsOf(w).advance;
  LONG room = formatWidth(s) - width;
  LONG x = s.format.left - s.xOffset;
  if (room <= 0) return x;
  if (w.style & ES_CENTER) return x + room / 2;
  if (w.style & ES_RIGHT) return x + room;
  return x;
}

// Where the caret stands before character index pos, in client coordinates.
POINT charPos(const Window& w, const EditState& s, const std::vector<EditLine>& lines, DWORD pos) {
  size_t line = lineOf(lines, pos);
  DWORD column = std::min(pos - lines[line].start, lines[line].length);
  Metrics m = metricsOf(w);
  return POINT{lineX(w, s, lines[line]) + static_cast<LONG>(column) * m.advance,
               s.format.top + (static_cast<LONG>(line) - s.firstLine) * m.height};
}

// The character index nearest to a client point: the line under it (the
// first or last beyond the text), and on it the nearer edge of the
// character under the point (the line's end beyond its last character).
DWORD charFromPoint(const Window& w, const EditState& s, const std::vector<EditLine>& lines, LONG x,
                    LONG y) {
  Metrics m = metricsOf(w);
  LONG row = y < s.format.top ? -1 : (y - s.format.top) / m.height;
  LONG line =
      std::max<LONG>(0, std::min<LONG>(s.firstLine + row, static_cast<LONG>(lines.size()) - 1));
  const EditLine& l = lines[static_cast<size_t>(line)];
  LONG column = (x - lineX(w, s, l) + m.advance / 2) / m.advance;
  if (x < lineX(w, s, l)) column = 0;
  column = std::min<LONG>(column, static_cast<LONG>(l.length));
  return l.start + static_cast<DWORD>(column);
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

DWORD selFrom(const Window& w) { return std::min(w.ctl.selStart, w.ctl.selEnd); }
DWORD selTo(const Window& w) { return std::max(w.ctl.selStart, w.ctl.selEnd); }

// WM_COMMAND(id, code) to the window named at creation. False when the
// control did not survive it.
bool editNotify(HWND hwnd, WORD code) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return false;
  if (w->edit->notify)
    sendMessage(w->edit->notify, WM_COMMAND, MAKEWPARAM(w->id, code),
                reinterpret_cast<LPARAM>(hwnd));
  return findWindow(hwnd) != nullptr;
}

// ---- Layout ----

// The format rectangle from a rectangle of the client area: inside the
// border the control draws (its top and bottom only when a line still fits
// between them), inside the margins, at least one character wide, and as
// high as the whole lines that fit (one line for a single-line control),
// never below the client area.
void setFormatRect(Window& w, EditState& s, RECT r) {
  Metrics m = metricsOf(w);
  if (w.exStyle & WS_EX_CLIENTEDGE) {
    r.left += 1;
    r.right -= 1;
    if (r.bottom - r.top >= m.height + 2) {
      r.top += 1;
      r.bottom -= 1;
    }
  } else if (s.border) {
    int bw = systemMetric(SM_CXBORDER) + 1, bh = systemMetric(SM_CYBORDER) + 1;
    r.left += bw;
    r.right -= bw;
    if (r.bottom - r.top >= m.height + 2 * bh) {
      r.top += bh;
      r.bottom -= bh;
    }
  }
  r.left += s.leftMargin;
  r.right -= s.rightMargin;
  r.right = std::max<LONG>(r.right, r.left + m.advance);
  int lines = singleLine(w) ? 1 : std::max<int>(1, (r.bottom - r.top) / m.height);
  r.bottom = r.top + lines * m.height;
  r.bottom = std::min<LONG>(r.bottom, rectHeight(w.client));
  s.format = r;
}

void formatFromClient(Window& w, EditState& s) {
  setFormatRect(w, s, makeRect(0, 0, rectWidth(w.client), rectHeight(w.client)));
}

// Scrolls so the caret shows: its line among the visible ones, and its
// column inside the format rectangle, a third of the width at a time.
void scrollCaret(Window& w, EditState& s) {
  std::vector<EditLine> lines = editLines(w, s);
  normaliseSelection(w);
  int line = static_cast<int>(lineOf(lines, w.ctl.selEnd));
  if (!singleLine(w)) {
    int shown = visibleLines(w, s);
    if (line < s.firstLine) s.firstLine = line;
    if (line >= s.firstLine + shown) s.firstLine = line - shown + 1;
  }
  if (wraps(w)) return;
  const EditLine& l = lines[static_cast<size_t>(line)];
  int x = static_cast<int>(std::min(w.ctl.selEnd - l.start, l.length)) * metricsOf(w).advance;
  int width = formatWidth(s);
  if (x < s.xOffset) s.xOffset = std::max(0, x - width / 3);
  if (x > s.xOffset + width - 1) s.xOffset = x - width + width / 3;
}

// Moves the caret, when the control has it, to where the selection ends.
void placeCaret(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit || GetFocus() != hwnd) return;
  normaliseSelection(*w);
  POINT at = charPos(*w, *w->edit, editLines(*w, *w->edit), w->ctl.selEnd);
  SetCaretPos(at.x, at.y);
}

void refresh(HWND hwnd) {
  placeCaret(hwnd);
  InvalidateRect(hwnd, nullptr, TRUE);
}

// ---- Changing the text ----

bool fits(Window& w, EditState& s) {
  if (singleLine(w))
    return (w.style & ES_AUTOHSCROLL) ||
           static_cast<LONG>(w.text.size()) * metricsOf(w).advance <= formatWidth(s);
  return (w.style & ES_AUTOVSCROLL) ||
         static_cast<int>(editLines(w, s).size()) <= visibleLines(w, s);
}

// Notes an edit of `removed` replaced by `added` characters at pos for
// EM_UNDO: typing on at the end of the last insertion, or deleting on from
// its start, extends the same record; anything else starts a new one.
void recordUndo(EditState& s, DWORD pos, const std::string& removed, DWORD added) {
  if (!removed.empty()) {
    if (s.undoInserted && pos == s.undoPos) {
      s.deleted += removed;
    } else if (!s.undoInserted && pos + removed.size() == s.undoPos) {
      s.deleted.insert(0, removed);
      s.undoPos = pos;
    } else {
      s.deleted = removed;
      s.undoPos = pos;
    }
    s.undoInserted = 0;
  }
  if (!added) return;
  if (pos == s.undoPos || (s.undoInserted && pos == s.undoPos + s.undoInserted)) {
    s.undoInserted += added;
    return;
  }
  s.undoPos = pos;
  s.undoInserted = added;
  s.deleted.clear();
}

void emptyUndo(EditState& s) {
  s.undoInserted = 0;
  s.deleted.clear();
}

struct ReplaceHow {
  bool canUndo;
  bool honorLimit;  // the text limit, and the room a non-scrolling control has
  bool notify;      // EN_UPDATE and EN_CHANGE after the change
};

// Replaces the selection with text. Within the limit, a control that does
// not scroll keeps only what it has room for (a single-line one drops the
// inserted characters that go past its width, a multi-line one the whole
// insertion when its lines overflow) and tells EN_MAXTEXT. The caret
// follows the insertion. False when the control did not survive a
// notification.
bool replaceSelection(HWND hwnd, std::string text, ReplaceHow how) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return false;
  EditState& s = *w->edit;
  normaliseSelection(*w);
  DWORD a = selFrom(*w), b = selTo(*w);
  if (a == b && text.empty()) return true;
  if (w->style & ES_UPPERCASE)
    for (char& c : text) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  if (w->style & ES_LOWERCASE)
    for (char& c : text) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  bool maxText = false;
  size_t kept = w->text.size() - (b - a);
  if (how.honorLimit && kept + text.size() > w->ctl.limit) {
    text.resize(w->ctl.limit > kept ? w->ctl.limit - kept : 0);
    maxText = true;
  }
  std::string removed = w->text.substr(a, b - a);
  w->text.replace(a, b - a, text);
  if (how.honorLimit && !fits(*w, s)) {
    maxText = true;
    while (!text.empty() && !fits(*w, s)) {
      size_t drop = singleLine(*w) ? 1 : text.size();
      w->text.erase(a + text.size() - drop, drop);
      text.resize(text.size() - drop);
    }
  }
  if (how.canUndo) {
    recordUndo(s, a, removed, static_cast<DWORD>(text.size()));
  } else {
    emptyUndo(s);
  }
  w->ctl.selStart = w->ctl.selEnd = a + static_cast<DWORD>(text.size());
  s.modified = true;
  scrollCaret(*w, s);
  refresh(hwnd);
  if (maxText && !editNotify(hwnd, EN_MAXTEXT)) return false;
  if (!how.notify) return true;
  return editNotify(hwnd, EN_UPDATE) && editNotify(hwnd, EN_CHANGE);
}

void typed(HWND hwnd, const std::string& text) {
  replaceSelection(hwnd, text, ReplaceHow{true, true, true});
}

// WM_SETTEXT: the new text whole, beyond the limit too, the selection at
// its start, nothing to undo. Only a single-line control that is not a
// combo box's part tells its parent.
void setText(HWND hwnd, LPCSTR text) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return;
  w->ctl.selStart = 0;
  w->ctl.selEnd = static_cast<DWORD>(w->text.size());
  if (!replaceSelection(hwnd, text ? text : "", ReplaceHow{false, false, false})) return;
  if (!(w = findWindow(hwnd))) return;
  EditState& s = *w->edit;
  emptyUndo(s);
  s.xOffset = 0;
  s.modified = false;
  w->ctl.selStart = w->ctl.selEnd = 0;
  scrollCaret(*w, s);
  refresh(hwnd);
  if (singleLine(*w) && !isComboEdit(hwnd) && editNotify(hwnd, EN_UPDATE))
    editNotify(hwnd, EN_CHANGE);
}

void clearSelection(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || (w->style & ES_READONLY)) return;
  replaceSelection(hwnd, "", ReplaceHow{true, true, true});
}

// EM_UNDO: the record's deleted text back in place of what was inserted,
// selected; the record now holds the opposite change.
void undo(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit || (w->style & ES_READONLY)) return;
  EditState& s = *w->edit;
  std::string back = s.deleted;
  DWORD pos = s.undoPos;
  w->ctl.selStart = pos;
  w->ctl.selEnd = pos + s.undoInserted;
  emptyUndo(s);
  if (!replaceSelection(hwnd, back, ReplaceHow{true, true, false})) return;
  if (!(w = findWindow(hwnd))) return;
  w->ctl.selStart = pos;
  w->ctl.selEnd = pos + static_cast<DWORD>(back.size());
  refresh(hwnd);
  editNotify(hwnd, EN_CHANGE);
}

// ---- The clipboard ----

void copySelection(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  normaliseSelection(*w);
  DWORD a = selFrom(*w), b = selTo(*w);
  if (a == b) return;
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, b - a + 1);
  if (!block) return;
  char* p = static_cast<char*>(GlobalLock(block));
  memcpy(p, w->text.data() + a, b - a);
  p[b - a] = '\0';
  GlobalUnlock(block);
  if (!OpenClipboard(hwnd)) {
    GlobalFree(block);
    return;
  }
  EmptyClipboard();
  SetClipboardData(CF_TEXT, block);
  CloseClipboard();
}

// The clipboard's text replaces the selection; a single-line control takes
// it up to its first line break. A password control with nothing to paste
// still loses its selection.
void paste(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || (w->style & ES_READONLY)) return;
  if (!OpenClipboard(hwnd)) return;
  std::string text;
  bool have = false;
  if (HANDLE block = GetClipboardData(CF_TEXT)) {
    if (const char* p = static_cast<const char*>(GlobalLock(block))) {
      text.assign(p, strnlen(p, GlobalSize(block)));
      have = true;
      GlobalUnlock(block);
    }
  }
  CloseClipboard();
  // The owner may have rendered the text meanwhile, and done anything.
  if (!(w = findWindow(hwnd))) return;
  if (singleLine(*w)) {
    size_t nl = text.find('\n');
    if (nl != std::string::npos) text.resize(nl && text[nl - 1] == '\r' ? nl - 1 : nl);
  }
  if (have || (w->style & ES_PASSWORD)) typed(hwnd, text);
}

// ---- Keys ----

// Places the caret; with extend the anchor stays, so the selection grows
// or shrinks to the new place.
void moveCaret(Window& w, DWORD to, bool extend) {
  if (!extend) w.ctl.selStart = to;
  w.ctl.selEnd = to;
}

// Control with a character: Ctrl+C copies, Ctrl+V pastes, Ctrl+X cuts and
// Ctrl+Z undoes, through the messages a program can send for them.
void editChar(HWND hwnd, WPARAM ch) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return;
  normaliseSelection(*w);
  bool readOnly = (w->style & ES_READONLY) != 0;
  bool password = (w->style & ES_PASSWORD) != 0;
  bool inDialog = w->edit->dialogMode;
  switch (ch) {
    case '\r':
      // A dialog's multi-line control gives Return to the dialog unless it wants it.
      if (!singleLine(*w) && !(w->style & ES_WANTRETURN) && inDialog) return;
      [[fallthrough]];
    case '\n':
      if (!singleLine(*w) && !readOnly) typed(hwnd, "\r\n");
      return;
    case '\t':
      if (!singleLine(*w) && !readOnly && !inDialog) typed(hwnd, "\t");
      return;
    case '\b':
      if (readOnly || (GetKeyState(VK_CONTROL) & 0x8000)) return;
      if (w->ctl.selStart == w->ctl.selEnd) {
        w->ctl.selStart = w->ctl.selEnd;
        w->ctl.selEnd -= stepBack(*w, w->ctl.selEnd);
      }
      clearSelection(hwnd);
      return;
    case 0x03:
      if (!password) sendMessage(hwnd, WM_COPY, 0, 0);
      return;
    case 0x16:
      if (!readOnly) sendMessage(hwnd, WM_PASTE, 0, 0);
      return;
    case 0x18:
      if (!readOnly && !password) sendMessage(hwnd, WM_CUT, 0, 0);
      return;
    case 0x1A:
      if (!readOnly) sendMessage(hwnd, WM_UNDO, 0, 0);
      return;
    default:
      break;
  }
  if (ch < ' ' || ch == 0x7F || ch > 0xFF || readOnly) return;
  if ((w->style & ES_NUMBER) && !isdigit(static_cast<int>(ch))) return;
  typed(hwnd, std::string(1, static_cast<char>(ch)));
}

// Return, Escape and Tab in a dialog: a multi-line control passes Tab to
// the next control and Escape to the dialog; Return goes to the default
// button unless the control wants it.
void editDialogKey(HWND hwnd, WPARAM vk, bool shift, bool control) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit || !w->edit->dialogMode) return;
  HWND dialog = w->edit->notify;
  bool multi = !singleLine(*w);
  if (vk == VK_TAB && multi) {
    sendMessage(dialog, WM_NEXTDLGCTL, shift, 0);
  } else if (vk == VK_ESCAPE && multi) {
    PostMessageA(dialog, WM_CLOSE, 0, 0);
  } else if (vk == VK_RETURN && !(multi && (w->style & ES_WANTRETURN)) && !control) {
    LRESULT def = sendMessage(dialog, DM_GETDEFID, 0, 0);
    if (HIWORD(def) != DC_HASDEFID) return;
    HWND button = GetDlgItem(dialog, LOWORD(def));
    if (!button) return;
    sendMessage(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(button), TRUE);
    PostMessageA(button, WM_KEYDOWN, VK_RETURN, 0);
  }
}

void editKey(HWND hwnd, WPARAM vk) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return;
  normaliseSelection(*w);
  EditState& s = *w->edit;
  DWORD caret = w->ctl.selEnd, len = static_cast<DWORD>(w->text.size());
  std::vector<EditLine> lines = editLines(*w, s);
  size_t at = lineOf(lines, caret);
  const EditLine& line = lines[at];
  bool control = (GetKeyState(VK_CONTROL) & 0x8000) != 0;
  bool shift = (GetKeyState(VK_SHIFT) & 0x8000) != 0;
  bool readOnly = (w->style & ES_READONLY) != 0;
  switch (vk) {
    case VK_LEFT:
      moveCaret(*w, caret - stepBack(*w, caret), shift);
      break;
    case VK_RIGHT:
      moveCaret(*w, caret + stepForward(*w, caret), shift);
      break;
    case VK_HOME:
      moveCaret(*w, control ? 0 : line.start, shift);
      break;
    case VK_END:
      moveCaret(*w, control ? len : line.start + line.length, shift);
      break;
    case VK_UP:
    case VK_DOWN: {
      // The same column on the line above or below, or that line's end.
      if (singleLine(*w) || (vk == VK_UP ? at == 0 : at + 1 == lines.size())) return;
      const EditLine& next = lines[vk == VK_UP ? at - 1 : at + 1];
      moveCaret(*w, next.start + std::min(caret - line.start, next.length), shift);
      break;
    }
    case VK_DELETE:
      // Shift+Delete cuts the selection (or deletes backwards without one).
      if (readOnly || (shift && control)) return;
      if (w->ctl.selStart != w->ctl.selEnd) {
        sendMessage(hwnd, shift ? WM_CUT : WM_CLEAR, 0, 0);
        return;
      }
      w->ctl.selStart = caret;
      w->ctl.selEnd = shift     ? caret - stepBack(*w, caret)
                      : control ? line.start + line.length
                                : caret + stepForward(*w, caret);
      clearSelection(hwnd);
      return;
    case VK_INSERT:
      if (shift && !readOnly) sendMessage(hwnd, WM_PASTE, 0, 0);
      if (control) sendMessage(hwnd, WM_COPY, 0, 0);
      return;
    case 'A':
      if (!control) return;
      w->ctl.selStart = 0;
      w->ctl.selEnd = len;
      break;
    case VK_RETURN:
    case VK_ESCAPE:
    case VK_TAB:
      editDialogKey(hwnd, vk, shift, control);
      return;
    default:
      return;
  }
  scrollCaret(*w, s);
  refresh(hwnd);
}

// ---- The mouse ----

// A press takes the focus and the capture and places the caret (Shift
// keeps the selection's other end), a move with the capture drags the
// selection's moving end, the release lets go, and a double-click selects
// the word under the point. The caret stands at the moving end.
void editMouse(HWND hwnd, UINT msg, WPARAM keys, LPARAM lp) {
  if (msg == WM_LBUTTONUP) {
    if (GetCapture() == hwnd) ReleaseCapture();
    return;
  }
  if (msg == WM_MOUSEMOVE && GetCapture() != hwnd) return;
  if (msg != WM_MOUSEMOVE && GetFocus() != hwnd) SetFocus(hwnd);
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return;
  normaliseSelection(*w);
  std::vector<EditLine> lines = editLines(*w, *w->edit);
  DWORD at = charFromPoint(*w, *w->edit, lines, static_cast<SHORT>(LOWORD(lp)),
                           static_cast<SHORT>(HIWORD(lp)));
  if (msg == WM_LBUTTONDBLCLK) {
    editWordAt(w->text, lines[lineOf(lines, at)], at, &w->ctl.selStart, &w->ctl.selEnd);
  } else {
    moveCaret(*w, at, msg == WM_MOUSEMOVE || (keys & MK_SHIFT));
  }
  if (msg != WM_MOUSEMOVE) SetCapture(hwnd);
  if (!(w = findWindow(hwnd))) return;
  scrollCaret(*w, *w->edit);
  refresh(hwnd);
}

// ---- The context menu ----

// The menu a right click (or the menu key, at the control's centre) opens:
// its items are the messages they send, as the system's are numbered.
constexpr struct {
  UINT id;
  const char* text;
} kContextItems[] = {
    {EM_UNDO, "&Undo"},   {0, nullptr},          {WM_CUT, "Cu&t"}, {WM_COPY, "&Copy"},
    {WM_PASTE, "&Paste"}, {WM_CLEAR, "&Delete"}, {0, nullptr},     {EM_SETSEL, "Select &All"},
};

bool contextItemEnabled(const Window& w, const EditState& s, UINT id) {
  bool selected = w.ctl.selStart != w.ctl.selEnd;
  bool readOnly = (w.style & ES_READONLY) != 0, password = (w.style & ES_PASSWORD) != 0;
  switch (id) {
    case EM_UNDO:
      return (s.undoInserted || !s.deleted.empty()) && !readOnly;
    case WM_CUT:
      return selected && !password && !readOnly;
    case WM_COPY:
      return selected && !password;
    case WM_PASTE:
      return IsClipboardFormatAvailable(CF_TEXT) && !readOnly;
    case WM_CLEAR:
      return selected && !readOnly;
    default:
      return selFrom(w) != 0 || selTo(w) != w.text.size();
  }
}

void contextMenu(HWND hwnd, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return;
  normaliseSelection(*w);
  HMENU menu = CreatePopupMenu();
  for (const auto& item : kContextItems) {
    if (!item.id) {
      AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
      continue;
    }
    UINT state = contextItemEnabled(*w, *w->edit, item.id) ? MF_ENABLED : MF_GRAYED;
    AppendMenuA(menu, MF_STRING | state, item.id, item.text);
  }
  POINT pt{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))};
  if (pt.x == -1 && pt.y == -1) {
    pt = POINT{rectWidth(w->client) / 2, rectHeight(w->client) / 2};
    ClientToScreen(hwnd, &pt);
  }
  if (GetFocus() != hwnd) SetFocus(hwnd);
  UINT cmd = static_cast<UINT>(
      TrackPopupMenu(menu, TPM_LEFTALIGN | TPM_RIGHTBUTTON | TPM_RETURNCMD | TPM_NONOTIFY, pt.x,
                     pt.y, 0, hwnd, nullptr));
  DestroyMenu(menu);
  if (!findWindow(hwnd)) return;
  if (cmd == EM_SETSEL) {
    sendMessage(hwnd, EM_SETSEL, 0, -1);
  } else if (cmd) {
    sendMessage(hwnd, cmd == EM_UNDO ? WM_UNDO : cmd, 0, 0);
  }
}

// ---- Painting ----

void drawBorder(HDC dc, RECT r) {
  HBRUSH frame = systemColorBrush(COLOR_WINDOWFRAME);
  RECT edges[4] = {makeRect(r.left, r.top, r.right, r.top + 1),
                   makeRect(r.left, r.bottom - 1, r.right, r.bottom),
                   makeRect(r.left, r.top, r.left + 1, r.bottom),
                   makeRect(r.right - 1, r.top, r.right, r.bottom)};
  for (const RECT& e : edges) FillRect(dc, &e, frame);
}

void paintEdit(HWND hwnd) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  Window* w = findWindow(hwnd);
  // A read-only or disabled control is coloured as a static one.
  UINT ask = w && ((w->style & ES_READONLY) || !w->enabled) ? WM_CTLCOLORSTATIC : WM_CTLCOLOREDIT;
  HBRUSH brush = askParentForBrush(hwnd, dc, ask);
  w = findWindow(hwnd);
  if (w && w->edit) {
    EditState& s = *w->edit;
    RECT r = makeRect(0, 0, rectWidth(w->client), rectHeight(w->client));
    FillRect(dc, &r, brush);
    if (s.border && !(w->exStyle & WS_EX_CLIENTEDGE)) drawBorder(dc, r);
    selectControlFont(dc, *w);
    Metrics m = metricsOf(*w);
    std::string shown =
        (w->style & ES_PASSWORD) ? std::string(w->text.size(), s.passwordChar) : w->text;
    SetBkMode(dc, TRANSPARENT);
    std::vector<EditLine> lines = editLines(*w, s);
    normaliseSelection(*w);
    DWORD from = selFrom(*w), to = selTo(*w);
    bool showSelection = GetFocus() == hwnd || (w->style & ES_NOHIDESEL);
    for (size_t i = static_cast<size_t>(std::max(0, s.firstLine)); i < lines.size(); ++i) {
      POINT at = charPos(*w, s, lines, lines[i].start);
      if (at.y >= s.format.bottom) break;
      RECT clip =
          makeRect(s.format.left, at.y, s.format.right, std::min(s.format.bottom, at.y + m.height));
      ExtTextOutA(dc, at.x, at.y, ETO_CLIPPED, &clip, shown.c_str() + lines[i].start,
                  lines[i].length, nullptr);
      // The selected part of the line, in the highlight's colours, while
      // the control has the focus (always with ES_NOHIDESEL).
      DWORD a = std::max(from, lines[i].start), b = std::min(to, lines[i].start + lines[i].length);
      if (a >= b || !showSelection) continue;
      POINT left = charPos(*w, s, lines, a);
      RECT mark = makeRect(std::max(left.x, clip.left), clip.top,
                           std::min(left.x + static_cast<LONG>(b - a) * m.advance, clip.right),
                           clip.bottom);
      FillRect(dc, &mark, systemColorBrush(COLOR_HIGHLIGHT));
      COLORREF ink = SetTextColor(dc, sysColor(COLOR_HIGHLIGHTTEXT));
      ExtTextOutA(dc, left.x, at.y, ETO_CLIPPED, &mark, shown.c_str() + a, b - a, nullptr);
      SetTextColor(dc, ink);
    }
  }
  EndPaint(hwnd, &ps);
}

// ---- Messages ----

LRESULT editSetSel(Window& w, WPARAM wp, LPARAM lp) {
  DWORD len = static_cast<DWORD>(w.text.size());
  if (static_cast<int>(wp) == -1) {
    w.ctl.selStart = w.ctl.selEnd;
    return 1;
  }
  // Ends past the text (-1 among them, as unsigned) stand at its end; the
  // caret goes to the second.
  w.ctl.selStart = std::min(static_cast<DWORD>(wp), len);
  w.ctl.selEnd = std::min(static_cast<DWORD>(lp), len);
  return 1;
}

// EM_SETMARGINS: EC_USEFONTINFO asks the font, and the layer's raster
// fonts ask for none, as the system's raster fonts do.
void setMargins(EditState& s, WPARAM which, LPARAM lp) {
  int left = LOWORD(lp), right = HIWORD(lp);
  if (which & EC_LEFTMARGIN) {
    s.format.left -= s.leftMargin;
    s.leftMargin = left == EC_USEFONTINFO ? 0 : left;
    s.format.left += s.leftMargin;
  }
  if (which & EC_RIGHTMARGIN) {
    s.format.right += s.rightMargin;
    s.rightMargin = right == EC_USEFONTINFO ? 0 : right;
    s.format.right -= s.rightMargin;
  }
}

LRESULT lineIndex(Window& w, EditState& s, WPARAM wp) {
  std::vector<EditLine> lines = editLines(w, s);
  normaliseSelection(w);
  size_t line = static_cast<int>(wp) < 0 ? lineOf(lines, w.ctl.selEnd) : wp;
  return line < lines.size() ? static_cast<LRESULT>(lines[line].start) : -1;
}

// EM_LINELENGTH: the length of the line holding character wp; -1 counts
// the characters the selection leaves on its lines.
LRESULT lineLength(Window& w, EditState& s, WPARAM wp) {
  normaliseSelection(w);
  if (singleLine(w)) return static_cast<LRESULT>(w.text.size());
  std::vector<EditLine> lines = editLines(w, s);
  if (static_cast<int>(wp) == -1) {
    const EditLine& first = lines[lineOf(lines, selFrom(w))];
    const EditLine& last = lines[lineOf(lines, selTo(w))];
    if (selFrom(w) == selTo(w)) return 0;
    return static_cast<LRESULT>(selFrom(w) - first.start + last.start + last.length - selTo(w));
  }
  if (wp > w.text.size()) return 0;
  return static_cast<LRESULT>(lines[lineOf(lines, static_cast<DWORD>(wp))].length);
}

// EM_GETLINE: the line's characters into a buffer whose first WORD gives
// its size; a terminating null only where there is room for it.
LRESULT getLine(Window& w, EditState& s, WPARAM wp, LPARAM lp) {
  if (!lp) return 0;
  std::vector<EditLine> lines = editLines(w, s);
  size_t line = singleLine(w) ? 0 : wp;
  if (line >= lines.size()) return 0;
  char* out = reinterpret_cast<char*>(lp);
  WORD room = *reinterpret_cast<WORD*>(out);
  DWORD n = std::min<DWORD>(lines[line].length, room);
  memcpy(out, w.text.data() + lines[line].start, n);
  if (n < room) out[n] = '\0';
  return static_cast<LRESULT>(n);
}

LRESULT charFromPos(Window& w, EditState& s, LPARAM lp) {
  LONG x = static_cast<SHORT>(LOWORD(lp)), y = static_cast<SHORT>(HIWORD(lp));
  if (!pointInRect(makeRect(0, 0, rectWidth(w.client), rectHeight(w.client)), x, y)) return -1;
  std::vector<EditLine> lines = editLines(w, s);
  DWORD at = charFromPoint(w, s, lines, x, y);
  return MAKELONG(at, singleLine(w) ? 0 : lineOf(lines, at));
}

// EM_SCROLL: by a line or a page, never past either end; the lines moved,
// or 0 when none.
LRESULT scrollBy(HWND hwnd, Window& w, EditState& s, WPARAM code) {
  if (singleLine(w)) return 0;
  int page = visibleLines(w, s);
  int dy = code == SB_LINEUP     ? -1
           : code == SB_LINEDOWN ? 1
           : code == SB_PAGEUP   ? -page
           : code == SB_PAGEDOWN ? page
                                 : 0;
  int last = std::max(0, static_cast<int>(editLines(w, s).size()) - page);
  int to = std::max(0, std::min(s.firstLine + dy, last));
  dy = to - s.firstLine;
  if (!dy) return 0;
  s.firstLine = to;
  refresh(hwnd);
  return MAKELONG(dy, TRUE);
}

LRESULT lineScroll(HWND hwnd, Window& w, EditState& s, WPARAM dx, LPARAM dy) {
  if (singleLine(w)) return FALSE;
  int lines = static_cast<int>(editLines(w, s).size());
  s.firstLine = std::max(
      0, std::min(s.firstLine + static_cast<int>(dy), std::max(0, lines - visibleLines(w, s))));
  if (!wraps(w)) s.xOffset = std::max(0, s.xOffset + static_cast<int>(dx) * metricsOf(w).advance);
  refresh(hwnd);
  return TRUE;
}

void editCreate(Window& w, const CREATESTRUCTA* cs) {
  auto s = std::make_shared<EditState>();
  s->notify = cs ? cs->hwndParent : nullptr;
  // A border asked for (not one a caption brings) the control draws itself,
  // inside its client area; a sunken edge replaces it.
  if (cs && (cs->style & WS_BORDER) && !(cs->style & WS_DLGFRAME)) {
    s->border = !(w.exStyle & WS_EX_CLIENTEDGE);
    w.style &= ~static_cast<DWORD>(WS_BORDER);
  }
  w.ctl.limit = 30000;
  w.edit = s;
}

// WM_SETFONT: new metrics, the margins the font asks for, and the format
// rectangle laid out again; a caret shown meanwhile takes the new height.
void setFont(HWND hwnd, WPARAM wp, LPARAM lp) {
  setControlFont(hwnd, wp, lp);
  Window* w = findWindow(hwnd);
  if (!w || !w->edit) return;
  setMargins(*w->edit, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELONG(EC_USEFONTINFO, EC_USEFONTINFO));
  formatFromClient(*w, *w->edit);
  if (GetFocus() != hwnd) return;
  CreateCaret(hwnd, nullptr, 1, metricsOf(*w).height);
  placeCaret(hwnd);
  ShowCaret(hwnd);
}

LRESULT editMessage(HWND hwnd, Window& w, EditState& s, UINT msg, WPARAM wp, LPARAM lp);

LRESULT CALLBACK editProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  if (msg == WM_NCCREATE) {
    editCreate(*w, reinterpret_cast<const CREATESTRUCTA*>(lp));
    return DefWindowProcA(hwnd, msg, wp, 0);  // the text comes at WM_CREATE
  }
  if (!w->edit) return DefWindowProcA(hwnd, msg, wp, lp);
  // The window and its state are held across the call: a message may
  // destroy the window.
  WindowRef pin = pinWindow(hwnd);
  std::shared_ptr<EditState> keep = w->edit;
  return editMessage(hwnd, *pin, *keep, msg, wp, lp);
}

LRESULT editMessage(HWND hwnd, Window& w, EditState& s, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
    case WM_CREATE: {
      formatFromClient(w, s);
      // The window's name is the text, inserted quietly with the caret at its start.
      const auto* cs = reinterpret_cast<const CREATESTRUCTA*>(lp);
      w.text.clear();
      if (cs && cs->lpszName && !IS_INTRESOURCE(cs->lpszName)) w.text = cs->lpszName;
      w.ctl.selStart = w.ctl.selEnd = 0;
      return 0;
    }
    case WM_NCDESTROY:
      // What WM_GETTEXT reads goes with the control.
      w.text.clear();
      w.edit.reset();
      return DefWindowProcA(hwnd, msg, wp, lp);
    case WM_SIZE:
      // The new size's own client rectangle, whatever lParam says.
      if (wp == SIZE_RESTORED || wp == SIZE_MAXIMIZED) {
        formatFromClient(w, s);
        refresh(hwnd);
      }
      return 1;
    case WM_PAINT:
      paintEdit(hwnd);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_SETTEXT:
      setText(hwnd, reinterpret_cast<LPCSTR>(lp));
      return TRUE;
    case WM_GETDLGCODE: {
      LRESULT code = DLGC_WANTCHARS | DLGC_HASSETSEL | DLGC_WANTARROWS |
                     (singleLine(w) ? 0 : DLGC_WANTALLKEYS);
      if (lp) s.dialogMode = true;
      return code;
    }
    case EM_SETSEL: {
      LRESULT r = editSetSel(w, wp, lp);
      scrollCaret(w, s);
      refresh(hwnd);
      return r;
    }
    case EM_GETSEL: {
      // In order, whichever end the caret is at.
      normaliseSelection(w);
      DWORD from = selFrom(w), to = selTo(w);
      if (wp) *reinterpret_cast<DWORD*>(wp) = from;
      if (lp) *reinterpret_cast<DWORD*>(lp) = to;
      return MAKELONG(from, to);
    }
    case EM_POSFROMCHAR: {
      // Past the last character there is no character to place: -1.
      if (wp >= w.text.size()) return -1;
      POINT at = charPos(w, s, editLines(w, s), static_cast<DWORD>(wp));
      return MAKELONG(at.x, at.y);
    }
    case EM_CHARFROMPOS:
      return charFromPos(w, s, lp);
    case EM_GETLINECOUNT:
      return static_cast<LRESULT>(editLines(w, s).size());
    case EM_LINEFROMCHAR: {
      // -1: the line of the selection's start.
      normaliseSelection(w);
      if (singleLine(w)) return 0;
      DWORD pos = static_cast<int>(wp) < 0 ? selFrom(w) : static_cast<DWORD>(wp);
      return static_cast<LRESULT>(lineOf(editLines(w, s), pos));
    }
    case EM_LINEINDEX:
      return lineIndex(w, s, wp);
    case EM_LINELENGTH:
      return lineLength(w, s, wp);
    case EM_GETLINE:
      return getLine(w, s, wp, lp);
    case EM_GETFIRSTVISIBLELINE:
      return singleLine(w) ? s.xOffset / metricsOf(w).advance : s.firstLine;
    case EM_REPLACESEL:
      replaceSelection(hwnd, lp ? reinterpret_cast<const char*>(lp) : "",
                       ReplaceHow{wp != 0, true, true});
      return 1;
    case EM_LIMITTEXT:
      w.ctl.limit =
          wp ? static_cast<UINT>(wp) : (singleLine(w) ? kSingleLineMaxLimit : kMultiLineMaxLimit);
      return 0;
    case EM_GETLIMITTEXT:
      return static_cast<LRESULT>(w.ctl.limit);
    case EM_GETRECT:
      if (lp) *reinterpret_cast<RECT*>(lp) = s.format;
      return 0;
    case EM_SETRECT:
    case EM_SETRECTNP:
      // Only a multi-line control takes a format rectangle of the caller's.
      if (singleLine(w) || !lp) return 0;
      setFormatRect(w, s, *reinterpret_cast<const RECT*>(lp));
      if (msg == EM_SETRECT) refresh(hwnd);
      return 0;
    case EM_SETMARGINS:
      setMargins(s, wp, lp);
      refresh(hwnd);
      return 0;
    case EM_GETMARGINS:
      return MAKELONG(s.leftMargin, s.rightMargin);
    case EM_SCROLL:
      return scrollBy(hwnd, w, s, wp);
    case EM_LINESCROLL:
      return lineScroll(hwnd, w, s, wp, lp);
    case EM_SCROLLCARET:
      scrollCaret(w, s);
      refresh(hwnd);
      return 1;
    case EM_GETMODIFY:
      return s.modified;
    case EM_SETMODIFY:
      s.modified = wp != 0;
      return 0;
    case EM_CANUNDO:
      return s.undoInserted || !s.deleted.empty();
    case EM_EMPTYUNDOBUFFER:
      emptyUndo(s);
      return 0;
    case EM_UNDO:
    case WM_UNDO:
      undo(hwnd);
      return TRUE;
    case EM_SETREADONLY:
      w.style = wp ? (w.style | ES_READONLY) : (w.style & ~static_cast<DWORD>(ES_READONLY));
      InvalidateRect(hwnd, nullptr, TRUE);
      return 1;
    case EM_SETPASSWORDCHAR:
      // A single-line control's: a character turns ES_PASSWORD on, 0 off.
      if (!singleLine(w)) return 0;
      if (wp) s.passwordChar = static_cast<char>(wp);
      w.style = wp ? (w.style | ES_PASSWORD) : (w.style & ~static_cast<DWORD>(ES_PASSWORD));
      InvalidateRect(hwnd, nullptr, TRUE);
      return 0;
    case EM_GETPASSWORDCHAR:
      return (w.style & ES_PASSWORD) ? static_cast<unsigned char>(s.passwordChar) : 0;
    case EM_SETWORDBREAKPROC:
      s.wordBreak = reinterpret_cast<EDITWORDBREAKPROCA>(lp);
      return 1;
    case EM_GETWORDBREAKPROC:
      return reinterpret_cast<LRESULT>(s.wordBreak);
    case WM_CUT:
      copySelection(hwnd);
      clearSelection(hwnd);
      return 0;
    case WM_COPY:
      copySelection(hwnd);
      return 0;
    case WM_PASTE:
      paste(hwnd);
      return 0;
    case WM_CLEAR:
      clearSelection(hwnd);
      return 0;
    case WM_CHAR:
      editChar(hwnd, wp);
      return 1;
    case WM_KEYDOWN:
      if (comboEditKey(hwnd, msg, wp, lp)) return 0;
      editKey(hwnd, wp);
      return 1;
    case WM_SYSKEYDOWN:
      if (comboEditKey(hwnd, msg, wp, lp)) return 0;
      return DefWindowProcA(hwnd, msg, wp, lp);
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
    case WM_MOUSEMOVE:
    case WM_LBUTTONUP:
      editMouse(hwnd, msg, wp, lp);
      return 0;
    case WM_CONTEXTMENU:
      contextMenu(hwnd, lp);
      return 0;
    case WM_SETFONT:
      setFont(hwnd, wp, lp);
      return 0;
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(w.ctl.font);
    case WM_SETFOCUS:
      // The caret is the system's, one line high, while the control has the focus.
      CreateCaret(hwnd, nullptr, 1, metricsOf(w).height);
      placeCaret(hwnd);
      ShowCaret(hwnd);
      InvalidateRect(hwnd, nullptr, TRUE);
      editNotify(hwnd, EN_SETFOCUS);
      return 0;
    case WM_KILLFOCUS:
      DestroyCaret();
      InvalidateRect(hwnd, nullptr, TRUE);
      editNotify(hwnd, EN_KILLFOCUS);
      return 0;
    default:
      return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace

void registerEditClass() {
  registerSystemClass("Edit", editProc, CS_DBLCLKS | CS_PARENTDC, IDC_IBEAM, kEditExtraBytes);
}

}  // namespace w32

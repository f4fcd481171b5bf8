// The caret: creating, placing, showing and destroying it, and where a
// multi-line edit control keeps it as the selection moves, text is typed and
// caret keys are pressed, with the line and character positions the control
// reports. Places are printed as line and column, found from the control's
// own EM_POSFROMCHAR and the font's widths, so fonts do not show.
#include "probe.h"

#include <string>

using namespace probe;

namespace {

void printCaretPos(const char* what) {
  POINT p = {-1, -1};
  BOOL ok = GetCaretPos(&p);
  printf("%s: GetCaretPos %d (%ld,%ld)\n", what, ok, (long)p.x, (long)p.y);
}

void api() {
  puts("-- the caret");
  HWND a = createNamed("ProbeCaret", "A", WS_POPUP | WS_VISIBLE, NULL);
  HWND b = createNamed("ProbeCaret", "B", WS_POPUP | WS_VISIBLE, NULL);
  printCaretPos("before any caret");
  printf("CreateCaret(A, 0x0) %d\n", CreateCaret(a, NULL, 0, 0));
  printCaretPos("created");
  printf("SetCaretPos(5,7) %d\n", SetCaretPos(5, 7));
  printCaretPos("placed");
  for (bool show : {true, false}) {
    SetLastError(0);
    BOOL done = show ? ShowCaret(b) : HideCaret(b);
    printf("%s(B) %d error %lu\n", show ? "ShowCaret" : "HideCaret", done,
           (unsigned long)GetLastError());
  }
  printf("ShowCaret(A) %d HideCaret(NULL) %d ShowCaret(NULL) %d\n", ShowCaret(a), HideCaret(NULL),
         ShowCaret(NULL));
  printf("CreateCaret(A, 2x9) again %d\n", CreateCaret(a, NULL, 2, 9));
  printCaretPos("A's caret made again");
  printf("CreateCaret(B, 2x9) %d\n", CreateCaret(b, NULL, 2, 9));
  printCaretPos("B took the caret");
  printf("DestroyCaret %d\n", DestroyCaret());
  printCaretPos("destroyed");
  BOOL placed = SetCaretPos(8, 9);
  BOOL shown = ShowCaret(NULL);
  BOOL hidden = HideCaret(NULL);
  printf("without a caret: SetCaretPos %d ShowCaret(NULL) %d HideCaret(NULL) %d DestroyCaret %d\n",
         placed, shown, hidden, DestroyCaret());
  printCaretPos("placed without a caret");
  CreateCaret(a, NULL, 1, 10);
  SetCaretPos(3, 4);
  DestroyWindow(a);
  printCaretPos("owner destroyed");
  DestroyWindow(b);
}

// The control's place for character index i (EM_POSFROMCHAR), as x and y.
bool posFromChar(HWND edit, int i, int* x, int* y) {
  LRESULT r = SendMessageA(edit, EM_POSFROMCHAR, i, 0);
  if (r == -1) return false;
  *x = (short)LOWORD(r);
  *y = (short)HIWORD(r);
  return true;
}

// Where the caret stands, as "line L column C": the first place along the
// text, line by line, that is the caret's. A character's place is the
// control's own; the place at a line's end is its last character's plus that
// character's width, and an empty line sits a font height below the one
// before it.
void printCaretPlace(HWND edit) {
  std::string text = windowText(edit);
  HDC dc = GetDC(edit);
  HGDIOBJ old = SelectObject(dc, (HGDIOBJ)SendMessageA(edit, WM_GETFONT, 0, 0));
  TEXTMETRICA tm;
  GetTextMetricsA(dc, &tm);
  int left = 0, y = 0, line = 0, column = 0, i = 0;
  posFromChar(edit, 0, &left, &y);
  POINT caret;
  GetCaretPos(&caret);
  for (; i <= (int)text.size(); ++i, ++column) {
    bool lineEnd = i == (int)text.size() || text[i] == '\r';
    int x = left;
    if (!lineEnd) {
      posFromChar(edit, i, &x, &y);
    } else if (column > 0) {
      SIZE size;
      posFromChar(edit, i - 1, &x, &y);
      GetTextExtentPoint32A(dc, &text[i - 1], 1, &size);
      x += size.cx;
    }
    if (x == caret.x && y == caret.y) break;
    if (lineEnd && i < (int)text.size()) {
      ++line, ++i, column = -1;  // past "\r\n"
      y += tm.tmHeight;
    }
  }
  SelectObject(dc, old);
  ReleaseDC(edit, dc);
  if (i > (int)text.size())
    printf(" caret at no character's place");
  else
    printf(" caret at line %d column %d", line, column);
}

void printEdit(const char* what, HWND edit) {
  DWORD start = 0, end = 0;
  SendMessageA(edit, EM_GETSEL, (WPARAM)&start, (LPARAM)&end);
  printf("%s: sel %lu-%lu, line %d of %d starting at %d;", what, (unsigned long)start,
         (unsigned long)end, (int)SendMessageA(edit, EM_LINEFROMCHAR, (WPARAM)-1, 0),
         (int)SendMessageA(edit, EM_GETLINECOUNT, 0, 0),
         (int)SendMessageA(edit, EM_LINEINDEX, (WPARAM)-1, 0));
  printCaretPlace(edit);
  printf("\n");
}

void multiLineEdit() {
  puts("-- a multi-line edit control");
  HWND p = createNamed("ProbeCaret", "P", WS_POPUP | WS_VISIBLE, NULL);
  HWND e =
      createAt("Edit", "E", WS_CHILD | WS_VISIBLE | ES_MULTILINE | ES_AUTOHSCROLL | ES_AUTOVSCROLL,
               0, 0, 300, 120, p, 0, 0, "first\r\nsecond line");
  SetFocus(e);
  int len = (int)SendMessageA(e, WM_GETTEXTLENGTH, 0, 0);
  printf("EM_POSFROMCHAR(length %d) %ld, line of the end %d, EM_LINEINDEX(2) %d\n", len,
         (long)SendMessageA(e, EM_POSFROMCHAR, len, 0),
         (int)SendMessageA(e, EM_LINEFROMCHAR, len, 0), (int)SendMessageA(e, EM_LINEINDEX, 2, 0));

  struct Step {
    const char* what;
    UINT msg;
    WPARAM wp;  // EM_SETSEL: where the selection starts and ends
  };
  const Step steps[] = {
      {"EM_SETSEL at the end", EM_SETSEL, (WPARAM)len},
      {"EM_SETSEL(3)", EM_SETSEL, 3},
      {"EM_SETSEL(5), before the line break", EM_SETSEL, 5},
      {"EM_SETSEL(7), second line", EM_SETSEL, 7},
      {"EM_SETSEL at the end again", EM_SETSEL, (WPARAM)len},
      {"typed '!'", WM_CHAR, '!'},
      {"typed Return", WM_CHAR, '\r'},
      {"typed 'x'", WM_CHAR, 'x'},
      {"Up", WM_KEYDOWN, VK_UP},
      {"End", WM_KEYDOWN, VK_END},
      {"Home", WM_KEYDOWN, VK_HOME},
      {"Left", WM_KEYDOWN, VK_LEFT},
      {"Right", WM_KEYDOWN, VK_RIGHT},
      {"Down", WM_KEYDOWN, VK_DOWN},
      {"Up", WM_KEYDOWN, VK_UP},
      {"Backspace", WM_CHAR, '\b'},
      {"Delete", WM_KEYDOWN, VK_DELETE},
  };
  for (const Step& s : steps) {
    SendMessageA(e, s.msg, s.wp, s.msg == EM_SETSEL ? s.wp : 0);
    printEdit(s.what, e);
  }
  std::string text = windowText(e);
  for (char& c : text) c = c == '\r' ? '|' : c == '\n' ? '/' : c;
  printf("text now \"%s\"\n", text.c_str());
  DestroyWindow(p);
}

// The mouse in an edit control, by its button messages: a press places the
// caret at the nearer edge of the character under the point, Shift extends
// the selection, a drag selects (EM_GETSEL gives it in order, the caret
// stays where the drag ended) and a double-click selects a word. Points are
// a quarter and three quarters into a character's cell, from the control's
// own EM_POSFROMCHAR and the font's widths.
void mouseEdit() {
  puts("-- the mouse in an edit control");
  HWND p = createNamed("ProbeCaret", "P", WS_POPUP | WS_VISIBLE, NULL);
  HWND e = createAt("Edit", "M", WS_CHILD | WS_VISIBLE | ES_MULTILINE | ES_AUTOHSCROLL, 0, 0, 300,
                    120, p, 0, 0, "Hello world  foo\r\nsecond");
  TEXTMETRICA tm = fontMetricsOf(e);
  // The point at quarter q (1 or 3) of character i's cell, or right of the
  // end of its line (q 8), or below the text (q 9).
  auto at = [&](int i, int q) {
    int x = 0, y = 0;
    posFromChar(e, i, &x, &y);
    if (q == 9) return MAKELPARAM(x + 1, y + 4 * tm.tmHeight);
    return MAKELPARAM(x + (q == 8 ? 40 * tm.tmAveCharWidth : tm.tmAveCharWidth * q / 4),
                      y + tm.tmHeight / 2);
  };
  struct Gesture {
    const char* what;
    int from, fromQ, to, toQ;  // to < 0: a click; else a drag
    WPARAM keys;
    bool twice;
  };
  const Gesture gestures[] = {
      {"click in the left of 'l' (2)", 2, 1, -1, 0, 0, false},
      {"click in the right of 'l' (2)", 2, 3, -1, 0, 0, false},
      {"Shift+click in 'r' (8)", 8, 1, -1, 0, MK_SHIFT, false},
      {"drag from 1 to 7", 1, 1, 7, 1, 0, false},
      {"drag back from 9 to 3", 9, 1, 3, 1, 0, false},
      {"click right of the first line's end", 4, 8, -1, 0, 0, false},
      {"click below the text", 20, 9, -1, 0, 0, false},
      {"double-click in 'world'", 7, 1, -1, 0, 0, true},
      {"double-click in the spaces", 12, 1, -1, 0, 0, true},
      {"double-click in 'foo'", 14, 1, -1, 0, 0, true},
  };
  for (const Gesture& g : gestures) {
    LPARAM from = at(g.from, g.fromQ);
    SendMessageA(e, WM_LBUTTONDOWN, MK_LBUTTON | g.keys, from);
    if (g.to >= 0) SendMessageA(e, WM_MOUSEMOVE, MK_LBUTTON, at(g.to, g.toQ));
    SendMessageA(e, WM_LBUTTONUP, 0, g.to >= 0 ? at(g.to, g.toQ) : from);
    if (g.twice) {
      SendMessageA(e, WM_LBUTTONDBLCLK, MK_LBUTTON, from);
      SendMessageA(e, WM_LBUTTONUP, 0, from);
    }
    printf("focus on M %d,", GetFocus() == e);
    printEdit(g.what, e);
  }
  printf("capture after the gestures: %s\n", GetCapture() ? "taken" : "none");
  DestroyWindow(p);
}

}  // namespace

int main() {
  registerClass("ProbeCaret", loggingProc, (HBRUSH)(COLOR_WINDOW + 1));
  api();
  multiLineEdit();
  mouseEdit();
}

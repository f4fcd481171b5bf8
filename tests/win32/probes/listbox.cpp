// The list box class: filling, sorting, finding, selecting in the three
// selection modes, item geometry in units of the item height, scrolling,
// and the notifications the parent receives (in order) from messages, keys
// and the mouse.
#include "probe.h"

using namespace probe;

namespace {

const char* const kCodes[] = {"?", "SELCHANGE", "DBLCLK", "SELCANCEL", "SETFOCUS", "KILLFOCUS"};
int g_colorAsks;

LRESULT CALLBACK parentProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_COMMAND && lp) note(HIWORD(wp) < 6 ? kCodes[HIWORD(wp)] : "other");
  if (msg == WM_CTLCOLORLISTBOX) ++g_colorAsks;
  return DefWindowProcA(hwnd, msg, wp, lp);
}

void printNotes(const char* label) {
  printf("%s:%s\n", label, g_notes[0] ? g_notes : " (none)");
  g_notes[0] = 0;
}

// A list box exactly `rows` items tall inside its border.
HWND makeList(HWND parent, DWORD style, int rows, std::initializer_list<const char*> items = {}) {
  HWND lb = createAt("listbox", "", WS_CHILD | WS_VISIBLE | WS_BORDER | style, 10, 10, 150, 100,
                     parent, 0, 7);
  int h = (int)send(lb, LB_GETITEMHEIGHT, 0, 0);
  MoveWindow(lb, 10, 10, 150, rows * h + 2, TRUE);
  for (const char* item : items) sendText(lb, LB_ADDSTRING, 0, item);
  return lb;
}

// A click (or a double click) on a row of a list box scrolled to the top.
void click(HWND lb, int row, bool twice = false) {
  LPARAM at = MAKELPARAM(5, row * (int)send(lb, LB_GETITEMHEIGHT, 0, 0) + 1);
  send(lb, twice ? WM_LBUTTONDBLCLK : WM_LBUTTONDOWN, MK_LBUTTON, at);
  send(lb, WM_LBUTTONUP, 0, at);
}

void printItems(HWND lb, const char* label) {
  printf("%s:", label);
  int n = (int)send(lb, LB_GETCOUNT, 0, 0);
  for (int i = 0; i < n; ++i) {
    char buf[64];
    send(lb, LB_GETTEXT, i, (LPARAM)buf);
    printf(" %s", buf);
  }
  printf("\n");
}

// Printed once the action given (a message's result) is done; the queries
// change nothing, so their order does not matter.
void printSelection(HWND lb, const char* label, LRESULT /* action */ = 0) {
  printf("%s: cur %ld caret %ld count %ld sel", label, (long)send(lb, LB_GETCURSEL, 0, 0),
         (long)send(lb, LB_GETCARETINDEX, 0, 0), (long)send(lb, LB_GETSELCOUNT, 0, 0));
  for (int i = 0; i < send(lb, LB_GETCOUNT, 0, 0); ++i)
    if (send(lb, LB_GETSEL, i, 0) > 0) printf(" %d", i);
  printf("\n");
}

void classAndContents(HWND parent) {
  HWND lb = makeList(parent, LBS_SORT | LBS_HASSTRINGS, 4);
  char cls[32];
  GetClassNameA(lb, cls, sizeof cls);
  printf("class %s, dlgcode %#lx\n", cls, (long)send(lb, WM_GETDLGCODE, 0, 0));
  printValues(
      "empty: count cur caret top textlen gettext",
      {send(lb, LB_GETCOUNT, 0, 0), send(lb, LB_GETCURSEL, 0, 0), send(lb, LB_GETCARETINDEX, 0, 0),
       send(lb, LB_GETTOPINDEX, 0, 0), send(lb, LB_GETTEXTLEN, 0, 0), send(lb, LB_GETTEXT, 0, 0)});
  const char* const words[] = {"pear", "Apple", "banana", "apple", "Cherry", "date", "fig"};
  printf("add indices:");
  for (const char* w : words) printf(" %ld", (long)sendText(lb, LB_ADDSTRING, 0, w));
  printf("\n");
  printItems(lb, "sorted");
  printValues("insert at 1, at -1, past the end",
              {sendText(lb, LB_INSERTSTRING, 1, "zz"), sendText(lb, LB_INSERTSTRING, -1, "aa"),
               sendText(lb, LB_INSERTSTRING, 20, "x")});
  printItems(lb, "inserted unsorted");
  printValues("delete 1, 99, -1",
              {send(lb, LB_DELETESTRING, 1, 0), send(lb, LB_DELETESTRING, 99, 0),
               send(lb, LB_DELETESTRING, -1, 0)});
  char buf[32] = "";
  printf("text 2 %ld \"%s\"\n", (long)send(lb, LB_GETTEXT, 2, (LPARAM)buf), buf);
  printValues("len 2, len 99", {send(lb, LB_GETTEXTLEN, 2, 0), send(lb, LB_GETTEXTLEN, 99, 0)});
  struct Find {
    UINT msg;
    int start;
    const char* text;
  } finds[] = {
      {LB_FINDSTRING, -1, "b"},     {LB_FINDSTRING, -1, "APP"},     {LB_FINDSTRING, 1, "app"},
      {LB_FINDSTRING, 2, "app"},    {LB_FINDSTRING, 50, "pe"},      {LB_FINDSTRING, -1, "q"},
      {LB_FINDSTRING, -1, ""},      {LB_FINDSTRINGEXACT, -1, "DATE"}, {LB_FINDSTRINGEXACT, -1, "dat"},
      {LB_FINDSTRINGEXACT, 1, "apple"}, {LB_FINDSTRINGEXACT, 2, "apple"},
  };
  printf("finds:");
  for (const Find& f : finds) printf(" %ld", (long)sendText(lb, f.msg, f.start, f.text));
  printf("\n");
  printValues("item data: set, get, set 99, get 99, untouched",
              {send(lb, LB_SETITEMDATA, 3, 1234), send(lb, LB_GETITEMDATA, 3, 0),
               send(lb, LB_SETITEMDATA, 99, 1), send(lb, LB_GETITEMDATA, 99, 0),
               send(lb, LB_GETITEMDATA, 0, 0)});
  printValues("reset, count, cur", {send(lb, LB_RESETCONTENT, 0, 0), send(lb, LB_GETCOUNT, 0, 0),
                                    send(lb, LB_GETCURSEL, 0, 0)});
  printNotes("notifications from messages");
  DestroyWindow(lb);
}

void geometry(HWND parent) {
  HWND lb =
      makeList(parent, WS_VSCROLL, 4, {"a0", "a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8", "a9"});
  int h = (int)send(lb, LB_GETITEMHEIGHT, 0, 0);
  printf("item height is the font's: %d\n", h == fontMetricsOf(lb).tmHeight);
  RECT client = clientRect(lb), r;
  printf("rows shown %ld\n", (long)(client.bottom / h));
  for (int index : {0, 2, 5, 10, -1}) {
    SetRect(&r, 9, 9, 9, 9);
    LRESULT res = send(lb, LB_GETITEMRECT, index, (LPARAM)&r);
    printf("rect %d: %ld top %ld bottom-top %ld left %ld right=client %d\n", index, (long)res,
           (long)(r.top / h), (long)((r.bottom - r.top) / h), (long)r.left,
           r.right == client.right);
  }
  SCROLLINFO si = {sizeof si, SIF_ALL, 0, 0, 0, 0, 0};
  GetScrollInfo(lb, SB_VERT, &si);
  printf("scroll bar: min %d max %d page %u pos %d\n", si.nMin, si.nMax, si.nPage, si.nPos);
  printf("set top:");
  for (int top : {3, 8, 20, -1, 0}) {
    long res = (long)send(lb, LB_SETTOPINDEX, top, 0);
    printf(" %d->%ld/%ld", top, res, (long)send(lb, LB_GETTOPINDEX, 0, 0));
  }
  printf("\n");
  send(lb, LB_SETTOPINDEX, 2, 0);
  SetRect(&r, 0, 0, 0, 0);
  send(lb, LB_GETITEMRECT, 3, (LPARAM)&r);
  long top3 = r.top / h;
  send(lb, LB_GETITEMRECT, 0, (LPARAM)&r);
  printf("after top 2, rect 3 top %ld, rect 0 top %ld\n", top3, (long)(r.top / h));
  const WPARAM scrolls[] = {SB_LINEDOWN, SB_LINEDOWN, SB_LINEUP, SB_PAGEDOWN, SB_PAGEDOWN,
                            SB_PAGEUP, SB_BOTTOM, SB_TOP, MAKEWPARAM(SB_THUMBPOSITION, 5),
                            MAKEWPARAM(SB_THUMBTRACK, 1)};
  printf("vscroll tops:");
  for (WPARAM code : scrolls) {
    send(lb, WM_VSCROLL, code, 0);
    printf(" %ld", (long)send(lb, LB_GETTOPINDEX, 0, 0));
  }
  printf("\n");
  send(lb, LB_SETTOPINDEX, 0, 0);
  printf("wheel tops:");
  for (int delta : {-WHEEL_DELTA, -2 * WHEEL_DELTA, WHEEL_DELTA}) {
    send(lb, WM_MOUSEWHEEL, MAKEWPARAM(0, (WORD)delta), 0);
    printf(" %ld", (long)send(lb, LB_GETTOPINDEX, 0, 0));
  }
  printf("\n");
  printValues("cursel 9, top, cursel 1, top",
              {send(lb, LB_SETCURSEL, 9, 0), send(lb, LB_GETTOPINDEX, 0, 0),
               send(lb, LB_SETCURSEL, 1, 0), send(lb, LB_GETTOPINDEX, 0, 0)});
  printValues("set item height 20 (is 20), 300",
              {send(lb, LB_SETITEMHEIGHT, 0, 20), send(lb, LB_GETITEMHEIGHT, 0, 0) == 20,
               send(lb, LB_SETITEMHEIGHT, 0, 300)});
  g_colorAsks = 0;
  InvalidateRect(lb, NULL, TRUE);
  UpdateWindow(lb);
  printf("ctlcolor asked when painted: %d\n", g_colorAsks > 0);
  DestroyWindow(lb);
}

void singleSelection(HWND parent) {
  HWND lb = makeList(parent, LBS_NOTIFY, 4,
                     {"one", "two", "three", "four", "five", "six", "seven", "eight"});
  printValues("setcursel 2, 99", {send(lb, LB_SETCURSEL, 2, 0), send(lb, LB_SETCURSEL, 99, 0)});
  printSelection(lb, "after 99");
  printf("setcursel -1: %ld\n", (long)send(lb, LB_SETCURSEL, -1, 0));
  printSelection(lb, "after -1");
  send(lb, LB_SETCURSEL, 3, 0);
  printValues("setsel, getsel 3, getsel 99, selitems",
              {send(lb, LB_SETSEL, 1, 1), send(lb, LB_GETSEL, 3, 0), send(lb, LB_GETSEL, 99, 0),
               send(lb, LB_GETSELITEMS, 0, 0)});
  printValues("caret: set 5, set 99",
              {send(lb, LB_SETCARETINDEX, 5, 0), send(lb, LB_SETCARETINDEX, 99, 0)});
  printSelection(lb, "after caret");
  printValues("selectstring t, x",
              {sendText(lb, LB_SELECTSTRING, -1, "t"), sendText(lb, LB_SELECTSTRING, -1, "x")});
  printSelection(lb, "after selectstring");
  printNotes("notifications from messages");
  printSelection(lb, "deleted before the selection", send(lb, LB_DELETESTRING, 0, 0));
  printSelection(lb, "deleted the selection", send(lb, LB_DELETESTRING, 0, 0));
  send(lb, LB_SETCURSEL, 1, 0);
  SetFocus(lb);
  printNotes("focus");
  printf("keys:");
  for (WPARAM vk : {VK_DOWN, VK_DOWN, VK_UP, VK_END, VK_HOME, VK_UP, VK_NEXT, VK_NEXT, VK_PRIOR,
                    VK_RIGHT, VK_LEFT, VK_SPACE}) {
    send(lb, WM_KEYDOWN, vk, 0);
    printf(" %ld/%ld", (long)send(lb, LB_GETCURSEL, 0, 0), (long)send(lb, LB_GETTOPINDEX, 0, 0));
  }
  printf("\n");
  printNotes("notifications from keys");
  printf("chars:");
  for (char c : {'s', 's', 'S', 'f', 'q', '4'}) {
    send(lb, WM_CHAR, (WPARAM)c, 0);
    printf(" %ld", (long)send(lb, LB_GETCURSEL, 0, 0));
  }
  printf("\n");
  printNotes("notifications from chars");
  send(lb, LB_SETTOPINDEX, 0, 0);
  click(lb, 2);
  printSelection(lb, "clicked row 2");
  printNotes("notifications from the click");
  click(lb, 2);
  printNotes("the same row again");
  click(lb, 1, true);
  printSelection(lb, "double-clicked row 1");
  printNotes("notifications from the double click");
  SetFocus(parent);
  printNotes("focus away");
  DestroyWindow(lb);
}

void multipleSelection(HWND parent) {
  HWND lb = makeList(parent, LBS_NOTIFY | LBS_MULTIPLESEL, 4,
                     {"one", "two", "three", "four", "five", "six"});
  printSelection(lb, "multiple, filled");
  printValues("setcursel, setsel 1, 4, 99",
              {send(lb, LB_SETCURSEL, 1, 0), send(lb, LB_SETSEL, TRUE, 1),
               send(lb, LB_SETSEL, TRUE, 4), send(lb, LB_SETSEL, TRUE, 99)});
  printSelection(lb, "two selected");
  int got[8] = {-5, -5, -5, -5, -5, -5, -5, -5};
  long n = (long)send(lb, LB_GETSELITEMS, 8, (LPARAM)got);
  printf("selitems %ld: %d %d %d\n", n, got[0], got[1], got[2]);
  printf("selitems max 1: %ld\n", (long)send(lb, LB_GETSELITEMS, 1, (LPARAM)got));
  printSelection(lb, "all", send(lb, LB_SETSEL, TRUE, -1));
  printSelection(lb, "none", send(lb, LB_SETSEL, FALSE, -1));
  printf("caret 2: %ld\n", (long)send(lb, LB_SETCARETINDEX, 2, 0));
  printNotes("notifications from messages");
  SetFocus(lb);
  g_notes[0] = 0;
  for (WPARAM vk : {VK_DOWN, VK_SPACE, VK_DOWN, VK_SPACE, VK_SPACE, VK_END, VK_SPACE})
    send(lb, WM_KEYDOWN, vk, 0);
  printSelection(lb, "keys and space");
  printNotes("notifications from keys");
  send(lb, LB_SETTOPINDEX, 0, 0);
  click(lb, 0);
  click(lb, 3);
  printSelection(lb, "clicked rows 0 and 3");
  printNotes("notifications from clicks");
  SetFocus(parent);
  g_notes[0] = 0;
  DestroyWindow(lb);
}

void extendedSelection(HWND parent) {
  HWND lb = makeList(parent, LBS_NOTIFY | LBS_EXTENDEDSEL, 4,
                     {"one", "two", "three", "four", "five", "six"});
  send(lb, LB_SETSEL, TRUE, 1);
  printSelection(lb, "extended, two set", send(lb, LB_SETSEL, TRUE, 3));
  SetFocus(lb);
  g_notes[0] = 0;
  printSelection(lb, "down", send(lb, WM_KEYDOWN, VK_DOWN, 0));
  printSelection(lb, "home", send(lb, WM_KEYDOWN, VK_HOME, 0));
  printSelection(lb, "space", send(lb, WM_KEYDOWN, VK_SPACE, 0));
  printNotes("notifications from keys");
  click(lb, 2);
  printSelection(lb, "clicked row 2");
  printNotes("notifications from the click");
  SetFocus(parent);
  g_notes[0] = 0;
  DestroyWindow(lb);
}

void standardStyle(HWND parent) {
  HWND lb = createAt("LISTBOX", "", WS_CHILD | LBS_STANDARD, 0, 0, 100, 100, parent, 0, 8);
  LONG style = GetWindowLongA(lb, GWL_STYLE);
  printf("standard: sort %d notify %d vscroll %d border %d hasstrings %d\n",
         (style & LBS_SORT) != 0, (style & LBS_NOTIFY) != 0, (style & WS_VSCROLL) != 0,
         (style & WS_BORDER) != 0, (style & LBS_HASSTRINGS) != 0);
  sendText(lb, LB_ADDSTRING, 0, "b");
  printf("standard add a: %ld\n", (long)sendText(lb, LB_ADDSTRING, 0, "a"));
  DestroyWindow(lb);
}

// Without LBS_NOINTEGRALHEIGHT the control shows whole items only.
void integralHeight(HWND parent) {
  const DWORD styles[] = {0, LBS_NOINTEGRALHEIGHT};
  for (DWORD style : styles) {
    HWND lb = createAt("ListBox", "", WS_CHILD | WS_BORDER | style, 0, 0, 100, 101, parent, 0, 9);
    int h = (int)send(lb, LB_GETITEMHEIGHT, 0, 0);
    RECT r = clientRect(lb);
    printf("style %#lx: whole items %d, as made %d", (unsigned long)style, r.bottom % h == 0,
           r.bottom == 99);
    MoveWindow(lb, 0, 0, 100, 3 * h + h / 2 + 2, TRUE);
    r = clientRect(lb);
    printf(", resized: whole items %d\n", r.bottom % h == 0);
    printValues("item height 0 (reads back), then 1",
                {send(lb, LB_SETITEMHEIGHT, 0, 0), send(lb, LB_GETITEMHEIGHT, 0, 0),
                 send(lb, LB_SETITEMHEIGHT, 0, 1)});
    DestroyWindow(lb);
  }
}

}  // namespace

int main() {
  registerClass("ProbeListParent", parentProc, (HBRUSH)(COLOR_WINDOW + 1));
  HWND parent =
      createAt("ProbeListParent", "P", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 400, 300, NULL);
  g_notes[0] = 0;
  classAndContents(parent);
  geometry(parent);
  singleSelection(parent);
  multipleSelection(parent);
  extendedSelection(parent);
  standardStyle(parent);
  integralHeight(parent);
  DestroyWindow(parent);
}

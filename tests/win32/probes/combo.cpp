// The combo box class: what a program sees when it fills and selects one,
// and the notifications (in order) when the user drops the list down, picks
// or cancels by mouse and by keyboard, and types into the edit part. The
// user acts through SendInput, so the input path is exercised too.
#include "probe.h"

#include <initializer_list>

using namespace probe;

namespace {

const char* const kCodes[] = {"?",        "SELCHANGE", "DBLCLK",   "SETFOCUS",  "KILLFOCUS", "EDITCHANGE",
                              "EDITUPDATE", "DROPDOWN", "CLOSEUP", "SELENDOK", "SELENDCANCEL"};
char g_notes[512];

LRESULT CALLBACK parentProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_COMMAND && lp) {
    UINT code = HIWORD(wp);
    size_t n = strlen(g_notes);
    snprintf(g_notes + n, sizeof g_notes - n, " %s", code < 11 ? kCodes[code] : "other");
  }
  return DefWindowProcA(hwnd, msg, wp, lp);
}

LRESULT send(HWND h, UINT msg, WPARAM wp, LPARAM lp) { return SendMessageA(h, msg, wp, lp); }
LRESULT sendText(HWND h, UINT msg, WPARAM wp, const char* s) { return SendMessageA(h, msg, wp, (LPARAM)s); }

// Short on purpose: under Wine with no window manager the probe's window
// loses the focus some time after a pop-up list first shows, which a slower
// run would record.
void settle() { pumpFor(3); }

// What the parent heard since the last report, and where the box stands.
void report(const char* what, HWND combo) {
  char text[64] = "";
  GetWindowTextA(combo, text, sizeof text);
  printf("%s:%s | sel %ld dropped %ld text \"%s\"\n", what, g_notes[0] ? g_notes : " (none)",
         (long)send(combo, CB_GETCURSEL, 0, 0), (long)send(combo, CB_GETDROPPEDSTATE, 0, 0), text);
  g_notes[0] = 0;
}

// Moves the mouse to a client point of hwnd, and clicks there when asked.
void mouseAt(HWND hwnd, int x, int y, bool click) {
  POINT p = {x, y};
  ClientToScreen(hwnd, &p);
  INPUT in[3] = {mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, p.x, p.y),
                 mouseInput(MOUSEEVENTF_LEFTDOWN), mouseInput(MOUSEEVENTF_LEFTUP)};
  SendInput(click ? 3 : 1, in, sizeof(INPUT));
  settle();
}

void clickAt(HWND hwnd, int x, int y) { mouseAt(hwnd, x, y, true); }

// Keys pressed in order and let go in reverse: {VK_MENU, VK_DOWN} is Alt+Down.
void keys(std::initializer_list<WORD> vks) {
  INPUT in[8];
  int n = 0;
  for (WORD vk : vks) in[n++] = keyInput(vk, false);
  for (const WORD* vk = vks.end(); vk != vks.begin();) in[n++] = keyInput(*--vk, true);
  SendInput(n, in, sizeof(INPUT));
  settle();
}

const char* const kFruit[] = {"cherry", "apple", "date", "banana", "fig"};

HWND makeCombo(HWND parent, DWORD style, int id) {
  HWND combo = CreateWindowExA(0, "ComboBox", "", WS_CHILD | WS_VISIBLE | WS_VSCROLL | style, 10, 10 + 40 * (id - 1),
                               150, 200, parent, (HMENU)(INT_PTR)id, GetModuleHandleA(NULL), NULL);
  for (const char* f : kFruit) sendText(combo, CB_ADDSTRING, 0, f);
  return combo;
}

// Braced lists are evaluated left to right, unlike a call's arguments, so
// the values are the results of the messages in the order written.
void show(const char* label, std::initializer_list<LRESULT> values) {
  printf("%s:", label);
  for (LRESULT v : values) printf(" %ld", (long)v);
  printf("\n");
}

int clientHeight(HWND hwnd) {
  RECT r;
  GetClientRect(hwnd, &r);
  return r.bottom;
}

void answers(HWND parent) {
  HWND combo = CreateWindowExA(0, "ComboBox", "", WS_CHILD | CBS_DROPDOWNLIST | CBS_SORT, 10, 10, 150, 200,
                               parent, (HMENU)9, GetModuleHandleA(NULL), NULL);
  show("added", {sendText(combo, CB_ADDSTRING, 0, kFruit[0]), sendText(combo, CB_ADDSTRING, 0, kFruit[1]),
                 sendText(combo, CB_ADDSTRING, 0, kFruit[2]), sendText(combo, CB_ADDSTRING, 0, kFruit[3]),
                 sendText(combo, CB_ADDSTRING, 0, kFruit[4])});
  char text[32] = "";
  show("count, find B, exact fig, exact fi, text of 2",
       {send(combo, CB_GETCOUNT, 0, 0), sendText(combo, CB_FINDSTRING, -1, "B"),
        sendText(combo, CB_FINDSTRINGEXACT, -1, "fig"), sendText(combo, CB_FINDSTRINGEXACT, -1, "fi"),
        send(combo, CB_GETLBTEXT, 2, (LPARAM)text)});
  printf("text of 2: %s\n", text);
  show("select d, cur, set 9, cur, bad text len, set data, data",
       {sendText(combo, CB_SELECTSTRING, -1, "d"), send(combo, CB_GETCURSEL, 0, 0), send(combo, CB_SETCURSEL, 9, 0),
        send(combo, CB_GETCURSEL, 0, 0), send(combo, CB_GETLBTEXTLEN, 7, 0), send(combo, CB_SETITEMDATA, 1, 42),
        send(combo, CB_GETITEMDATA, 1, 0)});
  show("insert at 1, delete 0, cur, settext, edit sel, set and get extended ui",
       {sendText(combo, CB_INSERTSTRING, 1, "kiwi"), send(combo, CB_DELETESTRING, 0, 0),
        send(combo, CB_GETCURSEL, 0, 0), sendText(combo, WM_SETTEXT, 0, "x"), send(combo, CB_GETEDITSEL, 0, 0),
        send(combo, CB_SETEXTENDEDUI, TRUE, 0), send(combo, CB_GETEXTENDEDUI, 0, 0)});
  int textHeight = (int)send(combo, CB_GETITEMHEIGHT, (WPARAM)-1, 0);
  show("height less item(-1), set item(-1) 20, height, item(-1)",
       {clientHeight(combo) - textHeight, send(combo, CB_SETITEMHEIGHT, (WPARAM)-1, 20), clientHeight(combo),
        send(combo, CB_GETITEMHEIGHT, (WPARAM)-1, 0)});
  COMBOBOXINFO info;
  info.cbSize = sizeof info;
  GetComboBoxInfo(combo, &info);
  char cls[32] = "";
  GetClassNameA(info.hwndList, cls, sizeof cls);
  printf("info: item %d, list class %s id %d, list parent is the desktop %d\n", info.hwndItem != NULL, cls,
         GetDlgCtrlID(info.hwndList), GetParent(info.hwndList) == GetDesktopWindow());
  show("reset, count, cur", {send(combo, CB_RESETCONTENT, 0, 0), send(combo, CB_GETCOUNT, 0, 0),
                             send(combo, CB_GETCURSEL, 0, 0)});
  DestroyWindow(combo);
  g_notes[0] = 0;
}

// The button is at the right end of the box, as wide as a scroll bar.
void clickButton(HWND combo) {
  COMBOBOXINFO info;
  info.cbSize = sizeof info;
  GetComboBoxInfo(combo, &info);
  clickAt(combo, (info.rcButton.left + info.rcButton.right) / 2, (info.rcButton.top + info.rcButton.bottom) / 2);
}

void clickItem(HWND combo, int index) {
  COMBOBOXINFO info;
  info.cbSize = sizeof info;
  GetComboBoxInfo(combo, &info);
  int h = (int)send(combo, CB_GETITEMHEIGHT, 0, 0);
  clickAt(info.hwndList, 20, h * index + h / 2);
}

void dropDownList(HWND parent) {
  HWND combo = makeCombo(parent, CBS_DROPDOWNLIST, 1);
  report("made", combo);
  clickButton(combo);
  report("button clicked", combo);
  clickItem(combo, 2);
  report("item 2 clicked", combo);
  clickAt(combo, 10, 5);
  report("box clicked", combo);
  clickAt(parent, 250, 250);
  report("parent clicked", combo);
  keys({VK_DOWN});
  report("down", combo);
  keys({VK_F4});
  report("F4", combo);
  keys({VK_DOWN});
  report("down while dropped", combo);
  keys({VK_RETURN});
  report("return", combo);
  keys({VK_MENU, VK_DOWN});
  report("alt+down", combo);
  keys({VK_UP});
  report("up while dropped", combo);
  keys({VK_ESCAPE});
  report("escape", combo);
  keys({'B'});
  report("typed b", combo);
  SetFocus(parent);
  report("focus away", combo);
  DestroyWindow(combo);
}

void dropDown(HWND parent) {
  HWND combo = makeCombo(parent, CBS_DROPDOWN | CBS_SORT, 2);
  SetFocus(combo);
  report("focused", combo);
  keys({'B'});
  keys({'A'});
  report("typed ba", combo);
  clickButton(combo);
  report("button clicked", combo);
  clickItem(combo, 4);
  report("item 4 clicked", combo);
  DWORD start = 0, end = 0;
  send(combo, CB_GETEDITSEL, (WPARAM)&start, (LPARAM)&end);
  printf("edit selection %lu-%lu\n", (unsigned long)start, (unsigned long)end);
  keys({VK_UP});
  report("up", combo);
  sendText(combo, WM_SETTEXT, 0, "plum");
  report("set text", combo);
  send(combo, CB_SETCURSEL, 1, 0);
  report("set cursel 1", combo);
  // Away from where the list drops down: the item under the mouse follows it.
  mouseAt(parent, 250, 250, false);
  keys({VK_F4});
  keys({VK_ESCAPE});
  report("F4, escape", combo);
  SetFocus(parent);
  report("focus away", combo);
  DestroyWindow(combo);
}

}  // namespace

int main() {
  registerClass("ProbeComboParent", parentProc, (HBRUSH)(COLOR_WINDOW + 1));
  HWND parent = CreateWindowExA(0, "ProbeComboParent", "P", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 400, 300,
                                NULL, NULL, GetModuleHandleA(NULL), NULL);
  SetForegroundWindow(parent);
  settle();
  g_notes[0] = 0;
  answers(parent);
  dropDownList(parent);
  dropDown(parent);
  DestroyWindow(parent);
  return 0;
}

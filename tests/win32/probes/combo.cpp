// The combo box class: what a program sees when it fills and selects one,
// and the notifications (in order) when the user drops the list down, picks
// or cancels by mouse and by keyboard, and types into the edit part. The
// user acts through SendInput, so the input path is exercised too.
#include "probe.h"

#include <functional>

using namespace probe;

namespace {

const char* const kCodes[] = {"?",         "SELCHANGE",  "DBLCLK",      "SETFOCUS",
                              "KILLFOCUS", "EDITCHANGE", "EDITUPDATE",  "DROPDOWN",
                              "CLOSEUP",   "SELENDOK",   "SELENDCANCEL"};

LRESULT CALLBACK parentProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_COMMAND && lp) note(HIWORD(wp) < 11 ? kCodes[HIWORD(wp)] : "other");
  return DefWindowProcA(hwnd, msg, wp, lp);
}

// Short on purpose: under Wine with no window manager the probe's window
// loses the focus some time after a pop-up list first shows, which a slower
// run would record.
void settle() { pumpFor(3); }

// What the parent heard since the last report, and where the box stands.
void report(const char* what, HWND combo) {
  const char* text = windowText(combo);
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
  HWND combo = createAt("ComboBox", "", WS_CHILD | WS_VISIBLE | WS_VSCROLL | style, 10,
                        10 + 40 * (id - 1), 150, 200, parent, 0, id);
  for (const char* f : kFruit) sendText(combo, CB_ADDSTRING, 0, f);
  return combo;
}

COMBOBOXINFO infoOf(HWND combo) {
  COMBOBOXINFO info;
  info.cbSize = sizeof info;
  GetComboBoxInfo(combo, &info);
  return info;
}

void answers(HWND parent) {
  HWND combo = createAt("ComboBox", "", WS_CHILD | CBS_DROPDOWNLIST | CBS_SORT, 10, 10, 150, 200,
                        parent, 0, 9);
  printf("added:");
  for (const char* f : kFruit) printf(" %ld", (long)sendText(combo, CB_ADDSTRING, 0, f));
  printf("\n");
  char text[32] = "";
  printValues(
      "count, find B, exact fig, exact fi, text of 2",
      {send(combo, CB_GETCOUNT, 0, 0), sendText(combo, CB_FINDSTRING, -1, "B"),
       sendText(combo, CB_FINDSTRINGEXACT, -1, "fig"),
       sendText(combo, CB_FINDSTRINGEXACT, -1, "fi"), send(combo, CB_GETLBTEXT, 2, (LPARAM)text)});
  printf("text of 2: %s\n", text);
  printValues("select d, cur, set 9, cur, bad text len, set data, data",
              {sendText(combo, CB_SELECTSTRING, -1, "d"), send(combo, CB_GETCURSEL, 0, 0),
               send(combo, CB_SETCURSEL, 9, 0), send(combo, CB_GETCURSEL, 0, 0),
               send(combo, CB_GETLBTEXTLEN, 7, 0), send(combo, CB_SETITEMDATA, 1, 42),
               send(combo, CB_GETITEMDATA, 1, 0)});
  printValues("insert at 1, delete 0, cur, settext, edit sel, set and get extended ui",
              {sendText(combo, CB_INSERTSTRING, 1, "kiwi"), send(combo, CB_DELETESTRING, 0, 0),
               send(combo, CB_GETCURSEL, 0, 0), sendText(combo, WM_SETTEXT, 0, "x"),
               send(combo, CB_GETEDITSEL, 0, 0), send(combo, CB_SETEXTENDEDUI, TRUE, 0),
               send(combo, CB_GETEXTENDEDUI, 0, 0)});
  int textHeight = (int)send(combo, CB_GETITEMHEIGHT, (WPARAM)-1, 0);
  printValues("height less item(-1), set item(-1) 20, height, item(-1)",
              {clientRect(combo).bottom - textHeight, send(combo, CB_SETITEMHEIGHT, (WPARAM)-1, 20),
               clientRect(combo).bottom, send(combo, CB_GETITEMHEIGHT, (WPARAM)-1, 0)});
  COMBOBOXINFO info = infoOf(combo);
  char cls[32] = "";
  GetClassNameA(info.hwndList, cls, sizeof cls);
  printf("info: item %d, list class %s id %d, list parent is the desktop %d\n",
         info.hwndItem != NULL, cls, GetDlgCtrlID(info.hwndList),
         GetParent(info.hwndList) == GetDesktopWindow());
  printValues("reset, count, cur",
              {send(combo, CB_RESETCONTENT, 0, 0), send(combo, CB_GETCOUNT, 0, 0),
               send(combo, CB_GETCURSEL, 0, 0)});
  DestroyWindow(combo);
  g_notes[0] = 0;
}

// The button is at the right end of the box, as wide as a scroll bar.
void clickButton(HWND combo) {
  COMBOBOXINFO info = infoOf(combo);
  clickAt(combo, (info.rcButton.left + info.rcButton.right) / 2,
          (info.rcButton.top + info.rcButton.bottom) / 2);
}

void clickItem(HWND combo, int index) {
  int h = (int)send(combo, CB_GETITEMHEIGHT, 0, 0);
  clickAt(infoOf(combo).hwndList, 20, h * index + h / 2);
}

// Each step acted, then reported.
struct Step {
  const char* what;
  std::function<void()> act;
};

void run(HWND combo, std::initializer_list<Step> steps) {
  for (const Step& step : steps) {
    step.act();
    report(step.what, combo);
  }
}

void dropDownList(HWND parent) {
  HWND combo = makeCombo(parent, CBS_DROPDOWNLIST, 1);
  report("made", combo);
  run(combo, {
                 {"button clicked", [&] { clickButton(combo); }},
                 {"item 2 clicked", [&] { clickItem(combo, 2); }},
                 {"box clicked", [&] { clickAt(combo, 10, 5); }},
                 {"parent clicked", [&] { clickAt(parent, 250, 250); }},
                 {"down", [] { keys({VK_DOWN}); }},
                 {"F4", [] { keys({VK_F4}); }},
                 {"down while dropped", [] { keys({VK_DOWN}); }},
                 {"return", [] { keys({VK_RETURN}); }},
                 {"alt+down",
                  [] {
                    keys({VK_MENU, VK_DOWN});
                  }},
                 {"up while dropped", [] { keys({VK_UP}); }},
                 {"escape", [] { keys({VK_ESCAPE}); }},
                 {"typed b", [] { keys({'B'}); }},
                 {"focus away", [&] { SetFocus(parent); }},
             });
  DestroyWindow(combo);
}

void dropDown(HWND parent) {
  HWND combo = makeCombo(parent, CBS_DROPDOWN | CBS_SORT, 2);
  run(combo, {
                 {"focused", [&] { SetFocus(combo); }},
                 {"typed ba", [] { keys({'B'}), keys({'A'}); }},
                 {"button clicked", [&] { clickButton(combo); }},
                 {"item 4 clicked", [&] { clickItem(combo, 4); }},
             });
  DWORD start = 0, end = 0;
  send(combo, CB_GETEDITSEL, (WPARAM)&start, (LPARAM)&end);
  printf("edit selection %lu-%lu\n", (unsigned long)start, (unsigned long)end);
  run(combo, {
                 {"up", [] { keys({VK_UP}); }},
                 {"set text", [&] { sendText(combo, WM_SETTEXT, 0, "plum"); }},
                 {"set cursel 1", [&] { send(combo, CB_SETCURSEL, 1, 0); }},
                 // Away from where the list drops down: the item under the mouse follows it.
                 {"F4, escape",
                  [&] { mouseAt(parent, 250, 250, false), keys({VK_F4}), keys({VK_ESCAPE}); }},
                 {"focus away", [&] { SetFocus(parent); }},
             });
  DestroyWindow(combo);
}

}  // namespace

int main() {
  registerClass("ProbeComboParent", parentProc, (HBRUSH)(COLOR_WINDOW + 1));
  HWND parent =
      createAt("ProbeComboParent", "P", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 50, 50, 400, 300, NULL);
  SetForegroundWindow(parent);
  settle();
  g_notes[0] = 0;
  answers(parent);
  dropDownList(parent);
  dropDown(parent);
  DestroyWindow(parent);
}

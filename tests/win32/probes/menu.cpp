// Menus: what the owner hears, in order, when its bar opens by a press on
// it, by Alt with a mnemonic, by F10 and by Alt alone, when TrackPopupMenu
// runs, and what the item functions answer. The hand is SendInput; each
// step after the first is taken when the menu loop tells the owner it is
// about to wait (WM_ENTERIDLE), as a person acts once the menu is shown.
#include "probe.h"

using namespace probe;

namespace {

HWND g_main;
HMENU g_bar, g_file, g_edit, g_recent, g_context;
typedef void (*Step)();
const Step *g_step, *g_stepsEnd;  // the steps of the run going on

const char* menuName(HMENU m) {
  return m == g_bar ? "bar" : m == g_file ? "file" : m == g_edit ? "edit" : m == g_recent ? "recent"
       : m == g_context ? "context" : m ? "other" : "none";
}

void runNextStep() {
  if (g_step != g_stepsEnd) {
    (*g_step++)();
    return;
  }
  printOnce("  (no step left: EndMenu)");
  EndMenu();
}

LRESULT CALLBACK proc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  char text[160] = "";
  switch (msg) {
  case WM_ENTERMENULOOP: sprintf(text, "  ENTERMENULOOP %d", (int)wp); break;
  case WM_EXITMENULOOP: sprintf(text, "  EXITMENULOOP %d", (int)wp); break;
  case WM_INITMENU: sprintf(text, "  INITMENU %s", menuName((HMENU)wp)); break;
  case WM_INITMENUPOPUP:
    sprintf(text, "  INITMENUPOPUP %s pos %d sys %d", menuName((HMENU)wp), LOWORD(lp), HIWORD(lp));
    break;
  case WM_UNINITMENUPOPUP: sprintf(text, "  UNINITMENUPOPUP %s", menuName((HMENU)wp)); break;
  case WM_MENUSELECT:
    // MF_MOUSESELECT is left out: whether a press or a move selected the
    // item differs between systems.
    sprintf(text, "  MENUSELECT %#x flags %#x %s", LOWORD(wp),
            (unsigned)(HIWORD(wp) == 0xFFFF ? 0xFFFF : HIWORD(wp) & ~MF_MOUSESELECT), menuName((HMENU)lp));
    break;
  case WM_MENUCHAR: sprintf(text, "  MENUCHAR %c", (char)LOWORD(wp)); break;
  case WM_COMMAND: sprintf(text, "  COMMAND %d", LOWORD(wp)); break;
  case WM_SYSCOMMAND: sprintf(text, "  SYSCOMMAND %#x", (unsigned)(wp & 0xFFF0)); break;
  case WM_ENTERIDLE: sprintf(text, "  ENTERIDLE %d %s", (int)wp, lp ? "popup" : "bar"); break;
  }
  if (*text) printOnce(text);
  if (msg == WM_ENTERIDLE) runNextStep();
  if (msg == WM_SYSCOMMAND && (wp & 0xFFF0) == SC_CLOSE) return 0;  // the probe keeps its window
  return DefWindowProcA(hwnd, msg, wp, lp);
}

void press(WORD vk) {
  INPUT in[2] = {keyInput(vk, false), keyInput(vk, true)};
  SendInput(2, in, sizeof(INPUT));
}

void pressWithAlt(WORD vk) {
  INPUT in[4] = {keyInput(VK_MENU, false), keyInput(vk, false), keyInput(vk, true),
                 keyInput(VK_MENU, true)};
  SendInput(4, in, sizeof(INPUT));
}

// A click in the middle of an item of a menu shown (or of the bar).
void clickItem(HMENU menu, int pos) {
  RECT r;
  // NULL finds a pop-up's own window; the owner would place the item in
  // the owner's client area on Wine.
  if (!GetMenuItemRect(menu == g_bar ? g_main : NULL, menu, pos, &r)) {
    printOnce("  (item not shown)");
    return;
  }
  INPUT in[3] = {mouseInput(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE, (r.left + r.right) / 2,
                       (r.top + r.bottom) / 2),
                 mouseInput(MOUSEEVENTF_LEFTDOWN), mouseInput(MOUSEEVENTF_LEFTUP)};
  SendInput(3, in, sizeof(INPUT));
}

void openItem() { clickItem(g_file, 0); }
void down() { press(VK_DOWN); }
void downReturn() { press(VK_DOWN); press(VK_RETURN); }
void rightDown() { press(VK_RIGHT); press(VK_DOWN); }
void escape() { press(VK_ESCAPE); }
void recentItem() { clickItem(g_file, 3); }
void oneItem() { clickItem(g_recent, 0); }

// One run: the steps the menu loop takes in turn, after the action that
// opens the menu.
void run(const char* what, std::initializer_list<Step> steps, void (*open)()) {
  printf("-- %s\n", what);
  g_lastLine[0] = 0;
  g_step = steps.begin();
  g_stepsEnd = steps.end();
  open();
  pumpFor(5);
  g_step = g_stepsEnd = nullptr;  // the list goes with this call
}

void trackPopup(UINT flags) {
  printf("  returned %d\n", TrackPopupMenu(g_context, flags, 200, 200, 0, g_main, NULL));
}

void runs() {
  run("a click on File, then on Open", {openItem}, [] { clickItem(g_bar, 0); });
  run("File, Recent, One by mouse", {recentItem, oneItem}, [] { clickItem(g_bar, 0); });
  run("Alt+E, Down, Return", {downReturn}, [] { pressWithAlt('E'); });
  run("F10, Right, Down, Escape, Escape", {rightDown, escape, escape}, [] { press(VK_F10); });
  run("Alt+Q (no such mnemonic)", {escape}, [] { pressWithAlt('Q'); });
  run("TrackPopupMenu(TPM_RETURNCMD), Down, Down, Return", {down, downReturn},
      [] { trackPopup(TPM_RETURNCMD); });
  run("TrackPopupMenu, Escape", {escape}, [] { trackPopup(0); });
  run("TrackPopupMenu(TPM_NONOTIFY) with Down and Return already typed", {}, [] {
    downReturn();
    Sleep(50);
    trackPopup(TPM_NONOTIFY);
  });
}

// Arguments are evaluated in no fixed order: each call is its own statement.
void answers() {
  printf("-- answers\n");
  char text[32];
  // Reading a state changes nothing, so these calls may go in any order.
  printf("state of Wrap %#x, of Recent %#x, of a missing item %#x\n",
         GetMenuState(g_bar, 102, MF_BYCOMMAND), GetMenuState(g_file, 3, MF_BYPOSITION),
         GetMenuState(g_bar, 999, MF_BYCOMMAND));
  // Where a text is cut short, only the counts are printed: whether the
  // zero lands inside the buffer differs between systems.
  int n = GetMenuStringA(g_bar, 101, text, 5, MF_BYCOMMAND);
  int length = GetMenuStringA(g_bar, 101, NULL, 0, MF_BYCOMMAND);
  int whole = GetMenuStringA(g_bar, 101, text, sizeof text, MF_BYCOMMAND);
  printf("GetMenuStringA(101) into 5 chars %d, length %d, whole %d \"%s\"\n", n, length, whole,
         text);
  int unchecked = (int)CheckMenuItem(g_bar, 102, MF_UNCHECKED);
  int checked = (int)CheckMenuItem(g_bar, 102, MF_CHECKED);
  printf("CheckMenuItem %d then %d\n", unchecked, checked);
  int enabled = EnableMenuItem(g_bar, 201, MF_ENABLED);
  int grayed = EnableMenuItem(g_bar, 201, MF_GRAYED);
  int none = EnableMenuItem(g_bar, 999, MF_GRAYED);
  printf("EnableMenuItem %d then %d, missing %d\n", enabled, grayed, none);
  printf("GetMenuItemID of Recent %d, of Exit %d\n", (int)GetMenuItemID(g_file, 3),
         (int)GetMenuItemID(g_file, 4));
  BOOL radio = CheckMenuRadioItem(g_edit, 0, 1, 1, MF_BYPOSITION);
  UINT copy = GetMenuState(g_edit, 1, MF_BYPOSITION);
  printf("CheckMenuRadioItem %d, state of Copy %#x\n", radio, copy);
  MENUITEMINFOA mii = {};
  mii.cbSize = sizeof mii;
  mii.fMask = MIIM_STRING | MIIM_ID | MIIM_SUBMENU;
  mii.dwTypeData = text;
  mii.cch = 4;
  BOOL ok = GetMenuItemInfoA(g_file, 3, TRUE, &mii);
  printf("GetMenuItemInfoA %d cch %u id matches %d submenu %s\n", ok, mii.cch,
         mii.wID == (UINT)(UINT_PTR)g_recent, menuName(mii.hSubMenu));
  BOOL deleted = DeleteMenu(g_bar, 111, MF_BYCOMMAND);
  printf("DeleteMenu(111) %d, Recent has %d items\n", deleted, GetMenuItemCount(g_recent));
  DestroyMenu(g_context);
  printf("GetSubMenu(bar, 1) %s, IsMenu after DestroyMenu %d\n", menuName(GetSubMenu(g_bar, 1)),
         IsMenu(g_context));
}

}  // namespace

int main() {
  registerClass("ProbeMenu", proc, (HBRUSH)(COLOR_WINDOW + 1));
  g_bar = CreateMenu();
  g_file = CreatePopupMenu();
  g_edit = CreatePopupMenu();
  g_recent = CreatePopupMenu();
  g_context = CreatePopupMenu();
  AppendMenuA(g_file, MF_STRING, 101, "&Open...\tCtrl+O");
  AppendMenuA(g_file, MF_STRING | MF_CHECKED, 102, "&Wrap");
  AppendMenuA(g_file, MF_SEPARATOR, 0, NULL);
  AppendMenuA(g_recent, MF_STRING, 111, "&One");
  AppendMenuA(g_file, MF_POPUP, (UINT_PTR)g_recent, "&Recent");
  AppendMenuA(g_file, MF_STRING, 103, "E&xit");
  AppendMenuA(g_edit, MF_STRING | MF_GRAYED, 201, "&Paste");
  AppendMenuA(g_edit, MF_STRING, 202, "&Copy");
  AppendMenuA(g_bar, MF_POPUP, (UINT_PTR)g_file, "&File");
  AppendMenuA(g_bar, MF_POPUP, (UINT_PTR)g_edit, "&Edit");
  AppendMenuA(g_context, MF_STRING, 301, "&Cut");
  AppendMenuA(g_context, MF_STRING, 302, "&Delete");
  g_main = CreateWindowExA(0, "ProbeMenu", "main", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100, 300,
                           200, NULL, g_bar, GetModuleHandleA(NULL), NULL);
  SetForegroundWindow(g_main);
  SetFocus(g_main);
  pumpFor(5);
  runs();
  answers();
  DestroyWindow(g_main);
}

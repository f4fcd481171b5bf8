// Dialog windows built without templates: the dialog class and the other
// built-in classes, the dialog codes controls answer, default buttons, tab
// order, focus kept across activation, the dialog procedure's results,
// keyboard navigation through IsDialogMessageA, EndDialog, InsertMenuA, and
// a dialog made from an extended template in memory.
#include "probe.h"

using namespace probe;

namespace {

LRESULT CALLBACK dlgLogProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  record(hwnd, msg, wp, lp);
  if (msg == WM_GETDLGCODE || msg == WM_CTLCOLORDLG)
    printf(" [%s %s]", hname(hwnd), msg == WM_GETDLGCODE ? "GETDLGCODE" : "CTLCOLORDLG");
  return DefDlgProcA(hwnd, msg, wp, lp);
}

INT_PTR CALLBACK answeringDlgProc(HWND hwnd, UINT msg, WPARAM, LPARAM) {
  if (msg == WM_USER + 5) {
    SetWindowLongPtrA(hwnd, DWLP_MSGRESULT, 42);
    return TRUE;
  }
  if (msg == WM_CTLCOLORDLG) return (INT_PTR)GetStockObject(GRAY_BRUSH);
  if (msg == WM_USER + 6) return 7;  // not a message whose answer is the return value
  return FALSE;
}

HWND control(const char* name, const char* cls, DWORD style, HWND parent, int id,
             const char* text = "") {
  return createAt(cls, name, WS_CHILD | WS_VISIBLE | style, 10, 10 + id * 20, 80, 18, parent, 0, id,
                  text);
}

void classes() {
  const char* names[] = {"#32770", "#32768", "#32769", "#32771", "#32772"};
  bool dialogExtra = false;
  for (const char* n : names) {
    WNDCLASSEXA wc = {};
    wc.cbSize = sizeof wc;
    BOOL ok = GetClassInfoExA(NULL, n, &wc);
    printf("class %s: %d style %#x instance null %d\n", n, ok, (unsigned)wc.style,
           wc.hInstance == NULL);
    if (n == names[0]) dialogExtra = wc.cbWndExtra == DLGWINDOWEXTRA;
  }
  printf("dialog extra bytes are DLGWINDOWEXTRA: %d\n", dialogExtra);
  char name[32] = "";
  GetClassNameA(GetDesktopWindow(), name, sizeof name);
  printf("desktop class %s\n", name);
}

void dialogCodes() {
  HWND p = createNamed("ProbeDialogPlain", "P", WS_OVERLAPPEDWINDOW, NULL);
  struct {
    const char* name;
    const char* cls;
    DWORD style;
  } cases[] = {
      {"static", "Static", SS_LEFT},
      {"push", "Button", BS_PUSHBUTTON},
      {"defpush", "Button", BS_DEFPUSHBUTTON},
      {"check", "Button", BS_AUTOCHECKBOX},
      {"radio", "Button", BS_AUTORADIOBUTTON},
      {"group", "Button", BS_GROUPBOX},
      {"edit", "Edit", ES_LEFT},
      {"multiedit", "Edit", ES_MULTILINE},
      {"scroll", "ScrollBar", SBS_HORZ},
  };
  int id = 1;
  for (auto& c : cases) {
    HWND h = control(c.name, c.cls, c.style, p, id++);
    printf("dialog code of %s: %#lx\n", c.name, (unsigned long)send(h, WM_GETDLGCODE, 0, 0));
  }
  DestroyWindow(p);
}

// A button's kind: BS_PUSHBUTTON or BS_DEFPUSHBUTTON for these.
long kind(HWND button) { return GetWindowLongA(button, GWL_STYLE) & 0xF; }

unsigned long defId(HWND dialog) { return (unsigned long)SendMessageA(dialog, DM_GETDEFID, 0, 0); }

HWND makeDialog(const char* name) {
  return createAt("ProbeDialog", name, WS_POPUP | WS_CAPTION, 100, 100, 240, 200, NULL);
}

void defaultButtons(HWND d) {
  HWND ok = GetDlgItem(d, IDOK), no = GetDlgItem(d, 5);
  printf("default id at first: %#lx\n", defId(d));
  LRESULT r = SendMessageA(d, DM_SETDEFID, 5, 0);
  printf("set default 5: %ld, now %#lx, styles ok %ld no %ld\n", (long)r, defId(d), kind(ok),
         kind(no));
  r = SendMessageA(d, DM_SETDEFID, 99, 0);
  printf("set default 99: %ld, now %#lx\n", (long)r, defId(d));
  SendMessageA(d, DM_SETDEFID, IDOK, 0);
  printf("back to 1: styles ok %ld no %ld\n", kind(ok), kind(no));

  HWND empty = makeDialog("E");
  printf("empty dialog default id: %#lx\n", defId(empty));
  HWND b = control("lone", "Button", BS_DEFPUSHBUTTON, empty, 9);
  printf("with a default push button: %#lx\n", defId(empty));
  DestroyWindow(b);
  DestroyWindow(empty);
}

void tabOrder(HWND d) {
  HWND first = GetNextDlgTabItem(d, NULL, FALSE);
  printf("first tab item %s\n", hname(first));
  printf("after it %s\n", hname(GetNextDlgTabItem(d, first, FALSE)));
  printf("before it %s\n", hname(GetNextDlgTabItem(d, first, TRUE)));
  printf("after the static %s\n", hname(GetNextDlgTabItem(d, GetDlgItem(d, 4), FALSE)));
  EnableWindow(GetDlgItem(d, 5), FALSE);
  printf("after it, the next disabled: %s\n", hname(GetNextDlgTabItem(d, first, FALSE)));
  EnableWindow(GetDlgItem(d, 5), TRUE);
  printf("group after ok %s, before ok %s\n", hname(GetNextDlgGroupItem(d, first, FALSE)),
         hname(GetNextDlgGroupItem(d, first, TRUE)));
  HWND empty = makeDialog("E");
  printf("empty dialog: tab %s group %s\n", hname(GetNextDlgTabItem(empty, NULL, FALSE)),
         hname(GetNextDlgGroupItem(empty, NULL, FALSE)));
  DestroyWindow(empty);
}

void focus(HWND d) {
  HWND other = createNamed("ProbeDialogPlain", "O", WS_OVERLAPPEDWINDOW | WS_VISIBLE, NULL);
  clearLog();
  ShowWindow(d, SW_SHOW);
  printf("\nshown: focus %s active %s\n", hname(GetFocus()), hname(GetActiveWindow()));
  HWND edit = GetDlgItem(d, 3);
  SetFocus(edit);
  printf("select: %ld\n", (long)SendMessageA(edit, EM_SETSEL, 1, 1));
  SetActiveWindow(other);
  printf("other active: focus %s\n", hname(GetFocus()));
  SetActiveWindow(d);
  DWORD s = 0, e = 0;
  SendMessageA(edit, EM_GETSEL, (WPARAM)&s, (LPARAM)&e);
  printf("back: focus %s, selection %lu-%lu\n", hname(GetFocus()), s, e);
  SetFocus(d);
  printf("focus to the dialog itself: focus %s\n", hname(GetFocus()));
  clearLog();
  HWND empty = makeDialog("E");
  ShowWindow(empty, SW_SHOW);
  UpdateWindow(empty);
  printf("\nempty shown: focus %s\n", hname(GetFocus()));
  printLog("messages");
  DestroyWindow(empty);
  DestroyWindow(other);
  SetActiveWindow(d);
}

void results(HWND d) {
  SetWindowLongPtrA(d, DWLP_USER, 7);
  printf("user slot %ld\n", (long)GetWindowLongPtrA(d, DWLP_USER));
  SetWindowLongPtrA(d, DWLP_DLGPROC, (LONG_PTR)answeringDlgProc);
  printf("message result %ld\n", (long)SendMessageA(d, WM_USER + 5, 0, 0));
  printf("plain TRUE answers %ld\n", (long)SendMessageA(d, WM_USER + 6, 0, 0));
  printf("colour is the procedure's brush %d\n",
         SendMessageA(d, WM_CTLCOLORDLG, 0, 0) == (LRESULT)GetStockObject(GRAY_BRUSH));
  SetWindowLongPtrA(d, DWLP_DLGPROC, 0);
}

void keyboard(HWND d) {
  HWND ok = GetDlgItem(d, IDOK), no = GetDlgItem(d, 5);
  SetFocus(ok);
  UpdateWindow(d);
  struct {
    const char* name;
    UINT msg;
    WPARAM key;
  } keys[] = {
      {"tab", WM_KEYDOWN, VK_TAB},       {"return", WM_KEYDOWN, VK_RETURN},
      {"escape", WM_KEYDOWN, VK_ESCAPE}, {"down", WM_KEYDOWN, VK_DOWN},
      {"char a", WM_CHAR, 'a'},          {"tab", WM_KEYDOWN, VK_TAB},
      {"tab", WM_KEYDOWN, VK_TAB},       {"return", WM_KEYDOWN, VK_RETURN},
  };
  MSG m;
  for (auto& k : keys) {
    clearLog();
    m = MSG{GetFocus(), k.msg, k.key, 0, 0, {0, 0}};
    BOOL r = IsDialogMessageA(d, &m);
    pump();
    printf("%s from %s: %d, focus %s, styles ok %ld no %ld;", k.name, hname(m.hwnd), r,
           hname(GetFocus()), kind(ok), kind(no));
    printLog("");
  }
  m = MSG{GetFocus(), WM_KEYDOWN, VK_TAB, 0, 0, {0, 0}};
  HWND other = createNamed("ProbeDialogPlain", "O", WS_OVERLAPPEDWINDOW, NULL);
  printf("for another window's dialog: %d\n", IsDialogMessageA(other, &m));
  DestroyWindow(other);
}

void closing(HWND d) {
  clearLog();
  SendMessageA(d, WM_CLOSE, 0, 0);
  pump();
  printLog("close");
  SetLastError(0);
  BOOL r = EndDialog(d, 5);
  printf("end: %d err=%lu visible %d window %d default id %#lx\n", r, GetLastError(),
         IsWindowVisible(d), IsWindow(d), defId(d));
  printf("after the end: set default %ld\n", (long)SendMessageA(d, DM_SETDEFID, 2, 0));
  HWND plain = createNamed("ProbeDialogPlain", "Q", WS_OVERLAPPEDWINDOW, NULL);
  PRINT_ERR("end a plain window", EndDialog(plain, 1));
  PRINT_ERR("end null", EndDialog(NULL, 1));
  DestroyWindow(plain);
  DestroyWindow(d);
}

void menus() {
  HMENU m = CreateMenu();
  AppendMenuA(m, MF_STRING, 10, "ten");
  AppendMenuA(m, MF_STRING, 20, "twenty");
  struct {
    const char* name;
    UINT pos;
    UINT flags;
    UINT id;
  } cases[] = {
      {"append by position", (UINT)-1, MF_BYPOSITION, 30},
      {"front by position", 0, MF_BYPOSITION, 40},
      {"past the end", 99, MF_BYPOSITION, 50},
      {"before 20 by command", 20, MF_BYCOMMAND, 60},
      {"before a missing command", 777, MF_BYCOMMAND, 70},
  };
  for (auto& c : cases) {
    SetLastError(0);
    BOOL r = InsertMenuA(m, c.pos, c.flags | MF_STRING, c.id, "x");
    printf("insert %s: %d err=%lu ->", c.name, r, GetLastError());
    for (int i = 0; i < GetMenuItemCount(m); ++i) printf(" %u", GetMenuItemID(m, i));
    printf("\n");
  }
  printf("insert into no menu: %d\n", InsertMenuA(NULL, 0, MF_BYPOSITION, 1, "x"));
  DestroyMenu(m);
}

// A control class that reports its creation data and what it is sent.
LRESULT CALLBACK dataControlProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_CREATE) {
    const short* d = (const short*)((CREATESTRUCTA*)lp)->lpCreateParams;
    printf(" [control CREATE data %d %d %d]", d ? d[0] : -1, d ? d[1] : -1, d ? d[2] : -1);
  }
  if (msg == WM_SETFONT) printf(" [control SETFONT]");
  return DefWindowProcA(hwnd, msg, wp, lp);
}

INT_PTR CALLBACK templateDlgProc(HWND, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_SETFONT) printf(" [dialog SETFONT]");
  if (msg == WM_INITDIALOG)
    printf(" [INITDIALOG first tab stop %d param %ld]", GetDlgCtrlID((HWND)wp), (long)lp);
  return msg == WM_INITDIALOG;
}

// An extended template: DS_SETFONT with weight, italic and character set, a
// control of the probe's own class with three words of creation data, an
// edit control, a default push button and a disabled check box.
struct TemplateWriter {
  WORD words[256];
  int n = 0;
  void word(WORD w) { words[n++] = w; }
  void dword(DWORD d) { word(LOWORD(d)); word(HIWORD(d)); }
  void text(const char* s) {
    while (*s) word((WORD)*s++);
    word(0);
  }
  void align() {
    if (n % 2) word(0);
  }
  void item(DWORD style, WORD x, WORD y, DWORD id) {
    align();
    dword(0);  // help id
    dword(0);  // extended style
    dword(WS_CHILD | WS_VISIBLE | style);
    word(x), word(y), word(60), word(12);
    dword(id);
  }
};

void templates() {
  registerClass("ProbeDataControl", dataControlProc);
  TemplateWriter t;
  t.word(1), t.word(0xFFFF), t.dword(0), t.dword(0);
  t.dword(WS_POPUP | WS_CAPTION | DS_SETFONT | DS_MODALFRAME);
  t.word(4), t.word(10), t.word(10), t.word(150), t.word(100);
  t.word(0), t.word(0), t.text("Template");
  t.word(8), t.word(FW_NORMAL), t.word(0), t.text("MS Shell Dlg");
  t.item(WS_BORDER, 5, 5, 40);
  t.text("ProbeDataControl"), t.text("data"), t.word(6), t.word(11), t.word(22);
  t.item(WS_TABSTOP | ES_AUTOHSCROLL | WS_BORDER, 5, 20, 41);
  t.word(0xFFFF), t.word(0x81), t.text("12 "), t.word(0);
  t.item(BS_DEFPUSHBUTTON | WS_TABSTOP, 5, 40, 42);
  t.word(0xFFFF), t.word(0x80), t.text("Go"), t.word(0);
  t.item(BS_AUTOCHECKBOX | WS_TABSTOP | WS_DISABLED, 5, 60, 43);
  t.word(0xFFFF), t.word(0x80), t.text("&Maybe"), t.word(0);
  printf("template:");
  HWND d = CreateDialogIndirectParamA(GetModuleHandleA(NULL), (LPCDLGTEMPLATEA)t.words, NULL,
                                      templateDlgProc, 99);
  printf("\n");
  HWND data = GetDlgItem(d, 40), edit = GetDlgItem(d, 41);
  printf("template styles: dialog %#lx %#lx, control %#lx %#lx\n",
         GetWindowLongA(d, GWL_STYLE) & 0xFFFF0FFF, GetWindowLongA(d, GWL_EXSTYLE),
         GetWindowLongA(data, GWL_STYLE), GetWindowLongA(data, GWL_EXSTYLE));
  printf("template focus %d, default %#lx, font kept %d\n", GetDlgCtrlID(GetFocus()), defId(d),
         SendMessageA(d, WM_GETFONT, 0, 0) == SendMessageA(edit, WM_GETFONT, 0, 0));
  const char* numbers[] = {"12 ", " -7", "4x", "", "99999999999"};
  for (const char* n : numbers) {
    SetDlgItemTextA(d, 41, n);
    BOOL ok = -1, okSigned = -1;
    UINT u = GetDlgItemInt(d, 41, &ok, FALSE);
    int i = (int)GetDlgItemInt(d, 41, &okSigned, TRUE);
    printf("GetDlgItemInt '%s': %u %d, signed %d %d\n", n, u, ok, i, okSigned);
  }
  char text[8] = "xyz";
  printf("missing item text %u '%s'\n", GetDlgItemTextA(d, 77, text, sizeof text), text);
  RECT r = {4, 8, 4, 8};
  printf("MapDialogRect on a plain window %d\n", MapDialogRect(GetDesktopWindow(), &r));
  DestroyWindow(d);
}

}  // namespace

int main() {
  registerClass("ProbeDialogPlain", loggingProc);
  WNDCLASSEXA wc = {};  // the dialog class's own, with a recording procedure
  wc.cbSize = sizeof wc;
  GetClassInfoExA(NULL, "#32770", &wc);
  registerClass("ProbeDialog", dlgLogProc, wc.hbrBackground, wc.style, wc.cbWndExtra);

  classes();
  dialogCodes();

  HWND d = makeDialog("D");
  control("ok", "Button", BS_DEFPUSHBUTTON | WS_TABSTOP | WS_GROUP, d, IDOK, "OK");
  control("no", "Button", BS_PUSHBUTTON | WS_TABSTOP, d, 5, "No");
  control("edit", "Edit", WS_TABSTOP | WS_GROUP, d, 3, "hello");
  control("label", "Static", SS_LEFT, d, 4, "label");
  defaultButtons(d);
  tabOrder(d);
  focus(d);
  results(d);
  keyboard(d);
  closing(d);
  menus();
  templates();
}

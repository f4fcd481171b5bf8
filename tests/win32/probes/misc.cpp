// Window data and procedures (GetWindowLong indices, subclassing through
// CallWindowProcA), DefWindowProcA's own reactions, the system controls, and
// the small services: common controls, cursors, modules, file dialogs.
#include "probe.h"
#include <commctrl.h>
#include <commdlg.h>

using namespace probe;

namespace {

WNDPROC g_oldProc;
int g_subclassCalls;

LRESULT CALLBACK subclassProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  ++g_subclassCalls;
  if (msg == WM_USER) return 77;
  return CallWindowProcA(g_oldProc, hwnd, msg, wp, lp);
}

LRESULT CALLBACK skipNcCreateProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_NCCREATE) return TRUE;
  return DefWindowProcA(hwnd, msg, wp, lp);
}

HWND create(const char* name, const char* cls, DWORD style, HWND parent, int id = 0) {
  return createAt(cls, name, style, 10, 10, 120, 60, parent, 0, id);
}

void windowData() {
  HWND w = create("W", "ProbeMisc", WS_OVERLAPPEDWINDOW, NULL);
  SetLastError(0);
  LONG prev = SetWindowLongA(w, 0, 1234);
  LONG err = (LONG)GetLastError();
  printf("extra bytes: previous %ld err=%ld now %ld\n", (long)prev, (long)err,
         (long)GetWindowLongA(w, 0));
  PRINT_ERR("past the extra bytes", SetWindowLongA(w, 8, 1));
  SetWindowLongPtrA(w, GWLP_USERDATA, 99);
  printf("user data %ld\n", (long)GetWindowLongPtrA(w, GWLP_USERDATA));
  printf("instance matches: %d\n",
         (HINSTANCE)GetWindowLongPtrA(w, GWLP_HINSTANCE) == GetModuleHandleA(NULL));
  g_oldProc = (WNDPROC)SetWindowLongPtrA(w, GWLP_WNDPROC, (LONG_PTR)subclassProc);
  printf("old proc is the class procedure: %d, new one reads back: %d\n",
         g_oldProc == loggingProc,
         (WNDPROC)GetWindowLongPtrA(w, GWLP_WNDPROC) == subclassProc);
  clearLog();
  LRESULT r = SendMessageA(w, WM_USER, 0, 0);
  LRESULT t = SendMessageA(w, WM_SETTEXT, 0, (LPARAM) "sub");
  printf("subclass answers %ld, forwards %ld, calls %d\n", (long)r, (long)t, g_subclassCalls);
  printLog("forwarded to the class procedure");
  char cls[32];
  GetClassNameA(w, cls, sizeof cls);
  printf("class name %s\n", cls);
  DestroyWindow(w);
  HWND s = create("S", "ProbeSkip", WS_OVERLAPPEDWINDOW | WS_VSCROLL, NULL);
  SCROLLINFO si = {sizeof si, SIF_ALL, 0, 0, 0, 0, 0};
  printf("NCCREATE skipped: text length %d, scroll info %d\n", GetWindowTextLengthA(s),
         GetScrollInfo(s, SB_VERT, &si));
  discard(s);
}

void defaultProcedure() {
  HWND w = create("W", "ProbeMisc", WS_OVERLAPPEDWINDOW, NULL);
  clearLog();
  printf("WM_SYSCHAR result %ld\n", (long)DefWindowProcA(w, WM_SYSCHAR, 'f', 1 << 29));
  printLog("WM_SYSCHAR");
  printf("WM_KEYDOWN result %ld\n", (long)DefWindowProcA(w, WM_KEYDOWN, 'A', 0));
  printf("unknown message result %ld\n", (long)DefWindowProcA(w, WM_USER + 5, 1, 2));
  DefWindowProcA(w, WM_NCCREATE, 0, 0);
  printf("WM_CREATE result %ld\n", (long)DefWindowProcA(w, WM_CREATE, 0, 0));
  logged("SC_CLOSE", SendMessageA(w, WM_SYSCOMMAND, SC_CLOSE, 0));
  printf("window gone: %d\n", !IsWindow(w));
  w = create("A", "ProbeMisc", WS_OVERLAPPEDWINDOW, NULL);
  HWND child = create("ac", "ProbeMisc", WS_CHILD, w);
  clearLog();
  DefWindowProcA(child, WM_SYSKEYDOWN, VK_F4, 1 << 29);
  pump();
  printLog("Alt+F4 in a child");
  printf("top-level gone: %d\n", !IsWindow(w));
  clearLog();
}

void controls() {
  g_ignoreFocus = true;  // a click moves the focus; that is not the point here
  HWND p = create("P", "ProbeMisc", WS_OVERLAPPEDWINDOW, NULL);
  HWND b = create("b", "BUTTON", WS_CHILD | BS_PUSHBUTTON, p, 11);
  HWND cb = create("cb", "Button", WS_CHILD | BS_AUTOCHECKBOX, p, 12);
  HWND e = create("e", "EDIT", WS_CHILD | ES_AUTOHSCROLL, p, 13);
  HWND st = create("st", "STATIC", WS_CHILD, p, 14);
  printf("button text '%s' id %d\n", windowText(b), GetDlgCtrlID(b));
  clearLog();
  logged("BM_CLICK", SendMessageA(b, BM_CLICK, 0, 0));
  printf("check before %ld", (long)SendMessageA(cb, BM_GETCHECK, 0, 0));
  SendMessageA(cb, BM_CLICK, 0, 0);
  printf(" after click %ld", (long)SendMessageA(cb, BM_GETCHECK, 0, 0));
  SendMessageA(cb, BM_SETCHECK, BST_UNCHECKED, 0);
  printf(" after BM_SETCHECK %ld\n", (long)SendMessageA(cb, BM_GETCHECK, 0, 0));
  clearLog();
  logged("edit WM_SETTEXT", SetWindowTextA(e, "hello"));
  DWORD start = 0, end = 0;
  SendMessageA(e, EM_SETSEL, 1, 3);
  SendMessageA(e, EM_GETSEL, (WPARAM)&start, (LPARAM)&end);
  printf("selection %lu..%lu\n", (unsigned long)start, (unsigned long)end);
  SendMessageA(e, EM_REPLACESEL, FALSE, (LPARAM) "EY");
  printf("after EM_REPLACESEL '%s'\n", windowText(e));
  printLog("edit EM_REPLACESEL");
  SetWindowTextA(st, "label");
  printf("static '%s'\n", windowText(st));
  printLog("static WM_SETTEXT");
  printf("GetDlgItem finds the edit: %d\n", GetDlgItem(p, 13) == e);

  g_oldProc = (WNDPROC)SetWindowLongPtrA(b, GWLP_WNDPROC, (LONG_PTR)subclassProc);
  g_subclassCalls = 0;
  LRESULT r = SendMessageA(b, WM_USER, 0, 0);
  SendMessageA(b, BM_CLICK, 0, 0);
  printf("subclassed button answers %ld, calls %d\n", (long)r, g_subclassCalls > 1);
  printLog("subclassed BM_CLICK");
  discard(p);
}

void services() {
  INITCOMMONCONTROLSEX icc = {sizeof icc, ICC_WIN95_CLASSES};
  printf("InitCommonControlsEx %d\n", InitCommonControlsEx(&icc));
  icc.dwSize = 4;
  printf("InitCommonControlsEx bad size %d\n", InitCommonControlsEx(&icc));
  HCURSOR c1 = LoadCursorA(NULL, IDC_ARROW), c2 = LoadCursorA(NULL, IDC_ARROW);
  printf("arrow cursor %d shared %d\n", c1 != NULL, c1 == c2);
  printf("module handle %d\n", GetModuleHandleA(NULL) != NULL);

  OPENFILENAMEA ofn = {};
  char file[260] = "";
  ofn.lStructSize = sizeof ofn - 4;
  ofn.lpstrFile = file;
  ofn.nMaxFile = sizeof file;
  for (bool save : {false, true}) {
    BOOL ok = save ? GetSaveFileNameA(&ofn) : GetOpenFileNameA(&ofn);
    printf("Get%sFileName bad size: %d error %#lx\n", save ? "Save" : "Open", ok,
           (unsigned long)CommDlgExtendedError());
  }
}

}  // namespace

int main() {
  registerClass("ProbeMisc", loggingProc, NULL, 0, 8);
  registerClass("ProbeSkip", skipNcCreateProc);
  windowData();
  defaultProcedure();
  controls();
  services();
}

// Window classes and window creation: registration rules, the creation
// message order of each kind of window, style fix-ups, CW_USEDEFAULT,
// lpCreateParams and the failure paths.
#include "probe.h"

using namespace probe;

namespace {

int g_ncCreateResult = 1;
int g_createResult = 0;
const CREATESTRUCTA* g_seenInNcCreate;
bool g_sameStructInCreate;

LRESULT CALLBACK creatingProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  record(hwnd, msg, wp, lp);
  if (msg == WM_NCCREATE) {
    const CREATESTRUCTA* cs = reinterpret_cast<const CREATESTRUCTA*>(lp);
    g_seenInNcCreate = cs;
    printf("  NCCREATE cs: x=%d y=%d cx=%d cy=%d style=%#lx ex=%#lx params=%d name=%s parent=%s\n",
           cs->x, cs->y, cs->cx, cs->cy, (unsigned long)cs->style, (unsigned long)cs->dwExStyle,
           cs->lpCreateParams ? *static_cast<const int*>(cs->lpCreateParams) : -1,
           cs->lpszName ? cs->lpszName : "(null)", hname(cs->hwndParent));
    if (g_ncCreateResult != 1) return g_ncCreateResult;
  }
  if (msg == WM_CREATE)
    g_sameStructInCreate = reinterpret_cast<const CREATESTRUCTA*>(lp) == g_seenInNcCreate;
  LRESULT def = DefWindowProcA(hwnd, msg, wp, lp);
  return msg == WM_CREATE && g_createResult != 0 ? g_createResult : def;
}

void registration() {
  printf("register: atom in 0xC000..0xFFFF: %d\n",
         registerClass("ProbeCreate", creatingProc) >= 0xC000);
  PRINT_ERR("register again", registerClass("ProbeCreate", creatingProc));
  PRINT_ERR("register other case", registerClass("PROBECREATE", creatingProc));
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof wc - 4;
  wc.lpfnWndProc = creatingProc;
  wc.lpszClassName = "ProbeBadSize";
  PRINT_ERR("register bad cbSize", RegisterClassExA(&wc));
  PRINT_ERR("unregister unknown", UnregisterClassA("ProbeNoSuchClass", GetModuleHandleA(NULL)));
  WNDCLASSEXA info = {};
  info.cbSize = sizeof info;
  printf("class info by other case: %d\n",
         GetClassInfoExA(GetModuleHandleA(NULL), "probecreate", &info) != 0);
}

HWND create(const char* name, DWORD ex, DWORD style, int x, int y, int w, int h, HWND parent,
            int id = 0, void* params = NULL) {
  return createAt("ProbeCreate", name, style, x, y, w, h, parent, ex, id, NULL, params);
}

void sequences() {
  HWND p = create("P", 0, WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  printLog("overlapped hidden");
  printf("show returns %d\n", ShowWindow(p, SW_SHOW));
  printLog("first show");
  printWindowRects("P", p);
  logged("child hidden", create("c", 0, WS_CHILD | WS_BORDER, 5, 6, 50, 40, p, 7));
  logged("child visible", create("v", 0, WS_CHILD | WS_VISIBLE, 60, 6, 50, 40, p, 8));
  logged("child no parent notify", create("q", WS_EX_NOPARENTNOTIFY, WS_CHILD, 0, 0, 10, 10, p, 9));
  HWND pop = create("pop", 0, WS_POPUP | WS_BORDER, 40, 50, 120, 80, p);
  printLog("popup hidden");
  printf("popup parent=%s owner=%s\n", hname(GetParent(pop)), hname(GetWindow(pop, GW_OWNER)));
  HWND w = create("w", 0, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 30, 40, 200, 150, NULL);
  printLog("overlapped visible");
  HWND o = create("o", 0, WS_OVERLAPPED, 0, 0, 100, 100, p);
  printLog("owned overlapped");
  printf("owned parent=%s owner=%s\n", hname(GetParent(o)), hname(GetWindow(o, GW_OWNER)));
  DestroyWindow(w);  // the others go with P
  clearLog();
  PRINT_ERR("unregister with windows", UnregisterClassA("ProbeCreate", GetModuleHandleA(NULL)));
  discard(p);
}

void styleFixups() {
  struct Case {
    const char* label;
    DWORD style, ex;
  } const cases[] = {
      {"overlappedwindow", WS_OVERLAPPEDWINDOW, 0},
      {"overlapped", WS_OVERLAPPED, 0},
      {"popup", WS_POPUP, 0},
      {"popup thickframe", WS_POPUP | WS_THICKFRAME, 0},
      {"popup staticedge+thick", WS_POPUP | WS_THICKFRAME, WS_EX_STATICEDGE},
      {"popup windowedge", WS_POPUP, WS_EX_WINDOWEDGE},
      {"popup dlgmodal", WS_POPUP, WS_EX_DLGMODALFRAME},
      {"visible popup", WS_POPUP | WS_VISIBLE, 0},
  };
  for (const Case& c : cases) {
    HWND h = create("s", c.ex, c.style, 0, 0, 100, 100, NULL);
    printf("style %s: %#lx ex %#lx\n", c.label, (unsigned long)GetWindowLongA(h, GWL_STYLE),
           (unsigned long)GetWindowLongA(h, GWL_EXSTYLE));
    DestroyWindow(h);
  }
  HWND p = create("p", 0, WS_POPUP, 0, 0, 100, 100, NULL);
  HWND c = create("c", 0, WS_CHILD | WS_DLGFRAME, 0, 0, 10, 10, p);
  printf("style child dlgframe: %#lx ex %#lx\n", (unsigned long)GetWindowLongA(c, GWL_STYLE),
         (unsigned long)GetWindowLongA(c, GWL_EXSTYLE));
  discard(p);
}

void defaults() {
  HWND a = create("a", 0, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 99, CW_USEDEFAULT, 77, NULL);
  printWindowRects("default overlapped", a);
  HWND b = create("b", 0, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0, 200, 100, NULL);
  printWindowRects("default position, size given", b);
  HWND pop = create("pop", 0, WS_POPUP, CW_USEDEFAULT, 99, CW_USEDEFAULT, 77, NULL);
  printWindowRects("default popup", pop);
  // With WS_VISIBLE and x = CW_USEDEFAULT, y is the first ShowWindow command.
  HWND hiddenByY = create("y0", 0, WS_OVERLAPPEDWINDOW | WS_VISIBLE, CW_USEDEFAULT, SW_HIDE,
                          CW_USEDEFAULT, 0, NULL);
  HWND maxByY = create("y3", 0, WS_OVERLAPPEDWINDOW | WS_VISIBLE, CW_USEDEFAULT, SW_SHOWMAXIMIZED,
                       CW_USEDEFAULT, 0, NULL);
  printf("y as show command: SW_HIDE visible %d, SW_SHOWMAXIMIZED visible %d zoomed %d\n",
         IsWindowVisible(hiddenByY), IsWindowVisible(maxByY), IsZoomed(maxByY));
  DestroyWindow(hiddenByY);
  DestroyWindow(maxByY);
  HWND c = create("c", 0, WS_CHILD, CW_USEDEFAULT, 99, CW_USEDEFAULT, 77, a);
  printWindowRects("default child", c);
  DestroyWindow(a);
  DestroyWindow(b);
  discard(pop);
}

void trackingLimits() {
  HWND o = create("o", 0, WS_OVERLAPPED, 10, 10, 300, 10, NULL);
  RECT r = windowRect(o);
  printf("overlapped 10 high: %ld high (minimum tracking height)\n", (long)(r.bottom - r.top));
  MoveWindow(o, 10, 10, 2000, 100, FALSE);
  printWindowRects("moved 2000 wide", o);
  discard(o);
}

void createParams() {
  HWND p = create("P", 0, WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  int value = 42;
  create("k", WS_EX_CLIENTEDGE, WS_CHILD | WS_VISIBLE, 3, 4, 30, 40, p, 5, &value);
  printf("same CREATESTRUCT in WM_CREATE: %d\n", g_sameStructInCreate);
  discard(p);
}

void failures() {
  HWND p = create("P", 0, WS_OVERLAPPEDWINDOW, 10, 20, 300, 200, NULL);
  clearLog();
  // "label: hwnd H err=E", the error cleared before the creation.
  auto tried = [](const char* label, HWND made) {
    printf("%s: hwnd %d err=%lu\n", label, made != NULL, GetLastError());
  };
  g_ncCreateResult = 0;
  SetLastError(0);
  tried("NCCREATE 0", create("f1", 0, WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, p));
  printLog("NCCREATE 0");
  g_ncCreateResult = 1;
  g_createResult = -1;
  SetLastError(0);
  tried("CREATE -1", create("f2", 0, WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, p));
  printLog("CREATE -1");
  g_createResult = -2;
  printf("CREATE -2: hwnd %d\n", create("f3", 0, WS_CHILD, 0, 0, 10, 10, p) != NULL);
  g_createResult = 0;
  clearLog();
  SetLastError(0);
  tried("child without parent", create("f4", 0, WS_CHILD, 0, 0, 10, 10, NULL));
  SetLastError(0);
  tried("unknown class", createAt("ProbeNoSuchClass", "", WS_POPUP, 0, 0, 10, 10, NULL));
  HWND d = create("d", 0, WS_CHILD, 1, 2, 10, 10, GetDesktopWindow());
  printf("child of desktop: parent=%s\n", hname(GetParent(d)));
  DestroyWindow(d);
  HWND t = create("t", 0, WS_POPUP, 1, 2, 10, 10, GetDesktopWindow());
  printf("popup with desktop parent: parent=%s owner=%s\n", hname(GetParent(t)),
         hname(GetWindow(t, GW_OWNER)));
  DestroyWindow(t);
  discard(p);
}

}  // namespace

int main() {
  registration();
  sequences();
  styleFixups();
  defaults();
  trackingLimits();
  createParams();
  failures();
  printf("unregister: %d\n", UnregisterClassA("ProbeCreate", GetModuleHandleA(NULL)));
}

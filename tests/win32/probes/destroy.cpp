// DestroyWindow: the order of WM_DESTROY and WM_NCDESTROY over a tree, owned
// windows, parent notification, hiding first, and what is left afterwards.
#include "probe.h"

using namespace probe;

namespace {

HWND create(const char* name, DWORD ex, DWORD style, HWND parent, int id = 0) {
  return createAt("ProbeDestroy", name, style, 0, 0, 100, 100, parent, ex, id);
}

HWND g_peekDuringDestroy;
int g_childrenAliveInParentDestroy = -1;

LRESULT CALLBACK destroyProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  record(hwnd, msg, wp, lp);
  if (msg == WM_DESTROY && hwnd == g_peekDuringDestroy)
    g_childrenAliveInParentDestroy = IsWindow(GetWindow(hwnd, GW_CHILD));
  return DefWindowProcA(hwnd, msg, wp, lp);
}

void tree() {
  HWND p = create("P", 0, WS_OVERLAPPEDWINDOW, NULL);
  HWND c1 = create("c1", 0, WS_CHILD, p, 1);
  create("g1", 0, WS_CHILD, c1, 2);
  create("g2", 0, WS_CHILD, c1, 3);
  create("c2", WS_EX_NOPARENTNOTIFY, WS_CHILD, p, 4);
  clearLog();
  g_peekDuringDestroy = p;
  BOOL ok = DestroyWindow(p);
  printf("destroy tree: %d, children alive during parent's WM_DESTROY: %d\n", ok,
         g_childrenAliveInParentDestroy);
  printLog("destroy tree");
  printf("IsWindow after: %d %d\n", IsWindow(p), IsWindow(c1));
}

void child() {
  HWND p = create("P", 0, WS_OVERLAPPEDWINDOW, NULL);
  HWND c = create("c", 0, WS_CHILD | WS_VISIBLE, p, 7);
  create("g", 0, WS_CHILD, c, 8);
  clearLog();
  logged("destroy visible child", DestroyWindow(c));
  ShowWindow(p, SW_SHOW);
  clearLog();
  logged("destroy visible top-level", DestroyWindow(p));
}

void owned() {
  HWND o = create("O", 0, WS_OVERLAPPEDWINDOW, NULL);
  HWND a = create("a", 0, WS_POPUP, o);
  create("ac", 0, WS_CHILD, a);
  create("b", 0, WS_OVERLAPPED, o);
  HWND oc = create("oc", 0, WS_CHILD, o);
  clearLog();
  logged("destroy owner", DestroyWindow(o));
  printf("owned gone: %d, child gone: %d\n", !IsWindow(a), !IsWindow(oc));
}

void afterwards() {
  HWND p = create("P", 0, WS_OVERLAPPEDWINDOW, NULL);
  HWND q = create("Q", 0, WS_OVERLAPPEDWINDOW, NULL);
  PostMessageA(p, WM_USER, 1, 2);
  PostMessageA(q, WM_USER + 1, 3, 4);
  PostMessageA(p, WM_USER + 2, 5, 6);
  discard(p);
  pump();
  printLog("posted messages after destroy");
  printf("destroy again: %d\n", DestroyWindow(p));
  PRINT_ERR("destroy bogus handle", DestroyWindow((HWND)(INT_PTR)0x7ffe));
  PRINT_ERR("post to destroyed", PostMessageA(p, WM_USER, 0, 0));
  PRINT_ERR("send to destroyed", SendMessageA(p, WM_USER, 0, 0));
  clearLog();
  logged("WM_CLOSE through DefWindowProc", SendMessageA(q, WM_CLOSE, 0, 0));
  printf("closed window gone: %d\n", !IsWindow(q));
  HWND r = create("R", 0, WS_OVERLAPPEDWINDOW, NULL);
  printf("new handle differs from destroyed ones: %d\n", r != p && r != q);
  discard(r);
}

}  // namespace

int main() {
  registerClass("ProbeDestroy", destroyProc);
  tree();
  child();
  owned();
  afterwards();
}

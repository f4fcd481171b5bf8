// Painting: update regions, BeginPaint's erase handshake, UpdateWindow,
// ValidateRect, and GDI objects (DeleteObject's results, SelectObject,
// SetMapMode).
#include "probe.h"

using namespace probe;

namespace {

LRESULT g_eraseResult = -1;  // -1: DefWindowProc decides
bool g_paintReport;

LRESULT CALLBACK paintProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  record(hwnd, msg, wp, lp);
  if (msg == WM_ERASEBKGND && g_eraseResult != -1) return g_eraseResult;
  if (msg == WM_PAINT) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(hwnd, &ps);
    if (g_paintReport)
      printf("  BeginPaint %s: dc %d fErase %d rcPaint (%ld,%ld)-(%ld,%ld)\n", hname(hwnd),
             dc != NULL, ps.fErase, (long)ps.rcPaint.left, (long)ps.rcPaint.top,
             (long)ps.rcPaint.right, (long)ps.rcPaint.bottom);
    BOOL ended = EndPaint(hwnd, &ps);
    if (g_paintReport) printf("  EndPaint %d\n", ended);
    return 0;
  }
  return DefWindowProcA(hwnd, msg, wp, lp);
}

HWND create(const char* name, const char* cls, DWORD style, int x, int y, int w, int h,
            HWND parent) {
  expect(name);
  HWND hwnd = CreateWindowExA(0, cls, name, style, x, y, w, h, parent, NULL,
                              GetModuleHandleA(NULL), NULL);
  if (hwnd) nameWindow(hwnd, name);
  return hwnd;
}

void printUpdate(const char* label, HWND hwnd) {
  RECT r;
  BOOL any = GetUpdateRect(hwnd, &r, FALSE);
  printf("%s: update %d (%ld,%ld)-(%ld,%ld)\n", label, any, (long)r.left, (long)r.top,
         (long)r.right, (long)r.bottom);
}

void updateRegions() {
  HWND p = create("P", "ProbePaint", WS_POPUP | WS_VISIBLE, 10, 10, 200, 150, NULL);
  pump();
  clearLog();
  g_paintReport = true;
  printUpdate("after show", p);
  RECT a = {10, 20, 30, 40}, b = {50, 5, 60, 25};
  BOOL r1 = InvalidateRect(p, &a, FALSE);
  BOOL r2 = InvalidateRect(p, &b, FALSE);
  printf("InvalidateRect returns %d %d\n", r1, r2);
  printUpdate("two rects", p);
  UpdateWindow(p);
  printLog("UpdateWindow without erase");
  printUpdate("after UpdateWindow", p);
  UpdateWindow(p);
  printLog("UpdateWindow with nothing to do");
  InvalidateRect(p, &a, TRUE);
  InvalidateRect(p, &b, FALSE);
  UpdateWindow(p);
  printLog("erase is sticky");
  g_eraseResult = 0;
  InvalidateRect(p, NULL, TRUE);
  UpdateWindow(p);
  printLog("erase handler returns 0");
  g_eraseResult = -1;
  InvalidateRgn(p, NULL, TRUE);
  printUpdate("InvalidateRgn NULL", p);
  ValidateRect(p, NULL);
  printUpdate("ValidateRect NULL", p);
  InvalidateRect(p, NULL, FALSE);
  RECT part = {0, 0, 200, 100};
  ValidateRect(p, &part);
  printUpdate("partly validated", p);
  ValidateRect(p, NULL);
  HWND h = create("h", "ProbePaint", WS_POPUP, 10, 10, 200, 150, NULL);
  InvalidateRect(h, NULL, TRUE);
  printUpdate("hidden window", h);
  DestroyWindow(h);
  HWND n = create("n", "ProbePaintNoBrush", WS_POPUP | WS_VISIBLE, 10, 10, 100, 50, NULL);
  pump();
  clearLog();
  InvalidateRect(n, NULL, TRUE);
  UpdateWindow(n);
  printLog("class without brush");
  DestroyWindow(n);
  g_paintReport = false;
  DestroyWindow(p);
  clearLog();
}

void children() {
  HWND p = create("P", "ProbePaint", WS_POPUP | WS_VISIBLE, 10, 10, 200, 150, NULL);
  HWND c = create("c", "ProbePaint", WS_CHILD | WS_VISIBLE, 10, 10, 50, 50, p);
  pump();
  clearLog();
  InvalidateRect(p, NULL, FALSE);
  printUpdate("child after parent invalidated", c);
  UpdateWindow(p);
  printLog("UpdateWindow parent");
  HWND k = create("K", "ProbePaint", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 10, 10, 200,
                  150, NULL);
  HWND kc = create("kc", "ProbePaint", WS_CHILD | WS_VISIBLE, 10, 10, 50, 50, k);
  pump();
  InvalidateRect(k, NULL, FALSE);
  printUpdate("child of clipchildren parent", kc);
  DestroyWindow(k);
  DestroyWindow(p);
  clearLog();
}

// A visible child still to paint is erased at once with its top-level
// parent's move or show when the parent clips its children; under a parent
// that does not, the parent's erasing covers it and it waits for its paint.
void childErasedWithParent() {
  struct Case {
    const char* what;
    DWORD parentStyle;
    UINT swp;
  };
  const Case cases[] = {
      {"resized with SWP_SHOWWINDOW, clipping", WS_VISIBLE | WS_CLIPCHILDREN, SWP_SHOWWINDOW},
      {"resized with SWP_SHOWWINDOW, not clipping", WS_VISIBLE, SWP_SHOWWINDOW},
      {"resized, clipping", WS_VISIBLE | WS_CLIPCHILDREN, 0},
      {"shown, clipping", WS_CLIPCHILDREN, SWP_SHOWWINDOW | SWP_NOSIZE | SWP_NOMOVE},
      {"shown, not clipping", 0, SWP_SHOWWINDOW | SWP_NOSIZE | SWP_NOMOVE},
  };
  for (const Case& k : cases) {
    pump();
    HWND p = create("P", "ProbePaint", WS_OVERLAPPEDWINDOW | k.parentStyle, 100, 100, 200, 200,
                    NULL);
    HWND c = create("c", "ProbePaint", WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, p);
    clearLog();
    SetWindowPos(p, NULL, 0, 0, 100, 100, k.swp);
    printf("parent %s: child", k.what);
    for (int i = 0; i < g_logCount; ++i)
      if (g_log[i].hwnd == c) printOne(g_log[i]);
    printf("\n");
    DestroyWindow(p);
    clearLog();
  }
}

void gdiObjects() {
  HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
  printf("brush created %d type %lu\n", brush != NULL, (unsigned long)GetObjectType(brush));
  BOOL d1 = DeleteObject(brush);
  BOOL d2 = DeleteObject(brush);
  BOOL d3 = DeleteObject(NULL);
  printf("DeleteObject brush %d again %d NULL %d\n", d1, d2, d3);
  HGDIOBJ white = GetStockObject(WHITE_BRUSH);
  BOOL d4 = DeleteObject(white);
  printf("DeleteObject stock %d, still valid %d same %d\n", d4,
         GetObjectType(white) == OBJ_BRUSH, GetStockObject(WHITE_BRUSH) == white);
  printf("stock types: brush %lu pen %lu font %lu\n",
         (unsigned long)GetObjectType(GetStockObject(BLACK_BRUSH)),
         (unsigned long)GetObjectType(GetStockObject(BLACK_PEN)),
         (unsigned long)GetObjectType(GetStockObject(SYSTEM_FIXED_FONT)));
  printf("invalid stock: %d\n", GetStockObject(1000) != NULL);
  printf("RGB(1,2,3) = %#lx\n", (unsigned long)RGB(1, 2, 3));

  HWND p = create("P", "ProbePaint", WS_POPUP | WS_VISIBLE, 10, 10, 200, 150, NULL);
  HDC dc = GetDC(p);
  printf("GetDC %d map mode %d\n", dc != NULL, GetMapMode(dc));
  int prev = SetMapMode(dc, MM_LOMETRIC);
  int prev2 = SetMapMode(dc, MM_TEXT);
  int bad = SetMapMode(dc, 99);
  printf("SetMapMode returns %d %d, invalid %d, now %d\n", prev, prev2, bad, GetMapMode(dc));
  HBRUSH red = CreateSolidBrush(RGB(255, 0, 0));
  HGDIOBJ old = SelectObject(dc, red);
  printf("SelectObject returns the stock white brush: %d\n", old == GetStockObject(WHITE_BRUSH));
  BOOL selectedDelete = DeleteObject(red);
  printf("DeleteObject of selected brush %d\n", selectedDelete);
  SelectObject(dc, old);
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(0, 0, 255));
  HGDIOBJ oldPen = SelectObject(dc, pen);
  printf("pen type %lu old is black pen %d\n", (unsigned long)GetObjectType(pen),
         oldPen == GetStockObject(BLACK_PEN));
  POINT was;
  MoveToEx(dc, 5, 6, NULL);
  MoveToEx(dc, 7, 8, &was);
  printf("MoveToEx previous %ld,%ld\n", (long)was.x, (long)was.y);
  printf("LineTo %d Rectangle %d\n", LineTo(dc, 20, 8), Rectangle(dc, 30, 30, 40, 40));
  SelectObject(dc, oldPen);
  DeleteObject(pen);
  COLORREF oldText = SetTextColor(dc, RGB(9, 8, 7));
  COLORREF oldBk = SetBkColor(dc, RGB(1, 1, 1));
  printf("default text colour %#lx background %#lx\n", (unsigned long)oldText,
         (unsigned long)oldBk);
  printf("TextOut %d\n", TextOutA(dc, 0, 0, "Hi", 2));
  RECT r = {0, 0, 10, 10};
  printf("FillRect %d, with system colour %d\n", FillRect(dc, &r, (HBRUSH)GetStockObject(GRAY_BRUSH)),
         FillRect(dc, &r, (HBRUSH)(COLOR_WINDOW + 1)));
  printf("ReleaseDC %d\n", ReleaseDC(p, dc));
  DestroyWindow(p);
  clearLog();
}

}  // namespace

int main() {
  registerClass("ProbePaint", paintProc, (HBRUSH)(COLOR_WINDOW + 1));
  registerClass("ProbePaintNoBrush", paintProc, NULL);
  updateRegions();
  children();
  childErasedWithParent();
  gdiObjects();
  return 0;
}

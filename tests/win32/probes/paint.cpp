// Painting: update regions, BeginPaint's erase handshake, UpdateWindow,
// ValidateRect, children (controls among them) painting under a parent that
// clips them, the clipping of CS_PARENTDC children, and GDI objects
// (DeleteObject's results, SelectObject, SetMapMode).
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
      printf("  BeginPaint %s: dc %d fErase %d rcPaint %s\n", hname(hwnd), dc != NULL, ps.fErase,
             rectText(ps.rcPaint));
    BOOL ended = EndPaint(hwnd, &ps);
    if (g_paintReport) printf("  EndPaint %d\n", ended);
    return 0;
  }
  return DefWindowProcA(hwnd, msg, wp, lp);
}

void printUpdate(const char* label, HWND hwnd) {
  RECT r;
  BOOL any = GetUpdateRect(hwnd, &r, FALSE);
  printf("%s: update %d %s\n", label, any, rectText(r));
}

void updateRegions() {
  HWND p = createAt("ProbePaint", "P", WS_POPUP | WS_VISIBLE, 10, 10, 200, 150, NULL);
  pump();
  clearLog();
  g_paintReport = true;
  printUpdate("after show", p);
  RECT a = {10, 20, 30, 40}, b = {50, 5, 60, 25};
  BOOL r1 = InvalidateRect(p, &a, FALSE), r2 = InvalidateRect(p, &b, FALSE);
  printf("InvalidateRect returns %d %d\n", r1, r2);
  printUpdate("two rects", p);
  logged("UpdateWindow without erase", UpdateWindow(p));
  printUpdate("after UpdateWindow", p);
  logged("UpdateWindow with nothing to do", UpdateWindow(p));
  InvalidateRect(p, &a, TRUE);
  InvalidateRect(p, &b, FALSE);
  logged("erase is sticky", UpdateWindow(p));
  g_eraseResult = 0;
  InvalidateRect(p, NULL, TRUE);
  logged("erase handler returns 0", UpdateWindow(p));
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
  HWND h = createAt("ProbePaint", "h", WS_POPUP, 10, 10, 200, 150, NULL);
  InvalidateRect(h, NULL, TRUE);
  printUpdate("hidden window", h);
  DestroyWindow(h);
  HWND n = createAt("ProbePaintNoBrush", "n", WS_POPUP | WS_VISIBLE, 10, 10, 100, 50, NULL);
  pump();
  clearLog();
  InvalidateRect(n, NULL, TRUE);
  logged("class without brush", UpdateWindow(n));
  DestroyWindow(n);
  g_paintReport = false;
  discard(p);
}

void children() {
  HWND p = createAt("ProbePaint", "P", WS_POPUP | WS_VISIBLE, 10, 10, 200, 150, NULL);
  HWND c = createAt("ProbePaint", "c", WS_CHILD | WS_VISIBLE, 10, 10, 50, 50, p);
  pump();
  clearLog();
  InvalidateRect(p, NULL, FALSE);
  printUpdate("child after parent invalidated", c);
  logged("UpdateWindow parent", UpdateWindow(p));
  HWND k =
      createAt("ProbePaint", "K", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 10, 10, 200, 150, NULL);
  HWND kc = createAt("ProbePaint", "kc", WS_CHILD | WS_VISIBLE, 10, 10, 50, 50, k);
  pump();
  InvalidateRect(k, NULL, FALSE);
  printUpdate("child of clipchildren parent", kc);
  DestroyWindow(k);
  discard(p);
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
    HWND p =
        createAt("ProbePaint", "P", WS_OVERLAPPEDWINDOW | k.parentStyle, 100, 100, 200, 200, NULL);
    HWND c = createAt("ProbePaint", "c", WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, p);
    clearLog();
    SetWindowPos(p, NULL, 0, 0, 100, 100, k.swp);
    printf("parent %s: child", k.what);
    for (int i = 0; i < g_logCount; ++i)
      if (g_log[i].hwnd == c) printOne(g_log[i]);
    printf("\n");
    discard(p);
  }
}

// Controls answer WM_CTLCOLOR* with this colour in the parents below, so a
// control that painted shows it whatever the system's own colours are.
const COLORREF kCtlColor = RGB(0, 160, 0);
HBRUSH g_ctlBrush;

LRESULT CALLBACK controlParentProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_CTLCOLORSTATIC || msg == WM_CTLCOLOREDIT) return (LRESULT)g_ctlBrush;
  return DefWindowProcA(hwnd, msg, wp, lp);
}

LRESULT CALLBACK fillingProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg != WM_PAINT) return DefWindowProcA(hwnd, msg, wp, lp);
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  RECT r = clientRect(hwnd);
  FillRect(dc, &r, g_ctlBrush);
  EndPaint(hwnd, &ps);
  return 0;
}

// WS_CLIPCHILDREN keeps the parent's drawing off its children; the children
// still paint themselves, the system's controls (which draw through their
// parent's DC where they may) included.
void childrenOfClippingParents() {
  struct Case {
    const char* what;
    DWORD parentStyle;
    bool staticParent;  // the child sits in a STATIC control inside the window
    const char* childClass;
    DWORD childStyle;
    bool buttonFace;  // it paints (4,4) in the button face colour, else in kCtlColor
  };
  const Case cases[] = {
      {"button, parent not clipping", 0, false, "Button", BS_PUSHBUTTON, true},
      {"button, clipping parent", WS_CLIPCHILDREN, false, "Button", BS_PUSHBUTTON, true},
      {"check box, clipping parent", WS_CLIPCHILDREN, false, "Button", BS_AUTOCHECKBOX, false},
      {"static, clipping parent", WS_CLIPCHILDREN, false, "Static", SS_LEFT, false},
      {"edit, clipping parent", WS_CLIPCHILDREN, false, "Edit", 0, false},
      {"multi-line edit, clipping parent", WS_CLIPCHILDREN, false, "Edit",
       ES_MULTILINE | ES_AUTOHSCROLL | ES_AUTOVSCROLL, false},
      {"own class, clipping parent", WS_CLIPCHILDREN, false, "ProbeFill", 0, false},
      {"button in a clipping static", WS_CLIPCHILDREN, true, "Button", BS_PUSHBUTTON, true},
  };
  for (const Case& k : cases) {
    HWND top = createAt("ProbeControlParent", "T",
                        WS_POPUP | WS_VISIBLE | (k.staticParent ? 0 : k.parentStyle), 10, 10, 200,
                        150, NULL);
    HWND parent = top;
    if (k.staticParent)
      parent =
          createAt("Static", "s", WS_CHILD | WS_VISIBLE | k.parentStyle, 20, 20, 160, 100, top);
    HWND child = createAt(k.childClass, "c", WS_CHILD | WS_VISIBLE | k.childStyle, 10, 20, 60, 24,
                          parent, 0, 0, "");
    pump();
    // What the child shows at (4,4) of its client area once everything
    // painted: "painted" when it is the colour its class paints there.
    HDC dc = GetDC(child);
    COLORREF c = GetPixel(dc, 4, 4);
    ReleaseDC(child, dc);
    if (c == (k.buttonFace ? GetSysColor(COLOR_BTNFACE) : kCtlColor))
      printf("%s: painted\n", k.what);
    else
      printf("%s: not painted (%#lx)\n", k.what, (unsigned long)c);
    discard(top);
  }
}

// Where a CS_PARENTDC child's DC clips (its clip box, in its own client
// coordinates): the parent's client area, or its own where the system does
// not let it draw through its parent.
void parentDcClipping() {
  struct Case {
    const char* what;
    const char* parentClass;
    DWORD parentStyle;
    DWORD childStyle;
  };
  const Case cases[] = {
      {"plain parent", "ProbeControlParent", 0, 0},
      {"parent clipping children", "ProbeControlParent", WS_CLIPCHILDREN, 0},
      {"child clipping siblings", "ProbeControlParent", 0, WS_CLIPSIBLINGS},
      {"child clipping children", "ProbeControlParent", 0, WS_CLIPCHILDREN},
      {"parent with its own DC", "ProbeOwnDC", 0, 0},
  };
  for (const Case& k : cases) {
    HWND p =
        createAt(k.parentClass, "P", WS_POPUP | WS_VISIBLE | k.parentStyle, 10, 10, 200, 150, NULL);
    HWND c =
        createAt("ProbeParentDC", "c", WS_CHILD | WS_VISIBLE | k.childStyle, 10, 20, 60, 24, p);
    pump();
    HDC dc = GetDC(c);
    RECT box;
    GetClipBox(dc, &box);
    ReleaseDC(c, dc);
    printf("CS_PARENTDC child, %s: clip box %s\n", k.what, rectText(box));
    discard(p);
  }
}

void gdiObjects() {
  HBRUSH brush = CreateSolidBrush(RGB(1, 2, 3));
  printf("brush created %d type %lu\n", brush != NULL, (unsigned long)GetObjectType(brush));
  BOOL d1 = DeleteObject(brush), d2 = DeleteObject(brush), d3 = DeleteObject(NULL);
  printf("DeleteObject brush %d again %d NULL %d\n", d1, d2, d3);
  HGDIOBJ white = GetStockObject(WHITE_BRUSH);
  BOOL d4 = DeleteObject(white);
  printf("DeleteObject stock %d, still valid %d same %d\n", d4, GetObjectType(white) == OBJ_BRUSH,
         GetStockObject(WHITE_BRUSH) == white);
  printf("stock types: brush %lu pen %lu font %lu\n",
         (unsigned long)GetObjectType(GetStockObject(BLACK_BRUSH)),
         (unsigned long)GetObjectType(GetStockObject(BLACK_PEN)),
         (unsigned long)GetObjectType(GetStockObject(SYSTEM_FIXED_FONT)));
  printf("invalid stock: %d\n", GetStockObject(1000) != NULL);
  printf("RGB(1,2,3) = %#lx\n", (unsigned long)RGB(1, 2, 3));

  HWND p = createAt("ProbePaint", "P", WS_POPUP | WS_VISIBLE, 10, 10, 200, 150, NULL);
  HDC dc = GetDC(p);
  printf("GetDC %d map mode %d\n", dc != NULL, GetMapMode(dc));
  int prev = SetMapMode(dc, MM_LOMETRIC), prev2 = SetMapMode(dc, MM_TEXT), bad = SetMapMode(dc, 99);
  printf("SetMapMode returns %d %d, invalid %d, now %d\n", prev, prev2, bad, GetMapMode(dc));
  HBRUSH red = CreateSolidBrush(RGB(255, 0, 0));
  HGDIOBJ old = SelectObject(dc, red);
  printf("SelectObject returns the stock white brush: %d\n", old == GetStockObject(WHITE_BRUSH));
  printf("DeleteObject of selected brush %d\n", DeleteObject(red));
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
  COLORREF oldText = SetTextColor(dc, RGB(9, 8, 7)), oldBk = SetBkColor(dc, RGB(1, 1, 1));
  printf("default text colour %#lx background %#lx\n", (unsigned long)oldText,
         (unsigned long)oldBk);
  printf("TextOut %d\n", TextOutA(dc, 0, 0, "Hi", 2));
  RECT r = {0, 0, 10, 10};
  printf("FillRect %d, with system colour %d\n",
         FillRect(dc, &r, (HBRUSH)GetStockObject(GRAY_BRUSH)),
         FillRect(dc, &r, (HBRUSH)(COLOR_WINDOW + 1)));
  printf("ReleaseDC %d\n", ReleaseDC(p, dc));
  discard(p);
}

}  // namespace

int main() {
  registerClass("ProbePaint", paintProc, (HBRUSH)(COLOR_WINDOW + 1));
  registerClass("ProbePaintNoBrush", paintProc, NULL);
  g_ctlBrush = CreateSolidBrush(kCtlColor);
  registerClass("ProbeControlParent", controlParentProc, CreateSolidBrush(RGB(200, 0, 0)));
  registerClass("ProbeOwnDC", controlParentProc, CreateSolidBrush(RGB(200, 0, 0)), CS_OWNDC);
  registerClass("ProbeFill", fillingProc, NULL);
  registerClass("ProbeParentDC", DefWindowProcA, NULL, CS_PARENTDC);
  updateRegions();
  children();
  childErasedWithParent();
  childrenOfClippingParents();
  parentDcClipping();
  gdiObjects();
}

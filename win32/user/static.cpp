// The STATIC class: text, its notification clicks and the colours it asks
// its parent for.
// Invariant: a static control tells its parent only through WM_COMMAND (and
// asks it for colours through WM_CTLCOLORSTATIC), sent, never posted.
#include "user/user.h"

namespace w32 {

LRESULT CALLBACK staticProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  switch (msg) {
  case WM_PAINT: {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(hwnd, &ps);
    HBRUSH brush = askParentForBrush(hwnd, dc, WM_CTLCOLORSTATIC);
    if ((w = findWindow(hwnd)) != nullptr) {
      RECT r = makeRect(0, 0, rectWidth(w->client), rectHeight(w->client));
      FillRect(dc, &r, brush);
      selectControlFont(dc, *w);
      SetBkMode(dc, TRANSPARENT);
      UINT align = (w->style & SS_CENTER) ? DT_CENTER : (w->style & SS_RIGHT) ? DT_RIGHT : DT_LEFT;
      if (w->style & SS_NOPREFIX) align |= DT_NOPREFIX;
      DrawTextA(dc, w->text.c_str(), -1, &r, align);
    }
    EndPaint(hwnd, &ps);
    return 0;
  }
  case WM_ERASEBKGND:
    return 1;
  case WM_GETDLGCODE:
    return DLGC_STATIC;
  case WM_SETFONT:
    setControlFont(hwnd, wp, lp);
    return 0;
  case WM_GETFONT:
    return reinterpret_cast<LRESULT>(w->ctl.font);
  case WM_SETTEXT: {
    LRESULT r = DefWindowProcA(hwnd, msg, wp, lp);
    InvalidateRect(hwnd, nullptr, TRUE);
    return r;
  }
  case WM_LBUTTONUP:
    if (w->style & SS_NOTIFY) notifyParent(hwnd, STN_CLICKED);
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace w32

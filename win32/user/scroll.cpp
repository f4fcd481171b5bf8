// Scroll bars: the data of a window's two bars and of SCROLLBAR controls,
// SetScrollInfo's clamping and showing rules, ShowScrollBar, and
// ScrollWindowEx, which moves pixels and children and reports what it
// uncovered.
// Invariants: after SetScrollInfo, 0 <= page <= max-min+1 and
// min <= pos <= max-max(page-1,0); a window's scroll data, once made, covers
// both bars and lives as long as the window.
#include "user/user.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

namespace w32 {

namespace {

bool isScrollControl(const Window& w) {
  return w.cls && w.cls->system && strcasecmp(w.cls->name.c_str(), "ScrollBar") == 0;
}

// SCROLLINFO sizes the system takes: the full one and the one without
// nTrackPos.
bool validInfo(const SCROLLINFO* si) {
  if (!si) return false;
  if (si->cbSize != sizeof(SCROLLINFO) && si->cbSize != sizeof(SCROLLINFO) - sizeof(int))
    return false;
  return (si->fMask & ~static_cast<UINT>(SIF_ALL | SIF_DISABLENOSCROLL)) == 0;
}

bool sameInfo(const ScrollBarInfo& a, const ScrollBarInfo& b) {
  return a.min == b.min && a.max == b.max && a.page == b.page && a.pos == b.pos;
}

int maxPosition(const ScrollBarInfo& info) {
  return info.max - std::max(static_cast<int>(info.page) - 1, 0);
}

// Sets or clears the style bits and recalculates the frame if they changed.
void showBars(HWND hwnd, DWORD bits, bool show) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  DWORD style = show ? (w->style | bits) : (w->style & ~bits);
  if (style == w->style) return;
  w->style = style;
  SetWindowPos(hwnd, NULL, 0, 0, 0, 0,
               SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

void redrawBar(HWND hwnd, int bar) {
  Window* w = findWindow(hwnd);
  if (!w || !isDrawable(*w)) return;
  if (bar == SB_CTL) InvalidateRect(hwnd, nullptr, TRUE);
  else paintNonClient(hwnd);
}

DWORD styleBitOf(int bar) {
  switch (bar) {
  case SB_HORZ: return WS_HSCROLL;
  case SB_VERT: return WS_VSCROLL;
  case SB_BOTH: return WS_HSCROLL | WS_VSCROLL;
  default: return 0;
  }
}

// The area ScrollWindowEx works on, in client coordinates.
RECT scrollArea(const Window& w, const RECT* scroll, const RECT* clip) {
  RECT client = makeRect(0, 0, rectWidth(w.client), rectHeight(w.client));
  RECT area = scroll ? intersectRects(*scroll, client) : client;
  if (clip) area = intersectRects(area, *clip);
  return area;
}

void moveChildren(HWND hwnd, int dx, int dy, const RECT* scroll) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  std::vector<HWND> children = w->children;
  for (HWND c : children) {
    Window* child = findWindow(c);
    if (!child) continue;
    if (scroll && rectEmpty(intersectRects(*scroll, child->window))) continue;
    SetWindowPos(c, NULL, child->window.left + dx, child->window.top + dy, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOREDRAW);
  }
}

}  // namespace

void createScrollData(Window& w) {
  if (w.hasScrollData) return;
  w.hasScrollData = true;
  w.hbar = ScrollBarInfo();
  w.vbar = ScrollBarInfo();
}

ScrollBarInfo* scrollInfoOf(Window& w, int bar) {
  if (bar == SB_CTL) return isScrollControl(w) ? &w.ctl.bar : nullptr;
  if (!w.hasScrollData) return nullptr;
  if (bar == SB_HORZ) return &w.hbar;
  if (bar == SB_VERT) return &w.vbar;
  return nullptr;
}

void scrollControlPaint(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  RECT r = makeRect(0, 0, rectWidth(w->client), rectHeight(w->client));
  FillRect(dc, &r, systemColorBrush(COLOR_SCROLLBAR));
  ScrollBarInfo& info = w->ctl.bar;
  bool vertical = (w->style & SBS_VERT) != 0;
  int length = vertical ? rectHeight(r) : rectWidth(r);
  int thick = vertical ? rectWidth(r) : rectHeight(r);
  int range = info.max - info.min + 1;
  int span = range - std::max(static_cast<int>(info.page), 1);
  if (span > 0 && length > 2 * thick) {
    int track = length - 2 * thick;
    int thumb = info.page ? std::max(8, track * static_cast<int>(info.page) / range) : thick;
    thumb = std::min(thumb, track);
    int value = info.tracking ? info.trackPos : info.pos;
    int at = thick + (track - thumb) * (value - info.min) / span;
    RECT t = vertical ? makeRect(0, at, rectWidth(r), at + thumb) : makeRect(at, 0, at + thumb, rectHeight(r));
    FillRect(dc, &t, systemColorBrush(COLOR_BTNFACE));
    FrameRect(dc, &t, systemColorBrush(COLOR_BTNSHADOW));
  }
  EndPaint(hwnd, &ps);
}

}  // namespace w32

using namespace w32;

extern "C" {

int WINAPI SetScrollInfo(HWND hwnd, int nBar, LPCSCROLLINFO lpsi, BOOL redraw) {
  Window* w = checkWindow(hwnd);
  if (!w || !validInfo(lpsi) || nBar < SB_HORZ || nBar > SB_CTL) return 0;
  if (nBar == SB_CTL && !isScrollControl(*w)) return 0;
  if (nBar != SB_CTL) createScrollData(*w);
  ScrollBarInfo& info = *scrollInfoOf(*w, nBar);
  const ScrollBarInfo before = info;
  UINT mask = lpsi->fMask;
  if (mask & SIF_PAGE) info.page = lpsi->nPage;
  if (mask & SIF_POS) info.pos = lpsi->nPos;
  if (mask & SIF_RANGE) {
    info.min = lpsi->nMin;
    info.max = lpsi->nMax;
    if (info.min > info.max) info.min = info.max = 0;
  }
  long long span = static_cast<long long>(info.max) - info.min + 1;
  if (static_cast<long long>(info.page) > span) info.page = static_cast<UINT>(span);
  info.pos = std::clamp(info.pos, info.min, std::max(info.min, maxPosition(info)));
  bool changed = !sameInfo(before, info);

  if (nBar != SB_CTL && (mask & (SIF_RANGE | SIF_PAGE | SIF_DISABLENOSCROLL))) {
    if (info.min >= maxPosition(info)) {
      // Disabled where it stands: a hidden bar stays hidden.
      if (mask & SIF_DISABLENOSCROLL) {
        info.disabledArrows = ESB_DISABLE_BOTH;
      } else if (changed) {
        showBars(hwnd, styleBitOf(nBar), false);
      }
    } else if (changed && mask != SIF_PAGE) {
      info.disabledArrows = ESB_ENABLE_BOTH;
      showBars(hwnd, styleBitOf(nBar), true);
    }
  }
  Window* again = findWindow(hwnd);
  if (!again) return 0;
  if (redraw) redrawBar(hwnd, nBar);
  return scrollInfoOf(*again, nBar)->pos;
}

BOOL WINAPI GetScrollInfo(HWND hwnd, int nBar, LPSCROLLINFO lpsi) {
  Window* w = checkWindow(hwnd);
  if (!w || !validInfo(lpsi) || !(lpsi->fMask & SIF_ALL)) return FALSE;
  ScrollBarInfo* info = scrollInfoOf(*w, nBar);
  if (!info) {
    SetLastError(ERROR_NO_SCROLLBARS);
    return FALSE;
  }
  if (lpsi->fMask & SIF_RANGE) {
    lpsi->nMin = info->min;
    lpsi->nMax = info->max;
  }
  if (lpsi->fMask & SIF_PAGE) lpsi->nPage = info->page;
  if (lpsi->fMask & SIF_POS) lpsi->nPos = info->pos;
  if ((lpsi->fMask & SIF_TRACKPOS) && lpsi->cbSize == sizeof(SCROLLINFO))
    lpsi->nTrackPos = info->tracking ? info->trackPos : info->pos;
  return TRUE;
}

int WINAPI SetScrollPos(HWND hWnd, int nBar, int nPos, BOOL bRedraw) {
  Window* w = checkWindow(hWnd);
  if (!w) return 0;
  ScrollBarInfo* info = scrollInfoOf(*w, nBar);
  int old = info ? info->pos : 0;
  SCROLLINFO si;
  memset(&si, 0, sizeof si);
  si.cbSize = sizeof si;
  si.fMask = SIF_POS;
  si.nPos = nPos;
  SetScrollInfo(hWnd, nBar, &si, bRedraw);
  return old;
}

int WINAPI GetScrollPos(HWND hWnd, int nBar) {
  Window* w = checkWindow(hWnd);
  if (!w) return 0;
  ScrollBarInfo* info = scrollInfoOf(*w, nBar);
  if (!info) {
    SetLastError(ERROR_NO_SCROLLBARS);
    return 0;
  }
  return info->pos;
}

BOOL WINAPI SetScrollRange(HWND hWnd, int nBar, int nMinPos, int nMaxPos, BOOL bRedraw) {
  if (!checkWindow(hWnd)) return FALSE;
  SCROLLINFO si;
  memset(&si, 0, sizeof si);
  si.cbSize = sizeof si;
  si.fMask = SIF_RANGE;
  si.nMin = nMinPos;
  si.nMax = nMaxPos;
  SetScrollInfo(hWnd, nBar, &si, bRedraw);
  return TRUE;
}

BOOL WINAPI GetScrollRange(HWND hWnd, int nBar, LPINT lpMinPos, LPINT lpMaxPos) {
  Window* w = checkWindow(hWnd);
  if (!w || !lpMinPos || !lpMaxPos) return FALSE;
  ScrollBarInfo* info = scrollInfoOf(*w, nBar);
  *lpMinPos = info ? info->min : 0;
  *lpMaxPos = info ? info->max : 0;
  return TRUE;
}

BOOL WINAPI ShowScrollBar(HWND hWnd, int wBar, BOOL bShow) {
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  if (wBar == SB_CTL) {
    ShowWindow(hWnd, bShow ? SW_SHOW : SW_HIDE);
    return TRUE;
  }
  DWORD bits = styleBitOf(wBar);
  if (!bits) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (bShow) createScrollData(*w);
  showBars(hWnd, bits, bShow != FALSE);
  return TRUE;
}

BOOL WINAPI EnableScrollBar(HWND hWnd, UINT wSBflags, UINT wArrows) {
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  bool changed = false;
  int bars[2] = {static_cast<int>(wSBflags), -1};
  if (wSBflags == SB_BOTH) {
    bars[0] = SB_HORZ;
    bars[1] = SB_VERT;
  }
  for (int bar : bars) {
    if (bar < 0) continue;
    ScrollBarInfo* info = scrollInfoOf(*w, bar);
    if (!info) continue;
    changed = changed || info->disabledArrows != wArrows;
    info->disabledArrows = wArrows;
    redrawBar(hWnd, bar);
  }
  return changed;
}

int WINAPI ScrollWindowEx(HWND hWnd, int dx, int dy, const RECT* prcScroll, const RECT* prcClip,
                          HRGN hrgnUpdate, LPRECT prcUpdate, UINT flags) {
  WindowRef w = pinWindow(hWnd);
  if (!w) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return ERROR;
  }
  RECT area = scrollArea(*w, prcScroll, prcClip);
  Region uncovered(area);
  uncovered.subtract(offsetRect(area, dx, dy));
  RECT box = uncovered.bounds();
  int kind = uncovered.empty() ? NULLREGION : uncovered.rects().size() == 1 ? SIMPLEREGION : COMPLEXREGION;

  if (isDrawable(*w) && !rectEmpty(area)) {
    Painter p = painterFor(*w, false);
    if (p.surface) p.surface->scroll(offsetRect(area, p.origin.x, p.origin.y), dx, dy);
  }
  if (!rectEmpty(w->update) && !rectEmpty(intersectRects(w->update, area)))
    w->update = intersectRects(unionRects(w->update, offsetRect(w->update, dx, dy)),
                               makeRect(0, 0, rectWidth(w->client), rectHeight(w->client)));
  if (flags & SW_SCROLLCHILDREN) moveChildren(hWnd, dx, dy, prcScroll);
  if (w->dead) return ERROR;
  if ((flags & SW_INVALIDATE) && !rectEmpty(box)) invalidate(*w, &box, (flags & SW_ERASE) != 0, false);
  if (prcUpdate) *prcUpdate = box;
  if (hrgnUpdate) SetRectRgn(hrgnUpdate, box.left, box.top, box.right, box.bottom);
  return kind;
}

BOOL WINAPI ScrollWindow(HWND hWnd, int XAmount, int YAmount, const RECT* lpRect,
                         const RECT* lpClipRect) {
  UINT flags = SW_INVALIDATE | SW_ERASE | (lpRect ? 0 : SW_SCROLLCHILDREN);
  return ScrollWindowEx(hWnd, XAmount, YAmount, lpRect, lpClipRect, NULL, NULL, flags) != ERROR;
}

}  // extern "C"

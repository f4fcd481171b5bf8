// Scroll bars: the data of a window's two bars and of SCROLLBAR controls,
// SetScrollInfo's clamping and showing rules, enabling, the bars' geometry
// (GetScrollBarInfo), the control's window procedure, and ScrollWindowEx,
// which moves pixels and children and reports what it uncovered.
// Invariants: after SetScrollInfo, 0 <= page <= max-min+1 and
// min <= pos <= max-max(page-1,0); a window's scroll data, once made, covers
// both bars and lives as long as the window. A control's bar is reached only
// through its SBM_* messages, so a subclass sees every change; a window is a
// scroll bar control only once the class's procedure handled its WM_CREATE
// with room for the control's data in the window's extra bytes.
#include "user/user.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

namespace w32 {

namespace {

// An fMask bit the system's own SetScrollPos passes: SetScrollInfo then
// returns the position before the call instead of the new one.
constexpr UINT kSifReturnPrevious = 0x1000;

bool isScrollControl(const Window& w) { return w.ctl.isScrollBar; }

// SCROLLINFO sizes the system takes: the full one and the one without
// nTrackPos; fMask may hold the known bits and kSifReturnPrevious.
bool validInfo(const SCROLLINFO* si) {
  if (!si) return false;
  if (si->cbSize != sizeof(SCROLLINFO) && si->cbSize != sizeof(SCROLLINFO) - sizeof(int))
    return false;
  return (si->fMask & ~static_cast<UINT>(SIF_ALL | SIF_DISABLENOSCROLL | kSifReturnPrevious)) == 0;
}

bool needsScrolling(const ScrollBarInfo& info) {
  return info.min < info.max - std::max(static_cast<int>(info.page) - 1, 0);
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

// The children ride along with the pixels without being told: the system
// sends them no WM_WINDOWPOSCHANGING, WM_WINDOWPOSCHANGED or WM_MOVE (Wine
// moves them with SetWindowPos, which its own message tests mark as not
// yet the system's way). Their descendants keep their places in them.
void moveChildren(Window& w, int dx, int dy, const RECT* scroll) {
  for (HWND c : w.children) {
    Window* child = findWindow(c);
    if (!child) continue;
    if (scroll && rectEmpty(intersectRects(*scroll, child->window))) continue;
    child->window = offsetRect(child->window, dx, dy);
    child->client = offsetRect(child->client, dx, dy);
    if (!(child->style & (WS_MINIMIZE | WS_MAXIMIZE))) child->normal = child->window;
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
  if (w->style & (SBS_SIZEBOX | SBS_SIZEGRIP)) {
    // A size box is a plain button-face square.
    FillRect(dc, &r, systemColorBrush(COLOR_BTNFACE));
    EndPaint(hwnd, &ps);
    return;
  }
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


int setScrollInfo(HWND hwnd, int nBar, const SCROLLINFO* lpsi, bool redraw) {
  Window* w = checkWindow(hwnd);
  if (!w || !validInfo(lpsi) || nBar < SB_HORZ || nBar > SB_CTL) return 0;
  if (nBar == SB_CTL && !isScrollControl(*w)) return 0;
  // Bars a window gets only now count as changed, so that they are shown.
  bool fresh = nBar != SB_CTL && !w->hasScrollData;
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
  bool changed = fresh || !sameInfo(before, info);
  int result = (mask & kSifReturnPrevious) ? before.pos : info.pos;

  if (nBar == SB_CTL) {
    // A control is enabled or disabled with its window, and only when it is
    // seen and asked to redraw.
    if ((mask & (SIF_RANGE | SIF_PAGE | SIF_DISABLENOSCROLL)) && redraw && isDrawable(*w)) {
      bool enable = needsScrolling(info) || !(mask & SIF_DISABLENOSCROLL);
      info.disabledArrows = enable ? ESB_ENABLE_BOTH : ESB_DISABLE_BOTH;
      EnableWindow(hwnd, enable);
    }
  } else if (mask & (SIF_RANGE | SIF_PAGE | SIF_DISABLENOSCROLL)) {
    if (!needsScrolling(info)) {
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
  if (!findWindow(hwnd)) return 0;
  if (redraw) redrawBar(hwnd, nBar);
  return result;
}

BOOL getScrollInfo(HWND hwnd, int nBar, SCROLLINFO* lpsi) {
  Window* w = checkWindow(hwnd);
  if (!w || !validInfo(lpsi) || !(lpsi->fMask & SIF_ALL)) return FALSE;
  ScrollBarInfo* info = scrollInfoOf(*w, nBar);
  if (!info) {
    if (nBar != SB_CTL) SetLastError(ERROR_NO_SCROLLBARS);
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

// Sets a bar's disabled arrows. A window's bar reports whether anything
// changed; a control always succeeds and follows ESB_ENABLE_BOTH and
// ESB_DISABLE_BOTH with its window's enabled state.
BOOL enableBar(HWND hwnd, int bar, UINT arrows) {
  Window* w = checkWindow(hwnd);
  if (!w) return FALSE;
  arrows &= ESB_DISABLE_BOTH;
  if (bar == SB_CTL) {
    if (!isScrollControl(*w)) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return FALSE;
    }
    w->ctl.bar.disabledArrows = arrows;
    if (arrows == ESB_DISABLE_BOTH || arrows == ESB_ENABLE_BOTH)
      EnableWindow(hwnd, arrows == ESB_ENABLE_BOTH);
    redrawBar(hwnd, SB_CTL);
    return TRUE;
  }
  if (bar != SB_HORZ && bar != SB_VERT && bar != SB_BOTH) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  createScrollData(*w);
  bool changed = false;
  for (int b : {SB_HORZ, SB_VERT}) {
    if (bar != SB_BOTH && bar != b) continue;
    ScrollBarInfo& info = *scrollInfoOf(*w, b);
    // With both bars, the horizontal one decides the result.
    if (bar == b || b == SB_HORZ) changed = info.disabledArrows != arrows;
    if (info.disabledArrows == arrows) continue;
    info.disabledArrows = arrows;
    redrawBar(hwnd, b);
  }
  return changed;
}

namespace {

// Where the arrows and the thumb of a bar lie along its length, counted from
// its top or left edge.
struct BarLayout {
  int arrow = 0;
  int thumbTop = 0;
  int thumbBottom = 0;
};

BarLayout layoutBar(const ScrollBarInfo& info, int length, int thickness) {
  BarLayout l;
  l.arrow = std::min(thickness, length / 2);
  int track = length - 2 * l.arrow;
  if (track < 8 || !needsScrolling(info) || info.disabledArrows == ESB_DISABLE_BOTH) return l;
  int range = info.max - info.min + 1;
  int thumb = info.page ? std::max(8, static_cast<int>(static_cast<long long>(track) *
                                                      static_cast<int>(info.page) / range))
                        : thickness;
  thumb = std::min(thumb, track);
  int span = range - std::max(static_cast<int>(info.page), 1);
  int value = info.tracking ? info.trackPos : info.pos;
  int offset = span > 0 ? static_cast<int>(static_cast<long long>(track - thumb) *
                                           (value - info.min) / span)
                        : 0;
  l.thumbTop = l.arrow + std::clamp(offset, 0, track - thumb);
  l.thumbBottom = l.thumbTop + thumb;
  return l;
}

void describeBar(const ScrollBarInfo& info, const RECT& screen, bool vertical, bool shown,
                 bool enabled, SCROLLBARINFO* out) {
  out->rcScrollBar = screen;
  int length = vertical ? rectHeight(screen) : rectWidth(screen);
  int thickness = vertical ? rectWidth(screen) : rectHeight(screen);
  BarLayout l = layoutBar(info, length, thickness);
  out->dxyLineButton = l.arrow;
  out->xyThumbTop = l.thumbTop;
  out->xyThumbBottom = l.thumbBottom;
  out->reserved = 0;
  memset(out->rgstate, 0, sizeof out->rgstate);
  if (!shown) out->rgstate[0] |= STATE_SYSTEM_INVISIBLE;
  if (!enabled || info.disabledArrows == ESB_DISABLE_BOTH) out->rgstate[0] |= STATE_SYSTEM_UNAVAILABLE;
  if (info.disabledArrows & ESB_DISABLE_LTUP) out->rgstate[1] |= STATE_SYSTEM_UNAVAILABLE;
  if (info.disabledArrows & ESB_DISABLE_RTDN) out->rgstate[5] |= STATE_SYSTEM_UNAVAILABLE;
  if (l.thumbBottom == l.thumbTop) out->rgstate[3] |= STATE_SYSTEM_INVISIBLE;
}

BOOL controlBarInfo(Window& w, SCROLLBARINFO* out) {
  if (!out || out->cbSize != sizeof(SCROLLBARINFO)) return FALSE;
  describeBar(w.ctl.bar, windowRectOnScreen(w), (w.style & SBS_VERT) != 0,
              (w.style & WS_VISIBLE) != 0, w.enabled, out);
  return TRUE;
}

}  // namespace

// The SCROLLBAR class's procedure: the SBM_* messages are the control's
// whole interface; SetScrollInfo and friends on SB_CTL arrive here.
LRESULT CALLBACK scrollBarProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  if (msg == WM_CREATE) {
    if (w->extra.size() < static_cast<size_t>(kScrollBarExtraBytes)) return 0;
    w->ctl.isScrollBar = true;
    w->ctl.bar = ScrollBarInfo();
    w->ctl.bar.max = 0;
    return 0;
  }
  if (!isScrollControl(*w) && msg >= SBM_SETPOS && msg <= SBM_GETSCROLLBARINFO)
    return DefWindowProcA(hwnd, msg, wp, lp);
  ScrollBarInfo& bar = w->ctl.bar;
  SCROLLINFO si;
  memset(&si, 0, sizeof si);
  si.cbSize = sizeof si;
  switch (msg) {
  case WM_PAINT:
    scrollControlPaint(hwnd);
    return 0;
  case WM_ERASEBKGND:
    return 1;
  case WM_GETDLGCODE:
    return DLGC_WANTARROWS;
  case WM_LBUTTONDOWN:
  case WM_LBUTTONDBLCLK: {
    POINT pt{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))};
    ClientToScreen(hwnd, &pt);
    trackScrollBar(hwnd, SB_CTL, pt);
    return 0;
  }
  case SBM_SETPOS:
    si.fMask = SIF_POS | kSifReturnPrevious;
    si.nPos = static_cast<int>(wp);
    return setScrollInfo(hwnd, SB_CTL, &si, lp != 0);
  case SBM_GETPOS:
    return bar.pos;
  case SBM_SETRANGE:
  case SBM_SETRANGEREDRAW: {
    int old = bar.pos;
    si.fMask = SIF_RANGE;
    si.nMin = static_cast<int>(wp);
    si.nMax = static_cast<int>(lp);
    int now = setScrollInfo(hwnd, SB_CTL, &si, msg == SBM_SETRANGEREDRAW);
    return now != old ? old : 0;
  }
  case SBM_GETRANGE:
    if (wp) *reinterpret_cast<int*>(wp) = bar.min;
    if (lp) *reinterpret_cast<int*>(lp) = bar.max;
    return 0;
  case SBM_ENABLE_ARROWS:
    return enableBar(hwnd, SB_CTL, static_cast<UINT>(wp));
  case SBM_SETSCROLLINFO:
    return setScrollInfo(hwnd, SB_CTL, reinterpret_cast<const SCROLLINFO*>(lp), wp != 0);
  case SBM_GETSCROLLINFO:
    return getScrollInfo(hwnd, SB_CTL, reinterpret_cast<SCROLLINFO*>(lp));
  case SBM_GETSCROLLBARINFO:
    return controlBarInfo(*w, reinterpret_cast<SCROLLBARINFO*>(lp));
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}


namespace {

// Where on a bar a press lands: a scroll code, or -1 on the thumb, -2 where
// it does nothing (a bar with no thumb).
int partAt(const SCROLLBARINFO& info, bool vertical, POINT screen) {
  const RECT& r = info.rcScrollBar;
  int at = vertical ? screen.y - r.top : screen.x - r.left;
  int length = vertical ? rectHeight(r) : rectWidth(r);
  if (at < info.dxyLineButton) return SB_LINEUP;
  if (at >= length - info.dxyLineButton) return SB_LINEDOWN;
  if (info.xyThumbTop == info.xyThumbBottom) return -2;
  if (at < info.xyThumbTop) return SB_PAGEUP;
  if (at >= info.xyThumbBottom) return SB_PAGEDOWN;
  return -1;
}

// The position that puts the thumb's top at thumbTop along the bar.
int positionFor(const ScrollBarInfo& bar, const SCROLLBARINFO& info, bool vertical, int thumbTop) {
  int length = vertical ? rectHeight(info.rcScrollBar) : rectWidth(info.rcScrollBar);
  int thumb = info.xyThumbBottom - info.xyThumbTop;
  int track = length - 2 * info.dxyLineButton - thumb;
  int span = bar.max - bar.min + 1 - std::max(static_cast<int>(bar.page), 1);
  if (track <= 0 || span <= 0) return bar.pos;
  int along = std::clamp(thumbTop - info.dxyLineButton, 0, track);
  return bar.min + static_cast<int>((static_cast<long long>(along) * span + track / 2) / track);
}

}  // namespace

void trackScrollBar(HWND hwnd, int bar, POINT screen) {
  Window* w = findWindow(hwnd);
  if (!w || !w->enabled) return;
  const bool control = bar == SB_CTL;
  const bool vertical = control ? (w->style & SBS_VERT) != 0 : bar == SB_VERT;
  SCROLLBARINFO info{};
  info.cbSize = sizeof info;
  LONG object = control ? OBJID_CLIENT : (vertical ? OBJID_VSCROLL : OBJID_HSCROLL);
  if (!GetScrollBarInfo(hwnd, object, &info)) return;
  const int part = partAt(info, vertical, screen);
  if (part == -2) return;
  const HWND to = control && isChild(*w) ? w->parent : hwnd;
  const UINT message = vertical ? WM_VSCROLL : WM_HSCROLL;
  const LPARAM from = control ? reinterpret_cast<LPARAM>(hwnd) : 0;
  auto send = [&](int code, int position) {
    if (findWindow(to)) sendMessage(to, message, MAKEWPARAM(code, position), from);
  };
  // The thumb follows the cursor from where it was grabbed; GetScrollInfo
  // reports its place as the track position until the release.
  const int grab = (vertical ? screen.y - info.rcScrollBar.top : screen.x - info.rcScrollBar.left) -
                   info.xyThumbTop;
  auto trackingBar = [&]() -> ScrollBarInfo* {
    Window* now = findWindow(hwnd);
    return now ? scrollInfoOf(*now, bar) : nullptr;
  };
  int track = trackingBar() ? trackingBar()->pos : 0;
  if (part >= 0) send(part, 0);
  if (ScrollBarInfo* b = trackingBar(); b && part == -1) {
    b->tracking = true;
    b->trackPos = track;
  }
  SetCapture(hwnd);
  for (;;) {
    MSG msg;
    BOOL got = GetMessageA(&msg, NULL, WM_MOUSEFIRST, WM_MOUSELAST);
    if (got <= 0 || !findWindow(hwnd)) break;
    if (msg.message == WM_LBUTTONUP) break;
    ScrollBarInfo* b = trackingBar();
    if (msg.message != WM_MOUSEMOVE || part != -1 || !b) continue;
    int at = vertical ? msg.pt.y - info.rcScrollBar.top : msg.pt.x - info.rcScrollBar.left;
    int position = positionFor(*b, info, vertical, at - grab);
    if (position == track) continue;
    track = b->trackPos = position;
    send(SB_THUMBTRACK, position);
  }
  if (GetCapture() == hwnd) ReleaseCapture();
  if (part == -1) {
    send(SB_THUMBPOSITION, track);
    if (ScrollBarInfo* b = trackingBar()) b->tracking = false;
  }
  send(SB_ENDSCROLL, 0);
}

}  // namespace w32

using namespace w32;

extern "C" {

int WINAPI SetScrollInfo(HWND hwnd, int nBar, LPCSCROLLINFO lpsi, BOOL redraw) {
  if (nBar == SB_CTL) {
    if (!checkWindow(hwnd)) return 0;
    return static_cast<int>(sendMessage(hwnd, SBM_SETSCROLLINFO, redraw, reinterpret_cast<LPARAM>(lpsi)));
  }
  return setScrollInfo(hwnd, nBar, lpsi, redraw != FALSE);
}

BOOL WINAPI GetScrollInfo(HWND hwnd, int nBar, LPSCROLLINFO lpsi) {
  // SB_CTL asks the window itself, and succeeds whatever it answers.
  if (nBar == SB_CTL) {
    if (!checkWindow(hwnd)) return FALSE;
    sendMessage(hwnd, SBM_GETSCROLLINFO, 0, reinterpret_cast<LPARAM>(lpsi));
    return TRUE;
  }
  return getScrollInfo(hwnd, nBar, lpsi);
}

BOOL WINAPI GetScrollBarInfo(HWND hwnd, LONG idObject, PSCROLLBARINFO psbi) {
  Window* w = checkWindow(hwnd);
  if (!w) return FALSE;
  if (idObject == OBJID_CLIENT)
    return sendMessage(hwnd, SBM_GETSCROLLBARINFO, 0, reinterpret_cast<LPARAM>(psbi)) != 0;
  if ((idObject != OBJID_HSCROLL && idObject != OBJID_VSCROLL) || !psbi ||
      psbi->cbSize != sizeof(SCROLLBARINFO)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  int bar = idObject == OBJID_HSCROLL ? SB_HORZ : SB_VERT;
  createScrollData(*w);
  RECT r = scrollBarRect(*w, bar);
  RECT screen = windowRectOnScreen(*w);
  describeBar(*scrollInfoOf(*w, bar), offsetRect(r, screen.left, screen.top), bar == SB_VERT,
              (w->style & styleBitOf(bar)) != 0, w->enabled, psbi);
  return TRUE;
}

int WINAPI SetScrollPos(HWND hWnd, int nBar, int nPos, BOOL bRedraw) {
  SCROLLINFO si;
  memset(&si, 0, sizeof si);
  si.cbSize = sizeof si;
  si.fMask = SIF_POS | kSifReturnPrevious;
  si.nPos = nPos;
  return SetScrollInfo(hWnd, nBar, &si, bRedraw);
}

int WINAPI GetScrollPos(HWND hWnd, int nBar) {
  Window* w = checkWindow(hWnd);
  if (!w) return 0;
  if (nBar == SB_CTL) return static_cast<int>(sendMessage(hWnd, SBM_GETPOS, 0, 0));
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
  if (nBar == SB_CTL) {
    *lpMinPos = *lpMaxPos = 0;
    sendMessage(hWnd, SBM_GETRANGE, reinterpret_cast<WPARAM>(lpMinPos),
                reinterpret_cast<LPARAM>(lpMaxPos));
    return TRUE;
  }
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
  return enableBar(hWnd, static_cast<int>(wSBflags), wArrows);
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
    // The scrolled bits may land outside the scroll rectangle, within the
    // clip rectangle (the client area without one).
    RECT client = makeRect(0, 0, rectWidth(w->client), rectHeight(w->client));
    RECT target = prcClip ? intersectRects(*prcClip, client) : client;
    Painter p = painterFor(*w, false);
    if (p.surface)
      p.surface->scroll(offsetRect(area, p.origin.x, p.origin.y),
                        offsetRect(target, p.origin.x, p.origin.y), dx, dy);
  }
  if (!rectEmpty(w->update) && !rectEmpty(intersectRects(w->update, area)))
    w->update = intersectRects(unionRects(w->update, offsetRect(w->update, dx, dy)),
                               makeRect(0, 0, rectWidth(w->client), rectHeight(w->client)));
  if (flags & SW_SCROLLCHILDREN) moveChildren(*w, dx, dy, prcScroll);
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

// The non-client area: system metrics and colours, frame widths
// (AdjustWindowRectEx, WM_NCCALCSIZE), WM_GETMINMAXINFO defaults, hit
// testing and the painting of frames, captions and scroll bars.
// Invariant: one table of metrics feeds every calculation, so a frame drawn,
// a client rectangle computed and a rectangle adjusted always agree.
#include "user/user.h"

#include "user/menu.h"

#include <algorithm>
#include <cstring>

namespace w32 {

namespace {

// Pixels; the values of a default desktop of the system at 96 dpi.
constexpr int kBorder = 1;         // SM_CXBORDER
constexpr int kEdge = 2;           // SM_CXEDGE
constexpr int kDlgFrame = 3;       // SM_CXDLGFRAME
constexpr int kSizeFrame = 4;      // SM_CXFRAME
constexpr int kCaption = 19;       // SM_CYCAPTION (a one-pixel line included)
constexpr int kSmallCaption = 16;  // SM_CYSMCAPTION, tool windows' captions
constexpr int kSmallCaptionButton = 15;  // SM_CXSMSIZE
constexpr int kMenu = 19;          // SM_CYMENU
constexpr int kScrollBar = 17;     // SM_CXVSCROLL, SM_CYHSCROLL, arrows and thumbs
constexpr int kCaptionButton = 18; // SM_CXSIZE
constexpr int kMinTrackWidth = 112;
constexpr int kMinTrackHeight = 27;

struct Metric {
  int index;
  int value;
};

constexpr Metric kMetrics[] = {
    {SM_CXSCREEN, kScreenWidth},
    {SM_CYSCREEN, kScreenHeight},
    {SM_CXVSCROLL, kScrollBar},
    {SM_CYHSCROLL, kScrollBar},
    {SM_CYCAPTION, kCaption},
    {SM_CXBORDER, kBorder},
    {SM_CYBORDER, kBorder},
    {SM_CXDLGFRAME, kDlgFrame},
    {SM_CYDLGFRAME, kDlgFrame},
    {SM_CYVTHUMB, kScrollBar},
    {SM_CXHTHUMB, kScrollBar},
    {SM_CXICON, 32},
    {SM_CYICON, 32},
    {SM_CXCURSOR, 32},
    {SM_CYCURSOR, 32},
    {SM_CYMENU, kMenu},
    {SM_CXFULLSCREEN, kScreenWidth},
    {SM_CYFULLSCREEN, kScreenHeight - kCaption},
    {SM_CYVSCROLL, kScrollBar},
    {SM_CXHSCROLL, kScrollBar},
    {SM_CXMIN, kMinTrackWidth},
    {SM_CYMIN, kMinTrackHeight},
    {SM_CXSIZE, kCaptionButton},
    {SM_CYSIZE, kCaptionButton},
    {SM_CYSMCAPTION, kSmallCaption},
    {SM_CXSMSIZE, kSmallCaptionButton},
    {SM_CYSMSIZE, kSmallCaptionButton},
    {SM_CXMENUSIZE, kMenu - 1},
    {SM_CYMENUSIZE, kMenu - 1},
    {SM_CXMENUCHECK, 13},
    {SM_CYMENUCHECK, 13},
    {SM_CXSMICON, 16},
    {SM_CYSMICON, 16},
    {SM_CXFRAME, kSizeFrame},
    {SM_CYFRAME, kSizeFrame},
    {SM_CXMINTRACK, kMinTrackWidth},
    {SM_CYMINTRACK, kMinTrackHeight},
    {SM_CXDOUBLECLK, 4},
    {SM_CYDOUBLECLK, 4},
    {SM_CXICONSPACING, 75},
    {SM_CYICONSPACING, 75},
    {SM_CXEDGE, kEdge},
    {SM_CYEDGE, kEdge},
    {SM_CXMINIMIZED, kMinimizedWidth},
    {SM_CYMINIMIZED, kMinimizedHeight},
    {SM_CXMAXTRACK, kScreenWidth + 4 + 2 * kSizeFrame},
    {SM_CYMAXTRACK, kScreenHeight + 4 + 2 * kSizeFrame},
    {SM_CXMAXIMIZED, kScreenWidth + 2 * kSizeFrame},
    {SM_CYMAXIMIZED, kScreenHeight + 2 * kSizeFrame},
    {SM_CXVIRTUALSCREEN, kScreenWidth},
    {SM_CYVIRTUALSCREEN, kScreenHeight},
    {SM_CMONITORS, 1},
    {SM_CXPADDEDBORDER, 0},
    {SM_MOUSEPRESENT, 1},
    {SM_CMOUSEBUTTONS, 3},
    {SM_CXMINSPACING, kMinimizedWidth},
    {SM_CYMINSPACING, kMinimizedHeight},
    {SM_ARRANGE, 8},  // ARW_BOTTOMLEFT | ARW_HIDE
    {SM_CXDRAG, 4},
    {SM_CYDRAG, 4},
    {SM_CXFOCUSBORDER, 1},
    {SM_CYFOCUSBORDER, 1},
};

// The classic scheme; COLOR_WINDOW, COLOR_WINDOWTEXT and COLOR_BTNFACE are
// the ones programs rely on.
constexpr COLORREF kDefaultSysColors[] = {
    RGB(200, 200, 200),  // COLOR_SCROLLBAR
    RGB(0, 128, 128),    // COLOR_BACKGROUND
    RGB(0, 0, 128),      // COLOR_ACTIVECAPTION
    RGB(128, 128, 128),  // COLOR_INACTIVECAPTION
    RGB(192, 192, 192),  // COLOR_MENU
    RGB(255, 255, 255),  // COLOR_WINDOW
    RGB(0, 0, 0),        // COLOR_WINDOWFRAME
    RGB(0, 0, 0),        // COLOR_MENUTEXT
    RGB(0, 0, 0),        // COLOR_WINDOWTEXT
    RGB(255, 255, 255),  // COLOR_CAPTIONTEXT
    RGB(192, 192, 192),  // COLOR_ACTIVEBORDER
    RGB(192, 192, 192),  // COLOR_INACTIVEBORDER
    RGB(128, 128, 128),  // COLOR_APPWORKSPACE
    RGB(0, 0, 128),      // COLOR_HIGHLIGHT
    RGB(255, 255, 255),  // COLOR_HIGHLIGHTTEXT
    RGB(192, 192, 192),  // COLOR_BTNFACE
    RGB(128, 128, 128),  // COLOR_BTNSHADOW
    RGB(128, 128, 128),  // COLOR_GRAYTEXT
    RGB(0, 0, 0),        // COLOR_BTNTEXT
    RGB(192, 192, 192),  // COLOR_INACTIVECAPTIONTEXT
    RGB(255, 255, 255),  // COLOR_BTNHIGHLIGHT
    RGB(64, 64, 64),     // COLOR_3DDKSHADOW
    RGB(223, 223, 223),  // COLOR_3DLIGHT
    RGB(0, 0, 0),        // COLOR_INFOTEXT
    RGB(255, 255, 225),  // COLOR_INFOBK
    RGB(184, 180, 184),  // 25, unused
    RGB(0, 0, 255),      // COLOR_HOTLIGHT
    RGB(16, 132, 208),   // COLOR_GRADIENTACTIVECAPTION
    RGB(192, 192, 192),  // COLOR_GRADIENTINACTIVECAPTION
    RGB(0, 0, 128),      // COLOR_MENUHILIGHT
    RGB(192, 192, 192),  // COLOR_MENUBAR
};
constexpr int kSysColorCount =
    static_cast<int>(sizeof kDefaultSysColors / sizeof kDefaultSysColors[0]);

// The colours in force: the defaults until SetSysColors changes them.
COLORREF* sysColors() {
  static COLORREF colors[kSysColorCount];
  static bool filled = false;
  if (!filled) {
    memcpy(colors, kDefaultSysColors, sizeof colors);
    filled = true;
  }
  return colors;
}

bool hasCaption(DWORD style) { return (style & WS_CAPTION) == WS_CAPTION; }

// Tool windows have the small caption.
int captionHeight(DWORD exStyle) {
  return (exStyle & WS_EX_TOOLWINDOW) ? kSmallCaption : kCaption;
}

// ---- Painting helpers ----

void edge(const Painter& p, const RECT& r, COLORREF topLeft, COLORREF bottomRight) {
  p.fill(makeRect(r.left, r.top, r.right, r.top + 1), topLeft);
  p.fill(makeRect(r.left, r.top, r.left + 1, r.bottom), topLeft);
  p.fill(makeRect(r.left, r.bottom - 1, r.right, r.bottom), bottomRight);
  p.fill(makeRect(r.right - 1, r.top, r.right, r.bottom), bottomRight);
}

RECT shrink(const RECT& r, int by) {
  return makeRect(r.left + by, r.top + by, r.right - by, r.bottom - by);
}

void raisedBox(const Painter& p, const RECT& r) {
  p.fill(r, sysColor(COLOR_BTNFACE));
  edge(p, r, sysColor(COLOR_3DLIGHT), sysColor(COLOR_3DDKSHADOW));
  edge(p, shrink(r, 1), sysColor(COLOR_BTNHIGHLIGHT), sysColor(COLOR_BTNSHADOW));
}

// A small filled triangle pointing in one of four directions.
void arrow(const Painter& p, const RECT& box, int direction, COLORREF c) {
  int cx = (box.left + box.right) / 2, cy = (box.top + box.bottom) / 2;
  for (int i = 0; i < 4; ++i) {
    for (int j = -i; j <= i; ++j) {
      switch (direction) {
      case 0: p.pixel(cx + j, cy - 2 + i, c); break;  // up
      case 1: p.pixel(cx + j, cy + 1 - i, c); break;  // down
      case 2: p.pixel(cx - 2 + i, cy + j, c); break;  // left
      default: p.pixel(cx + 1 - i, cy + j, c); break; // right
      }
    }
  }
}

void paintScrollBar(const Painter& p, Window& w, int bar) {
  RECT r = scrollBarRect(w, bar);
  if (rectEmpty(r)) return;
  bool vertical = bar == SB_VERT;
  p.fill(r, sysColor(COLOR_SCROLLBAR));
  int length = vertical ? rectHeight(r) : rectWidth(r);
  int button = std::min(kScrollBar, length / 2);
  RECT first = vertical ? makeRect(r.left, r.top, r.right, r.top + button)
                        : makeRect(r.left, r.top, r.left + button, r.bottom);
  RECT last = vertical ? makeRect(r.left, r.bottom - button, r.right, r.bottom)
                       : makeRect(r.right - button, r.top, r.right, r.bottom);
  ScrollBarInfo* info = scrollInfoOf(w, bar);
  bool disabled = !info || info->min >= info->max - std::max<int>(static_cast<int>(info->page) - 1, 0) ||
                  info->disabledArrows == ESB_DISABLE_BOTH;
  COLORREF ink = sysColor(disabled ? COLOR_GRAYTEXT : COLOR_BTNTEXT);
  raisedBox(p, first);
  raisedBox(p, last);
  arrow(p, first, vertical ? 0 : 2, ink);
  arrow(p, last, vertical ? 1 : 3, ink);
  int track = length - 2 * button;
  if (disabled || track < 8) return;
  int range = info->max - info->min + 1;
  int thumb = info->page ? std::max(8, static_cast<int>(static_cast<long long>(track) *
                                                         static_cast<int>(info->page) / range))
                         : kScrollBar;
  thumb = std::min(thumb, track);
  int span = range - std::max<int>(static_cast<int>(info->page), 1);
  int value = info->tracking ? info->trackPos : info->pos;
  int offset = span > 0 ? static_cast<int>(static_cast<long long>(track - thumb) *
                                           (value - info->min) / span)
                        : 0;
  offset = std::clamp(offset, 0, track - thumb);
  RECT t = vertical ? makeRect(r.left, r.top + button + offset, r.right,
                               r.top + button + offset + thumb)
                    : makeRect(r.left + button + offset, r.top, r.left + button + offset + thumb,
                               r.bottom);
  raisedBox(p, t);
}

void paintCaption(const Painter& p, const Window& w, const RECT& r) {
  bool active = activeWindow() == const_cast<Window&>(w).hwnd ||
                activeWindow() == topLevelOf(const_cast<Window&>(w)).hwnd;
  const int height = captionHeight(w.exStyle);
  RECT bar = makeRect(r.left, r.top, r.right, r.top + height - 1);
  p.fill(bar, sysColor(active ? COLOR_ACTIVECAPTION : COLOR_INACTIVECAPTION));
  p.fill(makeRect(r.left, r.top + height - 1, r.right, r.top + height), sysColor(COLOR_BTNFACE));
  int right = bar.right - 2;
  if (w.style & WS_SYSMENU) {
    RECT close = makeRect(right - 16, bar.top + 2, right, bar.top + 16);
    raisedBox(p, close);
    COLORREF ink = sysColor(COLOR_BTNTEXT);
    for (int i = 0; i < 6; ++i) {
      p.pixel(close.left + 5 + i, close.top + 4 + i, ink);
      p.pixel(close.left + 10 - i, close.top + 4 + i, ink);
    }
    right = close.left - 2;
    if (w.style & (WS_MINIMIZEBOX | WS_MAXIMIZEBOX)) {
      RECT max = makeRect(right - 16, bar.top + 2, right, bar.top + 16);
      RECT min = makeRect(max.left - 16, bar.top + 2, max.left, bar.top + 16);
      raisedBox(p, max);
      raisedBox(p, min);
      p.frame(makeRect(max.left + 4, max.top + 3, max.right - 4, max.bottom - 3), ink);
      p.fill(makeRect(min.left + 4, min.bottom - 5, min.left + 10, min.bottom - 3), ink);
      right = min.left - 2;
    }
  }
  COLORREF fg = sysColor(active ? COLOR_CAPTIONTEXT : COLOR_INACTIVECAPTIONTEXT);
  int room = (right - bar.left - 4) / kCharWidth;
  int n = std::min(static_cast<int>(w.text.size()), std::max(room, 0));
  p.text(bar.left + 4, bar.top + (height - 1 - kCharHeight) / 2, w.text.c_str(), n, fg, nullptr);
}

}  // namespace

int systemMetric(int index) {
  for (const Metric& m : kMetrics)
    if (m.index == index) return m.value;
  return 0;
}

COLORREF sysColor(int index) {
  if (index < 0 || index >= kSysColorCount) return 0;
  return sysColors()[index];
}

// The outer frame is two pixels for dialog and sizing frames and modal
// dialog frames, one for a static edge alone; a sizing frame and a border
// add one each; a client edge adds two on every side.
RECT frameInsets(DWORD style, DWORD exStyle, bool menu) {
  int edgeWidth = 0;
  if ((exStyle & (WS_EX_STATICEDGE | WS_EX_DLGMODALFRAME)) == WS_EX_STATICEDGE) edgeWidth = kBorder;
  else if ((exStyle & WS_EX_DLGMODALFRAME) || (style & (WS_THICKFRAME | WS_DLGFRAME))) edgeWidth = kEdge;
  if (style & WS_THICKFRAME) edgeWidth += kBorder;
  if ((style & (WS_BORDER | WS_DLGFRAME)) || (exStyle & WS_EX_DLGMODALFRAME)) edgeWidth += kBorder;
  int caption = 0;
  if (hasCaption(style)) caption = captionHeight(exStyle);
  int top = edgeWidth + caption + (menu ? kMenu : 0);
  if (exStyle & WS_EX_CLIENTEDGE) {
    edgeWidth += kEdge;
    top += kEdge;
  }
  return makeRect(edgeWidth, top, edgeWidth, edgeWidth);
}

RECT clientFromWindow(const Window& w, const RECT& windowRect) {
  if (w.style & WS_MINIMIZE)
    return makeRect(windowRect.left, windowRect.top, windowRect.left, windowRect.top);
  RECT in = frameInsets(w.style, w.exStyle, hasMenuBar(w));
  RECT c = makeRect(windowRect.left + in.left, windowRect.top + in.top,
                    windowRect.right - in.right, windowRect.bottom - in.bottom);
  if ((w.style & WS_VSCROLL) && rectWidth(c) >= kScrollBar) c.right -= kScrollBar;
  // A horizontal bar needs a row of client area left over; a vertical one
  // may take the whole width.
  if ((w.style & WS_HSCROLL) && rectHeight(c) > kScrollBar) c.bottom -= kScrollBar;
  c.right = std::max(c.right, c.left);
  c.bottom = std::max(c.bottom, c.top);
  return c;
}

bool sendsMinMaxInfo(DWORD style) {
  return (style & WS_THICKFRAME) || !(style & (WS_CHILD | WS_POPUP));
}

MINMAXINFO queryMinMaxInfo(HWND hwnd) {
  MINMAXINFO mmi;
  memset(&mmi, 0, sizeof mmi);
  Window* w = findWindow(hwnd);
  if (!w) return mmi;
  RECT work = makeRect(0, 0, kScreenWidth, kScreenHeight);
  Window* p = parentOf(*w);
  if (p && !isDesktop(*p)) work = makeRect(0, 0, rectWidth(p->client), rectHeight(p->client));
  DWORD adjusted = w->style;
  if (hasCaption(adjusted)) adjusted &= ~static_cast<DWORD>(WS_BORDER);
  RECT in = frameInsets(adjusted, w->exStyle, false);
  mmi.ptMaxSize.x = rectWidth(work) + 2 * in.left;
  mmi.ptMaxSize.y = rectHeight(work) + 2 * in.top;
  mmi.ptMaxPosition.x = work.left - in.left;
  mmi.ptMaxPosition.y = work.top - in.top;
  // Without a border the smallest size is just the frame, twice.
  bool bordered = (w->style & (WS_DLGFRAME | WS_BORDER)) != 0;
  mmi.ptMinTrackSize.x = bordered ? kMinTrackWidth : 2 * in.left;
  mmi.ptMinTrackSize.y = bordered ? kMinTrackHeight : 2 * in.top;
  mmi.ptMaxTrackSize.x = systemMetric(SM_CXMAXTRACK);
  mmi.ptMaxTrackSize.y = systemMetric(SM_CYMAXTRACK);
  sendMessage(hwnd, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&mmi));
  return mmi;
}

RECT scrollBarRect(const Window& w, int bar) {
  if (w.style & WS_MINIMIZE) return makeRect(0, 0, 0, 0);
  RECT c = offsetRect(w.client, -w.window.left, -w.window.top);
  if (bar == SB_VERT && (w.style & WS_VSCROLL))
    return makeRect(c.right, c.top, c.right + kScrollBar, c.bottom);
  if (bar == SB_HORZ && (w.style & WS_HSCROLL))
    return makeRect(c.left, c.bottom, c.right, c.bottom + kScrollBar);
  return makeRect(0, 0, 0, 0);
}

void paintNonClient(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || isDesktop(*w) || !isDrawable(*w)) return;
  Painter p = painterFor(*w, true);
  RECT client = offsetRect(w->client, -w->window.left, -w->window.top);
  p.clip.subtract(offsetRect(client, p.origin.x, p.origin.y));
  RECT r = makeRect(0, 0, rectWidth(w->window), rectHeight(w->window));
  if (w->style & WS_MINIMIZE) {
    raisedBox(p, r);
    paintCaption(p, *w, shrink(r, 2));
    return;
  }
  DWORD ex = w->exStyle;
  if (ex & WS_EX_WINDOWEDGE) {
    edge(p, r, sysColor(COLOR_3DLIGHT), sysColor(COLOR_3DDKSHADOW));
    edge(p, shrink(r, 1), sysColor(COLOR_BTNHIGHLIGHT), sysColor(COLOR_BTNSHADOW));
    r = shrink(r, kEdge);
  }
  if (w->style & WS_THICKFRAME) {
    edge(p, r, sysColor(COLOR_ACTIVEBORDER), sysColor(COLOR_ACTIVEBORDER));
    r = shrink(r, kBorder);
  }
  if ((w->style & (WS_BORDER | WS_DLGFRAME)) || (ex & WS_EX_DLGMODALFRAME)) {
    COLORREF c = (ex & WS_EX_WINDOWEDGE) ? sysColor(COLOR_BTNFACE) : sysColor(COLOR_WINDOWFRAME);
    edge(p, r, c, c);
    r = shrink(r, kBorder);
  }
  if (hasCaption(w->style)) {
    paintCaption(p, *w, r);
    r.top += captionHeight(w->exStyle);
  }
  if (hasMenuBar(*w)) {
    paintMenuBar(p, *w);
    r.top += kMenu;
  }
  if (ex & WS_EX_CLIENTEDGE) {
    edge(p, r, sysColor(COLOR_BTNSHADOW), sysColor(COLOR_BTNHIGHLIGHT));
    edge(p, shrink(r, 1), sysColor(COLOR_3DDKSHADOW), sysColor(COLOR_3DLIGHT));
    r = shrink(r, kEdge);
  }
  if (ex & WS_EX_STATICEDGE) {
    edge(p, r, sysColor(COLOR_BTNSHADOW), sysColor(COLOR_BTNHIGHLIGHT));
    r = shrink(r, kBorder);
  }
  paintScrollBar(p, *w, SB_VERT);
  paintScrollBar(p, *w, SB_HORZ);
  if ((w->style & WS_VSCROLL) && (w->style & WS_HSCROLL))
    p.fill(makeRect(client.right, client.bottom, client.right + kScrollBar,
                    client.bottom + kScrollBar),
           sysColor(COLOR_BTNFACE));
}

}  // namespace w32

using namespace w32;

extern "C" {

BOOL WINAPI AdjustWindowRectEx(LPRECT lpRect, DWORD dwStyle, BOOL bMenu, DWORD dwExStyle) {
  if (!lpRect) return FALSE;
  RECT in = frameInsets(dwStyle, dwExStyle, bMenu != FALSE);
  lpRect->left -= in.left;
  lpRect->top -= in.top;
  lpRect->right += in.right;
  lpRect->bottom += in.bottom;
  return TRUE;
}

BOOL WINAPI AdjustWindowRect(LPRECT lpRect, DWORD dwStyle, BOOL bMenu) {
  return AdjustWindowRectEx(lpRect, dwStyle, bMenu, 0);
}

int WINAPI GetSystemMetrics(int nIndex) { return systemMetric(nIndex); }

DWORD WINAPI GetSysColor(int nIndex) { return sysColor(nIndex); }

HBRUSH WINAPI GetSysColorBrush(int nIndex) { return systemColorBrush(nIndex); }

namespace {

void fillFont(LOGFONTA* f, int height, int weight) {
  memset(f, 0, sizeof *f);
  f->lfHeight = height;
  f->lfWeight = weight;
  strcpy(f->lfFaceName, "System");
}

}  // namespace

// The non-client metrics restate GetSystemMetrics' values: captions and
// menus without their one-pixel line, borders without the outer edge.
BOOL WINAPI SystemParametersInfoA(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni) {
  (void)fWinIni;
  if (!pvParam) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (uiAction == SPI_GETWORKAREA) {
    *static_cast<RECT*>(pvParam) = makeRect(0, 0, kScreenWidth, kScreenHeight);
    return TRUE;
  }
  if (uiAction != SPI_GETNONCLIENTMETRICS) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  auto* m = static_cast<NONCLIENTMETRICSA*>(pvParam);
  UINT size = m->cbSize;
  if (size != sizeof(NONCLIENTMETRICSA) && size != offsetof(NONCLIENTMETRICSA, iPaddedBorderWidth)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  (void)uiParam;
  NONCLIENTMETRICSA out;
  memset(&out, 0, sizeof out);
  out.cbSize = size;
  out.iBorderWidth = kBorder;
  out.iScrollWidth = kScrollBar;
  out.iScrollHeight = kScrollBar;
  out.iCaptionWidth = kCaptionButton;
  out.iCaptionHeight = kCaption - 1;
  out.iSmCaptionWidth = kSmallCaptionButton;
  out.iSmCaptionHeight = kSmallCaption - 1;
  out.iMenuWidth = kMenu - 1;
  out.iMenuHeight = kMenu - 1;
  fillFont(&out.lfCaptionFont, -11, 700);
  fillFont(&out.lfSmCaptionFont, -11, 700);
  fillFont(&out.lfMenuFont, -11, 400);
  fillFont(&out.lfStatusFont, -11, 400);
  fillFont(&out.lfMessageFont, -11, 400);
  memcpy(m, &out, size);
  return TRUE;
}

namespace {

// The one monitor's handle.
HMONITOR primaryMonitor() { return reinterpret_cast<HMONITOR>(static_cast<ULONG_PTR>(0x00010001)); }

HMONITOR monitorFor(const RECT& r, DWORD flags) {
  RECT screen = makeRect(0, 0, kScreenWidth, kScreenHeight);
  if (!rectEmpty(intersectRects(r, screen)) || flags != MONITOR_DEFAULTTONULL) return primaryMonitor();
  return NULL;
}

}  // namespace

HMONITOR WINAPI MonitorFromRect(const RECT* lprc, DWORD dwFlags) {
  if (!lprc) return NULL;
  // An empty rectangle still names the point where it lies.
  RECT r = *lprc;
  if (r.right <= r.left) r.right = r.left + 1;
  if (r.bottom <= r.top) r.bottom = r.top + 1;
  return monitorFor(r, dwFlags);
}

HMONITOR WINAPI MonitorFromPoint(POINT pt, DWORD dwFlags) {
  RECT r = makeRect(pt.x, pt.y, pt.x + 1, pt.y + 1);
  return monitorFor(r, dwFlags);
}

HMONITOR WINAPI MonitorFromWindow(HWND hwnd, DWORD dwFlags) {
  Window* w = checkWindow(hwnd);
  if (!w) return dwFlags == MONITOR_DEFAULTTONULL ? NULL : primaryMonitor();
  return MonitorFromRect(&w->window, dwFlags);
}

BOOL WINAPI GetMonitorInfoA(HMONITOR hMonitor, LPMONITORINFO lpmi) {
  if (hMonitor != primaryMonitor() || !lpmi || lpmi->cbSize < sizeof(MONITORINFO)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  lpmi->rcMonitor = makeRect(0, 0, kScreenWidth, kScreenHeight);
  lpmi->rcWork = lpmi->rcMonitor;
  lpmi->dwFlags = MONITORINFOF_PRIMARY;
  return TRUE;
}

// Changes the colours for every window, as the system does for all
// programs: the system colour brushes follow, and every window is repainted.
BOOL WINAPI SetSysColors(int cElements, const INT* lpaElements, const COLORREF* lpaRgbValues) {
  if (cElements < 0 || (cElements && (!lpaElements || !lpaRgbValues))) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  for (int i = 0; i < cElements; ++i) {
    int index = lpaElements[i];
    if (index < 0 || index >= kSysColorCount) continue;
    sysColors()[index] = lpaRgbValues[i] & 0xFFFFFF;
    if (GdiObject* brush = gdiObject(systemColorBrush(index))) brush->color = sysColors()[index];
  }
  RedrawWindow(GetDesktopWindow(), NULL, NULL,
               RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
  return TRUE;
}

}  // extern "C"

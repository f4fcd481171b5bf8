// Drawing through a DC: rectangles, lines, ellipses, pixels and text with the
// selected one of the built-in fonts. Invariant: coordinates are logical (through the DC's
// mapping mode) and every pixel written passes the DC's clip region.
#include "gdi/gdi.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace w32 {

Painter painterOf(const DeviceContext& dc) {
  Painter p;
  p.surface = dc.surface.get();
  p.origin = dc.origin;
  p.clip = dc.clip;
  return p;
}

namespace {

// The pen's colour and width; false for a null pen.
bool penOf(const DeviceContext& dc, COLORREF* color, int* width) {
  GdiObject* pen = gdiObject(dc.pen);
  if (!pen || pen->style == PS_NULL) return false;
  *color = (dc.pen == GetStockObject(DC_PEN)) ? dc.dcPenColor : pen->color;
  *width = pen->width;
  return true;
}

void dot(const Painter& p, int x, int y, int width, COLORREF c) {
  if (width <= 1) {
    p.pixel(x, y, c);
    return;
  }
  int half = width / 2;
  p.fill(makeRect(x - half, y - half, x - half + width, y - half + width), c);
}

// Bresenham from (x0,y0) up to, not including, (x1,y1).
void line(const Painter& p, POINT a, POINT b, int width, COLORREF c) {
  LONG dx = std::labs(b.x - a.x), dy = -std::labs(b.y - a.y);
  LONG sx = a.x < b.x ? 1 : -1, sy = a.y < b.y ? 1 : -1;
  LONG err = dx + dy;
  LONG x = a.x, y = a.y;
  while (x != b.x || y != b.y) {
    dot(p, static_cast<int>(x), static_cast<int>(y), width, c);
    LONG e2 = 2 * err;
    if (e2 >= dy) {
      err += dy;
      x += sx;
    }
    if (e2 <= dx) {
      err += dx;
      y += sy;
    }
  }
}

void drawString(const DeviceContext& dc, POINT at, const char* s, int n) {
  Painter p = painterOf(dc);
  COLORREF bk = dc.bkColor;
  p.text(static_cast<int>(at.x), static_cast<int>(at.y), s, n, dc.textColor,
         dc.bkMode == OPAQUE ? &bk : nullptr, fontOf(dc.font));
}

bool validText(const DeviceContext* dc, LPCSTR s, int c) {
  return dc && c >= 0 && (c == 0 || s);
}

// ExtTextOutA's characters placed by the caller's advances: each drawn as
// a string of one, at the sum of the advances before it.
void drawSpaced(const DeviceContext& dc, int x, int y, const char* s, int n, const INT* dx) {
  for (int i = 0; i < n; ++i) {
    drawString(dc, toDevice(dc, x, y), s + i, 1);
    x += dx[i];
  }
}

}  // namespace

}  // namespace w32

using namespace w32;

extern "C" {

int WINAPI FillRect(HDC hDC, const RECT* lprc, HBRUSH hbr) {
  DeviceContext* dc = deviceContext(hDC);
  COLORREF color;
  if (!dc || !lprc || !brushColor(hbr, dc, &color)) return 0;
  painterOf(*dc).fill(toDeviceRect(*dc, *lprc), color);
  return 1;
}

int WINAPI FrameRect(HDC hDC, const RECT* lprc, HBRUSH hbr) {
  DeviceContext* dc = deviceContext(hDC);
  COLORREF color;
  if (!dc || !lprc || !brushColor(hbr, dc, &color)) return 0;
  RECT r = toDeviceRect(*dc, *lprc);
  if (rectEmpty(r)) return 1;
  painterOf(*dc).frame(r, color);
  return 1;
}

// The dotted frame of the keyboard focus: every other pixel of the border
// inverted, so that drawing it twice takes it away again.
BOOL WINAPI DrawFocusRect(HDC hDC, const RECT* lprc) {
  if (!deviceContext(hDC) || !lprc) return FALSE;
  auto invert = [hDC](int x, int y) { SetPixel(hDC, x, y, GetPixel(hDC, x, y) ^ 0xFFFFFF); };
  const RECT& r = *lprc;
  for (int x = r.left; x < r.right; x += 2) {
    invert(x, r.top);
    if (r.bottom - 1 > r.top) invert(x, r.bottom - 1);
  }
  for (int y = r.top + 2; y < r.bottom - 1; y += 2) {
    invert(r.left, y);
    if (r.right - 1 > r.left) invert(r.right - 1, y);
  }
  return TRUE;
}

BOOL WINAPI Rectangle(HDC hdc, int left, int top, int right, int bottom) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  RECT r = toDeviceRect(*dc, makeRect(left, top, right, bottom));
  Painter p = painterOf(*dc);
  p.rop = dc->rop2;
  COLORREF pen = 0;
  int width = 1;
  bool outlined = penOf(*dc, &pen, &width);
  COLORREF fill;
  if (brushColor(static_cast<HBRUSH>(dc->brush), dc, &fill)) {
    RECT inside = outlined ? r : makeRect(r.left, r.top, r.right - 1, r.bottom - 1);
    p.fill(inside, fill);
  }
  if (outlined) {
    for (int i = 0; i < width && rectWidth(r) > 2 * i && rectHeight(r) > 2 * i; ++i)
      p.frame(makeRect(r.left + i, r.top + i, r.right - i, r.bottom - i), pen);
  }
  return TRUE;
}

BOOL WINAPI Ellipse(HDC hdc, int left, int top, int right, int bottom) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  RECT r = toDeviceRect(*dc, makeRect(left, top, right, bottom));
  if (rectEmpty(r)) return TRUE;
  Painter p = painterOf(*dc);
  COLORREF pen = 0, fill = 0;
  int width = 1;
  bool outlined = penOf(*dc, &pen, &width);
  bool filled = brushColor(static_cast<HBRUSH>(dc->brush), dc, &fill);
  double a = rectWidth(r) / 2.0, b = rectHeight(r) / 2.0;
  double cx = r.left + a, cy = r.top + b;
  for (LONG y = r.top; y < r.bottom; ++y) {
    double t = (y + 0.5 - cy) / b;
    double s = 1.0 - t * t;
    double half = s > 0 ? a * std::sqrt(s) : 0.0;
    LONG x0 = static_cast<LONG>(cx - half + 0.5), x1 = static_cast<LONG>(cx + half + 0.5);
    if (filled) p.fill(makeRect(x0, y, x1, y + 1), fill);
    if (outlined && x1 > x0) {
      p.pixel(static_cast<int>(x0), static_cast<int>(y), pen);
      p.pixel(static_cast<int>(x1 - 1), static_cast<int>(y), pen);
    }
  }
  return TRUE;
}

BOOL WINAPI MoveToEx(HDC hdc, int x, int y, LPPOINT lppt) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  if (lppt) *lppt = dc->position;
  dc->position = POINT{x, y};
  return TRUE;
}

BOOL WINAPI LineTo(HDC hdc, int x, int y) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  COLORREF pen;
  int width = 1;
  if (penOf(*dc, &pen, &width)) {
    Painter p = painterOf(*dc);
    p.rop = dc->rop2;
    line(p, toDevice(*dc, dc->position.x, dc->position.y), toDevice(*dc, x, y), width, pen);
  }
  dc->position = POINT{x, y};
  return TRUE;
}

COLORREF WINAPI SetPixel(HDC hdc, int x, int y, COLORREF color) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return CLR_INVALID;
  POINT d = toDevice(*dc, x, y);
  LONG sx = d.x + dc->origin.x, sy = d.y + dc->origin.y;
  if (!dc->surface || !dc->clip.contains(sx, sy)) return CLR_INVALID;
  dc->surface->set(static_cast<int>(sx), static_cast<int>(sy), color & 0xFFFFFF);
  return color & 0xFFFFFF;
}

COLORREF WINAPI GetPixel(HDC hdc, int x, int y) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || !dc->surface) return CLR_INVALID;
  POINT d = toDevice(*dc, x, y);
  LONG sx = d.x + dc->origin.x, sy = d.y + dc->origin.y;
  if (!dc->clip.contains(sx, sy)) return CLR_INVALID;
  return dc->surface->get(static_cast<int>(sx), static_cast<int>(sy));
}

BOOL WINAPI TextOutA(HDC hdc, int x, int y, LPCSTR lpString, int c) {
  DeviceContext* dc = deviceContext(hdc);
  if (!validText(dc, lpString, c)) return FALSE;
  drawString(*dc, toDevice(*dc, x, y), lpString, c);
  return TRUE;
}

BOOL WINAPI ExtTextOutA(HDC hdc, int x, int y, UINT options, const RECT* lprect, LPCSTR lpString,
                        UINT c, const INT* lpDx) {
  DeviceContext* dc = deviceContext(hdc);
  int n = static_cast<int>(c);
  if (!validText(dc, lpString, n)) return FALSE;
  Region saved = dc->clip;
  if (lprect) {
    RECT box = toDeviceRect(*dc, *lprect);
    if (options & ETO_OPAQUE) painterOf(*dc).fill(box, dc->bkColor);
    if (options & ETO_CLIPPED) dc->clip.intersect(offsetRect(box, dc->origin.x, dc->origin.y));
  }
  if (lpDx)
    drawSpaced(*dc, x, y, lpString, n, lpDx);
  else
    drawString(*dc, toDevice(*dc, x, y), lpString, n);
  dc->clip = saved;
  return TRUE;
}

BOOL WINAPI GetTextExtentPoint32A(HDC hdc, LPCSTR lpString, int c, LPSIZE psizl) {
  DeviceContext* dc = deviceContext(hdc);
  if (!validText(dc, lpString, c) || !psizl) return FALSE;
  Font f = fontOf(dc->font);
  psizl->cx = c * f.advance();
  psizl->cy = f.height();
  return TRUE;
}

BOOL WINAPI GetTextExtentPointA(HDC hdc, LPCSTR lpString, int c, LPSIZE lpsz) {
  return GetTextExtentPoint32A(hdc, lpString, c, lpsz);
}

BOOL WINAPI GetCharWidthA(HDC hdc, UINT iFirst, UINT iLast, LPINT lpBuffer) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || !lpBuffer || iFirst > iLast) return FALSE;
  int advance = fontOf(dc->font).advance();
  for (UINT ch = iFirst; ch <= iLast; ++ch) lpBuffer[ch - iFirst] = advance;
  return TRUE;
}

BOOL WINAPI GetTextMetricsA(HDC hdc, LPTEXTMETRICA lptm) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || !lptm) return FALSE;
  fillTextMetrics(fontOf(dc->font), lptm);
  return TRUE;
}

}  // extern "C"

// Device-context state: mapping modes and the logical-to-device transform,
// colours and background mode, device capabilities.
// Invariant: every drawing call converts through toDevice, so a mapping mode
// set here applies to all of them alike.
#include "gdi/gdi.h"

namespace w32 {

namespace {

constexpr int kHorzRes = 1024;
constexpr int kVertRes = 768;
constexpr int kDpi = 96;
// Millimetres of the screen at kDpi, rounded as the system rounds them.
constexpr int kHorzSizeMm = (kHorzRes * 254 + kDpi * 5) / (kDpi * 10);
constexpr int kVertSizeMm = (kVertRes * 254 + kDpi * 5) / (kDpi * 10);

void setExtentsFor(DeviceContext& dc, int mode) {
  SIZE device{kHorzRes, -kVertRes};
  switch (mode) {
  case MM_TEXT:
    dc.windowExt = SIZE{1, 1};
    dc.viewportExt = SIZE{1, 1};
    return;
  case MM_LOMETRIC:
    dc.windowExt = SIZE{kHorzSizeMm * 10, kVertSizeMm * 10};
    break;
  case MM_HIMETRIC:
    dc.windowExt = SIZE{kHorzSizeMm * 100, kVertSizeMm * 100};
    break;
  case MM_LOENGLISH:
    dc.windowExt = SIZE{MulDiv(1000, kHorzSizeMm, 254), MulDiv(1000, kVertSizeMm, 254)};
    break;
  case MM_HIENGLISH:
    dc.windowExt = SIZE{MulDiv(10000, kHorzSizeMm, 254), MulDiv(10000, kVertSizeMm, 254)};
    break;
  case MM_TWIPS:
    dc.windowExt = SIZE{MulDiv(14400, kHorzSizeMm, 254), MulDiv(14400, kVertSizeMm, 254)};
    break;
  case MM_ISOTROPIC:
    dc.windowExt = SIZE{kHorzSizeMm * 10, kVertSizeMm * 10};
    break;
  default:  // MM_ANISOTROPIC keeps the extents it had
    return;
  }
  dc.viewportExt = device;
}

// Stands for "no clip region" where a mode combines with the current one:
// every device coordinate a surface can have.
constexpr LONG kFar = 1 << 28;
Region wholeDevice() { return Region(makeRect(-kFar, -kFar, kFar, kFar)); }

// The program's clip region combined with region by mode (RGN_ERROR when
// the mode is not one), then applied.
int combineClip(DeviceContext& dc, const Region& region, int mode) {
  Region current = dc.hasClipRgn ? dc.clipRgn : wholeDevice();
  switch (mode) {
  case RGN_AND: current.intersect(region); break;
  case RGN_OR: current.add(region); break;
  case RGN_DIFF: current.subtract(region); break;
  case RGN_COPY: current = region; break;
  case RGN_XOR: {
    Region other = region;
    other.subtract(current);
    current.subtract(region);
    current.add(other);
    break;
  }
  default: return ERROR;
  }
  dc.hasClipRgn = true;
  dc.clipRgn = current;
  return applyClip(dc);
}

}  // namespace

int applyClip(DeviceContext& dc) {
  dc.clip = dc.visible;
  if (dc.hasClipRgn) {
    Region program = dc.clipRgn;
    program.offset(dc.origin.x, dc.origin.y);
    dc.clip.intersect(program);
  }
  return regionType(dc.clip);
}

POINT toDevice(const DeviceContext& dc, int x, int y) {
  POINT p;
  p.x = MulDiv(x - dc.windowOrg.x, dc.viewportExt.cx, dc.windowExt.cx) + dc.viewportOrg.x;
  p.y = MulDiv(y - dc.windowOrg.y, dc.viewportExt.cy, dc.windowExt.cy) + dc.viewportOrg.y;
  return p;
}

RECT toDeviceRect(const DeviceContext& dc, const RECT& r) {
  POINT a = toDevice(dc, r.left, r.top);
  POINT b = toDevice(dc, r.right, r.bottom);
  return makeRect(a.x < b.x ? a.x : b.x, a.y < b.y ? a.y : b.y, a.x < b.x ? b.x : a.x,
                  a.y < b.y ? b.y : a.y);
}

}  // namespace w32

using namespace w32;

extern "C" {

int WINAPI SetMapMode(HDC hdc, int iMode) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || iMode < MM_MIN || iMode > MM_MAX) return 0;
  int old = dc->mapMode;
  dc->mapMode = iMode;
  setExtentsFor(*dc, iMode);
  return old;
}

int WINAPI GetMapMode(HDC hdc) {
  DeviceContext* dc = deviceContext(hdc);
  return dc ? dc->mapMode : 0;
}

BOOL WINAPI SetWindowExtEx(HDC hdc, int x, int y, LPSIZE lpsz) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  if (lpsz) *lpsz = dc->windowExt;
  if (dc->mapMode != MM_ISOTROPIC && dc->mapMode != MM_ANISOTROPIC) return TRUE;
  if (x == 0 || y == 0) return FALSE;
  dc->windowExt = SIZE{x, y};
  return TRUE;
}

BOOL WINAPI SetViewportExtEx(HDC hdc, int x, int y, LPSIZE lpsz) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  if (lpsz) *lpsz = dc->viewportExt;
  if (dc->mapMode != MM_ISOTROPIC && dc->mapMode != MM_ANISOTROPIC) return TRUE;
  if (x == 0 || y == 0) return FALSE;
  dc->viewportExt = SIZE{x, y};
  return TRUE;
}

BOOL WINAPI SetWindowOrgEx(HDC hdc, int x, int y, LPPOINT lppt) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  if (lppt) *lppt = dc->windowOrg;
  dc->windowOrg = POINT{x, y};
  return TRUE;
}

BOOL WINAPI SetViewportOrgEx(HDC hdc, int x, int y, LPPOINT lppt) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  if (lppt) *lppt = dc->viewportOrg;
  dc->viewportOrg = POINT{x, y};
  return TRUE;
}

BOOL WINAPI OffsetViewportOrgEx(HDC hdc, int x, int y, LPPOINT lppt) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return FALSE;
  if (lppt) *lppt = dc->viewportOrg;
  dc->viewportOrg.x += x;
  dc->viewportOrg.y += y;
  return TRUE;
}

BOOL WINAPI LPtoDP(HDC hdc, LPPOINT lppt, int c) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || !lppt) return FALSE;
  for (int i = 0; i < c; ++i) lppt[i] = toDevice(*dc, lppt[i].x, lppt[i].y);
  return TRUE;
}

BOOL WINAPI DPtoLP(HDC hdc, LPPOINT lppt, int c) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || !lppt) return FALSE;
  for (int i = 0; i < c; ++i) {
    lppt[i].x = MulDiv(lppt[i].x - dc->viewportOrg.x, dc->windowExt.cx, dc->viewportExt.cx) +
                dc->windowOrg.x;
    lppt[i].y = MulDiv(lppt[i].y - dc->viewportOrg.y, dc->windowExt.cy, dc->viewportExt.cy) +
                dc->windowOrg.y;
  }
  return TRUE;
}

int WINAPI GetClipBox(HDC hdc, LPRECT lprect) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || !lprect) return ERROR;
  RECT box = dc->clip.bounds();
  if (dc->clip.empty()) {
    *lprect = RECT{0, 0, 0, 0};
    return NULLREGION;
  }
  POINT corners[2] = {{box.left - dc->origin.x, box.top - dc->origin.y},
                      {box.right - dc->origin.x, box.bottom - dc->origin.y}};
  DPtoLP(hdc, corners, 2);
  *lprect = RECT{corners[0].x, corners[0].y, corners[1].x, corners[1].y};
  return dc->clip.rects().size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

// 1 with a copy of the program's clip region in hrgn, 0 without one, -1
// for a bad DC or region.
int WINAPI GetClipRgn(HDC hdc, HRGN hrgn) {
  DeviceContext* dc = deviceContext(hdc);
  Region* r = regionOf(hrgn);
  if (!dc || !r) return -1;
  if (!dc->hasClipRgn) return 0;
  *r = dc->clipRgn;
  return 1;
}

int WINAPI ExtSelectClipRgn(HDC hdc, HRGN hrgn, int mode) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return ERROR;
  if (!hrgn) {
    // Only RGN_COPY may name no region: the program's clipping goes.
    if (mode != RGN_COPY) return ERROR;
    dc->hasClipRgn = false;
    return applyClip(*dc);
  }
  Region* r = regionOf(hrgn);
  return r ? combineClip(*dc, *r, mode) : ERROR;
}

int WINAPI SelectClipRgn(HDC hdc, HRGN hrgn) { return ExtSelectClipRgn(hdc, hrgn, RGN_COPY); }

int WINAPI IntersectClipRect(HDC hdc, int left, int top, int right, int bottom) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return ERROR;
  return combineClip(*dc, Region(toDeviceRect(*dc, makeRect(left, top, right, bottom))), RGN_AND);
}

int WINAPI ExcludeClipRect(HDC hdc, int left, int top, int right, int bottom) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return ERROR;
  return combineClip(*dc, Region(toDeviceRect(*dc, makeRect(left, top, right, bottom))), RGN_DIFF);
}

int WINAPI SetROP2(HDC hdc, int rop2) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || rop2 < R2_BLACK || rop2 > R2_LAST) return 0;
  int old = dc->rop2;
  dc->rop2 = rop2;
  return old;
}

int WINAPI GetROP2(HDC hdc) {
  DeviceContext* dc = deviceContext(hdc);
  return dc ? dc->rop2 : 0;
}

int WINAPI GetDeviceCaps(HDC hdc, int index) {
  if (!deviceContext(hdc)) return 0;
  switch (index) {
  case HORZRES: return kHorzRes;
  case VERTRES: return kVertRes;
  case HORZSIZE: return kHorzSizeMm;
  case VERTSIZE: return kVertSizeMm;
  case BITSPIXEL: return 32;
  case PLANES: return 1;
  case NUMCOLORS: return -1;  // more than a palette's
  case LOGPIXELSX:
  case LOGPIXELSY: return kDpi;
  default: return 0;
  }
}

COLORREF WINAPI SetTextColor(HDC hdc, COLORREF color) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return CLR_INVALID;
  COLORREF old = dc->textColor;
  dc->textColor = color;
  return old;
}

COLORREF WINAPI GetTextColor(HDC hdc) {
  DeviceContext* dc = deviceContext(hdc);
  return dc ? dc->textColor : CLR_INVALID;
}

COLORREF WINAPI SetBkColor(HDC hdc, COLORREF color) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return CLR_INVALID;
  COLORREF old = dc->bkColor;
  dc->bkColor = color;
  return old;
}

COLORREF WINAPI GetBkColor(HDC hdc) {
  DeviceContext* dc = deviceContext(hdc);
  return dc ? dc->bkColor : CLR_INVALID;
}

int WINAPI SetBkMode(HDC hdc, int mode) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || (mode != TRANSPARENT && mode != OPAQUE)) return 0;
  int old = dc->bkMode;
  dc->bkMode = mode;
  return old;
}

int WINAPI GetBkMode(HDC hdc) {
  DeviceContext* dc = deviceContext(hdc);
  return dc ? dc->bkMode : 0;
}

}  // extern "C"

// GDI objects: the handle table, stock objects, brushes, pens, fonts,
// regions, selection into DCs and DeleteObject's rules.
// Invariants: handles are never reused; a stock object survives
// DeleteObject (which still answers TRUE); an object deleted while selected
// stays alive until the last DC lets go of it.
#include "gdi/gdi.h"

#include "user/user.h"

#include <algorithm>
#include <cstring>

namespace w32 {

namespace {

constexpr ULONG_PTR kGdiBase = 0x02000000;
constexpr ULONG_PTR kGdiStep = 4;
constexpr int kStockCount = DC_PEN + 1;
constexpr int kSysColorCount = COLOR_MENUBAR + 1;

struct GdiTable {
  std::vector<std::unique_ptr<GdiObject>> slots;
  HGDIOBJ stock[kStockCount] = {};
  HBRUSH sysBrushes[kSysColorCount] = {};
  bool ready = false;
};

GdiTable& gdi() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static GdiTable& t = *new GdiTable;
  return t;
}

HGDIOBJ addObject(std::unique_ptr<GdiObject> obj) {
  GdiTable& t = gdi();
  t.slots.push_back(std::move(obj));
  return reinterpret_cast<HGDIOBJ>(kGdiBase + (t.slots.size() - 1) * kGdiStep);
}

bool slotOf(HGDIOBJ h, size_t* index) {
  ULONG_PTR v = reinterpret_cast<ULONG_PTR>(h);
  if (v < kGdiBase || (v - kGdiBase) % kGdiStep != 0) return false;
  *index = (v - kGdiBase) / kGdiStep;
  return *index < gdi().slots.size();
}

std::unique_ptr<GdiObject> makeObject(GdiKind kind, UINT style, COLORREF color, bool stock) {
  auto o = std::make_unique<GdiObject>();
  o->kind = kind;
  o->style = style;
  o->color = color;
  o->stock = stock;
  return o;
}

// A face name ends at its first NUL, at most LF_FACESIZE - 1 characters on;
// the rest of the field is NUL.
void copyFaceName(CHAR (&to)[LF_FACESIZE], const char* from) {
  size_t n = 0;
  while (n < LF_FACESIZE - 1 && from[n]) ++n;
  memset(to, 0, LF_FACESIZE);
  memcpy(to, from, n);
}

// The stock fonts describe themselves with the system's face names, in the
// layer's one size: a LOGFONTA read from one makes the same font again.
LOGFONTA stockLogFont(int index) {
  struct StockFont {
    int index;
    BYTE charSet;
    BYTE pitchAndFamily;
    const char* face;
  };
  constexpr StockFont kFonts[] = {
      {OEM_FIXED_FONT, OEM_CHARSET, FIXED_PITCH | FF_MODERN, ""},
      {ANSI_FIXED_FONT, ANSI_CHARSET, FIXED_PITCH | FF_MODERN, "Courier"},
      {ANSI_VAR_FONT, ANSI_CHARSET, VARIABLE_PITCH | FF_SWISS, "MS Sans Serif"},
      {SYSTEM_FONT, ANSI_CHARSET, VARIABLE_PITCH | FF_SWISS, "System"},
      {DEVICE_DEFAULT_FONT, ANSI_CHARSET, VARIABLE_PITCH | FF_SWISS, "System"},
      {SYSTEM_FIXED_FONT, ANSI_CHARSET, FIXED_PITCH | FF_MODERN, "Courier"},
      {DEFAULT_GUI_FONT, ANSI_CHARSET, VARIABLE_PITCH | FF_SWISS, "MS Shell Dlg"},
  };
  LOGFONTA lf{};
  lf.lfHeight = kCharHeight;
  lf.lfWeight = FW_NORMAL;
  for (const StockFont& f : kFonts) {
    if (f.index != index) continue;
    lf.lfCharSet = f.charSet;
    lf.lfPitchAndFamily = f.pitchAndFamily;
    copyFaceName(lf.lfFaceName, f.face);
  }
  return lf;
}

void makeStock() {
  GdiTable& t = gdi();
  if (t.ready) return;
  t.ready = true;
  struct StockDef {
    int index;
    GdiKind kind;
    UINT style;
    COLORREF color;
  };
  const StockDef defs[] = {
      {WHITE_BRUSH, GdiKind::Brush, BS_SOLID, RGB(255, 255, 255)},
      {LTGRAY_BRUSH, GdiKind::Brush, BS_SOLID, RGB(192, 192, 192)},
      {GRAY_BRUSH, GdiKind::Brush, BS_SOLID, RGB(128, 128, 128)},
      {DKGRAY_BRUSH, GdiKind::Brush, BS_SOLID, RGB(64, 64, 64)},
      {BLACK_BRUSH, GdiKind::Brush, BS_SOLID, RGB(0, 0, 0)},
      {NULL_BRUSH, GdiKind::Brush, BS_NULL, 0},
      {WHITE_PEN, GdiKind::Pen, PS_SOLID, RGB(255, 255, 255)},
      {BLACK_PEN, GdiKind::Pen, PS_SOLID, RGB(0, 0, 0)},
      {NULL_PEN, GdiKind::Pen, PS_NULL, 0},
      {OEM_FIXED_FONT, GdiKind::Font, 0, 0},
      {ANSI_FIXED_FONT, GdiKind::Font, 0, 0},
      {ANSI_VAR_FONT, GdiKind::Font, 0, 0},
      {SYSTEM_FONT, GdiKind::Font, 0, 0},
      {DEVICE_DEFAULT_FONT, GdiKind::Font, 0, 0},
      {DEFAULT_PALETTE, GdiKind::Palette, 0, 0},
      {SYSTEM_FIXED_FONT, GdiKind::Font, 0, 0},
      {DEFAULT_GUI_FONT, GdiKind::Font, 0, 0},
      {DC_BRUSH, GdiKind::Brush, BS_SOLID, RGB(255, 255, 255)},
      {DC_PEN, GdiKind::Pen, PS_SOLID, RGB(0, 0, 0)},
  };
  for (const StockDef& d : defs) {
    auto o = makeObject(d.kind, d.style, d.color, true);
    if (d.kind == GdiKind::Font) o->logFont = stockLogFont(d.index);
    t.stock[d.index] = addObject(std::move(o));
  }
}

void freeObject(HGDIOBJ h) {
  size_t index = 0;
  if (slotOf(h, &index)) gdi().slots[index].reset();
}

void release(HGDIOBJ h) {
  GdiObject* o = gdiObject(h);
  if (!o) return;
  if (o->selections > 0) --o->selections;
  if (o->deletePending && o->selections == 0) freeObject(h);
}

HGDIOBJ* slotFor(DeviceContext& dc, GdiKind kind) {
  switch (kind) {
  case GdiKind::Brush: return &dc.brush;
  case GdiKind::Pen: return &dc.pen;
  case GdiKind::Font: return &dc.font;
  default: return nullptr;
  }
}

}  // namespace

Region* regionOf(HGDIOBJ h) {
  GdiObject* o = gdiObject(h);
  return (o && o->kind == GdiKind::Region) ? &o->region : nullptr;
}

int regionType(const Region& r) {
  if (r.empty()) return NULLREGION;
  return r.rects().size() == 1 ? SIMPLEREGION : COMPLEXREGION;
}

GdiObject* gdiObject(HGDIOBJ h) {
  makeStock();
  size_t index = 0;
  if (!slotOf(h, &index)) return nullptr;
  return gdi().slots[index].get();
}

DeviceContext* deviceContext(HDC hdc) {
  GdiObject* o = gdiObject(hdc);
  return (o && o->kind == GdiKind::DC) ? o->dc.get() : nullptr;
}

HDC createDC(std::unique_ptr<DeviceContext> dc) {
  makeStock();
  dc->visible = dc->clip;
  selectDefaults(*dc);
  auto o = makeObject(GdiKind::DC, 0, 0, false);
  o->dc = std::move(dc);
  return static_cast<HDC>(addObject(std::move(o)));
}

void freeDC(HDC hdc) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return;
  HRGN held = dc->heldRgn;
  deselectAll(*dc);
  freeObject(hdc);
  DeleteObject(held);
}

void freeWindowDCs(HWND hwnd) {
  const auto& slots = gdi().slots;
  for (size_t i = 0; i < slots.size(); ++i) {
    const auto& o = slots[i];
    if (!o || o->kind != GdiKind::DC || !o->dc || o->dc->hwnd != hwnd) continue;
    if (o->dc->classShared) {
      o->dc->hwnd = nullptr;
      continue;
    }
    freeDC(reinterpret_cast<HDC>(kGdiBase + i * kGdiStep));
  }
}

void selectDefaults(DeviceContext& dc) {
  makeStock();
  dc.brush = gdi().stock[WHITE_BRUSH];
  dc.pen = gdi().stock[BLACK_PEN];
  dc.font = gdi().stock[SYSTEM_FONT];
}

void deselectAll(DeviceContext& dc) {
  HGDIOBJ held[] = {dc.brush, dc.pen, dc.font};
  dc.brush = dc.pen = dc.font = nullptr;
  for (HGDIOBJ h : held) release(h);
}

int liveGdiCount(GdiKind kind) {
  int n = 0;
  // A window's or class's own DC belongs to it, not to a caller that may
  // leak it.
  for (const auto& o : gdi().slots)
    if (o && !o->stock && o->sysColor < 0 && o->kind == kind && !(o->dc && o->dc->kept)) ++n;
  return n;
}

HBRUSH systemColorBrush(int index) {
  makeStock();
  if (index < 0 || index >= kSysColorCount) return nullptr;
  HBRUSH& b = gdi().sysBrushes[index];
  if (!b) {
    auto o = makeObject(GdiKind::Brush, BS_SOLID, sysColor(index), true);
    o->sysColor = index;
    b = static_cast<HBRUSH>(addObject(std::move(o)));
  }
  return b;
}

bool brushColor(HBRUSH brush, const DeviceContext* dc, COLORREF* color) {
  ULONG_PTR value = reinterpret_cast<ULONG_PTR>(brush);
  if (value >= 1 && value <= static_cast<ULONG_PTR>(kSysColorCount)) {
    *color = sysColor(static_cast<int>(value - 1));
    return true;
  }
  GdiObject* o = gdiObject(brush);
  if (!o || o->kind != GdiKind::Brush || o->style == BS_NULL) return false;
  *color = (dc && brush == gdi().stock[DC_BRUSH]) ? dc->dcBrushColor : o->color;
  return true;
}

}  // namespace w32

using namespace w32;

extern "C" {

HBRUSH WINAPI CreateSolidBrush(COLORREF color) {
  makeStock();
  return static_cast<HBRUSH>(addObject(makeObject(GdiKind::Brush, BS_SOLID, color & 0xFFFFFF, false)));
}

HBRUSH WINAPI CreateBrushIndirect(const LOGBRUSH* plbrush) {
  if (!plbrush) return NULL;
  makeStock();
  UINT style = plbrush->lbStyle == BS_NULL ? BS_NULL : BS_SOLID;
  return static_cast<HBRUSH>(addObject(makeObject(GdiKind::Brush, style, plbrush->lbColor, false)));
}

HPEN WINAPI CreatePen(int iStyle, int cWidth, COLORREF color) {
  makeStock();
  auto o = makeObject(GdiKind::Pen, static_cast<UINT>(iStyle), color & 0xFFFFFF, false);
  o->width = cWidth < 1 ? 1 : cWidth;
  return static_cast<HPEN>(addObject(std::move(o)));
}

HFONT WINAPI CreateFontIndirectA(const LOGFONTA* lplf) {
  if (!lplf) return NULL;
  makeStock();
  auto o = makeObject(GdiKind::Font, 0, 0, false);
  o->logFont = *lplf;
  copyFaceName(o->logFont.lfFaceName, lplf->lfFaceName);
  return static_cast<HFONT>(addObject(std::move(o)));
}

HFONT WINAPI CreateFontA(int cHeight, int cWidth, int cEscapement, int cOrientation, int cWeight,
                         DWORD bItalic, DWORD bUnderline, DWORD bStrikeOut, DWORD iCharSet,
                         DWORD iOutPrecision, DWORD iClipPrecision, DWORD iQuality,
                         DWORD iPitchAndFamily, LPCSTR pszFaceName) {
  LOGFONTA lf{};
  lf.lfHeight = cHeight;
  lf.lfWidth = cWidth;
  lf.lfEscapement = cEscapement;
  lf.lfOrientation = cOrientation;
  lf.lfWeight = cWeight;
  lf.lfItalic = static_cast<BYTE>(bItalic);
  lf.lfUnderline = static_cast<BYTE>(bUnderline);
  lf.lfStrikeOut = static_cast<BYTE>(bStrikeOut);
  lf.lfCharSet = static_cast<BYTE>(iCharSet);
  lf.lfOutPrecision = static_cast<BYTE>(iOutPrecision);
  lf.lfClipPrecision = static_cast<BYTE>(iClipPrecision);
  lf.lfQuality = static_cast<BYTE>(iQuality);
  lf.lfPitchAndFamily = static_cast<BYTE>(iPitchAndFamily);
  if (pszFaceName) copyFaceName(lf.lfFaceName, pszFaceName);
  return CreateFontIndirectA(&lf);
}

HGDIOBJ WINAPI GetStockObject(int i) {
  makeStock();
  if (i < 0 || i >= kStockCount) return NULL;
  return gdi().stock[i];
}

BOOL WINAPI DeleteObject(HGDIOBJ ho) {
  GdiObject* o = gdiObject(ho);
  if (!o || o->kind == GdiKind::DC) return FALSE;
  if (o->stock) return TRUE;
  if (o->selections > 0) {
    o->deletePending = true;
    return TRUE;
  }
  freeObject(ho);
  return TRUE;
}

HGDIOBJ WINAPI SelectObject(HDC hdc, HGDIOBJ h) {
  DeviceContext* dc = deviceContext(hdc);
  GdiObject* o = gdiObject(h);
  if (!dc || !o || o->deletePending) return NULL;
  if (o->kind == GdiKind::Region)  // the same as SelectClipRgn
    return reinterpret_cast<HGDIOBJ>(
        static_cast<ULONG_PTR>(ExtSelectClipRgn(hdc, static_cast<HRGN>(h), RGN_COPY)));
  HGDIOBJ* slot = slotFor(*dc, o->kind);
  if (!slot) return NULL;
  HGDIOBJ old = *slot;
  *slot = h;
  ++o->selections;
  release(old);
  return old;
}

HGDIOBJ WINAPI GetCurrentObject(HDC hdc, UINT type) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc) return NULL;
  switch (type) {
  case OBJ_BRUSH: return dc->brush;
  case OBJ_PEN: return dc->pen;
  case OBJ_FONT: return dc->font;
  default: return NULL;
  }
}

DWORD WINAPI GetObjectType(HGDIOBJ h) {
  GdiObject* o = gdiObject(h);
  if (!o) return 0;
  switch (o->kind) {
  case GdiKind::Brush: return OBJ_BRUSH;
  case GdiKind::Pen: return OBJ_PEN;
  case GdiKind::Font: return OBJ_FONT;
  case GdiKind::Region: return OBJ_REGION;
  case GdiKind::Palette: return OBJ_PAL;
  case GdiKind::DC: return OBJ_DC;
  }
  return 0;
}

int WINAPI GetObjectA(HANDLE h, int c, LPVOID pv) {
  GdiObject* o = gdiObject(h);
  if (!o) return 0;
  if (o->kind == GdiKind::Brush) {
    if (!pv) return sizeof(LOGBRUSH);
    if (c < static_cast<int>(sizeof(LOGBRUSH))) return 0;
    LOGBRUSH lb = {o->style, o->color, 0};
    memcpy(pv, &lb, sizeof lb);
    return sizeof lb;
  }
  if (o->kind == GdiKind::Pen) {
    if (!pv) return sizeof(LOGPEN);
    if (c < static_cast<int>(sizeof(LOGPEN))) return 0;
    LOGPEN lp;
    lp.lopnStyle = o->style;
    lp.lopnWidth.x = o->width;
    lp.lopnWidth.y = 0;
    lp.lopnColor = o->color;
    memcpy(pv, &lp, sizeof lp);
    return sizeof lp;
  }
  if (o->kind == GdiKind::Font) {
    // As much of the LOGFONTA as the buffer holds, as the system copies it.
    if (!pv) return sizeof(LOGFONTA);
    int n = c < static_cast<int>(sizeof(LOGFONTA)) ? c : static_cast<int>(sizeof(LOGFONTA));
    if (n <= 0) return 0;
    memcpy(pv, &o->logFont, static_cast<size_t>(n));
    return n;
  }
  return 0;
}

HRGN WINAPI CreateRectRgn(int x1, int y1, int x2, int y2) {
  makeStock();
  auto o = makeObject(GdiKind::Region, 0, 0, false);
  o->region =
      Region(makeRect(std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2)));
  return static_cast<HRGN>(addObject(std::move(o)));
}

HRGN WINAPI CreateRectRgnIndirect(const RECT* lprect) {
  if (!lprect) return NULL;
  return CreateRectRgn(lprect->left, lprect->top, lprect->right, lprect->bottom);
}

BOOL WINAPI SetRectRgn(HRGN hrgn, int left, int top, int right, int bottom) {
  Region* r = regionOf(hrgn);
  if (!r) return FALSE;
  *r = Region(makeRect(std::min(left, right), std::min(top, bottom), std::max(left, right),
                       std::max(top, bottom)));
  return TRUE;
}

int WINAPI GetRgnBox(HRGN hrgn, LPRECT lprc) {
  Region* r = regionOf(hrgn);
  if (!r || !lprc) return ERROR;
  *lprc = r->bounds();
  return regionType(*r);
}

int WINAPI CombineRgn(HRGN hrgnDst, HRGN hrgnSrc1, HRGN hrgnSrc2, int iMode) {
  Region* dst = regionOf(hrgnDst);
  Region* a = regionOf(hrgnSrc1);
  Region* b = regionOf(hrgnSrc2);
  if (!dst || !a || (iMode != RGN_COPY && !b)) return ERROR;
  Region result = *a;
  switch (iMode) {
  case RGN_AND: result.intersect(*b); break;
  case RGN_OR: result.add(*b); break;
  case RGN_DIFF: result.subtract(*b); break;
  case RGN_XOR: {
    Region other = *b;
    other.subtract(*a);
    result.subtract(*b);
    result.add(other);
    break;
  }
  case RGN_COPY: break;
  default: return ERROR;
  }
  *dst = result;
  return regionType(result);
}

int WINAPI OffsetRgn(HRGN hrgn, int x, int y) {
  Region* r = regionOf(hrgn);
  if (!r) return ERROR;
  r->offset(x, y);
  return regionType(*r);
}

BOOL WINAPI EqualRgn(HRGN hrgn1, HRGN hrgn2) {
  Region* a = regionOf(hrgn1);
  Region* b = regionOf(hrgn2);
  return a && b && a->sameArea(*b);
}

BOOL WINAPI PtInRegion(HRGN hrgn, int x, int y) {
  Region* r = regionOf(hrgn);
  return r && r->contains(x, y);
}

}  // extern "C"

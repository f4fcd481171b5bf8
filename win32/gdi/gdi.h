// GDI's private view, shared by gdi/, the window manager and the simulated
// screen: pixel surfaces, the object handle table, device contexts and the
// built-in font.
// Invariants: every top-level window owns one surface the size of its
// window rectangle, and its children draw into it at their offsets; a DC
// holds its surface by shared ownership, so a DC outliving its window draws
// into pixels nobody shows, never into freed memory; GDI handles are never
// reused.
#ifndef TUL_WIN32_GDI_GDI_H
#define TUL_WIN32_GDI_GDI_H

#include <windows.h>

#include "gdi/region.h"

#include <memory>
#include <vector>

namespace w32 {

// ---- The built-in fonts (font.cpp) ----
// One fixed-pitch face, 5x7 glyphs in a 6x10 cell, drawn at two sizes (the
// glyphs' pixels doubled for the large one), each also bold: overstruck one
// pixel to the right, every cell one pixel wider. Invariant: what a Font
// reports (advance, height) is exactly the box Painter::text fills, so
// extents and pixels agree.

constexpr int kCharWidth = 6;
constexpr int kCharHeight = 10;
constexpr int kCharAscent = 8;
// Rows of a glyph, bit 4 the leftmost column; rows 0..9 top to bottom.
void glyphRows(unsigned char ch, unsigned char rows[kCharHeight]);

struct Font {
  int scale = 1;  // 1: the system font's size; 2: the large size
  bool bold = false;

  int advance() const { return kCharWidth * scale + (bold ? 1 : 0); }
  int height() const { return kCharHeight * scale; }
  int ascent() const { return kCharAscent * scale; }
  int internalLeading() const { return scale; }  // the empty row above the capitals
  LONG weight() const { return bold ? FW_BOLD : FW_NORMAL; }
};
constexpr int kLargeScale = 2;

// The font mapper: the size nearest to the request and bold from FW_SEMIBOLD.
Font fontFor(const LOGFONTA& lf);
// The font a font handle stands for; the system font for anything else.
Font fontOf(HGDIOBJ font);
void fillTextMetrics(const Font& f, TEXTMETRICA* tm);

struct Surface {
  int width = 0;
  int height = 0;
  std::vector<COLORREF> pixels;

  // Keeps the overlapping top-left part; new pixels get fill.
  void resize(int newWidth, int newHeight, COLORREF fill);
  COLORREF get(int x, int y) const;  // CLR_INVALID outside
  void set(int x, int y, COLORREF c);
  void fill(const RECT& r, COLORREF c);
  // Moves the pixels of area by (dx, dy); only destination pixels inside
  // area change.
  void scroll(const RECT& area, int dx, int dy);
  // Moves the pixels of source by (dx, dy), writing only inside clip.
  void scroll(const RECT& source, const RECT& clip, int dx, int dy);
};

// Drawing in one window's coordinates, clipped: what the non-client painter
// and the controls use when they do not go through a DC.
struct Painter {
  Surface* surface = nullptr;
  POINT origin{};  // the window's (0,0) in surface coordinates
  Region clip;     // surface coordinates
  int rop = R2_COPYPEN;  // how fill, frame and pixel mix c with what is there

  void fill(const RECT& r, COLORREF c) const;
  void frame(const RECT& r, COLORREF c) const;  // one-pixel outline
  void pixel(int x, int y, COLORREF c) const;
  // Text in one of the built-in fonts, each character in a cell of the
  // font's advance and height; bk null draws transparently.
  void text(int x, int y, const char* s, int n, COLORREF fg, const COLORREF* bk,
            const Font& font = Font{}) const;
};

// ---- Objects and DCs (objects.cpp, dc.cpp) ----

enum class GdiKind { Brush, Pen, Font, Region, Palette, DC };

struct DeviceContext {
  HWND hwnd = nullptr;
  bool paint = false;  // made by BeginPaint: freed by EndPaint, not ReleaseDC
  // Kept by its window (CS_OWNDC) or class (CS_CLASSDC): ReleaseDC leaves it,
  // GetDC and BeginPaint give it again with its attributes.
  bool kept = false;
  bool classShared = false;  // a class's: outlives the window it last served
  // How the visible part was made, so a kept DC can be placed again.
  bool wholeWindow = false;
  bool painting = false;  // BeginPaint..EndPaint: cut to the area being painted
  RECT paintArea{};       // client coordinates
  HRGN heldRgn = nullptr;  // GetDCEx's region, screen coordinates; the DC owns it
  bool excludeRgn = false;  // heldRgn is cut out rather than kept
  std::shared_ptr<Surface> surface;
  POINT origin{};  // device (0,0) in surface coordinates
  Region clip;     // surface coordinates: visible, cut by clipRgn; what drawing passes
  Region visible;  // surface coordinates: the part of the window the DC may reach
  bool hasClipRgn = false;
  Region clipRgn;  // device coordinates: the program's (SelectClipRgn and friends)
  int rop2 = R2_COPYPEN;
  int mapMode = MM_TEXT;
  POINT windowOrg{};
  POINT viewportOrg{};
  SIZE windowExt{1, 1};
  SIZE viewportExt{1, 1};
  COLORREF textColor = RGB(0, 0, 0);
  COLORREF bkColor = RGB(255, 255, 255);
  int bkMode = OPAQUE;
  HGDIOBJ brush = nullptr;
  HGDIOBJ pen = nullptr;
  HGDIOBJ font = nullptr;
  POINT position{};
  COLORREF dcBrushColor = RGB(255, 255, 255);
  COLORREF dcPenColor = RGB(0, 0, 0);
};

struct GdiObject {
  GdiKind kind = GdiKind::Brush;
  bool stock = false;
  bool deletePending = false;  // deleted while selected: freed when deselected
  int selections = 0;
  UINT style = 0;  // brush BS_* or pen PS_*
  int width = 1;   // pen
  COLORREF color = 0;
  int sysColor = -1;  // brushes of GetSysColorBrush follow the colour table
  Region region;      // device units as the program gave them
  LOGFONTA logFont{};  // font: as created (the face name NUL-padded)
  std::unique_ptr<DeviceContext> dc;
};

GdiObject* gdiObject(HGDIOBJ h);  // a live object or null
Region* regionOf(HGDIOBJ h);       // a live region's, or null
DeviceContext* deviceContext(HDC hdc);
HDC createDC(std::unique_ptr<DeviceContext> dc);
void freeDC(HDC hdc);
// Releases every DC still obtained for hwnd (a window being freed); a
// class's DC only forgets the window.
void freeWindowDCs(HWND hwnd);
int liveGdiCount(GdiKind kind);
HBRUSH systemColorBrush(int index);
// A brush argument of FillRect and friends: a brush handle or COLOR_x + 1.
// False when it names nothing or paints nothing.
bool brushColor(HBRUSH brush, const DeviceContext* dc, COLORREF* color);
void selectDefaults(DeviceContext& dc);
// The clip drawing passes: the visible part cut by the program's region.
// Returns the type of what is left (NULLREGION, SIMPLEREGION, COMPLEXREGION).
int applyClip(DeviceContext& dc);
int regionType(const Region& r);
void deselectAll(DeviceContext& dc);

// Drawing through dc's surface, origin and clip (draw.cpp).
Painter painterOf(const DeviceContext& dc);

// ---- Coordinates (dc.cpp) ----

POINT toDevice(const DeviceContext& dc, int x, int y);
RECT toDeviceRect(const DeviceContext& dc, const RECT& r);

}  // namespace w32

#endif

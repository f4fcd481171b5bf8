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

  void fill(const RECT& r, COLORREF c) const;
  void frame(const RECT& r, COLORREF c) const;  // one-pixel outline
  void pixel(int x, int y, COLORREF c) const;
  // The built-in font; bk null draws transparently.
  void text(int x, int y, const char* s, int n, COLORREF fg, const COLORREF* bk) const;
};

// ---- The built-in fixed font (font.cpp) ----

constexpr int kCharWidth = 6;
constexpr int kCharHeight = 10;
constexpr int kCharAscent = 8;
// Rows of a glyph, bit 4 the leftmost column; rows 0..9 top to bottom.
void glyphRows(unsigned char ch, unsigned char rows[kCharHeight]);

// ---- Objects and DCs (objects.cpp, dc.cpp) ----

enum class GdiKind { Brush, Pen, Font, Region, Palette, DC };

struct DeviceContext {
  HWND hwnd = nullptr;
  bool paint = false;  // made by BeginPaint: freed by EndPaint, not ReleaseDC
  std::shared_ptr<Surface> surface;
  POINT origin{};  // device (0,0) in surface coordinates
  Region clip;     // surface coordinates
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
  RECT rect{};        // region
  std::unique_ptr<DeviceContext> dc;
};

GdiObject* gdiObject(HGDIOBJ h);  // a live object or null
DeviceContext* deviceContext(HDC hdc);
HDC createDC(std::unique_ptr<DeviceContext> dc);
void freeDC(HDC hdc);
// Releases every DC still obtained for hwnd (a window being freed).
void freeWindowDCs(HWND hwnd);
int liveGdiCount(GdiKind kind);
HBRUSH systemColorBrush(int index);
// A brush argument of FillRect and friends: a brush handle or COLOR_x + 1.
// False when it names nothing or paints nothing.
bool brushColor(HBRUSH brush, const DeviceContext* dc, COLORREF* color);
void selectDefaults(DeviceContext& dc);
void deselectAll(DeviceContext& dc);

// ---- Coordinates (dc.cpp) ----

POINT toDevice(const DeviceContext& dc, int x, int y);
RECT toDeviceRect(const DeviceContext& dc, const RECT& r);

}  // namespace w32

#endif

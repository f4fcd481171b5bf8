// The simulated screen and the layer's counters: pixels of windows, the
// composed desktop, screenshots, live-object counts and the clock.
// Invariant: the screen is composed on demand from the top-level surfaces,
// bottom of the z-order first, so it always shows the latest pixels; the
// shown caret inverts what lies under it there, never in the surfaces.
#include <win32sim.h>

#include "kernel/handles.h"
#include "kernel/kernel.h"
#include "sim/png.h"
#include "user/user.h"

namespace w32 {

namespace {

// Top-level windows that show, bottom of the z-order first.
std::vector<Window*> shownTopLevels() {
  std::vector<Window*> out;
  const std::vector<HWND>& tops = desktopWindow().children;
  for (auto it = tops.rbegin(); it != tops.rend(); ++it) {
    Window* w = findWindow(*it);
    if (w && (w->style & WS_VISIBLE) && w->surface) out.push_back(w);
  }
  return out;
}

COLORREF inverted(COLORREF c) { return c == CLR_INVALID ? c : (~c & 0xFFFFFF); }

// A pixel of a top-level window's surface as the screen shows it.
COLORREF shownPixel(const Window& top, const Region& caret, int x, int y) {
  COLORREF c = top.surface->get(x, y);
  return caret.contains(x, y) ? inverted(c) : c;
}

COLORREF composedPixel(int x, int y) {
  std::vector<Window*> tops = shownTopLevels();
  for (auto it = tops.rbegin(); it != tops.rend(); ++it) {
    RECT r = windowRectOnScreen(**it);
    if (pointInRect(r, x, y))
      return shownPixel(**it, shownCaretArea(**it), x - r.left, y - r.top);
  }
  return desktopWindow().surface->get(x, y);
}

}  // namespace

}  // namespace w32

namespace win32sim {

using namespace w32;

COLORREF pixel(HWND hwnd, int x, int y) {
  Window* w = findWindow(hwnd);
  if (!w || x < 0 || y < 0 || x >= rectWidth(w->client) || y >= rectHeight(w->client))
    return CLR_INVALID;
  Window& top = topLevelOf(*w);
  if (!top.surface) return CLR_INVALID;
  Painter p = painterFor(*w, false);
  return shownPixel(top, shownCaretArea(top), static_cast<int>(p.origin.x) + x,
                    static_cast<int>(p.origin.y) + y);
}

COLORREF screenPixel(int x, int y) {
  if (x < 0 || y < 0 || x >= kScreenWidth || y >= kScreenHeight) return CLR_INVALID;
  return composedPixel(x, y);
}

bool saveScreenshot(const std::string& path) {
  noteActivity();
  std::vector<uint8_t> rgb(static_cast<size_t>(kScreenWidth) * kScreenHeight * 3);
  auto put = [&rgb](int x, int y, COLORREF c) {
    size_t at = (static_cast<size_t>(y) * kScreenWidth + static_cast<size_t>(x)) * 3;
    rgb[at] = GetRValue(c);
    rgb[at + 1] = GetGValue(c);
    rgb[at + 2] = GetBValue(c);
  };
  const Surface& desk = *desktopWindow().surface;
  for (int y = 0; y < kScreenHeight; ++y)
    for (int x = 0; x < kScreenWidth; ++x) put(x, y, desk.get(x, y));
  for (Window* w : shownTopLevels()) {
    RECT full = windowRectOnScreen(*w);
    RECT r = intersectRects(full, makeRect(0, 0, kScreenWidth, kScreenHeight));
    Region caret = shownCaretArea(*w);
    for (LONG y = r.top; y < r.bottom; ++y)
      for (LONG x = r.left; x < r.right; ++x)
        put(static_cast<int>(x), static_cast<int>(y),
            shownPixel(*w, caret, static_cast<int>(x - full.left),
                       static_cast<int>(y - full.top)));
  }
  return writePng(path, kScreenWidth, kScreenHeight, rgb);
}

Counts counts() {
  Counts c;
  c.windows = liveWindowCount();
  c.classes = liveClassCount();
  c.brushes = liveGdiCount(GdiKind::Brush);
  c.pens = liveGdiCount(GdiKind::Pen);
  c.regions = liveGdiCount(GdiKind::Region);
  c.gdiObjects = c.brushes + c.pens + c.regions + liveGdiCount(GdiKind::Font);
  c.dcs = liveGdiCount(GdiKind::DC);
  c.acceleratorTables = liveAcceleratorCount();
  c.timers = liveTimerCount();
  c.kernelHandles = liveKernelHandleCount();
  return c;
}

DWORD now() { return clockNow(); }

void advanceClock(DWORD ms) { clockAdvance(ms); }

}  // namespace win32sim

// Pixel surfaces and the clipped painter that draws on them.
// Invariant: every write is bounds-checked against the surface and clipped
// by the painter's region, so no caller can scribble outside its window.
#include "gdi/gdi.h"

#include <algorithm>

namespace w32 {

void Surface::resize(int newWidth, int newHeight, COLORREF fill) {
  std::vector<COLORREF> next(static_cast<size_t>(newWidth) * static_cast<size_t>(newHeight), fill);
  int w = std::min(width, newWidth), h = std::min(height, newHeight);
  // Nothing is kept when either surface has no columns: `next` may then be
  // empty, and even a zero-length copy would index it.
  if (w <= 0) h = 0;
  for (int y = 0; y < h; ++y)
    std::copy_n(&pixels[static_cast<size_t>(y) * static_cast<size_t>(width)], w,
                &next[static_cast<size_t>(y) * static_cast<size_t>(newWidth)]);
  pixels.swap(next);
  width = newWidth;
  height = newHeight;
}

COLORREF Surface::get(int x, int y) const {
  if (x < 0 || y < 0 || x >= width || y >= height) return CLR_INVALID;
  return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
}

void Surface::set(int x, int y, COLORREF c) {
  if (x < 0 || y < 0 || x >= width || y >= height) return;
  pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] = c;
}

void Surface::fill(const RECT& r, COLORREF c) {
  RECT a = intersectRects(r, makeRect(0, 0, width, height));
  for (LONG y = a.top; y < a.bottom; ++y)
    std::fill_n(&pixels[static_cast<size_t>(y) * static_cast<size_t>(width) +
                        static_cast<size_t>(a.left)],
                a.right - a.left, c);
}

void Surface::scroll(const RECT& area, int dx, int dy) { scroll(area, area, dx, dy); }

void Surface::scroll(const RECT& source, const RECT& clip, int dx, int dy) {
  RECT from = intersectRects(source, makeRect(0, 0, width, height));
  RECT a = intersectRects(clip, makeRect(0, 0, width, height));
  if (rectEmpty(a) || rectEmpty(from)) return;
  std::vector<COLORREF> copy(pixels);
  for (LONG y = a.top; y < a.bottom; ++y) {
    for (LONG x = a.left; x < a.right; ++x) {
      LONG sx = x - dx, sy = y - dy;
      if (!pointInRect(from, sx, sy)) continue;
      pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] =
          copy[static_cast<size_t>(sy) * static_cast<size_t>(width) + static_cast<size_t>(sx)];
    }
  }
}

namespace {

// What a binary mix mode makes of the pen's colour and the one below: the
// code less one is a truth table, bit (pen << 1 | below) giving each colour
// bit of the result.
COLORREF mix(int rop, COLORREF pen, COLORREF below) {
  unsigned table = static_cast<unsigned>(rop - 1);
  COLORREF out = 0;
  for (unsigned pd = 0; pd < 4; ++pd)
    if (table & (1u << pd)) out |= ((pd & 2) ? pen : ~pen) & ((pd & 1) ? below : ~below);
  return out & 0xFFFFFF;
}

}  // namespace

void Painter::fill(const RECT& r, COLORREF c) const {
  if (!surface) return;
  RECT s = offsetRect(r, origin.x, origin.y);
  for (const RECT& part : clip.rects()) {
    RECT area = intersectRects(s, part);
    if (rop == R2_COPYPEN) {
      surface->fill(area, c);
      continue;
    }
    for (LONG y = area.top; y < area.bottom; ++y)
      for (LONG x = area.left; x < area.right; ++x) {
        int px = static_cast<int>(x), py = static_cast<int>(y);
        surface->set(px, py, mix(rop, c, surface->get(px, py)));
      }
  }
}

void Painter::frame(const RECT& r, COLORREF c) const {
  fill(makeRect(r.left, r.top, r.right, r.top + 1), c);
  fill(makeRect(r.left, r.bottom - 1, r.right, r.bottom), c);
  fill(makeRect(r.left, r.top, r.left + 1, r.bottom), c);
  fill(makeRect(r.right - 1, r.top, r.right, r.bottom), c);
}

void Painter::pixel(int x, int y, COLORREF c) const {
  if (!surface) return;
  LONG sx = x + origin.x, sy = y + origin.y;
  if (!clip.contains(sx, sy)) return;
  int px = static_cast<int>(sx), py = static_cast<int>(sy);
  surface->set(px, py, rop == R2_COPYPEN ? c : mix(rop, c, surface->get(px, py)));
}

void Painter::text(int x, int y, const char* s, int n, COLORREF fg, const COLORREF* bk,
                   const Font& font) const {
  int advance = font.advance(), scale = font.scale;
  // Bold is the glyph drawn twice, the second time one pixel to the right.
  int width = scale + (font.bold ? 1 : 0);
  for (int i = 0; i < n; ++i) {
    int cx = x + i * advance;
    if (bk) fill(makeRect(cx, y, cx + advance, y + font.height()), *bk);
    unsigned char rows[kCharHeight];
    glyphRows(static_cast<unsigned char>(s[i]), rows);
    for (int row = 0; row < kCharHeight; ++row)
      for (int col = 0; col < 5; ++col)
        if (rows[row] & (0x10 >> col))
          fill(makeRect(cx + col * scale, y + row * scale, cx + col * scale + width,
                        y + (row + 1) * scale),
               fg);
  }
}

}  // namespace w32

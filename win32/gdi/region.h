// Rectangle arithmetic and small rectangle-list regions shared by the window
// manager and GDI. Invariant: a Region's rectangles are non-empty and never
// overlap, so its area is the sum of theirs and pixel loops visit each pixel
// at most once.
#ifndef TUL_WIN32_GDI_REGION_H
#define TUL_WIN32_GDI_REGION_H

#include <windows.h>

#include <vector>

namespace w32 {

inline RECT makeRect(LONG left, LONG top, LONG right, LONG bottom) {
  RECT r;
  r.left = left;
  r.top = top;
  r.right = right;
  r.bottom = bottom;
  return r;
}

inline bool rectEmpty(const RECT& r) { return r.left >= r.right || r.top >= r.bottom; }
inline LONG rectWidth(const RECT& r) { return r.right - r.left; }
inline LONG rectHeight(const RECT& r) { return r.bottom - r.top; }

inline RECT offsetRect(RECT r, LONG dx, LONG dy) {
  r.left += dx;
  r.right += dx;
  r.top += dy;
  r.bottom += dy;
  return r;
}

// Empty results are normalised to (0,0,0,0).
RECT intersectRects(const RECT& a, const RECT& b);
// Bounding box; an empty operand does not widen it.
RECT unionRects(const RECT& a, const RECT& b);
bool rectsEqual(const RECT& a, const RECT& b);
bool pointInRect(const RECT& r, LONG x, LONG y);

class Region {
 public:
  Region() = default;
  explicit Region(const RECT& r) { add(r); }

  bool empty() const { return rects_.empty(); }
  const std::vector<RECT>& rects() const { return rects_; }
  RECT bounds() const;
  bool contains(LONG x, LONG y) const;

  // Adds the part of r not yet covered.
  void add(const RECT& r);
  void subtract(const RECT& r);
  void intersect(const RECT& r);
  void offset(LONG dx, LONG dy);

 private:
  std::vector<RECT> rects_;
};

}  // namespace w32

#endif

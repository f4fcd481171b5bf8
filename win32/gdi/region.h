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

// Coordinate sums and differences wrap around as the system's 32-bit
// arithmetic does; a far-out coordinate never makes the arithmetic undefined.
inline LONG wrapAdd(LONG a, LONG b) {
  return static_cast<LONG>(static_cast<unsigned long>(a) + static_cast<unsigned long>(b));
}
inline LONG wrapSub(LONG a, LONG b) {
  return static_cast<LONG>(static_cast<unsigned long>(a) - static_cast<unsigned long>(b));
}
// a + b held to LONG's range: the far edge of a window placed far out.
inline LONG saturatingAdd(LONG a, LONG b) {
  const long long sum = static_cast<long long>(a) + b;
  if (sum > 0x7FFFFFFFLL) return 0x7FFFFFFF;
  if (sum < -0x80000000LL) return static_cast<LONG>(-0x7FFFFFFF - 1);
  return static_cast<LONG>(sum);
}

inline bool rectEmpty(const RECT& r) { return r.left >= r.right || r.top >= r.bottom; }
inline LONG rectWidth(const RECT& r) { return wrapSub(r.right, r.left); }
inline LONG rectHeight(const RECT& r) { return wrapSub(r.bottom, r.top); }

inline RECT offsetRect(RECT r, LONG dx, LONG dy) {
  r.left = wrapAdd(r.left, dx);
  r.right = wrapAdd(r.right, dx);
  r.top = wrapAdd(r.top, dy);
  r.bottom = wrapAdd(r.bottom, dy);
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
  void add(const Region& r);
  void subtract(const Region& r);
  void intersect(const Region& r);
  // Same pixels, however they are cut into rectangles.
  bool sameArea(const Region& r) const;

 private:
  std::vector<RECT> rects_;
};

}  // namespace w32

#endif

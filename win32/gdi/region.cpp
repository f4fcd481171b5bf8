// Rectangle arithmetic and rectangle-list regions. Subtraction splits a
// rectangle into at most four bands (above, below, left, right), which keeps
// the pieces disjoint.
#include "gdi/region.h"

#include <algorithm>

namespace w32 {

RECT intersectRects(const RECT& a, const RECT& b) {
  RECT r = makeRect(std::max(a.left, b.left), std::max(a.top, b.top),
                    std::min(a.right, b.right), std::min(a.bottom, b.bottom));
  if (rectEmpty(r)) return makeRect(0, 0, 0, 0);
  return r;
}

RECT unionRects(const RECT& a, const RECT& b) {
  if (rectEmpty(a)) return rectEmpty(b) ? makeRect(0, 0, 0, 0) : b;
  if (rectEmpty(b)) return a;
  return makeRect(std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
                  std::max(a.bottom, b.bottom));
}

bool rectsEqual(const RECT& a, const RECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

bool pointInRect(const RECT& r, LONG x, LONG y) {
  return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
}

namespace {

// Appends the parts of r outside cut.
void appendDifference(const RECT& r, const RECT& cut, std::vector<RECT>* out) {
  RECT overlap = intersectRects(r, cut);
  if (rectEmpty(overlap)) {
    out->push_back(r);
    return;
  }
  if (r.top < overlap.top) out->push_back(makeRect(r.left, r.top, r.right, overlap.top));
  if (overlap.bottom < r.bottom)
    out->push_back(makeRect(r.left, overlap.bottom, r.right, r.bottom));
  if (r.left < overlap.left)
    out->push_back(makeRect(r.left, overlap.top, overlap.left, overlap.bottom));
  if (overlap.right < r.right)
    out->push_back(makeRect(overlap.right, overlap.top, r.right, overlap.bottom));
}

}  // namespace

RECT Region::bounds() const {
  RECT b = makeRect(0, 0, 0, 0);
  for (const RECT& r : rects_) b = unionRects(b, r);
  return b;
}

bool Region::contains(LONG x, LONG y) const {
  for (const RECT& r : rects_)
    if (pointInRect(r, x, y)) return true;
  return false;
}

void Region::add(const RECT& r) {
  if (rectEmpty(r)) return;
  std::vector<RECT> pieces{r};
  for (const RECT& have : rects_) {
    std::vector<RECT> next;
    for (const RECT& p : pieces) appendDifference(p, have, &next);
    pieces.swap(next);
  }
  rects_.insert(rects_.end(), pieces.begin(), pieces.end());
}

void Region::subtract(const RECT& r) {
  if (rectEmpty(r)) return;
  std::vector<RECT> next;
  for (const RECT& have : rects_) appendDifference(have, r, &next);
  rects_.swap(next);
}

void Region::intersect(const RECT& r) {
  std::vector<RECT> next;
  for (const RECT& have : rects_) {
    RECT i = intersectRects(have, r);
    if (!rectEmpty(i)) next.push_back(i);
  }
  rects_.swap(next);
}

void Region::offset(LONG dx, LONG dy) {
  for (RECT& r : rects_) r = offsetRect(r, dx, dy);
}

void Region::add(const Region& r) {
  for (const RECT& piece : r.rects_) add(piece);
}

void Region::subtract(const Region& r) {
  for (const RECT& piece : r.rects_) subtract(piece);
}

void Region::intersect(const Region& r) {
  // Pieces of disjoint rectangles intersected with disjoint rectangles are
  // disjoint, so they need no merging.
  std::vector<RECT> next;
  for (const RECT& have : rects_)
    for (const RECT& other : r.rects_) {
      RECT i = intersectRects(have, other);
      if (!rectEmpty(i)) next.push_back(i);
    }
  rects_.swap(next);
}

bool Region::sameArea(const Region& r) const {
  Region a = *this, b = r;
  a.subtract(r);
  b.subtract(*this);
  return a.empty() && b.empty();
}

}  // namespace w32

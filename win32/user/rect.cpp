// user32's rectangle helpers. Invariant: an empty rectangle is one whose
// right is not past its left or whose bottom is not past its top, and the
// results that can be empty come back as (0,0,0,0), as the system returns
// them.
#include "user/user.h"

using namespace w32;

extern "C" {

BOOL WINAPI SetRect(LPRECT lprc, int xLeft, int yTop, int xRight, int yBottom) {
  if (!lprc) return FALSE;
  *lprc = makeRect(xLeft, yTop, xRight, yBottom);
  return TRUE;
}

BOOL WINAPI SetRectEmpty(LPRECT lprc) {
  if (!lprc) return FALSE;
  *lprc = makeRect(0, 0, 0, 0);
  return TRUE;
}

BOOL WINAPI CopyRect(LPRECT lprcDst, const RECT* lprcSrc) {
  if (!lprcDst || !lprcSrc) return FALSE;
  *lprcDst = *lprcSrc;
  return TRUE;
}

BOOL WINAPI IsRectEmpty(const RECT* lprc) { return !lprc || rectEmpty(*lprc); }

BOOL WINAPI EqualRect(const RECT* lprc1, const RECT* lprc2) {
  if (!lprc1 || !lprc2) return FALSE;
  return rectsEqual(*lprc1, *lprc2);
}

BOOL WINAPI PtInRect(const RECT* lprc, POINT pt) {
  return lprc && pointInRect(*lprc, pt.x, pt.y);
}

BOOL WINAPI OffsetRect(LPRECT lprc, int dx, int dy) {
  if (!lprc) return FALSE;
  *lprc = offsetRect(*lprc, dx, dy);
  return TRUE;
}

BOOL WINAPI InflateRect(LPRECT lprc, int dx, int dy) {
  if (!lprc) return FALSE;
  lprc->left -= dx;
  lprc->top -= dy;
  lprc->right += dx;
  lprc->bottom += dy;
  return TRUE;
}

BOOL WINAPI IntersectRect(LPRECT lprcDst, const RECT* lprcSrc1, const RECT* lprcSrc2) {
  if (!lprcDst || !lprcSrc1 || !lprcSrc2) return FALSE;
  *lprcDst = intersectRects(*lprcSrc1, *lprcSrc2);
  return !rectEmpty(*lprcDst);
}

BOOL WINAPI UnionRect(LPRECT lprcDst, const RECT* lprcSrc1, const RECT* lprcSrc2) {
  if (!lprcDst || !lprcSrc1 || !lprcSrc2) return FALSE;
  *lprcDst = unionRects(*lprcSrc1, *lprcSrc2);
  return !rectEmpty(*lprcDst);
}

BOOL WINAPI SubtractRect(LPRECT lprcDst, const RECT* lprcSrc1, const RECT* lprcSrc2) {
  if (!lprcDst || !lprcSrc1 || !lprcSrc2) return FALSE;
  Region r(*lprcSrc1);
  r.subtract(*lprcSrc2);
  // Only a remainder that is still one rectangle is subtracted.
  *lprcDst = (r.rects().size() == 1) ? r.rects().front() : (r.empty() ? makeRect(0, 0, 0, 0) : *lprcSrc1);
  return !rectEmpty(*lprcDst);
}

}  // extern "C"

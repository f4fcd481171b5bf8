// Window geometry: the rectangles of a window in its parent and of its
// client area in the window (see geometry.h). Nothing is cached: every call
// asks the system.
#include "window/geometry.h"

bool windowRectInParent(HWND hwnd, RECT& out) {
  if (!hwnd || !GetWindowRect(hwnd, &out)) return false;
  POINT corner = {out.left, out.top};
  if (ScreenToClient(GetParent(hwnd), &corner))
    OffsetRect(&out, corner.x - out.left, corner.y - out.top);
  return true;
}

bool clientRectInWindow(HWND hwnd, RECT& out) {
  RECT window;
  if (!hwnd || !GetClientRect(hwnd, &out) || !GetWindowRect(hwnd, &window)) return false;
  // The outer corner seen from the client origin: zero or negative.
  POINT corner = {window.left, window.top};
  if (ScreenToClient(hwnd, &corner)) OffsetRect(&out, -corner.x, -corner.y);
  return true;
}

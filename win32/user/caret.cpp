// The caret: one per thread (the layer has one), owned by a window, placed in
// its client coordinates and shown once every HideCaret has been answered by
// a ShowCaret. The system blinks it by inverting the pixels under it; the
// layer shows it steadily and never writes it into a surface: the simulated
// screen inverts what lies under it when it is looked at.
// Invariant: the caret belongs to a live window or to none; destroying the
// owner destroys the caret.
#include "user/user.h"

namespace w32 {

namespace {

struct Caret {
  HWND owner = nullptr;
  POINT pos{};  // the owner's client coordinates
  SIZE size{};
  int hideCount = 1;  // ShowCaret calls still owed; shown at 0
};

Caret& caret() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static Caret& c = *new Caret;
  return c;
}

// hwnd names the caret's owner, or is null for whichever window owns it
// (with no caret, a null hwnd is accepted and nothing happens). Fails with
// ERROR_ACCESS_DENIED for another window.
bool mayChangeCaret(HWND hwnd) {
  if (!hwnd || hwnd == caret().owner) return true;
  SetLastError(ERROR_ACCESS_DENIED);
  return false;
}

}  // namespace

void dropCaretOf(HWND hwnd) {
  if (caret().owner == hwnd) caret() = Caret{};
}

Region shownCaretArea(const Window& top) {
  const Caret& c = caret();
  Window* owner = findWindow(c.owner);
  if (!owner || c.hideCount > 0 || &topLevelOf(*owner) != &top) return Region();
  Region area = visibleRegion(*owner, false);
  POINT at = painterFor(*owner, false).origin;
  area.intersect(makeRect(at.x + c.pos.x, at.y + c.pos.y, at.x + c.pos.x + c.size.cx,
                          at.y + c.pos.y + c.size.cy));
  return area;
}

}  // namespace w32

using namespace w32;

extern "C" {

// A bitmap caret takes the width and height given: the layer draws every
// caret as a solid block.
BOOL WINAPI CreateCaret(HWND hWnd, HBITMAP /*hBitmap*/, int nWidth, int nHeight) {
  if (!checkWindow(hWnd)) return FALSE;
  Caret& c = caret();
  // A window taking the caret over from another starts it at its origin.
  if (c.owner != hWnd) c.pos = POINT{0, 0};
  c.owner = hWnd;
  c.size.cx = nWidth ? nWidth : systemMetric(SM_CXBORDER);
  c.size.cy = nHeight ? nHeight : systemMetric(SM_CYBORDER);
  c.hideCount = 1;
  return TRUE;
}

BOOL WINAPI DestroyCaret(void) {
  caret() = Caret{};
  return TRUE;
}

// Showing and hiding count: a caret hidden twice needs two ShowCaret calls;
// more ShowCaret calls than that change nothing.
BOOL WINAPI ShowCaret(HWND hWnd) {
  if (!mayChangeCaret(hWnd)) return FALSE;
  Caret& c = caret();
  if (c.owner && c.hideCount > 0) --c.hideCount;
  return TRUE;
}

BOOL WINAPI HideCaret(HWND hWnd) {
  if (!mayChangeCaret(hWnd)) return FALSE;
  Caret& c = caret();
  if (c.owner) ++c.hideCount;
  return TRUE;
}

BOOL WINAPI SetCaretPos(int X, int Y) {
  Caret& c = caret();
  if (c.owner) c.pos = POINT{X, Y};
  return TRUE;
}

BOOL WINAPI GetCaretPos(LPPOINT lpPoint) {
  if (!lpPoint) return FALSE;
  *lpPoint = caret().pos;
  return TRUE;
}

}  // extern "C"

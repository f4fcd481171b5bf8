// The system's move and size loop (SC_MOVE and SC_SIZE): it holds the
// capture and reads the queue itself until the button is released or Return
// or Escape is pressed, moving the window with the cursor as it goes; other
// messages are dispatched as usual. Escape puts the window back.
// Invariant: the window is looked up again after every message dispatched
// or sent, so a procedure may destroy it during the loop.
#include "user/user.h"

namespace w32 {

namespace {

constexpr int kWmszLeft = 1;  // WMSZ_LEFT: SC_SIZE's low bits count from it
constexpr int kKeyStep = 8;   // pixels an arrow key moves the cursor

// The edges a hit-test code drags; {0,0,0,0} moves the whole window.
RECT edgesOf(int hit) {
  RECT e{0, 0, 0, 0};
  if (hit == HTLEFT || hit == HTTOPLEFT || hit == HTBOTTOMLEFT) e.left = 1;
  if (hit == HTRIGHT || hit == HTTOPRIGHT || hit == HTBOTTOMRIGHT) e.right = 1;
  if (hit == HTTOP || hit == HTTOPLEFT || hit == HTTOPRIGHT) e.top = 1;
  if (hit == HTBOTTOM || hit == HTBOTTOMLEFT || hit == HTBOTTOMRIGHT) e.bottom = 1;
  return e;
}

bool movesWhole(const RECT& e) { return !e.left && !e.right && !e.top && !e.bottom; }

// The rectangle the drag gives, in the coordinates of start.
RECT dragged(const RECT& start, const RECT& edges, int dx, int dy) {
  if (movesWhole(edges)) return offsetRect(start, dx, dy);
  RECT r = start;
  if (edges.left) r.left += dx;
  if (edges.right) r.right += dx;
  if (edges.top) r.top += dy;
  if (edges.bottom) r.bottom += dy;
  return r;
}

// Places the window at r (screen coordinates); false once it is gone.
bool place(HWND hwnd, RECT r, bool moveOnly) {
  Window* w = findWindow(hwnd);
  if (!w) return false;
  if (Window* p = parentOf(*w); p && !isDesktop(*p)) {
    POINT o = clientOriginOnScreen(*p);
    r = offsetRect(r, -o.x, -o.y);
  }
  UINT flags = SWP_NOZORDER | SWP_NOACTIVATE | (moveOnly ? SWP_NOSIZE : 0);
  SetWindowPos(hwnd, NULL, r.left, r.top, rectWidth(r), rectHeight(r), flags);
  return findWindow(hwnd) != nullptr;
}

}  // namespace

void moveSizeLoop(HWND hwnd, WPARAM command, LPARAM lParam) {
  Window* w = findWindow(hwnd);
  if (!w || (w->style & (WS_MAXIMIZE | WS_MINIMIZE))) return;
  int low = static_cast<int>(command & 0x0F);
  bool sizing = (command & 0xFFF0) == SC_SIZE;
  // SC_SIZE from the keyboard sizes by the edge of the first arrow key.
  bool edgeToChoose = sizing && !low;
  int hit = sizing && low ? low + HTLEFT - kWmszLeft : HTCAPTION;
  RECT edges = edgesOf(hit);  // none: the whole window moves
  // A command from the keyboard starts where the cursor is.
  POINT anchor;
  if (low) {
    anchor = POINT{static_cast<SHORT>(LOWORD(lParam)), static_cast<SHORT>(HIWORD(lParam))};
  } else {
    GetCursorPos(&anchor);
  }
  const RECT start = windowRectOnScreen(*w);
  RECT now = start;
  POINT cursor = anchor;

  SetCapture(hwnd);
  sendMessage(hwnd, WM_ENTERSIZEMOVE, 0, 0);
  bool cancelled = false;
  for (;;) {
    if (!findWindow(hwnd)) return;
    MSG msg;
    BOOL got = GetMessageA(&msg, NULL, 0, 0);
    if (got <= 0) {
      if (got == 0) PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    if (msg.message == WM_LBUTTONUP) break;
    if (msg.message == WM_KEYDOWN && (msg.wParam == VK_RETURN || msg.wParam == VK_ESCAPE)) {
      cancelled = msg.wParam == VK_ESCAPE;
      break;
    }
    if (msg.message != WM_KEYDOWN && msg.message != WM_MOUSEMOVE) {
      TranslateMessage(&msg);
      DispatchMessageA(&msg);
      continue;
    }
    if (msg.message == WM_MOUSEMOVE) {
      cursor = msg.pt;
    } else {
      int edge = 0;
      switch (msg.wParam) {
      case VK_LEFT: cursor.x -= kKeyStep; edge = HTLEFT; break;
      case VK_RIGHT: cursor.x += kKeyStep; edge = HTRIGHT; break;
      case VK_UP: cursor.y -= kKeyStep; edge = HTTOP; break;
      case VK_DOWN: cursor.y += kKeyStep; edge = HTBOTTOM; break;
      default: continue;
      }
      if (edgeToChoose) {
        edgeToChoose = false;
        hit = edge;
        edges = edgesOf(hit);
      }
    }
    if (edgeToChoose) continue;
    bool moveOnly = movesWhole(edges);
    RECT next = dragged(start, edges, cursor.x - anchor.x, cursor.y - anchor.y);
    sendMessage(hwnd, moveOnly ? WM_MOVING : WM_SIZING,
                moveOnly ? 0 : static_cast<WPARAM>(hit - HTLEFT + kWmszLeft),
                reinterpret_cast<LPARAM>(&next));
    if (rectsEqual(next, now)) continue;
    now = next;
    if (!place(hwnd, now, moveOnly)) return;
  }
  if (GetCapture() == hwnd) ReleaseCapture();
  if (cancelled && !rectsEqual(now, start) && !place(hwnd, start, false)) return;
  if (findWindow(hwnd)) sendMessage(hwnd, WM_EXITSIZEMOVE, 0, 0);
}

}  // namespace w32

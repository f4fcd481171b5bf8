// The virtual canvas: a window's contents can live on a canvas larger than
// its client area, moved by the standard scroll bars. Here are the window's
// reactions to WM_SIZE, WM_HSCROLL and WM_VSCROLL while the canvas is on;
// each ends in a call of the script-level scrolling methods, so that a
// script override takes part.
//
// Invariant: the canvas rectangle (_virtualRect) is in the window's client
// coordinates: its left and top are zero or negative once scrolled.
#include <cstdlib>

#include "module/errors.h"
#include "window/geometry.h"
#include "window/winbase.h"
#include "winstruct/image.h"

namespace {

constexpr const char* kNoCanvasObject = "Invalid object structure. RECT expected";
constexpr const char* kNoCanvasData = "Invalid data (_virtualRect)";

std::int32_t negated(std::int32_t v) {
  return static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(v));
}

bool invokeWith(Frame& f, const char* method, std::int32_t amount) {
  TulVector args(1, true);
  args[0] = TulValue(amount);
  TulValue ignored;
  return invokeScript(f.interp(), ignored, f.self(), method, &args);
}

bool invokeBare(Frame& f, const char* method) {
  TulValue ignored;
  return invokeScript(f.interp(), ignored, f.self(), method);
}

// When the client area grows past the canvas's far edge, the contents follow
// that edge, or come back to the origin once the whole canvas fits; one
// correction a message, the horizontal one first.
bool followNewSize(Frame& f, std::int64_t w, std::int64_t h) {
  const TulValue* slot = f.member(Member::WinVirtualRect);
  TulObject* canvas = slot ? static_cast<TulObject*>(*slot) : nullptr;
  if (!canvas) return f.fail(kNoCanvasObject);
  TulBuffer* rect = bufferMember(canvas, Member::RectRect, kRectImage.size);
  if (!rect) return f.fail(kNoCanvasData);
  const std::int64_t left = readField(rect, 0, FieldKind::I32);
  const std::int64_t top = readField(rect, 4, FieldKind::I32);
  const std::int64_t right = readField(rect, 8, FieldKind::I32);
  const std::int64_t bottom = readField(rect, 12, FieldKind::I32);
  if (w > right) {
    const std::int64_t dx = w < right - left ? w - right : -left;
    if (dx != 0) return invokeWith(f, "scrollHorizontal", static_cast<std::int32_t>(dx));
  }
  if (h > bottom) {
    const std::int64_t dy = h < bottom - top ? h - bottom : -top;
    if (dy != 0) return invokeWith(f, "scrollVertical", static_cast<std::int32_t>(dy));
  }
  return invokeBare(f, "applyScrollBars");
}

// The distance the thumb was dragged from where the canvas stands.
bool thumbDistance(HWND hwnd, int bar, std::int32_t& out) {
  SCROLLINFO si = {};
  si.cbSize = sizeof si;
  si.fMask = SIF_POS | SIF_TRACKPOS;
  if (!GetScrollInfo(hwnd, bar, &si)) return false;
  out = si.nPos - si.nTrackPos;
  return true;
}

bool pageOf(HWND hwnd, bool horizontal, std::int32_t& out) {
  RECT client;
  if (!clientRectInWindow(hwnd, client)) return false;
  out = horizontal ? client.right - client.left : client.bottom - client.top;
  return true;
}

// The amount a scroll-bar request moves the canvas by; false when it moves
// nothing. Line and page requests towards the start move the contents
// forward (a positive amount).
bool requestAmount(Frame& f, HWND hwnd, bool horizontal, unsigned code, std::int32_t& amount) {
  const std::int32_t step = intMember(f.self(), horizontal ? Member::WinSx : Member::WinSy);
  const int bar = horizontal ? SB_HORZ : SB_VERT;
  switch (code) {
    case SB_LINEUP: amount = step; return true;
    case SB_LINEDOWN: amount = negated(step); return true;
    case SB_PAGEUP: return pageOf(hwnd, horizontal, amount);
    case SB_PAGEDOWN:
      if (!pageOf(hwnd, horizontal, amount)) return false;
      amount = negated(amount);
      return true;
    case SB_THUMBPOSITION: return thumbDistance(hwnd, bar, amount);
    case SB_THUMBTRACK:
      // Live scrolling follows the thumb only once it has moved a whole step.
      if (!intMember(f.self(), Member::WinLifeScroll) || !thumbDistance(hwnd, bar, amount))
        return false;
      return std::llabs(amount) >= std::llabs(step);
    default: return false;
  }
}

}  // namespace

bool canvasReaction(Frame& f, HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_SIZE) return followNewSize(f, LOWORD(lParam), HIWORD(lParam));
  const bool horizontal = message == WM_HSCROLL;
  std::int32_t amount = 0;
  if (!requestAmount(f, hwnd, horizontal, LOWORD(wParam), amount)) return true;
  return invokeWith(f, horizontal ? "scrollHorizontal" : "scrollVertical", amount);
}

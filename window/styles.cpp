// WinBase's styles and show state (see styles.h). Nothing is cached: every
// call asks the system. A style change only writes the value; no frame is
// recalculated and nothing is redrawn.
#include "window/styles.h"

#include "module/errors.h"

namespace {

constexpr UINT kPlacementSize = 44;  // bytes of WINDOWPLACEMENT
static_assert(sizeof(WINDOWPLACEMENT) == kPlacementSize, "WINDOWPLACEMENT is 44 bytes");

// The object's window, or null after "Invalid window handle.".
HWND requireWindow(Frame& f) {
  HWND hwnd = windowOf(f.self());
  if (!hwnd) f.fail(err::kInvalidWindowHandle);
  return hwnd;
}

LONG combined(StyleOp op, LONG style, LONG bits) {
  switch (op) {
    case StyleOp::Add: return style | bits;
    case StyleOp::Remove: return style & ~bits;
    default: return bits;
  }
}

}  // namespace

bool styleMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, int index, StyleOp op) {
  Frame f(vm, argc, sp);
  const int args = op == StyleOp::Get ? 0 : 1;
  if (!f.enter(args, args)) return false;
  std::int32_t bits = 0;
  if (args && !f.intArg(0, bits)) return false;
  HWND hwnd = requireWindow(f);
  if (!hwnd) return false;
  const LONG style = GetWindowLongA(hwnd, index);
  switch (op) {
    case StyleOp::Get: return f.retInt(style);
    case StyleOp::Has: return f.retBool((style & bits) != 0);
    case StyleOp::Set: return f.retBool(SetWindowLongA(hwnd, index, bits) != 0);
    default: return f.retBool(SetWindowLongA(hwnd, index, combined(op, style, bits)) != 0);
  }
}

// A placement the system refuses answers "no" to every question.
bool showStateMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, ShowTest test) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  HWND hwnd = requireWindow(f);
  if (!hwnd) return false;
  WINDOWPLACEMENT wp = {};
  wp.length = kPlacementSize;
  if (!GetWindowPlacement(hwnd, &wp)) return f.retInt(0);
  switch (test) {
    case ShowTest::Minimized: return f.retBool(wp.showCmd == SW_SHOWMINIMIZED);
    case ShowTest::Maximized: return f.retBool(wp.showCmd == SW_SHOWMAXIMIZED);
    case ShowTest::Visible: return f.retBool(wp.showCmd != SW_HIDE);
  }
  return f.retInt(0);
}

bool showCommandMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, int command) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  HWND hwnd = requireWindow(f);
  if (!hwnd) return false;
  return f.retInt(ShowWindow(hwnd, command));
}

bool winbase_show(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 1)) return false;
  std::int32_t command = SW_SHOWNORMAL;
  if (f.argCount() == 1 && !f.intArg(0, command)) return false;
  HWND hwnd = requireWindow(f);
  if (!hwnd) return false;
  return f.retInt(ShowWindow(hwnd, command));
}

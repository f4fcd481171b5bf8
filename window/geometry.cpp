// Window geometry: the rectangles of a window in its parent and of its
// client area in the window (see geometry.h). Nothing is cached: every call
// asks the system.
#include "window/geometry.h"

#include "module/errors.h"

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

// --- WinBase's geometry methods ------------------------------------------------

namespace {

bool measure(Measured which, HWND hwnd, RECT& out) {
  return which == Measured::Window ? windowRectInParent(hwnd, out) : clientRectInWindow(hwnd, out);
}

// The rectangle of the object's window, or false after "Invalid window
// handle." (also for a handle the system no longer knows).
bool measuredRect(Frame& f, Measured which, RECT& out) {
  HWND hwnd = windowOf(f.self());
  if (!hwnd || !measure(which, hwnd, out)) return f.fail(err::kInvalidWindowHandle);
  return true;
}

std::int32_t partOf(const RECT& r, Part part) {
  switch (part) {
    case Part::Left: return r.left;
    case Part::Top: return r.top;
    case Part::Width: return r.right - r.left;
    case Part::Height: return r.bottom - r.top;
  }
  return 0;
}

// A new POINT or SIZE made by its constructor, as a script would make it.
bool retPair(Frame& f, Name cls, std::int32_t a, std::int32_t b) {
  TulVector args(2, true);
  args[0] = TulValue(a);
  args[1] = TulValue(b);
  TulValue pair;
  if (!createScriptObject(f.interp(), pair, nameString(cls), &args)) return false;
  return f.ret(pair);
}

// The two values of a POINT or SIZE argument, through its script-level
// getters so that an override takes part.
bool pairOf(Frame& f, TulObject* obj, const char* getA, const char* getB, std::int32_t& a,
            std::int32_t& b) {
  TulValue va, vb;
  if (!invokeScript(f.interp(), va, obj, getA) || !invokeScript(f.interp(), vb, obj, getB))
    return false;
  a = static_cast<int>(va);
  b = static_cast<int>(vb);
  return true;
}

struct PairArgs {
  Name cls;
  const char* getA;
  const char* getB;
  const char* expected;
};

// setPosition and setSize: an object (of cls) and a repaint flag, or two
// numbers and a repaint flag. The flag defaults to repainting.
bool readPairArgs(Frame& f, const PairArgs& kind, std::int32_t& a, std::int32_t& b,
                  BOOL& repaint) {
  const TulValue& first = f.arg(0);
  int flagAt;
  if (first.type() == TulValueType::Object || first.type() == TulValueType::ObjectRef) {
    if (f.argCount() > 2) return f.fail(err::kTooMany);
    TulObject* obj = objectOfClass(first, kind.cls);
    if (!obj) return f.fail(kind.expected);
    if (!pairOf(f, obj, kind.getA, kind.getB, a, b)) return false;
    flagAt = 1;
  } else {
    if (!f.interp().checkType(first, TulValueType::Number)) return false;
    if (f.argCount() < 2) return f.fail(err::kTooFew);
    a = static_cast<int>(f.arg(0));
    b = static_cast<int>(f.arg(1));
    flagAt = 2;
  }
  repaint = f.argCount() > flagAt ? static_cast<int>(f.arg(flagAt)) != 0 : TRUE;
  return true;
}

constexpr PairArgs kPositionArgs = {Name::Point, "getX", "getY", "Invalid argument. POINT expected"};
constexpr PairArgs kSizeArgs = {Name::Size, "getW", "getH", "Invalid argument. SIZE expected"};

}  // namespace

bool winbase_setPosition(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 3)) return false;
  std::int32_t x, y;
  BOOL repaint;
  if (!readPairArgs(f, kPositionArgs, x, y, repaint)) return false;
  HWND hwnd = windowOf(f.self());
  RECT r;
  if (!hwnd || !GetWindowRect(hwnd, &r)) return f.retInt(0);
  return f.retBool(MoveWindow(hwnd, x, y, r.right - r.left, r.bottom - r.top, repaint));
}

// The window keeps its position in its parent.
bool winbase_setSize(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 3)) return false;
  std::int32_t width, height;
  BOOL repaint;
  if (!readPairArgs(f, kSizeArgs, width, height, repaint)) return false;
  HWND hwnd = windowOf(f.self());
  RECT r;
  if (!hwnd || !windowRectInParent(hwnd, r)) return f.retInt(0);
  return f.retBool(MoveWindow(hwnd, r.left, r.top, width, height, repaint));
}

bool rectPairMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, Measured which, Part a, Part b,
                    Name cls) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  RECT r;
  if (!measuredRect(f, which, r)) return false;
  return retPair(f, cls, partOf(r, a), partOf(r, b));
}

bool rectPartMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, Measured which, Part part) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  RECT r;
  if (!measuredRect(f, which, r)) return false;
  return f.retInt(partOf(r, part));
}

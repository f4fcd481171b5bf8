// The virtual canvas: a window's contents can live on a canvas larger than
// its client area, moved by the standard scroll bars. Here are the window's
// reactions to WM_SIZE, WM_HSCROLL and WM_VSCROLL while the canvas is on;
// each ends in a call of the script-level scrolling methods, so that a
// script override takes part.
//
// Invariant: the canvas rectangle (_virtualRect) is in the window's client
// coordinates: its left and top are zero or negative once scrolled.
#include <algorithm>
#include <cstdlib>
#include <cstring>

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

bool invokeWith(TulInterpreter& in, TulObject* self, const char* method, std::int32_t amount) {
  TulVector args(1, true);
  args[0] = TulValue(amount);
  TulValue ignored;
  return invokeScript(in, ignored, self, method, &args);
}

bool invokeWith(Frame& f, const char* method, std::int32_t amount) {
  return invokeWith(f.interp(), f.self(), method, amount);
}

bool invokeBare(TulInterpreter& in, TulObject* self, const char* method) {
  TulValue ignored;
  return invokeScript(in, ignored, self, method);
}

bool invokeBare(Frame& f, const char* method) { return invokeBare(f.interp(), f.self(), method); }

// When the client area grows past the canvas's far edge, the contents follow
// that edge, or come back to the origin once the whole canvas fits; one
// correction a message, the horizontal one first.
bool followNewSize(TulInterpreter& in, TulObject* self, std::int64_t w, std::int64_t h) {
  const TulValue* slot = memberSlot(self, Member::WinVirtualRect);
  TulObject* canvas = slot ? static_cast<TulObject*>(*slot) : nullptr;
  if (!canvas) return in.returnError(kNoCanvasObject, nullptr);
  TulBuffer* rect = bufferMember(canvas, Member::RectRect, kRectImage.size);
  if (!rect) return in.returnError(kNoCanvasData, nullptr);
  const std::int64_t left = readField(rect, 0, FieldKind::I32);
  const std::int64_t top = readField(rect, 4, FieldKind::I32);
  const std::int64_t right = readField(rect, 8, FieldKind::I32);
  const std::int64_t bottom = readField(rect, 12, FieldKind::I32);
  if (w > right) {
    const std::int64_t dx = w < right - left ? w - right : -left;
    if (dx != 0) return invokeWith(in, self, "scrollHorizontal", static_cast<std::int32_t>(dx));
  }
  if (h > bottom) {
    const std::int64_t dy = h < bottom - top ? h - bottom : -top;
    if (dy != 0) return invokeWith(in, self, "scrollVertical", static_cast<std::int32_t>(dy));
  }
  return invokeBare(in, self, "applyScrollBars");
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
bool requestAmount(TulObject* self, HWND hwnd, bool horizontal, unsigned code, std::int32_t& amount) {
  const std::int32_t step = intMember(self, horizontal ? Member::WinSx : Member::WinSy);
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
      if (!intMember(self, Member::WinLifeScroll) || !thumbDistance(hwnd, bar, amount))
        return false;
      return std::llabs(amount) >= std::llabs(step);
    default: return false;
  }
}

}  // namespace

bool canvasReaction(TulInterpreter& in, TulObject* self, HWND hwnd, UINT message, WPARAM wParam,
                    LPARAM lParam) {
  if (message == WM_SIZE) return followNewSize(in, self, LOWORD(lParam), HIWORD(lParam));
  const bool horizontal = message == WM_HSCROLL;
  std::int32_t amount = 0;
  if (!requestAmount(self, hwnd, horizontal, LOWORD(wParam), amount)) return true;
  return invokeWith(in, self, horizontal ? "scrollHorizontal" : "scrollVertical", amount);
}

// --- WinBase's canvas methods ----------------------------------------------------

namespace {

constexpr const char* kNoCanvas = "Object not initialized.";
constexpr const char* kSizeObjectExpected = "Invalid argument. SIZE expected.";
constexpr const char* kNotAHandleList = "getChildrenHandles must give a vector of window handles";
constexpr std::int32_t kDefaultStep = 10;  // pixels
constexpr UINT kBarMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
constexpr UINT kAllWindowFlags = SW_SCROLLCHILDREN | SW_INVALIDATE | SW_ERASE;

// Two or four 32-bit integers at an address a script-level ptr gave. The
// address is honoured inside any string or buffer the host owns (the
// object's own structure, another object's, a Struct's image, a string's
// characters) with room for the integers; the storage is held while the
// method runs, and read at its offset afresh each time, since a script
// called meanwhile may grow or shrink it. An integer that no longer fits
// reads as 0 and is not written.
struct Structure {
  TulValue storage;
  unsigned offset = 0;

  std::int32_t at(int i) const {
    std::int32_t v = 0;
    if (unsigned char* p = field(i)) std::memcpy(&v, p, sizeof v);
    return v;
  }
  void set(int i, std::int32_t v) {
    if (unsigned char* p = field(i)) std::memcpy(p, &v, sizeof v);
  }

 private:
  unsigned char* field(int i) const {
    const TulBytes bytes = tulStorageBytes(storage);
    const unsigned at = offset + 4u * static_cast<unsigned>(i);
    return at <= bytes.size && bytes.size - at >= 4 ? bytes.data + at : nullptr;
  }
};

enum class Got { Yes, NoObject, ZeroAddress, Failed };

// The structure of obj (size bytes) through its script-level ptr. An address
// that lies in no live string or buffer, or without room for the structure,
// counts as no address.
Got structureOf(Frame& f, const TulValue& obj, unsigned size, Structure& out) {
  TulObject* o = static_cast<TulObject*>(obj);
  if (!o) return Got::NoObject;
  TulValue address;
  if (!invokeScript(f.interp(), address, o, "ptr")) return Got::Failed;
  const auto at = static_cast<std::uintptr_t>(static_cast<std::uint32_t>(static_cast<int>(address)));
  if (!at) return Got::ZeroAddress;
  out.storage = tulStorageHolding(at, size);
  if (out.storage.type() == TulValueType::Nil) return Got::ZeroAddress;
  out.offset = static_cast<unsigned>(at - reinterpret_cast<std::uintptr_t>(tulStorageBytes(out.storage).data));
  return Got::Yes;
}

Got canvasOf(Frame& f, Structure& out) {
  const TulValue* slot = f.member(Member::WinVirtualRect);
  return structureOf(f, slot ? *slot : TulValue(), kRectImage.size, out);
}

// What a method without a canvas answers: a missing canvas object is an
// error for some methods and a plain "no" for others; a zero address is
// always a "no" (0, or nothing for a method that returns nothing).
enum class NoObject { Fails, AnswersNo };
enum class No { Zero, Nothing };

// True with the canvas in hand; otherwise false, with `result` holding what
// the method returns (after a report, or with its answer written).
bool canvasOrAnswer(Frame& f, Structure& canvas, NoObject noObject, No no, bool& result) {
  switch (canvasOf(f, canvas)) {
    case Got::Yes: return true;
    case Got::Failed: result = false; return false;
    case Got::NoObject:
      if (noObject == NoObject::Fails) {
        result = f.fail(kNoCanvas);
        return false;
      }
      break;
    case Got::ZeroAddress: break;
  }
  result = no == No::Zero ? f.retInt(0) : f.retNothing();
  return false;
}

enum Edge { kLeft, kTop, kRight, kBottom };

bool canvasOn(TulObject* self) { return intMember(self, Member::WinUseVirtualSize) != 0; }

// The width and height a script-level method gives as a SIZE object, read
// through that object's ptr; false after a failure or for no address.
bool sizeFrom(Frame& f, const char* method, std::int32_t& w, std::int32_t& h, bool& ok) {
  TulValue size;
  ok = false;
  if (!invokeScript(f.interp(), size, f.self(), method)) return false;
  Structure s;
  Got got = structureOf(f, size, kPointImage.size, s);
  if (got == Got::Failed) return false;
  if (got == Got::NoObject) return f.fail(kNoCanvas);
  if (got == Got::Yes) {
    w = s.at(0);
    h = s.at(1);
    ok = true;
  }
  return true;
}

// Each standard bar shown when the canvas does not fit that way, or has been
// scrolled from its origin.
void showNeededBars(HWND hwnd, bool horizontal, bool vertical) {
  if (horizontal == vertical) {
    ShowScrollBar(hwnd, SB_BOTH, horizontal);
    return;
  }
  ShowScrollBar(hwnd, SB_HORZ, horizontal);
  ShowScrollBar(hwnd, SB_VERT, vertical);
}

// The bar's range is the canvas, its page the client area, its position the
// canvas's offset scaled to the range.
void updateBar(HWND hwnd, int bar, std::int32_t canvas, std::int32_t client, std::int32_t origin) {
  SCROLLINFO si = {};
  si.cbSize = sizeof si;
  si.fMask = kBarMask;
  if (!GetScrollInfo(hwnd, bar, &si)) return;
  si.nMin = 0;
  si.nMax = canvas;
  si.nPage = static_cast<UINT>(client);
  si.nPos = 0;
  if (canvas > client) {
    const double scrolled = -static_cast<double>(origin) / (static_cast<double>(canvas) - client);
    si.nPos = static_cast<int>(scrolled * canvas);
  }
  SetScrollInfo(hwnd, bar, &si, TRUE);
}

void showForMode(HWND hwnd, std::uint32_t mode, bool canvasIsOn) {
  switch (mode) {
    case 0: ShowScrollBar(hwnd, SB_BOTH, FALSE); return;
    case 1: ShowScrollBar(hwnd, SB_VERT, TRUE); ShowScrollBar(hwnd, SB_HORZ, FALSE); return;
    case 2: ShowScrollBar(hwnd, SB_VERT, FALSE); ShowScrollBar(hwnd, SB_HORZ, TRUE); return;
    case 3: ShowScrollBar(hwnd, SB_BOTH, TRUE); return;
    default:
      if (!canvasIsOn) ShowScrollBar(hwnd, SB_BOTH, FALSE);
      return;
  }
}

// scrollHorizontal and scrollVertical.
bool scrollBy(Frame& f, bool horizontal) {
  std::int64_t amount = static_cast<int>(f.arg(0));
  TulObject* self = f.self();
  HWND hwnd = windowOf(self);
  if (!hwnd || !canvasOn(self)) return f.retInt(0);
  Structure canvas;
  bool answer;
  if (!canvasOrAnswer(f, canvas, NoObject::Fails, No::Zero, answer)) return answer;
  RECT client;
  if (!clientRectInWindow(hwnd, client)) return f.retInt(0);
  const std::int64_t view = horizontal ? client.right - client.left : client.bottom - client.top;
  const Edge nearEdge = horizontal ? kLeft : kTop, farEdge = horizontal ? kRight : kBottom;
  // The contents never move past the point where a canvas edge meets the
  // client area's matching edge.
  if (amount < 0)
    amount = std::max<std::int64_t>(amount, view - canvas.at(farEdge));
  else
    amount = std::min<std::int64_t>(amount, -static_cast<std::int64_t>(canvas.at(nearEdge)));
  const auto moved = static_cast<std::int32_t>(amount);
  ScrollWindowEx(hwnd, horizontal ? moved : 0, horizontal ? 0 : moved, nullptr, nullptr, nullptr,
                 nullptr, kAllWindowFlags);
  canvas.set(nearEdge, canvas.at(nearEdge) + moved);
  canvas.set(farEdge, canvas.at(farEdge) + moved);
  if (!invokeBare(f, "applyScrollBars")) return false;
  InvalidateRgn(hwnd, nullptr, TRUE);
  UpdateWindow(hwnd);
  return f.retInt(moved);
}

bool allHandles(const TulVector& list) {
  for (unsigned i = 0; i < list.size(); ++i)
    if (!list[i].isNumber()) return false;
  return true;
}

// The rectangle of every child in this window's client coordinates, joined
// with the client origin.
RECT childrenBounds(HWND hwnd, const TulVector& handles) {
  RECT bounds = {0, 0, 0, 0};
  for (unsigned i = 0; i < handles.size(); ++i) {
    RECT r;
    if (!GetWindowRect(toHwnd(static_cast<int>(handles[i])), &r)) continue;
    POINT corners[2] = {{r.left, r.top}, {r.right, r.bottom}};
    ScreenToClient(hwnd, &corners[0]);
    ScreenToClient(hwnd, &corners[1]);
    bounds.left = std::min(bounds.left, corners[0].x);
    bounds.top = std::min(bounds.top, corners[0].y);
    bounds.right = std::max(bounds.right, corners[1].x);
    bounds.bottom = std::max(bounds.bottom, corners[1].y);
  }
  return bounds;
}

}  // namespace

bool winbase_enableVirtualSize(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::int32_t on;
  if (!f.intArg(0, on)) return false;
  TulObject* self = f.self();
  HWND hwnd = windowOf(self);
  if (!hwnd) return f.retInt(0);
  const bool wanted = on != 0;
  if (wanted == canvasOn(self)) return f.retInt(1);
  setIntMember(self, Member::WinUseVirtualSize, wanted ? 1 : 0);
  RECT client;
  if (!clientRectInWindow(hwnd, client)) return f.retInt(0);
  Structure canvas;
  bool answer;
  if (!canvasOrAnswer(f, canvas, NoObject::AnswersNo, No::Zero, answer)) return answer;
  // On and off alike start from the client area at the origin.
  canvas.set(kLeft, 0);
  canvas.set(kTop, 0);
  canvas.set(kRight, client.right - client.left);
  canvas.set(kBottom, client.bottom - client.top);
  if (!invokeBare(f, "applyScrollBars")) return false;
  return f.retInt(1);
}

bool winbase_setLifeScroll(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  if (!f.interp().checkType(f.arg(0), TulValueType::Int)) return false;
  if (TulValue* slot = f.member(Member::WinLifeScroll)) *slot = f.arg(0);
  return f.retNothing();
}

// The origin, and so the scroll offset, stays where it is.
bool winbase_setVirtualSize(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 2)) return false;
  if (!canvasOn(f.self())) return f.retInt(0);
  std::int32_t width, height;
  if (f.argCount() == 1) {
    if (!static_cast<TulObject*>(f.arg(0))) return f.fail(kSizeObjectExpected);
    Structure size;
    switch (structureOf(f, f.arg(0), kPointImage.size, size)) {
      case Got::Failed: return false;
      case Got::Yes: break;
      default: return f.retInt(0);
    }
    width = size.at(0);
    height = size.at(1);
  } else {
    width = static_cast<int>(f.arg(0));
    height = static_cast<int>(f.arg(1));
  }
  Structure canvas;
  bool answer;
  if (!canvasOrAnswer(f, canvas, NoObject::AnswersNo, No::Zero, answer)) return answer;
  canvas.set(kRight, canvas.at(kLeft) + width);
  canvas.set(kBottom, canvas.at(kTop) + height);
  if (!invokeBare(f, "applyScrollBars")) return false;
  return f.retInt(1);
}

// getVirtualSize and getVirtualOrigin: a new SIZE or POINT of the canvas.
bool canvasPairMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, bool size) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  Structure canvas;
  bool answer;
  if (!canvasOrAnswer(f, canvas, NoObject::Fails, No::Zero, answer)) return answer;
  TulVector args(2, true);
  args[0] = TulValue(size ? canvas.at(kRight) - canvas.at(kLeft) : canvas.at(kLeft));
  args[1] = TulValue(size ? canvas.at(kBottom) - canvas.at(kTop) : canvas.at(kTop));
  TulValue pair;
  if (!createScriptObject(f.interp(), pair, nameString(size ? Name::Size : Name::Point), &args))
    return false;
  return f.ret(pair);
}

bool winbase_getVirtualSize(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return canvasPairMethod(vm, argc, sp, true);
}

bool winbase_getVirtualOrigin(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return canvasPairMethod(vm, argc, sp, false);
}

bool winbase_scrollHorizontal(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  return f.enter(1, 1) && scrollBy(f, true);
}

bool winbase_scrollVertical(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  return f.enter(1, 1) && scrollBy(f, false);
}

bool winbase_applyScrollBars(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulObject* self = f.self();
  HWND hwnd = windowOf(self);
  if (!hwnd) return f.retNothing();
  if (!canvasOn(self)) {
    ShowScrollBar(hwnd, SB_BOTH, FALSE);
    return f.retNothing();
  }
  std::int32_t w, h, vw, vh;
  bool ok;
  if (!sizeFrom(f, "getClientSize", w, h, ok)) return false;
  if (!ok) return f.retNothing();
  if (!sizeFrom(f, "getVirtualSize", vw, vh, ok)) return false;
  if (!ok) return f.retNothing();
  const auto mode = static_cast<std::uint32_t>(intMember(self, Member::WinScrollBarMode));
  Structure canvas;
  bool answer;
  if (!canvasOrAnswer(f, canvas, NoObject::Fails, No::Nothing, answer)) return answer;
  const std::int32_t left = canvas.at(kLeft), top = canvas.at(kTop);
  if (mode == 4) showNeededBars(hwnd, vw > w || left < 0, vh > h || top < 0);
  updateBar(hwnd, SB_HORZ, vw, w, left);
  updateBar(hwnd, SB_VERT, vh, h, top);
  return f.retNothing();
}

bool winbase_setScrollBarMode(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::int32_t mode;
  if (!f.intArg(0, mode)) return false;
  TulObject* self = f.self();
  HWND hwnd = windowOf(self);
  if (hwnd && mode != intMember(self, Member::WinScrollBarMode)) {
    setIntMember(self, Member::WinScrollBarMode, mode);
    showForMode(hwnd, static_cast<std::uint32_t>(mode), canvasOn(self));
  }
  if (!invokeBare(f, "applyScrollBars")) return false;
  return f.retBool(hwnd != nullptr);
}

bool winbase_getScrollBarMode(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  const TulValue* slot = f.member(Member::WinScrollBarMode);
  return f.ret(slot ? *slot : TulValue());
}

// A step that is not given goes back to its default.
bool winbase_setScrollSteps(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 2)) return false;
  const int n = f.argCount();
  setIntMember(f.self(), Member::WinSx, n >= 1 ? static_cast<int>(f.arg(0)) : kDefaultStep);
  setIntMember(f.self(), Member::WinSy, n >= 2 ? static_cast<int>(f.arg(1)) : kDefaultStep);
  return f.retNothing();
}

bool winbase_fitVirtualSizeToContents(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 1)) return false;
  TulObject* self = f.self();
  HWND hwnd = windowOf(self);
  if (!hwnd || !canvasOn(self)) return f.retInt(0);
  const std::int32_t margin = f.argCount() ? std::max(0, static_cast<int>(f.arg(0))) : 0;
  TulValue handles;
  if (!invokeScript(f.interp(), handles, self, "getChildrenHandles")) return false;
  const TulVector* list = static_cast<TulVector*>(handles);
  if (!list || !allHandles(*list)) return f.fail(kNotAHandleList);
  if (list->size() == 0) return f.retInt(0);
  Structure canvas;
  bool answer;
  if (!canvasOrAnswer(f, canvas, NoObject::Fails, No::Zero, answer)) return answer;
  // Back to the origin first, so the children stand where the canvas has them.
  if (canvas.at(kLeft) != 0 && !invokeWith(f, "scrollHorizontal", negated(canvas.at(kLeft))))
    return false;
  if (canvas.at(kTop) != 0 && !invokeWith(f, "scrollVertical", negated(canvas.at(kTop))))
    return false;
  const RECT bounds = childrenBounds(hwnd, *list);
  canvas.set(kLeft, bounds.left);
  canvas.set(kTop, bounds.top);
  canvas.set(kRight, bounds.right + margin);
  canvas.set(kBottom, bounds.bottom + margin);
  RECT client;
  if (clientRectInWindow(hwnd, client)) {
    const std::int32_t w = client.right - client.left, h = client.bottom - client.top;
    if (canvas.at(kRight) < w && !invokeWith(f, "scrollHorizontal", w - canvas.at(kRight)))
      return false;
    if (canvas.at(kBottom) < h && !invokeWith(f, "scrollVertical", h - canvas.at(kBottom)))
      return false;
  }
  if (!invokeBare(f, "applyScrollBars")) return false;
  return f.retInt(1);
}

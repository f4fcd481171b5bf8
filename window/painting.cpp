// WinBase's text, colours and painting: the caption, a background brush the
// window owns (erased with in handleMessage, deleted when replaced and at
// WM_DESTROY), a foreground colour kept for scripts, and the paint block
// that brackets a script's painting between beginPaint and endPaint.
//
// Invariant: the window owns at most one brush: a new one deletes the old
// one first. The paint block belongs to the object from its first
// beginPaint until dtor.
#include <cstring>
#include <string>

#include "module/errors.h"
#include "window/native_ledger.h"
#include "window/winbase.h"

namespace {

static_assert(sizeof(PAINTSTRUCT) == 64, "PAINTSTRUCT is 64 bytes");

// A COLORREF names a colour when its top byte is zero.
bool isColour(std::int32_t c) { return (c & 0xFFFFFF) == c; }

HWND requireWindow(Frame& f) {
  HWND hwnd = windowOf(f.self());
  if (!hwnd) f.fail(err::kInvalidWindowHandle);
  return hwnd;
}

}  // namespace

bool winbase_setWindowText(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulString* text = f.interp().getStringFromValueExtern(f.arg(0));
  if (!text) return f.badType(f.arg(0), TulValueType::String);
  // A copy: the window's handlers run before the system has read the text.
  const std::string copy(text->c_str(), text->length());
  return f.retInt(SetWindowTextA(windowOf(f.self()), copy.c_str()));
}

bool winbase_getWindowText(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  HWND hwnd = windowOf(f.self());
  const int length = GetWindowTextLengthA(hwnd);
  if (length <= 0) return f.ret(TulValue(new TulString()));
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  GetWindowTextA(hwnd, &text[0], length + 1);
  return f.ret(TulValue(new TulString(text.c_str())));
}

bool winbase_setBackgroundBrush(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  if (!f.interp().checkType(f.arg(0), TulValueType::Handle)) return false;
  const std::int32_t brush = static_cast<int>(f.arg(0));
  if (!brush) return f.retInt(0);  // a zero handle does not remove the brush
  TulObject* self = f.self();
  // An object without the member cannot own a brush: it is not taken.
  if (!f.member(Member::WinBackBrush)) return f.retInt(0);
  const std::int32_t old = intMember(self, Member::WinBackBrush);
  if (brush == old) return f.retInt(1);
  if (old) DeleteObject(static_cast<HBRUSH>(toPointer(old)));
  setIntMember(self, Member::WinBackBrush, brush);
  if (HWND hwnd = windowOf(self)) {
    RECT client;
    GetClientRect(hwnd, &client);
    InvalidateRect(hwnd, &client, TRUE);
    UpdateWindow(hwnd);
  }
  return f.retInt(1);
}

// The brush is handed to the script-level setBackgroundBrush, so an override
// decides; a brush it refuses is deleted again.
bool winbase_setBackgroundColor(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::int32_t colour;
  if (!f.intArg(0, colour)) return false;
  if (!isColour(colour)) return f.retInt(0);
  HBRUSH brush = CreateSolidBrush(static_cast<COLORREF>(colour));
  if (!brush) return f.retInt(0);
  TulVector args(1, true);
  args[0] = TulValue(fromHandle(brush));
  TulValue taken;
  if (!invokeScript(f.interp(), taken, f.self(), "setBackgroundBrush", &args)) {
    DeleteObject(brush);
    return false;
  }
  const int result = static_cast<int>(taken);
  if (result)
    setIntMember(f.self(), Member::WinBackColor, colour);
  else
    DeleteObject(brush);
  return f.retInt(result);
}

bool winbase_setForegroundColor(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  std::int32_t colour;
  if (!f.intArg(0, colour)) return false;
  if (!isColour(colour)) return f.retInt(0);
  setIntMember(f.self(), Member::WinForeColor, colour);
  return f.retInt(1);
}

bool winbase_beginPaint(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  HWND hwnd = requireWindow(f);
  if (!hwnd) return false;
  TulObject* self = f.self();
  // A value the script wrote there names no block of ours: a new one.
  if (!isPaintBlock(toPointer(intMember(self, Member::WinPaintStruct)))) {
    void* block = newPaintBlock();
    if (!block) return f.fail(err::kOutOfMemory);
    setIntMember(self, Member::WinPaintStruct, fromHandle(block));
  }
  // BeginPaint sends WM_ERASEBKGND, whose handlers may do anything to the
  // object: the structure is filled here and copied into the block after.
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  void* block = toPointer(intMember(self, Member::WinPaintStruct));
  if (isPaintBlock(block)) std::memcpy(block, &ps, sizeof ps);
  return f.retInt(fromHandle(dc));
}

bool winbase_endPaint(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  HWND hwnd = requireWindow(f);
  if (!hwnd) return false;
  const void* block = toPointer(intMember(f.self(), Member::WinPaintStruct));
  if (!isPaintBlock(block)) return f.retInt(0);  // never begun (or forged)
  return f.retInt(EndPaint(hwnd, static_cast<const PAINTSTRUCT*>(block)));
}

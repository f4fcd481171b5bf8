// WinBase as an object: its data members, the native window it stands for
// (created, or an existing window attached), the registry entry through
// which the window procedure and the message loop find it, and its parent
// and children.
//
// Invariant: the registry never holds a released object: dtor removes every
// entry that names the object and forgets it as the window being created.
#include <string>

#include "module/errors.h"
#include "window/native_ledger.h"
#include "window/registry.h"
#include "window/window_class.h"
#include "window/winbase.h"

namespace {

constexpr std::int32_t kScrollStep = 10;  // pixels a line of scrolling moves
constexpr std::int32_t kNoColour = -1;
constexpr std::int32_t kDefaultSize = 100;  // pixels, width and height

void setMember(TulObject* obj, Member m, const TulValue& v) {
  if (TulValue* slot = memberSlot(obj, m)) *slot = v;
}

// What a window object owns outside the host besides its brush: the
// accelerator table and the paint block.
void releaseTableAndPaintBlock(TulObject* self) {
  if (std::int32_t accel = intMember(self, Member::WinHaccel)) {
    DestroyAcceleratorTable(static_cast<HACCEL>(toPointer(accel)));
    setIntMember(self, Member::WinHaccel, 0);
  }
  if (std::int32_t block = intMember(self, Member::WinPaintStruct)) {
    freePaintBlock(toPointer(block));
    setIntMember(self, Member::WinPaintStruct, 0);
  }
}

// Makes the library's window procedure the window's own; the procedure it
// replaced (its class's), or 0 when it already was the library's.
std::int32_t subclass(HWND hwnd) {
  const auto ours = static_cast<LONG>(reinterpret_cast<std::uintptr_t>(&windowProcedure));
  if (GetWindowLongA(hwnd, GWL_WNDPROC) == ours) return 0;
  const LONG replaced = SetWindowLongA(hwnd, GWL_WNDPROC, ours);
  noteReplacedProcedure(replaced);
  return replaced;
}

// The arguments of create after the class name, with their defaults.
struct CreateArgs {
  HWND parent = nullptr;
  std::int32_t x = CW_USEDEFAULT, y = CW_USEDEFAULT;
  std::int32_t width = kDefaultSize, height = kDefaultSize;
  std::int32_t style = 0, exStyle = 0;
  std::uint32_t menu = 0;
  std::string title;
};

std::int32_t magnitude(std::int32_t v) {
  return v < 0 ? static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(v)) : v;
}

bool readParent(Frame& f, const TulValue& v, HWND& out) {
  if (TulObject* window = windowObject(v)) {
    out = windowOf(window);
    return true;
  }
  if (!f.interp().checkType(v, TulValueType::Handle)) return false;
  out = toHwnd(static_cast<int>(v));
  return true;
}

// Argument i (from 0: the class name) of create.
bool readCreateArg(Frame& f, int i, CreateArgs& a) {
  TulValue& v = f.arg(i);
  std::int32_t* ints[] = {nullptr, nullptr, &a.x, &a.y, &a.width, &a.height, &a.style,
                          &a.exStyle};
  if (i == 9) {
    TulString* title = f.interp().getStringFromValueExtern(v);
    if (!title) return f.badType(v, TulValueType::String);
    a.title.assign(title->c_str(), title->length());
    return true;
  }
  if (i == 8) {
    if (!f.interp().checkType(v, TulValueType::UInt)) return false;
    a.menu = static_cast<unsigned>(v);
    return true;
  }
  if (i == 1) return readParent(f, v, a.parent);
  if (!f.interp().checkType(v, TulValueType::Int)) return false;
  *ints[i] = static_cast<int>(v);
  if (i == 4 || i == 5) *ints[i] = magnitude(*ints[i]);
  return true;
}

}  // namespace

void setIntMember(TulObject* obj, Member m, std::int32_t v) { setMember(obj, m, TulValue(v)); }

bool winbase_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulObject* self = f.self();
  // Running the constructor again must not orphan what the object owns.
  releaseTableAndPaintBlock(self);
  if (std::int32_t brush = intMember(self, Member::WinBackBrush))
    DeleteObject(static_cast<HBRUSH>(toPointer(brush)));

  setIntMember(self, Member::WinHwnd, 0);
  setMember(self, Member::WinHandlerList, TulValue(new TulVector()));
  setIntMember(self, Member::WinSavedWndProc, 0);
  TulValue canvas;
  if (!createScriptObject(f.interp(), canvas, nameString(Name::Rect))) return false;
  setMember(self, Member::WinVirtualRect, canvas);
  setIntMember(self, Member::WinUseVirtualSize, 0);
  setIntMember(self, Member::WinScrollBarMode, 0);
  setIntMember(self, Member::WinSx, kScrollStep);
  setIntMember(self, Member::WinSy, kScrollStep);
  setIntMember(self, Member::WinLifeScroll, 0);
  setIntMember(self, Member::WinForeColor, kNoColour);
  setIntMember(self, Member::WinBackColor, kNoColour);
  setIntMember(self, Member::WinBackBrush, 0);
  setMember(self, Member::WinAccelArray, TulValue(new TulVector()));
  setIntMember(self, Member::WinHaccel, 0);
  setIntMember(self, Member::WinPaintStruct, 0);
  return f.retSelf();
}

// Runs when the host releases the object, also after a script override of
// dtor, so it may run twice. The window itself and its brush are left alone.
bool winbase_dtor(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulObject* self = f.self();
  releaseTableAndPaintBlock(self);
  registryRemove(static_cast<std::uint32_t>(intMember(self, Member::WinHwnd)));
  registryForget(self);
  if (pendingCreateWindow() == self) setPendingCreateWindow(nullptr);
  return f.retNothing();
}

bool winbase_create(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 10)) return false;
  TulString* name = f.interp().getStringFromValueExtern(f.arg(0));
  if (!name) return f.badType(f.arg(0), TulValueType::String);
  const std::string className(name->c_str(), name->length());
  CreateArgs a;
  for (int i = f.argCount() - 1; i >= 1; --i)
    if (!readCreateArg(f, i, a)) return false;
  if (!a.parent) a.parent = GetDesktopWindow();

  // Only a window object forgets its registry entry when it is released, so
  // no other object may own a window (the class of `this` is not checked).
  TulObject* self = f.self();
  if (!windowObject(TulValue(self))) return f.fail(err::kWindowCreationFailed);
  setPendingCreateWindow(self);
  HWND hwnd = CreateWindowExA(static_cast<DWORD>(a.exStyle), className.c_str(), a.title.c_str(),
                              static_cast<DWORD>(a.style), a.x, a.y, a.width, a.height, a.parent,
                              reinterpret_cast<HMENU>(static_cast<std::uintptr_t>(a.menu)),
                              moduleInstance(), self);
  // A failed creation, or a class whose procedure is not the library's,
  // never took the object: no later window may.
  if (pendingCreateWindow() == self) setPendingCreateWindow(nullptr);
  if (!hwnd) return f.fail(err::kWindowCreationFailed);

  const std::int32_t oldHwnd = intMember(self, Member::WinHwnd);
  const std::int32_t oldSaved = intMember(self, Member::WinSavedWndProc);
  setIntMember(self, Member::WinHwnd, fromHandle(hwnd));
  if (oldSaved == 0) setIntMember(self, Member::WinSavedWndProc, subclass(hwnd));
  if (registryAdd(static_cast<std::uint32_t>(fromHandle(hwnd)), self) >= 0) return f.retInt(1);
  // The registry cannot grow: a window no object can reach must not stay.
  setIntMember(self, Member::WinHwnd, oldHwnd);
  setIntMember(self, Member::WinSavedWndProc, oldSaved);
  DestroyWindow(hwnd);
  return f.fail(err::kWindowCreationFailed);
}

bool winbase_createFromHandle(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulObject* self = f.self();
  const std::int32_t h = static_cast<int>(f.arg(0));
  const auto handle = static_cast<std::uint32_t>(h);
  if (h == 0 || registryFind(handle) >= 0 || intMember(self, Member::WinHwnd) != 0 ||
      !windowObject(TulValue(self)))
    return f.retInt(0);
  const std::int32_t oldSaved = intMember(self, Member::WinSavedWndProc);
  setIntMember(self, Member::WinHwnd, h);
  const std::int32_t saved = subclass(toHwnd(h));
  setIntMember(self, Member::WinSavedWndProc, saved);
  if (registryAdd(handle, self) >= 0) return f.retInt(1);
  // The registry cannot grow: leave the window and the object as they were.
  if (saved) SetWindowLongA(toHwnd(h), GWL_WNDPROC, saved);
  setIntMember(self, Member::WinHwnd, 0);
  setIntMember(self, Member::WinSavedWndProc, oldSaved);
  return f.retInt(0);
}

bool winbase_getHandle(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  return f.retInt(intMember(f.self(), Member::WinHwnd));
}

TulObject* parentWindow(TulObject* self) {
  HWND hwnd = windowOf(self);
  HWND parent = hwnd ? GetParent(hwnd) : nullptr;
  return parent ? registryLookup(static_cast<std::uint32_t>(fromHandle(parent))) : nullptr;
}

bool winbase_getParent(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulObject* obj = parentWindow(f.self());
  return obj ? f.ret(TulValue(obj)) : f.retNothing();
}

bool winbase_addChild(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulObject* child = windowObject(f.arg(0));
  if (!child) return f.fail(err::kWindowExpected);
  return f.retBool(SetParent(windowOf(child), windowOf(f.self())) != nullptr);
}

namespace {

BOOL CALLBACK collectChild(HWND hwnd, LPARAM list) {
  reinterpret_cast<TulVector*>(list)->push_back(TulValue(fromHandle(hwnd)));
  return TRUE;
}

}  // namespace

// Bound as getWindowRect and getClientRect too.
bool winbase_getChildrenHandles(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulValue list(new TulVector());
  EnumChildWindows(windowOf(f.self()), collectChild,
                   reinterpret_cast<LPARAM>(static_cast<TulVector*>(list)));
  return f.ret(list);
}

bool winbase_registerWindow(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  TulObject* obj = static_cast<TulObject*>(f.arg(0));
  if (!obj) return f.fail(err::kObjectExpected);
  if (!windowObject(f.arg(0))) return f.fail(err::kWindowExpected);
  TulValue handle;
  if (!invokeScript(f.interp(), handle, obj, "getHandle")) return false;
  const std::int32_t h = static_cast<int>(handle);
  if (h == 0) return f.retInt(0);
  // The argument slot keeps obj alive through the script call above.
  return f.retBool(registryAdd(static_cast<std::uint32_t>(h), obj) >= 0);
}

bool winbase_unregisterWindow(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  return f.retBool(registryRemove(static_cast<std::uint32_t>(static_cast<int>(f.arg(0)))));
}

bool winbase_findWindow(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  const auto handle = static_cast<std::uint32_t>(static_cast<int>(f.arg(0)));
  TulObject* obj = registryObject(registryFind(handle));
  return f.ret(obj ? TulValue(obj) : TulValue());
}

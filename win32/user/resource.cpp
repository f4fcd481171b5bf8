// Cursors, icons and beeps: the shared system resources a program asks for
// by their predefined identifiers. Invariant: a shared resource handle is
// the same on every call and is never destroyed.
#include "user/user.h"

namespace w32 {

namespace {

constexpr ULONG_PTR kCursorBase = 0x04000000;
constexpr ULONG_PTR kIconBase = 0x04100000;

struct CursorState {
  HCURSOR current = nullptr;
};

CursorState& cursors() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static CursorState& s = *new CursorState;
  return s;
}

// Predefined resources are identified by numbers 32512..32767.
bool isSystemResource(HINSTANCE instance, LPCSTR name) {
  if (instance || !IS_INTRESOURCE(name)) return false;
  ULONG_PTR id = reinterpret_cast<ULONG_PTR>(name);
  return id >= 32512 && id <= 32767;
}

}  // namespace

bool iconSize(HICON icon, SIZE* size) {
  ULONG_PTR v = reinterpret_cast<ULONG_PTR>(icon);
  bool icon32 = v >= kIconBase + 32512 && v <= kIconBase + 32767;
  bool cursor = v >= kCursorBase + 32512 && v <= kCursorBase + 32767;
  if (!icon32 && !cursor) return false;
  size->cx = GetSystemMetrics(SM_CXICON);
  size->cy = GetSystemMetrics(SM_CYICON);
  return true;
}

}  // namespace w32

using namespace w32;

extern "C" {

HCURSOR WINAPI LoadCursorA(HINSTANCE hInstance, LPCSTR lpCursorName) {
  if (!isSystemResource(hInstance, lpCursorName)) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return NULL;
  }
  return reinterpret_cast<HCURSOR>(kCursorBase + reinterpret_cast<ULONG_PTR>(lpCursorName));
}

HICON WINAPI LoadIconA(HINSTANCE hInstance, LPCSTR lpIconName) {
  if (!isSystemResource(hInstance, lpIconName)) {
    SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return NULL;
  }
  return reinterpret_cast<HICON>(kIconBase + reinterpret_cast<ULONG_PTR>(lpIconName));
}

HCURSOR WINAPI SetCursor(HCURSOR hCursor) {
  HCURSOR old = cursors().current;
  cursors().current = hCursor;
  return old;
}

BOOL WINAPI MessageBeep(UINT /*uType*/) { return TRUE; }

}  // extern "C"

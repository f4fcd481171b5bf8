// Keyboard accelerator tables and TranslateAcceleratorA.
// Invariants: a table is a copy of the caller's entries, freed only by
// DestroyAcceleratorTable, and its handle is never reused; the modifier
// state compared is the thread's key state (GetKeyState), the one that goes
// with the message being translated.
#include "user/user.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace w32 {

namespace {

constexpr ULONG_PTR kAccelBase = 0x03000000;
constexpr ULONG_PTR kAccelStep = 4;
constexpr int kMaxEntries = 32767;
constexpr BYTE kModifierFlags = FSHIFT | FCONTROL | FALT;

struct AccelTables {
  std::vector<std::unique_ptr<std::vector<ACCEL>>> slots;
  int live = 0;
};

AccelTables& tables() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static AccelTables& t = *new AccelTables;
  return t;
}

std::vector<ACCEL>* findTable(HACCEL h) {
  ULONG_PTR v = reinterpret_cast<ULONG_PTR>(h);
  if (v < kAccelBase || (v - kAccelBase) % kAccelStep != 0) return nullptr;
  size_t index = (v - kAccelBase) / kAccelStep;
  if (index >= tables().slots.size()) return nullptr;
  return tables().slots[index].get();
}

BYTE modifierState() {
  BYTE state = 0;
  if (GetKeyState(VK_SHIFT) & 0x8000) state |= FSHIFT;
  if (GetKeyState(VK_CONTROL) & 0x8000) state |= FCONTROL;
  if (GetKeyState(VK_MENU) & 0x8000) state |= FALT;
  return state;
}

bool matches(const ACCEL& a, const MSG& msg) {
  bool keyMessage = msg.message == WM_KEYDOWN || msg.message == WM_SYSKEYDOWN;
  bool charMessage = msg.message == WM_CHAR || msg.message == WM_SYSCHAR;
  if (a.fVirt & FVIRTKEY) {
    return keyMessage && a.key == (msg.wParam & 0xffff) &&
           (a.fVirt & kModifierFlags) == modifierState();
  }
  if (!charMessage || a.key != (msg.wParam & 0xff)) return false;
  bool altDown = (GetKeyState(VK_MENU) & 0x8000) != 0;
  return ((a.fVirt & FALT) != 0) == altDown;
}

}  // namespace

int liveAcceleratorCount() { return tables().live; }

}  // namespace w32

using namespace w32;

extern "C" {

HACCEL WINAPI CreateAcceleratorTableA(LPACCEL paccel, int cAccel) {
  if (!paccel || cAccel <= 0 || cAccel > kMaxEntries) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return NULL;
  }
  auto table = std::make_unique<std::vector<ACCEL>>(paccel, paccel + cAccel);
  AccelTables& t = tables();
  t.slots.push_back(std::move(table));
  ++t.live;
  return reinterpret_cast<HACCEL>(kAccelBase + (t.slots.size() - 1) * kAccelStep);
}

BOOL WINAPI DestroyAcceleratorTable(HACCEL hAccel) {
  std::vector<ACCEL>* table = findTable(hAccel);
  if (!table) return FALSE;
  ULONG_PTR index = (reinterpret_cast<ULONG_PTR>(hAccel) - kAccelBase) / kAccelStep;
  tables().slots[index].reset();
  --tables().live;
  return TRUE;
}

int WINAPI CopyAcceleratorTableA(HACCEL hAccelSrc, LPACCEL lpAccelDst, int cAccelEntries) {
  std::vector<ACCEL>* table = findTable(hAccelSrc);
  if (!table) {
    SetLastError(ERROR_INVALID_ACCEL_HANDLE);
    return 0;
  }
  if (!lpAccelDst) return static_cast<int>(table->size());
  int n = std::min(cAccelEntries, static_cast<int>(table->size()));
  std::copy_n(table->begin(), std::max(n, 0), lpAccelDst);
  return n;
}

int WINAPI TranslateAcceleratorA(HWND hWnd, HACCEL hAccTable, LPMSG lpMsg) {
  if (!hWnd || !lpMsg) return 0;
  if (!checkWindow(hWnd)) return 0;
  std::vector<ACCEL>* table = findTable(hAccTable);
  if (!table) {
    SetLastError(ERROR_INVALID_ACCEL_HANDLE);
    return 0;
  }
  UINT m = lpMsg->message;
  if (m != WM_KEYDOWN && m != WM_SYSKEYDOWN && m != WM_CHAR && m != WM_SYSCHAR) return 0;
  for (const ACCEL& a : *table) {
    if (!matches(a, *lpMsg)) continue;
    sendMessage(hWnd, WM_COMMAND, MAKEWPARAM(a.cmd, 1), 0);
    return 1;
  }
  return 0;
}

}  // extern "C"

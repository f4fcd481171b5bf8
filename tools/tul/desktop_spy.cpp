// desktop.spy: the message numbers that reach a window's procedure, caught
// by subclassing the window the plain Win32 way (SetWindowLongA with
// GWL_WNDPROC, forwarding with CallWindowProcA), so that the record is made
// the same way on the layer and on the real system.
// Invariant: a spy stays in a window's chain of procedures until it can
// leave without cutting the chain: at WM_NCDESTROY, the window's last
// message, or when stopped while it is still the procedure in place.
#include "tools/tul/desktop_platform.h"

#include <map>

namespace desktop {

namespace {

struct Spy {
  WNDPROC previous;  // the procedure the window had
  bool recording;    // false once stopped while another subclass sat on top
};

struct SpyState {
  std::map<HWND, Spy> spied;
  std::vector<UINT> log;
};

SpyState& spies() {
  // Never destroyed: a window may still be destroyed while the process ends.
  static SpyState& s = *new SpyState;
  return s;
}

WNDPROC asProc(LONG value) { return reinterpret_cast<WNDPROC>(static_cast<LONG_PTR>(value)); }

LONG asLong(WNDPROC proc) { return static_cast<LONG>(reinterpret_cast<LONG_PTR>(proc)); }

LRESULT CALLBACK spyProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  auto it = spies().spied.find(hwnd);
  if (it == spies().spied.end()) return DefWindowProcA(hwnd, msg, wp, lp);
  Spy spy = it->second;
  if (spy.recording) spies().log.push_back(msg);
  if (msg == WM_NCDESTROY) {
    spies().spied.erase(it);
    if (asProc(GetWindowLongA(hwnd, GWL_WNDPROC)) == spyProc)
      SetWindowLongA(hwnd, GWL_WNDPROC, asLong(spy.previous));
  }
  return CallWindowProcA(spy.previous, hwnd, msg, wp, lp);
}

}  // namespace

void spyOn(HWND hwnd) {
  if (!IsWindow(hwnd)) return;
  auto it = spies().spied.find(hwnd);
  if (it != spies().spied.end()) {
    it->second.recording = true;
    return;
  }
  LONG old = SetWindowLongA(hwnd, GWL_WNDPROC, asLong(spyProc));
  if (old) spies().spied[hwnd] = Spy{asProc(old), true};
}

std::vector<UINT> takeSpyLog() {
  std::vector<UINT> out;
  out.swap(spies().log);
  return out;
}

// A spy under another subclass stays in the chain, forwarding silently,
// until its window goes: taking it out would cut the chain.
void stopSpying() {
  std::map<HWND, Spy>& spied = spies().spied;
  for (auto it = spied.begin(); it != spied.end();) {
    bool onTop = IsWindow(it->first) && asProc(GetWindowLongA(it->first, GWL_WNDPROC)) == spyProc;
    if (onTop) SetWindowLongA(it->first, GWL_WNDPROC, asLong(it->second.previous));
    if (onTop || !IsWindow(it->first)) {
      it = spied.erase(it);
      continue;
    }
    it->second.recording = false;
    ++it;
  }
  spies().log.clear();
}

}  // namespace desktop

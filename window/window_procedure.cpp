// The window procedure of every window the library creates or attaches. It
// finds the window's script object in the registry and calls its script
// method handleMessage, so a script subclass's override is the one that
// runs; without an object, or when the script fails, the system's default
// processing answers.
//
// A script error cannot travel back through the system: it stays reported in
// the interpreter, and the native call whose system call sent the message is
// told (CallWatch), so the error surfaces where control returns to a script.
// This is also one of the two places where a stray C++ exception could cross
// into the system, so it catches everything and answers as for a failed
// script.
#include "module/script_calls.h"
#include "window/registry.h"
#include "window/window_class.h"
#include "window/winbase.h"

namespace {

std::uint32_t handleOf(HWND hwnd) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(hwnd));
}

// The object whose window this is: the registered one, or for a window's
// first WM_NCCREATE the object whose create is under way.
TulObject* objectFor(HWND hwnd, UINT message, bool& takenOver) {
  takenOver = false;
  if (TulObject* window = registryLookup(handleOf(hwnd))) return window;
  if (message != WM_NCCREATE) return nullptr;
  TulObject* window = pendingCreateWindow();
  setPendingCreateWindow(nullptr);
  takenOver = true;
  return window;
}

LRESULT dispatch(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  bool takenOver = false;
  TulObject* window = objectFor(hwnd, message, takenOver);
  TulClass* cls = window ? window->getClass() : nullptr;
  if (!cls) return DefWindowProcA(hwnd, message, wParam, lParam);
  TulVirtualMachine& vm = cls->getVM();
  // A machine stopped in its debugger runs no script code.
  if (!takenOver && vm.isInDbg()) return 0;

  const TulValue args[] = {TulValue(static_cast<int>(handleOf(hwnd))),
                           TulValue(static_cast<unsigned>(message)),
                           TulValue(static_cast<int>(wParam)), TulValue(static_cast<int>(lParam))};
  TulValue result;
  const bool ok = deliverMessage(*vm.interpreter(), window, args, result);
  // The script may have released the object; only the handle is used now.
  // A window whose entry outlived a failed WM_DESTROY loses it here at last.
  if ((ok && message == WM_DESTROY) || message == WM_NCDESTROY) registryRemove(handleOf(hwnd));
  if (ok) return static_cast<LRESULT>(static_cast<int>(result));
  CallWatch::noteHandlerFailure();
  return DefWindowProcA(hwnd, message, wParam, lParam);
}

}  // namespace

LRESULT CALLBACK windowProcedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  try {
    return dispatch(hwnd, message, wParam, lParam);
  } catch (...) {
    return DefWindowProcA(hwnd, message, wParam, lParam);
  }
}

// The window procedure of every window the library creates or attaches. It
// finds the window's script object in the registry and calls its script
// method handleMessage, so a script subclass's override is the one that
// runs; without an object, or when the script fails, the system's default
// processing answers.
//
// This is one of the two places where a stray C++ exception could cross into
// the system, so it catches everything and answers as for a failed script.
#include "window/registry.h"
#include "window/window_class.h"

namespace {

LRESULT dispatch(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto handle = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(hwnd));
  TulObject* window = registryObject(registryFind(handle));
  bool takenOver = false;
  if (!window) {
    if (message != WM_NCCREATE) return DefWindowProcA(hwnd, message, wParam, lParam);
    window = pendingCreateWindow();
    setPendingCreateWindow(nullptr);
    takenOver = true;
    if (!window) return DefWindowProcA(hwnd, message, wParam, lParam);
  }
  TulClass* cls = window->getClass();
  if (!cls) return DefWindowProcA(hwnd, message, wParam, lParam);
  TulVirtualMachine& vm = cls->getVM();
  // A machine stopped in its debugger runs no script code.
  if (!takenOver && vm.isInDbg()) return 0;

  TulVector args(4, true);
  args[0] = TulValue(static_cast<int>(handle));
  args[1] = TulValue(static_cast<unsigned>(message));
  args[2] = TulValue(static_cast<int>(wParam));
  args[3] = TulValue(static_cast<int>(lParam));
  TulValue result;
  if (!vm.interpreter()->invokeMember(result, window, "handleMessage", &args))
    return DefWindowProcA(hwnd, message, wParam, lParam);
  if (message == WM_DESTROY) registryRemove(handle);
  return static_cast<LRESULT>(static_cast<int>(result));
}

}  // namespace

LRESULT CALLBACK windowProcedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  try {
    return dispatch(hwnd, message, wParam, lParam);
  } catch (...) {
    return DefWindowProcA(hwnd, message, wParam, lParam);
  }
}

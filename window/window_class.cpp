// The window class and the process-wide window values (see window_class.h).
#include "window/window_class.h"

namespace {

HINSTANCE gModuleInstance = nullptr;
TulObject* gPendingCreateWindow = nullptr;  // borrowed, like the registry's

constexpr UINT kClassStyle = CS_HREDRAW | CS_VREDRAW;
// A class brush value is a system colour plus one: the windows of this class
// erase in the colour of inactive borders unless given a brush of their own.
constexpr int kBackground = COLOR_INACTIVEBORDER + 1;

}  // namespace

bool registerWindowClass(HINSTANCE instance) {
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof(WNDCLASSEXA);
  wc.style = kClassStyle;
  wc.lpfnWndProc = windowProcedure;
  wc.hInstance = instance;
  wc.hCursor = LoadCursorA(nullptr, IDC_ARROW);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(kBackground));
  wc.lpszClassName = kWindowClassName;
  return RegisterClassExA(&wc) != 0;
}

void unregisterWindowClass() { UnregisterClassA(kWindowClassName, gModuleInstance); }

HINSTANCE moduleInstance() { return gModuleInstance; }
void setModuleInstance(HINSTANCE instance) { gModuleInstance = instance; }

TulObject* pendingCreateWindow() { return gPendingCreateWindow; }
void setPendingCreateWindow(TulObject* window) { gPendingCreateWindow = window; }

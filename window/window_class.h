// The library's window class "Tul2Window", the module instance it is
// registered under, and the window being created (taken over by the window
// procedure at the window's first WM_NCCREATE).
#pragma once

#include <windows.h>

#include "host/tul.h"

constexpr const char* kWindowClassName = "Tul2Window";

// Registers the class under instance; false when the system refuses.
bool registerWindowClass(HINSTANCE instance);
// Unregisters the class under the current module instance.
void unregisterWindowClass();

HINSTANCE moduleInstance();
void setModuleInstance(HINSTANCE instance);

TulObject* pendingCreateWindow();
void setPendingCreateWindow(TulObject* window);

// The one window procedure of the library's windows.
LRESULT CALLBACK windowProcedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);

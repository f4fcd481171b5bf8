// Window geometry: the two rectangles the window framework measures windows
// with, and WinBase's methods that move, size and measure windows.
#pragma once

#include <windows.h>

#include "window/winbase.h"

// The window rectangle in the client coordinates of the window's parent (in
// screen coordinates for a window without one). False for a null or dead
// window.
bool windowRectInParent(HWND hwnd, RECT& out);
// The client rectangle relative to the window rectangle's top-left corner:
// its left and top are the frame's thickness there, its size the client
// area's. False for a null or dead window.
bool clientRectInWindow(HWND hwnd, RECT& out);

TUL_NATIVE(winbase_setPosition);
TUL_NATIVE(winbase_setSize);

// The getters: one rectangle, measured anew at every call, read as a pair
// (a new POINT or SIZE, made by its constructor) or as one integer. A window
// that is missing, or that the system no longer knows, is reported as
// "Invalid window handle.".
enum class Measured { Window, Client };
enum class Part { Left, Top, Width, Height };
bool rectPairMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, Measured which, Part a, Part b,
                    Name cls);
bool rectPartMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, Measured which, Part part);

template <Measured Which, Part A, Part B, Name Cls>
bool winbase_rectPair(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return rectPairMethod(vm, argc, sp, Which, A, B, Cls);
}
template <Measured Which, Part P>
bool winbase_rectPart(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return rectPartMethod(vm, argc, sp, Which, P);
}

// The two rectangles the window framework measures windows with.
#pragma once

#include <windows.h>

// The window rectangle in the client coordinates of the window's parent (in
// screen coordinates for a window without one). False for a null or dead
// window.
bool windowRectInParent(HWND hwnd, RECT& out);
// The client rectangle relative to the window rectangle's top-left corner:
// its left and top are the frame's thickness there, its size the client
// area's. False for a null or dead window.
bool clientRectInWindow(HWND hwnd, RECT& out);

// WinBase's styles and show state: thin uses of GetWindowLongA,
// SetWindowLongA, GetWindowPlacement and ShowWindow on the object's window.
// Every method reports "Invalid window handle." for an object without a
// window, after checking its arguments.
#pragma once

#include "window/winbase.h"

enum class StyleOp { Get, Has, Set, Add, Remove };
bool styleMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, int index, StyleOp op);

// isMinimized, isMaximized, isVisible: the placement's show command compared.
enum class ShowTest { Minimized, Maximized, Visible };
bool showStateMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, ShowTest test);

// minimize, maximize, restore, hide: ShowWindow with a fixed command.
bool showCommandMethod(TulVirtualMachine* vm, int argc, ValPtr& sp, int command);
TUL_NATIVE(winbase_show);

template <int Index, StyleOp Op>
bool winbase_style(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return styleMethod(vm, argc, sp, Index, Op);
}
template <ShowTest Test>
bool winbase_showState(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return showStateMethod(vm, argc, sp, Test);
}
template <int Command>
bool winbase_showCommand(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  return showCommandMethod(vm, argc, sp, Command);
}

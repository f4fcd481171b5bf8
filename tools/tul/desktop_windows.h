// What desktop_windows.cpp asks of desktop_windows_calls.cpp: the runner's
// record of what the program hands the system (file dialogs, objects made),
// kept by standing in front of the system's entry points.
#pragma once

#include "tools/tul/desktop_platform.h"

namespace desktop {

// Drops the record of the last file dialog (between scripts).
void forgetFileDialogs();
// The live objects of a kind other than windows that the program made
// through the system; false when the runner could not stand in front of the
// functions that make and free them.
bool countMade(CountKind kind, int* out);

}  // namespace desktop

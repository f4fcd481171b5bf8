// `win32` (see win32_calls.h). Not written yet.
#include "tools/tul/win32_calls.h"

void defineWin32Class(tulscript::Engine&) {}

// Checks the constants table against the system's own headers: every row
// must carry the value <windows.h>, <commctrl.h> and <commdlg.h> give the
// name. Compiled only where those headers exist; it defines nothing.
#include "script/win32_constants.h"

#include <windows.h>
#include <commctrl.h>
#include <commdlg.h>

#define TUL_CHECK_CONSTANT(name, value) \
  static_assert(static_cast<std::int32_t>(value) == static_cast<std::int32_t>(name), #name);
TUL_WIN32_CONSTANTS(TUL_CHECK_CONSTANT)
#undef TUL_CHECK_CONSTANT

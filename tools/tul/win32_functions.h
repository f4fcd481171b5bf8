// The table behind the script class `win32`: every function of
// win32_functions.def with its stack words and its result reader, both taken
// from the function's declaration, and where the function lies on this
// system.
//
// Invariant: the table holds exactly the rows of win32_functions.def, in
// that order; nothing is added or dropped per platform (a function the
// system lacks is still listed and reports that it is unavailable).
#pragma once

#include <array>
#include <ostream>

#include "tools/tul/win32_invoke.h"

struct Win32Function {
  const char* name;
  int words;           // 32-bit stack words the parameters take
  Win32Result result;  // null: the function returns nothing
  // The function's address where the program is linked with it (the Linux
  // layer); null where it is looked up by name in the system's DLLs.
  Win32Proc (*linked)();
};

#define TUL_WIN32_FUNCTION(name) +1
constexpr int kWin32FunctionCount = 0
#include "tools/tul/win32_functions.def"
    ;
#undef TUL_WIN32_FUNCTION

const std::array<Win32Function, kWin32FunctionCount>& win32Functions();

// Where f lies: the Linux layer's own function, or on Windows the export of
// that name from user32, gdi32, kernel32, comctl32 or comdlg32; null when no
// system library exports it.
Win32Proc win32Address(const Win32Function& f);

// `tul --win32-functions`: one "NAME WORDS" line per row, in table order.
void listWin32Functions(std::ostream& out);

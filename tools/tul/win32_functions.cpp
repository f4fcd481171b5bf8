// The function table (see win32_functions.h). The rows are built from the
// X-macro list by reading each function's declaration. On Linux the layer is
// linked, so a row reaches its function directly (a row the layer lacks
// fails to link); on Windows the functions are looked up by name in the
// system's DLLs.
#include "tools/tul/win32_functions.h"

#include <windows.h>
#include <commctrl.h>
#include <commdlg.h>
#if defined(_WIN32)
// The system declares IsThemeActive here (the layer, in <commctrl.h>).
#  include <uxtheme.h>
#endif

#include "tools/tul/win32_signature.h"

namespace {

#if defined(_WIN32)
// An imported function's address is read from the import table at run time,
// so it cannot be a template argument; the name is looked up instead.
#  define TUL_WIN32_LINKED(name) nullptr
#else
// Casting a function's address is not a constant expression, so the row
// holds a function that does it.
template <auto Fn>
Win32Proc linkedAddress() {
  return reinterpret_cast<Win32Proc>(Fn);
}
#  define TUL_WIN32_LINKED(name) &linkedAddress<&::name>
#endif

#define TUL_WIN32_FUNCTION(name)                                                   \
  Win32Function{#name, Win32Signature<decltype(&::name)>::kWords,                  \
                win32ResultReader<decltype(&::name)>(), TUL_WIN32_LINKED(name)},

constexpr std::array<Win32Function, kWin32FunctionCount> kWin32Table = {{
#include "tools/tul/win32_functions.def"
}};

#undef TUL_WIN32_FUNCTION
#undef TUL_WIN32_LINKED

// The system's DLLs, loaded at first use and kept for the life of the
// process: windows and objects a script made may outlive its run.
Win32Proc systemFunction(const char* name) {
#if defined(_WIN32)
  static const std::array<HMODULE, 6> kModules = {
      LoadLibraryA("user32.dll"),   LoadLibraryA("gdi32.dll"),    LoadLibraryA("kernel32.dll"),
      LoadLibraryA("comctl32.dll"), LoadLibraryA("comdlg32.dll"), LoadLibraryA("uxtheme.dll")};
  for (HMODULE module : kModules) {
    if (!module) continue;
    if (FARPROC proc = GetProcAddress(module, name)) return reinterpret_cast<Win32Proc>(proc);
  }
#else
  (void)name;
#endif
  return nullptr;
}

}  // namespace

const std::array<Win32Function, kWin32FunctionCount>& win32Functions() { return kWin32Table; }

Win32Proc win32Address(const Win32Function& f) {
  return f.linked ? f.linked() : systemFunction(f.name);
}

void listWin32Functions(std::ostream& out) {
  for (const Win32Function& f : kWin32Table) out << f.name << ' ' << f.words << '\n';
}

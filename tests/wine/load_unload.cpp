// Loads tul2class.dll as a host does and checks its load and unload work on
// a real Win32 implementation: the window class exists while the library is
// loaded and is gone after it is freed, the entry is exported undecorated,
// and the library loads again after an unload. Prints one line a check and
// exits with the number of failures.
#include <windows.h>

#include <cstdio>

namespace {

int failures = 0;

void check(bool ok, const char* what) {
  std::printf("%s: %s\n", ok ? "ok" : "FAILED", what);
  if (!ok) ++failures;
}

bool classExists(HINSTANCE instance) {
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof wc;
  return GetClassInfoExA(instance, "Tul2Window", &wc) != 0;
}

}  // namespace

int main() {
  for (int round = 1; round <= 2; ++round) {
    HMODULE lib = LoadLibraryA("tul2class.dll");
    check(lib != nullptr, "tul2class.dll loads");
    if (!lib) break;
    check(GetProcAddress(lib, "RegisterNativeModule") != nullptr,
          "RegisterNativeModule is exported undecorated");
    check(classExists(lib), "Tul2Window is registered while the library is loaded");
    check(FreeLibrary(lib) != 0, "tul2class.dll unloads");
    check(!classExists(lib), "Tul2Window is unregistered after the unload");
  }
  return failures;
}

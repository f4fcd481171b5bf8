// Platform loading of the class library (see loader.h).
#include "tools/tul/loader.h"

#if defined(_WIN32)
#  include <windows.h>
#else
#  include <dlfcn.h>
#  include <limits.h>
#  include <unistd.h>
#endif

namespace {

std::string directoryOf(const std::string& path) {
  std::string::size_type slash = path.find_last_of("/\\");
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

std::string programPath(const char* argv0) {
#if defined(_WIN32)
  char buf[MAX_PATH];
  DWORD n = GetModuleFileNameA(nullptr, buf, MAX_PATH);
  if (n > 0 && n < MAX_PATH) return std::string(buf, n);
#else
  char buf[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  // Under an emulator /proc/self/exe may name the emulator itself.
  if (n > 0 && std::string(buf, static_cast<size_t>(n)).find("qemu") == std::string::npos)
    return std::string(buf, static_cast<size_t>(n));
#endif
  return argv0 ? argv0 : "";
}

}  // namespace

std::string defaultLibraryPath(const char* argv0) {
  std::string dir = directoryOf(programPath(argv0));
#if defined(_WIN32)
  return dir + "\\tul2class.dll";
#else
  return dir + "/../lib/libtul2class.so";
#endif
}

NativeModule::~NativeModule() {
#if defined(_WIN32)
  if (handle_) FreeLibrary(static_cast<HMODULE>(handle_));
#else
  if (handle_) dlclose(handle_);
#endif
}

bool NativeModule::load(const std::string& path) {
#if defined(_WIN32)
  HMODULE h = LoadLibraryA(path.c_str());
  if (!h) {
    error_ = "cannot load " + path + " (error " + std::to_string(GetLastError()) + ")";
    return false;
  }
  handle_ = h;
  entry_ = reinterpret_cast<RegisterFn>(
      reinterpret_cast<void*>(GetProcAddress(h, "RegisterNativeModule")));
#else
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) {
    const char* why = dlerror();
    error_ = "cannot load " + path + ": " + (why ? why : "unknown error");
    return false;
  }
  entry_ = reinterpret_cast<RegisterFn>(dlsym(handle_, "RegisterNativeModule"));
#endif
  if (!entry_) {
    error_ = path + " has no RegisterNativeModule";
    return false;
  }
  return true;
}

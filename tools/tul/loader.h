// Loading the class library as a host does: open the shared object (or DLL),
// find RegisterNativeModule and call it on a machine.
#pragma once

#include <string>

class TulVirtualMachine;

using RegisterFn = void (*)(TulVirtualMachine*);

class NativeModule {
 public:
  NativeModule() = default;
  ~NativeModule();
  NativeModule(const NativeModule&) = delete;
  NativeModule& operator=(const NativeModule&) = delete;

  // False with error() set when the library or its entry cannot be had.
  bool load(const std::string& path);
  RegisterFn entry() const { return entry_; }
  const std::string& error() const { return error_; }

 private:
  void* handle_ = nullptr;
  RegisterFn entry_ = nullptr;
  std::string error_;
};

// Where the library lies beside the program: lib/libtul2class.so next to
// bin/, or tul2class.dll in the program's own folder.
std::string defaultLibraryPath(const char* argv0);

// tul: the host program. It makes a virtual machine, loads the class library
// as any host would (by path, through its one exported entry) and registers
// its classes.
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "runtime/runtime.h"
#include "tools/tul/listing.h"
#include "tools/tul/loader.h"

namespace {

constexpr const char* kUsage =
    "usage: tul [--library PATH] --classes\n"
    "       tul --version\n"
    "  --classes        list the classes the library registers\n"
    "  --library PATH   load the class library from PATH\n";

struct Options {
  std::string library;
  bool classes = false;
};

// False (after printing why) for arguments tul does not know.
bool parseOptions(int argc, char** argv, Options& opt) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--classes") == 0) {
      opt.classes = true;
    } else if (std::strcmp(argv[i], "--library") == 0 && i + 1 < argc) {
      opt.library = argv[++i];
    } else if (std::strcmp(argv[i], "--version") == 0) {
      std::cout << "tul " << TUL_VERSION << '\n';
      std::exit(0);
    } else if (std::strcmp(argv[i], "--help") == 0) {
      std::cout << kUsage;
      std::exit(0);
    } else {
      std::cerr << "tul: unknown argument '" << argv[i] << "'\n" << kUsage;
      return false;
    }
  }
  if (!opt.classes) {
    std::cerr << kUsage;
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options opt;
  if (!parseOptions(argc, argv, opt)) return 2;
  if (opt.library.empty()) opt.library = defaultLibraryPath(argv[0]);

  NativeModule module;
  if (!module.load(opt.library)) {
    std::cerr << "tul: " << module.error() << '\n';
    return 1;
  }
  int status = 0;
  {
    tulrt::Machine vm;
    module.entry()(&vm);
    const tulrt::ErrorRecord& e = vm.interp().lastError();
    if (e.set) {
      std::cerr << "tul: registration reported: " << e.message << '\n';
      status = 1;
    }
    listClasses(vm, std::cout);
  }
  return status;
}

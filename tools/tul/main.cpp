// tul: the host program. It makes a virtual machine, loads the class library
// as any host would (by path, through its one exported entry), registers its
// classes, and runs a script on the machine or lists the classes.
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#if defined(_WIN32)
#  include <fcntl.h>
#  include <io.h>
#endif

#include "runtime/runtime.h"
#include "script/engine.h"
#include "tools/tul/batch.h"
#include "tools/tul/desktop.h"
#include "tools/tul/listing.h"
#include "tools/tul/loader.h"
#include "tools/tul/system_objects.h"
#include "tools/tul/win32_functions.h"
#include "tul_version.h"

namespace {

constexpr const char* kUsage =
    "usage: tul [--library PATH] [--screenshot PNG] FILE.tul [ARGS...]\n"
    "       tul [--library PATH] [--screenshot PNG] -e CODE [ARGS...]\n"
    "       tul [--library PATH] --classes\n"
    "       tul [--library PATH] --batch LIST OUTDIR\n"
    "       tul --version\n"
    "       tul --win32-functions\n"
    "  FILE.tul         run a script; ARGS become the script's ARGS vector\n"
    "  -e CODE          run CODE as a script\n"
    "  --classes        list the classes the library registers\n"
    "  --batch LIST OUTDIR  run the scripts listed in LIST (a path and its\n"
    "                   arguments a line, tab-separated), each in a fresh\n"
    "                   machine; OUTDIR/N.out, N.err, N.status for line N\n"
    "  --library PATH   load the class library from PATH\n"
    "  --screenshot PNG save the screen as a PNG file when the script ends\n"
    "  --win32-functions  list the functions the win32 class offers, one\n"
    "                   \"NAME WORDS\" a line (WORDS: the 32-bit arguments\n"
    "                   a call takes)\n";

struct Options {
  std::string library;
  bool classes = false;
  std::string file;           // the script to run
  std::string code;           // -e
  bool haveCode = false;
  std::vector<std::string> args;
  std::string batchList;      // --batch
  std::string batchOut;
  std::string screenshot;     // --screenshot
};

// False (after printing why) for arguments tul does not know. Everything
// after the script (or -e CODE) belongs to the script.
bool parseOptions(int argc, char** argv, Options& opt) {
  int i = 1;
  for (; i < argc; ++i) {
    if (std::strcmp(argv[i], "--classes") == 0) {
      opt.classes = true;
    } else if (std::strcmp(argv[i], "--library") == 0 && i + 1 < argc) {
      opt.library = argv[++i];
    } else if (std::strcmp(argv[i], "--screenshot") == 0 && i + 1 < argc) {
      opt.screenshot = argv[++i];
    } else if (std::strcmp(argv[i], "--version") == 0) {
      std::cout << "tul " << TUL_VERSION << '\n';
      std::exit(0);
    } else if (std::strcmp(argv[i], "--win32-functions") == 0) {
      listWin32Functions(std::cout);
      std::exit(0);
    } else if (std::strcmp(argv[i], "--help") == 0) {
      std::cout << kUsage;
      std::exit(0);
    } else if (std::strcmp(argv[i], "--batch") == 0 && i + 2 < argc) {
      opt.batchList = argv[++i];
      opt.batchOut = argv[++i];
    } else if (std::strcmp(argv[i], "-e") == 0 && i + 1 < argc) {
      opt.code = argv[++i];
      opt.haveCode = true;
      ++i;
      break;
    } else if (argv[i][0] != '-' || std::strcmp(argv[i], "-") == 0) {
      opt.file = argv[i++];
      break;
    } else {
      std::cerr << "tul: unknown argument '" << argv[i] << "'\n" << kUsage;
      return false;
    }
  }
  for (; i < argc; ++i) opt.args.push_back(argv[i]);
  int modes = (opt.haveCode || !opt.file.empty()) + opt.classes + !opt.batchList.empty();
  if (modes != 1) {
    std::cerr << kUsage;
    return false;
  }
  return true;
}

// A failed registration is reported; --classes still lists what was
// registered, a script does not run.
bool registerClasses(NativeModule& module, tulrt::Machine& vm) {
  module.entry()(&vm);
  const tulrt::ErrorRecord& e = vm.interp().lastError();
  if (!e.set) return true;
  std::cerr << "tul: registration reported: " << e.message << '\n';
  vm.interp().clearError();
  return false;
}

int listAll(NativeModule& module) {
  tulrt::Machine vm;
  int status = registerClasses(module, vm) ? 0 : 1;
  listClasses(vm, std::cout);
  return status;
}

// The screen as the script left it, before the machine's teardown destroys
// the windows of its objects. A failure is reported but does not change the
// script's status.
void saveScreenAtEnd(const std::string& path) {
  std::string why;
  if (!saveDesktopScreenshot(path, why)) std::cerr << "tul: --screenshot: " << why << '\n';
}

int runScript(NativeModule& module, const Options& opt) {
  tulscript::Engine engine;
  if (!registerClasses(module, engine.machine())) return tulscript::kStatusError;
  offerSystemObjects(engine);
  engine.setArgs(opt.args);
  int status = opt.haveCode ? engine.runSource("-e", opt.code) : engine.runFile(opt.file);
  if (!opt.screenshot.empty()) saveScreenAtEnd(opt.screenshot);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
#if defined(_WIN32)
  // The same bytes as on every other system: "\n", never "\r\n".
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
#endif
  Options opt;
  if (!parseOptions(argc, argv, opt)) return 2;
  if (opt.library.empty()) opt.library = defaultLibraryPath(argv[0]);

  // Declared first so it is unloaded last: the machine's teardown may still
  // run the library's native methods.
  NativeModule module;
  prepareDesktop();
  if (!module.load(opt.library)) {
    std::cerr << "tul: " << module.error() << '\n';
    return 1;
  }
  int status;
  if (!opt.batchList.empty()) {
    int passed = runBatch(module, opt.batchList, opt.batchOut);
    if (passed < 0) std::cerr << "tul: cannot read " << opt.batchList << '\n';
    status = passed < 0 ? 1 : 0;
  } else {
    status = opt.classes ? listAll(module) : runScript(module, opt);
  }
  std::cout.flush();
  return status;
}

// Batch runs (see batch.h).
#include "tools/tul/batch.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <vector>

#if defined(_WIN32)
#  include <direct.h>
#  define chdir _chdir
#else
#  include <unistd.h>
#endif

#include "runtime/runtime.h"
#include "script/engine.h"
#include "tools/tul/loader.h"
#include "tools/tul/system_objects.h"

namespace {

std::vector<std::string> splitTabs(const std::string& line) {
  std::vector<std::string> fields;
  std::string::size_type start = 0;
  for (;;) {
    std::string::size_type tab = line.find('\t', start);
    fields.push_back(line.substr(start, tab == std::string::npos ? tab : tab - start));
    if (tab == std::string::npos) return fields;
    start = tab + 1;
  }
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream f(path, std::ios::binary);
  f << text;
}

// Runs one script in a fresh engine; its folder becomes the working
// directory for the run.
int runOne(NativeModule& module, const std::vector<std::string>& fields, std::string& out,
           std::string& err) {
  const std::string& path = fields[0];
  std::string::size_type slash = path.find_last_of("/\\");
  std::string dir = slash == std::string::npos ? "." : path.substr(0, slash);
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  std::ostringstream outStream, errStream;
  int status;
  {
    tulscript::EngineOptions options;
    options.out = &outStream;
    options.err = &errStream;
    tulscript::Engine engine(options);
    module.entry()(&engine.machine());
    if (engine.machine().interp().lastError().set) {
      errStream << "tul: registration reported: " << engine.machine().interp().lastError().message
                << '\n';
      status = tulscript::kStatusError;
    } else if (chdir(dir.c_str()) != 0) {
      errStream << "tul: cannot enter " << dir << '\n';
      status = tulscript::kStatusError;
    } else {
      offerSystemObjects(engine);
      engine.setArgs(std::vector<std::string>(fields.begin() + 1, fields.end()));
      status = engine.runFile(name);
    }
  }
  resetSystemState();
  out = outStream.str();
  err = errStream.str();
  return status;
}

}  // namespace

int runBatch(NativeModule& module, const std::string& list, const std::string& outDir) {
  std::ifstream in(list, std::ios::binary);
  if (!in) return -1;
  std::vector<std::vector<std::string>> scripts;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) scripts.push_back(splitTabs(line));
  }
  int passed = 0;
  for (size_t i = 0; i < scripts.size(); ++i) {
    std::string out, err;
    int status = runOne(module, scripts[i], out, err);
    std::string base = outDir + "/" + std::to_string(i + 1);
    writeFile(base + ".out", out);
    writeFile(base + ".err", err);
    writeFile(base + ".status", std::to_string(status) + "\n");
    if (status == 0) ++passed;
  }
  return passed;
}

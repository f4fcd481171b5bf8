// The script engine: runs tul programs on a machine of the host runtime.
// A host program makes an Engine, registers its native classes on
// machine(), and runs a file or a snippet; the engine reports syntax and
// run-time errors on its error stream and answers the exit status.
//
// Invariant: the engine owns its machine and outlives it: objects released
// while the machine is torn down may still run script methods (`dtor`).
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "host/tul.h"

namespace tulrt {
class Machine;
}

namespace tulscript {

struct EngineOptions {
  std::ostream* out = nullptr;  // print(); null: standard output
  std::ostream* err = nullptr;  // diagnostics; null: standard error
  // Statements and calls a run may execute; 0: no limit. Reaching the limit
  // stops the run like an uncaught error that no `catch` can intercept.
  std::int64_t maxSteps = 0;
  // Largest string, buffer or vector a script may build, in bytes or
  // elements; 0: no limit beyond memory.
  std::uint32_t maxAllocation = 0;
  // Stack a run may use before calls fail with "stack overflow"; 0: chosen
  // from the platform's stack size.
  std::size_t stackBudget = 0;
  // Slots of the runtime's value stack, which holds native frames; 0: the
  // runtime's default.
  unsigned machineStackSlots = 0;
  bool allowMemoryAccess = true;  // the mem.* built-ins
  bool allowInclude = true;
};

// Exit statuses of a run.
constexpr int kStatusOk = 0;
constexpr int kStatusError = 1;
constexpr int kStatusSyntax = 2;

// The error that ended a run (or that a test inspects).
struct ScriptError {
  std::string file;
  int line = 0;
  int col = 0;  // syntax errors only
  std::string message;
  bool hasDetail = false;
  std::string detail;
  bool typeError = false;  // then actual and expected are the two tags
  TulValueType actual = TulValueType::Nil;
  TulValueType expected = TulValueType::Nil;

  // "FILE:LINE: error: MESSAGE (DETAIL)", or "FILE:LINE:COL: ..." for a
  // syntax error. A message ending in ':' takes the detail right after it:
  // "Struct member not found: width".
  std::string diagnostic() const;
};

class Interp;

class Engine {
 public:
  explicit Engine(const EngineOptions& options = {});
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  tulrt::Machine& machine();
  // The script's ARGS vector.
  void setArgs(const std::vector<std::string>& args);

  // Runs a file, or source text under a name that errors show. Returns the
  // exit status: 0, the code given to exit(), 1 after an uncaught error, 2
  // after a syntax error (the diagnostic has then been written).
  int runFile(const std::string& path);
  int runSource(const std::string& name, const std::string& source);

  // The error that ended the last run (message empty when none).
  const ScriptError& lastError() const;

  // Calls a script function value (or a built-in) on behalf of the host
  // program while a run is under way, from code that a native call of the
  // script entered (an idle hook of the message loop, say). False when it
  // fails; its error then surfaces in the script where control returns to
  // it, as the error of the native call that was under way.
  bool callFunction(const TulValue& fn, const std::vector<TulValue>& args, TulValue& out);
  // Raises an error on behalf of the host program from inside a native call
  // (a message loop that would wait for ever, say); like a failed
  // callFunction, it surfaces where control returns to the script.
  void deferError(const std::string& message);

 private:
  std::unique_ptr<Interp> interp_;
};

}  // namespace tulscript

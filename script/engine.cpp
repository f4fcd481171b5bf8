// The engine's outer layer: the machine's lifetime, globals, errors and
// their hand-over to and from the runtime, resource limits, and loading
// files with their includes.
//
// Invariant: every file of a run is parsed (includes too) before any of it
// runs, so a syntax error anywhere stops the run before its first statement.
#include "script/engine.h"

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>

#if defined(_WIN32)
#  include <stdlib.h>
#else
#  include <limits.h>
#  include <sys/resource.h>
#endif

#include "script/compiler.h"
#include "script/interp.h"
#include "script/values.h"

namespace tulscript {
namespace {

// The part of the stack a run may use. tul.exe is linked with a 16 MB
// stack; on POSIX systems the main thread's limit is asked for.
std::size_t defaultStackBudget() {
#if defined(_WIN32)
  return std::size_t(12) << 20;
#else
  struct rlimit rl;
  std::size_t limit = std::size_t(8) << 20;
  if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY &&
      rl.rlim_cur < (std::size_t(256) << 20))
    limit = static_cast<std::size_t>(rl.rlim_cur);
  return limit / 4 * 3;
#endif
}

std::uintptr_t stackHere() {
  char here = 0;
  return reinterpret_cast<std::uintptr_t>(&here);
}

std::string directoryOf(const std::string& path) {
  std::string::size_type slash = path.find_last_of("/\\");
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

bool isAbsolute(const std::string& path) {
  if (!path.empty() && (path[0] == '/' || path[0] == '\\')) return true;
  return path.size() > 1 && path[1] == ':';
}

// One key per file however it is named, so a file is included once.
std::string canonicalPath(const std::string& path) {
#if defined(_WIN32)
  char buf[_MAX_PATH];
  if (_fullpath(buf, path.c_str(), sizeof buf)) return buf;
#else
  char buf[PATH_MAX];
  if (realpath(path.c_str(), buf)) return buf;
#endif
  return path;
}

bool readFile(const std::string& path, std::string& out) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream text;
  text << in.rdbuf();
  out = text.str();
  return true;
}

bool sameRecord(const tulrt::ErrorRecord& a, const tulrt::ErrorRecord& b) {
  return a.set == b.set && a.message == b.message && a.hasDetail == b.hasDetail &&
         a.detail == b.detail && a.typeError == b.typeError && a.actual == b.actual &&
         a.expected == b.expected;
}

// Raises an error (a ScriptError or the runtime's record of one) in the
// runtime, as its own report.
template <class Error>
void raiseOnHost(tulrt::Interpreter& host, const Error& e) {
  if (e.typeError)
    host.badType(e.actual, e.expected);
  else
    host.returnError(e.message.c_str(), e.hasDetail ? e.detail.c_str() : nullptr);
}

// The runtime's record as a script error, without a place yet.
ScriptError fromRecord(const tulrt::ErrorRecord& r) {
  ScriptError e;
  e.message = r.message;
  e.hasDetail = r.hasDetail;
  e.detail = r.detail;
  e.typeError = r.typeError;
  e.actual = r.actual;
  e.expected = r.expected;
  return e;
}

}  // namespace

// An error raised by host code has no place of its own in a script: it is
// shown at the call through which it reached the script.
ScriptError placedAt(ScriptError e, const Frame& f, int line) {
  if (!e.file.empty() || !f.program) return e;
  e.file = f.program->fileName;
  e.line = lineIn(f, line);
  return e;
}

int lineIn(const Frame& f, int line) {
  if (line >= 0 || !f.code || !f.ip) return line < 0 ? 0 : line;
  return f.code->lineAt(static_cast<int>(f.ip - f.code->ins.data()), line);
}

std::string ScriptError::diagnostic() const {
  std::string s = file + ":" + std::to_string(line);
  if (col > 0) s += ":" + std::to_string(col);
  s += ": error: ";
  // Texts made to take their detail after a colon get it there; others get
  // it in parentheses.
  std::string text = message;
  while (!text.empty() && text.back() == ' ') text.pop_back();
  s += text;
  if (!hasDetail) return s;
  if (!text.empty() && text.back() == ':') return s + " " + detail;
  return s + " (" + detail + ")";
}

bool BuiltinCall::fail(const std::string& message) const {
  return in.fail(frame, line, std::string(name) + ": " + message);
}

// --- Interp: lifetime and globals ---------------------------------------------

Interp::Interp(const EngineOptions& options)
    : vm_(new tulrt::Machine(options.machineStackSlots ? options.machineStackSlots
                                                       : tulrt::kDefaultStackSlots)),
      opts_(options),
      out_(options.out ? options.out : &std::cout),
      err_(options.err ? options.err : &std::cerr),
      stackBudget_(options.stackBudget ? options.stackBudget : defaultStackBudget()) {
  vm_->interp().setDtorErrorHandler(
      [this](const tulrt::ErrorRecord& e) { reportDtorError(e); });
  vm_->interp().setNativeCallFailureHandler(
      [this](const tulrt::ErrorRecord& e) { keepNativeCallFailure(e); });
  defineBuiltins();
  setArgs({});
}

// Globals go first, while the machine can still run the `dtor` methods of
// what they hold, newest first (the built-ins, oldest, stay usable to the
// last); then the machine, whose teardown may run more script code; the
// programs last.
Interp::~Interp() {
  for (std::size_t i = globals_.size(); i-- > 0;) {
    TulValue dropped(std::move(globals_[i]));
  }
  builtins_.clear();
  vm_.reset();
  for (TulValue& g : globals_) g = TulValue();
}

int Interp::globalIndex(const std::string& name) {
  auto it = globalIndex_.find(name);
  if (it != globalIndex_.end()) return it->second;
  int index = static_cast<int>(globals_.size());
  globals_.emplace_back();
  defined_.push_back(0);
  globalNames_.push_back(name);
  globalIndex_.emplace(name, index);
  return index;
}

void Interp::defineGlobal(const std::string& name, const TulValue& value) {
  std::size_t i = static_cast<std::size_t>(globalIndex(name));
  globals_[i] = value;
  defined_[i] = 1;
}

void Interp::setArgs(const std::vector<std::string>& args) {
  TulValue v(new TulVector(static_cast<unsigned>(args.size()), false));
  for (const std::string& a : args) static_cast<TulVector*>(v)->push_back(makeString(a));
  defineGlobal("ARGS", v);
}

// --- Interp: errors -----------------------------------------------------------

bool Interp::fail(const Frame& f, int line, const std::string& message) {
  ScriptError e;
  e.file = f.program ? f.program->fileName : std::string();
  e.line = lineIn(f, line);
  e.message = message;
  return failWith(std::move(e));
}

bool Interp::failWith(ScriptError e) {
  if (stopping()) return false;
  stop_ = StopKind::Error;
  error_ = std::move(e);
  return false;
}

bool Interp::stopExit(int code) {
  if (stopping()) return false;
  stop_ = StopKind::Exit;
  exitCode_ = code;
  return false;
}

bool Interp::sameAsForwarded(const tulrt::ErrorRecord& r) const {
  return haveForwarded_ && sameRecord(r, forwardedRecord_);
}

bool Interp::failFromHost(const Frame& f, int line) {
  tulrt::Interpreter& host = vm_->interp();
  if (stopping()) {
    host.clearError();
    return false;
  }
  const tulrt::ErrorRecord& r = host.lastError();
  ScriptError e;
  if (sameAsForwarded(r) || (!r.set && haveForwarded_)) {
    // A script method failed further in: keep the place it failed at (also
    // when script code run since then has taken its own errors off the
    // record).
    e = placedAt(forwarded_, f, line);
  } else {
    e = fromRecord(r);
    if (!r.set) e.message = "a native call failed without reporting an error";
    e = placedAt(std::move(e), f, line);
  }
  haveForwarded_ = false;
  host.clearError();
  return failWith(std::move(e));
}

// Hands the error under way to the runtime, for a script method that the
// runtime called. An error travels on as the runtime's; exit and abort stay
// recorded here and pass through whatever native code does with the report.
void Interp::forwardToHost() {
  tulrt::Interpreter& host = vm_->interp();
  if (stop_ != StopKind::Error) {
    host.returnError(stop_ == StopKind::Exit ? "exit" : error_.message.c_str(), nullptr);
    return;
  }
  // An earlier failure under the same native call is still on its way back
  // (a window being destroyed fails its WM_DESTROY, then its child does):
  // the first is the cause, and it stays the one that surfaces.
  if (haveForwarded_) {
    stop_ = StopKind::None;
    reraiseFirstForwarded();
    return;
  }
  raiseOnHost(host, error_);
  forwarded_ = error_;
  forwardedRecord_ = host.lastError();
  haveForwarded_ = true;
  stop_ = StopKind::None;
}

// A call that native code made into the runtime failed. A script method that
// failed further in has forwarded its error already; any other failure (no
// such method, a frame the method cannot take, a native method's own report)
// is kept the same way, so that it surfaces where control returns to the
// script even when the native code answers for it and goes on, as a window
// procedure does. The first failure stays the one that surfaces.
void Interp::keepNativeCallFailure(const tulrt::ErrorRecord& r) {
  if (stopping() || !r.set) return;
  if (haveForwarded_) {
    if (!sameRecord(r, forwardedRecord_)) reraiseFirstForwarded();
    return;
  }
  forwarded_ = fromRecord(r);
  forwardedRecord_ = r;
  haveForwarded_ = true;
}

// The runtime's record shows the first forwarded error again: a later
// failure under the same native call is its consequence.
void Interp::reraiseFirstForwarded() {
  tulrt::Interpreter& host = vm_->interp();
  const tulrt::ErrorRecord first = forwardedRecord_;
  raiseOnHost(host, first);
  forwardedRecord_ = host.lastError();
}

Interp::Forwarded Interp::enterNativeCall() {
  // The forwarded texts mean nothing while none is waiting: nothing to save.
  if (!haveForwarded_) return nullptr;
  Forwarded outer(new ForwardedError{std::move(forwarded_), std::move(forwardedRecord_)});
  haveForwarded_ = false;
  forwarded_ = ScriptError();
  forwardedRecord_ = tulrt::ErrorRecord();
  return outer;
}

bool Interp::leaveNativeCall(const Frame& f, int line, bool ok, Forwarded&& outer) {
  if (!ok) {
    failFromHost(f, line);
  } else if (haveForwarded_) {
    // The call succeeded although script code it ran failed: the native code
    // in between answered for the failure (a window procedure answers the
    // system with default processing). The error surfaces here.
    ScriptError e = std::move(forwarded_);
    haveForwarded_ = false;
    vm_->interp().clearError();
    ok = failWith(placedAt(std::move(e), f, line));
  }
  if (outer && !haveForwarded_) {
    haveForwarded_ = true;
    forwarded_ = std::move(outer->error);
    forwardedRecord_ = std::move(outer->record);
  }
  return ok;
}

bool Interp::callFunctionFromHost(const TulValue& fn, const std::vector<TulValue>& args,
                                  TulValue& out) {
  if (stopping()) return vm_->interp().returnError("the script is stopping", nullptr);
  StopKind savedStop = stop_;
  ScriptError savedError = error_;
  stop_ = StopKind::None;
  Frame caller;
  bool outermost = activeRuns_++ == 0;
  if (outermost) stackBase_ = stackHere();
  bool ok = false;
  try {
    ok = callValue(caller, 0, fn, args.data(), static_cast<int>(args.size()), out, "");
  } catch (const std::exception& e) {
    ok = fail(caller, 0, std::string("internal error: ") + e.what());
  }
  --activeRuns_;
  if (!ok) forwardToHost();
  if (!stopping()) {
    stop_ = savedStop;
    error_ = std::move(savedError);
  }
  return ok;
}

void Interp::deferError(const std::string& message) {
  if (stopping()) return;
  StopKind savedStop = stop_;
  ScriptError savedError = error_;
  failWith(ScriptError{});
  error_.message = message;
  forwardToHost();
  stop_ = savedStop;
  error_ = std::move(savedError);
}

bool Interp::takeError(ScriptError& out) {
  if (stop_ != StopKind::Error) return false;
  out = std::move(error_);
  error_ = ScriptError();
  stop_ = StopKind::None;
  vm_->interp().clearError();
  return true;
}

TulValue Interp::errorValue(const ScriptError& e) {
  TulValue v(new TulDictionary());
  TulDictionary& d = *static_cast<TulDictionary*>(v);
  *d["message"] = makeString(e.message);
  *d["detail"] = e.hasDetail ? makeString(e.detail) : TulValue();
  *d["actual"] = e.typeError ? makeString(typeTagName(e.actual)) : TulValue();
  *d["expected"] = e.typeError ? makeString(typeTagName(e.expected)) : TulValue();
  *d["file"] = makeString(e.file);
  *d["line"] = TulValue(e.line);
  return v;
}

void Interp::reportDtorError(const tulrt::ErrorRecord& r) {
  ScriptError e;
  if (sameAsForwarded(r)) {
    e = forwarded_;
  } else {
    e.message = r.message;
    e.hasDetail = r.hasDetail;
    e.detail = r.detail;
  }
  haveForwarded_ = false;
  if (e.file.empty())
    *err_ << "tul: error in dtor: " << e.message << (e.hasDetail ? " (" + e.detail + ")" : "") << '\n';
  else
    *err_ << e.diagnostic() << " (in dtor)\n";
}

// --- Interp: limits -------------------------------------------------------------

bool Interp::stepsSpent(const Frame& f, int line) {
  if (stopping()) return false;
  fail(f, line, "step limit exceeded");
  stop_ = StopKind::Abort;
  return false;
}

bool Interp::stackOverflow(const Frame& f, int line) {
  return fail(f, line, "stack overflow: too many nested calls");
}

bool Interp::checkSize(const Frame& f, int line, std::uint64_t n, const char* what) {
  if (opts_.maxAllocation == 0 || n <= opts_.maxAllocation) return true;
  return fail(f, line, std::string(what) + " too large (" + std::to_string(n) +
                           " exceeds the limit of " + std::to_string(opts_.maxAllocation) + ")");
}

// --- Interp: loading and running ------------------------------------------------

std::shared_ptr<Program> Interp::loadProgram(const std::string& path, const std::string& shown,
                                             const std::string* source, int& status) {
  std::string text;
  if (!source) {
    if (!readFile(path, text)) {
      *err_ << "tul: cannot open " << shown << '\n';
      status = kStatusError;
      return nullptr;
    }
    source = &text;
  }
  auto program = std::make_shared<Program>();
  program->fileName = shown;
  program->fileIndex = static_cast<int>(programs_.size());
  programs_.push_back(program);
  SyntaxError se;
  ParseOptions po;
  po.allowInclude = opts_.allowInclude;
  if (!parseProgram(*source, *program, *this, se, po)) {
    lastError_ = ScriptError();
    lastError_.file = shown;
    lastError_.line = se.line;
    lastError_.col = se.col;
    lastError_.message = se.message;
    *err_ << lastError_.diagnostic() << '\n';
    status = kStatusSyntax;
    return nullptr;
  }
  compileProgram(*program, opts_.maxSteps > 0);
  if (!resolveIncludes(*program, status)) return nullptr;
  return program;
}

bool Interp::resolveIncludes(Program& p, int& status) {
  std::string shownDir = directoryOf(p.fileName);
  for (IncludeSite& inc : p.code.includes) {
    std::string shown = isAbsolute(inc.path) ? inc.path : shownDir + inc.path;
    std::string key = canonicalPath(shown);
    if (!included_.insert(key).second) continue;
    std::string text;
    if (!readFile(shown, text)) {
      lastError_ = ScriptError();
      lastError_.file = p.fileName;
      lastError_.line = inc.line;
      lastError_.message = "cannot open included file '" + inc.path + "'";
      *err_ << lastError_.diagnostic() << '\n';
      status = kStatusError;
      return false;
    }
    std::shared_ptr<Program> included = loadProgram(shown, shown, &text, status);
    if (!included) return false;
    inc.program = included.get();
  }
  return true;
}

int Interp::finish(bool ok) {
  out_->flush();
  int status = kStatusOk;
  if (stop_ == StopKind::Exit) {
    status = exitCode_;
  } else if (!ok || stop_ != StopKind::None) {
    lastError_ = error_;
    *err_ << error_.diagnostic() << '\n';
    status = kStatusError;
  }
  stop_ = StopKind::None;
  error_ = ScriptError();
  vm_->interp().clearError();
  return status;
}

int Interp::runFile(const std::string& path) {
  int status = kStatusOk;
  included_.insert(canonicalPath(path));
  std::shared_ptr<Program> p = loadProgram(path, path, nullptr, status);
  if (!p) return status;
  return runLoaded(*p);
}

int Interp::runSource(const std::string& name, const std::string& source) {
  int status = kStatusOk;
  std::shared_ptr<Program> p = loadProgram(name, name, &source, status);
  if (!p) return status;
  return runLoaded(*p);
}

int Interp::runLoaded(const Program& p) {
  lastError_ = ScriptError();
  bool outermost = activeRuns_++ == 0;
  if (outermost) stackBase_ = stackHere();
  bool ok = false;
  try {
    ok = runProgram(p);
  } catch (const std::exception& e) {
    Frame f;
    f.program = &p;
    ok = fail(f, 0, std::string("internal error: ") + e.what());
  }
  --activeRuns_;
  return finish(ok);
}

// --- Engine ---------------------------------------------------------------------

Engine::Engine(const EngineOptions& options) : interp_(new Interp(options)) {}
Engine::~Engine() = default;

tulrt::Machine& Engine::machine() { return interp_->machine(); }
void Engine::setArgs(const std::vector<std::string>& args) { interp_->setArgs(args); }
int Engine::runFile(const std::string& path) { return interp_->runFile(path); }
int Engine::runSource(const std::string& name, const std::string& source) {
  return interp_->runSource(name, source);
}
const ScriptError& Engine::lastError() const { return interp_->lastError(); }
void Engine::deferError(const std::string& message) { interp_->deferError(message); }
bool Engine::callFunction(const TulValue& fn, const std::vector<TulValue>& args, TulValue& out) {
  return interp_->callFunctionFromHost(fn, args, out);
}

}  // namespace tulscript

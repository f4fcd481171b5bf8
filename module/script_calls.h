// Calls between native methods and script code.
//
// Native code calls script methods through the interpreter (invokeScript,
// createScriptObject), and the system calls script code back through the
// window procedure while a native method is inside a system call. A script
// error cannot travel back through the system: the window procedure answers
// the system with default processing, and the error stays reported in the
// interpreter. So that it still ends the native method whose system call sent
// the message, every native method watches the system calls it makes: the
// window procedure marks the innermost watch when its script call failed, and
// a method that looks (handlerFailed) fails in turn, its error already
// standing. A method that does not look leaves the error to the host, which
// raises it where control returns to the script.
//
// Invariant: watches nest like the calls that make them. A script call made
// from native code is a boundary: a failure further in never marks a watch
// outside it, because the script in between has already seen the error (and
// may have caught it).
#pragma once

#include <optional>

#include "host/tul.h"

class CallWatch {
 public:
  enum class Kind { Native, ScriptCall };

  explicit CallWatch(Kind kind);
  ~CallWatch();
  CallWatch(const CallWatch&) = delete;
  CallWatch& operator=(const CallWatch&) = delete;

  // True when a window procedure entered from a system call made under this
  // watch had its script fail since the watch began (or was reset).
  bool handlerFailed() const { return failed_; }
  void reset() { failed_ = false; }

  // For the window procedure: the script it called failed. Marks the
  // innermost watch when that is a native method's.
  static void noteHandlerFailure();

 private:
  CallWatch* outer_;
  Kind kind_;
  bool failed_ = false;
};

// invokeMember and createObject of the interpreter, behind a script-call
// boundary. Same results: false after the interpreter's report.
bool invokeScript(TulInterpreter& in, TulValue& result, TulObject* obj, const char* name,
                  TulVector* args = nullptr);
bool createScriptObject(TulInterpreter& in, TulValue& out, const TulString& className,
                        TulVector* args = nullptr);

// The argument vector of a call into script that is made once per message
// (the window procedure's, the handler walk's), borrowed for as long as this
// lives: count Nil values to fill. Such calls nest when a handler sends a
// message, so one vector is kept per nesting depth and reused, which spares
// a message its allocations. On the way out the values are given back last to first,
// as a vector's own destruction would, so nothing lives longer than with a
// local vector. Before load, or past the kept depths, the borrower gets a
// vector of its own.
class CallArgs {
 public:
  explicit CallArgs(unsigned count);
  ~CallArgs();
  CallArgs(const CallArgs&) = delete;
  CallArgs& operator=(const CallArgs&) = delete;

  TulVector* vector() { return vec_; }
  TulValue& operator[](unsigned i) { return (*vec_)[i]; }

 private:
  TulVector* vec_;
  std::optional<TulVector> own_;  // before load, or past the kept depths
  bool kept_ = false;
};

// The kept vectors: built at load, given back at unload.
void buildCallArgs();
void releaseCallArgs();

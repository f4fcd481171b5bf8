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

#include "host/tul.h"

class CallWatch {
 public:
  enum class Kind { Native, ScriptCall };

  // Inline: every native method's frame holds one.
  explicit CallWatch(Kind kind) : outer_(innermost_), kind_(kind) { innermost_ = this; }
  ~CallWatch() { innermost_ = outer_; }
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
  // The innermost watch of the interpreter thread; the watches themselves
  // live in the frames of the calls that made them.
  static CallWatch* innermost_;

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

// The calls by name made once a message. Each has a call site of its own,
// so a site sees one class while the same window gets messages, and the
// interpreter finds the method there without a lookup until a class changes.
enum class Call {
  LoopPreprocess,     // the loop offering a message to its window
  ParentPreprocess,   // preprocessMessage offering it to the parent
  GetParent,
  WindowHandle,       // the window procedure
  HandlerHandle,      // the handler walk
  Count
};

// invokeScript through the call's site, with nargs arguments read in place.
bool invokeScript(TulInterpreter& in, TulValue& result, TulObject* obj, Call call,
                  const TulValue* args = nullptr, int nargs = 0);
// Keeps an object alive while native code does a method's work on it
// itself, as the interpreter's frame holds `this` for a call.
class HeldObject {
 public:
  explicit HeldObject(TulObject* obj) : obj_(obj) { obj_->retain(); }
  ~HeldObject() { obj_->release(); }
  HeldObject(const HeldObject&) = delete;
  HeldObject& operator=(const HeldObject&) = delete;

 private:
  TulObject* obj_;
};

// The call sites, in the order of Call (script_calls.cpp).
extern TulCallSite gCallSites[];

// The native function the call's site finds for obj (see
// TulInterpreter::nativeMethodAt); null for a script method or none. What
// the site remembers is read inline: every message asks three times.
inline NativeMethod nativeAt(TulInterpreter& in, TulObject* obj, Call call) {
  TulCallSite& site = gCallSites[static_cast<unsigned>(call)];
  if (site.remembers(obj->getClass())) return site.native;
  return in.nativeMethodAt(obj, site);
}

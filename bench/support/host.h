// A host for benchmark programs: the script engine that tul runs scripts
// with, the library's classes registered on its machine, and the benchmark's
// own script classes loaded from bench/scripts. The programs then drive the
// library from C++, as the host does, and time it there.
//
// Every step here either succeeds or stops the program (bench::die): a
// benchmark that ran on a half-made set-up would report figures of nothing.
#pragma once

#include <initializer_list>

#include "host/tul.h"
#include "module/registrar.h"
#include "runtime/runtime.h"
#include "script/engine.h"

namespace bench {

class Host {
 public:
  // Loads bench/scripts/<scriptFile> (none when null) after registering the
  // library.
  explicit Host(const char* scriptFile = nullptr);

  tulrt::Machine& vm() { return engine_.machine(); }
  tulrt::Interpreter& interp() { return vm().interp(); }
  TulClass* cls(const char* name);

  // name(args...), its constructor run as a script would run it.
  TulValue make(const char* className, std::initializer_list<TulValue> args = {});
  // obj.method(args...).
  TulValue call(const TulValue& obj, const char* method, std::initializer_list<TulValue> args = {});
  // className.method(args...), a static method.
  TulValue callStatic(const char* className, const char* method,
                      std::initializer_list<TulValue> args = {});

 private:
  [[noreturn]] void failed(const char* what);

  tulscript::Engine engine_;
};

// The library's function bound under `name` in a class table.
NativeMethod nativeMethod(const ClassSpec& table, const char* name);

// A native method called straight, as the runtime calls it once the method
// is found: a private value stack holds the result slot, `this` and the
// arguments, which stay in place from one call to the next.
class DirectCall {
 public:
  DirectCall(TulVirtualMachine& vm, NativeMethod fn, const TulValue& self, unsigned nargs);

  void setArg(unsigned i, const TulValue& v) { stack_[2 + i] = v; }
  // False after the method's report.
  bool operator()() {
    ValPtr sp{&stack_, argc_};
    return fn_(vm_, argc_, sp);
  }
  const TulValue& result() const { return stack_[0]; }

 private:
  TulVirtualMachine* vm_;
  NativeMethod fn_;
  TulVector stack_;
  int argc_;
};

}  // namespace bench

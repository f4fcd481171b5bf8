// The benchmark host (see host.h).
#include "bench/support/host.h"

#include <cstring>
#include <string>

#include "bench/support/measure.h"
#include "module/tul2class.h"

namespace bench {

Host::Host(const char* scriptFile) {
  RegisterNativeModule(&vm());
  if (interp().lastError().set) failed("registering the library");
  if (!scriptFile) return;
  const std::string path = std::string(BENCH_SCRIPTS_DIR) + "/" + scriptFile;
  if (engine_.runFile(path) != tulscript::kStatusOk)
    die(path + ": " + engine_.lastError().diagnostic());
}

TulClass* Host::cls(const char* name) {
  TulClass* c = vm().findClass(name);
  if (!c) die(std::string("no class ") + name);
  return c;
}

TulValue Host::make(const char* className, std::initializer_list<TulValue> args) {
  TulValue out;
  if (!interp().construct(out, cls(className), args)) failed(className);
  return out;
}

TulValue Host::call(const TulValue& obj, const char* method, std::initializer_list<TulValue> args) {
  TulValue out;
  if (!interp().callMember(out, static_cast<TulObject*>(obj), method, args)) failed(method);
  return out;
}

TulValue Host::callStatic(const char* className, const char* method,
                          std::initializer_list<TulValue> args) {
  TulValue out;
  if (!interp().callStatic(out, cls(className), method, args)) failed(method);
  return out;
}

void Host::failed(const char* what) {
  die(std::string(what) + ": " + interp().lastError().message);
}

NativeMethod nativeMethod(const ClassSpec& table, const char* name) {
  for (const MethodRow& m : table.methods)
    if (std::strcmp(m.name, name) == 0) return m.fn;
  die(std::string(table.name) + " binds no " + name);
}

DirectCall::DirectCall(TulVirtualMachine& vm, NativeMethod fn, const TulValue& self, unsigned nargs)
    : vm_(&vm), fn_(fn), stack_(nargs + 2, true), argc_(static_cast<int>(nargs) + 1) {
  stack_[1] = self;
}

}  // namespace bench

// The exported entry and the library's load and unload work. The entry is
// one of the two places where a stray C++ exception could cross into the
// host, so it catches everything and reports it through the interpreter.
#include "module/tul2class.h"

#include "module/classes.h"
#include "module/names.h"

#if defined(_WIN32)
#  include <windows.h>
#endif

namespace {

constexpr const ClassSpec* kOrder[] = {
    &kStringSpec, &kStructSpec, &kVectorSpec, &kDictIteratorSpec, &kDictionarySpec,
    &kPointSpec,  &kSizeSpec,   &kRectSpec,   &kAccelSpec,        &kMsgSpec,
};

void moduleLoad() { buildNames(); }

void moduleUnload() { destroyNames(); }

}  // namespace

Table<const ClassSpec*> registrationOrder() { return Table<const ClassSpec*>(kOrder); }

void RegisterNativeModule(TulVirtualMachine* vm) {
  if (!vm) return;
  for (const ClassSpec* desc : kOrder) {
    try {
      registerClass(vm, *desc);
    } catch (...) {
      vm->interpreter()->returnError("out of memory registering class", desc->name);
    }
  }
}

#if defined(_WIN32)
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) moduleLoad();
  if (reason == DLL_PROCESS_DETACH) moduleUnload();
  return TRUE;
}
#else
__attribute__((constructor)) static void onLoad() { moduleLoad(); }
__attribute__((destructor)) static void onUnload() { moduleUnload(); }
#endif

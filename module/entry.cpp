// The exported entry and the library's load and unload work.
//
// The library's process-wide values, all prepared here at load and released
// at unload: the class-name strings (module/names.cpp), the member index
// cache (module/members.cpp, filled by registration), the window registry
// (window/registry.cpp), the module instance and the window being created
// (window/window_class.cpp), the ledger of paint blocks and replaced window
// procedures (window/native_ledger.cpp), the file dialogs' file-name buffer
// (dialogs/file_dialog.cpp) and the call sites of the calls made once a
// message (module/script_calls.cpp), which need no preparing: what they
// remember is checked by the host on every call. Besides them only the
// innermost call watch (module/script_calls.cpp) lives outside a call,
// pointing into the frames of the calls under way.
//
// The entry is one of the two places where a stray C++ exception could cross
// into the host, so it catches everything and reports it.
#include "module/tul2class.h"

#include <windows.h>

#include "module/classes.h"
#include "module/errors.h"
#include "module/names.h"
#include "module/script_calls.h"
#include "window/registry.h"
#include "window/window_class.h"

namespace {

constexpr const ClassSpec* kOrder[] = {
    &kStringSpec, &kStructSpec, &kVectorSpec, &kDictIteratorSpec,  &kDictionarySpec,
    &kPointSpec,  &kSizeSpec,   &kRectSpec,   &kAccelSpec,         &kMsgSpec,
    &kWinMsgHandlerSpec,        &kWinBaseSpec,                    &kFileDialogSpec,
};

// False when the window class cannot be registered: the library then
// refuses to load (on Linux, where a loaded object cannot be refused, it
// registers no classes instead).
bool gLoaded = false;

bool moduleLoad(HINSTANCE instance) {
  setModuleInstance(instance);
  buildNames();
  registryInit();
  if (!registerWindowClass(instance)) {
    MessageBoxA(nullptr, err::kWindowClassFailed, "Error", MB_OK);
    return false;
  }
  gLoaded = true;
  return true;
}

void moduleUnload() {
  if (gLoaded) unregisterWindowClass();
  gLoaded = false;
  registryRelease();
  destroyNames();
}

}  // namespace

Table<const ClassSpec*> registrationOrder() { return Table<const ClassSpec*>(kOrder); }

void RegisterNativeModule(TulVirtualMachine* vm) {
  if (!vm) return;
  if (!gLoaded) {
    vm->interpreter()->returnError(err::kWindowClassFailed, nullptr);
    return;
  }
  for (const ClassSpec* desc : kOrder) {
    try {
      registerClass(vm, *desc);
    } catch (...) {
      vm->interpreter()->returnError("out of memory registering class", desc->name);
    }
  }
}

#if defined(_WIN32)
BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) return moduleLoad(instance) ? TRUE : FALSE;
  if (reason == DLL_PROCESS_DETACH) moduleUnload();
  return TRUE;
}
#else
// The library's own module handle: the layer names the process's main module
// only, so the class is registered under that instance.
__attribute__((constructor)) static void onLoad() { moduleLoad(GetModuleHandleA(nullptr)); }
__attribute__((destructor)) static void onUnload() { moduleUnload(); }
#endif

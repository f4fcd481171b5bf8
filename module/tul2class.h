// The library's public face: the one function a host calls after loading it.
#pragma once

class TulVirtualMachine;

#if defined(_WIN32)
#  define TUL2CLASS_EXPORT extern "C" __declspec(dllexport)
#else
#  define TUL2CLASS_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// Registers the library's classes with vm, in their fixed order. Does
// nothing when vm is null. A class that cannot be registered is left out and
// the others are still registered.
TUL2CLASS_EXPORT void RegisterNativeModule(TulVirtualMachine* vm);

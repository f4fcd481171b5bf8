// The window registry: which script object stands for which window handle.
// A process-wide array of (handle, object) kept sorted by handle, so every
// message's lookup is a binary search. The objects are borrowed: the host
// keeps them alive, and entries are removed at WM_DESTROY (or at
// WM_NCDESTROY when the script failed WM_DESTROY), by dtor and by
// unregisterWindow, so no entry outlives its object.
#pragma once

#include <cstdint>

#include "host/tul.h"

struct WindowRegistryEntry {
  std::uint32_t handle;
  TulObject* object;  // not owned
};
static_assert(sizeof(WindowRegistryEntry) == 8, "registry entries are 8 bytes");

// Storage for 10 entries; false when it cannot be had.
bool registryInit();
// Releases the storage (the host's free, as allocmem memory).
void registryRelease();

// The index of the entry for handle, or -1.
int registryFind(std::uint32_t handle);
// Enters (handle, object), replacing the object of an existing handle; the
// index where the pair now stands, or -1 when the storage cannot grow.
int registryAdd(std::uint32_t handle, TulObject* object);
// True when an entry was removed.
bool registryRemove(std::uint32_t handle);
// Removes every entry that names object, whatever its handle (a script may
// have changed the handle the object keeps).
void registryForget(const TulObject* object);

TulObject* registryObject(int index);
// The object registered for handle, or null: registryObject(registryFind()).
TulObject* registryLookup(std::uint32_t handle);
unsigned registryCount();
unsigned registryCapacity();

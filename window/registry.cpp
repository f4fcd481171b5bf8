// The window registry (see registry.h). The storage comes from the host's
// allocmem and grows by 10 entries with reallocmem; it never shrinks.
#include "window/registry.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned kGrowth = 10;  // entries

WindowRegistryEntry* gEntries = nullptr;
unsigned gCount = 0;
unsigned gCapacity = 0;

}  // namespace

bool registryInit() {
  if (gEntries) return true;
  gEntries = static_cast<WindowRegistryEntry*>(allocmem(kGrowth * sizeof(WindowRegistryEntry)));
  gCapacity = gEntries ? kGrowth : 0;
  gCount = 0;
  return gEntries != nullptr;
}

void registryRelease() {
  std::free(gEntries);
  gEntries = nullptr;
  gCount = gCapacity = 0;
}

// A search by halves without a branch on the comparison: the step is a
// conditional move, so a lookup among thousands of windows pays for its
// extra halvings and not for mispredicted jumps as well.
int registryFind(std::uint32_t handle) {
  if (gCount == 0) return -1;
  const WindowRegistryEntry* base = gEntries;
  for (unsigned n = gCount; n > 1;) {
    const unsigned half = n / 2;
    base = base[half].handle <= handle ? base + half : base;
    n -= half;
  }
  return base->handle == handle ? static_cast<int>(base - gEntries) : -1;
}

int registryAdd(std::uint32_t handle, TulObject* object) {
  int found = registryFind(handle);
  if (found >= 0) {
    gEntries[found].object = object;
    return found;
  }
  if (gCount == gCapacity) {
    void* grown = reallocmem(gEntries, (gCapacity + kGrowth) * sizeof(WindowRegistryEntry));
    if (!grown) return -1;
    gEntries = static_cast<WindowRegistryEntry*>(grown);
    gCapacity += kGrowth;
  }
  unsigned at = 0;
  while (at < gCount && gEntries[at].handle < handle) ++at;
  std::memmove(gEntries + at + 1, gEntries + at, (gCount - at) * sizeof(WindowRegistryEntry));
  gEntries[at] = {handle, object};
  ++gCount;
  return static_cast<int>(at);
}

bool registryRemove(std::uint32_t handle) {
  int i = registryFind(handle);
  if (i < 0) return false;
  unsigned at = static_cast<unsigned>(i);
  std::memmove(gEntries + at, gEntries + at + 1, (gCount - at - 1) * sizeof(WindowRegistryEntry));
  --gCount;
  return true;
}

void registryForget(const TulObject* object) {
  unsigned kept = 0;
  for (unsigned i = 0; i < gCount; ++i)
    if (gEntries[i].object != object) gEntries[kept++] = gEntries[i];
  gCount = kept;
}

TulObject* registryObject(int index) {
  return index >= 0 && static_cast<unsigned>(index) < gCount ? gEntries[index].object : nullptr;
}

TulObject* registryLookup(std::uint32_t handle) {
  const int i = registryFind(handle);
  return i >= 0 ? gEntries[i].object : nullptr;
}

unsigned registryCount() { return gCount; }
unsigned registryCapacity() { return gCapacity; }

// The host's raw allocation functions. The library frees what they return
// with the C runtime's free, so they must be malloc and realloc themselves.
#include <cstdint>
#include <cstdlib>
#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "host/vm.h"
#include "runtime/machine_impl.h"

namespace {
std::size_t gContainerLimit = 0;  // bytes; 0: none
}  // namespace

namespace tulrt {

void setContainerLimit(std::size_t bytes) { gContainerLimit = bytes; }

namespace detail {
bool withinContainerLimit(std::size_t bytes) {
  return gContainerLimit == 0 || bytes <= gContainerLimit;
}

#if defined(__linux__) && defined(MADV_HUGEPAGE)

namespace {

constexpr std::size_t kHugePage = kLargeRound;

std::size_t hugeBytes(std::size_t bytes) { return (bytes + kHugePage - 1) / kHugePage * kHugePage; }

}  // namespace

// Mapped with a huge page of slack, then trimmed to an aligned start; the
// mapping is zero-filled and the pages are made at first touch.
void* allocLarge(std::size_t bytes) {
  const std::size_t size = hugeBytes(bytes);
  if (size < bytes || size + kHugePage < size) return nullptr;
  void* mapped = mmap(nullptr, size + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  const auto at = reinterpret_cast<std::uintptr_t>(mapped);
  const std::uintptr_t start = (at + kHugePage - 1) / kHugePage * kHugePage;
  if (start > at) munmap(mapped, start - at);
  munmap(reinterpret_cast<void*>(start + size), at + kHugePage - start);
  madvise(reinterpret_cast<void*>(start), size, MADV_HUGEPAGE);
  return reinterpret_cast<void*>(start);
}

void freeLarge(void* block, std::size_t bytes) {
  if (block) munmap(block, hugeBytes(bytes));
}

#else

void* allocLarge(std::size_t bytes) { return std::calloc(bytes, 1); }

void freeLarge(void* block, std::size_t) { std::free(block); }

#endif
}  // namespace detail

}  // namespace tulrt

void* allocmem(unsigned size) { return std::malloc(size); }

void* reallocmem(void* block, unsigned size) { return std::realloc(block, size); }

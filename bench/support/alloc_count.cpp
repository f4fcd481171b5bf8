// The counting allocator (see alloc_count.h). The benchmark programs are
// single-threaded, so a plain counter will do. glibc exports its allocator
// under __libc_* names, which lets these definitions forward to it.
#include "bench/support/alloc_count.h"

#include <cstddef>

#include "host/tul.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
}

namespace {
unsigned long gAllocations = 0;
}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept {
  ++gAllocations;
  return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  ++gAllocations;
  return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
  ++gAllocations;
  return __libc_realloc(block, size);
}

void free(void* block) noexcept { __libc_free(block); }

}  // extern "C"

namespace bench {

unsigned long allocations() { return gAllocations; }

bool allocationsAreCounted() {
  const unsigned long before = gAllocations;
  const TulValue made(new TulBuffer());
  return gAllocations > before;
}

}  // namespace bench

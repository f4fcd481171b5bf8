// The host's raw allocation functions. The library frees what they return
// with the C runtime's free, so they must be malloc and realloc themselves.
#include <cstdlib>

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
}  // namespace detail

}  // namespace tulrt

void* allocmem(unsigned size) { return std::malloc(size); }

void* reallocmem(void* block, unsigned size) { return std::realloc(block, size); }

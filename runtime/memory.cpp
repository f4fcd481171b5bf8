// The host's raw allocation functions. The library frees what they return
// with the C runtime's free, so they must be malloc and realloc themselves.
#include <cstdlib>

#include "host/vm.h"

void* allocmem(unsigned size) { return std::malloc(size); }

void* reallocmem(void* block, unsigned size) { return std::realloc(block, size); }

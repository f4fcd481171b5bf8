// Counts the process's allocations. The program's own malloc, calloc and
// realloc count each call and hand it to the C library's allocator; operator
// new (which calls malloc) and the host's allocmem (malloc too) are counted
// with them, wherever in the process they are called from.
#pragma once

namespace bench {

// Allocations made so far by this thread's process (malloc, calloc,
// realloc; free is not counted).
unsigned long allocations();

// True when the counter sees an allocation made inside the host runtime: the
// check that the program's allocator really replaced the C library's.
bool allocationsAreCounted();

}  // namespace bench

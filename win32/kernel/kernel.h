// The kernel32 side of the layer seen from the rest of it: the last error
// and the simulated clock. Invariant: time only moves when something asks it
// to (Sleep, a waiting GetMessageA, the simulated user), never by itself.
#ifndef TUL_WIN32_KERNEL_KERNEL_H
#define TUL_WIN32_KERNEL_KERNEL_H

#include <windows.h>

namespace w32 {

DWORD clockNow();
void clockAdvance(DWORD ms);

// The module handle that GetModuleHandleA(NULL) answers.
HINSTANCE mainModule();

}  // namespace w32

#endif

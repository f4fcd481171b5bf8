// The kernel32 objects that programs hold by handle: open files and file
// searches. Invariant: a handle is given once and never reused while the
// process lives, and it names one object of one kind; asking for it as
// another kind finds nothing, as the system's handle checks do.
#ifndef TUL_WIN32_KERNEL_HANDLES_H
#define TUL_WIN32_KERNEL_HANDLES_H

#include <windows.h>

#include <memory>
#include <vector>

namespace w32 {

enum class KernelKind { File, Search };

struct KernelObject {
  explicit KernelObject(KernelKind k) : kind(k) {}
  virtual ~KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;

  const KernelKind kind;
};

// Gives the object a handle of the kernel range and keeps it until the
// handle is closed. NULL (ERROR_TOO_MANY_OPEN_FILES set) when the range is
// used up.
HANDLE kernelHandleOpen(std::unique_ptr<KernelObject> object);

// The live object of that kind behind h, else null (no error set).
KernelObject* kernelObject(HANDLE h, KernelKind kind);

// Ends the object of that kind behind h; false when there is none.
bool kernelHandleClose(HANDLE h, KernelKind kind);

// Every live object of a kind, oldest first (borrowed pointers).
std::vector<KernelObject*> kernelObjects(KernelKind kind);

// Live handles of every kind, for the simulated user's counters.
int liveKernelHandleCount();

}  // namespace w32

#endif

// The kernel handle table and CloseHandle. Handles are multiples of 4, as
// the system's are, in a range of their own below the window handles.
// Invariant: a slot, once emptied, stays empty, so a stale handle never
// reaches a newer object.
#include "kernel/handles.h"

namespace w32 {

namespace {

constexpr ULONG_PTR kKernelBase = 0x00C00004;
constexpr ULONG_PTR kKernelStep = 4;
constexpr ULONG_PTR kKernelLast = 0x00FFFFFC;  // the window handles start above

// The pseudo-handles of the current process and thread, which close
// without effect.
const HANDLE kCurrentProcess = reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1));
const HANDLE kCurrentThread = reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-2));

struct KernelTable {
  std::vector<std::unique_ptr<KernelObject>> slots;
  int live = 0;
};

KernelTable& table() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static KernelTable& t = *new KernelTable;
  return t;
}

std::unique_ptr<KernelObject>* slotOf(HANDLE h) {
  ULONG_PTR v = reinterpret_cast<ULONG_PTR>(h);
  if (v < kKernelBase || (v - kKernelBase) % kKernelStep != 0) return nullptr;
  size_t index = (v - kKernelBase) / kKernelStep;
  if (index >= table().slots.size()) return nullptr;
  return &table().slots[index];
}

}  // namespace

HANDLE kernelHandleOpen(std::unique_ptr<KernelObject> object) {
  KernelTable& t = table();
  ULONG_PTR value = kKernelBase + t.slots.size() * kKernelStep;
  if (value > kKernelLast) {
    SetLastError(ERROR_TOO_MANY_OPEN_FILES);
    return NULL;
  }
  t.slots.push_back(std::move(object));
  ++t.live;
  return reinterpret_cast<HANDLE>(value);
}

KernelObject* kernelObject(HANDLE h, KernelKind kind) {
  std::unique_ptr<KernelObject>* slot = slotOf(h);
  if (!slot || !*slot || (*slot)->kind != kind) return nullptr;
  return slot->get();
}

bool kernelHandleClose(HANDLE h, KernelKind kind) {
  if (!kernelObject(h, kind)) return false;
  // Out of the table before the object goes, so that its destructor (a
  // file deleted on close) sees the table without it.
  std::unique_ptr<KernelObject> object = std::move(*slotOf(h));
  --table().live;
  return true;
}

std::vector<KernelObject*> kernelObjects(KernelKind kind) {
  std::vector<KernelObject*> found;
  for (const std::unique_ptr<KernelObject>& slot : table().slots)
    if (slot && slot->kind == kind) found.push_back(slot.get());
  return found;
}

int liveKernelHandleCount() { return table().live; }

}  // namespace w32

extern "C" {

// Search handles belong to FindClose, as on the system, where they are not
// kernel handles at all.
BOOL WINAPI CloseHandle(HANDLE hObject) {
  if (hObject == w32::kCurrentProcess || hObject == w32::kCurrentThread) return TRUE;
  if (w32::kernelHandleClose(hObject, w32::KernelKind::File)) return TRUE;
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}

}  // extern "C"

// Global and local memory: the blocks a program hands to the clipboard and
// an edit control by handle. A fixed block's handle is its address; a
// moveable block's handle is a number of its own that GlobalLock turns into
// the address (the blocks never move, so a lock only counts). Local memory
// is the same heap under the other names, as on the 32-bit system.
// Invariant: a handle is given once and never reused while the process
// lives, so a freed handle finds nothing (ERROR_INVALID_HANDLE).
#include <windows.h>

#include <cstdlib>
#include <cstdint>
#include <map>

namespace {

struct MemoryBlock {
  void* data = nullptr;
  SIZE_T size = 0;
  int locks = 0;
};

// Moveable handles count up from here in steps of 8 (never a valid
// address of a block of ours, which malloc aligns to 8 or more).
constexpr uintptr_t kFirstMoveableHandle = 0x00200004;

struct MemoryTable {
  std::map<uintptr_t, MemoryBlock> blocks;  // by handle
  uintptr_t next = kFirstMoveableHandle;
};

MemoryTable& memory() {
  static MemoryTable t;
  return t;
}

MemoryBlock* findBlock(HGLOBAL h) {
  auto it = memory().blocks.find(reinterpret_cast<uintptr_t>(h));
  if (it != memory().blocks.end()) return &it->second;
  SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

}  // namespace

extern "C" {

HGLOBAL WINAPI GlobalAlloc(UINT uFlags, SIZE_T dwBytes) {
  // A zero-byte block still gets an address, so the handle locks.
  void* data =
      (uFlags & GMEM_ZEROINIT) ? calloc(1, dwBytes ? dwBytes : 1) : malloc(dwBytes ? dwBytes : 1);
  if (!data) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return NULL;
  }
  MemoryTable& t = memory();
  uintptr_t handle = reinterpret_cast<uintptr_t>(data);
  if (uFlags & GMEM_MOVEABLE) {
    handle = t.next;
    t.next += 8;
  }
  t.blocks[handle] = MemoryBlock{data, dwBytes, 0};
  return reinterpret_cast<HGLOBAL>(handle);
}

LPVOID WINAPI GlobalLock(HGLOBAL hMem) {
  MemoryBlock* b = findBlock(hMem);
  if (!b) return NULL;
  ++b->locks;
  return b->data;
}

BOOL WINAPI GlobalUnlock(HGLOBAL hMem) {
  MemoryBlock* b = findBlock(hMem);
  if (!b) return FALSE;
  // TRUE while locks remain; FALSE with NO_ERROR once the last goes.
  if (b->locks > 0) --b->locks;
  SetLastError(NO_ERROR);
  return b->locks > 0;
}

SIZE_T WINAPI GlobalSize(HGLOBAL hMem) {
  MemoryBlock* b = findBlock(hMem);
  return b ? b->size : 0;
}

HGLOBAL WINAPI GlobalFree(HGLOBAL hMem) {
  MemoryBlock* b = findBlock(hMem);
  if (!b) return hMem;
  free(b->data);
  memory().blocks.erase(reinterpret_cast<uintptr_t>(hMem));
  return NULL;
}

HLOCAL WINAPI LocalAlloc(UINT uFlags, SIZE_T uBytes) { return GlobalAlloc(uFlags, uBytes); }
LPVOID WINAPI LocalLock(HLOCAL hMem) { return GlobalLock(hMem); }
BOOL WINAPI LocalUnlock(HLOCAL hMem) { return GlobalUnlock(hMem); }
SIZE_T WINAPI LocalSize(HLOCAL hMem) { return GlobalSize(hMem); }
HLOCAL WINAPI LocalFree(HLOCAL hMem) { return GlobalFree(hMem); }

}  // extern "C"

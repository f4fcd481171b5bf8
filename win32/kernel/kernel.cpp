// kernel32: the thread's last error, module handles and the simulated clock
// behind GetTickCount and Sleep. Invariant: the layer has exactly one
// thread, so the "thread" last error is one process-wide value.
#include "kernel/kernel.h"

#include <dlfcn.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace w32 {

namespace {

struct KernelState {
  DWORD lastError = 0;
  DWORD clock = 1000;  // milliseconds; an arbitrary non-zero start
};

KernelState& kernel() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static KernelState& state = *new KernelState;
  return state;
}

// The image base of a 32-bit executable, as the system gives it.
constexpr ULONG_PTR kExeModule = 0x00400000;

struct SystemModule {
  const char* name;
  ULONG_PTR base;
};

constexpr SystemModule kSystemModules[] = {
    {"kernel32", 0x7b000000}, {"user32", 0x7b100000},   {"gdi32", 0x7b200000},
    {"comctl32", 0x7b300000}, {"comdlg32", 0x7b400000}, {"uxtheme", 0x7b500000},
};

bool sameModuleName(const char* asked, const char* name) {
  size_t n = strlen(name);
  if (strncasecmp(asked, name, n) != 0) return false;
  return asked[n] == '\0' || strcasecmp(asked + n, ".dll") == 0;
}

}  // namespace

DWORD clockNow() { return kernel().clock; }

void clockAdvance(DWORD ms) { kernel().clock += ms; }

HINSTANCE mainModule() { return reinterpret_cast<HINSTANCE>(kExeModule); }

}  // namespace w32

extern "C" {

DWORD WINAPI GetLastError(void) { return w32::kernel().lastError; }

void WINAPI SetLastError(DWORD dwErrCode) { w32::kernel().lastError = dwErrCode; }

HMODULE WINAPI GetModuleHandleA(LPCSTR lpModuleName) {
  if (!lpModuleName) return w32::mainModule();
  for (const w32::SystemModule& m : w32::kSystemModules)
    if (w32::sameModuleName(lpModuleName, m.name)) return reinterpret_cast<HMODULE>(m.base);
  SetLastError(ERROR_MOD_NOT_FOUND);
  return NULL;
}

// The system's DLLs load once and stay: loading one gives its fixed handle.
HMODULE WINAPI LoadLibraryA(LPCSTR lpLibFileName) {
  if (!lpLibFileName) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return NULL;
  }
  return GetModuleHandleA(lpLibFileName);
}

BOOL WINAPI FreeLibrary(HMODULE hLibModule) {
  for (const w32::SystemModule& m : w32::kSystemModules)
    if (reinterpret_cast<HMODULE>(m.base) == hLibModule) return TRUE;
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}

// Every system DLL's exports are the layer's own exported functions, found
// by name in the layer's shared object; ordinals are not supported.
FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName) {
  bool system = false;
  for (const w32::SystemModule& m : w32::kSystemModules)
    system = system || reinterpret_cast<HMODULE>(m.base) == hModule;
  if (!system || !lpProcName || IS_INTRESOURCE(lpProcName)) {
    SetLastError(system ? ERROR_PROC_NOT_FOUND : ERROR_MOD_NOT_FOUND);
    return NULL;
  }
  Dl_info self;
  void* layer = nullptr;
  if (dladdr(reinterpret_cast<void*>(&GetProcAddress), &self) && self.dli_fname)
    layer = dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  void* fn = layer ? dlsym(layer, lpProcName) : nullptr;
  if (layer) dlclose(layer);
  if (!fn) {
    SetLastError(ERROR_PROC_NOT_FOUND);
    return NULL;
  }
  return reinterpret_cast<FARPROC>(fn);
}

DWORD WINAPI GetTickCount(void) { return w32::clockNow(); }

void WINAPI Sleep(DWORD dwMilliseconds) { w32::clockAdvance(dwMilliseconds); }

void WINAPI OutputDebugStringA(LPCSTR lpOutputString) {
  if (lpOutputString) fprintf(stderr, "%s", lpOutputString);
}

// Comparisons by the C locale's order, as the system's for ASCII text.
int WINAPI lstrcmpiA(LPCSTR lpString1, LPCSTR lpString2) {
  int r = strcasecmp(lpString1 ? lpString1 : "", lpString2 ? lpString2 : "");
  return (r > 0) - (r < 0);
}

int WINAPI lstrcmpA(LPCSTR lpString1, LPCSTR lpString2) {
  int r = strcmp(lpString1 ? lpString1 : "", lpString2 ? lpString2 : "");
  return (r > 0) - (r < 0);
}

// A null string has no characters.
int WINAPI lstrlenA(LPCSTR lpString) { return lpString ? static_cast<int>(strlen(lpString)) : 0; }

// The process heap is the C library's: one heap, blocks that remember their
// size so HEAP_ZERO_MEMORY can clear what a reallocation adds.
namespace {
struct HeapBlock {
  SIZE_T size;
  alignas(8) unsigned char data[1];
};
constexpr SIZE_T kHeapHeader = offsetof(HeapBlock, data);
HeapBlock* heapBlock(LPVOID mem) {
  return reinterpret_cast<HeapBlock*>(static_cast<unsigned char*>(mem) - kHeapHeader);
}
HANDLE const kProcessHeap = reinterpret_cast<HANDLE>(0x00150000);
}  // namespace

HANDLE WINAPI GetProcessHeap(void) { return kProcessHeap; }

LPVOID WINAPI HeapAlloc(HANDLE, DWORD dwFlags, SIZE_T dwBytes) {
  auto* block = static_cast<HeapBlock*>(malloc(kHeapHeader + dwBytes));
  if (!block) return NULL;
  block->size = dwBytes;
  if (dwFlags & HEAP_ZERO_MEMORY) memset(block->data, 0, dwBytes);
  return block->data;
}

LPVOID WINAPI HeapReAlloc(HANDLE heap, DWORD dwFlags, LPVOID lpMem, SIZE_T dwBytes) {
  if (!lpMem) return HeapAlloc(heap, dwFlags, dwBytes);
  SIZE_T old = heapBlock(lpMem)->size;
  auto* block = static_cast<HeapBlock*>(realloc(heapBlock(lpMem), kHeapHeader + dwBytes));
  if (!block) return NULL;
  block->size = dwBytes;
  if ((dwFlags & HEAP_ZERO_MEMORY) && dwBytes > old) memset(block->data + old, 0, dwBytes - old);
  return block->data;
}

BOOL WINAPI HeapFree(HANDLE, DWORD, LPVOID lpMem) {
  if (lpMem) free(heapBlock(lpMem));
  return TRUE;
}

int WINAPI MulDiv(int nNumber, int nNumerator, int nDenominator) {
  if (nDenominator == 0) return -1;
  long long product = static_cast<long long>(nNumber) * nNumerator;
  long long den = nDenominator;
  bool negative = (product < 0) != (den < 0);
  long long a = product < 0 ? -product : product;
  long long b = den < 0 ? -den : den;
  long long result = (a + b / 2) / b;  // halves round away from zero
  if (negative) result = -result;
  if (result > 0x7fffffffLL || result < -0x7fffffffLL - 1) return -1;
  return static_cast<int>(result);
}

}  // extern "C"

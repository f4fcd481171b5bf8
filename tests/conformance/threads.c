/* Threads for the test files whose threads only do their work and end
 * (files.txt marks them "threads-in-place"; the script passes that on as
 * WINETEST_THREADS). The layer runs all its windows on one thread, so the
 * harness runs a thread's procedure to completion when it is created, on
 * the creating thread: for a test that only waits for the thread to end,
 * that is the same sequence of calls into the layer. Elsewhere CreateThread
 * fails with ERROR_CALL_NOT_IMPLEMENTED, as threads are not provided.
 * Invariant: a handle this file gave out stays valid until CloseHandle. */
#include "gaps.h"

#include <stdlib.h>
#include <string.h>

enum { kMaxThreads = 64 };

static struct {
  BOOL used;
  DWORD exitCode;
} g_threads[kMaxThreads];

static int threadIndex(HANDLE handle) {
  UINT_PTR i = (UINT_PTR)handle - 0x7000;
  if ((UINT_PTR)handle < 0x7000 || i % 4 || i / 4 >= kMaxThreads || !g_threads[i / 4].used) return -1;
  return (int)(i / 4);
}

HANDLE WINAPI CreateThread(LPVOID attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                           LPVOID parameter, DWORD flags, LPDWORD threadId) {
  (void)attributes, (void)stackSize;
  int i = 0;
  while (i < kMaxThreads && g_threads[i].used) ++i;
  const char* mode = getenv("WINETEST_THREADS");
  if (!mode || strcmp(mode, "in-place") != 0 || !start || flags || i == kMaxThreads) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return NULL;
  }
  g_threads[i].used = TRUE;
  if (threadId) *threadId = GetCurrentThreadId();
  g_threads[i].exitCode = start(parameter);
  return (HANDLE)(UINT_PTR)(0x7000 + 4 * i);
}

DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  (void)milliseconds;
  if (threadIndex(handle) >= 0) return WAIT_OBJECT_0;
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return 0xFFFFFFFF;  // WAIT_FAILED
}

BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exitCode) {
  int i = threadIndex(thread);
  if (i < 0 || !exitCode) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  *exitCode = g_threads[i].exitCode;
  return TRUE;
}

BOOL WINAPI CloseHandle(HANDLE handle) {
  int i = threadIndex(handle);
  if (i < 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  g_threads[i].used = FALSE;
  return TRUE;
}

// The clipboard: who owns it and when, what fails while it is closed, what
// WM_DESTROYCLIPBOARD tells, and that data outlives its owner; the global
// memory block it is given. Counts and formats are read while it is open,
// before the system adds the formats it makes from CF_TEXT at the close.
#include "probe.h"

using namespace probe;

namespace {

bool g_destroyClipboard;  // the window A heard WM_DESTROYCLIPBOARD

LRESULT CALLBACK clipProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (msg == WM_DESTROYCLIPBOARD) g_destroyClipboard = true;
  return DefWindowProcA(hwnd, msg, wp, lp);
}

HGLOBAL textBlock(const char* s) {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, strlen(s) + 1);
  strcpy(static_cast<char*>(GlobalLock(h)), s);
  GlobalUnlock(h);
  return h;
}

void memory() {
  HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE, 10);
  void* p = GlobalLock(h);
  printf("moveable: locked %d, the handle is not the address %d, size %lu\n", p != NULL,
         p != static_cast<void*>(h), static_cast<unsigned long>(GlobalSize(h)));
  GlobalLock(h);
  BOOL first = GlobalUnlock(h);
  SetLastError(0xdead);
  BOOL last = GlobalUnlock(h);
  printf("unlock: %d, last %d err %lu; free %d\n", first != 0, last != 0, GetLastError(),
         GlobalFree(h) == NULL);
}

void clipboard() {
  HWND a = createNamed("ProbeClip", "A", WS_OVERLAPPEDWINDOW, NULL);
  HWND b = createNamed("ProbeClip", "B", WS_OVERLAPPEDWINDOW, NULL);
  // Each call that changes something in its own statement: the order of
  // printf's arguments is unspecified.
  SetLastError(0);
  BOOL r = EmptyClipboard();
  printf("closed: empty %d err %lu,", r, GetLastError());
  SetLastError(0);
  r = GetClipboardData(CF_TEXT) != NULL;
  printf(" get %d err %lu\n", r, GetLastError());
  r = OpenClipboard(a);
  printf("open A %d, opener %s\n", r, hname(GetOpenClipboardWindow()));
  r = EmptyClipboard();
  printf("empty %d, owner %s\n", r, hname(GetClipboardOwner()));
  HGLOBAL text = textBlock("abc");
  r = SetClipboardData(CF_TEXT, text) == text;
  printf("set CF_TEXT: the block %d, available %d, count %d, first %u\n", r,
         IsClipboardFormatAvailable(CF_TEXT), CountClipboardFormats(), EnumClipboardFormats(0));
  r = CloseClipboard();
  printf("close %d, opener %s,", r, hname(GetOpenClipboardWindow()));
  r = CloseClipboard();
  printf(" again %d err %lu\n", r, GetLastError());
  OpenClipboard(b);
  const char* p = static_cast<const char*>(GlobalLock(GetClipboardData(CF_TEXT)));
  printf("B reads \"%s\"; owner %s\n", p ? p : "(null)", hname(GetClipboardOwner()));
  GlobalUnlock(GetClipboardData(CF_TEXT));
  EmptyClipboard();
  SetClipboardData(CF_TEXT, textBlock("xyz"));
  CloseClipboard();
  printf("B emptied it: A heard WM_DESTROYCLIPBOARD %d, owner %s\n", g_destroyClipboard,
         hname(GetClipboardOwner()));
  DestroyWindow(b);
  OpenClipboard(a);
  p = static_cast<const char*>(GlobalLock(GetClipboardData(CF_TEXT)));
  printf("B destroyed: owner %s, the data \"%s\"\n", hname(GetClipboardOwner()), p ? p : "(null)");
  CloseClipboard();
  OpenClipboard(a);
  DestroyWindow(a);
  printf("A destroyed while it had it open: opener %s\n", hname(GetOpenClipboardWindow()));
}

}  // namespace

int main() {
  registerClass("ProbeClip", clipProc);
  memory();
  clipboard();
}

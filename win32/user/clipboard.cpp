// The clipboard: one for the whole desktop (the layer runs one session).
// A window opens it, EmptyClipboard makes the opener its owner (the old
// owner hears WM_DESTROYCLIPBOARD), SetClipboardData gives it memory blocks
// by format, which the clipboard then owns and frees when it is emptied.
// Invariant: a handle kept here is the clipboard's own, freed only by it;
// a null one is a format the owner renders when asked (WM_RENDERFORMAT).
#include "user/user.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace w32 {

namespace {

struct Clipboard {
  bool open = false;
  HWND opener = nullptr;  // the window that opened it (null is allowed)
  HWND owner = nullptr;   // the window that last emptied it
  std::vector<std::pair<UINT, HANDLE>> formats;  // in the order they were set
};

Clipboard& clipboard() {
  static Clipboard c;
  return c;
}

bool requireOpen() {
  if (clipboard().open) return true;
  SetLastError(ERROR_CLIPBOARD_NOT_OPEN);
  return false;
}

std::vector<std::pair<UINT, HANDLE>>::iterator findFormat(UINT format) {
  auto& f = clipboard().formats;
  return std::find_if(f.begin(), f.end(), [format](const auto& e) { return e.first == format; });
}

void freeFormats() {
  for (auto& e : clipboard().formats)
    if (e.second) GlobalFree(e.second);
  clipboard().formats.clear();
}

}  // namespace

// A window going away stops being the opener (the clipboard closes) and the
// owner; its data stays, except formats it had promised to render.
void clipboardForgetWindow(HWND hwnd) {
  Clipboard& c = clipboard();
  if (c.open && c.opener == hwnd) {
    c.open = false;
    c.opener = nullptr;
  }
  if (c.owner != hwnd) return;
  c.owner = nullptr;
  auto& f = c.formats;
  f.erase(std::remove_if(f.begin(), f.end(), [](const auto& e) { return !e.second; }), f.end());
}

}  // namespace w32

using namespace w32;

extern "C" {

// Opening again while open (there is one thread) only changes the opener.
BOOL WINAPI OpenClipboard(HWND hWndNewOwner) {
  if (hWndNewOwner && !checkWindow(hWndNewOwner)) return FALSE;
  clipboard().open = true;
  clipboard().opener = hWndNewOwner;
  return TRUE;
}

BOOL WINAPI CloseClipboard(void) {
  if (!requireOpen()) return FALSE;
  clipboard().open = false;
  clipboard().opener = nullptr;
  return TRUE;
}

BOOL WINAPI EmptyClipboard(void) {
  if (!requireOpen()) return FALSE;
  HWND old = clipboard().owner;
  if (old) sendMessage(old, WM_DESTROYCLIPBOARD, 0, 0);
  freeFormats();
  clipboard().owner = clipboard().opener;
  return TRUE;
}

HANDLE WINAPI SetClipboardData(UINT uFormat, HANDLE hMem) {
  if (!requireOpen()) return NULL;
  auto it = findFormat(uFormat);
  if (it == clipboard().formats.end()) {
    clipboard().formats.emplace_back(uFormat, hMem);
    return hMem;
  }
  if (it->second && it->second != hMem) GlobalFree(it->second);
  it->second = hMem;
  return hMem;
}

HANDLE WINAPI GetClipboardData(UINT uFormat) {
  if (!requireOpen()) return NULL;
  auto it = findFormat(uFormat);
  if (it == clipboard().formats.end()) return NULL;
  if (!it->second && clipboard().owner) {
    sendMessage(clipboard().owner, WM_RENDERFORMAT, uFormat, 0);
    it = findFormat(uFormat);  // the owner's SetClipboardData may have moved it
    if (it == clipboard().formats.end()) return NULL;
  }
  return it->second;
}

BOOL WINAPI IsClipboardFormatAvailable(UINT format) {
  return findFormat(format) != clipboard().formats.end();
}

int WINAPI CountClipboardFormats(void) { return static_cast<int>(clipboard().formats.size()); }

// The format after `format` in the order they were set (0 starts); 0 with
// NO_ERROR at the end.
UINT WINAPI EnumClipboardFormats(UINT format) {
  if (!requireOpen()) return 0;
  auto& f = clipboard().formats;
  auto it = format ? findFormat(format) : f.begin();
  if (format && it != f.end()) ++it;
  SetLastError(NO_ERROR);
  return it == f.end() ? 0 : it->first;
}

HWND WINAPI GetClipboardOwner(void) { return clipboard().owner; }

HWND WINAPI GetOpenClipboardWindow(void) { return clipboard().open ? clipboard().opener : nullptr; }

}  // extern "C"

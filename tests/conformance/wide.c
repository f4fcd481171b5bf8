/* The few Unicode entry points a test file needs before its first check,
 * for names that are plain ASCII: they convert and call the layer's 8-bit
 * form. The layer itself has no Unicode functions; the test functions that
 * exercise Unicode behaviour are left out (skipped.txt).
 * Invariant: a name outside ASCII fails with ERROR_CALL_NOT_IMPLEMENTED
 * rather than being mangled. */
#include "gaps.h"

enum { kNameSize = 256 };

static BOOL narrow(LPCWSTR in, char* out) {
  if (IS_INTRESOURCE(in)) return FALSE;
  for (int i = 0; i < kNameSize; ++i) {
    if (in[i] > 127) return FALSE;
    out[i] = (char)in[i];
    if (!in[i]) return TRUE;
  }
  return FALSE;
}

ATOM WINAPI RegisterClassW(const WNDCLASSW* wc) {
  char name[kNameSize], menu[kNameSize];
  if (!wc || !narrow(wc->lpszClassName, name) ||
      (wc->lpszMenuName && !IS_INTRESOURCE(wc->lpszMenuName) && !narrow(wc->lpszMenuName, menu))) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  WNDCLASSA a;
  memcpy(&a, wc, sizeof a);
  a.lpszClassName = name;
  a.lpszMenuName = wc->lpszMenuName && !IS_INTRESOURCE(wc->lpszMenuName) ? menu
                                                                        : (LPCSTR)wc->lpszMenuName;
  return RegisterClassA(&a);
}

static void widenFont(const LOGFONTA* in, LOGFONTW* out) {
  memcpy(out, in, offsetof(LOGFONTA, lfFaceName));
  for (int i = 0; i < 32; ++i) out->lfFaceName[i] = (unsigned char)in->lfFaceName[i];
}

/* Only the non-client metrics, whose numbers are the 8-bit form's. */
BOOL WINAPI SystemParametersInfoW(UINT action, UINT param, PVOID value, UINT winIni) {
  if (action != SPI_GETNONCLIENTMETRICS || !value) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  NONCLIENTMETRICSW* w = value;
  NONCLIENTMETRICSA a;
  a.cbSize = w->cbSize == sizeof *w ? sizeof a : offsetof(NONCLIENTMETRICSA, iPaddedBorderWidth);
  if (!SystemParametersInfoA(action, param, &a, winIni)) return FALSE;
  memcpy(&w->iBorderWidth, &a.iBorderWidth, 5 * sizeof(int));
  widenFont(&a.lfCaptionFont, &w->lfCaptionFont);
  w->iSmCaptionWidth = a.iSmCaptionWidth;
  w->iSmCaptionHeight = a.iSmCaptionHeight;
  widenFont(&a.lfSmCaptionFont, &w->lfSmCaptionFont);
  w->iMenuWidth = a.iMenuWidth;
  w->iMenuHeight = a.iMenuHeight;
  widenFont(&a.lfMenuFont, &w->lfMenuFont);
  widenFont(&a.lfStatusFont, &w->lfStatusFont);
  widenFont(&a.lfMessageFont, &w->lfMessageFont);
  if (w->cbSize == sizeof *w) w->iPaddedBorderWidth = a.iPaddedBorderWidth;
  return TRUE;
}

BOOL WINAPI GetClassInfoExW(HINSTANCE instance, LPCWSTR name, WNDCLASSEXW* info) {
  char narrowName[kNameSize];
  LPCSTR asked = IS_INTRESOURCE(name) ? (LPCSTR)name : narrowName;
  if (!IS_INTRESOURCE(name) && !narrow(name, narrowName)) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  WNDCLASSEXA a;
  a.cbSize = sizeof a;
  ATOM atom = (ATOM)GetClassInfoExA(instance, asked, info ? &a : NULL);
  if (!atom) return FALSE;
  /* The names stay the caller's: the menu name of a class registered
   * through the 8-bit form has no wide copy here. */
  info->style = a.style;
  info->lpfnWndProc = a.lpfnWndProc;
  info->cbClsExtra = a.cbClsExtra;
  info->cbWndExtra = a.cbWndExtra;
  info->hInstance = a.hInstance;
  info->hIcon = a.hIcon;
  info->hCursor = a.hCursor;
  info->hbrBackground = a.hbrBackground;
  info->lpszMenuName = IS_INTRESOURCE(a.lpszMenuName) ? (LPCWSTR)a.lpszMenuName : NULL;
  info->lpszClassName = name;
  info->hIconSm = a.hIconSm;
  return atom;
}

/* Window data reads and writes the same through either form, except the
 * procedure: the wide form of an 8-bit procedure is a thunk the layer does
 * not make. */
LONG WINAPI GetWindowLongW(HWND hwnd, int index) {
  LONG value = GetWindowLongA(hwnd, index);
  if (index == GWLP_WNDPROC && value) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  return value;
}

/* Messages without text mean the same in either form; those with text (and
 * the controls' own, which the layer does not convert) are refused. */
static BOOL sameInBothForms(UINT message) {
  switch (message) {
  case WM_NCCREATE: case WM_CREATE: case WM_SETTEXT: case WM_GETTEXT: case WM_GETTEXTLENGTH:
  case WM_CHAR: case WM_DEADCHAR: case WM_SYSCHAR: case WM_SYSDEADCHAR: case WM_MDICREATE:
  case 0x0286 /* WM_IME_CHAR */: case 0x030C /* WM_ASKCBFORMATNAME */: case 0x001B /* WM_DEVMODECHANGE */:
  case WM_SETTINGCHANGE:
    return FALSE;
  default:
    return message < WM_USER;
  }
}

LRESULT WINAPI SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (sameInBothForms(message)) return SendMessageA(hwnd, message, wParam, lParam);
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return 0;
}

LRESULT WINAPI DefWindowProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (sameInBothForms(message)) return DefWindowProcA(hwnd, message, wParam, lParam);
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return 0;
}

BOOL WINAPI PostMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (sameInBothForms(message)) return PostMessageA(hwnd, message, wParam, lParam);
  SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
  return FALSE;
}

LONG WINAPI SetWindowLongW(HWND hwnd, int index, LONG value) {
  if (index == GWLP_WNDPROC) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
  }
  return SetWindowLongA(hwnd, index, value);
}

/* Only the system's own icons, named by number. */
HICON WINAPI LoadIconW(HINSTANCE instance, LPCWSTR name) {
  if (!IS_INTRESOURCE(name)) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return NULL;
  }
  return LoadIconA(instance, (LPCSTR)name);
}

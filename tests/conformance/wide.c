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

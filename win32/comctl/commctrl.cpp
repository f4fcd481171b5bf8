// comctl32: the common-controls initialisation. The classes it would load
// are not provided; the call validates its structure as the system does.
// Invariant: InitCommonControlsEx has no effect beyond its answer.
#include <commctrl.h>

extern "C" {

BOOL WINAPI InitCommonControlsEx(const INITCOMMONCONTROLSEX* picce) {
  return picce && picce->dwSize == sizeof(INITCOMMONCONTROLSEX);
}

void WINAPI InitCommonControls(void) {}

BOOL WINAPI IsThemeActive(void) { return FALSE; }

}  // extern "C"

// Accelerator tables: creation and destruction results, and
// TranslateAcceleratorA's matching of keys, characters and modifier states.
#include "probe.h"

using namespace probe;

namespace {

void setModifiers(bool ctrl, bool alt, bool shift) {
  BYTE keys[256] = {};
  if (ctrl) keys[VK_CONTROL] = 0x80;
  if (alt) keys[VK_MENU] = 0x80;
  if (shift) keys[VK_SHIFT] = 0x80;
  SetKeyboardState(keys);
}

void tables() {
  ACCEL one[1] = {{FVIRTKEY | FCONTROL, 'N', 100}};
  SetLastError(0);
  HACCEL none = CreateAcceleratorTableA(one, 0);
  printf("create with 0 entries: %d err=%lu\n", none != NULL, GetLastError());
  HACCEL t = CreateAcceleratorTableA(one, 1);
  printf("create: %d count %d\n", t != NULL, CopyAcceleratorTableA(t, NULL, 0));
  BOOL d1 = DestroyAcceleratorTable(t), d2 = DestroyAcceleratorTable(t),
       d3 = DestroyAcceleratorTable(NULL);
  printf("destroy %d again %d NULL %d\n", d1 != 0, d2 != 0, d3 != 0);
}

void translation() {
  HWND w = createAt("ProbeAccel", "W", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, NULL);
  HWND other = createAt("ProbeAccel", "other", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, NULL);
  ACCEL entries[] = {
      {FVIRTKEY | FCONTROL, 'N', 100},
      {FVIRTKEY | FCONTROL | FSHIFT, 'N', 101},
      {FVIRTKEY, VK_F5, 102},
      {FVIRTKEY | FALT, VK_F5, 103},
      {0, 'x', 104},
      {FALT, 'y', 105},
      {FVIRTKEY | FCONTROL, 'N', 106},  // shadowed by the first entry
  };
  HACCEL t = CreateAcceleratorTableA(entries, sizeof entries / sizeof entries[0]);
  struct Case {
    const char* label;
    UINT msg;
    WPARAM key;
    bool ctrl, alt, shift;
  } const cases[] = {
      {"ctrl+N keydown", WM_KEYDOWN, 'N', true, false, false},
      {"ctrl+shift+N", WM_KEYDOWN, 'N', true, false, true},
      {"N alone", WM_KEYDOWN, 'N', false, false, false},
      {"ctrl+alt+N", WM_KEYDOWN, 'N', true, true, false},
      {"ctrl+N keyup", WM_KEYUP, 'N', true, false, false},
      {"F5", WM_KEYDOWN, VK_F5, false, false, false},
      {"alt+F5 syskeydown", WM_SYSKEYDOWN, VK_F5, false, true, false},
      {"F5 with shift", WM_KEYDOWN, VK_F5, false, false, true},
      {"char x", WM_CHAR, 'x', false, false, false},
      {"char X", WM_CHAR, 'X', false, false, false},
      {"char x with ctrl", WM_CHAR, 'x', true, false, false},
      {"keydown X (virtual key of x)", WM_KEYDOWN, 'X', false, false, false},
      {"char y without alt", WM_CHAR, 'y', false, false, false},
      {"syschar y with alt", WM_SYSCHAR, 'y', false, true, false},
      {"char x with alt", WM_CHAR, 'x', false, true, false},
  };
  for (const Case& c : cases) {
    setModifiers(c.ctrl, c.alt, c.shift);
    MSG msg = {other, c.msg, c.key, 1, 0, {0, 0}};
    clearLog();
    printf("%s: %d", c.label, TranslateAcceleratorA(w, t, &msg) != 0);
    printLog("");
  }
  setModifiers(false, false, false);
  MSG msg = {w, WM_KEYDOWN, VK_F5, 0, 0, {0, 0}};
  printf("NULL window: %d\n", TranslateAcceleratorA(NULL, t, &msg));
  printf("NULL table: %d\n", TranslateAcceleratorA(w, NULL, &msg));
  DestroyAcceleratorTable(t);
  DestroyWindow(w);
  discard(other);
}

}  // namespace

int main() {
  registerClass("ProbeAccel", loggingProc);
  tables();
  translation();
}

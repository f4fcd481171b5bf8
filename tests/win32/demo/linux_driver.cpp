// Runs the scroll demo on the Linux layer the way a person would use it --
// drag the scroll thumb, press an accelerator, look, quit -- then checks
// what it drew and that it left nothing behind, and saves a screenshot.
// Usage: win32_demo [screenshot.png]
#include <windows.h>
#include <win32sim.h>

#include <cstdio>

namespace {

int g_failures;

void check(bool ok, const char* what) {
  if (ok) return;
  ++g_failures;
  fprintf(stderr, "win32_demo: FAILED: %s\n", what);
}

}  // namespace

int main(int argc, char** argv) {
  const char* shot = argc > 1 ? argv[1] : "win32-demo.png";
  int step = 0;
  win32sim::setIdleHook([&] {
    HWND demo = FindWindowA("ScrollDemo", NULL);
    if (!demo) return;
    HWND button = GetWindow(demo, GW_CHILD);
    RECT before, after;
    switch (step++) {
    case 0:
      check(win32sim::pixel(demo, 200, 200) == RGB(200, 0, 0), "red background");
      check(win32sim::pixel(button, 5, 5) == GetSysColor(COLOR_BTNFACE), "the button is drawn");
      GetWindowRect(button, &before);
      win32sim::dragScrollThumb(demo, SB_VERT, {20, 48});
      GetWindowRect(button, &after);
      check(after.top == before.top - 48, "scrolling moved the child button");
      break;
    case 1:
      win32sim::pressKey(VK_DOWN, win32sim::kControl);  // the page-down accelerator
      break;
    case 2: {
      check(GetScrollPos(demo, SB_VERT) > 48, "the accelerator scrolled a page");
      check(win32sim::saveScreenshot(shot), "screenshot written");
      win32sim::pressKey('Q', win32sim::kControl);
      break;
    }
    default:
      break;
    }
  });
  int rc = WinMain(GetModuleHandleA(NULL), NULL, const_cast<LPSTR>(""), SW_SHOWNORMAL);
  win32sim::setIdleHook(nullptr);
  win32sim::Counts left = win32sim::counts();
  check(rc == 0, "WinMain returned 0");
  check(step >= 3, "every step ran");
  check(left.windows == 0, "no window left");
  check(left.gdiObjects == 0 && left.dcs == 0, "no GDI object or DC left");
  check(left.acceleratorTables == 0, "no accelerator table left");
  if (g_failures) return 1;
  printf("win32_demo: ran, scrolled and quit; screenshot %s\n", shot);
  return 0;
}

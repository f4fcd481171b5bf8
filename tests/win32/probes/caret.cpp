// The caret: creating, placing, showing and destroying it.
#include "probe.h"

using namespace probe;

namespace {

void printCaretPos(const char* what) {
  POINT p = {-1, -1};
  BOOL ok = GetCaretPos(&p);
  printf("%s: GetCaretPos %d (%ld,%ld)\n", what, ok, (long)p.x, (long)p.y);
}

void api() {
  puts("-- the caret");
  HWND a = createNamed("ProbeCaret", "A", WS_POPUP | WS_VISIBLE, NULL);
  HWND b = createNamed("ProbeCaret", "B", WS_POPUP | WS_VISIBLE, NULL);
  printCaretPos("before any caret");
  printf("CreateCaret(A, 0x0) %d\n", CreateCaret(a, NULL, 0, 0));
  printCaretPos("created");
  printf("SetCaretPos(5,7) %d\n", SetCaretPos(5, 7));
  printCaretPos("placed");
  SetLastError(0);
  BOOL shownB = ShowCaret(b);
  printf("ShowCaret(B) %d error %lu\n", shownB, (unsigned long)GetLastError());
  SetLastError(0);
  BOOL hiddenB = HideCaret(b);
  printf("HideCaret(B) %d error %lu\n", hiddenB, (unsigned long)GetLastError());
  printf("ShowCaret(A) %d HideCaret(NULL) %d ShowCaret(NULL) %d\n", ShowCaret(a), HideCaret(NULL),
         ShowCaret(NULL));
  printf("CreateCaret(A, 2x9) again %d\n", CreateCaret(a, NULL, 2, 9));
  printCaretPos("A's caret made again");
  printf("CreateCaret(B, 2x9) %d\n", CreateCaret(b, NULL, 2, 9));
  printCaretPos("B took the caret");
  printf("DestroyCaret %d\n", DestroyCaret());
  printCaretPos("destroyed");
  BOOL placed = SetCaretPos(8, 9);
  BOOL shown = ShowCaret(NULL);
  BOOL hidden = HideCaret(NULL);
  printf("without a caret: SetCaretPos %d ShowCaret(NULL) %d HideCaret(NULL) %d DestroyCaret %d\n",
         placed, shown, hidden, DestroyCaret());
  printCaretPos("placed without a caret");
  CreateCaret(a, NULL, 1, 10);
  SetCaretPos(3, 4);
  DestroyWindow(a);
  printCaretPos("owner destroyed");
  DestroyWindow(b);
}

}  // namespace

int main() {
  registerClass("ProbeCaret", loggingProc, (HBRUSH)(COLOR_WINDOW + 1));
  api();
  return 0;
}

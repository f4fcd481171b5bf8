// MessageBoxA without a screen to show it on: the box is written to stderr
// as one line (line breaks of the text become spaces) and answered at once, by the simulated user's queued answer or
// else by the box's default button. Invariant: it never waits.
#include "user/user.h"

#include <win32sim.h>

#include <cstdio>
#include <deque>
#include <string>

namespace w32 {

namespace {

std::deque<int>& queuedAnswers() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static std::deque<int>& answers = *new std::deque<int>;
  return answers;
}

// The buttons of each MB_ type, in order; MB_DEFBUTTONn picks one.
int defaultButton(UINT type) {
  static const int kButtons[][3] = {
      {IDOK, IDOK, IDOK},                // MB_OK
      {IDOK, IDCANCEL, IDCANCEL},        // MB_OKCANCEL
      {IDABORT, IDRETRY, IDIGNORE},      // MB_ABORTRETRYIGNORE
      {IDYES, IDNO, IDCANCEL},           // MB_YESNOCANCEL
      {IDYES, IDNO, IDNO},               // MB_YESNO
      {IDRETRY, IDCANCEL, IDCANCEL},     // MB_RETRYCANCEL
      {IDCANCEL, IDTRYAGAIN, IDCONTINUE} // MB_CANCELTRYCONTINUE
  };
  UINT kind = type & MB_TYPEMASK;
  if (kind > MB_CANCELTRYCONTINUE) kind = MB_OK;
  UINT which = (type >> 8) & 0x3;
  return kButtons[kind][which > 2 ? 0 : which];
}

}  // namespace

}  // namespace w32

namespace win32sim {

void queueMessageBoxAnswer(int id) { w32::queuedAnswers().push_back(id); }

}  // namespace win32sim

using namespace w32;

extern "C" int WINAPI MessageBoxA(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType) {
  if (hWnd && !checkWindow(hWnd)) return 0;
  std::string text = lpText ? lpText : "";
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  fprintf(stderr, "MessageBox [%s]: %s\n", lpCaption ? lpCaption : "Error", text.c_str());
  if (!queuedAnswers().empty()) {
    int answer = queuedAnswers().front();
    queuedAnswers().pop_front();
    return answer;
  }
  return defaultButton(uType);
}

// MessageBoxA without a screen to show it on. The box is answered at once:
// by the simulated user's message box hook when one is set (the tul runner),
// else by the next queued answer or the box's default button, the box being
// written to stderr as one line (line breaks of the text become spaces).
// Invariant: it never waits, and it answers only with a button the box has.
#include "user/user.h"

#include <win32sim.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <string>

namespace w32 {

namespace {

struct MessageBoxes {
  std::deque<int> answers;
  win32sim::MessageBoxHook hook;
};

MessageBoxes& boxes() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static MessageBoxes& b = *new MessageBoxes;
  return b;
}

// The buttons of each MB_ type, left to right; a type past the last is
// MB_OK's. The Help button (MB_HELP) closes nothing, so it answers nothing.
std::vector<int> buttonsOf(UINT type) {
  static const std::vector<int> kButtons[] = {
      {IDOK},                             // MB_OK
      {IDOK, IDCANCEL},                   // MB_OKCANCEL
      {IDABORT, IDRETRY, IDIGNORE},       // MB_ABORTRETRYIGNORE
      {IDYES, IDNO, IDCANCEL},            // MB_YESNOCANCEL
      {IDYES, IDNO},                      // MB_YESNO
      {IDRETRY, IDCANCEL},                // MB_RETRYCANCEL
      {IDCANCEL, IDTRYAGAIN, IDCONTINUE}  // MB_CANCELTRYCONTINUE
  };
  UINT kind = type & MB_TYPEMASK;
  return kButtons[kind > MB_CANCELTRYCONTINUE ? MB_OK : kind];
}

win32sim::MessageBoxCall describe(HWND owner, LPCSTR text, LPCSTR caption, UINT type) {
  win32sim::MessageBoxCall box;
  box.owner = owner ? GetAncestor(owner, GA_ROOT) : nullptr;  // a dialog's owner is top-level
  box.text = text ? text : "";
  box.caption = caption ? caption : "Error";
  box.type = type;
  box.buttons = buttonsOf(type);
  const size_t n = (type & MB_DEFMASK) >> 8;
  box.defaultButton = n < box.buttons.size() ? box.buttons[n] : box.buttons.front();
  return box;
}

bool offers(const win32sim::MessageBoxCall& box, int id) {
  return std::find(box.buttons.begin(), box.buttons.end(), id) != box.buttons.end();
}

// The user without a hook: reads the box (on stderr) and answers as queued.
int answerFromQueue(const win32sim::MessageBoxCall& box) {
  std::string text = box.text;
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  fprintf(stderr, "MessageBox [%s]: %s\n", box.caption.c_str(), text.c_str());
  std::deque<int>& answers = boxes().answers;
  if (answers.empty()) return box.defaultButton;
  int answer = answers.front();
  answers.pop_front();
  return answer;
}

}  // namespace

}  // namespace w32

namespace win32sim {

void queueMessageBoxAnswer(int id) { w32::boxes().answers.push_back(id); }

void setMessageBoxHook(MessageBoxHook hook) { w32::boxes().hook = std::move(hook); }

}  // namespace win32sim

using namespace w32;

extern "C" int WINAPI MessageBoxA(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType) {
  if (hWnd && !checkWindow(hWnd)) return 0;
  const win32sim::MessageBoxCall box = describe(hWnd, lpText, lpCaption, uType);
  // A copy: the hook may replace or remove itself.
  win32sim::MessageBoxHook hook = boxes().hook;
  const int answer = hook ? hook(box) : answerFromQueue(box);
  return offers(box, answer) ? answer : box.defaultButton;
}

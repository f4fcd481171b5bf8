// The desktop on Linux: every gesture goes through the Win32 layer's
// simulated user (win32sim.h), which queues input and sends messages exactly
// as the system's own handling of that gesture would, and the layer's
// screen, counters and clock answer the questions.
// Invariant: the layer's idle, nothing-can-arrive and message box hooks are
// this file's, installed once and left in place; what they do depends on
// whether a script is running (desktop.cpp decides).
#include "tools/tul/desktop_platform.h"

#include <win32sim.h>

namespace desktop {

namespace {

BOOL CALLBACK collectTopLevel(HWND hwnd, LPARAM lp) {
  reinterpret_cast<std::vector<HWND>*>(lp)->push_back(hwnd);
  return TRUE;
}

DialogRecord recordOf(const win32sim::FileDialogCall& call) {
  const OPENFILENAMEA& ofn = call.ofn;
  DialogRecord r;
  r.owner = ofn.hwndOwner;
  if (ofn.lpstrFilter) r.filter = call.filter;
  if (ofn.lpstrFile) r.file = call.initialFile;
  if (ofn.lpstrInitialDir) r.initialDir = call.initialDir;
  if (ofn.lpstrTitle) r.title = call.title;
  if (ofn.lpstrDefExt) r.defExt = call.defExt;
  r.flags = ofn.Flags;
  r.structSize = ofn.lStructSize;
  return r;
}

// The icons a box can show; any other MB_ICONMASK value shows none.
UINT iconOf(UINT type) {
  const UINT icon = type & MB_ICONMASK;
  const bool known = icon == MB_ICONHAND || icon == MB_ICONQUESTION ||
                     icon == MB_ICONEXCLAMATION || icon == MB_ICONASTERISK;
  return known ? icon : 0;
}

int answerBox(const win32sim::MessageBoxCall& call) {
  MessageBoxRecord box;
  box.owner = call.owner;
  box.text = call.text;
  box.caption = call.caption;
  box.icon = iconOf(call.type);
  box.buttons = call.buttons;
  box.defaultButton = call.defaultButton;
  return answerMessageBox(box);
}

}  // namespace

void platformWatchWaiting() {
  win32sim::setIdleHook(idleNow);
  win32sim::setNothingCanArriveHook(nothingCanArrive);
  win32sim::setMessageBoxHook(answerBox);
}

bool platformPress(HWND hwnd, int vk, unsigned modifiers) {
  static_assert(kShift == win32sim::kShift && kControl == win32sim::kControl &&
                    kAlt == win32sim::kAlt,
                "the desktop's modifier bits are the layer's");
  win32sim::focusWindow(hwnd);
  win32sim::pressKey(vk, modifiers);
  return true;
}

bool platformType(HWND hwnd, const std::string& text) {
  win32sim::focusWindow(hwnd);
  win32sim::typeText(text.c_str());
  return true;
}

void platformKeyUp(int vk) { win32sim::keyUp(vk); }

bool platformMouse(const MouseGesture& g) {
  switch (g.action) {
  case MouseAction::Move: win32sim::mouseMove(g.hwnd, g.at.x, g.at.y); break;
  case MouseAction::Click:
    win32sim::click(g.hwnd, g.at.x, g.at.y, g.button, g.modifiers);
    break;
  case MouseAction::DoubleClick: win32sim::doubleClick(g.hwnd, g.at.x, g.at.y, g.button); break;
  case MouseAction::Drag:
    win32sim::drag(g.hwnd, g.at.x, g.at.y, g.to.x, g.to.y, g.button);
    break;
  case MouseAction::Wheel: win32sim::wheel(g.hwnd, g.at.x, g.at.y, g.notches); break;
  }
  return true;
}

bool platformClose(HWND hwnd) {
  win32sim::closeWindow(hwnd);
  return true;
}

bool platformResize(HWND hwnd, int width, int height) {
  win32sim::resizeWindow(hwnd, width, height);
  return true;
}

bool platformScroll(HWND hwnd, int bar, int code, int position) {
  win32sim::sendScrollMessage(hwnd, bar, code, position);
  return true;
}

MenuChoice platformChooseMenu(HWND hwnd, const std::vector<std::string>& path, std::string* why) {
  return win32sim::chooseMenu(hwnd, path, why) ? MenuChoice::Queued : MenuChoice::Refused;
}

bool platformAnswerPopupMenu(const std::vector<std::string>* path) {
  win32sim::answerPopupMenu(path);
  return true;
}

bool platformQueueDialogAnswer(bool cancel, const std::string& path) {
  if (cancel) win32sim::queueFileDialogCancel();
  else win32sim::queueFileDialogAnswer(path);
  return true;
}

bool platformLastDialog(DialogRecord* out, bool* any) {
  win32sim::FileDialogCall call;
  *any = win32sim::lastFileDialog(&call);
  if (*any) *out = recordOf(call);
  return true;
}

bool platformPixel(HWND hwnd, int x, int y, COLORREF* out) {
  *out = win32sim::pixel(hwnd, x, y);
  return true;
}

SaveResult platformScreenshot(const std::string& path) {
  return win32sim::saveScreenshot(path) ? SaveResult::Saved : SaveResult::CannotWrite;
}

bool platformAdvance(DWORD ms) {
  win32sim::advanceClock(ms);
  return true;
}

bool platformCount(CountKind kind, int* out) {
  win32sim::Counts c = win32sim::counts();
  switch (kind) {
  case CountKind::Windows: *out = c.windows; break;
  case CountKind::Brushes: *out = c.brushes; break;
  case CountKind::Accelerators: *out = c.acceleratorTables; break;
  case CountKind::Dcs: *out = c.dcs; break;
  case CountKind::Timers: *out = c.timers; break;
  }
  return true;
}

std::vector<HWND> platformTopLevelWindows() {
  std::vector<HWND> out;
  EnumWindows(collectTopLevel, reinterpret_cast<LPARAM>(&out));
  return out;
}

void platformPrepare() {}

void platformForget() {
  win32sim::forgetFileDialogs();
  win32sim::forgetMenuChoices();
}

}  // namespace desktop

// What the `desktop` class asks of the system it runs on. desktop.cpp owns
// the script side (arguments, values, the idle function); desktop_sim.cpp
// answers through the Linux layer's simulated user, desktop_windows.cpp
// through the real system's own means; desktop_spy.cpp is plain Win32 and
// the same on both.
//
// Invariant: nothing here sees a host value or the engine, and every
// platform function whose result is a bool answers false only when the
// platform cannot do the thing at all ("not available on this platform").
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace desktop {

// Modifier keys held while a key is pressed (the layer's own bit values).
constexpr unsigned kShift = 1;
constexpr unsigned kControl = 2;
constexpr unsigned kAlt = 4;

enum class CountKind { Windows, Brushes, Accelerators, Dcs, Timers };

// What the last file dialog was given; an empty optional stands for a null
// pointer in the structure.
struct DialogRecord {
  HWND owner = nullptr;
  std::optional<std::vector<std::string>> filter;  // description, pattern, ...
  std::optional<std::string> file;
  std::optional<std::string> initialDir;
  std::optional<std::string> title;
  std::optional<std::string> defExt;
  DWORD flags = 0;
  DWORD structSize = 0;
};

enum class SaveResult { Saved, CannotWrite, NotAvailable };

// A message box waiting for the user, as the user sees it.
struct MessageBoxRecord {
  HWND owner = nullptr;      // the box's owner (a top-level window), or null
  std::string text;
  std::string caption;
  UINT icon = 0;             // MB_ICONHAND, MB_ICONQUESTION, MB_ICONEXCLAMATION, MB_ICONASTERISK or 0
  std::vector<int> buttons;  // the answers its buttons give, left to right
  int defaultButton = IDOK;
};

// ---- Supplied by the platform ----

// Called once before the library is loaded: puts in place what must see the
// library's own calls to the system (the file dialogs' record).
void platformPrepare();

// Starts calling idleNow() and nothingCanArrive() (below) from the thread's
// message retrieval, and answerMessageBox() for every message box; doing it
// twice changes nothing.
void platformWatchWaiting();
// The user moves the keyboard focus to hwnd and presses the keys; the focus
// moves when the program's retrieval reaches that point of the input, after
// the keys queued before it, so each call's keys reach its own window.
bool platformPress(HWND hwnd, int vk, unsigned modifiers);
bool platformType(HWND hwnd, const std::string& text);
// At once, for whatever window has the focus (the reset between scripts).
void platformKeyUp(int vk);

// A gesture of the hand on the mouse, at client points of hwnd, queued with
// the keys: it reaches the windows through the program's loop, after the
// input queued before it.
enum class MouseAction { Move, Click, DoubleClick, Drag, Wheel };
struct MouseGesture {
  MouseAction action = MouseAction::Move;
  HWND hwnd = nullptr;
  POINT at{};            // the point (Drag: where the button goes down)
  POINT to{};            // Drag: where it comes up
  int button = VK_LBUTTON;  // VK_LBUTTON, VK_RBUTTON or VK_MBUTTON
  unsigned modifiers = 0;   // Click: kShift, kControl, kAlt held around it
  int notches = 0;          // Wheel: positive away from the user
};
bool platformMouse(const MouseGesture& g);
bool platformClose(HWND hwnd);
bool platformResize(HWND hwnd, int width, int height);
// bar is SB_HORZ or SB_VERT, code SB_LINEUP ... SB_ENDSCROLL.
bool platformScroll(HWND hwnd, int bar, int code, int position);
// The user picks the item of hwnd's menu bar that the path of item texts
// names, by mouse, queued with the keys and buttons. Refused, with *why
// ("the menu has no item \"Open\"", ...), when the path cannot be followed
// in the menu as it is at the call; nothing is queued then.
enum class MenuChoice { Queued, Refused, NotAvailable };
MenuChoice platformChooseMenu(HWND hwnd, const std::vector<std::string>& path, std::string* why);
// The answer to the next pop-up menu TrackPopupMenu shows: the path's items
// clicked in turn, or (null) the menu dismissed.
bool platformAnswerPopupMenu(const std::vector<std::string>* path);
// An empty path (cancel) or the path the user types.
bool platformQueueDialogAnswer(bool cancel, const std::string& path);
// *any is false before the first file dialog.
bool platformLastDialog(DialogRecord* out, bool* any);
bool platformPixel(HWND hwnd, int x, int y, COLORREF* out);
SaveResult platformScreenshot(const std::string& path);
bool platformAdvance(DWORD ms);
bool platformCount(CountKind kind, int* out);
// The thread's top-level windows that a program made (not the system's own).
std::vector<HWND> platformTopLevelWindows();
// Forgets what only the platform keeps between scripts (dialog answers).
void platformForget();

// ---- Supplied by desktop.cpp, called by the platform ----

// The message loop would wait: runs the script's idle function, if any.
// When it fails, its error is on its way to the script and a posted
// WM_QUIT ends the loop that was waiting.
void idleNow();
// The message loop would wait for ever: raises the script error and posts
// WM_QUIT so that the loop ends and the error surfaces at its call.
void nothingCanArrive();
// A message box waits for the user: remembers it as the last one and gives
// the answer to press, the next queued one or else the default button. A
// queued answer the box has no button for is used up, raises a script error
// (it surfaces at the call that showed the box) and the default button is
// pressed.
int answerMessageBox(const MessageBoxRecord& box);
// True while a script runs (the engine is there to call into).
bool scriptRunning();

// ---- Spying (desktop_spy.cpp) ----

// Records the message numbers that reach hwnd's procedure until it is
// destroyed; spying on a window twice records once.
void spyOn(HWND hwnd);
// The numbers recorded since the last call, oldest first.
std::vector<UINT> takeSpyLog();
// Stops every spy still in place and drops the record.
void stopSpying();

}  // namespace desktop

// The simulated user and screen of the Linux Win32 layer: the test face that
// tests and the runner use to act as a person at the keyboard and mouse, to
// answer file dialogs, to look at pixels and to count live objects.
// Invariant: nothing here is a Win32 name; programs written for the system
// never need this header, and everything it does goes through the same
// queue and procedures that the system's own input would.
#ifndef TUL_WIN32_SIM_H
#define TUL_WIN32_SIM_H

#include <windows.h>
#include <commdlg.h>

#include <functional>
#include <string>
#include <vector>

namespace win32sim {

// ---- Keyboard: queued as input, seen by GetMessageA in order ----

enum Modifier : unsigned {
  kNoModifier = 0,
  kShift = 1,
  kControl = 2,
  kAlt = 4,
};

TUL_WIN32_API void keyDown(int vk);
TUL_WIN32_API void keyUp(int vk);
// Presses the modifiers, then the key, and releases them in reverse order.
TUL_WIN32_API void pressKey(int vk, unsigned modifiers = kNoModifier);
// Types printable ASCII text (and '\n' as Return, '\t' as Tab) key by key,
// with Shift where a US keyboard needs it. Other characters are skipped.
TUL_WIN32_API void typeText(const char* text);
// Moves the keyboard focus to hwnd, in order with the keys: queued as input,
// it is made when retrieval reaches it (hwnd's top-level window comes to the
// front and hwnd takes the focus), so the keys queued before it go where the
// focus was and the keys queued after it go to hwnd. Nothing queued after it
// is retrieved before it; a window destroyed meanwhile takes nothing.
TUL_WIN32_API void focusWindow(HWND hwnd);

// ---- Mouse: the hand on the mouse, queued as input like the keys ----
// Points are in hwnd's client coordinates (outside the client area too: a
// point on the frame lands there). The cursor moves at once; where each
// message goes (the capture, or the window under the point by its
// WM_NCHITTEST, as WM_NC* messages outside a client area), whether a press
// is a double-click, WM_MOUSEACTIVATE and WM_SETCURSOR are decided when
// retrieval reaches it, as the system does. Buttons are VK_LBUTTON,
// VK_RBUTTON and VK_MBUTTON; nothing is queued for an invalid window.

// The pointer moves to the point (WM_MOUSEMOVE), unless it is there.
TUL_WIN32_API void mouseMove(HWND hwnd, int x, int y);
// The button goes down or up where the pointer is.
TUL_WIN32_API void mouseButton(int vk, bool down);
// Moves there, presses and releases the button, with the modifier keys
// (kShift, kControl, kAlt) held around it, as pressKey holds them.
TUL_WIN32_API void click(HWND hwnd, int x, int y, int vk = VK_LBUTTON,
                         unsigned modifiers = kNoModifier);
// Two clicks at once: a double-click where the class has CS_DBLCLKS.
TUL_WIN32_API void doubleClick(HWND hwnd, int x, int y, int vk = VK_LBUTTON);
// Presses at the first point, moves in steps and releases at the second.
TUL_WIN32_API void drag(HWND hwnd, int x1, int y1, int x2, int y2, int vk = VK_LBUTTON);
// Moves there and turns the wheel, WHEEL_DELTA a notch, positive away from
// the user; WM_MOUSEWHEEL goes to the focus (or the active window).
TUL_WIN32_API void wheel(HWND hwnd, int x, int y, int notches);

// ---- Scroll bars (SB_HORZ / SB_VERT of a window, or SB_CTL of a control).
// As the system's tracking loop does, these send WM_HSCROLL/WM_VSCROLL at
// once and end with SB_ENDSCROLL; the program moves the thumb itself. ----

TUL_WIN32_API void clickScrollArrow(HWND hwnd, int bar, bool towardsEnd);
TUL_WIN32_API void clickScrollPage(HWND hwnd, int bar, bool towardsEnd);
// SB_THUMBTRACK for every position (nTrackPos follows them), then
// SB_THUMBPOSITION with the last one and SB_ENDSCROLL.
TUL_WIN32_API void dragScrollThumb(HWND hwnd, int bar, const std::vector<int>& positions);
// One message of a gesture, for callers that drive the steps themselves:
// WM_HSCROLL/WM_VSCROLL with code (SB_LINEUP ... SB_ENDSCROLL). For
// SB_THUMBTRACK and SB_THUMBPOSITION the thumb is at position, and
// GetScrollInfo reports it as nTrackPos while that message is handled (and
// only then); other codes carry no position.
TUL_WIN32_API void sendScrollMessage(HWND hwnd, int bar, int code, int position);

// ---- Windows as a user handles them ----

// Drags the border: WM_ENTERSIZEMOVE, the move to the new outer size,
// WM_EXITSIZEMOVE.
TUL_WIN32_API void resizeWindow(HWND hwnd, int width, int height);
// A click on the close box, queued as input: DefWindowProcA turns it into
// WM_SYSCOMMAND(SC_CLOSE), hence WM_CLOSE.
TUL_WIN32_API void closeWindow(HWND hwnd);

// ---- Menus, chosen with the mouse as a person would ----

// The user opens the window's menu bar and picks the item the path of
// texts names (the bar's item first; "&" marks and the text after a tab do
// not count): a click on the bar item is queued now, and a click on each
// item of the path as its pop-up shows, before any input queued after this
// call. False, with *error saying why ("the window has no menu bar", "the
// menu has no item \"Open\"", "the item \"Paste\" is disabled"), when the
// path cannot be followed in the menu as it is now; nothing is queued then.
TUL_WIN32_API bool chooseMenu(HWND hwnd, const std::vector<std::string>& path, std::string* error);
// The next pop-up menu TrackPopupMenu shows gets this answer: the items of
// the path clicked in turn, or (null) Escape pressed. Answers queue up.
TUL_WIN32_API void answerPopupMenu(const std::vector<std::string>* path);
// Drops the choices not yet used.
TUL_WIN32_API void forgetMenuChoices();

// ---- Dialogs ----

// The next GetOpenFileNameA/GetSaveFileNameA takes the first queued answer.
TUL_WIN32_API void queueFileDialogAnswer(const std::string& path);
TUL_WIN32_API void queueFileDialogCancel();
// The next MessageBoxA answers this instead of its default button (an
// answer the box has no button for answers the default button).
TUL_WIN32_API void queueMessageBoxAnswer(int id);

// A message box as the user sees it.
struct MessageBoxCall {
  HWND owner = nullptr;      // the top-level window of the hWnd given, or null
  std::string text;          // as given ("" for a null pointer)
  std::string caption;       // "Error" for a null pointer, as the system shows it
  UINT type = 0;             // as given
  std::vector<int> buttons;  // the answers its buttons give, left to right
  int defaultButton = IDOK;  // MB_DEFBUTTONn's, the first when it has no n-th
};
// Called by MessageBoxA in place of the line on stderr and the queued
// answers: the hook is the user, and answers with the id of the button
// pressed; an id the box has no button for presses the default button. An
// empty function removes it.
using MessageBoxHook = std::function<int(const MessageBoxCall&)>;
TUL_WIN32_API void setMessageBoxHook(MessageBoxHook hook);

// What the last file dialog was given, copied when it was called (the
// pointers in ofn are the caller's and may be gone).
struct FileDialogCall {
  bool save = false;
  OPENFILENAMEA ofn{};
  std::vector<std::string> filter;  // description, pattern, description, ...
  std::string initialDir;
  std::string title;
  std::string defExt;
  std::string initialFile;
};
// False when no file dialog has been called yet.
TUL_WIN32_API bool lastFileDialog(FileDialogCall* out);
// Drops the queued file dialog answers and the record of the last dialog,
// so that what one program queued never answers another's dialog.
TUL_WIN32_API void forgetFileDialogs();

// ---- Screen ----

// The colour of a point of hwnd's client area as last drawn, inverted where
// the shown caret covers it; CLR_INVALID outside the area or for an invalid
// window.
TUL_WIN32_API COLORREF pixel(HWND hwnd, int x, int y);
// The colour of a screen point with all visible windows composed on the
// desktop, and the shown caret over them; CLR_INVALID outside the screen.
TUL_WIN32_API COLORREF screenPixel(int x, int y);
// Writes the whole screen as an RGB PNG; false if the file cannot be written.
TUL_WIN32_API bool saveScreenshot(const std::string& path);

// ---- Counters of live objects, to catch leaks ----

struct Counts {
  int windows = 0;            // excluding the desktop
  int classes = 0;            // application classes
  int gdiObjects = 0;         // brushes, pens, fonts and regions, stock ones excluded
  int brushes = 0;
  int pens = 0;
  int regions = 0;
  int dcs = 0;                // device contexts from GetDC/BeginPaint not yet released
  int acceleratorTables = 0;
  int timers = 0;
  int kernelHandles = 0;      // open files and file searches
};
TUL_WIN32_API Counts counts();

// ---- The simulated clock (milliseconds) ----

TUL_WIN32_API DWORD now();
TUL_WIN32_API void advanceClock(DWORD ms);

// ---- Waiting ----

// Called whenever GetMessageA would wait: the hook may act as the user
// (queue keys, click, close a window, post a message). If nothing can arrive
// after it ran and no timer exists, GetMessageA returns -1 with a one-line
// diagnostic on stderr instead of hanging. An empty function removes it.
using IdleHook = std::function<void()>;
TUL_WIN32_API void setIdleHook(IdleHook hook);
// Called instead of that diagnostic when GetMessageA or WaitMessage finds
// that nothing can ever arrive, so that the program running the loop can end
// it its own way. Whatever the hook makes arrive (a posted WM_QUIT, say) is
// retrieved as usual; if it makes nothing arrive, GetMessageA returns -1 and
// WaitMessage FALSE, silently. An empty function removes it.
using NothingCanArriveHook = std::function<void()>;
TUL_WIN32_API void setNothingCanArriveHook(NothingCanArriveHook hook);

}  // namespace win32sim

#endif  // TUL_WIN32_SIM_H

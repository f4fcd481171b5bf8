// The window manager's private view, shared by the files of user/ and by the
// simulated user: windows and classes, lookup, coordinates, and the internal
// entry points each concern offers the others.
// Invariants: a handle names one window for the life of the process (slots
// are never reused); a Window is reached only through its handle, and code
// that sends a message re-reads the window afterwards (or holds a WindowRef),
// because any procedure may destroy any window.
#ifndef TUL_WIN32_USER_USER_H
#define TUL_WIN32_USER_USER_H

#include <windows.h>

#include "gdi/gdi.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace w32 {

struct Surface;

// Flags the system adds to WM_WINDOWPOSCHANGED for DefWindowProc's benefit.
constexpr UINT kSwpNoClientSize = 0x0800;
constexpr UINT kSwpNoClientMove = 0x1000;
constexpr UINT kSwpStateChanged = 0x8000;

// The system's fixed geometry (see docs/win32.md for where each comes from).
constexpr int kScreenWidth = 1024;
constexpr int kScreenHeight = 768;
// The most pixels a side that a top-level window's surface keeps.
constexpr int kMaxSurfaceSide = 2048;
constexpr int kMinimizedWidth = 160;
constexpr int kMinimizedHeight = 24;
constexpr int kIconicPosition = -32000;

struct WindowClass {
  std::string name;
  ATOM atom = 0;
  UINT style = 0;
  WNDPROC proc = nullptr;
  int clsExtra = 0;
  int wndExtra = 0;
  HINSTANCE instance = nullptr;
  HICON icon = nullptr;
  HICON iconSmall = nullptr;
  HCURSOR cursor = nullptr;
  HBRUSH background = nullptr;
  LPCSTR menuName = nullptr;
  std::vector<BYTE> extra;
  int windowCount = 0;
  bool system = false;
  bool global = false;  // registered with CS_GLOBALCLASS; later style changes keep it
};

struct ScrollBarInfo {
  int min = 0;
  int max = 100;
  UINT page = 0;
  int pos = 0;
  int trackPos = 0;
  bool tracking = false;
  UINT disabledArrows = ESB_ENABLE_BOTH;
};

// State the built-in control procedures keep per window.
struct ControlState {
  int check = BST_UNCHECKED;
  bool pushed = false;
  DWORD selStart = 0;
  DWORD selEnd = 0;
  UINT limit = 30000;  // an edit control's text limit (EM_GETLIMITTEXT)
  ScrollBarInfo bar;  // a SCROLLBAR control's own bar
  bool isScrollBar = false;  // the SCROLLBAR procedure handled WM_CREATE
  HWND combo = nullptr;      // a combo box's list: the combo box it belongs to
  HFONT font = nullptr;  // WM_SETFONT's, not owned: null draws with the system font
};

// What the default dialog procedure keeps for a window of a dialog class
// (one with DLGWINDOWEXTRA bytes): made the first time the procedure sees it.
struct DialogState {
  HWND savedFocus = nullptr;  // the control the focus goes back to on activation
  UINT defId = IDOK;          // DM_GETDEFID's answer until DM_SETDEFID
  bool ended = false;         // EndDialog was called
  INT_PTR result = IDOK;     // a modal loop ended without EndDialog answers IDOK
  HFONT font = nullptr;      // a template's font, owned: deleted with the dialog
  int xBase = 0, yBase = 0;  // pixels per 4 horizontal and 8 vertical dialog units
};

struct ListBoxState;   // listbox.cpp's; made by the ListBox class's WM_CREATE
struct ComboBoxState;  // combobox.cpp's; made by the ComboBox class's WM_CREATE
struct EditState;      // edit.cpp's; made by the Edit class's WM_NCCREATE

struct Window {
  HWND hwnd = nullptr;
  std::shared_ptr<WindowClass> cls;
  HWND parent = nullptr;  // the desktop for top-level windows; null for the desktop
  HWND owner = nullptr;
  HWND lastActive = nullptr;  // of a root owner: the window of its tree last activated
  std::vector<HWND> children;  // z-order, top first
  DWORD style = 0;
  DWORD exStyle = 0;
  WNDPROC proc = nullptr;
  HINSTANCE instance = nullptr;
  UINT_PTR id = 0;  // GWL_ID: the hMenu argument of a child
  LONG userData = 0;
  std::vector<BYTE> extra;
  std::string text;

  RECT window{};  // parent-client coordinates
  RECT client{};  // parent-client coordinates
  RECT normal{};  // restored rectangle, parent-client coordinates
  POINT minPos{-1, -1};
  bool restoreToMaximized = false;
  bool needSize = false;  // WM_SIZE/WM_MOVE owed to the first ShowWindow
  bool destroying = false;
  bool dead = false;
  bool enabled = true;
  bool hiddenWithOwner = false;  // hidden for SW_PARENTCLOSING: SW_PARENTOPENING shows it again

  RECT update{};  // client coordinates; bounding box of the update region
  // What was invalidated, in client coordinates but not cut to the client
  // area: a CS_PARENTDC child paints through its parent's clipping cut to
  // this, unless its whole client area is to be painted.
  RECT invalidArea{};
  bool erasePending = false;
  bool eraseFailed = false;  // an early erase returned 0: BeginPaint reports fErase
  bool ncPending = false;
  // Its WM_PAINT is being dispatched: no other WM_PAINT is offered for it
  // until that returns, so a procedure that reads the queue from WM_PAINT
  // does not paint itself again and again.
  int paintDispatches = 0;

  bool hasScrollData = false;
  ScrollBarInfo hbar;
  ScrollBarInfo vbar;
  ControlState ctl;
  std::unique_ptr<DialogState> dialog;
  std::shared_ptr<ListBoxState> listBox;  // the ListBox class's items and selection
  std::shared_ptr<ComboBoxState> comboBox;  // the ComboBox class's parts and state
  std::shared_ptr<EditState> edit;  // the Edit class's layout, scrolling and undo

  std::shared_ptr<Surface> surface;  // top-level windows and the desktop only
};

using WindowRef = std::shared_ptr<Window>;

// ---- Windows and handles (win.cpp) ----

Window* findWindow(HWND hwnd);   // a live window (the desktop included) or null
Window* checkWindow(HWND hwnd);  // as findWindow; sets ERROR_INVALID_WINDOW_HANDLE when null
WindowRef pinWindow(HWND hwnd);  // keeps the object alive across sends
Window& desktopWindow();
HWND desktopHandle();
inline bool isDesktop(const Window& w) { return w.parent == nullptr; }
// WS_POPUP wins over WS_CHILD: such a window is a pop-up, as on the system.
inline bool isChildStyle(DWORD style) { return (style & (WS_CHILD | WS_POPUP)) == WS_CHILD; }
inline bool isChild(const Window& w) { return isChildStyle(w.style); }
bool isTopLevel(const Window& w);
Window* parentOf(const Window& w);
Window& topLevelOf(Window& w);
Window& rootOwnerOf(Window& w);  // the end of w's chain of owners (w itself if unowned)
bool isAncestor(HWND ancestor, HWND hwnd);
std::vector<HWND> descendantsPreOrder(HWND hwnd);
int liveWindowCount();
void forEachWindowPreOrder(HWND root, void (*fn)(Window&, void*), void* context);

// ---- Coordinates (winpos.cpp) ----

POINT clientOriginOnScreen(const Window& w);
RECT windowRectOnScreen(const Window& w);
// Where w's window rectangle starts in its top-level window's surface.
POINT surfaceOrigin(const Window& w);
bool isDrawable(const Window& w);  // it and every ancestor are visible

// ---- Positions, showing, activation (winpos.cpp) ----

struct PositionRequest {
  HWND insertAfter = HWND_TOP;
  int x = 0, y = 0, cx = 0, cy = 0;
  UINT flags = 0;
  bool forceMove = false;     // SetParent: WM_MOVE even though the numbers stay
  bool stateChanged = false;  // minimised/maximised/restored: WM_SIZE is owed
};
BOOL setWindowPos(HWND hwnd, const PositionRequest& request);
void resizeSurfaceFor(Window& w);
// Puts a hidden window into the minimised or maximised state without showing it.
void changeMinMaxState(HWND hwnd, int cmd);
// The window that must be active for w to take the focus (the first up its
// parents without WS_CHILD), or none (winpos.cpp).
HWND activationTarget(const Window& w);
HWND activeWindow();
HWND focusWindow();
void activate(HWND topLevel);
// SC_MOVE and SC_SIZE: the loop that follows the cursor until the button is
// released or Return or Escape is pressed (movesize.cpp).
void moveSizeLoop(HWND hwnd, WPARAM command, LPARAM lParam);
void deactivate(HWND topLevel);
HWND setFocus(HWND hwnd);
// Clears activation, focus, capture and the caret that point into a window
// being destroyed.
void forgetWindow(HWND hwnd);

// ---- Non-client area (nonclient.cpp) ----

int systemMetric(int index);
COLORREF sysColor(int index);
// The frame and scroll-bar widths around the client area for these styles.
RECT frameInsets(DWORD style, DWORD exStyle, bool menu);
RECT clientFromWindow(const Window& w, const RECT& windowRect);
MINMAXINFO queryMinMaxInfo(HWND hwnd);
bool sendsMinMaxInfo(DWORD style);
void paintNonClient(HWND hwnd);
RECT scrollBarRect(const Window& w, int bar);  // window coordinates; empty if not shown

// ---- Menus (menu.cpp) ----

bool isMenu(HMENU hmenu);
bool takesMenuBar(DWORD style);   // not a child, or a pop-up
bool hasMenuBar(const Window& w);  // a top-level window whose GWL_ID is a live menu
void destroyMenuOf(Window& w);

// ---- Painting (painting.cpp) ----

// rect in client coordinates, null for the whole client area. frame marks the
// non-client area too. Children share the invalidation unless the window
// clips them.
void invalidate(Window& w, const RECT* rect, bool erase, bool frame);
void validate(Window& w, const RECT* rect);
// Sends the owed WM_NCPAINT and WM_ERASEBKGND now (the update region stays).
void eraseNow(HWND hwnd, bool children);
// As eraseNow, and for the descendants too, except below a window that is
// still to paint without clipping its children: its own erasing covers them,
// so they are erased when they paint.
void eraseNowWhereClipped(HWND hwnd);
bool needsPaint(const Window& w);
// The part of w's client area (or of its whole window) that reaches its
// top-level surface, in surface coordinates; empty when w is not drawable.
Region visibleRegion(const Window& w, bool wholeWindow);
Painter painterFor(const Window& w, bool wholeWindow);
HDC makeWindowDC(const Window& w, bool wholeWindow, const RECT* clientClip, bool paint);
HWND nextWindowToPaint(HWND filter);

// ---- The caret (caret.cpp) ----

// Destroys the caret if hwnd owns it (the window is going).
void dropCaretOf(HWND hwnd);
// The pixels of top's surface that the shown caret covers (the simulated
// screen inverts them); empty when the caret is hidden or elsewhere.
Region shownCaretArea(const Window& top);

// ---- Queue (message.cpp) ----

LRESULT sendMessage(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp);
void sendParentNotify(HWND hwnd, UINT event);
void purgeWindow(HWND hwnd);
void queueInput(UINT message, WPARAM wp, LPARAM lp, HWND target, POINT screen);
// Mouse input from the hand (WM_MOUSEMOVE, the client button messages,
// WM_MOUSEWHEEL) at a screen point: the cursor moves there at once; where it
// goes is decided when retrieval reaches it (capture, hit test, double-click;
// the wheel to the focus).
void queueMouseInput(UINT message, WPARAM wp, POINT screen);
// The MK_ bits of the buttons and keys held now.
WPARAM heldMouseKeys();
// Runs queueing, whose input goes before the input queued so far (the
// simulated user finishing with a menu before what was queued after).
void queueInputFirst(const std::function<void()>& queueing);
// Queues a change of the keyboard focus to hwnd behind the input queued so
// far; retrieval makes it when it reaches it (win32sim::focusWindow).
void queueFocusChange(HWND hwnd);
// Something the program can see happened without a message arriving in the
// queue (a window procedure ran, the screen was saved): a waiting loop whose
// idle hook did it goes round again instead of giving up.
void noteActivity();
void setAsyncKey(int vk, bool down);
bool asyncKeyDown(int vk);
int liveTimerCount();

// ---- Classes (class.cpp) ----

std::shared_ptr<WindowClass> findClass(LPCSTR name, HINSTANCE instance);
int liveClassCount();
ATOM registerSystemClass(const char* name, WNDPROC proc, UINT style, LPCSTR cursor,
                         int wndExtra = 0);

// ---- Scroll bars (scroll.cpp) ----

void createScrollData(Window& w);
// The bar's data, or null when the window has none. SB_CTL reaches the
// control's own.
ScrollBarInfo* scrollInfoOf(Window& w, int bar);
// The system's tracking of a left press at a screen point of a bar (SB_HORZ,
// SB_VERT or SB_CTL) until the release: an arrow or the page area sends its
// scroll code at the press; a grabbed thumb sends SB_THUMBTRACK as it moves
// and SB_THUMBPOSITION at the release; SB_ENDSCROLL ends it.
void trackScrollBar(HWND hwnd, int bar, POINT screen);
void scrollControlPaint(HWND hwnd);
// The SCROLLBAR class: its procedure and the window extra bytes it needs.
constexpr int kScrollBarExtraBytes = 28;
// The EDIT class's window extra bytes, as the 32-bit system declares them
// (the control keeps its state elsewhere).
constexpr int kEditExtraBytes = 6;
LRESULT CALLBACK scrollBarProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp);
int setScrollInfo(HWND hwnd, int nBar, const SCROLLINFO* lpsi, bool redraw);
BOOL getScrollInfo(HWND hwnd, int nBar, SCROLLINFO* lpsi);
BOOL enableBar(HWND hwnd, int bar, UINT arrows);

// ---- Accelerators (accel.cpp) ----

int liveAcceleratorCount();

// ---- Controls (controls.cpp) ----

void registerSystemClasses();
// WM_COMMAND(MAKEWPARAM(id, code), hwnd) sent to a child control's parent.
void notifyParent(HWND hwnd, WORD code);
// The parent's answer to WM_CTLCOLOR* `message` (DefWindowProcA's when it
// answers 0); the colours it sets stay in `dc`.
HBRUSH askParentForBrush(HWND hwnd, HDC dc, UINT message);
// The font a control was given (WM_SETFONT), selected into dc; none keeps
// the system font.
void selectControlFont(HDC dc, const Window& w);
// WM_SETFONT: keeps the font (not owned) and repaints when LOWORD(lp) asks.
void setControlFont(HWND hwnd, WPARAM wp, LPARAM lp);

// ---- The clipboard (clipboard.cpp) ----

// A destroyed window stops being the clipboard's opener and owner.
void clipboardForgetWindow(HWND hwnd);

// ---- The edit control (edit.cpp) ----

void registerEditClass();

// ---- The list box (listbox.cpp) ----

void registerListBoxClass();
// The list box's own procedure, which a combo box's list passes on to.
LRESULT CALLBACK listBoxProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp);

// ---- The combo box (combobox.cpp) ----

// The ComboBox class and its list's class, ComboLBox.
void registerComboBoxClasses();
// A key pressed in a combo box's edit part that belongs to the combo box
// (the arrows, F4, Alt with an arrow, Return and Escape while dropped):
// handled there, and true; false for the edit's own keys.
bool comboEditKey(HWND edit, UINT msg, WPARAM vk, LPARAM lp);
// The edit part of a combo box (the system's edit made for a combo box
// behaves as one).
bool isComboEdit(HWND edit);

// ---- Dialog windows (dialog.cpp) ----

// The dialog class and the system's other numbered classes.
void registerDialogClasses();
// What the default dialog procedure keeps for a window of a dialog class
// (one with DLGWINDOWEXTRA bytes), made on first use when `create` is set;
// null for other windows.
DialogState* dialogState(HWND hwnd, bool create);

}  // namespace w32

#endif

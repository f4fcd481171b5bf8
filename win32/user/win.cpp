// Windows and their handles: the window table, creation with the system's
// message order, destruction, the tree (parents, owners, children, z-order),
// window data (GetWindowLong/SetWindowLong) and window text.
// Invariants: handles are never reused -- a destroyed window's slot stays
// empty for the life of the process; a child is listed in exactly one
// parent's children, top of the z-order first; WM_DESTROY runs parent
// first, WM_NCDESTROY children first, and a window is freed only after its
// WM_NCDESTROY.
#include "user/user.h"

#include "gdi/gdi.h"
#include "kernel/kernel.h"

#include <algorithm>
#include <cstring>

namespace w32 {

namespace {

// Windows live in their own handle range so that a GDI or accelerator
// handle passed as a window is never mistaken for one.
constexpr ULONG_PTR kHwndBase = 0x01000000;
constexpr ULONG_PTR kHwndStep = 4;

struct WindowTable {
  std::vector<WindowRef> slots;  // index 0: the desktop
  int live = 0;
};

WindowTable& table() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static WindowTable& t = *new WindowTable;
  return t;
}

HWND handleAt(size_t index) {
  return reinterpret_cast<HWND>(kHwndBase + index * kHwndStep);
}

bool slotOf(HWND hwnd, size_t* index) {
  ULONG_PTR value = reinterpret_cast<ULONG_PTR>(hwnd);
  if (value < kHwndBase || (value - kHwndBase) % kHwndStep != 0) return false;
  *index = (value - kHwndBase) / kHwndStep;
  return *index < table().slots.size();
}

void createDesktop() {
  auto d = std::make_shared<Window>();
  d->hwnd = handleAt(0);
  d->style = WS_POPUP | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN;
  d->window = makeRect(0, 0, kScreenWidth, kScreenHeight);
  d->client = d->window;
  d->normal = d->window;
  d->text = "";
  table().slots.push_back(d);
  resizeSurfaceFor(*d);
}

WindowRef allocateWindow() {
  WindowTable& t = table();
  if (t.slots.empty()) createDesktop();
  auto w = std::make_shared<Window>();
  w->hwnd = handleAt(t.slots.size());
  t.slots.push_back(w);
  ++t.live;
  return w;
}

// A new top-level window goes on top of its band: below the topmost
// windows unless it is one.
void linkChild(Window& parent, HWND child, bool atTop) {
  auto& c = parent.children;
  if (!atTop) {
    c.push_back(child);
    return;
  }
  auto at = c.begin();
  Window* w = findWindow(child);
  if (isDesktop(parent) && w && !(w->exStyle & WS_EX_TOPMOST))
    while (at != c.end() && findWindow(*at) && (findWindow(*at)->exStyle & WS_EX_TOPMOST)) ++at;
  c.insert(at, child);
}

void unlinkChild(Window& parent, HWND child) {
  auto& c = parent.children;
  c.erase(std::remove(c.begin(), c.end(), child), c.end());
}

// Frees a window whose WM_NCDESTROY has been sent.
void freeWindow(Window& w) {
  destroyMenuOf(w);
  if (Window* p = findWindow(w.parent)) unlinkChild(*p, w.hwnd);
  purgeWindow(w.hwnd);
  forgetWindow(w.hwnd);
  // A DC obtained and never released goes with its window.
  freeWindowDCs(w.hwnd);
  clipboardForgetWindow(w.hwnd);
  if (w.cls) --w.cls->windowCount;
  w.dead = true;
  w.surface.reset();
  size_t index = 0;
  if (slotOf(w.hwnd, &index)) {
    table().slots[index].reset();
    --table().live;
  }
}

// Children first, then the window: WM_NCDESTROY in post-order.
void destroyTree(HWND hwnd) {
  WindowRef w = pinWindow(hwnd);
  if (!w) return;
  std::vector<HWND> children = w->children;
  for (HWND c : children) destroyTree(c);
  if (w->dead) return;
  sendMessage(hwnd, WM_NCDESTROY, 0, 0);
  if (!w->dead) freeWindow(*w);
}

// Parent first, then each child's subtree: WM_DESTROY in pre-order.
void sendDestroy(HWND hwnd) {
  WindowRef w = pinWindow(hwnd);
  if (!w || w->dead) return;
  forgetWindow(hwnd);
  sendMessage(hwnd, WM_DESTROY, 0, 0);
  std::vector<HWND> children = w->children;
  for (HWND c : children) sendDestroy(c);
}

void markDestroying(Window& w) {
  w.destroying = true;
  for (HWND c : w.children)
    if (Window* child = findWindow(c)) markDestroying(*child);
}

// ---- Creation ----

// A modal frame always has the raised edge; a dialog or sizing frame has
// it unless the static edge is asked for.
DWORD fixExStyle(DWORD style, DWORD exStyle) {
  if ((exStyle & WS_EX_DLGMODALFRAME) ||
      ((style & (WS_DLGFRAME | WS_THICKFRAME)) && !(exStyle & WS_EX_STATICEDGE)))
    return exStyle | WS_EX_WINDOWEDGE;
  return exStyle & ~static_cast<DWORD>(WS_EX_WINDOWEDGE);
}

DWORD fixStyle(DWORD style) {
  if (!isChildStyle(style)) style |= WS_CLIPSIBLINGS;
  if (!(style & (WS_CHILD | WS_POPUP))) style |= WS_CAPTION;
  return style;
}

bool isOverlapped(DWORD style) { return !(style & (WS_CHILD | WS_POPUP)); }

// CW_USEDEFAULT: children and pop-ups get zeros; overlapped windows get the
// work area's origin and three quarters of its size, and with WS_VISIBLE a
// y that is not CW_USEDEFAULT becomes the first ShowWindow command.
void resolveDefaults(DWORD style, CREATESTRUCTA* cs, int* showCmd) {
  if (!isOverlapped(style)) {
    if (cs->x == CW_USEDEFAULT) cs->x = cs->y = 0;
    if (cs->cx == CW_USEDEFAULT) cs->cx = cs->cy = 0;
    return;
  }
  if (cs->x != CW_USEDEFAULT && cs->cx != CW_USEDEFAULT && cs->cy != CW_USEDEFAULT) return;
  if (cs->x == CW_USEDEFAULT) {
    if (cs->y != CW_USEDEFAULT) *showCmd = cs->y;
    cs->x = 0;
    cs->y = 0;
  }
  if (cs->cx == CW_USEDEFAULT) {
    cs->cx = kScreenWidth * 3 / 4 - cs->x;
    cs->cy = kScreenHeight * 3 / 4 - cs->y;
  } else if (cs->cy == CW_USEDEFAULT) {
    cs->cy = kScreenHeight * 3 / 4 - cs->y;
  }
}

// The failure path after WM_NCCREATE or WM_CREATE refused: only WM_NCDESTROY.
HWND abandonCreation(HWND hwnd) {
  destroyTree(hwnd);
  return NULL;
}

void sendInitialSize(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  RECT c = w->client;
  WPARAM kind = (w->style & WS_MAXIMIZE)   ? SIZE_MAXIMIZED
                : (w->style & WS_MINIMIZE) ? SIZE_MINIMIZED
                                           : SIZE_RESTORED;
  sendMessage(hwnd, WM_SIZE, kind, MAKELPARAM(rectWidth(c), rectHeight(c)));
  sendMessage(hwnd, WM_MOVE, 0, MAKELPARAM(c.left, c.top));
}

// A hidden window created minimised or maximised takes that state at once;
// a visible one takes it from its first ShowWindow.
void applyCreationState(HWND hwnd, DWORD requested) {
  if (!(requested & (WS_MINIMIZE | WS_MAXIMIZE)) || (requested & WS_VISIBLE)) return;
  changeMinMaxState(hwnd, (requested & WS_MINIMIZE) ? SW_MINIMIZE : SW_MAXIMIZE);
}

// A child needs a valid parent; any other window takes a valid hWndParent
// as its owner (the owner's top-level window), and the desktop as parent.
bool resolveParent(DWORD style, HWND requested, HWND* parent, HWND* owner) {
  *parent = desktopHandle();
  *owner = nullptr;
  if (isChildStyle(style)) {
    if (!requested) {
      SetLastError(ERROR_TLW_WITH_WSCHILD);
      return false;
    }
    if (!checkWindow(requested)) return false;
    *parent = requested;
    return true;
  }
  if (!requested) return true;
  Window* o = checkWindow(requested);
  if (!o) return false;
  if (isDesktop(*o)) return true;
  // A child passes ownership up to the first of its parents that is not a
  // child (by style, whatever its parent).
  while (isChild(*o) && parentOf(*o) && !isDesktop(*parentOf(*o))) o = parentOf(*o);
  *owner = o->hwnd;
  return true;
}

// The window object, linked into its parent: children at the bottom of the
// z-order, top-level windows on top.
WindowRef newWindow(const std::shared_ptr<WindowClass>& cls, HWND parent, HWND owner,
                    DWORD style, DWORD exStyle, const CREATESTRUCTA& cs) {
  WindowRef w = allocateWindow();
  w->cls = cls;
  ++cls->windowCount;
  w->parent = parent;
  w->owner = owner;
  DWORD fixed = fixStyle(style);
  w->style = fixed & ~static_cast<DWORD>(WS_VISIBLE | WS_MINIMIZE | WS_MAXIMIZE);
  w->exStyle = fixExStyle(fixed, exStyle);
  // An overlapped window is made with the raised edge whatever else it asks.
  if (!(fixed & (WS_CHILD | WS_POPUP))) w->exStyle |= WS_EX_WINDOWEDGE;
  // A window owned by a topmost window is topmost itself.
  if (Window* o = findWindow(owner); o && (o->exStyle & WS_EX_TOPMOST)) w->exStyle |= WS_EX_TOPMOST;
  w->proc = cls->proc;
  w->instance = cs.hInstance;
  w->id = reinterpret_cast<UINT_PTR>(cs.hMenu);
  w->extra.assign(static_cast<size_t>(cls->wndExtra), 0);
  linkChild(*findWindow(parent), w->hwnd, !isChildStyle(style));
  return w;
}

// The first rectangle, within the tracking limits for windows that have
// them (WM_GETMINMAXINFO comes before WM_NCCREATE); false if the window was
// destroyed meanwhile.
bool placeNewWindow(Window& w, const CREATESTRUCTA& cs) {
  int cx = cs.cx, cy = cs.cy;
  if (sendsMinMaxInfo(w.style)) {
    MINMAXINFO info = queryMinMaxInfo(w.hwnd);
    if (w.dead) return false;
    cx = std::max(std::min<int>(cx, info.ptMaxTrackSize.x), static_cast<int>(info.ptMinTrackSize.x));
    cy = std::max(std::min<int>(cy, info.ptMaxTrackSize.y), static_cast<int>(info.ptMinTrackSize.y));
  }
  w.window = makeRect(cs.x, cs.y, saturatingAdd(cs.x, std::max(cx, 0)),
                      saturatingAdd(cs.y, std::max(cy, 0)));
  w.client = w.window;
  w.normal = w.window;
  resizeSurfaceFor(w);
  return true;
}

// ---- Window data ----

bool extraIndexValid(const Window& w, int index) {
  return index >= 0 && static_cast<size_t>(index) + sizeof(LONG) <= w.extra.size();
}

LONG setStyle(HWND hwnd, int index, LONG value) {
  WindowRef w = pinWindow(hwnd);
  STYLESTRUCT ss;
  ss.styleOld = index == GWL_STYLE ? w->style : w->exStyle;
  ss.styleNew = static_cast<DWORD>(value);
  sendMessage(hwnd, WM_STYLECHANGING, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&ss));
  if (w->dead) return 0;
  if (index == GWL_STYLE) {
    DWORD style = ss.styleNew;
    if (isTopLevel(*w)) style |= WS_CLIPSIBLINGS;
    if (w->style & WS_MINIMIZE) style |= WS_MINIMIZE;
    w->style = style;
  } else {
    w->exStyle = ss.styleNew;
  }
  w->exStyle = fixExStyle(w->style, w->exStyle);
  // WM_STYLECHANGED reports the style as kept (a minimised window stays so).
  if (index == GWL_STYLE) ss.styleNew = w->style;
  sendMessage(hwnd, WM_STYLECHANGED, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&ss));
  return static_cast<LONG>(ss.styleOld);
}

}  // namespace

// ---- Lookup ----

Window* findWindow(HWND hwnd) {
  if (table().slots.empty()) createDesktop();
  size_t index = 0;
  if (!slotOf(hwnd, &index)) return nullptr;
  Window* w = table().slots[index].get();
  return (w && !w->dead) ? w : nullptr;
}

Window* checkWindow(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) SetLastError(ERROR_INVALID_WINDOW_HANDLE);
  return w;
}

WindowRef pinWindow(HWND hwnd) {
  if (!findWindow(hwnd)) return nullptr;
  size_t index = 0;
  slotOf(hwnd, &index);
  return table().slots[index];
}

Window& desktopWindow() {
  if (table().slots.empty()) createDesktop();
  return *table().slots[0];
}

HWND desktopHandle() { return desktopWindow().hwnd; }

bool isTopLevel(const Window& w) { return w.parent && w.parent == desktopHandle(); }

Window* parentOf(const Window& w) { return findWindow(w.parent); }

Window& topLevelOf(Window& w) {
  Window* cur = &w;
  while (cur->parent && !isTopLevel(*cur)) {
    Window* p = findWindow(cur->parent);
    if (!p) break;
    cur = p;
  }
  return *cur;
}

Window& rootOwnerOf(Window& w) {
  Window* cur = &w;
  while (Window* owner = findWindow(cur->owner)) cur = owner;
  return *cur;
}

bool isAncestor(HWND ancestor, HWND hwnd) {
  Window* w = findWindow(hwnd);
  while (w && w->parent) {
    if (w->parent == ancestor) return true;
    w = findWindow(w->parent);
  }
  return false;
}

std::vector<HWND> descendantsPreOrder(HWND hwnd) {
  std::vector<HWND> out;
  Window* w = findWindow(hwnd);
  if (!w) return out;
  for (HWND c : w->children) {
    out.push_back(c);
    std::vector<HWND> below = descendantsPreOrder(c);
    out.insert(out.end(), below.begin(), below.end());
  }
  return out;
}

int liveWindowCount() { return table().live; }

}  // namespace w32

using namespace w32;

extern "C" {

// ---- Creation and destruction ----

HWND WINAPI CreateWindowExA(DWORD dwExStyle, LPCSTR lpClassName, LPCSTR lpWindowName,
                            DWORD dwStyle, int X, int Y, int nWidth, int nHeight, HWND hWndParent,
                            HMENU hMenu, HINSTANCE hInstance, LPVOID lpParam) {
  auto cls = findClass(lpClassName, hInstance);
  if (!cls) {
    SetLastError(ERROR_CANNOT_FIND_WND_CLASS);
    return NULL;
  }
  HWND parent = NULL, owner = NULL;
  if (!resolveParent(dwStyle, hWndParent, &parent, &owner)) return NULL;
  if (takesMenuBar(dwStyle) && hMenu && !isMenu(hMenu)) {
    SetLastError(ERROR_INVALID_MENU_HANDLE);
    return NULL;
  }

  CREATESTRUCTA cs;
  cs.lpCreateParams = lpParam;
  cs.hInstance = hInstance;
  cs.hMenu = hMenu;
  cs.hwndParent = hWndParent;
  cs.x = X;
  cs.y = Y;
  cs.cx = nWidth;
  cs.cy = nHeight;
  cs.style = static_cast<LONG>(dwStyle);
  cs.lpszName = lpWindowName;
  cs.lpszClass = lpClassName;
  cs.dwExStyle = fixExStyle(dwStyle, dwExStyle);  // from the style as given
  int showCmd = SW_SHOW;
  resolveDefaults(dwStyle, &cs, &showCmd);

  WindowRef w = newWindow(cls, parent, owner, dwStyle, dwExStyle, cs);
  HWND hwnd = w->hwnd;
  if (!placeNewWindow(*w, cs)) return NULL;
  if (!sendMessage(hwnd, WM_NCCREATE, 0, reinterpret_cast<LPARAM>(&cs)) || w->dead)
    return abandonCreation(hwnd);
  // At creation the rectangle goes out in screen coordinates, and the client
  // area comes back in them.
  POINT origin = parentOf(*w) ? clientOriginOnScreen(*parentOf(*w)) : POINT{0, 0};
  RECT rc = offsetRect(w->window, origin.x, origin.y);
  sendMessage(hwnd, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&rc));
  if (w->dead) return NULL;
  w->client = offsetRect(rc, -origin.x, -origin.y);
  if (sendMessage(hwnd, WM_CREATE, 0, reinterpret_cast<LPARAM>(&cs)) == -1 || w->dead)
    return abandonCreation(hwnd);

  if (isOverlapped(dwStyle)) w->needSize = true;
  else sendInitialSize(hwnd);
  if (isChildStyle(dwStyle)) sendParentNotify(hwnd, WM_CREATE);
  if (!findWindow(hwnd)) return NULL;
  applyCreationState(hwnd, dwStyle);
  if ((dwStyle & WS_VISIBLE) && findWindow(hwnd)) {
    if (dwStyle & WS_MAXIMIZE) showCmd = SW_SHOWMAXIMIZED;
    else if (dwStyle & WS_MINIMIZE) showCmd = SW_SHOWMINIMIZED;
    ShowWindow(hwnd, showCmd);
  }
  return findWindow(hwnd) ? hwnd : NULL;
}

BOOL WINAPI DestroyWindow(HWND hWnd) {
  WindowRef w = pinWindow(hWnd);
  if (!w) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  if (isDesktop(*w)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  if (w->destroying) return TRUE;

  if (isTopLevel(*w)) {
    std::vector<HWND> tops = desktopWindow().children;
    for (HWND t : tops) {
      Window* o = findWindow(t);
      if (o && o->owner == hWnd && !o->destroying) DestroyWindow(t);
    }
  }
  if (isChild(*w)) sendParentNotify(hWnd, WM_DESTROY);
  if (w->dead) return TRUE;
  if (w->style & WS_VISIBLE) {
    if (isChild(*w)) {
      ShowWindow(hWnd, SW_HIDE);
    } else {
      PositionRequest hide;
      hide.flags = SWP_HIDEWINDOW | SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE;
      setWindowPos(hWnd, hide);
    }
  }
  // Hiding without activation keeps a window active, also one hidden
  // before; going away does not.
  if (!w->dead && activeWindow() == hWnd) deactivate(hWnd);
  if (w->dead) return TRUE;
  markDestroying(*w);
  sendDestroy(hWnd);
  destroyTree(hWnd);
  return TRUE;
}

BOOL WINAPI IsWindow(HWND hWnd) { return findWindow(hWnd) != nullptr; }

BOOL WINAPI IsWindowVisible(HWND hWnd) {
  Window* w = findWindow(hWnd);
  while (w) {
    if (!(w->style & WS_VISIBLE)) return FALSE;
    if (isDesktop(*w)) return TRUE;
    w = findWindow(w->parent);
  }
  return FALSE;
}

BOOL WINAPI IsIconic(HWND hWnd) {
  Window* w = findWindow(hWnd);
  return w && (w->style & WS_MINIMIZE);
}

BOOL WINAPI IsZoomed(HWND hWnd) {
  Window* w = findWindow(hWnd);
  return w && (w->style & WS_MAXIMIZE);
}

BOOL WINAPI IsChild(HWND hWndParent, HWND hWnd) {
  Window* w = findWindow(hWnd);
  while (w && isChild(*w)) {
    if (w->parent == hWndParent) return TRUE;
    w = findWindow(w->parent);
  }
  return FALSE;
}

BOOL WINAPI IsWindowEnabled(HWND hWnd) {
  Window* w = checkWindow(hWnd);
  return w && !(w->style & WS_DISABLED);
}

BOOL WINAPI EnableWindow(HWND hWnd, BOOL bEnable) {
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  BOOL wasDisabled = (w->style & WS_DISABLED) != 0;
  if (bEnable && wasDisabled) {
    w->style &= ~static_cast<DWORD>(WS_DISABLED);
    sendMessage(hWnd, WM_ENABLE, TRUE, 0);
  } else if (!bEnable && !wasDisabled) {
    sendMessage(hWnd, WM_CANCELMODE, 0, 0);
    if (Window* again = findWindow(hWnd)) again->style |= WS_DISABLED;
    // Only the window itself loses the focus; a focused descendant keeps it.
    if (focusWindow() == hWnd) setFocus(NULL);
    sendMessage(hWnd, WM_ENABLE, FALSE, 0);
  } else if (!bEnable) {
    // Disabling a disabled window still ends whatever mode it was in.
    sendMessage(hWnd, WM_CANCELMODE, 0, 0);
  }
  return wasDisabled;
}

// ---- The tree ----

HWND WINAPI GetDesktopWindow(void) { return desktopHandle(); }

HWND WINAPI GetParent(HWND hWnd) {
  Window* w = checkWindow(hWnd);
  if (!w || isDesktop(*w)) return NULL;
  // The pop-up bit wins over the child bit, as on the system.
  if (w->style & WS_POPUP) return w->owner;
  if (isChild(*w)) return w->parent;
  return NULL;
}

HWND WINAPI GetAncestor(HWND hwnd, UINT gaFlags) {
  Window* w = checkWindow(hwnd);
  if (!w || isDesktop(*w)) return NULL;
  switch (gaFlags) {
  case GA_PARENT:
    return w->parent;
  case GA_ROOT:
    return topLevelOf(*w).hwnd;
  case GA_ROOTOWNER: {
    // GetParent's chain: parents of children, owners of pop-ups.
    HWND root = hwnd;
    for (HWND next = GetParent(root); next; next = GetParent(root)) root = next;
    return root;
  }
  default:
    return NULL;
  }
}

namespace {

// True if w's chain of owners holds owner: such a window cannot become
// owner's parent.
bool ownsWindow(HWND owner, const Window& w) {
  for (Window* o = findWindow(w.owner); o; o = findWindow(o->owner))
    if (o->hwnd == owner) return true;
  return false;
}

}  // namespace

HWND WINAPI SetParent(HWND hWndChild, HWND hWndNewParent) {
  WindowRef w = pinWindow(hWndChild);
  if (!w) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return NULL;
  }
  HWND target = hWndNewParent ? hWndNewParent : desktopHandle();
  Window* np = checkWindow(target);
  if (!np) return NULL;
  if (target == hWndChild || isAncestor(hWndChild, target) || isDesktop(*w) ||
      ownsWindow(hWndChild, *np)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return NULL;
  }
  HWND previous = w->parent;
  BOOL wasVisible = ShowWindow(hWndChild, SW_HIDE);
  if (w->dead || !findWindow(target)) return NULL;
  if (Window* old = findWindow(w->parent)) unlinkChild(*old, hWndChild);
  w->parent = target;
  linkChild(*findWindow(target), hWndChild, true);
  resizeSurfaceFor(*w);
  PositionRequest move;
  move.insertAfter = HWND_TOP;
  move.x = w->window.left;
  move.y = w->window.top;
  move.flags = SWP_NOSIZE;
  move.forceMove = true;
  setWindowPos(hWndChild, move);
  if (wasVisible && !w->dead) ShowWindow(hWndChild, SW_SHOW);
  return previous;
}

HWND WINAPI GetLastActivePopup(HWND hWnd) {
  Window* w = checkWindow(hWnd);
  if (!w) return NULL;
  return findWindow(w->lastActive) ? w->lastActive : hWnd;
}

HWND WINAPI GetWindow(HWND hWnd, UINT uCmd) {
  Window* w = checkWindow(hWnd);
  if (!w) return NULL;
  if (uCmd == GW_CHILD) return w->children.empty() ? NULL : w->children.front();
  if (uCmd == GW_OWNER) return w->owner;
  Window* p = findWindow(w->parent);
  if (!p) return NULL;
  const auto& sib = p->children;
  auto it = std::find(sib.begin(), sib.end(), hWnd);
  switch (uCmd) {
  case GW_HWNDFIRST:
    return sib.front();
  case GW_HWNDLAST:
    return sib.back();
  case GW_HWNDNEXT:
    return (it == sib.end() || it + 1 == sib.end()) ? NULL : *(it + 1);
  case GW_HWNDPREV:
    return (it == sib.end() || it == sib.begin()) ? NULL : *(it - 1);
  default:
    SetLastError(ERROR_INVALID_PARAMETER);
    return NULL;
  }
}

HWND WINAPI GetTopWindow(HWND hWnd) {
  return GetWindow(hWnd ? hWnd : desktopHandle(), GW_CHILD);
}

BOOL WINAPI EnumWindows(WNDENUMPROC lpEnumFunc, LPARAM lParam) {
  std::vector<HWND> tops = desktopWindow().children;
  for (HWND h : tops)
    if (findWindow(h) && !lpEnumFunc(h, lParam)) return FALSE;
  return TRUE;
}

BOOL WINAPI EnumChildWindows(HWND hWndParent, WNDENUMPROC lpEnumFunc, LPARAM lParam) {
  if (!hWndParent) return EnumWindows(lpEnumFunc, lParam);
  if (!checkWindow(hWndParent)) return FALSE;
  // FALSE when stopped, and when there was nothing to enumerate.
  std::vector<HWND> all = descendantsPreOrder(hWndParent);
  bool any = false;
  for (HWND h : all) {
    if (!findWindow(h)) continue;
    any = true;
    if (!lpEnumFunc(h, lParam)) return FALSE;
  }
  return any;
}

HWND WINAPI FindWindowExA(HWND hWndParent, HWND hWndChildAfter, LPCSTR lpszClass,
                          LPCSTR lpszWindow) {
  Window* parent = checkWindow(hWndParent ? hWndParent : desktopHandle());
  if (!parent) return NULL;
  // A class that does not exist matches nothing.
  std::shared_ptr<WindowClass> cls = lpszClass ? findClass(lpszClass, NULL) : nullptr;
  if (lpszClass && !cls) return NULL;
  std::vector<HWND> children = parent->children;
  auto it = children.begin();
  if (hWndChildAfter) {
    it = std::find(children.begin(), children.end(), hWndChildAfter);
    if (it == children.end()) {
      SetLastError(ERROR_INVALID_WINDOW_HANDLE);
      return NULL;
    }
    ++it;
  }
  for (; it != children.end(); ++it) {
    Window* w = findWindow(*it);
    if (!w) continue;
    if (cls && w->cls != cls) continue;
    if (lpszWindow && w->text != lpszWindow) continue;
    return *it;
  }
  return NULL;
}

HWND WINAPI FindWindowA(LPCSTR lpClassName, LPCSTR lpWindowName) {
  return FindWindowExA(NULL, NULL, lpClassName, lpWindowName);
}

HWND WINAPI GetDlgItem(HWND hDlg, int nIDDlgItem) {
  Window* w = checkWindow(hDlg);
  if (!w) return NULL;
  for (HWND c : w->children) {
    Window* child = findWindow(c);
    if (child && static_cast<int>(child->id) == nIDDlgItem) return c;
  }
  return NULL;
}

int WINAPI GetDlgCtrlID(HWND hWnd) {
  Window* w = checkWindow(hWnd);
  return w ? static_cast<int>(w->id) : 0;
}

// ---- Window data ----

LONG WINAPI GetWindowLongA(HWND hWnd, int nIndex) {
  Window* w = checkWindow(hWnd);
  if (!w) return 0;
  if (nIndex >= 0) {
    if (!extraIndexValid(*w, nIndex)) {
      SetLastError(ERROR_INVALID_INDEX);
      return 0;
    }
    LONG value;
    memcpy(&value, &w->extra[static_cast<size_t>(nIndex)], sizeof value);
    return value;
  }
  switch (nIndex) {
  case GWL_WNDPROC:
    // The desktop's procedure lives in another process.
    if (isDesktop(*w)) {
      SetLastError(ERROR_ACCESS_DENIED);
      return 0;
    }
    return reinterpret_cast<LONG>(w->proc);
  case GWL_HINSTANCE:
    return reinterpret_cast<LONG>(w->instance);
  case GWL_HWNDPARENT: {
    // The parent, or for a window of the desktop its owner, whatever the style.
    Window* p = parentOf(*w);
    if (!p) return 0;
    return reinterpret_cast<LONG>(isDesktop(*p) ? w->owner : w->parent);
  }
  case GWL_ID:
    return static_cast<LONG>(w->id);
  case GWL_STYLE:
    return static_cast<LONG>(w->style);
  case GWL_EXSTYLE:
    return static_cast<LONG>(w->exStyle);
  case GWL_USERDATA:
    return w->userData;
  default:
    SetLastError(ERROR_INVALID_INDEX);
    return 0;
  }
}

LONG WINAPI SetWindowLongA(HWND hWnd, int nIndex, LONG dwNewLong) {
  Window* w = checkWindow(hWnd);
  if (!w) return 0;
  LONG old = 0;
  if (nIndex >= 0) {
    if (!extraIndexValid(*w, nIndex)) {
      SetLastError(ERROR_INVALID_INDEX);
      return 0;
    }
    memcpy(&old, &w->extra[static_cast<size_t>(nIndex)], sizeof old);
    memcpy(&w->extra[static_cast<size_t>(nIndex)], &dwNewLong, sizeof dwNewLong);
    return old;
  }
  // The desktop belongs to the system: its data cannot be changed.
  if (isDesktop(*w)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
  }
  switch (nIndex) {
  case GWL_STYLE:
  case GWL_EXSTYLE:
    return setStyle(hWnd, nIndex, dwNewLong);
  case GWL_WNDPROC:
    old = reinterpret_cast<LONG>(w->proc);
    w->proc = reinterpret_cast<WNDPROC>(dwNewLong);
    return old;
  case GWL_HINSTANCE:
    old = reinterpret_cast<LONG>(w->instance);
    w->instance = reinterpret_cast<HINSTANCE>(dwNewLong);
    return old;
  case GWL_HWNDPARENT:
    if (!parentOf(*w)) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return 0;
    }
    // For a window of another window it is SetParent.
    if (!isDesktop(*parentOf(*w)))
      return reinterpret_cast<LONG>(SetParent(hWnd, reinterpret_cast<HWND>(dwNewLong)));
    old = reinterpret_cast<LONG>(w->owner);
    // An owner that is the window itself, or owned by it, is refused silently.
    for (HWND o = reinterpret_cast<HWND>(dwNewLong); o; o = findWindow(o) ? findWindow(o)->owner : nullptr)
      if (o == hWnd) return old;
    w->owner = reinterpret_cast<HWND>(dwNewLong);
    return old;
  case GWL_ID:
    old = static_cast<LONG>(w->id);
    w->id = static_cast<UINT_PTR>(dwNewLong);
    return old;
  case GWL_USERDATA:
    old = w->userData;
    w->userData = dwNewLong;
    return old;
  default:
    SetLastError(ERROR_INVALID_INDEX);
    return 0;
  }
}

LRESULT WINAPI CallWindowProcA(WNDPROC lpPrevWndFunc, HWND hWnd, UINT Msg, WPARAM wParam,
                               LPARAM lParam) {
  if (!lpPrevWndFunc) return 0;
  return lpPrevWndFunc(hWnd, Msg, wParam, lParam);
}

// ---- Text ----

BOOL WINAPI SetWindowTextA(HWND hWnd, LPCSTR lpString) {
  if (!checkWindow(hWnd)) return FALSE;
  return static_cast<BOOL>(sendMessage(hWnd, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(lpString)));
}

int WINAPI GetWindowTextA(HWND hWnd, LPSTR lpString, int nMaxCount) {
  if (!checkWindow(hWnd)) {
    if (lpString && nMaxCount > 0) lpString[0] = '\0';
    return 0;
  }
  if (!lpString || nMaxCount <= 0) return 0;
  lpString[0] = '\0';
  return static_cast<int>(sendMessage(hWnd, WM_GETTEXT, static_cast<WPARAM>(nMaxCount),
                                      reinterpret_cast<LPARAM>(lpString)));
}

int WINAPI GetWindowTextLengthA(HWND hWnd) {
  if (!checkWindow(hWnd)) return 0;
  return static_cast<int>(sendMessage(hWnd, WM_GETTEXTLENGTH, 0, 0));
}

}  // extern "C"

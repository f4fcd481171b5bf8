// Window positions: coordinates, SetWindowPos and its messages, ShowWindow
// with minimise/maximise/restore, placement, activation and focus.
// Invariants: a window's rectangles are stored in its parent's client
// coordinates; WM_WINDOWPOSCHANGING is sent before anything changes and
// WM_WINDOWPOSCHANGED after everything has, with the flags describing what
// really changed; a top-level window's surface matches its size (up to
// kMaxSurfaceSide pixels a side).
#include "user/user.h"

#include "gdi/gdi.h"

#include <algorithm>
#include <map>

namespace w32 {

namespace {

struct FocusState {
  HWND active = nullptr;
  HWND focus = nullptr;
  HWND capture = nullptr;
};

FocusState& focusState() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static FocusState& s = *new FocusState;
  return s;
}

constexpr COLORREF kUnpaintedColor = RGB(255, 255, 255);

bool sameSize(const RECT& a, const RECT& b) {
  return rectWidth(a) == rectWidth(b) && rectHeight(a) == rectHeight(b);
}

bool sameOrigin(const RECT& a, const RECT& b) { return a.left == b.left && a.top == b.top; }

bool isTopmost(HWND hwnd) {
  Window* w = findWindow(hwnd);
  return w && (w->exStyle & WS_EX_TOPMOST);
}

// The top-level windows owned by hwnd, directly or through others, in
// z-order.
std::vector<HWND> ownedWindows(const Window& parent, HWND hwnd) {
  std::vector<HWND> owned;
  for (HWND c : parent.children) {
    for (HWND o = c; o;) {
      Window* ow = findWindow(o);
      o = ow ? ow->owner : nullptr;
      if (o == hwnd) {
        owned.push_back(c);
        break;
      }
    }
  }
  return owned;
}

void setTopmost(HWND hwnd, bool on) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  if (on) w->exStyle |= WS_EX_TOPMOST;
  else w->exStyle &= ~static_cast<DWORD>(WS_EX_TOPMOST);
}

// A window and every window it owns enter or leave the topmost band.
void setTopmostTree(const Window& parent, HWND hwnd, bool on) {
  setTopmost(hwnd, on);
  for (HWND o : ownedWindows(parent, hwnd)) setTopmost(o, on);
}

// What a place in the z-order does to the topmost band, as the system
// documents it: HWND_TOPMOST takes the window and the windows it owns in; a
// topmost window sent to the bottom or placed after a window that is not
// topmost leaves the band, and so does its whole owner tree, as with
// HWND_NOTOPMOST; a window that is not topmost takes only the windows it
// owns out. A window owned by a topmost window is topmost itself.
void changeBand(const Window& parent, Window& w, HWND insertAfter) {
  HWND root = rootOwnerOf(w).hwnd;
  const bool special = insertAfter == HWND_TOP || insertAfter == HWND_BOTTOM ||
                       insertAfter == HWND_TOPMOST || insertAfter == HWND_NOTOPMOST;
  if (insertAfter == HWND_TOPMOST) {
    setTopmostTree(parent, w.hwnd, true);
  } else if (insertAfter == HWND_NOTOPMOST || insertAfter == HWND_BOTTOM ||
             (!special && isTopmost(w.hwnd) && !isTopmost(insertAfter))) {
    setTopmostTree(parent, isTopmost(w.hwnd) ? root : w.hwnd, false);
  } else if (w.owner && isTopmost(w.owner)) {
    setTopmost(w.hwnd, true);
  }
}

// Where a window goes in its siblings' order (which no longer holds it):
// HWND_TOP, HWND_TOPMOST and HWND_NOTOPMOST put it first in its band, and a
// place after a named sibling is held within the band.
size_t placeInOrder(const std::vector<HWND>& order, bool bands, bool topmost, HWND insertAfter) {
  size_t firstNormal = 0;
  if (bands)
    while (firstNormal < order.size() && isTopmost(order[firstNormal])) ++firstNormal;
  if (insertAfter == HWND_BOTTOM) return order.size();
  if (insertAfter == HWND_TOP || insertAfter == HWND_TOPMOST || insertAfter == HWND_NOTOPMOST)
    return topmost ? 0 : firstNormal;
  auto it = std::find(order.begin(), order.end(), insertAfter);
  size_t at = it == order.end() ? 0 : static_cast<size_t>(it - order.begin()) + 1;
  if (bands) at = topmost ? std::min(at, firstNormal) : std::max(at, firstNormal);
  return at;
}

// Moves hwnd in its parent's z-order; true if the order or the band
// changed. Top-level windows keep two bands, topmost windows above the
// others (changeBand). An owned window never goes below its owner, and the
// windows a window owns that it passes come along, just above it in their
// order, as the system keeps owned pop-ups above their owners.
bool applyZOrder(Window& w, HWND insertAfter) {
  Window* p = parentOf(w);
  if (!p) return false;
  const bool bands = isDesktop(*p);
  const bool wasTopmost = (w.exStyle & WS_EX_TOPMOST) != 0;
  if (bands) changeBand(*p, w, insertAfter);
  // HWND_NOTOPMOST does not move a window that was not topmost.
  if (bands && insertAfter == HWND_NOTOPMOST && !wasTopmost) return false;
  const bool topmost = bands && (w.exStyle & WS_EX_TOPMOST);
  std::vector<HWND> order = p->children;
  order.erase(std::remove(order.begin(), order.end(), w.hwnd), order.end());
  size_t at = placeInOrder(order, bands, topmost, insertAfter);
  if (bands && w.owner) {
    auto owner = std::find(order.begin(), order.end(), w.owner);
    at = std::min(at, static_cast<size_t>(owner - order.begin()));
  }
  order.insert(order.begin() + static_cast<std::ptrdiff_t>(at), w.hwnd);
  if (bands) {
    std::vector<HWND> passed;
    for (HWND o : ownedWindows(*p, w.hwnd)) {
      auto self = std::find(order.begin(), order.end(), w.hwnd);
      if (std::find(self, order.end(), o) != order.end()) passed.push_back(o);
    }
    for (HWND o : passed) {
      order.erase(std::remove(order.begin(), order.end(), o), order.end());
      if (topmost) setTopmost(o, true);
    }
    order.insert(std::find(order.begin(), order.end(), w.hwnd), passed.begin(), passed.end());
  }
  if (order == p->children) return wasTopmost != ((w.exStyle & WS_EX_TOPMOST) != 0);
  p->children = order;
  return true;
}

WPARAM sizeKind(const Window& w) {
  if (w.style & WS_MINIMIZE) return SIZE_MINIMIZED;
  if (w.style & WS_MAXIMIZE) return SIZE_MAXIMIZED;
  return SIZE_RESTORED;
}

void sendSizeAndMove(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  RECT c = w->client;
  sendMessage(hwnd, WM_SIZE, sizeKind(*w), MAKELPARAM(rectWidth(c), rectHeight(c)));
  if ((w = findWindow(hwnd)) == nullptr) return;
  sendMessage(hwnd, WM_MOVE, 0, MAKELPARAM(w->client.left, w->client.top));
}

// The parent area a child leaves (or would cover) needs repainting.
void exposeParentArea(Window& child, const RECT& area) {
  Window* p = parentOf(child);
  if (!p || isDesktop(*p)) return;
  invalidate(*p, &area, true, false);
}

// One SetWindowPos in progress: what was asked, what the window was, what
// it becomes.
struct Move {
  WINDOWPOS wp{};
  UINT flags = 0;  // wp.flags without SHOW/HIDE requests that change nothing
  RECT oldWindow{}, oldClient{}, newWindow{}, newClient{};
  bool sized = false;
  bool moved = false;
  bool wasVisible = false;
  bool wasDrawable = false;  // visible with all its ancestors
};

// The WINDOWPOS of WM_WINDOWPOSCHANGING holds the caller's values, also
// where SWP_NOMOVE or SWP_NOSIZE says they are not used.
WINDOWPOS requestedPos(const Window& w, const PositionRequest& request) {
  WINDOWPOS wp;
  wp.hwnd = w.hwnd;
  wp.hwndInsertAfter = request.insertAfter;
  // Positions are held to the 16-bit range and sizes to 0..32767 before the
  // window is asked, as the system does.
  wp.x = std::clamp(request.x, -32768, 32767);
  wp.y = std::clamp(request.y, -32768, 32767);
  wp.cx = std::clamp(request.cx, 0, 32767);
  wp.cy = std::clamp(request.cy, 0, 32767);
  wp.flags = request.flags;
  if (wp.hwndInsertAfter == w.hwnd) wp.flags |= SWP_NOZORDER;
  return wp;
}

// Reads back what WM_WINDOWPOSCHANGING left and works out the change.
void planMove(const Window& w, const PositionRequest& request, Move* m) {
  m->flags = m->wp.flags;
  m->wasVisible = (w.style & WS_VISIBLE) != 0;
  m->wasDrawable = isDrawable(w);
  if (m->wasVisible) m->flags &= ~static_cast<UINT>(SWP_SHOWWINDOW);
  else m->flags &= ~static_cast<UINT>(SWP_HIDEWINDOW);
  m->oldWindow = w.window;
  m->oldClient = w.client;
  // A minimised window keeps its size; a minimised top-level window stays
  // where minimising put it.
  if ((w.style & WS_MINIMIZE) && !request.stateChanged)
    m->flags |= isChild(w) ? SWP_NOSIZE : SWP_NOMOVE | SWP_NOSIZE;
  // What the flags keep is kept whatever the WINDOWPOS says.
  if (m->flags & SWP_NOMOVE) {
    m->wp.x = w.window.left;
    m->wp.y = w.window.top;
  }
  if (m->flags & SWP_NOSIZE) {
    m->wp.cx = rectWidth(w.window);
    m->wp.cy = rectHeight(w.window);
  }
  m->newWindow = makeRect(m->wp.x, m->wp.y, saturatingAdd(m->wp.x, m->wp.cx),
                          saturatingAdd(m->wp.y, m->wp.cy));
  m->sized = !sameSize(m->oldWindow, m->newWindow);
  m->moved = !sameOrigin(m->oldWindow, m->newWindow) || request.forceMove;
  m->newClient = offsetRect(m->oldClient, wrapSub(m->newWindow.left, m->oldWindow.left),
                            wrapSub(m->newWindow.top, m->oldWindow.top));
}

// WM_NCCALCSIZE(TRUE) decides the new client rectangle; false if the
// window went away meanwhile.
bool calcClient(HWND hwnd, Move* m) {
  NCCALCSIZE_PARAMS params;
  params.rgrc[0] = m->newWindow;
  params.rgrc[1] = m->oldWindow;
  params.rgrc[2] = m->oldClient;
  params.lppos = &m->wp;
  sendMessage(hwnd, WM_NCCALCSIZE, TRUE, reinterpret_cast<LPARAM>(&params));
  if (!findWindow(hwnd)) return false;
  m->newClient = params.rgrc[0];
  return true;
}

// True if a move with these flags activates w, a top-level window that is
// not active.
bool activatesTopLevel(const Window& w, UINT flags) {
  return !(flags & (SWP_NOACTIVATE | SWP_HIDEWINDOW)) && isTopLevel(w) && !isChild(w) &&
         focusState().active != w.hwnd;
}

// The place a move takes in the z-order. A top-level window the move
// activates goes to the top of its band whatever place after a window or
// at the bottom was asked, as on the system (only SWP_NOACTIVATE sends an
// inactive window down); entering or leaving the topmost band is kept.
HWND placeTaken(const Window& w, const Move& m) {
  HWND after = m.wp.hwndInsertAfter;
  if (activatesTopLevel(w, m.flags) && after != HWND_TOPMOST && after != HWND_NOTOPMOST)
    return HWND_TOP;
  return after;
}

// Every window from w's root owner down to w, the root first.
std::vector<HWND> ownerChain(Window& w) {
  std::vector<HWND> chain;
  for (Window* c = &w; c && isTopLevel(*c); c = findWindow(c->owner))
    chain.insert(chain.begin(), c->hwnd);
  return chain;
}

// Raising a window raises its owners, each just below the windows it owns;
// sending it to the bottom sends them down the same way. Each window from
// the root owner down to it takes the place in turn.
bool placeWithOwners(Window& w, HWND insertAfter) {
  bool changed = false;
  if (isTopLevel(w) && (insertAfter == HWND_TOP || insertAfter == HWND_BOTTOM)) {
    for (HWND h : ownerChain(w))
      if (Window* c = findWindow(h); c && c != &w) changed |= applyZOrder(*c, insertAfter);
  }
  return applyZOrder(w, insertAfter) || changed;
}

// Stores the new rectangles, z-order and visibility; true if the z-order
// changed.
bool applyMove(Window& w, const Move& m) {
  w.window = m.newWindow;
  w.client = m.newClient;
  if (!(w.style & (WS_MINIMIZE | WS_MAXIMIZE))) w.normal = m.newWindow;
  bool zChanged = !(m.flags & SWP_NOZORDER) && placeWithOwners(w, placeTaken(w, m));
  if (m.flags & SWP_SHOWWINDOW) w.style |= WS_VISIBLE;
  if (m.flags & SWP_HIDEWINDOW) w.style &= ~static_cast<DWORD>(WS_VISIBLE);
  resizeSurfaceFor(w);
  return zChanged;
}

// The flags of WM_WINDOWPOSCHANGED: what was asked plus what did not change.
UINT changedFlags(const Window& w, const Move& m, bool zChanged, const PositionRequest& request) {
  UINT flags = m.flags;
  if (!m.sized) flags |= SWP_NOSIZE;
  if (!m.moved) flags |= SWP_NOMOVE;
  if (!zChanged) flags |= SWP_NOZORDER;
  if (sameSize(m.oldClient, w.client)) flags |= kSwpNoClientSize;
  if (sameOrigin(m.oldClient, w.client) && !request.forceMove) flags |= kSwpNoClientMove;
  if (request.stateChanged) flags |= kSwpStateChanged;
  // Nothing of a window unseen before and after is drawn.
  if (!m.wasDrawable && !isDrawable(w)) flags |= SWP_NOREDRAW;
  return flags;
}

// Redraw after a change of position, size, frame or visibility.
void redrawAfterMove(Window& w, UINT flags, const RECT& oldWindow, const RECT& oldClient,
                     bool wasVisible) {
  HWND hwnd = w.hwnd;
  if (flags & SWP_HIDEWINDOW) {
    if (wasVisible && isChild(w)) exposeParentArea(w, oldWindow);
    return;
  }
  if (!isDrawable(w)) return;
  bool sized = !sameSize(oldWindow, w.window);
  bool moved = !sameOrigin(oldWindow, w.window);
  if (flags & SWP_SHOWWINDOW) {
    invalidate(w, nullptr, true, true);
    for (HWND d : descendantsPreOrder(hwnd))
      if (Window* dw = findWindow(d); dw && isDrawable(*dw)) invalidate(*dw, nullptr, true, true);
    if (!isChild(w)) eraseNowWhereClipped(hwnd);
    return;
  }
  if (!sized && !moved && !(flags & SWP_FRAMECHANGED)) return;
  if (isChild(w)) {
    if (moved || sized) {
      exposeParentArea(w, oldWindow);
      invalidate(w, nullptr, true, true);
    } else {
      invalidate(w, nullptr, true, true);
    }
    if (Window* p = parentOf(w)) eraseNow(p->hwnd, false);
    return;
  }
  if (!sized && !(flags & SWP_FRAMECHANGED)) return;
  w.ncPending = true;
  bool all = (flags & SWP_FRAMECHANGED) ||
             ((w.cls && (w.cls->style & CS_HREDRAW)) && rectWidth(oldClient) != rectWidth(w.client)) ||
             ((w.cls && (w.cls->style & CS_VREDRAW)) && rectHeight(oldClient) != rectHeight(w.client));
  if (all) {
    invalidate(w, nullptr, true, false);
  } else {
    RECT right = makeRect(rectWidth(oldClient), 0, rectWidth(w.client), rectHeight(w.client));
    RECT bottom = makeRect(0, rectHeight(oldClient), rectWidth(w.client), rectHeight(w.client));
    invalidate(w, &right, true, false);
    invalidate(w, &bottom, true, false);
  }
  eraseNowWhereClipped(hwnd);
}

// A window that may take the activation another gives up.
bool canActivate(HWND hwnd, HWND leaving) {
  Window* w = findWindow(hwnd);
  return w && hwnd != leaving && !w->destroying && (w->style & WS_VISIBLE) && !isChild(*w) &&
         !(w->style & (WS_MINIMIZE | WS_DISABLED));
}

// The window that takes the activation a window gives up, as on the
// system: the top-level window of its owner, else the first from the top
// (Wine looks below the window first; the system's topmost windows win).
void activateOther(HWND leaving) {
  Window* w = findWindow(leaving);
  if (w && (w->style & WS_POPUP) && w->owner) {
    if (Window* owner = findWindow(w->owner)) {
      HWND top = topLevelOf(*owner).hwnd;
      if (canActivate(top, leaving)) return activate(top);
    }
  }
  const std::vector<HWND> tops = desktopWindow().children;
  for (HWND h : tops)
    if (canActivate(h, leaving)) return activate(h);
}

// Minimising hands the activation to the first window from the top other
// than the window's owners, which activation raised just below it: the
// system's own tests find the window below an owned pop-up activated when
// the pop-up is minimised, not its owner as when it is hidden. An owner
// takes it only when nothing else can.
void activateAfterMinimize(HWND leaving) {
  std::vector<HWND> owners;
  if (Window* w = findWindow(leaving)) owners = ownerChain(*w);
  const std::vector<HWND> tops = desktopWindow().children;
  for (HWND h : tops)
    if (canActivate(h, leaving) && std::find(owners.begin(), owners.end(), h) == owners.end())
      return activate(h);
  for (HWND h : tops)
    if (canActivate(h, leaving)) return activate(h);
}

// The top-level windows owned by hwnd itself, in z-order.
std::vector<HWND> popupsOwnedBy(HWND hwnd) {
  std::vector<HWND> owned;
  for (HWND h : desktopWindow().children)
    if (Window* w = findWindow(h); w && w->owner == hwnd) owned.push_back(h);
  return owned;
}

// ---- Minimise and maximise ----

// Minimised children (in their parent's client area) and owned pop-ups (on
// the screen) are arranged from the bottom-left corner, left to right, then
// row upon row, in the first place no minimised sibling holds; unowned
// top-level windows are parked off the screen.
POINT minimizedPosition(Window& w) {
  if (!isChild(w) && !w.owner) return POINT{kIconicPosition, kIconicPosition};
  Window* p = parentOf(w);
  bool child = isChild(w);
  LONG width = child && p ? rectWidth(p->client) : kScreenWidth;
  LONG bottom = child && p ? rectHeight(p->client) : kScreenHeight;
  std::vector<RECT> taken;
  if (p) {
    for (HWND h : p->children) {
      Window* s = findWindow(h);
      if (s && s != &w && (s->style & WS_MINIMIZE) && (child || s->owner)) taken.push_back(s->window);
    }
  }
  auto isFree = [&](const RECT& slot) {
    for (const RECT& r : taken)
      if (r.left < slot.right && slot.left < r.right && r.top < slot.bottom && slot.top < r.bottom)
        return false;
    return true;
  };
  for (LONG y = bottom - kMinimizedHeight; y > -kMinimizedHeight; y -= kMinimizedHeight) {
    for (LONG x = 0; x == 0 || x + kMinimizedWidth <= width; x += kMinimizedWidth) {
      if (isFree(makeRect(x, y, x + kMinimizedWidth, y + kMinimizedHeight))) return POINT{x, y};
    }
  }
  return POINT{0, bottom - kMinimizedHeight};
}

RECT maximizedRect(const MINMAXINFO& mmi) {
  return makeRect(mmi.ptMaxPosition.x, mmi.ptMaxPosition.y, mmi.ptMaxPosition.x + mmi.ptMaxSize.x,
                  mmi.ptMaxPosition.y + mmi.ptMaxSize.y);
}

constexpr UINT kNothingToDo = SWP_NOSIZE | SWP_NOMOVE;

UINT minimize(Window& w, RECT* rect, bool* stateChanged) {
  w.restoreToMaximized = (w.style & WS_MAXIMIZE) != 0;
  HWND focus = focusState().focus;
  if (focus == w.hwnd || isAncestor(w.hwnd, focus)) setFocus(isChild(w) ? w.parent : nullptr);
  if (w.dead) return kNothingToDo;
  if (!(w.style & WS_MINIMIZE)) *stateChanged = true;
  w.style = (w.style | WS_MINIMIZE) & ~static_cast<DWORD>(WS_MAXIMIZE);
  POINT at = minimizedPosition(w);
  w.minPos = at;
  *rect = makeRect(at.x, at.y, at.x + kMinimizedWidth, at.y + kMinimizedHeight);
  return SWP_NOCOPYBITS;
}

UINT maximize(Window& w, RECT* rect, bool* stateChanged) {
  if ((w.style & WS_MAXIMIZE) && (w.style & WS_VISIBLE)) return kNothingToDo;
  MINMAXINFO mmi = queryMinMaxInfo(w.hwnd);
  if (w.dead) return kNothingToDo;
  if (!(w.style & WS_MAXIMIZE)) *stateChanged = true;
  // Maximised from minimised, it is restored to maximised later on.
  if (w.style & WS_MINIMIZE) w.restoreToMaximized = true;
  w.style = (w.style | WS_MAXIMIZE) & ~static_cast<DWORD>(WS_MINIMIZE);
  *rect = maximizedRect(mmi);
  return 0;
}

// Back to the normal rectangle, or to maximised if the window was maximised
// when it was minimised.
UINT restore(Window& w, RECT* rect, bool* stateChanged) {
  DWORD old = w.style;
  w.style &= ~static_cast<DWORD>(WS_MINIMIZE | WS_MAXIMIZE);
  if ((old & WS_MINIMIZE) && w.restoreToMaximized) {
    MINMAXINFO mmi = queryMinMaxInfo(w.hwnd);
    if (w.dead) return kNothingToDo;
    w.style |= WS_MAXIMIZE;
    *stateChanged = true;
    *rect = maximizedRect(mmi);
    return 0;
  }
  if (!(old & (WS_MINIMIZE | WS_MAXIMIZE))) return 0;
  *stateChanged = true;
  *rect = w.normal;
  return 0;
}

// Changes the state and says where the window goes, with swp flags in the
// system's manner (SWP_NOSIZE|SWP_NOMOVE when nothing is to be done).
bool isMinimizing(int cmd) {
  return cmd == SW_MINIMIZE || cmd == SW_SHOWMINNOACTIVE || cmd == SW_SHOWMINIMIZED ||
         cmd == SW_FORCEMINIMIZE;
}

UINT minMaximize(HWND hwnd, int cmd, RECT* rect, bool* stateChanged) {
  WindowRef w = pinWindow(hwnd);
  bool minimizing = isMinimizing(cmd);
  UINT swp = 0;
  if (w->style & WS_MINIMIZE) {
    if (minimizing) return kNothingToDo;
    if (!sendMessage(hwnd, WM_QUERYOPEN, 0, 0) || w->dead) return kNothingToDo;
    swp |= SWP_NOCOPYBITS;
  }
  if (minimizing) return swp | minimize(*w, rect, stateChanged);
  if (cmd == SW_MAXIMIZE) return swp | maximize(*w, rect, stateChanged);
  return swp | restore(*w, rect, stateChanged);
}

BOOL positionWithState(HWND hwnd, const RECT& r, UINT swp, bool stateChanged) {
  PositionRequest req;
  req.insertAfter = HWND_TOP;
  req.x = r.left;
  req.y = r.top;
  req.cx = rectWidth(r);
  req.cy = rectHeight(r);
  req.flags = swp;
  req.stateChanged = stateChanged;
  return setWindowPos(hwnd, req);
}

// What ShowWindow asks of SetWindowPos for a command; done when the
// command has nothing to do, with the answer to give.
struct ShowPlan {
  UINT swp = 0;
  RECT pos{};
  bool stateChanged = false;
  bool done = false;
  BOOL answer = FALSE;
};

ShowPlan finished(BOOL answer) {
  ShowPlan p;
  p.done = true;
  p.answer = answer;
  return p;
}

ShowPlan planShow(HWND hwnd, int cmd) {
  Window& w = *findWindow(hwnd);
  const BOOL wasVisible = (w.style & WS_VISIBLE) != 0;
  ShowPlan plan;
  plan.pos = w.window;
  switch (cmd) {
  case SW_HIDE:
    if (!wasVisible) return finished(FALSE);
    plan.swp |= SWP_HIDEWINDOW | SWP_NOSIZE | SWP_NOMOVE;
    if (hwnd != focusState().active) plan.swp |= SWP_NOACTIVATE | SWP_NOZORDER;
    return plan;
  case SW_FORCEMINIMIZE:
    // Forcing is for windows that cannot answer: it never shows one.
    if (!wasVisible) return finished(FALSE);
    [[fallthrough]];
  case SW_SHOWMINNOACTIVE:
  case SW_MINIMIZE:
    plan.swp |= SWP_NOACTIVATE | SWP_NOZORDER;
    [[fallthrough]];
  case SW_SHOWMINIMIZED:
    plan.swp |= SWP_SHOWWINDOW | SWP_FRAMECHANGED;
    if (w.style & WS_MINIMIZE) {
      // Already minimised: a hidden window is shown where it is.
      if (wasVisible) return finished(TRUE);
      plan.swp |= SWP_NOSIZE | SWP_NOMOVE;
      return plan;
    }
    plan.swp |= minMaximize(hwnd, cmd, &plan.pos, &plan.stateChanged);
    return plan;
  case SW_SHOWMAXIMIZED:
    if (!wasVisible) plan.swp |= SWP_SHOWWINDOW;
    plan.swp |= SWP_FRAMECHANGED;
    plan.swp |= minMaximize(hwnd, SW_MAXIMIZE, &plan.pos, &plan.stateChanged);
    return plan;
  case SW_SHOWNA:
    plan.swp |= SWP_NOACTIVATE | SWP_SHOWWINDOW | SWP_NOSIZE | SWP_NOMOVE;
    if (isChild(w)) plan.swp |= SWP_NOZORDER;
    return plan;
  case SW_SHOW:
    if (wasVisible) return finished(TRUE);
    plan.swp |= SWP_SHOWWINDOW | SWP_NOSIZE | SWP_NOMOVE;
    if (isChild(w)) plan.swp |= SWP_NOACTIVATE | SWP_NOZORDER;
    return plan;
  case SW_SHOWNOACTIVATE:
    // Shown in its normal state: not to be restored to maximised.
    w.restoreToMaximized = false;
    plan.swp |= SWP_NOACTIVATE | SWP_NOZORDER;
    [[fallthrough]];
  case SW_RESTORE:
  case SW_SHOWNORMAL:
  case SW_SHOWDEFAULT:
    if (!wasVisible) plan.swp |= SWP_SHOWWINDOW;
    if (w.style & (WS_MINIMIZE | WS_MAXIMIZE)) {
      plan.swp |= SWP_FRAMECHANGED;
      plan.swp |= minMaximize(hwnd, SW_RESTORE, &plan.pos, &plan.stateChanged);
    } else {
      if (wasVisible) return finished(TRUE);
      plan.swp |= SWP_NOSIZE | SWP_NOMOVE;
    }
    if (findWindow(hwnd) && isChild(w) && !plan.stateChanged) plan.swp |= SWP_NOACTIVATE | SWP_NOZORDER;
    return plan;
  default:
    SetLastError(ERROR_INVALID_PARAMETER);
    return finished(FALSE);
  }
}

// After the move: focus leaves a hidden window, the first show pays the owed
// WM_SIZE/WM_MOVE, and a window leaving the minimised state takes the focus.
void afterShow(HWND hwnd, int cmd, DWORD oldStyle, UINT swp) {
  Window* w = findWindow(hwnd);
  // Only a hidden window that has the focus itself gives it up: a focused
  // descendant keeps it, as on the system.
  if (cmd == SW_HIDE && focusState().focus == hwnd) setFocus(isChild(*w) ? w->parent : nullptr);
  if ((w = findWindow(hwnd)) && w->needSize) {
    w->needSize = false;
    sendSizeAndMove(hwnd);
  }
  if ((w = findWindow(hwnd)) && (oldStyle & WS_MINIMIZE) && !(w->style & WS_MINIMIZE)) {
    setFocus(hwnd);
    if (!isChild(*w) && !(swp & SWP_NOACTIVATE) && findWindow(hwnd))
      sendMessage(hwnd, WM_ACTIVATE, WA_ACTIVE, 0);
  }
}

}  // namespace

// ---- Coordinates ----

POINT clientOriginOnScreen(const Window& w) {
  POINT p{w.client.left, w.client.top};
  for (Window* a = parentOf(w); a && !isDesktop(*a); a = parentOf(*a)) {
    p.x += a->client.left;
    p.y += a->client.top;
  }
  return p;
}

RECT windowRectOnScreen(const Window& w) {
  Window* p = parentOf(w);
  if (!p) return w.window;
  POINT o = clientOriginOnScreen(*p);
  return offsetRect(w.window, o.x, o.y);
}

POINT surfaceOrigin(const Window& w) {
  Window& top = topLevelOf(const_cast<Window&>(w));
  RECT mine = windowRectOnScreen(w);
  RECT theirs = windowRectOnScreen(top);
  return POINT{mine.left - theirs.left, mine.top - theirs.top};
}

bool isDrawable(const Window& w) {
  for (const Window* cur = &w; cur; cur = parentOf(*cur))
    if (!(cur->style & WS_VISIBLE)) return false;
  return true;
}

void resizeSurfaceFor(Window& w) {
  if (!isDesktop(w) && !isTopLevel(w)) {
    w.surface.reset();
    return;
  }
  // Pixels are kept for the part of a window within kMaxSurfaceSide of its
  // top-left corner: a window may be up to 32767 pixels a side, far more
  // than a 32-bit process can keep. Drawing beyond is clipped away and reads
  // there give CLR_INVALID, as for a part of the window off the screen.
  int width = std::clamp<LONG>(rectWidth(w.window), 0, kMaxSurfaceSide);
  int height = std::clamp<LONG>(rectHeight(w.window), 0, kMaxSurfaceSide);
  if (!w.surface) w.surface = std::make_shared<Surface>();
  COLORREF fill = isDesktop(w) ? sysColor(COLOR_DESKTOP) : kUnpaintedColor;
  if (w.surface->width != width || w.surface->height != height)
    w.surface->resize(width, height, fill);
}

// ---- SetWindowPos ----

BOOL setWindowPos(HWND hwnd, const PositionRequest& request) {
  WindowRef w = pinWindow(hwnd);
  if (!w) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  if (isDesktop(*w)) return FALSE;
  Move m;
  m.wp = requestedPos(*w, request);
  if (!(m.wp.flags & SWP_NOSENDCHANGING)) {
    sendMessage(hwnd, WM_WINDOWPOSCHANGING, 0, reinterpret_cast<LPARAM>(&m.wp));
    if (w->dead) return TRUE;
  }
  planMove(*w, request, &m);
  bool nothing = !m.sized && !m.moved &&
                 !(m.flags & (SWP_SHOWWINDOW | SWP_HIDEWINDOW | SWP_FRAMECHANGED)) &&
                 !request.stateChanged;
  if (nothing && (m.flags & SWP_NOZORDER)) return TRUE;
  if (m.sized || (m.flags & SWP_FRAMECHANGED)) {
    if (!calcClient(hwnd, &m) || w->dead) return TRUE;
  }
  const bool activates = activatesTopLevel(*w, m.flags);
  bool zChanged = applyMove(*w, m);
  if (nothing && !zChanged && !activates) {
    // A child asked to come to the top is told it is active all the same.
    if (isChild(*w) && !(m.flags & (SWP_NOACTIVATE | SWP_HIDEWINDOW)))
      sendMessage(hwnd, WM_CHILDACTIVATE, 0, 0);
    return TRUE;
  }

  if (!(m.flags & (SWP_NOACTIVATE | SWP_HIDEWINDOW))) {
    if (isChild(*w)) sendMessage(hwnd, WM_CHILDACTIVATE, 0, 0);
    else if (focusState().active != hwnd) activate(hwnd);
    if (w->dead) return TRUE;
  }
  if (!(m.flags & SWP_NOREDRAW)) redrawAfterMove(*w, m.flags, m.oldWindow, m.oldClient, m.wasVisible);
  if (w->dead) return TRUE;

  m.wp.x = w->window.left;
  m.wp.y = w->window.top;
  m.wp.cx = rectWidth(w->window);
  m.wp.cy = rectHeight(w->window);
  m.wp.flags = changedFlags(*w, m, zChanged, request);
  sendMessage(hwnd, WM_WINDOWPOSCHANGED, 0, reinterpret_cast<LPARAM>(&m.wp));
  // A window hidden here stays active, as on the system: only ShowWindow
  // hands the activation on.
  return TRUE;
}

namespace {

// Deferred positions: handles in their own range, each a list applied in
// order by EndDeferWindowPos.
constexpr ULONG_PTR kFirstDeferHandle = 0x00B00000;

struct DeferredMove {
  HWND hwnd;
  HWND insertAfter;
  int x, y, cx, cy;
  UINT flags;
};

struct DeferTable {
  std::map<HDWP, std::vector<DeferredMove>> lists;
  ULONG_PTR next = kFirstDeferHandle;
};

DeferTable& deferTable() {
  static DeferTable& t = *new DeferTable;  // outlives static destructors, as focusState
  return t;
}

}  // namespace

void changeMinMaxState(HWND hwnd, int cmd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  RECT r = w->window;
  bool stateChanged = false;
  UINT swp = minMaximize(hwnd, cmd, &r, &stateChanged);
  if (!findWindow(hwnd)) return;
  positionWithState(hwnd, r, swp | SWP_FRAMECHANGED | SWP_NOACTIVATE, stateChanged);
}

// ---- Activation and focus ----

// The window that must be active for w to take the focus: the first up its
// parents without WS_CHILD, or a pop-up child of the desktop. None when w or
// a window on the way is disabled or minimised, or when a child's parent is
// the desktop.
HWND activationTarget(const Window& w) {
  for (const Window* cur = &w;;) {
    if (cur->style & (WS_MINIMIZE | WS_DISABLED)) return nullptr;
    Window* parent = parentOf(*cur);
    if (!(cur->style & WS_CHILD) || !parent) return cur->hwnd;
    if (isDesktop(*parent)) return isChild(*cur) ? nullptr : cur->hwnd;
    cur = parent;
  }
}


HWND activeWindow() { return focusState().active; }
HWND focusWindow() { return focusState().focus; }

void activate(HWND topLevel) {
  FocusState& s = focusState();
  HWND old = s.active;
  if (old == topLevel) return;
  s.active = topLevel;
  if (Window* w = findWindow(topLevel)) {
    placeWithOwners(*w, HWND_TOP);
    rootOwnerOf(*w).lastActive = topLevel;
  }
  if (findWindow(old)) {
    paintNonClient(old);
    sendMessage(old, WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, IsIconic(old) ? 1 : 0),
                reinterpret_cast<LPARAM>(topLevel));
  }
  if (s.active != topLevel || !findWindow(topLevel)) return;
  paintNonClient(topLevel);
  sendMessage(topLevel, WM_ACTIVATE, MAKEWPARAM(WA_ACTIVE, IsIconic(topLevel) ? 1 : 0),
              reinterpret_cast<LPARAM>(old));
  // When the window's WM_ACTIVATE left the focus outside it (its procedure
  // did not pass the message on), the window takes the focus itself; a
  // minimised one takes none, and none is left elsewhere.
  HWND focus = s.focus;
  Window* w = findWindow(topLevel);
  if (s.active == topLevel && w && focus != topLevel && !isAncestor(topLevel, focus))
    setFocus((w->style & WS_MINIMIZE) ? nullptr : topLevel);
}

void deactivate(HWND topLevel) {
  FocusState& s = focusState();
  if (s.active != topLevel) return;
  s.active = nullptr;
  if (findWindow(topLevel)) {
    paintNonClient(topLevel);
    sendMessage(topLevel, WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, IsIconic(topLevel) ? 1 : 0), 0);
  }
  if (s.focus && (s.focus == topLevel || isAncestor(topLevel, s.focus))) setFocus(nullptr);
  if (!s.active) activateOther(topLevel);
}

HWND setFocus(HWND hwnd) {
  FocusState& s = focusState();
  if (hwnd) {
    Window* w = checkWindow(hwnd);
    if (!w) return nullptr;
    HWND top = activationTarget(*w);
    if (!top) return nullptr;
    if (hwnd == s.focus) return hwnd;
    if (s.active != top) activate(top);
    if (s.active != top) return nullptr;
    if (!findWindow(hwnd)) return nullptr;
    if (hwnd == s.focus) return hwnd;
  }
  HWND old = s.focus;
  s.focus = hwnd;
  if (old && findWindow(old)) sendMessage(old, WM_KILLFOCUS, reinterpret_cast<WPARAM>(hwnd), 0);
  if (hwnd && s.focus == hwnd && findWindow(hwnd))
    sendMessage(hwnd, WM_SETFOCUS, reinterpret_cast<WPARAM>(old), 0);
  return old;
}

void forgetWindow(HWND hwnd) {
  FocusState& s = focusState();
  if (s.focus == hwnd) s.focus = nullptr;
  if (s.active == hwnd) s.active = nullptr;
  if (s.capture == hwnd) s.capture = nullptr;
  dropCaretOf(hwnd);
}

}  // namespace w32

using namespace w32;

extern "C" {

BOOL WINAPI GetWindowRect(HWND hWnd, LPRECT lpRect) {
  Window* w = checkWindow(hWnd);
  if (!w || !lpRect) return FALSE;
  *lpRect = windowRectOnScreen(*w);
  return TRUE;
}

BOOL WINAPI GetClientRect(HWND hWnd, LPRECT lpRect) {
  Window* w = checkWindow(hWnd);
  if (!w || !lpRect) return FALSE;
  *lpRect = makeRect(0, 0, rectWidth(w->client), rectHeight(w->client));
  return TRUE;
}

BOOL WINAPI ClientToScreen(HWND hWnd, LPPOINT lpPoint) {
  Window* w = checkWindow(hWnd);
  if (!w || !lpPoint) return FALSE;
  POINT o = clientOriginOnScreen(*w);
  lpPoint->x += o.x;
  lpPoint->y += o.y;
  return TRUE;
}

BOOL WINAPI ScreenToClient(HWND hWnd, LPPOINT lpPoint) {
  Window* w = checkWindow(hWnd);
  if (!w || !lpPoint) return FALSE;
  POINT o = clientOriginOnScreen(*w);
  lpPoint->x -= o.x;
  lpPoint->y -= o.y;
  return TRUE;
}

int WINAPI MapWindowPoints(HWND hWndFrom, HWND hWndTo, LPPOINT lpPoints, UINT cPoints) {
  POINT from{0, 0}, to{0, 0};
  if (hWndFrom) {
    Window* w = checkWindow(hWndFrom);
    if (!w) return 0;
    from = clientOriginOnScreen(*w);
  }
  if (hWndTo) {
    Window* w = checkWindow(hWndTo);
    if (!w) return 0;
    to = clientOriginOnScreen(*w);
  }
  LONG dx = from.x - to.x, dy = from.y - to.y;
  for (UINT i = 0; lpPoints && i < cPoints; ++i) {
    lpPoints[i].x += dx;
    lpPoints[i].y += dy;
  }
  // The last error is left alone: a zero result from windows at the same
  // place is told from a failure by clearing it beforehand.
  return MAKELONG(dx, dy);
}

HDWP WINAPI BeginDeferWindowPos(int nNumWindows) {
  if (nNumWindows < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return NULL;
  }
  DeferTable& t = deferTable();
  HDWP h = reinterpret_cast<HDWP>(t.next);
  t.next += 4;
  t.lists[h];
  return h;
}

// The list's handle is checked before the window; a bad window leaves the
// list as it was.
HDWP WINAPI DeferWindowPos(HDWP hWinPosInfo, HWND hWnd, HWND hWndInsertAfter, int x, int y, int cx,
                           int cy, UINT uFlags) {
  auto it = deferTable().lists.find(hWinPosInfo);
  if (it == deferTable().lists.end()) {
    SetLastError(ERROR_INVALID_DWP_HANDLE);
    return NULL;
  }
  Window* w = findWindow(hWnd);
  if (!w || isDesktop(*w)) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return NULL;
  }
  it->second.push_back({hWnd, hWndInsertAfter, x, y, cx, cy, uFlags});
  return hWinPosInfo;
}

// Windows destroyed since they were deferred are passed over.
BOOL WINAPI EndDeferWindowPos(HDWP hWinPosInfo) {
  auto it = deferTable().lists.find(hWinPosInfo);
  if (it == deferTable().lists.end()) {
    SetLastError(ERROR_INVALID_DWP_HANDLE);
    return FALSE;
  }
  std::vector<DeferredMove> moves = std::move(it->second);
  deferTable().lists.erase(it);
  for (const DeferredMove& m : moves)
    if (findWindow(m.hwnd)) SetWindowPos(m.hwnd, m.insertAfter, m.x, m.y, m.cx, m.cy, m.flags);
  return TRUE;
}

BOOL WINAPI MoveWindow(HWND hWnd, int X, int Y, int nWidth, int nHeight, BOOL bRepaint) {
  PositionRequest req;
  req.x = X;
  req.y = Y;
  req.cx = nWidth;
  req.cy = nHeight;
  req.flags = SWP_NOZORDER | SWP_NOACTIVATE | (bRepaint ? 0 : SWP_NOREDRAW);
  return setWindowPos(hWnd, req);
}

BOOL WINAPI SetWindowPos(HWND hWnd, HWND hWndInsertAfter, int X, int Y, int cx, int cy,
                         UINT uFlags) {
  PositionRequest req;
  req.insertAfter = hWndInsertAfter;
  req.x = X;
  req.y = Y;
  req.cx = cx;
  req.cy = cy;
  req.flags = uFlags;
  // As on the system: the desktop takes no part; placing a window after one
  // that is not its sibling, or a child in the topmost band, changes nothing
  // at all and still succeeds (a child of the desktop, such as a combo box's
  // list, is a top-level window and takes part in the band).
  Window* w = findWindow(hWnd);
  const bool special = hWndInsertAfter == HWND_TOP || hWndInsertAfter == HWND_BOTTOM ||
                       hWndInsertAfter == HWND_TOPMOST || hWndInsertAfter == HWND_NOTOPMOST;
  Window* after = special ? nullptr : findWindow(hWndInsertAfter);
  if (w && !(uFlags & SWP_NOZORDER)) {
    if (isDesktop(*w) || (after && isDesktop(*after))) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return FALSE;
    }
    if (after && after->parent != w->parent) return TRUE;
    if (isChild(*w) && !isTopLevel(*w) &&
        (hWndInsertAfter == HWND_TOPMOST || hWndInsertAfter == HWND_NOTOPMOST))
      return TRUE;
  }
  return setWindowPos(hWnd, req);
}

BOOL WINAPI BringWindowToTop(HWND hWnd) {
  return SetWindowPos(hWnd, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
}

BOOL WINAPI ShowWindow(HWND hWnd, int nCmdShow) {
  WindowRef w = pinWindow(hWnd);
  if (!w) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  if (isDesktop(*w)) return TRUE;
  const DWORD oldStyle = w->style;
  const BOOL wasVisible = (oldStyle & WS_VISIBLE) != 0;
  const bool showFlag = nCmdShow != SW_HIDE;
  ShowPlan plan = planShow(hWnd, nCmdShow);
  if (plan.done || w->dead) return w->dead ? wasVisible : plan.answer;

  // Minimising and maximising commands show without WM_SHOWWINDOW.
  if ((showFlag != static_cast<bool>(wasVisible) || nCmdShow == SW_SHOWNA) &&
      nCmdShow != SW_SHOWMAXIMIZED && !isMinimizing(nCmdShow) && !plan.stateChanged) {
    sendMessage(hWnd, WM_SHOWWINDOW, showFlag, 0);
    if (w->dead) return wasVisible;
  }
  Window* parent = parentOf(*w);
  if (isChild(*w) && parent && !IsWindowVisible(parent->hwnd) && !plan.stateChanged) {
    if (showFlag) w->style |= WS_VISIBLE;
    else w->style &= ~static_cast<DWORD>(WS_VISIBLE);
  } else {
    positionWithState(hWnd, plan.pos, plan.swp, plan.stateChanged);
  }
  // The pop-ups a window owns go while it is minimised and come back when
  // it leaves that state; each is told why and hides or shows itself in
  // DefWindowProcA, as the system does it.
  const bool stateFlipped = !w->dead && ((oldStyle ^ w->style) & WS_MINIMIZE);
  if (stateFlipped && !isChild(*w)) ShowOwnedPopups(hWnd, (w->style & WS_MINIMIZE) == 0);
  if (!w->dead && nCmdShow == SW_HIDE && focusState().active == hWnd) deactivate(hWnd);
  if (!w->dead) afterShow(hWnd, nCmdShow, oldStyle, plan.swp);
  // Minimising the active window activates the next top-level window that
  // can be; with none, it stays active.
  if (!w->dead && (nCmdShow == SW_MINIMIZE || nCmdShow == SW_FORCEMINIMIZE) && !isChild(*w) &&
      focusState().active == hWnd)
    activateAfterMinimize(hWnd);
  return wasVisible;
}

// Each window hwnd owns that is visible (to hide) or was hidden this way
// (to show) is sent WM_SHOWWINDOW with SW_PARENTCLOSING or
// SW_PARENTOPENING; whether it hides or shows is up to its procedure.
BOOL WINAPI ShowOwnedPopups(HWND hWnd, BOOL fShow) {
  if (hWnd && !checkWindow(hWnd)) return FALSE;
  for (HWND h : popupsOwnedBy(hWnd)) {
    Window* w = findWindow(h);
    if (!w) continue;
    if (fShow && w->hiddenWithOwner) sendMessage(h, WM_SHOWWINDOW, TRUE, SW_PARENTOPENING);
    if (!fShow && (w->style & WS_VISIBLE)) sendMessage(h, WM_SHOWWINDOW, FALSE, SW_PARENTCLOSING);
  }
  return TRUE;
}

namespace {

// Where a maximised window was put when it no longer covers the area it
// maximises into (the work area, a child's parent's client area); (-1,-1)
// otherwise, also for windows not maximised. The value a program places is
// not kept, as on the system.
POINT maximizedPosition(const Window& w) {
  POINT none{-1, -1};
  if (!(w.style & WS_MAXIMIZE)) return none;
  Window* parent = isChild(w) ? parentOf(w) : nullptr;
  RECT area = parent ? makeRect(0, 0, rectWidth(parent->client), rectHeight(parent->client))
                     : makeRect(0, 0, kScreenWidth, kScreenHeight);
  const RECT& r = w.window;
  bool covers = r.left <= area.left && r.top <= area.top && r.right >= area.right &&
                r.bottom >= area.bottom;
  return covers ? none : POINT{r.left, r.top};
}

}  // namespace

BOOL WINAPI GetWindowPlacement(HWND hWnd, WINDOWPLACEMENT* lpwndpl) {
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  if (!lpwndpl || lpwndpl->length != sizeof(WINDOWPLACEMENT)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  // Marked when minimised from maximised or maximised from minimised; the
  // mark stays through restoring until minimising from the normal state or
  // SW_SHOWNOACTIVATE.
  lpwndpl->flags = w->restoreToMaximized ? WPF_RESTORETOMAXIMIZED : 0;
  lpwndpl->showCmd = (w->style & WS_MAXIMIZE)   ? SW_SHOWMAXIMIZED
                     : (w->style & WS_MINIMIZE) ? SW_SHOWMINIMIZED
                                                : SW_SHOWNORMAL;
  lpwndpl->ptMinPosition = w->minPos;
  lpwndpl->ptMaxPosition = maximizedPosition(*w);
  lpwndpl->rcNormalPosition = w->normal;
  return TRUE;
}

BOOL WINAPI SetWindowPlacement(HWND hWnd, const WINDOWPLACEMENT* lpwndpl) {
  WindowRef w = pinWindow(hWnd);
  if (!w) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return FALSE;
  }
  if (!lpwndpl || lpwndpl->length != sizeof(WINDOWPLACEMENT)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (lpwndpl->flags & WPF_SETMINPOSITION) w->minPos = lpwndpl->ptMinPosition;
  w->normal = lpwndpl->rcNormalPosition;
  if (!(w->style & (WS_MINIMIZE | WS_MAXIMIZE))) {
    const RECT& r = lpwndpl->rcNormalPosition;
    MoveWindow(hWnd, r.left, r.top, rectWidth(r), rectHeight(r), TRUE);
  }
  if (!w->dead) ShowWindow(hWnd, static_cast<int>(lpwndpl->showCmd));
  return TRUE;
}

HWND WINAPI WindowFromPoint(POINT Point) {
  Window* found = nullptr;
  for (HWND h : desktopWindow().children) {
    Window* w = findWindow(h);
    if (w && (w->style & WS_VISIBLE) && pointInRect(windowRectOnScreen(*w), Point.x, Point.y)) {
      found = w;
      break;
    }
  }
  while (found) {
    Window* deeper = nullptr;
    for (HWND c : found->children) {
      Window* w = findWindow(c);
      if (w && (w->style & WS_VISIBLE) && !(w->style & WS_DISABLED) &&
          pointInRect(windowRectOnScreen(*w), Point.x, Point.y)) {
        deeper = w;
        break;
      }
    }
    if (!deeper) return found->hwnd;
    found = deeper;
  }
  return NULL;
}

HWND WINAPI ChildWindowFromPoint(HWND hWndParent, POINT Point) {
  Window* p = checkWindow(hWndParent);
  if (!p) return NULL;
  if (!pointInRect(makeRect(0, 0, rectWidth(p->client), rectHeight(p->client)), Point.x, Point.y))
    return NULL;
  for (HWND c : p->children) {
    Window* w = findWindow(c);
    if (w && pointInRect(w->window, Point.x, Point.y)) return c;
  }
  return hWndParent;
}

HWND WINAPI SetFocus(HWND hWnd) { return setFocus(hWnd); }
HWND WINAPI GetFocus(void) { return focusState().focus; }
HWND WINAPI GetActiveWindow(void) { return focusState().active; }
HWND WINAPI GetForegroundWindow(void) { return focusState().active; }

// A child cannot be active: asking for one changes nothing and answers the
// active window. The desktop cannot be either: NULL, the last error kept.
HWND WINAPI SetActiveWindow(HWND hWnd) {
  HWND old = focusState().active;
  // NULL deactivates the active window, which lets another take its place.
  if (!hWnd) {
    if (old) deactivate(old);
    return old;
  }
  Window* w = checkWindow(hWnd);
  if (!w) return NULL;
  if (isChild(*w)) return old;
  if (isDesktop(*w)) return NULL;
  activate(hWnd);
  return old;
}

BOOL WINAPI SetForegroundWindow(HWND hWnd) {
  if (!checkWindow(hWnd)) return FALSE;
  SetActiveWindow(hWnd);
  return GetActiveWindow() == hWnd;
}

HWND WINAPI GetCapture(void) { return focusState().capture; }

// The window that had the capture hears who took it.
HWND WINAPI SetCapture(HWND hWnd) {
  HWND old = focusState().capture;
  focusState().capture = findWindow(hWnd) ? hWnd : nullptr;
  if (old && findWindow(old)) sendMessage(old, WM_CAPTURECHANGED, 0, reinterpret_cast<LPARAM>(hWnd));
  return old;
}

BOOL WINAPI ReleaseCapture(void) {
  HWND old = focusState().capture;
  focusState().capture = nullptr;
  if (old && findWindow(old)) sendMessage(old, WM_CAPTURECHANGED, 0, 0);
  return TRUE;
}

}  // extern "C"

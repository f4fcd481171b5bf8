// Painting on the window manager's side: update regions (kept as bounding
// rectangles), the erase handshake of BeginPaint, UpdateWindow, and the
// device contexts of windows with their visible regions.
// Invariants: only drawable windows (visible, with visible ancestors) ever
// hold an update region; invalidating a window that does not clip its
// children invalidates them too, with erase and frame; a DC's clip never
// reaches outside its window's visible part.
#include "user/user.h"

#include <cstring>

namespace w32 {

namespace {

RECT clientBox(const Window& w) {
  return makeRect(0, 0, rectWidth(w.client), rectHeight(w.client));
}

// r (in w's client coordinates) seen from the child's client area.
RECT toChildClient(const Window& child, const RECT& r) {
  return offsetRect(r, -child.client.left, -child.client.top);
}

// Removes cut from the bounding box when the result is still a rectangle.
RECT subtractFromBox(const RECT& box, const RECT& cut) {
  RECT overlap = intersectRects(box, cut);
  if (rectEmpty(overlap)) return box;
  if (rectsEqual(overlap, box)) return makeRect(0, 0, 0, 0);
  RECT r = box;
  bool fullWidth = overlap.left == box.left && overlap.right == box.right;
  bool fullHeight = overlap.top == box.top && overlap.bottom == box.bottom;
  if (fullWidth && overlap.top == box.top) r.top = overlap.bottom;
  else if (fullWidth && overlap.bottom == box.bottom) r.bottom = overlap.top;
  else if (fullHeight && overlap.left == box.left) r.left = overlap.right;
  else if (fullHeight && overlap.right == box.right) r.right = overlap.left;
  return r;
}

void invalidateAllWindows() {
  std::vector<HWND> tops = desktopWindow().children;
  for (HWND h : tops) {
    Window* w = findWindow(h);
    if (!w) continue;
    invalidate(*w, nullptr, true, true);
    for (HWND d : descendantsPreOrder(h))
      if (Window* dw = findWindow(d)) invalidate(*dw, nullptr, true, true);
    eraseNow(h, true);
  }
}

bool paintOne(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || !needsPaint(*w)) return false;
  sendMessage(hwnd, WM_PAINT, 0, 0);
  return true;
}

// A CS_PARENTDC child draws through its parent's clipping only where the
// system grants it: not under a parent that clips its children (whose
// clipping leaves the child out) or keeps a DC of its own or of its class,
// and not for a child that clips its own children or siblings. Otherwise it
// gets a DC clipped as any window's.
bool drawsThroughParentClip(const Window& w, const Window& parent) {
  if (!isChild(w) || !w.cls || !(w.cls->style & CS_PARENTDC)) return false;
  if (w.style & (WS_CLIPCHILDREN | WS_CLIPSIBLINGS)) return false;
  if (parent.style & WS_CLIPCHILDREN) return false;
  return !(parent.cls && (parent.cls->style & (CS_OWNDC | CS_CLASSDC)));
}

}  // namespace

void invalidate(Window& w, const RECT* rect, bool erase, bool frame) {
  if (!isDrawable(w) || isDesktop(w)) return;
  RECT area = rect ? intersectRects(*rect, clientBox(w)) : clientBox(w);
  if (!rectEmpty(area)) {
    w.update = unionRects(w.update, area);
    w.invalidArea = unionRects(w.invalidArea, rect ? *rect : clientBox(w));
    if (erase) w.erasePending = true;
  }
  if (frame) w.ncPending = true;
  if (w.style & WS_CLIPCHILDREN) return;
  RECT inParent = rect ? *rect : clientBox(w);
  for (HWND c : w.children) {
    Window* child = findWindow(c);
    if (!child || rectEmpty(intersectRects(inParent, child->window))) continue;
    RECT part = toChildClient(*child, inParent);
    invalidate(*child, &part, true, true);
  }
}

void validate(Window& w, const RECT* rect) {
  RECT area = rect ? *rect : clientBox(w);
  w.update = rect ? subtractFromBox(w.update, area) : makeRect(0, 0, 0, 0);
  w.invalidArea = rect ? subtractFromBox(w.invalidArea, area) : makeRect(0, 0, 0, 0);
  if (rectEmpty(w.update)) {
    w.update = makeRect(0, 0, 0, 0);
    w.invalidArea = makeRect(0, 0, 0, 0);
    w.erasePending = false;
    w.eraseFailed = false;
  }
  if (w.style & WS_CLIPCHILDREN) return;
  for (HWND c : w.children) {
    Window* child = findWindow(c);
    if (!child || rectEmpty(intersectRects(area, child->window))) continue;
    RECT part = toChildClient(*child, area);
    validate(*child, &part);
  }
}

void eraseNow(HWND hwnd, bool children) {
  WindowRef w = pinWindow(hwnd);
  if (!w || !isDrawable(*w)) return;
  if (w->ncPending) {
    w->ncPending = false;
    sendMessage(hwnd, WM_NCPAINT, 1, 0);
    if (w->dead) return;
  }
  if (w->erasePending && !rectEmpty(w->update)) {
    w->erasePending = false;
    RECT area = w->update;
    HDC dc = makeWindowDC(*w, false, &area, false);
    LRESULT erased = sendMessage(hwnd, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0);
    freeDC(dc);
    if (w->dead) return;
    if (!erased) w->eraseFailed = true;
  }
  if (!children) return;
  std::vector<HWND> kids = w->children;
  for (HWND c : kids) eraseNow(c, true);
}

void eraseNowWhereClipped(HWND hwnd) {
  eraseNow(hwnd, false);
  Window* w = findWindow(hwnd);
  if (!w || !isDrawable(*w)) return;
  if (!(w->style & WS_CLIPCHILDREN) && !rectEmpty(w->update)) return;
  std::vector<HWND> kids = w->children;
  for (HWND c : kids) eraseNowWhereClipped(c);
}

bool needsPaint(const Window& w) {
  return !isDesktop(w) && isDrawable(w) && (!rectEmpty(w.update) || w.ncPending);
}

HWND nextWindowToPaint(HWND filter) {
  for (HWND top : desktopWindow().children) {
    std::vector<HWND> order{top};
    std::vector<HWND> below = descendantsPreOrder(top);
    order.insert(order.end(), below.begin(), below.end());
    for (HWND h : order) {
      Window* w = findWindow(h);
      if (!w || !needsPaint(*w) || w->paintDispatches) continue;
      if (filter && h != filter && !isAncestor(filter, h)) continue;
      return h;
    }
  }
  return nullptr;
}

Region visibleRegion(const Window& w, bool wholeWindow) {
  Region region;
  if (!isDrawable(w)) return region;
  Window& top = topLevelOf(const_cast<Window&>(w));
  if (!top.surface) return region;
  POINT at = surfaceOrigin(w);
  RECT area = wholeWindow ? makeRect(0, 0, rectWidth(w.window), rectHeight(w.window))
                          : offsetRect(w.client, -w.window.left, -w.window.top);
  region.add(offsetRect(area, at.x, at.y));
  region.intersect(makeRect(0, 0, top.surface->width, top.surface->height));
  for (const Window* a = parentOf(w); a && !isDesktop(*a) && a != &top; a = parentOf(*a)) {
    POINT ao = surfaceOrigin(*a);
    region.intersect(offsetRect(offsetRect(a->client, -a->window.left, -a->window.top), ao.x, ao.y));
  }
  if (w.style & WS_CLIPCHILDREN) {
    for (HWND c : w.children) {
      Window* child = findWindow(c);
      if (child && (child->style & WS_VISIBLE)) {
        POINT co = surfaceOrigin(*child);
        region.subtract(makeRect(co.x, co.y, co.x + rectWidth(child->window),
                                 co.y + rectHeight(child->window)));
      }
    }
  }
  Window* parent = parentOf(w);
  if ((w.style & WS_CLIPSIBLINGS) && parent && !isDesktop(*parent)) {
    for (HWND s : parent->children) {
      if (s == w.hwnd) break;
      Window* sib = findWindow(s);
      if (sib && (sib->style & WS_VISIBLE)) {
        POINT so = surfaceOrigin(*sib);
        region.subtract(makeRect(so.x, so.y, so.x + rectWidth(sib->window),
                                 so.y + rectHeight(sib->window)));
      }
    }
  }
  return region;
}

Painter painterFor(const Window& w, bool wholeWindow) {
  Painter p;
  Window& top = topLevelOf(const_cast<Window&>(w));
  p.surface = top.surface.get();
  p.origin = surfaceOrigin(w);
  if (!wholeWindow) {
    p.origin.x += w.client.left - w.window.left;
    p.origin.y += w.client.top - w.window.top;
  }
  p.clip = visibleRegion(w, wholeWindow);
  return p;
}

void placeDC(DeviceContext& dc, const Window& w) {
  dc.hwnd = w.hwnd;
  Window& top = topLevelOf(const_cast<Window&>(w));
  dc.surface = top.surface;
  Painter p = painterFor(w, dc.wholeWindow);
  dc.origin = p.origin;
  dc.visible = p.clip;
  const RECT* clientClip = dc.painting ? &dc.paintArea : nullptr;
  Window* parent = parentOf(w);
  if (!dc.wholeWindow && parent && drawsThroughParentClip(w, *parent) && isDrawable(w)) {
    // A CS_PARENTDC child draws with its parent's clipping, from its own
    // origin. Painting part of it cuts that to what was invalidated, as the
    // parent saw it; painting all of it leaves the parent's clipping whole.
    dc.visible = painterFor(*parent, false).clip;
    if (clientClip && !rectsEqual(*clientClip, clientBox(w))) {
      POINT client = painterFor(w, false).origin;
      RECT invalid = unionRects(w.invalidArea, *clientClip);
      dc.visible.intersect(offsetRect(invalid, client.x, client.y));
    }
  } else if (clientClip) {
    POINT client = painterFor(w, false).origin;
    dc.visible.intersect(offsetRect(*clientClip, client.x, client.y));
  }
  if (Region* held = regionOf(dc.heldRgn)) {
    // GetDCEx's region is in screen coordinates; the surface's origin is
    // the top-level window's corner on the screen.
    Region r = *held;
    r.offset(-top.window.left, -top.window.top);
    if (dc.excludeRgn) dc.visible.subtract(r);
    else dc.visible.intersect(r);
  }
  applyClip(dc);
}

HDC makeWindowDC(const Window& w, bool wholeWindow, const RECT* clientClip, bool paint) {
  auto dc = std::make_unique<DeviceContext>();
  dc->paint = paint;
  dc->wholeWindow = wholeWindow;
  if (clientClip) {
    dc->painting = true;
    dc->paintArea = *clientClip;
  }
  placeDC(*dc, w);
  return createDC(std::move(dc));
}

HDC keptDC(Window& w) {
  if (!w.cls || !(w.cls->style & (CS_OWNDC | CS_CLASSDC))) return nullptr;
  bool own = (w.cls->style & CS_OWNDC) != 0;
  HDC& slot = own ? w.ownDC : w.cls->classDC;
  DeviceContext* dc = deviceContext(slot);
  if (!dc) {
    auto made = std::make_unique<DeviceContext>();
    made->kept = true;
    made->classShared = !own;
    placeDC(*made, w);
    slot = createDC(std::move(made));
    return slot;
  }
  if (dc->hwnd != w.hwnd) {
    // A class's DC taken by another window forgets the region and the
    // painting it was placed with; the region stays its giver's.
    dc->heldRgn = nullptr;
    dc->painting = false;
  }
  placeDC(*dc, w);
  return slot;
}

}  // namespace w32

using namespace w32;

extern "C" {

BOOL WINAPI InvalidateRect(HWND hWnd, const RECT* lpRect, BOOL bErase) {
  if (!hWnd) {
    invalidateAllWindows();
    return TRUE;
  }
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  invalidate(*w, lpRect, bErase != FALSE, false);
  return TRUE;
}

BOOL WINAPI InvalidateRgn(HWND hWnd, HRGN hRgn, BOOL bErase) {
  if (!hRgn) return InvalidateRect(hWnd, nullptr, bErase);
  RECT box;
  if (GetRgnBox(hRgn, &box) == ERROR) return FALSE;
  return InvalidateRect(hWnd, &box, bErase);
}

BOOL WINAPI ValidateRect(HWND hWnd, const RECT* lpRect) {
  Window* w = checkWindow(hWnd ? hWnd : desktopHandle());
  if (!w) return FALSE;
  validate(*w, lpRect);
  return TRUE;
}

BOOL WINAPI ValidateRgn(HWND hWnd, HRGN hRgn) {
  if (!hRgn) return ValidateRect(hWnd, nullptr);
  RECT box;
  if (GetRgnBox(hRgn, &box) == ERROR) return FALSE;
  return ValidateRect(hWnd, &box);
}

BOOL WINAPI RedrawWindow(HWND hWnd, const RECT* lprcUpdate, HRGN hrgnUpdate, UINT flags) {
  if (!hWnd) hWnd = desktopHandle();
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  RECT box;
  const RECT* area = lprcUpdate;
  if (!area && hrgnUpdate && GetRgnBox(hrgnUpdate, &box) != ERROR) area = &box;
  if (isDesktop(*w) && (flags & RDW_INVALIDATE)) {
    invalidateAllWindows();
    return TRUE;
  }
  if (flags & RDW_INVALIDATE) invalidate(*w, area, (flags & RDW_ERASE) != 0, (flags & RDW_FRAME) != 0);
  if (flags & RDW_VALIDATE) validate(*w, area);
  if (flags & RDW_ERASENOW) eraseNow(hWnd, !(flags & RDW_NOCHILDREN));
  if (flags & RDW_UPDATENOW) UpdateWindow(hWnd);
  return TRUE;
}

BOOL WINAPI UpdateWindow(HWND hWnd) {
  if (!checkWindow(hWnd)) return FALSE;
  paintOne(hWnd);
  for (HWND d : descendantsPreOrder(hWnd)) paintOne(d);
  return TRUE;
}

BOOL WINAPI GetUpdateRect(HWND hWnd, LPRECT lpRect, BOOL bErase) {
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  if (bErase) {
    eraseNow(hWnd, false);
    if (!(w = findWindow(hWnd))) return FALSE;
  }
  if (lpRect) *lpRect = w->update;
  return !rectEmpty(w->update);
}

HDC WINAPI BeginPaint(HWND hWnd, LPPAINTSTRUCT lpPaint) {
  WindowRef w = pinWindow(hWnd);
  if (!w) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return NULL;
  }
  if (w->ncPending) {
    w->ncPending = false;
    sendMessage(hWnd, WM_NCPAINT, 1, 0);
    if (w->dead) return NULL;
    // What WM_NCPAINT invalidated is validated with the rest, as on the
    // system, so a frame redrawn from WM_NCPAINT does not paint forever.
    w->ncPending = false;
  }
  RECT area = w->update;
  bool erase = w->erasePending && !rectEmpty(area);
  BOOL fErase = w->eraseFailed;
  HDC dc = keptDC(*w);
  if (DeviceContext* kept = deviceContext(dc)) {
    kept->painting = true;
    kept->paintArea = area;
    placeDC(*kept, *w);
  } else {
    dc = makeWindowDC(*w, false, &area, true);
  }
  w->update = makeRect(0, 0, 0, 0);
  w->invalidArea = makeRect(0, 0, 0, 0);
  w->erasePending = false;
  w->eraseFailed = false;
  if (erase) fErase = sendMessage(hWnd, WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc), 0) == 0;
  // Without a structure to fill, the painting is done (frame, erasing,
  // validation) and only the answer fails, as on the system.
  if (!lpPaint) {
    if (DeviceContext* d = deviceContext(dc); d && d->paint) freeDC(dc);
    if (DeviceContext* d = deviceContext(dc); d && d->kept) d->painting = false;
    return NULL;
  }
  memset(lpPaint, 0, sizeof *lpPaint);
  lpPaint->hdc = dc;
  lpPaint->fErase = fErase;
  lpPaint->rcPaint = area;
  return dc;
}

BOOL WINAPI EndPaint(HWND hWnd, const PAINTSTRUCT* lpPaint) {
  if (!lpPaint) return FALSE;
  DeviceContext* dc = deviceContext(lpPaint->hdc);
  if (dc && dc->paint) {
    freeDC(lpPaint->hdc);
    return TRUE;
  }
  // A kept DC stays, reaching its whole window again.
  if (dc && dc->kept && dc->painting) {
    dc->painting = false;
    if (Window* w = findWindow(dc->hwnd ? dc->hwnd : hWnd)) placeDC(*dc, *w);
  }
  return TRUE;
}

// A window of a CS_OWNDC or CS_CLASSDC class gets its kept DC unless the
// cache is asked for (or the whole window, which always comes from it). A
// region given with DCX_INTERSECTRGN or DCX_EXCLUDERGN belongs to the DC
// from then on: deleted when a cache DC is released or a kept DC gets
// another.
HDC WINAPI GetDCEx(HWND hWnd, HRGN hrgnClip, DWORD flags) {
  Window* w = checkWindow(hWnd ? hWnd : desktopHandle());
  if (!w) return NULL;
  bool whole = (flags & DCX_WINDOW) || isDesktop(*w);
  HDC hdc = (whole || (flags & DCX_CACHE)) ? nullptr : keptDC(*w);
  if (!hdc) hdc = makeWindowDC(*w, whole, nullptr, false);
  DeviceContext* dc = deviceContext(hdc);
  if (dc && (flags & (DCX_INTERSECTRGN | DCX_EXCLUDERGN))) {
    if (dc->heldRgn && dc->heldRgn != hrgnClip) DeleteObject(dc->heldRgn);
    dc->heldRgn = hrgnClip;
    dc->excludeRgn = (flags & DCX_EXCLUDERGN) != 0;
    placeDC(*dc, *w);
  }
  return hdc;
}

HDC WINAPI GetDC(HWND hWnd) { return GetDCEx(hWnd, nullptr, DCX_USESTYLE); }

HDC WINAPI GetWindowDC(HWND hWnd) { return GetDCEx(hWnd, nullptr, DCX_USESTYLE | DCX_WINDOW); }

// A kept DC is never released (1, whichever window is named); a cache DC
// goes, with the region it held. A window that is gone fails the call.
int WINAPI ReleaseDC(HWND hWnd, HDC hDC) {
  DeviceContext* dc = deviceContext(hDC);
  if (!dc || (hWnd && !findWindow(hWnd))) return 0;
  if (dc->kept) return 1;
  if (dc->paint) return 0;
  freeDC(hDC);
  return 1;
}

HWND WINAPI WindowFromDC(HDC hDC) {
  DeviceContext* dc = deviceContext(hDC);
  return dc ? dc->hwnd : NULL;
}

}  // extern "C"

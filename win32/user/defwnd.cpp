// DefWindowProcA: the system's default reaction to each message a window
// procedure passes on. Invariant: it only ever acts on the window it is
// given, through the same public and internal calls a program could make,
// so a procedure that handles a message itself gets exactly nothing of this.
#include "user/user.h"

#include "user/menu.h"

#include <algorithm>
#include <cstring>

namespace w32 {

namespace {

LRESULT onNcCreate(Window& w, const CREATESTRUCTA* cs) {
  if (cs && cs->lpszName && !IS_INTRESOURCE(cs->lpszName)) w.text = cs->lpszName;
  if (w.style & (WS_HSCROLL | WS_VSCROLL)) createScrollData(w);
  return TRUE;
}

LRESULT onNcCalcSize(Window& w, WPARAM wp, LPARAM lp) {
  if (!lp) return 0;
  if (wp) {
    auto* p = reinterpret_cast<NCCALCSIZE_PARAMS*>(lp);
    p->rgrc[0] = clientFromWindow(w, p->rgrc[0]);
  } else {
    auto* r = reinterpret_cast<RECT*>(lp);
    *r = clientFromWindow(w, *r);
  }
  return 0;
}

// The system's brush for hbrBackground values 1..COLOR_MAX+1, else the brush.
HBRUSH classBrush(const Window& w) {
  if (!w.cls || !w.cls->background) return nullptr;
  ULONG_PTR value = reinterpret_cast<ULONG_PTR>(w.cls->background);
  if (value <= COLOR_MENUBAR + 1) return systemColorBrush(static_cast<int>(value - 1));
  return w.cls->background;
}

LRESULT onEraseBackground(Window& w, HDC dc) {
  HBRUSH brush = classBrush(w);
  if (!brush) return 0;
  RECT r = makeRect(0, 0, rectWidth(w.client), rectHeight(w.client));
  FillRect(dc, &r, brush);
  return 1;
}

LRESULT onGetText(const Window& w, WPARAM size, LPARAM lp) {
  if (size == 0 || !lp) return 0;
  char* out = reinterpret_cast<char*>(lp);
  size_t n = std::min(w.text.size(), static_cast<size_t>(size - 1));
  memcpy(out, w.text.data(), n);
  out[n] = '\0';
  return static_cast<LRESULT>(n);
}

// Text at an address below 64K (an atom-like value, not a string) is
// refused, as the system does rather than fault.
LRESULT onSetText(HWND hwnd, LPARAM lp) {
  if (lp && IS_INTRESOURCE(lp)) return FALSE;
  Window* w = findWindow(hwnd);
  w->text = lp ? reinterpret_cast<const char*>(lp) : "";
  if ((w->style & WS_CAPTION) == WS_CAPTION || (w->style & WS_MINIMIZE)) paintNonClient(hwnd);
  return TRUE;
}

void onWindowPosChanged(HWND hwnd, const WINDOWPOS* wp) {
  if (!(wp->flags & kSwpNoClientMove)) {
    Window* w = findWindow(hwnd);
    if (!w) return;
    sendMessage(hwnd, WM_MOVE, 0, MAKELPARAM(w->client.left, w->client.top));
  }
  if (!(wp->flags & kSwpNoClientSize) || (wp->flags & kSwpStateChanged)) {
    Window* w = findWindow(hwnd);
    if (!w) return;
    WPARAM kind = (w->style & WS_MINIMIZE)   ? SIZE_MINIMIZED
                  : (w->style & WS_MAXIMIZE) ? SIZE_MAXIMIZED
                                             : SIZE_RESTORED;
    sendMessage(hwnd, WM_SIZE, kind, MAKELPARAM(rectWidth(w->client), rectHeight(w->client)));
  }
}

// Keeps a new size within the tracking limits of WM_GETMINMAXINFO.
void onWindowPosChanging(HWND hwnd, WINDOWPOS* wp) {
  Window* w = findWindow(hwnd);
  if (!w || (wp->flags & SWP_NOSIZE) || !sendsMinMaxInfo(w->style)) return;
  DWORD style = w->style;
  MINMAXINFO mmi = queryMinMaxInfo(hwnd);
  wp->cx = std::min<int>(wp->cx, mmi.ptMaxTrackSize.x);
  wp->cy = std::min<int>(wp->cy, mmi.ptMaxTrackSize.y);
  if (!(style & WS_MINIMIZE)) {
    wp->cx = std::max<int>(wp->cx, mmi.ptMinTrackSize.x);
    wp->cy = std::max<int>(wp->cy, mmi.ptMinTrackSize.y);
  }
}

constexpr UINT kAppCommand = 0x0319;     // WM_APPCOMMAND
constexpr UINT kNcXButtonUp = 0x00AC;    // WM_NCXBUTTONUP
constexpr LRESULT kMaActivate = 1;       // MA_ACTIVATE
constexpr LRESULT kMaNoActivate = 3;     // MA_NOACTIVATE

// A child lets its parent decide first; a click on the caption does not
// activate (the system activates when the caption is dragged or released).
LRESULT onMouseActivate(const Window& w, WPARAM wp, LPARAM lp) {
  if ((w.style & WS_CHILD) && w.parent) {
    if (LRESULT r = sendMessage(w.parent, WM_MOUSEACTIVATE, wp, lp)) return r;
  }
  return LOWORD(lp) == HTCAPTION && HIWORD(lp) == WM_LBUTTONDOWN ? kMaNoActivate : kMaActivate;
}

// The side buttons of a mouse on the frame are the browser's back and
// forward commands.
LRESULT onNcXButtonUp(HWND hwnd, WPARAM wp) {
  constexpr WORD kXButton1 = 1, kXButton2 = 2;
  constexpr WORD kFromMouse = 0x8000, kBrowserBackward = 1, kBrowserForward = 2;
  WORD button = HIWORD(wp);
  if (button != kXButton1 && button != kXButton2) return 0;
  WORD command = button == kXButton1 ? kBrowserBackward : kBrowserForward;
  sendMessage(hwnd, kAppCommand, reinterpret_cast<WPARAM>(hwnd),
              MAKELPARAM(LOWORD(wp), kFromMouse | command));
  return 0;
}

// An owned pop-up told its owner is being minimised or restored hides, or
// shows again without taking the activation if it was hidden that way.
// WM_SHOWWINDOW from ShowWindow itself (lParam 0) asks nothing.
void onShowWindow(Window& w, WPARAM show, LPARAM why) {
  if (!why || !w.owner) return;
  const bool visible = (w.style & WS_VISIBLE) != 0;
  if (visible == (show != 0)) return;
  if (show && !w.hiddenWithOwner) return;
  w.hiddenWithOwner = !show;
  ShowWindow(w.hwnd, show ? SW_SHOWNOACTIVATE : SW_HIDE);
}

// A disabled window carries out no system command.
LRESULT onSysCommand(HWND hwnd, WPARAM wp, LPARAM lp) {
  if (!IsWindowEnabled(hwnd)) return 0;
  switch (wp & 0xFFF0) {
  case SC_MOVE:
  case SC_SIZE:
    moveSizeLoop(hwnd, wp, lp);
    return 0;
  case SC_VSCROLL:
  case SC_HSCROLL:
    trackScrollBar(hwnd, (wp & 0xFFF0) == SC_VSCROLL ? SB_VERT : SB_HORZ,
                   POINT{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))});
    return 0;
  case SC_CLOSE:
    return sendMessage(hwnd, WM_CLOSE, 0, 0);
  case SC_MINIMIZE:
    ShowWindow(hwnd, SW_MINIMIZE);
    return 0;
  case SC_MAXIMIZE:
    ShowWindow(hwnd, SW_MAXIMIZE);
    return 0;
  case SC_RESTORE:
    ShowWindow(hwnd, SW_RESTORE);
    return 0;
  case SC_MOUSEMENU:
    trackMenuBarByMouse(hwnd, POINT{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))});
    return 0;
  case SC_KEYMENU:
    trackMenuBarByKey(hwnd, static_cast<WCHAR>(lp));
    return 0;
  default:
    return 0;
  }
}

HWND rootOf(HWND hwnd);

// Alt or F10 went down with no other key since: its release opens the menu.
struct MenuKeys {
  bool alt = false;
  bool f10 = false;
};

MenuKeys& menuKeys() {
  static MenuKeys keys;
  return keys;
}

void onSysKeyDown(HWND hwnd, WPARAM vk, LPARAM lp) {
  MenuKeys& keys = menuKeys();
  keys = MenuKeys{};
  if (lp & 0x20000000) {
    keys.alt = vk == VK_MENU && !(lp & 0x40000000);  // not a repeat
    if (vk == VK_F4) PostMessageA(rootOf(hwnd), WM_SYSCOMMAND, SC_CLOSE, 0);
  } else if (vk == VK_F10) {
    keys.f10 = true;
  }
}

LRESULT onNcLButtonDown(HWND hwnd, WPARAM hit, LPARAM lp) {
  if (hit == HTCAPTION) {
    Window* w = findWindow(hwnd);
    HWND top = w ? activationTarget(*w) : nullptr;
    if (top && activeWindow() != top) activate(top);
    if (top && activeWindow() == top && findWindow(hwnd))
      sendMessage(hwnd, WM_SYSCOMMAND, SC_MOVE + HTCAPTION, lp);
  } else if (hit >= HTLEFT && hit <= HTBOTTOMRIGHT) {
    sendMessage(hwnd, WM_SYSCOMMAND, SC_SIZE + (hit - HTLEFT + 1), lp);
  } else if (hit == HTVSCROLL || hit == HTHSCROLL) {
    sendMessage(hwnd, WM_SYSCOMMAND, (hit == HTVSCROLL ? SC_VSCROLL : SC_HSCROLL) + hit, lp);
  } else if (hit == HTMENU) {
    sendMessage(hwnd, WM_SYSCOMMAND, SC_MOUSEMENU, lp);
  } else if (hit == HTCLOSE) {
    // The system tracks the button until it is released over the box.
    sendMessage(hwnd, WM_SYSCOMMAND, SC_CLOSE, lp);
  }
  return 0;
}

HWND rootOf(HWND hwnd) {
  Window* w = findWindow(hwnd);
  return w ? topLevelOf(*w).hwnd : nullptr;
}

// The sizing border of a WS_THICKFRAME window (the frame, frame wide): the
// edge a point lies on, a corner within a caption button's size of it
// along either edge; 0 off the border.
LRESULT sizingEdge(const Window& w, int frame, LONG x, LONG y) {
  if (!(w.style & WS_THICKFRAME) || (w.style & (WS_MAXIMIZE | WS_MINIMIZE))) return 0;
  RECT r = windowRectOnScreen(w);
  const LONG width = rectWidth(r), height = rectHeight(r);
  const bool left = x < frame, right = x >= width - frame, top = y < frame, bottom = y >= height - frame;
  if (!left && !right && !top && !bottom) return 0;
  const LONG cx = systemMetric(SM_CXSIZE), cy = systemMetric(SM_CYSIZE);
  const bool nearLeft = x < cx, nearRight = x >= width - cx;
  const bool nearTop = y < cy, nearBottom = y >= height - cy;
  if ((top && nearLeft) || (left && nearTop)) return HTTOPLEFT;
  if ((top && nearRight) || (right && nearTop)) return HTTOPRIGHT;
  if ((bottom && nearLeft) || (left && nearBottom)) return HTBOTTOMLEFT;
  if ((bottom && nearRight) || (right && nearBottom)) return HTBOTTOMRIGHT;
  return left ? HTLEFT : right ? HTRIGHT : top ? HTTOP : HTBOTTOM;
}

LRESULT hitTest(const Window& w, LPARAM lp) {
  POINT pt{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))};
  RECT win = windowRectOnScreen(w);
  if (!pointInRect(win, pt.x, pt.y)) return HTNOWHERE;
  POINT c = clientOriginOnScreen(w);
  RECT client = makeRect(c.x, c.y, c.x + rectWidth(w.client), c.y + rectHeight(w.client));
  if (pointInRect(client, pt.x, pt.y)) return HTCLIENT;
  LONG x = pt.x - win.left, y = pt.y - win.top;
  if (pointInRect(scrollBarRect(w, SB_VERT), x, y)) return HTVSCROLL;
  if (pointInRect(scrollBarRect(w, SB_HORZ), x, y)) return HTHSCROLL;
  RECT in = frameInsets(w.style, w.exStyle, hasMenuBar(w));
  if (LRESULT edge = sizingEdge(w, in.left, x, y)) return edge;
  if (hasMenuBar(w) && pointInRect(menuBarRect(w), x, y)) return HTMENU;
  if ((w.style & WS_CAPTION) == WS_CAPTION && y >= in.left && y < in.top) {
    if ((w.style & WS_SYSMENU) && x >= rectWidth(win) - in.left - 18) return HTCLOSE;
    return HTCAPTION;
  }
  return HTBORDER;
}

LRESULT controlColor(HDC dc, UINT msg) {
  bool editLike = msg == WM_CTLCOLOREDIT || msg == WM_CTLCOLORLISTBOX;
  SetTextColor(dc, sysColor(editLike ? COLOR_WINDOWTEXT : COLOR_BTNTEXT));
  SetBkColor(dc, sysColor(editLike ? COLOR_WINDOW : COLOR_BTNFACE));
  int brush = msg == WM_CTLCOLORSCROLLBAR ? COLOR_SCROLLBAR : editLike ? COLOR_WINDOW : COLOR_BTNFACE;
  return reinterpret_cast<LRESULT>(systemColorBrush(brush));
}

}  // namespace

}  // namespace w32

using namespace w32;

extern "C" LRESULT WINAPI DefWindowProcA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) {
  Window* w = findWindow(hWnd);
  if (!w) return 0;
  switch (Msg) {
  case WM_NCCREATE:
    return onNcCreate(*w, reinterpret_cast<const CREATESTRUCTA*>(lParam));
  case WM_NCCALCSIZE:
    return onNcCalcSize(*w, wParam, lParam);
  case WM_NCPAINT:
    paintNonClient(hWnd);
    return 0;
  case WM_NCACTIVATE:
    paintNonClient(hWnd);
    return TRUE;
  case WM_NCHITTEST:
    return hitTest(*w, lParam);
  case WM_NCLBUTTONDOWN:
    return onNcLButtonDown(hWnd, wParam, lParam);
  case WM_CANCELMODE:
    // A menu this window owns ends too.
    if (menuLoopOwner() == hWnd) EndMenu();
    if (GetCapture() == hWnd) ReleaseCapture();
    return 0;
  case WM_PAINT: {
    PAINTSTRUCT ps;
    BeginPaint(hWnd, &ps);
    EndPaint(hWnd, &ps);
    return 0;
  }
  case WM_ERASEBKGND:
  case WM_ICONERASEBKGND:
    return onEraseBackground(*w, reinterpret_cast<HDC>(wParam));
  case WM_CLOSE:
    DestroyWindow(hWnd);
    return 0;
  case WM_SETREDRAW:
    // Redrawing off: the window is marked hidden (its content validated) so
    // nothing draws it; on: marked visible again, the program repaints.
    if (wParam) {
      w->style |= WS_VISIBLE;
    } else {
      ValidateRect(hWnd, nullptr);
      w->style &= ~static_cast<DWORD>(WS_VISIBLE);
    }
    return 0;
  case WM_SETTEXT:
    return onSetText(hWnd, lParam);
  case WM_GETTEXT:
    return onGetText(*w, wParam, lParam);
  case WM_GETTEXTLENGTH:
    return static_cast<LRESULT>(w->text.size());
  case WM_WINDOWPOSCHANGING:
    onWindowPosChanging(hWnd, reinterpret_cast<WINDOWPOS*>(lParam));
    return 0;
  case WM_WINDOWPOSCHANGED:
    onWindowPosChanged(hWnd, reinterpret_cast<const WINDOWPOS*>(lParam));
    return 0;
  case WM_ACTIVATE:
    if (LOWORD(wParam) != WA_INACTIVE && !(w->style & WS_MINIMIZE)) SetFocus(hWnd);
    return 0;
  case WM_SYSKEYDOWN:
    onSysKeyDown(hWnd, wParam, lParam);
    return 0;
  case WM_KEYUP:
  case WM_SYSKEYUP:
    // Alt or F10 pressed and released alone opens the menu bar.
    if ((wParam == VK_MENU && menuKeys().alt) || (wParam == VK_F10 && menuKeys().f10))
      sendMessage(rootOf(hWnd), WM_SYSCOMMAND, SC_KEYMENU, 0);
    menuKeys() = MenuKeys{};
    return 0;
  case WM_SYSCHAR:
    menuKeys().alt = false;
    sendMessage(rootOf(hWnd), WM_SYSCOMMAND, SC_KEYMENU, static_cast<LPARAM>(wParam));
    return 0;
  case WM_SYSCOMMAND:
    return onSysCommand(hWnd, wParam, lParam);
  case WM_SHOWWINDOW:
    onShowWindow(*w, wParam, lParam);
    return 0;
  case WM_QUERYOPEN:
  case WM_QUERYENDSESSION:
    return TRUE;
  case WM_MOUSEACTIVATE:
    return onMouseActivate(*w, wParam, lParam);
  case WM_SETCURSOR:
    // A child lets its parent decide first; the client area shows the
    // class's cursor.
    if ((w->style & WS_CHILD) && w->parent && sendMessage(w->parent, Msg, wParam, lParam))
      return TRUE;
    if (!(w = findWindow(hWnd))) return FALSE;
    if (static_cast<SHORT>(LOWORD(lParam)) == HTCLIENT && w->cls->cursor) {
      SetCursor(w->cls->cursor);
      return TRUE;
    }
    return FALSE;
  case WM_MOUSEWHEEL:
    // Unhandled, the wheel goes up to the parent.
    if ((w->style & WS_CHILD) && w->parent) return sendMessage(w->parent, Msg, wParam, lParam);
    return 0;
  case WM_RBUTTONUP: {
    // Releasing the right button asks the window for its context menu, at
    // the point in screen coordinates.
    POINT pt = {static_cast<SHORT>(LOWORD(lParam)), static_cast<SHORT>(HIWORD(lParam))};
    ClientToScreen(hWnd, &pt);
    sendMessage(hWnd, WM_CONTEXTMENU, reinterpret_cast<WPARAM>(hWnd), MAKELPARAM(pt.x, pt.y));
    return 0;
  }
  case WM_CONTEXTMENU:
  case kAppCommand:
    // A child passes these up to its parent.
    if ((w->style & WS_CHILD) && w->parent)
      sendMessage(w->parent, Msg, Msg == WM_CONTEXTMENU ? reinterpret_cast<WPARAM>(hWnd) : wParam,
                  lParam);
    return 0;
  case kNcXButtonUp:
    return onNcXButtonUp(hWnd, wParam);
  case WM_CTLCOLOR:  // the 16-bit form: answered as a dialog's
    return controlColor(reinterpret_cast<HDC>(wParam), WM_CTLCOLORDLG);
  case WM_CTLCOLORMSGBOX:
  case WM_CTLCOLOREDIT:
  case WM_CTLCOLORLISTBOX:
  case WM_CTLCOLORBTN:
  case WM_CTLCOLORDLG:
  case WM_CTLCOLORSCROLLBAR:
  case WM_CTLCOLORSTATIC:
    return controlColor(reinterpret_cast<HDC>(wParam), Msg);
  default:
    return 0;
  }
}

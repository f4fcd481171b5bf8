// The built-in control classes BUTTON and STATIC (EDIT lives in edit.cpp),
// each
// with a small procedure of its own, so that programs can create them,
// talk to them and subclass them as on the system.
// Invariant: a control tells its parent only through WM_COMMAND (and asks it
// for colours through WM_CTLCOLOR*), sent, never posted, as the system does.
#include "user/user.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace w32 {

void notifyParent(HWND hwnd, WORD code) {
  Window* w = findWindow(hwnd);
  if (!w || !isChild(*w)) return;
  sendMessage(w->parent, WM_COMMAND, MAKEWPARAM(w->id, code), reinterpret_cast<LPARAM>(hwnd));
}

HBRUSH askParentForBrush(HWND hwnd, HDC dc, UINT message) {
  Window* w = findWindow(hwnd);
  HWND parent = (w && isChild(*w)) ? w->parent : hwnd;
  // A combo box's list asks the combo box, which asks its own parent.
  if (w && w->ctl.combo) parent = w->ctl.combo;
  LRESULT r = sendMessage(parent, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(hwnd));
  if (!r) r = DefWindowProcA(parent, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(hwnd));
  return reinterpret_cast<HBRUSH>(r);
}

// The font a control was given goes into each DC it paints with.
void selectControlFont(HDC dc, const Window& w) {
  if (w.ctl.font) SelectObject(dc, w.ctl.font);
}

// WM_SETFONT of the controls: the font is kept, not owned (its maker deletes
// it), and drawn with from the next paint; a nonzero lParam repaints now.
void setControlFont(HWND hwnd, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  w->ctl.font = reinterpret_cast<HFONT>(wp);
  if (LOWORD(lp)) InvalidateRect(hwnd, nullptr, TRUE);
}

namespace {

constexpr int kCheckBox = 13;  // side of a check box square, pixels

RECT clientRectOf(const Window& w) {
  return makeRect(0, 0, rectWidth(w.client), rectHeight(w.client));
}

// ---- BUTTON ----

bool isCheckType(UINT type) {
  return type == BS_CHECKBOX || type == BS_AUTOCHECKBOX || type == BS_3STATE ||
         type == BS_AUTO3STATE || type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON;
}

// A check mark set or cleared; the checked radio button of a group is the
// one Tab stops at, so a radio button takes WS_TABSTOP with its check and
// loses it with it.
void setCheck(Window& w, int check) {
  w.ctl.check = check;
  UINT type = w.style & BS_TYPEMASK;
  if (type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON)
    w.style = check ? (w.style | WS_TABSTOP) : (w.style & ~static_cast<DWORD>(WS_TABSTOP));
}

// The other automatic radio buttons of w's group (the siblings from the one
// with WS_GROUP before it to the next one with WS_GROUP) lose their check.
void uncheckGroup(const Window& w) {
  Window* parent = findWindow(w.parent);
  if (!parent) return;
  const std::vector<HWND>& all = parent->children;
  auto self = std::find(all.begin(), all.end(), w.hwnd);
  if (self == all.end()) return;
  auto first = self;
  while (first != all.begin()) {
    Window* c = findWindow(*first);
    if (c && (c->style & WS_GROUP)) break;
    --first;
  }
  for (auto it = first; it != all.end(); ++it) {
    Window* c = findWindow(*it);
    if (!c) continue;
    if (it != first && (c->style & WS_GROUP)) break;
    if (c == &w || (c->style & BS_TYPEMASK) != BS_AUTORADIOBUTTON) continue;
    const bool wasChecked = c->ctl.check != BST_UNCHECKED;
    setCheck(*c, BST_UNCHECKED);
    if (wasChecked) InvalidateRect(c->hwnd, nullptr, TRUE);
  }
}

void buttonClicked(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  switch (w->style & BS_TYPEMASK) {
  case BS_AUTOCHECKBOX:
    w->ctl.check = w->ctl.check == BST_CHECKED ? BST_UNCHECKED : BST_CHECKED;
    break;
  case BS_AUTO3STATE:
    w->ctl.check = (w->ctl.check + 1) % 3;
    break;
  case BS_AUTORADIOBUTTON:
    uncheckGroup(*w);
    setCheck(*w, BST_CHECKED);
    break;
  default:
    break;
  }
  InvalidateRect(hwnd, nullptr, TRUE);
  notifyParent(hwnd, BN_CLICKED);
}

// The classic check box: a sunken square, white inside, with a tick when
// checked (grey for the third state).
void drawCheckMark(HDC dc, RECT box, int check) {
  auto band = [&](LONG l, LONG t, LONG r, LONG b, int color) {
    RECT e = makeRect(l, t, r, b);
    FillRect(dc, &e, systemColorBrush(color));
  };
  band(box.left, box.top, box.right - 1, box.top + 1, COLOR_BTNSHADOW);
  band(box.left, box.top, box.left + 1, box.bottom - 1, COLOR_BTNSHADOW);
  band(box.left + 1, box.top + 1, box.right - 2, box.top + 2, COLOR_3DDKSHADOW);
  band(box.left + 1, box.top + 1, box.left + 2, box.bottom - 2, COLOR_3DDKSHADOW);
  band(box.left, box.bottom - 1, box.right, box.bottom, COLOR_BTNHIGHLIGHT);
  band(box.right - 1, box.top, box.right, box.bottom, COLOR_BTNHIGHLIGHT);
  band(box.left + 1, box.bottom - 2, box.right - 1, box.bottom - 1, COLOR_3DLIGHT);
  band(box.right - 2, box.top + 1, box.right - 1, box.bottom - 1, COLOR_3DLIGHT);
  band(box.left + 2, box.top + 2, box.right - 2, box.bottom - 2,
       check == BST_INDETERMINATE ? COLOR_BTNFACE : COLOR_WINDOW);
  if (!check) return;
  // The tick, 7 pixels wide: each column's top row, three pixels deep.
  static const int kTickTop[7] = {2, 3, 4, 3, 2, 1, 0};
  int ink = check == BST_CHECKED ? COLOR_WINDOWTEXT : COLOR_BTNSHADOW;
  for (int i = 0; i < 7; ++i) {
    LONG x = box.left + 3 + i, y = box.top + 3 + kTickTop[i];
    band(x, y, x + 1, y + 3, ink);
  }
}

// The classic radio button: a sunken circle, white inside, with a dot when
// checked.
void drawRadioMark(HDC dc, RECT box, int check) {
  HGDIOBJ pen = SelectObject(dc, GetStockObject(NULL_PEN));
  HGDIOBJ brush = SelectObject(dc, systemColorBrush(COLOR_BTNSHADOW));
  Ellipse(dc, box.left, box.top, box.right, box.bottom);
  SelectObject(dc, systemColorBrush(COLOR_WINDOW));
  Ellipse(dc, box.left + 1, box.top + 1, box.right - 1, box.bottom - 1);
  if (check) {
    SelectObject(dc, systemColorBrush(COLOR_WINDOWTEXT));
    Ellipse(dc, box.left + 4, box.top + 4, box.right - 3, box.bottom - 3);
  }
  SelectObject(dc, brush);
  SelectObject(dc, pen);
}

void paintButton(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  UINT type = static_cast<UINT>(w->style & BS_TYPEMASK);
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  // Check boxes and radio buttons stand on their parent's background, which
  // they ask for as a static control does; push buttons ask WM_CTLCOLORBTN.
  HBRUSH background =
      askParentForBrush(hwnd, dc, isCheckType(type) ? WM_CTLCOLORSTATIC : WM_CTLCOLORBTN);
  if (!(w = findWindow(hwnd))) return;
  RECT r = clientRectOf(*w);
  selectControlFont(dc, *w);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, sysColor(COLOR_BTNTEXT));
  if (isCheckType(type)) {
    FillRect(dc, &r, background);
    RECT box = makeRect(0, (rectHeight(r) - kCheckBox) / 2, kCheckBox,
                        (rectHeight(r) - kCheckBox) / 2 + kCheckBox);
    if (type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON)
      drawRadioMark(dc, box, w->ctl.check);
    else
      drawCheckMark(dc, box, w->ctl.check);
    RECT text = makeRect(kCheckBox + 4, 0, r.right, r.bottom);
    DrawTextA(dc, w->text.c_str(), -1, &text, DT_SINGLELINE | DT_VCENTER | DT_LEFT);
  } else {
    FillRect(dc, &r, systemColorBrush(COLOR_BTNFACE));
    COLORREF light = w->ctl.pushed ? COLOR_BTNSHADOW : COLOR_BTNHIGHLIGHT;
    COLORREF dark = w->ctl.pushed ? COLOR_BTNHIGHLIGHT : COLOR_3DDKSHADOW;
    RECT top = makeRect(r.left, r.top, r.right, r.top + 1);
    RECT left = makeRect(r.left, r.top, r.left + 1, r.bottom);
    RECT bottom = makeRect(r.left, r.bottom - 1, r.right, r.bottom);
    RECT right = makeRect(r.right - 1, r.top, r.right, r.bottom);
    FillRect(dc, &top, systemColorBrush(static_cast<int>(light)));
    FillRect(dc, &left, systemColorBrush(static_cast<int>(light)));
    FillRect(dc, &bottom, systemColorBrush(static_cast<int>(dark)));
    FillRect(dc, &right, systemColorBrush(static_cast<int>(dark)));
    DrawTextA(dc, w->text.c_str(), -1, &r, DT_SINGLELINE | DT_VCENTER | DT_CENTER);
  }
  EndPaint(hwnd, &ps);
}

LRESULT CALLBACK buttonProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  switch (msg) {
  case WM_PAINT:
    paintButton(hwnd);
    return 0;
  case WM_ERASEBKGND:
    return 1;
  case WM_LBUTTONDBLCLK: {
    // A double-click is a second press, except where the button tells it.
    UINT type = static_cast<UINT>(w->style & BS_TYPEMASK);
    if ((w->style & BS_NOTIFY) || type == BS_RADIOBUTTON || type == BS_OWNERDRAW) {
      notifyParent(hwnd, BN_DOUBLECLICKED);
      return 0;
    }
  }
    [[fallthrough]];
  case WM_LBUTTONDOWN:
    SetFocus(hwnd);
    if ((w = findWindow(hwnd)) == nullptr) return 0;
    w->ctl.pushed = true;
    SetCapture(hwnd);
    InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case WM_LBUTTONUP: {
    bool wasPushed = w->ctl.pushed;
    w->ctl.pushed = false;
    if (GetCapture() == hwnd) ReleaseCapture();
    InvalidateRect(hwnd, nullptr, TRUE);
    POINT pt{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))};
    if ((w = findWindow(hwnd)) && wasPushed && pointInRect(clientRectOf(*w), pt.x, pt.y))
      buttonClicked(hwnd);
    return 0;
  }
  case WM_MOUSEMOVE:
    // While the button is held the pressed look follows the cursor in and out.
    if (GetCapture() == hwnd) {
      POINT pt{static_cast<SHORT>(LOWORD(lp)), static_cast<SHORT>(HIWORD(lp))};
      bool inside = pointInRect(clientRectOf(*w), pt.x, pt.y);
      if (inside != w->ctl.pushed) {
        w->ctl.pushed = inside;
        InvalidateRect(hwnd, nullptr, TRUE);
      }
    }
    return 0;
  case BM_CLICK:
    sendMessage(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, 0);
    sendMessage(hwnd, WM_LBUTTONUP, 0, 0);
    return 0;
  case BM_GETCHECK:
    return w->ctl.check;
  case BM_SETCHECK:
    if (isCheckType(static_cast<UINT>(w->style & BS_TYPEMASK))) {
      setCheck(*w, static_cast<int>(wp & 3));
      InvalidateRect(hwnd, nullptr, TRUE);
    }
    return 0;
  case BM_GETSTATE:
    return w->ctl.check | (w->ctl.pushed ? BST_PUSHED : 0) | (GetFocus() == hwnd ? BST_FOCUS : 0);
  case BM_SETSTATE:
    w->ctl.pushed = wp != 0;
    InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case WM_GETDLGCODE:
    switch (w->style & BS_TYPEMASK) {
    case BS_PUSHBUTTON: return DLGC_BUTTON | DLGC_UNDEFPUSHBUTTON;
    case BS_DEFPUSHBUTTON: return DLGC_BUTTON | DLGC_DEFPUSHBUTTON;
    case BS_RADIOBUTTON:
    case BS_AUTORADIOBUTTON: return DLGC_BUTTON | DLGC_RADIOBUTTON;
    case BS_GROUPBOX: return DLGC_STATIC;
    default: return DLGC_BUTTON;
    }
  case WM_SETFONT:
    setControlFont(hwnd, wp, lp);
    return 0;
  case WM_GETFONT:
    return reinterpret_cast<LRESULT>(w->ctl.font);
  case BM_SETSTYLE:
    w->style = (w->style & 0xFFFF0000) | LOWORD(wp);
    if (lp) InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case WM_SETTEXT: {
    LRESULT r = DefWindowProcA(hwnd, msg, wp, lp);
    InvalidateRect(hwnd, nullptr, TRUE);
    return r;
  }
  case WM_SETFOCUS:
    // The focus shows at once, as the system draws it: the colours are
    // asked for now, not when the queue next paints.
    InvalidateRect(hwnd, nullptr, TRUE);
    UpdateWindow(hwnd);
    return 0;
  case WM_KILLFOCUS:
    // A click in progress ends when the focus goes: the capture it took is
    // given back (which unpresses the button, below).
    if (w->ctl.pushed && GetCapture() == hwnd) ReleaseCapture();
    InvalidateRect(hwnd, nullptr, TRUE);
    UpdateWindow(hwnd);
    return 0;
  case WM_CAPTURECHANGED:
    if (w->ctl.pushed) {
      w->ctl.pushed = false;
      InvalidateRect(hwnd, nullptr, TRUE);
    }
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

// ---- STATIC ----

LRESULT CALLBACK staticProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  switch (msg) {
  case WM_PAINT: {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(hwnd, &ps);
    HBRUSH brush = askParentForBrush(hwnd, dc, WM_CTLCOLORSTATIC);
    if ((w = findWindow(hwnd)) != nullptr) {
      RECT r = clientRectOf(*w);
      FillRect(dc, &r, brush);
      selectControlFont(dc, *w);
      SetBkMode(dc, TRANSPARENT);
      UINT align = (w->style & SS_CENTER) ? DT_CENTER : (w->style & SS_RIGHT) ? DT_RIGHT : DT_LEFT;
      if (w->style & SS_NOPREFIX) align |= DT_NOPREFIX;
      DrawTextA(dc, w->text.c_str(), -1, &r, align);
    }
    EndPaint(hwnd, &ps);
    return 0;
  }
  case WM_ERASEBKGND:
    return 1;
  case WM_GETDLGCODE:
    return DLGC_STATIC;
  case WM_SETFONT:
    setControlFont(hwnd, wp, lp);
    return 0;
  case WM_GETFONT:
    return reinterpret_cast<LRESULT>(w->ctl.font);
  case WM_SETTEXT: {
    LRESULT r = DefWindowProcA(hwnd, msg, wp, lp);
    InvalidateRect(hwnd, nullptr, TRUE);
    return r;
  }
  case WM_LBUTTONUP:
    if (w->style & SS_NOTIFY) notifyParent(hwnd, STN_CLICKED);
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace

void registerSystemClasses() {
  registerSystemClass("Button", buttonProc, CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW | CS_PARENTDC, IDC_ARROW);
  registerSystemClass("Static", staticProc, CS_DBLCLKS | CS_PARENTDC, IDC_ARROW);
  registerEditClass();
  registerSystemClass("ScrollBar", scrollBarProc, CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW | CS_PARENTDC,
                      IDC_ARROW, kScrollBarExtraBytes);
  registerListBoxClass();
  registerComboBoxClasses();
  registerDialogClasses();
}

}  // namespace w32

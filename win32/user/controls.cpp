// The built-in control classes: BUTTON, STATIC, EDIT and SCROLLBAR, each
// with a small procedure of its own, so that programs can create them,
// talk to them and subclass them as on the system.
// Invariant: a control tells its parent only through WM_COMMAND (and asks it
// for colours through WM_CTLCOLOR*), sent, never posted, as the system does.
#include "user/user.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace w32 {

namespace {

constexpr int kCheckBox = 13;  // side of a check box square, pixels

void notifyParent(HWND hwnd, WORD code) {
  Window* w = findWindow(hwnd);
  if (!w || !isChild(*w)) return;
  sendMessage(w->parent, WM_COMMAND, MAKEWPARAM(w->id, code), reinterpret_cast<LPARAM>(hwnd));
}

HBRUSH askParentForBrush(HWND hwnd, HDC dc, UINT message) {
  Window* w = findWindow(hwnd);
  HWND parent = (w && isChild(*w)) ? w->parent : hwnd;
  LRESULT r = sendMessage(parent, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(hwnd));
  if (!r) r = DefWindowProcA(parent, message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(hwnd));
  return reinterpret_cast<HBRUSH>(r);
}

RECT clientRectOf(const Window& w) {
  return makeRect(0, 0, rectWidth(w.client), rectHeight(w.client));
}

// ---- BUTTON ----

bool isCheckType(UINT type) {
  return type == BS_CHECKBOX || type == BS_AUTOCHECKBOX || type == BS_3STATE ||
         type == BS_AUTO3STATE || type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON;
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
    w->ctl.check = BST_CHECKED;
    break;
  default:
    break;
  }
  InvalidateRect(hwnd, nullptr, TRUE);
  notifyParent(hwnd, BN_CLICKED);
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
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, sysColor(COLOR_BTNTEXT));
  if (isCheckType(type)) {
    FillRect(dc, &r, background);
    RECT box = makeRect(0, (rectHeight(r) - kCheckBox) / 2, kCheckBox,
                        (rectHeight(r) - kCheckBox) / 2 + kCheckBox);
    FillRect(dc, &box, systemColorBrush(COLOR_WINDOW));
    FrameRect(dc, &box, systemColorBrush(COLOR_BTNSHADOW));
    if (w->ctl.check) {
      RECT mark = makeRect(box.left + 3, box.top + 3, box.right - 3, box.bottom - 3);
      FillRect(dc, &mark, systemColorBrush(w->ctl.check == BST_CHECKED ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT));
    }
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
  case BM_CLICK:
    sendMessage(hwnd, WM_LBUTTONDOWN, MK_LBUTTON, 0);
    sendMessage(hwnd, WM_LBUTTONUP, 0, 0);
    return 0;
  case BM_GETCHECK:
    return w->ctl.check;
  case BM_SETCHECK:
    if (isCheckType(static_cast<UINT>(w->style & BS_TYPEMASK))) {
      w->ctl.check = static_cast<int>(wp & 3);
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
    InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case WM_KILLFOCUS:
    // A click in progress ends when the focus goes: the capture it took is
    // given back (which unpresses the button, below).
    if (w->ctl.pushed && GetCapture() == hwnd) ReleaseCapture();
    InvalidateRect(hwnd, nullptr, TRUE);
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
      SetBkMode(dc, TRANSPARENT);
      UINT align = (w->style & SS_CENTER) ? DT_CENTER : (w->style & SS_RIGHT) ? DT_RIGHT : DT_LEFT;
      DrawTextA(dc, w->text.c_str(), -1, &r, align);
    }
    EndPaint(hwnd, &ps);
    return 0;
  }
  case WM_ERASEBKGND:
    return 1;
  case WM_GETDLGCODE:
    return DLGC_STATIC;
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

// ---- EDIT ----

bool singleLine(const Window& w) { return !(w.style & ES_MULTILINE); }

void normaliseSelection(Window& w) {
  DWORD len = static_cast<DWORD>(w.text.size());
  w.ctl.selStart = std::min(w.ctl.selStart, len);
  w.ctl.selEnd = std::min(w.ctl.selEnd, len);
}

void editChanged(HWND hwnd) {
  InvalidateRect(hwnd, nullptr, TRUE);
  notifyParent(hwnd, EN_UPDATE);
  notifyParent(hwnd, EN_CHANGE);
}

// Replaces the selection with s, within the text limit; the caret follows.
void replaceSelection(HWND hwnd, const std::string& s) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  normaliseSelection(*w);
  DWORD a = std::min(w->ctl.selStart, w->ctl.selEnd), b = std::max(w->ctl.selStart, w->ctl.selEnd);
  size_t room = w->ctl.limit > w->text.size() - (b - a) ? w->ctl.limit - (w->text.size() - (b - a)) : 0;
  std::string insert = s.substr(0, std::min(room, s.size()));
  if (w->style & ES_UPPERCASE)
    for (char& c : insert) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  if (w->style & ES_LOWERCASE)
    for (char& c : insert) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  w->text.replace(a, b - a, insert);
  w->ctl.selStart = w->ctl.selEnd = a + static_cast<DWORD>(insert.size());
  editChanged(hwnd);
}

void editChar(HWND hwnd, WPARAM ch) {
  Window* w = findWindow(hwnd);
  if (!w || (w->style & ES_READONLY)) return;
  normaliseSelection(*w);
  if (ch == '\b') {
    if (w->ctl.selStart == w->ctl.selEnd && w->ctl.selStart > 0) --w->ctl.selStart;
    if (w->ctl.selStart != w->ctl.selEnd) replaceSelection(hwnd, "");
    return;
  }
  if (ch == '\r' && !singleLine(*w)) {
    replaceSelection(hwnd, "\r\n");
    return;
  }
  if (ch < ' ' || ch > 0xff) return;
  if ((w->style & ES_NUMBER) && !isdigit(static_cast<int>(ch))) return;
  replaceSelection(hwnd, std::string(1, static_cast<char>(ch)));
}

void editKey(HWND hwnd, WPARAM vk) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  normaliseSelection(*w);
  DWORD caret = w->ctl.selEnd, len = static_cast<DWORD>(w->text.size());
  switch (vk) {
  case VK_LEFT: caret = caret > 0 ? caret - 1 : 0; break;
  case VK_RIGHT: caret = std::min(caret + 1, len); break;
  case VK_HOME: caret = 0; break;
  case VK_END: caret = len; break;
  case VK_DELETE:
    if (w->style & ES_READONLY) return;
    if (w->ctl.selStart == w->ctl.selEnd && w->ctl.selEnd < len) ++w->ctl.selEnd;
    if (w->ctl.selStart != w->ctl.selEnd) replaceSelection(hwnd, "");
    return;
  default:
    return;
  }
  w->ctl.selStart = w->ctl.selEnd = caret;
  InvalidateRect(hwnd, nullptr, TRUE);
}

void paintEdit(HWND hwnd) {
  PAINTSTRUCT ps;
  HDC dc = BeginPaint(hwnd, &ps);
  HBRUSH brush = askParentForBrush(hwnd, dc, WM_CTLCOLOREDIT);
  Window* w = findWindow(hwnd);
  if (w) {
    RECT r = clientRectOf(*w);
    FillRect(dc, &r, brush);
    std::string shown = (w->style & ES_PASSWORD) ? std::string(w->text.size(), '*') : w->text;
    SetBkMode(dc, TRANSPARENT);
    RECT text = makeRect(1, 1, r.right - 1, r.bottom - 1);
    DrawTextA(dc, shown.c_str(), -1, &text, singleLine(*w) ? DT_SINGLELINE : 0);
    if (GetFocus() == hwnd) {
      LONG x = 1 + static_cast<LONG>(std::min<size_t>(w->ctl.selEnd, w->text.size())) * kCharWidth;
      RECT caret = makeRect(x, 1, x + 1, 1 + kCharHeight);
      FillRect(dc, &caret, systemColorBrush(COLOR_WINDOWTEXT));
    }
  }
  EndPaint(hwnd, &ps);
}

LRESULT editSetSel(Window& w, WPARAM wp, LPARAM lp) {
  DWORD len = static_cast<DWORD>(w.text.size());
  int start = static_cast<int>(wp), end = static_cast<int>(lp);
  if (start == -1) {
    w.ctl.selStart = w.ctl.selEnd;
    return 1;
  }
  DWORD s = static_cast<DWORD>(std::max(start, 0));
  DWORD e = end < 0 ? len : static_cast<DWORD>(end);
  w.ctl.selStart = std::min(std::min(s, e), len);
  w.ctl.selEnd = std::min(std::max(s, e), len);
  return 1;
}

LRESULT CALLBACK editProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  switch (msg) {
  case WM_CREATE:
    w->ctl.limit = singleLine(*w) ? 0x7FFFFFFE : 0xFFFFFFFF;
    return 0;
  case WM_PAINT:
    paintEdit(hwnd);
    return 0;
  case WM_ERASEBKGND:
    return 1;
  case WM_SETTEXT: {
    LRESULT r = DefWindowProcA(hwnd, msg, wp, lp);
    if ((w = findWindow(hwnd)) == nullptr) return r;
    w->ctl.selStart = w->ctl.selEnd = 0;
    if (singleLine(*w)) editChanged(hwnd);
    else InvalidateRect(hwnd, nullptr, TRUE);
    return r;
  }
  case WM_GETDLGCODE:
    return DLGC_WANTCHARS | DLGC_HASSETSEL | DLGC_WANTARROWS |
           (singleLine(*w) ? 0 : DLGC_WANTALLKEYS);
  case EM_SETSEL:
    return editSetSel(*w, wp, lp);
  case EM_GETSEL:
    normaliseSelection(*w);
    if (wp) *reinterpret_cast<DWORD*>(wp) = w->ctl.selStart;
    if (lp) *reinterpret_cast<DWORD*>(lp) = w->ctl.selEnd;
    return MAKELONG(w->ctl.selStart, w->ctl.selEnd);
  case EM_REPLACESEL:
    replaceSelection(hwnd, lp ? reinterpret_cast<const char*>(lp) : "");
    return 0;
  case EM_LIMITTEXT:
    w->ctl.limit = wp ? static_cast<UINT>(wp) : (singleLine(*w) ? 0x7FFFFFFE : 0xFFFFFFFF);
    return 0;
  case EM_GETLIMITTEXT:
    return static_cast<LRESULT>(w->ctl.limit);
  case WM_CHAR:
    editChar(hwnd, wp);
    return 0;
  case WM_KEYDOWN:
    editKey(hwnd, wp);
    return 0;
  case WM_LBUTTONDOWN:
    SetFocus(hwnd);
    return 0;
  case WM_SETFOCUS:
    InvalidateRect(hwnd, nullptr, TRUE);
    notifyParent(hwnd, EN_SETFOCUS);
    return 0;
  case WM_KILLFOCUS:
    InvalidateRect(hwnd, nullptr, TRUE);
    notifyParent(hwnd, EN_KILLFOCUS);
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace

void registerSystemClasses() {
  registerSystemClass("Button", buttonProc, CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW | CS_PARENTDC, IDC_ARROW);
  registerSystemClass("Static", staticProc, CS_DBLCLKS | CS_PARENTDC, IDC_ARROW);
  registerSystemClass("Edit", editProc, CS_DBLCLKS | CS_PARENTDC, IDC_IBEAM, kEditExtraBytes);
  registerSystemClass("ScrollBar", scrollBarProc, CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW | CS_PARENTDC,
                      IDC_ARROW, kScrollBarExtraBytes);
  registerDialogClasses();
}

}  // namespace w32

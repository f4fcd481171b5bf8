// Dialogs built from templates in memory: reading DLGTEMPLATE and
// DLGTEMPLATEEX with their items, dialog units, the dialog's font, the
// order of creation (controls, WM_SETFONT, WM_INITDIALOG, the first focus),
// the modal loop of DialogBoxIndirectParamA, and the item helpers
// (SendDlgItemMessageA, the item text and number, check buttons).
// Invariant: a template is only read, never trusted past what its counts
// say; every call out (the dialog procedure, a control's creation) may
// destroy the dialog, so it is looked up again after each.
#include "user/user.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace w32 {

namespace {

// A template's short x that asks for the default position.
constexpr short kDefaultPosition = static_cast<short>(0x8000);
// The point size that asks for the message box font (no other font data).
constexpr WORD kMessageBoxFontSize = 0x7FFF;

// The predefined classes a template names by atom.
const char *atomClassName(WORD atom) {
  switch (atom) {
    case 0x0080:
      return "Button";
    case 0x0081:
      return "Edit";
    case 0x0082:
      return "Static";
    case 0x0083:
      return "ListBox";
    case 0x0084:
      return "ScrollBar";
    case 0x0085:
      return "ComboBox";
    default:
      return nullptr;
  }
}

// Reads WORD-aligned template data. Names are sequences of 16-bit
// characters; the 8-bit functions take each as its low byte (the layer's
// text is 8-bit).
class TemplateReader {
 public:
  explicit TemplateReader(const BYTE *at) : at_(at) {}

  WORD word() {
    WORD v;
    memcpy(&v, at_, sizeof v);
    at_ += sizeof v;
    return v;
  }
  DWORD dword() {
    DWORD v;
    memcpy(&v, at_, sizeof v);
    at_ += sizeof v;
    return v;
  }
  short shortValue() { return static_cast<short>(word()); }
  BYTE byte() { return *at_++; }

  std::string text() {
    std::string s;
    for (WORD c = word(); c; c = word()) s += c < 256 ? static_cast<char>(c) : '?';
    return s;
  }

  // A name or number: 0 for none, 0xFFFF then the number, else a string.
  void nameOrNumber(std::string *name, WORD *number) {
    WORD first = word();
    *number = 0;
    name->clear();
    if (first == 0xFFFF) {
      *number = word();
      return;
    }
    if (!first) return;
    at_ -= sizeof first;
    *name = text();
  }

  void alignTo(size_t bytes) {
    uintptr_t p = reinterpret_cast<uintptr_t>(at_);
    at_ = reinterpret_cast<const BYTE *>((p + bytes - 1) & ~(uintptr_t{bytes} - 1));
  }
  const BYTE *position() const { return at_; }
  void skip(size_t bytes) { at_ += bytes; }

 private:
  const BYTE *at_;
};

struct FontRequest {
  bool given = false;
  WORD points = 0;
  WORD weight = FW_NORMAL;
  bool italic = false;
  BYTE charset = DEFAULT_CHARSET;
  std::string face;
};

struct DialogHeader {
  bool extended = false;
  DWORD style = 0, exStyle = 0;
  WORD items = 0;
  short x = 0, y = 0, cx = 0, cy = 0;
  std::string className, caption;
  WORD classAtom = 0;
  bool hasMenu = false;
  FontRequest font;
};

struct DialogItem {
  DWORD style = 0, exStyle = 0;
  short x = 0, y = 0, cx = 0, cy = 0;
  DWORD id = 0;
  std::string className, title;
  WORD classAtom = 0, titleNumber = 0;
  const void *data = nullptr;  // the creation data with its size word first, or null
};

DialogHeader readHeader(TemplateReader &r) {
  DialogHeader h;
  const BYTE *start = r.position();
  WORD version = r.word(), signature = r.word();
  h.extended = version == 1 && signature == 0xFFFF;
  if (h.extended) {
    r.dword();  // help id
    h.exStyle = r.dword();
    h.style = r.dword();
  } else {
    r = TemplateReader(start);
    h.style = r.dword();
    h.exStyle = r.dword();
  }
  h.items = r.word();
  h.x = r.shortValue();
  h.y = r.shortValue();
  h.cx = r.shortValue();
  h.cy = r.shortValue();
  std::string menuName;
  WORD menuNumber;
  r.nameOrNumber(&menuName, &menuNumber);
  h.hasMenu = menuNumber || !menuName.empty();
  r.nameOrNumber(&h.className, &h.classAtom);
  h.caption = r.text();
  if (h.style & DS_SETFONT) {
    h.font.given = true;
    h.font.points = r.word();
    if (h.font.points != kMessageBoxFontSize) {
      if (h.extended) {
        h.font.weight = r.word();
        h.font.italic = r.byte() != 0;
        h.font.charset = r.byte();
      }
      h.font.face = r.text();
    }
  }
  return h;
}

DialogItem readItem(TemplateReader &r, bool extended) {
  DialogItem item;
  r.alignTo(sizeof(DWORD));
  if (extended) {
    r.dword();  // help id
    item.exStyle = r.dword();
    item.style = r.dword();
  } else {
    item.style = r.dword();
    item.exStyle = r.dword();
  }
  item.x = r.shortValue();
  item.y = r.shortValue();
  item.cx = r.shortValue();
  item.cy = r.shortValue();
  item.id = extended ? r.dword() : r.word();
  r.nameOrNumber(&item.className, &item.classAtom);
  r.nameOrNumber(&item.title, &item.titleNumber);
  const BYTE *data = r.position();
  WORD size = r.word();
  if (size) {
    item.data = data;
    r.skip(size);
  }
  return item;
}

// The average width of the letters and the height of a font, as the
// system measures dialog base units.
SIZE fontBaseUnits(HFONT font) {
  HDC dc = GetDC(nullptr);
  HGDIOBJ old = SelectObject(dc, font ? font : GetStockObject(SYSTEM_FONT));
  static const char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  SIZE extent{};
  GetTextExtentPoint32A(dc, kLetters, 52, &extent);
  TEXTMETRICA tm{};
  GetTextMetricsA(dc, &tm);
  SelectObject(dc, old);
  ReleaseDC(nullptr, dc);
  return SIZE{(extent.cx / 26 + 1) / 2, tm.tmHeight};
}

HFONT createTemplateFont(const FontRequest &request) {
  if (request.points == kMessageBoxFontSize) {
    NONCLIENTMETRICSA metrics{};
    metrics.cbSize = sizeof metrics;
    if (!SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0))
      return nullptr;
    return CreateFontIndirectA(&metrics.lfMessageFont);
  }
  LOGFONTA lf{};
  HDC dc = GetDC(nullptr);
  lf.lfHeight = -MulDiv(request.points, GetDeviceCaps(dc, LOGPIXELSY), 72);
  ReleaseDC(nullptr, dc);
  lf.lfWeight = request.weight;
  lf.lfItalic = request.italic;
  lf.lfCharSet = request.charset;
  snprintf(lf.lfFaceName, sizeof lf.lfFaceName, "%s", request.face.c_str());
  return CreateFontIndirectA(&lf);
}

// Where a pop-up dialog goes: its template position from the owner's
// client origin (the screen's with DS_ABSALIGN or no owner), centred with
// DS_CENTER, and kept inside the work area.
POINT popupPosition(const DialogHeader &h, HWND owner, POINT frameOffset, SIZE size, SIZE base) {
  RECT work{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
  POINT pos;
  if (h.style & DS_CENTER) {
    pos = {(work.left + work.right - size.cx) / 2, (work.top + work.bottom - size.cy) / 2};
  } else if (h.style & DS_CENTERMOUSE) {
    GetCursorPos(&pos);
    pos.x -= size.cx / 2;
    pos.y -= size.cy / 2;
  } else {
    pos = {frameOffset.x + MulDiv(h.x, base.cx, 4), frameOffset.y + MulDiv(h.y, base.cy, 8)};
    if (!(h.style & DS_ABSALIGN) && owner) ClientToScreen(owner, &pos);
  }
  if (pos.x + size.cx > work.right) pos.x = work.right - size.cx;
  if (pos.y + size.cy > work.bottom) pos.y = work.bottom - size.cy;
  if (pos.x < work.left) pos.x = work.left;
  if (pos.y < work.top) pos.y = work.top;
  return pos;
}

// The control's 8-bit window name: its text, or for a number the bytes
// 0xFF and the number's two bytes (what a static icon control reads).
std::string itemName(const DialogItem &item) {
  if (!item.titleNumber) return item.title;
  std::string name(3, '\0');
  name[0] = '\xFF';
  name[1] = static_cast<char>(item.titleNumber & 0xFF);
  name[2] = static_cast<char>(item.titleNumber >> 8);
  return name;
}

// Creates the template's controls in order. A control that cannot be made
// fails the dialog unless DS_NOFAILCREATE. The last control that calls
// itself a default push button gives the dialog its default id.
bool createControls(HWND dlg, TemplateReader &r, const DialogHeader &h, HINSTANCE instance) {
  HWND defaultButton = nullptr;
  for (WORD i = 0; i < h.items; ++i) {
    DialogItem item = readItem(r, h.extended);
    DialogState *st = dialogState(dlg, false);
    if (!st) return false;
    const char *cls = item.classAtom ? atomClassName(item.classAtom) : item.className.c_str();
    DWORD style = (item.style & ~WS_POPUP) | WS_CHILD;
    DWORD exStyle = item.exStyle | WS_EX_NOPARENTNOTIFY;
    if (style & WS_BORDER) {
      style &= ~WS_BORDER;
      exStyle |= WS_EX_CLIENTEDGE;
    }
    const std::string name = itemName(item);
    HWND ctl = CreateWindowExA(exStyle, cls ? cls : "", name.c_str(), style,
                               MulDiv(item.x, st->xBase, 4), MulDiv(item.y, st->yBase, 8),
                               MulDiv(item.cx, st->xBase, 4), MulDiv(item.cy, st->yBase, 8), dlg,
                               reinterpret_cast<HMENU>(static_cast<UINT_PTR>(item.id)), instance,
                               const_cast<void *>(item.data));
    if (!findWindow(dlg)) return false;
    if (!ctl) {
      if (h.style & DS_NOFAILCREATE) continue;
      return false;
    }
    st = dialogState(dlg, false);
    if (st && st->font) sendMessage(ctl, WM_SETFONT, reinterpret_cast<WPARAM>(st->font), 0);
    if (findWindow(ctl) && (sendMessage(ctl, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON)) {
      if (defaultButton && findWindow(defaultButton))
        sendMessage(defaultButton, BM_SETSTYLE, BS_PUSHBUTTON, FALSE);
      defaultButton = ctl;
      if ((st = dialogState(dlg, false))) st->defId = static_cast<UINT>(GetDlgCtrlID(ctl));
    }
    if (!findWindow(dlg)) return false;
  }
  return true;
}

HWND firstFocusable(HWND dlg) {
  HWND focus = GetNextDlgTabItem(dlg, nullptr, FALSE);
  return focus ? focus : GetNextDlgGroupItem(dlg, nullptr, FALSE);
}

// WM_INITDIALOG, and the first focus when it answers TRUE: the first tab
// stop (an edit control's text selected), else the first control, else a
// pop-up dialog itself. A hidden control dialog (DS_CONTROL) takes none.
void initialise(HWND dlg, DWORD style, LPARAM param) {
  LRESULT wantsFocus =
      sendMessage(dlg, WM_INITDIALOG, reinterpret_cast<WPARAM>(firstFocusable(dlg)), param);
  if (!wantsFocus || !findWindow(dlg)) return;
  if ((style & DS_CONTROL) && !(style & WS_VISIBLE)) return;
  HWND focus = firstFocusable(dlg);
  if (!focus) {
    if (!(style & WS_CHILD)) SetFocus(dlg);
    return;
  }
  if (sendMessage(focus, WM_GETDLGCODE, 0, 0) & DLGC_HASSETSEL)
    sendMessage(focus, EM_SETSEL, 0, 0x7FFFFFFF);
  if (findWindow(focus)) SetFocus(focus);
}

// Builds the dialog; a modal one is left hidden for its loop to show, with
// its owner disabled. Null on failure (the half-made dialog destroyed).
HWND createFromTemplate(HINSTANCE instance, LPCDLGTEMPLATEA tmpl, HWND owner, DLGPROC proc,
                        LPARAM param, bool modal) {
  if (!tmpl) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  TemplateReader r(reinterpret_cast<const BYTE *>(tmpl));
  DialogHeader h = readHeader(r);

  HFONT font = h.font.given ? createTemplateFont(h.font) : nullptr;
  SIZE base = fontBaseUnits(font);
  if (!font) {
    LONG units = GetDialogBaseUnits();
    base = SIZE{LOWORD(units), HIWORD(units)};
  }

  DWORD style = h.style | DS_3DLOOK, exStyle = h.exStyle;
  if (style & DS_MODALFRAME) exStyle |= WS_EX_DLGMODALFRAME;
  if (style & DS_SYSMODAL) exStyle |= WS_EX_TOPMOST;
  if (style & DS_CONTROL) style &= ~(WS_CAPTION | WS_SYSMENU);
  // Tab and group navigation enters a control dialog, and starts at any
  // dialog that is not a plain child.
  if ((style & DS_CONTROL) || !(style & WS_CHILD)) exStyle |= WS_EX_CONTROLPARENT;
  RECT frame{0, 0, MulDiv(h.cx, base.cx, 4), MulDiv(h.cy, base.cy, 8)};
  AdjustWindowRectEx(&frame, style, FALSE, exStyle);
  SIZE size{frame.right - frame.left, frame.bottom - frame.top};
  POINT pos;
  if (h.x == kDefaultPosition) {
    pos = {CW_USEDEFAULT, CW_USEDEFAULT};
  } else if (style & WS_CHILD) {
    pos = {frame.left + MulDiv(h.x, base.cx, 4), frame.top + MulDiv(h.y, base.cy, 8)};
  } else {
    pos = popupPosition(h, owner, POINT{frame.left, frame.top}, size, base);
  }

  const char *cls = h.classAtom ? MAKEINTATOM(h.classAtom)
                                : (h.className.empty() ? "#32770" : h.className.c_str());
  // A modal dialog's owner (its parent if it is a child) is disabled first.
  HWND disabled = nullptr;
  if (modal && owner && IsWindowEnabled(owner)) {
    disabled = owner;
    EnableWindow(owner, FALSE);
    if (HWND capture = GetCapture()) sendMessage(capture, WM_CANCELMODE, 0, 0);
  }
  HWND dlg = CreateWindowExA(exStyle, cls, h.caption.c_str(), style & ~WS_VISIBLE, pos.x, pos.y,
                             size.cx, size.cy, owner, nullptr, instance, nullptr);
  DialogState *st = dlg ? dialogState(dlg, true) : nullptr;
  if (!st) {
    if (dlg && findWindow(dlg)) DestroyWindow(dlg);
    if (font) DeleteObject(font);
    if (disabled && findWindow(disabled)) EnableWindow(disabled, TRUE);
    return nullptr;
  }
  st->font = font;
  st->xBase = base.cx;
  st->yBase = base.cy;
  SetWindowLongA(dlg, DWLP_DLGPROC, reinterpret_cast<LONG>(proc));
  if (proc && font) sendMessage(dlg, WM_SETFONT, reinterpret_cast<WPARAM>(font), 0);

  if (!findWindow(dlg) || !createControls(dlg, r, h, instance)) {
    if (findWindow(dlg)) DestroyWindow(dlg);
    if (disabled && findWindow(disabled)) EnableWindow(disabled, TRUE);
    return nullptr;
  }
  if (proc && findWindow(dlg)) initialise(dlg, style, param);
  if (!findWindow(dlg)) return nullptr;
  if (!modal && (h.style & WS_VISIBLE) && !(GetWindowLongA(dlg, GWL_STYLE) & WS_VISIBLE)) {
    ShowWindow(dlg, SW_SHOWNORMAL);
    if (findWindow(dlg)) UpdateWindow(dlg);
  }
  return findWindow(dlg) ? dlg : nullptr;
}

// The modal loop: messages go through IsDialogMessageA until EndDialog.
// The dialog is shown when the queue first runs dry (or at its first
// timer); while nothing is queued the owner it was made with hears
// WM_ENTERIDLE and the thread waits (the simulated user and the idle hook
// run). WM_QUIT ends the loop and is posted again for the loop outside; the
// owner stays disabled then, as it does when the dialog is destroyed.
INT_PTR runModal(HWND dlg, HWND owner) {
  bool showPending = true, idleSent = false;
  INT_PTR result = IDOK;
  for (;;) {
    DialogState *st = dialogState(dlg, false);
    if (!st) return result;
    result = st->result;
    if (st->ended) break;
    MSG msg;
    if (!PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
      if (showPending) {
        showPending = false;
        ShowWindow(dlg, SW_SHOWNORMAL);
        continue;
      }
      if (!idleSent && !(GetWindowLongA(dlg, GWL_STYLE) & DS_NOIDLEMSG) && owner) {
        idleSent = true;
        sendMessage(owner, WM_ENTERIDLE, MSGF_DIALOGBOX, reinterpret_cast<LPARAM>(dlg));
        continue;
      }
      if (!WaitMessage()) break;
      continue;
    }
    idleSent = false;
    if (msg.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    if (!IsDialogMessageA(dlg, &msg)) {
      TranslateMessage(&msg);
      DispatchMessageA(&msg);
    }
    if (showPending && msg.message == WM_TIMER && findWindow(dlg)) {
      showPending = false;
      ShowWindow(dlg, SW_SHOWNORMAL);
    }
  }
  if (findWindow(dlg)) DestroyWindow(dlg);
  return result;
}

// The owner of a modal dialog: the first window from the one given up its
// parents that is not a child.
HWND modalOwner(HWND hwnd) {
  for (Window *w = findWindow(hwnd); w && isChild(*w); w = findWindow(w->parent)) {
    Window *p = findWindow(w->parent);
    if (!p || isDesktop(*p)) break;
    hwnd = p->hwnd;
  }
  return hwnd;
}

}  // namespace

}  // namespace w32

using namespace w32;

extern "C" {

HWND WINAPI CreateDialogIndirectParamA(HINSTANCE hInstance, LPCDLGTEMPLATEA lpTemplate,
                                       HWND hWndParent, DLGPROC lpDialogFunc, LPARAM dwInitParam) {
  if (hWndParent && !checkWindow(hWndParent)) return NULL;
  return createFromTemplate(hInstance, lpTemplate, hWndParent, lpDialogFunc, dwInitParam, false);
}

INT_PTR WINAPI DialogBoxIndirectParamA(HINSTANCE hInstance, LPCDLGTEMPLATEA hDialogTemplate,
                                       HWND hWndParent, DLGPROC lpDialogFunc, LPARAM dwInitParam) {
  if (hWndParent && !checkWindow(hWndParent)) return 0;
  HWND owner = modalOwner(hWndParent);
  HWND dlg = createFromTemplate(hInstance, hDialogTemplate, owner, lpDialogFunc, dwInitParam, true);
  return dlg ? runModal(dlg, owner) : -1;
}

// The system font's base units: the average width of its letters and its
// height.
LONG WINAPI GetDialogBaseUnits(void) {
  static const SIZE units = fontBaseUnits(nullptr);
  return MAKELONG(units.cx, units.cy);
}

BOOL WINAPI MapDialogRect(HWND hDlg, LPRECT lpRect) {
  DialogState *st = dialogState(hDlg, false);
  if (!st || !lpRect) return FALSE;
  int x = st->xBase, y = st->yBase;
  if (!x || !y) {
    LONG units = GetDialogBaseUnits();
    x = LOWORD(units);
    y = HIWORD(units);
  }
  lpRect->left = MulDiv(lpRect->left, x, 4);
  lpRect->right = MulDiv(lpRect->right, x, 4);
  lpRect->top = MulDiv(lpRect->top, y, 8);
  lpRect->bottom = MulDiv(lpRect->bottom, y, 8);
  return TRUE;
}

LRESULT WINAPI SendDlgItemMessageA(HWND hDlg, int nIDDlgItem, UINT Msg, WPARAM wParam,
                                   LPARAM lParam) {
  HWND item = GetDlgItem(hDlg, nIDDlgItem);
  return item ? SendMessageA(item, Msg, wParam, lParam) : 0;
}

// The buffer is emptied even when there is no such item.
UINT WINAPI GetDlgItemTextA(HWND hDlg, int nIDDlgItem, LPSTR lpString, int cchMax) {
  if (lpString && cchMax > 0) *lpString = '\0';
  return static_cast<UINT>(SendDlgItemMessageA(hDlg, nIDDlgItem, WM_GETTEXT,
                                               static_cast<WPARAM>(cchMax),
                                               reinterpret_cast<LPARAM>(lpString)));
}

BOOL WINAPI SetDlgItemTextA(HWND hDlg, int nIDDlgItem, LPCSTR lpString) {
  return static_cast<BOOL>(
      SendDlgItemMessageA(hDlg, nIDDlgItem, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(lpString)));
}

// The number at the start of the text, after blanks and a sign, up to the
// first character that is no digit; fails with 0 when there is no digit or
// the value does not fit. Unsigned, a minus sign wraps (as C's strtoul).
UINT WINAPI GetDlgItemInt(HWND hDlg, int nIDDlgItem, BOOL *lpTranslated, BOOL bSigned) {
  if (lpTranslated) *lpTranslated = FALSE;
  char text[32];
  if (!SendDlgItemMessageA(hDlg, nIDDlgItem, WM_GETTEXT, sizeof text,
                           reinterpret_cast<LPARAM>(text)))
    return 0;
  const char *p = text;
  while (isspace(static_cast<unsigned char>(*p))) ++p;
  bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  if (!isdigit(static_cast<unsigned char>(*p))) return 0;
  long long magnitude = 0;
  for (; isdigit(static_cast<unsigned char>(*p)); ++p) {
    magnitude = magnitude * 10 + (*p - '0');
    if (magnitude > 0xFFFFFFFFLL) return 0;
  }
  long long limit = bSigned ? (negative ? 0x80000000LL : 0x7FFFFFFFLL) : 0xFFFFFFFFLL;
  if (magnitude > limit) return 0;
  if (lpTranslated) *lpTranslated = TRUE;
  UINT value = static_cast<UINT>(magnitude);
  return negative ? 0u - value : value;
}

BOOL WINAPI SetDlgItemInt(HWND hDlg, int nIDDlgItem, UINT uValue, BOOL bSigned) {
  char text[16];
  if (bSigned)
    snprintf(text, sizeof text, "%d", static_cast<int>(uValue));
  else
    snprintf(text, sizeof text, "%u", uValue);
  return SetDlgItemTextA(hDlg, nIDDlgItem, text);
}

BOOL WINAPI CheckDlgButton(HWND hDlg, int nIDButton, UINT uCheck) {
  SendDlgItemMessageA(hDlg, nIDButton, BM_SETCHECK, uCheck, 0);
  return TRUE;
}

UINT WINAPI IsDlgButtonChecked(HWND hDlg, int nIDButton) {
  return static_cast<UINT>(SendDlgItemMessageA(hDlg, nIDButton, BM_GETCHECK, 0, 0));
}

// Checks one button of the id range and clears the others of the range.
BOOL WINAPI CheckRadioButton(HWND hDlg, int nIDFirstButton, int nIDLastButton, int nIDCheckButton) {
  Window *d = checkWindow(hDlg);
  if (!d) return FALSE;
  const std::vector<HWND> children = d->children;
  for (HWND c : children) {
    int id = GetDlgCtrlID(c);
    if (id < nIDFirstButton || id > nIDLastButton || !findWindow(c)) continue;
    SendMessageA(c, BM_SETCHECK, id == nIDCheckButton ? BST_CHECKED : BST_UNCHECKED, 0);
  }
  return TRUE;
}

}  // extern "C"

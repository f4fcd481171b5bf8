// Dialog windows as far as a program builds them itself, without templates:
// the dialog class (#32770) and its default procedure (the dialog
// procedure's answers, the default push button, the focus kept across
// activation, the background), tab and group order, keyboard navigation
// through IsDialogMessageA, and EndDialog. The system's other numbered
// classes (menu, desktop, task switch, icon title) are registered so that
// programs find them with their styles; their windows behave as plain ones.
// Invariant: any call out (the dialog procedure, a control answering
// WM_GETDLGCODE) may destroy the dialog, so its state is looked up again
// after each.
#include <cctype>
#include <cstring>

#include "user/user.h"

#include "user/menu.h"

namespace w32 {

namespace {

// The dialog procedure's slots in the window's extra bytes, read and
// written directly so that the last error is left alone.
LONG dialogSlot(const Window &w, int offset) {
  LONG v = 0;
  if (w.extra.size() >= static_cast<size_t>(offset) + sizeof v)
    memcpy(&v, &w.extra[static_cast<size_t>(offset)], sizeof v);
  return v;
}

void setDialogSlot(Window &w, int offset, LONG v) {
  if (w.extra.size() >= static_cast<size_t>(offset) + sizeof v)
    memcpy(&w.extra[static_cast<size_t>(offset)], &v, sizeof v);
}

// Messages whose answer is the dialog procedure's return value itself;
// for the others a TRUE return means "the answer is in DWLP_MSGRESULT".
bool answersDirectly(UINT msg) {
  return (msg >= WM_CTLCOLORMSGBOX && msg <= WM_CTLCOLORSTATIC) || msg == WM_COMPAREITEM ||
         msg == WM_VKEYTOITEM || msg == WM_CHARTOITEM || msg == WM_QUERYDRAGICON ||
         msg == WM_INITDIALOG;
}

DWORD styleOf(HWND hwnd) {
  Window *w = findWindow(hwnd);
  return w ? w->style : 0;
}

HWND parentWindow(HWND hwnd) {
  Window *w = findWindow(hwnd);
  return w ? w->parent : nullptr;
}

// The sibling after (or before) hwnd in its parent's z-order; null at the end.
HWND sibling(HWND hwnd, bool previous) {
  Window *p = findWindow(parentWindow(hwnd));
  if (!p) return nullptr;
  const std::vector<HWND> &all = p->children;
  for (size_t i = 0; i < all.size(); ++i) {
    if (all[i] != hwnd) continue;
    if (previous) return i ? all[i - 1] : nullptr;
    return i + 1 < all.size() ? all[i + 1] : nullptr;
  }
  return nullptr;
}

HWND edgeChild(HWND hwnd, bool last) {
  Window *w = findWindow(hwnd);
  if (!w || w->children.empty()) return nullptr;
  return last ? w->children.back() : w->children.front();
}

bool usable(HWND hwnd) { return (styleOf(hwnd) & (WS_VISIBLE | WS_DISABLED)) == WS_VISIBLE; }

bool takesTab(HWND hwnd) { return usable(hwnd) && (styleOf(hwnd) & WS_TABSTOP); }

// Navigation looks inside a visible, enabled WS_EX_CONTROLPARENT child as if
// its controls were the dialog's own.
bool opensUp(HWND hwnd) {
  Window *w = findWindow(hwnd);
  return w && (w->exStyle & WS_EX_CONTROLPARENT) && usable(hwnd);
}

// The first tab stop from `start` on through the siblings after (or before)
// it, looking inside control parents from their first (or last) child.
HWND tabStopFrom(HWND start, bool previous, int depth = 0) {
  if (depth > 64) return nullptr;
  for (HWND h = start; h && findWindow(h); h = sibling(h, previous)) {
    if (opensUp(h)) {
      if (HWND found = tabStopFrom(edgeChild(h, previous), previous, depth + 1)) return found;
    } else if (takesTab(h)) {
      return h;
    }
  }
  return nullptr;
}

// The tab stop after (or before) ctl, a descendant of dlg: its later
// siblings, then those of each ancestor below the dialog, then the dialog's
// controls from the start (or end) again.
HWND tabStopAfter(HWND dlg, HWND ctl, bool previous) {
  if (ctl && isAncestor(dlg, ctl)) {
    for (HWND at = ctl; at && at != dlg; at = parentWindow(at))
      if (HWND found = tabStopFrom(sibling(at, previous), previous)) return found;
  }
  return tabStopFrom(edgeChild(dlg, previous), previous);
}

// One step of the group walk: the next control after hwnd in the dialog,
// climbing out of control parents at their end and going round the
// dialog's controls at most twice (*rounds counts), then down the leading
// edge of control parents. Null when the walk is to stop.
HWND groupStep(HWND dlg, HWND hwnd, int *rounds) {
  HWND next = sibling(hwnd, false);
  while (!next) {
    HWND parent = parentWindow(hwnd);
    if (!parent) return nullptr;
    if (parent == dlg) {
      if (++*rounds > 1) return nullptr;
      next = edgeChild(dlg, false);
      if (!next) return nullptr;
    } else {
      hwnd = parent;
      next = sibling(hwnd, false);
    }
  }
  for (int depth = 0; opensUp(next) && edgeChild(next, false) && depth < 64; ++depth)
    next = edgeChild(next, false);
  return next;
}

// The control of ctl's group after (or before) it, going round the group:
// the walk runs forwards, passes over other groups until it is back at
// ctl, then starts again at the WS_GROUP control that opens ctl's group.
HWND groupNeighbour(HWND dlg, HWND ctl, bool previous) {
  HWND found = ctl, lastGroup = nullptr, h = ctl;
  bool skipping = false;
  int rounds = 0;
  for (int guard = 0; guard < 100000; ++guard) {
    h = groupStep(dlg, h, &rounds);
    if (!h) break;
    if (styleOf(h) & WS_GROUP) {
      lastGroup = h;
      skipping = true;
    }
    if (h == ctl) {
      if (!skipping || lastGroup == h) break;
      h = lastGroup;
      skipping = false;
      rounds = 0;
    }
    if (!skipping && usable(h)) {
      found = h;
      if (!previous) break;
    }
  }
  return found;
}

bool isPushButton(HWND hwnd) {
  return hwnd &&
         (sendMessage(hwnd, WM_GETDLGCODE, 0, 0) & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON));
}

void setButtonLook(HWND button, bool isDefault) {
  sendMessage(button, BM_SETSTYLE, isDefault ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON, TRUE);
}

// A push button with the focus looks like the default button; when the
// focus is elsewhere, the button of the default id does (in a plain window
// there is none).
void showDefaultFor(HWND dlg, HWND focus) {
  Window *d = findWindow(dlg);
  if (!d) return;
  HWND def = d->dialog ? GetDlgItem(dlg, static_cast<int>(d->dialog->defId)) : nullptr;
  HWND wanted = isPushButton(focus) ? focus : (isPushButton(def) ? def : nullptr);
  for (HWND c : descendantsPreOrder(dlg)) {
    if (c == dlg) continue;
    Window *cw = findWindow(c);
    if (cw && c != wanted && (sendMessage(c, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON))
      setButtonLook(c, false);
  }
  if (wanted && findWindow(wanted) &&
      (sendMessage(wanted, WM_GETDLGCODE, 0, 0) & DLGC_UNDEFPUSHBUTTON))
    setButtonLook(wanted, true);
}

// Moves the focus to a control the way the dialog does: an edit control's
// text is selected as a whole.
void giveFocus(HWND target) {
  if (sendMessage(target, WM_GETDLGCODE, 0, 0) & DLGC_HASSETSEL)
    sendMessage(target, EM_SETSEL, 0, -1);
  if (findWindow(target)) SetFocus(target);
}

void saveFocus(HWND dlg) {
  HWND focus = focusWindow();
  DialogState *st = dialogState(dlg, false);
  if (st && focus && isAncestor(dlg, focus)) st->savedFocus = focus;
}

// Gives the focus back to the control that had it. On activation alone a
// dialog with nothing saved is left to take the focus itself, which brings
// it here again through WM_SETFOCUS: then the first tab stop takes it, or
// the dialog keeps it when it has none.
void restoreFocus(HWND dlg, bool justActivated) {
  if (IsIconic(dlg)) return;
  DialogState *st = dialogState(dlg, false);
  if (!st || st->ended) return;
  HWND target = st->savedFocus;
  st->savedFocus = nullptr;
  if (!findWindow(target) || target == dlg || !isAncestor(dlg, target)) {
    if (justActivated) return;
    target = GetNextDlgTabItem(dlg, nullptr, FALSE);
    if (!target) target = dlg;
  }
  if (justActivated)
    SetFocus(target);
  else
    giveFocus(target);
}

// WM_NEXTDLGCTL: a given control (lParam set), or the next or previous tab
// stop from the focus.
void nextControl(HWND dlg, WPARAM wp, LPARAM lp) {
  HWND target;
  if (LOWORD(lp)) {
    target = reinterpret_cast<HWND>(wp);
  } else {
    HWND focus = focusWindow();
    if (focus && !isAncestor(dlg, focus)) focus = nullptr;
    target = GetNextDlgTabItem(dlg, focus, wp != 0);
  }
  if (!target || !findWindow(target) || !isAncestor(dlg, target)) return;
  showDefaultFor(dlg, target);
  if (findWindow(target)) giveFocus(target);
}

LRESULT setDefaultId(HWND dlg, UINT id) {
  DialogState *st = dialogState(dlg, false);
  if (!st) return FALSE;
  HWND old = GetDlgItem(dlg, static_cast<int>(st->defId));
  HWND now = GetDlgItem(dlg, static_cast<int>(id));
  st->defId = id;
  if (old && old != now && isPushButton(old)) setButtonLook(old, false);
  if (now && isPushButton(now)) setButtonLook(now, true);
  return TRUE;
}

LRESULT defaultId(HWND dlg) {
  DialogState *st = dialogState(dlg, false);
  if (!st || st->ended || !st->defId) return 0;
  return MAKELONG(st->defId, DC_HASDEFID);
}

LRESULT eraseBackground(HWND dlg, HDC dc) {
  LRESULT brush =
      sendMessage(dlg, WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(dlg));
  if (!findWindow(dlg)) return 1;
  if (!brush)
    brush = DefWindowProcA(dlg, WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc),
                           reinterpret_cast<LPARAM>(dlg));
  RECT r;
  GetClientRect(dlg, &r);
  if (brush) FillRect(dc, &r, reinterpret_cast<HBRUSH>(brush));
  return 1;
}

// What the dialog does with a message its procedure left alone.
LRESULT defaultDialogAction(HWND dlg, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
  case WM_ERASEBKGND:
    return eraseBackground(dlg, reinterpret_cast<HDC>(wp));
  case WM_SHOWWINDOW:
    if (!wp) saveFocus(dlg);
    return DefWindowProcA(dlg, msg, wp, lp);
  case WM_ACTIVATE:
    if (LOWORD(wp) != WA_INACTIVE)
      restoreFocus(dlg, true);
    else
      saveFocus(dlg);
    return 0;
  case WM_SETFOCUS:
    restoreFocus(dlg, false);
    return 0;
  case DM_SETDEFID:
    return setDefaultId(dlg, static_cast<UINT>(wp));
  case DM_GETDEFID:
    return defaultId(dlg);
  case WM_NEXTDLGCTL:
    nextControl(dlg, wp, lp);
    return 0;
  case WM_CLOSE: {
    HWND cancel = GetDlgItem(dlg, IDCANCEL);
    if (!cancel || IsWindowEnabled(cancel))
      PostMessageA(dlg, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                   reinterpret_cast<LPARAM>(cancel));
    return 0;
  }
  case WM_GETFONT: {
    DialogState *st = dialogState(dlg, false);
    return st ? reinterpret_cast<LRESULT>(st->font) : 0;
  }
  case WM_NCDESTROY:
    if (Window *w = findWindow(dlg)) {
      if (w->dialog && w->dialog->font) DeleteObject(w->dialog->font);
      w->dialog.reset();
    }
    return DefWindowProcA(dlg, msg, wp, lp);
  default:
    return DefWindowProcA(dlg, msg, wp, lp);
  }
}

// Return: the default push button's command, from the focused push button
// or else from the dialog's default id.
void pressDefault(HWND dlg) {
  HWND focus = focusWindow();
  if (focus && isAncestor(dlg, focus) &&
      (sendMessage(focus, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON)) {
    sendMessage(dlg, WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(focus), BN_CLICKED),
                reinterpret_cast<LPARAM>(focus));
    return;
  }
  LRESULT def = sendMessage(dlg, DM_GETDEFID, 0, 0);
  int id = HIWORD(def) == DC_HASDEFID ? LOWORD(def) : IDOK;
  if (!findWindow(dlg)) return;
  HWND button = GetDlgItem(dlg, id);
  if (!button || IsWindowEnabled(button))
    sendMessage(dlg, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(button));
}

// Tab in a window that is no dialog: the focus moves to the next tab stop
// itself, an edit control's text selected, and the push buttons restyled.
bool tabInPlainWindow(HWND dlg, const MSG &msg) {
  HWND focus = focusWindow();
  HWND next = GetNextDlgTabItem(dlg, focus == dlg ? nullptr : focus,
                                (GetKeyState(VK_SHIFT) & 0x8000) != 0);
  if (!next) return false;
  if (sendMessage(next, WM_GETDLGCODE, msg.wParam, reinterpret_cast<LPARAM>(&msg)) &
      DLGC_HASSETSEL) {
    LRESULT length = sendMessage(next, WM_GETTEXTLENGTH, 0, 0);
    sendMessage(next, EM_SETSEL, 0, length);
  }
  if (!findWindow(next)) return true;
  SetFocus(next);
  if (findWindow(dlg) && findWindow(next)) showDefaultFor(dlg, next);
  return true;
}

// The arrows: the next control of the group; a radio button takes the focus
// (an automatic one not yet checked is clicked), anything else goes through
// WM_NEXTDLGCTL.
void arrowKey(HWND dlg, const MSG &msg) {
  bool previous = msg.wParam == VK_LEFT || msg.wParam == VK_UP;
  HWND next = GetNextDlgGroupItem(dlg, msg.hwnd, previous);
  if (next && sendMessage(next, WM_GETDLGCODE, msg.wParam, reinterpret_cast<LPARAM>(&msg)) ==
                  (DLGC_BUTTON | DLGC_RADIOBUTTON)) {
    SetFocus(next);
    if ((styleOf(next) & BS_TYPEMASK) == BS_AUTORADIOBUTTON &&
        sendMessage(next, BM_GETCHECK, 0, 0) != BST_CHECKED)
      sendMessage(next, BM_CLICK, 1, 0);
    return;
  }
  sendMessage(dlg, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(next), 1);
}

enum class KeyOutcome { Dispatch, Done, Refused };

// The dialog keys of a WM_KEYDOWN: handled, to be dispatched as it is, or
// (Tab in a plain window without tab stops) refused.
KeyOutcome dialogKey(HWND dlg, const MSG &msg) {
  LRESULT code = sendMessage(msg.hwnd, WM_GETDLGCODE, msg.wParam, reinterpret_cast<LPARAM>(&msg));
  if (code & DLGC_WANTMESSAGE) return KeyOutcome::Dispatch;
  switch (msg.wParam) {
  case VK_TAB:
    if (code & DLGC_WANTTAB) return KeyOutcome::Dispatch;
    if (!dialogState(dlg, false))
      return tabInPlainWindow(dlg, msg) ? KeyOutcome::Done : KeyOutcome::Refused;
    sendMessage(dlg, WM_NEXTDLGCTL, (GetKeyState(VK_SHIFT) & 0x8000) ? 1 : 0, 0);
    return KeyOutcome::Done;
  case VK_LEFT:
  case VK_UP:
  case VK_RIGHT:
  case VK_DOWN:
    if (code & DLGC_WANTARROWS) return KeyOutcome::Dispatch;
    arrowKey(dlg, msg);
    return KeyOutcome::Done;
  case VK_CANCEL:
  case VK_ESCAPE:
    sendMessage(dlg, WM_COMMAND, IDCANCEL, reinterpret_cast<LPARAM>(GetDlgItem(dlg, IDCANCEL)));
    return KeyOutcome::Done;
  case VK_RETURN:
  case VK_EXECUTE:
    pressDefault(dlg);
    return KeyOutcome::Done;
  default:
    return KeyOutcome::Dispatch;
  }
}

// The character after the single '&' of a control's text, 0 for none ("&&"
// stands for '&' itself).
char mnemonicOf(HWND hwnd) {
  char text[256];
  if (!GetWindowTextA(hwnd, text, sizeof text)) return 0;
  for (const char *p = text; (p = strchr(p, '&')); p += 2)
    if (p[1] != '&') return p[1];
  return 0;
}

bool sameLetter(char a, WPARAM b) {
  return a && b < 256 &&
         toupper(static_cast<unsigned char>(a)) == toupper(static_cast<int>(b));
}

// A mnemonic: the dialog's controls after the message's window, round to
// it, are searched for a visible, enabled button or static control whose
// text marks the character. A button is clicked; a static control or group
// box passes the focus to the tab stop after it.
bool mnemonic(HWND dlg, HWND from, WPARAM ch) {
  std::vector<HWND> all;
  for (HWND h : descendantsPreOrder(dlg))
    if (h != dlg && usable(h) && (parentWindow(h) == dlg || usable(parentWindow(h))))
      all.push_back(h);
  size_t start = 0;
  for (size_t i = 0; i < all.size(); ++i)
    if (all[i] == from) start = i + 1;
  for (size_t n = 0; n < all.size(); ++n) {
    HWND h = all[(start + n) % all.size()];
    if (!findWindow(h)) continue;
    LRESULT code = sendMessage(h, WM_GETDLGCODE, 0, 0);
    if (!(code & (DLGC_BUTTON | DLGC_STATIC)) || !sameLetter(mnemonicOf(h), ch)) continue;
    if ((code & DLGC_STATIC) || (styleOf(h) & BS_TYPEMASK) == BS_GROUPBOX) {
      sendMessage(dlg, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(h), 1);
      sendMessage(dlg, WM_NEXTDLGCTL, 0, 0);
    } else {
      sendMessage(h, BM_CLICK, 0, 0);
    }
    return true;
  }
  return false;
}

bool dialogChar(HWND dlg, const MSG &msg) {
  if (msg.message == WM_CHAR) {
    LRESULT code =
        sendMessage(msg.hwnd, WM_GETDLGCODE, msg.wParam, reinterpret_cast<LPARAM>(&msg));
    if (code & (DLGC_WANTCHARS | DLGC_WANTMESSAGE)) return false;
    if (msg.wParam == '\t' && (code & DLGC_WANTTAB)) return false;
  }
  return findWindow(dlg) && mnemonic(dlg, msg.hwnd, msg.wParam);
}

// A control dialog (DS_CONTROL) inside another dialog passes the keys to
// the dialog around it.
HWND keyDestination(HWND dlg) {
  for (int depth = 0; depth < 64 && (styleOf(dlg) & DS_CONTROL); ++depth) {
    HWND parent = parentWindow(dlg);
    Window *p = findWindow(parent);
    if (!p || isDesktop(*p) || !p->dialog) break;
    dlg = parent;
  }
  return dlg;
}

}  // namespace

DialogState *dialogState(HWND hwnd, bool create) {
  Window *w = findWindow(hwnd);
  if (!w) return nullptr;
  if (!w->dialog && create && w->extra.size() >= DLGWINDOWEXTRA)
    w->dialog = std::make_unique<DialogState>();
  return w->dialog.get();
}

void registerDialogClasses() {
  registerSystemClass("#32768", popupMenuProc, CS_DROPSHADOW | CS_SAVEBITS | CS_DBLCLKS,
                      IDC_ARROW);  // menu
  registerSystemClass("#32769", DefWindowProcA, CS_DBLCLKS,
                      IDC_ARROW);  // desktop
  registerSystemClass("#32770", DefDlgProcA, CS_SAVEBITS | CS_DBLCLKS, IDC_ARROW, DLGWINDOWEXTRA);
  registerSystemClass("#32771", DefWindowProcA, CS_SAVEBITS | CS_HREDRAW | CS_VREDRAW,
                      IDC_ARROW);                               // task switch
  registerSystemClass("#32772", DefWindowProcA, 0, IDC_ARROW);  // icon title
}

}  // namespace w32

using namespace w32;

extern "C" {

LRESULT WINAPI DefDlgProcA(HWND hDlg, UINT Msg, WPARAM wParam, LPARAM lParam) {
  Window *w = findWindow(hDlg);
  if (!w) return 0;
  DLGPROC proc = nullptr;
  if (dialogState(hDlg, true)) {
    setDialogSlot(*w, DWLP_MSGRESULT, 0);
    proc = reinterpret_cast<DLGPROC>(dialogSlot(*w, DWLP_DLGPROC));
  }
  INT_PTR result = proc ? proc(hDlg, Msg, wParam, lParam) : 0;
  w = findWindow(hDlg);
  if (!w) return result;
  if (!result) {
    switch (Msg) {
    case WM_INITDIALOG:
    case WM_VKEYTOITEM:
    case WM_COMPAREITEM:
    case WM_CHARTOITEM:
      return 0;
    default:
      return defaultDialogAction(hDlg, Msg, wParam, lParam);
    }
  }
  if (answersDirectly(Msg)) return result;
  return dialogSlot(*w, DWLP_MSGRESULT);
}

BOOL WINAPI EndDialog(HWND hDlg, INT_PTR nResult) {
  Window *w = checkWindow(hDlg);
  if (!w || !w->dialog) return FALSE;
  w->dialog->ended = true;
  w->dialog->result = nResult;
  HWND owner = w->owner;
  // The window above it (its parent, or for a pop-up its owner) is enabled
  // again, whoever disabled it.
  if (HWND above = isChild(*w) ? w->parent : w->owner) {
    Window *a = findWindow(above);
    if (a && !isDesktop(*a)) EnableWindow(above, TRUE);
  }
  if (!findWindow(hDlg)) return TRUE;
  // The dialog takes the focus from its controls before it hides.
  HWND focus = focusWindow();
  if (focus && focus != hDlg && isAncestor(hDlg, focus)) SetFocus(hDlg);
  if (!findWindow(hDlg)) return TRUE;
  SetWindowPos(hDlg, NULL, 0, 0, 0, 0,
               SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_HIDEWINDOW);
  if (findWindow(hDlg) && activeWindow() == hDlg) {
    // The owner takes the activation back; without one, the next window.
    Window *o = findWindow(owner);
    if (o && !(o->style & WS_DISABLED))
      activate(topLevelOf(*o).hwnd);
    else
      deactivate(hDlg);
  }
  // Wakes a modal loop waiting for a message.
  if (findWindow(hDlg)) PostMessageA(hDlg, WM_NULL, 0, 0);
  return TRUE;
}

HWND WINAPI GetNextDlgTabItem(HWND hDlg, HWND hCtl, BOOL bPrevious) {
  if (!checkWindow(hDlg)) return NULL;
  if (hCtl == hDlg) hCtl = NULL;
  if (!hCtl && bPrevious) return NULL;
  HWND found = tabStopAfter(hDlg, hCtl, bPrevious);
  return found ? found : hCtl;
}

HWND WINAPI GetNextDlgGroupItem(HWND hDlg, HWND hCtl, BOOL bPrevious) {
  if (!checkWindow(hDlg)) return NULL;
  if (hCtl == hDlg) hCtl = NULL;
  if (!hCtl && bPrevious) return NULL;
  if (hCtl) {
    if (!isAncestor(hDlg, hCtl)) return NULL;
  } else {
    // From the start: the first control itself when it can take the focus.
    hCtl = edgeChild(hDlg, false);
    if (!hCtl || usable(hCtl)) return hCtl;
  }
  return groupNeighbour(hDlg, hCtl, bPrevious);
}

BOOL WINAPI IsDialogMessageA(HWND hDlg, LPMSG lpMsg) {
  if (!lpMsg || !findWindow(hDlg)) return FALSE;
  if (lpMsg->hwnd != hDlg && !isAncestor(hDlg, lpMsg->hwnd)) return FALSE;
  HWND dlg = keyDestination(hDlg);
  MSG msg = *lpMsg;
  if (msg.message == WM_KEYDOWN) {
    KeyOutcome outcome = dialogKey(dlg, msg);
    if (outcome != KeyOutcome::Dispatch) return outcome == KeyOutcome::Done;
  }
  if ((msg.message == WM_CHAR || msg.message == WM_SYSCHAR) && dialogChar(dlg, msg)) return TRUE;
  TranslateMessage(&msg);
  DispatchMessageA(&msg);
  return TRUE;
}

}  // extern "C"

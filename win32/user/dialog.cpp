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
#include <cstring>

#include "user/user.h"

#include "user/menu.h"

namespace w32 {

namespace {

DialogState *dialogOf(HWND hwnd, bool create) {
  Window *w = findWindow(hwnd);
  if (!w) return nullptr;
  if (!w->dialog && create && w->extra.size() >= DLGWINDOWEXTRA)
    w->dialog = std::make_unique<DialogState>();
  return w->dialog.get();
}

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

bool isDirectChild(const Window &dlg, HWND hwnd) {
  for (HWND c : dlg.children)
    if (c == hwnd) return true;
  return false;
}

bool takesTab(HWND hwnd) {
  Window *w = findWindow(hwnd);
  return w && (w->style & (WS_TABSTOP | WS_VISIBLE | WS_DISABLED)) == (WS_TABSTOP | WS_VISIBLE);
}

bool takesArrow(HWND hwnd) {
  Window *w = findWindow(hwnd);
  return w && (w->style & (WS_VISIBLE | WS_DISABLED)) == WS_VISIBLE;
}

// The next (or previous) window of children, from index `from`, that
// passes the test, going round; null when none but `from` itself does.
HWND cycle(const std::vector<HWND> &children, size_t from, bool previous, bool (*test)(HWND)) {
  size_t n = children.size();
  for (size_t step = 1; step < n; ++step) {
    size_t i = previous ? (from + n - step) % n : (from + step) % n;
    if (test(children[i])) return children[i];
  }
  return nullptr;
}

bool isPushButton(HWND hwnd) {
  return hwnd &&
         (sendMessage(hwnd, WM_GETDLGCODE, 0, 0) & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON));
}

void setButtonLook(HWND button, bool isDefault) {
  sendMessage(button, BM_SETSTYLE, isDefault ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON, TRUE);
}

// A push button with the focus looks like the default button; when the
// focus is elsewhere, the button of the default id does.
void showDefaultFor(HWND dlg, HWND focus) {
  Window *d = findWindow(dlg);
  if (!d || !d->dialog) return;
  HWND def = GetDlgItem(dlg, static_cast<int>(d->dialog->defId));
  HWND wanted = isPushButton(focus) ? focus : (isPushButton(def) ? def : nullptr);
  std::vector<HWND> children = d->children;
  for (HWND c : children) {
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
  DialogState *st = dialogOf(dlg, false);
  if (st && focus && isAncestor(dlg, focus)) st->savedFocus = focus;
}

// Gives the focus back to the control that had it. On activation alone a
// dialog with nothing saved is left to take the focus itself, which brings
// it here again through WM_SETFOCUS: then the first tab stop takes it, or
// the dialog keeps it when it has none.
void restoreFocus(HWND dlg, bool justActivated) {
  if (IsIconic(dlg)) return;
  DialogState *st = dialogOf(dlg, false);
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
  DialogState *st = dialogOf(dlg, false);
  if (!st) return FALSE;
  HWND old = GetDlgItem(dlg, static_cast<int>(st->defId));
  HWND now = GetDlgItem(dlg, static_cast<int>(id));
  st->defId = id;
  if (old && old != now && isPushButton(old)) setButtonLook(old, false);
  if (now && isPushButton(now)) setButtonLook(now, true);
  return TRUE;
}

LRESULT defaultId(HWND dlg) {
  DialogState *st = dialogOf(dlg, false);
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
  case WM_NCDESTROY:
    if (Window *w = findWindow(dlg)) w->dialog.reset();
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

// The dialog keys of a WM_KEYDOWN; false when the message is to be
// dispatched as it is.
bool dialogKey(HWND dlg, const MSG &msg) {
  LRESULT code = sendMessage(msg.hwnd, WM_GETDLGCODE, msg.wParam, reinterpret_cast<LPARAM>(&msg));
  if (code & DLGC_WANTMESSAGE) return false;
  switch (msg.wParam) {
  case VK_TAB:
    if (code & DLGC_WANTTAB) return false;
    sendMessage(dlg, WM_NEXTDLGCTL, (GetKeyState(VK_SHIFT) & 0x8000) ? 1 : 0, 0);
    return true;
  case VK_LEFT:
  case VK_UP:
  case VK_RIGHT:
  case VK_DOWN: {
    if (code & DLGC_WANTARROWS) return false;
    HWND next =
        GetNextDlgGroupItem(dlg, focusWindow(), msg.wParam == VK_LEFT || msg.wParam == VK_UP);
    if (next) sendMessage(dlg, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(next), TRUE);
    return true;
  }
  case VK_CANCEL:
  case VK_ESCAPE:
    sendMessage(dlg, WM_COMMAND, IDCANCEL, reinterpret_cast<LPARAM>(GetDlgItem(dlg, IDCANCEL)));
    return true;
  case VK_RETURN:
  case VK_EXECUTE:
    pressDefault(dlg);
    return true;
  default:
    return false;
  }
}

}  // namespace

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
  if (dialogOf(hDlg, true)) {
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
  return TRUE;
}

HWND WINAPI GetNextDlgTabItem(HWND hDlg, HWND hCtl, BOOL bPrevious) {
  Window *d = checkWindow(hDlg);
  if (!d) return NULL;
  const std::vector<HWND> children = d->children;
  if (!hCtl || !isDirectChild(*d, hCtl)) {
    for (size_t i = 0; i < children.size(); ++i) {
      HWND c = children[bPrevious ? children.size() - 1 - i : i];
      if (takesTab(c)) return c;
    }
    return NULL;
  }
  size_t at = 0;
  while (children[at] != hCtl) ++at;
  HWND next = cycle(children, at, bPrevious, takesTab);
  return next ? next : (takesTab(hCtl) ? hCtl : NULL);
}

HWND WINAPI GetNextDlgGroupItem(HWND hDlg, HWND hCtl, BOOL bPrevious) {
  Window *d = checkWindow(hDlg);
  if (!d || d->children.empty()) return NULL;
  if (!hCtl || !isDirectChild(*d, hCtl)) hCtl = d->children.front();
  // The group runs from the nearest WS_GROUP at or before the control to
  // the next WS_GROUP after it.
  const std::vector<HWND> &all = d->children;
  size_t at = 0;
  while (all[at] != hCtl) ++at;
  auto starts = [&](size_t i) {
    Window *c = findWindow(all[i]);
    return c && (c->style & WS_GROUP);
  };
  size_t first = at;
  while (first > 0 && !starts(first)) --first;
  size_t end = at + 1;
  while (end < all.size() && !starts(end)) ++end;
  std::vector<HWND> group(all.begin() + static_cast<std::ptrdiff_t>(first),
                          all.begin() + static_cast<std::ptrdiff_t>(end));
  HWND next = cycle(group, at - first, bPrevious, takesArrow);
  return next ? next : hCtl;
}

BOOL WINAPI IsDialogMessageA(HWND hDlg, LPMSG lpMsg) {
  if (!lpMsg || !findWindow(hDlg)) return FALSE;
  if (lpMsg->hwnd != hDlg && !isAncestor(hDlg, lpMsg->hwnd)) return FALSE;
  MSG msg = *lpMsg;
  if (msg.message == WM_KEYDOWN && dialogKey(hDlg, msg)) return TRUE;
  TranslateMessage(&msg);
  DispatchMessageA(&msg);
  return TRUE;
}

}  // extern "C"

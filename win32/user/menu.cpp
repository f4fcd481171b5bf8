// Menus: handles and their items, the functions that build, change and ask
// about them, a window's bar and system menu, and how a bar and a pop-up
// are laid out and drawn (classic look, the built-in font). The loop that
// opens them is menuloop.cpp's.
// Invariants: a menu handle is valid until DestroyMenu or the destruction of
// the window whose bar it is (destroying a menu destroys its submenus);
// handles are never reused. A top-level window's GWL_ID is its menu.
#include "user/menu.h"

#include <algorithm>
#include <map>
#include <memory>

namespace w32 {

namespace {

// Menu handles live in their own numeric range (see docs/win32.md).
constexpr ULONG_PTR kFirstMenuHandle = 0x00A00000;

// The geometry of the classic menus, in pixels.
constexpr int kBarItemPadding = kCharWidth;  // each side of a bar item's text
constexpr int kPopupItemHeight = 18;         // SM_CYMENUSIZE
constexpr int kSeparatorHeight = 9;          // half an item
constexpr int kCheckColumn = 16;             // check marks, left of the text
constexpr int kArrowColumn = 16;             // submenu arrows, right of the shortcut
constexpr int kShortcutGap = 12;             // between the text and the shortcut column
constexpr int kMinPopupWidth = 40;

// The bits of an item's type and state as MENUITEMINFO shows them.
constexpr UINT kTypeMask = MFT_STRING | MFT_BITMAP | MFT_OWNERDRAW | MFT_SEPARATOR |
                           MFT_MENUBARBREAK | MFT_MENUBREAK | MFT_RADIOCHECK | MFT_RIGHTORDER |
                           MFT_RIGHTJUSTIFY;
constexpr UINT kStateMask = MFS_GRAYED | MFS_CHECKED | MFS_HILITE | MFS_DEFAULT;
// The flag bits of InsertMenuA/ModifyMenuA that are the item's type.
constexpr UINT kFlagTypeMask = kTypeMask | MF_POPUP | MF_SYSMENU;

struct MenuTable {
  std::map<HMENU, Menu> menus;
  std::map<HWND, HMENU> systemMenus;
  ULONG_PTR next = kFirstMenuHandle;
};

MenuTable& menuTable() {
  // Never destroyed: libraries unloaded at exit still call in.
  static MenuTable& t = *new MenuTable;
  return t;
}

Menu* checkMenu(HMENU hmenu) {
  Menu* m = findMenu(hmenu);
  if (!m) SetLastError(ERROR_INVALID_MENU_HANDLE);
  return m;
}

HMENU newMenu(bool popup) {
  MenuTable& t = menuTable();
  HMENU h = reinterpret_cast<HMENU>(t.next);
  t.next += 4;
  t.menus[h].popup = popup;
  return h;
}

void destroyMenuTree(HMENU hmenu) {
  Menu* m = findMenu(hmenu);
  if (!m) return;
  std::vector<HMENU> subs;
  for (const MenuItem& i : m->items)
    if (i.submenu) subs.push_back(i.submenu);
  HWND shown = m->shown;
  menuTable().menus.erase(hmenu);
  if (shown) DestroyWindow(shown);
  for (HMENU s : subs) destroyMenuTree(s);
}

// How deep a tree of submenus may go, as the system limits it.
constexpr int kMaxMenuDepth = 30;

// The levels of hmenu's tree (1 for a menu without submenus).
int menuDepth(HMENU hmenu, int depth = 0) {
  const Menu* m = findMenu(hmenu);
  if (!m || depth > kMaxMenuDepth) return depth;
  int deepest = depth + 1;
  for (const MenuItem& i : m->items)
    if (i.submenu) deepest = std::max(deepest, menuDepth(i.submenu, depth + 1));
  return deepest;
}

// Whether sub may go into an item of hmenu: not hmenu itself or one of
// its parents (no cycles), and not too deep.
bool fitsUnder(HMENU sub, HMENU hmenu);

// Whether sub is hmenu or lies below it (an item may not hold its own parent).
bool reaches(HMENU hmenu, HMENU sub, int depth = 0) {
  if (hmenu == sub) return true;
  const Menu* m = findMenu(hmenu);
  if (!m || depth > 64) return false;
  for (const MenuItem& i : m->items)
    if (i.submenu && reaches(i.submenu, sub, depth + 1)) return true;
  return false;
}

bool fitsUnder(HMENU sub, HMENU hmenu) {
  return !reaches(sub, hmenu) && menuDepth(sub) < kMaxMenuDepth;
}

// An item by position, or by command searching submenus depth first: an
// item with the command wins, a submenu's own item with it only when no
// item below has it. *hmenu and *pos become where it was found.
MenuItem* findItem(HMENU* hmenu, UINT* pos, UINT flags, int depth = 0) {
  Menu* m = findMenu(*hmenu);
  if (!m || depth > 64) return nullptr;
  if (flags & MF_BYPOSITION) return *pos < m->items.size() ? &m->items[*pos] : nullptr;
  MenuItem* fallback = nullptr;
  UINT fallbackPos = 0;
  for (UINT i = 0; i < m->items.size(); ++i) {
    MenuItem& item = m->items[i];
    if (item.submenu) {
      HMENU sub = item.submenu;
      UINT subPos = *pos;
      if (MenuItem* found = findItem(&sub, &subPos, flags, depth + 1)) {
        *hmenu = sub;
        *pos = subPos;
        return found;
      }
      if (item.id == *pos && !fallback) {
        fallback = &m->items[i];
        fallbackPos = i;
      }
      m = findMenu(*hmenu);
      continue;
    }
    if (item.id == *pos) {
      *pos = i;
      return &item;
    }
  }
  if (fallback) *pos = fallbackPos;
  return fallback;
}

// InsertMenuA and ModifyMenuA's flags and data applied to an item.
// MF_POPUP with a handle that is no menu makes a plain item of that command
// (the error is set, the call succeeds), as the system does.
bool setItemFromFlags(MenuItem& item, UINT flags, UINT_PTR id, LPCSTR data) {
  if ((flags & MF_POPUP) && !findMenu(reinterpret_cast<HMENU>(id))) {
    SetLastError(ERROR_INVALID_MENU_HANDLE);
    flags &= ~static_cast<UINT>(MF_POPUP);
  }
  const bool stringItem = !(flags & (MF_BITMAP | MF_OWNERDRAW | MF_SEPARATOR));
  item.hasText = false;
  item.text.clear();
  item.bitmap = nullptr;
  if (stringItem && data) {
    item.hasText = true;
    item.text = data;
  } else if (stringItem) {
    flags |= MF_SEPARATOR;
  } else if (flags & MF_BITMAP) {
    item.bitmap = reinterpret_cast<HBITMAP>(const_cast<char*>(data));
  }
  item.data = (flags & MF_OWNERDRAW) ? reinterpret_cast<ULONG_PTR>(data) : 0;
  if ((item.type & MF_POPUP) && (flags & MF_POPUP) && item.submenu != reinterpret_cast<HMENU>(id))
    destroyMenuTree(item.submenu);
  item.id = static_cast<UINT>(id);
  if (flags & MF_POPUP) {
    item.submenu = reinterpret_cast<HMENU>(id);
    findMenu(item.submenu)->popup = true;
  } else {
    item.submenu = nullptr;
  }
  item.type = flags & kFlagTypeMask;
  item.state = flags & kStateMask & ~static_cast<UINT>(MFS_DEFAULT);
  return true;
}

bool validItemInfoSize(const MENUITEMINFOA* mii) {
  if (mii && (mii->cbSize == sizeof(MENUITEMINFOA) ||
              mii->cbSize == offsetof(MENUITEMINFOA, hbmpItem)))
    return true;
  SetLastError(ERROR_INVALID_PARAMETER);
  return false;
}

// MIIM_TYPE stands for MIIM_FTYPE with the string or bitmap it names, and may
// not be mixed with them; MIIM_FTYPE may not make a bitmap item.
bool normalizedMask(const MENUITEMINFOA& mii, UINT* mask) {
  *mask = mii.fMask;
  if (mii.fMask & MIIM_TYPE) {
    if (mii.fMask & (MIIM_STRING | MIIM_FTYPE | MIIM_BITMAP)) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return false;
    }
    *mask |= MIIM_FTYPE;
    if (!(mii.fType & (MFT_BITMAP | MFT_OWNERDRAW | MFT_SEPARATOR))) *mask |= MIIM_STRING;
    else if (mii.fType & MFT_BITMAP) *mask |= MIIM_BITMAP;
  } else if ((mii.fMask & MIIM_FTYPE) && (mii.fType & MFT_BITMAP)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  return true;
}

bool setItemFromInfo(MenuItem& item, const MENUITEMINFOA& mii, HMENU owner) {
  UINT mask;
  if (!normalizedMask(mii, &mask)) return false;
  if (mask & MIIM_FTYPE) item.type = (item.type & ~kTypeMask) | (mii.fType & kTypeMask);
  if (mask & MIIM_STRING) {
    item.hasText = mii.dwTypeData != nullptr;
    item.text = mii.dwTypeData ? mii.dwTypeData : "";
  }
  if (mask & MIIM_STATE) item.state = mii.fState & kStateMask;
  if (mask & MIIM_ID) item.id = mii.wID;
  if (mask & MIIM_SUBMENU) {
    if (mii.hSubMenu) {
      Menu* sub = findMenu(mii.hSubMenu);
      if (!sub || !fitsUnder(mii.hSubMenu, owner)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
      }
      sub->popup = true;
      item.type |= MF_POPUP;
    } else {
      item.type &= ~static_cast<UINT>(MF_POPUP);
    }
    item.submenu = mii.hSubMenu;
  }
  if (mask & MIIM_CHECKMARKS) {
    item.checked = mii.hbmpChecked;
    item.unchecked = mii.hbmpUnchecked;
  }
  if (mask & MIIM_DATA) item.data = mii.dwItemData;
  if ((mask & MIIM_BITMAP) && mii.cbSize == sizeof(MENUITEMINFOA)) item.bitmap = mii.hbmpItem;
  if ((mask & MIIM_TYPE) && (mii.fType & MFT_BITMAP))
    item.bitmap = reinterpret_cast<HBITMAP>(mii.dwTypeData);
  if (!item.hasText && !(item.type & MFT_OWNERDRAW) && !item.bitmap) item.type |= MFT_SEPARATOR;
  return true;
}

// GetMenuItemInfoA's copy of the text: at most cch - 1 characters and a
// zero; cch becomes the characters copied, or the length when no buffer.
void copyItemText(const MenuItem& item, MENUITEMINFOA* mii) {
  if (!item.hasText) {
    if (mii->dwTypeData && mii->cch) mii->dwTypeData[0] = 0;
    mii->cch = 0;
    return;
  }
  const UINT len = static_cast<UINT>(item.text.size());
  if (!mii->dwTypeData || !mii->cch) {
    mii->cch = len;
    return;
  }
  const UINT n = std::min(len, mii->cch - 1);
  memcpy(mii->dwTypeData, item.text.data(), n);
  mii->dwTypeData[n] = 0;
  mii->cch = n;
}

bool getItemInfo(const MenuItem& item, MENUITEMINFOA* mii) {
  if (mii->fMask & MIIM_TYPE) {
    if (mii->fMask & (MIIM_STRING | MIIM_FTYPE | MIIM_BITMAP)) {
      SetLastError(ERROR_INVALID_PARAMETER);
      return false;
    }
    mii->fType = item.type & kTypeMask;
    if (item.bitmap) mii->fType |= MFT_BITMAP;
    if (mii->cbSize == sizeof(MENUITEMINFOA)) mii->hbmpItem = item.bitmap;
    if (mii->fType & MFT_BITMAP) {
      mii->dwTypeData = reinterpret_cast<LPSTR>(item.bitmap);
      mii->cch = 0;
    } else if (mii->fType & (MFT_OWNERDRAW | MFT_SEPARATOR)) {
      mii->dwTypeData = nullptr;
      mii->cch = 0;
    }
  }
  const bool typeWithText =
      (mii->fMask & MIIM_TYPE) && !(mii->fType & (MFT_BITMAP | MFT_OWNERDRAW | MFT_SEPARATOR));
  if ((mii->fMask & MIIM_STRING) || typeWithText)
    copyItemText(item, mii);
  if (mii->fMask & MIIM_FTYPE) mii->fType = item.type & kTypeMask;
  if ((mii->fMask & MIIM_BITMAP) && mii->cbSize == sizeof(MENUITEMINFOA))
    mii->hbmpItem = item.bitmap;
  if (mii->fMask & MIIM_STATE) mii->fState = item.state & kStateMask;
  if (mii->fMask & MIIM_ID) mii->wID = item.id;
  mii->hSubMenu = (mii->fMask & MIIM_SUBMENU) ? item.submenu : nullptr;
  if (mii->fMask & MIIM_CHECKMARKS) {
    mii->hbmpChecked = item.checked;
    mii->hbmpUnchecked = item.unchecked;
  }
  if (mii->fMask & MIIM_DATA) mii->dwItemData = item.data;
  return true;
}

bool isSystemBitmap(HBITMAP b) {
  const ULONG_PTR v = reinterpret_cast<ULONG_PTR>(b);
  return v >= 1 && v <= 6;
}

bool insertItem(HMENU hmenu, UINT pos, bool byPosition, const MenuItem& item) {
  Menu* m = findMenu(hmenu);
  UINT at = static_cast<UINT>(m->items.size());
  if (byPosition) {
    at = std::min(pos, at);
  } else {
    HMENU where = hmenu;
    UINT found = pos;
    if (findItem(&where, &found, MF_BYCOMMAND)) {
      hmenu = where;
      at = found;
    }
    m = findMenu(hmenu);
  }
  // The system's bitmaps (handles 1 to 6, the buttons of a maximised MDI
  // child) stay at the bar's right end.
  while (at > 0 && isSystemBitmap(m->items[at - 1].bitmap)) --at;
  m->items.insert(m->items.begin() + static_cast<std::ptrdiff_t>(at), item);
  if (m->focused != kNoItem && m->focused >= at) ++m->focused;
  return true;
}

// Removes the item (and with destroy, its submenu).
BOOL removeItem(HMENU hmenu, UINT pos, UINT flags, bool destroy) {
  if (!checkMenu(hmenu)) return FALSE;
  if (!findItem(&hmenu, &pos, flags)) return FALSE;
  Menu* m = findMenu(hmenu);
  HMENU sub = m->items[pos].submenu;
  m->items.erase(m->items.begin() + static_cast<std::ptrdiff_t>(pos));
  if (m->focused == pos) m->focused = kNoItem;
  else if (m->focused != kNoItem && m->focused > pos) --m->focused;
  if (destroy && sub) destroyMenuTree(sub);
  return TRUE;
}

// Changing SC_TASKLIST by command succeeds though no menu has it: old
// programs change it in their system menu, and the system lets them.
BOOL pretendsTaskList(UINT id, UINT flags) {
  return id == SC_TASKLIST && !(flags & MF_BYPOSITION) ? TRUE : FALSE;
}

// A menu bar changed: the client area is recalculated.
void frameChanged(HWND hwnd) {
  SetWindowPos(hwnd, NULL, 0, 0, 0, 0,
               SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

// ---- Layout ----

int textWidth(const std::string& s) { return static_cast<int>(s.size()) * kCharWidth; }

int popupItemHeight(const MenuItem& item) {
  return isSeparator(item) ? kSeparatorHeight : kPopupItemHeight;
}

// ---- Drawing ----

void drawLabel(const Painter& p, int x, int y, const MenuLabel& label, COLORREF fg) {
  p.text(x, y, label.shown.c_str(), static_cast<int>(label.shown.size()), fg, nullptr);
  if (label.mnemonic >= 0)
    p.fill(makeRect(x + label.mnemonic * kCharWidth, y + kCharAscent + 1,
                    x + (label.mnemonic + 1) * kCharWidth - 1, y + kCharAscent + 2),
           fg);
}

// The item's text in its colours: grayed text is etched unless selected.
void drawItemText(const Painter& p, int x, int y, const MenuLabel& label, bool grayed,
                  bool hilite) {
  if (!grayed) {
    drawLabel(p, x, y, label, sysColor(hilite ? COLOR_HIGHLIGHTTEXT : COLOR_MENUTEXT));
    return;
  }
  if (!hilite) drawLabel(p, x + 1, y + 1, label, sysColor(COLOR_BTNHIGHLIGHT));
  drawLabel(p, x, y, label, sysColor(COLOR_GRAYTEXT));
}

void drawCheck(const Painter& p, const RECT& r, bool radio, COLORREF ink) {
  const int cx = (r.left + kCheckColumn / 2), cy = (r.top + r.bottom) / 2;
  if (radio) {
    p.fill(makeRect(cx - 2, cy - 2, cx + 2, cy + 2), ink);
    return;
  }
  // A tick: down three pixels, then up five, two pixels thick.
  for (int i = 0; i < 7; ++i) {
    const int y = i < 3 ? cy - 1 + i : cy + 1 - (i - 2);
    p.fill(makeRect(cx - 3 + i, y, cx - 2 + i, y + 2), ink);
  }
}

void drawArrow(const Painter& p, const RECT& r, COLORREF ink) {
  const int x = r.right - kArrowColumn / 2 - 2, cy = (r.top + r.bottom) / 2;
  for (int i = 0; i < 4; ++i) p.fill(makeRect(x + i, cy - 3 + i, x + i + 1, cy + 4 - i), ink);
}

void drawPopupItem(const Painter& p, const Menu& m, const MenuItem& item) {
  const RECT& r = item.rect;
  if (isSeparator(item)) {
    const int mid = (r.top + r.bottom) / 2;
    p.fill(makeRect(r.left + 1, mid - 1, r.right - 1, mid), sysColor(COLOR_BTNSHADOW));
    p.fill(makeRect(r.left + 1, mid, r.right - 1, mid + 1), sysColor(COLOR_BTNHIGHLIGHT));
    return;
  }
  const bool hilite = (item.state & MF_HILITE) != 0;
  const bool grayed = isDisabled(item);
  if (hilite) p.fill(r, sysColor(COLOR_HIGHLIGHT));
  const COLORREF ink = grayed ? sysColor(COLOR_GRAYTEXT)
                              : sysColor(hilite ? COLOR_HIGHLIGHTTEXT : COLOR_MENUTEXT);
  if ((item.state & MFS_CHECKED) && !(m.style & MNS_NOCHECK))
    drawCheck(p, r, (item.type & MFT_RADIOCHECK) != 0, ink);
  const MenuLabel label = menuLabel(item.text);
  const int y = r.top + (rectHeight(r) - kCharHeight) / 2;
  drawItemText(p, r.left + kCheckColumn, y, label, grayed, hilite);
  if (!label.shortcut.empty()) {
    MenuLabel shortcut = menuLabel(label.shortcut);
    shortcut.mnemonic = -1;
    const int x = r.right - kArrowColumn - textWidth(shortcut.shown);
    drawItemText(p, x, y, shortcut, grayed, hilite);
  }
  if (item.submenu) drawArrow(p, r, ink);
}

void paintPopup(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  for (auto& [h, m] : menuTable().menus) {
    if (m.shown != hwnd) continue;
    Painter p = painterFor(*w, false);
    p.fill(makeRect(0, 0, rectWidth(w->client), rectHeight(w->client)), sysColor(COLOR_MENU));
    for (const MenuItem& item : m.items) drawPopupItem(p, m, item);
    return;
  }
}

HMENU makeSystemMenu() {
  static const struct {
    UINT id;
    const char* text;
  } kItems[] = {{SC_RESTORE, "&Restore"},   {SC_MOVE, "&Move"},         {SC_SIZE, "&Size"},
                {SC_MINIMIZE, "Mi&nimize"}, {SC_MAXIMIZE, "Ma&ximize"}, {0, nullptr},
                {SC_CLOSE, "&Close\tAlt+F4"}};
  HMENU h = newMenu(true);
  for (const auto& i : kItems)
    AppendMenuA(h, i.text ? MF_STRING : MF_SEPARATOR, i.id, i.text);
  findMenu(h)->sysMenu = true;
  return h;
}

}  // namespace

Menu* findMenu(HMENU hmenu) {
  auto it = menuTable().menus.find(hmenu);
  return it == menuTable().menus.end() ? nullptr : &it->second;
}

MenuLabel menuLabel(const std::string& text) {
  MenuLabel l;
  const size_t tab = text.find('\t');
  const std::string main = text.substr(0, tab);
  if (tab != std::string::npos) l.shortcut = text.substr(tab + 1);
  for (size_t i = 0; i < main.size(); ++i) {
    if (main[i] == '&' && i + 1 < main.size()) {
      ++i;
      if (main[i] != '&' && l.mnemonic < 0) l.mnemonic = static_cast<int>(l.shown.size());
    }
    l.shown += main[i];
  }
  return l;
}

bool isSeparator(const MenuItem& item) { return (item.type & MFT_SEPARATOR) != 0; }

bool isDisabled(const MenuItem& item) { return (item.state & MFS_GRAYED) != 0; }

bool isMenu(HMENU hmenu) { return findMenu(hmenu) != nullptr; }

// Pop-ups may have a menu bar even with WS_CHILD set.
bool takesMenuBar(DWORD style) { return (style & (WS_CHILD | WS_POPUP)) != WS_CHILD; }

bool hasMenuBar(const Window& w) {
  return takesMenuBar(w.style) && !isDesktop(w) && isMenu(reinterpret_cast<HMENU>(w.id));
}

void destroyMenuOf(Window& w) {
  auto sys = menuTable().systemMenus.find(w.hwnd);
  if (sys != menuTable().systemMenus.end()) {
    HMENU h = sys->second;
    menuTable().systemMenus.erase(sys);
    destroyMenuTree(h);
  }
  if (!hasMenuBar(w)) return;
  destroyMenuTree(reinterpret_cast<HMENU>(w.id));
  w.id = 0;
}

HMENU systemMenuOf(HWND hwnd) {
  auto& sys = menuTable().systemMenus;
  auto it = sys.find(hwnd);
  if (it != sys.end() && findMenu(it->second)) return it->second;
  HMENU h = makeSystemMenu();
  sys[hwnd] = h;
  // A class without a close box has no Close item (nor its separator).
  Window* w = findWindow(hwnd);
  if (w && (w->cls->style & CS_NOCLOSE)) {
    Menu* m = findMenu(h);
    m->items.resize(m->items.size() - 2);
  }
  return h;
}

// Bar items run left to right from the bar's corner, each its text and a
// character's width either side, the row's height tall.
void layoutMenuBar(HMENU hmenu, int width) {
  Menu* m = findMenu(hmenu);
  if (!m) return;
  int x = 0;
  for (MenuItem& item : m->items) {
    const int w = isSeparator(item) ? kBarItemPadding
                                    : textWidth(menuLabel(item.text).shown) + 2 * kBarItemPadding;
    item.rect = makeRect(x, 0, x + w, systemMetric(SM_CYMENU) - 1);
    x += w;
  }
  (void)width;
}

// Pop-up items stack from the top, all as wide as the widest: the check
// column, the text, the shortcut column and the arrow column.
void layoutPopup(HMENU hmenu) {
  Menu* m = findMenu(hmenu);
  if (!m) return;
  int text = 0, shortcut = 0;
  for (const MenuItem& item : m->items) {
    if (isSeparator(item)) continue;
    const MenuLabel l = menuLabel(item.text);
    text = std::max(text, textWidth(l.shown));
    shortcut = std::max(shortcut, textWidth(menuLabel(l.shortcut).shown));
  }
  const int width = std::max(kMinPopupWidth, kCheckColumn + text +
                                                 (shortcut ? kShortcutGap + shortcut : 0) +
                                                 kArrowColumn);
  int y = 0;
  for (MenuItem& item : m->items) {
    const int h = popupItemHeight(item);
    item.rect = makeRect(0, y, width, y + h);
    y += h;
  }
  m->size = SIZE{width, y};
}

RECT menuBarRect(const Window& w) {
  RECT in = frameInsets(w.style, w.exStyle, true);
  int inner = 0;
  if (w.exStyle & WS_EX_CLIENTEDGE) inner += systemMetric(SM_CXEDGE);
  if (w.exStyle & WS_EX_STATICEDGE) inner += systemMetric(SM_CXBORDER);
  const int width = rectWidth(w.window);
  const int bottom = in.top - inner;
  return makeRect(in.left - inner, bottom - systemMetric(SM_CYMENU), width - in.right + inner +
                  ((w.style & WS_VSCROLL) ? systemMetric(SM_CXVSCROLL) : 0), bottom);
}

void paintMenuBar(const Painter& p, const Window& w) {
  const RECT bar = menuBarRect(w);
  p.fill(bar, sysColor(COLOR_MENU));
  HMENU hmenu = reinterpret_cast<HMENU>(w.id);
  layoutMenuBar(hmenu, rectWidth(bar));
  const Menu* m = findMenu(hmenu);
  if (!m) return;
  for (const MenuItem& item : m->items) {
    if (isSeparator(item)) continue;
    const RECT r = offsetRect(item.rect, bar.left, bar.top);
    const bool hilite = (item.state & MF_HILITE) != 0;
    if (hilite) p.fill(r, sysColor(COLOR_HIGHLIGHT));
    const MenuLabel label = menuLabel(item.text);
    const int x = r.left + (rectWidth(r) - textWidth(label.shown)) / 2;
    drawItemText(p, x, r.top + (rectHeight(r) - kCharHeight) / 2, label, isDisabled(item), hilite);
  }
}

void redrawMenuBar(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || !hasMenuBar(*w) || !isDrawable(*w)) return;
  Painter p = painterFor(*w, true);
  RECT client = offsetRect(w->client, -w->window.left, -w->window.top);
  p.clip.subtract(offsetRect(client, p.origin.x, p.origin.y));
  paintMenuBar(p, *w);
}

void redrawPopup(HMENU hmenu) {
  const Menu* m = findMenu(hmenu);
  if (m && m->shown) paintPopup(m->shown);
}

bool itemScreenRect(HWND hwnd, HMENU hmenu, UINT pos, RECT* out) {
  Menu* m = findMenu(hmenu);
  if (!m || pos >= m->items.size()) return false;
  if (m->shown) {
    Window* pw = findWindow(m->shown);
    if (!pw) return false;
    const POINT o = clientOriginOnScreen(*pw);
    *out = offsetRect(m->items[pos].rect, o.x, o.y);
    return true;
  }
  Window* w = findWindow(hwnd);
  if (!w || !hasMenuBar(*w) || reinterpret_cast<HMENU>(w->id) != hmenu) return false;
  const RECT bar = menuBarRect(*w);
  layoutMenuBar(hmenu, rectWidth(bar));
  const RECT win = windowRectOnScreen(*w);
  *out = offsetRect(findMenu(hmenu)->items[pos].rect, win.left + bar.left, win.top + bar.top);
  return true;
}

UINT itemAtPoint(HWND owner, HMENU hmenu, POINT screen) {
  const Menu* m = findMenu(hmenu);
  if (!m) return kNoItem;
  for (UINT i = 0; i < m->items.size(); ++i) {
    RECT r;
    if (itemScreenRect(owner, hmenu, i, &r) && pointInRect(r, screen.x, screen.y)) return i;
  }
  return kNoItem;
}

LRESULT CALLBACK popupMenuProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  switch (msg) {
  case WM_PAINT: {
    PAINTSTRUCT ps;
    BeginPaint(hwnd, &ps);
    paintPopup(hwnd);
    EndPaint(hwnd, &ps);
    return 0;
  }
  case WM_ERASEBKGND:
    return 1;
  case WM_MOUSEACTIVATE:
    return MA_NOACTIVATE;
  case MN_GETHMENU:
    for (auto& [h, m] : menuTable().menus)
      if (m.shown == hwnd) return reinterpret_cast<LRESULT>(h);
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace w32

using namespace w32;

extern "C" {

HMENU WINAPI CreateMenu(void) { return newMenu(false); }

HMENU WINAPI CreatePopupMenu(void) { return newMenu(true); }

BOOL WINAPI DestroyMenu(HMENU hMenu) {
  if (!checkMenu(hMenu)) return FALSE;
  destroyMenuTree(hMenu);
  return TRUE;
}

BOOL WINAPI IsMenu(HMENU hMenu) { return checkMenu(hMenu) != nullptr; }

BOOL WINAPI AppendMenuA(HMENU hMenu, UINT uFlags, UINT_PTR uIDNewItem, LPCSTR lpNewItem) {
  return InsertMenuA(hMenu, static_cast<UINT>(-1), uFlags | MF_BYPOSITION, uIDNewItem, lpNewItem);
}

// By position, a position past the end appends; by command, the item goes
// before the item of that command (in whichever submenu holds it), or at the
// end when no item has it.
BOOL WINAPI InsertMenuA(HMENU hMenu, UINT uPosition, UINT uFlags, UINT_PTR uIDNewItem,
                        LPCSTR lpNewItem) {
  if (!checkMenu(hMenu)) return FALSE;
  if ((uFlags & MF_POPUP) && isMenu(reinterpret_cast<HMENU>(uIDNewItem)) &&
      !fitsUnder(reinterpret_cast<HMENU>(uIDNewItem), hMenu))
    return FALSE;
  MenuItem item;
  if (!setItemFromFlags(item, uFlags & ~static_cast<UINT>(MF_BYPOSITION), uIDNewItem, lpNewItem))
    return FALSE;
  return insertItem(hMenu, uPosition, (uFlags & MF_BYPOSITION) != 0, item);
}

BOOL WINAPI InsertMenuItemA(HMENU hmenu, UINT item, BOOL fByPosition, LPCMENUITEMINFOA lpmi) {
  if (!validItemInfoSize(lpmi) || !checkMenu(hmenu)) return FALSE;
  MenuItem made;
  if (!setItemFromInfo(made, *lpmi, hmenu)) return FALSE;
  return insertItem(hmenu, item, fByPosition != FALSE, made);
}

BOOL WINAPI ModifyMenuA(HMENU hMnu, UINT uPosition, UINT uFlags, UINT_PTR uIDNewItem,
                        LPCSTR lpNewItem) {
  if (!checkMenu(hMnu)) return FALSE;
  const UINT wanted = uPosition;
  MenuItem* item = findItem(&hMnu, &uPosition, uFlags);
  if (!item) return pretendsTaskList(wanted, uFlags);
  if ((uFlags & MF_POPUP) && isMenu(reinterpret_cast<HMENU>(uIDNewItem)) &&
      !fitsUnder(reinterpret_cast<HMENU>(uIDNewItem), hMnu))
    return FALSE;
  return setItemFromFlags(*item, uFlags & ~static_cast<UINT>(MF_BYPOSITION), uIDNewItem, lpNewItem);
}

BOOL WINAPI DeleteMenu(HMENU hMenu, UINT uPosition, UINT uFlags) {
  return removeItem(hMenu, uPosition, uFlags, true);
}

BOOL WINAPI RemoveMenu(HMENU hMenu, UINT uPosition, UINT uFlags) {
  return removeItem(hMenu, uPosition, uFlags, false);
}

int WINAPI GetMenuItemCount(HMENU hMenu) {
  Menu* m = checkMenu(hMenu);
  return m ? static_cast<int>(m->items.size()) : -1;
}

UINT WINAPI GetMenuItemID(HMENU hMenu, int nPos) {
  UINT pos = static_cast<UINT>(nPos);
  const MenuItem* i = findItem(&hMenu, &pos, MF_BYPOSITION);
  if (!i || i->submenu) return static_cast<UINT>(-1);
  return i->id;
}

HMENU WINAPI GetSubMenu(HMENU hMenu, int nPos) {
  UINT pos = static_cast<UINT>(nPos);
  const MenuItem* i = findItem(&hMenu, &pos, MF_BYPOSITION);
  return i && (i->type & MF_POPUP) ? i->submenu : NULL;
}

int WINAPI GetMenuStringA(HMENU hMenu, UINT uIDItem, LPSTR lpString, int cchMax, UINT flags) {
  if (lpString && cchMax > 0) lpString[0] = 0;
  const MenuItem* i = findItem(&hMenu, &uIDItem, flags);
  if (!i) {
    SetLastError(ERROR_MENU_ITEM_NOT_FOUND);
    return 0;
  }
  if (!i->hasText) return 0;
  if (!lpString || cchMax <= 0) return static_cast<int>(i->text.size());
  const int n = std::min(static_cast<int>(i->text.size()), cchMax - 1);
  memcpy(lpString, i->text.data(), static_cast<size_t>(n));
  lpString[n] = 0;
  return n;
}

// A submenu's item answers its submenu's count in the high byte.
UINT WINAPI GetMenuState(HMENU hMenu, UINT uId, UINT uFlags) {
  const MenuItem* i = findItem(&hMenu, &uId, uFlags);
  if (!i) return static_cast<UINT>(-1);
  if (i->type & MF_POPUP) {
    const Menu* sub = findMenu(i->submenu);
    const UINT count = sub ? static_cast<UINT>(sub->items.size()) : 0;
    return (count << 8) | ((i->state | i->type) & 0xFF);
  }
  return i->type | i->state;
}

BOOL WINAPI GetMenuItemInfoA(HMENU hmenu, UINT item, BOOL fByPosition, LPMENUITEMINFOA lpmii) {
  if (!validItemInfoSize(lpmii)) return FALSE;
  const MenuItem* i = findItem(&hmenu, &item, fByPosition ? MF_BYPOSITION : MF_BYCOMMAND);
  if (!i) {
    SetLastError(ERROR_MENU_ITEM_NOT_FOUND);
    return FALSE;
  }
  return getItemInfo(*i, lpmii);
}

BOOL WINAPI SetMenuItemInfoA(HMENU hmenu, UINT item, BOOL fByPositon, LPCMENUITEMINFOA lpmii) {
  if (!validItemInfoSize(lpmii)) return FALSE;
  HMENU owner = hmenu;
  const UINT wanted = item;
  MenuItem* i = findItem(&owner, &item, fByPositon ? MF_BYPOSITION : MF_BYCOMMAND);
  if (!i && pretendsTaskList(wanted, fByPositon ? MF_BYPOSITION : MF_BYCOMMAND)) return TRUE;
  if (!i) {
    SetLastError(ERROR_MENU_ITEM_NOT_FOUND);
    return FALSE;
  }
  MenuItem changed = *i;
  if (!setItemFromInfo(changed, *lpmii, owner)) return FALSE;
  if ((i = findItem(&hmenu, &item, fByPositon ? MF_BYPOSITION : MF_BYCOMMAND))) *i = changed;
  return TRUE;
}

DWORD WINAPI CheckMenuItem(HMENU hMenu, UINT uIDCheckItem, UINT uCheck) {
  MenuItem* i = findItem(&hMenu, &uIDCheckItem, uCheck);
  if (!i) return static_cast<DWORD>(-1);
  const DWORD was = i->state & MF_CHECKED;
  if (uCheck & MF_CHECKED) i->state |= MF_CHECKED;
  else i->state &= ~static_cast<UINT>(MF_CHECKED);
  return was;
}

// The items from first to last (of one menu) get the radio look, the one
// to check checked and the others not; separators are passed over.
BOOL WINAPI CheckMenuRadioItem(HMENU hmenu, UINT first, UINT last, UINT check, UINT flags) {
  HMENU firstMenu = hmenu, lastMenu = hmenu, checkMenuOf = hmenu;
  if (!findItem(&firstMenu, &first, flags) || !findItem(&lastMenu, &last, flags) ||
      firstMenu != lastMenu || first > last)
    return FALSE;
  UINT checkPos = check;
  if (!findItem(&checkMenuOf, &checkPos, flags) || checkMenuOf != firstMenu) checkPos = kNoItem;
  Menu* m = findMenu(firstMenu);
  BOOL done = FALSE;
  for (UINT i = first; i <= last && i < m->items.size(); ++i) {
    MenuItem& item = m->items[i];
    if (isSeparator(item)) continue;
    if (i == checkPos) {
      item.type |= MFT_RADIOCHECK;
      item.state |= MFS_CHECKED;
      done = TRUE;
    } else {
      item.state &= ~static_cast<UINT>(MFS_CHECKED);
    }
  }
  return done;
}

// Answers the item's former MF_GRAYED/MF_DISABLED bits, or -1.
BOOL WINAPI EnableMenuItem(HMENU hMenu, UINT uIDEnableItem, UINT uEnable) {
  HMENU owner = hMenu;
  MenuItem* i = findItem(&owner, &uIDEnableItem, uEnable);
  if (!i) return -1;
  const UINT was = i->state & (MF_GRAYED | MF_DISABLED);
  i->state = (i->state & ~static_cast<UINT>(MF_GRAYED | MF_DISABLED)) |
             (uEnable & (MF_GRAYED | MF_DISABLED));
  const Menu* m = findMenu(owner);
  if (m && m->shown) redrawPopup(owner);
  return static_cast<BOOL>(was);
}

// An item that is not there is no failure (the system's answer).
BOOL WINAPI HiliteMenuItem(HWND hWnd, HMENU hMenu, UINT uIDHiliteItem, UINT uHilite) {
  if (!checkWindow(hWnd) || !checkMenu(hMenu)) return FALSE;
  MenuItem* i = findItem(&hMenu, &uIDHiliteItem, uHilite);
  if (!i) return TRUE;
  if (uHilite & MF_HILITE) i->state |= MF_HILITE;
  else i->state &= ~static_cast<UINT>(MF_HILITE);
  redrawMenuBar(hWnd);
  return TRUE;
}

// A bar item from its window; a pop-up's item as laid out (empty before it
// was ever shown) from the client area of the window given, or of the
// pop-up's own window when none is given.
BOOL WINAPI GetMenuItemRect(HWND hWnd, HMENU hMenu, UINT uItem, LPRECT lprcItem) {
  if (!lprcItem || !checkMenu(hMenu)) return FALSE;
  const Window* owner = hWnd ? findWindow(hWnd) : nullptr;
  if (owner && hasMenuBar(*owner) && reinterpret_cast<HMENU>(owner->id) == hMenu)
    return itemScreenRect(hWnd, hMenu, uItem, lprcItem) ? TRUE : FALSE;
  const Menu* m = findMenu(hMenu);
  if (uItem >= m->items.size()) return FALSE;
  Window* w = findWindow(hWnd ? hWnd : m->shown);
  if (!w) return FALSE;
  const POINT o = clientOriginOnScreen(*w);
  *lprcItem = offsetRect(m->items[uItem].rect, o.x, o.y);
  return TRUE;
}

int WINAPI MenuItemFromPoint(HWND hWnd, HMENU hMenu, POINT ptScreen) {
  if (!checkMenu(hMenu)) return -1;
  const UINT pos = itemAtPoint(hWnd, hMenu, ptScreen);
  return pos == kNoItem ? -1 : static_cast<int>(pos);
}

HMENU WINAPI GetMenu(HWND hWnd) {
  Window* w = checkWindow(hWnd);
  return w ? reinterpret_cast<HMENU>(w->id) : NULL;
}

BOOL WINAPI SetMenu(HWND hWnd, HMENU hMenu) {
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  if (!takesMenuBar(w->style)) return FALSE;  // no error code, as Wine
  if (hMenu && !checkMenu(hMenu)) return FALSE;
  w->id = reinterpret_cast<UINT_PTR>(hMenu);
  if (Menu* m = findMenu(hMenu)) m->window = hWnd;
  frameChanged(hWnd);
  return TRUE;
}

// The frame is recomputed and redrawn for any window that may have a menu
// bar, with or without one.
BOOL WINAPI DrawMenuBar(HWND hWnd) {
  Window* w = checkWindow(hWnd);
  if (!w) return FALSE;
  if (isChild(*w)) return TRUE;
  return SetWindowPos(hWnd, NULL, 0, 0, 0, 0,
                      SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE | SWP_NOZORDER | SWP_FRAMECHANGED);
}

// The window's own copy of the system menu, made on first use (for a window
// with WS_SYSMENU) and kept whatever the style becomes; bRevert
// throws the copy away (the next call makes a fresh one) and answers NULL.
HMENU WINAPI GetSystemMenu(HWND hWnd, BOOL bRevert) {
  Window* w = checkWindow(hWnd);
  if (!w) return NULL;
  if (bRevert) {
    auto& sys = menuTable().systemMenus;
    auto it = sys.find(hWnd);
    if (it != sys.end()) {
      HMENU h = it->second;
      sys.erase(it);
      destroyMenuTree(h);
    }
    return NULL;
  }
  auto& sys = menuTable().systemMenus;
  auto it = sys.find(hWnd);
  if (it != sys.end() && findMenu(it->second)) return it->second;  // whatever the style now
  if (!(w->style & WS_SYSMENU)) return NULL;
  return systemMenuOf(hWnd);
}

BOOL WINAPI GetMenuInfo(HMENU hmenu, LPMENUINFO lpcmi) {
  if (!lpcmi || lpcmi->cbSize != sizeof(MENUINFO)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  Menu* m = checkMenu(hmenu);
  if (!m) return FALSE;
  if (lpcmi->fMask & MIM_STYLE) lpcmi->dwStyle = m->style;
  if (lpcmi->fMask & MIM_MAXHEIGHT) lpcmi->cyMax = m->cyMax;
  if (lpcmi->fMask & MIM_BACKGROUND) lpcmi->hbrBack = m->background;
  if (lpcmi->fMask & MIM_HELPID) lpcmi->dwContextHelpID = m->helpId;
  if (lpcmi->fMask & MIM_MENUDATA) lpcmi->dwMenuData = m->menuData;
  return TRUE;
}

BOOL WINAPI SetMenuInfo(HMENU hmenu, LPCMENUINFO lpcmi) {
  if (!lpcmi || lpcmi->cbSize != sizeof(MENUINFO)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  Menu* m = checkMenu(hmenu);
  if (!m) return FALSE;
  if (lpcmi->fMask & MIM_STYLE) m->style = lpcmi->dwStyle;
  if (lpcmi->fMask & MIM_MAXHEIGHT) m->cyMax = lpcmi->cyMax;
  if (lpcmi->fMask & MIM_BACKGROUND) m->background = lpcmi->hbrBack;
  if (lpcmi->fMask & MIM_HELPID) m->helpId = lpcmi->dwContextHelpID;
  if (lpcmi->fMask & MIM_MENUDATA) m->menuData = lpcmi->dwMenuData;
  if (lpcmi->fMask & MIM_APPLYTOSUBMENUS) {
    std::vector<HMENU> subs;
    for (const MenuItem& i : m->items)
      if (i.submenu) subs.push_back(i.submenu);
    for (HMENU s : subs) SetMenuInfo(s, lpcmi);
  }
  return TRUE;
}

// The bar (OBJID_MENU) of a window, its system menu, or a shown pop-up
// (OBJID_CLIENT of a "#32768" window); idItem 0 is the whole bar, 1.. an
// item. The bar's rectangle runs from its first item's corner to as far
// from the window's right edge; an empty bar has none.
BOOL WINAPI GetMenuBarInfo(HWND hwnd, LONG idObject, LONG idItem, PMENUBARINFO pmbi) {
  Window* w = checkWindow(hwnd);
  if (!w) return FALSE;
  HMENU hmenu = nullptr;
  if (idObject == OBJID_MENU) {
    hmenu = hasMenuBar(*w) ? reinterpret_cast<HMENU>(w->id) : nullptr;
  } else if (idObject == OBJID_SYSMENU) {
    hmenu = (w->style & WS_SYSMENU) ? systemMenuOf(hwnd) : nullptr;
  } else if (idObject == OBJID_CLIENT) {
    for (auto& [h, m] : menuTable().menus)
      if (m.shown == hwnd) hmenu = h;
    if (!hmenu) SetLastError(ERROR_INVALID_MENU_HANDLE);
  }
  if (!hmenu) return FALSE;
  if (!pmbi || pmbi->cbSize != sizeof(MENUBARINFO)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const Menu* m = findMenu(hmenu);
  if (idItem < 0 || static_cast<size_t>(idItem) > m->items.size()) return FALSE;
  RECT r{};
  if (idItem > 0) {
    if (!itemScreenRect(hwnd, hmenu, static_cast<UINT>(idItem - 1), &r)) r = RECT{};
  } else if (m->shown) {
    r = windowRectOnScreen(*findWindow(m->shown));
  } else if (!m->items.empty() && itemScreenRect(hwnd, hmenu, 0, &r)) {
    const RECT win = windowRectOnScreen(*w);
    r.right = win.right - (r.left - win.left);
  }
  m = findMenu(hmenu);
  pmbi->rcBar = r;
  pmbi->hMenu = hmenu;
  pmbi->hwndMenu = nullptr;
  for (const MenuItem& i : m->items)
    if ((i.state & MF_MOUSESELECT) && findMenu(i.submenu))
      pmbi->hwndMenu = findMenu(i.submenu)->shown;
  pmbi->fBarFocused = 0;
  pmbi->fFocused = 0;
  if (menuLoopOwner() == hwnd) pmbi->fBarFocused = -1;  // a one-bit BOOL's TRUE
  // A pop-up shown while a menu loop runs has the keyboard, as a whole.
  if (idObject == OBJID_CLIENT && menuLoopOwner()) pmbi->fBarFocused = -1;
  if (idObject == OBJID_CLIENT && idItem == 0) pmbi->fFocused = pmbi->fBarFocused;
  if (idItem > 0 && m->focused == static_cast<UINT>(idItem - 1)) pmbi->fFocused = -1;
  return TRUE;
}

LONG WINAPI GetMenuCheckMarkDimensions(void) {
  return MAKELONG(systemMetric(SM_CXMENUCHECK), systemMetric(SM_CYMENUCHECK));
}

}  // extern "C"

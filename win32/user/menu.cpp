// Menus as far as a window program builds and attaches them: menu handles,
// items appended to them, and the menu bar a top-level window shows. There
// is no menu loop (no tracking, WM_INITMENU or keyboard navigation); a bar
// takes its row in the non-client area and is drawn as an empty band.
// Invariants: a menu handle is valid until DestroyMenu or the destruction of
// the window whose bar it is (destroying a menu destroys its submenus);
// handles are never reused. A top-level window's GWL_ID is its menu.
#include "user/user.h"

#include <map>
#include <string>
#include <vector>

namespace w32 {

namespace {

// Menu handles live in their own numeric range (see docs/win32.md).
constexpr ULONG_PTR kFirstMenuHandle = 0x00A00000;

struct MenuItem {
  UINT flags = 0;
  UINT_PTR id = 0;
  HMENU submenu = nullptr;
  std::string text;
};

struct Menu {
  bool popup = false;
  std::vector<MenuItem> items;
};

struct MenuTable {
  std::map<HMENU, Menu> menus;
  ULONG_PTR next = kFirstMenuHandle;
};

MenuTable& menuTable() {
  static MenuTable t;
  return t;
}

Menu* findMenu(HMENU hmenu) {
  auto it = menuTable().menus.find(hmenu);
  return it == menuTable().menus.end() ? nullptr : &it->second;
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
  menuTable().menus.erase(hmenu);
  for (HMENU s : subs) destroyMenuTree(s);
}

const MenuItem* itemAt(const Menu& m, UINT pos) {
  return pos < m.items.size() ? &m.items[pos] : nullptr;
}

// A menu bar changed: the client area is recalculated.
void frameChanged(HWND hwnd) {
  SetWindowPos(hwnd, NULL, 0, 0, 0, 0,
               SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

}  // namespace

bool isMenu(HMENU hmenu) { return findMenu(hmenu) != nullptr; }

// Pop-ups may have a menu bar even with WS_CHILD set.
bool takesMenuBar(DWORD style) { return (style & (WS_CHILD | WS_POPUP)) != WS_CHILD; }

bool hasMenuBar(const Window& w) {
  return takesMenuBar(w.style) && !isDesktop(w) && isMenu(reinterpret_cast<HMENU>(w.id));
}

void destroyMenuOf(Window& w) {
  if (!hasMenuBar(w)) return;
  destroyMenuTree(reinterpret_cast<HMENU>(w.id));
  w.id = 0;
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
// before the item of that command, or at the end when no item has it.
BOOL WINAPI InsertMenuA(HMENU hMenu, UINT uPosition, UINT uFlags, UINT_PTR uIDNewItem,
                        LPCSTR lpNewItem) {
  Menu* m = checkMenu(hMenu);
  if (!m) return FALSE;
  MenuItem item;
  item.flags = uFlags & ~static_cast<UINT>(MF_BYPOSITION);
  if (uFlags & MF_POPUP) {
    item.submenu = reinterpret_cast<HMENU>(uIDNewItem);
    if (!checkMenu(item.submenu)) return FALSE;
  } else {
    item.id = uIDNewItem;
  }
  // Only string items keep their text; bitmaps and owner-drawn data do not.
  if (!(uFlags & (MF_SEPARATOR | MF_BITMAP | MF_OWNERDRAW)) && lpNewItem) item.text = lpNewItem;
  size_t at = m->items.size();
  if (uFlags & MF_BYPOSITION) {
    if (uPosition < at) at = uPosition;
  } else {
    for (size_t i = 0; i < m->items.size(); ++i)
      if (!m->items[i].submenu && m->items[i].id == uPosition) {
        at = i;
        break;
      }
  }
  m->items.insert(m->items.begin() + static_cast<std::ptrdiff_t>(at), item);
  return TRUE;
}

int WINAPI GetMenuItemCount(HMENU hMenu) {
  Menu* m = checkMenu(hMenu);
  return m ? static_cast<int>(m->items.size()) : -1;
}

UINT WINAPI GetMenuItemID(HMENU hMenu, int nPos) {
  Menu* m = findMenu(hMenu);
  const MenuItem* i = m ? itemAt(*m, static_cast<UINT>(nPos)) : nullptr;
  if (!i) return static_cast<UINT>(-1);
  return i->submenu ? static_cast<UINT>(-1) : static_cast<UINT>(i->id);
}

HMENU WINAPI GetSubMenu(HMENU hMenu, int nPos) {
  Menu* m = findMenu(hMenu);
  const MenuItem* i = m ? itemAt(*m, static_cast<UINT>(nPos)) : nullptr;
  return i ? i->submenu : NULL;
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

}  // extern "C"

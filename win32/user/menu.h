// Menus as the files of user/ and the simulated user see them: the items a
// menu holds, where each lies once laid out, and the entry points of the
// menu loop (menuloop.cpp) and of its drawing (menu.cpp).
// Invariant: a Menu is reached only through its handle (findMenu), and is
// looked up again after any message is sent, since the owner's procedure
// may change or destroy any menu.
#ifndef TUL_WIN32_USER_MENU_H
#define TUL_WIN32_USER_MENU_H

#include "user/user.h"

#include <string>
#include <vector>

namespace w32 {

constexpr UINT kNoItem = static_cast<UINT>(-1);

struct MenuItem {
  UINT type = 0;   // MFT_* with MF_POPUP while it has a submenu
  UINT state = 0;  // MFS_* with MF_HILITE while selected, MF_MOUSESELECT while its submenu shows
  UINT id = 0;
  HMENU submenu = nullptr;
  HBITMAP checked = nullptr;
  HBITMAP unchecked = nullptr;
  HBITMAP bitmap = nullptr;
  ULONG_PTR data = 0;
  bool hasText = false;
  std::string text;
  RECT rect{};  // a bar's items: from the bar's corner; a pop-up's: from its client corner
};

struct Menu {
  bool popup = false;     // made by CreatePopupMenu or used as a submenu
  bool sysMenu = false;   // a window's system menu (its pop-up, the items)
  std::vector<MenuItem> items;
  UINT focused = kNoItem;  // the selected item while the menu loop runs
  HWND window = nullptr;   // the pop-up window showing it, or the window whose bar it is
  HWND shown = nullptr;    // the pop-up window while it is shown
  bool timeToHide = false; // a bar item clicked again closes its pop-up
  DWORD style = 0;         // MENUINFO
  UINT cyMax = 0;
  HBRUSH background = nullptr;
  DWORD helpId = 0;
  ULONG_PTR menuData = 0;
  SIZE size{};  // a pop-up's client size as last laid out
};

Menu* findMenu(HMENU hmenu);
// The text of an item as shown: "&" marks are taken out ("&&" is one "&"),
// and what follows a tab is the shortcut column.
struct MenuLabel {
  std::string shown;
  int mnemonic = -1;  // index into shown of the underlined character
  std::string shortcut;
};
MenuLabel menuLabel(const std::string& text);
bool isSeparator(const MenuItem& item);
bool isDisabled(const MenuItem& item);

// ---- Layout and drawing (menu.cpp) ----

// The bar's row in window coordinates of a window that has a menu bar.
RECT menuBarRect(const Window& w);
void layoutMenuBar(HMENU hmenu, int width);
void layoutPopup(HMENU hmenu);
void paintMenuBar(const Painter& p, const Window& w);
void redrawMenuBar(HWND hwnd);
void redrawPopup(HMENU hmenu);
// The item's rectangle on the screen; false when the menu is not shown.
bool itemScreenRect(HWND hwnd, HMENU hmenu, UINT pos, RECT* out);
// The item of a shown menu (bar or pop-up) at a screen point, or kNoItem.
UINT itemAtPoint(HWND owner, HMENU hmenu, POINT screen);
LRESULT CALLBACK popupMenuProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp);
// The window's system menu (made on first use), its pop-up of items.
HMENU systemMenuOf(HWND hwnd);

// ---- The menu loop (menuloop.cpp) ----

// WM_SYSCOMMAND's SC_MOUSEMENU (a press on the bar at a screen point) and
// SC_KEYMENU (Alt, F10 or a mnemonic character, 0 for none).
void trackMenuBarByMouse(HWND hwnd, POINT screen);
void trackMenuBarByKey(HWND hwnd, WCHAR key);
// The owner whose menu the loop tracks, or null.
HWND menuLoopOwner();
// The pop-up of the TrackPopupMenu that runs and its owner; false when none.
bool shownContextMenu(HWND* owner, HMENU* menu);

// ---- The simulated user (sim/menus.cpp) ----

// A menu of owner's is shown (contextMenu: TrackPopupMenu's own pop-up) or
// the loop is about to wait in it: the user's queued choice, if any, acts
// on it, its input going before whatever was queued after it.
void simulatedUserSeesMenu(HWND owner, HMENU hmenu, bool contextMenu);

}  // namespace w32

#endif

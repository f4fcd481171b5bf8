// The simulated user's menus: choosing an item of a window's menu bar by a
// path of item texts, and answering the next pop-up menu that
// TrackPopupMenu opens. The user acts with the mouse as a person would:
// a click on the bar item, then a click on each item of the path as its
// pop-up appears.
// Invariant: the clicks for a menu that shows go before any input queued
// after the choice was made (the person finishes with the menu before doing
// anything else), and a choice is used up by the menu it acts on.
#include <win32sim.h>

#include "user/menu.h"

#include <deque>
#include <optional>

namespace w32 {

namespace {

using Path = std::vector<std::string>;

struct MenuChoices {
  HWND owner = nullptr;  // the window whose menu the path is being followed in
  Path rest;             // what is still to click, the next first
  std::deque<std::optional<Path>> popupAnswers;  // for TrackPopupMenu, in order
};

MenuChoices& choices() {
  // Never destroyed: window procedures may still run while the process ends.
  static MenuChoices& c = *new MenuChoices;
  return c;
}

// Item texts compare without their "&" marks and shortcut column.
bool sameText(const std::string& itemText, const std::string& wanted) {
  return menuLabel(itemText).shown == menuLabel(wanted).shown;
}

UINT itemNamed(HMENU hmenu, const std::string& text) {
  const Menu* m = findMenu(hmenu);
  if (!m) return kNoItem;
  for (UINT i = 0; i < m->items.size(); ++i)
    if (!isSeparator(m->items[i]) && sameText(m->items[i].text, text)) return i;
  return kNoItem;
}

POINT centre(const RECT& r) { return POINT{(r.left + r.right) / 2, (r.top + r.bottom) / 2}; }

// Moves there, presses and releases the left button, all before the input
// already queued.
void clickFirst(POINT screen) {
  queueInputFirst([screen] {
    SetCursorPos(screen.x, screen.y);
    win32sim::mouseButton(VK_LBUTTON, true);
    win32sim::mouseButton(VK_LBUTTON, false);
  });
}

void escapeFirst() {
  queueInputFirst([] { win32sim::pressKey(VK_ESCAPE); });
}

}  // namespace

void simulatedUserSeesMenu(HWND owner, HMENU hmenu, bool contextMenu) {
  MenuChoices& c = choices();
  if (contextMenu && !c.popupAnswers.empty()) {
    std::optional<Path> answer = c.popupAnswers.front();
    c.popupAnswers.pop_front();
    if (!answer || answer->empty()) {
      escapeFirst();
      return;
    }
    c.owner = owner;
    c.rest = *answer;
  }
  if (c.owner != owner || c.rest.empty()) return;
  const UINT pos = itemNamed(hmenu, c.rest.front());
  RECT r;
  const Menu* m = findMenu(hmenu);
  if (pos == kNoItem || !m || isDisabled(m->items[pos]) || !itemScreenRect(owner, hmenu, pos, &r)) {
    // The program changed the menu as it opened: the user gives up.
    c.owner = nullptr;
    c.rest.clear();
    EndMenu();
    return;
  }
  c.rest.erase(c.rest.begin());
  if (c.rest.empty()) c.owner = nullptr;
  clickFirst(centre(r));
}

}  // namespace w32

namespace win32sim {

using namespace w32;

bool chooseMenu(HWND hwnd, const std::vector<std::string>& path, std::string* error) {
  Window* w = findWindow(hwnd);
  if (!w || !hasMenuBar(*w)) {
    *error = "the window has no menu bar";
    return false;
  }
  HMENU at = reinterpret_cast<HMENU>(w->id);
  for (size_t i = 0; i < path.size(); ++i) {
    const UINT pos = itemNamed(at, path[i]);
    if (pos == kNoItem) {
      *error = "the menu has no item \"" + path[i] + "\"";
      return false;
    }
    const MenuItem& item = findMenu(at)->items[pos];
    if (isDisabled(item)) {
      *error = "the item \"" + path[i] + "\" is disabled";
      return false;
    }
    if (i + 1 < path.size() && !item.submenu) {
      *error = "the item \"" + path[i] + "\" has no submenu";
      return false;
    }
    at = item.submenu;
  }
  if (path.empty()) {
    *error = "the path is empty";
    return false;
  }
  RECT r;
  HMENU bar = reinterpret_cast<HMENU>(w->id);
  if (!itemScreenRect(hwnd, bar, itemNamed(bar, path.front()), &r)) {
    *error = "the menu bar is not shown";
    return false;
  }
  MenuChoices& c = choices();
  c.owner = hwnd;
  c.rest.assign(path.begin() + 1, path.end());
  const POINT p = centre(r);
  SetCursorPos(p.x, p.y);
  mouseButton(VK_LBUTTON, true);
  mouseButton(VK_LBUTTON, false);
  return true;
}

void answerPopupMenu(const std::vector<std::string>* path) {
  if (path) choices().popupAnswers.emplace_back(*path);
  else choices().popupAnswers.emplace_back(std::nullopt);
  // A pop-up already waiting for the user (the idle hook answers it) takes
  // the answer now.
  HWND owner;
  HMENU menu;
  if (shownContextMenu(&owner, &menu)) simulatedUserSeesMenu(owner, menu, true);
}

void forgetMenuChoices() {
  choices().owner = nullptr;
  choices().rest.clear();
  choices().popupAnswers.clear();
}

}  // namespace win32sim

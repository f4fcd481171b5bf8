// Window classes: registration, lookup by name or atom, class data.
// Invariants: names compare case-insensitively; a name is registered at most
// once per module as a local class and once per process as a global class
// (CS_GLOBALCLASS), and shares one atom; the system's classes are global
// classes of user32, so no global class can take their names, while a local
// one can; lookup takes the newest local class of the module asked for (of
// any module for a null one), then the global class, then the system's; a
// class is freed only when no window uses it (windows hold a shared
// reference, UnregisterClassA refuses while any window exists). System
// classes can be unregistered too, by any module.
#include "user/user.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace w32 {

namespace {

constexpr ATOM kFirstAppAtom = 0xC000;
// The system's own named classes take atoms below 0xC000, after the
// numbered ones ("#32768" to "#32772"), whose atoms are their numbers.
constexpr ATOM kFirstSystemAtom = 0x8010;

struct ClassTable {
  std::vector<std::shared_ptr<WindowClass>> app;
  std::vector<std::shared_ptr<WindowClass>> system;
  ATOM nextAppAtom = kFirstAppAtom;
  ATOM nextSystemAtom = kFirstSystemAtom;
  bool systemRegistered = false;
};

ClassTable& classes() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static ClassTable& table = *new ClassTable;
  return table;
}

void ensureSystemClasses() {
  ClassTable& t = classes();
  if (t.systemRegistered) return;
  t.systemRegistered = true;
  registerSystemClasses();
}

bool matches(const WindowClass& c, LPCSTR name) {
  if (IS_INTRESOURCE(name)) return c.atom == LOWORD(reinterpret_cast<ULONG_PTR>(name));
  return strcasecmp(c.name.c_str(), name) == 0;
}

std::shared_ptr<WindowClass> findIn(const std::vector<std::shared_ptr<WindowClass>>& list,
                                    LPCSTR name) {
  for (const auto& c : list)
    if (matches(*c, name)) return c;
  return nullptr;
}

bool isGlobal(const WindowClass& c) { return c.global; }

// The application class a lookup finds; instance null matches any module.
std::shared_ptr<WindowClass> findApp(LPCSTR name, HINSTANCE instance) {
  const auto& app = classes().app;
  for (auto it = app.rbegin(); it != app.rend(); ++it)
    if (!isGlobal(**it) && matches(**it, name) && (!instance || (*it)->instance == instance))
      return *it;
  for (const auto& c : app)
    if (isGlobal(*c) && matches(*c, name)) return c;
  return nullptr;
}

// Whether a registration clashes: with the global class of that name, or
// for a local class with a local class of the same name and module.
bool clashes(const WNDCLASSEXA& wc, HINSTANCE module) {
  bool global = (wc.style & CS_GLOBALCLASS) != 0;
  for (const auto& c : classes().app) {
    if (!matches(*c, wc.lpszClassName)) continue;
    if (isGlobal(*c) || (!global && c->instance == module)) return true;
  }
  return global && findIn(classes().system, wc.lpszClassName) != nullptr;
}

ATOM atomFor(const char* name, bool system) {
  if (system && name[0] == '#') return static_cast<ATOM>(strtoul(name + 1, nullptr, 10));
  ClassTable& t = classes();
  for (const auto& c : system ? t.system : t.app)
    if (strcasecmp(c->name.c_str(), name) == 0) return c->atom;
  return system ? t.nextSystemAtom++ : t.nextAppAtom++;
}

ATOM addClass(const WNDCLASSEXA& wc, bool system) {
  ClassTable& t = classes();
  auto c = std::make_shared<WindowClass>();
  c->name = wc.lpszClassName;
  c->atom = atomFor(wc.lpszClassName, system);
  c->style = wc.style;
  c->proc = wc.lpfnWndProc;
  c->clsExtra = wc.cbClsExtra;
  c->wndExtra = wc.cbWndExtra;
  c->instance = system ? GetModuleHandleA("user32") : wc.hInstance;
  c->icon = wc.hIcon;
  c->iconSmall = wc.hIconSm;
  c->cursor = wc.hCursor;
  c->background = wc.hbrBackground;
  c->menuName = wc.lpszMenuName;
  c->extra.assign(static_cast<size_t>(wc.cbClsExtra), 0);
  c->system = system;
  c->global = (wc.style & CS_GLOBALCLASS) != 0;
  (system ? t.system : t.app).push_back(c);
  return c->atom;
}

bool validClassArguments(const WNDCLASSEXA* wc) {
  return wc && wc->cbSize == sizeof(WNDCLASSEXA) && wc->lpszClassName && wc->cbClsExtra >= 0 &&
         wc->cbWndExtra >= 0;
}

// Reads or writes one class value; false for an unknown index.
bool classLong(WindowClass& c, int index, LONG* value, bool write) {
  if (index >= 0) {
    if (static_cast<size_t>(index) + sizeof(LONG) > c.extra.size()) return false;
    if (write) memcpy(&c.extra[static_cast<size_t>(index)], value, sizeof(LONG));
    else memcpy(value, &c.extra[static_cast<size_t>(index)], sizeof(LONG));
    return true;
  }
  switch (index) {
  case GCL_STYLE:
    if (write) c.style = static_cast<UINT>(*value);
    else *value = static_cast<LONG>(c.style);
    return true;
  case GCL_WNDPROC:
    if (write) c.proc = reinterpret_cast<WNDPROC>(*value);
    else *value = reinterpret_cast<LONG>(c.proc);
    return true;
  case GCL_HBRBACKGROUND:
    if (write) c.background = reinterpret_cast<HBRUSH>(*value);
    else *value = reinterpret_cast<LONG>(c.background);
    return true;
  case GCL_HCURSOR:
    if (write) c.cursor = reinterpret_cast<HCURSOR>(*value);
    else *value = reinterpret_cast<LONG>(c.cursor);
    return true;
  case GCL_HICON:
    if (write) c.icon = reinterpret_cast<HICON>(*value);
    else *value = reinterpret_cast<LONG>(c.icon);
    return true;
  case GCL_HMODULE:
    if (write) c.instance = reinterpret_cast<HINSTANCE>(*value);
    else *value = reinterpret_cast<LONG>(c.instance);
    return true;
  case GCL_CBWNDEXTRA:
    if (write) c.wndExtra = static_cast<int>(*value);
    else *value = c.wndExtra;
    return true;
  case GCL_CBCLSEXTRA:
    if (write) return false;
    *value = c.clsExtra;
    return true;
  case GCW_ATOM:
    if (write) return false;
    *value = c.atom;
    return true;
  default:
    return false;
  }
}

}  // namespace

std::shared_ptr<WindowClass> findClass(LPCSTR name, HINSTANCE instance) {
  ensureSystemClasses();
  if (!name) return nullptr;
  if (auto c = findApp(name, instance)) return c;
  return findIn(classes().system, name);
}

int liveClassCount() { return static_cast<int>(classes().app.size()); }

// Called by the controls and dialogs while the table is being set up. The
// system's classes report only their own style bits.
ATOM registerSystemClass(const char* name, WNDPROC proc, UINT style, LPCSTR cursor, int wndExtra) {
  WNDCLASSEXA wc;
  memset(&wc, 0, sizeof wc);
  wc.cbSize = sizeof wc;
  wc.style = style;
  wc.lpfnWndProc = proc;
  wc.cbWndExtra = wndExtra;
  wc.hCursor = LoadCursorA(NULL, cursor);
  wc.lpszClassName = name;
  return addClass(wc, true);
}

}  // namespace w32

using namespace w32;

extern "C" {

ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* lpwcx) {
  ensureSystemClasses();
  if (!validClassArguments(lpwcx)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  // A class registered without a module belongs to the program's.
  WNDCLASSEXA wc = *lpwcx;
  if (!wc.hInstance) wc.hInstance = GetModuleHandleA(NULL);
  // user32's classes are the system's: nothing can be registered for it.
  if (wc.hInstance == GetModuleHandleA("user32")) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (clashes(wc, wc.hInstance)) {
    SetLastError(ERROR_CLASS_ALREADY_EXISTS);
    return 0;
  }
  return addClass(wc, false);
}

ATOM WINAPI RegisterClassA(const WNDCLASSA* lpWndClass) {
  if (!lpWndClass) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  WNDCLASSEXA ex;
  memset(&ex, 0, sizeof ex);
  ex.cbSize = sizeof ex;
  ex.style = lpWndClass->style;
  ex.lpfnWndProc = lpWndClass->lpfnWndProc;
  ex.cbClsExtra = lpWndClass->cbClsExtra;
  ex.cbWndExtra = lpWndClass->cbWndExtra;
  ex.hInstance = lpWndClass->hInstance;
  ex.hIcon = lpWndClass->hIcon;
  ex.hCursor = lpWndClass->hCursor;
  ex.hbrBackground = lpWndClass->hbrBackground;
  ex.lpszMenuName = lpWndClass->lpszMenuName;
  ex.lpszClassName = lpWndClass->lpszClassName;
  return RegisterClassExA(&ex);
}

BOOL WINAPI UnregisterClassA(LPCSTR lpClassName, HINSTANCE hInstance) {
  ensureSystemClasses();
  ClassTable& t = classes();
  // A null module finds a local class of any module.
  std::shared_ptr<WindowClass> found;
  if (lpClassName) {
    found = findApp(lpClassName, hInstance);
    if (!found) found = findIn(t.system, lpClassName);
  }
  for (auto* list : {&t.app, &t.system}) {
    for (auto it = list->begin(); it != list->end(); ++it) {
      if (*it != found) continue;
      if ((*it)->windowCount > 0) {
        SetLastError(ERROR_CLASS_HAS_WINDOWS);
        return FALSE;
      }
      freeDC((*it)->classDC);
      list->erase(it);
      return TRUE;
    }
  }
  SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
  return FALSE;
}

// A null module asks for user32's classes: the system's and the global ones.
BOOL WINAPI GetClassInfoExA(HINSTANCE hInstance, LPCSTR lpszClass, LPWNDCLASSEXA lpwcx) {
  HINSTANCE user32 = GetModuleHandleA("user32");
  if (!hInstance) hInstance = user32;
  auto c = findClass(lpszClass, hInstance);
  if (!c) {
    SetLastError(ERROR_CLASS_DOES_NOT_EXIST);
    return FALSE;
  }
  if (!lpwcx) {
    SetLastError(ERROR_NOACCESS);
    return FALSE;
  }
  lpwcx->style = c->style;
  lpwcx->lpfnWndProc = c->proc;
  lpwcx->cbClsExtra = c->clsExtra;
  lpwcx->cbWndExtra = c->wndExtra;
  // The module asked about, as the system answers; user32 answers as null.
  lpwcx->hInstance = hInstance == user32 ? nullptr : hInstance;
  lpwcx->hIcon = c->icon;
  lpwcx->hCursor = c->cursor;
  lpwcx->hbrBackground = c->background;
  lpwcx->lpszMenuName = c->menuName;
  lpwcx->lpszClassName = lpszClass;
  lpwcx->hIconSm = c->iconSmall;
  return c->atom;
}

BOOL WINAPI GetClassInfoA(HINSTANCE hInstance, LPCSTR lpClassName, LPWNDCLASSA lpWndClass) {
  WNDCLASSEXA ex;
  ex.cbSize = sizeof ex;
  ATOM atom = static_cast<ATOM>(GetClassInfoExA(hInstance, lpClassName, &ex));
  if (!atom || !lpWndClass) return atom;
  lpWndClass->style = ex.style;
  lpWndClass->lpfnWndProc = ex.lpfnWndProc;
  lpWndClass->cbClsExtra = ex.cbClsExtra;
  lpWndClass->cbWndExtra = ex.cbWndExtra;
  lpWndClass->hInstance = ex.hInstance;
  lpWndClass->hIcon = ex.hIcon;
  lpWndClass->hCursor = ex.hCursor;
  lpWndClass->hbrBackground = ex.hbrBackground;
  lpWndClass->lpszMenuName = ex.lpszMenuName;
  lpWndClass->lpszClassName = ex.lpszClassName;
  return atom;
}

int WINAPI GetClassNameA(HWND hWnd, LPSTR lpClassName, int nMaxCount) {
  Window* w = checkWindow(hWnd);
  if (!w || !lpClassName || nMaxCount <= 0) return 0;
  const std::string& name = w->cls ? w->cls->name : std::string("#32769");
  size_t n = name.size() < static_cast<size_t>(nMaxCount - 1) ? name.size()
                                                              : static_cast<size_t>(nMaxCount - 1);
  memcpy(lpClassName, name.data(), n);
  lpClassName[n] = '\0';
  return static_cast<int>(n);
}

DWORD WINAPI GetClassLongA(HWND hWnd, int nIndex) {
  Window* w = checkWindow(hWnd);
  if (!w || !w->cls) return 0;
  LONG value = 0;
  if (!classLong(*w->cls, nIndex, &value, false)) {
    SetLastError(ERROR_INVALID_INDEX);
    return 0;
  }
  return static_cast<DWORD>(value);
}

DWORD WINAPI SetClassLongA(HWND hWnd, int nIndex, LONG dwNewLong) {
  Window* w = checkWindow(hWnd);
  if (!w || !w->cls) return 0;
  LONG old = 0;
  if (!classLong(*w->cls, nIndex, &old, false) || !classLong(*w->cls, nIndex, &dwNewLong, true)) {
    SetLastError(ERROR_INVALID_INDEX);
    return 0;
  }
  return static_cast<DWORD>(old);
}

}  // extern "C"

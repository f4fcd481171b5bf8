// What the program hands the system, recorded as the Linux layer records it:
// the last file dialog's structure, and the accelerator tables, brushes, DCs
// and timers it made and has not freed. The system keeps these to itself, so
// the runner stands in front of the functions: before the library is
// loaded, the export tables of comdlg32, user32 and gdi32 name functions here
// in their place, which note what passes and call the system's. The library's
// imports bind to them when it loads, and so do the win32 table's lookups;
// the runner's own calls and the system's DLLs, bound earlier, do not.
//
// Invariant: every stand-in calls the system's function with the arguments
// it was given and returns its result unchanged; the record only follows.
#include "tools/tul/desktop_windows.h"

#include <commdlg.h>

#include <cstring>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace desktop {

namespace {

// ---- Standing in front of an export ----

// Points the export `name` of module at the function at address
// replacement; the export's former address, or 0 (nothing changed) when
// there is no such plain export.
ULONG_PTR redirectExport(HMODULE module, const char* name, ULONG_PTR replacement) {
  auto* base = reinterpret_cast<BYTE*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  if (!dir.VirtualAddress) return 0;
  const auto* exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + dir.VirtualAddress);
  const auto* names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
  const auto* ordinals = reinterpret_cast<const WORD*>(base + exports->AddressOfNameOrdinals);
  auto* functions = reinterpret_cast<DWORD*>(base + exports->AddressOfFunctions);
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
    if (strcmp(reinterpret_cast<const char*>(base + names[i]), name) != 0) continue;
    DWORD* slot = &functions[ordinals[i]];
    // An address inside the export directory is a forwarder's name.
    if (*slot >= dir.VirtualAddress && *slot < dir.VirtualAddress + dir.Size) return 0;
    ULONG_PTR old = reinterpret_cast<ULONG_PTR>(base) + *slot;
    DWORD protect = 0;
    if (!VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protect)) return 0;
    // Relative to the module's base, modulo 2^32, as the loader adds it back.
    *slot = static_cast<DWORD>(replacement - reinterpret_cast<ULONG_PTR>(base));
    VirtualProtect(slot, sizeof *slot, protect, &protect);
    return old;
  }
  return 0;
}

// The system's functions the stand-ins call; null until redirected.
struct System {
  BOOL(WINAPI* getOpenFileName)(LPOPENFILENAMEA) = nullptr;
  BOOL(WINAPI* getSaveFileName)(LPOPENFILENAMEA) = nullptr;
  HACCEL(WINAPI* createAcceleratorTable)(LPACCEL, int) = nullptr;
  BOOL(WINAPI* destroyAcceleratorTable)(HACCEL) = nullptr;
  HBRUSH(WINAPI* createSolidBrush)(COLORREF) = nullptr;
  HBRUSH(WINAPI* createBrushIndirect)(const LOGBRUSH*) = nullptr;
  HBRUSH(WINAPI* createHatchBrush)(int, COLORREF) = nullptr;
  HBRUSH(WINAPI* createPatternBrush)(HBITMAP) = nullptr;
  BOOL(WINAPI* deleteObject)(HGDIOBJ) = nullptr;
  HDC(WINAPI* getDC)(HWND) = nullptr;
  HDC(WINAPI* getWindowDC)(HWND) = nullptr;
  HDC(WINAPI* getDCEx)(HWND, HRGN, DWORD) = nullptr;
  int(WINAPI* releaseDC)(HWND, HDC) = nullptr;
  HDC(WINAPI* beginPaint)(HWND, LPPAINTSTRUCT) = nullptr;
  BOOL(WINAPI* endPaint)(HWND, const PAINTSTRUCT*) = nullptr;
  UINT_PTR(WINAPI* setTimer)(HWND, UINT_PTR, UINT, TIMERPROC) = nullptr;
  BOOL(WINAPI* killTimer)(HWND, UINT_PTR) = nullptr;
};

// What the program made and has not freed, and its last file dialog.
struct Record {
  System system;
  bool counting = false;  // every maker and freer of the counted kinds is stood in front of
  bool anyDialog = false;
  DialogRecord lastDialog;
  std::set<HACCEL> accelerators;
  std::set<HGDIOBJ> brushes;
  std::multimap<HDC, HWND> dcs;  // a window's own DC may be handed out more than once
  std::set<std::pair<HWND, UINT_PTR>> timers;
};

Record& record() {
  // Never destroyed: the library calls in while the process ends.
  static Record& r = *new Record;
  return r;
}

template <typename Fn>
bool redirect(HMODULE module, const char* name, Fn replacement, Fn* system) {
  if (!module) return false;
  *system = reinterpret_cast<Fn>(redirectExport(module, name, reinterpret_cast<ULONG_PTR>(replacement)));
  return *system != nullptr;
}

// ---- File dialogs ----

std::optional<std::string> stringOrNil(const char* s) {
  if (!s) return std::nullopt;
  return std::string(s);
}

DialogRecord recordOf(const OPENFILENAMEA& ofn) {
  DialogRecord r;
  r.owner = ofn.hwndOwner;
  if (ofn.lpstrFilter) {
    r.filter.emplace();
    for (const char* p = ofn.lpstrFilter; *p; p += strlen(p) + 1) r.filter->emplace_back(p);
  }
  if (ofn.lpstrFile) r.file = std::string(ofn.lpstrFile, strnlen(ofn.lpstrFile, ofn.nMaxFile));
  r.initialDir = stringOrNil(ofn.lpstrInitialDir);
  r.title = stringOrNil(ofn.lpstrTitle);
  r.defExt = stringOrNil(ofn.lpstrDefExt);
  r.flags = ofn.Flags;
  r.structSize = ofn.lStructSize;
  return r;
}

// The errors of a structure the system refused before any dialog showed.
bool refusedStructure(DWORD error) {
  return error == CDERR_STRUCTSIZE || error == CDERR_NOHOOK || error == CDERR_INITIALIZATION;
}

// The record is made before the call (the answer overwrites the file name)
// and kept only when a dialog was shown, as the Linux layer records only the
// calls it accepts.
BOOL fileDialog(BOOL(WINAPI* system)(LPOPENFILENAMEA), LPOPENFILENAMEA ofn) {
  const bool readable = ofn && (ofn->lStructSize == sizeof(OPENFILENAMEA) ||
                                ofn->lStructSize == OPENFILENAME_SIZE_VERSION_400A);
  DialogRecord r;
  if (readable) r = recordOf(*ofn);
  BOOL answered = system(ofn);
  if (readable && (answered || !refusedStructure(CommDlgExtendedError()))) {
    record().anyDialog = true;
    record().lastDialog = r;
  }
  return answered;
}

BOOL WINAPI getOpenFileName(LPOPENFILENAMEA ofn) {
  return fileDialog(record().system.getOpenFileName, ofn);
}
BOOL WINAPI getSaveFileName(LPOPENFILENAMEA ofn) {
  return fileDialog(record().system.getSaveFileName, ofn);
}

// ---- Objects made and freed ----

HACCEL WINAPI createAcceleratorTable(LPACCEL accel, int n) {
  HACCEL h = record().system.createAcceleratorTable(accel, n);
  if (h) record().accelerators.insert(h);
  return h;
}

BOOL WINAPI destroyAcceleratorTable(HACCEL h) {
  BOOL done = record().system.destroyAcceleratorTable(h);
  if (done) record().accelerators.erase(h);
  return done;
}

HBRUSH noteBrush(HBRUSH h) {
  if (h) record().brushes.insert(h);
  return h;
}

HBRUSH WINAPI createSolidBrush(COLORREF c) { return noteBrush(record().system.createSolidBrush(c)); }
HBRUSH WINAPI createBrushIndirect(const LOGBRUSH* lb) {
  return noteBrush(record().system.createBrushIndirect(lb));
}
HBRUSH WINAPI createHatchBrush(int style, COLORREF c) {
  return noteBrush(record().system.createHatchBrush(style, c));
}
HBRUSH WINAPI createPatternBrush(HBITMAP bitmap) {
  return noteBrush(record().system.createPatternBrush(bitmap));
}

BOOL WINAPI deleteObject(HGDIOBJ h) {
  BOOL done = record().system.deleteObject(h);
  if (done) record().brushes.erase(h);
  return done;
}

HDC noteDC(HDC dc, HWND hwnd) {
  if (dc) record().dcs.emplace(dc, hwnd);
  return dc;
}

void forgetDC(HDC dc) {
  auto it = record().dcs.find(dc);
  if (it != record().dcs.end()) record().dcs.erase(it);
}

HDC WINAPI getDC(HWND hwnd) { return noteDC(record().system.getDC(hwnd), hwnd); }
HDC WINAPI getWindowDC(HWND hwnd) { return noteDC(record().system.getWindowDC(hwnd), hwnd); }
HDC WINAPI getDCEx(HWND hwnd, HRGN clip, DWORD flags) {
  return noteDC(record().system.getDCEx(hwnd, clip, flags), hwnd);
}

int WINAPI releaseDC(HWND hwnd, HDC dc) {
  int done = record().system.releaseDC(hwnd, dc);
  if (done) forgetDC(dc);
  return done;
}

HDC WINAPI beginPaint(HWND hwnd, LPPAINTSTRUCT ps) {
  return noteDC(record().system.beginPaint(hwnd, ps), hwnd);
}

BOOL WINAPI endPaint(HWND hwnd, const PAINTSTRUCT* ps) {
  HDC dc = ps ? ps->hdc : nullptr;
  BOOL done = record().system.endPaint(hwnd, ps);
  if (dc) forgetDC(dc);
  return done;
}

// A timer of a window is (window, id); a thread timer's id is the one made.
UINT_PTR WINAPI setTimer(HWND hwnd, UINT_PTR id, UINT ms, TIMERPROC proc) {
  UINT_PTR made = record().system.setTimer(hwnd, id, ms, proc);
  if (made) record().timers.emplace(hwnd, hwnd ? id : made);
  return made;
}

BOOL WINAPI killTimer(HWND hwnd, UINT_PTR id) {
  BOOL done = record().system.killTimer(hwnd, id);
  if (done) record().timers.erase(std::make_pair(hwnd, id));
  return done;
}

// A window's DCs and timers end with it, as the Linux layer frees them.
template <typename Container, typename WindowOf>
void dropDestroyedWindows(Container& c, WindowOf windowOf) {
  for (auto it = c.begin(); it != c.end();) {
    HWND hwnd = windowOf(*it);
    it = (hwnd && !IsWindow(hwnd)) ? c.erase(it) : std::next(it);
  }
}

bool redirectCounted(HMODULE user, HMODULE gdi) {
  System& s = record().system;
  bool all = true;
  all &= redirect(user, "CreateAcceleratorTableA", &createAcceleratorTable, &s.createAcceleratorTable);
  all &= redirect(user, "DestroyAcceleratorTable", &destroyAcceleratorTable, &s.destroyAcceleratorTable);
  all &= redirect(gdi, "CreateSolidBrush", &createSolidBrush, &s.createSolidBrush);
  all &= redirect(gdi, "CreateBrushIndirect", &createBrushIndirect, &s.createBrushIndirect);
  all &= redirect(gdi, "CreateHatchBrush", &createHatchBrush, &s.createHatchBrush);
  all &= redirect(gdi, "CreatePatternBrush", &createPatternBrush, &s.createPatternBrush);
  all &= redirect(gdi, "DeleteObject", &deleteObject, &s.deleteObject);
  all &= redirect(user, "GetDC", &getDC, &s.getDC);
  all &= redirect(user, "GetWindowDC", &getWindowDC, &s.getWindowDC);
  all &= redirect(user, "GetDCEx", &getDCEx, &s.getDCEx);
  all &= redirect(user, "ReleaseDC", &releaseDC, &s.releaseDC);
  all &= redirect(user, "BeginPaint", &beginPaint, &s.beginPaint);
  all &= redirect(user, "EndPaint", &endPaint, &s.endPaint);
  all &= redirect(user, "SetTimer", &setTimer, &s.setTimer);
  all &= redirect(user, "KillTimer", &killTimer, &s.killTimer);
  return all;
}

}  // namespace

void platformPrepare() {
  static bool done = false;
  if (done) return;
  done = true;
  // The system's DLLs the win32 table uses are loaded first, so that their
  // own imports bind to the system's functions, not to the stand-ins.
  const char* kModules[] = {"user32.dll",   "gdi32.dll",    "kernel32.dll",
                            "comctl32.dll", "comdlg32.dll", "uxtheme.dll"};
  for (const char* m : kModules) LoadLibraryA(m);
  HMODULE comdlg = GetModuleHandleA("comdlg32.dll");
  System& s = record().system;
  redirect(comdlg, "GetOpenFileNameA", &getOpenFileName, &s.getOpenFileName);
  redirect(comdlg, "GetSaveFileNameA", &getSaveFileName, &s.getSaveFileName);
  record().counting = redirectCounted(GetModuleHandleA("user32.dll"), GetModuleHandleA("gdi32.dll"));
}

bool platformLastDialog(DialogRecord* out, bool* any) {
  *any = record().anyDialog;
  if (*any) *out = record().lastDialog;
  return true;
}

void forgetFileDialogs() { record().anyDialog = false; }

bool countMade(CountKind kind, int* out) {
  Record& r = record();
  if (!r.counting) return false;
  dropDestroyedWindows(r.dcs, [](const std::pair<const HDC, HWND>& d) { return d.second; });
  dropDestroyedWindows(r.timers, [](const std::pair<HWND, UINT_PTR>& t) { return t.first; });
  switch (kind) {
  case CountKind::Accelerators: *out = static_cast<int>(r.accelerators.size()); return true;
  case CountKind::Brushes: *out = static_cast<int>(r.brushes.size()); return true;
  case CountKind::Dcs: *out = static_cast<int>(r.dcs.size()); return true;
  case CountKind::Timers: *out = static_cast<int>(r.timers.size()); return true;
  case CountKind::Windows: break;
  }
  return false;
}

}  // namespace desktop

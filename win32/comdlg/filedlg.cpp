// comdlg32: GetOpenFileNameA and GetSaveFileNameA answered by the simulated
// user. The OPENFILENAMEA is checked as the system checks it, the call is
// recorded for tests, and the next queued answer is given back in the
// caller's buffers; with no answer queued the user cancels.
// Invariant: a dialog never waits, and CommDlgExtendedError always tells
// why the last one returned FALSE (0 for a cancel).
#include <commdlg.h>
#include <win32sim.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <string>
#include <vector>
#include <sys/stat.h>

namespace w32 {

namespace {

struct Answer {
  bool cancel;
  std::string path;
};

struct DialogState {
  std::deque<Answer> answers;
  DWORD lastError = 0;
  bool called = false;
  win32sim::FileDialogCall last;
};

DialogState& dialogs() {
  // Never destroyed: libraries unloaded at exit still call in after static
  // destructors have run.
  static DialogState& s = *new DialogState;
  return s;
}

bool exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

size_t nameOffset(const std::string& path) {
  size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? 0 : slash + 1;
}

std::string directoryOf(const std::string& path) {
  size_t at = nameOffset(path);
  return at == 0 ? std::string(".") : path.substr(0, at);
}

void record(const OPENFILENAMEA& ofn, bool save) {
  DialogState& d = dialogs();
  d.called = true;
  d.last = win32sim::FileDialogCall();
  d.last.save = save;
  memcpy(&d.last.ofn, &ofn, ofn.lStructSize < sizeof ofn ? ofn.lStructSize : sizeof ofn);
  for (const char* p = ofn.lpstrFilter; p && *p; p += strlen(p) + 1) d.last.filter.emplace_back(p);
  if (ofn.lpstrInitialDir) d.last.initialDir = ofn.lpstrInitialDir;
  if (ofn.lpstrTitle) d.last.title = ofn.lpstrTitle;
  if (ofn.lpstrDefExt) d.last.defExt = ofn.lpstrDefExt;
  if (ofn.lpstrFile && ofn.nMaxFile) d.last.initialFile.assign(ofn.lpstrFile, strnlen(ofn.lpstrFile, ofn.nMaxFile));
}

std::vector<std::string> patterns(const OPENFILENAMEA& ofn) {
  std::vector<std::string> out;
  const char* p = ofn.lpstrFilter;
  while (p && *p) {
    p += strlen(p) + 1;  // the description
    out.emplace_back(p);
    if (*p) p += strlen(p) + 1;
  }
  return out;
}

// The extension a filter's first pattern names, as "*.txt" does; empty for
// "*.*", "*.t?t" and the like.
std::string concreteExtension(const std::string& pattern) {
  const std::string first = pattern.substr(0, pattern.find(';'));
  if (first.size() < 3 || first.compare(0, 2, "*.") != 0) return std::string();
  const std::string ext = first.substr(2);
  return ext.find_first_of("*?.") == std::string::npos ? ext : std::string();
}

// The current filter, 1-based: 0 stands for the first; an index past the
// list becomes 1 as well, but then names no extension (as on 32-bit Wine).
int currentFilter(OPENFILENAMEA& ofn, int count, bool& valid) {
  int index = static_cast<int>(ofn.nFilterIndex);
  valid = index <= count;
  if (index < 1 || index > count) index = 1;
  ofn.nFilterIndex = static_cast<DWORD>(index);
  return index;
}

// A name typed without an extension gets the current filter's extension, or
// failing that lpstrDefExt; nothing when lpstrDefExt is NULL or empty.
std::string withDefaultExtension(OPENFILENAMEA& ofn, std::string path) {
  const std::vector<std::string> filters = patterns(ofn);
  bool valid = true;
  const int index = filters.empty() ? 0 : currentFilter(ofn, static_cast<int>(filters.size()), valid);
  const char* defExt = ofn.lpstrDefExt;
  if (!defExt || !*defExt || !valid) return path;
  if (path.find('.', nameOffset(path)) != std::string::npos) return path;
  std::string ext = index ? concreteExtension(filters[static_cast<size_t>(index - 1)]) : "";
  return path + "." + (ext.empty() ? std::string(defExt) : ext);
}

// What the dialog itself refuses before closing; the user then tries again.
bool acceptable(const OPENFILENAMEA& ofn, bool save, const std::string& path) {
  if ((ofn.Flags & OFN_PATHMUSTEXIST) && !exists(directoryOf(path))) {
    fprintf(stderr, "file dialog: the folder of %s does not exist\n", path.c_str());
    return false;
  }
  if (!save && (ofn.Flags & OFN_FILEMUSTEXIST) && !exists(path)) {
    fprintf(stderr, "file dialog: %s does not exist\n", path.c_str());
    return false;
  }
  if (save && (ofn.Flags & OFN_OVERWRITEPROMPT) && exists(path)) {
    std::string text = path + " already exists.\nDo you want to replace it?";
    return MessageBoxA(ofn.hwndOwner, text.c_str(), ofn.lpstrTitle ? ofn.lpstrTitle : "Save As",
                       MB_YESNO | MB_ICONWARNING) == IDYES;
  }
  return true;
}

BOOL deliver(OPENFILENAMEA* ofn, const std::string& path) {
  DWORD needed = static_cast<DWORD>(path.size() + 1);
  if (needed > ofn->nMaxFile) {
    dialogs().lastError = FNERR_BUFFERTOOSMALL;
    if (ofn->nMaxFile >= sizeof(WORD)) {
      WORD n = static_cast<WORD>(needed);
      memcpy(ofn->lpstrFile, &n, sizeof n);
    }
    return FALSE;
  }
  memcpy(ofn->lpstrFile, path.c_str(), needed);
  size_t name = nameOffset(path);
  size_t dot = path.find_last_of('.');
  ofn->nFileOffset = static_cast<WORD>(name);
  ofn->nFileExtension = (dot != std::string::npos && dot >= name) ? static_cast<WORD>(dot + 1) : 0;
  if (ofn->lpstrFileTitle && ofn->nMaxFileTitle) {
    std::string title = path.substr(name);
    size_t n = title.size() < ofn->nMaxFileTitle - 1 ? title.size() : ofn->nMaxFileTitle - 1;
    memcpy(ofn->lpstrFileTitle, title.data(), n);
    ofn->lpstrFileTitle[n] = '\0';
  }
  return TRUE;
}

BOOL runDialog(OPENFILENAMEA* ofn, bool save) {
  DialogState& d = dialogs();
  d.lastError = 0;
  if (!ofn) {
    d.lastError = CDERR_INITIALIZATION;
    return FALSE;
  }
  if (ofn->lStructSize != sizeof(OPENFILENAMEA) && ofn->lStructSize != OPENFILENAME_SIZE_VERSION_400A) {
    d.lastError = CDERR_STRUCTSIZE;
    return FALSE;
  }
  if ((ofn->Flags & OFN_ENABLEHOOK) && !ofn->lpfnHook) {
    d.lastError = CDERR_NOHOOK;
    return FALSE;
  }
  if (!ofn->lpstrFile) {
    d.lastError = CDERR_INITIALIZATION;
    return FALSE;
  }
  record(*ofn, save);
  while (!d.answers.empty()) {
    Answer a = d.answers.front();
    d.answers.pop_front();
    if (a.cancel) return FALSE;
    std::string path = withDefaultExtension(*ofn, a.path);
    if (acceptable(*ofn, save, path)) return deliver(ofn, path);
  }
  return FALSE;
}

}  // namespace

}  // namespace w32

namespace win32sim {

void queueFileDialogAnswer(const std::string& path) {
  w32::dialogs().answers.push_back(w32::Answer{false, path});
}

void queueFileDialogCancel() { w32::dialogs().answers.push_back(w32::Answer{true, ""}); }

bool lastFileDialog(FileDialogCall* out) {
  if (!w32::dialogs().called) return false;
  if (out) *out = w32::dialogs().last;
  return true;
}

void forgetFileDialogs() {
  w32::DialogState& d = w32::dialogs();
  d.answers.clear();
  d.called = false;
  d.last = FileDialogCall();
}

}  // namespace win32sim

extern "C" {

BOOL WINAPI GetOpenFileNameA(LPOPENFILENAMEA lpofn) { return w32::runDialog(lpofn, false); }

BOOL WINAPI GetSaveFileNameA(LPOPENFILENAMEA lpofn) { return w32::runDialog(lpofn, true); }

DWORD WINAPI CommDlgExtendedError(void) { return w32::dialogs().lastError; }

}  // extern "C"

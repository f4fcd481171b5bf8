// kernel32's file searches: FindFirstFileA, FindNextFileA and FindClose.
// Invariant: a search lists what its folder held when it began, in the
// order the system's own file system keeps a folder: "." and ".." first
// (a root folder has neither), then the names compared as capitals.
#include "kernel/handles.h"
#include "kernel/path.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace w32 {

namespace {

// The wildcards of the system's file systems that keep the old rules for
// '*', '?' and '.' (the names its own headers give them).
constexpr char kDosStar = '<';  // any run of characters that leaves the name's last dot
constexpr char kDosQm = '>';    // one character, or none before a dot or the end
constexpr char kDosDot = '"';   // a dot, or nothing at the end of the name

struct Entry {
  std::string name;
  FileInfo info;
};

struct Search : KernelObject {
  Search() : KernelObject(KernelKind::Search) {}
  std::vector<Entry> entries;
  size_t next = 0;
};

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// A pattern as the system hands it to the file system: every '?' keeps the
// old rule, a '*' before a dot stops at the name's last dot, and a dot
// before a wildcard or at the end may also match the end of the name. So
// "*.txt" finds "a.b.txt", "f?.txt" finds "f.txt" and "*." finds names
// without a dot.
std::string dosPattern(const std::string& typed) {
  if (typed == "*.*") return "*";
  std::string p = typed;
  for (size_t i = 0; i < typed.size(); ++i) {
    char next = i + 1 < typed.size() ? typed[i + 1] : '\0';
    if (typed[i] == '?')
      p[i] = kDosQm;
    else if (typed[i] == '*' && next == '.')
      p[i] = kDosStar;
    else if (typed[i] == '.' && (next == '?' || next == '*' || next == '\0'))
      p[i] = kDosDot;
  }
  return p;
}

bool matchFrom(const std::string& p, size_t pi, const std::string& name, size_t ni,
               size_t lastDot) {
  while (pi < p.size()) {
    char c = p[pi];
    if (c == '*' || c == kDosStar) {
      size_t end = name.size();
      if (c == kDosStar && lastDot != std::string::npos && lastDot >= ni) end = lastDot;
      for (size_t k = ni; k <= end; ++k)
        if (matchFrom(p, pi + 1, name, k, lastDot)) return true;
      return false;
    }
    bool atEnd = ni == name.size();
    if (c == kDosQm) {
      ni += (atEnd || name[ni] == '.') ? 0 : 1;
    } else if (c == kDosDot) {
      if (!atEnd && name[ni] != '.') return false;
      ni += atEnd ? 0 : 1;
    } else {
      if (atEnd || upper(c) != upper(name[ni])) return false;
      ++ni;
    }
    ++pi;
  }
  return ni == name.size();
}

bool matches(const std::string& pattern, const std::string& name) {
  return matchFrom(pattern, 0, name, 0, name.rfind('.'));
}

int dotRank(const std::string& name) {
  if (name == ".") return 0;
  if (name == "..") return 1;
  return 2;
}

bool listedBefore(const Entry& a, const Entry& b) {
  int ra = dotRank(a.name), rb = dotRank(b.name);
  if (ra != rb) return ra < rb;
  int c = compareNames(a.name, b.name);
  return c != 0 ? c < 0 : a.name < b.name;
}

// The folder's entries that match the pattern; false with errno set when
// the folder cannot be read. Entries that vanish meanwhile, or whose link
// leads nowhere, are left out.
bool listFolder(const std::string& folder, const std::string& pattern, std::vector<Entry>& out) {
  DIR* dir = opendir(folder.c_str());
  if (!dir) return false;
  bool root = folder == "/";
  while (const dirent* e = readdir(dir)) {
    Entry entry;
    entry.name = e->d_name;
    if (root && dotRank(entry.name) < 2) continue;
    if (entry.name.size() >= MAX_PATH || !matches(pattern, entry.name)) continue;
    if (!readFileInfo((root ? "" : folder) + "/" + entry.name, entry.info)) continue;
    out.push_back(std::move(entry));
  }
  closedir(dir);
  std::sort(out.begin(), out.end(), listedBefore);
  return true;
}

void fill(const Entry& e, WIN32_FIND_DATAA& data) {
  std::memset(&data, 0, sizeof data);
  data.dwFileAttributes = fileAttributes(e.info);
  data.ftCreationTime = e.info.created;
  data.ftLastAccessTime = e.info.accessed;
  data.ftLastWriteTime = e.info.written;
  data.nFileSizeHigh = static_cast<DWORD>(e.info.size >> 32);
  data.nFileSizeLow = static_cast<DWORD>(e.info.size & 0xFFFFFFFFu);
  std::memcpy(data.cFileName, e.name.c_str(), e.name.size() + 1);
}

HANDLE failHandle(DWORD error) {
  SetLastError(error);
  return INVALID_HANDLE_VALUE;
}

}  // namespace

}  // namespace w32

extern "C" {

// A folder given where the search's folder should be is not a valid name
// for it; a name ending in a separator searches for nothing.
HANDLE WINAPI FindFirstFileA(LPCSTR lpFileName, LPWIN32_FIND_DATAA lpFindFileData) {
  if (!lpFindFileData) return w32::failHandle(ERROR_NOACCESS);
  w32::SearchName s = w32::resolveSearchName(lpFileName);
  if (s.folder.error) return w32::failHandle(s.folder.error);
  if (!s.folder.exists) return w32::failHandle(ERROR_PATH_NOT_FOUND);
  if (!s.folder.info.folder) return w32::failHandle(ERROR_INVALID_NAME);
  if (s.pattern.empty()) return w32::failHandle(ERROR_FILE_NOT_FOUND);
  auto search = std::make_unique<w32::Search>();
  if (!w32::listFolder(s.folder.path, w32::dosPattern(s.pattern), search->entries))
    return w32::failHandle(w32::errorFromErrno(errno));
  if (search->entries.empty()) return w32::failHandle(ERROR_FILE_NOT_FOUND);
  w32::fill(search->entries[0], *lpFindFileData);
  search->next = 1;
  HANDLE h = w32::kernelHandleOpen(std::move(search));
  return h ? h : INVALID_HANDLE_VALUE;
}

BOOL WINAPI FindNextFileA(HANDLE hFindFile, LPWIN32_FIND_DATAA lpFindFileData) {
  auto* s = static_cast<w32::Search*>(w32::kernelObject(hFindFile, w32::KernelKind::Search));
  DWORD error = 0;
  if (!s)
    error = ERROR_INVALID_HANDLE;
  else if (s->next >= s->entries.size())
    error = ERROR_NO_MORE_FILES;
  else if (!lpFindFileData)
    error = ERROR_NOACCESS;
  if (error) {
    SetLastError(error);
    return FALSE;
  }
  w32::fill(s->entries[s->next++], *lpFindFileData);
  return TRUE;
}

BOOL WINAPI FindClose(HANDLE hFindFile) {
  if (w32::kernelHandleClose(hFindFile, w32::KernelKind::Search)) return TRUE;
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}

}  // extern "C"

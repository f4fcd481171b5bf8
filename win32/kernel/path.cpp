// File names of the system resolved to Linux paths (see path.h): the
// normalisation the system applies to every name, the case-insensitive
// lookup of each part, and what a path's object is.
// Invariant: nothing here changes the file system.
#include "kernel/path.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace w32 {

namespace {

// Seconds from 1 January 1601, where FILETIME counts from, to 1970.
constexpr std::int64_t kEpochDifference = 11644473600LL;
constexpr std::uint64_t kTicksPerSecond = 10000000;  // 100 ns ticks

bool isSeparator(char c) { return c == '\\' || c == '/'; }

bool isWildcard(char c) { return c == '*' || c == '?'; }

// Characters no name may hold: control characters and the system's
// reserved ones. ':' names a stream on the system, which the layer has not.
bool isReserved(char c) {
  return static_cast<unsigned char>(c) < 32 || std::strchr("<>|\":", c) != nullptr;
}

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::vector<std::string> splitParts(const char* text) {
  std::vector<std::string> parts;
  std::string part;
  for (const char* p = text;; ++p) {
    if (*p && !isSeparator(*p)) {
      part += *p;
      continue;
    }
    if (!part.empty()) parts.push_back(part);
    part.clear();
    if (!*p) return parts;
  }
}

std::vector<std::string> currentFolderParts() {
  std::vector<char> buf(4096);
  while (!getcwd(buf.data(), buf.size())) {
    if (errno != ERANGE) return {};
    buf.resize(buf.size() * 2);
  }
  return splitParts(buf.data());
}

// The system drops trailing dots from every part of a name, and trailing
// spaces too from its last part.
std::string withoutTrailing(std::string part, bool spacesToo) {
  while (!part.empty() && (part.back() == '.' || (spacesToo && part.back() == ' '))) part.pop_back();
  return part;
}

struct ParsedName {
  DWORD error = 0;
  std::vector<std::string> parts;  // of an absolute path
  bool trailingSeparator = false;
};

DWORD checkCharacters(const std::vector<std::string>& raw, bool patternLast) {
  for (size_t i = 0; i < raw.size(); ++i) {
    bool wildOk = patternLast && i + 1 == raw.size();
    for (char c : raw[i])
      if (isReserved(c) || (isWildcard(c) && !wildOk)) return ERROR_INVALID_NAME;
  }
  return 0;
}

// What makes a whole name unusable before its parts are looked at: none,
// too long, a drive (there are none: a letter names one that does not
// exist) or a network name.
DWORD nameError(LPCSTR name) {
  if (!name || !*name) return ERROR_PATH_NOT_FOUND;
  if (std::strlen(name) >= MAX_PATH) return ERROR_FILENAME_EXCED_RANGE;
  char letter = static_cast<char>(name[0] | 0x20);
  if (letter >= 'a' && letter <= 'z' && name[1] == ':') return ERROR_PATH_NOT_FOUND;
  if (isSeparator(name[0]) && isSeparator(name[1])) return ERROR_BAD_NETPATH;
  return 0;
}

// Normalises a name as the system does before it looks at the disk: made
// absolute from the current folder, "." and ".." applied to the text alone.
ParsedName parseName(LPCSTR name, bool patternLast) {
  ParsedName r;
  r.error = nameError(name);
  if (r.error) return r;
  r.trailingSeparator = isSeparator(name[std::strlen(name) - 1]);
  std::vector<std::string> raw = splitParts(name);
  bool patternAllowed = patternLast && !r.trailingSeparator;
  r.error = checkCharacters(raw, patternAllowed);
  if (r.error) return r;
  if (!isSeparator(name[0])) r.parts = currentFolderParts();
  for (size_t i = 0; i < raw.size(); ++i) {
    bool last = i + 1 == raw.size();
    if (raw[i] == ".") continue;
    if (raw[i] == "..") {
      if (!r.parts.empty()) r.parts.pop_back();
      continue;
    }
    if (last && patternAllowed) {  // a search pattern is kept as typed
      r.parts.push_back(raw[i]);
      continue;
    }
    std::string part = withoutTrailing(raw[i], last && !r.trailingSeparator);
    if (!part.empty()) r.parts.push_back(part);
  }
  return r;
}

// The entry of folder whose name equals name but for case, else "".
// Several such entries: the first in byte order, so the choice is stable.
std::string findIgnoringCase(const std::string& folder, const std::string& name) {
  DIR* dir = opendir(folder.empty() ? "/" : folder.c_str());
  if (!dir) return {};
  std::string best;
  while (const dirent* e = readdir(dir)) {
    std::string entry = e->d_name;
    if (compareNames(entry, name) == 0 && (best.empty() || entry < best)) best = entry;
  }
  closedir(dir);
  return best;
}

void appendParts(std::string& path, const std::vector<std::string>& parts, size_t from) {
  for (size_t i = from; i < parts.size(); ++i) path += "/" + parts[i];
}

// Finds each part on disk, taking another case's spelling where the exact
// one is missing.
HostPath resolveParts(const std::vector<std::string>& parts, bool trailingSeparator) {
  HostPath r;
  r.trailingSeparator = trailingSeparator;
  std::string current;  // "" is the root
  FileInfo info;
  if (!readFileInfo("/", info)) {
    r.error = errorFromErrno(errno);
    return r;
  }
  for (size_t i = 0; i < parts.size(); ++i) {
    if (!info.folder) {  // a file used as a folder
      r.folderMissing = true;
      r.path = current;
      appendParts(r.path, parts, i);
      return r;
    }
    std::string next = current + "/" + parts[i];
    bool found = readFileInfo(next, info);
    if (!found && errno != ENOENT) {
      r.error = errorFromErrno(errno);
      return r;
    }
    if (!found) {
      std::string other = findIgnoringCase(current, parts[i]);
      if (!other.empty()) {
        next = current + "/" + other;
        found = readFileInfo(next, info);
      }
    }
    if (!found) {
      r.folderMissing = i + 1 < parts.size();
      r.path = next;
      appendParts(r.path, parts, i + 1);
      return r;
    }
    current = next;
  }
  r.path = current.empty() ? "/" : current;
  r.exists = true;
  r.info = info;
  return r;
}

FILETIME fileTime(const struct statx_timestamp& t) {
  std::uint64_t ticks = static_cast<std::uint64_t>(t.tv_sec + kEpochDifference) * kTicksPerSecond +
                        t.tv_nsec / 100;
  FILETIME ft;
  ft.dwLowDateTime = static_cast<DWORD>(ticks & 0xFFFFFFFFu);
  ft.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  return ft;
}

void fillInfo(const struct statx& st, FileInfo& out) {
  out.folder = S_ISDIR(st.stx_mode);
  out.readOnly = !out.folder && (st.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  out.size = out.folder ? 0 : st.stx_size;
  out.device = (static_cast<std::uint64_t>(st.stx_dev_major) << 32) | st.stx_dev_minor;
  out.inode = st.stx_ino;
  out.written = fileTime(st.stx_mtime);
  out.accessed = fileTime(st.stx_atime);
  // Without a birth time the last change of the contents stands in for it.
  out.created = fileTime((st.stx_mask & STATX_BTIME) ? st.stx_btime : st.stx_mtime);
}

}  // namespace

HostPath resolveName(LPCSTR name) {
  ParsedName parsed = parseName(name, false);
  if (parsed.error) {
    HostPath r;
    r.error = parsed.error;
    return r;
  }
  return resolveParts(parsed.parts, parsed.trailingSeparator);
}

SearchName resolveSearchName(LPCSTR name) {
  SearchName r;
  ParsedName parsed = parseName(name, true);
  if (parsed.error) {
    r.folder.error = parsed.error;
    return r;
  }
  // "folder\" searches for nothing in folder; "folder\." and "folder\.."
  // name a folder, which is found in its own parent.
  if (!parsed.trailingSeparator && !parsed.parts.empty()) {
    r.pattern = parsed.parts.back();
    parsed.parts.pop_back();
  }
  r.folder = resolveParts(parsed.parts, false);
  return r;
}

DWORD notFoundError(const HostPath& p) {
  return p.folderMissing ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND;
}

bool readFileInfo(const std::string& path, FileInfo& out) {
  struct statx st;
  if (statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &st) != 0) return false;
  fillInfo(st, out);
  return true;
}

bool readFileInfo(int fd, FileInfo& out) {
  struct statx st;
  if (statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &st) != 0) return false;
  fillInfo(st, out);
  return true;
}

DWORD fileAttributes(const FileInfo& info) {
  if (info.folder) return FILE_ATTRIBUTE_DIRECTORY;
  return FILE_ATTRIBUTE_ARCHIVE | (info.readOnly ? FILE_ATTRIBUTE_READONLY : 0);
}

DWORD errorFromErrno(int error) {
  switch (error) {
  case ENOENT: return ERROR_FILE_NOT_FOUND;
  case ENOTDIR: return ERROR_PATH_NOT_FOUND;
  case EACCES:
  case EPERM:
  case EISDIR: return ERROR_ACCESS_DENIED;
  case EROFS: return ERROR_WRITE_PROTECT;
  case EEXIST: return ERROR_ALREADY_EXISTS;
  case ENOTEMPTY: return ERROR_DIR_NOT_EMPTY;
  case ENOSPC:
  case EDQUOT:
  case EFBIG: return ERROR_DISK_FULL;
  case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
  case EMFILE:
  case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
  case EBUSY: return ERROR_SHARING_VIOLATION;
  case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
  case EINVAL: return ERROR_INVALID_PARAMETER;
  default: return ERROR_GEN_FAILURE;
  }
}

int compareNames(const std::string& a, const std::string& b) {
  size_t n = a.size() < b.size() ? a.size() : b.size();
  for (size_t i = 0; i < n; ++i) {
    unsigned char x = static_cast<unsigned char>(upper(a[i]));
    unsigned char y = static_cast<unsigned char>(upper(b[i]));
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

}  // namespace w32

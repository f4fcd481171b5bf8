// File names as programs of the system write them, turned into paths of the
// Linux file system, and what a path names there. Invariant: a name is
// normalised the way the system normalises it (separators, "." and "..",
// trailing dots and spaces) before anything on disk is looked at, and each
// part is then found case-insensitively when the exact spelling does not
// exist, so the same program finds the same files on both systems.
#ifndef TUL_WIN32_KERNEL_PATH_H
#define TUL_WIN32_KERNEL_PATH_H

#include <windows.h>

#include <cstdint>
#include <string>

namespace w32 {

// What the file system says about one object.
struct FileInfo {
  bool folder = false;
  bool readOnly = false;  // no write permission for anyone: FILE_ATTRIBUTE_READONLY
  std::uint64_t size = 0;
  std::uint64_t device = 0, inode = 0;  // identity, for sharing checks
  FILETIME created{}, accessed{}, written{};
};

// A name resolved against the file system.
struct HostPath {
  DWORD error = 0;  // the name itself is unusable: nothing else is set
  std::string path;  // absolute Linux path of the object (or of where it would be)
  bool trailingSeparator = false;  // the name ended in '\' or '/'
  bool exists = false;             // path names an object; info describes it
  bool folderMissing = false;      // a folder on the way is missing or is a file
  FileInfo info;
};

// Resolves a file or folder name. Sets error to ERROR_PATH_NOT_FOUND (null,
// empty, a drive letter), ERROR_BAD_NETPATH (network names),
// ERROR_FILENAME_EXCED_RANGE (MAX_PATH characters or more) or
// ERROR_INVALID_NAME (wildcards, control and reserved characters).
HostPath resolveName(LPCSTR name);

// A search name split into the folder, resolved as above, and the pattern
// of its last part (which may hold '*' and '?'). The folder's own result is
// in folder; pattern is empty when the name ended in a separator.
struct SearchName {
  HostPath folder;
  std::string pattern;
};
SearchName resolveSearchName(LPCSTR name);

// ERROR_PATH_NOT_FOUND when a folder on the way is missing, else
// ERROR_FILE_NOT_FOUND: what the system answers for a name that does not exist.
DWORD notFoundError(const HostPath& p);

// Reads what the file system knows about path (or an open descriptor when
// fd is not -1); false with errno set when it cannot.
bool readFileInfo(const std::string& path, FileInfo& out);
bool readFileInfo(int fd, FileInfo& out);

// The attributes the system reports for an object: a folder, or a file with
// the archive bit (set by the system whenever a file is written), read-only
// where nobody may write it.
DWORD fileAttributes(const FileInfo& info);

// The system's error code for a failed Linux call.
DWORD errorFromErrno(int error);

// Case-insensitive name comparison as the system's file systems order names:
// ASCII letters compared as capitals, other bytes as they are.
int compareNames(const std::string& a, const std::string& b);

}  // namespace w32

#endif

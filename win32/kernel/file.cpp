// kernel32's files and folders: CreateFileA and the calls on its handles,
// attributes, deleting, and making and removing folders, on the Linux file
// system. Invariants: every open of a file is checked against the access
// and share modes of the handles already open on it (the same file is the
// same device and inode, whatever name reached it), before anything on disk
// changes; a handle keeps its own position, as each of the system's does.
#include "kernel/handles.h"
#include "kernel/path.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace w32 {

namespace {

// The kinds of access that take part in sharing, as the bits of the share
// modes that allow them to others.
constexpr DWORD kRead = FILE_SHARE_READ;
constexpr DWORD kWrite = FILE_SHARE_WRITE;
constexpr DWORD kDelete = FILE_SHARE_DELETE;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

struct OpenFile : KernelObject {
  OpenFile() : KernelObject(KernelKind::File) {}
  ~OpenFile() override;

  int fd = -1;
  std::string path;
  std::uint64_t device = 0, inode = 0;
  DWORD access = 0;  // kRead | kWrite | kDelete
  DWORD share = 0;
  std::int64_t position = 0;
  bool deleteOnClose = false;
};

// A file opened with FILE_FLAG_DELETE_ON_CLOSE goes with its handle, if the
// name still leads to it.
OpenFile::~OpenFile() {
  FileInfo now;
  if (deleteOnClose && readFileInfo(path, now) && now.device == device && now.inode == inode)
    unlink(path.c_str());
  if (fd >= 0) close(fd);
}

OpenFile* openFile(HANDLE h) {
  return static_cast<OpenFile*>(kernelObject(h, KernelKind::File));
}

HANDLE failHandle(DWORD error) {
  SetLastError(error);
  return INVALID_HANDLE_VALUE;
}

BOOL fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

DWORD accessOf(DWORD desired, DWORD flags) {
  DWORD access = 0;
  if (desired & (GENERIC_READ | GENERIC_ALL | FILE_READ_DATA)) access |= kRead;
  if (desired & (GENERIC_WRITE | GENERIC_ALL | FILE_WRITE_DATA | FILE_APPEND_DATA)) access |= kWrite;
  // Deleting on close needs the right to delete, which the system adds.
  if ((desired & (DELETE | GENERIC_ALL)) || (flags & FILE_FLAG_DELETE_ON_CLOSE)) access |= kDelete;
  return access;
}

// Two opens of one file get along when each allows what the other does.
// A handle without read, write or delete access takes no part.
bool compatible(DWORD accessA, DWORD shareA, DWORD accessB, DWORD shareB) {
  if (!accessA || !accessB) return true;
  return (accessA & ~shareB) == 0 && (accessB & ~shareA) == 0;
}

bool sharingAllows(const FileInfo& info, DWORD access, DWORD share) {
  for (KernelObject* o : kernelObjects(KernelKind::File)) {
    const OpenFile* f = static_cast<const OpenFile*>(o);
    if (f->device == info.device && f->inode == info.inode &&
        !compatible(f->access, f->share, access, share))
      return false;
  }
  return true;
}

int openFlags(DWORD access) {
  if ((access & kRead) && (access & kWrite)) return O_RDWR | O_CLOEXEC;
  if (access & kWrite) return O_WRONLY | O_CLOEXEC;
  return O_RDONLY | O_CLOEXEC;
}

// A handle without read or write access may still ask for the size and
// move its position, also on a file nobody may read.
int openDescriptor(const std::string& path, DWORD access) {
  int fd = open(path.c_str(), openFlags(access));
  if (fd < 0 && errno == EACCES && !(access & (kRead | kWrite)))
    fd = open(path.c_str(), O_PATH | O_CLOEXEC);
  return fd;
}

bool setReadOnly(const std::string& path, bool readOnly) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return false;
  mode_t mode = readOnly ? (st.st_mode & ~static_cast<mode_t>(0222)) : (st.st_mode | S_IWUSR);
  return (st.st_mode & 07777) == (mode & 07777) || chmod(path.c_str(), mode & 07777) == 0;
}

// Hands the descriptor to a new handle; INVALID_HANDLE_VALUE (and the
// descriptor closed) when none can be had.
HANDLE adopt(int fd, const std::string& path, DWORD access, DWORD share, DWORD flags) {
  auto file = std::make_unique<OpenFile>();
  file->fd = fd;
  file->path = path;
  file->access = access;
  file->share = share & kShareAll;
  FileInfo info;
  if (!readFileInfo(fd, info)) return failHandle(errorFromErrno(errno));
  file->device = info.device;
  file->inode = info.inode;
  file->deleteOnClose = (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0;
  HANDLE h = kernelHandleOpen(std::move(file));
  return h ? h : INVALID_HANDLE_VALUE;
}

HANDLE openExisting(const HostPath& p, DWORD access, DWORD share, DWORD disposition,
                    DWORD flags) {
  // Folders are not opened as files (there are no backup semantics); with
  // a separator after the name the system finds no such file.
  if (p.info.folder) {
    if (p.trailingSeparator) return failHandle(ERROR_PATH_NOT_FOUND);
    return failHandle(disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_ACCESS_DENIED);
  }
  if (p.trailingSeparator) return failHandle(ERROR_INVALID_NAME);
  if (disposition == CREATE_NEW) return failHandle(ERROR_FILE_EXISTS);
  if (!sharingAllows(p.info, access, share)) return failHandle(ERROR_SHARING_VIOLATION);
  bool overwrite = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
  // The read-only attribute refuses writing whoever asks, root included.
  if (p.info.readOnly && ((access & (kWrite | kDelete)) || overwrite))
    return failHandle(ERROR_ACCESS_DENIED);
  int fd = openDescriptor(p.path, access);
  if (fd < 0) return failHandle(errorFromErrno(errno));
  if ((overwrite && truncate(p.path.c_str(), 0) != 0) ||
      (disposition == CREATE_ALWAYS && (flags & FILE_ATTRIBUTE_READONLY) &&
       !setReadOnly(p.path, true))) {
    DWORD error = errorFromErrno(errno);
    close(fd);
    return failHandle(error);
  }
  HANDLE h = adopt(fd, p.path, access, share, flags);
  if (h == INVALID_HANDLE_VALUE) return h;
  bool mayCreate = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  SetLastError(mayCreate ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return h;
}

HANDLE createNew(const HostPath& p, DWORD access, DWORD share, DWORD disposition,
                 DWORD flags) {
  if (p.folderMissing) return failHandle(ERROR_PATH_NOT_FOUND);
  if (disposition == OPEN_EXISTING || disposition == TRUNCATE_EXISTING)
    return failHandle(ERROR_FILE_NOT_FOUND);
  if (p.trailingSeparator) return failHandle(ERROR_INVALID_NAME);
  int fd = open(p.path.c_str(), openFlags(access) | O_CREAT | O_EXCL, 0666);
  if (fd < 0) return failHandle(errno == EEXIST ? ERROR_FILE_EXISTS : errorFromErrno(errno));
  // A file made read-only may still be written through the handle that made it.
  if ((flags & FILE_ATTRIBUTE_READONLY) && !setReadOnly(p.path, true)) {
    DWORD error = errorFromErrno(errno);
    close(fd);
    return failHandle(error);
  }
  HANDLE h = adopt(fd, p.path, access, share, flags);
  if (h != INVALID_HANDLE_VALUE) SetLastError(ERROR_SUCCESS);
  return h;
}

// The place a call works at: the OVERLAPPED's offset when one is given
// (the call still completes before it returns), else the handle's position.
std::int64_t startOf(const OpenFile& f, const OVERLAPPED* ov) {
  if (!ov) return f.position;
  return static_cast<std::int64_t>((static_cast<std::uint64_t>(ov->OffsetHigh) << 32) | ov->Offset);
}

void finish(OpenFile& f, LPOVERLAPPED ov, std::int64_t start, DWORD done, LPDWORD count) {
  f.position = start + done;
  if (count) *count = done;
  if (ov) {
    ov->Internal = 0;  // STATUS_SUCCESS
    ov->InternalHigh = done;
  }
}

bool isCurrentFolder(const std::string& path) {
  char buf[4096];
  return getcwd(buf, sizeof buf) && path == buf;
}

}  // namespace

}  // namespace w32

using w32::kDelete;
using w32::kRead;
using w32::kShareAll;
using w32::kWrite;

extern "C" {

HANDLE WINAPI CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                          LPSECURITY_ATTRIBUTES, DWORD dwCreationDisposition,
                          DWORD dwFlagsAndAttributes, HANDLE) {
  if (dwCreationDisposition < CREATE_NEW || dwCreationDisposition > TRUNCATE_EXISTING)
    return w32::failHandle(ERROR_INVALID_PARAMETER);
  w32::HostPath p = w32::resolveName(lpFileName);
  if (p.error) return w32::failHandle(p.error);
  DWORD access = w32::accessOf(dwDesiredAccess, dwFlagsAndAttributes);
  if (p.exists)
    return w32::openExisting(p, access, dwShareMode, dwCreationDisposition, dwFlagsAndAttributes);
  return w32::createNew(p, access, dwShareMode, dwCreationDisposition, dwFlagsAndAttributes);
}

BOOL WINAPI ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
                     LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped) {
  if (lpNumberOfBytesRead) *lpNumberOfBytesRead = 0;
  w32::OpenFile* f = w32::openFile(hFile);
  if (!f) return w32::fail(ERROR_INVALID_HANDLE);
  if (!(f->access & kRead)) return w32::fail(ERROR_ACCESS_DENIED);
  if (nNumberOfBytesToRead && !lpBuffer) return w32::fail(ERROR_NOACCESS);
  std::int64_t start = w32::startOf(*f, lpOverlapped);
  char* out = static_cast<char*>(lpBuffer);
  DWORD done = 0;
  while (done < nNumberOfBytesToRead) {
    ssize_t n = pread(f->fd, out + done, nNumberOfBytesToRead - done, start + done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return w32::fail(w32::errorFromErrno(errno));
    if (n == 0) break;
    done += static_cast<DWORD>(n);
  }
  w32::finish(*f, lpOverlapped, start, done, lpNumberOfBytesRead);
  // A read at a given offset that finds the end reports it.
  if (lpOverlapped && nNumberOfBytesToRead && !done) return w32::fail(ERROR_HANDLE_EOF);
  return TRUE;
}

BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                      LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped) {
  if (lpNumberOfBytesWritten) *lpNumberOfBytesWritten = 0;
  w32::OpenFile* f = w32::openFile(hFile);
  if (!f) return w32::fail(ERROR_INVALID_HANDLE);
  if (!(f->access & kWrite)) return w32::fail(ERROR_ACCESS_DENIED);
  if (nNumberOfBytesToWrite && !lpBuffer) return w32::fail(ERROR_INVALID_USER_BUFFER);
  std::int64_t start = w32::startOf(*f, lpOverlapped);
  const char* in = static_cast<const char*>(lpBuffer);
  DWORD done = 0;
  while (done < nNumberOfBytesToWrite) {
    ssize_t n = pwrite(f->fd, in + done, nNumberOfBytesToWrite - done, start + done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      w32::finish(*f, lpOverlapped, start, done, lpNumberOfBytesWritten);
      return w32::fail(w32::errorFromErrno(errno));
    }
    done += static_cast<DWORD>(n);
  }
  w32::finish(*f, lpOverlapped, start, done, lpNumberOfBytesWritten);
  return TRUE;
}

DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh) {
  w32::OpenFile* f = w32::openFile(hFile);
  if (!f) {
    SetLastError(ERROR_INVALID_HANDLE);
    return INVALID_FILE_SIZE;
  }
  w32::FileInfo info;
  if (!w32::readFileInfo(f->fd, info)) {
    SetLastError(w32::errorFromErrno(errno));
    return INVALID_FILE_SIZE;
  }
  if (lpFileSizeHigh) *lpFileSizeHigh = static_cast<DWORD>(info.size >> 32);
  DWORD low = static_cast<DWORD>(info.size & 0xFFFFFFFFu);
  // A size whose low part looks like the failure value says it is not one.
  if (low == INVALID_FILE_SIZE) SetLastError(ERROR_SUCCESS);
  return low;
}

// Without lpDistanceToMoveHigh the distance is a signed 32-bit value and
// the new position must fit in 32 bits, as documented; a failed move leaves
// the position where it was.
DWORD WINAPI SetFilePointer(HANDLE hFile, LONG lDistanceToMove, LONG* lpDistanceToMoveHigh,
                            DWORD dwMoveMethod) {
  w32::OpenFile* f = w32::openFile(hFile);
  if (!f) {
    SetLastError(ERROR_INVALID_HANDLE);
    return INVALID_SET_FILE_POINTER;
  }
  std::int64_t distance = lDistanceToMove;
  if (lpDistanceToMoveHigh)
    distance = static_cast<std::int64_t>(
        (static_cast<std::uint64_t>(static_cast<DWORD>(*lpDistanceToMoveHigh)) << 32) |
        static_cast<DWORD>(lDistanceToMove));
  std::int64_t base = 0;
  DWORD error = 0;
  w32::FileInfo info;
  if (dwMoveMethod == FILE_CURRENT)
    base = f->position;
  else if (dwMoveMethod == FILE_END && w32::readFileInfo(f->fd, info))
    base = static_cast<std::int64_t>(info.size);
  else if (dwMoveMethod == FILE_END)
    error = w32::errorFromErrno(errno);
  else if (dwMoveMethod != FILE_BEGIN)
    error = ERROR_INVALID_PARAMETER;
  std::int64_t target = base + distance;
  if (!error && target < 0) error = ERROR_NEGATIVE_SEEK;
  if (!error && !lpDistanceToMoveHigh && target > 0xFFFFFFFFll) error = ERROR_INVALID_PARAMETER;
  if (error) {
    SetLastError(error);
    return INVALID_SET_FILE_POINTER;
  }
  f->position = target;
  if (lpDistanceToMoveHigh) *lpDistanceToMoveHigh = static_cast<LONG>(target >> 32);
  DWORD low = static_cast<DWORD>(target & 0xFFFFFFFF);
  if (low == INVALID_SET_FILE_POINTER) SetLastError(ERROR_SUCCESS);
  return low;
}

BOOL WINAPI DeleteFileA(LPCSTR lpFileName) {
  w32::HostPath p = w32::resolveName(lpFileName);
  if (p.error) return w32::fail(p.error);
  if (!p.exists) return w32::fail(w32::notFoundError(p));
  if (p.info.folder) return w32::fail(ERROR_ACCESS_DENIED);
  if (p.trailingSeparator) return w32::fail(ERROR_INVALID_NAME);
  if (!w32::sharingAllows(p.info, kDelete, kShareAll)) return w32::fail(ERROR_SHARING_VIOLATION);
  if (p.info.readOnly) return w32::fail(ERROR_ACCESS_DENIED);
  if (unlink(p.path.c_str()) != 0) return w32::fail(w32::errorFromErrno(errno));
  return TRUE;
}

DWORD WINAPI GetFileAttributesA(LPCSTR lpFileName) {
  w32::HostPath p = w32::resolveName(lpFileName);
  DWORD error = p.error;
  if (!error && !p.exists) error = w32::notFoundError(p);
  if (!error && p.trailingSeparator && !p.info.folder) error = ERROR_PATH_NOT_FOUND;
  if (error) {
    SetLastError(error);
    return INVALID_FILE_ATTRIBUTES;
  }
  return w32::fileAttributes(p.info);
}

// Only FILE_ATTRIBUTE_READONLY of a file is kept (as the write permission);
// the other attributes, and any of a folder, are accepted and not kept.
BOOL WINAPI SetFileAttributesA(LPCSTR lpFileName, DWORD dwFileAttributes) {
  w32::HostPath p = w32::resolveName(lpFileName);
  if (p.error) return w32::fail(p.error);
  if (!p.exists) return w32::fail(w32::notFoundError(p));
  if (p.info.folder) return TRUE;
  if (p.trailingSeparator) return w32::fail(ERROR_PATH_NOT_FOUND);
  if (!w32::setReadOnly(p.path, (dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0))
    return w32::fail(w32::errorFromErrno(errno));
  return TRUE;
}

BOOL WINAPI CreateDirectoryA(LPCSTR lpPathName, LPSECURITY_ATTRIBUTES) {
  w32::HostPath p = w32::resolveName(lpPathName);
  if (p.error) return w32::fail(p.error);
  if (p.exists) return w32::fail(ERROR_ALREADY_EXISTS);
  if (p.folderMissing) return w32::fail(ERROR_PATH_NOT_FOUND);
  if (mkdir(p.path.c_str(), 0777) != 0) return w32::fail(w32::errorFromErrno(errno));
  return TRUE;
}

// The current folder is held open by the process, without sharing its
// deletion, so it cannot be removed.
BOOL WINAPI RemoveDirectoryA(LPCSTR lpPathName) {
  if (lpPathName && !*lpPathName) return w32::fail(ERROR_INVALID_NAME);
  w32::HostPath p = w32::resolveName(lpPathName);
  if (p.error) return w32::fail(p.error);
  if (!p.exists) return w32::fail(w32::notFoundError(p));
  if (!p.info.folder) return w32::fail(p.trailingSeparator ? ERROR_INVALID_NAME : ERROR_DIRECTORY);
  if (w32::isCurrentFolder(p.path)) return w32::fail(ERROR_SHARING_VIOLATION);
  if (rmdir(p.path.c_str()) != 0)
    return w32::fail(errno == EEXIST ? ERROR_DIR_NOT_EMPTY : w32::errorFromErrno(errno));
  return TRUE;
}

}  // extern "C"

// readFile and writeFile's work (see files.h): one handle from CreateFileA
// for the whole file, read or written in pieces, and the system's error
// code put into words. Invariant: every handle opened here is closed on
// every path out.
#include "script/files.h"

#include <windows.h>

#include <new>

namespace tulscript {

namespace {

constexpr DWORD kPiece = 64 * 1024;

// Closes the handle when the operation is over, whichever way it ends.
class FileHandle {
 public:
  explicit FileHandle(HANDLE h) : h_(h) {}
  ~FileHandle() {
    if (valid()) CloseHandle(h_);
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  bool valid() const { return h_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const { return h_; }

 private:
  HANDLE h_;
};

std::string failure(const char* what, const std::string& path) {
  DWORD code = GetLastError();
  return std::string("cannot ") + what + " " + path + ": " + fileErrorCause(code, path);
}

}  // namespace

// Others may go on reading and writing the file while it is read.
FileRead readWholeFile(const std::string& path, std::uint64_t limit, std::string& data,
                       std::string& error) {
  FileHandle file(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, NULL));
  if (!file.valid()) {
    error = failure("open", path);
    return FileRead::Failed;
  }
  DWORD high = 0;
  DWORD low = GetFileSize(file.get(), &high);
  std::uint64_t expected = (static_cast<std::uint64_t>(high) << 32) | low;
  if (low != INVALID_FILE_SIZE || GetLastError() == ERROR_SUCCESS)
    data.reserve(static_cast<std::size_t>(expected < limit ? expected : limit));
  // The size may change while the file is read: read to its end. A file
  // (or device) larger than memory ends the read here rather than as an
  // exception out of the built-in.
  try {
    for (;;) {
      std::size_t had = data.size();
      data.resize(had + kPiece);
      DWORD got = 0;
      if (!ReadFile(file.get(), &data[had], kPiece, &got, NULL)) {
        data.resize(had);
        error = failure("read", path);
        return FileRead::Failed;
      }
      data.resize(had + got);
      if (data.size() > limit) return FileRead::TooLarge;
      if (got == 0) return FileRead::Read;
    }
  } catch (const std::bad_alloc&) {
    error = "cannot read " + path + ": not enough memory";
    return FileRead::Failed;
  }
}

// Nobody else may write the file while it is replaced.
bool replaceFile(const std::string& path, const char* data, std::size_t n, std::string& error) {
  FileHandle file(CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, NULL, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, NULL));
  if (!file.valid()) {
    error = failure("write", path);
    return false;
  }
  while (n > 0) {
    DWORD piece = n < kPiece ? static_cast<DWORD>(n) : kPiece;
    DWORD put = 0;
    if (!WriteFile(file.get(), data, piece, &put, NULL)) {
      error = failure("write", path);
      return false;
    }
    data += put;
    n -= put;
  }
  return true;
}

std::string fileErrorCause(unsigned long code, const std::string& path) {
  switch (code) {
  case ERROR_FILE_NOT_FOUND: return "the file does not exist";
  case ERROR_PATH_NOT_FOUND: return "the folder does not exist";
  case ERROR_ACCESS_DENIED: {
    // The system refuses a folder opened as a file as it refuses a file
    // nobody may open: tell them apart.
    DWORD attributes = GetFileAttributesA(path.c_str());
    bool folder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
    return folder ? "it is a folder" : "access is denied";
  }
  case ERROR_SHARING_VIOLATION: return "the file is in use";
  case ERROR_WRITE_PROTECT: return "the disk is write-protected";
  case ERROR_DISK_FULL: return "the disk is full";
  case ERROR_INVALID_NAME: return "the name is not valid";
  case ERROR_FILENAME_EXCED_RANGE: return "the name is too long";
  default: return "system error " + std::to_string(code);
  }
}

}  // namespace tulscript

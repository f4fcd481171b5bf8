// Whole files read and replaced through the system's own file calls
// (CreateFileA, ReadFile, WriteFile; on Linux the Win32 layer's), for the
// readFile and writeFile built-ins. Invariant: <windows.h> stays inside
// files.cpp, so the interpreter's headers never meet its macros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tulscript {

// The most bytes readFile takes: a string's length is a 32-bit count.
constexpr std::uint64_t kMaxFileBytes = 0x7FFFFFFF;

enum class FileRead { Read, Failed, TooLarge };

// Reads the whole file into data. Failed: error is "cannot open PATH:
// CAUSE" or "cannot read PATH: CAUSE". TooLarge: the file holds more than
// limit bytes (data is then partial).
FileRead readWholeFile(const std::string& path, std::uint64_t limit, std::string& data,
                       std::string& error);

// Replaces the file's contents with n bytes, creating the file when it
// does not exist. On failure returns false and sets error to
// "cannot write PATH: CAUSE".
bool replaceFile(const std::string& path, const char* data, std::size_t n, std::string& error);

// The wording of a system error code for a file operation on path: "the
// file does not exist", "the folder does not exist", "it is a folder",
// "access is denied", ... and "system error N" for codes without one.
std::string fileErrorCause(unsigned long code, const std::string& path);

}  // namespace tulscript

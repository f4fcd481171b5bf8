// readFile and writeFile's work below the built-ins: the wording of every
// cause, the read limit at its boundary, and the refusals a script test
// cannot show alike on Linux and on Wine run as root (a read-only file).
// Every case checks that no file handle is left open.
#include <gtest/gtest.h>

#include <windows.h>
#include <win32sim.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "script/files.h"

namespace tulscript {
namespace {

class FileWork : public ::testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/tul-filework-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    dir_ = name;
    handles_ = win32sim::counts().kernelHandles;
  }
  void TearDown() override {
    EXPECT_EQ(win32sim::counts().kernelHandles, handles_) << "file handles left open";
    std::filesystem::remove_all(dir_);
  }
  std::string at(const char* name) const { return dir_ + "/" + name; }

  std::string dir_;
  int handles_ = 0;
};

TEST_F(FileWork, CausesAreWordedFromTheSystemsCodes) {
  std::string error;
  ASSERT_TRUE(replaceFile(at("f.txt"), "x", 1, error)) << error;
  const struct {
    unsigned long code;
    std::string path;
    const char* cause;
  } cases[] = {
      {ERROR_FILE_NOT_FOUND, at("f.txt"), "the file does not exist"},
      {ERROR_PATH_NOT_FOUND, at("f.txt"), "the folder does not exist"},
      {ERROR_ACCESS_DENIED, dir_, "it is a folder"},
      {ERROR_ACCESS_DENIED, at("f.txt"), "access is denied"},
      {ERROR_ACCESS_DENIED, at("missing"), "access is denied"},
      {ERROR_SHARING_VIOLATION, at("f.txt"), "the file is in use"},
      {ERROR_DISK_FULL, at("f.txt"), "the disk is full"},
      {ERROR_INVALID_NAME, at("f.txt"), "the name is not valid"},
      {ERROR_FILENAME_EXCED_RANGE, at("f.txt"), "the name is too long"},
      {ERROR_INVALID_PARAMETER, at("f.txt"), "system error 87"},
  };
  for (const auto& c : cases) EXPECT_EQ(fileErrorCause(c.code, c.path), c.cause) << c.code;
}

TEST_F(FileWork, ReadingStopsPastTheLimitAndAReadOnlyFileIsNotReplaced) {
  std::string error, data;
  ASSERT_TRUE(replaceFile(at("ro"), "0123456789", 10, error));
  EXPECT_EQ(readWholeFile(at("ro"), 9, data, error), FileRead::TooLarge);
  ASSERT_TRUE(SetFileAttributesA(at("ro").c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_FALSE(replaceFile(at("ro"), "lost", 4, error));
  EXPECT_EQ(error, "cannot write " + at("ro") + ": access is denied");
  data.clear();
  EXPECT_EQ(readWholeFile(at("ro"), 10, data, error), FileRead::Read);
  EXPECT_EQ(data, "0123456789");
  SetFileAttributesA(at("ro").c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(FileWork, AFileHeldWithoutSharingIsNeitherReadNorReplaced) {
  std::string error, data;
  ASSERT_TRUE(replaceFile(at("held"), "held", 4, error));
  HANDLE h = CreateFileA(at("held").c_str(), GENERIC_WRITE, 0, NULL, OPEN_EXISTING, 0, NULL);
  EXPECT_EQ(readWholeFile(at("held"), 100, data, error), FileRead::Failed);
  EXPECT_EQ(error, "cannot open " + at("held") + ": the file is in use");
  EXPECT_FALSE(replaceFile(at("held"), "x", 1, error));
  EXPECT_EQ(error, "cannot write " + at("held") + ": the file is in use");
  CloseHandle(h);
}

}  // namespace
}  // namespace tulscript

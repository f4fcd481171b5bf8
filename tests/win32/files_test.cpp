// Files and folders where the probe cannot ask Wine (Wine differs from the
// system, or the case needs Linux itself): the old wildcard rules, names in
// another case, deletion while handles are open, handles, offsets and sizes
// past 4 GB, and the times a search reports. Each test works in a folder of
// its own under /tmp, named with forward slashes as a Linux user types it.
#include "tests/win32/layer_test.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using layertest::LayerTest;

class Files : public LayerTest {
 protected:
  void SetUp() override {
    LayerTest::SetUp();
    char name[] = "/tmp/tul-files-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    dir_ = name;
  }
  void TearDown() override {
    std::filesystem::remove_all(dir_);
    LayerTest::TearDown();
  }

  std::string at(const std::string& name) const { return dir_ + "/" + name; }

  void put(const std::string& name, const std::string& text) {
    HANDLE h = CreateFileA(at(name).c_str(), GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, 0, NULL);
    ASSERT_NE(h, INVALID_HANDLE_VALUE) << name;
    DWORD n = 0;
    WriteFile(h, text.data(), static_cast<DWORD>(text.size()), &n, NULL);
    CloseHandle(h);
  }

  std::string get(const std::string& name) {
    HANDLE h = CreateFileA(at(name).c_str(), GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0,
                           NULL);
    if (h == INVALID_HANDLE_VALUE) return "error " + std::to_string(GetLastError());
    char buf[64];
    DWORD n = 0;
    ReadFile(h, buf, sizeof buf, &n, NULL);
    CloseHandle(h);
    return std::string(buf, n);
  }

  std::vector<std::string> find(const std::string& pattern) {
    WIN32_FIND_DATAA data;
    std::vector<std::string> names;
    HANDLE h = FindFirstFileA(at(pattern).c_str(), &data);
    if (h == INVALID_HANDLE_VALUE) return names;
    do names.push_back(data.cFileName);
    while (FindNextFileA(h, &data));
    FindClose(h);
    return names;
  }

  std::string dir_;
};

using Names = std::vector<std::string>;

// As the system hands patterns to its file systems: '?' may match nothing
// before a dot or the end, "*." finds names without a dot, and "*.x" stops
// at the name's last dot.
TEST_F(Files, WildcardsFollowTheSystemsOldRules) {
  for (const char* name : {"a.txt", "a.b.txt", "a.txt.b", "x.txt.bak", "noext", "f.txt", "fa.txt",
                           "TEMP.TXT", "TEMPTEMP.TXT"})
    put(name, "");
  const struct {
    const char* pattern;
    Names expected;
  } cases[] = {
      {"*.txt", {"a.b.txt", "a.txt", "f.txt", "fa.txt", "TEMP.TXT", "TEMPTEMP.TXT"}},
      {"*.", {".", "..", "noext"}},
      {"f?.txt", {"f.txt", "fa.txt"}},
      {"TEM?????.???", {"TEMP.TXT", "TEMPTEMP.TXT"}},
      {"*.t*", {"a.b.txt", "a.txt", "a.txt.b", "f.txt", "fa.txt", "TEMP.TXT", "TEMPTEMP.TXT",
                "x.txt.bak"}},
      {"a*", {"a.b.txt", "a.txt", "a.txt.b"}},
      {"*.*", {".", "..", "a.b.txt", "a.txt", "a.txt.b", "f.txt", "fa.txt", "noext", "TEMP.TXT",
               "TEMPTEMP.TXT", "x.txt.bak"}},
      {"A.TXT", {"a.txt"}},
  };
  for (const auto& c : cases) EXPECT_EQ(find(c.pattern), c.expected) << c.pattern;
}

// Two names that differ only in case can exist only on Linux: made there.
TEST_F(Files, AnotherCaseFindsTheExactSpellingFirst) {
  ASSERT_TRUE(CreateDirectoryA(at("sub").c_str(), NULL));
  std::ofstream(at("sub/Note.txt")) << "upper";
  std::ofstream(at("sub/note.txt")) << "lower";
  EXPECT_EQ(get("sub/note.txt"), "lower");
  EXPECT_EQ(get("SUB/Note.txt"), "upper");
  EXPECT_EQ(get("Sub\\NOTE.TXT"), "upper") << "the first spelling in byte order";
  SetLastError(0);
  EXPECT_EQ(CreateFileA(at("SUB/NOTE.txt").c_str(), GENERIC_WRITE, 0, NULL, CREATE_NEW, 0, NULL),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_EXISTS));
}

TEST_F(Files, NamesTheLayerCannotReachFailAsTheSystemWould) {
  const struct {
    std::string name;
    DWORD error;
  } cases[] = {
      {"C:\\notes\\today.txt", ERROR_PATH_NOT_FOUND},  // there are no drives
      {"\\\\server\\share\\today.txt", ERROR_BAD_NETPATH},
      {at("a:b"), ERROR_INVALID_NAME},                  // no streams
      {at("tab\tname"), ERROR_INVALID_NAME},
      {at(std::string(MAX_PATH, 'n')), ERROR_FILENAME_EXCED_RANGE},
      {at("missing/../missing.txt"), ERROR_FILE_NOT_FOUND},  // ".." applied to the text
  };
  for (const auto& c : cases) {
    SetLastError(0);
    EXPECT_EQ(GetFileAttributesA(c.name.c_str()), INVALID_FILE_ATTRIBUTES) << c.name;
    EXPECT_EQ(GetLastError(), c.error) << c.name;
  }
}

// The name goes at once (as the system deletes on its own file system
// today); the open handle keeps the contents.
TEST_F(Files, ADeletedFileLeavesItsNameAtOnceAndItsHandleWorking) {
  put("gone.txt", "kept");
  HANDLE h = CreateFileA(at("gone.txt").c_str(), GENERIC_READ, FILE_SHARE_DELETE, NULL,
                         OPEN_EXISTING, 0, NULL);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(DeleteFileA(at("gone.txt").c_str()));
  EXPECT_EQ(GetFileAttributesA(at("gone.txt").c_str()), INVALID_FILE_ATTRIBUTES);
  put("gone.txt", "new");
  char buf[8];
  DWORD n = 0;
  EXPECT_TRUE(ReadFile(h, buf, sizeof buf, &n, NULL));
  EXPECT_EQ(std::string(buf, n), "kept");
  EXPECT_TRUE(CloseHandle(h));
  EXPECT_EQ(get("gone.txt"), "new") << "closing the old handle leaves the new file alone";
}

TEST_F(Files, HandlesAreNeverReusedAndBelongToTheirOwnCloser) {
  put("h.txt", "");
  const int before = win32sim::counts().kernelHandles;
  HANDLE first = CreateFileA(at("h.txt").c_str(), GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
  ASSERT_TRUE(CloseHandle(first));
  HANDLE file = CreateFileA(at("h.txt").c_str(), GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA(at("*").c_str(), &data);
  EXPECT_NE(file, first);
  EXPECT_EQ(reinterpret_cast<ULONG_PTR>(file) % 4, 0u);
  EXPECT_EQ(win32sim::counts().kernelHandles, before + 2);
  SetLastError(0);
  EXPECT_FALSE(CloseHandle(search));
  EXPECT_FALSE(FindClose(file));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_TRUE(FindClose(search));
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(win32sim::counts().kernelHandles, before);
}

TEST_F(Files, AnOverlappedOffsetIsWhereTheCallWorks) {
  put("o.txt", "0123456789");
  HANDLE h = CreateFileA(at("o.txt").c_str(), GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
  OVERLAPPED ov = {};
  ov.Offset = 4;
  char buf[8];
  DWORD n = 0;
  ASSERT_TRUE(ReadFile(h, buf, 3, &n, &ov));
  EXPECT_EQ(std::string(buf, n), "456");
  EXPECT_EQ(ov.InternalHigh, 3u);
  ASSERT_TRUE(ReadFile(h, buf, sizeof buf, &n, NULL));
  EXPECT_EQ(std::string(buf, n), "789") << "the position follows the offset read";
  ov.Offset = 10;
  EXPECT_FALSE(ReadFile(h, buf, 1, &n, &ov));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_HANDLE_EOF));
  CloseHandle(h);
}

TEST_F(Files, SizesAndPositionsGoPastFourGigabytes) {
  HANDLE h = CreateFileA(at("big").c_str(), GENERIC_WRITE, 0, NULL, CREATE_NEW, 0, NULL);
  LONG high = 1;
  ASSERT_EQ(SetFilePointer(h, 0x40000000, &high, FILE_BEGIN), 0x40000000u);
  DWORD n = 0;
  ASSERT_TRUE(WriteFile(h, "!", 1, &n, NULL));  // a sparse file of 5 GB
  DWORD sizeHigh = 0;
  EXPECT_EQ(GetFileSize(h, &sizeHigh), 0x40000001u);
  EXPECT_EQ(sizeHigh, 1u);
  CloseHandle(h);
  WIN32_FIND_DATAA data;
  HANDLE s = FindFirstFileA(at("big").c_str(), &data);
  EXPECT_EQ(data.nFileSizeHigh, 1u);
  EXPECT_EQ(data.nFileSizeLow, 0x40000001u);
  FindClose(s);
}

TEST_F(Files, ASearchReportsTheTimesInHundredsOfNanosecondsSince1601) {
  put("t.txt", "");
  const timespec times[2] = {{1000000000, 250000000}, {1000000001, 500000000}};  // access, write
  ASSERT_EQ(utimensat(AT_FDCWD, at("t.txt").c_str(), times, 0), 0);
  WIN32_FIND_DATAA data;
  FindClose(FindFirstFileA(at("t.txt").c_str(), &data));
  auto ticks = [](const FILETIME& t) {
    return (static_cast<unsigned long long>(t.dwHighDateTime) << 32) | t.dwLowDateTime;
  };
  EXPECT_EQ(ticks(data.ftLastAccessTime), (1000000000ull + 11644473600ull) * 10000000 + 2500000);
  EXPECT_EQ(ticks(data.ftLastWriteTime), (1000000001ull + 11644473600ull) * 10000000 + 5000000);
}

}  // namespace

// Files and folders: CreateFileA's dispositions and the names it refuses,
// reading, writing and positions, sharing, attributes, folders, and what
// FindFirstFileA/FindNextFileA list. Everything happens in a folder the
// probe makes in the current folder and removes at the end; only results
// and error codes are printed, never handles, times or absolute paths.
#include "probe.h"

namespace {

const char kRoot[] = "files_probe_dir";
#define DIR "files_probe_dir\\"

unsigned long err() {
  return (unsigned long)GetLastError();
}

// Opens a name and prints the outcome; the handle is closed unless kept.
struct Open {
  const char* label;
  const char* name;
  DWORD access;
  DWORD disposition;
  DWORD share = 0;
  DWORD flags = 0;
};

HANDLE openAndShow(const Open& o, bool keep = false) {
  SetLastError(1234);
  HANDLE h = CreateFileA(o.name, o.access, o.share, NULL, o.disposition, o.flags, NULL);
  unsigned long e = err();
  printf("%s: %s err=%lu\n", o.label, h == INVALID_HANDLE_VALUE ? "fails" : "opens", e);
  if (h != INVALID_HANDLE_VALUE && !keep) {
    CloseHandle(h);
    return INVALID_HANDLE_VALUE;
  }
  return h;
}

// "label: value err=E", the error set to 1234 before the call; a BOOL shows
// as 0 or 1.
void show(const char* label, unsigned long value) {
  unsigned long e = err();
  printf("%s: %lu err=%lu\n", label, value, e);
}

#define SHOW_BOOL(label, call) (SetLastError(1234), show(label, (call) != 0))
#define SHOW_DWORD(label, call) (SetLastError(1234), show(label, (call)))

void put(const char* name, const char* text, DWORD length) {
  HANDLE h = CreateFileA(name, GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
  DWORD n = 0;
  WriteFile(h, text, length, &n, NULL);
  CloseHandle(h);
}

void printBytes(const char* label, const char* bytes, DWORD n) {
  printf("%s:", label);
  for (DWORD i = 0; i < n; ++i) printf(" %02x", (unsigned char)bytes[i]);
  printf("\n");
}

void opening() {
  char tooLong[301];
  memset(tooLong, 'a', 300);
  tooLong[300] = '\0';
  const DWORD rw = GENERIC_READ | GENERIC_WRITE;
  const Open cases[] = {
      {"CREATE_NEW of a new file", DIR "a.txt", rw, CREATE_NEW},
      {"CREATE_NEW of an existing file", DIR "a.txt", rw, CREATE_NEW},
      {"CREATE_ALWAYS of an existing file", DIR "a.txt", rw, CREATE_ALWAYS},
      {"OPEN_ALWAYS of an existing file", DIR "a.txt", rw, OPEN_ALWAYS},
      {"OPEN_EXISTING of an existing file", DIR "a.txt", rw, OPEN_EXISTING},
      {"TRUNCATE_EXISTING of an existing file", DIR "a.txt", GENERIC_WRITE, TRUNCATE_EXISTING},
      {"OPEN_ALWAYS of a new file", DIR "b.txt", rw, OPEN_ALWAYS},
      {"CREATE_ALWAYS of a new file", DIR "c.txt", rw, CREATE_ALWAYS},
      {"OPEN_EXISTING of a missing file", DIR "none.txt", rw, OPEN_EXISTING},
      {"TRUNCATE_EXISTING of a missing file", DIR "none.txt", GENERIC_WRITE, TRUNCATE_EXISTING},
      {"CREATE_ALWAYS in a missing folder", DIR "nodir\\x.txt", rw, CREATE_ALWAYS},
      {"OPEN_EXISTING under a file", DIR "a.txt\\x.txt", rw, OPEN_EXISTING},
      {"disposition 0", DIR "a.txt", rw, 0},
      {"disposition 6", DIR "a.txt", rw, 6},
      {"an empty name", "", rw, OPEN_EXISTING},
      {"a name with a wildcard", DIR "*.txt", rw, OPEN_EXISTING},
      {"a name with '<'", DIR "a<b", rw, CREATE_ALWAYS},
      {"a name with '|'", DIR "a|b", rw, CREATE_ALWAYS},
      {"a name of 300 characters", tooLong, rw, OPEN_EXISTING},
      {"a folder, OPEN_EXISTING", "files_probe_dir", GENERIC_READ, OPEN_EXISTING},
      {"a folder, CREATE_NEW", "files_probe_dir", GENERIC_WRITE, CREATE_NEW},
      {"a folder, CREATE_ALWAYS", "files_probe_dir", GENERIC_WRITE, CREATE_ALWAYS},
      {"a folder with a separator after it", DIR "", GENERIC_READ, OPEN_EXISTING},
      {"a file with a separator after it", DIR "a.txt\\", GENERIC_READ, OPEN_EXISTING},
      {"a missing file with a separator, OPEN_EXISTING", DIR "new\\", GENERIC_READ, OPEN_EXISTING},
      {"a missing file with a separator, CREATE_ALWAYS", DIR "new\\", GENERIC_WRITE, CREATE_ALWAYS},
      {"another case, OPEN_EXISTING", "FILES_PROBE_DIR\\A.TXT", GENERIC_READ, OPEN_EXISTING},
      {"another case, CREATE_NEW", DIR "A.Txt", GENERIC_READ, CREATE_NEW},
      {"'..' after a missing folder", DIR "nodir\\..\\a.txt", GENERIC_READ, OPEN_EXISTING},
      {"'.' and forward slashes", "files_probe_dir/./a.txt", GENERIC_READ, OPEN_EXISTING},
      {"a trailing dot", DIR "a.txt.", GENERIC_READ, OPEN_EXISTING},
      {"a trailing space", DIR "a.txt ", GENERIC_READ, OPEN_EXISTING},
      {"a trailing dot on a folder", "files_probe_dir.\\a.txt", GENERIC_READ, OPEN_EXISTING},
  };
  for (const Open& o : cases) openAndShow(o);
  DeleteFileA(DIR "b.txt");
  DeleteFileA(DIR "c.txt");
}

// "label: ok n=N err=E" for reading or writing len bytes at buf through h.
void transfer(const char* label, bool write, HANDLE h, char* buf, DWORD len) {
  DWORD n = 77;
  SetLastError(1234);
  BOOL ok = write ? WriteFile(h, buf, len, &n, NULL) : ReadFile(h, buf, len, &n, NULL);
  printf("%s: %d n=%lu err=%lu\n", label, ok, (unsigned long)n, err());
}

void readingAndWriting() {
  HANDLE w = openAndShow({"create for writing", DIR "data.bin", GENERIC_WRITE, CREATE_NEW}, true);
  char buf[64] = "hello\0world";
  transfer("write 11 bytes with a zero byte", true, w, buf, 11);
  transfer("read from a handle for writing", false, w, buf, 4);
  transfer("write 0 bytes", true, w, buf, 0);
  transfer("write 3 bytes from NULL", true, w, NULL, 3);
  DWORD high = 99;
  SetLastError(1234);
  DWORD size = GetFileSize(w, &high);
  printf("size: %lu high %lu err=%lu\n", (unsigned long)size, (unsigned long)high, err());
  CloseHandle(w);

  HANDLE r = openAndShow({"open for reading", DIR "data.bin", GENERIC_READ, OPEN_EXISTING}, true);
  DWORD n = 77;
  BOOL ok = ReadFile(r, buf, sizeof buf, &n, NULL);
  printf("read all: %d n=%lu\n", ok, (unsigned long)n);
  printBytes("bytes", buf, n);
  transfer("read at the end", false, r, buf, sizeof buf);
  transfer("write to a handle for reading", true, r, buf, 1);
  transfer("read 3 bytes into NULL", false, r, NULL, 3);
  CloseHandle(r);

  HANDLE q = openAndShow({"open without access", DIR "data.bin", 0, OPEN_EXISTING}, true);
  for (bool write : {false, true}) {
    SetLastError(1234);
    ok = write ? WriteFile(q, buf, 4, &n, NULL) : ReadFile(q, buf, 4, &n, NULL);
    printf("  %s: %d err=%lu\n", write ? "write" : "read", ok, err());
  }
  SHOW_DWORD("  size", GetFileSize(q, NULL));
  SHOW_DWORD("  move to 3", SetFilePointer(q, 3, NULL, FILE_BEGIN));
  CloseHandle(q);
}

void positions() {
  HANDLE h =
      CreateFileA(DIR "data.bin", GENERIC_READ | GENERIC_WRITE, 0, NULL, OPEN_EXISTING, 0, NULL);
  SHOW_DWORD("move to 3 from the start", SetFilePointer(h, 3, NULL, FILE_BEGIN));
  SHOW_DWORD("move 2 on", SetFilePointer(h, 2, NULL, FILE_CURRENT));
  SHOW_DWORD("move to 1 before the end", SetFilePointer(h, -1, NULL, FILE_END));
  SHOW_DWORD("move 100 back", SetFilePointer(h, -100, NULL, FILE_CURRENT));
  SHOW_DWORD("where it stayed", SetFilePointer(h, 0, NULL, FILE_CURRENT));
  SHOW_DWORD("move with method 3", SetFilePointer(h, 0, NULL, 3));
  SHOW_DWORD("move to 2 past the end", SetFilePointer(h, 2, NULL, FILE_END));
  DWORD n = 0;
  WriteFile(h, "Z", 1, &n, NULL);
  SHOW_DWORD("size after writing there", GetFileSize(h, NULL));
  char buf[32];
  SetFilePointer(h, 8, NULL, FILE_BEGIN);
  ReadFile(h, buf, sizeof buf, &n, NULL);
  printBytes("the gap reads as zeros", buf, n);
  auto moveFar = [h](const char* label, LONG low, LONG high, DWORD method) {
    SetLastError(1234);
    DWORD to = SetFilePointer(h, low, &high, method);
    printf("%s: %lu high %ld err=%lu\n", label, (unsigned long)to, (long)high, err());
  };
  moveFar("move to 4 GB + 5", 5, 1, FILE_BEGIN);
  moveFar("move 2 back with a high part", -2, -1, FILE_CURRENT);
  n = 77;
  BOOL ok = ReadFile(h, buf, 4, &n, NULL);
  printf("read far past the end: %d n=%lu\n", ok, (unsigned long)n);
  moveFar("move to 4 GB - 1", -1, 0, FILE_BEGIN);
  SHOW_DWORD("one more without a high part", SetFilePointer(h, 1, NULL, FILE_CURRENT));
  CloseHandle(h);
}

void sharing() {
  const char* name = DIR "shared.txt";
  put(name, "shared", 6);
  const Open writer = {"write, sharing nothing", name, GENERIC_WRITE, OPEN_EXISTING};
  HANDLE w = openAndShow(writer, true);
  openAndShow({"  then read, sharing all", name, GENERIC_READ, OPEN_EXISTING,
               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE});
  openAndShow({"  then no access, sharing nothing", name, 0, OPEN_EXISTING});
  SHOW_BOOL("  then delete", DeleteFileA(name));
  CloseHandle(w);
  HANDLE r1 = openAndShow(
      {"read, sharing reading", name, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ}, true);
  HANDLE r2 = openAndShow(
      {"  then the same again", name, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_READ}, true);
  openAndShow(
      {"  then write, sharing reading", name, GENERIC_WRITE, OPEN_EXISTING, FILE_SHARE_READ});
  openAndShow({"  then read, sharing nothing", name, GENERIC_READ, OPEN_EXISTING});
  openAndShow({"  then CREATE_ALWAYS for reading, sharing reading", name, GENERIC_READ,
               CREATE_ALWAYS, FILE_SHARE_READ});
  CloseHandle(r1);
  CloseHandle(r2);
  HANDLE d = openAndShow(
      {"read, sharing deletion", name, GENERIC_READ, OPEN_EXISTING, FILE_SHARE_DELETE}, true);
  SHOW_BOOL("  then delete", DeleteFileA(name));
  CloseHandle(d);
  SHOW_DWORD("  after closing, attributes", GetFileAttributesA(name));
  HANDLE t = openAndShow(
      {"delete on close", name, GENERIC_WRITE, CREATE_NEW, 0, FILE_FLAG_DELETE_ON_CLOSE}, true);
  SHOW_DWORD("  attributes while open", GetFileAttributesA(name));
  CloseHandle(t);
  SHOW_DWORD("  attributes after closing", GetFileAttributesA(name));
}

void handles() {
  HANDLE h = CreateFileA(DIR "a.txt", GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
  SHOW_BOOL("close", CloseHandle(h));
  SHOW_BOOL("close again", CloseHandle(h));
  SHOW_BOOL("close NULL", CloseHandle(NULL));
  SHOW_BOOL("close INVALID_HANDLE_VALUE (the current process)", CloseHandle(INVALID_HANDLE_VALUE));
  char buf[4];
  transfer("read a closed handle", false, h, buf, 4);
  SHOW_DWORD("size of a closed handle", GetFileSize(h, NULL));
  SHOW_DWORD("move a closed handle", SetFilePointer(h, 0, NULL, FILE_BEGIN));
}

void attributes() {
  const char* names[] = {"files_probe_dir", DIR "a.txt",    DIR "none.txt",
                         DIR "nodir\\x",    DIR "a.txt\\x", DIR "",
                         DIR ".",           DIR "a.txt\\",  ""};
  for (const char* name : names) {
    char label[80];
    snprintf(label, sizeof label, "attributes of \"%s\"", name);
    SHOW_DWORD(label, GetFileAttributesA(name));
  }
  const char* ro = DIR "ro.txt";
  put(ro, "read only", 9);
  SHOW_BOOL("make read-only", SetFileAttributesA(ro, FILE_ATTRIBUTE_READONLY));
  SHOW_DWORD("  attributes", GetFileAttributesA(ro));
  openAndShow({"  open for reading", ro, GENERIC_READ, OPEN_EXISTING});
  openAndShow({"  open for writing", ro, GENERIC_WRITE, OPEN_EXISTING});
  SHOW_BOOL("  delete", DeleteFileA(ro));
  SHOW_BOOL("make writable", SetFileAttributesA(ro, FILE_ATTRIBUTE_NORMAL));
  SHOW_BOOL("  delete", DeleteFileA(ro));
  SHOW_BOOL("set attributes of a missing file", SetFileAttributesA(ro, FILE_ATTRIBUTE_NORMAL));
  HANDLE h = openAndShow(
      {"create read-only", ro, GENERIC_WRITE, CREATE_NEW, 0, FILE_ATTRIBUTE_READONLY}, true);
  DWORD n = 0;
  SHOW_BOOL("  write through its handle", WriteFile(h, "abc", 3, &n, NULL));
  CloseHandle(h);
  SHOW_DWORD("  attributes", GetFileAttributesA(ro));
  SetFileAttributesA(ro, FILE_ATTRIBUTE_NORMAL);
  DeleteFileA(ro);
}

void folders() {
  SHOW_BOOL("make a folder", CreateDirectoryA(DIR "sub", NULL));
  SHOW_BOOL("make it again", CreateDirectoryA(DIR "sub", NULL));
  SHOW_BOOL("make a folder named as a file", CreateDirectoryA(DIR "a.txt", NULL));
  SHOW_BOOL("make one in a missing folder", CreateDirectoryA(DIR "no\\sub", NULL));
  SHOW_BOOL("make one named with a separator", CreateDirectoryA(DIR "sub2\\", NULL));
  SHOW_BOOL("make one named with '*'", CreateDirectoryA(DIR "a*", NULL));
  SHOW_BOOL("make one with an empty name", CreateDirectoryA("", NULL));
  put(DIR "sub\\inner.txt", "", 0);
  SHOW_BOOL("remove a folder that is not empty", RemoveDirectoryA(DIR "sub"));
  SHOW_BOOL("remove a file as a folder", RemoveDirectoryA(DIR "a.txt"));
  SHOW_BOOL("remove a missing folder", RemoveDirectoryA(DIR "none"));
  SHOW_BOOL("delete a folder as a file", DeleteFileA(DIR "sub"));
  SHOW_BOOL("delete a missing file", DeleteFileA(DIR "none.txt"));
  SHOW_BOOL("delete in a missing folder", DeleteFileA(DIR "nodir\\x"));
  SHOW_BOOL("delete with a wildcard", DeleteFileA(DIR "*.txt"));
  SHOW_BOOL("delete an empty name", DeleteFileA(""));
  SHOW_BOOL("delete the inner file", DeleteFileA(DIR "sub\\inner.txt"));
  SHOW_BOOL("remove the emptied folder", RemoveDirectoryA(DIR "sub"));
  SHOW_BOOL("remove the folder made with a separator", RemoveDirectoryA(DIR "sub2"));
}

// One line a search, so that a difference between systems stays on one line.
void list(const char* pattern) {
  WIN32_FIND_DATAA fd;
  SetLastError(1234);
  HANDLE f = FindFirstFileA(pattern, &fd);
  unsigned long e = err();
  printf("find \"%s\":", pattern);
  if (f == INVALID_HANDLE_VALUE) {
    printf(" nothing, err=%lu\n", e);
    return;
  }
  do {
    bool timed = fd.ftLastWriteTime.dwHighDateTime != 0 && fd.ftCreationTime.dwHighDateTime != 0 &&
                 fd.ftLastAccessTime.dwHighDateTime != 0;
    printf(" %s %#lx %lu/%lu%s,", fd.cFileName, (unsigned long)fd.dwFileAttributes,
           (unsigned long)fd.nFileSizeHigh, (unsigned long)fd.nFileSizeLow,
           timed ? "" : " untimed");
    SetLastError(1234);
  } while (FindNextFileA(f, &fd));
  printf(" then err=%lu", err());
  SetLastError(1234);
  BOOL again = FindNextFileA(f, &fd);
  printf(", again %d err=%lu", again, err());
  SetLastError(1234);
  BOOL closed = FindClose(f);
  printf(", close %d err=%lu\n", closed, err());
}

void searching() {
  CreateDirectoryA(DIR "list", NULL);
  CreateDirectoryA(DIR "list\\Dir", NULL);
  const char* files[][2] = {
      {DIR "list\\_u.txt", "u"},      {DIR "list\\Ab.txt", "abc"}, {DIR "list\\9.txt", ""},
      {DIR "list\\B2.txt", ""},       {DIR "list\\b~1.txt", ""},   {DIR "list\\noext", ""},
      {DIR "list\\x.txt.bak", "bak"}, {DIR "list\\TEMP.TXT", ""},  {DIR "list\\TEMPTEMP.TXT", ""}};
  for (const auto& f : files) put(f[0], f[1], (DWORD)strlen(f[1]));
  // Each in the probe's folder, and then an empty pattern.
  const char* patterns[] = {"list\\*",      "list\\*.txt",  "list\\*.TXT",
                            "list/b*",      "list\\?b.*",   "list\\TEM?????.???",
                            "list\\Dir\\*", "list\\AB.TXT", "list",
                            "list\\.",      "list\\none*",  "list\\",
                            "nodir\\*",     "nodir\\",      "list\\9.txt\\*",
                            "l*\\*"};
  for (const char* p : patterns) {
    char pattern[64];
    snprintf(pattern, sizeof pattern, DIR "%s", p);
    list(pattern);
  }
  list("");
  for (const auto& f : files) DeleteFileA(f[0]);
  RemoveDirectoryA(DIR "list\\Dir");
  RemoveDirectoryA(DIR "list");
}

}  // namespace

int main() {
  setvbuf(stdout, NULL, _IONBF, 0);
  SHOW_BOOL("make the probe's folder", CreateDirectoryA(kRoot, NULL));
  opening();
  readingAndWriting();
  positions();
  sharing();
  handles();
  attributes();
  folders();
  searching();
  DeleteFileA(DIR "a.txt");
  DeleteFileA(DIR "data.bin");
  SHOW_BOOL("remove the probe's folder", RemoveDirectoryA(kRoot));
}

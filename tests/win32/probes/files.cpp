// Files and folders: CreateFileA's dispositions and the names it refuses,
// reading, writing and positions, sharing, attributes, folders, and what
// FindFirstFileA/FindNextFileA list. Everything happens in a folder the
// probe makes in the current folder and removes at the end; only results
// and error codes are printed, never handles, times or absolute paths.
#include "probe.h"

namespace {

const char kRoot[] = "files_probe_dir";

unsigned long err() { return (unsigned long)GetLastError(); }

// Opens a name and prints the outcome; the handle is closed unless kept.
struct Open {
  const char* label;
  const char* name;
  DWORD access;
  DWORD share;
  DWORD disposition;
  DWORD flags;
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

void showBool(const char* label, BOOL ok) {
  unsigned long e = err();
  printf("%s: %d err=%lu\n", label, ok ? 1 : 0, e);
}

void showDword(const char* label, DWORD value) {
  unsigned long e = err();
  printf("%s: %lu err=%lu\n", label, (unsigned long)value, e);
}

#define SHOW_BOOL(label, call) (SetLastError(1234), showBool(label, call))
#define SHOW_DWORD(label, call) (SetLastError(1234), showDword(label, call))

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
      {"CREATE_NEW of a new file", "files_probe_dir\\a.txt", rw, 0, CREATE_NEW, 0},
      {"CREATE_NEW of an existing file", "files_probe_dir\\a.txt", rw, 0, CREATE_NEW, 0},
      {"CREATE_ALWAYS of an existing file", "files_probe_dir\\a.txt", rw, 0, CREATE_ALWAYS, 0},
      {"OPEN_ALWAYS of an existing file", "files_probe_dir\\a.txt", rw, 0, OPEN_ALWAYS, 0},
      {"OPEN_EXISTING of an existing file", "files_probe_dir\\a.txt", rw, 0, OPEN_EXISTING, 0},
      {"TRUNCATE_EXISTING of an existing file", "files_probe_dir\\a.txt", GENERIC_WRITE, 0,
       TRUNCATE_EXISTING, 0},
      {"OPEN_ALWAYS of a new file", "files_probe_dir\\b.txt", rw, 0, OPEN_ALWAYS, 0},
      {"CREATE_ALWAYS of a new file", "files_probe_dir\\c.txt", rw, 0, CREATE_ALWAYS, 0},
      {"OPEN_EXISTING of a missing file", "files_probe_dir\\none.txt", rw, 0, OPEN_EXISTING, 0},
      {"TRUNCATE_EXISTING of a missing file", "files_probe_dir\\none.txt", GENERIC_WRITE, 0,
       TRUNCATE_EXISTING, 0},
      {"CREATE_ALWAYS in a missing folder", "files_probe_dir\\nodir\\x.txt", rw, 0, CREATE_ALWAYS, 0},
      {"OPEN_EXISTING under a file", "files_probe_dir\\a.txt\\x.txt", rw, 0, OPEN_EXISTING, 0},
      {"disposition 0", "files_probe_dir\\a.txt", rw, 0, 0, 0},
      {"disposition 6", "files_probe_dir\\a.txt", rw, 0, 6, 0},
      {"an empty name", "", rw, 0, OPEN_EXISTING, 0},
      {"a name with a wildcard", "files_probe_dir\\*.txt", rw, 0, OPEN_EXISTING, 0},
      {"a name with '<'", "files_probe_dir\\a<b", rw, 0, CREATE_ALWAYS, 0},
      {"a name with '|'", "files_probe_dir\\a|b", rw, 0, CREATE_ALWAYS, 0},
      {"a name of 300 characters", tooLong, rw, 0, OPEN_EXISTING, 0},
      {"a folder, OPEN_EXISTING", "files_probe_dir", GENERIC_READ, 0, OPEN_EXISTING, 0},
      {"a folder, CREATE_NEW", "files_probe_dir", GENERIC_WRITE, 0, CREATE_NEW, 0},
      {"a folder, CREATE_ALWAYS", "files_probe_dir", GENERIC_WRITE, 0, CREATE_ALWAYS, 0},
      {"a folder with a separator after it", "files_probe_dir\\", GENERIC_READ, 0, OPEN_EXISTING, 0},
      {"a file with a separator after it", "files_probe_dir\\a.txt\\", GENERIC_READ, 0,
       OPEN_EXISTING, 0},
      {"a missing file with a separator, OPEN_EXISTING", "files_probe_dir\\new\\", GENERIC_READ, 0,
       OPEN_EXISTING, 0},
      {"a missing file with a separator, CREATE_ALWAYS", "files_probe_dir\\new\\", GENERIC_WRITE, 0,
       CREATE_ALWAYS, 0},
      {"another case, OPEN_EXISTING", "FILES_PROBE_DIR\\A.TXT", GENERIC_READ, 0, OPEN_EXISTING, 0},
      {"another case, CREATE_NEW", "files_probe_dir\\A.Txt", GENERIC_READ, 0, CREATE_NEW, 0},
      {"'..' after a missing folder", "files_probe_dir\\nodir\\..\\a.txt", GENERIC_READ, 0,
       OPEN_EXISTING, 0},
      {"'.' and forward slashes", "files_probe_dir/./a.txt", GENERIC_READ, 0, OPEN_EXISTING, 0},
      {"a trailing dot", "files_probe_dir\\a.txt.", GENERIC_READ, 0, OPEN_EXISTING, 0},
      {"a trailing space", "files_probe_dir\\a.txt ", GENERIC_READ, 0, OPEN_EXISTING, 0},
      {"a trailing dot on a folder", "files_probe_dir.\\a.txt", GENERIC_READ, 0, OPEN_EXISTING, 0},
  };
  for (const Open& o : cases) openAndShow(o);
  DeleteFileA("files_probe_dir\\b.txt");
  DeleteFileA("files_probe_dir\\c.txt");
}

void readingAndWriting() {
  const Open create = {"create for writing", "files_probe_dir\\data.bin", GENERIC_WRITE, 0,
                       CREATE_NEW, 0};
  HANDLE w = openAndShow(create, true);
  DWORD n = 77;
  char buf[64];
  SetLastError(1234);
  BOOL ok = WriteFile(w, "hello\0world", 11, &n, NULL);
  printf("write 11 bytes with a zero byte: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  n = 77;
  SetLastError(1234);
  ok = ReadFile(w, buf, 4, &n, NULL);
  printf("read from a handle for writing: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  SetLastError(1234);
  ok = WriteFile(w, buf, 0, &n, NULL);
  printf("write 0 bytes: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  n = 77;
  SetLastError(1234);
  ok = WriteFile(w, NULL, 3, &n, NULL);
  printf("write 3 bytes from NULL: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  DWORD high = 99;
  SetLastError(1234);
  DWORD size = GetFileSize(w, &high);
  printf("size: %lu high %lu err=%lu\n", (unsigned long)size, (unsigned long)high, err());
  CloseHandle(w);

  const Open reopen = {"open for reading", "files_probe_dir\\data.bin", GENERIC_READ, 0,
                       OPEN_EXISTING, 0};
  HANDLE r = openAndShow(reopen, true);
  n = 77;
  ok = ReadFile(r, buf, sizeof buf, &n, NULL);
  printf("read all: %d n=%lu\n", ok, (unsigned long)n);
  printBytes("bytes", buf, n);
  n = 77;
  SetLastError(1234);
  ok = ReadFile(r, buf, sizeof buf, &n, NULL);
  printf("read at the end: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  n = 77;
  SetLastError(1234);
  ok = WriteFile(r, "x", 1, &n, NULL);
  printf("write to a handle for reading: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  n = 77;
  SetLastError(1234);
  ok = ReadFile(r, NULL, 3, &n, NULL);
  printf("read 3 bytes into NULL: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  CloseHandle(r);

  const Open query = {"open without access", "files_probe_dir\\data.bin", 0, 0, OPEN_EXISTING, 0};
  HANDLE q = openAndShow(query, true);
  n = 77;
  SetLastError(1234);
  ok = ReadFile(q, buf, 4, &n, NULL);
  printf("  read: %d err=%lu\n", ok, err());
  SetLastError(1234);
  ok = WriteFile(q, buf, 4, &n, NULL);
  printf("  write: %d err=%lu\n", ok, err());
  SHOW_DWORD("  size", GetFileSize(q, NULL));
  SHOW_DWORD("  move to 3", SetFilePointer(q, 3, NULL, FILE_BEGIN));
  CloseHandle(q);
}

void positions() {
  HANDLE h = CreateFileA("files_probe_dir\\data.bin", GENERIC_READ | GENERIC_WRITE, 0, NULL,
                         OPEN_EXISTING, 0, NULL);
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
  LONG high = 1;
  SetLastError(1234);
  DWORD low = SetFilePointer(h, 5, &high, FILE_BEGIN);
  printf("move to 4 GB + 5: %lu high %ld err=%lu\n", (unsigned long)low, (long)high, err());
  high = -1;
  SetLastError(1234);
  low = SetFilePointer(h, -2, &high, FILE_CURRENT);
  printf("move 2 back with a high part: %lu high %ld err=%lu\n", (unsigned long)low, (long)high,
         err());
  n = 77;
  BOOL ok = ReadFile(h, buf, 4, &n, NULL);
  printf("read far past the end: %d n=%lu\n", ok, (unsigned long)n);
  high = 0;
  SetLastError(1234);
  low = SetFilePointer(h, -1, &high, FILE_BEGIN);
  printf("move to 4 GB - 1: %lu high %ld err=%lu\n", (unsigned long)low, (long)high, err());
  SHOW_DWORD("one more without a high part", SetFilePointer(h, 1, NULL, FILE_CURRENT));
  CloseHandle(h);
}

void sharing() {
  const char* name = "files_probe_dir\\shared.txt";
  put(name, "shared", 6);
  const Open writer = {"write, sharing nothing", name, GENERIC_WRITE, 0, OPEN_EXISTING, 0};
  HANDLE w = openAndShow(writer, true);
  openAndShow({"  then read, sharing all", name, GENERIC_READ,
               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING, 0});
  openAndShow({"  then no access, sharing nothing", name, 0, 0, OPEN_EXISTING, 0});
  SHOW_BOOL("  then delete", DeleteFileA(name));
  CloseHandle(w);
  HANDLE r1 = openAndShow({"read, sharing reading", name, GENERIC_READ, FILE_SHARE_READ,
                           OPEN_EXISTING, 0}, true);
  HANDLE r2 = openAndShow({"  then the same again", name, GENERIC_READ, FILE_SHARE_READ,
                           OPEN_EXISTING, 0}, true);
  openAndShow({"  then write, sharing reading", name, GENERIC_WRITE, FILE_SHARE_READ,
               OPEN_EXISTING, 0});
  openAndShow({"  then read, sharing nothing", name, GENERIC_READ, 0, OPEN_EXISTING, 0});
  openAndShow({"  then CREATE_ALWAYS for reading, sharing reading", name, GENERIC_READ,
               FILE_SHARE_READ, CREATE_ALWAYS, 0});
  CloseHandle(r1);
  CloseHandle(r2);
  HANDLE d = openAndShow({"read, sharing deletion", name, GENERIC_READ, FILE_SHARE_DELETE,
                          OPEN_EXISTING, 0}, true);
  SHOW_BOOL("  then delete", DeleteFileA(name));
  CloseHandle(d);
  SHOW_DWORD("  after closing, attributes", GetFileAttributesA(name));
  HANDLE t = openAndShow({"delete on close", name, GENERIC_WRITE, 0, CREATE_NEW,
                          FILE_FLAG_DELETE_ON_CLOSE}, true);
  SHOW_DWORD("  attributes while open", GetFileAttributesA(name));
  CloseHandle(t);
  SHOW_DWORD("  attributes after closing", GetFileAttributesA(name));
}

void handles() {
  HANDLE h = CreateFileA("files_probe_dir\\a.txt", GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
  SHOW_BOOL("close", CloseHandle(h));
  SHOW_BOOL("close again", CloseHandle(h));
  SHOW_BOOL("close NULL", CloseHandle(NULL));
  SHOW_BOOL("close INVALID_HANDLE_VALUE (the current process)", CloseHandle(INVALID_HANDLE_VALUE));
  DWORD n = 77;
  char buf[4];
  SetLastError(1234);
  BOOL ok = ReadFile(h, buf, 4, &n, NULL);
  printf("read a closed handle: %d n=%lu err=%lu\n", ok, (unsigned long)n, err());
  SHOW_DWORD("size of a closed handle", GetFileSize(h, NULL));
  SHOW_DWORD("move a closed handle", SetFilePointer(h, 0, NULL, FILE_BEGIN));
}

void attributes() {
  const char* names[] = {"files_probe_dir",           "files_probe_dir\\a.txt",
                         "files_probe_dir\\none.txt", "files_probe_dir\\nodir\\x",
                         "files_probe_dir\\a.txt\\x", "files_probe_dir\\",
                         "files_probe_dir\\.",        "files_probe_dir\\a.txt\\",
                         ""};
  for (const char* name : names) {
    char label[80];
    snprintf(label, sizeof label, "attributes of \"%s\"", name);
    SHOW_DWORD(label, GetFileAttributesA(name));
  }
  const char* ro = "files_probe_dir\\ro.txt";
  put(ro, "read only", 9);
  SHOW_BOOL("make read-only", SetFileAttributesA(ro, FILE_ATTRIBUTE_READONLY));
  SHOW_DWORD("  attributes", GetFileAttributesA(ro));
  openAndShow({"  open for reading", ro, GENERIC_READ, 0, OPEN_EXISTING, 0});
  openAndShow({"  open for writing", ro, GENERIC_WRITE, 0, OPEN_EXISTING, 0});
  SHOW_BOOL("  delete", DeleteFileA(ro));
  SHOW_BOOL("make writable", SetFileAttributesA(ro, FILE_ATTRIBUTE_NORMAL));
  SHOW_BOOL("  delete", DeleteFileA(ro));
  SHOW_BOOL("set attributes of a missing file", SetFileAttributesA(ro, FILE_ATTRIBUTE_NORMAL));
  HANDLE h = openAndShow({"create read-only", ro, GENERIC_WRITE, 0, CREATE_NEW,
                          FILE_ATTRIBUTE_READONLY}, true);
  DWORD n = 0;
  SHOW_BOOL("  write through its handle", WriteFile(h, "abc", 3, &n, NULL));
  CloseHandle(h);
  SHOW_DWORD("  attributes", GetFileAttributesA(ro));
  SetFileAttributesA(ro, FILE_ATTRIBUTE_NORMAL);
  DeleteFileA(ro);
}

void folders() {
  SHOW_BOOL("make a folder", CreateDirectoryA("files_probe_dir\\sub", NULL));
  SHOW_BOOL("make it again", CreateDirectoryA("files_probe_dir\\sub", NULL));
  SHOW_BOOL("make a folder named as a file", CreateDirectoryA("files_probe_dir\\a.txt", NULL));
  SHOW_BOOL("make one in a missing folder", CreateDirectoryA("files_probe_dir\\no\\sub", NULL));
  SHOW_BOOL("make one named with a separator", CreateDirectoryA("files_probe_dir\\sub2\\", NULL));
  SHOW_BOOL("make one named with '*'", CreateDirectoryA("files_probe_dir\\a*", NULL));
  SHOW_BOOL("make one with an empty name", CreateDirectoryA("", NULL));
  put("files_probe_dir\\sub\\inner.txt", "", 0);
  SHOW_BOOL("remove a folder that is not empty", RemoveDirectoryA("files_probe_dir\\sub"));
  SHOW_BOOL("remove a file as a folder", RemoveDirectoryA("files_probe_dir\\a.txt"));
  SHOW_BOOL("remove a missing folder", RemoveDirectoryA("files_probe_dir\\none"));
  SHOW_BOOL("delete a folder as a file", DeleteFileA("files_probe_dir\\sub"));
  SHOW_BOOL("delete a missing file", DeleteFileA("files_probe_dir\\none.txt"));
  SHOW_BOOL("delete in a missing folder", DeleteFileA("files_probe_dir\\nodir\\x"));
  SHOW_BOOL("delete with a wildcard", DeleteFileA("files_probe_dir\\*.txt"));
  SHOW_BOOL("delete an empty name", DeleteFileA(""));
  SHOW_BOOL("delete the inner file", DeleteFileA("files_probe_dir\\sub\\inner.txt"));
  SHOW_BOOL("remove the emptied folder", RemoveDirectoryA("files_probe_dir\\sub"));
  SHOW_BOOL("remove the folder made with a separator", RemoveDirectoryA("files_probe_dir\\sub2"));
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
           (unsigned long)fd.nFileSizeHigh, (unsigned long)fd.nFileSizeLow, timed ? "" : " untimed");
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
  CreateDirectoryA("files_probe_dir\\list", NULL);
  CreateDirectoryA("files_probe_dir\\list\\Dir", NULL);
  const char* files[][2] = {{"files_probe_dir\\list\\_u.txt", "u"},
                            {"files_probe_dir\\list\\Ab.txt", "abc"},
                            {"files_probe_dir\\list\\9.txt", ""},
                            {"files_probe_dir\\list\\B2.txt", ""},
                            {"files_probe_dir\\list\\b~1.txt", ""},
                            {"files_probe_dir\\list\\noext", ""},
                            {"files_probe_dir\\list\\x.txt.bak", "bak"},
                            {"files_probe_dir\\list\\TEMP.TXT", ""},
                            {"files_probe_dir\\list\\TEMPTEMP.TXT", ""}};
  for (const auto& f : files) put(f[0], f[1], (DWORD)strlen(f[1]));
  const char* patterns[] = {"files_probe_dir\\list\\*",
                            "files_probe_dir\\list\\*.txt",
                            "files_probe_dir\\list\\*.TXT",
                            "files_probe_dir\\list/b*",
                            "files_probe_dir\\list\\?b.*",
                            "files_probe_dir\\list\\TEM?????.???",
                            "files_probe_dir\\list\\Dir\\*",
                            "files_probe_dir\\list\\AB.TXT",
                            "files_probe_dir\\list",
                            "files_probe_dir\\list\\.",
                            "files_probe_dir\\list\\none*",
                            "files_probe_dir\\list\\",
                            "files_probe_dir\\nodir\\*",
                            "files_probe_dir\\nodir\\",
                            "files_probe_dir\\list\\9.txt\\*",
                            "files_probe_dir\\l*\\*",
                            ""};
  for (const char* p : patterns) list(p);
  for (const auto& f : files) DeleteFileA(f[0]);
  RemoveDirectoryA("files_probe_dir\\list\\Dir");
  RemoveDirectoryA("files_probe_dir\\list");
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
  DeleteFileA("files_probe_dir\\a.txt");
  DeleteFileA("files_probe_dir\\data.bin");
  SHOW_BOOL("remove the probe's folder", RemoveDirectoryA(kRoot));
  return 0;
}

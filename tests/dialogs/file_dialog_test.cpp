// FileDialog: the path rules that split and join directory, name and
// extension, the filter buffer, what the system dialog is given, and what
// cancelling and choosing a file change.
#include <string>

#include "module/errors.h"
#include "tests/window/window_test.h"

namespace {

class FileDialogTest : public WindowTest {
 protected:
  std::string text(const TulValue& d, const char* getter) {
    return static_cast<TulString*>(call(d, getter))->c_str();
  }
  std::string parts(const TulValue& d) {
    return text(d, "getDirectory") + "|" + text(d, "getFileName") + "|" + text(d, "getExtension");
  }
  void set(const TulValue& d, const char* setter, const char* value) { call(d, setter, {str(value)}); }
  win32sim::FileDialogCall lastCall() {
    win32sim::FileDialogCall c;
    EXPECT_TRUE(win32sim::lastFileDialog(&c));
    return c;
  }
};

TEST_F(FileDialogTest, FullPathsSplitByTheirRules) {
  struct Case { const char* path; const char* parts; };
  const Case cases[] = {
      {"D:/Data/report.final.txt", "D:\\Data\\|report.final|txt"},
      {"notes", "D:\\Old\\|notes|dat"},  // no directory, no extension: both kept
      {"D:\\rel.old\\readme", "D:\\rel.old\\|readme|dat"},
      {"E:file.txt", "E:|file|txt"},
      {"D:\\temp\\", "D:\\temp\\||dat"},
  };
  TulValue d = make("FileDialog");
  for (const Case& c : cases) {
    set(d, "setDirectory", "D:\\Old\\");
    set(d, "setFileName", "old");
    set(d, "setExtension", "dat");
    set(d, "setFullPath", c.path);
    EXPECT_EQ(parts(d), c.parts) << c.path;
  }
  const Case names[] = {{"archive.tar.gz", "archive.tar|gz"}, {"README", "README|"},
                        {".profile", "|profile"}, {"a\\b.c", "a\\b|c"}};
  for (const Case& c : names) {
    set(d, "setFullName", c.path);
    EXPECT_EQ(text(d, "getFileName") + "|" + text(d, "getExtension"), c.parts) << c.path;
  }
  const Case dirs[] = {{"D:/work", "D:\\work\\"}, {"D:", "D:"}, {"", ""}, {"D:\\work\\", "D:\\work\\"}};
  for (const Case& c : dirs) {
    set(d, "setDirectory", c.path);
    EXPECT_EQ(text(d, "getDirectory"), c.parts) << c.path;
  }
  set(d, "setDirectory", "D:\\work\\");
  set(d, "setFullName", "a.b");
  EXPECT_EQ(text(d, "getFullPath"), "D:\\work\\a.b");
  set(d, "setExtension", ".txt");
  set(d, "setFileName", "report");
  EXPECT_EQ(text(d, "getFullName"), "report..txt");
  set(d, "setExtension", "");
  EXPECT_EQ(text(d, "getFullName"), "report");
  EXPECT_EQ(errorOf(d, "setTitle", {TulValue(5)}), "Bad type: expected string, got int");
  EXPECT_EQ(text(d, "getDirectory"), "D:\\work\\");
}

TEST_F(FileDialogTest, TheDialogIsGivenTheObjectsStateAndTheFilterBuffer) {
  TulValue d = make("FileDialog");
  TulValue filter(new TulVector());
  for (TulValue v : {str("Text files|*.txt"), str("NoBar"), str("|*.x"), TulValue(5),
                     str("A|*.a|*.b")})
    static_cast<TulVector*>(filter)->push_back(v);
  call(d, "setFilter", {filter});
  EXPECT_EQ(static_cast<TulVector*>(call(d, "getFilter")), static_cast<TulVector*>(filter));
  set(d, "setFullPath", "C:\\docs\\start.txt");
  set(d, "setTitle", "Pick one");
  win32sim::queueFileDialogCancel();
  EXPECT_EQ(callInt(d, "showOpen"), 0);
  win32sim::FileDialogCall c = lastCall();
  EXPECT_FALSE(c.save);
  EXPECT_EQ(c.ofn.lStructSize, 88u);
  EXPECT_EQ(c.ofn.Flags, DWORD(OFN_PATHMUSTEXIST | OFN_HIDEREADONLY));
  EXPECT_EQ(c.ofn.nMaxFile, 1024u);
  EXPECT_EQ(c.ofn.hwndOwner, nullptr);
  EXPECT_EQ(c.filter, (std::vector<std::string>{"Text files", "*.txt", "A", "*.a|*.b"}));
  EXPECT_EQ(c.initialFile, "start");
  EXPECT_EQ(c.initialDir, "C:\\docs\\");
  EXPECT_EQ(c.title, "Pick one");
  EXPECT_EQ(c.defExt, "txt");
  EXPECT_EQ(parts(d), "C:\\docs\\|start|txt");  // cancelled: nothing changed

  // An empty title asks for the system's own; a Vector object's vector is
  // taken by reference.
  set(d, "setTitle", "");
  TulValue vec = make("Vector");
  call(d, "setFilter", {vec});
  win32sim::queueFileDialogCancel();
  EXPECT_EQ(callInt(d, "showSave"), 0);
  c = lastCall();
  EXPECT_TRUE(c.save);
  EXPECT_EQ(c.ofn.Flags, DWORD(OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY));
  EXPECT_EQ(c.ofn.lpstrTitle, nullptr);
  EXPECT_TRUE(c.filter.empty());
  EXPECT_EQ(errorOf(d, "setFilter", {TulValue(5)}), "Bad type: expected vector, got int");
}

TEST_F(FileDialogTest, OwnersAndTheChosenPath) {
  TulValue owner = make("WinBase");
  create(owner, {str("Tul2Window")});
  TulClass* tracked = subclassOf("Tracked", "FileDialog");
  std::string seen;
  define(tracked, "setFullPath", [&](ScriptCall& c) {
    seen = static_cast<TulString*>(c.args[0])->c_str();
    return inherited(tracked, c, "setFullPath");
  });
  TulValue d = object(tracked);
  win32sim::queueFileDialogAnswer("/tmp/b.txt");
  EXPECT_EQ(callInt(d, "showOpen", {owner}), 1);
  EXPECT_EQ(lastCall().ofn.hwndOwner, hwndOf(owner));
  EXPECT_EQ(seen, "/tmp/b.txt");
  EXPECT_EQ(parts(d), "\\tmp\\|b|txt");
  win32sim::queueFileDialogCancel();
  EXPECT_EQ(callInt(d, "showSave", {handleValue(hwndOf(owner))}), 0);
  EXPECT_EQ(lastCall().ofn.hwndOwner, hwndOf(owner));
  EXPECT_EQ(errorOf(d, "showOpen", {make("RECT")}), err::kWindowExpected);
  EXPECT_EQ(errorOf(d, "showOpen", {str("w")}), err::kWindowHandleExpected);
  EXPECT_EQ(errorOf(d, "showOpen", {TulValue(1), TulValue(2)}), err::kTooMany);
  // A name the buffer cannot hold shows no dialog at all.
  call(d, "setFileName", {str(std::string(1024, 'n').c_str())});
  win32sim::queueFileDialogAnswer("/tmp/x.txt");
  EXPECT_EQ(errorOf(d, "showOpen"), err::kFileNameTooLong);
  call(d, "setFileName", {str(std::string(1023, 'n').c_str())});
  EXPECT_EQ(callInt(d, "showOpen"), 1);  // the queued answer was still waiting
  EXPECT_EQ(lastCall().initialFile, std::string(1023, 'n'));
  DestroyWindow(hwndOf(owner));
}

}  // namespace

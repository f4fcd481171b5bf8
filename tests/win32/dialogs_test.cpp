// File dialogs and message boxes answered by the simulated user, with the
// system's validation of OPENFILENAMEA and its error codes.
#include "tests/win32/layer_test.h"

#include <commdlg.h>

#include <cstdio>

namespace {

using layertest::LayerTest;

class Dialogs : public LayerTest {
 protected:
  void SetUp() override {
    LayerTest::SetUp();
    memset(&ofn_, 0, sizeof ofn_);
    ofn_.lStructSize = sizeof ofn_;
    ofn_.lpstrFilter = "Text\0*.txt\0All\0*.*\0";
    ofn_.nFilterIndex = 1;
    ofn_.lpstrFile = file_;
    ofn_.nMaxFile = sizeof file_;
    ofn_.lpstrTitle = "Pick one";
    strcpy(file_, "start.txt");
  }
  OPENFILENAMEA ofn_;
  char file_[260];
};

TEST_F(Dialogs, AnAnswerFillsTheCallersBuffers) {
  char title[8];
  ofn_.lpstrFileTitle = title;
  ofn_.nMaxFileTitle = sizeof title;
  win32sim::queueFileDialogAnswer("/tmp/dir/notes.txt");
  ASSERT_TRUE(GetOpenFileNameA(&ofn_));
  EXPECT_STREQ(file_, "/tmp/dir/notes.txt");
  EXPECT_EQ(ofn_.nFileOffset, 9);
  EXPECT_EQ(ofn_.nFileExtension, 15);
  EXPECT_STREQ(title, "notes.t") << "truncated to nMaxFileTitle";
}

TEST_F(Dialogs, FailuresSetTheExtendedError) {
  struct Case {
    const char* label;
    DWORD size;
    DWORD maxFile;
    DWORD flags;
    bool answered;  // the user got as far as answering
    DWORD error;
  } const cases[] = {
      {"size 0", 0, 260, 0, false, CDERR_STRUCTSIZE},
      {"size 84", 84, 260, 0, false, CDERR_STRUCTSIZE},
      {"hook flag without hook", sizeof(OPENFILENAMEA), 260, OFN_ENABLEHOOK, false, CDERR_NOHOOK},
      {"buffer too small", sizeof(OPENFILENAMEA), 5, 0, true, FNERR_BUFFERTOOSMALL},
  };
  for (const Case& c : cases) {
    ofn_.lStructSize = c.size;
    ofn_.nMaxFile = c.maxFile;
    ofn_.Flags = c.flags;
    if (c.answered) win32sim::queueFileDialogAnswer("/tmp/abc.txt");
    EXPECT_FALSE(GetOpenFileNameA(&ofn_)) << c.label;
    EXPECT_EQ(CommDlgExtendedError(), c.error) << c.label;
  }
  ofn_.lStructSize = OPENFILENAME_SIZE_VERSION_400A;
  ofn_.nMaxFile = 5;
  ofn_.Flags = 0;
  win32sim::queueFileDialogAnswer("/tmp/abc.txt");
  EXPECT_FALSE(GetOpenFileNameA(&ofn_)) << "the older size is accepted";
  WORD needed;
  memcpy(&needed, file_, sizeof needed);
  EXPECT_EQ(needed, 13) << "chars needed, the NUL included";
}

TEST_F(Dialogs, TheDialogRefusesWhatItsFlagsForbid) {
  ofn_.Flags = OFN_FILEMUSTEXIST;
  win32sim::queueFileDialogAnswer("/nonexistent/file.txt");
  win32sim::queueFileDialogAnswer("/");
  testing::internal::CaptureStderr();
  ASSERT_TRUE(GetOpenFileNameA(&ofn_)) << "the user tries again";
  testing::internal::GetCapturedStderr();
  EXPECT_STREQ(file_, "/");

  std::string existing = testing::TempDir() + "win32_dialogs_existing.txt";
  FILE* f = fopen(existing.c_str(), "w");
  ASSERT_TRUE(f);
  fclose(f);
  ofn_.Flags = OFN_OVERWRITEPROMPT;
  win32sim::queueFileDialogAnswer(existing);
  win32sim::queueMessageBoxAnswer(IDNO);
  win32sim::queueFileDialogAnswer(existing);
  win32sim::queueMessageBoxAnswer(IDYES);
  testing::internal::CaptureStderr();
  ASSERT_TRUE(GetSaveFileNameA(&ofn_));
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 2) << "asked twice: " << err;
  EXPECT_EQ(existing, file_);
  std::remove(existing.c_str());
}

TEST_F(Dialogs, MessageBoxesPrintAndAnswer) {
  struct Case {
    UINT type;
    int answer;
  } const cases[] = {
      {MB_OK, IDOK}, {MB_OKCANCEL, IDOK}, {MB_YESNO, IDYES}, {MB_YESNO | MB_DEFBUTTON2, IDNO},
      {MB_RETRYCANCEL | MB_ICONERROR, IDRETRY},
  };
  for (const Case& c : cases) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(MessageBoxA(NULL, "text", "caption", c.type), c.answer);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MessageBox [caption]: text\n");
  }
  win32sim::queueMessageBoxAnswer(IDCANCEL);
  win32sim::queueMessageBoxAnswer(IDYES);
  testing::internal::CaptureStderr();
  EXPECT_EQ(MessageBoxA(NULL, "t", "c", MB_OKCANCEL), IDCANCEL);
  EXPECT_EQ(MessageBoxA(NULL, "t", "c", MB_OKCANCEL | MB_DEFBUTTON2), IDCANCEL)
      << "an answer the box has no button for presses the default one";
  testing::internal::GetCapturedStderr();
}

}  // namespace

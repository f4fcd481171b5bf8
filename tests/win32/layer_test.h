// Shared fixture of the layer's unit tests: a recording window class, one
// helper that compares recorded messages with an expected sequence and
// reports the caller's file and line, and a leak check on every test.
#ifndef TUL_TESTS_WIN32_LAYER_TEST_H
#define TUL_TESTS_WIN32_LAYER_TEST_H

#include <windows.h>
#include <win32sim.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace layertest {

struct Recorded {
  HWND hwnd;
  UINT msg;
  WPARAM wp;
  LPARAM lp;
};

// What a step of a sequence must match; anyWp leaves wParam unchecked.
struct Expect {
  UINT msg;
  WPARAM wp = 0;
  bool anyWp = true;
};

inline std::vector<Recorded>& recorded() {
  static std::vector<Recorded> log;
  return log;
}

// Messages worth recording: input, commands, scrolling, timers, closing.
inline bool interesting(UINT msg) {
  switch (msg) {
  case WM_KEYDOWN: case WM_KEYUP: case WM_CHAR: case WM_SYSKEYDOWN: case WM_SYSKEYUP:
  case WM_SYSCHAR: case WM_COMMAND: case WM_SYSCOMMAND: case WM_HSCROLL: case WM_VSCROLL:
  case WM_TIMER: case WM_CLOSE: case WM_DESTROY: case WM_LBUTTONDOWN: case WM_LBUTTONUP:
  case WM_ENTERSIZEMOVE: case WM_EXITSIZEMOVE: case WM_SIZE: case WM_USER:
    return true;
  default:
    return false;
  }
}

// A test may hook a message; the hook's answer replaces DefWindowProcA's.
inline std::function<bool(HWND, UINT, WPARAM, LPARAM, LRESULT*)>& messageHook() {
  static std::function<bool(HWND, UINT, WPARAM, LPARAM, LRESULT*)> hook;
  return hook;
}

inline LRESULT CALLBACK recordingProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  if (interesting(msg)) recorded().push_back({hwnd, msg, wp, lp});
  LRESULT answer = 0;
  if (messageHook() && messageHook()(hwnd, msg, wp, lp, &answer)) return answer;
  if (msg == WM_DESTROY && GetWindowLongA(hwnd, 0) == 1) PostQuitMessage(0);
  return DefWindowProcA(hwnd, msg, wp, lp);
}

inline const char* kClass = "LayerTestWindow";

inline void registerRecordingClass() {
  WNDCLASSEXA wc = {};
  wc.cbSize = sizeof wc;
  wc.lpfnWndProc = recordingProc;
  wc.cbWndExtra = sizeof(LONG);
  wc.hInstance = GetModuleHandleA(NULL);
  wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
  wc.lpszClassName = kClass;
  RegisterClassExA(&wc);
}

// A visible framed window; quitOnDestroy makes its WM_DESTROY post WM_QUIT.
inline HWND createMain(DWORD style = WS_OVERLAPPEDWINDOW | WS_VISIBLE, bool quitOnDestroy = false) {
  HWND h = CreateWindowExA(0, kClass, "main", style, 20, 30, 300, 200, NULL, NULL,
                           GetModuleHandleA(NULL), NULL);
  if (quitOnDestroy) SetWindowLongA(h, 0, 1);
  return h;
}

// Runs the queue until it is empty, without waiting.
inline void pumpAll() {
  MSG m;
  while (PeekMessageA(&m, NULL, 0, 0, PM_REMOVE)) {
    TranslateMessage(&m);
    DispatchMessageA(&m);
  }
}

template <size_t N>
void checkSequence(const Expect (&want)[N], const char* file, int line) {
  const std::vector<Recorded>& got = recorded();
  std::string actual;
  for (const Recorded& r : got)
    actual += " " + std::to_string(r.msg) + "(" + std::to_string(r.wp) + ")";
  bool same = got.size() == N;
  for (size_t i = 0; same && i < N; ++i)
    same = got[i].msg == want[i].msg && (want[i].anyWp || got[i].wp == want[i].wp);
  std::string expected;
  for (const Expect& e : want)
    expected += " " + std::to_string(e.msg) + (e.anyWp ? "" : "(" + std::to_string(e.wp) + ")");
  if (!same)
    ADD_FAILURE_AT(file, line) << "message sequence differs\n  expected:" << expected
                               << "\n  actual:  " << actual;
  recorded().clear();
}

#define EXPECT_SEQUENCE(want) ::layertest::checkSequence(want, __FILE__, __LINE__)

// The notification codes (WM_COMMAND's high word) parent received since the
// log was last cleared, in order; the log is cleared.
inline std::vector<int> notificationsTo(HWND parent) {
  std::vector<int> codes;
  for (const Recorded& r : recorded())
    if (r.msg == WM_COMMAND && r.hwnd == parent) codes.push_back(HIWORD(r.wp));
  recorded().clear();
  return codes;
}

// Every test starts with an empty log and must leave no window, GDI object,
// DC, accelerator table or timer behind.
class LayerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    registerRecordingClass();
    recorded().clear();
    messageHook() = nullptr;
    before_ = win32sim::counts();
  }
  void TearDown() override {
    win32sim::setIdleHook(nullptr);
    win32sim::setNothingCanArriveHook(nullptr);
    win32sim::setMessageBoxHook(nullptr);
    messageHook() = nullptr;
    pumpAll();
    win32sim::Counts after = win32sim::counts();
    EXPECT_EQ(after.windows, before_.windows) << "windows leaked";
    EXPECT_EQ(after.gdiObjects, before_.gdiObjects) << "GDI objects leaked";
    EXPECT_EQ(after.dcs, before_.dcs) << "device contexts leaked";
    EXPECT_EQ(after.acceleratorTables, before_.acceleratorTables) << "accelerator tables leaked";
    EXPECT_EQ(after.timers, before_.timers) << "timers leaked";
    EXPECT_EQ(after.kernelHandles, before_.kernelHandles) << "file or search handles leaked";
  }
  win32sim::Counts before_;
};

}  // namespace layertest

#endif

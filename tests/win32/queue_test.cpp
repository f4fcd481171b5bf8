// Waiting without hanging: GetMessageA's -1 when nothing can arrive and the
// hook that replaces it, timers driven by the simulated clock, and timer
// procedures. The idle hook acting as the user is pinned by
// tests/script/desktop/idle.tul.
#include "tests/win32/layer_test.h"

#include <cstdio>

namespace {

using layertest::Expect;
using layertest::LayerTest;

class Queue : public LayerTest {};

TEST_F(Queue, NothingToWaitForReturnsMinusOneWithADiagnostic) {
  layertest::pumpAll();
  MSG m;
  testing::internal::CaptureStderr();
  BOOL r = GetMessageA(&m, NULL, 0, 0);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(r, -1);
  EXPECT_NE(err.find("GetMessageA: nothing can arrive"), std::string::npos) << err;
  EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << "one line";
}

TEST_F(Queue, TheNothingCanArriveHookEndsTheWaitItsOwnWay) {
  layertest::pumpAll();
  std::vector<std::string> calls;
  win32sim::setIdleHook([&] { calls.push_back("idle"); });
  win32sim::setNothingCanArriveHook([&] {
    calls.push_back("nothing");
    PostQuitMessage(3);
  });
  MSG m;
  testing::internal::CaptureStderr();
  EXPECT_EQ(GetMessageA(&m, NULL, 0, 0), 0) << "the quit it posted is retrieved";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "its owner reports, not the layer";
  EXPECT_EQ(m.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(m.wParam, 3u);
  EXPECT_EQ(calls, (std::vector<std::string>{"idle", "nothing"})) << "the idle hook acts first";
}

TEST_F(Queue, AQuietNothingCanArriveHookLeavesTheFailureSilent) {
  layertest::pumpAll();
  int calls = 0;
  win32sim::setNothingCanArriveHook([&] { ++calls; });
  MSG m;
  testing::internal::CaptureStderr();
  EXPECT_EQ(GetMessageA(&m, NULL, 0, 0), -1);
  EXPECT_FALSE(WaitMessage());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(calls, 2);
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW);
  SetTimer(h, 1, 50, NULL);
  EXPECT_EQ(GetMessageA(&m, NULL, 0, 0), 1) << "a timer can still arrive";
  EXPECT_EQ(m.message, static_cast<UINT>(WM_TIMER));
  EXPECT_EQ(calls, 2);
  DestroyWindow(h);
  layertest::recorded().clear();
}

// Runs a program's loop to its end; its last GetMessageA result.
BOOL runToEnd() {
  MSG m;
  BOOL r;
  while ((r = GetMessageA(&m, NULL, 0, 0)) > 0) DispatchMessageA(&m);
  return r;
}

TEST_F(Queue, AnIdleHookThatActsWithoutQueueingIsAskedAgain) {
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW);
  layertest::pumpAll();
  const std::string shot = testing::TempDir() + "win32_queue_idle.png";
  const struct {
    const char* what;
    std::function<void()> act;
  } cases[] = {
      {"a sent message", [h] { SendMessageA(h, WM_USER, 0, 0); }},
      {"a scroll step", [h] { win32sim::sendScrollMessage(h, SB_VERT, SB_LINEDOWN, 0); }},
      {"a saved screen", [&shot] { win32sim::saveScreenshot(shot); }},
  };
  win32sim::setNothingCanArriveHook([] {});
  for (const auto& c : cases) {
    int calls = 0;
    win32sim::setIdleHook([&] {
      if (++calls <= 3) c.act();
    });
    EXPECT_EQ(runToEnd(), -1) << c.what;
    EXPECT_EQ(calls, 4) << c.what << ": asked again after each action, given up after a quiet one";
  }
  int calls = 0;
  win32sim::setIdleHook([&] {
    ++calls;
    PostMessageA(h, WM_NULL, 0, 0);
    GetFocus();  // reading state runs no procedure
  });
  MSG m;
  EXPECT_EQ(GetMessageA(&m, NULL, 0, 0), 1) << "what it posted arrives";
  win32sim::setIdleHook([&] { ++calls; });
  EXPECT_EQ(runToEnd(), -1);
  EXPECT_EQ(calls, 2) << "a hook that does nothing is asked once";
  std::remove(shot.c_str());
  DestroyWindow(h);
  layertest::recorded().clear();
}

TEST_F(Queue, TimersFireOnTheSimulatedClock) {
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW);
  DWORD start = GetTickCount();
  EXPECT_EQ(SetTimer(h, 1, 100, NULL), 1u);
  EXPECT_EQ(SetTimer(h, 2, 250, NULL), 2u);
  MSG m;
  EXPECT_FALSE(PeekMessageA(&m, NULL, WM_TIMER, WM_TIMER, PM_REMOVE)) << "not due yet";
  std::vector<std::pair<WPARAM, DWORD>> fired;
  while (fired.size() < 4 && GetMessageA(&m, NULL, 0, 0) > 0)
    if (m.message == WM_TIMER) fired.emplace_back(m.wParam, m.time - start);
  std::vector<std::pair<WPARAM, DWORD>> want = {{1, 100}, {1, 200}, {2, 250}, {1, 300}};
  EXPECT_EQ(fired, want) << "waiting jumps the clock to the next timer";
  EXPECT_TRUE(KillTimer(h, 1));
  EXPECT_TRUE(KillTimer(h, 2));
  EXPECT_FALSE(KillTimer(h, 2));
  win32sim::advanceClock(1000);
  EXPECT_FALSE(PeekMessageA(&m, NULL, WM_TIMER, WM_TIMER, PM_REMOVE));
  SetTimer(h, 5, 10, NULL);
  EXPECT_EQ(win32sim::counts().timers, before_.timers + 1);
  DestroyWindow(h);
  EXPECT_EQ(win32sim::counts().timers, before_.timers) << "destroying a window kills its timers";
  layertest::recorded().clear();
}

int g_procCalls;
void CALLBACK timerProc(HWND, UINT msg, UINT_PTR, DWORD) {
  if (msg == WM_TIMER) ++g_procCalls;
}

TEST_F(Queue, TimerProceduresAndThreadTimers) {
  g_procCalls = 0;
  UINT_PTR id = SetTimer(NULL, 0, 10, timerProc);
  EXPECT_NE(id, 0u);
  Sleep(15);  // Sleep moves the simulated clock
  MSG m;
  ASSERT_TRUE(PeekMessageA(&m, NULL, 0, 0, PM_REMOVE));
  EXPECT_EQ(m.message, static_cast<UINT>(WM_TIMER));
  EXPECT_EQ(m.hwnd, nullptr);
  DispatchMessageA(&m);
  EXPECT_EQ(g_procCalls, 1);
  EXPECT_TRUE(KillTimer(NULL, id));
}

TEST_F(Queue, PostedMessagesComeBeforeInputAndInputBeforePaint) {
  HWND h = layertest::createMain();
  layertest::pumpAll();
  InvalidateRect(h, NULL, FALSE);
  win32sim::pressKey('Q');
  PostMessageA(h, WM_USER, 0, 0);
  MSG m;
  std::vector<UINT> order;
  while (PeekMessageA(&m, NULL, 0, 0, PM_REMOVE)) {
    order.push_back(m.message);
    DispatchMessageA(&m);
  }
  EXPECT_EQ(order, (std::vector<UINT>{WM_USER, WM_KEYDOWN, WM_KEYUP, WM_PAINT}));
  layertest::recorded().clear();
  DestroyWindow(h);
}

}  // namespace

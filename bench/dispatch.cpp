// Message dispatch: posted messages through WinBase.mainLoop (its
// preprocessMessage, the library's window procedure, WinBase.handleMessage,
// default processing), against the Win32 layer's bare GetMessageA /
// DispatchMessageA loop into a C++ window procedure; then the same with a
// script override of handleMessage, and with chains of script handlers.
#include <windows.h>

#include <functional>
#include <string>

#include "bench/support/alloc_count.h"
#include "bench/support/host.h"
#include "bench/support/measure.h"
#include "module/classes.h"
#include "module/script_calls.h"

namespace {

constexpr UINT kMessage = WM_USER + 1;  // default processing ignores it
constexpr long kBatch = 256;            // messages queued before each loop
constexpr double kDispatchTarget = 2.0;
constexpr double kOverrideTarget = 4.0;  // with a script handleMessage calling its base
constexpr double kHopTarget = 1.0;       // each further handler in a chain
constexpr double kLinearTarget = 1.5;   // per-hop cost, long chains against short
constexpr const char* kBareClass = "BenchBare";

long gBareSeen = 0;

LRESULT CALLBACK bareProcedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == kMessage) ++gBareSeen;
  return DefWindowProcA(hwnd, message, wParam, lParam);
}

HWND bareWindow() {
  WNDCLASSA wc{};
  wc.lpfnWndProc = bareProcedure;
  wc.lpszClassName = kBareClass;
  if (!RegisterClassA(&wc)) bench::die("cannot register the bare window class");
  HWND h = CreateWindowExA(0, kBareClass, "", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr,
                           nullptr);
  if (!h) bench::die("cannot create the bare window");
  return h;
}

// Queues up to kBatch messages and the quit that ends the loop after them;
// how many were queued.
long postBatch(HWND h, long left) {
  const long n = left < kBatch ? left : kBatch;
  for (long i = 0; i < n; ++i) PostMessageA(h, kMessage, static_cast<WPARAM>(i), 0);
  PostQuitMessage(0);
  return n;
}

void bareLoop(HWND h, long n) {
  for (long left = n; left > 0;) {
    left -= postBatch(h, left);
    MSG msg;
    while (GetMessageA(&msg, nullptr, 0, 0) > 0) DispatchMessageA(&msg);
  }
}

void libraryLoop(bench::Host& host, HWND h, long n) {
  for (long left = n; left > 0;) {
    left -= postBatch(h, left);
    host.callStatic("WinBase", "mainLoop");
  }
}

TulValue text(const char* s) { return TulValue(new TulString(s)); }

TulValue libraryWindow(bench::Host& host, const char* cls) {
  TulValue w = host.make(cls);
  host.call(w, "create", {text("Tul2Window"), TulValue(), TulValue(0), TulValue(0), TulValue(10),
                          TulValue(10), TulValue(static_cast<int>(WS_POPUP))});
  return w;
}

HWND handleOf(bench::Host& host, const TulValue& window) {
  const int h = static_cast<int>(host.call(window, "getHandle"));
  return reinterpret_cast<HWND>(static_cast<UINT_PTR>(static_cast<unsigned>(h)));
}

double libraryPerMessage(bench::Host& host, const TulValue& window) {
  const HWND h = handleOf(host, window);
  return bench::perOp([&](long n) { libraryLoop(host, h, n); }, kBatch);
}

// Allocations a message costs in a loop over one batch.
double allocationsPerMessage(const std::function<void(long n)>& loop) {
  const unsigned long before = bench::allocations();
  loop(kBatch);
  return static_cast<double>(bench::allocations() - before) / kBatch;
}

// Seconds per interpreter call, through a call site as the loop's calls
// are made, of a native method that does nearly nothing: what each of the
// loop's calls into WinBase's methods costs beyond their own work.
double interpreterCall(bench::Host& host) {
  TulValue pt = host.make("POINT", {TulValue(1), TulValue(2)});
  TulObject* obj = static_cast<TulObject*>(pt);
  TulCallSite site{"getX"};
  return bench::perOp(
      [&](long n) {
        TulValue out;
        for (long i = 0; i < n; ++i) host.interp().invokeMember(out, obj, site, nullptr, 0);
      },
      1024);
}

// The count a Counter closing the chain saw over one batch; the check that
// the loop really walked the chain.
bool chainDelivers(bench::Host& host, const TulValue& window) {
  TulValue counter = host.make("Counter");
  host.call(window, "addMsgHandler", {counter});
  libraryLoop(host, handleOf(host, window), kBatch);
  host.call(window, "removeMsgHandler", {counter});
  TulObject* obj = static_cast<TulObject*>(counter);
  const int index = obj->getClass()->getMemberIndex(TulString("_seen"));
  return static_cast<int>((*obj->getMemberData())[static_cast<unsigned>(index)]) == kBatch;
}

// Seconds per call of a PassOn handler's handleMessage through a call site,
// with the five arguments the walk gives it.
double handlerCall(bench::Host& host, const TulValue& window) {
  TulValue handler = host.make("PassOn");
  const TulValue args[] = {window, TulValue(), TulValue(static_cast<int>(kMessage)), TulValue(),
                           TulValue()};
  TulObject* obj = static_cast<TulObject*>(handler);
  TulCallSite site{"handleMessage"};
  return bench::perOp(
      [&](long n) {
        TulValue out;
        for (long i = 0; i < n; ++i) host.interp().invokeMember(out, obj, site, args, 5);
      },
      kBatch);
}

void handlerRows(bench::Host& host, double bare) {
  TulValue window = libraryWindow(host, "WinBase");
  const int sizes[] = {1, 8, 64};
  double cost[3] = {};
  int attached = 0;
  for (int k = 0; k < 3; ++k) {
    for (; attached < sizes[k]; ++attached)
      host.call(window, "addMsgHandler", {host.make("PassOn")});
    if (!chainDelivers(host, window)) {
      bench::failedRow("handler chain", -1, "a message did not reach the end of the chain");
      return;
    }
    cost[k] = libraryPerMessage(host, window);
    bench::row("handler chain of " + std::to_string(sizes[k]) + ": per message", cost[k] / bare,
               -1, bench::micro(cost[k]) + " us a message");
  }
  const double hop = (cost[2] - cost[0]) / 63, call = handlerCall(host, window);
  std::string why;
  if (hop / bare > kHopTarget)
    why = ". Missed: the call is the script engine's entry and frame and the runtime's frame "
          "(this and five arguments placed and emptied again); next step: a script method "
          "entered from native code with its arguments read where the caller holds them";
  bench::row("handler chain: one hop", hop / bare, kHopTarget,
             bench::micro(hop) + " us a hop, of which the handler's script call through "
             "a call site takes " + bench::micro(call) + why);
  const double shortHop = (cost[1] - cost[0]) / 7, longHop = (cost[2] - cost[1]) / 56;
  bench::row("handler chain: a hop from 8 to 64 against one from 1 to 8", longHop / shortHop,
             kLinearTarget,
             bench::micro(longHop) + " us against " + bench::micro(shortHop) +
                 " us: the chain grows linearly");
  DestroyWindow(handleOf(host, window));
}

// Where a message's time goes in the library's loop. The native methods are
// also called straight (no interpreter call around them) to take their own
// work apart from the loop and the window procedure around them.
struct Breakdown {
  double bare, library, call, handle, preprocess, bareAllocs, libraryAllocs;
};

double straightCost(bench::DirectCall& call) {
  return bench::perOp(
      [&](long n) {
        for (long i = 0; i < n; ++i) call();
      },
      kBatch);
}

void ownWork(bench::Host& host, const TulValue& window, Breakdown& b) {
  const NativeMethod handleMessage = bench::nativeMethod(kWinBaseSpec, "handleMessage");
  bench::DirectCall handle(host.vm(), handleMessage, window, 4);
  handle.setArg(0, host.call(window, "getHandle"));
  handle.setArg(1, TulValue(static_cast<int>(kMessage)));
  handle.setArg(2, TulValue(0));
  handle.setArg(3, TulValue(0));
  bench::DirectCall preprocess(host.vm(), bench::nativeMethod(kWinBaseSpec, "preprocessMessage"),
                               window, 1);
  preprocess.setArg(0, host.make("MSG"));
  if (!handle() || !preprocess()) bench::die("a straight call of WinBase's methods failed");
  b.handle = straightCost(handle);
  b.preprocess = straightCost(preprocess);  // its getParent included
}

std::string explain(const Breakdown& b) {
  const double glue = b.library - b.handle - b.preprocess - b.bare;
  auto share = [&](double t) { return bench::fixed(100 * t / b.library, 0) + "%"; };
  std::string note =
      bench::micro(b.library) + " us a message, " + bench::micro(b.bare) +
      " bare. handleMessage's own work " + share(b.handle) + ", preprocessMessage's (its "
      "getParent included) " + share(b.preprocess) + ", the loop and the window procedure " +
      share(glue) + "; " + bench::fixed(b.libraryAllocs, 1) + " allocations a message (bare " +
      bench::fixed(b.bareAllocs, 1) + "). The three calls by name find WinBase's own methods "
      "at their call sites and run them without an interpreter frame; one interpreter call, "
      "as a script override takes, costs " + bench::fixed(b.call / b.bare, 1) +
      " bare messages";
  if (b.library / b.bare <= kDispatchTarget) return note;
  return note + ". Missed: next step, the system calls of the native methods' own work "
         "(GetParent, default processing) and the window procedure's second registry lookup";
}

}  // namespace

int main() {
  bench::Host host("window_classes.tul");
  if (!bench::allocationsAreCounted()) bench::die("allocations are not counted");
  const HWND bare = bareWindow();
  Breakdown b{};
  b.bare = bench::perOp([&](long n) { bareLoop(bare, n); }, kBatch);
  gBareSeen = 0;
  b.bareAllocs = allocationsPerMessage([&](long n) { bareLoop(bare, n); });
  if (gBareSeen != kBatch) bench::die("the bare loop lost messages");
  b.call = interpreterCall(host);

  TulValue plain = libraryWindow(host, "WinBase");
  const HWND plainHandle = handleOf(host, plain);
  b.library = libraryPerMessage(host, plain);
  b.libraryAllocs = allocationsPerMessage([&](long n) { libraryLoop(host, plainHandle, n); });
  ownWork(host, plain, b);
  bench::row("dispatch: mainLoop, no script override", b.library / b.bare, kDispatchTarget,
             explain(b));
  DestroyWindow(plainHandle);

  TulValue overridden = libraryWindow(host, "Overridden");
  const double script = libraryPerMessage(host, overridden);
  bench::row("dispatch: script override of handleMessage", script / b.bare, kOverrideTarget,
             bench::micro(script) + " us a message; the override and its base call add " +
                 bench::micro(script - b.library) + " us");
  DestroyWindow(handleOf(host, overridden));

  handlerRows(host, b.bare);
  DestroyWindow(bare);
  return 0;
}

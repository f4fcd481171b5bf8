// Timing and result lines (see measure.h).
#include "bench/support/measure.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace bench {

double cpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

double bestPerOp(int reps, long ops, const std::function<void()>& body) {
  double best = std::numeric_limits<double>::infinity();
  for (int i = 0; i < reps; ++i) {
    const double start = cpuSeconds();
    body();
    const double spent = cpuSeconds() - start;
    if (spent < best) best = spent;
  }
  return best / static_cast<double>(ops);
}

double clockResolution() {
  timespec ts{};
  clock_getres(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

double perOp(const std::function<void(long n)>& body, long start, int reps, double minSeconds) {
  const double least = std::max(minSeconds, kResolutions * clockResolution());
  long n = start;
  for (;;) {
    const double begin = cpuSeconds();
    body(n);
    if (cpuSeconds() - begin >= least) break;
    n *= 2;
  }
  return bestPerOp(reps, n, [&] { body(n); });
}

std::string fixed(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

// Below a tenth of a microsecond (lookups natively) two decimals would show
// nothing: four are kept there.
std::string micro(double seconds) {
  const double us = seconds * 1e6;
  return fixed(us, us < 0.1 ? 4 : 2);
}

void row(const std::string& name, double ratio, double target, const std::string& note) {
  std::printf("ROW\t%s\t%.3f\t%s\t%s\n", name.c_str(), ratio,
              target < 0 ? "null" : fixed(target, 3).c_str(), note.c_str());
  std::fflush(stdout);
}

void failedRow(const std::string& name, double target, const std::string& why) {
  std::printf("ROW\t%s\tnull\t%s\tfailed: %s\n", name.c_str(),
              target < 0 ? "null" : fixed(target, 3).c_str(), why.c_str());
  std::fflush(stdout);
}

void die(const std::string& why) {
  std::fprintf(stderr, "bench: %s\n", why.c_str());
  std::exit(1);
}

}  // namespace bench

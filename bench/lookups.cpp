// How lookups scale: the window registry (a sorted array searched by halves)
// at 10, 1,000 and 10,000 windows; a Dictionary's [] at 10^2 and 10^5 keys;
// Vector.push_back per element, amortised, at two sizes. Each figure is the
// per-operation cost at the larger size against the smaller one.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/support/host.h"
#include "bench/support/measure.h"
#include "module/classes.h"
#include "window/registry.h"

namespace {

constexpr unsigned kProbes = 4096;            // lookups cycle through these keys
constexpr std::uint32_t kFirstHandle = 0x10000;
constexpr std::uint32_t kHandleStep = 4;      // handles are spaced like the layer's
constexpr double kFlatTarget = 1.5;           // a 1000-fold size, within half again

std::mt19937 gRandom(12345);

// kProbes indices drawn from [0, n).
std::vector<unsigned> probes(unsigned n) {
  std::uniform_int_distribution<unsigned> pick(0, n - 1);
  std::vector<unsigned> out(kProbes);
  for (unsigned& i : out) i = pick(gRandom);
  return out;
}

// Seconds per registryFind with n entries registered (fake windows of one
// borrowed object: lookups never touch it).
double registryLookup(TulObject* object, unsigned n) {
  for (unsigned i = 0; i < n; ++i)
    if (registryAdd(kFirstHandle + i * kHandleStep, object) < 0) bench::die("registry full");
  std::vector<std::uint32_t> handles;
  for (unsigned i : probes(n)) handles.push_back(kFirstHandle + i * kHandleStep);
  volatile int sink = 0;
  const double cost = bench::perOp(
      [&](long count) {
        int found = 0;
        for (long i = 0; i < count; ++i) found += registryFind(handles[i % kProbes]) >= 0;
        sink = found;
      },
      kProbes);
  if (sink <= 0) bench::die("registryFind found nothing");
  registryForget(object);
  return cost;
}

void registryRows(bench::Host& host) {
  if (registryCount() != 0) bench::die("the registry is not empty");
  TulValue object = host.make("WinBase");
  TulObject* obj = static_cast<TulObject*>(object);
  const double small = registryLookup(obj, 10);
  const struct {
    unsigned n;
    const char* label;
  } sizes[] = {{1000, "1,000"}, {10000, "10,000"}};
  for (const auto& size : sizes) {
    const double cost = registryLookup(obj, size.n);
    const double logRatio = std::log(static_cast<double>(size.n)) / std::log(10.0);
    bench::row(std::string("registry lookup: ") + size.label + " windows against 10",
               cost / small, logRatio,
               bench::micro(cost) + " us against " + bench::micro(small) +
                   " us; a binary search, whose target is the growth of log n");
  }
}

TulValue text(const std::string& s) { return TulValue(new TulString(s.c_str())); }

// The i-th key: of one length at every size, so that the small and the
// large dictionary hash and compare the same number of characters.
TulValue key(unsigned i) {
  std::string digits = std::to_string(i);
  return text("key" + std::string(6 - digits.size(), '0') + digits);
}

// Seconds per Dictionary [] (the library's OP_VREF, called straight) with n
// keys present.
double dictionaryLookup(bench::Host& host, unsigned n) {
  TulValue dict = host.make("Dictionary");
  bench::DirectCall set(host.vm(), bench::nativeMethod(kDictionarySpec, "OP_VSET"), dict, 2);
  for (unsigned i = 0; i < n; ++i) {
    set.setArg(0, key(i));
    set.setArg(1, TulValue(static_cast<int>(i)));
    if (!set()) bench::die("Dictionary []= failed");
  }
  std::vector<TulValue> keys;
  for (unsigned i : probes(n)) keys.push_back(key(i));
  bench::DirectCall get(host.vm(), bench::nativeMethod(kDictionarySpec, "OP_VREF"), dict, 1);
  get.setArg(0, keys[0]);
  if (!get() || get.result().type() != TulValueType::I32) bench::die("Dictionary [] failed");
  return bench::perOp(
      [&](long count) {
        for (long i = 0; i < count; ++i) {
          get.setArg(0, keys[static_cast<unsigned>(i) % kProbes]);
          get();
        }
      },
      kProbes);
}

// Seconds per element of Vector.push_back (called straight) filling fresh
// vectors of n elements.
double pushBack(bench::Host& host, unsigned n) {
  const NativeMethod push = bench::nativeMethod(kVectorSpec, "push_back");
  const double perVector = bench::perOp(
      [&](long vectors) {
        for (long v = 0; v < vectors; ++v) {
          bench::DirectCall call(host.vm(), push, host.make("Vector"), 1);
          call.setArg(0, TulValue(1));
          for (unsigned i = 0; i < n; ++i) call();
        }
      },
      1);
  return perVector / n;
}

void containerRows(bench::Host& host) {
  const double few = dictionaryLookup(host, 100), many = dictionaryLookup(host, 100000);
  std::string note = bench::micro(many) + " us against " + bench::micro(few) +
                     " us; a hash table: flat. The probe keys are the same strings round after"
                     " round, as a script's variables and literals are: each remembers the entry"
                     " it found, so a lookup reads that entry and not first the table's slot";
  if (many / few > kFlatTarget)
    note += ". Missed: memory, not instructions: among 10^5 keys a found key's slot line and then its"
            " entry's line (the entries spread over 12 MB) come from beyond the second-level cache"
            " and the address translation cache, one after the other";
  bench::row("Dictionary lookup: 10^5 keys against 10^2", many / few, kFlatTarget, note);
  const double small = pushBack(host, 1000), large = pushBack(host, 100000);
  bench::row("Vector.push_back per element: 10^5 elements against 10^3", large / small,
             kFlatTarget,
             bench::micro(large) + " us against " + bench::micro(small) +
                 " us; geometric growth: amortised constant");
}

}  // namespace

int main() {
  bench::Host host;
  registryRows(host);
  containerRows(host);
  return 0;
}

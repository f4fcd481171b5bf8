// A counting loop: 100 steps a round, each adding i & 7.
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  // 64-bit counts: run natively, the timed runs go past 2^31 steps.
  const long long rounds = argc > 1 ? std::atoll(argv[1]) : 0;
  volatile long long acc = 0;  // kept, so the loop is not folded away
  for (long long i = 0; i < rounds * 100; ++i) acc = acc + (i & 7);
  std::printf("%lld\n", static_cast<long long>(acc));
  return 0;
}

// A counting loop: 100 steps a round, each adding i & 7.
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  volatile long acc = 0;  // kept, so the loop is not folded away
  for (long i = 0; i < rounds * 100; ++i) acc = acc + (i & 7);
  std::printf("%ld\n", static_cast<long>(acc));
  return 0;
}

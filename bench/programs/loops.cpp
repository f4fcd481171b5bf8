// Loops: integer arithmetic in a nested loop, 100 steps a round.
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  long acc = 0;
  for (long i = 0; i < rounds; ++i)
    for (long j = 0; j < 100; ++j) acc = (acc * 31 + (i ^ j)) % 1000003;
  std::printf("%ld\n", acc);
  return 0;
}

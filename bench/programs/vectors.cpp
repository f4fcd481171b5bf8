// Vector work: a 20-element vector filled, then summed, every round.
#include <cstdio>
#include <cstdlib>
#include <vector>

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  long total = 0;
  for (long i = 0; i < rounds; ++i) {
    std::vector<long> v;
    for (long j = 0; j < 20; ++j) v.push_back(i + j);
    long s = 0;
    for (long x : v) s += x;
    total = (total + s) % 1000003;
  }
  std::printf("%ld\n", total);
  return 0;
}

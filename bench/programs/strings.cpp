// String building: a 20-piece string joined a piece at a time, every round.
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  long total = 0;
  std::string last;
  for (long i = 0; i < rounds; ++i) {
    std::string s;
    for (long j = 0; j < 20; ++j) s = s + std::to_string((i + j) % 100) + ",";
    total = (total + static_cast<long>(s.size())) % 1000003;
    last = s;
  }
  std::printf("%ld %s\n", total, last.c_str());
  return 0;
}

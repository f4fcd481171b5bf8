// Dictionary work: read, update and write one of 1,000 keys every round.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_map>

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  std::unordered_map<std::string, long> d;
  for (long i = 0; i < rounds; ++i) {
    const std::string k = "k" + std::to_string(i % 1000 * 7 % 1000);
    long& v = d[k];
    v = (v + i) % 1000003;
  }
  long sum = 0;
  for (const auto& entry : d) sum = (sum + entry.second) % 1000003;
  std::printf("%zu %ld\n", d.size(), sum);
  return 0;
}

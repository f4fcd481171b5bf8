// Calls: naive recursive Fibonacci, 177 or 287 calls a round.
#include <cstdio>
#include <cstdlib>

namespace {

int fib(int n) {
  if (n < 2) return n;
  return fib(n - 1) + fib(n - 2);
}

}  // namespace

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  long sum = 0;
  for (long i = 0; i < rounds; ++i) sum = (sum + fib(10 + static_cast<int>(i % 2))) % 1000003;
  std::printf("%ld\n", sum);
  return 0;
}

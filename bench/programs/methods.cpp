// Method calls: 10 calls a round of a virtual method that reads a member.
#include <cstdio>
#include <cstdlib>

namespace {

struct Cell {
  explicit Cell(long v) : value(v) {}
  virtual ~Cell() = default;
  virtual long get() const { return value; }
  long value;
};

}  // namespace

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  Cell* volatile cell = new Cell(3);  // through a pointer the compiler cannot see into
  long sum = 0;
  for (long i = 0; i < rounds; ++i) {
    for (int j = 0; j < 10; ++j) sum += cell->get();
    sum %= 1000003;
  }
  std::printf("%ld\n", sum);
  delete cell;
  return 0;
}

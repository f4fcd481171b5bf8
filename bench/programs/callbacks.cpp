// Callbacks: function pointers kept in an array and a map by name, passed
// to functions that call them, as handlers and idle hooks are: 13 calls a
// round, 10 of them through a pointer.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_map>

namespace {

using Handler = long (*)(long, long);

long onPaint(long m, long w) { return m + w; }
long onSize(long m, long w) { return m * 2 + w; }
long onIdle(long m, long w) { return (m ^ w) & 255; }

// Kept out of line, as the script's are separate calls.
__attribute__((noinline)) long dispatch(Handler const* table, long m, long w) {
  const Handler h = table[m % 3];
  return h(m, w);
}

__attribute__((noinline)) long each(Handler const* list, long n, long m) {
  long s = 0;
  for (long i = 0; i < n; ++i) s = s + list[i](m, i);
  return s;
}

}  // namespace

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  Handler handlers[] = {onPaint, onSize, onIdle};
  const std::unordered_map<std::string, Handler> byName = {
      {"paint", onPaint}, {"size", onSize}, {"idle", onIdle}};
  const std::string names[] = {"paint", "size", "idle"};
  long total = 0;
  for (long i = 0; i < rounds; ++i) {
    for (long j = 0; j < 3; ++j) {
      total = total + dispatch(handlers, i + j, j);
      const Handler h = byName.at(names[j]);
      total = total + h(i, j);
    }
    total = (total + each(handlers, 3, i)) % 1000003;
  }
  std::printf("%ld\n", total);
  return 0;
}

// Texts: 10 labels a round built with std::string, searched, cut, changed
// and compared, as a window script builds its captions.
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
  const long rounds = argc > 1 ? std::atol(argv[1]) : 0;
  long total = 0;
  std::string last;
  for (long i = 0; i < rounds; ++i) {
    for (long j = 0; j < 10; ++j) {
      std::string s("item ");
      s.append(std::to_string((i + j) % 100));
      s.append(j % 2 == 0 ? ": even" : ": odd");
      const long colon = static_cast<long>(s.find(':'));
      const std::string head = s.substr(0, static_cast<std::size_t>(colon));
      if (head == "item 42") total = total + 1;
      for (char& c : s)
        if (c == 'e') c = 'E';
      if (s.compare("itEm 7: odd") == 0) total = total + 3;
      total = (total + colon + static_cast<long>(s.size()) + static_cast<long>(head.size())) %
              1000003;
      last = s;
    }
  }
  std::printf("%ld %s\n", total, last.c_str());
  return 0;
}

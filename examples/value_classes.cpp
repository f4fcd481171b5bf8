// A host session with the value classes: the program loads the library by
// path as a host does, then does what a script would: builds rectangles and
// points, moves and resizes them, and shows the native structures a system
// call would receive.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "runtime/runtime.h"
#include "tools/tul/loader.h"

namespace {

struct Session {
  tulrt::Machine& vm;

  TulValue make(const char* cls, std::initializer_list<TulValue> args = {}) {
    TulValue out;
    if (!vm.interp().construct(out, vm.findClass(cls), args)) fail(cls);
    return out;
  }
  TulValue call(const TulValue& obj, const char* method,
                std::initializer_list<TulValue> args = {}) {
    TulValue out;
    if (!vm.interp().callMember(out, static_cast<TulObject*>(obj), method, args))
      fail(method);
    return out;
  }
  int num(const TulValue& obj, const char* method) {
    return static_cast<int>(call(obj, method));
  }
  void fail(const char* what) {
    std::fprintf(stderr, "%s: %s\n", what, vm.interp().lastError().message.c_str());
    std::exit(1);
  }
  std::string rect(const TulValue& r) {
    return "(" + std::to_string(num(r, "getLeft")) + ", " + std::to_string(num(r, "getTop")) +
           ", " + std::to_string(num(r, "getRight")) + ", " +
           std::to_string(num(r, "getBottom")) + ")";
  }
  std::string point(const TulValue& p) {
    return "(" + std::to_string(num(p, "getX")) + ", " + std::to_string(num(p, "getY")) + ")";
  }
  void bytes(const TulValue& obj, unsigned n) {
    auto* p = reinterpret_cast<const unsigned char*>(
        static_cast<std::uintptr_t>(static_cast<unsigned>(num(obj, "ptr"))));
    for (unsigned i = 0; i < n; ++i) std::printf("%02X%s", p[i], i + 1 < n ? " " : "\n");
  }
};

}  // namespace

int main(int, char** argv) {
  NativeModule module;
  if (!module.load(defaultLibraryPath(argv[0]))) {
    std::fprintf(stderr, "%s\n", module.error().c_str());
    return 1;
  }
  tulrt::Machine vm;
  module.entry()(&vm);
  Session s{vm};

  TulValue r = s.make("RECT", {TulValue(10), TulValue(20), TulValue(110), TulValue(70)});
  std::printf("RECT(10, 20, 110, 70)          = %s, ok() = %d\n", s.rect(r).c_str(), s.num(r, "ok"));
  TulValue size = s.call(r, "getSize");
  std::printf("  getSize()                    = SIZE%s\n", s.point(size).c_str());
  s.call(r, "setPos", {s.make("POINT", {TulValue(0), TulValue(0)})});
  std::printf("  setPos(POINT(0, 0))          -> %s\n", s.rect(r).c_str());
  s.call(r, "setSize", {s.make("SIZE", {TulValue(30), TulValue(40)})});
  std::printf("  setSize(SIZE(30, 40))        -> %s\n", s.rect(r).c_str());
  std::printf("  the 16 bytes behind ptr()    : ");
  s.bytes(r, 16);

  TulValue p = s.make("POINT", {TulValue(1), TulValue(2)});
  TulValue q = s.make("SIZE", {TulValue(3), TulValue(4)});
  std::printf("POINT(1, 2) + SIZE(3, 4)       = POINT%s\n", s.point(s.call(p, "OP_ADD", {q})).c_str());
  std::printf("SIZE(3, 4) + POINT(1, 2)       = SIZE%s\n", s.point(s.call(q, "OP_ADD", {p})).c_str());
  TulValue big = s.make("POINT", {TulValue(2147483647), TulValue(0)});
  std::printf("POINT(2147483647, 0) + (1, 0)  = %s (32-bit wrap)\n",
              s.point(s.call(big, "OP_ADD", {s.make("POINT", {TulValue(1), TulValue(0)})})).c_str());

  TulValue a = s.make("ACCEL", {TulValue(65), TulValue(1001), TulValue(9)});
  std::printf("ACCEL(65, 1001, 9) bytes       : ");
  s.bytes(a, 6);

  TulValue m = s.make("MSG");
  s.call(m, "setMsgId", {TulValue(0x0111)});
  s.call(m, "setPoint", {TulValue(5), TulValue(-6)});
  std::printf("MSG with WM_COMMAND at (5, -6) : ");
  s.bytes(m, 28);

  TulValue out;
  if (!vm.interp().callMember(out, static_cast<TulObject*>(p), "equals", {TulValue(5)}))
    std::printf("POINT(1, 2).equals(5)          -> error: %s\n",
                vm.interp().lastError().message.c_str());
  return 0;
}

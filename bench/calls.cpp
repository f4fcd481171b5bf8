// Calls into the library: a native method reached by name through the
// host's invokeMember, against a direct C++ call of the same function, and
// against a method written in script reached the same way.
#include "bench/support/host.h"
#include "bench/support/measure.h"
#include "module/classes.h"

namespace {

constexpr double kInvokeTarget = 3.0;
constexpr int kX = 7;

// Seconds per invokeMember(obj, "getX").
double invokeCost(bench::Host& host, const TulValue& obj) {
  TulObject* target = static_cast<TulObject*>(obj);
  return bench::perOp(
      [&](long n) {
        TulValue out;
        for (long i = 0; i < n; ++i) host.interp().invokeMember(out, target, "getX", nullptr);
      },
      1024);
}

// The value both kinds of call give, checked before either is timed.
bool answersX(bench::Host& host, const TulValue& obj) {
  TulValue out;
  return host.interp().invokeMember(out, static_cast<TulObject*>(obj), "getX", nullptr) &&
         static_cast<int>(out) == kX;
}

}  // namespace

int main() {
  bench::Host host("call_classes.tul");
  TulValue native = host.make("POINT", {TulValue(kX), TulValue(2)});
  TulValue script = host.make("ScriptPoint", {TulValue(kX)});
  bench::DirectCall direct(host.vm(), bench::nativeMethod(kPointSpec, "getX"), native, 0);
  const char* name = "invokeMember: native POINT.getX against a direct C++ call";
  if (!direct() || static_cast<int>(direct.result()) != kX || !answersX(host, native) ||
      !answersX(host, script)) {
    bench::failedRow(name, kInvokeTarget, "getX did not answer " + std::to_string(kX));
    return 0;
  }

  const double straight = bench::perOp(
      [&](long n) {
        for (long i = 0; i < n; ++i) direct();
      },
      4096);
  const double invoked = invokeCost(host, native);
  TulClass* point = host.cls("POINT");
  const double lookup = bench::perOp(
      [&](long n) {
        for (long i = 0; i < n; ++i) tulrt::hasMethod(point, "getX");
      },
      4096);
  bench::row(name, invoked / straight, kInvokeTarget,
             bench::micro(invoked) + " us against " + bench::micro(straight) +
                 " us. On top of the call: finding the method by name " +
                 bench::micro(lookup) + " us, the runtime's frame (this and the arguments "
                 "copied onto its value stack, the exception guard, the slots cleared after) " +
                 bench::micro(invoked - straight - lookup) + " us");

  const double scripted = invokeCost(host, script);
  bench::row("invokeMember: native POINT.getX against a script getX", invoked / scripted, -1,
             bench::micro(scripted) + " us for the script method: the engine's own call "
             "frame and evaluation come on top of the same lookup");
  return 0;
}

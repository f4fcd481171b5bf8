// Random calls of every method and static method of every class the library
// registers: random argument counts (too few and too many included), values
// of every kind, objects fresh, constructed, derived and with damaged
// members, window handles of live, destroyed and never-existing windows, and
// calls made from inside message handlers.
//
//   random_calls [--seed N] [--calls N] [--trace]
//
// It passes when nothing crashes (the sanitizers watch), every failed call
// has reported an error, and once the objects are released and the windows
// destroyed, no host object, window, brush, DC, timer or accelerator table is
// left beyond where the run started. The seed comes first in the output; the
// same seed and count replay the same run (--trace prints every call).
#include <windows.h>
#include <win32sim.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "containers/dict_iterator.h"
#include "module/registrar.h"
#include "module/tul2class.h"
#include "runtime/runtime.h"

namespace {

constexpr int kMaxNesting = 2;       // calls made from inside message handlers
constexpr unsigned kPoolSize = 48;   // objects kept at hand
constexpr int kMaxLiveWindows = 24;  // windows the run keeps alive at once
constexpr int kMaxArgs = 12;         // one more than any method takes
constexpr int kNeverAWindow = 0x7FFF1234;

struct Target {
  TulClass* cls;
  std::string name;
  std::vector<std::string> methods;
  std::vector<std::string> statics;
  bool window;  // WinBase or derived: worth giving a window
};

std::int32_t intMember(TulObject* obj, const char* name) {
  int i = obj->getClass()->getMemberIndex(TulString(name));
  if (i < 0 || static_cast<unsigned>(i) >= obj->getMemberData()->size()) return 0;
  return static_cast<int>((*obj->getMemberData())[static_cast<unsigned>(i)]);
}

HWND hwnd(std::int32_t h) {
  return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(static_cast<std::uint32_t>(h)));
}

BOOL CALLBACK collectWindow(HWND h, LPARAM list) {
  reinterpret_cast<std::vector<HWND>*>(list)->push_back(h);
  return TRUE;
}

class Fuzzer {
 public:
  Fuzzer(std::uint32_t seed, bool trace) : rng_(seed), trace_(trace), vm_(new tulrt::Machine) {
    RegisterNativeModule(vm_);
    vm_->interp().clearError();
    addTargets();
    defineMischief();
    // A loop that would wait ends instead: every wait is answered by a quit.
    win32sim::setIdleHook([] { PostQuitMessage(0); });
  }

  // Releases everything as a careful script would at its end: the windows
  // first (their objects delete their brushes at WM_DESTROY), then what the
  // objects still own, then the objects and the machine.
  ~Fuzzer() {
    for (const TulValue& obj : pool_) evict(obj);
    pool_.clear();
    // Also the windows whose objects lost track of them (a second create, a
    // damaged _hwnd): every top-level window of the run, children with them.
    std::vector<HWND> topLevel;
    EnumWindows(collectWindow, reinterpret_cast<LPARAM>(&topLevel));
    for (HWND h : topLevel) DestroyWindow(h);
    MSG msg;
    while (PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
    }
    win32sim::setIdleHook(nullptr);
    delete vm_;
  }

  void addTarget(TulClass* cls, const ClassSpec& table) {
    if (!cls) return;
    Target t{cls, tulrt::className(cls), {}, {}, cls->isSubtypeOf(TulString("WinBase"))};
    for (const MethodRow& m : table.methods) t.methods.emplace_back(m.name);
    for (const MethodRow& m : table.staticMethods) t.statics.emplace_back(m.name);
    targets_.push_back(std::move(t));
  }

  // Every library class, and a script class derived from each.
  void addTargets() {
    for (const ClassSpec* table : registrationOrder()) {
      TulClass* base = vm_->findClass(table->name);
      addTarget(base, *table);
      addTarget(vm_->defineClass((std::string("Sub") + table->name).c_str(), base), *table);
    }
  }

  // Derived classes whose overrides misbehave: handlers that call back into the
  // library, fail or answer at random, a canvas that lies about its address, a
  // window that lies about its handle and children.
  void defineMischief() {
    auto frameOf = [](int argc, ValPtr& sp) {
      ValPtr p = sp;
      p -= argc;
      return p;
    };
    auto answer = [frameOf](int argc, ValPtr& sp, const TulValue& v) {
      ValPtr p = frameOf(argc, sp);
      *p = v;
      sp = p;
      return true;
    };
    auto meddle = [this, answer](TulVirtualMachine* vm, int argc, ValPtr& sp) {
      if (chance(60)) return vm->interpreter()->returnError("handler refused", nullptr);
      if (nesting_ < kMaxNesting && chance(6) && !call(nesting_ + 1)) failed_ = true;
      return answer(argc, sp, TulValue(static_cast<int>(pick(3))));
    };
    TulClass* chatty = vm_->defineClass("Chatty", vm_->findClass("WinBase"));
    auto chattyHandler = [this, chatty, meddle, frameOf, answer](TulVirtualMachine* vm, int argc,
                                                                 ValPtr& sp) {
      if (chance(3)) return meddle(vm, argc, sp);
      ValPtr p = frameOf(argc, sp);
      TulValue self = *ValPtr{p.vec, p.index + 1};
      std::vector<TulValue> args;
      for (int i = 2; i <= argc; ++i) args.push_back(*ValPtr{p.vec, p.index + i});
      TulValue result;
      return vm_->interp().call(result, tulrt::baseClass(chatty), "handleMessage", &self,
                                args.data(), static_cast<int>(args.size())) &&
             answer(argc, sp, result);
    };
    tulrt::addScriptMethod(chatty, "handleMessage", chattyHandler);
    TulClass* fussy = vm_->defineClass("Fussy", vm_->findClass("WinMsgHandler"));
    tulrt::addScriptMethod(fussy, "handleMessage", meddle);
    TulClass* liar = vm_->defineClass("Liar", vm_->findClass("RECT"));
    tulrt::addScriptMethod(liar, "ptr", [this, answer](TulVirtualMachine*, int argc, ValPtr& sp) {
      return answer(argc, sp, number());
    });
    TulClass* odd = vm_->defineClass("Odd", vm_->findClass("WinBase"));
    for (const char* m : {"getHandle", "getChildrenHandles", "getParent", "getClientSize"})
      tulrt::addScriptMethod(odd, m, [this, answer](TulVirtualMachine*, int argc, ValPtr& sp) {
        return answer(argc, sp, value(1));
      });
    const ClassSpec* winBase = nullptr;
    for (const ClassSpec* table : registrationOrder())
      if (std::strcmp(table->name, "WinBase") == 0) winBase = table;
    addTarget(chatty, *winBase);
    addTarget(odd, *winBase);
  }

  TulValue number() {
    static const std::int32_t kInts[] = {0, 1, -1, 2, 5, 10, 100, 1000, 0x7FFF, 0x10000, -100000,
                                         std::numeric_limits<std::int32_t>::max(),
                                         std::numeric_limits<std::int32_t>::min()};
    static const double kDoubles[] = {0.5, -0.0, 3.0, 1e300, -1e300,
                                      std::numeric_limits<double>::quiet_NaN(),
                                      std::numeric_limits<double>::infinity()};
    // Random magnitudes up to 2^16: a size asked for between that and the
    // extremes (which fail at once) would only make the run slow.
    const auto any = static_cast<int>(pick(1u << pick(17)));
    switch (pick(5)) {
      case 0: return TulValue(kInts[pick(sizeof kInts / sizeof kInts[0])]);
      case 1: return TulValue(pick(2) ? any : -any);
      case 2: return TulValue(static_cast<unsigned>(any));
      case 3: return TulValue(kDoubles[pick(sizeof kDoubles / sizeof kDoubles[0])]);
      default: return TulValue(static_cast<float>(kDoubles[pick(5)]));
    }
  }

  TulValue text() {
    switch (pick(5)) {
      case 0: return TulValue(new TulString(""));
      case 1: return TulValue(new TulString(std::string(2000 + pick(3000), 'x').c_str()));
      case 2: return TulValue(new TulString("a\0b|c.d\\e", 9));  // embedded zero
      case 3: return TulValue(new TulString("Text files|*.txt"));
      default: return TulValue(new TulString(pick(2) ? "Tul2Window" : "C:/dir/name.ext"));
    }
  }

  TulValue value(int depth) {
    switch (pick(16)) {
      case 0: return TulValue();
      case 1: {
        TulValue empty;
        empty.dispose();
        return empty;
      }
      case 2: case 3: case 4: return number();
      case 5: return text();
      case 6: {
        TulValue b(new TulBuffer());
        static_cast<TulBuffer*>(b)->setSize(pick(3) ? pick(40) : 6 + pick(3) * 2);
        return b;
      }
      case 7: return TulValue(new TulCharBuffer(pick(16)));
      case 8: {
        TulValue v(new TulVector());
        for (unsigned n = depth < 2 ? pick(5) : 0; n > 0; --n)
          static_cast<TulVector*>(v)->push_back(value(depth + 1));
        return v;
      }
      case 9: {
        TulValue d(new TulDictionary(false));
        if (depth < 2) *(*static_cast<TulDictionary*>(d))["k"] = value(depth + 1);
        return d;
      }
      case 10: return TulValue(targets_[pick(static_cast<std::uint32_t>(targets_.size()))].cls);
      case 11: case 12: return windowHandle();
      case 13: {
        TulValue obj = object();
        return TulValue(static_cast<TulObject*>(obj), true);  // a weak reference
      }
      default: return object();
    }
  }

  TulValue windowHandle() {
    if (windows_.empty() || chance(5)) return TulValue(pick(2) ? kNeverAWindow : 0);
    return TulValue(windows_[pick(static_cast<std::uint32_t>(windows_.size()))]);
  }

  // An object from the pool, or a new one (which may push an old one out).
  TulValue object() {
    if (!pool_.empty() && !chance(8)) {
      TulValue obj = pool_[pick(static_cast<std::uint32_t>(pool_.size()))];
      if (chance(20)) damage(static_cast<TulObject*>(obj));
      return obj;
    }
    TulValue obj = makeObject(targets_[pick(static_cast<std::uint32_t>(targets_.size()))]);
    if (pool_.size() < kPoolSize) {
      pool_.push_back(obj);
    } else {
      TulValue& slot = pool_[pick(kPoolSize)];
      evict(slot);
      slot = obj;
    }
    return obj;
  }

  // Fresh (no constructor run), or constructed with random arguments.
  TulValue makeObject(const Target& t) {
    if (chance(4)) return TulValue(new TulObject(t.cls));
    TulVector args;
    for (std::uint32_t n = pick(4); n > 0; --n) args.push_back(pick(2) ? number() : value(1));
    TulValue out;
    if (!vm_->interp().createObject(out, TulString(t.name.c_str()), &args))
      out = TulValue(new TulObject(t.cls));
    vm_->interp().clearError();
    if (t.window && chance(2)) giveWindow(out);
    return out;
  }

  void giveWindow(const TulValue& obj) {
    static const char* kClasses[] = {"Tul2Window", "Button", "Static", "ScrollBar"};
    int live = 0;
    for (std::int32_t h : windows_) live += IsWindow(hwnd(h)) ? 1 : 0;
    if (live >= kMaxLiveWindows) return;
    TulValue parent = windows_.empty() || chance(2) ? TulValue(0) : windowHandle();
    const int style = static_cast<int>(pick(2) ? WS_POPUP | WS_VISIBLE : WS_OVERLAPPEDWINDOW) |
                      (pick(3) ? 0 : WS_HSCROLL | WS_VSCROLL);
    TulValue result;
    vm_->interp().callMember(result, static_cast<TulObject*>(obj), "create",
                             {TulValue(new TulString(kClasses[pick(4)])), parent,
                              TulValue(static_cast<int>(pick(300))),
                              TulValue(static_cast<int>(pick(300))),
                              TulValue(50 + static_cast<int>(pick(400))),
                              TulValue(50 + static_cast<int>(pick(300))), TulValue(style)});
    vm_->interp().clearError();
    if (std::int32_t h = intMember(static_cast<TulObject*>(obj), "_hwnd")) windows_.push_back(h);
  }

  // Overwrites one data member. What the object owns outside the host (a
  // brush, a table, a paint block) is only forged while there is none, so
  // that the run itself never loses a resource a careful script would free.
  void damage(TulObject* obj) {
    TulVector* members = obj->getMemberData();
    if (!members || members->size() == 0) return;
    const unsigned i = pick(members->size());
    for (const char* owning : {"_backBrush", "_haccel", "_paintStruct"})
      if (obj->getClass()->getMemberIndex(TulString(owning)) == static_cast<int>(i) &&
          static_cast<int>((*members)[i]) != 0)
        return;
    (*members)[i] = value(1);
  }

  // A careful script's last word on an object: its window destroyed, the
  // brush it owns deleted.
  void evict(const TulValue& obj) {
    TulObject* o = static_cast<TulObject*>(obj);
    if (!o || !o->getClass()->isSubtypeOf(TulString("WinBase"))) return;
    if (std::int32_t h = intMember(o, "_hwnd")) DestroyWindow(hwnd(h));
    if (std::int32_t brush = intMember(o, "_backBrush"))
      DeleteObject(reinterpret_cast<HGDIOBJ>(hwnd(brush)));
  }

  bool call(int nesting) {
    const int saved = nesting_;
    nesting_ = nesting;
    const Target& t = targets_[pick(static_cast<std::uint32_t>(targets_.size()))];
    const bool isStatic = !t.statics.empty() && chance(5);
    const std::vector<std::string>& names = isStatic ? t.statics : t.methods;
    const std::string& method = names[pick(static_cast<std::uint32_t>(names.size()))];
    // A new object made just for this call goes with it, as a careful
    // script's would.
    const bool fresh = !chance(12) && chance(3);
    TulValue self = fresh ? makeObject(t) : (chance(11) ? value(1) : object());
    std::vector<TulValue> args;
    for (std::uint32_t n = chance(6) ? pick(kMaxArgs + 1) : pick(5); n > 0; --n)
      args.push_back(value(0));
    ++callNumber_;
    if (trace_) {
      std::printf("%*s%ld %s.%s/%zu\n", nesting * 2, "", callNumber_, t.name.c_str(),
                  method.c_str(), args.size());
      std::fflush(stdout);
    }
    TulValue result;
    const bool ok = vm_->interp().call(result, t.cls, method.c_str(), isStatic ? nullptr : &self,
                                       args.data(), static_cast<int>(args.size()));
    // Every failed call has said why.
    const tulrt::ErrorRecord& e = vm_->interp().lastError();
    const bool passed = ok || (e.set && !e.message.empty());
    if (!passed)
      std::printf("call %ld: %s.%s failed without reporting an error\n", callNumber_,
                  t.name.c_str(), method.c_str());
    vm_->interp().clearError();
    if (fresh) evict(self);  // may run handlers that make calls of their own
    nesting_ = saved;
    return passed;
  }

  // False after a failed check, which has been printed.
  bool run(long calls) {
    for (long i = 0; i < calls && !failed_; ++i) {
      if (chance(50) && !windows_.empty())
        DestroyWindow(hwnd(windows_[pick(static_cast<std::uint32_t>(windows_.size()))]));
      if (!call(0)) return false;
    }
    return !failed_;
  }

 private:
  std::uint32_t pick(std::uint32_t n) { return static_cast<std::uint32_t>(rng_() % n); }
  bool chance(std::uint32_t oneIn) { return pick(oneIn) == 0; }

  std::mt19937 rng_;
  bool trace_;
  tulrt::Machine* vm_;
  std::vector<Target> targets_;
  std::vector<TulValue> pool_;
  std::vector<std::int32_t> windows_;  // handles made in this run, live or dead
  int nesting_ = 0;
  long callNumber_ = 0;
  bool failed_ = false;
};

struct Options {
  std::uint32_t seed = std::random_device()();
  long calls = 10000;
  bool trace = false;
};

// False on an unknown option or one without its value.
bool parse(int argc, char** argv, Options& o) {
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--trace")
      o.trace = true;
    else if (a == "--seed" && i + 1 < argc)
      o.seed = static_cast<std::uint32_t>(std::strtoul(argv[++i], nullptr, 0));
    else if (a == "--calls" && i + 1 < argc)
      o.calls = std::strtol(argv[++i], nullptr, 0);
    else
      return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  if (!parse(argc, argv, o)) {
    std::fprintf(stderr, "usage: random_calls [--seed N] [--calls N] [--trace]\n");
    return 2;
  }
  std::printf("seed %u, %ld calls (replay: random_calls --seed %u --calls %ld)\n", o.seed, o.calls,
              o.seed, o.calls);
  std::fflush(stdout);
  dictIteratorName();  // built once for the process: not a leak
  // Sizes the run asks for at random stay within what a sanitized 32-bit
  // process can hand out; a larger one is the script error "out of memory".
  tulrt::setContainerLimit(std::size_t(32) << 20);
  const long objectsBefore = tulrt::liveObjects();
  const win32sim::Counts before = win32sim::counts();
  bool ok;
  {
    Fuzzer fuzzer(o.seed, o.trace);
    ok = fuzzer.run(o.calls);
  }
  const win32sim::Counts after = win32sim::counts();
  struct Left { const char* what; long before, after; };
  const Left left[] = {
      {"host objects", objectsBefore, tulrt::liveObjects()},
      {"windows", before.windows, after.windows},
      {"brushes", before.brushes, after.brushes},
      {"DCs", before.dcs, after.dcs},
      {"timers", before.timers, after.timers},
      {"accelerator tables", before.acceleratorTables, after.acceleratorTables},
  };
  for (const Left& l : left) {
    if (l.after == l.before) continue;
    std::printf("left behind: %ld %s\n", l.after - l.before, l.what);
    ok = false;
  }
  std::printf("%s (seed %u)\n", ok ? "passed" : "FAILED", o.seed);
  return ok ? 0 : 1;
}

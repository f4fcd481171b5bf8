// Struct: building a structure member by member and reading it back with
// update, per member, against a hand-written C++ packer of the same layout;
// and the allocations update makes (none should be needed: it rewrites
// numbers in place).
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "bench/support/alloc_count.h"
#include "bench/support/host.h"
#include "bench/support/measure.h"
#include "marshal/struct.h"
#include "module/classes.h"

namespace {

// The layout both sides build: eight direct members, no padding.
struct Fields {
  std::int32_t a, b;
  std::int16_t c;
  std::int8_t d;
  double e;
  float f;
  std::int32_t g, h;
};
constexpr unsigned kMembers = 8;
constexpr double kBuildTarget = 30;            // against the hand-written packer
constexpr double kBuildAllocationsTarget = 2;  // a member
constexpr unsigned kImageSize = 31;
constexpr unsigned kOffsets[kMembers] = {0, 4, 8, 10, 11, 19, 23, 27};

template <class T>
void put(unsigned char* image, unsigned offset, T v) {
  std::memcpy(image + offset, &v, sizeof v);
}

template <class T>
void get(const unsigned char* image, unsigned offset, T& v) {
  std::memcpy(&v, image + offset, sizeof v);
}

// The hand-written packer: a fresh image, as Struct makes a fresh buffer.
[[gnu::noinline]] std::vector<unsigned char> pack(const Fields& in) {
  std::vector<unsigned char> image(kImageSize);
  put(image.data(), kOffsets[0], in.a);
  put(image.data(), kOffsets[1], in.b);
  put(image.data(), kOffsets[2], in.c);
  put(image.data(), kOffsets[3], in.d);
  put(image.data(), kOffsets[4], in.e);
  put(image.data(), kOffsets[5], in.f);
  put(image.data(), kOffsets[6], in.g);
  put(image.data(), kOffsets[7], in.h);
  return image;
}

[[gnu::noinline]] void unpack(const unsigned char* image, Fields& out) {
  get(image, kOffsets[0], out.a);
  get(image, kOffsets[1], out.b);
  get(image, kOffsets[2], out.c);
  get(image, kOffsets[3], out.d);
  get(image, kOffsets[4], out.e);
  get(image, kOffsets[5], out.f);
  get(image, kOffsets[6], out.g);
  get(image, kOffsets[7], out.h);
}

TulValue text(const char* s) { return TulValue(new TulString(s)); }

struct AddCall {
  const char* method;
  TulValue name;
  TulValue value;
};

// The members in layout order, names and values made once.
std::vector<AddCall> members() {
  return {{"addInt", text("a"), TulValue(1)},      {"addInt", text("b"), TulValue(2)},
          {"addInt16", text("c"), TulValue(3)},    {"addInt8", text("d"), TulValue(4)},
          {"addDouble", text("e"), TulValue(5.5)}, {"addFloat", text("f"), TulValue(6.5f)},
          {"addInt", text("g"), TulValue(7)},      {"addInt", text("h"), TulValue(8)}};
}

// A Struct of the layout, built through the interpreter as a script builds
// it; nil after a failure.
TulValue build(bench::Host& host, const std::vector<AddCall>& layout) {
  TulValue s;
  if (!host.interp().construct(s, host.cls("Struct"))) return TulValue();
  for (const AddCall& m : layout) {
    TulValue ignored;
    if (!host.interp().callMember(ignored, static_cast<TulObject*>(s), m.method, {m.name, m.value}))
      return TulValue();
  }
  return s;
}

// The bytes of a built Struct equal the packer's.
bool sameImage(bench::Host& host, const TulValue& s, const Fields& fields) {
  TulBuffer* data = static_cast<TulBuffer*>(host.call(s, "getData"));
  const std::vector<unsigned char> packed = pack(fields);
  return data && data->size() == kImageSize &&
         std::memcmp(data->data(), packed.data(), kImageSize) == 0;
}

void buildRow(bench::Host& host, const std::vector<AddCall>& layout, const Fields& fields) {
  const double structBuild = bench::perOp(
      [&](long n) {
        for (long i = 0; i < n; ++i) build(host, layout);
      },
      64);
  const unsigned long before = bench::allocations();
  build(host, layout);
  const double allocs = static_cast<double>(bench::allocations() - before) / kMembers;
  volatile unsigned char sink = 0;
  const double packer = bench::perOp(
      [&](long n) {
        for (long i = 0; i < n; ++i) sink = pack(fields)[kImageSize - 1];
      },
      4096);
  bench::row("Struct: building, per member, against a C++ packer", structBuild / packer,
             kBuildTarget,
             bench::micro(structBuild / kMembers) + " us a member: an interpreter call by "
             "name, a dictionary entry and a four-value record per member, and the structure's "
             "object, dictionary and buffer made and freed once for eight members");
  bench::row("Struct: allocations per member in building", allocs, kBuildAllocationsTarget,
             bench::fixed(allocs, 2) + ": each member's record (its four values inside it) "
             "takes the place of one the last structure released, and so do the "
             "dictionary's two blocks of entries (two places, then six; the keys inside "
             "them), the structure's object, dictionary and buffer, and the buffer's "
             "first room of bytes (a block a released buffer gave back), which the "
             "structure's " + std::to_string(kMembers) + " members share");
}

// Seconds per update through the interpreter, and per update called straight.
struct UpdateCost {
  double invoked;
  double own;
};

UpdateCost updateCost(bench::Host& host, const TulValue& s) {
  TulObject* obj = static_cast<TulObject*>(s);
  bench::DirectCall direct(host.vm(), bench::nativeMethod(kStructSpec, "update"), s, 0);
  UpdateCost cost{};
  cost.invoked = bench::perOp(
      [&](long n) {
        TulValue out;
        for (long i = 0; i < n; ++i) host.interp().invokeMember(out, obj, "update", nullptr);
      },
      256);
  cost.own = bench::perOp(
      [&](long n) {
        for (long i = 0; i < n; ++i) direct();
      },
      256);
  return cost;
}

void updateRow(bench::Host& host, const TulValue& s) {
  const UpdateCost update = updateCost(host, s);
  TulBuffer* data = static_cast<TulBuffer*>(host.call(s, "getData"));
  Fields back{};
  const double unpacker = bench::perOp(
      [&](long n) {
        for (long i = 0; i < n; ++i) unpack(data->data(), back);
      },
      4096);
  bench::row("Struct: update, per member, against a C++ unpacker", update.invoked / unpacker, -1,
             bench::micro(update.invoked / kMembers) + " us a member; of " +
                 bench::micro(update.invoked) + " us an update, the interpreter's call takes " +
                 bench::micro(update.invoked - update.own) +
                 ", update itself walks the member dictionary and each member's record");
}

// Allocations per call of body, over a hundred calls.
double allocationsPerCall(const std::function<void()>& body) {
  constexpr long kCalls = 100;
  const unsigned long before = bench::allocations();
  for (long i = 0; i < kCalls; ++i) body();
  return static_cast<double>(bench::allocations() - before) / kCalls;
}

void allocationRow(bench::Host& host, const TulValue& s) {
  const char* name = "Struct: allocations per update";
  if (!bench::allocationsAreCounted()) {
    bench::failedRow(name, 0, "the allocation counter sees nothing");
    return;
  }
  bench::DirectCall direct(host.vm(), bench::nativeMethod(kStructSpec, "update"), s, 0);
  const double own = allocationsPerCall([&] { direct(); });
  const double invoked = allocationsPerCall([&] {
    TulValue out;
    host.interp().invokeMember(out, static_cast<TulObject*>(s), "update", nullptr);
  });
  bench::row(name, own, 0,
             bench::fixed(own, 1) + " in update itself, " + bench::fixed(invoked, 1) +
                 " with the interpreter's call around it");
}

}  // namespace

int main() {
  bench::Host host;
  const std::vector<AddCall> layout = members();
  const Fields fields{1, 2, 3, 4, 5.5, 6.5f, 7, 8};
  TulValue s = build(host, layout);
  if (s.type() == TulValueType::Nil || !sameImage(host, s, fields)) {
    bench::failedRow("Struct: building", -1, "the Struct's bytes differ from the packer's");
    return 0;
  }
  buildRow(host, layout, fields);
  updateRow(host, s);
  allocationRow(host, s);
  return 0;
}

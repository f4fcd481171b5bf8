// POINT and SIZE: one Win32 POINT (x, y as signed 32-bit integers) in the
// 8-byte buffer `_pt`. SIZE derives from POINT and binds the same native
// methods under its own names, reading the fields as width and height.
// Arithmetic wraps as 32-bit two's complement.
#include <cstring>

#include "module/classes.h"
#include "module/errors.h"
#include "winstruct/image.h"

namespace {

constexpr unsigned kX = 0;
constexpr unsigned kY = 4;

std::int32_t wrapAdd(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) +
                                   static_cast<std::uint32_t>(b));
}

std::int32_t wrapSub(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) -
                                   static_cast<std::uint32_t>(b));
}

bool point_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 2)) return false;
  TulValue* slot = f.member(Member::PointPt);
  if (!slot) return f.fail(err::kInvalidPt);

  if (f.argCount() == 1) {
    if (TulObject* other = objectOfClass(f.arg(0), Name::Point)) {
      // A copy keeps the source's size and bytes, whatever they are.
      TulBuffer* src = bufferMember(other, Member::PointPt, 0);
      if (!src) return f.fail(err::kInvalidMemberData);
      *slot = TulValue(new TulBuffer(*src));
      return f.retSelf();
    }
  }
  std::int32_t x = f.argCount() >= 1 ? static_cast<int>(f.arg(0)) : -1;
  std::int32_t y = f.argCount() == 2 ? static_cast<int>(f.arg(1)) : -1;
  TulBuffer* b = newImage(kPointImage);
  *slot = TulValue(b);
  writeField(b, kX, FieldKind::I32, x);
  writeField(b, kY, FieldKind::I32, y);
  return f.retSelf();
}

// OP_ADD, OP_SUB and equals take one POINT-derived argument; the argument
// is checked before either buffer.
struct PointPair {
  TulBuffer* self;
  TulBuffer* other;
};

bool pointPair(Frame& f, PointPair& out) {
  if (!f.enter(1, 1)) return false;
  TulObject* other = objectOfClass(f.arg(0), Name::Point);
  if (!other) return f.fail(err::kInvalidArgument);
  out.self = bufferMember(f.self(), Member::PointPt, kPointImage.size);
  out.other = bufferMember(other, Member::PointPt, kPointImage.size);
  if (!out.self || !out.other) return f.fail(err::kInvalidPt);
  return true;
}

template <std::int32_t (*Op)(std::int32_t, std::int32_t)>
bool point_arith(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  PointPair p;
  if (!pointPair(f, p)) return false;
  std::int32_t x = Op(readField(p.self, kX, FieldKind::I32),
                      readField(p.other, kX, FieldKind::I32));
  std::int32_t y = Op(readField(p.self, kY, FieldKind::I32),
                      readField(p.other, kY, FieldKind::I32));
  // The result has the class of the left operand.
  return newPointObject(f, f.self()->getClass(), x, y);
}

bool point_equals(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  PointPair p;
  if (!pointPair(f, p)) return false;
  unsigned n = p.self->size();
  bool same = p.other->size() >= n &&
              std::memcmp(p.self->data(), p.other->data(), n) == 0;
  return f.retBool(same);
}

bool size_ok(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulBuffer* b = imageOf(f, kPointImage);
  if (!b) return false;
  return f.retBool(readField(b, kX, FieldKind::I32) > 0 &&
                   readField(b, kY, FieldKind::I32) > 0);
}

constexpr auto point_getX = image_get<kPointImage, kX, FieldKind::I32>;
constexpr auto point_setX = image_set<kPointImage, kX, FieldKind::I32>;
constexpr auto point_getY = image_get<kPointImage, kY, FieldKind::I32>;
constexpr auto point_setY = image_set<kPointImage, kY, FieldKind::I32>;

constexpr MemberRow kPointMembers[] = {{"_pt", Member::PointPt}};

constexpr MethodRow kPointMethods[] = {
    {"POINT", point_new},
    {"getX", point_getX},
    {"setX", point_setX},
    {"getY", point_getY},
    {"setY", point_setY},
    {"OP_ADD", point_arith<wrapAdd>},
    {"OP_SUB", point_arith<wrapSub>},
    {"equals", point_equals},
    {"ptr", image_ptr<kPointImage>},
};

constexpr MethodRow kSizeMethods[] = {
    {"SIZE", point_new},
    {"getW", point_getX},
    {"setW", point_setX},
    {"getH", point_getY},
    {"setH", point_setY},
    {"ok", size_ok},
};

}  // namespace

const ClassSpec kPointSpec = {"POINT", nullptr, kPointMembers, {}, kPointMethods, {}};
// SIZE adds no member of its own: it reaches _pt through POINT's index.
const ClassSpec kSizeSpec = {"SIZE", "POINT", {}, {}, kSizeMethods, {}};

// RECT: one Win32 RECT (left, top, right, bottom as signed 32-bit integers)
// in the 16-byte buffer `_rect`. No invariant binds the edges; `ok` tells
// whether the rectangle is non-empty.
#include <cstring>

#include "module/classes.h"
#include "module/errors.h"
#include "winstruct/image.h"

namespace {

constexpr unsigned kLeft = 0;
constexpr unsigned kTop = 4;
constexpr unsigned kRight = 8;
constexpr unsigned kBottom = 12;
constexpr unsigned kEdges[] = {kLeft, kTop, kRight, kBottom};

std::int32_t field(const TulBuffer* b, unsigned offset) {
  return readField(b, offset, FieldKind::I32);
}

void setField(TulBuffer* b, unsigned offset, std::int32_t v) {
  writeField(b, offset, FieldKind::I32, v);
}

std::int32_t wrapDiff(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) -
                                   static_cast<std::uint32_t>(b));
}

std::int32_t wrapSum(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) +
                                   static_cast<std::uint32_t>(b));
}

bool rect_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 4)) return false;
  TulValue* slot = f.member(Member::RectRect);
  if (!slot) return f.fail(err::kInvalidRect);
  // The new buffer is in place before the arguments are looked at, so a
  // failed copy leaves it (all edges -1) in the object.
  TulBuffer* b = newImage(kRectImage);
  *slot = TulValue(b);
  for (unsigned edge : kEdges) setField(b, edge, -1);

  if (f.argCount() == 1 && objectOfClass(f.arg(0), Name::Rect)) {
    TulBuffer* src = argImage(f.arg(0), Name::Rect, kRectImage);
    if (!src) return f.fail(err::kInvalidMemberData);
    std::memcpy(b->data(), src->data(), kRectImage.size);
    return f.retSelf();
  }
  for (int i = 0; i < f.argCount(); ++i)
    setField(b, kEdges[i], static_cast<int>(f.arg(i)));
  return f.retSelf();
}

// getPos and getSize: the class lookup comes before the buffer fetch.
template <Name Which>
bool rect_getCorner(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulClass* cls = pointClass(f, Which);
  if (!cls) return false;
  TulBuffer* b = imageOf(f, kRectImage);
  if (!b) return false;
  std::int32_t left = field(b, kLeft), top = field(b, kTop);
  if (Which == Name::Point) return newPointObject(f, cls, left, top);
  return newPointObject(f, cls, wrapDiff(field(b, kRight), left),
                        wrapDiff(field(b, kBottom), top));
}

// setPos and setSize: the buffer fetch comes before the argument check.
template <Name Which>
bool rect_setCorner(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulBuffer* b = imageOf(f, kRectImage);
  if (!b) return false;
  TulBuffer* p = argImage(f.arg(0), Which, kPointImage);
  if (!p) return f.fail(err::kInvalidArgumentDot);
  std::int32_t a = readField(p, 0, FieldKind::I32);
  std::int32_t c = readField(p, 4, FieldKind::I32);
  std::int32_t left = field(b, kLeft), top = field(b, kTop);
  if (Which == Name::Point) {
    setField(b, kRight, wrapSum(field(b, kRight), wrapDiff(a, left)));
    setField(b, kBottom, wrapSum(field(b, kBottom), wrapDiff(c, top)));
    setField(b, kLeft, a);
    setField(b, kTop, c);
  } else {
    setField(b, kRight, wrapSum(left, a));
    setField(b, kBottom, wrapSum(top, c));
  }
  return f.retNothing();
}

bool rect_ok(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulBuffer* b = imageOf(f, kRectImage);
  if (!b) return false;
  return f.retBool(field(b, kRight) > field(b, kLeft) &&
                   field(b, kBottom) > field(b, kTop));
}

bool rect_equals(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulObject* other = objectOfClass(f.arg(0), Name::Rect);
  if (!other) return f.fail(err::kInvalidArgument);
  TulBuffer* mine = imageOf(f, kRectImage);
  if (!mine) return false;
  TulBuffer* theirs = bufferMember(other, Member::RectRect, kRectImage.size);
  if (!theirs) return f.fail(err::kInvalidRect);
  return f.retBool(std::memcmp(mine->data(), theirs->data(), kRectImage.size) == 0);
}

template <unsigned Offset>
constexpr auto rect_get = image_get<kRectImage, Offset, FieldKind::I32>;
template <unsigned Offset>
constexpr auto rect_set = image_set<kRectImage, Offset, FieldKind::I32>;

constexpr MemberRow kRectMembers[] = {{"_rect", Member::RectRect}};

constexpr MethodRow kRectMethods[] = {
    {"RECT", rect_new},
    {"getLeft", rect_get<kLeft>},
    {"setLeft", rect_set<kLeft>},
    {"getTop", rect_get<kTop>},
    {"setTop", rect_set<kTop>},
    {"getRight", rect_get<kRight>},
    {"setRight", rect_set<kRight>},
    {"getBottom", rect_get<kBottom>},
    {"setBottom", rect_set<kBottom>},
    {"getPos", rect_getCorner<Name::Point>},
    {"setPos", rect_setCorner<Name::Point>},
    {"getSize", rect_getCorner<Name::Size>},
    {"setSize", rect_setCorner<Name::Size>},
    {"ok", rect_ok},
    {"equals", rect_equals},
    {"ptr", image_ptr<kRectImage>},
};

}  // namespace

const ClassSpec kRectSpec = {"RECT", nullptr, kRectMembers, {}, kRectMethods, {}};

// Field access for the structures of the value classes (see image.h). Fields
// are written byte by byte in little-endian order so the buffers hold the
// real Win32 layouts whatever the host's byte order.
#include "winstruct/image.h"

#include <cstring>

#include "module/errors.h"

const Image kPointImage = {Member::PointPt, 8, err::kInvalidPt};
const Image kRectImage = {Member::RectRect, 16, err::kInvalidRect};
const Image kMsgImage = {Member::MsgMsg, 28, err::kInvalidMsg};
const Image kAccelImage = {Member::AccelAccel, 6, err::kInvalidAccel};

namespace {

unsigned widthOf(FieldKind kind) {
  switch (kind) {
    case FieldKind::I32: return 4;
    case FieldKind::U16: return 2;
    case FieldKind::U8: return 1;
  }
  return 0;
}

}  // namespace

std::int32_t readField(const TulBuffer* b, unsigned offset, FieldKind kind) {
  const unsigned char* p = b->data() + offset;
  std::uint32_t u = 0;
  for (unsigned i = widthOf(kind); i-- > 0;) u = (u << 8) | p[i];
  return static_cast<std::int32_t>(u);
}

void writeField(TulBuffer* b, unsigned offset, FieldKind kind, std::int32_t v) {
  unsigned char* p = b->data() + offset;
  auto u = static_cast<std::uint32_t>(v);
  for (unsigned i = 0; i < widthOf(kind); ++i, u >>= 8)
    p[i] = static_cast<unsigned char>(u & 0xFF);
}

TulBuffer* imageOf(Frame& f, const Image& img) {
  TulBuffer* b = bufferMember(f.self(), img.member, img.size);
  if (!b) f.fail(img.invalid);
  return b;
}

TulBuffer* newImage(const Image& img) {
  auto* b = new TulBuffer(img.size);
  b->setSize(img.size);  // the host fills new bytes with zeros
  return b;
}

TulBuffer* argImage(const TulValue& v, Name cls, const Image& img) {
  return bufferMember(objectOfClass(v, cls), img.member, img.size);
}

int imageAddress(TulBuffer* b) {
  return static_cast<int>(reinterpret_cast<std::uintptr_t>(b->data()));
}

TulClass* pointClass(Frame& f, Name which) {
  TulClass* cls = findClass(f.vm(), nameString(which));
  if (!cls)
    f.fail(which == Name::Size ? err::kSizeClassNotFound : err::kPointClassNotFound);
  return cls;
}

bool newPointObject(Frame& f, TulClass* cls, std::int32_t x, std::int32_t y) {
  TulBuffer* b = newImage(kPointImage);
  TulValue image(b);
  writeField(b, 0, FieldKind::I32, x);
  writeField(b, 4, FieldKind::I32, y);
  TulValue result = newObjectWith(cls, Member::PointPt, image);
  if (result.type() == TulValueType::Nil) return f.fail(err::kInvalidPt);
  return f.ret(result);
}

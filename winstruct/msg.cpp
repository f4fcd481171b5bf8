// MSG: one Win32 MSG of the 32-bit platform (seven 32-bit fields) in the
// 28-byte buffer `_msg`. Every field reads back as a signed integer, whatever
// its Win32 type.
#include "module/classes.h"
#include "module/errors.h"
#include "winstruct/image.h"

namespace {

constexpr unsigned kHwnd = 0;
constexpr unsigned kMessage = 4;
constexpr unsigned kWParam = 8;
constexpr unsigned kLParam = 12;
constexpr unsigned kTime = 16;
constexpr unsigned kPtX = 20;
constexpr unsigned kPtY = 24;

bool msg_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 1)) return false;
  TulValue* slot = f.member(Member::MsgMsg);
  if (!slot) return f.fail(err::kInvalidMsg);
  if (f.argCount() == 0) {
    *slot = TulValue(newImage(kMsgImage));
    return f.retSelf();
  }
  TulBuffer* src = argImage(f.arg(0), Name::Msg, kMsgImage);
  if (!src) return f.fail(err::kMsgExpected);
  *slot = TulValue(new TulBuffer(*src));
  return f.retSelf();
}

bool msg_getPoint(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulBuffer* b = imageOf(f, kMsgImage);
  if (!b) return false;
  TulClass* cls = pointClass(f, Name::Point);
  if (!cls) return false;
  return newPointObject(f, cls, readField(b, kPtX, FieldKind::I32),
                        readField(b, kPtY, FieldKind::I32));
}

bool msg_setPoint(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 2)) return false;
  TulBuffer* b = imageOf(f, kMsgImage);
  if (!b) return false;
  std::int32_t x, y;
  if (f.argCount() == 1) {
    TulBuffer* p = argImage(f.arg(0), Name::Point, kPointImage);
    if (!p) return f.fail(err::kPointExpected);
    x = readField(p, 0, FieldKind::I32);
    y = readField(p, 4, FieldKind::I32);
  } else {
    x = static_cast<int>(f.arg(0));
    y = static_cast<int>(f.arg(1));
  }
  writeField(b, kPtX, FieldKind::I32, x);
  writeField(b, kPtY, FieldKind::I32, y);
  return f.retNothing();
}

template <unsigned Offset>
constexpr auto msg_get = image_get<kMsgImage, Offset, FieldKind::I32>;
template <unsigned Offset>
constexpr auto msg_set = image_set<kMsgImage, Offset, FieldKind::I32>;

constexpr MemberRow kMsgMembers[] = {{"_msg", Member::MsgMsg}};

constexpr MethodRow kMsgMethods[] = {
    {"MSG", msg_new},
    {"getHwnd", msg_get<kHwnd>},
    {"setHwnd", msg_set<kHwnd>},
    {"getMsgId", msg_get<kMessage>},
    {"setMsgId", msg_set<kMessage>},
    {"getWParam", msg_get<kWParam>},
    {"setWParam", msg_set<kWParam>},
    {"getLParam", msg_get<kLParam>},
    {"setLParam", msg_set<kLParam>},
    {"getTime", msg_get<kTime>},
    {"setTime", msg_set<kTime>},
    {"getPoint", msg_getPoint},
    {"setPoint", msg_setPoint},
    {"getX", msg_get<kPtX>},
    {"setX", msg_set<kPtX>},
    {"getY", msg_get<kPtY>},
    {"setY", msg_set<kPtY>},
    {"ptr", image_ptr<kMsgImage>},
};

}  // namespace

const ClassSpec kMsgSpec = {"MSG", nullptr, kMsgMembers, {}, kMsgMethods, {}};

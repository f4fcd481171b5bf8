// ACCEL: one Win32 ACCEL (the flags byte, a gap byte, the key and the
// command as unsigned 16-bit numbers) in the 6-byte buffer `_accel`. The
// constructor takes key, command and flags, which is not the order of the
// fields; no method reads or writes the gap byte.
#include "module/classes.h"
#include "module/errors.h"
#include "winstruct/image.h"

namespace {

constexpr unsigned kFVirt = 0;
constexpr unsigned kKey = 2;
constexpr unsigned kCmd = 4;

bool accel_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 3)) return false;
  TulValue* slot = f.member(Member::AccelAccel);
  if (!slot) return f.fail(err::kInvalidAccel);

  std::int32_t fVirt = 0, key = 0, cmd = 0;
  if (f.argCount() == 1) {
    TulBuffer* src = argImage(f.arg(0), Name::Accel, kAccelImage);
    if (!src) return f.fail(err::kAccelExpected);
    fVirt = readField(src, kFVirt, FieldKind::U8);
    key = readField(src, kKey, FieldKind::U16);
    cmd = readField(src, kCmd, FieldKind::U16);
  } else if (f.argCount() >= 2) {
    key = static_cast<int>(f.arg(0));
    cmd = static_cast<int>(f.arg(1));
    if (f.argCount() == 3) fVirt = static_cast<int>(f.arg(2));
  }
  TulBuffer* b = newImage(kAccelImage);
  *slot = TulValue(b);
  writeField(b, kCmd, FieldKind::U16, cmd);
  writeField(b, kFVirt, FieldKind::U8, fVirt);
  writeField(b, kKey, FieldKind::U16, key);
  return f.retSelf();
}

constexpr MemberRow kAccelMembers[] = {{"_accel", Member::AccelAccel}};

constexpr MethodRow kAccelMethods[] = {
    {"ACCEL", accel_new},
    {"getFVirt", image_get<kAccelImage, kFVirt, FieldKind::U8>},
    {"setFVirt", image_set<kAccelImage, kFVirt, FieldKind::U8>},
    {"getKey", image_get<kAccelImage, kKey, FieldKind::U16>},
    {"setKey", image_set<kAccelImage, kKey, FieldKind::U16>},
    {"getCmd", image_get<kAccelImage, kCmd, FieldKind::U16>},
    {"setCmd", image_set<kAccelImage, kCmd, FieldKind::U16>},
    {"ptr", image_ptr<kAccelImage>},
};

}  // namespace

const ClassSpec kAccelSpec = {"ACCEL", nullptr, kAccelMembers, {}, kAccelMethods, {}};

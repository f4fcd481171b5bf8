// MSG and ACCEL seen from a script: every field touches only its own bytes,
// signedness and truncation as the Win32 layouts give them, copies, and the
// argument errors.
#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class MsgTest : public HostTest {};

TEST_F(MsgTest, EachSetterWritesOnlyItsOwnFourBytes) {
  struct Field { const char* get; const char* set; unsigned offset; };
  const Field fields[] = {
      {"getHwnd", "setHwnd", 0},   {"getMsgId", "setMsgId", 4}, {"getWParam", "setWParam", 8},
      {"getLParam", "setLParam", 12}, {"getTime", "setTime", 16}, {"getX", "setX", 20},
      {"getY", "setY", 24},
  };
  for (const Field& f : fields) {
    TulValue m = make("MSG");
    EXPECT_EQ(bytesOf(m, 28), std::vector<unsigned char>(28, 0));
    call(m, f.set, {TulValue(-2)});  // top bit set: reads back negative
    EXPECT_EQ(callInt(m, f.get), -2) << f.get;
    std::vector<unsigned char> expected(28, 0);
    for (unsigned i = 0; i < 4; ++i) expected[f.offset + i] = i == 0 ? 0xFE : 0xFF;
    EXPECT_EQ(bytesOf(m, 28), expected) << f.set;
  }
}

TEST_F(MsgTest, CopyIsIndependentAndHasItsOwnAddress) {
  TulValue a = make("MSG");
  call(a, "setMsgId", {TulValue(0x111)});
  TulValue b = make("MSG", {a});
  EXPECT_EQ(callInt(b, "getMsgId"), 0x111);
  EXPECT_NE(callInt(a, "ptr"), callInt(b, "ptr"));
  call(b, "setMsgId", {TulValue(5)});
  EXPECT_EQ(callInt(a, "getMsgId"), 0x111);
  EXPECT_EQ(constructError("MSG", {TulValue(5)}), err::kMsgExpected);
  EXPECT_EQ(constructError("MSG", {make("RECT")}), err::kMsgExpected);
  EXPECT_EQ(constructError("MSG", {a, a}), err::kTooMany);
}

TEST_F(MsgTest, PointViewIsACopy) {
  TulValue m = make("MSG");
  call(m, "setPoint", {make("SIZE", {TulValue(3), TulValue(4)})});
  TulValue p = call(m, "getPoint");
  EXPECT_STREQ(classOf(p), "POINT");
  EXPECT_EQ(callInt(p, "getX"), 3);
  call(m, "setPoint", {TulValue(7), TulValue(8)});
  EXPECT_EQ(callInt(p, "getX"), 3);
  EXPECT_EQ(callInt(m, "getX"), 7);
  EXPECT_EQ(callInt(call(m, "getPoint"), "getY"), 8);
  EXPECT_EQ(errorOf(m, "setPoint", {TulValue(1)}), err::kPointExpected);
  EXPECT_EQ(errorOf(m, "setPoint", {TulValue(1), TulValue(2), TulValue(3)}), err::kTooMany);
  setMember(m, "_msg", TulValue(new TulBuffer(27)));
  EXPECT_EQ(errorOf(m, "setPoint", {TulValue(1)}), err::kInvalidMsg);
  EXPECT_EQ(errorOf(m, "getPoint"), err::kInvalidMsg);
}

class AccelTest : public HostTest {
 protected:
  std::vector<int> fields(const TulValue& a) {
    return {callInt(a, "getKey"), callInt(a, "getCmd"), callInt(a, "getFVirt")};
  }
};

TEST_F(AccelTest, ConstructorTakesKeyCommandFlags) {
  struct Case { std::vector<TulValue> args; std::vector<int> keyCmdFlags; };
  const Case cases[] = {
      {{}, {0, 0, 0}},
      {{TulValue(65), TulValue(1001)}, {65, 1001, 0}},
      {{TulValue(65), TulValue(1001), TulValue(9)}, {65, 1001, 9}},
      {{TulValue(65537), TulValue(-1), TulValue(256 + 3)}, {1, 65535, 3}},
  };
  for (const Case& c : cases) EXPECT_EQ(fields(make("ACCEL", c.args)), c.keyCmdFlags);
  TulValue a = make("ACCEL", {TulValue(65), TulValue(1001), TulValue(9)});
  std::vector<unsigned char> bytes = bytesOf(a, 6);
  bytes[1] = 0xAA;  // the gap byte is nobody's
  EXPECT_EQ(bytes, (std::vector<unsigned char>{0x09, 0xAA, 0x41, 0x00, 0xE9, 0x03}));
}

TEST_F(AccelTest, SettersTruncateAndTouchOnlyTheirField) {
  TulValue a = make("ACCEL", {TulValue(1), TulValue(2), TulValue(3)});
  call(a, "setKey", {TulValue(65537)});
  EXPECT_EQ(fields(a), (std::vector<int>{1, 2, 3}));
  call(a, "setFVirt", {TulValue(256)});
  EXPECT_EQ(fields(a), (std::vector<int>{1, 2, 0}));
  call(a, "setCmd", {TulValue(-1)});
  EXPECT_EQ(fields(a), (std::vector<int>{1, 65535, 0}));
}

TEST_F(AccelTest, CopyAndArgumentErrors) {
  TulValue a = make("ACCEL", {TulValue(65), TulValue(1001), TulValue(9)});
  TulValue b = make("ACCEL", {a});
  EXPECT_EQ(fields(b), (std::vector<int>{65, 1001, 9}));
  call(b, "setKey", {TulValue(66)});
  EXPECT_EQ(callInt(a, "getKey"), 65);
  EXPECT_EQ(constructError("ACCEL", {TulValue(5)}), err::kAccelExpected);
  EXPECT_EQ(constructError("ACCEL", {make("RECT")}), err::kAccelExpected);
  EXPECT_EQ(constructError("ACCEL", std::vector<TulValue>(4, TulValue(1))), err::kTooMany);
  setMember(a, "_accel", TulValue());
  EXPECT_EQ(errorOf(a, "getKey"), err::kInvalidAccel);
  EXPECT_EQ(errorOf(a, "setCmd", {TulValue(1)}), err::kInvalidAccel);
}

}  // namespace

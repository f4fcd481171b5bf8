// POINT and SIZE seen from a script: construction, arithmetic with the class
// of the left operand, comparison, the structure behind ptr, and a script
// subclass that overrides an accessor.
#include <cstring>

#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class PointTest : public HostTest {
 protected:
  void expectXY(const TulValue& p, int x, int y) {
    EXPECT_EQ(callInt(p, "getX"), x);
    EXPECT_EQ(callInt(p, "getY"), y);
  }
  void setPt(const TulValue& obj, const TulValue& v) { setMember(obj, "_pt", v); }
};

TEST_F(PointTest, ConstructorForms) {
  struct Case {
    std::vector<TulValue> args;
    int x, y;
  };
  const Case cases[] = {
      {{}, -1, -1},
      {{TulValue(5)}, 5, -1},
      {{TulValue(1), TulValue(2)}, 1, 2},
      {{TulValue(2.9), TulValue(-7.5)}, 2, -7},    // integer conversion
      {{TulValue(new TulString("9"))}, 0, -1},     // a non-number is 0
  };
  for (const Case& c : cases) expectXY(make("POINT", c.args), c.x, c.y);
  EXPECT_EQ(constructError("POINT", {TulValue(1), TulValue(2), TulValue(3)}),
            err::kTooMany);
}

TEST_F(PointTest, CopyConstructionAcrossPointAndSize) {
  TulValue s = make("SIZE", {TulValue(3), TulValue(4)});
  TulValue p = make("POINT", {s});
  EXPECT_STREQ(classOf(p), "POINT");
  expectXY(p, 3, 4);
  EXPECT_EQ(callInt(make("SIZE", {make("POINT", {TulValue(1), TulValue(2)})}), "ok"), 1);
  // The copy has a buffer of its own.
  call(p, "setX", {TulValue(100)});
  EXPECT_EQ(callInt(s, "getW"), 3);
}

TEST_F(PointTest, SizeOkNeedsBothPositive) {
  struct Case { std::vector<TulValue> args; int ok; };
  const Case cases[] = {
      {{}, 0}, {{TulValue(0), TulValue(5)}, 0}, {{TulValue(5), TulValue(-1)}, 0},
      {{TulValue(1), TulValue(1)}, 1}, {{TulValue(-5), TulValue(-5)}, 0},
  };
  for (const Case& c : cases) EXPECT_EQ(callInt(make("SIZE", c.args), "ok"), c.ok);
}

TEST_F(PointTest, ArithmeticKeepsTheClassOfTheLeftOperandAndWraps) {
  TulValue p = make("POINT", {TulValue(1), TulValue(2)});
  TulValue s = make("SIZE", {TulValue(3), TulValue(4)});
  TulValue ps = call(p, "OP_ADD", {s});
  EXPECT_STREQ(classOf(ps), "POINT");
  expectXY(ps, 4, 6);
  TulValue sp = call(s, "OP_ADD", {p});
  EXPECT_STREQ(classOf(sp), "SIZE");
  expectXY(sp, 4, 6);
  expectXY(call(p, "OP_SUB", {make("POINT", {TulValue(5), TulValue(5)})}), -4, -3);
  TulValue big = make("POINT", {TulValue(2147483647), TulValue(0)});
  expectXY(call(big, "OP_ADD", {make("POINT", {TulValue(1), TulValue(0)})}),
           -2147483647 - 1, 0);
  // The operands are unchanged.
  expectXY(p, 1, 2);
}

TEST_F(PointTest, EqualsComparesTheStructures) {
  TulValue p = make("POINT", {TulValue(1), TulValue(2)});
  EXPECT_EQ(callInt(p, "equals", {make("SIZE", {TulValue(1), TulValue(2)})}), 1);
  EXPECT_EQ(callInt(p, "equals", {make("POINT", {TulValue(1), TulValue(3)})}), 0);
  for (const char* m : {"equals", "OP_ADD", "OP_SUB"}) {
    EXPECT_EQ(errorOf(p, m, {TulValue(5)}), err::kInvalidArgument) << m;
    EXPECT_EQ(errorOf(p, m, {make("RECT")}), err::kInvalidArgument) << m;
  }
}

TEST_F(PointTest, BrokenMemberIsReportedNotRead) {
  TulValue p = make("POINT", {TulValue(1), TulValue(2)});
  TulValue other = make("POINT");
  for (const TulValue& bad : {TulValue(7), TulValue(new TulBuffer(4))}) {
    setPt(p, bad);
    for (const char* m : {"getX", "getY", "ptr"}) EXPECT_EQ(errorOf(p, m), err::kInvalidPt) << m;
    EXPECT_EQ(errorOf(p, "setX", {TulValue(1)}), err::kInvalidPt);
    // The argument check comes first, then both buffers.
    EXPECT_EQ(errorOf(p, "OP_ADD", {TulValue(1)}), err::kInvalidArgument);
    EXPECT_EQ(errorOf(p, "OP_ADD", {other}), err::kInvalidPt);
    EXPECT_EQ(errorOf(other, "equals", {p}), err::kInvalidPt);
  }
  setPt(p, TulValue(7));
  EXPECT_EQ(constructError("POINT", {p}), err::kInvalidMemberData);
}

TEST_F(PointTest, PtrIsTheLiveStructure) {
  TulValue p = make("POINT", {TulValue(1), TulValue(2)});
  int addr = callInt(p, "ptr");
  EXPECT_EQ(callInt(p, "ptr"), addr);
  const std::int32_t written[2] = {-30, 40};  // as a system call would
  std::memcpy(reinterpret_cast<void*>(static_cast<std::uintptr_t>(addr)), written, 8);
  expectXY(p, -30, 40);
}

// A class a script derives from POINT: a member of its own, an override of
// getX, and no constructor (POINT's runs).
TEST_F(PointTest, ScriptSubclassOverridesAndInherits) {
  TulClass* mine = vm_->defineClass("MyPoint", cls("POINT"), {"_tag"});
  ASSERT_NE(mine, nullptr);
  tulrt::addScriptMethod(mine, "getX", [](TulVirtualMachine* vm, int argc, ValPtr& sp) {
    auto& in = static_cast<tulrt::Machine*>(vm)->interp();
    ValPtr p = sp;
    p -= argc;
    TulValue base;
    if (!in.callInherited(base, in.machine().findClass("MyPoint"),
                          static_cast<TulObject*>(*ValPtr{p.vec, p.index + 1}), "getX"))
      return false;
    *p = TulValue(static_cast<int>(base) * 10);
    sp = p;
    return true;
  });
  EXPECT_NE(mine->getMemberIndex(TulString("_tag")), mine->getMemberIndex(TulString("_pt")));
  TulValue m = make("MyPoint", {TulValue(2), TulValue(3)});
  EXPECT_EQ(callInt(m, "getX"), 20);
  EXPECT_EQ(callInt(m, "getY"), 3);
  TulValue sum = call(m, "OP_ADD", {make("POINT", {TulValue(1), TulValue(1)})});
  EXPECT_STREQ(classOf(sum), "MyPoint");
  EXPECT_EQ(callInt(sum, "getX"), 30);
}

}  // namespace

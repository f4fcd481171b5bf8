// RECT seen from a script: construction by argument count, the POINT and
// SIZE views of its corner and extent, emptiness, comparison and the errors.
#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class RectTest : public HostTest {
 protected:
  std::vector<int> edges(const TulValue& r) {
    return {callInt(r, "getLeft"), callInt(r, "getTop"), callInt(r, "getRight"),
            callInt(r, "getBottom")};
  }
  TulValue rect(int l, int t, int r, int b) {
    return make("RECT", {TulValue(l), TulValue(t), TulValue(r), TulValue(b)});
  }
  TulValue point(const char* c, int x, int y) { return make(c, {TulValue(x), TulValue(y)}); }
};

TEST_F(RectTest, ConstructorFillsMissingEdgesWithMinusOne) {
  struct Case { std::vector<TulValue> args; std::vector<int> edges; };
  const Case cases[] = {
      {{}, {-1, -1, -1, -1}},
      {{TulValue(5)}, {5, -1, -1, -1}},
      {{TulValue(1), TulValue(2)}, {1, 2, -1, -1}},
      {{TulValue(1), TulValue(2), TulValue(3)}, {1, 2, 3, -1}},
      {{TulValue(1), TulValue(2), TulValue(3), TulValue(4)}, {1, 2, 3, 4}},
  };
  for (const Case& c : cases) EXPECT_EQ(edges(make("RECT", c.args)), c.edges);
  EXPECT_EQ(constructError("RECT", std::vector<TulValue>(5, TulValue(1))), err::kTooMany);
}

TEST_F(RectTest, CopyIsIndependent) {
  TulValue a = rect(1, 2, 3, 4);
  TulValue b = make("RECT", {a});
  call(a, "setLeft", {TulValue(100)});
  call(b, "setBottom", {TulValue(-9)});
  EXPECT_EQ(edges(a), (std::vector<int>{100, 2, 3, 4}));
  EXPECT_EQ(edges(b), (std::vector<int>{1, 2, 3, -9}));
}

TEST_F(RectTest, CopyFromABrokenRectKeepsTheNewBuffer) {
  TulValue bad = rect(1, 2, 3, 4);
  setMember(bad, "_rect", TulValue(new TulBuffer(8)));
  TulValue target = rect(5, 6, 7, 8);
  TulValue out;
  TulValue self = target;
  interp().clearError();
  EXPECT_FALSE(interp().call(out, cls("RECT"), "RECT", &self, &bad, 1));
  EXPECT_EQ(interp().lastError().message, err::kInvalidMemberData);
  EXPECT_EQ(edges(target), (std::vector<int>{-1, -1, -1, -1}));
}

TEST_F(RectTest, OkMeansNonEmpty) {
  struct Case { int l, t, r, b, ok; };
  const Case cases[] = {
      {0, 0, 1, 1, 1}, {0, 0, 0, 5, 0}, {0, 0, 5, 0, 0}, {5, 5, 1, 1, 0}, {-1, -1, -1, -1, 0},
      {-2147483647 - 1, 0, 2147483647, 1, 1},
  };
  for (const Case& c : cases) EXPECT_EQ(callInt(rect(c.l, c.t, c.r, c.b), "ok"), c.ok);
}

TEST_F(RectTest, PositionAndSizeViews) {
  TulValue r = rect(10, 20, 110, 70);
  TulValue before = call(r, "getPos");
  EXPECT_STREQ(classOf(before), "POINT");
  TulValue size = call(r, "getSize");
  EXPECT_STREQ(classOf(size), "SIZE");
  EXPECT_EQ(callInt(size, "getW"), 100);
  EXPECT_EQ(callInt(size, "getH"), 50);

  call(r, "setPos", {point("POINT", 0, 0)});
  EXPECT_EQ(edges(r), (std::vector<int>{0, 0, 100, 50}));
  EXPECT_EQ(callInt(call(r, "getSize"), "getW"), 100);
  // The earlier POINT is a copy.
  EXPECT_EQ(callInt(before, "getX"), 10);
  EXPECT_EQ(callInt(call(r, "getPos"), "getX"), 0);

  TulValue r2 = rect(10, 20, 110, 70);
  call(r2, "setSize", {point("SIZE", 30, 40)});
  EXPECT_EQ(edges(r2), (std::vector<int>{10, 20, 40, 60}));
  // setPos takes any POINT-derived object; setSize only SIZE.
  call(r2, "setPos", {point("SIZE", 1, 2)});
  EXPECT_EQ(edges(r2), (std::vector<int>{1, 2, 31, 42}));
  EXPECT_EQ(errorOf(r2, "setSize", {point("POINT", 1, 1)}), err::kInvalidArgumentDot);
  EXPECT_EQ(errorOf(r2, "setPos", {TulValue(3)}), err::kInvalidArgumentDot);
  EXPECT_EQ(edges(r2), (std::vector<int>{1, 2, 31, 42}));
}

TEST_F(RectTest, EqualsComparesAllFourEdges) {
  TulValue a = rect(1, 2, 3, 4);
  EXPECT_EQ(callInt(a, "equals", {rect(1, 2, 3, 4)}), 1);
  EXPECT_EQ(callInt(a, "equals", {rect(1, 2, 3, 5)}), 0);
  EXPECT_EQ(errorOf(a, "equals", {TulValue(1)}), err::kInvalidArgument);
  EXPECT_EQ(errorOf(a, "equals", {point("POINT", 1, 2)}), err::kInvalidArgument);
}

TEST_F(RectTest, BrokenMemberOrderOfChecks) {
  TulValue r = rect(1, 2, 3, 4);
  setMember(r, "_rect", TulValue(3));
  for (const char* m : {"getLeft", "getBottom", "getSize", "ok", "ptr"})
    EXPECT_EQ(errorOf(r, m), err::kInvalidRect) << m;
  // setPos fetches the buffer before it looks at the argument.
  EXPECT_EQ(errorOf(r, "setPos", {TulValue(3)}), err::kInvalidRect);
  // equals checks the argument first.
  EXPECT_EQ(errorOf(r, "equals", {TulValue(3)}), err::kInvalidArgument);
  EXPECT_EQ(errorOf(r, "equals", {rect(1, 2, 3, 4)}), err::kInvalidRect);
}

TEST_F(RectTest, MissingPointClassIsReportedBeforeTheBuffer) {
  TulValue r = rect(1, 2, 3, 4);
  setMember(r, "_rect", TulValue(3));
  ASSERT_TRUE(vm_->classes().erase(TulString("POINT")));
  EXPECT_EQ(errorOf(r, "getPos"), err::kPointClassNotFound);
  ASSERT_TRUE(vm_->classes().erase(TulString("SIZE")));
  EXPECT_EQ(errorOf(r, "getSize"), err::kSizeClassNotFound);
}

TEST_F(RectTest, PtrIsTheStructureInLittleEndian) {
  TulValue r = rect(1, -1, 0x01020304, 0);
  EXPECT_EQ(bytesOf(r, 16), (std::vector<unsigned char>{1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF,
                                                         4, 3, 2, 1, 0, 0, 0, 0}));
}

}  // namespace

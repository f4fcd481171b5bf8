// Geometry, styles and show state: positions of top-level and child windows,
// client offsets of framed windows, setSize keeping the position, the
// argument forms of setPosition and setSize, style read-modify-write and
// the show state read from the placement.
#include "module/errors.h"
#include "tests/window/window_test.h"

namespace {

class GeometryTest : public WindowTest {
 protected:
  TulValue window(int style, int x, int y, int w, int h, const TulValue& parent = TulValue(0)) {
    TulValue obj = make("WinBase");
    create(obj, {str("Tul2Window"), parent, TulValue(x), TulValue(y), TulValue(w), TulValue(h),
                 TulValue(style)});
    return obj;
  }
  std::pair<int, int> pair(const TulValue& obj, const char* method, const char* a = "getX",
                           const char* b = "getY") {
    TulValue p = call(obj, method);
    return {callInt(p, a), callInt(p, b)};
  }
};

TEST_F(GeometryTest, PositionsOfTopLevelAndChildWindows) {
  TulValue top = window(WS_POPUP, 100, 50, 300, 200);
  EXPECT_EQ(pair(top, "getPosition"), std::make_pair(100, 50));
  EXPECT_STREQ(classOf(call(top, "getPosition")), "POINT");
  EXPECT_STREQ(classOf(call(top, "getSize")), "SIZE");
  EXPECT_EQ(callInt(top, "setPosition", {TulValue(100), TulValue(50)}), 1);
  EXPECT_EQ(pair(top, "getPosition"), std::make_pair(100, 50));

  TulValue child = window(WS_CHILD, 10, 20, 50, 40, top);
  EXPECT_EQ(callInt(child, "getPosX"), 10);
  EXPECT_EQ(callInt(child, "getPosY"), 20);
  call(top, "setPosition", {TulValue(300), TulValue(200)});
  EXPECT_EQ(pair(child, "getPosition"), std::make_pair(10, 20));  // wherever the parent is
  EXPECT_EQ(callInt(child, "setSize", {TulValue(200), TulValue(100)}), 1);
  EXPECT_EQ(pair(child, "getPosition"), std::make_pair(10, 20));
  EXPECT_EQ(pair(child, "getSize", "getW", "getH"), std::make_pair(200, 100));
  EXPECT_EQ(callInt(child, "getWidth"), 200);
  EXPECT_EQ(callInt(child, "getHeight"), 100);
  DestroyWindow(hwndOf(top));
}

TEST_F(GeometryTest, ClientOffsetsFollowTheFrame) {
  TulValue framed = window(WS_OVERLAPPEDWINDOW, 0, 0, 300, 200);
  // Sizing frame 4 on each side, the caption 19 below the top one.
  EXPECT_EQ(pair(framed, "getClientPos"), std::make_pair(4, 23));
  EXPECT_EQ(callInt(framed, "getClientPosX"), 4);
  EXPECT_EQ(callInt(framed, "getClientPosY"), 23);
  EXPECT_EQ(pair(framed, "getClientSize", "getW", "getH"), std::make_pair(292, 173));
  EXPECT_EQ(callInt(framed, "getClientWidth"), 292);
  EXPECT_EQ(callInt(framed, "getClientHeight"), 173);
  EXPECT_LE(callInt(framed, "getClientWidth"), callInt(framed, "getWidth"));
  TulValue bare = window(WS_POPUP, 5, 5, 80, 60);
  EXPECT_EQ(pair(bare, "getClientPos"), std::make_pair(0, 0));
  EXPECT_EQ(pair(bare, "getClientSize", "getW", "getH"), std::make_pair(80, 60));
  DestroyWindow(hwndOf(framed));
  DestroyWindow(hwndOf(bare));
}

TEST_F(GeometryTest, ArgumentFormsOfSetPositionAndSetSize) {
  TulValue w = window(WS_POPUP, 0, 0, 100, 100);
  EXPECT_EQ(callInt(w, "setPosition", {make("SIZE", {TulValue(7), TulValue(8)})}), 1);
  EXPECT_EQ(pair(w, "getPosition"), std::make_pair(7, 8));
  EXPECT_EQ(callInt(w, "setPosition", {make("POINT", {TulValue(9), TulValue(10)}), TulValue(0)}), 1);
  EXPECT_EQ(pair(w, "getPosition"), std::make_pair(9, 10));
  // Overridden getters of a derived point are what counts.
  TulClass* shifted = subclassOf("Shifted", "POINT");
  define(shifted, "getX", [](ScriptCall& c) { c.result = TulValue(40); return true; });
  EXPECT_EQ(callInt(w, "setPosition", {object(shifted, {TulValue(1), TulValue(2)})}), 1);
  EXPECT_EQ(pair(w, "getPosition"), std::make_pair(40, 2));
  TulClass* wide = subclassOf("Wide", "SIZE");
  define(wide, "getW", [](ScriptCall& c) { c.result = TulValue(150); return true; });
  EXPECT_EQ(callInt(w, "setSize", {object(wide, {TulValue(1), TulValue(60)})}), 1);
  EXPECT_EQ(pair(w, "getSize", "getW", "getH"), std::make_pair(150, 60));
  EXPECT_EQ(pair(w, "getPosition"), std::make_pair(40, 2));

  struct Case { const char* method; std::vector<TulValue> args; std::string error; };
  const Case cases[] = {
      {"setSize", {make("POINT")}, "Invalid argument. SIZE expected"},
      {"setPosition", {make("RECT")}, "Invalid argument. POINT expected"},
      {"setPosition", {make("POINT"), TulValue(1), TulValue(2)}, err::kTooMany},
      {"setPosition", {TulValue(5)}, err::kTooFew},
      {"setPosition", {str("x"), TulValue(1)}, "Bad type: expected number, got string"},
      {"setSize", {}, err::kTooFew},
  };
  for (const Case& c : cases) {
    TulValue out;
    interp().clearError();
    EXPECT_FALSE(interp().call(out, cls("WinBase"), c.method, &w, c.args.data(),
                               static_cast<int>(c.args.size())));
    EXPECT_EQ(interp().lastError().message, c.error) << c.method;
  }
  DestroyWindow(hwndOf(w));
}

TEST_F(GeometryTest, WithoutALiveWindowGettersReportAndSettersAnswerZero) {
  TulValue none = make("WinBase");
  TulValue dead = window(WS_POPUP, 0, 0, 10, 10);
  DestroyWindow(hwndOf(dead));
  for (const TulValue& w : {none, dead}) {
    for (const char* getter : {"getPosition", "getSize", "getClientPos", "getClientSize", "getPosX",
                               "getWidth", "getClientPosY", "getClientHeight"})
      EXPECT_EQ(errorOf(w, getter), err::kInvalidWindowHandle) << getter;
    EXPECT_EQ(callInt(w, "setPosition", {TulValue(1), TulValue(2)}), 0);
    EXPECT_EQ(callInt(w, "setSize", {TulValue(1), TulValue(2)}), 0);
  }
  for (const char* m : {"getStyle", "isVisible", "minimize", "show", "hide"})
    EXPECT_EQ(errorOf(none, m), err::kInvalidWindowHandle) << m;
  EXPECT_EQ(errorOf(none, "hasStyle", {str("x")}), "Bad type: expected int, got string");
  EXPECT_EQ(callInt(dead, "isVisible"), 0);  // no placement: no
}

TEST_F(GeometryTest, StylesAreReadModifiedAndWritten) {
  TulValue w = window(WS_POPUP, 0, 0, 50, 50);
  const int base = WS_POPUP | WS_CLIPSIBLINGS;
  EXPECT_EQ(callInt(w, "getStyle"), base);
  EXPECT_EQ(callInt(w, "hasStyle", {TulValue(0)}), 0);
  EXPECT_EQ(callInt(w, "hasStyle", {TulValue(int(WS_BORDER | WS_POPUP))}), 1);
  EXPECT_EQ(callInt(w, "addStyle", {TulValue(int(WS_BORDER))}), 1);
  EXPECT_EQ(callInt(w, "getStyle"), base | WS_BORDER);
  EXPECT_EQ(callInt(w, "removeStyle", {TulValue(int(WS_DLGFRAME))}), 1);  // not set: unchanged
  EXPECT_EQ(callInt(w, "getStyle"), base | WS_BORDER);
  EXPECT_EQ(callInt(w, "removeStyle", {TulValue(int(WS_BORDER))}), 1);
  EXPECT_EQ(callInt(w, "hasStyle", {TulValue(int(WS_BORDER))}), 0);
  // The setters answer whether the previous value was non-zero.
  EXPECT_EQ(callInt(w, "getExtStyle"), 0);
  EXPECT_EQ(callInt(w, "setExtStyle", {TulValue(int(WS_EX_TOOLWINDOW))}), 0);
  EXPECT_EQ(callInt(w, "hasExtStyle", {TulValue(int(WS_EX_TOOLWINDOW))}), 1);
  EXPECT_EQ(callInt(w, "addExtStyle", {TulValue(int(WS_EX_CLIENTEDGE))}), 1);
  EXPECT_EQ(callInt(w, "removeExtStyle", {TulValue(int(WS_EX_TOOLWINDOW))}), 1);
  EXPECT_EQ(callInt(w, "getExtStyle"), WS_EX_CLIENTEDGE);
  DestroyWindow(hwndOf(w));
}

TEST_F(GeometryTest, ShowStateComesFromThePlacement) {
  TulValue w = window(WS_OVERLAPPEDWINDOW, 0, 0, 300, 200);
  EXPECT_EQ(callInt(w, "isVisible"), 1);  // hidden, yet the placement says "normal"
  EXPECT_EQ(callInt(w, "minimize"), 0);   // it was hidden
  EXPECT_EQ(callInt(w, "isMinimized"), 1);
  EXPECT_EQ(callInt(w, "isMaximized"), 0);
  EXPECT_NE(callInt(w, "maximize"), 0);
  EXPECT_EQ(callInt(w, "isMaximized"), 1);
  EXPECT_EQ(callInt(w, "isMinimized"), 0);
  EXPECT_NE(callInt(w, "restore"), 0);
  EXPECT_EQ(callInt(w, "isMaximized") + callInt(w, "isMinimized"), 0);
  EXPECT_NE(callInt(w, "hide"), 0);
  EXPECT_FALSE(IsWindowVisible(hwndOf(w)));
  EXPECT_EQ(callInt(w, "show"), 0);
  EXPECT_TRUE(IsWindowVisible(hwndOf(w)));
  EXPECT_NE(callInt(w, "show", {TulValue(SW_HIDE)}), 0);
  EXPECT_EQ(errorOf(w, "show", {TulValue(1), TulValue(2)}), err::kTooMany);
  DestroyWindow(hwndOf(w));
}

}  // namespace

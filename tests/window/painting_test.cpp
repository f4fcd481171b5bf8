// Text, colours and painting: captions, background brushes (who deletes
// them and when, the client area really painted), the foreground record and
// the paint block.
#include "module/errors.h"
#include "tests/window/window_test.h"

namespace {

class PaintingTest : public WindowTest {
 protected:
  TulValue shown() {
    TulValue w = make("WinBase");
    create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(120),
               TulValue(80), TulValue(int(WS_POPUP | WS_VISIBLE))});
    return w;
  }
  int member(const TulValue& w, const char* name) {
    TulObject* o = static_cast<TulObject*>(w);
    int i = o->getClass()->getMemberIndex(TulString(name));
    return static_cast<int>((*o->getMemberData())[static_cast<unsigned>(i)]);
  }
  static TulValue brushValue(HBRUSH b) { return handleValue(reinterpret_cast<HWND>(b)); }
};

TEST_F(PaintingTest, CaptionsRoundTrip) {
  TulValue w = shown();
  EXPECT_EQ(static_cast<TulString*>(call(w, "getWindowText"))->length(), 0u);
  EXPECT_NE(callInt(w, "setWindowText", {str("abc")}), 0);
  EXPECT_STREQ(static_cast<TulString*>(call(w, "getWindowText"))->c_str(), "abc");
  EXPECT_EQ(errorOf(w, "setWindowText", {TulValue(5)}), "Bad type: expected string, got int");
  // Without a window the system's answers pass through.
  TulValue none = make("WinBase");
  EXPECT_EQ(callInt(none, "setWindowText", {str("x")}), 0);
  EXPECT_EQ(static_cast<TulString*>(call(none, "getWindowText"))->length(), 0u);
  DestroyWindow(hwndOf(w));
}

TEST_F(PaintingTest, ABackgroundColourPaintsAtOnceAndTheBrushesHaveOneOwner) {
  TulValue w = shown();
  HWND h = hwndOf(w);
  UpdateWindow(h);
  const int brushes = win32sim::counts().brushes;
  EXPECT_EQ(callInt(w, "setBackgroundColor", {TulValue(0x0000FF)}), 1);
  EXPECT_EQ(win32sim::pixel(h, 60, 40), RGB(255, 0, 0));
  EXPECT_EQ(member(w, "_backColor"), 0x0000FF);
  EXPECT_EQ(win32sim::counts().brushes, brushes + 1);
  for (int bad : {0x01000000, -1}) EXPECT_EQ(callInt(w, "setBackgroundColor", {TulValue(bad)}), 0);
  EXPECT_EQ(member(w, "_backColor"), 0x0000FF);
  EXPECT_EQ(win32sim::counts().brushes, brushes + 1);
  // A new brush replaces the old one, which goes; the same one twice stays.
  HBRUSH old = static_cast<HBRUSH>(reinterpret_cast<void*>(static_cast<std::uintptr_t>(
      static_cast<unsigned>(member(w, "_backBrush")))));
  HBRUSH green = CreateSolidBrush(RGB(0, 255, 0));
  EXPECT_EQ(callInt(w, "setBackgroundBrush", {brushValue(green)}), 1);
  EXPECT_FALSE(DeleteObject(old));
  EXPECT_EQ(win32sim::pixel(h, 60, 40), RGB(0, 255, 0));
  EXPECT_EQ(callInt(w, "setBackgroundBrush", {brushValue(green)}), 1);
  EXPECT_EQ(callInt(w, "setBackgroundBrush", {TulValue(0)}), 0);
  EXPECT_EQ(member(w, "_backBrush"), static_cast<int>(handleValue(reinterpret_cast<HWND>(green))));
  EXPECT_EQ(callInt(w, "setForegroundColor", {TulValue(0x00FF00)}), 1);
  EXPECT_EQ(callInt(w, "setForegroundColor", {TulValue(-1)}), 0);
  EXPECT_EQ(member(w, "_foreColor"), 0x00FF00);
  DestroyWindow(h);
  EXPECT_EQ(member(w, "_backBrush"), 0);
  EXPECT_EQ(win32sim::counts().brushes, brushes);
}

TEST_F(PaintingTest, AnOverrideDecidesAboutTheBrushOfAColour) {
  TulClass* choosy = subclassOf("Choosy");
  int answer = 0;
  define(choosy, "setBackgroundBrush", [&](ScriptCall& c) {
    if (answer < 0) return interp().returnError("no brushes here", nullptr);
    c.result = TulValue(answer);
    return true;
  });
  TulValue w = object(choosy);
  const int brushes = win32sim::counts().brushes;
  EXPECT_EQ(callInt(w, "setBackgroundColor", {TulValue(0x123456)}), 0);
  EXPECT_EQ(member(w, "_backColor"), -1);
  answer = -1;
  EXPECT_EQ(errorOf(w, "setBackgroundColor", {TulValue(0x123456)}), "no brushes here");
  EXPECT_EQ(win32sim::counts().brushes, brushes);  // both refused brushes deleted
  EXPECT_EQ(errorOf(w, "setBackgroundColor", {str("red")}), "Bad type: expected int, got string");
  EXPECT_EQ(errorOf(make("WinBase"), "setBackgroundBrush", {str("b")}),
            "Bad type: expected handle, got string");
}

TEST_F(PaintingTest, ThePaintBlockIsAllocatedOnceAndReused) {
  TulValue w = shown();
  EXPECT_EQ(callInt(w, "endPaint"), 0);  // before any beginPaint: the system is not asked
  EXPECT_EQ(member(w, "_paintStruct"), 0);
  InvalidateRect(hwndOf(w), nullptr, TRUE);
  EXPECT_NE(callInt(w, "beginPaint"), 0);
  const int block = member(w, "_paintStruct");
  ASSERT_NE(block, 0);
  const auto* ps = reinterpret_cast<const PAINTSTRUCT*>(static_cast<std::uintptr_t>(static_cast<unsigned>(block)));
  EXPECT_EQ(ps->rcPaint.right, 120);
  EXPECT_EQ(ps->rcPaint.bottom, 80);
  EXPECT_NE(callInt(w, "endPaint"), 0);
  EXPECT_NE(callInt(w, "beginPaint"), 0);
  EXPECT_EQ(member(w, "_paintStruct"), block);
  EXPECT_NE(callInt(w, "endPaint"), 0);
  TulValue none = make("WinBase");
  EXPECT_EQ(errorOf(none, "beginPaint"), err::kInvalidWindowHandle);
  EXPECT_EQ(errorOf(none, "endPaint"), err::kInvalidWindowHandle);
  DestroyWindow(hwndOf(w));
}

}  // namespace

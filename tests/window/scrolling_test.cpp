// The virtual canvas: turning it on and off, clamping both ways (a narrow
// canvas too), the scroll bars' range and position, the choice of bars in
// mode 4, line and page requests, WM_SIZE corrections and fitting the
// canvas to the children with a margin.
#include "module/errors.h"
#include "tests/window/window_test.h"

namespace {

class ScrollingTest : public WindowTest {
 protected:
  // A shown pop-up whose client area is 400 x 300 (with both bars, when asked).
  TulValue canvasWindow(bool bars = false) {
    TulValue w = make("WinBase");
    const int extra = bars ? 17 : 0;
    create(w, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(400 + extra),
               TulValue(300 + extra),
               TulValue(int(WS_POPUP | WS_VISIBLE | (bars ? WS_HSCROLL | WS_VSCROLL : 0)))});
    return w;
  }
  RECT canvas(const TulValue& w) {
    TulObject* o = static_cast<TulObject*>(w);
    int i = o->getClass()->getMemberIndex(TulString("_virtualRect"));
    TulValue r = (*o->getMemberData())[static_cast<unsigned>(i)];
    return RECT{callInt(r, "getLeft"), callInt(r, "getTop"), callInt(r, "getRight"),
                callInt(r, "getBottom")};
  }
  void setCanvas(const TulValue& w, RECT r) {
    TulObject* o = static_cast<TulObject*>(w);
    int i = o->getClass()->getMemberIndex(TulString("_virtualRect"));
    TulValue rect = (*o->getMemberData())[static_cast<unsigned>(i)];
    call(rect, "RECT", {TulValue(int(r.left)), TulValue(int(r.top)), TulValue(int(r.right)),
                        TulValue(int(r.bottom))});
  }
  static bool same(RECT a, RECT b) { return EqualRect(&a, &b) != 0; }
  int scroll(const TulValue& w, const char* method, int amount) {
    return callInt(w, method, {TulValue(amount)});
  }
  static bool hasStyle(const TulValue& w, DWORD bits) {
    return (static_cast<DWORD>(GetWindowLongA(hwndOf(w), GWL_STYLE)) & bits) == bits;
  }
};

#define EXPECT_CANVAS(w, l, t, r, b) \
  EXPECT_TRUE(same(canvas(w), RECT{l, t, r, b})) << "canvas is " << canvas(w).left << "," \
      << canvas(w).top << "," << canvas(w).right << "," << canvas(w).bottom

TEST_F(ScrollingTest, OffByDefaultThenTheClientAreaAtTheOrigin) {
  TulValue w = canvasWindow();
  EXPECT_EQ(scroll(w, "scrollHorizontal", 50), 0);
  EXPECT_EQ(callInt(call(w, "getVirtualSize"), "getW"), 0);
  EXPECT_EQ(callInt(call(w, "getVirtualOrigin"), "getX"), -1);
  EXPECT_EQ(callInt(w, "setVirtualSize", {TulValue(5), TulValue(5)}), 0);
  EXPECT_EQ(callInt(w, "fitVirtualSizeToContents"), 0);
  EXPECT_EQ(callInt(w, "enableVirtualSize", {TulValue(1)}), 1);
  EXPECT_CANVAS(w, 0, 0, 400, 300);
  setCanvas(w, RECT{-5, 0, 700, 300});
  EXPECT_EQ(callInt(w, "enableVirtualSize", {TulValue(7)}), 1);  // already on: unchanged
  EXPECT_CANVAS(w, -5, 0, 700, 300);
  EXPECT_EQ(callInt(w, "enableVirtualSize", {TulValue(0)}), 1);
  EXPECT_CANVAS(w, 0, 0, 400, 300);
  EXPECT_EQ(callInt(make("WinBase"), "enableVirtualSize", {TulValue(1)}), 0);

  // Off, applyScrollBars hides both bars.
  TulValue bars = canvasWindow(true);
  call(bars, "applyScrollBars");
  EXPECT_FALSE(hasStyle(bars, WS_HSCROLL));
  EXPECT_FALSE(hasStyle(bars, WS_VSCROLL));
  DestroyWindow(hwndOf(w));
  DestroyWindow(hwndOf(bars));
}

TEST_F(ScrollingTest, ScrollingIsClampedAgainstBothEdges) {
  TulValue w = canvasWindow();
  call(w, "enableVirtualSize", {TulValue(1)});
  EXPECT_EQ(callInt(w, "setVirtualSize", {make("SIZE", {TulValue(1000), TulValue(800)})}), 1);
  EXPECT_CANVAS(w, 0, 0, 1000, 800);
  EXPECT_EQ(scroll(w, "scrollHorizontal", -700), -600);
  EXPECT_CANVAS(w, -600, 0, 400, 800);
  EXPECT_EQ(scroll(w, "scrollHorizontal", -10), 0);
  EXPECT_EQ(scroll(w, "scrollHorizontal", 1000), 600);
  EXPECT_EQ(scroll(w, "scrollVertical", -900), -500);
  EXPECT_CANVAS(w, 0, -500, 1000, 300);
  // A canvas narrower than the client area is pushed against the right edge.
  call(w, "scrollVertical", {TulValue(500)});
  call(w, "setVirtualSize", {TulValue(300), TulValue(300)});
  EXPECT_EQ(scroll(w, "scrollHorizontal", -10), 100);
  EXPECT_CANVAS(w, 100, 0, 400, 300);
  EXPECT_EQ(scroll(w, "scrollHorizontal", 5), -100);
  EXPECT_CANVAS(w, 0, 0, 300, 300);
  EXPECT_EQ(callInt(call(w, "getVirtualOrigin"), "getX"), 0);
  EXPECT_EQ(errorOf(w, "setVirtualSize", {TulValue(3)}), "Invalid argument. SIZE expected.");
  DestroyWindow(hwndOf(w));
}

TEST_F(ScrollingTest, TheBarsShowTheCanvas) {
  TulValue w = canvasWindow(true);
  call(w, "enableVirtualSize", {TulValue(1)});
  EXPECT_EQ(callInt(w, "setScrollBarMode", {TulValue(3)}), 1);
  EXPECT_TRUE(hasStyle(w, WS_HSCROLL | WS_VSCROLL));
  call(w, "setVirtualSize", {TulValue(1000), TulValue(800)});
  call(w, "scrollHorizontal", {TulValue(-300)});
  SCROLLINFO si = {sizeof si, SIF_ALL, 0, 0, 0, 0, 0};
  ASSERT_TRUE(GetScrollInfo(hwndOf(w), SB_HORZ, &si));
  EXPECT_EQ(si.nMax, 1000);
  EXPECT_EQ(si.nPage, 400u);
  EXPECT_EQ(si.nPos, 500);  // 300 of 600 scrollable pixels, scaled to 1000
  // Line and page requests move by a step and by the client size.
  call(w, "setScrollSteps", {TulValue(5)});
  EXPECT_EQ(static_cast<int>(*tulrt::findStatic(cls("WinBase"), "_maxID")), 0);
  SendMessageA(hwndOf(w), WM_HSCROLL, SB_LINERIGHT, 0);
  EXPECT_CANVAS(w, -305, 0, 695, 800);
  SendMessageA(hwndOf(w), WM_VSCROLL, SB_LINEDOWN, 0);  // _sy went back to 10
  EXPECT_CANVAS(w, -305, -10, 695, 790);
  SendMessageA(hwndOf(w), WM_HSCROLL, SB_PAGELEFT, 0);
  EXPECT_CANVAS(w, 0, -10, 1000, 790);
  SendMessageA(hwndOf(w), WM_VSCROLL, SB_PAGEDOWN, 0);
  EXPECT_CANVAS(w, 0, -310, 1000, 490);
  SendMessageA(hwndOf(w), WM_VSCROLL, SB_TOP, 0);  // not a request the canvas follows
  EXPECT_CANVAS(w, 0, -310, 1000, 490);
  DestroyWindow(hwndOf(w));
}

TEST_F(ScrollingTest, ModeFourShowsEachBarWhenNeeded) {
  TulValue w = canvasWindow(true);
  call(w, "enableVirtualSize", {TulValue(1)});
  call(w, "setScrollBarMode", {TulValue(4)});
  call(w, "setVirtualSize", {TulValue(1000), TulValue(200)});
  EXPECT_TRUE(hasStyle(w, WS_HSCROLL));
  EXPECT_FALSE(hasStyle(w, WS_VSCROLL));
  setCanvas(w, RECT{-50, 0, 250, 200});  // narrow, but scrolled from the origin
  call(w, "applyScrollBars");
  EXPECT_TRUE(hasStyle(w, WS_HSCROLL));
  setCanvas(w, RECT{0, 0, 100, 100});
  call(w, "applyScrollBars");
  EXPECT_FALSE(hasStyle(w, WS_HSCROLL) || hasStyle(w, WS_VSCROLL));
  // An unknown mode shows and hides nothing while the canvas is on.
  EXPECT_EQ(callInt(w, "setScrollBarMode", {TulValue(-1)}), 1);
  EXPECT_EQ(callInt(w, "getScrollBarMode"), -1);
  ShowScrollBar(hwndOf(w), SB_VERT, TRUE);
  call(w, "applyScrollBars");
  EXPECT_TRUE(hasStyle(w, WS_VSCROLL));
  DestroyWindow(hwndOf(w));
}

TEST_F(ScrollingTest, WmSizeKeepsTheCanvasInTheGrownClientArea) {
  TulValue w = canvasWindow();
  HWND h = hwndOf(w);
  call(w, "enableVirtualSize", {TulValue(1)});
  call(w, "setVirtualSize", {TulValue(1000), TulValue(800)});
  call(w, "scrollHorizontal", {TulValue(-500)});
  EXPECT_CANVAS(w, -500, 0, 500, 800);
  MoveWindow(h, 0, 0, 600, 300, TRUE);
  EXPECT_CANVAS(w, -400, 0, 600, 800);
  MoveWindow(h, 0, 0, 400, 300, TRUE);  // smaller: nothing moves
  EXPECT_CANVAS(w, -400, 0, 600, 800);
  call(w, "scrollHorizontal", {TulValue(-100)});
  MoveWindow(h, 0, 0, 1200, 300, TRUE);  // the whole canvas fits: back to the origin
  EXPECT_CANVAS(w, 0, 0, 1000, 800);
  // A damaged canvas fails the message's handling.
  setMember(w, "_virtualRect", TulValue(3));
  EXPECT_EQ(errorOf(w, "handleMessage", {handleValue(h), TulValue(int(WM_SIZE)), TulValue(0),
                                         TulValue(int(MAKELPARAM(50, 50)))}),
            "Invalid object structure. RECT expected");
  TulValue broken = make("RECT");
  setMember(broken, "_rect", TulValue(4));
  setMember(w, "_virtualRect", broken);
  EXPECT_EQ(errorOf(w, "handleMessage", {handleValue(h), TulValue(int(WM_SIZE)), TulValue(0),
                                         TulValue(int(MAKELPARAM(50, 50)))}),
            "Invalid data (_virtualRect)");
  EXPECT_EQ(errorOf(w, "scrollHorizontal", {TulValue(1)}), "Invalid data (_rect)");  // its ptr
  setMember(w, "_virtualRect", TulValue());
  EXPECT_EQ(errorOf(w, "scrollHorizontal", {TulValue(1)}), "Object not initialized.");
  EXPECT_EQ(errorOf(w, "getVirtualSize"), "Object not initialized.");
  DestroyWindow(h);
}

TEST_F(ScrollingTest, FittingCoversTheChildrenAndTheMargin) {
  TulValue w = canvasWindow();
  call(w, "enableVirtualSize", {TulValue(1)});
  EXPECT_EQ(callInt(w, "fitVirtualSizeToContents", {TulValue(20)}), 0);  // no children
  EXPECT_CANVAS(w, 0, 0, 400, 300);
  for (POINT at : {POINT{10, 10}, POINT{600, 400}})
    CreateWindowExA(0, "Static", "", WS_CHILD | WS_VISIBLE, at.x, at.y, 100, 100, hwndOf(w),
                    nullptr, nullptr, nullptr);
  call(w, "scrollVertical", {TulValue(-40)});  // fitting scrolls back to the origin first
  EXPECT_EQ(callInt(w, "fitVirtualSizeToContents", {TulValue(20)}), 1);
  EXPECT_CANVAS(w, 0, 0, 720, 520);
  EXPECT_EQ(callInt(w, "fitVirtualSizeToContents", {TulValue(-5)}), 1);  // no negative margin
  EXPECT_CANVAS(w, 0, 0, 700, 500);

  TulClass* odd = subclassOf("Odd");
  define(odd, "getChildrenHandles", [](ScriptCall& c) { c.result = TulValue(3); return true; });
  TulValue o = object(odd);
  create(o, {str("Tul2Window"), TulValue(0), TulValue(0), TulValue(0), TulValue(10), TulValue(10),
             TulValue(int(WS_POPUP))});
  call(o, "enableVirtualSize", {TulValue(1)});
  EXPECT_EQ(errorOf(o, "fitVirtualSizeToContents"),
            "getChildrenHandles must give a vector of window handles");
  DestroyWindow(hwndOf(o));
  DestroyWindow(hwndOf(w));
}

}  // namespace

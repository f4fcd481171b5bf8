// Fonts: what a DC reports about its font is what it draws -- the opaque box
// of drawn text is its extent, bold is the glyph overstruck one pixel to the
// right, a prefix is an underline.
#include "tests/win32/layer_test.h"

#include <algorithm>

namespace {

using layertest::LayerTest;

class Fonts : public LayerTest {};

constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kInk = RGB(255, 0, 0);
constexpr COLORREF kPaper = RGB(0, 0, 255);

HFONT makeFont(int height, int weight) {
  return CreateFontA(height, 0, 0, 0, weight, 0, 0, 0, ANSI_CHARSET, 0, 0, 0, 0, "");
}

// The smallest rectangle holding every pixel of the client area that is not
// white, or an empty one.
RECT drawnBox(HWND h, COLORREF only = CLR_INVALID) {
  RECT client, box = {10000, 10000, 0, 0};
  GetClientRect(h, &client);
  for (int y = 0; y < client.bottom; ++y)
    for (int x = 0; x < client.right; ++x) {
      COLORREF c = win32sim::pixel(h, x, y);
      if (c == kWhite || (only != CLR_INVALID && c != only)) continue;
      box = RECT{std::min<LONG>(box.left, x), std::min<LONG>(box.top, y),
                 std::max<LONG>(box.right, x + 1), std::max<LONG>(box.bottom, y + 1)};
    }
  return box.right ? box : RECT{0, 0, 0, 0};
}

void clear(HWND h) {
  HDC dc = GetDC(h);
  RECT r;
  GetClientRect(h, &r);
  FillRect(dc, &r, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
  ReleaseDC(h, dc);
}

TEST_F(Fonts, BoldIsTheGlyphOverstruckOnePixelToTheRight) {
  HWND h = layertest::createMain(WS_POPUP | WS_VISIBLE);
  layertest::pumpAll();
  for (int height : {0, 20}) {
    HFONT regular = makeFont(height, FW_NORMAL), bold = makeFont(height, FW_BOLD);
    HDC dc = GetDC(h);
    SetBkMode(dc, TRANSPARENT);
    SelectObject(dc, regular);
    TextOutA(dc, 0, 0, "W", 1);
    SelectObject(dc, bold);
    TextOutA(dc, 0, 40, "W", 1);
    SelectObject(dc, GetStockObject(SYSTEM_FONT));
    ReleaseDC(h, dc);
    for (int y = 0; y < 40; ++y)
      for (int x = 0; x < 20; ++x) {
        bool ink = win32sim::pixel(h, x, y) != kWhite;
        bool left = x > 0 && win32sim::pixel(h, x - 1, y) != kWhite;
        ASSERT_EQ(win32sim::pixel(h, x, 40 + y) != kWhite, ink || left)
            << "height " << height << " at " << x << "," << y;
      }
    DeleteObject(regular);
    DeleteObject(bold);
    clear(h);
  }
  DestroyWindow(h);
}

TEST_F(Fonts, DrawTextAndExtTextOutFollowTheFont) {
  HWND h = layertest::createMain(WS_POPUP | WS_VISIBLE);
  layertest::pumpAll();
  HFONT big = makeFont(-20, FW_NORMAL);
  HDC dc = GetDC(h);
  SelectObject(dc, big);
  RECT calc = {5, 5, 5, 5};
  EXPECT_EQ(DrawTextA(dc, "ab\nwxyz", -1, &calc, DT_CALCRECT), 40);
  EXPECT_EQ(calc.right, 5 + 4 * 12);
  EXPECT_EQ(calc.bottom, 5 + 40);

  // The opaque rectangle is filled, the text clipped to it, and each
  // character stands where the caller's advances put it.
  SetBkMode(dc, TRANSPARENT);
  SetBkColor(dc, kPaper);
  SetTextColor(dc, kInk);
  RECT r = {10, 10, 60, 25};
  const INT dx[] = {30, 30};
  EXPECT_TRUE(ExtTextOutA(dc, 10, 10, ETO_OPAQUE | ETO_CLIPPED, &r, "II", 2, dx));
  EXPECT_FALSE(ExtTextOutA(dc, 0, 0, 0, nullptr, nullptr, 1, nullptr));
  SelectObject(dc, GetStockObject(SYSTEM_FONT));
  ReleaseDC(h, dc);
  DeleteObject(big);
  RECT all = drawnBox(h), ink = drawnBox(h, kInk);
  EXPECT_TRUE(EqualRect(&all, &r)) << all.left << "," << all.top << "-" << all.right << "," << all.bottom;
  EXPECT_EQ(ink.bottom, 25) << "clipped at the rectangle";
  EXPECT_GE(ink.right, 40) << "the second I drawn 30 pixels on";
  EXPECT_LT(ink.left, 40);
  DestroyWindow(h);
}

// "&" marks the next character (underlined one pixel below the baseline),
// "&&" is an ampersand, and DT_NOPREFIX shows the text as it is.
TEST_F(Fonts, DrawTextShowsPrefixesAsUnderlines) {
  struct Case {
    const char* text;
    UINT format;
    LONG shownChars;
    int underlined;  // the underlined character, -1 for none
  };
  const Case cases[] = {
      {"&Add", 0, 3, 0},           {"Th&ird", 0, 5, 2},         {"A && B", 0, 5, -1},
      {"&&&x", 0, 2, 1},           {"end&", 0, 3, -1},          {"&Add", DT_NOPREFIX, 4, -1},
      {"&Add", DT_HIDEPREFIX, 3, -1},
  };
  HWND h = layertest::createMain(WS_POPUP | WS_VISIBLE);
  layertest::pumpAll();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    clear(h);
    HDC dc = GetDC(h);
    RECT r = {0, 0, 0, 0};
    DrawTextA(dc, c.text, -1, &r, c.format | DT_CALCRECT);
    EXPECT_EQ(r.right, c.shownChars * 6);
    r = RECT{0, 0, 200, 20};
    DrawTextA(dc, c.text, -1, &r, c.format | DT_SINGLELINE);
    ReleaseDC(h, dc);
    int inkAt = -1;  // the first inked cell of the underline row
    for (int x = 0; x < 200 && inkAt < 0; ++x)
      if (win32sim::pixel(h, x, 9) != kWhite) inkAt = x / 6;
    EXPECT_EQ(inkAt, c.underlined);
  }
  DestroyWindow(h);
}

}  // namespace

// Pixels: what erasing, GDI drawing and scrolling leave in a window, how
// clipping keeps windows apart, how the screen is composed, where the caret
// shows, and that a screenshot is a PNG that decodes to those pixels.
#include "tests/win32/layer_test.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#define STBI_ONLY_PNG
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace {

using layertest::LayerTest;

class Screen : public LayerTest {};

constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kBlue = RGB(0, 0, 255);

// A window whose WM_PAINT fills its client area with a brush of one colour.
HWND paintedWindow(DWORD style, int x, int y, int w, int h, HWND parent, COLORREF* color) {
  layertest::messageHook() = [](HWND hwnd, UINT msg, WPARAM, LPARAM, LRESULT* answer) {
    if (msg != WM_PAINT) return false;
    auto* c = reinterpret_cast<COLORREF*>(GetWindowLongA(hwnd, GWL_USERDATA));
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(hwnd, &ps);
    if (c) {
      HBRUSH b = CreateSolidBrush(*c);
      RECT r;
      GetClientRect(hwnd, &r);
      FillRect(dc, &r, b);
      DeleteObject(b);
    }
    EndPaint(hwnd, &ps);
    *answer = 0;
    return true;
  };
  HWND hwnd = CreateWindowExA(0, layertest::kClass, "w", style, x, y, w, h, parent, NULL, NULL, NULL);
  SetWindowLongA(hwnd, GWL_USERDATA, reinterpret_cast<LONG>(color));
  InvalidateRect(hwnd, NULL, TRUE);
  UpdateWindow(hwnd);
  return hwnd;
}

TEST_F(Screen, EraseUsesTheClassBrushAndDrawingFollowsTheDcAndItsMappingMode) {
  HWND h = layertest::createMain();
  layertest::pumpAll();
  EXPECT_EQ(win32sim::pixel(h, 5, 5), kWhite) << "COLOR_WINDOW + 1 background";
  HDC dc = GetDC(h);
  HBRUSH red = CreateSolidBrush(kRed);
  RECT r = {10, 10, 20, 15};
  FillRect(dc, &r, red);
  EXPECT_EQ(win32sim::pixel(h, 10, 10), kRed);
  EXPECT_EQ(win32sim::pixel(h, 19, 14), kRed);
  EXPECT_EQ(win32sim::pixel(h, 20, 14), kWhite) << "right edge excluded";
  EXPECT_EQ(win32sim::pixel(h, 19, 15), kWhite) << "bottom edge excluded";

  HPEN pen = CreatePen(PS_SOLID, 1, kBlue);
  HGDIOBJ oldPen = SelectObject(dc, pen);
  MoveToEx(dc, 30, 40, NULL);
  LineTo(dc, 40, 40);
  EXPECT_EQ(win32sim::pixel(h, 30, 40), kBlue);
  EXPECT_EQ(win32sim::pixel(h, 39, 40), kBlue);
  EXPECT_EQ(win32sim::pixel(h, 40, 40), kWhite) << "LineTo stops before its end point";
  HGDIOBJ oldBrush = SelectObject(dc, red);
  Rectangle(dc, 50, 50, 60, 60);
  EXPECT_EQ(win32sim::pixel(h, 50, 50), kBlue) << "outline in the pen";
  EXPECT_EQ(win32sim::pixel(h, 55, 55), kRed) << "inside in the brush";
  SelectObject(dc, oldPen);
  SelectObject(dc, oldBrush);

  SetTextColor(dc, RGB(0, 128, 0));
  SetBkColor(dc, RGB(1, 2, 3));
  TextOutA(dc, 100, 100, "I", 1);
  EXPECT_EQ(win32sim::pixel(h, 100, 100), RGB(1, 2, 3)) << "opaque background";
  EXPECT_EQ(win32sim::pixel(h, 102, 104), RGB(0, 128, 0)) << "the stem of the I";
  SetMapMode(dc, MM_LOMETRIC);  // 0.1 mm, y upwards
  POINT p = {254, -254};        // one inch right, one inch down
  LPtoDP(dc, &p, 1);
  EXPECT_EQ(p.x, 96);
  EXPECT_EQ(p.y, 96);
  ReleaseDC(h, dc);
  DeleteObject(pen);
  DeleteObject(red);
  DestroyWindow(h);
}

TEST_F(Screen, MixModesCombineThePenWithThePixelsBelow) {
  HWND h = layertest::createMain();
  layertest::pumpAll();
  HDC dc = GetDC(h);
  HPEN pen = CreatePen(PS_SOLID, 1, kRed);
  HGDIOBJ oldPen = SelectObject(dc, pen);
  struct Case {
    int rop;
    COLORREF once, twice;  // over white, then drawn again over that
  } const cases[] = {
      {R2_COPYPEN, kRed, kRed},
      {R2_XORPEN, RGB(0, 255, 255), kWhite},
      {R2_NOT, RGB(0, 0, 0), kWhite},
      {R2_BLACK, RGB(0, 0, 0), RGB(0, 0, 0)},
      {R2_NOP, kWhite, kWhite},
      {R2_MASKPEN, kRed, kRed},
  };
  int y = 10;
  for (const Case& c : cases) {
    SetROP2(dc, c.rop);
    for (COLORREF want : {c.once, c.twice}) {
      MoveToEx(dc, 10, y, NULL);
      LineTo(dc, 20, y);
      EXPECT_EQ(win32sim::pixel(h, 15, y), want) << "R2 mode " << c.rop;
    }
    y += 2;
  }
  EXPECT_EQ(SetROP2(dc, R2_LAST + 1), 0) << "an unknown mode is refused";
  EXPECT_EQ(GetROP2(dc), R2_MASKPEN);
  SelectObject(dc, oldPen);
  ReleaseDC(h, dc);
  DeleteObject(pen);
  DestroyWindow(h);
}

TEST_F(Screen, ClipRegionsLimitDrawingUntilRemoved) {
  HWND h = layertest::createMain();
  layertest::pumpAll();
  HDC dc = GetDC(h);
  HRGN probe = CreateRectRgn(0, 0, 0, 0);
  EXPECT_EQ(GetClipRgn(dc, probe), 0) << "a new DC has no clip region";
  EXPECT_EQ(IntersectClipRect(dc, 10, 10, 30, 30), SIMPLEREGION);
  EXPECT_EQ(ExcludeClipRect(dc, 15, 15, 20, 20), COMPLEXREGION);
  HBRUSH red = CreateSolidBrush(kRed);
  RECT all = {0, 0, 50, 50};
  FillRect(dc, &all, red);
  EXPECT_EQ(win32sim::pixel(h, 12, 12), kRed);
  EXPECT_EQ(win32sim::pixel(h, 17, 17), kWhite) << "excluded";
  EXPECT_EQ(win32sim::pixel(h, 35, 35), kWhite) << "outside the intersection";
  ASSERT_EQ(GetClipRgn(dc, probe), 1);
  HRGN box = CreateRectRgn(10, 10, 30, 30);
  HRGN hole = CreateRectRgn(15, 15, 20, 20);
  CombineRgn(box, box, hole, RGN_DIFF);
  EXPECT_TRUE(EqualRgn(probe, box)) << "GetClipRgn copies the region built";
  EXPECT_EQ(SelectClipRgn(dc, NULL), SIMPLEREGION);
  EXPECT_EQ(GetClipRgn(dc, probe), 0);
  FillRect(dc, &all, red);
  EXPECT_EQ(win32sim::pixel(h, 35, 35), kRed);
  DeleteObject(probe);
  DeleteObject(box);
  DeleteObject(hole);
  DeleteObject(red);
  ReleaseDC(h, dc);
  DestroyWindow(h);
}

TEST_F(Screen, ChildrenAndClipping) {
  COLORREF red = kRed, blue = kBlue;
  HWND p = paintedWindow(WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 100, 100, 200, 150, NULL, &red);
  HWND c = paintedWindow(WS_CHILD | WS_VISIBLE, 10, 10, 50, 40, p, &blue);
  layertest::pumpAll();
  EXPECT_EQ(win32sim::pixel(p, 5, 5), kRed);
  EXPECT_EQ(win32sim::pixel(p, 15, 15), kBlue) << "the child drew over its area";
  EXPECT_EQ(win32sim::pixel(c, 0, 0), kBlue);
  EXPECT_EQ(win32sim::pixel(c, 50, 0), CLR_INVALID) << "outside the child's client area";
  InvalidateRect(p, NULL, TRUE);
  UpdateWindow(p);
  EXPECT_EQ(win32sim::pixel(p, 15, 15), kBlue) << "WS_CLIPCHILDREN keeps the parent out";
  EXPECT_EQ(win32sim::screenPixel(100 + 15, 100 + 15), kBlue);
  DestroyWindow(p);
}

TEST_F(Screen, TheScreenComposesWindowsInZOrder) {
  COLORREF red = kRed, blue = kBlue;
  HWND below = paintedWindow(WS_POPUP | WS_VISIBLE, 0, 0, 100, 100, NULL, &red);
  HWND above = paintedWindow(WS_POPUP | WS_VISIBLE, 50, 50, 100, 100, NULL, &blue);
  EXPECT_EQ(win32sim::screenPixel(10, 10), kRed);
  EXPECT_EQ(win32sim::screenPixel(60, 60), kBlue);
  EXPECT_EQ(win32sim::screenPixel(500, 500), GetSysColor(COLOR_DESKTOP));
  EXPECT_EQ(win32sim::screenPixel(-1, 0), CLR_INVALID);
  ShowWindow(above, SW_HIDE);
  EXPECT_EQ(win32sim::screenPixel(60, 60), kRed) << "hidden windows do not show";
  EXPECT_EQ(win32sim::pixel(above, 20, 20), kBlue) << "but keep their pixels";
  DestroyWindow(above);
  DestroyWindow(below);
}

TEST_F(Screen, ScrollWindowExMovesPixelsAndChildren) {
  COLORREF red = kRed, blue = kBlue;
  HWND p = paintedWindow(WS_POPUP | WS_VISIBLE, 0, 0, 200, 200, NULL, &red);
  HWND c = paintedWindow(WS_CHILD | WS_VISIBLE, 0, 50, 20, 20, p, &blue);
  layertest::pumpAll();
  ASSERT_EQ(win32sim::pixel(p, 5, 55), kBlue);
  RECT uncovered;
  int kind = ScrollWindowEx(p, 0, -30, NULL, NULL, NULL, &uncovered, SW_SCROLLCHILDREN);
  EXPECT_EQ(kind, SIMPLEREGION);
  EXPECT_EQ(uncovered.top, 170);
  EXPECT_EQ(win32sim::pixel(p, 5, 25), kBlue) << "pixels moved up";
  RECT r;
  GetWindowRect(c, &r);
  EXPECT_EQ(r.top, 20) << "the child moved with them";
  GetUpdateRect(p, &r, FALSE);
  EXPECT_TRUE(IsRectEmpty(&r)) << "nothing invalidated without SW_INVALIDATE";
  DestroyWindow(p);
}

TEST_F(Screen, NonClientAreaIsDrawn) {
  HWND h = layertest::createMain(WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_VSCROLL);
  layertest::pumpAll();
  RECT w;
  GetWindowRect(h, &w);
  EXPECT_EQ(win32sim::screenPixel(w.left + 150, w.top + 6), GetSysColor(COLOR_ACTIVECAPTION));
  POINT origin = {0, 0};
  ClientToScreen(h, &origin);
  RECT c;
  GetClientRect(h, &c);
  EXPECT_EQ(win32sim::screenPixel(origin.x + c.right + 8, origin.y + c.bottom / 2),
            GetSysColor(COLOR_SCROLLBAR))
      << "the middle of the vertical scroll bar's track";
  DestroyWindow(h);
}

// ---- PNG: decoded with stb_image.h, the writer's companion ----

struct Decoded {
  int width = 0, height = 0;
  std::vector<unsigned char> rgb;
  COLORREF at(int x, int y) const {
    size_t i = (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3;
    return RGB(rgb[i], rgb[i + 1], rgb[i + 2]);
  }
};

// Empty when the bytes are not a PNG of 8-bit RGB pixels.
Decoded decodePng(const std::vector<unsigned char>& png) {
  Decoded d;
  int components = 0;
  unsigned char* pixels = stbi_load_from_memory(png.data(), static_cast<int>(png.size()), &d.width,
                                                &d.height, &components, 3);
  if (!pixels || components != 3) {
    stbi_image_free(pixels);
    return Decoded{};
  }
  d.rgb.assign(pixels, pixels + static_cast<size_t>(d.width) * static_cast<size_t>(d.height) * 3);
  stbi_image_free(pixels);
  return d;
}

TEST_F(Screen, ScreenshotIsAPngOfTheScreen) {
  COLORREF red = kRed;
  HWND h = paintedWindow(WS_POPUP | WS_VISIBLE, 10, 20, 30, 40, NULL, &red);
  std::string path = testing::TempDir() + "win32_screen_test.png";
  ASSERT_TRUE(win32sim::saveScreenshot(path));
  std::ifstream f(path, std::ios::binary);
  std::vector<unsigned char> png((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
  std::remove(path.c_str());
  ASSERT_GT(png.size(), 33u);
  EXPECT_EQ(0, memcmp(png.data(), "\x89PNG\r\n\x1a\n", 8));
  Decoded shot = decodePng(png);
  ASSERT_EQ(shot.width, 1024);
  ASSERT_EQ(shot.height, 768);
  EXPECT_EQ(shot.at(15, 25), kRed);
  EXPECT_EQ(shot.at(10, 20), kRed) << "the window's corner";
  EXPECT_EQ(shot.at(39, 59), kRed);
  EXPECT_EQ(shot.at(40, 59), GetSysColor(COLOR_DESKTOP)) << "right of the window";
  EXPECT_EQ(shot.at(600, 600), GetSysColor(COLOR_DESKTOP));
  for (int y = 0; y < 768; y += 97)
    for (int x = 0; x < 1024; x += 89)
      ASSERT_EQ(shot.at(x, y), win32sim::screenPixel(x, y)) << "at " << x << "," << y;
  DestroyWindow(h);
}

// Whether the screen shows the caret over each pixel of the column x, rows
// top..top+9, of the edit's client area: there the program's pixels
// (GetPixel) are inverted; anywhere else they show as drawn.
bool caretShowsAt(HWND edit, int x, int top) {
  HDC dc = GetDC(edit);
  bool shows = true;
  for (int y = top; y < top + 10; ++y)
    shows = shows && win32sim::pixel(edit, x, y) == (~GetPixel(dc, x, y) & 0xFFFFFF);
  ReleaseDC(edit, dc);
  return shows;
}

TEST_F(Screen, TheEditCaretStandsAfterTheCharacterBeforeItOnItsLine) {
  HWND h = layertest::createMain();
  HWND e = CreateWindowExA(0, "EDIT", "", WS_CHILD | WS_VISIBLE | ES_MULTILINE, 10, 10, 200, 80,
                           h, NULL, NULL, NULL);
  SetFocus(e);
  win32sim::typeText("ab");
  win32sim::pressKey(VK_RETURN);
  win32sim::typeText("cde");
  layertest::pumpAll();
  // Column c of line l starts at (6c, 10l): no border, no margins, then
  // 6x10 character cells.
  struct Step {
    int key;  // pressed before looking; 0 for none
    int line, column;
  };
  const Step steps[] = {
      {0, 1, 3},        // after typing: the end of the last line
      {VK_HOME, 1, 0},  {VK_LEFT, 0, 2},  // over the line break at once
      {VK_RIGHT, 1, 0}, {VK_END, 1, 3},   {VK_UP, 0, 2},  // line 0 is shorter
      {VK_DOWN, 1, 2},
  };
  for (const Step& s : steps) {
    if (s.key) win32sim::pressKey(s.key);
    layertest::pumpAll();
    int x = 6 * s.column, top = 10 * s.line;
    POINT at{-1, -1};
    GetCaretPos(&at);
    EXPECT_EQ(at.x, x) << "key " << s.key;
    EXPECT_EQ(at.y, top) << "key " << s.key;
    EXPECT_TRUE(caretShowsAt(e, x, top)) << "key " << s.key;
    // Never on line 0 as many cells along as the text has characters.
    EXPECT_FALSE(caretShowsAt(e, 6 * 7, 0)) << "key " << s.key;
  }
  HideCaret(e);
  EXPECT_FALSE(caretShowsAt(e, 6 * 2, 10)) << "hidden";
  ShowCaret(e);
  EXPECT_TRUE(caretShowsAt(e, 6 * 2, 10)) << "shown again";
  SetFocus(h);
  EXPECT_FALSE(caretShowsAt(e, 6 * 2, 10)) << "the focus went, and the caret with it";
  DestroyWindow(h);
}

// An edit with WS_BORDER draws a 1-pixel frame inside its client area and
// lays its text out 2 pixels in (SM_CXBORDER + 1); the selection shows in
// the highlight's colours while it has the focus.
TEST_F(Screen, TheEditDrawsItsBorderAndSelectionInsideItsClientArea) {
  HWND h = layertest::createMain();
  HWND e = CreateWindowExA(0, "EDIT", "abcdef", WS_CHILD | WS_VISIBLE | WS_BORDER, 10, 10, 100, 20,
                           h, NULL, NULL, NULL);
  RECT client;
  GetClientRect(e, &client);
  EXPECT_EQ(client.right, 100);  // no non-client border
  SetFocus(e);
  SendMessageA(e, EM_SETSEL, 1, 3);
  layertest::pumpAll();
  HideCaret(e);
  RECT format;
  SendMessageA(e, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&format));
  EXPECT_EQ(format.left, 2);
  EXPECT_EQ(format.top, 2);
  EXPECT_EQ(win32sim::pixel(e, 0, 0), GetSysColor(COLOR_WINDOWFRAME));
  EXPECT_EQ(win32sim::pixel(e, 99, 19), GetSysColor(COLOR_WINDOWFRAME));
  EXPECT_EQ(win32sim::pixel(e, 1, 1), GetSysColor(COLOR_WINDOW));
  // Characters 1 and 2 are the 6-pixel cells from x = 8; the highlight
  // fills their rows where no ink is.
  EXPECT_EQ(win32sim::pixel(e, 8, 2), GetSysColor(COLOR_HIGHLIGHT));
  EXPECT_EQ(win32sim::pixel(e, 19, 11), GetSysColor(COLOR_HIGHLIGHT));
  EXPECT_EQ(win32sim::pixel(e, 20, 2), GetSysColor(COLOR_WINDOW));
  SetFocus(h);
  layertest::pumpAll();
  EXPECT_EQ(win32sim::pixel(e, 8, 2), GetSysColor(COLOR_WINDOW)) << "hidden without the focus";
  DestroyWindow(h);
}

// Check boxes and radio buttons: a check box is a sunken square (its inner
// edge dark at the corner) with a tick, grey on the button face for the
// third state; a radio button a circle (the square's corner is the
// background) with a dot. The 13-pixel mark is centred on a 21-pixel row.
TEST_F(Screen, CheckBoxesAndRadioButtonsDrawTheirMarks) {
  struct Case {
    DWORD style;
    WPARAM check;
    int corner, tick, centre;  // system colours at (1,1), (3,5) and (6,6) of the mark
  } cases[] = {
      {BS_AUTOCHECKBOX, BST_UNCHECKED, COLOR_3DDKSHADOW, COLOR_WINDOW, COLOR_WINDOW},
      {BS_AUTOCHECKBOX, BST_CHECKED, COLOR_3DDKSHADOW, COLOR_WINDOWTEXT, COLOR_WINDOWTEXT},
      {BS_AUTO3STATE, BST_INDETERMINATE, COLOR_3DDKSHADOW, COLOR_BTNSHADOW, COLOR_BTNSHADOW},
      {BS_AUTORADIOBUTTON, BST_UNCHECKED, COLOR_BTNFACE, COLOR_WINDOW, COLOR_WINDOW},
      {BS_RADIOBUTTON, BST_CHECKED, COLOR_BTNFACE, COLOR_WINDOW, COLOR_WINDOWTEXT},
  };
  HWND h = layertest::createMain();
  for (const Case& c : cases) {
    HWND b = CreateWindowExA(0, "BUTTON", "x", WS_CHILD | WS_VISIBLE | c.style, 10, 10, 80, 21, h,
                             NULL, NULL, NULL);
    SendMessageA(b, BM_SETCHECK, c.check, 0);
    layertest::pumpAll();
    EXPECT_EQ(win32sim::pixel(b, 1, 4 + 1), GetSysColor(c.corner)) << c.style << " " << c.check;
    EXPECT_EQ(win32sim::pixel(b, 3, 4 + 5), GetSysColor(c.tick)) << c.style << " " << c.check;
    EXPECT_EQ(win32sim::pixel(b, 6, 4 + 6), GetSysColor(c.centre)) << c.style << " " << c.check;
    DestroyWindow(b);
  }
  DestroyWindow(h);
}

}  // namespace

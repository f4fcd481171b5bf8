// Fonts: what a LOGFONTA comes back as, how sizes and weights compare, that
// the extents reported are the box the text fills, and the fonts of the
// controls (WM_SETFONT, WM_GETFONT, the list box's item height and the edit
// control's line height). Which size a request gets is the system's own
// (its faces differ), so only comparisons are printed, never pixel counts.
#include "probe.h"

using namespace probe;

namespace {

// The fields before the face name are packed, so they compare as bytes.
bool sameLogFont(const LOGFONTA& a, const LOGFONTA& b) {
  return memcmp(&a, &b, offsetof(LOGFONTA, lfFaceName)) == 0 &&
         strcmp(a.lfFaceName, b.lfFaceName) == 0;
}

HFONT makeFont(int height, int weight) {
  return CreateFontA(height, 0, 0, 0, weight, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, "");
}

struct Measured {
  TEXTMETRICA tm;
  SIZE hello;
};

Measured measure(HDC dc, HFONT font) {
  Measured m;
  HGDIOBJ old = SelectObject(dc, font);
  GetTextMetricsA(dc, &m.tm);
  GetTextExtentPoint32A(dc, "Hello", 5, &m.hello);
  SelectObject(dc, old);
  return m;
}

void logFonts() {
  LOGFONTA given = {};
  given.lfHeight = -13;
  given.lfWidth = 5;
  given.lfWeight = FW_BOLD;
  given.lfItalic = 1;
  given.lfCharSet = ANSI_CHARSET;
  given.lfPitchAndFamily = FIXED_PITCH | FF_MODERN;
  strcpy(given.lfFaceName, "Courier New");
  HFONT f = CreateFontIndirectA(&given);
  LOGFONTA back;
  memset(&back, 0x55, sizeof back);
  int size = GetObjectA(f, 0, NULL);
  int copied = GetObjectA(f, sizeof back, &back);
  printf("GetObjectA size %d, copied %d, same %d\n", size, copied, sameLogFont(given, back));
  printf("GetObjectA into 28 bytes: %d\n", GetObjectA(f, 28, &back));
  printf("GetObjectType %lu\n", (unsigned long)GetObjectType(f));

  HFONT g = CreateFontA(20, 0, 0, 0, FW_NORMAL, 0, 1, 0, ANSI_CHARSET, 0, 0, 0, 0, NULL);
  memset(&back, 0x55, sizeof back);
  GetObjectA(g, sizeof back, &back);
  printf("CreateFontA: height %ld weight %ld underline %d face \"%s\"\n", (long)back.lfHeight,
         (long)back.lfWeight, back.lfUnderline, back.lfFaceName);
  printf("CreateFontIndirectA(NULL) %d\n", CreateFontIndirectA(NULL) != NULL);
  BOOL deleted = DeleteObject(f), again = DeleteObject(f);
  printf("DeleteObject %d, again %d, type after %lu\n", deleted, again,
         (unsigned long)GetObjectType(f));
  DeleteObject(g);

  // A stock font's LOGFONTA makes a font of the same metrics again.
  const int stock[] = {SYSTEM_FONT, DEFAULT_GUI_FONT, ANSI_VAR_FONT, ANSI_FIXED_FONT};
  HDC dc = GetDC(NULL);
  for (int i : stock) {
    HGDIOBJ s = GetStockObject(i);
    LOGFONTA lf;
    int n = GetObjectA(s, sizeof lf, &lf);
    HFONT remade = CreateFontIndirectA(&lf);
    Measured a = measure(dc, (HFONT)s), b = measure(dc, remade);
    BOOL stockDeleted = DeleteObject(s);
    printf(
        "stock font %d: GetObjectA %d, made again same height %d, delete %d, "
        "still a font %d\n",
        i, n, a.tm.tmHeight == b.tm.tmHeight, stockDeleted, GetObjectType(s) == OBJ_FONT);
    DeleteObject(remade);
  }
  HGDIOBJ current = GetCurrentObject(dc, OBJ_FONT);
  printf("a fresh DC's font is SYSTEM_FONT: %d\n", current == GetStockObject(SYSTEM_FONT));
  ReleaseDC(NULL, dc);
}

void sizesAndWeights() {
  HDC dc = GetDC(NULL);
  HFONT small = makeFont(-11, FW_NORMAL), large = makeFont(-30, FW_NORMAL);
  Measured s = measure(dc, small), l = measure(dc, large);
  printf("larger request: taller %d, wider %d\n", l.tm.tmHeight > s.tm.tmHeight,
         l.hello.cx > s.hello.cx);
  printf("extent height is tmHeight: %d %d\n", s.hello.cy == s.tm.tmHeight,
         l.hello.cy == l.tm.tmHeight);
  HFONT cell = makeFont(s.tm.tmHeight, FW_NORMAL);
  HFONT character = makeFont(-(s.tm.tmHeight - s.tm.tmInternalLeading), FW_NORMAL);
  printf("a cell height and a character height give the font again: %d %d\n",
         measure(dc, cell).tm.tmHeight == s.tm.tmHeight,
         measure(dc, character).tm.tmHeight == s.tm.tmHeight);
  DeleteObject(cell);
  DeleteObject(character);

  const Labelled weights[] = {
      {"FW_MEDIUM", FW_MEDIUM}, {"FW_SEMIBOLD", FW_SEMIBOLD}, {"FW_BOLD", FW_BOLD}};
  for (const Labelled& w : weights) {
    HFONT f = makeFont(-11, (int)w.value);
    Measured m = measure(dc, f);
    printf("%s: tmWeight %ld, wider than FW_NORMAL %d, same height %d\n", w.label,
           (long)m.tm.tmWeight, m.hello.cx > s.hello.cx, m.tm.tmHeight == s.tm.tmHeight);
    DeleteObject(f);
  }

  // GetCharWidthA's widths add up to the extent; GetTextExtentPointA agrees.
  HGDIOBJ old = SelectObject(dc, large);
  INT widths[5];
  SIZE a, b;
  GetCharWidthA(dc, 'a', 'e', widths);
  GetTextExtentPoint32A(dc, "abcde", 5, &a);
  GetTextExtentPointA(dc, "abcde", 5, &b);
  printf("char widths add up to the extent %d, GetTextExtentPointA agrees %d\n",
         widths[0] + widths[1] + widths[2] + widths[3] + widths[4] == a.cx,
         a.cx == b.cx && a.cy == b.cy);
  printf("SelectObject gave back the system font %d\n", old == GetStockObject(SYSTEM_FONT));
  SelectObject(dc, old);
  ReleaseDC(NULL, dc);
  DeleteObject(small);
  DeleteObject(large);
}

// Text drawn opaque fills exactly the extent's box with the background.
void pixelsMatchExtents(HWND w) {
  HDC dc = GetDC(w);
  RECT all = {0, 0, 300, 100};
  FillRect(dc, &all, (HBRUSH)GetStockObject(WHITE_BRUSH));
  HFONT f = makeFont(-30, FW_BOLD);
  SelectObject(dc, f);
  SetBkMode(dc, OPAQUE);
  SetBkColor(dc, RGB(0, 0, 255));
  SetTextColor(dc, RGB(255, 0, 0));
  TextOutA(dc, 10, 20, "Hi", 2);
  SIZE ext;
  GetTextExtentPoint32A(dc, "Hi", 2, &ext);
  RECT box = {}, want = {10, 20, 10 + ext.cx, 20 + ext.cy};
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 300; ++x) {
      RECT pixel = {x, y, x + 1, y + 1};
      if (GetPixel(dc, x, y) != RGB(255, 255, 255)) UnionRect(&box, &box, &pixel);
    }
  printf("drawn box is the extent at the point: %d\n", EqualRect(&box, &want));
  SelectObject(dc, GetStockObject(SYSTEM_FONT));
  ReleaseDC(w, dc);
  DeleteObject(f);
}

void controls(HWND parent) {
  HFONT large = makeFont(-30, FW_NORMAL);
  HDC dc = GetDC(NULL);
  Measured sys = measure(dc, (HFONT)GetStockObject(SYSTEM_FONT)), big = measure(dc, large);
  ReleaseDC(NULL, dc);
  // A dialog-class window made by CreateWindowExA keeps no font.
  const char* classes[] = {"Button", "Static", "Edit", "ListBox", "ComboBox", "#32770"};
  for (const char* cls : classes) {
    HWND c = createAt(cls, "x", WS_CHILD | WS_VISIBLE, 0, 0, 100, 100, parent);
    LRESULT fresh = SendMessageA(c, WM_GETFONT, 0, 0);
    LRESULT set = SendMessageA(c, WM_SETFONT, (WPARAM)large, TRUE);
    LRESULT got = SendMessageA(c, WM_GETFONT, 0, 0);
    SendMessageA(c, WM_SETFONT, 0, FALSE);
    printf("%s: WM_GETFONT fresh %d, WM_SETFONT %ld, then the font %d, after NULL %d\n", cls,
           fresh != 0, (long)set, got == (LRESULT)large, SendMessageA(c, WM_GETFONT, 0, 0) != 0);
    DestroyWindow(c);
  }

  HWND lb =
      createAt("ListBox", "", WS_CHILD | WS_VISIBLE | LBS_NOINTEGRALHEIGHT, 0, 0, 100, 200, parent);
  LRESULT before = SendMessageA(lb, LB_GETITEMHEIGHT, 0, 0);
  SendMessageA(lb, WM_SETFONT, (WPARAM)large, FALSE);
  printf("ListBox item height is the font's tmHeight: system %d, large %d\n",
         before == sys.tm.tmHeight, SendMessageA(lb, LB_GETITEMHEIGHT, 0, 0) == big.tm.tmHeight);
  DestroyWindow(lb);

  // A drop-down combo box gives the font to its parts and grows with it.
  HWND cb = createAt("ComboBox", "", WS_CHILD | WS_VISIBLE | CBS_DROPDOWN, 0, 0, 100, 150, parent);
  RECT r0 = windowRect(cb);
  SendMessageA(cb, WM_SETFONT, (WPARAM)large, FALSE);
  RECT r1 = windowRect(cb);
  COMBOBOXINFO info;
  info.cbSize = sizeof info;
  GetComboBoxInfo(cb, &info);
  printf("ComboBox grows by the fonts' difference %d; its edit %d and list %d have the font\n",
         (r1.bottom - r1.top) - (r0.bottom - r0.top) == big.tm.tmHeight - sys.tm.tmHeight,
         SendMessageA(info.hwndItem, WM_GETFONT, 0, 0) == (LRESULT)large,
         SendMessageA(info.hwndList, WM_GETFONT, 0, 0) == (LRESULT)large);
  DestroyWindow(cb);

  HWND e = createAt("Edit", "e", WS_CHILD | WS_VISIBLE | ES_MULTILINE, 0, 0, 200, 200, parent, 0, 0,
                    "ab\r\ncd");
  auto place = [e](int i) { return SendMessageA(e, EM_POSFROMCHAR, i, 0); };
  int systemLine = HIWORD(place(4)) - HIWORD(place(0));  // from "ab" down to "cd"
  SendMessageA(e, WM_SETFONT, (WPARAM)large, FALSE);
  printf("Edit line height is the font's tmHeight: system %d, large %d; 'a' wider %d\n",
         systemLine == sys.tm.tmHeight, HIWORD(place(4)) - HIWORD(place(0)) == big.tm.tmHeight,
         LOWORD(place(1)) - LOWORD(place(0)) > sys.tm.tmAveCharWidth);
  DestroyWindow(e);
  DeleteObject(large);
}

}  // namespace

int main() {
  registerClass("ProbeFonts", DefWindowProcA, (HBRUSH)(COLOR_WINDOW + 1));
  HWND w = createAt("ProbeFonts", "fonts", WS_POPUP | WS_VISIBLE, 0, 0, 320, 240, NULL);
  pump();
  logFonts();
  sizesAndWeights();
  pixelsMatchExtents(w);
  controls(w);
  DestroyWindow(w);
}

// Formatted text: DrawTextExA's lines (breaks, words, tabs, '&' marks,
// ellipses, margins, alignment), tabbed text and DrawStateA's text.
// Invariant: a line is laid out once, as the characters it shows, each
// remembering the source character it came from; measuring (DT_CALCRECT),
// drawing, uiLengthDrawn and DT_MODIFYSTRING all read that one layout, so
// what is measured is what is drawn.
#include "gdi/gdi.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace w32 {

namespace {

constexpr int kDefaultTabChars = 8;  // tab stops every 8 average characters
constexpr char kEllipsis[] = "...";
constexpr int kEllipsisChars = 3;

// One shown line: its characters, the source index of each, the underlined
// one (-1 for none) and where the source line ends (past its break).
struct ShownLine {
  std::string text;
  std::vector<int> from;
  int underline = -1;
  int sourceEnd = 0;
};

struct Layout {
  UINT format = 0;
  int tabChars = kDefaultTabChars;
  int advance = kCharWidth;  // pixels per character
  LONG maxWidth = 0;         // pixels available to a line; <= 0 unlimited
};

bool isBreak(char c) { return c == '\n' || c == '\r'; }

// The characters of source[start, end) as they show: '&' marks taken out
// (unless DT_NOPREFIX) and tabs expanded to their stops (DT_EXPANDTABS).
// With one fixed advance, a tab stop is a column multiple of tabChars.
ShownLine shownCharacters(const char* s, int start, int end, const Layout& l) {
  ShownLine line;
  for (int i = start; i < end; ++i) {
    if (s[i] == '&' && !(l.format & DT_NOPREFIX)) {
      if (++i == end) break;
      if (s[i] != '&' && line.underline < 0) line.underline = static_cast<int>(line.text.size());
    }
    if (s[i] == '\t' && (l.format & DT_EXPANDTABS)) {
      do {
        line.text += ' ';
        line.from.push_back(i);
      } while (line.text.size() % static_cast<size_t>(l.tabChars) != 0);
      continue;
    }
    line.text += s[i];
    line.from.push_back(i);
  }
  line.sourceEnd = end;
  return line;
}

// Cuts line at shown position at, dropping the spaces around the cut, and
// returns the part after it.
ShownLine splitAt(ShownLine& line, size_t at) {
  ShownLine rest;
  size_t next = at;
  while (next < line.text.size() && line.text[next] == ' ') ++next;
  size_t keep = at;
  while (keep > 0 && line.text[keep - 1] == ' ') --keep;
  if (keep == 0) keep = at;  // a line of spaces only keeps them
  rest.text = line.text.substr(next);
  rest.from.assign(line.from.begin() + static_cast<long>(next), line.from.end());
  rest.underline =
      line.underline >= static_cast<int>(next) ? line.underline - static_cast<int>(next) : -1;
  rest.sourceEnd = line.sourceEnd;
  line.sourceEnd = next < line.from.size() ? line.from[next] : line.sourceEnd;
  line.text.resize(keep);
  line.from.resize(keep);
  if (line.underline >= static_cast<int>(keep)) line.underline = -1;
  return rest;
}

// Where DT_WORDBREAK cuts a line too wide for the rectangle: after the last
// space that lets the start fit; a word alone wider than the rectangle stays
// whole, unless DT_EDITCONTROL breaks it between characters. 0 keeps it.
size_t wordBreakAt(const ShownLine& line, const Layout& l) {
  size_t fits = static_cast<size_t>(std::max<LONG>(l.maxWidth / l.advance, 0));
  if (line.text.size() <= fits) return 0;
  for (size_t i = fits; i > 0; --i)
    if (line.text[i] == ' ') return i;
  if (l.format & DT_EDITCONTROL) return std::max<size_t>(fits, 1);
  size_t space = line.text.find(' ');
  return space == std::string::npos ? 0 : space;
}

// The text cut down to fit with "..." as DT_END_ELLIPSIS, DT_WORD_ELLIPSIS
// and DT_PATH_ELLIPSIS ask; the mark is lost where its character goes.
void addEllipsis(ShownLine& line, const Layout& l) {
  UINT kind = l.format & (DT_END_ELLIPSIS | DT_PATH_ELLIPSIS | DT_WORD_ELLIPSIS);
  int fits = static_cast<int>(l.maxWidth / l.advance);
  int n = static_cast<int>(line.text.size());
  if (!kind || l.maxWidth <= 0 || n <= fits) return;
  int keep = std::max(fits - kEllipsisChars, 0);
  int tail = 0;  // characters kept after the ellipsis
  if (kind == DT_PATH_ELLIPSIS) {
    size_t slash = line.text.find_last_of("\\/");
    if (slash != std::string::npos) tail = std::min(n - static_cast<int>(slash), keep);
    keep -= tail;
  } else if (kind == DT_WORD_ELLIPSIS) {
    size_t space = line.text.rfind(' ', static_cast<size_t>(keep));
    if (space != std::string::npos && space > 0) keep = static_cast<int>(space);
  }
  int tailFrom = n - tail;
  line.text = line.text.substr(0, static_cast<size_t>(keep)) + kEllipsis +
              line.text.substr(static_cast<size_t>(tailFrom));
  std::vector<int> from(line.from.begin(), line.from.begin() + keep);
  from.insert(from.end(), kEllipsisChars,
              keep < n ? line.from[static_cast<size_t>(keep)] : line.sourceEnd);
  from.insert(from.end(), line.from.begin() + tailFrom, line.from.end());
  line.from.swap(from);
  if (line.underline >= keep && line.underline < tailFrom) line.underline = -1;
  if (line.underline >= tailFrom) line.underline += keep + kEllipsisChars - tailFrom;
}

// The lines of s[0, n): broken at "\r\n", "\n" and "\r" unless
// DT_SINGLELINE, then at words (DT_WORDBREAK), then shortened with an
// ellipsis where asked.
std::vector<ShownLine> layOut(const char* s, int n, const Layout& l) {
  std::vector<ShownLine> lines;
  int start = 0;
  while (start <= n) {
    int end = start;
    if (!(l.format & DT_SINGLELINE))
      while (end < n && !isBreak(s[end])) ++end;
    else
      end = n;
    int next = end;
    if (next < n) next += (s[next] == '\r' && next + 1 < n && s[next + 1] == '\n') ? 2 : 1;
    ShownLine line = shownCharacters(s, start, end, l);
    line.sourceEnd = next;
    bool wrap = (l.format & DT_WORDBREAK) && !(l.format & DT_SINGLELINE);
    for (size_t at; wrap && (at = wordBreakAt(line, l)) != 0;) {
      ShownLine rest = splitAt(line, at);
      lines.push_back(std::move(line));
      line = std::move(rest);
    }
    addEllipsis(line, l);
    lines.push_back(std::move(line));
    if (next >= n) break;
    start = next;
  }
  return lines;
}

// Logical units of a distance of px device pixels; the vertical one is
// negative where the mapping mode turns y upwards.
LONG logicalX(const DeviceContext& dc, LONG px) {
  return std::labs(MulDiv(px, dc.windowExt.cx, dc.viewportExt.cx));
}
LONG logicalY(const DeviceContext& dc, LONG px) {
  return MulDiv(px, dc.windowExt.cy, dc.viewportExt.cy);
}
LONG devicePixelsX(const DeviceContext& dc, LONG logical) {
  return std::labs(MulDiv(logical, dc.viewportExt.cx, dc.windowExt.cx));
}

LONG lineWidth(const ShownLine& line, int advance) {
  return static_cast<LONG>(line.text.size()) * advance;
}

void drawLine(HDC hdc, DeviceContext& dc, const ShownLine& line, LONG x, LONG y, UINT format) {
  Font font = fontOf(dc.font);
  if (!(format & DT_PREFIXONLY))
    TextOutA(hdc, static_cast<int>(x), static_cast<int>(y), line.text.data(),
             static_cast<int>(line.text.size()));
  if (line.underline < 0 || (format & DT_HIDEPREFIX)) return;
  // The mark: a line under the character, one pixel below the baseline.
  POINT at = toDevice(dc, static_cast<int>(x), static_cast<int>(y));
  LONG left = at.x + line.underline * font.advance(), base = at.y + font.ascent() + 1;
  painterOf(dc).fill(makeRect(left, base, left + font.advance() - 1, base + 1), dc.textColor);
}

struct Margins {
  LONG left = 0;
  LONG right = 0;
};

// What one call lays out with. Without a DRAWTEXTPARAMS the tab length of
// DT_TABSTOP rides in the format's second byte, which then carries no other
// flag; with one it is iTabLength. Measuring breaks lines only where a
// word break or an ellipsis asks for the rectangle's width.
Layout layoutFor(const DeviceContext& dc, UINT format, const DRAWTEXTPARAMS* dtp, const RECT& r,
                 Margins m) {
  Layout l;
  l.advance = fontOf(dc.font).advance();
  if ((format & DT_TABSTOP) && !dtp) {
    l.tabChars = static_cast<int>((format >> 8) & 0xFF);
    format &= ~0xFF00u;
  } else if (format & DT_TABSTOP) {
    l.tabChars = dtp->iTabLength;
  }
  if (l.tabChars <= 0) l.tabChars = kDefaultTabChars;
  l.format = format;
  constexpr UINT kNeedsWidth = DT_WORDBREAK | DT_END_ELLIPSIS | DT_PATH_ELLIPSIS | DT_WORD_ELLIPSIS;
  if (!(format & DT_CALCRECT) || (format & kNeedsWidth))
    l.maxWidth = devicePixelsX(dc, rectWidth(r) - m.left - m.right);
  return l;
}

// A single line sits at the top, the middle (DT_VCENTER) or the bottom
// (DT_BOTTOM); several lines always start at the top.
LONG firstLineTop(const RECT& r, UINT format, LONG lineHeight) {
  if (!(format & DT_SINGLELINE)) return r.top;
  if (format & DT_VCENTER) return r.top + (rectHeight(r) - lineHeight) / 2;
  if (format & DT_BOTTOM) return r.bottom - lineHeight;
  return r.top;
}

// Draws the lines from *y down, aligned in r less the margins (only
// measures them with DT_CALCRECT); *y ends below the last. Returns the
// widest line's width.
LONG placeLines(HDC hdc, DeviceContext& dc, const std::vector<ShownLine>& lines, const RECT& r,
                const Layout& l, Margins m, LONG lineHeight, LONG* y) {
  LONG widest = 0;
  LONG room = rectWidth(r) - m.left - m.right;
  for (const ShownLine& line : lines) {
    LONG width = logicalX(dc, lineWidth(line, l.advance));
    widest = std::max(widest, width);
    LONG x = r.left + m.left;
    if (l.format & DT_CENTER)
      x += (room - width) / 2;
    else if (l.format & DT_RIGHT)
      x = r.right - m.right - width;
    if (!(l.format & DT_CALCRECT)) drawLine(hdc, dc, line, x, *y, l.format);
    *y += lineHeight;
  }
  return widest;
}

// DT_MODIFYSTRING: the source buffer takes the shown single line, cut to the
// room the caller owes (the text and an ellipsis' worth more).
void modifyString(char* s, int n, const ShownLine& line) {
  size_t room = static_cast<size_t>(n) + kEllipsisChars;
  size_t len = std::min(line.text.size(), room);
  memcpy(s, line.text.data(), len);
  s[len] = '\0';
}

// The text's length: -1 (any negative) for up to the NUL; a null text is
// empty then, and nothing for a positive count.
bool textLength(LPCSTR s, int count, int* n) {
  if (count < 0) {
    *n = s ? static_cast<int>(strlen(s)) : 0;
    return true;
  }
  *n = count;
  return s != nullptr || count == 0;
}

// Tab stops as TabbedTextOutA takes them: a list, each stop used once and
// in order, left-aligning what follows the tab (or, negative, ending it
// there); then stops every `repeat` units (negative: right-aligned), which
// is the single stop given or 8 average characters.
struct TabStops {
  const INT* stops = nullptr;
  int count = 0;
  int repeat = 0;
  LONG origin = 0;

  // Where the text of `width` after a tab at x starts.
  LONG place(LONG x, LONG width) {
    for (; count > 0; ++stops, --count) {
      LONG stop = *stops;
      if (stop >= 0 && origin + stop > x) return next(origin + stop);
      if (stop < 0 && origin - stop - width > x) return next(origin - stop - width);
    }
    LONG d = std::labs(repeat);
    LONG k = (x - origin + (repeat < 0 ? width : 0)) / d + 1;
    return origin + k * d - (repeat < 0 ? width : 0);
  }

 private:
  LONG next(LONG at) {
    ++stops;
    --count;
    return at;
  }
};

TabStops tabStopsFor(const DeviceContext& dc, int n, const INT* stops, int origin) {
  TabStops t;
  t.origin = origin;
  t.repeat = logicalX(dc, kDefaultTabChars * fontOf(dc.font).advance());
  if (!stops || n <= 0) return t;
  if (n == 1) {
    if (*stops != 0) t.repeat = *stops;
    return t;
  }
  t.stops = stops;
  t.count = n;
  return t;
}

// Lays out (and with draw, draws) a tabbed string from x: each run of
// characters between tabs placed by the tab stops. Returns the width
// taken | the font's height << 16.
LONG tabbedText(HDC hdc, DeviceContext& dc, int x, int y, const char* s, int n, TabStops tabs,
                bool draw) {
  LONG advance = logicalX(dc, fontOf(dc.font).advance());
  LONG at = x;
  for (int i = 0; i < n;) {
    int tabsHere = 0;
    while (i < n && s[i] == '\t') ++tabsHere, ++i;
    int end = i;
    while (end < n && s[end] != '\t') ++end;
    LONG width = (end - i) * advance;
    LONG start = at;
    // Every tab but the last of a run is followed by no text.
    for (int t = 0; t < tabsHere; ++t) start = tabs.place(start, t + 1 < tabsHere ? 0 : width);
    if (draw && dc.bkMode == OPAQUE && start > at) {
      RECT gap = makeRect(at, y, start, y + logicalY(dc, fontOf(dc.font).height()));
      ExtTextOutA(hdc, 0, 0, ETO_OPAQUE, &gap, "", 0, nullptr);
    }
    if (draw) TextOutA(hdc, static_cast<int>(start), y, s + i, end - i);
    at = start + width;
    i = end;
  }
  return MAKELONG(static_cast<WORD>(at - x), static_cast<WORD>(fontOf(dc.font).height()));
}

// DrawStateA's text in one colour at r: the brush's for DSS_UNION and
// DSS_MONO, else the DC's text colour.
void stateText(HDC hdc, const char* s, int n, RECT r, UINT flags, COLORREF color) {
  UINT format = DT_NOCLIP | DT_SINGLELINE;
  if ((flags & 0xF) == DST_TEXT) format |= DT_NOPREFIX;
  if (flags & DSS_HIDEPREFIX) format |= DT_HIDEPREFIX;
  if (flags & DSS_PREFIXONLY) format |= DT_PREFIXONLY;
  if (flags & DSS_RIGHT) format |= DT_RIGHT;
  COLORREF oldColor = SetTextColor(hdc, color);
  int oldMode = SetBkMode(hdc, TRANSPARENT);
  DrawTextA(hdc, s, n, &r, format);
  SetBkMode(hdc, oldMode);
  SetTextColor(hdc, oldColor);
}

}  // namespace

}  // namespace w32

using namespace w32;

extern "C" {

int WINAPI DrawTextExA(HDC hdc, LPSTR lpchText, int cchText, LPRECT lprc, UINT format,
                       LPDRAWTEXTPARAMS lpdtp) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || !lprc) return 0;
  if (lpdtp && lpdtp->cbSize != sizeof(DRAWTEXTPARAMS)) return 0;
  int n = 0;
  if (cchText == 0 || !textLength(lpchText, cchText, &n)) return 0;
  Margins margins;
  if (lpdtp) margins = Margins{lpdtp->iLeftMargin, lpdtp->iRightMargin};
  Layout l = layoutFor(*dc, format, lpdtp, *lprc, margins);
  format = l.format;
  LONG lineHeight = logicalY(*dc, fontOf(dc->font).height());
  if (n == 0) {
    // An empty text is one empty line: measured, it takes no width, and a
    // height only as a single line.
    if (format & DT_CALCRECT) {
      lprc->right = lprc->left;
      lprc->bottom = lprc->top + ((format & DT_SINGLELINE) ? lineHeight : 0);
    }
    return static_cast<int>(lineHeight);
  }
  std::vector<ShownLine> lines = layOut(lpchText, n, l);
  LONG y = firstLineTop(*lprc, format, lineHeight);
  Region saved = dc->clip;
  if (!(format & (DT_NOCLIP | DT_CALCRECT)))
    dc->clip.intersect(offsetRect(toDeviceRect(*dc, *lprc), dc->origin.x, dc->origin.y));
  LONG widest = placeLines(hdc, *dc, lines, *lprc, l, margins, lineHeight, &y);
  dc->clip = saved;
  if ((format & DT_MODIFYSTRING) && (format & (DT_END_ELLIPSIS | DT_PATH_ELLIPSIS)) &&
      lines.size() == 1)
    modifyString(lpchText, n, lines[0]);
  if (format & DT_CALCRECT) {
    lprc->right = lprc->left + widest + margins.left + margins.right;
    lprc->bottom = y;
  }
  if (lpdtp) lpdtp->uiLengthDrawn = static_cast<UINT>(lines.back().sourceEnd);
  // The height drawn, from the rectangle's top to the last line's bottom,
  // which for DT_VCENTER and DT_BOTTOM includes the offset; never 0 for
  // something drawn.
  LONG height = y - lprc->top;
  return height ? static_cast<int>(height) : 1;
}

int WINAPI DrawTextA(HDC hdc, LPCSTR lpchText, int cchText, LPRECT lprc, UINT format) {
  // Without DT_MODIFYSTRING DrawTextExA only reads the text.
  return DrawTextExA(hdc, const_cast<LPSTR>(lpchText), cchText, lprc, format & ~DT_MODIFYSTRING,
                     nullptr);
}

LONG WINAPI TabbedTextOutA(HDC hdc, int x, int y, LPCSTR lpString, int chCount, int nTabPositions,
                           const INT* lpnTabStopPositions, int nTabOrigin) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || chCount < 0 || (chCount > 0 && !lpString)) return 0;
  TabStops tabs = tabStopsFor(*dc, nTabPositions, lpnTabStopPositions, nTabOrigin);
  return tabbedText(hdc, *dc, x, y, lpString, chCount, tabs, true);
}

DWORD WINAPI GetTabbedTextExtentA(HDC hdc, LPCSTR lpString, int chCount, int nTabPositions,
                                  const INT* lpnTabStopPositions) {
  DeviceContext* dc = deviceContext(hdc);
  if (!dc || chCount <= 0 || !lpString) return 0;
  TabStops tabs = tabStopsFor(*dc, nTabPositions, lpnTabStopPositions, 0);
  return static_cast<DWORD>(tabbedText(hdc, *dc, 0, 0, lpString, chCount, tabs, false));
}

// Text (DST_TEXT, DST_PREFIXTEXT) and what a callback draws (DST_COMPLEX,
// or any type given a callback). Disabled text is embossed: a highlight
// one pixel down and right under a shadow. Icons and bitmaps are not
// provided, so DST_ICON and DST_BITMAP fail.
BOOL WINAPI DrawStateA(HDC hdc, HBRUSH hbrFore, DRAWSTATEPROC qfnCallBack, LPARAM lData,
                       WPARAM wData, int x, int y, int cx, int cy, UINT uFlags) {
  DeviceContext* dc = deviceContext(hdc);
  UINT type = uFlags & 0xF;
  if (!dc) return FALSE;
  if (type == DST_COMPLEX || qfnCallBack) {
    if (!qfnCallBack) return FALSE;
    POINT old;
    OffsetViewportOrgEx(hdc, x, y, &old);
    BOOL done = qfnCallBack(hdc, lData, wData, cx, cy);
    SetViewportOrgEx(hdc, old.x, old.y, nullptr);
    return done;
  }
  if ((type != DST_TEXT && type != DST_PREFIXTEXT) || !lData) return FALSE;
  const char* text = reinterpret_cast<const char*>(lData);
  int n = wData ? static_cast<int>(wData) : static_cast<int>(strlen(text));
  RECT r = makeRect(x, y, x + cx, y + cy);
  if (!cx || !cy) {
    RECT box = makeRect(0, 0, 0, 0);
    DrawTextA(hdc, text, n, &box,
              DT_CALCRECT | DT_SINGLELINE | (type == DST_TEXT ? DT_NOPREFIX : 0));
    if (!cx) r.right = x + rectWidth(box);
    if (!cy) r.bottom = y + rectHeight(box);
  }
  COLORREF color = dc->textColor;
  if (uFlags & (DSS_UNION | DSS_MONO)) brushColor(hbrFore, dc, &color);
  if (uFlags & DSS_DISABLED) {
    stateText(hdc, text, n, offsetRect(r, 1, 1), uFlags, GetSysColor(COLOR_3DHILIGHT));
    color = GetSysColor(COLOR_3DSHADOW);
  }
  stateText(hdc, text, n, r, uFlags, color);
  return TRUE;
}

}  // extern "C"

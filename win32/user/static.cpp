// The STATIC class: text, filled and framed rectangles, etched lines and
// frames, and the image kinds (icon, bitmap, metafile) as far as the layer
// has images; its notification clicks and the colours it asks its parent
// for.
// Invariants: a static control tells its parent only through WM_COMMAND
// (and asks it for colours through WM_CTLCOLORSTATIC, once per painting),
// sent, never posted; it paints only inside its client area, with that
// clipping in place while its parent chooses the colours.
#include "user/user.h"

namespace w32 {

namespace {

UINT typeOf(const Window& w) { return w.style & SS_TYPEMASK; }

bool isText(UINT type) {
  return type == SS_LEFT || type == SS_CENTER || type == SS_RIGHT || type == SS_SIMPLE ||
         type == SS_LEFTNOWORDWRAP;
}

// The image type STM_SETIMAGE and STM_GETIMAGE take for a static type; -1
// for the types that hold no image.
int imageTypeOf(UINT type) {
  switch (type) {
  case SS_ICON: return IMAGE_ICON;
  case SS_BITMAP: return IMAGE_BITMAP;
  case SS_ENHMETAFILE: return IMAGE_ENHMETAFILE;
  default: return -1;
  }
}

UINT textFormat(DWORD style) {
  UINT type = style & SS_TYPEMASK;
  UINT format = DT_EXPANDTABS | DT_WORDBREAK;
  if (type == SS_CENTER) format |= DT_CENTER;
  if (type == SS_RIGHT) format |= DT_RIGHT;
  if (type == SS_LEFTNOWORDWRAP) format = DT_EXPANDTABS;
  if (type == SS_SIMPLE) format = DT_SINGLELINE | DT_VCENTER;
  if (style & SS_NOPREFIX) format |= DT_NOPREFIX;
  if (style & SS_EDITCONTROL) format |= DT_EDITCONTROL;
  if ((style & SS_CENTERIMAGE) && type != SS_SIMPLE)
    format = (format & ~DT_WORDBREAK) | DT_SINGLELINE | DT_VCENTER;
  switch (style & SS_ELLIPSISMASK) {
  case SS_ENDELLIPSIS: format |= DT_SINGLELINE | DT_END_ELLIPSIS; break;
  case SS_PATHELLIPSIS: format |= DT_SINGLELINE | DT_PATH_ELLIPSIS; break;
  case SS_WORDELLIPSIS: format |= DT_SINGLELINE | DT_WORD_ELLIPSIS; break;
  default: break;
  }
  return format;
}

// The system colour a filled or framed rectangle type draws with; -1 for
// the other types.
int shapeColor(UINT type) {
  switch (type) {
  case SS_BLACKRECT:
  case SS_BLACKFRAME: return COLOR_3DDKSHADOW;
  case SS_GRAYRECT:
  case SS_GRAYFRAME: return COLOR_3DSHADOW;
  case SS_WHITERECT:
  case SS_WHITEFRAME: return COLOR_3DHILIGHT;
  default: return -1;
  }
}

void paintText(HDC dc, const Window& w, RECT r, HBRUSH brush) {
  FillRect(dc, &r, brush);
  SetBkMode(dc, TRANSPARENT);
  if (w.style & WS_DISABLED) SetTextColor(dc, GetSysColor(COLOR_GRAYTEXT));
  DrawTextA(dc, w.text.c_str(), -1, &r, textFormat(w.style));
}

// EDGE_ETCHED drawn as two one-pixel frames: the shadow, then the
// highlight one pixel in.
void paintEtchedFrame(HDC dc, RECT r) {
  RECT inner = makeRect(r.left + 1, r.top + 1, r.right, r.bottom);
  FrameRect(dc, &inner, GetSysColorBrush(COLOR_3DHILIGHT));
  RECT outer = makeRect(r.left, r.top, r.right - 1, r.bottom - 1);
  FrameRect(dc, &outer, GetSysColorBrush(COLOR_3DSHADOW));
}

// The picture of one static control into dc. Icons, bitmaps and metafiles
// have no pixels in the layer, so their kinds show only their background.
void paintContent(HDC dc, const Window& w, RECT r, HBRUSH brush) {
  UINT type = typeOf(w);
  if (isText(type)) return paintText(dc, w, r, brush);
  int color = shapeColor(type);
  if (color >= 0 && (type == SS_BLACKRECT || type == SS_GRAYRECT || type == SS_WHITERECT)) {
    FillRect(dc, &r, GetSysColorBrush(color));
    return;
  }
  if (color >= 0) {
    FrameRect(dc, &r, GetSysColorBrush(color));
    return;
  }
  if (type == SS_ETCHEDFRAME) return paintEtchedFrame(dc, r);
  // A bitmap leaves its background alone unless centred; with no bitmap it
  // draws nothing at all.
  if (type == SS_BITMAP && !(w.ctl.image && (w.style & SS_CENTERIMAGE))) return;
  if (type == SS_ICON || type == SS_BITMAP || type == SS_ENHMETAFILE) FillRect(dc, &r, brush);
}

// One painting into dc: clipped to the client area (so the parent, asked for
// the colours, sees that clipping), then the program's clipping put back.
void paintStatic(HWND hwnd, HDC dc) {
  Window* w = findWindow(hwnd);
  if (!w) return;
  RECT r = makeRect(0, 0, rectWidth(w->client), rectHeight(w->client));
  HRGN saved = CreateRectRgn(0, 0, 0, 0);
  bool hadClip = GetClipRgn(dc, saved) == 1;
  IntersectClipRect(dc, r.left, r.top, r.right, r.bottom);
  HBRUSH brush = askParentForBrush(hwnd, dc, WM_CTLCOLORSTATIC);
  if ((w = findWindow(hwnd)) != nullptr) {
    selectControlFont(dc, *w);
    paintContent(dc, *w, r, brush);
  }
  SelectClipRgn(dc, hadClip ? saved : nullptr);
  DeleteObject(saved);
}

// What the system does when an image is set: paint at once, if shown.
void repaintNow(HWND hwnd) {
  if (!IsWindowVisible(hwnd)) return;
  HDC dc = GetDC(hwnd);
  paintStatic(hwnd, dc);
  ReleaseDC(hwnd, dc);
}

// STM_SETIMAGE and STM_SETICON: the previous image, or 0 with nothing
// changed when the type is not the control's or the handle is not an image
// the layer knows (only icons and cursors are; no bitmap or metafile is).
LRESULT setImage(HWND hwnd, WPARAM imageType, HANDLE image) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  int mine = imageTypeOf(typeOf(*w));
  if (imageType == IMAGE_CURSOR) imageType = IMAGE_ICON;
  if (mine < 0 || static_cast<int>(imageType) != mine) return 0;
  SIZE size{};
  if (image && (mine != IMAGE_ICON || !iconSize(static_cast<HICON>(image), &size))) return 0;
  HANDLE old = w->ctl.image;
  w->ctl.image = image;
  // An icon sizes the control to itself unless it is centred or the control
  // keeps its size.
  if (image && !(w->style & (SS_CENTERIMAGE | SS_REALSIZECONTROL)))
    SetWindowPos(hwnd, nullptr, 0, 0, size.cx, size.cy,
                 SWP_NOACTIVATE | SWP_NOMOVE | SWP_NOZORDER);
  repaintNow(hwnd);
  return reinterpret_cast<LRESULT>(old);
}

// Etched lines have an empty client area: a horizontal one keeps its width
// and no height, a vertical one its height and no width, the static edge
// their only pixels.
void fitEtchedLine(HWND hwnd) {
  Window* w = findWindow(hwnd);
  if (!w || (typeOf(*w) != SS_ETCHEDHORZ && typeOf(*w) != SS_ETCHEDVERT)) return;
  RECT r = makeRect(0, 0, rectWidth(w->window), rectHeight(w->window));
  if (typeOf(*w) == SS_ETCHEDHORZ) r.bottom = 0;
  else r.right = 0;
  AdjustWindowRectEx(&r, w->style, FALSE, w->exStyle);
  SetWindowPos(hwnd, nullptr, 0, 0, rectWidth(r), rectHeight(r),
               SWP_NOACTIVATE | SWP_NOMOVE | SWP_NOZORDER);
}

}  // namespace

LRESULT CALLBACK staticProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp) {
  Window* w = findWindow(hwnd);
  if (!w) return 0;
  switch (msg) {
  case WM_NCCREATE:
    // Sunken statics and etched lines wear the static edge.
    if ((w->style & SS_SUNKEN) || typeOf(*w) == SS_ETCHEDHORZ || typeOf(*w) == SS_ETCHEDVERT)
      w->exStyle |= WS_EX_STATICEDGE;
    return DefWindowProcA(hwnd, msg, wp, lp);
  case WM_CREATE:
    fitEtchedLine(hwnd);
    return 0;
  case WM_PAINT: {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(hwnd, &ps);
    paintStatic(hwnd, dc);
    EndPaint(hwnd, &ps);
    return 0;
  }
  case WM_ERASEBKGND:
    return 1;
  case WM_GETDLGCODE:
    return DLGC_STATIC;
  case WM_SETFONT:
    setControlFont(hwnd, wp, lp);
    return 0;
  case WM_GETFONT:
    return reinterpret_cast<LRESULT>(w->ctl.font);
  case WM_SETTEXT: {
    LRESULT r = DefWindowProcA(hwnd, msg, wp, lp);
    InvalidateRect(hwnd, nullptr, TRUE);
    return r;
  }
  case WM_ENABLE:
    if (w->style & SS_NOTIFY) notifyParent(hwnd, wp ? STN_ENABLE : STN_DISABLE);
    InvalidateRect(hwnd, nullptr, TRUE);
    return 0;
  case STM_SETIMAGE:
    return setImage(hwnd, wp, reinterpret_cast<HANDLE>(lp));
  case STM_SETICON:
    return setImage(hwnd, IMAGE_ICON, reinterpret_cast<HANDLE>(wp));
  case STM_GETIMAGE:
    if (imageTypeOf(typeOf(*w)) != static_cast<int>(wp)) return 0;
    return reinterpret_cast<LRESULT>(w->ctl.image);
  case STM_GETICON:
    return typeOf(*w) == SS_ICON ? reinterpret_cast<LRESULT>(w->ctl.image) : 0;
  case WM_LBUTTONUP:
    if (w->style & SS_NOTIFY) notifyParent(hwnd, STN_CLICKED);
    return 0;
  case WM_LBUTTONDBLCLK:
    if (w->style & SS_NOTIFY) notifyParent(hwnd, STN_DBLCLK);
    return 0;
  default:
    return DefWindowProcA(hwnd, msg, wp, lp);
  }
}

}  // namespace w32

/* text.c and static.c: OEM code pages, device-independent bitmaps and
 * enhanced metafiles, which the layer does not provide. */
#ifndef TUL_CONFORMANCE_GAPS_TEXT_H
#define TUL_CONFORMANCE_GAPS_TEXT_H

#define CP_OEMCP 1
#define MB_PRECOMPOSED 0x00000001
#define MB_USEGLYPHCHARS 0x00000004

#define BI_RGB 0L
#define DIB_RGB_COLORS 0
typedef struct tagBITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
} BITMAPINFOHEADER;
typedef struct tagRGBQUAD {
  BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
} RGBQUAD;
typedef struct tagBITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
} BITMAPINFO;

DECLARE_HANDLE(HENHMETAFILE);
#define OBM_CLOSE 32754
HICON WINAPI LoadIconW(HINSTANCE instance, LPCWSTR name);

#endif

/* The names edit.c uses beyond the other files' and the layer's headers:
 * Unicode text metrics, font signatures, ABC widths and the charsets of
 * other scripts, which the margin checks ask about fonts the layer does not
 * have (its fonts are bitmap fonts of one charset).
 * Invariant: the same rule as gaps.h, a name the layer gains leaves here. */
#ifndef TUL_CONFORMANCE_GAPS_EDIT_H
#define TUL_CONFORMANCE_GAPS_EDIT_H

typedef struct tagTEXTMETRICW {
  LONG tmHeight, tmAscent, tmDescent, tmInternalLeading, tmExternalLeading;
  LONG tmAveCharWidth, tmMaxCharWidth, tmWeight, tmOverhang;
  LONG tmDigitizedAspectX, tmDigitizedAspectY;
  WCHAR tmFirstChar, tmLastChar, tmDefaultChar, tmBreakChar;
  BYTE tmItalic, tmUnderlined, tmStruckOut, tmPitchAndFamily, tmCharSet;
} TEXTMETRICW;

typedef struct tagFONTSIGNATURE {
  DWORD fsUsb[4];
  DWORD fsCsb[2];
} FONTSIGNATURE;

typedef struct _ABC {
  int abcA;
  UINT abcB;
  int abcC;
} ABC;

#define TMPF_VECTOR 0x02
#define TMPF_TRUETYPE 0x04

#define SHIFTJIS_CHARSET 128
#define HANGUL_CHARSET 129
#define GB2312_CHARSET 134
#define CHINESEBIG5_CHARSET 136
#define GREEK_CHARSET 161
#define EASTEUROPE_CHARSET 238

#define FS_JISJAPAN 0x00020000
#define FS_CHINESESIMP 0x00040000
#define FS_WANSUNG 0x00080000
#define FS_CHINESETRAD 0x00100000
#define FS_JOHAB 0x00200000

#endif

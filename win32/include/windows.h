/* The Win32 API of the Linux layer: the subset of kernel32, user32 and gdi32
 * that the class library and its tests call, with the system's names,
 * constants, __stdcall signatures and 32-bit structure layouts.
 * Invariant: every structure here has the byte layout of 32-bit Windows
 * (checked below), so code that builds against this header builds unchanged
 * against the system's own. Only the "A" (8-bit) forms exist. */
#ifndef TUL_WIN32_WINDOWS_H
#define TUL_WIN32_WINDOWS_H

#include <stddef.h>
#include <string.h>

#if !defined(__i386__)
#error "the Win32 layer is 32-bit only: build with -m32"
#endif

#ifndef __stdcall
#define __stdcall __attribute__((__stdcall__))
#endif
#define WINAPI __stdcall
#define CALLBACK __stdcall
#define APIENTRY __stdcall
#define WINAPIV
#define CONST const
#define VOID void

/* Everything the layer exports is marked; its internals stay hidden. */
#define TUL_WIN32_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define TUL_WIN32_EXTERN_C_BEGIN extern "C" {
#define TUL_WIN32_EXTERN_C_END }
#define TUL_WIN32_ASSERT(cond, what) static_assert(cond, what)
#else
#define TUL_WIN32_EXTERN_C_BEGIN
#define TUL_WIN32_EXTERN_C_END
#define TUL_WIN32_ASSERT(cond, what) _Static_assert(cond, what)
#endif

/* ---- Basic types (the 32-bit ABI: long and pointers are 4 bytes) ---- */

typedef int BOOL;
typedef unsigned char BYTE;
typedef unsigned char UCHAR;
typedef unsigned char BOOLEAN;
typedef unsigned short WORD;
typedef unsigned short USHORT;
typedef unsigned long DWORD;
typedef unsigned long ULONG;
typedef unsigned int UINT;
typedef int INT;
typedef long LONG;
typedef short SHORT;
typedef char CHAR;
typedef float FLOAT;
typedef unsigned short WCHAR; /* UTF-16 code unit, as on the system */
typedef int INT_PTR;
typedef unsigned int UINT_PTR;
typedef long LONG_PTR;
typedef unsigned long ULONG_PTR;
typedef ULONG_PTR DWORD_PTR;
typedef ULONG_PTR SIZE_T;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef LONG HRESULT;
typedef WORD ATOM;
typedef DWORD COLORREF;
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef CHAR* LPSTR;
typedef const CHAR* LPCSTR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef BYTE* LPBYTE;
typedef BYTE* PBYTE;
typedef WORD* LPWORD;
typedef DWORD* LPDWORD;
typedef DWORD* PDWORD;
typedef INT* LPINT;
typedef LONG* LPLONG;
typedef BOOL* LPBOOL;
typedef COLORREF* LPCOLORREF;
typedef void* HANDLE;

#define DECLARE_HANDLE(name) \
  struct name##__ {          \
    int unused;              \
  };                         \
  typedef struct name##__* name

DECLARE_HANDLE(HWND);
DECLARE_HANDLE(HINSTANCE);
DECLARE_HANDLE(HDC);
DECLARE_HANDLE(HBRUSH);
DECLARE_HANDLE(HPEN);
DECLARE_HANDLE(HFONT);
DECLARE_HANDLE(HBITMAP);
DECLARE_HANDLE(HRGN);
DECLARE_HANDLE(HPALETTE);
DECLARE_HANDLE(HMENU);
DECLARE_HANDLE(HICON);
DECLARE_HANDLE(HACCEL);
DECLARE_HANDLE(HKEY);
DECLARE_HANDLE(HMONITOR);
typedef HANDLE HDWP;
typedef HINSTANCE HMODULE;
typedef HICON HCURSOR;
typedef void* HGDIOBJ;
typedef HANDLE HGLOBAL;
typedef HANDLE HLOCAL;

#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif
#ifndef NULL
#define NULL 0
#endif

/* ---- Word and colour macros ---- */

#define LOWORD(l) ((WORD)(((DWORD_PTR)(l)) & 0xffff))
#define HIWORD(l) ((WORD)((((DWORD_PTR)(l)) >> 16) & 0xffff))
#define LOBYTE(w) ((BYTE)(((DWORD_PTR)(w)) & 0xff))
#define HIBYTE(w) ((BYTE)((((DWORD_PTR)(w)) >> 8) & 0xff))
#define MAKEWORD(a, b) ((WORD)(((BYTE)((a) & 0xff)) | ((WORD)((BYTE)((b) & 0xff))) << 8))
#define MAKELONG(a, b) ((LONG)(((WORD)((a) & 0xffff)) | ((DWORD)((WORD)((b) & 0xffff))) << 16))
#define MAKEWPARAM(l, h) ((WPARAM)(DWORD)MAKELONG(l, h))
#define MAKELPARAM(l, h) ((LPARAM)(DWORD)MAKELONG(l, h))
#define MAKELRESULT(l, h) ((LRESULT)(DWORD)MAKELONG(l, h))
#define MAKEINTRESOURCEA(i) ((LPSTR)((ULONG_PTR)((WORD)(i))))
#define MAKEINTRESOURCE MAKEINTRESOURCEA
#define IS_INTRESOURCE(p) ((((ULONG_PTR)(p)) >> 16) == 0)
#define MAKEINTATOM(i) ((LPSTR)((ULONG_PTR)((WORD)(i))))
#define RGB(r, g, b) ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(rgb) (LOBYTE(rgb))
#define GetGValue(rgb) (LOBYTE(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) (LOBYTE((rgb) >> 16))
#define CLR_INVALID 0xFFFFFFFF

#define ZeroMemory(d, n) memset((d), 0, (n))
#define CopyMemory(d, s, n) memcpy((d), (s), (n))
#define MoveMemory(d, s, n) memmove((d), (s), (n))
#define FillMemory(d, n, c) memset((d), (c), (n))

/* ---- Geometry and message structures ---- */

typedef struct tagPOINT {
  LONG x;
  LONG y;
} POINT, *PPOINT, *LPPOINT;

typedef struct tagSIZE {
  LONG cx;
  LONG cy;
} SIZE, *PSIZE, *LPSIZE;

typedef struct tagRECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
} RECT, *PRECT, *LPRECT;
typedef const RECT* LPCRECT;

typedef struct tagPOINTS {
  SHORT x;
  SHORT y;
} POINTS;

typedef struct tagMSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
} MSG, *PMSG, *LPMSG;

typedef LRESULT(CALLBACK* WNDPROC)(HWND, UINT, WPARAM, LPARAM);
typedef BOOL(CALLBACK* WNDENUMPROC)(HWND, LPARAM);
typedef void(CALLBACK* TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);
typedef INT_PTR(CALLBACK* DLGPROC)(HWND, UINT, WPARAM, LPARAM);

typedef struct tagWNDCLASSEXA {
  UINT cbSize;
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCSTR lpszMenuName;
  LPCSTR lpszClassName;
  HICON hIconSm;
} WNDCLASSEXA, *PWNDCLASSEXA, *LPWNDCLASSEXA;

typedef struct tagWNDCLASSA {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCSTR lpszMenuName;
  LPCSTR lpszClassName;
} WNDCLASSA, *PWNDCLASSA, *LPWNDCLASSA;

typedef struct tagCREATESTRUCTA {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCSTR lpszName;
  LPCSTR lpszClass;
  DWORD dwExStyle;
} CREATESTRUCTA, *LPCREATESTRUCTA;

typedef struct tagWINDOWPOS {
  HWND hwnd;
  HWND hwndInsertAfter;
  int x;
  int y;
  int cx;
  int cy;
  UINT flags;
} WINDOWPOS, *LPWINDOWPOS, *PWINDOWPOS;

typedef struct tagNCCALCSIZE_PARAMS {
  RECT rgrc[3];
  PWINDOWPOS lppos;
} NCCALCSIZE_PARAMS, *LPNCCALCSIZE_PARAMS;

typedef struct tagMINMAXINFO {
  POINT ptReserved;
  POINT ptMaxSize;
  POINT ptMaxPosition;
  POINT ptMinTrackSize;
  POINT ptMaxTrackSize;
} MINMAXINFO, *PMINMAXINFO, *LPMINMAXINFO;

typedef struct tagWINDOWPLACEMENT {
  UINT length;
  UINT flags;
  UINT showCmd;
  POINT ptMinPosition;
  POINT ptMaxPosition;
  RECT rcNormalPosition;
} WINDOWPLACEMENT, *PWINDOWPLACEMENT, *LPWINDOWPLACEMENT;

typedef struct tagSTYLESTRUCT {
  DWORD styleOld;
  DWORD styleNew;
} STYLESTRUCT, *LPSTYLESTRUCT;

typedef struct tagPAINTSTRUCT {
  HDC hdc;
  BOOL fErase;
  RECT rcPaint;
  BOOL fRestore;
  BOOL fIncUpdate;
  BYTE rgbReserved[32];
} PAINTSTRUCT, *PPAINTSTRUCT, *LPPAINTSTRUCT;

typedef struct tagSCROLLINFO {
  UINT cbSize;
  UINT fMask;
  int nMin;
  int nMax;
  UINT nPage;
  int nPos;
  int nTrackPos;
} SCROLLINFO, *LPSCROLLINFO;
typedef const SCROLLINFO* LPCSCROLLINFO;
/* rgstate: [0] the bar, [1] top arrow, [2] page above, [3] thumb, [4] page
 * below, [5] bottom arrow (STATE_SYSTEM_* flags). */
typedef struct tagSCROLLBARINFO {
  DWORD cbSize;
  RECT rcScrollBar;
  int dxyLineButton;
  int xyThumbTop;
  int xyThumbBottom;
  int reserved;
  DWORD rgstate[6];
} SCROLLBARINFO, *PSCROLLBARINFO, *LPSCROLLBARINFO;

typedef struct tagLOGFONTA {
  LONG lfHeight;
  LONG lfWidth;
  LONG lfEscapement;
  LONG lfOrientation;
  LONG lfWeight;
  BYTE lfItalic;
  BYTE lfUnderline;
  BYTE lfStrikeOut;
  BYTE lfCharSet;
  BYTE lfOutPrecision;
  BYTE lfClipPrecision;
  BYTE lfQuality;
  BYTE lfPitchAndFamily;
  CHAR lfFaceName[32];
} LOGFONTA, *LPLOGFONTA;

typedef struct tagNONCLIENTMETRICSA {
  UINT cbSize;
  int iBorderWidth;
  int iScrollWidth;
  int iScrollHeight;
  int iCaptionWidth;
  int iCaptionHeight;
  LOGFONTA lfCaptionFont;
  int iSmCaptionWidth;
  int iSmCaptionHeight;
  LOGFONTA lfSmCaptionFont;
  int iMenuWidth;
  int iMenuHeight;
  LOGFONTA lfMenuFont;
  LOGFONTA lfStatusFont;
  LOGFONTA lfMessageFont;
  int iPaddedBorderWidth;
} NONCLIENTMETRICSA, *LPNONCLIENTMETRICSA;

typedef struct tagACCEL {
  BYTE fVirt;
  WORD key;
  WORD cmd;
} ACCEL, *LPACCEL;

typedef struct tagLOGBRUSH {
  UINT lbStyle;
  COLORREF lbColor;
  ULONG_PTR lbHatch;
} LOGBRUSH, *LPLOGBRUSH;

typedef struct tagLOGPEN {
  UINT lopnStyle;
  POINT lopnWidth;
  COLORREF lopnColor;
} LOGPEN, *LPLOGPEN;

typedef struct tagTEXTMETRICA {
  LONG tmHeight;
  LONG tmAscent;
  LONG tmDescent;
  LONG tmInternalLeading;
  LONG tmExternalLeading;
  LONG tmAveCharWidth;
  LONG tmMaxCharWidth;
  LONG tmWeight;
  LONG tmOverhang;
  LONG tmDigitizedAspectX;
  LONG tmDigitizedAspectY;
  BYTE tmFirstChar;
  BYTE tmLastChar;
  BYTE tmDefaultChar;
  BYTE tmBreakChar;
  BYTE tmItalic;
  BYTE tmUnderlined;
  BYTE tmStruckOut;
  BYTE tmPitchAndFamily;
  BYTE tmCharSet;
} TEXTMETRICA, *LPTEXTMETRICA;

TUL_WIN32_ASSERT(sizeof(POINT) == 8, "POINT is 8 bytes");
TUL_WIN32_ASSERT(sizeof(RECT) == 16, "RECT is 16 bytes");
TUL_WIN32_ASSERT(sizeof(MSG) == 28, "MSG is 28 bytes");
TUL_WIN32_ASSERT(offsetof(MSG, time) == 16 && offsetof(MSG, pt) == 20, "MSG layout");
TUL_WIN32_ASSERT(sizeof(WNDCLASSEXA) == 48, "WNDCLASSEXA is 48 bytes");
TUL_WIN32_ASSERT(offsetof(WNDCLASSEXA, hbrBackground) == 32, "WNDCLASSEXA layout");
TUL_WIN32_ASSERT(offsetof(WNDCLASSEXA, hIconSm) == 44, "WNDCLASSEXA layout");
TUL_WIN32_ASSERT(sizeof(WNDCLASSA) == 40, "WNDCLASSA is 40 bytes");
TUL_WIN32_ASSERT(sizeof(CREATESTRUCTA) == 48, "CREATESTRUCTA is 48 bytes");
TUL_WIN32_ASSERT(offsetof(CREATESTRUCTA, cy) == 16 && offsetof(CREATESTRUCTA, x) == 28,
                 "CREATESTRUCTA layout");
TUL_WIN32_ASSERT(offsetof(CREATESTRUCTA, dwExStyle) == 44, "CREATESTRUCTA layout");
TUL_WIN32_ASSERT(sizeof(WINDOWPOS) == 28, "WINDOWPOS is 28 bytes");
TUL_WIN32_ASSERT(sizeof(NCCALCSIZE_PARAMS) == 52, "NCCALCSIZE_PARAMS is 52 bytes");
TUL_WIN32_ASSERT(offsetof(NCCALCSIZE_PARAMS, lppos) == 48, "NCCALCSIZE_PARAMS layout");
TUL_WIN32_ASSERT(sizeof(MINMAXINFO) == 40, "MINMAXINFO is 40 bytes");
TUL_WIN32_ASSERT(sizeof(WINDOWPLACEMENT) == 44, "WINDOWPLACEMENT is 44 bytes");
TUL_WIN32_ASSERT(offsetof(WINDOWPLACEMENT, rcNormalPosition) == 28, "WINDOWPLACEMENT layout");
TUL_WIN32_ASSERT(sizeof(PAINTSTRUCT) == 64, "PAINTSTRUCT is 64 bytes");
TUL_WIN32_ASSERT(offsetof(PAINTSTRUCT, rcPaint) == 8 && offsetof(PAINTSTRUCT, rgbReserved) == 32,
                 "PAINTSTRUCT layout");
TUL_WIN32_ASSERT(sizeof(SCROLLINFO) == 28, "SCROLLINFO is 28 bytes");
TUL_WIN32_ASSERT(sizeof(LOGFONTA) == 60, "LOGFONTA is 60 bytes");
TUL_WIN32_ASSERT(sizeof(NONCLIENTMETRICSA) == 344, "NONCLIENTMETRICSA is 344 bytes");
TUL_WIN32_ASSERT(sizeof(SCROLLBARINFO) == 60 && offsetof(SCROLLBARINFO, rgstate) == 36,
                 "SCROLLBARINFO layout");
TUL_WIN32_ASSERT(offsetof(SCROLLINFO, nPage) == 16 && offsetof(SCROLLINFO, nTrackPos) == 24,
                 "SCROLLINFO layout");
TUL_WIN32_ASSERT(sizeof(ACCEL) == 6, "ACCEL is 6 bytes");
TUL_WIN32_ASSERT(offsetof(ACCEL, key) == 2 && offsetof(ACCEL, cmd) == 4, "ACCEL layout");
TUL_WIN32_ASSERT(sizeof(STYLESTRUCT) == 8, "STYLESTRUCT is 8 bytes");
TUL_WIN32_ASSERT(sizeof(TEXTMETRICA) == 56, "TEXTMETRICA is 56 bytes");

/* ---- Errors (kernel32) ---- */

#define ERROR_SUCCESS 0L
#define NO_ERROR 0L
#define ERROR_INVALID_FUNCTION 1L
#define ERROR_FILE_NOT_FOUND 2L
#define ERROR_ACCESS_DENIED 5L
#define ERROR_INVALID_HANDLE 6L
#define ERROR_NOT_ENOUGH_MEMORY 8L
#define ERROR_INVALID_PARAMETER 87L
#define ERROR_INSUFFICIENT_BUFFER 122L
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_NOACCESS 998L
#define ERROR_MOD_NOT_FOUND 126L
#define ERROR_INVALID_WINDOW_HANDLE 1400L
#define ERROR_INVALID_MENU_HANDLE 1401L
#define ERROR_INVALID_DWP_HANDLE 1405L
#define ERROR_CHILD_WINDOW_MENU 1436L
#define ERROR_INVALID_CURSOR_HANDLE 1402L
#define ERROR_INVALID_ACCEL_HANDLE 1403L
#define ERROR_TLW_WITH_WSCHILD 1406L
#define ERROR_CANNOT_FIND_WND_CLASS 1407L
#define ERROR_WINDOW_OF_OTHER_THREAD 1408L
#define ERROR_CLASS_ALREADY_EXISTS 1410L
#define ERROR_CLASS_DOES_NOT_EXIST 1411L
#define ERROR_CLASS_HAS_WINDOWS 1412L
#define ERROR_NO_MORE_USER_HANDLES 1158L
#define ERROR_INVALID_INDEX 1413L
#define ERROR_NO_SCROLLBARS 1447L
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814L
#define ERROR_PATH_NOT_FOUND 3L
#define ERROR_TOO_MANY_OPEN_FILES 4L
#define ERROR_NO_MORE_FILES 18L
#define ERROR_WRITE_PROTECT 19L
#define ERROR_GEN_FAILURE 31L
#define ERROR_SHARING_VIOLATION 32L
#define ERROR_HANDLE_EOF 38L
#define ERROR_BAD_NETPATH 53L
#define ERROR_FILE_EXISTS 80L
#define ERROR_DISK_FULL 112L
#define ERROR_INVALID_NAME 123L
#define ERROR_NEGATIVE_SEEK 131L
#define ERROR_DIR_NOT_EMPTY 145L
#define ERROR_ALREADY_EXISTS 183L
#define ERROR_FILENAME_EXCED_RANGE 206L
#define ERROR_DIRECTORY 267L
#define ERROR_INVALID_USER_BUFFER 1784L

/* ---- Files (kernel32) ---- */

#define MAX_PATH 260

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)
#define INVALID_FILE_SIZE ((DWORD)0xFFFFFFFF)
#define INVALID_SET_FILE_POINTER ((DWORD)-1)
#define INVALID_FILE_ATTRIBUTES ((DWORD)-1)

#define GENERIC_READ 0x80000000L
#define GENERIC_WRITE 0x40000000L
#define GENERIC_EXECUTE 0x20000000L
#define GENERIC_ALL 0x10000000L
#define DELETE 0x00010000L
#define FILE_READ_DATA 0x0001
#define FILE_WRITE_DATA 0x0002
#define FILE_APPEND_DATA 0x0004

#define FILE_SHARE_READ 0x00000001
#define FILE_SHARE_WRITE 0x00000002
#define FILE_SHARE_DELETE 0x00000004

#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5

#define FILE_ATTRIBUTE_READONLY 0x00000001
#define FILE_ATTRIBUTE_HIDDEN 0x00000002
#define FILE_ATTRIBUTE_SYSTEM 0x00000004
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020
#define FILE_ATTRIBUTE_NORMAL 0x00000080
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100
#define FILE_FLAG_BACKUP_SEMANTICS 0x02000000
#define FILE_FLAG_DELETE_ON_CLOSE 0x04000000

#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2

typedef struct _SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *PSECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

/* The system's Offset/OffsetHigh pair shares a union with a Pointer member;
 * the layer has no asynchronous I/O and keeps only the pair. */
typedef struct _OVERLAPPED {
  ULONG_PTR Internal;
  ULONG_PTR InternalHigh;
  DWORD Offset;
  DWORD OffsetHigh;
  HANDLE hEvent;
} OVERLAPPED, *LPOVERLAPPED;

/* 100-nanosecond intervals since 1 January 1601 (UTC). */
typedef struct _FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
} FILETIME, *PFILETIME, *LPFILETIME;

typedef struct _WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwReserved0;
  DWORD dwReserved1;
  CHAR cFileName[MAX_PATH];
  CHAR cAlternateFileName[14];
} WIN32_FIND_DATAA, *PWIN32_FIND_DATAA, *LPWIN32_FIND_DATAA;

TUL_WIN32_ASSERT(sizeof(SECURITY_ATTRIBUTES) == 12, "SECURITY_ATTRIBUTES is 12 bytes");
TUL_WIN32_ASSERT(sizeof(OVERLAPPED) == 20, "OVERLAPPED is 20 bytes");
TUL_WIN32_ASSERT(sizeof(WIN32_FIND_DATAA) == 320, "WIN32_FIND_DATAA is 320 bytes");
TUL_WIN32_ASSERT(offsetof(WIN32_FIND_DATAA, ftLastWriteTime) == 20 &&
                     offsetof(WIN32_FIND_DATAA, nFileSizeLow) == 32 &&
                     offsetof(WIN32_FIND_DATAA, cFileName) == 44 &&
                     offsetof(WIN32_FIND_DATAA, cAlternateFileName) == 304,
                 "WIN32_FIND_DATAA layout");

/* ---- Window styles ---- */

#define WS_OVERLAPPED 0x00000000L
#define WS_POPUP 0x80000000L
#define WS_CHILD 0x40000000L
#define WS_MINIMIZE 0x20000000L
#define WS_VISIBLE 0x10000000L
#define WS_DISABLED 0x08000000L
#define WS_CLIPSIBLINGS 0x04000000L
#define WS_CLIPCHILDREN 0x02000000L
#define WS_MAXIMIZE 0x01000000L
#define WS_CAPTION 0x00C00000L
#define WS_BORDER 0x00800000L
#define WS_DLGFRAME 0x00400000L
#define WS_VSCROLL 0x00200000L
#define WS_HSCROLL 0x00100000L
#define WS_SYSMENU 0x00080000L
#define WS_THICKFRAME 0x00040000L
#define WS_GROUP 0x00020000L
#define WS_TABSTOP 0x00010000L
#define WS_MINIMIZEBOX 0x00020000L
#define WS_MAXIMIZEBOX 0x00010000L
#define WS_TILED WS_OVERLAPPED
#define WS_ICONIC WS_MINIMIZE
#define WS_SIZEBOX WS_THICKFRAME
#define WS_OVERLAPPEDWINDOW \
  (WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX)
#define WS_TILEDWINDOW WS_OVERLAPPEDWINDOW
#define WS_POPUPWINDOW (WS_POPUP | WS_BORDER | WS_SYSMENU)
#define WS_CHILDWINDOW WS_CHILD

#define WS_EX_DLGMODALFRAME 0x00000001L
#define WS_EX_NOPARENTNOTIFY 0x00000004L
#define WS_EX_TOPMOST 0x00000008L
#define WS_EX_ACCEPTFILES 0x00000010L
#define WS_EX_TRANSPARENT 0x00000020L
#define WS_EX_MDICHILD 0x00000040L
#define WS_EX_TOOLWINDOW 0x00000080L
#define WS_EX_WINDOWEDGE 0x00000100L
#define WS_EX_CLIENTEDGE 0x00000200L
#define WS_EX_CONTEXTHELP 0x00000400L
#define WS_EX_RIGHT 0x00001000L
#define WS_EX_LEFT 0x00000000L
#define WS_EX_CONTROLPARENT 0x00010000L
#define WS_EX_STATICEDGE 0x00020000L
#define WS_EX_APPWINDOW 0x00040000L
#define WS_EX_OVERLAPPEDWINDOW (WS_EX_WINDOWEDGE | WS_EX_CLIENTEDGE)
#define WS_EX_PALETTEWINDOW (WS_EX_WINDOWEDGE | WS_EX_TOOLWINDOW | WS_EX_TOPMOST)

#define CS_VREDRAW 0x0001
#define CS_HREDRAW 0x0002
#define CS_DBLCLKS 0x0008
#define CS_OWNDC 0x0020
#define CS_CLASSDC 0x0040
#define CS_PARENTDC 0x0080
#define CS_NOCLOSE 0x0200
#define CS_SAVEBITS 0x0800
#define CS_GLOBALCLASS 0x4000
#define CS_DROPSHADOW 0x00020000

#define CW_USEDEFAULT ((int)0x80000000)

/* ---- Window messages ---- */

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_MOVE 0x0003
#define WM_SIZE 0x0005
#define WM_ACTIVATE 0x0006
#define WM_SETFOCUS 0x0007
#define WM_KILLFOCUS 0x0008
#define WM_ENABLE 0x000A
#define WM_SETREDRAW 0x000B
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_QUERYENDSESSION 0x0011
#define WM_QUIT 0x0012
#define WM_QUERYOPEN 0x0013
#define WM_ERASEBKGND 0x0014
#define WM_SYSCOLORCHANGE 0x0015
#define WM_ENDSESSION 0x0016
#define WM_SHOWWINDOW 0x0018
#define WM_SETTINGCHANGE 0x001A
#define WM_ACTIVATEAPP 0x001C
#define WM_CANCELMODE 0x001F
#define WM_SETCURSOR 0x0020
#define WM_MOUSEACTIVATE 0x0021
#define WM_CHILDACTIVATE 0x0022
#define WM_GETMINMAXINFO 0x0024
#define WM_ICONERASEBKGND 0x0027
#define WM_NEXTDLGCTL 0x0028
#define WM_DRAWITEM 0x002B
#define WM_MEASUREITEM 0x002C
#define WM_VKEYTOITEM 0x002E
#define WM_CHARTOITEM 0x002F
#define WM_SETFONT 0x0030
#define WM_GETFONT 0x0031
#define WM_QUERYDRAGICON 0x0037
#define WM_COMPAREITEM 0x0039
#define WM_WINDOWPOSCHANGING 0x0046
#define WM_WINDOWPOSCHANGED 0x0047
#define WM_NOTIFY 0x004E
#define WM_HELP 0x0053
#define WM_CONTEXTMENU 0x007B
#define WM_STYLECHANGING 0x007C
#define WM_STYLECHANGED 0x007D
#define WM_DISPLAYCHANGE 0x007E
#define WM_GETICON 0x007F
#define WM_SETICON 0x0080
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_NCCALCSIZE 0x0083
#define WM_NCHITTEST 0x0084
#define WM_NCPAINT 0x0085
#define WM_NCACTIVATE 0x0086
#define WM_GETDLGCODE 0x0087
#define WM_NCMOUSEMOVE 0x00A0
#define WM_NCLBUTTONDOWN 0x00A1
#define WM_NCLBUTTONUP 0x00A2
#define WM_NCLBUTTONDBLCLK 0x00A3
#define WM_KEYFIRST 0x0100
#define WM_KEYDOWN 0x0100
#define WM_KEYUP 0x0101
#define WM_CHAR 0x0102
#define WM_DEADCHAR 0x0103
#define WM_SYSKEYDOWN 0x0104
#define WM_SYSKEYUP 0x0105
#define WM_SYSCHAR 0x0106
#define WM_SYSDEADCHAR 0x0107
#define WM_KEYLAST 0x0109
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_SYSCOMMAND 0x0112
#define WM_TIMER 0x0113
#define WM_HSCROLL 0x0114
#define WM_VSCROLL 0x0115
#define WM_INITMENU 0x0116
#define WM_INITMENUPOPUP 0x0117
#define WM_MENUSELECT 0x011F
#define WM_ENTERIDLE 0x0121
#define WM_CTLCOLORMSGBOX 0x0132
#define WM_CTLCOLOREDIT 0x0133
#define WM_CTLCOLORLISTBOX 0x0134
#define WM_CTLCOLORBTN 0x0135
#define WM_CTLCOLORDLG 0x0136
#define WM_CTLCOLORSCROLLBAR 0x0137
#define WM_CTLCOLORSTATIC 0x0138
#define WM_MOUSEFIRST 0x0200
#define WM_MOUSEMOVE 0x0200
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202
#define WM_LBUTTONDBLCLK 0x0203
#define WM_RBUTTONDOWN 0x0204
#define WM_RBUTTONUP 0x0205
#define WM_RBUTTONDBLCLK 0x0206
#define WM_MBUTTONDOWN 0x0207
#define WM_MBUTTONUP 0x0208
#define WM_MBUTTONDBLCLK 0x0209
#define WM_MOUSEWHEEL 0x020A
#define WM_MOUSELAST 0x020A
#define WM_PARENTNOTIFY 0x0210
#define WM_ENTERMENULOOP 0x0211
#define WM_EXITMENULOOP 0x0212
#define WM_SIZING 0x0214
#define WM_CAPTURECHANGED 0x0215
#define WM_MOVING 0x0216
#define WM_ENTERSIZEMOVE 0x0231
#define WM_EXITSIZEMOVE 0x0232
#define WM_CUT 0x0300
#define WM_COPY 0x0301
#define WM_PASTE 0x0302
#define WM_CLEAR 0x0303
#define WM_UNDO 0x0304
#define WM_USER 0x0400
#define WM_APP 0x8000

/* WM_SIZE */
#define SIZE_RESTORED 0
#define SIZE_MINIMIZED 1
#define SIZE_MAXIMIZED 2
#define SIZE_MAXSHOW 3
#define SIZE_MAXHIDE 4
/* WM_ACTIVATE */
#define WA_INACTIVE 0
#define WA_ACTIVE 1
#define WA_CLICKACTIVE 2
/* WM_SYSCOMMAND */
#define SC_SIZE 0xF000
#define SC_MOVE 0xF010
#define SC_MINIMIZE 0xF020
#define SC_MAXIMIZE 0xF030
#define SC_NEXTWINDOW 0xF040
#define SC_PREVWINDOW 0xF050
#define SC_CLOSE 0xF060
#define SC_VSCROLL 0xF070
#define SC_HSCROLL 0xF080
#define SC_MOUSEMENU 0xF090
#define SC_KEYMENU 0xF100
#define SC_RESTORE 0xF120
/* WM_NCHITTEST */
#define HTERROR (-2)
#define HTTRANSPARENT (-1)
#define HTNOWHERE 0
#define HTCLIENT 1
#define HTCAPTION 2
#define HTSYSMENU 3
#define HTMENU 5
#define HTHSCROLL 6
#define HTVSCROLL 7
#define HTMINBUTTON 8
#define HTMAXBUTTON 9
#define HTLEFT 10
#define HTRIGHT 11
#define HTTOP 12
#define HTTOPLEFT 13
#define HTTOPRIGHT 14
#define HTBOTTOM 15
#define HTBOTTOMLEFT 16
#define HTBOTTOMRIGHT 17
#define HTBORDER 18
#define HTCLOSE 20
/* Mouse key flags */
#define MK_LBUTTON 0x0001
#define MK_RBUTTON 0x0002
#define MK_SHIFT 0x0004
#define MK_CONTROL 0x0008
#define MK_MBUTTON 0x0010
/* WM_NCCALCSIZE results */
#define WVR_ALIGNTOP 0x0010
#define WVR_VALIDRECTS 0x0400

/* ---- ShowWindow, SetWindowPos, GetWindow ---- */

#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_NORMAL 1
#define SW_SHOWMINIMIZED 2
#define SW_SHOWMAXIMIZED 3
#define SW_MAXIMIZE 3
#define SW_SHOWNOACTIVATE 4
#define SW_SHOW 5
#define SW_MINIMIZE 6
#define SW_SHOWMINNOACTIVE 7
#define SW_SHOWNA 8
#define SW_RESTORE 9
#define SW_SHOWDEFAULT 10
#define SW_FORCEMINIMIZE 11
#define SW_MAX 11
/* WM_SHOWWINDOW's lParam when an owner changes state */
#define SW_PARENTCLOSING 1
#define SW_OTHERZOOM 2
#define SW_PARENTOPENING 3
#define SW_OTHERUNZOOM 4

#define SWP_NOSIZE 0x0001
#define SWP_NOMOVE 0x0002
#define SWP_NOZORDER 0x0004
#define SWP_NOREDRAW 0x0008
#define SWP_NOACTIVATE 0x0010
#define SWP_FRAMECHANGED 0x0020
#define SWP_DRAWFRAME SWP_FRAMECHANGED
#define SWP_SHOWWINDOW 0x0040
#define SWP_HIDEWINDOW 0x0080
#define SWP_NOCOPYBITS 0x0100
#define SWP_NOOWNERZORDER 0x0200
#define SWP_NOREPOSITION SWP_NOOWNERZORDER
#define SWP_NOSENDCHANGING 0x0400
#define SWP_DEFERERASE 0x2000
#define SWP_ASYNCWINDOWPOS 0x4000

#define HWND_TOP ((HWND)0)
#define HWND_BOTTOM ((HWND)1)
#define HWND_TOPMOST ((HWND)-1)
#define HWND_NOTOPMOST ((HWND)-2)
#define HWND_MESSAGE ((HWND)-3)
#define HWND_BROADCAST ((HWND)0xffff)
#define HWND_DESKTOP ((HWND)0)

#define GW_HWNDFIRST 0
#define GW_HWNDLAST 1
#define GW_HWNDNEXT 2
#define GW_HWNDPREV 3
#define GW_OWNER 4
#define GW_CHILD 5
#define GW_ENABLEDPOPUP 6

#define GA_PARENT 1
#define GA_ROOT 2
#define GA_ROOTOWNER 3

#define WPF_SETMINPOSITION 0x0001
#define WPF_RESTORETOMAXIMIZED 0x0002

/* ---- Window and class data ---- */

#define GWL_WNDPROC (-4)
#define GWL_HINSTANCE (-6)
#define GWL_HWNDPARENT (-8)
#define GWL_STYLE (-16)
#define GWL_EXSTYLE (-20)
#define GWL_USERDATA (-21)
#define GWL_ID (-12)
#define GWLP_WNDPROC (-4)
#define GWLP_HINSTANCE (-6)
#define GWLP_HWNDPARENT (-8)
#define GWLP_USERDATA (-21)
#define GWLP_ID (-12)
#define GCL_MENUNAME (-8)
#define GCL_HBRBACKGROUND (-10)
#define GCL_HCURSOR (-12)
#define GCL_HICON (-14)
#define GCL_HMODULE (-16)
#define GCL_CBWNDEXTRA (-18)
#define GCL_CBCLSEXTRA (-20)
#define GCL_WNDPROC (-24)
#define GCL_STYLE (-26)
#define GCW_ATOM (-32)
#define GCLP_HBRBACKGROUND (-10)
#define GCLP_HCURSOR (-12)
#define GCLP_WNDPROC (-24)
#define GCLP_HMODULE (-16)

/* ---- System metrics and colours ---- */

#define SM_CXSCREEN 0
#define SM_CYSCREEN 1
#define SM_CXVSCROLL 2
#define SM_CYHSCROLL 3
#define SM_CYCAPTION 4
#define SM_CXBORDER 5
#define SM_CYBORDER 6
#define SM_CXDLGFRAME 7
#define SM_CYDLGFRAME 8
#define SM_CYVTHUMB 9
#define SM_CXHTHUMB 10
#define SM_CXICON 11
#define SM_CYICON 12
#define SM_CXCURSOR 13
#define SM_CYCURSOR 14
#define SM_CYMENU 15
#define SM_CXFULLSCREEN 16
#define SM_CYFULLSCREEN 17
#define SM_CYVSCROLL 20
#define SM_CXHSCROLL 21
#define SM_CXMIN 28
#define SM_CYMIN 29
#define SM_CXSIZE 30
#define SM_CXSMICON 49
#define SM_CYSMICON 50
#define SM_CYSMCAPTION 51
#define SM_CXSMSIZE 52
#define SM_CYSMSIZE 53
#define SM_CXMENUSIZE 54
#define SM_CYMENUSIZE 55
#define SM_CYSIZE 31
#define SM_CXFRAME 32
#define SM_CYFRAME 33
#define SM_CXMINTRACK 34
#define SM_CYMINTRACK 35
#define SM_CXDOUBLECLK 36
#define SM_CYDOUBLECLK 37
#define SM_CXICONSPACING 38
#define SM_CYICONSPACING 39
#define SM_CXFIXEDFRAME SM_CXDLGFRAME
#define SM_CYFIXEDFRAME SM_CYDLGFRAME
#define SM_CXSIZEFRAME SM_CXFRAME
#define SM_CYSIZEFRAME SM_CYFRAME
#define SM_CXEDGE 45
#define SM_CYEDGE 46
#define SM_CXMINIMIZED 57
#define SM_CYMINIMIZED 58
#define SM_CXMAXTRACK 59
#define SM_CYMAXTRACK 60
#define SM_CXMAXIMIZED 61
#define SM_CYMAXIMIZED 62
#define SM_CXVIRTUALSCREEN 78
#define SM_CYVIRTUALSCREEN 79
#define SM_CMONITORS 80
#define SM_CXPADDEDBORDER 92

#define COLOR_SCROLLBAR 0
#define COLOR_BACKGROUND 1
#define COLOR_DESKTOP 1
#define COLOR_ACTIVECAPTION 2
#define COLOR_INACTIVECAPTION 3
#define COLOR_MENU 4
#define COLOR_WINDOW 5
#define COLOR_WINDOWFRAME 6
#define COLOR_MENUTEXT 7
#define COLOR_WINDOWTEXT 8
#define COLOR_CAPTIONTEXT 9
#define COLOR_ACTIVEBORDER 10
#define COLOR_INACTIVEBORDER 11
#define COLOR_APPWORKSPACE 12
#define COLOR_HIGHLIGHT 13
#define COLOR_HIGHLIGHTTEXT 14
#define COLOR_BTNFACE 15
#define COLOR_3DFACE 15
#define COLOR_BTNSHADOW 16
#define COLOR_3DSHADOW 16
#define COLOR_GRAYTEXT 17
#define COLOR_BTNTEXT 18
#define COLOR_INACTIVECAPTIONTEXT 19
#define COLOR_BTNHIGHLIGHT 20
#define COLOR_3DHIGHLIGHT 20
#define COLOR_3DDKSHADOW 21
#define COLOR_3DLIGHT 22
#define COLOR_INFOTEXT 23
#define COLOR_INFOBK 24
#define COLOR_HOTLIGHT 26
#define COLOR_GRADIENTACTIVECAPTION 27
#define COLOR_GRADIENTINACTIVECAPTION 28
#define COLOR_MENUHILIGHT 29
#define COLOR_MENUBAR 30

/* ---- Resources ---- */

#define IDC_ARROW MAKEINTRESOURCEA(32512)
#define IDC_IBEAM MAKEINTRESOURCEA(32513)
#define IDC_WAIT MAKEINTRESOURCEA(32514)
#define IDC_CROSS MAKEINTRESOURCEA(32515)
#define IDC_UPARROW MAKEINTRESOURCEA(32516)
#define IDC_SIZENWSE MAKEINTRESOURCEA(32642)
#define IDC_SIZENESW MAKEINTRESOURCEA(32643)
#define IDC_SIZEWE MAKEINTRESOURCEA(32644)
#define IDC_SIZENS MAKEINTRESOURCEA(32645)
#define IDC_SIZEALL MAKEINTRESOURCEA(32646)
#define IDC_NO MAKEINTRESOURCEA(32648)
#define IDC_HAND MAKEINTRESOURCEA(32649)
#define IDC_APPSTARTING MAKEINTRESOURCEA(32650)
#define IDC_HELP MAKEINTRESOURCEA(32651)
#define IDI_APPLICATION MAKEINTRESOURCEA(32512)
#define IDI_HAND MAKEINTRESOURCEA(32513)
#define IDI_QUESTION MAKEINTRESOURCEA(32514)
#define IDI_EXCLAMATION MAKEINTRESOURCEA(32515)
#define IDI_ASTERISK MAKEINTRESOURCEA(32516)
#define IDI_WINLOGO MAKEINTRESOURCEA(32517)
#define IDI_WARNING IDI_EXCLAMATION
#define IDI_ERROR IDI_HAND
#define IDI_INFORMATION IDI_ASTERISK

/* ---- Message boxes ---- */

#define MB_OK 0x00000000L
#define MB_OKCANCEL 0x00000001L
#define MB_ABORTRETRYIGNORE 0x00000002L
#define MB_YESNOCANCEL 0x00000003L
#define MB_YESNO 0x00000004L
#define MB_RETRYCANCEL 0x00000005L
#define MB_CANCELTRYCONTINUE 0x00000006L
#define MB_TYPEMASK 0x0000000FL
#define MB_ICONHAND 0x00000010L
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONSTOP MB_ICONHAND
#define MB_ICONQUESTION 0x00000020L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONASTERISK 0x00000040L
#define MB_ICONINFORMATION MB_ICONASTERISK
#define MB_DEFBUTTON1 0x00000000L
#define MB_DEFBUTTON2 0x00000100L
#define MB_DEFBUTTON3 0x00000200L
#define MB_APPLMODAL 0x00000000L
#define MB_SYSTEMMODAL 0x00001000L
#define MB_TASKMODAL 0x00002000L
#define MB_SETFOREGROUND 0x00010000L
#define MB_TOPMOST 0x00040000L

#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#define IDCLOSE 8

/* Dialog windows: the default dialog procedure's window data and messages */
#define DLGWINDOWEXTRA 30
#define DWLP_MSGRESULT 0
#define DWLP_DLGPROC 4
#define DWLP_USER 8
#define DM_GETDEFID (WM_USER + 0)
#define DM_SETDEFID (WM_USER + 1)
#define DC_HASDEFID 0x534B
#define DLGC_WANTARROWS 0x0001
#define DLGC_WANTTAB 0x0002
#define DLGC_WANTALLKEYS 0x0004
#define DLGC_WANTMESSAGE 0x0004
#define DLGC_HASSETSEL 0x0008
#define DLGC_DEFPUSHBUTTON 0x0010
#define DLGC_UNDEFPUSHBUTTON 0x0020
#define DLGC_RADIOBUTTON 0x0040
#define DLGC_WANTCHARS 0x0080
#define DLGC_STATIC 0x0100
#define DLGC_BUTTON 0x2000
#define IDHELP 9
#define IDTRYAGAIN 10
#define IDCONTINUE 11

/* ---- Queue ---- */

#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001
#define PM_NOYIELD 0x0002
#define QS_KEY 0x0001
#define QS_MOUSEMOVE 0x0002
#define QS_MOUSEBUTTON 0x0004
#define QS_POSTMESSAGE 0x0008
#define QS_TIMER 0x0010
#define QS_PAINT 0x0020
#define QS_SENDMESSAGE 0x0040
#define QS_MOUSE (QS_MOUSEMOVE | QS_MOUSEBUTTON)
#define QS_INPUT (QS_MOUSE | QS_KEY)
#define QS_ALLEVENTS (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT)
#define QS_ALLINPUT (QS_ALLEVENTS | QS_SENDMESSAGE)

/* ---- Virtual keys ---- */

#define VK_LBUTTON 0x01
#define VK_RBUTTON 0x02
#define VK_CANCEL 0x03
#define VK_MBUTTON 0x04
#define VK_BACK 0x08
#define VK_TAB 0x09
#define VK_CLEAR 0x0C
#define VK_RETURN 0x0D
#define VK_SHIFT 0x10
#define VK_CONTROL 0x11
#define VK_MENU 0x12
#define VK_PAUSE 0x13
#define VK_CAPITAL 0x14
#define VK_ESCAPE 0x1B
#define VK_SPACE 0x20
#define VK_PRIOR 0x21
#define VK_NEXT 0x22
#define VK_END 0x23
#define VK_HOME 0x24
#define VK_LEFT 0x25
#define VK_UP 0x26
#define VK_RIGHT 0x27
#define VK_DOWN 0x28
#define VK_SELECT 0x29
#define VK_PRINT 0x2A
#define VK_EXECUTE 0x2B
#define VK_SNAPSHOT 0x2C
#define VK_INSERT 0x2D
#define VK_DELETE 0x2E
#define VK_HELP 0x2F
#define VK_LWIN 0x5B
#define VK_RWIN 0x5C
#define VK_APPS 0x5D
#define VK_NUMPAD0 0x60
#define VK_NUMPAD1 0x61
#define VK_NUMPAD2 0x62
#define VK_NUMPAD3 0x63
#define VK_NUMPAD4 0x64
#define VK_NUMPAD5 0x65
#define VK_NUMPAD6 0x66
#define VK_NUMPAD7 0x67
#define VK_NUMPAD8 0x68
#define VK_NUMPAD9 0x69
#define VK_MULTIPLY 0x6A
#define VK_ADD 0x6B
#define VK_SEPARATOR 0x6C
#define VK_SUBTRACT 0x6D
#define VK_DECIMAL 0x6E
#define VK_DIVIDE 0x6F
#define VK_F1 0x70
#define VK_F2 0x71
#define VK_F3 0x72
#define VK_F4 0x73
#define VK_F5 0x74
#define VK_F6 0x75
#define VK_F7 0x76
#define VK_F8 0x77
#define VK_F9 0x78
#define VK_F10 0x79
#define VK_F11 0x7A
#define VK_F12 0x7B
#define VK_NUMLOCK 0x90
#define VK_SCROLL 0x91
#define VK_LSHIFT 0xA0
#define VK_RSHIFT 0xA1
#define VK_LCONTROL 0xA2
#define VK_RCONTROL 0xA3
#define VK_LMENU 0xA4
#define VK_RMENU 0xA5
#define VK_OEM_1 0xBA
#define VK_OEM_PLUS 0xBB
#define VK_OEM_COMMA 0xBC
#define VK_OEM_MINUS 0xBD
#define VK_OEM_PERIOD 0xBE
#define VK_OEM_2 0xBF
#define VK_OEM_3 0xC0
#define VK_OEM_4 0xDB
#define VK_OEM_5 0xDC
#define VK_OEM_6 0xDD
#define VK_OEM_7 0xDE

/* ---- Accelerators ---- */

#define FVIRTKEY TRUE
#define FNOINVERT 0x02
#define FSHIFT 0x04
#define FCONTROL 0x08
#define FALT 0x10

/* ---- Menus ---- */

#define MF_STRING 0x00000000L
#define MF_GRAYED 0x00000001L
#define MF_DISABLED 0x00000002L
#define MF_BITMAP 0x00000004L
#define MF_CHECKED 0x00000008L
#define MF_POPUP 0x00000010L
#define MF_OWNERDRAW 0x00000100L
#define MF_SEPARATOR 0x00000800L
#define MF_BYCOMMAND 0x00000000L
#define MF_BYPOSITION 0x00000400L

/* ---- Scroll bars ---- */

#define SB_HORZ 0
#define SB_VERT 1
#define SB_CTL 2
#define SB_BOTH 3
#define SB_LINEUP 0
#define SB_LINELEFT 0
#define SB_LINEDOWN 1
#define SB_LINERIGHT 1
#define SB_PAGEUP 2
#define SB_PAGELEFT 2
#define SB_PAGEDOWN 3
#define SB_PAGERIGHT 3
#define SB_THUMBPOSITION 4
#define SB_THUMBTRACK 5
#define SB_TOP 6
#define SB_LEFT 6
#define SB_BOTTOM 7
#define SB_RIGHT 7
#define SB_ENDSCROLL 8
#define SIF_RANGE 0x0001
#define SIF_PAGE 0x0002
#define SIF_POS 0x0004
#define SIF_DISABLENOSCROLL 0x0008
#define SIF_TRACKPOS 0x0010
#define SIF_ALL (SIF_RANGE | SIF_PAGE | SIF_POS | SIF_TRACKPOS)
#define SBS_HORZ 0x0000L
#define SBS_VERT 0x0001L
#define ESB_ENABLE_BOTH 0x0000
#define ESB_DISABLE_BOTH 0x0003
#define ESB_DISABLE_LEFT 0x0001
#define ESB_DISABLE_RIGHT 0x0002
#define ESB_DISABLE_UP 0x0001
#define ESB_DISABLE_DOWN 0x0002
#define ESB_DISABLE_LTUP ESB_DISABLE_LEFT
#define ESB_DISABLE_RTDN ESB_DISABLE_RIGHT
#define SBS_TOPALIGN 0x0002L
#define SBS_LEFTALIGN 0x0002L
#define SBS_BOTTOMALIGN 0x0004L
#define SBS_RIGHTALIGN 0x0004L
#define SBS_SIZEBOX 0x0008L
#define SBS_SIZEGRIP 0x0010L
#define SBM_SETPOS 0x00E0
#define SBM_GETPOS 0x00E1
#define SBM_SETRANGE 0x00E2
#define SBM_GETRANGE 0x00E3
#define SBM_ENABLE_ARROWS 0x00E4
#define SBM_SETRANGEREDRAW 0x00E6
#define SBM_SETSCROLLINFO 0x00E9
#define SBM_GETSCROLLINFO 0x00EA
#define SBM_GETSCROLLBARINFO 0x00EB
#define OBJID_HSCROLL ((LONG)0xFFFFFFFA)
#define OBJID_VSCROLL ((LONG)0xFFFFFFFB)
#define OBJID_CLIENT ((LONG)0xFFFFFFFC)
#define STATE_SYSTEM_UNAVAILABLE 0x00000001
#define STATE_SYSTEM_PRESSED 0x00000008
#define STATE_SYSTEM_INVISIBLE 0x00008000
#define STATE_SYSTEM_OFFSCREEN 0x00010000
#define SW_SCROLLCHILDREN 0x0001
#define SW_INVALIDATE 0x0002
#define SW_ERASE 0x0004
#define SW_SMOOTHSCROLL 0x0010

/* ---- Painting ---- */

#define RDW_INVALIDATE 0x0001
#define RDW_INTERNALPAINT 0x0002
#define RDW_ERASE 0x0004
#define RDW_VALIDATE 0x0008
#define RDW_NOINTERNALPAINT 0x0010
#define RDW_NOERASE 0x0020
#define RDW_NOCHILDREN 0x0040
#define RDW_ALLCHILDREN 0x0080
#define RDW_UPDATENOW 0x0100
#define RDW_ERASENOW 0x0200
#define RDW_FRAME 0x0400
#define RDW_NOFRAME 0x0800

#define DCX_WINDOW 0x00000001L
#define DCX_CACHE 0x00000002L
#define DCX_CLIPCHILDREN 0x00000008L
#define DCX_CLIPSIBLINGS 0x00000010L
#define DCX_PARENTCLIP 0x00000020L

#define DT_TOP 0x00000000
#define DT_LEFT 0x00000000
#define DT_CENTER 0x00000001
#define DT_RIGHT 0x00000002
#define DT_VCENTER 0x00000004
#define DT_BOTTOM 0x00000008
#define DT_WORDBREAK 0x00000010
#define DT_SINGLELINE 0x00000020
#define DT_NOCLIP 0x00000100
#define DT_CALCRECT 0x00000400

/* ---- GDI ---- */

#define WHITE_BRUSH 0
#define LTGRAY_BRUSH 1
#define GRAY_BRUSH 2
#define DKGRAY_BRUSH 3
#define BLACK_BRUSH 4
#define NULL_BRUSH 5
#define HOLLOW_BRUSH NULL_BRUSH
#define WHITE_PEN 6
#define BLACK_PEN 7
#define NULL_PEN 8
#define OEM_FIXED_FONT 10
#define ANSI_FIXED_FONT 11
#define ANSI_VAR_FONT 12
#define SYSTEM_FONT 13
#define DEVICE_DEFAULT_FONT 14
#define DEFAULT_PALETTE 15
#define SYSTEM_FIXED_FONT 16
#define DEFAULT_GUI_FONT 17
#define DC_BRUSH 18
#define DC_PEN 19

#define OBJ_PEN 1
#define OBJ_BRUSH 2
#define OBJ_DC 3
#define OBJ_METADC 4
#define OBJ_PAL 5
#define OBJ_FONT 6
#define OBJ_BITMAP 7
#define OBJ_REGION 8
#define OBJ_MEMDC 10

#define MM_TEXT 1
#define MM_LOMETRIC 2
#define MM_HIMETRIC 3
#define MM_LOENGLISH 4
#define MM_HIENGLISH 5
#define MM_TWIPS 6
#define MM_ISOTROPIC 7
#define MM_ANISOTROPIC 8
#define MM_MIN MM_TEXT
#define MM_MAX MM_ANISOTROPIC

#define PS_SOLID 0
#define PS_DASH 1
#define PS_DOT 2
#define PS_DASHDOT 3
#define PS_DASHDOTDOT 4
#define PS_NULL 5
#define PS_INSIDEFRAME 6

#define BS_SOLID 0
#define BS_NULL 1
#define BS_HOLLOW BS_NULL
#define BS_HATCHED 2

#define TRANSPARENT 1
#define OPAQUE 2

#define ERROR 0
#define NULLREGION 1
#define SIMPLEREGION 2
#define COMPLEXREGION 3
#define RGN_ERROR ERROR
#define RGN_AND 1
#define RGN_OR 2
#define RGN_XOR 3
#define RGN_DIFF 4
#define RGN_COPY 5

#define HORZSIZE 4
#define VERTSIZE 6
#define HORZRES 8
#define VERTRES 10
#define BITSPIXEL 12
#define PLANES 14
#define LOGPIXELSX 88
#define LOGPIXELSY 90

#define GDI_ERROR (0xFFFFFFFFL)
#define HGDI_ERROR ((HANDLE)-1)

/* ---- Built-in controls ---- */

#define BS_PUSHBUTTON 0x00000000L
#define BS_DEFPUSHBUTTON 0x00000001L
#define BS_CHECKBOX 0x00000002L
#define BS_AUTOCHECKBOX 0x00000003L
#define BS_RADIOBUTTON 0x00000004L
#define BS_3STATE 0x00000005L
#define BS_AUTO3STATE 0x00000006L
#define BS_GROUPBOX 0x00000007L
#define BS_AUTORADIOBUTTON 0x00000009L
#define BS_TYPEMASK 0x0000000FL
#define BM_GETCHECK 0x00F0
#define BM_SETCHECK 0x00F1
#define BM_GETSTATE 0x00F2
#define BM_SETSTATE 0x00F3
#define BM_SETSTYLE 0x00F4
#define BM_CLICK 0x00F5
#define BST_UNCHECKED 0x0000
#define BST_CHECKED 0x0001
#define BST_INDETERMINATE 0x0002
#define BST_PUSHED 0x0004
#define BST_FOCUS 0x0008
#define BN_CLICKED 0
#define BN_SETFOCUS 6
#define BN_KILLFOCUS 7

#define ES_LEFT 0x0000L
#define ES_CENTER 0x0001L
#define ES_RIGHT 0x0002L
#define ES_MULTILINE 0x0004L
#define ES_UPPERCASE 0x0008L
#define ES_LOWERCASE 0x0010L
#define ES_PASSWORD 0x0020L
#define ES_AUTOVSCROLL 0x0040L
#define ES_AUTOHSCROLL 0x0080L
#define ES_READONLY 0x0800L
#define ES_NUMBER 0x2000L
#define EM_GETSEL 0x00B0
#define EM_SETSEL 0x00B1
#define EM_GETLINECOUNT 0x00BA
#define EM_LINEINDEX 0x00BB
#define EM_REPLACESEL 0x00C2
#define EM_LIMITTEXT 0x00C5
#define EM_SETLIMITTEXT EM_LIMITTEXT
#define EM_LINEFROMCHAR 0x00C9
#define EM_GETLIMITTEXT 0x00D5
#define EM_POSFROMCHAR 0x00D6
#define EN_SETFOCUS 0x0100
#define EN_KILLFOCUS 0x0200
#define EN_CHANGE 0x0300
#define EN_UPDATE 0x0400
#define EN_MAXTEXT 0x0501

#define SS_LEFT 0x00000000L
#define SS_CENTER 0x00000001L
#define SS_RIGHT 0x00000002L
#define SS_NOTIFY 0x00000100L
#define STN_CLICKED 0

/* ---- Functions ---- */

TUL_WIN32_EXTERN_C_BEGIN

/* The program's own entry point, as a GUI program of the system has it. */
int WINAPI WinMain(HINSTANCE hInstance, HINSTANCE hPrevInstance, LPSTR lpCmdLine, int nShowCmd);

/* kernel32 */
TUL_WIN32_API DWORD WINAPI GetLastError(void);
TUL_WIN32_API void WINAPI SetLastError(DWORD dwErrCode);
TUL_WIN32_API HMODULE WINAPI GetModuleHandleA(LPCSTR lpModuleName);
typedef INT_PTR(WINAPI* FARPROC)();
TUL_WIN32_API HMODULE WINAPI LoadLibraryA(LPCSTR lpLibFileName);
TUL_WIN32_API BOOL WINAPI FreeLibrary(HMODULE hLibModule);
TUL_WIN32_API FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName);
TUL_WIN32_API DWORD WINAPI GetTickCount(void);
TUL_WIN32_API void WINAPI Sleep(DWORD dwMilliseconds);
TUL_WIN32_API void WINAPI OutputDebugStringA(LPCSTR lpOutputString);
TUL_WIN32_API int WINAPI lstrcmpiA(LPCSTR lpString1, LPCSTR lpString2);
TUL_WIN32_API int WINAPI lstrcmpA(LPCSTR lpString1, LPCSTR lpString2);
TUL_WIN32_API int WINAPI MulDiv(int nNumber, int nNumerator, int nDenominator);
#define HEAP_ZERO_MEMORY 0x00000008
TUL_WIN32_API HANDLE WINAPI GetProcessHeap(void);
TUL_WIN32_API LPVOID WINAPI HeapAlloc(HANDLE hHeap, DWORD dwFlags, SIZE_T dwBytes);
TUL_WIN32_API LPVOID WINAPI HeapReAlloc(HANDLE hHeap, DWORD dwFlags, LPVOID lpMem, SIZE_T dwBytes);
TUL_WIN32_API BOOL WINAPI HeapFree(HANDLE hHeap, DWORD dwFlags, LPVOID lpMem);

/* kernel32: files and folders */
TUL_WIN32_API HANDLE WINAPI CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess,
                                        DWORD dwShareMode,
                                        LPSECURITY_ATTRIBUTES lpSecurityAttributes,
                                        DWORD dwCreationDisposition,
                                        DWORD dwFlagsAndAttributes, HANDLE hTemplateFile);
TUL_WIN32_API BOOL WINAPI ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
                                   LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped);
TUL_WIN32_API BOOL WINAPI WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                                    LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped);
TUL_WIN32_API BOOL WINAPI CloseHandle(HANDLE hObject);
TUL_WIN32_API DWORD WINAPI GetFileSize(HANDLE hFile, LPDWORD lpFileSizeHigh);
TUL_WIN32_API DWORD WINAPI SetFilePointer(HANDLE hFile, LONG lDistanceToMove,
                                          LONG* lpDistanceToMoveHigh, DWORD dwMoveMethod);
TUL_WIN32_API BOOL WINAPI DeleteFileA(LPCSTR lpFileName);
TUL_WIN32_API DWORD WINAPI GetFileAttributesA(LPCSTR lpFileName);
TUL_WIN32_API BOOL WINAPI SetFileAttributesA(LPCSTR lpFileName, DWORD dwFileAttributes);
TUL_WIN32_API BOOL WINAPI CreateDirectoryA(LPCSTR lpPathName,
                                           LPSECURITY_ATTRIBUTES lpSecurityAttributes);
TUL_WIN32_API BOOL WINAPI RemoveDirectoryA(LPCSTR lpPathName);
TUL_WIN32_API HANDLE WINAPI FindFirstFileA(LPCSTR lpFileName, LPWIN32_FIND_DATAA lpFindFileData);
TUL_WIN32_API BOOL WINAPI FindNextFileA(HANDLE hFindFile, LPWIN32_FIND_DATAA lpFindFileData);
TUL_WIN32_API BOOL WINAPI FindClose(HANDLE hFindFile);

/* user32: classes */
TUL_WIN32_API ATOM WINAPI RegisterClassExA(const WNDCLASSEXA* lpwcx);
TUL_WIN32_API ATOM WINAPI RegisterClassA(const WNDCLASSA* lpWndClass);
TUL_WIN32_API BOOL WINAPI UnregisterClassA(LPCSTR lpClassName, HINSTANCE hInstance);
TUL_WIN32_API BOOL WINAPI GetClassInfoA(HINSTANCE hInstance, LPCSTR lpClassName,
                                        LPWNDCLASSA lpWndClass);
TUL_WIN32_API BOOL WINAPI GetClassInfoExA(HINSTANCE hInstance, LPCSTR lpszClass,
                                          LPWNDCLASSEXA lpwcx);
TUL_WIN32_API int WINAPI GetClassNameA(HWND hWnd, LPSTR lpClassName, int nMaxCount);
TUL_WIN32_API DWORD WINAPI GetClassLongA(HWND hWnd, int nIndex);
TUL_WIN32_API DWORD WINAPI SetClassLongA(HWND hWnd, int nIndex, LONG dwNewLong);

/* user32: windows */
TUL_WIN32_API HWND WINAPI CreateWindowExA(DWORD dwExStyle, LPCSTR lpClassName,
                                          LPCSTR lpWindowName, DWORD dwStyle, int X, int Y,
                                          int nWidth, int nHeight, HWND hWndParent, HMENU hMenu,
                                          HINSTANCE hInstance, LPVOID lpParam);
#define CreateWindowA(c, n, s, x, y, w, h, p, m, i, l) \
  CreateWindowExA(0L, c, n, s, x, y, w, h, p, m, i, l)
TUL_WIN32_API BOOL WINAPI DestroyWindow(HWND hWnd);
TUL_WIN32_API BOOL WINAPI IsWindow(HWND hWnd);
TUL_WIN32_API BOOL WINAPI IsWindowVisible(HWND hWnd);
TUL_WIN32_API BOOL WINAPI IsIconic(HWND hWnd);
TUL_WIN32_API BOOL WINAPI IsZoomed(HWND hWnd);
TUL_WIN32_API BOOL WINAPI IsChild(HWND hWndParent, HWND hWnd);
TUL_WIN32_API BOOL WINAPI IsWindowEnabled(HWND hWnd);
TUL_WIN32_API BOOL WINAPI EnableWindow(HWND hWnd, BOOL bEnable);
TUL_WIN32_API HWND WINAPI GetDesktopWindow(void);
TUL_WIN32_API HWND WINAPI GetParent(HWND hWnd);
TUL_WIN32_API HWND WINAPI SetParent(HWND hWndChild, HWND hWndNewParent);
TUL_WIN32_API HWND WINAPI GetAncestor(HWND hwnd, UINT gaFlags);
TUL_WIN32_API HWND WINAPI GetLastActivePopup(HWND hWnd);
TUL_WIN32_API HWND WINAPI GetWindow(HWND hWnd, UINT uCmd);
TUL_WIN32_API HWND WINAPI GetTopWindow(HWND hWnd);
TUL_WIN32_API BOOL WINAPI EnumChildWindows(HWND hWndParent, WNDENUMPROC lpEnumFunc, LPARAM lParam);
TUL_WIN32_API BOOL WINAPI EnumWindows(WNDENUMPROC lpEnumFunc, LPARAM lParam);
TUL_WIN32_API HWND WINAPI FindWindowExA(HWND hWndParent, HWND hWndChildAfter, LPCSTR lpszClass,
                                        LPCSTR lpszWindow);
TUL_WIN32_API HWND WINAPI FindWindowA(LPCSTR lpClassName, LPCSTR lpWindowName);
TUL_WIN32_API HWND WINAPI GetDlgItem(HWND hDlg, int nIDDlgItem);
TUL_WIN32_API int WINAPI GetDlgCtrlID(HWND hWnd);
TUL_WIN32_API LRESULT WINAPI DefDlgProcA(HWND hDlg, UINT Msg, WPARAM wParam, LPARAM lParam);
TUL_WIN32_API BOOL WINAPI EndDialog(HWND hDlg, INT_PTR nResult);
TUL_WIN32_API HWND WINAPI GetNextDlgTabItem(HWND hDlg, HWND hCtl, BOOL bPrevious);
TUL_WIN32_API HWND WINAPI GetNextDlgGroupItem(HWND hDlg, HWND hCtl, BOOL bPrevious);
TUL_WIN32_API BOOL WINAPI IsDialogMessageA(HWND hDlg, LPMSG lpMsg);
TUL_WIN32_API LONG WINAPI GetWindowLongA(HWND hWnd, int nIndex);
TUL_WIN32_API LONG WINAPI SetWindowLongA(HWND hWnd, int nIndex, LONG dwNewLong);
#define GetWindowLongPtrA GetWindowLongA
#define SetWindowLongPtrA SetWindowLongA
#define GetClassLongPtrA GetClassLongA
#define SetClassLongPtrA SetClassLongA
TUL_WIN32_API LRESULT WINAPI CallWindowProcA(WNDPROC lpPrevWndFunc, HWND hWnd, UINT Msg,
                                             WPARAM wParam, LPARAM lParam);
TUL_WIN32_API LRESULT WINAPI DefWindowProcA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
TUL_WIN32_API BOOL WINAPI SetWindowTextA(HWND hWnd, LPCSTR lpString);
TUL_WIN32_API int WINAPI GetWindowTextA(HWND hWnd, LPSTR lpString, int nMaxCount);
TUL_WIN32_API int WINAPI GetWindowTextLengthA(HWND hWnd);

/* user32: geometry */
TUL_WIN32_API BOOL WINAPI GetWindowRect(HWND hWnd, LPRECT lpRect);
TUL_WIN32_API BOOL WINAPI GetClientRect(HWND hWnd, LPRECT lpRect);
TUL_WIN32_API BOOL WINAPI ClientToScreen(HWND hWnd, LPPOINT lpPoint);
TUL_WIN32_API BOOL WINAPI ScreenToClient(HWND hWnd, LPPOINT lpPoint);
TUL_WIN32_API int WINAPI MapWindowPoints(HWND hWndFrom, HWND hWndTo, LPPOINT lpPoints,
                                         UINT cPoints);
TUL_WIN32_API HDWP WINAPI BeginDeferWindowPos(int nNumWindows);
TUL_WIN32_API HDWP WINAPI DeferWindowPos(HDWP hWinPosInfo, HWND hWnd, HWND hWndInsertAfter, int x,
                                         int y, int cx, int cy, UINT uFlags);
TUL_WIN32_API BOOL WINAPI EndDeferWindowPos(HDWP hWinPosInfo);
TUL_WIN32_API BOOL WINAPI MoveWindow(HWND hWnd, int X, int Y, int nWidth, int nHeight,
                                     BOOL bRepaint);
TUL_WIN32_API BOOL WINAPI SetWindowPos(HWND hWnd, HWND hWndInsertAfter, int X, int Y, int cx,
                                       int cy, UINT uFlags);
TUL_WIN32_API BOOL WINAPI ShowWindow(HWND hWnd, int nCmdShow);
TUL_WIN32_API BOOL WINAPI ShowOwnedPopups(HWND hWnd, BOOL fShow);
TUL_WIN32_API BOOL WINAPI GetWindowPlacement(HWND hWnd, WINDOWPLACEMENT* lpwndpl);
TUL_WIN32_API BOOL WINAPI SetWindowPlacement(HWND hWnd, const WINDOWPLACEMENT* lpwndpl);
TUL_WIN32_API BOOL WINAPI AdjustWindowRectEx(LPRECT lpRect, DWORD dwStyle, BOOL bMenu,
                                             DWORD dwExStyle);
TUL_WIN32_API BOOL WINAPI AdjustWindowRect(LPRECT lpRect, DWORD dwStyle, BOOL bMenu);
TUL_WIN32_API int WINAPI GetSystemMetrics(int nIndex);
TUL_WIN32_API DWORD WINAPI GetSysColor(int nIndex);
TUL_WIN32_API HBRUSH WINAPI GetSysColorBrush(int nIndex);
/* One monitor: the screen, its work area the whole of it. */
#define MONITOR_DEFAULTTONULL 0x00000000
#define MONITOR_DEFAULTTOPRIMARY 0x00000001
#define MONITOR_DEFAULTTONEAREST 0x00000002
#define MONITORINFOF_PRIMARY 0x00000001
typedef struct tagMONITORINFO {
  DWORD cbSize;
  RECT rcMonitor;
  RECT rcWork;
  DWORD dwFlags;
} MONITORINFO, *LPMONITORINFO;
TUL_WIN32_API HMONITOR WINAPI MonitorFromWindow(HWND hwnd, DWORD dwFlags);
TUL_WIN32_API HMONITOR WINAPI MonitorFromPoint(POINT pt, DWORD dwFlags);
TUL_WIN32_API HMONITOR WINAPI MonitorFromRect(const RECT* lprc, DWORD dwFlags);
TUL_WIN32_API BOOL WINAPI GetMonitorInfoA(HMONITOR hMonitor, LPMONITORINFO lpmi);
#define SPI_GETNONCLIENTMETRICS 0x0029
#define SPI_GETWORKAREA 0x0030
TUL_WIN32_API BOOL WINAPI SystemParametersInfoA(UINT uiAction, UINT uiParam, PVOID pvParam,
                                                UINT fWinIni);
TUL_WIN32_API BOOL WINAPI SetSysColors(int cElements, const INT* lpaElements,
                                       const COLORREF* lpaRgbValues);
TUL_WIN32_API HWND WINAPI WindowFromPoint(POINT Point);
TUL_WIN32_API HWND WINAPI ChildWindowFromPoint(HWND hWndParent, POINT Point);
TUL_WIN32_API BOOL WINAPI BringWindowToTop(HWND hWnd);

/* user32: activation and input */
TUL_WIN32_API HWND WINAPI SetFocus(HWND hWnd);
TUL_WIN32_API HWND WINAPI GetFocus(void);
TUL_WIN32_API HWND WINAPI GetActiveWindow(void);
TUL_WIN32_API HWND WINAPI SetActiveWindow(HWND hWnd);
TUL_WIN32_API HWND WINAPI GetForegroundWindow(void);
TUL_WIN32_API BOOL WINAPI SetForegroundWindow(HWND hWnd);
TUL_WIN32_API HWND WINAPI GetCapture(void);
TUL_WIN32_API HWND WINAPI SetCapture(HWND hWnd);
TUL_WIN32_API BOOL WINAPI ReleaseCapture(void);
TUL_WIN32_API SHORT WINAPI GetKeyState(int nVirtKey);
TUL_WIN32_API SHORT WINAPI GetAsyncKeyState(int vKey);
TUL_WIN32_API BOOL WINAPI GetKeyboardState(PBYTE lpKeyState);
TUL_WIN32_API BOOL WINAPI SetKeyboardState(LPBYTE lpKeyState);
TUL_WIN32_API BOOL WINAPI GetCursorPos(LPPOINT lpPoint);
TUL_WIN32_API BOOL WINAPI SetCursorPos(int X, int Y);
TUL_WIN32_API HCURSOR WINAPI LoadCursorA(HINSTANCE hInstance, LPCSTR lpCursorName);
TUL_WIN32_API HICON WINAPI LoadIconA(HINSTANCE hInstance, LPCSTR lpIconName);
TUL_WIN32_API HCURSOR WINAPI SetCursor(HCURSOR hCursor);
TUL_WIN32_API BOOL WINAPI MessageBeep(UINT uType);

/* user32: the caret */
TUL_WIN32_API BOOL WINAPI CreateCaret(HWND hWnd, HBITMAP hBitmap, int nWidth, int nHeight);
TUL_WIN32_API BOOL WINAPI DestroyCaret(void);
TUL_WIN32_API BOOL WINAPI ShowCaret(HWND hWnd);
TUL_WIN32_API BOOL WINAPI HideCaret(HWND hWnd);
TUL_WIN32_API BOOL WINAPI SetCaretPos(int X, int Y);
TUL_WIN32_API BOOL WINAPI GetCaretPos(LPPOINT lpPoint);

/* user32: messages */
TUL_WIN32_API LRESULT WINAPI SendMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
TUL_WIN32_API BOOL WINAPI PostMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
TUL_WIN32_API BOOL WINAPI PostThreadMessageA(DWORD idThread, UINT Msg, WPARAM wParam,
                                             LPARAM lParam);
TUL_WIN32_API BOOL WINAPI GetMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin,
                                      UINT wMsgFilterMax);
TUL_WIN32_API BOOL WINAPI PeekMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin,
                                       UINT wMsgFilterMax, UINT wRemoveMsg);
TUL_WIN32_API BOOL WINAPI TranslateMessage(const MSG* lpMsg);
TUL_WIN32_API LRESULT WINAPI DispatchMessageA(const MSG* lpMsg);
TUL_WIN32_API void WINAPI PostQuitMessage(int nExitCode);
TUL_WIN32_API BOOL WINAPI WaitMessage(void);
TUL_WIN32_API DWORD WINAPI GetQueueStatus(UINT flags);
#define INFINITE 0xFFFFFFFF
#define WAIT_OBJECT_0 0
#define WAIT_TIMEOUT 258
#define WAIT_FAILED ((DWORD)0xFFFFFFFF)
TUL_WIN32_API DWORD WINAPI MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles,
                                                     BOOL fWaitAll, DWORD dwMilliseconds,
                                                     DWORD dwWakeMask);
TUL_WIN32_API LONG WINAPI GetMessageTime(void);
TUL_WIN32_API DWORD WINAPI GetMessagePos(void);
TUL_WIN32_API DWORD WINAPI GetCurrentThreadId(void);
TUL_WIN32_API DWORD WINAPI GetCurrentProcessId(void);
TUL_WIN32_API DWORD WINAPI GetWindowThreadProcessId(HWND hWnd, LPDWORD lpdwProcessId);
TUL_WIN32_API UINT_PTR WINAPI SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse,
                                       TIMERPROC lpTimerFunc);
TUL_WIN32_API BOOL WINAPI KillTimer(HWND hWnd, UINT_PTR uIDEvent);

/* user32: painting */
TUL_WIN32_API BOOL WINAPI InvalidateRect(HWND hWnd, const RECT* lpRect, BOOL bErase);
TUL_WIN32_API BOOL WINAPI InvalidateRgn(HWND hWnd, HRGN hRgn, BOOL bErase);
TUL_WIN32_API BOOL WINAPI ValidateRect(HWND hWnd, const RECT* lpRect);
TUL_WIN32_API BOOL WINAPI ValidateRgn(HWND hWnd, HRGN hRgn);
TUL_WIN32_API BOOL WINAPI RedrawWindow(HWND hWnd, const RECT* lprcUpdate, HRGN hrgnUpdate,
                                       UINT flags);
TUL_WIN32_API BOOL WINAPI UpdateWindow(HWND hWnd);
TUL_WIN32_API BOOL WINAPI GetUpdateRect(HWND hWnd, LPRECT lpRect, BOOL bErase);
TUL_WIN32_API HDC WINAPI BeginPaint(HWND hWnd, LPPAINTSTRUCT lpPaint);
TUL_WIN32_API BOOL WINAPI EndPaint(HWND hWnd, const PAINTSTRUCT* lpPaint);
TUL_WIN32_API HDC WINAPI GetDC(HWND hWnd);
TUL_WIN32_API HDC WINAPI GetWindowDC(HWND hWnd);
TUL_WIN32_API int WINAPI ReleaseDC(HWND hWnd, HDC hDC);
TUL_WIN32_API HWND WINAPI WindowFromDC(HDC hDC);
TUL_WIN32_API int WINAPI FillRect(HDC hDC, const RECT* lprc, HBRUSH hbr);
TUL_WIN32_API int WINAPI FrameRect(HDC hDC, const RECT* lprc, HBRUSH hbr);
TUL_WIN32_API int WINAPI DrawTextA(HDC hdc, LPCSTR lpchText, int cchText, LPRECT lprc,
                                   UINT format);

/* user32: scroll bars */
TUL_WIN32_API HMENU WINAPI CreateMenu(void);
TUL_WIN32_API HMENU WINAPI CreatePopupMenu(void);
TUL_WIN32_API BOOL WINAPI DestroyMenu(HMENU hMenu);
TUL_WIN32_API BOOL WINAPI IsMenu(HMENU hMenu);
TUL_WIN32_API BOOL WINAPI AppendMenuA(HMENU hMenu, UINT uFlags, UINT_PTR uIDNewItem,
                                      LPCSTR lpNewItem);
TUL_WIN32_API BOOL WINAPI InsertMenuA(HMENU hMenu, UINT uPosition, UINT uFlags,
                                      UINT_PTR uIDNewItem, LPCSTR lpNewItem);
TUL_WIN32_API int WINAPI GetMenuItemCount(HMENU hMenu);
TUL_WIN32_API UINT WINAPI GetMenuItemID(HMENU hMenu, int nPos);
TUL_WIN32_API HMENU WINAPI GetSubMenu(HMENU hMenu, int nPos);
TUL_WIN32_API HMENU WINAPI GetMenu(HWND hWnd);
TUL_WIN32_API BOOL WINAPI SetMenu(HWND hWnd, HMENU hMenu);
TUL_WIN32_API BOOL WINAPI DrawMenuBar(HWND hWnd);

TUL_WIN32_API BOOL WINAPI ShowScrollBar(HWND hWnd, int wBar, BOOL bShow);
TUL_WIN32_API BOOL WINAPI EnableScrollBar(HWND hWnd, UINT wSBflags, UINT wArrows);
TUL_WIN32_API int WINAPI SetScrollInfo(HWND hwnd, int nBar, LPCSCROLLINFO lpsi, BOOL redraw);
TUL_WIN32_API BOOL WINAPI GetScrollInfo(HWND hwnd, int nBar, LPSCROLLINFO lpsi);
TUL_WIN32_API BOOL WINAPI GetScrollBarInfo(HWND hwnd, LONG idObject, PSCROLLBARINFO psbi);
TUL_WIN32_API int WINAPI SetScrollPos(HWND hWnd, int nBar, int nPos, BOOL bRedraw);
TUL_WIN32_API int WINAPI GetScrollPos(HWND hWnd, int nBar);
TUL_WIN32_API BOOL WINAPI SetScrollRange(HWND hWnd, int nBar, int nMinPos, int nMaxPos,
                                         BOOL bRedraw);
TUL_WIN32_API BOOL WINAPI GetScrollRange(HWND hWnd, int nBar, LPINT lpMinPos, LPINT lpMaxPos);
TUL_WIN32_API int WINAPI ScrollWindowEx(HWND hWnd, int dx, int dy, const RECT* prcScroll,
                                        const RECT* prcClip, HRGN hrgnUpdate,
                                        LPRECT prcUpdate, UINT flags);
TUL_WIN32_API BOOL WINAPI ScrollWindow(HWND hWnd, int XAmount, int YAmount, const RECT* lpRect,
                                       const RECT* lpClipRect);

/* user32: accelerators */
TUL_WIN32_API HACCEL WINAPI CreateAcceleratorTableA(LPACCEL paccel, int cAccel);
TUL_WIN32_API BOOL WINAPI DestroyAcceleratorTable(HACCEL hAccel);
TUL_WIN32_API int WINAPI CopyAcceleratorTableA(HACCEL hAccelSrc, LPACCEL lpAccelDst,
                                               int cAccelEntries);
TUL_WIN32_API int WINAPI TranslateAcceleratorA(HWND hWnd, HACCEL hAccTable, LPMSG lpMsg);

/* user32: dialogs */
TUL_WIN32_API int WINAPI MessageBoxA(HWND hWnd, LPCSTR lpText, LPCSTR lpCaption, UINT uType);

/* user32: rectangles */
TUL_WIN32_API BOOL WINAPI SetRect(LPRECT lprc, int xLeft, int yTop, int xRight, int yBottom);
TUL_WIN32_API BOOL WINAPI SetRectEmpty(LPRECT lprc);
TUL_WIN32_API BOOL WINAPI CopyRect(LPRECT lprcDst, const RECT* lprcSrc);
TUL_WIN32_API BOOL WINAPI IsRectEmpty(const RECT* lprc);
TUL_WIN32_API BOOL WINAPI EqualRect(const RECT* lprc1, const RECT* lprc2);
TUL_WIN32_API BOOL WINAPI PtInRect(const RECT* lprc, POINT pt);
TUL_WIN32_API BOOL WINAPI OffsetRect(LPRECT lprc, int dx, int dy);
TUL_WIN32_API BOOL WINAPI InflateRect(LPRECT lprc, int dx, int dy);
TUL_WIN32_API BOOL WINAPI IntersectRect(LPRECT lprcDst, const RECT* lprcSrc1,
                                        const RECT* lprcSrc2);
TUL_WIN32_API BOOL WINAPI UnionRect(LPRECT lprcDst, const RECT* lprcSrc1, const RECT* lprcSrc2);
TUL_WIN32_API BOOL WINAPI SubtractRect(LPRECT lprcDst, const RECT* lprcSrc1,
                                       const RECT* lprcSrc2);

/* gdi32 */
TUL_WIN32_API HBRUSH WINAPI CreateSolidBrush(COLORREF color);
TUL_WIN32_API HBRUSH WINAPI CreateBrushIndirect(const LOGBRUSH* plbrush);
TUL_WIN32_API HPEN WINAPI CreatePen(int iStyle, int cWidth, COLORREF color);
TUL_WIN32_API HGDIOBJ WINAPI GetStockObject(int i);
TUL_WIN32_API BOOL WINAPI DeleteObject(HGDIOBJ ho);
TUL_WIN32_API HGDIOBJ WINAPI SelectObject(HDC hdc, HGDIOBJ h);
TUL_WIN32_API HGDIOBJ WINAPI GetCurrentObject(HDC hdc, UINT type);
TUL_WIN32_API DWORD WINAPI GetObjectType(HGDIOBJ h);
TUL_WIN32_API int WINAPI GetObjectA(HANDLE h, int c, LPVOID pv);
TUL_WIN32_API int WINAPI SetMapMode(HDC hdc, int iMode);
TUL_WIN32_API int WINAPI GetMapMode(HDC hdc);
TUL_WIN32_API BOOL WINAPI SetWindowExtEx(HDC hdc, int x, int y, LPSIZE lpsz);
TUL_WIN32_API BOOL WINAPI SetViewportExtEx(HDC hdc, int x, int y, LPSIZE lpsz);
TUL_WIN32_API BOOL WINAPI SetWindowOrgEx(HDC hdc, int x, int y, LPPOINT lppt);
TUL_WIN32_API BOOL WINAPI SetViewportOrgEx(HDC hdc, int x, int y, LPPOINT lppt);
TUL_WIN32_API BOOL WINAPI LPtoDP(HDC hdc, LPPOINT lppt, int c);
TUL_WIN32_API BOOL WINAPI DPtoLP(HDC hdc, LPPOINT lppt, int c);
TUL_WIN32_API int WINAPI GetClipBox(HDC hdc, LPRECT lprect);
TUL_WIN32_API int WINAPI GetDeviceCaps(HDC hdc, int index);
TUL_WIN32_API COLORREF WINAPI SetTextColor(HDC hdc, COLORREF color);
TUL_WIN32_API COLORREF WINAPI GetTextColor(HDC hdc);
TUL_WIN32_API COLORREF WINAPI SetBkColor(HDC hdc, COLORREF color);
TUL_WIN32_API COLORREF WINAPI GetBkColor(HDC hdc);
TUL_WIN32_API int WINAPI SetBkMode(HDC hdc, int mode);
TUL_WIN32_API int WINAPI GetBkMode(HDC hdc);
TUL_WIN32_API BOOL WINAPI TextOutA(HDC hdc, int x, int y, LPCSTR lpString, int c);
TUL_WIN32_API BOOL WINAPI GetTextExtentPoint32A(HDC hdc, LPCSTR lpString, int c, LPSIZE psizl);
TUL_WIN32_API BOOL WINAPI GetTextMetricsA(HDC hdc, LPTEXTMETRICA lptm);
TUL_WIN32_API BOOL WINAPI Rectangle(HDC hdc, int left, int top, int right, int bottom);
TUL_WIN32_API BOOL WINAPI Ellipse(HDC hdc, int left, int top, int right, int bottom);
TUL_WIN32_API BOOL WINAPI MoveToEx(HDC hdc, int x, int y, LPPOINT lppt);
TUL_WIN32_API BOOL WINAPI LineTo(HDC hdc, int x, int y);
TUL_WIN32_API COLORREF WINAPI SetPixel(HDC hdc, int x, int y, COLORREF color);
TUL_WIN32_API COLORREF WINAPI GetPixel(HDC hdc, int x, int y);
TUL_WIN32_API HRGN WINAPI CreateRectRgn(int x1, int y1, int x2, int y2);
TUL_WIN32_API HRGN WINAPI CreateRectRgnIndirect(const RECT* lprect);
TUL_WIN32_API BOOL WINAPI SetRectRgn(HRGN hrgn, int left, int top, int right, int bottom);
TUL_WIN32_API int WINAPI GetRgnBox(HRGN hrgn, LPRECT lprc);

/* The unsuffixed names, as an 8-bit build of a program sees them. */
#define RegisterClassEx RegisterClassExA
#define RegisterClass RegisterClassA
#define UnregisterClass UnregisterClassA
#define WNDCLASSEX WNDCLASSEXA
#define WNDCLASS WNDCLASSA
#define CREATESTRUCT CREATESTRUCTA
#define LPCREATESTRUCT LPCREATESTRUCTA
#define TEXTMETRIC TEXTMETRICA
#define CreateWindowEx CreateWindowExA
#define CreateWindow CreateWindowA
#define DefWindowProc DefWindowProcA
#define DefDlgProc DefDlgProcA
#define IsDialogMessage IsDialogMessageA
#define InsertMenu InsertMenuA
#define CallWindowProc CallWindowProcA
#define GetWindowLong GetWindowLongA
#define SetWindowLong SetWindowLongA
#define GetWindowLongPtr GetWindowLongPtrA
#define SetWindowLongPtr SetWindowLongPtrA
#define SetWindowText SetWindowTextA
#define GetWindowText GetWindowTextA
#define GetWindowTextLength GetWindowTextLengthA
#define SendMessage SendMessageA
#define PostMessage PostMessageA
#define GetMessage GetMessageA
#define PeekMessage PeekMessageA
#define DispatchMessage DispatchMessageA
#define MessageBox MessageBoxA
#define LoadCursor LoadCursorA
#define LoadIcon LoadIconA
#define GetModuleHandle GetModuleHandleA
#define CreateFile CreateFileA
#define DeleteFile DeleteFileA
#define GetFileAttributes GetFileAttributesA
#define SetFileAttributes SetFileAttributesA
#define CreateDirectory CreateDirectoryA
#define RemoveDirectory RemoveDirectoryA
#define FindFirstFile FindFirstFileA
#define FindNextFile FindNextFileA
#define WIN32_FIND_DATA WIN32_FIND_DATAA
#define CreateAcceleratorTable CreateAcceleratorTableA
#define TranslateAccelerator TranslateAcceleratorA
#define TextOut TextOutA
#define DrawText DrawTextA
#define GetClassName GetClassNameA
#define GetTextMetrics GetTextMetricsA
#define GetTextExtentPoint32 GetTextExtentPoint32A

TUL_WIN32_EXTERN_C_END

#endif /* TUL_WIN32_WINDOWS_H */

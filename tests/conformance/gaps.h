/* What Wine's user32 tests name and the layer's headers leave out: Unicode
 * forms, hooks, MDI, layered windows, processes and threads, monitors'
 * details, common controls' class names. Only declarations and constants
 * live here, so the tests compile; a function the layer does not export is
 * linked to a generated stub that fails with ERROR_CALL_NOT_IMPLEMENTED, and
 * the test functions that need one are left out (skipped.txt).
 * Invariant: nothing here is defined by the layer's own headers; when the
 * layer gains a name, it leaves this file. */
#ifndef TUL_CONFORMANCE_GAPS_H
#define TUL_CONFORMANCE_GAPS_H

#include <windows.h>
#include <commctrl.h>

/* The system's header defines these for C; the layer's leaves them out for
 * C++'s sake. */
#ifndef min
#define min(a, b) (((a) < (b)) ? (a) : (b))
#endif
#ifndef max
#define max(a, b) (((a) > (b)) ? (a) : (b))
#endif
#define ARRAYSIZE(a) (sizeof(a) / sizeof((a)[0]))
#define HandleToULong(h) ((ULONG)(ULONG_PTR)(h))
#define UlongToHandle(u) ((HANDLE)(ULONG_PTR)(u))

typedef HANDLE HDESK;
typedef HANDLE HWINSTA;
typedef HANDLE HHOOK;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef char* PSTR;
typedef const WCHAR* PCWSTR;
typedef LRESULT(CALLBACK* HOOKPROC)(int, WPARAM, LPARAM);

#define CP_ACP 0
#define EVENT_ALL_ACCESS 0x1F0003
#define ERROR_CALL_NOT_IMPLEMENTED 120

/* Hooks */
#define WH_CBT 5
#define HCBT_MOVESIZE 0
#define HCBT_MINMAX 1
#define HCBT_CREATEWND 3
#define HCBT_DESTROYWND 4
#define HCBT_ACTIVATE 5
#define HCBT_SETFOCUS 9
typedef struct tagCBT_CREATEWNDA {
  CREATESTRUCTA* lpcs;
  HWND hwndInsertAfter;
} CBT_CREATEWNDA;
typedef struct tagCREATESTRUCTW {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy, cx, y, x;
  LONG style;
  LPCWSTR lpszName;
  LPCWSTR lpszClass;
  DWORD dwExStyle;
} CREATESTRUCTW;
typedef struct tagCBT_CREATEWNDW {
  CREATESTRUCTW* lpcs;
  HWND hwndInsertAfter;
} CBT_CREATEWNDW;

/* Unicode: only the null module name means the same as its 8-bit form. */
#define GetModuleHandleW(name) ((name) ? (HMODULE)0 : GetModuleHandleA(NULL))

/* Unicode classes */
typedef struct tagWNDCLASSW {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCWSTR lpszMenuName;
  LPCWSTR lpszClassName;
} WNDCLASSW;
typedef struct tagWNDCLASSEXW {
  UINT cbSize;
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCWSTR lpszMenuName;
  LPCWSTR lpszClassName;
  HICON hIconSm;
} WNDCLASSEXW;

/* Converted to the 8-bit forms for ASCII names (wide.c). */
ATOM WINAPI RegisterClassW(const WNDCLASSW* wc);
BOOL WINAPI SystemParametersInfoW(UINT action, UINT param, PVOID value, UINT winIni);

/* Class and window data */
#define GCLP_MENUNAME (-8)
#define GCLP_HICON (-14)
#define GCLP_HICONSM (-34)
#define WS_EX_NOINHERITLAYOUT 0x00100000L
#define WS_EX_LAYOUTRTL 0x00400000L
#define LAYOUT_RTL 0x00000001
#define MDIS_ALLCHILDSTYLES 0x0001
typedef struct tagMDICREATESTRUCTA {
  LPCSTR szClass;
  LPCSTR szTitle;
  HANDLE hOwner;
  int x, y, cx, cy;
  DWORD style;
  LPARAM lParam;
} MDICREATESTRUCTA;
typedef struct tagCLIENTCREATESTRUCT {
  HANDLE hWindowMenu;
  UINT idFirstChild;
} CLIENTCREATESTRUCT;

/* Messages */
#define WM_MDICREATE 0x0220
#define WM_MDIDESTROY 0x0221
#define WM_MDIACTIVATE 0x0222
#define WM_MDINEXT 0x0224
#define WM_MDIGETACTIVE 0x0229
#define WM_MDISETMENU 0x0230
#define PM_QS_SENDMESSAGE (QS_SENDMESSAGE << 16)

/* DCs and regions */
#define SYSRGN 4

/* Icons and images */
#define ICON_SMALL 0
#define ICON_BIG 1
#define ICON_SMALL2 2
#define LR_DEFAULTCOLOR 0x0000
typedef struct _ICONINFO {
  BOOL fIcon;
  DWORD xHotspot;
  DWORD yHotspot;
  HBITMAP hbmMask;
  HBITMAP hbmColor;
} ICONINFO;
typedef struct tagBITMAP {
  LONG bmType;
  LONG bmWidth;
  LONG bmHeight;
  LONG bmWidthBytes;
  WORD bmPlanes;
  WORD bmBitsPixel;
  LPVOID bmBits;
} BITMAP;

/* Metrics and parameters */
#define SM_XVIRTUALSCREEN 76
#define SM_YVIRTUALSCREEN 77
#define SPI_GETMINIMIZEDMETRICS 0x002B
#define SPI_SETMINIMIZEDMETRICS 0x002C
#define ARW_BOTTOMLEFT 0x0000L
#define ARW_RIGHT 0x0000L
#define ARW_BOTTOMRIGHT 0x0001L
#define ARW_TOPLEFT 0x0002L
#define ARW_UP 0x0004L
typedef struct tagMINIMIZEDMETRICS {
  UINT cbSize;
  int iWidth;
  int iHorzGap;
  int iVertGap;
  int iArrange;
} MINIMIZEDMETRICS;
typedef struct tagLOGFONTW {
  LONG lfHeight, lfWidth, lfEscapement, lfOrientation, lfWeight;
  BYTE lfItalic, lfUnderline, lfStrikeOut, lfCharSet, lfOutPrecision, lfClipPrecision,
      lfQuality, lfPitchAndFamily;
  WCHAR lfFaceName[32];
} LOGFONTW;
typedef struct tagNONCLIENTMETRICSW {
  UINT cbSize;
  int iBorderWidth, iScrollWidth, iScrollHeight, iCaptionWidth, iCaptionHeight;
  LOGFONTW lfCaptionFont;
  int iSmCaptionWidth, iSmCaptionHeight;
  LOGFONTW lfSmCaptionFont;
  int iMenuWidth, iMenuHeight;
  LOGFONTW lfMenuFont, lfStatusFont, lfMessageFont;
  int iPaddedBorderWidth;
} NONCLIENTMETRICSW;

/* Window information */
#define WS_ACTIVECAPTION 0x0001
typedef struct tagWINDOWINFO {
  DWORD cbSize;
  RECT rcWindow;
  RECT rcClient;
  DWORD dwStyle;
  DWORD dwExStyle;
  DWORD dwWindowStatus;
  UINT cxWindowBorders;
  UINT cyWindowBorders;
  ATOM atomWindowType;
  WORD wCreatorVersion;
} WINDOWINFO, *PWINDOWINFO, *LPWINDOWINFO;
#define GUI_INMENUMODE 0x00000004
typedef struct tagGUITHREADINFO {
  DWORD cbSize;
  DWORD flags;
  HWND hwndActive, hwndFocus, hwndCapture, hwndMenuOwner, hwndMoveSize, hwndCaret;
  RECT rcCaret;
} GUITHREADINFO, *PGUITHREADINFO;
#define FLASHW_STOP 0
#define FLASHW_TIMER 0x00000004
typedef struct {
  UINT cbSize;
  HWND hwnd;
  DWORD dwFlags;
  UINT uCount;
  DWORD dwTimeout;
} FLASHWINFO, *PFLASHWINFO;
#define WDA_NONE 0x00000000
#define WDA_MONITOR 0x00000001

/* Layered windows */
#define LWA_COLORKEY 0x00000001
#define LWA_ALPHA 0x00000002
#define ULW_OPAQUE 0x00000004
#define ULW_EX_NORESIZE 0x00000008
typedef struct _BLENDFUNCTION {
  BYTE BlendOp, BlendFlags, SourceConstantAlpha, AlphaFormat;
} BLENDFUNCTION;
typedef struct tagUPDATELAYEREDWINDOWINFO {
  DWORD cbSize;
  HDC hdcDst;
  const POINT* pptDst;
  const SIZE* psize;
  HDC hdcSrc;
  const POINT* pptSrc;
  COLORREF crKey;
  const BLENDFUNCTION* pblend;
  DWORD dwFlags;
  const RECT* prcDirty;
} UPDATELAYEREDWINDOWINFO;

/* Monitors: MONITORINFO holds no text, so the 8-bit form serves. */
#define GetMonitorInfoW(monitor, info) GetMonitorInfoA(monitor, info)

/* Input injection */
#define U(x) (x)

/* Processes, threads, memory, activation contexts */
typedef struct _STARTUPINFOA {
  DWORD cb;
  LPSTR lpReserved, lpDesktop, lpTitle;
  DWORD dwX, dwY, dwXSize, dwYSize, dwXCountChars, dwYCountChars, dwFillAttribute, dwFlags;
  WORD wShowWindow, cbReserved2;
  LPBYTE lpReserved2;
  HANDLE hStdInput, hStdOutput, hStdError;
} STARTUPINFOA;
typedef struct _PROCESS_INFORMATION {
  HANDLE hProcess, hThread;
  DWORD dwProcessId, dwThreadId;
} PROCESS_INFORMATION;
typedef struct _MEMORY_BASIC_INFORMATION {
  LPVOID BaseAddress, AllocationBase;
  DWORD AllocationProtect;
  SIZE_T RegionSize;
  DWORD State, Protect, Type;
} MEMORY_BASIC_INFORMATION;
typedef struct tagACTCTXW {
  ULONG cbSize;
  DWORD dwFlags;
  LPCWSTR lpSource;
  USHORT wProcessorArchitecture;
  WORD wLangId;
  LPCWSTR lpAssemblyDirectory, lpResourceName, lpApplicationName;
  HMODULE hModule;
} ACTCTXW;

/* Common controls' class names */
#define ANIMATE_CLASSA "SysAnimate32"
#define DATETIMEPICK_CLASSA "SysDateTimePick32"
#define HOTKEY_CLASSA "msctls_hotkey32"
#define MONTHCAL_CLASSA "SysMonthCal32"
#define PROGRESS_CLASSA "msctls_progress32"
#define REBARCLASSNAMEA "ReBarWindow32"
#define STATUSCLASSNAMEA "msctls_statusbar32"
#define TOOLBARCLASSNAMEA "ToolbarWindow32"
#define TOOLTIPS_CLASSA "tooltips_class32"
#define TRACKBAR_CLASSA "msctls_trackbar32"
#define UPDOWN_CLASSA "msctls_updown32"
#define WC_COMBOBOXEXA "ComboBoxEx32"
#define WC_EDITA "Edit"
#define WC_EDITW L"Edit"
#define WC_HEADERA "SysHeader32"
#define WC_IPADDRESSA "SysIPAddress32"
#define WC_LISTVIEWA "SysListView32"
#define WC_NATIVEFONTCTLA "NativeFontCtl"
#define WC_PAGESCROLLERA "SysPager"
#define WC_TABCONTROLA "SysTabControl32"
#define WC_TREEVIEWA "SysTreeView32"

/* Threads as the harness provides them (threads.c) and the Unicode class
 * lookup of wide.c. */
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID);
HANDLE WINAPI CreateThread(LPVOID attributes, SIZE_T stackSize, LPTHREAD_START_ROUTINE start,
                           LPVOID parameter, DWORD flags, LPDWORD threadId);
DWORD WINAPI WaitForSingleObject(HANDLE handle, DWORD milliseconds);
BOOL WINAPI GetExitCodeThread(HANDLE thread, LPDWORD exitCode);
BOOL WINAPI GetClassInfoExW(HINSTANCE instance, LPCWSTR name, WNDCLASSEXW* info);
LONG WINAPI GetWindowLongW(HWND hwnd, int index);
LRESULT WINAPI SendMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT WINAPI DefWindowProcW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
BOOL WINAPI PostMessageW(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
#define GetWindowLongPtrW GetWindowLongW
LONG WINAPI SetWindowLongW(HWND hwnd, int index, LONG value);
#define SetWindowLongPtrW SetWindowLongW
#include "gaps_msg.h"
#include "gaps_menu.h"
#include "gaps_text.h"
#include "gaps_edit.h"
#include "gaps_dialog.h"

/* listbox.c: directory listings, the list box information query, input
 * injection. */
#define LB_GETLISTBOXINFO 0x01B2
#define LB_MSGMAX 0x01B3
#define DDL_READWRITE 0x0000
#define DDL_READONLY 0x0001
#define DDL_HIDDEN 0x0002
#define DDL_SYSTEM 0x0004
#define DDL_DIRECTORY 0x0010
#define DDL_ARCHIVE 0x0020
#define DDL_POSTMSGS 0x2000
#define DDL_DRIVES 0x4000
#define DDL_EXCLUSIVE 0x8000
#define ERROR_NO_WILDCARD_CHARACTERS 1417L
#define ERROR_SETCOUNT_ON_BAD_LB 1433L

/* combo.c: making fonts by their description. */
#define SYMBOL_CHARSET 2

#endif

/* The names menu.c uses beyond the other files' and the layer's headers:
 * the Unicode menu structures, menu bitmaps and owner-drawn menus, menu
 * templates and the menu window's own messages. The test functions that
 * need them at run time are left out (skipped.txt); these let the file
 * compile.
 * Invariant: the same rule as gaps.h, a name the layer gains leaves here. */
#ifndef TUL_CONFORMANCE_GAPS_MENU_H
#define TUL_CONFORMANCE_GAPS_MENU_H

#include <stddef.h>

#define FIELD_OFFSET(type, field) ((LONG)offsetof(type, field))

typedef struct tagMENUITEMINFOW {
  UINT cbSize, fMask, fType, fState, wID;
  HMENU hSubMenu;
  HBITMAP hbmpChecked, hbmpUnchecked;
  ULONG_PTR dwItemData;
  LPWSTR dwTypeData;
  UINT cch;
  HBITMAP hbmpItem;
} MENUITEMINFOW, *LPMENUITEMINFOW;
typedef const MENUITEMINFOW* LPCMENUITEMINFOW;

/* Menu bitmaps */
#define HBMMENU_CALLBACK ((HBITMAP)-1)
#define HBMMENU_SYSTEM ((HBITMAP)1)
#define HBMMENU_MBAR_RESTORE ((HBITMAP)2)
#define HBMMENU_MBAR_MINIMIZE ((HBITMAP)3)
#define HBMMENU_MBAR_CLOSE ((HBITMAP)5)
#define HBMMENU_MBAR_CLOSE_D ((HBITMAP)6)
#define HBMMENU_MBAR_MINIMIZE_D ((HBITMAP)7)
#define HBMMENU_POPUP_CLOSE ((HBITMAP)8)
#define HBMMENU_POPUP_RESTORE ((HBITMAP)9)
#define HBMMENU_POPUP_MAXIMIZE ((HBITMAP)10)
#define HBMMENU_POPUP_MINIMIZE ((HBITMAP)11)
#define OBM_MNARROW 32739

/* Owner drawing */
#define ODS_SELECTED 0x0001
#define ODS_GRAYED 0x0002
#define ODS_DISABLED 0x0004
#define ODS_CHECKED 0x0008

/* Menu templates */
#define MF_END 0x0080
typedef struct {
  WORD versionNumber;
  WORD offset;
} MENUITEMTEMPLATEHEADER;
typedef struct {
  WORD mtOption;
  WORD mtID;
  WCHAR mtString[1];
} MENUITEMTEMPLATE;

#endif

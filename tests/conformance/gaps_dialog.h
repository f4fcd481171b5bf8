/* dialog.c: dialogs from resources, message hooks, Unicode templates. The
 * layer has no resources, so these only let the file build; the test
 * functions that need them are left out (skipped.txt). */
#ifndef TUL_CONFORMANCE_GAPS_DIALOG_H
#define TUL_CONFORMANCE_GAPS_DIALOG_H

typedef HANDLE HRSRC;
#define RT_DIALOG MAKEINTRESOURCEA(5)
#define WH_MSGFILTER (-1)
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814L
#define ERROR_CANNOT_FIND_WND_CLASS 1407L
typedef const DLGTEMPLATE* LPCDLGTEMPLATEW;

#endif

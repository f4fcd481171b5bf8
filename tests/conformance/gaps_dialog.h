/* dialog.c: dialogs from resources, message hooks, Unicode templates. The
 * layer has no resources, so these only let the file build; the test
 * functions that need them are left out (skipped.txt). */
#ifndef TUL_CONFORMANCE_GAPS_DIALOG_H
#define TUL_CONFORMANCE_GAPS_DIALOG_H

typedef HANDLE HRSRC;
#define RT_DIALOG MAKEINTRESOURCEA(5)
#define WH_MSGFILTER (-1)
typedef const DLGTEMPLATE* LPCDLGTEMPLATEW;

#endif

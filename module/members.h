// The member index cache: one process-wide integer per data member of every
// class, filled by the registrar from the host's answer and read by every
// method that reaches a member.
//
// Invariant: an index is read only after its class was registered; reading
// an unfilled one is a bug of ours, not of the script.
#pragma once

enum class Member : int {
  StringStr,
  StructData,
  StructDataDict,
  VectorVec,
  DictIteratorCurrent,
  DictionaryDict,
  PointPt,  // SIZE inherits it at the same index
  RectRect,
  AccelAccel,
  MsgMsg,
  WinMsgHandlerOwner,
  // WinBase, in registration order.
  WinHwnd,
  WinHandlerList,
  WinSavedWndProc,
  WinVirtualRect,
  WinUseVirtualSize,
  WinScrollBarMode,
  WinSx,
  WinSy,
  WinLifeScroll,
  WinForeColor,
  WinBackColor,
  WinBackBrush,
  WinAccelArray,
  WinHaccel,
  WinPaintStruct,
  // FileDialog, in registration order.
  FileDialogFilter,
  FileDialogDir,
  FileDialogFname,
  FileDialogExt,
  FileDialogTitle,
  Count
};

// The index the host reported for the member (-1 when it had none).
int memberIndex(Member m);
void setMemberIndex(Member m, int index);

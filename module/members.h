// The member index cache: one process-wide integer per data member of every
// class, filled by the registrar from the host's answer and read by every
// method that reaches a member.
//
// Invariant: an index is read only after its class was registered; reading
// an unfilled one is a bug of ours, not of the script.
#pragma once

#include "host/tul.h"

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

// One more than each index the registrar stored (members.cpp), so that the
// zero the array starts with means "not filled". Read inline: message
// dispatch reads several members a message.
extern int gMemberIndexPlusOne[static_cast<int>(Member::Count)];

// The index the host reported for the member (-1 when it had none).
inline int memberIndex(Member m) { return gMemberIndexPlusOne[static_cast<int>(m)] - 1; }
void setMemberIndex(Member m, int index);

// The slot of data member m of obj through the cache; null when obj has no
// such slot (an object of an unrelated class, say).
inline TulValue* memberSlot(TulObject* obj, Member m) {
  if (!obj) return nullptr;
  TulVector* data = obj->getMemberData();
  const int index = memberIndex(m);
  if (!data || index < 0 || static_cast<unsigned>(index) >= data->size()) return nullptr;
  return &(*data)[static_cast<unsigned>(index)];
}

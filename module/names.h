// The process-wide name strings: class names and the names of WinBase's
// static data members, built once at library load and destroyed at unload.
//
// Invariant: nameString() is only called between load and unload, which is
// the whole time a host can reach the library.
#pragma once

#include "host/tul.h"

enum class Name : int {
  WinMsgHandler,
  WinBase,
  MaxID,
  ReturnCode,
  AutoQuit,
  FileDialog,
  Point,
  Size,
  Rect,
  Msg,
  Accel,
  Count
};

const TulString& nameString(Name n);
const char* nameText(Name n);

void buildNames();
void destroyNames();

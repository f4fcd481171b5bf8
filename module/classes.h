// The class tables of the library, each defined at the end of its class's
// source file.
#pragma once

#include "module/registrar.h"

extern const ClassSpec kStringSpec;
extern const ClassSpec kStructSpec;
extern const ClassSpec kVectorSpec;
extern const ClassSpec kDictIteratorSpec;
extern const ClassSpec kDictionarySpec;
extern const ClassSpec kPointSpec;
extern const ClassSpec kSizeSpec;
extern const ClassSpec kRectSpec;
extern const ClassSpec kAccelSpec;
extern const ClassSpec kMsgSpec;
extern const ClassSpec kWinMsgHandlerSpec;
extern const ClassSpec kWinBaseSpec;
extern const ClassSpec kFileDialogSpec;

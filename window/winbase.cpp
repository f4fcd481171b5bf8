// WinBase's binding table: every method under its script name, in binding
// order, with its static data members and static methods. The methods
// themselves live by concern in the other files of this folder.
#include <climits>

#include "module/classes.h"
#include "module/errors.h"
#include "window/winbase.h"

namespace {

// Geometry, styles, text, colours, painting and the canvas's own methods are
// bound under their names already; until they exist they say so.
bool winbase_notImplemented(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, INT_MAX)) return false;
  return f.fail(err::kNotImplemented);
}

constexpr auto todo = winbase_notImplemented;

constexpr MemberRow kWinBaseMembers[] = {
    {"_hwnd", Member::WinHwnd},
    {"_handlerList", Member::WinHandlerList},
    {"_savedWndProc", Member::WinSavedWndProc},
    {"_virtualRect", Member::WinVirtualRect},
    {"_useVirtualSize", Member::WinUseVirtualSize},
    {"_scrollBarMode", Member::WinScrollBarMode},
    {"_sx", Member::WinSx},
    {"_sy", Member::WinSy},
    {"_lifeScroll", Member::WinLifeScroll},
    {"_foreColor", Member::WinForeColor},
    {"_backColor", Member::WinBackColor},
    {"_backBrush", Member::WinBackBrush},
    {"_accelArray", Member::WinAccelArray},
    {"_haccel", Member::WinHaccel},
    {"_paintStruct", Member::WinPaintStruct},
};

constexpr StaticRow kWinBaseStatics[] = {
    {Name::MaxID, 0},
    {Name::ReturnCode, 0},
    {Name::AutoQuit, 1},
};

constexpr MethodRow kWinBaseMethods[] = {
    {"WinBase", winbase_new},
    {"dtor", winbase_dtor},
    {"createFromHandle", winbase_createFromHandle},
    {"create", winbase_create},
    {"getHandle", winbase_getHandle},
    {"getParent", winbase_getParent},
    {"addChild", winbase_addChild},
    {"getChildrenHandles", winbase_getChildrenHandles},
    {"setPosition", todo},
    {"setSize", todo},
    {"getWindowRect", winbase_getChildrenHandles},
    {"getClientRect", winbase_getChildrenHandles},
    {"getPosition", todo},
    {"getClientPos", todo},
    {"getSize", todo},
    {"getClientSize", todo},
    {"getPosX", todo},
    {"getPosY", todo},
    {"getClientPosX", todo},
    {"getClientPosY", todo},
    {"getWidth", todo},
    {"getHeight", todo},
    {"getClientWidth", todo},
    {"getClientHeight", todo},
    {"getStyle", todo},
    {"hasStyle", todo},
    {"setStyle", todo},
    {"addStyle", todo},
    {"removeStyle", todo},
    {"getExtStyle", todo},
    {"hasExtStyle", todo},
    {"setExtStyle", todo},
    {"addExtStyle", todo},
    {"removeExtStyle", todo},
    {"isMinimized", todo},
    {"isMaximized", todo},
    {"isVisible", todo},
    {"minimize", todo},
    {"maximize", todo},
    {"show", todo},
    {"restore", todo},
    {"hide", todo},
    {"preprocessMessage", winbase_preprocessMessage},
    {"handleMessage", winbase_handleMessage},
    {"addMsgHandler", winbase_addMsgHandler},
    {"removeMsgHandler", winbase_removeMsgHandler},
    {"removeAllMsgHandlers", winbase_removeAllMsgHandlers},
    {"getAcceleratorArray", winbase_getAcceleratorArray},
    {"addAccelerator", winbase_addAccelerator},
    {"applyAccelerators", winbase_applyAccelerators},
    {"setWindowText", todo},
    {"getWindowText", todo},
    {"setBackgroundColor", todo},
    {"setBackgroundBrush", todo},
    {"setForegroundColor", todo},
    {"enableVirtualSize", todo},
    {"setLifeScroll", todo},
    {"setVirtualSize", todo},
    {"getVirtualSize", todo},
    {"fitVirtualSizeToContents", todo},
    {"getVirtualOrigin", todo},
    {"scrollHorizontal", todo},
    {"scrollVertical", todo},
    {"setScrollBarMode", todo},
    {"setScrollSteps", todo},
    {"getScrollBarMode", todo},
    {"applyScrollBars", todo},
    {"beginPaint", todo},
    {"endPaint", todo},
};

constexpr MethodRow kWinBaseStaticMethods[] = {
    {"registerWindow", winbase_registerWindow},
    {"unregisterWindow", winbase_unregisterWindow},
    {"findWindow", winbase_findWindow},
    {"forceQuit", winbase_forceQuit},
    {"setAutoQuit", winbase_setAutoQuit},
    {"setReturnCode", winbase_setReturnCode},
    {"mainLoop", winbase_mainLoop},
    {"setHInstance", winbase_setHInstance},
    {"getHInstance", winbase_getHInstance},
    {"createID", winbase_createID},
    {"initCommonControls", winbase_initCommonControls},
};

}  // namespace

const ClassSpec kWinBaseSpec = {"WinBase",        nullptr,         kWinBaseMembers,
                                kWinBaseStatics,  kWinBaseMethods, kWinBaseStaticMethods};

// WinBase's binding table: every method under its script name, in binding
// order, with its static data members and static methods. The methods
// themselves live by concern in the other files of this folder; the
// families of getters and style methods are one template each.
#include "module/classes.h"
#include "window/geometry.h"
#include "window/styles.h"
#include "window/winbase.h"

namespace {

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
    {"setPosition", winbase_setPosition},
    {"setSize", winbase_setSize},
    {"getWindowRect", winbase_getChildrenHandles},
    {"getClientRect", winbase_getChildrenHandles},
    {"getPosition", winbase_rectPair<Measured::Window, Part::Left, Part::Top, Name::Point>},
    {"getClientPos", winbase_rectPair<Measured::Client, Part::Left, Part::Top, Name::Point>},
    {"getSize", winbase_rectPair<Measured::Window, Part::Width, Part::Height, Name::Size>},
    {"getClientSize", winbase_rectPair<Measured::Client, Part::Width, Part::Height, Name::Size>},
    {"getPosX", winbase_rectPart<Measured::Window, Part::Left>},
    {"getPosY", winbase_rectPart<Measured::Window, Part::Top>},
    {"getClientPosX", winbase_rectPart<Measured::Client, Part::Left>},
    {"getClientPosY", winbase_rectPart<Measured::Client, Part::Top>},
    {"getWidth", winbase_rectPart<Measured::Window, Part::Width>},
    {"getHeight", winbase_rectPart<Measured::Window, Part::Height>},
    {"getClientWidth", winbase_rectPart<Measured::Client, Part::Width>},
    {"getClientHeight", winbase_rectPart<Measured::Client, Part::Height>},
    {"getStyle", winbase_style<GWL_STYLE, StyleOp::Get>},
    {"hasStyle", winbase_style<GWL_STYLE, StyleOp::Has>},
    {"setStyle", winbase_style<GWL_STYLE, StyleOp::Set>},
    {"addStyle", winbase_style<GWL_STYLE, StyleOp::Add>},
    {"removeStyle", winbase_style<GWL_STYLE, StyleOp::Remove>},
    {"getExtStyle", winbase_style<GWL_EXSTYLE, StyleOp::Get>},
    {"hasExtStyle", winbase_style<GWL_EXSTYLE, StyleOp::Has>},
    {"setExtStyle", winbase_style<GWL_EXSTYLE, StyleOp::Set>},
    {"addExtStyle", winbase_style<GWL_EXSTYLE, StyleOp::Add>},
    {"removeExtStyle", winbase_style<GWL_EXSTYLE, StyleOp::Remove>},
    {"isMinimized", winbase_showState<ShowTest::Minimized>},
    {"isMaximized", winbase_showState<ShowTest::Maximized>},
    {"isVisible", winbase_showState<ShowTest::Visible>},
    {"minimize", winbase_showCommand<SW_MINIMIZE>},
    {"maximize", winbase_showCommand<SW_MAXIMIZE>},
    {"show", winbase_show},
    {"restore", winbase_showCommand<SW_RESTORE>},
    {"hide", winbase_showCommand<SW_HIDE>},
    {"preprocessMessage", winbase_preprocessMessage},
    {"handleMessage", winbase_handleMessage},
    {"addMsgHandler", winbase_addMsgHandler},
    {"removeMsgHandler", winbase_removeMsgHandler},
    {"removeAllMsgHandlers", winbase_removeAllMsgHandlers},
    {"getAcceleratorArray", winbase_getAcceleratorArray},
    {"addAccelerator", winbase_addAccelerator},
    {"applyAccelerators", winbase_applyAccelerators},
    {"setWindowText", winbase_setWindowText},
    {"getWindowText", winbase_getWindowText},
    {"setBackgroundColor", winbase_setBackgroundColor},
    {"setBackgroundBrush", winbase_setBackgroundBrush},
    {"setForegroundColor", winbase_setForegroundColor},
    {"enableVirtualSize", winbase_enableVirtualSize},
    {"setLifeScroll", winbase_setLifeScroll},
    {"setVirtualSize", winbase_setVirtualSize},
    {"getVirtualSize", winbase_getVirtualSize},
    {"fitVirtualSizeToContents", winbase_fitVirtualSizeToContents},
    {"getVirtualOrigin", winbase_getVirtualOrigin},
    {"scrollHorizontal", winbase_scrollHorizontal},
    {"scrollVertical", winbase_scrollVertical},
    {"setScrollBarMode", winbase_setScrollBarMode},
    {"setScrollSteps", winbase_setScrollSteps},
    {"getScrollBarMode", winbase_getScrollBarMode},
    {"applyScrollBars", winbase_applyScrollBars},
    {"beginPaint", winbase_beginPaint},
    {"endPaint", winbase_endPaint},
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

// WinBase: a native window as a script object. Its methods live in one file
// per concern (the object, its window and the registry; message dispatch and
// handlers; the message loop and application state; accelerators); the
// binding table that gives them their script names is in winbase.cpp.
//
// Invariant: a WinBase method keeps no pointer into an object, a vector or a
// buffer across a call into script code or into the system (which may call
// script code back): it reads data members again afterwards.
#pragma once

#include <windows.h>

#include <cstdint>

#include "module/frame.h"

// Handles travel between scripts and the system as 32-bit integers.
inline HWND toHwnd(std::int32_t v) {
  return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(static_cast<std::uint32_t>(v)));
}
inline void* toPointer(std::int32_t v) {
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(static_cast<std::uint32_t>(v)));
}
inline std::int32_t fromHandle(const void* h) {
  return static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(h));
}

// The integer a data member holds (its integer conversion; 0 for a missing
// member or a value that is not a number).
inline std::int32_t intMember(TulObject* obj, Member m) {
  const TulValue* slot = memberSlot(obj, m);
  return slot ? static_cast<int>(*slot) : 0;
}
void setIntMember(TulObject* obj, Member m, std::int32_t v);
// The window of a WinBase object (_hwnd), 0 when it has none.
inline HWND windowOf(TulObject* obj) { return toHwnd(intMember(obj, Member::WinHwnd)); }

// The object of the registered window that is obj's window's parent (or
// owner), or null: what getParent answers.
TulObject* parentWindow(TulObject* obj);

// The object a value refers to when its class is WinBase or derives from it.
inline TulObject* windowObject(const TulValue& v) { return objectOfClass(v, Name::WinBase); }

// The host vector held in data member m of obj, or null.
inline TulVector* vectorMember(TulObject* obj, Member m) {
  const TulValue* slot = memberSlot(obj, m);
  return slot ? refIn<TulVector>(*slot, TulValueType::Vector) : nullptr;
}

// WinBase's static data member `which`: its entry, or null after reporting
// "Class WinBase not found." or "Member WinBase::NAME not found.".
TulDictionaryEntry* winBaseStatic(Frame& f, Name which);

// The virtual canvas's reaction to WM_SIZE, WM_HSCROLL or WM_VSCROLL of the
// object's own window, the canvas being on (scrolling.cpp). False after a
// report, or after a script method it called failed.
bool canvasReaction(TulInterpreter& in, TulObject* self, HWND hwnd, UINT message, WPARAM wParam,
                    LPARAM lParam);

// The calls made once a message (dispatch.cpp), each through its call site.
// window.preprocessMessage(msg): consumed tells whether the answer was
// nonzero. False after a report.
bool offerMessage(TulInterpreter& in, TulObject* window, const TulValue& msg, Call call,
                  bool& consumed);
// window.handleMessage(hwnd, message, wParam, lParam), the four arguments
// at args. False after a report.
bool deliverMessage(TulInterpreter& in, TulObject* window, const TulValue* args,
                    TulValue& result);

// The native methods, by concern.
#define TUL_NATIVE(name) bool name(TulVirtualMachine* vm, int argc, ValPtr& sp)

// The object, its window and the registry (window_object.cpp).
TUL_NATIVE(winbase_new);
TUL_NATIVE(winbase_dtor);
TUL_NATIVE(winbase_createFromHandle);
TUL_NATIVE(winbase_create);
TUL_NATIVE(winbase_getHandle);
TUL_NATIVE(winbase_getParent);
TUL_NATIVE(winbase_addChild);
TUL_NATIVE(winbase_getChildrenHandles);
TUL_NATIVE(winbase_registerWindow);
TUL_NATIVE(winbase_unregisterWindow);
TUL_NATIVE(winbase_findWindow);

// Dispatch and message handlers (dispatch.cpp).
TUL_NATIVE(winbase_preprocessMessage);
TUL_NATIVE(winbase_handleMessage);
TUL_NATIVE(winbase_addMsgHandler);
TUL_NATIVE(winbase_removeMsgHandler);
TUL_NATIVE(winbase_removeAllMsgHandlers);

// The message loop and application state (message_loop.cpp).
TUL_NATIVE(winbase_forceQuit);
TUL_NATIVE(winbase_setAutoQuit);
TUL_NATIVE(winbase_setReturnCode);
TUL_NATIVE(winbase_mainLoop);
TUL_NATIVE(winbase_setHInstance);
TUL_NATIVE(winbase_getHInstance);
TUL_NATIVE(winbase_createID);
TUL_NATIVE(winbase_initCommonControls);

// Text, colours and painting (painting.cpp).
TUL_NATIVE(winbase_setWindowText);
TUL_NATIVE(winbase_getWindowText);
TUL_NATIVE(winbase_setBackgroundColor);
TUL_NATIVE(winbase_setBackgroundBrush);
TUL_NATIVE(winbase_setForegroundColor);
TUL_NATIVE(winbase_beginPaint);
TUL_NATIVE(winbase_endPaint);

// The virtual canvas (scrolling.cpp).
TUL_NATIVE(winbase_enableVirtualSize);
TUL_NATIVE(winbase_setLifeScroll);
TUL_NATIVE(winbase_setVirtualSize);
TUL_NATIVE(winbase_getVirtualSize);
TUL_NATIVE(winbase_fitVirtualSizeToContents);
TUL_NATIVE(winbase_getVirtualOrigin);
TUL_NATIVE(winbase_scrollHorizontal);
TUL_NATIVE(winbase_scrollVertical);
TUL_NATIVE(winbase_setScrollBarMode);
TUL_NATIVE(winbase_setScrollSteps);
TUL_NATIVE(winbase_getScrollBarMode);
TUL_NATIVE(winbase_applyScrollBars);

// Accelerators (accelerators.cpp).
TUL_NATIVE(winbase_getAcceleratorArray);
TUL_NATIVE(winbase_addAccelerator);
TUL_NATIVE(winbase_applyAccelerators);

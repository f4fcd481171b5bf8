// Message dispatch on the script side: WinBase's handleMessage (the handler
// walk, the built-in reactions, default processing), preprocessMessage (the
// hook through which the message loop translates accelerator keys, climbing
// registered parents), and the handler list.
//
// Invariant: handlers may add, remove or replace handlers, destroy the
// window or drop the last reference to it while the walk runs; the walk
// therefore reads the list again before every step, never past its current
// end, and holds each handler while it is called.
#include "module/errors.h"
#include "window/native_ledger.h"
#include "window/winbase.h"
#include "winstruct/image.h"

namespace {

enum class Walk { PassedOn, Consumed, Failed };

// Offers the message to each attached handler in list order; a handler that
// answers 0 consumes it and its answer is the method's result.
Walk walkHandlers(TulInterpreter& in, TulObject* self, const TulValue* message, TulValue& answer) {
  TulVector* list = vectorMember(self, Member::WinHandlerList);
  if (!list || list->size() == 0) return Walk::PassedOn;
  const TulValue args[] = {TulValue(self), message[0], message[1], message[2], message[3]};
  const unsigned count = list->size();
  for (unsigned i = 0; i < count; ++i) {
    list = vectorMember(self, Member::WinHandlerList);
    if (!list || i >= list->size()) break;
    const TulValue handler = (*list)[i];
    TulObject* obj = objectIn(handler);
    if (!obj) continue;
    TulValue result;
    if (!invokeScript(in, result, obj, Call::HandlerHandle, args, 5)) return Walk::Failed;
    if (static_cast<int>(result) == 0) {
      answer = result;
      return Walk::Consumed;
    }
  }
  return Walk::PassedOn;
}

enum class Reaction { Continue, Answered, Failed };

// The window's own background: filled with its brush, which ends the message.
Reaction eraseBackground(TulObject* self, HWND hwnd, WPARAM wParam) {
  const std::int32_t brush = intMember(self, Member::WinBackBrush);
  if (!brush) return Reaction::Continue;
  RECT rc;
  GetClientRect(hwnd, &rc);
  HDC dc = reinterpret_cast<HDC>(wParam);
  SetMapMode(dc, MM_TEXT);
  FillRect(dc, &rc, static_cast<HBRUSH>(toPointer(brush)));
  return Reaction::Answered;
}

// The window owns its brush; it goes with the window.
void releaseBrush(TulObject* self) {
  const std::int32_t brush = intMember(self, Member::WinBackBrush);
  if (!brush) return;
  DeleteObject(static_cast<HBRUSH>(toPointer(brush)));
  setIntMember(self, Member::WinBackBrush, 0);
}

Reaction builtInReaction(TulInterpreter& in, TulObject* self, HWND hwnd, UINT message,
                         WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_ERASEBKGND:
      return eraseBackground(self, hwnd, wParam);
    case WM_DESTROY:
      releaseBrush(self);
      return Reaction::Continue;
    case WM_SIZE:
    case WM_HSCROLL:
    case WM_VSCROLL:
      if (!intMember(self, Member::WinUseVirtualSize)) return Reaction::Continue;
      return canvasReaction(in, self, hwnd, message, wParam, lParam) ? Reaction::Continue
                                                                     : Reaction::Failed;
    default:
      return Reaction::Continue;
  }
}

// The subclassed window's own procedure, or the system's default. Only a
// procedure the library replaced is called: _savedWndProc is a script-visible
// integer.
LRESULT defaultProcessing(TulObject* self, HWND hwnd, UINT message, WPARAM wParam,
                          LPARAM lParam) {
  const std::int32_t saved = intMember(self, Member::WinSavedWndProc);
  if (saved && isReplacedProcedure(saved))
    return CallWindowProcA(reinterpret_cast<WNDPROC>(toPointer(saved)), hwnd, message, wParam,
                           lParam);
  return DefWindowProcA(hwnd, message, wParam, lParam);
}

TulObject* handlerArgument(Frame& f) { return objectOfClass(f.arg(0), Name::WinMsgHandler); }

int indexOf(const TulVector& list, const TulObject* obj) {
  for (unsigned i = 0; i < list.size(); ++i)
    if (static_cast<TulObject*>(list[i]) == obj) return static_cast<int>(i);
  return -1;
}

// handleMessage's work: the handler walk, the built-in reactions, default
// processing. Watches its own system calls, as a native method's frame does.
bool handleMessageOf(TulInterpreter& in, TulObject* self, const TulValue* args,
                     TulValue& answer) {
  const CallWatch watch(CallWatch::Kind::Native);
  switch (walkHandlers(in, self, args, answer)) {
    case Walk::Failed: return false;
    case Walk::Consumed: return true;
    case Walk::PassedOn: break;
  }
  HWND hwnd = toHwnd(static_cast<int>(args[0]));
  // The window procedure passes the message as an unsigned word, read inline.
  const auto message = args[1].type() == TulValueType::U32
                           ? static_cast<UINT>(static_cast<std::uint32_t>(args[1].i32()))
                           : static_cast<UINT>(static_cast<unsigned>(args[1]));
  const auto wParam = static_cast<WPARAM>(static_cast<std::uint32_t>(static_cast<int>(args[2])));
  const auto lParam = static_cast<LPARAM>(static_cast<int>(args[3]));
  // Built-in reactions concern the window's own messages only.
  if (hwnd == windowOf(self)) {
    switch (builtInReaction(in, self, hwnd, message, wParam, lParam)) {
      case Reaction::Failed: return false;
      case Reaction::Answered: answer = TulValue(0); return true;
      case Reaction::Continue: break;
    }
  }
  const LRESULT result = defaultProcessing(self, hwnd, message, wParam, lParam);
  // A handler that the default processing reached (a control notifying its
  // parent, WM_CLOSE destroying the window) failed: so does this call.
  if (watch.handlerFailed()) return false;
  answer = TulValue(static_cast<int>(result));
  return true;
}

// self.getParent() through its call site.
bool parentOf(TulInterpreter& in, TulObject* self, TulValue& parent) {
  if (nativeAt(in, self, Call::GetParent) != winbase_getParent)
    return invokeScript(in, parent, self, Call::GetParent);
  TulObject* obj = parentWindow(self);
  parent = obj ? TulValue(obj) : TulValue();
  return true;
}

// preprocessMessage's work: the window's accelerators, then its parent's
// preprocessMessage. Watches its own system calls, as a native method's
// frame does.
bool preprocessOf(TulInterpreter& in, TulObject* self, const TulValue& msg, bool& consumed) {
  const CallWatch watch(CallWatch::Kind::Native);
  consumed = false;
  if (const std::int32_t accel = intMember(self, Member::WinHaccel)) {
    TulObject* msgObj = objectOfClass(msg, Name::Msg);
    if (!msgObj) return in.returnError(err::kMsgArgumentExpected, nullptr);
    // Held so that a command handler replacing the message's buffer cannot
    // free the structure the system is reading.
    const TulValue* slot = memberSlot(msgObj, Member::MsgMsg);
    const TulValue image = slot ? *slot : TulValue();
    TulBuffer* buf = static_cast<TulBuffer*>(image);
    if (!buf || buf->size() < kMsgImage.size) return in.returnError(err::kInvalidMsgData, nullptr);
    const int translated = TranslateAcceleratorA(windowOf(self), static_cast<HACCEL>(toPointer(accel)),
                                                 reinterpret_cast<MSG*>(buf->data()));
    if (watch.handlerFailed()) return false;
    consumed = translated != 0;
    if (consumed) return true;
  }
  TulValue parent;
  if (!parentOf(in, self, parent)) return false;
  TulObject* parentObj = objectIn(parent);
  return !parentObj || offerMessage(in, parentObj, msg, Call::ParentPreprocess, consumed);
}

}  // namespace

// WinBase's own methods found at the sites are run here, without a frame of
// the interpreter: the site's lookup by name still decides, so an override
// is what runs once a script binds one.
bool offerMessage(TulInterpreter& in, TulObject* window, const TulValue& msg, Call call,
                  bool& consumed) {
  if (nativeAt(in, window, call) == winbase_preprocessMessage) {
    const HeldObject held(window);
    return preprocessOf(in, window, msg, consumed) || in.callFailed();
  }
  TulValue result;
  if (!invokeScript(in, result, window, call, &msg, 1)) return false;
  consumed = static_cast<int>(result) != 0;
  return true;
}

bool deliverMessage(TulInterpreter& in, TulObject* window, const TulValue* args,
                    TulValue& result) {
  if (nativeAt(in, window, Call::WindowHandle) == winbase_handleMessage) {
    const HeldObject held(window);
    return handleMessageOf(in, window, args, result) || in.callFailed();
  }
  return invokeScript(in, result, window, Call::WindowHandle, args, 4);
}

bool winbase_handleMessage(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(4, 4)) return false;
  TulValue answer;
  if (!handleMessageOf(f.interp(), f.self(), &f.arg(0), answer)) return false;
  return f.ret(std::move(answer));
}

bool winbase_preprocessMessage(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  bool consumed = false;
  if (!preprocessOf(f.interp(), f.self(), f.arg(0), consumed)) return false;
  return f.retBool(consumed);
}

bool winbase_addMsgHandler(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulObject* handler = handlerArgument(f);
  if (!handler) return f.fail(err::kHandlerExpected);
  TulObject* self = f.self();
  TulVector* list = vectorMember(self, Member::WinHandlerList);
  if (!list) return f.fail(err::kHandlerListMissing);
  if (indexOf(*list, handler) >= 0) return f.retInt(0);
  const TulValue* owner = memberSlot(handler, Member::WinMsgHandlerOwner);
  if (!owner || !static_cast<TulObject*>(*owner)) {
    // The back-reference must not keep the window alive through its handler.
    TulVector args(1, true);
    args[0] = TulValue(self, true);
    TulValue ignored;
    if (!invokeScript(f.interp(), ignored, handler, "setOwner", &args)) return false;
    list = vectorMember(self, Member::WinHandlerList);
    if (!list) return f.fail(err::kHandlerListMissing);
    if (indexOf(*list, handler) >= 0) return f.retInt(0);
  }
  list->push_back(TulValue(handler));
  return f.retInt(1);
}

bool winbase_removeMsgHandler(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulObject* handler = handlerArgument(f);
  if (!handler) return f.fail(err::kHandlerExpected);
  TulVector* list = vectorMember(f.self(), Member::WinHandlerList);
  if (!list) return f.fail(err::kHandlerListMissing);
  const int at = indexOf(*list, handler);
  if (at < 0) return f.retInt(0);
  // Released only once the list is whole again: its dtor may run script.
  const TulValue removed = (*list)[static_cast<unsigned>(at)];
  for (unsigned i = static_cast<unsigned>(at); i + 1 < list->size(); ++i) (*list)[i] = (*list)[i + 1];
  list->pop_back();
  return f.retInt(1);
}

bool winbase_removeAllMsgHandlers(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulVector* list = vectorMember(f.self(), Member::WinHandlerList);
  if (!list) return f.fail(err::kHandlerListMissing);
  // Released only once the list is empty: their dtors may run script.
  const TulVector removed(*list);
  list->clear();
  return f.retNothing();
}

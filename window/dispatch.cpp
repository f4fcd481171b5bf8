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
Walk walkHandlers(Frame& f, TulValue& answer) {
  TulObject* self = f.self();
  TulVector* list = vectorMember(self, Member::WinHandlerList);
  if (!list || list->size() == 0) return Walk::PassedOn;
  const TulValue args[] = {TulValue(self), f.arg(0), f.arg(1), f.arg(2), f.arg(3)};
  const unsigned count = list->size();
  for (unsigned i = 0; i < count; ++i) {
    list = vectorMember(self, Member::WinHandlerList);
    if (!list || i >= list->size()) break;
    const TulValue handler = (*list)[i];
    TulObject* obj = objectIn(handler);
    if (!obj) continue;
    TulValue result;
    if (!invokeScript(f.interp(), result, obj, Call::HandlerHandle, args, 5)) return Walk::Failed;
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

Reaction builtInReaction(Frame& f, HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  TulObject* self = f.self();
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
      return canvasReaction(f, hwnd, message, wParam, lParam) ? Reaction::Continue
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
  if (isReplacedProcedure(saved))
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

}  // namespace

bool winbase_handleMessage(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(4, 4)) return false;
  TulValue answer;
  switch (walkHandlers(f, answer)) {
    case Walk::Failed: return false;
    case Walk::Consumed: return f.ret(answer);
    case Walk::PassedOn: break;
  }
  HWND hwnd = toHwnd(static_cast<int>(f.arg(0)));
  const auto message = static_cast<UINT>(static_cast<unsigned>(f.arg(1)));
  const auto wParam = static_cast<WPARAM>(static_cast<std::uint32_t>(static_cast<int>(f.arg(2))));
  const auto lParam = static_cast<LPARAM>(static_cast<int>(f.arg(3)));
  // Built-in reactions concern the window's own messages only.
  if (hwnd == windowOf(f.self())) {
    switch (builtInReaction(f, hwnd, message, wParam, lParam)) {
      case Reaction::Failed: return false;
      case Reaction::Answered: return f.retInt(0);
      case Reaction::Continue: break;
    }
  }
  const LRESULT result = defaultProcessing(f.self(), hwnd, message, wParam, lParam);
  // A handler that the default processing reached (a control notifying its
  // parent, WM_CLOSE destroying the window) failed: so does this call.
  if (f.handlerFailed()) return false;
  return f.retInt(static_cast<int>(result));
}

bool winbase_preprocessMessage(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  TulObject* self = f.self();
  if (const std::int32_t accel = intMember(self, Member::WinHaccel)) {
    TulObject* msgObj = objectOfClass(f.arg(0), Name::Msg);
    if (!msgObj) return f.fail(err::kMsgArgumentExpected);
    // Held so that a command handler replacing the message's buffer cannot
    // free the structure the system is reading.
    const TulValue* slot = memberSlot(msgObj, Member::MsgMsg);
    const TulValue image = slot ? *slot : TulValue();
    TulBuffer* buf = static_cast<TulBuffer*>(image);
    if (!buf || buf->size() < kMsgImage.size) return f.fail(err::kInvalidMsgData);
    const int translated = TranslateAcceleratorA(windowOf(self), static_cast<HACCEL>(toPointer(accel)),
                                                 reinterpret_cast<MSG*>(buf->data()));
    if (f.handlerFailed()) return false;
    if (translated) return f.retInt(1);
  }
  TulValue parent;
  if (!invokeScript(f.interp(), parent, self, Call::GetParent)) return false;
  TulObject* parentObj = objectIn(parent);
  if (!parentObj) return f.retInt(0);
  const TulValue msg = f.arg(0);
  TulValue consumed;
  if (!invokeScript(f.interp(), consumed, parentObj, Call::ParentPreprocess, &msg, 1))
    return false;
  return f.retBool(static_cast<int>(consumed) != 0);
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

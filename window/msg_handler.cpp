// WinMsgHandler: the base class of the objects that a window offers each of
// its messages before its own processing. Scripts derive from it and
// override handleMessage; the base keeps the handler's window (its owner)
// and passes every message on.
//
// Invariant: _owner holds nil or a weak reference to a window: the window
// keeps its handlers alive, so a handler must not keep its window alive.
#include "module/classes.h"
#include "module/errors.h"
#include "window/winbase.h"

namespace {

enum class OwnerKind { Window, None, Invalid };

// A window object (of WinBase or a class derived from it) or nil; anything
// else is not an owner.
OwnerKind ownerKind(const TulValue& v) {
  if (static_cast<TulObject*>(v)) return windowObject(v) ? OwnerKind::Window : OwnerKind::Invalid;
  return v.type() == TulValueType::Nil ? OwnerKind::None : OwnerKind::Invalid;
}

void storeOwner(Frame& f, const TulValue& v) {
  if (TulValue* slot = f.member(Member::WinMsgHandlerOwner)) *slot = v;
}

bool handler_new(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 1)) return false;
  if (f.argCount() == 0) return f.retSelf();
  switch (ownerKind(f.arg(0))) {
    case OwnerKind::Invalid: return f.fail(err::kWindowReferenceExpected);
    case OwnerKind::Window: storeOwner(f, TulValue(windowObject(f.arg(0)), true)); break;
    case OwnerKind::None: break;
  }
  return f.retSelf();
}

bool handler_setOwner(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  switch (ownerKind(f.arg(0))) {
    case OwnerKind::Invalid: return f.fail(err::kWindowReferenceExpected);
    case OwnerKind::Window: storeOwner(f, TulValue(windowObject(f.arg(0)), true)); break;
    case OwnerKind::None: storeOwner(f, f.arg(0)); break;
  }
  return f.retNothing();
}

bool handler_getOwner(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  const TulValue* slot = f.member(Member::WinMsgHandlerOwner);
  return f.ret(slot ? *slot : TulValue());
}

// The base behaviour: pass the message on to the next handler.
bool handler_handleMessage(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(5, 5)) return false;
  return f.retInt(1);
}

bool handler_equals(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(1, 1)) return false;
  return f.retBool(static_cast<TulObject*>(f.arg(0)) == f.self());
}

constexpr MemberRow kHandlerMembers[] = {{"_owner", Member::WinMsgHandlerOwner}};

constexpr MethodRow kHandlerMethods[] = {
    {"WinMsgHandler", handler_new},
    {"setOwner", handler_setOwner},
    {"getOwner", handler_getOwner},
    {"handleMessage", handler_handleMessage},
    {"equals", handler_equals},
};

}  // namespace

const ClassSpec kWinMsgHandlerSpec = {"WinMsgHandler", nullptr, kHandlerMembers, {},
                                      kHandlerMethods, {}};

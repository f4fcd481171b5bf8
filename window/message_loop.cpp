// The application's message loop and the little class-wide state around it:
// WinBase's static methods mainLoop, forceQuit, setAutoQuit, setReturnCode,
// setHInstance, getHInstance, createID and initCommonControls. The static
// data members are looked up by name on every call, never cached.
//
// Invariant: the loop copies each message into its script MSG object through
// the buffer that object holds at that moment, since a script handed the
// object may give it a new one.
#include <cstring>

#include "module/errors.h"
#include "window/registry.h"
#include "window/window_class.h"
#include "window/winbase.h"
#include "winstruct/image.h"

#include <commctrl.h>  // after <windows.h>, which it needs

static_assert(sizeof(MSG) == 28, "MSG is 28 bytes on the 32-bit platform");

namespace {

TulClass* winBaseClass(Frame& f) {
  TulClass* cls = findClass(f.vm(), nameString(Name::WinBase));
  if (!cls) f.fail(TulString::format(err::kClassNotFound, nameText(Name::WinBase)).c_str());
  return cls;
}

// Copies the native message into the loop's script MSG object; its buffer
// read inline, as every message needs it.
bool copyMessage(TulObject* msgObj, const MSG& msg) {
  const TulValue* slot = memberSlot(msgObj, Member::MsgMsg);
  TulBuffer* image = slot ? refIn<TulBuffer>(*slot, TulValueType::Buffer) : nullptr;
  if (!image || image->size() < kMsgImage.size) return false;
  std::memcpy(image->data(), &msg, sizeof msg);
  return true;
}

}  // namespace

TulDictionaryEntry* winBaseStatic(Frame& f, Name which) {
  TulClass* cls = winBaseClass(f);
  if (!cls) return nullptr;
  TulDictionaryEntry* e = cls->findOwnMember(nameString(which), true);
  if (!e)
    f.fail(TulString::format(err::kMemberNotFound, nameText(Name::WinBase), nameText(which)).c_str());
  return e;
}

bool winbase_mainLoop(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(0, 0)) return false;
  TulValue msgValue;
  if (!createScriptObject(f.interp(), msgValue, nameString(Name::Msg))) return false;
  TulObject* msgObj = static_cast<TulObject*>(msgValue);
  TulValue address;
  if (!invokeScript(f.interp(), address, msgObj, "ptr")) return false;
  if (static_cast<int>(address) == 0) return f.fail(err::kInvalidMessageObject);

  MSG msg{};
  for (BOOL r = GetMessageA(&msg, nullptr, 0, 0); r != 0; r = GetMessageA(&msg, nullptr, 0, 0)) {
    if (f.vm()->isInDbg()) continue;
    if (r == -1 || registryCount() == 0) break;
    const auto handle = static_cast<std::uint32_t>(fromHandle(msg.hwnd));
    if (TulObject* window = registryLookup(handle)) {
      if (!copyMessage(msgObj, msg)) return f.fail(err::kInvalidMessageObject);
      bool consumed = false;
      if (!offerMessage(f.interp(), window, msgValue, Call::LoopPreprocess, consumed))
        return false;
      if (consumed) continue;
    }
    TranslateMessage(&msg);
    // Only a handler that this dispatch reached ends the loop; script run
    // while the loop waited (an idle hook) answered for its own errors.
    f.resetHandlerFailed();
    DispatchMessageA(&msg);
    if (f.handlerFailed()) return false;
  }
  return f.retNothing();
}

bool winbase_forceQuit(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(0, 0)) return false;
  TulDictionaryEntry* code = winBaseStatic(f, Name::ReturnCode);
  if (!code) return false;
  PostQuitMessage(static_cast<int>(code->value));
  return f.retNothing();
}

bool winbase_setAutoQuit(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  if (!f.interp().checkType(f.arg(0), TulValueType::Int)) return false;
  TulDictionaryEntry* flag = winBaseStatic(f, Name::AutoQuit);
  if (!flag) return false;
  flag->setValue(TulValue(static_cast<int>(f.arg(0))), false, false);
  return f.retNothing();
}

bool winbase_setReturnCode(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  if (!f.interp().checkType(f.arg(0), TulValueType::Int)) return false;
  TulDictionaryEntry* code = winBaseStatic(f, Name::ReturnCode);
  if (!code) return false;
  code->setValue(f.arg(0), false, false);
  return f.retNothing();
}

bool winbase_setHInstance(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  if (!f.interp().checkType(f.arg(0), TulValueType::Handle)) return false;
  setModuleInstance(static_cast<HINSTANCE>(toPointer(static_cast<int>(f.arg(0)))));
  return f.retNothing();
}

bool winbase_getHInstance(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(0, 0)) return false;
  return f.retInt(fromHandle(moduleInstance()));
}

// Identifiers count 1, 2, 3, ... from the start of the class, shared by all
// windows.
bool winbase_createID(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(0, 0)) return false;
  TulClass* cls = winBaseClass(f);
  if (!cls) return false;
  TulDictionaryEntry* maxID = cls->findOwnMember(nameString(Name::MaxID), true);
  if (!maxID) return f.fail(err::kClassNotInitialized);
  const auto next = static_cast<std::int32_t>(
      static_cast<std::uint32_t>(static_cast<int>(maxID->value)) + 1u);
  maxID->setValue(TulValue(next), false, false);
  return f.retInt(next);
}

bool winbase_initCommonControls(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enterStatic(1, 1)) return false;
  if (!f.interp().checkType(f.arg(0), TulValueType::Int)) return false;
  INITCOMMONCONTROLSEX icc;
  icc.dwSize = sizeof icc;
  icc.dwICC = static_cast<DWORD>(static_cast<unsigned>(f.arg(0)));
  return f.retInt(InitCommonControlsEx(&icc) ? 1 : 0);
}

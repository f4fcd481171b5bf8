// Keyboard accelerators of a window: the ACCEL objects in _accelArray and
// the native table built from them (_haccel), which preprocessMessage hands
// to the system's translation.
//
// Invariant: the window owns at most one native table: every rebuild
// destroys the previous one first, and dtor destroys the last.
#include <cstring>
#include <vector>

#include "module/errors.h"
#include "window/winbase.h"
#include "winstruct/image.h"

static_assert(sizeof(ACCEL) == 6, "ACCEL is 6 bytes");

namespace {

// The native entry for one element of the array: the structure of an ACCEL
// object (of ACCEL or a class derived from it); anything else is an entry of
// zeros.
ACCEL entryOf(const TulValue& element) {
  ACCEL entry{};
  if (TulBuffer* image = argImage(element, Name::Accel, kAccelImage))
    std::memcpy(&entry, image->data(), sizeof entry);
  return entry;
}

}  // namespace

bool winbase_getAcceleratorArray(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  const TulValue* slot = f.member(Member::WinAccelArray);
  return f.ret(slot ? *slot : TulValue());
}

bool winbase_addAccelerator(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(2, 3)) return false;
  TulObject* self = f.self();
  if (!vectorMember(self, Member::WinAccelArray)) return f.fail(err::kAcceleratorArrayMissing);
  TulVector args(static_cast<unsigned>(f.argCount()), false);
  for (int i = 0; i < f.argCount(); ++i) args.push_back(f.arg(i));
  TulValue accel;
  if (!createScriptObject(f.interp(), accel, nameString(Name::Accel), &args)) return false;
  TulVector* list = vectorMember(self, Member::WinAccelArray);
  if (!list) return f.fail(err::kAcceleratorArrayMissing);
  list->push_back(accel);
  TulValue result;
  if (!invokeScript(f.interp(), result, self, "applyAccelerators")) return false;
  return f.ret(result);
}

bool winbase_applyAccelerators(TulVirtualMachine* vm, int argc, ValPtr& sp) {
  Frame f(vm, argc, sp);
  if (!f.enter(0, 0)) return false;
  TulObject* self = f.self();
  TulVector* list = vectorMember(self, Member::WinAccelArray);
  if (!list) return f.fail(err::kAcceleratorArrayMissing);
  if (const std::int32_t old = intMember(self, Member::WinHaccel)) {
    DestroyAcceleratorTable(static_cast<HACCEL>(toPointer(old)));
    setIntMember(self, Member::WinHaccel, 0);
  }
  if (list->size() == 0) return f.retNothing();
  std::vector<ACCEL> table;
  table.reserve(list->size());
  for (unsigned i = 0; i < list->size(); ++i) table.push_back(entryOf((*list)[i]));
  HACCEL handle = CreateAcceleratorTableA(table.data(), static_cast<int>(table.size()));
  setIntMember(self, Member::WinHaccel, fromHandle(handle));
  return f.retNothing();
}

// The generic class registrar (see registrar.h).
#include "module/registrar.h"

#include "module/frame.h"

void registerClass(TulVirtualMachine* vm, const ClassSpec& spec) {
  // The host owns the class from here on, registered or not.
  TulClass* cls = new TulClass(*vm);
  if (spec.base) {
    TulClass* base = findClass(vm, TulString(spec.base));
    if (!base) return;
    cls->setBaseClass(base);
  }
  if (!vm->registerNativeClass(spec.name, cls)) return;

  for (const MemberRow& m : spec.members) cls->addDataMember(m.name);
  for (const StaticRow& s : spec.statics)
    cls->addStaticDataMember(nameText(s.name), TulValue(s.initial));
  for (const MethodRow& m : spec.methods) cls->addMethod(m.name, m.fn, 0);
  for (const MethodRow& m : spec.staticMethods)
    cls->addStaticMethod(m.name, m.fn, 0);
  cls->fixupDataDefs();

  for (const MemberRow& m : spec.members)
    setMemberIndex(m.id, cls->getMemberIndex(TulString(m.name)));
}

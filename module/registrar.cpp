// The generic class registrar (see registrar.h).
#include "module/registrar.h"

#include "module/frame.h"

void registerClass(TulVirtualMachine* vm, const ClassSpec& desc) {
  // The host owns the class from here on, registered or not.
  TulClass* cls = new TulClass(*vm);
  if (desc.base) {
    TulClass* base = findClass(vm, TulString(desc.base));
    if (!base) return;
    cls->setBaseClass(base);
  }
  if (!vm->registerNativeClass(desc.name, cls)) return;

  for (const MemberRow& m : desc.members) cls->addDataMember(m.name);
  for (const StaticRow& s : desc.statics)
    cls->addStaticDataMember(nameText(s.name), TulValue(s.initial));
  for (const MethodRow& m : desc.methods) cls->addMethod(m.name, m.fn, 0);
  for (const MethodRow& m : desc.staticMethods)
    cls->addStaticMethod(m.name, m.fn, 0);
  cls->fixupDataDefs();

  for (const MemberRow& m : desc.members)
    setMemberIndex(m.id, cls->getMemberIndex(TulString(m.name)));
}

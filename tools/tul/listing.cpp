// The class listing of `tul --classes` (see listing.h).
#include "tools/tul/listing.h"

#include <string>
#include <vector>

#include "runtime/runtime.h"

namespace {

std::string joined(const std::vector<std::string>& names) {
  if (names.empty()) return "-";
  std::string s;
  for (const std::string& n : names) {
    if (!s.empty()) s += ',';
    s += n;
  }
  return s;
}

}  // namespace

void listClasses(tulrt::Machine& vm, std::ostream& out) {
  // The classes dictionary keeps registration order.
  for (TulDictionaryEntry* e = vm.classes().getFirst(); e; e = e->next) {
    const TulClass* cls = static_cast<TulClass*>(e->value);
    if (!cls) continue;
    const TulClass* base = tulrt::baseClass(cls);
    out << e->key.c_str() << '|' << (base ? tulrt::className(base) : "-") << '|'
        << joined(tulrt::dataMemberNames(cls)) << '|'
        << joined(tulrt::staticMemberNames(cls)) << '|'
        << joined(tulrt::ownMethodNames(cls)) << '|'
        << joined(tulrt::ownStaticMethodNames(cls)) << '\n';
  }
}

// `tul --classes`: one line per registered class, in registration order:
// NAME|BASE|DATA_MEMBERS|STATIC_DATA_MEMBERS|METHODS|STATIC_METHODS, names
// comma-separated, '-' for none.
#pragma once

#include <ostream>

namespace tulrt {
class Machine;
}

void listClasses(tulrt::Machine& vm, std::ostream& out);

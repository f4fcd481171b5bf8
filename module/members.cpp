// The member index cache (see members.h).
#include "module/members.h"

#include <cstddef>

namespace {
// -1 until the registrar fills it; extend the list with the enumeration.
int gIndex[] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
static_assert(sizeof(gIndex) / sizeof(gIndex[0]) ==
                  static_cast<size_t>(Member::Count),
              "one cache slot per member");
}  // namespace

int memberIndex(Member m) { return gIndex[static_cast<int>(m)]; }

void setMemberIndex(Member m, int index) { gIndex[static_cast<int>(m)] = index; }

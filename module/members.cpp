// The member index cache (see members.h).
#include "module/members.h"

namespace {
// One more than the index the registrar stored, so that the zero the array
// starts with means "not filled" without a list of initial values.
int gIndexPlusOne[static_cast<int>(Member::Count)];
}  // namespace

int memberIndex(Member m) { return gIndexPlusOne[static_cast<int>(m)] - 1; }

void setMemberIndex(Member m, int index) { gIndexPlusOne[static_cast<int>(m)] = index + 1; }

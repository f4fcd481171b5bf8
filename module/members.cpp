// The member index cache (see members.h).
#include "module/members.h"

int gMemberIndexPlusOne[static_cast<int>(Member::Count)];

void setMemberIndex(Member m, int index) {
  gMemberIndexPlusOne[static_cast<int>(m)] = index + 1;
}

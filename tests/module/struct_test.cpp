// Struct's layout building from the host's side.
#include "module/errors.h"
#include "module/members.h"
#include "tests/support/host.h"

namespace {

class StructBuilding : public HostTest {};

// A member whose bytes cannot be had leaves no entry behind: the same name
// is added later, after the members before it.
TEST_F(StructBuilding, MemberWithoutBytesLeavesNoEntry) {
  const TulValue s = make("Struct");
  for (const char* name : {"a", "b", "c", "d", "e", "f", "g", "h"})
    ASSERT_EQ(errorOf(s, "addInt", {TulValue(new TulString(name)), TulValue(1)}), "");
  tulrt::setContainerLimit(40);
  EXPECT_EQ(errorOf(s, "addDouble", {TulValue(new TulString("i")), TulValue(2.5)}), err::kOutOfMemory);
  tulrt::setContainerLimit(0);
  TulValue offset;
  ASSERT_TRUE(interp().callMember(offset, static_cast<TulObject*>(s), "addDouble",
                                  {TulValue(new TulString("i")), TulValue(2.5)}));
  EXPECT_EQ(static_cast<int>(offset), 32);
}

}  // namespace

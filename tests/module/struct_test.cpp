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

// A record changed to hold references (as a script may change it) gives
// them up when the Struct goes.
TEST_F(StructBuilding, DroppedRecordsReleaseWhatTheyHold) {
  void (*const changes[])(TulVector&) = {
      [](TulVector&) {},
      [](TulVector& r) { r[0] = TulValue(new TulString("x")); },
      [](TulVector& r) { r[3] = TulValue(new TulVector()); },
      [](TulVector& r) { r.push_back(TulValue(new TulString("y"))); },
  };
  for (unsigned i = 0; i < std::size(changes); ++i) {
    const long before = tulrt::liveObjects();
    TulValue s = make("Struct");
    ASSERT_EQ(errorOf(s, "addInt", {TulValue(new TulString("a")), TulValue(7)}), "");
    TulValue& dict = *memberSlot(static_cast<TulObject*>(s), Member::StructDataDict);
    TulValue& record = refIn<TulDictionary>(dict, TulValueType::Dictionary)->find("a")->value;
    changes[i](*refIn<TulVector>(record, TulValueType::Vector));
    s = TulValue();
    EXPECT_EQ(tulrt::liveObjects(), before) << "change " << i;
  }
}

}  // namespace

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

// A weak link taken on a record hears of its end, plain values or not.
TEST_F(StructBuilding, DroppedRecordTellsItsWeakLink) {
  TulValue s = make("Struct");
  ASSERT_EQ(errorOf(s, "addInt", {TulValue(new TulString("a")), TulValue(7)}), "");
  TulValue& dict = *memberSlot(static_cast<TulObject*>(s), Member::StructDataDict);
  TulWeakLink* link = refIn<TulDictionary>(dict, TulValueType::Dictionary)->find("a")->value.refObject()->weakLink();
  ++link->count;
  s = TulValue();
  EXPECT_EQ(link->target, nullptr);
  delete link;
}

// Records held by a vector that holds itself go with it when the machine's
// teardown empties the containers left (the teardown checks the count).
TEST_F(StructBuilding, RecordsHeldInACycleGoAtTeardown) {
  auto* cycle = new TulVector;
  cycle->push_back(TulValue(cycle));
  const TulValue s = make("Struct");
  const char* const names[] = {"a", "b", "c", "d", "e", "f", "g", "h"};
  for (const char* name : names)
    ASSERT_EQ(errorOf(s, "addInt", {TulValue(new TulString(name)), TulValue(1)}), "");
  TulValue& dict = *memberSlot(static_cast<TulObject*>(s), Member::StructDataDict);
  for (const char* name : names)
    cycle->push_back(refIn<TulDictionary>(dict, TulValueType::Dictionary)->find(name)->value);
}

}  // namespace

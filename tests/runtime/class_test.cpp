// Classes: registration, member layout, base chains, method binding and
// static members.
#include <string>
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

using ClassTest = rtest::MachineTest;
using Names = std::vector<std::string>;

bool nop(TulVirtualMachine*, int, ValPtr&) { return true; }
bool other(TulVirtualMachine*, int, ValPtr&) { return true; }

TEST_F(ClassTest, RegistrationNamesTheClassAndRefusesTakenNames) {
  auto* cls = new TulClass(vm());  // kept by the machine
  ASSERT_TRUE(vm().registerNativeClass("POINT", cls));
  EXPECT_STREQ(tulrt::className(cls), "POINT");
  EXPECT_EQ(static_cast<TulClass*>(vm().classes().find("POINT")->value), cls);
  EXPECT_EQ(&cls->getVM(), static_cast<TulVirtualMachine*>(&vm()));

  auto* twin = new TulClass(vm());  // refused, yet freed by the teardown
  EXPECT_FALSE(vm().registerNativeClass("POINT", twin));
  EXPECT_EQ(lastMessage(), "Class POINT already registered");
  EXPECT_FALSE(vm().registerNativeClass("X", nullptr));
  EXPECT_EQ(vm().defineClass("POINT", nullptr), nullptr);
  EXPECT_EQ(vm().classes().count(), 1u);
  EXPECT_EQ(vm().allClasses().size(), 3u);
}

TEST_F(ClassTest, InheritedMembersKeepTheBaseIndices) {
  TulClass* point = vm().defineClass("POINT", nullptr, {"x", "y"});
  TulClass* size = vm().defineClass("SIZE", point, {"w"});
  EXPECT_EQ(tulrt::dataMemberNames(size), (Names{"x", "y", "w"}));
  EXPECT_EQ(size->getMemberIndex(TulString("y")), point->getMemberIndex(TulString("y")));
  EXPECT_EQ(size->getMemberIndex(TulString("w")), 2);
  EXPECT_EQ(point->getMemberIndex(TulString("w")), -1);
  EXPECT_FALSE(size->addDataMember("x"));

  point->addDataMember("z");  // a base growing later: fixup recomputes
  size->fixupDataDefs();
  EXPECT_EQ(tulrt::dataMemberNames(size), (Names{"x", "y", "z", "w"}));
  TulObject obj(size);
  EXPECT_EQ(obj.getMemberData()->size(), 4u);
}

TEST_F(ClassTest, BaseChainRefusesNullSelfAndCycles) {
  TulClass* a = vm().defineClass("A", nullptr);
  TulClass* b = vm().defineClass("B", a);
  TulClass* c = vm().defineClass("C", b);
  EXPECT_FALSE(a->setBaseClass(nullptr));
  EXPECT_FALSE(a->setBaseClass(a));
  EXPECT_FALSE(a->setBaseClass(c));
  EXPECT_EQ(tulrt::baseClass(a), nullptr);
  EXPECT_TRUE(c->isSubtypeOf(a));
  EXPECT_TRUE(c->isSubtypeOf(TulString("A")));
  EXPECT_FALSE(a->isSubtypeOf(c));
  EXPECT_FALSE(b->isSubtypeOf(TulString("C")));
}

TEST_F(ClassTest, RebindingReplacesTheFunctionButKeepsItsPlace) {
  TulClass* cls = vm().defineClass("K", nullptr);
  cls->addMethod("first", nop, 0);
  cls->addMethod("second", nop, 0);
  cls->addMethod("alias", nop, 0);  // the same function under two names
  cls->addMethod("first", other, 0);
  cls->addStaticMethod("create", nop, 0);
  EXPECT_FALSE(cls->addMethod("none", nullptr, 0));
  EXPECT_EQ(tulrt::ownMethodNames(cls), (Names{"first", "second", "alias"}));
  EXPECT_EQ(tulrt::ownStaticMethodNames(cls), (Names{"create"}));
}

TEST_F(ClassTest, StaticMembersAreOwnOrFoundThroughTheChain) {
  TulClass* base = vm().defineClass("BASE", nullptr);
  TulClass* derived = vm().defineClass("DERIVED", base);
  ASSERT_TRUE(base->addStaticDataMember("count", TulValue(3)));
  EXPECT_FALSE(base->addStaticDataMember("count", TulValue(4)));
  EXPECT_NE(base->findOwnMember(TulString("count"), false), nullptr);
  EXPECT_EQ(derived->findOwnMember(TulString("count"), false), nullptr);
  TulValue* found = tulrt::findStatic(derived, "count");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(static_cast<int>(*found), 3);
  EXPECT_EQ(tulrt::findStatic(derived, "missing"), nullptr);
}

}  // namespace

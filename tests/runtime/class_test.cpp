// Classes: registration, method binding and static members.
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

// findClass remembers the last name's address: a buffer that now holds
// another name, and an entry erased or replaced since, are looked up again.
TEST_F(ClassTest, FindClassSeesANameBufferReusedAndTheRegistryChanged) {
  TulClass* a = vm().defineClass("A", nullptr);
  TulClass* b = vm().defineClass("B", nullptr);
  char name[] = "A";
  EXPECT_EQ(vm().findClass(name), a);
  name[0] = 'B';
  EXPECT_EQ(vm().findClass(name), b);
  vm().classes().erase(TulString("B"));
  EXPECT_EQ(vm().findClass(name), nullptr);
  (*vm().classes()["B"]) = TulValue(a);
  EXPECT_EQ(vm().findClass(name), a);
}

TEST_F(ClassTest, RebindingKeepsTheMethodsPlaceAndStaticsAreFoundThroughTheChain) {
  TulClass* cls = vm().defineClass("K", nullptr);
  cls->addMethod("first", nop, 0);
  cls->addMethod("second", nop, 0);
  cls->addMethod("alias", nop, 0);  // the same function under two names
  cls->addMethod("first", other, 0);
  cls->addStaticMethod("create", nop, 0);
  EXPECT_FALSE(cls->addMethod("none", nullptr, 0));
  EXPECT_EQ(tulrt::ownMethodNames(cls), (Names{"first", "second", "alias"}));
  EXPECT_EQ(tulrt::ownStaticMethodNames(cls), (Names{"create"}));

  // Static data members are a class's own, or found through the chain.
  TulClass* derived = vm().defineClass("DERIVED", cls);
  ASSERT_TRUE(cls->addStaticDataMember("count", TulValue(3)));
  EXPECT_FALSE(cls->addStaticDataMember("count", TulValue(4)));
  EXPECT_NE(cls->findOwnMember(TulString("count"), false), nullptr);
  EXPECT_EQ(derived->findOwnMember(TulString("count"), false), nullptr);
  TulValue* found = tulrt::findStatic(derived, "count");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(static_cast<int>(*found), 3);
  EXPECT_EQ(tulrt::findStatic(derived, "missing"), nullptr);
}

}  // namespace

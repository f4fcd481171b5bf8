// The interpreter: method dispatch through the class chain (overrides,
// constructors, inherited and static calls) and what a failed lookup or
// creation reports.
#include <algorithm>
#include <limits>
#include <string>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

using rtest::frameSlot;
using rtest::returnValue;

TulObject* self(const ValPtr& sp, int argc) { return static_cast<TulObject*>(frameSlot(sp, argc, 1)); }

class InterpreterTest : public rtest::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    base = new TulClass(vm());  // kept by the machine, as the library's classes are
    ASSERT_TRUE(vm().registerNativeClass("BASE", base));
    base->addDataMember("tag");
    // Its constructor stores its argument count in `tag`; describe calls
    // back into the interpreter through a call site, as library methods
    // deferring to script overrides do (the site outlives the machine).
    base->addMethod("BASE", [](TulVirtualMachine*, int argc, ValPtr& sp) {
      (*self(sp, argc)->getMemberData())[0] = TulValue(argc - 1);
      return true;
    }, 0);
    base->addMethod("name", [](TulVirtualMachine*, int argc, ValPtr& sp) {
      return returnValue(sp, argc, TulValue(1));
    }, 0);
    base->addMethod("describe", [](TulVirtualMachine* vm, int argc, ValPtr& sp) {
      static TulCallSite site{"name"};
      TulValue name;
      return vm->interpreter()->invokeMember(name, self(sp, argc), site, nullptr, 0) &&
             returnValue(sp, argc, name);
    }, 0);
    base->addStaticMethod("make", [](TulVirtualMachine*, int argc, ValPtr& sp) {
      return returnValue(sp, argc, TulValue(argc * 100));
    }, 0);
    base->fixupDataDefs();
    derived = vm().defineClass("DERIVED", base, {"extra"});
    tulrt::addScriptMethod(derived, "name", [](TulVirtualMachine*, int argc, ValPtr& sp) {
      return returnValue(sp, argc, TulValue(2));
    });
  }

  TulValue make(TulClass* cls) {
    TulValue out;
    EXPECT_TRUE(in().construct(out, cls)) << lastMessage();
    return out;
  }
  int callInt(TulObject* obj, const char* name) {
    TulValue r;
    EXPECT_TRUE(in().callMember(r, obj, name)) << lastMessage();
    return static_cast<int>(r);
  }

  TulClass* base = nullptr;
  TulClass* derived = nullptr;
};

// Lookups are remembered per class; each case changes what a remembered
// lookup found and expects the call to see the change at once.
TEST_F(InterpreterTest, LookupsFollowRebindingBaseChangesAndTheCallersText) {
  auto answers = [](int n) {
    return [n](TulVirtualMachine*, int argc, ValPtr& sp) {
      return returnValue(sp, argc, TulValue(n));
    };
  };
  TulClass* leaf = vm().defineClass("LEAF", base);
  const TulValue d = make(derived);
  const TulValue l = make(leaf);
  auto* dobj = static_cast<TulObject*>(d);
  auto* lobj = static_cast<TulObject*>(l);
  EXPECT_EQ(callInt(dobj, "name"), 2);
  EXPECT_EQ(callInt(lobj, "name"), 1);  // found on BASE through LEAF
  // A native method calling back through invokeMember reaches the override.
  EXPECT_EQ(callInt(lobj, "describe"), 1);
  EXPECT_EQ(callInt(dobj, "describe"), 2);
  TulValue r;
  ASSERT_TRUE(in().callInherited(r, derived, dobj, "name"));
  EXPECT_EQ(static_cast<int>(r), 1);

  tulrt::addScriptMethod(derived, "name", answers(3));  // rebound after the lookup
  EXPECT_EQ(callInt(dobj, "describe"), 3);
  EXPECT_EQ(callInt(dobj, "name"), 3);
  EXPECT_EQ(callInt(lobj, "describe"), 1);
  tulrt::addScriptMethod(leaf, "name", answers(4));  // an override after an inherited lookup
  EXPECT_EQ(callInt(lobj, "describe"), 4);
  EXPECT_EQ(callInt(lobj, "name"), 4);
  EXPECT_EQ(callInt(static_cast<TulObject*>(make(base)), "name"), 1);

  TulClass* moved = vm().defineClass("MOVED", base);
  const TulValue m = make(moved);
  EXPECT_EQ(callInt(static_cast<TulObject*>(m), "describe"), 1);
  ASSERT_TRUE(moved->setBaseClass(derived));
  EXPECT_EQ(callInt(static_cast<TulObject*>(m), "describe"), 3);
  EXPECT_EQ(callInt(static_cast<TulObject*>(m), "name"), 3);

  // One buffer, two names: the text decides, though the buffer lies in the
  // program's own data, next to the literals whose text cannot change.
  static char text[] = "name";
  ASSERT_TRUE(vm().interpreter()->invokeMember(r, dobj, text, nullptr));
  EXPECT_EQ(static_cast<int>(r), 3);
  text[0] = 'f';  // "fame"
  EXPECT_FALSE(vm().interpreter()->invokeMember(r, dobj, text, nullptr));
  EXPECT_EQ(lastMessage(), "Method DERIVED::fame not found");
}

// A call by name gives back every count its frame took: a weak argument's
// link count, and the reference the result held before the answer.
TEST_F(InterpreterTest, ACallByNameGivesBackWhatItsFrameHeld) {
  const TulValue d = make(derived);
  auto* obj = static_cast<TulObject*>(d);
  const TulValue weak(obj, true);
  const int links = obj->weakLink()->count;
  auto* held = new TulString("before");
  TulValue r(held);
  held->retain();  // this test's own count, to watch the result's go
  ASSERT_TRUE(in().callMember(r, static_cast<TulObject*>(make(base)), "name", {weak}))
      << lastMessage();
  EXPECT_EQ(static_cast<int>(r), 1);
  EXPECT_EQ(obj->weakLink()->count, links);
  EXPECT_EQ(held->refCount(), 1);
  held->release();
}

TEST_F(InterpreterTest, CreateObjectRunsNearestConstructorOfTheChain) {
  TulVector args;
  args.push_back(TulValue(5));
  args.push_back(TulValue(6));
  TulValue out;
  ASSERT_TRUE(vm().interpreter()->createObject(out, TulString("DERIVED"), &args));
  auto* obj = static_cast<TulObject*>(out);
  ASSERT_NE(obj, nullptr);
  EXPECT_EQ(obj->getClass(), derived);
  EXPECT_EQ(static_cast<int>((*obj->getMemberData())[0]), 2);  // BASE's ctor saw both

  // A constructor of its own replaces the base's; it may still call it.
  tulrt::addScriptMethod(derived, "DERIVED", [this](TulVirtualMachine*, int argc, ValPtr& sp) {
    TulObject* o = self(sp, argc);
    (*o->getMemberData())[1] = TulValue(9);
    TulValue ignored;
    return in().callInherited(ignored, derived, o, "BASE");
  });
  ASSERT_TRUE(vm().interpreter()->createObject(out, TulString("DERIVED"), &args));
  obj = static_cast<TulObject*>(out);
  EXPECT_EQ(static_cast<int>((*obj->getMemberData())[0]), 0);
  EXPECT_EQ(static_cast<int>((*obj->getMemberData())[1]), 9);

  // A class's name names its constructor: one bound before the class has a
  // name runs once it is registered, though a construction came between.
  auto* late = new TulClass(vm());  // kept by the machine
  ASSERT_TRUE(late->setBaseClass(base));
  late->addMethod("LATE", [](TulVirtualMachine* v, int, ValPtr&) {
    return v->interpreter()->returnError("LATE ran", nullptr);
  }, 0);
  late->fixupDataDefs();
  make(late);
  ASSERT_TRUE(vm().registerNativeClass("LATE", late));
  EXPECT_FALSE(in().construct(out, late));
  EXPECT_EQ(lastMessage(), "LATE ran");
}

TEST_F(InterpreterTest, LookupAndCreationFailuresAreReportedAndStaticsStaySeparate) {
  const TulValue d = make(derived);
  auto* obj = static_cast<TulObject*>(d);
  TulValue r(5);
  EXPECT_FALSE(vm().interpreter()->invokeMember(r, obj, "nope", nullptr));
  EXPECT_EQ(lastMessage(), "Method DERIVED::nope not found");
  EXPECT_FALSE(vm().interpreter()->invokeMember(r, nullptr, "name", nullptr));
  EXPECT_EQ(lastMessage(), "invalid object");
  EXPECT_FALSE(in().callInherited(r, derived, nullptr, "name"));  // the base binds it
  EXPECT_EQ(lastMessage(), "invalid object");
  EXPECT_FALSE(in().callMember(r, obj, "make"));
  EXPECT_FALSE(in().callStatic(r, derived, "name"));
  EXPECT_FALSE(vm().interpreter()->createObject(r, TulString("NOPE"), nullptr));
  EXPECT_EQ(lastMessage(), "Class NOPE not found");
  vm().defineClass("PLAIN", nullptr);  // no constructor anywhere in its chain
  TulVector args(1, true);
  EXPECT_FALSE(vm().interpreter()->createObject(r, TulString("PLAIN"), &args));
  EXPECT_EQ(lastMessage(), "too many arguments");
  EXPECT_EQ(static_cast<int>(r), 5);  // failures leave the result alone
  ASSERT_TRUE(in().callStatic(r, derived, "make", {TulValue(1), TulValue(2)}));
  EXPECT_EQ(static_cast<int>(r), 200);  // found on BASE, called without `this`

  tulrt::addScriptMethod(derived, "fail", [](TulVirtualMachine* vm, int, ValPtr&) {
    return vm->interpreter()->returnError("failed on purpose", nullptr);
  });
  const TulValue arg(new TulString("released after the call"));
  EXPECT_FALSE(in().callMember(r, obj, "fail", {arg}));
  EXPECT_EQ(static_cast<int>(r), 200);
  EXPECT_EQ(lastMessage(), "failed on purpose");
  EXPECT_EQ(in().stackUsed(), 0u);
  EXPECT_EQ(static_cast<TulString*>(arg)->refCount(), 1);  // no stack slot keeps it
}

}  // namespace

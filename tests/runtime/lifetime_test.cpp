// Object lifetime: dtors on the last release, failing dtors, and machine
// teardown releasing everything, reference cycles included.
#include <string>
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

using rtest::frameSlot;

class DtorTest : public rtest::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::SetUp();
    base = vm().defineClass("RES", nullptr, {"name"});
    derived = vm().defineClass("SUBRES", base);
    tulrt::addScriptMethod(base, "dtor", [this](TulVirtualMachine*, int argc, ValPtr& sp) {
      auto* self = static_cast<TulObject*>(frameSlot(sp, argc, 1));
      auto* name = static_cast<TulString*>((*self->getMemberData())[0]);
      ran.push_back(name ? name->c_str() : "?");  // members are still there
      return true;
    });
    in().setDtorErrorHandler([this](const tulrt::ErrorRecord& e) { reported.push_back(e.message); });
  }

  TulValue make(TulClass* cls, const char* name) {
    TulValue v(new TulObject(cls));
    (*static_cast<TulObject*>(v)->getMemberData())[0] = TulValue(new TulString(name));
    return v;
  }

  TulClass* base = nullptr;
  TulClass* derived = nullptr;
  std::vector<std::string> ran;
  std::vector<std::string> reported;
};

TEST_F(DtorTest, RunsOnceWhenTheLastReferenceGoes) {
  const long before = tulrt::liveObjects();
  TulValue a = make(derived, "a");  // the dtor is inherited
  TulValue copy = a;
  a = TulValue();
  EXPECT_TRUE(ran.empty());
  copy = TulValue();
  EXPECT_EQ(ran, (std::vector<std::string>{"a"}));
  EXPECT_EQ(tulrt::liveObjects(), before);
}

TEST_F(DtorTest, FailingDtorIsReportedAndLeavesTheErrorRecord) {
  tulrt::addScriptMethod(derived, "dtor", [](TulVirtualMachine* vm, int, ValPtr&) {
    return vm->interpreter()->returnError("cannot close", nullptr);
  });
  vm().interpreter()->returnError("earlier", nullptr);
  TulValue v = make(derived, "x");
  v = TulValue();
  EXPECT_EQ(reported, (std::vector<std::string>{"cannot close"}));
  EXPECT_EQ(lastMessage(), "earlier");

  in().setDtorErrorHandler(nullptr);  // back to the default: stderr
  v = make(derived, "y");
  testing::internal::CaptureStderr();
  v = TulValue();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "error in dtor: cannot close\n");
}

TEST_F(DtorTest, ResurrectedObjectIsNotDestroyedAgain) {
  base->addStaticDataMember("keep", TulValue());
  tulrt::addScriptMethod(derived, "dtor", [this](TulVirtualMachine*, int argc, ValPtr& sp) {
    *tulrt::findStatic(derived, "keep") = frameSlot(sp, argc, 1);
    ran.push_back("saved");
    return true;
  });
  TulValue v = make(derived, "z");
  auto* obj = static_cast<TulObject*>(v);
  v = TulValue();
  EXPECT_EQ(obj->refCount(), 1);
  EXPECT_EQ(ran.size(), 1u);  // and not again at teardown
}

TEST_F(DtorTest, FailedConstructorRunsNoDtor) {
  tulrt::addScriptMethod(base, "RES", [](TulVirtualMachine* vm, int, ValPtr&) {
    return vm->interpreter()->returnError("no", nullptr);
  });
  TulValue out(5);
  EXPECT_FALSE(in().construct(out, base));
  EXPECT_EQ(static_cast<int>(out), 5);
  EXPECT_TRUE(ran.empty());
}

TEST(TeardownTest, ReleasesEverythingIncludingCycles) {
  const long before = tulrt::liveObjects();
  std::vector<std::string> ran;
  TulValue survivor;
  TulValue weak;
  {
    tulrt::Machine vm;
    TulClass* node = vm.defineClass("NODE", nullptr, {"next"});
    node->addStaticDataMember("root", TulValue());
    tulrt::addScriptMethod(node, "dtor", [&ran](TulVirtualMachine*, int, ValPtr&) {
      ran.push_back("node");
      return true;
    });
    EXPECT_EQ(tulrt::Machine::current(), &vm);

    TulValue a(new TulObject(node));
    TulValue b(new TulObject(node));
    (*static_cast<TulObject*>(a)->getMemberData())[0] = b;  // a <-> b
    (*static_cast<TulObject*>(b)->getMemberData())[0] = a;
    *tulrt::findStatic(node, "root") = TulValue(new TulObject(node));  // class -> instance

    auto* vec = new TulVector;
    vec->push_back(TulValue(vec));  // a vector holding itself
    auto* dict = new TulDictionary;
    *(*dict)["me"] = TulValue(dict);  // a dictionary holding itself
    (*static_cast<TulObject*>(b)->getMemberData())[0] = TulValue(vec);
    *(*dict)["a"] = a;
    vec->push_back(TulValue(dict));

    survivor = TulValue(new TulObject(node));  // held past the teardown
    weak = TulValue(static_cast<TulObject*>(a), true);
  }
  EXPECT_EQ(ran.size(), 4u);  // a, b, the static's instance and the survivor
  EXPECT_EQ(static_cast<TulObject*>(weak), nullptr);
  ASSERT_NE(static_cast<TulObject*>(survivor), nullptr);
  EXPECT_STREQ(tulrt::className(static_cast<TulObject*>(survivor)->getClass()), "NODE");
  survivor = TulValue();
  weak = TulValue();
  EXPECT_EQ(tulrt::liveObjects(), before);
  EXPECT_EQ(tulrt::Machine::current(), nullptr);
}

}  // namespace

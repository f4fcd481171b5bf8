// Object lifetime: a native dtor after a script override, the order of a
// chain's dtors, and machine teardown releasing everything, reference cycles
// included.
#include <functional>
#include <string>
#include <utility>
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

// A native class's dtor releases what lives outside the host, so it runs
// after a script override whether or not the override called it.
std::vector<std::string>* gNativeRan = nullptr;
bool nativeDtor(TulVirtualMachine*, int argc, ValPtr& sp) {
  auto* self = static_cast<TulObject*>(frameSlot(sp, argc, 1));
  auto* name = static_cast<TulString*>((*self->getMemberData())[0]);
  gNativeRan->push_back(std::string("native ") + (name ? name->c_str() : "?"));
  sp -= argc;
  return true;
}

TEST_F(DtorTest, NativeDtorRunsAfterAScriptOverride) {
  gNativeRan = &ran;
  TulClass* native = vm().defineClass("NATIVE", nullptr, {"name"});
  native->addMethod("dtor", nativeDtor, 0);
  TulClass* script = vm().defineClass("SCRIPTED", native);
  tulrt::addScriptMethod(script, "dtor", [this](TulVirtualMachine*, int, ValPtr&) {
    ran.push_back("script");
    return true;
  });
  { TulValue a = make(native, "a"); }
  { TulValue b = make(script, "b"); }
  EXPECT_EQ(ran, (std::vector<std::string>{"native a", "script", "native b"}));
  gNativeRan = nullptr;
}

// An object's members share its block; members held elsewhere outlive it.
TEST_F(DtorTest, MembersHeldPastTheirObjectStayUsable) {
  TulValue members;
  {
    TulValue obj = make(base, "kept");
    members = TulValue(static_cast<TulObject*>(obj)->getMemberData());
  }
  EXPECT_EQ(ran, std::vector<std::string>{"kept"});
  auto* v = static_cast<TulVector*>(members);
  ASSERT_NE(v, nullptr);
  for (int i = 0; i < 4; ++i) v->push_back(TulValue(i));  // past the vector's own room
  EXPECT_STREQ(static_cast<TulString*>((*v)[0])->c_str(), "kept");
  EXPECT_EQ(static_cast<int>((*v)[4]), 3);
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

// Deep enough to overflow the native stack if released recursively.
constexpr int kChain = 200000;

using ReleaseChainTest = rtest::MachineTest;

// Link i holds link i+1; link 1 also holds an extra one (id -7), which its
// dtor drops; the middle link keeps itself, and with it the rest of the chain.
TEST_F(ReleaseChainTest, DtorsRunInChainOrderAndMayReleaseOrResurrect) {
  TulClass* link = vm().defineClass("LINK", nullptr, {"next", "id", "extra"});
  link->addStaticDataMember("keep", TulValue());
  std::vector<int> ran;
  tulrt::addScriptMethod(link, "dtor", [&](TulVirtualMachine*, int argc, ValPtr& sp) {
    const TulValue& self = frameSlot(sp, argc, 1);
    TulVector& m = *static_cast<TulObject*>(self)->getMemberData();
    const int id = static_cast<int>(m[1]);
    ran.push_back(id);
    if (id == kChain / 2) *tulrt::findStatic(link, "keep") = self;
    if (m[2].isObject()) {
      m[2] = TulValue();  // its dtor runs before this one goes on
      ran.push_back(-id);
    }
    return true;
  });
  auto make = [link](int id, TulValue next) {
    TulValue v(new TulObject(link));
    TulVector& m = *static_cast<TulObject*>(v)->getMemberData();
    m[0] = std::move(next);
    m[1] = TulValue(id);
    return v;
  };

  TulValue head;
  for (int i = kChain - 1; i >= 0; --i) head = make(i, std::move(head));
  TulObject* first = static_cast<TulObject*>((*static_cast<TulObject*>(head)->getMemberData())[0]);
  (*first->getMemberData())[2] = make(-7, TulValue());
  const TulValue weak(first, true);
  const TulValue weakFirst(weak);  // a copy of a weak reference stays weak
  TulObject* last = first;
  while (TulObject* n = static_cast<TulObject*>((*last->getMemberData())[0])) last = n;
  const TulValue weakLast(last, true);

  head = TulValue();
  std::vector<int> expected{0, 1, -7, -1};
  for (int i = 2; i <= kChain / 2; ++i) expected.push_back(i);
  EXPECT_EQ(ran, expected);
  EXPECT_EQ(static_cast<TulObject*>(weakFirst), nullptr);
  EXPECT_NE(static_cast<TulObject*>(weakLast), nullptr);

  *tulrt::findStatic(link, "keep") = TulValue();  // the rest goes, its dtor not again
  for (int i = kChain / 2 + 1; i < kChain; ++i) expected.push_back(i);
  EXPECT_EQ(ran, expected);
  EXPECT_EQ(static_cast<TulObject*>(weakLast), nullptr);
}

// Every link holds an extra object that its dtor drops: the extra's dtor
// runs before the link's goes on, however deep in the chain the link lies.
TEST_F(ReleaseChainTest, ADtorsOwnReleasesFinishAtAnyDepth) {
  TulClass* link = vm().defineClass("LINK", nullptr, {"next", "id", "extra"});
  std::vector<int> ran, expected;
  tulrt::addScriptMethod(link, "dtor", [&](TulVirtualMachine*, int argc, ValPtr& sp) {
    TulVector& m = *static_cast<TulObject*>(frameSlot(sp, argc, 1))->getMemberData();
    ran.push_back(static_cast<int>(m[1]));
    if (m[2].isObject()) m[2] = TulValue(), ran.push_back(-static_cast<int>(m[1]));
    return true;
  });
  TulValue head;
  for (int id = 20; id >= 1; --id) {
    TulValue next(new TulObject(link)), extra(new TulObject(link));
    (*static_cast<TulObject*>(extra)->getMemberData())[1] = TulValue(100 + id);
    TulVector& m = *static_cast<TulObject*>(next)->getMemberData();
    m[0] = std::move(head), m[1] = TulValue(id), m[2] = std::move(extra);
    head = std::move(next);
    expected.insert(expected.begin(), {id, 100 + id, -id});
  }
  head = TulValue();
  EXPECT_EQ(ran, expected);
}

}  // namespace

// The frame rules, checked for every method of every class straight from the
// registrars' own binding tables.
#include <set>
#include <string>

#include "module/classes.h"
#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class FrameRules : public HostTest {};

// Methods that need at least one argument (besides every set* and add*).
bool takesArguments(const std::string& cls, const std::string& method) {
  static const std::set<std::string> kNeedArguments = {
      "OP_ADD", "OP_ADD_R", "OP_SUB", "OP_VREF", "OP_VSET", "equals", "compare",
      "icompare", "find", "replace", "substr", "insert", "append", "push_back",
      "push_front", "slice", "erase", "Struct.getValue", "create", "createFromHandle",
      "handleMessage", "preprocessMessage", "removeMsgHandler", "hasStyle", "removeStyle",
      "hasExtStyle", "removeExtStyle", "enableVirtualSize", "scrollHorizontal",
      "scrollVertical"};
  if (method == "setScrollSteps") return false;  // every step has a default
  return method.compare(0, 3, "set") == 0 || method.compare(0, 3, "add") == 0 ||
         kNeedArguments.count(method) || kNeedArguments.count(cls + "." + method);
}

// Methods without an upper bound on their arguments.
bool unbounded(const std::string& cls, const std::string& method) {
  return (cls == "String" && method == "String") || (cls == "Vector" && method == "insert");
}

TEST_F(FrameRules, NonObjectThisIsRefusedBeforeTheCount) {
  for (const ClassSpec* desc : registrationOrder())
    for (const MethodRow& m : desc->methods)
      for (const TulValue& self : {TulValue(5), TulValue(), TulValue(2.5)})
        EXPECT_EQ(rawCallError(desc->name, m.name, &self, 40), err::kInvalidThis)
            << desc->name << "." << m.name;
}

// More arguments than any method takes.
constexpr int kTooManyArguments = 11;

// Also checks that methods needing arguments report too few with none.
TEST_F(FrameRules, TooManyArgumentsIsReportedBeforeAnyArgumentIsRead) {
  for (const ClassSpec* desc : registrationOrder()) {
    const TulValue obj = make(desc->name);
    for (const MethodRow& m : desc->methods) {
      SCOPED_TRACE(std::string(desc->name) + "." + m.name);
      if (!unbounded(desc->name, m.name)) {
        EXPECT_EQ(rawCallError(desc->name, m.name, &obj, kTooManyArguments), err::kTooMany);
      }
      if (takesArguments(desc->name, m.name)) {
        EXPECT_EQ(rawCallError(desc->name, m.name, &obj, 0), err::kTooFew);
      }
    }
    for (const MethodRow& m : desc->staticMethods)
      EXPECT_EQ(rawCallError(desc->name, m.name, nullptr, kTooManyArguments), err::kTooMany)
          << desc->name << "." << m.name;
  }
}

TEST_F(FrameRules, AFailedCallLeavesTheStackAsItWas) {
  TulValue p = make("POINT", {TulValue(1), TulValue(2)});
  unsigned used = interp().stackUsed();
  EXPECT_EQ(errorOf(p, "OP_ADD", {TulValue(7)}), err::kInvalidArgument);
  EXPECT_EQ(interp().stackUsed(), used);
}

// A method answering its own object copies it: a host that built the frame
// itself may call again with the same `this` in its slot.
TEST_F(FrameRules, AnAnswerOfThisLeavesThisInItsSlot) {
  NativeMethod append = nullptr;
  for (const MethodRow& m : kStringSpec.methods)
    if (std::string(m.name) == "append") append = m.fn;
  const TulValue s = make("String");
  TulVector frame;
  for (const TulValue& v : {TulValue(), s, TulValue(new TulString("a"))}) frame.push_back(v);
  for (int call = 0; call < 2; ++call) {
    ValPtr sp{&frame, 2};
    ASSERT_TRUE(append(vm_, 2, sp)) << interp().lastError().message;
    EXPECT_EQ(static_cast<TulObject*>(frame[1]), static_cast<TulObject*>(s));
  }
  EXPECT_EQ(errorOf(s, "compare", {TulValue(new TulString("aa"))}), "");
}


}  // namespace

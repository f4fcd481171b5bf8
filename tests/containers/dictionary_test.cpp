// Dictionary and DictIterator seen from a script: order, copies, walks with
// erasure, and iterators whose entry was erased behind their back.
#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class DictionaryTest : public HostTest {
 protected:
  TulValue key(const char* k) { return TulValue(new TulString(k)); }
  TulValue dict(std::vector<std::pair<const char*, int>> items) {
    TulValue d = make("Dictionary");
    for (auto& kv : items) call(d, "OP_VSET", {key(kv.first), TulValue(kv.second)});
    return d;
  }
  // The keys met walking from begin() to end().
  std::string walk(const TulValue& d) {
    std::string keys;
    TulValue end = call(d, "end");
    for (TulValue it = call(d, "begin"); !callInt(it, "equals", {end}); call(it, "next")) {
      TulValue k = call(it, "getKey");
      keys += static_cast<TulString*>(k)->c_str();
    }
    return keys;
  }
};

TEST_F(DictionaryTest, ReadingAMissingKeyAddsItButFindDoesNot) {
  TulValue d = make("Dictionary");
  EXPECT_EQ(callInt(call(d, "begin"), "equals", {call(d, "end")}), 1);
  call(d, "OP_VSET", {key("a"), TulValue(1)});
  EXPECT_EQ(callInt(d, "OP_VREF", {key("a")}), 1);
  EXPECT_EQ(callInt(call(d, "find", {key("zz")}), "equals", {call(d, "end")}), 1);
  EXPECT_EQ(callInt(d, "size"), 1);
  EXPECT_EQ(call(d, "OP_VREF", {key("b")}).type(), TulValueType::Nil);
  EXPECT_EQ(callInt(d, "size"), 2);
  EXPECT_EQ(errorOf(d, "OP_VREF", {TulValue(3)}), "Bad type: expected string, got int");
}

TEST_F(DictionaryTest, OrderAndCopies) {
  TulValue d = dict({{"c", 1}, {"a", 2}, {"b", 3}});
  EXPECT_EQ(walk(d), "cab");
  TulValue copy = make("Dictionary", {d});
  call(copy, "OP_VSET", {key("z"), TulValue(0)});
  EXPECT_EQ(walk(copy), "cabz");
  EXPECT_EQ(walk(d), "cab");
  TulValue fromPlain = make("Dictionary", {call(d, "dict")});
  EXPECT_EQ(walk(fromPlain), "cab");
  EXPECT_EQ(constructError("Dictionary", {TulValue(5)}), "Bad type: expected dictionary, got int");
  EXPECT_EQ(constructError("Dictionary", {make("Vector")}), err::kNotADictionaryClass);
  EXPECT_EQ(interp().lastError().detail, "Vector");
  static_cast<TulDictionary*>(call(d, "dict"))->operator[]("q");
  EXPECT_EQ(callInt(d, "size"), 4);
}

TEST_F(DictionaryTest, EraseByKeyAndThroughTheWalkingIterator) {
  TulValue d = dict({{"a", 1}, {"b", 2}, {"c", 3}});
  EXPECT_EQ(callInt(d, "erase", {key("b")}), 1);
  EXPECT_EQ(callInt(d, "erase", {key("b")}), 0);
  TulValue it = call(d, "begin");
  EXPECT_EQ(callInt(d, "erase", {it}), 1);
  EXPECT_STREQ(static_cast<TulString*>(call(it, "getKey"))->c_str(), "c");
  EXPECT_EQ(callInt(d, "erase", {it}), 1);
  EXPECT_EQ(callInt(it, "equals", {call(d, "end")}), 1);
  EXPECT_EQ(callInt(d, "size"), 0);
  // An iterator at the end is taken as a key.
  EXPECT_EQ(errorOf(d, "erase", {it}), "Bad type: expected string, got object");
  // An entry of another dictionary is refused without harm.
  TulValue other = dict({{"x", 1}});
  EXPECT_EQ(callInt(d, "erase", {call(other, "begin")}), 0);
  EXPECT_EQ(callInt(other, "size"), 1);
}

TEST_F(DictionaryTest, IteratorOnAnErasedEntryIsInvalidNotDangling) {
  TulValue d = dict({{"a", 1}, {"b", 2}});
  TulValue onA = call(d, "find", {key("a")});
  TulValue alsoA = call(d, "begin");
  call(d, "erase", {key("a")});
  for (const char* m : {"getKey", "getValue", "next", "OP_INC", "OP_PINC"})
    EXPECT_EQ(errorOf(onA, m), err::kInvalidIterator) << m;
  EXPECT_EQ(errorOf(onA, "setValue", {TulValue(5)}), err::kInvalidIterator);
  EXPECT_EQ(callInt(onA, "equals", {alsoA}), 1);
  TulValue onB = call(d, "find", {key("b")});
  call(d, "clear");
  EXPECT_EQ(errorOf(onB, "getValue"), err::kInvalidIterator);
  // The dictionary itself goes away while the iterator lives on.
  TulValue survivor = call(dict({{"k", 1}}), "begin");
  EXPECT_EQ(errorOf(survivor, "getKey"), err::kInvalidIterator);
}

TEST_F(DictionaryTest, IteratorStepping) {
  TulValue d = dict({{"a", 1}, {"b", 2}});
  TulValue it = call(d, "begin");
  TulValue later = call(it, "OP_PINC");
  EXPECT_STREQ(static_cast<TulString*>(call(it, "getKey"))->c_str(), "a");
  EXPECT_STREQ(static_cast<TulString*>(call(later, "getKey"))->c_str(), "b");
  EXPECT_EQ(static_cast<TulObject*>(call(it, "OP_INC")), static_cast<TulObject*>(it));
  EXPECT_EQ(callInt(it, "equals", {later}), 1);
  call(it, "next");
  EXPECT_EQ(errorOf(it, "next"), err::kInvalidIterator);
  EXPECT_EQ(callInt(it, "equals", {call(make("Dictionary"), "end")}), 1);
  EXPECT_EQ(errorOf(it, "equals", {TulValue(5)}), "Bad type: expected object, got int");
  EXPECT_EQ(errorOf(it, "equals", {d}), err::kNotAnIterator);
  EXPECT_EQ(interp().lastError().detail, err::kNotAnIteratorDetail);
  TulValue f = call(d, "find", {key("b")});
  call(f, "setValue", {TulValue(42)});
  EXPECT_EQ(callInt(d, "OP_VREF", {key("b")}), 42);
}

TEST_F(DictionaryTest, MethodsOfAnUnconstructedObjectReportABadType) {
  TulClass* mine = vm_->defineClass("Bare", cls("Dictionary"));
  ASSERT_NE(mine, nullptr);
  TulValue bare(new TulObject(mine));
  for (const char* m : {"size", "begin", "clear", "dict"})
    EXPECT_EQ(errorOf(bare, m), "Bad type: expected dictionary, got nil") << m;
}

}  // namespace

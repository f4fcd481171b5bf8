// TulDictionary: insertion order, growth, erasure and the safety of entries
// held after they leave their dictionary.
#include <string>
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

std::vector<std::string> keys(const TulDictionary& d) {
  std::vector<std::string> out;
  for (const TulDictionaryEntry* e = d.getFirst(); e; e = e->next) out.push_back(e->key.c_str());
  return out;
}

using Keys = std::vector<std::string>;

TEST(DictionaryTest, KeepsInsertionOrderAndFindsExistingKeys) {
  TulDictionary d;
  *d["b"] = TulValue(1);
  *d["a"] = TulValue(2);
  *d["c"] = TulValue(3);
  *d["a"] = TulValue(4);  // an existing key keeps its place
  EXPECT_EQ(keys(d), (Keys{"b", "a", "c"}));
  EXPECT_EQ(d.count(), 3u);
  EXPECT_EQ(static_cast<int>(d.find(TulString("a"))->value), 4);
  EXPECT_EQ(d.find("zz"), nullptr);
  EXPECT_EQ(d.find(TulString("a\0x", 3)), nullptr);
}

TEST(DictionaryTest, GrowthKeepsEveryKeyReachableInOrder) {
  TulDictionary d;
  Keys expected;
  for (int i = 0; i < 1000; ++i) {
    expected.push_back("k" + std::to_string(i));
    *d[expected.back().c_str()] = TulValue(i);
  }
  EXPECT_EQ(keys(d), expected);
  for (int i = 0; i < 1000; i += 37)
    EXPECT_EQ(static_cast<int>(d.find(expected[static_cast<unsigned>(i)].c_str())->value), i);
}

struct EraseCase {
  const char* key;
  Keys remaining;
};

TEST(DictionaryTest, EraseFirstMiddleAndLastRelinksTheOrder) {
  const EraseCase cases[] = {
      {"a", {"b", "c", "d"}}, {"b", {"a", "c", "d"}}, {"d", {"a", "b", "c"}}};
  for (const EraseCase& c : cases) {
    SCOPED_TRACE(c.key);
    TulDictionary d;
    for (const char* k : {"a", "b", "c", "d"}) d[k];
    EXPECT_TRUE(d.erase(TulString(c.key)));
    EXPECT_FALSE(d.erase(TulString(c.key)));
    EXPECT_EQ(keys(d), c.remaining);
    EXPECT_EQ(d.find(c.key), nullptr);
    *d["e"] = TulValue(5);  // the tail is still right
    EXPECT_EQ(keys(d).back(), "e");
  }
}

TEST(DictionaryTest, HeldEntryStaysSafeAfterEraseClearAndDestruction) {
  const long before = tulrt::liveObjects();
  {
    auto* d = new TulDictionary;
    TulValue dict(d);
    TulValue erased(d->operator[]("x"));
    TulValue cleared(d->operator[]("y"));
    TulValue orphaned(d->operator[]("z"));
    *d->find("x") = TulValue(new TulString("payload"));
    d->erase(TulString("x"));
    d->clear();
    *d->operator[]("z") = TulValue(1);
    for (const TulValue* v : {&erased, &cleared}) {
      auto* e = static_cast<TulDictionaryEntry*>(*v);
      EXPECT_TRUE(e->erased());
      EXPECT_EQ(e->next, nullptr);
      EXPECT_EQ(e->value.type(), TulValueType::Empty);
      *e = TulValue(new TulString("ignored"));  // an erased entry takes no value
      EXPECT_EQ(e->value.type(), TulValueType::Empty);
    }
    EXPECT_STREQ(static_cast<TulDictionaryEntry*>(erased)->key.c_str(), "x");
    orphaned = TulValue(d->find("z"));
    dict = TulValue();  // the dictionary goes; the entry stays held
    EXPECT_TRUE(static_cast<TulDictionaryEntry*>(orphaned)->erased());
  }
  EXPECT_EQ(tulrt::liveObjects(), before);
}

}  // namespace

// TulDictionary: insertion order, growth, erasure and the safety of entries
// held after they leave their dictionary.
#include <algorithm>
#include <string>
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

using Keys = std::vector<std::string>;

Keys keys(const TulDictionary& d) {
  Keys out;
  for (const TulDictionaryEntry* e = d.getFirst(); e; e = e->next) out.push_back(e->key.c_str());
  return out;
}

TEST(DictionaryTest, GrowthAndErasureKeepInsertionOrderAndEveryKeyReachable) {
  TulDictionary d;
  Keys expected;
  for (int i = 0; i < 1000; ++i) {
    expected.push_back("k" + std::to_string(i));
    *d[expected.back().c_str()] = TulValue(i);
  }
  *d["k5"] = TulValue(-5);  // an existing key keeps its place
  EXPECT_EQ(keys(d), expected);
  EXPECT_EQ(d.count(), 1000u);
  for (int i = 0; i < 1000; i += 37)
    EXPECT_EQ(static_cast<int>(d.find(expected[static_cast<unsigned>(i)].c_str())->value), i);
  EXPECT_EQ(static_cast<int>(d.find(TulString("k5"))->value), -5);
  EXPECT_EQ(d.find("zz"), nullptr);
  EXPECT_EQ(d.find(TulString("k1\0x", 4)), nullptr);

  // Erasing the first, a middle and the last entry relinks the order, and
  // the tail is still right for the next key.
  for (const char* key : {"k0", "k500", "k999"}) {
    EXPECT_TRUE(d.erase(TulString(key)));
    EXPECT_FALSE(d.erase(TulString(key)));
    EXPECT_EQ(d.find(key), nullptr);
    expected.erase(std::find(expected.begin(), expected.end(), key));
  }
  *d["new"] = TulValue(1);
  expected.push_back("new");
  EXPECT_EQ(keys(d), expected);
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

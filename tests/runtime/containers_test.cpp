// TulVector: elements across moves between the values a vector keeps in
// itself and the heap.
#include <cstring>
#include <string>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <vector>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

// Up to four values live inside the vector: elements survive every move
// between that room and the heap, and assignment in both directions.
TEST(VectorTest, ElementsSurviveMovesBetweenOwnRoomAndHeap) {
  auto filled = [](int n) {
    TulVector v;
    for (int i = 0; i < n; ++i) v.push_back(TulValue(new TulString(std::to_string(i).c_str())));
    return v;
  };
  auto expectNumbers = [](const TulVector& v, int n) {
    ASSERT_EQ(v.size(), static_cast<unsigned>(n));
    for (int i = 0; i < n; ++i)
      EXPECT_STREQ(static_cast<TulString*>(v[static_cast<unsigned>(i)])->c_str(),
                   std::to_string(i).c_str());
  };
  const int sizes[] = {0, 3, 4, 5, 9};
  for (int from : sizes) {
    for (int to : sizes) {
      SCOPED_TRACE(std::to_string(from) + " assigned " + std::to_string(to));
      TulVector a = filled(from);
      const TulVector b = filled(to);
      a = b;
      expectNumbers(a, to);
      expectNumbers(b, to);
      if (to) {
        EXPECT_EQ(static_cast<TulString*>(b[0])->refCount(), 2);
      }
    }
  }
  TulVector v = filled(6);
  v.pop_back();
  v.pop_back();
  EXPECT_EQ(v.shrink(), 4u);  // back into the vector's own room
  expectNumbers(v, 4);
  v.push_back(TulValue(new TulString("4")));
  expectNumbers(v, 5);
}

// A record's element keeps its address while the vector keeps its capacity.
TEST(VectorTest, ElementAddressStaysWhileTheCapacityDoes) {
  TulVector v(4, false);
  v.push_back(TulValue(1));
  const TulValue* first = &v[0];
  for (int i = 2; i <= 4; ++i) v.push_back(TulValue(i));
  EXPECT_EQ(&v[0], first);
  EXPECT_EQ(static_cast<int>(v[3]), 4);
}

// A vector whose room cannot be had is no live container: the list still
// starts where it did.
TEST(VectorTest, RefusedRoomLeavesNoLiveLink) {
  const TulLiveLink* const newest = tulrt::detail::gNewestContainer;
  tulrt::setContainerLimit(64);
  EXPECT_THROW(TulVector(100, true), std::bad_alloc);
  tulrt::setContainerLimit(0);
  EXPECT_EQ(tulrt::detail::gNewestContainer, newest);
}

// A dictionary that goes frees the entries only it held, with their values;
// an entry a value still holds stays, erased, with its key and no value.
TEST(DictionaryTest, OnlyEntriesNothingElseHoldsGoWithTheirDictionary) {
  const long before = tulrt::liveObjects();
  TulValue held;
  {
    TulValue d(new TulDictionary);
    for (const char* k : {"a", "b", "c"}) *(*static_cast<TulDictionary*>(d))[k] = TulValue(new TulVector(4, true));
    held = TulValue(static_cast<TulDictionary*>(d)->find("b"));
  }
  auto* e = static_cast<TulDictionaryEntry*>(held);
  EXPECT_TRUE(e->erased() && e->value.type() == TulValueType::Empty && e->key.compare("b") == 0);
  EXPECT_EQ(tulrt::liveObjects(), before + 2);  // the entry and its key
  held = TulValue();
  EXPECT_EQ(tulrt::liveObjects(), before);
}

// A disposed value lets go of what it held and is left Empty.
TEST(ReleaseTest, DisposeReleasesTheHeldObject) {
  const long before = tulrt::liveObjects();
  TulValue v(new TulVector);
  v.dispose();
  EXPECT_EQ(v.type(), TulValueType::Empty);
  EXPECT_EQ(tulrt::liveObjects(), before);
}

// Vectors and dictionaries nested far deeper than the native stack could
// recurse are freed: alternating, and each kind alone (each frees its
// parts inline down to the nesting limit, then through the queue).
TEST(ReleaseTest, LongChainsOfContainersGoWithoutDeepRecursion) {
  auto inDictionary = [](TulValue&& v) {
    auto* d = new TulDictionary;
    *(*d)["in"] = std::move(v);
    return TulValue(d);
  };
  auto inVector = [](TulValue&& v) {
    auto* vec = new TulVector;
    vec->push_back(v);  // a copy: v goes with the head it was
    return TulValue(vec);
  };
  for (const char* kinds : {"dv", "d", "v"}) {
    SCOPED_TRACE(kinds);
    const long before = tulrt::liveObjects();
    TulValue head;
    const std::size_t n = std::strlen(kinds);
    for (int i = 0; i < 300000; ++i)
      head = kinds[i % n] == 'd' ? inDictionary(std::move(head)) : inVector(std::move(head));
    head = TulValue();
    EXPECT_EQ(tulrt::liveObjects(), before);
  }
}

}  // namespace

// Erasing shifts later keys back: after erasing every k-th key (the full
// table inside the dictionary, a grown one, one whose table and entry blocks
// are large blocks) each key left is found, in order.
TEST(DictionaryTest, KeysLeftAreFoundAfterErasing) {
  for (int n : {8, 9, 200, 70000}) {
    for (int every : {1, 2, 3}) {
      TulDictionary d;
      for (int i = 0; i < n; ++i) (*d[std::to_string(i).c_str()]) = TulValue(i);
      for (int i = 0; i < n; i += every) d.erase(TulString(std::to_string(i).c_str()));
      int i = 0;
      for (TulDictionaryEntry* e = d.getFirst(); e; e = e->next, ++i) {
        if (i % every == 0) ++i;
        EXPECT_EQ(static_cast<int>(e->value), i);
        EXPECT_EQ(d.find(e->key), e);
      }
      EXPECT_EQ(d.count(), static_cast<unsigned>(n - (n + every - 1) / every));
      EXPECT_FALSE(d.find("0"));
    }
  }
}

// Entries a value holds keep their places and keys through erasing, the
// reuse of released places by new keys, and the end of their dictionary.
TEST(DictionaryTest, HeldEntriesOutliveReuseAndTheirDictionary) {
  auto key = [](int i) { return TulString(std::to_string(i).c_str()); };
  std::vector<TulValue> held;
  {
    TulDictionary d;
    for (int i = 0; i < 40; ++i) *d[key(i)] = TulValue(i);
    for (int i = 0; i < 40; ++i) {
      if (i % 3 == 0) held.push_back(TulValue(d.find(key(i))));
      d.erase(key(i));
    }
    for (int i = 40; i < 80; ++i) *d[key(i)] = TulValue(i);
    int i = 40;
    for (TulDictionaryEntry* e = d.getFirst(); e; e = e->next, ++i) {
      EXPECT_EQ(static_cast<int>(e->value), i);
      EXPECT_EQ(d.find(key(i)), e);
    }
    EXPECT_EQ(i, 80);
  }
  for (unsigned k = 0; k < held.size(); ++k) {
    auto* e = static_cast<TulDictionaryEntry*>(held[k]);
    EXPECT_TRUE(e->erased());
    EXPECT_STREQ(e->key.c_str(), std::to_string(3 * k).c_str());
  }
}

// Bytes a growth uncovers are zero whatever they held (up to eight zeroed in
// place), and a block a dropped buffer left holds the room it is given for.
TEST(BufferTest, GrowthZeroesBytesInKeptRooms) {
  for (unsigned n = 1; n <= 10; ++n) {
    { TulBuffer dropped(n * 4); }
    TulBuffer b(32);
#if defined(__GLIBC__)
    EXPECT_GE(malloc_usable_size(b.data()), 32u) << n;
#endif
    b.setSize(16);
    for (unsigned i = 0; i < 16; ++i) b.data()[i] = 0xFF;
    b.setSize(3);
    ASSERT_TRUE(b.setSize(3 + n));
    for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(b.data()[i], i < 3 || i >= 3 + n ? 0xFF : 0) << n;
  }
}

// A cleared character buffer reads as an empty text.
TEST(BufferTest, ClearedCharactersReadEmpty) {
  TulCharBuffer b;
  for (char c : {'a', 'b'}) b.push_back(c);
  b.clear();
  EXPECT_STREQ(b.data(), "");
}

// Assignment copies the characters, and assigning a buffer to itself keeps
// them.
TEST(BufferTest, AssignedCharactersAreCopied) {
  TulCharBuffer a, b;
  for (char c : {'x', 'y'}) a.push_back(c);
  b = a;
  b = b;
  EXPECT_STREQ(b.data(), "xy");
  EXPECT_EQ(b.size(), 2u);
}

// add inserts only a missing key, also where the insert grows the table or
// fills an erased key's slot; a present key gives null and changes nothing.
TEST(DictionaryTest, AddInsertsOnlyMissingKeys) {
  auto key = [](int i) { return TulString(std::to_string(i).c_str()); };
  for (int n : {8, 9, 17, 200}) {
    TulDictionary d;
    for (int i = 0; i < n; ++i) ASSERT_TRUE(d.add(key(i)));
    d.erase(key(3));
    ASSERT_TRUE(d.add(key(3)));
    for (int i = 0; i < n; ++i) EXPECT_FALSE(d.add(key(i)));
    for (TulDictionaryEntry* e = d.getFirst(); e; e = e->next) EXPECT_EQ(d.find(e->key), e);
  }
}

// An address is traced to the string that holds it. A dictionary's key is
// passed over (nothing holds it by count), and strings made before and
// after dictionaries whose keys come and go are still found.
TEST(StorageTest, KeysArePassedOverAndTheStringsAroundThemFound) {
  TulValue before(new TulString("held before"));
  auto* d = new TulDictionary;
  TulValue held(d);
  for (const char* k : {"x", "a key longer than its short room"}) ASSERT_TRUE(d->add(TulString(k)));
  TulValue after(new TulString("held after"));
  for (TulDictionaryEntry* e = d->getFirst(); e; e = e->next)
    EXPECT_EQ(tulStorageHolding(reinterpret_cast<std::uintptr_t>(e->key.c_str()), 1).type(),
              TulValueType::Nil);
  d->erase(TulString("x"));
  held = TulValue();
  for (const TulValue* v : {&before, &after}) {
    const auto at = reinterpret_cast<std::uintptr_t>(static_cast<TulString*>(*v)->c_str());
    EXPECT_EQ(static_cast<TulString*>(tulStorageHolding(at + 2, 3)), static_cast<TulString*>(*v));
  }
}

// A key string remembers the entry it found. Asked again it answers what
// the table holds: after its entry is erased, its place is taken by another
// key, the key comes back, the string changes, and in a dictionary made
// after the one it remembers is gone (whose blocks the sanitizer build
// poisons).
TEST(DictionaryTest, ARememberedKeyFindsWhatTheTableHolds) {
  TulString k("a");
  {
    TulDictionary d;
    *d["a"] = TulValue(1);
    *d["b"] = TulValue(2);
    ASSERT_EQ(d.find(k), d.find("a"));
    d.erase(TulString("a"));
    EXPECT_FALSE(d.find(k));
    *d["c"] = TulValue(3);
    EXPECT_FALSE(d.find(k));
    *d["a"] = TulValue(4);
    EXPECT_EQ(static_cast<int>(d[k]->value), 4);
    k = "b";
    EXPECT_EQ(static_cast<int>(d[k]->value), 2);
  }
  TulDictionary other;
  EXPECT_FALSE(other.find(k));
  TulDictionaryEntry* made = other[k];
  EXPECT_EQ(other.find("b"), made);
}

// Two keys of one length and one hash (found by search) stay two entries.
TEST(DictionaryTest, KeysOfOneHashStayApart) {
  TulDictionary d;
  *d["k9J00PH23"] = TulValue(1);
  *d["kR0007H23"] = TulValue(2);
  EXPECT_EQ(static_cast<int>(d.find("k9J00PH23")->value), 1);
  EXPECT_EQ(static_cast<int>(d.find("kR0007H23")->value), 2);
}

// Assignment replaces the keys with the other's, in its order.
TEST(DictionaryTest, AssignmentTakesTheOthersKeys) {
  TulDictionary a, b;
  *a["x"] = TulValue(1);
  *b["y"] = TulValue(2);
  *b["z"] = TulValue(3);
  a = b;
  EXPECT_TRUE(!a.find("x") && a.count() == 2 && a.getFirst()->next == a.find("z"));
}

// TulBuffer, TulCharBuffer and TulVector: zero fill, growth and aliasing.
#include <cstring>
#include <new>
#include <string>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

bool allZero(const unsigned char* p, unsigned from, unsigned to) {
  for (unsigned i = from; i < to; ++i)
    if (p[i]) return false;
  return true;
}

TEST(BufferTest, SetSizeZeroFillsEveryUncoveredByte) {
  TulBuffer b;
  ASSERT_TRUE(b.setSize(8));
  std::memset(b.data(), 0xAB, 8);
  ASSERT_TRUE(b.setSize(2));
  ASSERT_TRUE(b.setSize(64));  // regrows over bytes written before
  EXPECT_EQ(b.data()[1], 0xAB);
  EXPECT_TRUE(allZero(b.data(), 2, 64));
  EXPECT_EQ(b.push_back(7), 65u);
  EXPECT_EQ(b.data()[64], 7);
  const TulBuffer copy(b);
  EXPECT_EQ(copy.size(), 65u);
  EXPECT_EQ(std::memcmp(copy.data(), b.data(), 65), 0);
}

TEST(CharBufferTest, GrowthKeepsZeroTailAndAdjustSizeReadsInPlaceWrites) {
  TulCharBuffer b(2);
  for (char c : std::string("hello world")) b.push_back(c);
  EXPECT_STREQ(b.data(), "hello world");
  EXPECT_TRUE(allZero(reinterpret_cast<unsigned char*>(b.data()), 11, b.capacity() + 1));
  std::strcpy(b.data(), "abc");
  b.adjustSize();
  EXPECT_EQ(b.size(), 3u);
  std::memset(b.data(), 'x', b.capacity());  // no terminator within the capacity
  b.adjustSize();
  EXPECT_EQ(b.size(), b.capacity());
  EXPECT_EQ(b.data()[b.size()], '\0');
  b.clear();
  EXPECT_STREQ(b.data(), "");
}

TEST(VectorTest, PushingOwnElementSurvivesReallocation) {
  TulVector v;
  v.push_back(TulValue(new TulString("first")));
  for (int i = 0; i < 100; ++i) {
    v.push_back(v[0]);
    EXPECT_STREQ(static_cast<TulString*>(v[v.size() - 1])->c_str(), "first");
  }
  EXPECT_EQ(static_cast<TulString*>(v[0])->refCount(), 101);
}

TEST(VectorTest, EdgesOfEmptyVectorsAndCapacity) {
  TulVector v(10, false);
  v.pop_back();
  EXPECT_EQ(v.last().index, -1);
  EXPECT_EQ(TulVector(3, true)[2].type(), TulValueType::Nil);
  v.push_back(TulValue(1));
  v.push_back(TulValue(2));
  EXPECT_EQ(v.setCapacity(1), 2u);
  EXPECT_EQ(v.setCapacity(50), 50u);
  EXPECT_EQ(v.shrink(), 2u);
  EXPECT_EQ(static_cast<int>(*v.last()), 2);
}

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

}  // namespace

TEST(ContainerLimitTest, BlocksAboveTheLimitFailAsOutOfMemory) {
  tulrt::setContainerLimit(1024);
  TulBuffer b;
  EXPECT_TRUE(b.setSize(1024));
  EXPECT_FALSE(b.setSize(1025));
  EXPECT_EQ(b.size(), 1024u);  // unchanged by the refusal
  TulString s;
  const std::string kilobyte(1024, 'x');
  EXPECT_THROW(s += kilobyte.c_str(), std::bad_alloc);  // the terminator counts
  EXPECT_EQ(s.length(), 0u);
  TulVector v;
  EXPECT_THROW(v.setCapacity(1024 / sizeof(TulValue) + 1), std::bad_alloc);
  tulrt::setContainerLimit(0);
  EXPECT_TRUE(b.setSize(4096));
}

namespace {

std::uintptr_t at(const void* p, int offset = 0) {
  return reinterpret_cast<std::uintptr_t>(p) + static_cast<unsigned>(offset);
}

// An address is traced to the live string or buffer whose bytes hold all of
// the bytes asked about; storage that nothing holds, or that is gone, is
// never handed out.
TEST(StorageTest, AnAddressIsTracedOnlyToHeldStorageWithRoom) {
  TulValue buffer(new TulBuffer(0u));
  static_cast<TulBuffer*>(buffer)->setSize(16);
  TulValue chars(new TulCharBuffer(10));
  TulValue text(new TulString("abcdefgh"));
  TulDictionary dict;
  const TulString& key = dict["a key of some length"]->key;  // inside its entry, no count
  const unsigned char* bytes = static_cast<TulBuffer*>(buffer)->data();
  const char* letters = static_cast<TulString*>(text)->c_str();
  struct Case {
    const char* what;
    std::uintptr_t address;
    unsigned size;
    TulValueType found;
  } cases[] = {
      {"a buffer's first byte", at(bytes), 16, TulValueType::Buffer},
      {"its last 8 bytes", at(bytes, 8), 8, TulValueType::Buffer},
      {"one byte too many", at(bytes, 9), 8, TulValueType::Nil},
      {"a string's characters", at(letters, 4), 4, TulValueType::String},
      {"its terminating zero", at(letters, 5), 4, TulValueType::Nil},
      {"a char buffer's capacity", at(static_cast<TulCharBuffer*>(chars)->data()), 10,
       TulValueType::CharBuffer},
      {"a key inside its entry", at(key.c_str()), 4, TulValueType::Nil},
      {"zero", 0, 0, TulValueType::Nil},
      {"the top of memory", ~std::uintptr_t{0} - 3, 8, TulValueType::Nil},
  };
  for (const Case& c : cases) {
    const TulValue found = tulStorageHolding(c.address, c.size);
    EXPECT_EQ(found.type(), c.found) << c.what;
  }
  const std::uintptr_t gone = at(bytes);
  buffer = TulValue();
  EXPECT_EQ(tulStorageHolding(gone, 1).type(), TulValueType::Nil);
}

}  // namespace

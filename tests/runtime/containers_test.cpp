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

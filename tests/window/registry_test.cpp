// The window registry on its own: sorted by unsigned handle, replacing,
// growing and removing.
#include "window/registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace {

TulObject* fakeObject(int n) { return reinterpret_cast<TulObject*>(static_cast<std::uintptr_t>(n * 16)); }

// Leaves the registry as it found it.
class Registry : public ::testing::Test {
 protected:
  void TearDown() override {
    for (std::uint32_t h : added_) registryRemove(h);
  }
  void add(std::uint32_t h, int object) {
    registryAdd(h, fakeObject(object));
    added_.push_back(h);
  }
  std::vector<std::uint32_t> added_;
};

TEST_F(Registry, StaysSortedReplacesAndGrowsByTen) {
  unsigned base = registryCount();
  const unsigned capacityBefore = registryCapacity();
  EXPECT_EQ(registryFind(0x7FFFFFF0u), -1);
  add(0x7FFFFF30u, 1);
  add(0x7FFFFF10u, 2);
  add(0x7FFFFF20u, 3);
  EXPECT_LT(registryFind(0x7FFFFF10u), registryFind(0x7FFFFF20u));
  EXPECT_LT(registryFind(0x7FFFFF20u), registryFind(0x7FFFFF30u));
  add(0x7FFFFF20u, 4);
  EXPECT_EQ(registryCount(), base + 3);
  EXPECT_EQ(registryObject(registryFind(0x7FFFFF20u)), fakeObject(4));
  EXPECT_EQ(registryFind(0x7FFFFF00u), -1);
  EXPECT_EQ(registryFind(0x7FFFFF40u), -1);
  EXPECT_EQ(registryFind(0x7FFFFF18u), -1);
  // Handles compare unsigned: the top bit sorts last.
  add(0xFFFFFF00u, 5);
  EXPECT_EQ(static_cast<unsigned>(registryFind(0xFFFFFF00u)), registryCount() - 1);
  while (registryCount() < 21) add(0x7FFF0000u + registryCount(), 6);
  // Grown ten at a time, only when full, and never shrunk.
  EXPECT_EQ(registryCapacity(), std::max(capacityBefore, 30u));
  EXPECT_TRUE(registryRemove(0x7FFFFF20u));
  EXPECT_FALSE(registryRemove(0x7FFFFF20u));
}

}  // namespace

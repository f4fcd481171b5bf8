// The interpreter's slot stack: frames keep their slots while frames above
// them come and go, across the stack's blocks and past a block's size, and
// a value released at a frame's end may take frames of its own.
#include <gtest/gtest.h>

#include <vector>

#include "runtime/runtime.h"
#include "script/slot_stack.h"

namespace tulscript {
namespace {

TEST(SlotStack, FramesKeepTheirSlotsAcrossBlocks) {
  tulrt::Machine vm;
  SlotStack stack;
  struct Taken {
    SlotStack::Mark mark;
    TulValue* slots;
    std::size_t n;
  };
  std::vector<Taken> frames;
  // Sizes that end blocks part-way, one larger than a block, and small ones.
  const std::size_t sizes[] = {3, 1000, 4000, 5000, 1, 4096, 7, 300, 9000, 2};
  int next = 0;
  for (std::size_t n : sizes) {
    Taken t{stack.mark(), stack.take(n), n};
    for (std::size_t i = 0; i < n; ++i) {
      ASSERT_EQ(t.slots[i].type(), TulValueType::Nil);
      t.slots[i] = TulValue(next++);
    }
    frames.push_back(t);
  }
  int expected = 0;
  for (const Taken& t : frames)
    for (std::size_t i = 0; i < t.n; ++i) ASSERT_EQ(static_cast<int>(t.slots[i]), expected++);
  // Ending the frames one by one leaves the ones below intact and gives
  // back nil slots to the next taker.
  while (!frames.empty()) {
    Taken t = frames.back();
    frames.pop_back();
    stack.release(t.mark);
    TulValue* again = stack.take(t.n);
    for (std::size_t i = 0; i < t.n; ++i) ASSERT_EQ(again[i].type(), TulValueType::Nil);
    stack.release(t.mark);
    if (!frames.empty()) {
      const Taken& below = frames.back();
      ASSERT_EQ(static_cast<int>(below.slots[below.n - 1]),
                static_cast<int>(below.slots[0]) + static_cast<int>(below.n) - 1);
    }
  }
}

// An object whose release takes a frame above the one being cleared, as a
// script dtor calling a function does.
class TakesFrames : public TulRefObject {
 public:
  TakesFrames(SlotStack& s, int& seen) : stack_(s), seen_(seen) {}
  ~TakesFrames() override {
    SlotFrame f(stack_, 5000);  // past the block: the stack grows meanwhile
    f.slots()[4999] = TulValue(7);
    seen_ += static_cast<int>(f.slots()[4999]);
  }

 private:
  SlotStack& stack_;
  int& seen_;
};

TEST(SlotStack, ReleasingMayTakeFrames) {
  tulrt::Machine vm;
  SlotStack stack;
  int seen = 0;
  {
    SlotFrame outer(stack, 10);
    outer.slots()[0] = TulValue(1);
    {
      SlotFrame inner(stack, 4000);
      inner.slots()[3] = TulValue::fromRef(TulValueType::Function, new TakesFrames(stack, seen));
      inner.slots()[3999] = TulValue(2);
    }
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(static_cast<int>(outer.slots()[0]), 1);
    SlotFrame after(stack, 4000);
    EXPECT_EQ(after.slots()[3].type(), TulValueType::Nil);
    EXPECT_EQ(after.slots()[3999].type(), TulValueType::Nil);
  }
}

}  // namespace
}  // namespace tulscript

// The argument vectors of calls made per message: nested borrowings never
// share a vector, values go back when the borrowing ends, and a kept vector
// is reused at its depth however the runtime left it.
#include <set>
#include <vector>

#include "module/script_calls.h"
#include "tests/support/host.h"

namespace {

class CallArgsTest : public HostTest {};

// Borrows `depth` vectors, one inside the other, as nested messages do, and
// notes each one's address.
void borrowNested(int depth, std::vector<TulVector*>& seen) {
  if (depth == 0) return;
  CallArgs args(4);
  EXPECT_EQ(args.vector()->size(), 4u);
  for (unsigned i = 0; i < 4; ++i) EXPECT_EQ(args[i].type(), TulValueType::Nil) << i;
  args[0] = TulValue(depth);
  seen.push_back(args.vector());
  borrowNested(depth - 1, seen);
  EXPECT_EQ(static_cast<int>(args[0]), depth) << "an inner borrowing wrote into this one";
}

TEST_F(CallArgsTest, NestedBorrowingsNeverShareAndTheKeptOnesComeBack) {
  std::vector<TulVector*> first, second;
  borrowNested(20, first);  // past the kept depths as well
  borrowNested(3, second);
  EXPECT_EQ(std::set<TulVector*>(first.begin(), first.end()).size(), first.size());
  ASSERT_EQ(second.size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(second[i], first[i]) << "depth " << i;
}

// Values go back when a borrowing ends, and a kept vector the runtime
// emptied (as a machine's teardown does to every live vector) gets its size
// back at its depth.
TEST_F(CallArgsTest, ValuesGoBackAndAKeptVectorGetsItsSizeBack) {
  const TulValue text(new TulString("held"));
  {
    CallArgs args(5);
    args[4] = text;
    EXPECT_EQ(static_cast<TulString*>(text)->refCount(), 2);
  }
  EXPECT_EQ(static_cast<TulString*>(text)->refCount(), 1);
  TulVector* kept = nullptr;
  {
    CallArgs args(5);
    kept = args.vector();
    kept->clear();
  }
  CallArgs one(1);
  EXPECT_EQ(one.vector(), kept);
  EXPECT_EQ(kept->size(), 1u);
  CallArgs three(3);  // the next depth
  EXPECT_NE(three.vector(), kept);
  EXPECT_EQ(three.vector()->size(), 3u);
}

}  // namespace

// What scripts cannot do to RECT: take away the POINT and SIZE classes its
// views are made of. The script tests under tests/script/values check the
// rest.
#include "module/errors.h"
#include "tests/support/host.h"

namespace {

class RectTest : public HostTest {};

TEST_F(RectTest, MissingPointClassIsReportedBeforeTheBuffer) {
  TulValue r = make("RECT", {TulValue(1), TulValue(2), TulValue(3), TulValue(4)});
  auto* obj = static_cast<TulObject*>(r);
  (*obj->getMemberData())[static_cast<unsigned>(
      obj->getClass()->getMemberIndex(TulString("_rect")))] = TulValue(3);
  ASSERT_TRUE(vm_->classes().erase(TulString("POINT")));
  EXPECT_EQ(errorOf(r, "getPos"), err::kPointClassNotFound);
  ASSERT_TRUE(vm_->classes().erase(TulString("SIZE")));
  EXPECT_EQ(errorOf(r, "getSize"), err::kSizeClassNotFound);
}

}  // namespace

// TulValue: numbers converting between the value types.
#include <cmath>
#include <cstring>
#include <limits>

#include "host/tul.h"
#include "tests/runtime/test_support.h"

namespace {

TEST(ValueTest, NumbersConvertTruncatingAndSaturating) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    const char* name;
    TulValue value;
    int asInt;
    unsigned asUnsigned;
    bool integer;
  } cases[] = {
      {"int -5", TulValue(-5), -5, 0xFFFFFFFBu, true},
      {"uint max", TulValue(0xFFFFFFFFu), -1, 0xFFFFFFFFu, true},
      {"double 2.9", TulValue(2.9), 2, 2u, false},
      {"double -2.9", TulValue(-2.9), -2, 0xFFFFFFFEu, false},
      {"double 4.0", TulValue(4.0), 4, 4u, true},
      {"float 1.5", TulValue(1.5f), 1, 1u, false},
      {"double 1e20", TulValue(1e20), 2147483647, 0xFFFFFFFFu, true},
      {"double -1e20", TulValue(-1e20), -2147483647 - 1, 0x80000000u, true},
      {"double inf", TulValue(inf), 2147483647, 0xFFFFFFFFu, false},
      {"double nan", TulValue(std::nan("")), 0, 0u, false},
      {"bool true", TulValue::boolean(true), 1, 1u, true},
      {"nil", TulValue(), 0, 0u, false},
      {"string", TulValue(new TulString("12")), 0, 0u, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(static_cast<int>(c.value), c.asInt);
    EXPECT_EQ(static_cast<unsigned>(c.value), c.asUnsigned);
    EXPECT_EQ(c.value.isInteger(), c.integer);
  }
  EXPECT_EQ(static_cast<double>(TulValue(0xFFFFFFFFu)), 4294967295.0);
  EXPECT_EQ(static_cast<float>(TulValue(3)), 3.0f);
}

}  // namespace

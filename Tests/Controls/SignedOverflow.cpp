#include <gtest/gtest.h>

#include <limits>

TEST(Control, ASignedNumberOverflows)
{
    const volatile int most = std::numeric_limits<int>::max();
    const volatile int more = most + 1;
    EXPECT_EQ(more, more);
}

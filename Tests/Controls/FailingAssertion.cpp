#include <gtest/gtest.h>

TEST(Control, AnAssertionFails)
{
    EXPECT_EQ(1 + 1, 3);
}

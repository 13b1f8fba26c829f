#include <gtest/gtest.h>

TEST(Control, BlocksAreNeverReleased)
{
    int* volatile block = nullptr;
    for (int i = 0; i < 10; ++i)
    {
        block = new int(i);
    }
    EXPECT_EQ(*block, 9);
}

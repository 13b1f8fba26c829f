#include <gtest/gtest.h>

#include <thread>

TEST(Control, TwoThreadsWriteWithoutOrder)
{
    int value = 0;
    std::thread other([&value] { ++value; });
    ++value;
    other.join();
    EXPECT_GT(value, 0);
}

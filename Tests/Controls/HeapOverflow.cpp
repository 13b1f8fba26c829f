#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

TEST(Control, AReadBehindAHeapBlock)
{
    const std::vector<int> numbers(4);
    // The compiler must not see it.
    const volatile std::size_t behind = 4;
    const volatile int value = numbers.data()[behind];
    EXPECT_EQ(value, value);
}

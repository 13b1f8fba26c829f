// What the campaign must tell apart.
#include <gtest/gtest.h>

#include <cstdlib>
#include <future>

TEST(Control, Passes) {}

TEST(Control, Fails)
{
    ADD_FAILURE();
}

TEST(Control, Crashes)
{
    std::abort();
}

TEST(Control, EndsTheProgram)
{
    std::exit(0);
}

TEST(Control, DoesNotEnd)
{
    std::promise<void>().get_future().wait_for(std::chrono::hours(1));
}

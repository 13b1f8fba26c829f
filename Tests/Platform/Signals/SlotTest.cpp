#include "Platform/Signals/Signal.h"

#include <gtest/gtest.h>

namespace
{

using Valdane::Signals::Connection;
using Valdane::Signals::Signal;

TEST(Slot, IsMadeImplicitlyFromALambda)
{
    int calls = 0;
    Signal<void()> signal;
    const Connection connection = signal.connect([&] { ++calls; });
    signal();
    EXPECT_EQ(calls, 1);
}

} // namespace

// A slot whose callable had been moved away was connected like any other, and threw std::bad_function_call in every
// emission from then on: at whoever emitted the signal, who had nothing to do with it.

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandTesting/Allocations.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace Valdane::Signals
{
namespace
{

TEST(MovedSlotIsNotConnected, ButRefusedWithTheSignalUnchanged)
{
    Slot<void()> slot([] {});
    const Slot<void()> taken = std::move(slot);
    Signal<void()> signal;
    const HeapUse before = HeapUse::now();
    EXPECT_THROW(static_cast<void>(signal.connect(slot)), std::bad_function_call);
    EXPECT_EQ(HeapUse::now().bytes, before.bytes);
    EXPECT_NO_THROW(signal());

    int calls = 0;
    const Connection connection = signal.connect([&calls] { ++calls; });
    EXPECT_THROW(static_cast<void>(signal.connect(slot, ConnectPosition::Front)), std::bad_function_call);
    EXPECT_NO_THROW(signal());
    EXPECT_EQ(calls, 1);
}

TEST(MovedSlotIsNotConnected, UnlessItGetsACallableAgain)
{
    int calls = 0;
    Slot<void()> slot([] {});
    const Slot<void()> taken = std::move(slot);
    slot = [&calls]
    {
        ++calls;
    };
    Signal<void()> signal;
    const Connection connection = signal.connect(slot);
    signal();
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace Valdane::Signals

// An emission held on to every callable that it stood at, and not only to one that was running. It stood at the
// next one while it destroyed the one before, and at one that had returned while it let go of the objects that
// the slot tracks. A callable that was disconnected in such a moment lived on after the disconnecting operation
// had returned, with all that it referred to.

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Tests/Support/WhenDestroyed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Valdane::Signals
{
namespace
{

using testing::ElementsAre;
using ValdaneTests::whenDestroyed;

class CallableIsDestroyedWithItsConnection : public testing::Test
{
protected:
    /// Copies of the callable that are left, and with them what it refers to.
    long left() const
    {
        return captured.use_count() - 1;
    }

    std::shared_ptr<int> captured = std::make_shared<int>();
    std::vector<long> seen;
    std::optional<Signal<void()>> signal{std::in_place};
};

TEST_F(CallableIsDestroyedWithItsConnection, ByTheDestructorOfTheCallableBefore)
{
    Connection self;
    Connection next;
    self = signal->connect([&self, probe = whenDestroyed(
                                       [&]
                                       {
                                           next.disconnect();
                                           seen.push_back(left());
                                       })] { self.disconnect(); });
    next = signal->connect([this, kept = captured] { seen.push_back(-1); });
    (*signal)();
    EXPECT_THAT(seen, ElementsAre(0));
}

TEST_F(CallableIsDestroyedWithItsConnection, ByTheDestructorOfATrackedObjectAfterTheCall)
{
    Connection connection;
    auto object = whenDestroyed(
        [&]
        {
            connection.disconnect();
            seen.push_back(left());
        });
    connection = signal->connect(Slot<void()>([&object, kept = captured] { object.reset(); }).track(object));
    (*signal)();
    EXPECT_THAT(seen, ElementsAre(0));
}

TEST_F(CallableIsDestroyedWithItsConnection, ByADestructorOfATrackedObjectThatDestroysTheSignal)
{
    auto object = whenDestroyed(
        [this]
        {
            signal.reset();
            seen.push_back(left());
        });
    const Connection connection =
        signal->connect(Slot<void()>([&object, kept = captured] { object.reset(); }).track(object));
    (*signal)();
    EXPECT_THAT(seen, ElementsAre(0));
    EXPECT_FALSE(connection.connected());
}

} // namespace
} // namespace Valdane::Signals

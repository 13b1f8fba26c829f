#include "Platform/Signals/Connection.h"

#include "Platform/Signals/Signal.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/WhenDestroyed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using Valdane::Signals::Connection;
using Valdane::Signals::Signal;
using ValdaneTests::ElementsAre;
using ValdaneTests::whenDestroyed;

static_assert(!std::is_copy_constructible_v<Connection> && !std::is_copy_assignable_v<Connection>);
static_assert(std::is_nothrow_move_constructible_v<Connection>);
static_assert(std::is_nothrow_move_assignable_v<Connection>);
static_assert(std::is_nothrow_default_constructible_v<Connection>);
static_assert(sizeof(Connection) == sizeof(void*));

class ConnectionTest : public testing::Test
{
protected:
    Connection connectCounting()
    {
        return signal.connect([this] { ++calls; });
    }

    int callsOfOneEmission()
    {
        calls = 0;
        signal();
        return calls;
    }

    int calls = 0;
    Signal<void()> signal;
};

TEST_F(ConnectionTest, IsUnconnectedByDefault)
{
    Connection connection;
    EXPECT_FALSE(connection.connected());
    connection.disconnect();
    connection.releaseWithoutDisconnect();
    EXPECT_FALSE(connection.connected());
}

TEST_F(ConnectionTest, IsConnectedUntilItIsDisconnected)
{
    Connection connection = connectCounting();
    EXPECT_TRUE(connection.connected());
    EXPECT_EQ(callsOfOneEmission(), 1);
    connection.disconnect();
    EXPECT_FALSE(connection.connected());
    EXPECT_EQ(callsOfOneEmission(), 0);
    connection.disconnect();
    EXPECT_FALSE(connection.connected());
}

TEST_F(ConnectionTest, CanBeUsedAgainAfterADisconnect)
{
    Connection connection = connectCounting();
    connection.disconnect();
    connection = connectCounting();
    EXPECT_TRUE(connection.connected());
    EXPECT_EQ(callsOfOneEmission(), 1);
}

TEST_F(ConnectionTest, DisconnectsWhenItIsDestroyed)
{
    {
        const Connection connection = connectCounting();
        EXPECT_EQ(callsOfOneEmission(), 1);
    }
    EXPECT_EQ(callsOfOneEmission(), 0);
}

TEST_F(ConnectionTest, DisconnectsOnlyItsOwnSlot)
{
    std::vector<int> seen;
    std::vector<Connection> connections;
    connections.reserve(5);
    for (int i = 0; i < 4; ++i)
    {
        connections.push_back(signal.connect([&seen, i] { seen.push_back(i); }));
    }
    connections.at(1).disconnect();
    signal();
    EXPECT_THAT(seen, ElementsAre(0, 2, 3));
    seen.clear();
    connections.at(0).disconnect();
    connections.at(3).disconnect();
    signal();
    EXPECT_THAT(seen, ElementsAre(2));
    connections.push_back(signal.connect([&seen] { seen.push_back(4); }));
    seen.clear();
    signal();
    EXPECT_THAT(seen, ElementsAre(2, 4));
}

TEST_F(ConnectionTest, MovesItsSlotToTheNewConnection)
{
    Connection from = connectCounting();
    {
        const Connection to = std::move(from);
        EXPECT_TRUE(to.connected());
        EXPECT_FALSE(from.connected()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
        from.disconnect();
        EXPECT_EQ(callsOfOneEmission(), 1);
    }
    EXPECT_EQ(callsOfOneEmission(), 0);
}

TEST_F(ConnectionTest, DisconnectsWhatItHadWhenItIsAssignedOver)
{
    int others = 0;
    Connection connection = connectCounting();
    Connection other = signal.connect([&others] { ++others; });
    connection = std::move(other);
    EXPECT_EQ(callsOfOneEmission(), 0);
    EXPECT_EQ(others, 1);
    EXPECT_TRUE(connection.connected());
    EXPECT_FALSE(other.connected()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST_F(ConnectionTest, DisconnectsWhatItHadWhenAnUnconnectedOneIsAssigned)
{
    Connection connection = connectCounting();
    connection = Connection();
    EXPECT_FALSE(connection.connected());
    EXPECT_EQ(callsOfOneEmission(), 0);
}

TEST_F(ConnectionTest, KeepsItsSlotWhenItIsAssignedToItself)
{
    Connection connection = connectCounting();
    Connection& same = connection;
    connection = std::move(same);
    EXPECT_TRUE(connection.connected());
    EXPECT_EQ(callsOfOneEmission(), 1);
}

TEST_F(ConnectionTest, HasTheNewSlotAlreadyWhenTheOldCallableIsDestroyed)
{
    Connection connection;
    bool connectedInDestructor = false;
    connection =
        signal.connect([probe = whenDestroyed([&] { connectedInDestructor = connection.connected(); })] {});
    connection = connectCounting();
    EXPECT_TRUE(connectedInDestructor);
}

TEST_F(ConnectionTest, LeavesTheSlotConnectedWhenItIsReleased)
{
    Connection connection = connectCounting();
    connection.releaseWithoutDisconnect();
    EXPECT_FALSE(connection.connected());
    connection.disconnect();
    EXPECT_EQ(callsOfOneEmission(), 1);
    connection = Connection();
    EXPECT_EQ(callsOfOneEmission(), 1);
}

TEST_F(ConnectionTest, LeavesAReleasedSlotToTheSignal)
{
    auto captured = std::make_shared<int>();
    {
        Signal<void()> shortLived;
        shortLived.connect([captured] {}).releaseWithoutDisconnect();
        EXPECT_EQ(captured.use_count(), 2);
    }
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(ConnectionTest, OutlivesItsSignal)
{
    auto shortLived = std::make_unique<Signal<void()>>();
    Connection disconnected = shortLived->connect([] {});
    Connection assigned = shortLived->connect([] {});
    Connection released = shortLived->connect([] {});
    const Connection destroyed = shortLived->connect([] {});
    shortLived.reset();
    EXPECT_FALSE(disconnected.connected());
    EXPECT_FALSE(destroyed.connected());
    disconnected.disconnect();
    released.releaseWithoutDisconnect();
    assigned = connectCounting();
    EXPECT_TRUE(assigned.connected());
}

TEST_F(ConnectionTest, DestroysTheCallableBeforeDisconnectReturns)
{
    auto captured = std::make_shared<int>();
    Connection connection = signal.connect([captured] {});
    EXPECT_EQ(captured.use_count(), 2);
    connection.disconnect();
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(ConnectionTest, DestroysACallableThatIsNotRunningAtOnceDuringAnEmissionToo)
{
    auto captured = std::make_shared<int>();
    Connection before = signal.connect([captured] {});
    Connection after;
    std::vector<long> useCounts;
    const Connection disconnecting = signal.connect(
        [&]
        {
            before.disconnect();
            useCounts.push_back(captured.use_count());
            after.disconnect();
            useCounts.push_back(captured.use_count());
        });
    after = signal.connect([captured] {});
    signal();
    EXPECT_THAT(useCounts, ElementsAre(2, 1));
}

TEST_F(ConnectionTest, DestroysARunningCallableWhenItsCallReturns)
{
    Connection connection;
    std::vector<bool> destroyed;
    bool isDestroyed = false;
    connection = signal.connect(
        [&, probe = whenDestroyed([&] { isDestroyed = true; })]
        {
            connection.disconnect();
            destroyed.push_back(isDestroyed);
        });
    const Connection next = signal.connect([&] { destroyed.push_back(isDestroyed); });
    signal();
    EXPECT_THAT(destroyed, ElementsAre(false, true));
}

TEST_F(ConnectionTest, DestroysARecursivelyRunningCallableWhenTheOutermostCallReturns)
{
    Connection connection;
    bool isDestroyed = false;
    bool destroyedInside = true;
    int depth = 0;
    connection = signal.connect(
        [&, probe = whenDestroyed([&] { isDestroyed = true; })]
        {
            if (++depth < 3)
            {
                signal();
            }
            connection.disconnect();
            destroyedInside = isDestroyed;
        });
    signal();
    EXPECT_EQ(depth, 3);
    EXPECT_FALSE(destroyedInside);
    EXPECT_TRUE(isDestroyed);
}

TEST_F(ConnectionTest, DestroysARunningCallableThatThrows)
{
    Connection connection;
    bool isDestroyed = false;
    connection = signal.connect(
        [&, probe = whenDestroyed([&] { isDestroyed = true; })]
        {
            connection.disconnect();
            throw std::runtime_error("stuck");
        });
    EXPECT_THROW(signal(), std::runtime_error);
    EXPECT_TRUE(isDestroyed);
    EXPECT_FALSE(connection.connected());
}

TEST_F(ConnectionTest, MayBeDestroyedByItsOwnSlot)
{
    std::optional<Connection> connection;
    connection = signal.connect(
        [&]
        {
            connection.reset();
            ++calls;
        });
    EXPECT_EQ(callsOfOneEmission(), 1);
    EXPECT_EQ(callsOfOneEmission(), 0);
}

TEST_F(ConnectionTest, MayBeOwnedByItsOwnCallable)
{
    auto own = std::make_shared<Connection>();
    const std::weak_ptr<Connection> watch = own;
    *own = signal.connect([own, this] { ++calls; });
    Connection& connection = *own;
    own.reset();
    EXPECT_EQ(callsOfOneEmission(), 1);
    connection.disconnect();
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(callsOfOneEmission(), 0);
}

TEST_F(ConnectionTest, LetsTheDestructorOfACallableConnectAndDisconnect)
{
    Connection replacement;
    Connection victim;
    Connection connection = signal.connect([probe = whenDestroyed(
                                                [&]
                                                {
                                                    victim.disconnect();
                                                    replacement = connectCounting();
                                                    signal();
                                                })] {});
    victim = signal.connect([this] { calls += 10; });
    connection.disconnect();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(replacement.connected());
    EXPECT_EQ(callsOfOneEmission(), 1);
}

TEST_F(ConnectionTest, LetsTheDestructorOfARunCallableDisconnectTheNextSlot)
{
    Connection next;
    Connection self =
        signal.connect([&, probe = whenDestroyed([&] { next.disconnect(); })] { self.disconnect(); });
    auto captured = std::make_shared<int>();
    next = signal.connect([captured, this] { calls += 10; });
    const Connection last = connectCounting();
    EXPECT_EQ(callsOfOneEmission(), 1);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(ConnectionTest, LetsTheDestructorOfACallableDestroyTheSignal)
{
    auto shortLived = std::make_unique<Signal<void()>>();
    Connection connection = shortLived->connect([probe = whenDestroyed([&] { shortLived.reset(); })] {});
    const Connection other = shortLived->connect([] {});
    connection.disconnect();
    EXPECT_EQ(shortLived, nullptr);
    EXPECT_FALSE(other.connected());
}

TEST_F(ConnectionTest, LetsTheDestructorOfARunCallableDestroyTheSignal)
{
    auto shortLived = std::make_unique<Signal<void()>>();
    Connection self;
    self = shortLived->connect([&self, probe = whenDestroyed([&] { shortLived.reset(); })]
                               { self.disconnect(); });
    const Connection next = shortLived->connect([this] { ++calls; });
    (*shortLived)();
    EXPECT_EQ(shortLived, nullptr);
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(next.connected());
}

} // namespace

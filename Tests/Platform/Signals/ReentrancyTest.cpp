// Slots, destructors of callables and destructors of tracked objects that do whatever they like to the signal that
// runs them, at random.

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Valdane::Signals::Connection;
using Valdane::Signals::ConnectPosition;
using Valdane::Signals::Signal;
using Valdane::Signals::Slot;

/// Tells of its end.
struct Ending
{
    std::function<void()> told;

    explicit Ending(std::function<void()> tell) : told(std::move(tell)) {}

    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

    ~Ending()
    {
        told();
    }
};

class RandomLife
{
public:
    explicit RandomLife(unsigned int seed) : random(seed)
    {
        signal.emplace();
    }

    RandomLife(const RandomLife&) = delete;
    RandomLife& operator=(const RandomLife&) = delete;

    ~RandomLife()
    {
        actions = 0;
        for (auto& slot : slots)
        {
            disconnect(slot);
        }
    }

    void live()
    {
        for (int step = 0; step < 60; ++step)
        {
            actions = 40;
            try
            {
                act();
            }
            catch (const std::runtime_error&)
            {
                ++thrown;
            }
            if (!signal)
            {
                signal.emplace();
            }
        }
    }

    std::size_t calls = 0;
    std::size_t thrown = 0;
    std::size_t endingsInside = 0;

private:
    struct Entry
    {
        Connection connection;
        std::shared_ptr<void> object;
        std::weak_ptr<void> watch;
        bool tracks = false;
        bool disconnected = false;
        int running = 0;
        int callables = 0;
    };

    std::size_t number(std::size_t limit)
    {
        return random() % limit;
    }

    void act()
    {
        if (actions-- <= 0 || depth > 6)
        {
            return;
        }
        ++depth;
        const std::shared_ptr<void> shallower(nullptr, [this](void*) { --depth; });
        switch (number(12))
        {
        case 0:
        case 1:
        case 2:
            connect();
            break;
        case 3:
        case 4:
            disconnectOne();
            break;
        case 5:
            dropObject();
            break;
        case 6:
            destroySignal();
            break;
        default:
            emitSignal();
        }
    }

    void connect()
    {
        if (!signal || destroying)
        {
            return;
        }
        Entry& entry = *slots.emplace_back(std::make_unique<Entry>());
        Slot<void()> slot = makeSlot(entry);
        if (number(3) == 0)
        {
            entry.tracks = true;
            entry.object = std::make_shared<Ending>([this] { actNoThrow(); });
            entry.watch = entry.object;
            slot.track(entry.object);
        }
        entry.connection =
            signal->connect(slot, number(2) == 0 ? ConnectPosition::Back : ConnectPosition::Front);
    }

    Slot<void()> makeSlot(Entry& entry)
    {
        ++entry.callables;
        auto probe = std::make_shared<Ending>(
            [this, &entry]
            {
                EXPECT_EQ(entry.running, 0) << "destroyed while it ran";
                --entry.callables;
                endingsInside += depth > 1 ? 1U : 0U;
                actNoThrow();
            });
        return [this, &entry, probe]
        {
            EXPECT_FALSE(entry.disconnected) << "called although it was disconnected";
            EXPECT_FALSE(entry.tracks && entry.watch.expired()) << "called without its object";
            ++calls;
            ++entry.running;
            const std::shared_ptr<void> returned(nullptr, [&entry](void*) { --entry.running; });
            act();
            act();
            if (number(16) == 0)
            {
                throw std::runtime_error("stuck");
            }
        };
    }

    // From a destructor nothing may be thrown.
    void actNoThrow()
    {
        try
        {
            act();
        }
        catch (const std::runtime_error&)
        {
            ++thrown;
        }
    }

    void disconnectOne()
    {
        if (!slots.empty())
        {
            disconnect(slots[number(slots.size())]);
        }
    }

    void disconnect(const std::unique_ptr<Entry>& slot)
    {
        Entry& entry = *slot;
        const bool wasConnected = entry.connection.connected();
        entry.disconnected = entry.disconnected || wasConnected;
        entry.connection.disconnect();
        if (wasConnected && entry.running == 0)
        {
            EXPECT_EQ(entry.callables, 0) << "kept after its disconnect";
        }
    }

    void dropObject()
    {
        if (!slots.empty())
        {
            const std::shared_ptr<void> dropped = std::exchange(slots[number(slots.size())]->object, nullptr);
        }
    }

    void destroySignal()
    {
        if (!signal || destroying || number(8) != 0)
        {
            return;
        }
        destroying = true;
        const std::size_t before = slots.size();
        signal.reset();
        destroying = false;
        for (std::size_t i = 0; i < before; ++i)
        {
            EXPECT_FALSE(slots[i]->connection.connected());
            EXPECT_TRUE(slots[i]->running > 0 || slots[i]->callables == 0) << "kept after its signal";
        }
    }

    void emitSignal()
    {
        if (signal)
        {
            (*signal)();
        }
    }

    std::mt19937 random;
    int actions = 0;
    int depth = 0;
    bool destroying = false;
    std::vector<std::unique_ptr<Entry>> slots;
    std::optional<Signal<void()>> signal;
};

TEST(SignalReentrancy, KeepsItsPromisesInManyRandomLives)
{
    std::size_t calls = 0;
    std::size_t thrown = 0;
    std::size_t endingsInside = 0;
    for (unsigned int seed = 0; seed < 300; ++seed)
    {
        RandomLife life(seed);
        life.live();
        calls += life.calls;
        thrown += life.thrown;
        endingsInside += life.endingsInside;
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
    RecordProperty("calls", std::to_string(calls));
    RecordProperty("thrown", std::to_string(thrown));
    RecordProperty("endings", std::to_string(endingsInside));
    EXPECT_GT(calls, 10'000U);
    EXPECT_GT(thrown, 300U);
    EXPECT_GT(endingsInside, 300U);
}

} // namespace

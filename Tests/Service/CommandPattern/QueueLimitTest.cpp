#include "Service/CommandPattern/QueueLimit.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

namespace Valdane
{
namespace
{

struct Lengths
{
    std::size_t undo = 0;
    std::size_t redo = 0;

    bool operator==(const Lengths&) const = default;

    friend void PrintTo(const Lengths& lengths, std::ostream* out)
    {
        *out << lengths.undo << " to undo, " << lengths.redo << " to redo";
    }
};

/// Notes how long the queues are when it is told.
class RecordingWatcher final : public QueueLimit::Watcher
{
public:
    explicit RecordingWatcher(const CommandQueue& watched) : undoQueue(watched) {}

    void willDropOldest() override
    {
        if (fails)
        {
            throw std::runtime_error("cannot be told");
        }
        told += "oldest of " + std::to_string(undoQueue.size()) + ", ";
    }

    void willDropAll() override
    {
        told += "all and " + std::to_string(undoQueue.size()) + ", ";
    }

    std::string told;
    bool fails = false;

private:
    const CommandQueue& undoQueue;
};

class QueueLimitTest : public testing::Test
{
protected:
    void fill(const Lengths& lengths)
    {
        undoQueue.dropAll();
        redoQueue.dropAll();
        for (std::size_t i = 0; i < lengths.undo; ++i)
        {
            undoQueue.pushBack(makeEntry("u" + std::to_string(i) + " "));
        }
        for (std::size_t i = 0; i < lengths.redo; ++i)
        {
            redoQueue.pushBack(makeEntry("r" + std::to_string(i) + " "));
        }
        dead.clear();
    }

    Lengths enforce()
    {
        TrackedModules modulesBeforeFirst;
        limit.enforce(undoQueue, redoQueue, modulesBeforeFirst, watcher);
        return {.undo = undoQueue.size(), .redo = redoQueue.size()};
    }

    QueuedCommand makeEntry(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        command->onDestroy = [this, name]
        {
            dead += name;
            if (onDeath)
            {
                onDeath();
            }
        };
        QueuedCommand entry;
        entry.command = command;
        return entry;
    }

    std::string dead;
    std::function<void()> onDeath;
    QueueLimit limit;
    CommandQueue undoQueue;
    CommandQueue redoQueue;
    RecordingWatcher watcher{undoQueue};
};

TEST_F(QueueLimitTest, Is25AndNotInUseAtFirst)
{
    EXPECT_EQ(limit.maxQueueSize, 25U);
    EXPECT_FALSE(limit.usesMaxQueueSize);
}

TEST_F(QueueLimitTest, DropsNothingWhileItIsNotInUse)
{
    limit.maxQueueSize = 0;
    fill({.undo = 3, .redo = 2});

    EXPECT_EQ(enforce(), (Lengths{.undo = 3, .redo = 2}));
}

TEST_F(QueueLimitTest, HoldsAtEveryEdge)
{
    struct Case
    {
        std::uint32_t limit = 0;
        Lengths before;
        Lengths after;
        std::string dead;
    };

    constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    const Case cases[] = {
        {.limit = 0, .before = {}, .after = {}, .dead = ""},
        {.limit = 0, .before = {.undo = 2, .redo = 0}, .after = {}, .dead = "u0 u1 "},
        {.limit = 0, .before = {.undo = 0, .redo = 1}, .after = {}, .dead = "r0 "},
        {.limit = 1, .before = {.undo = 1, .redo = 2}, .after = {}, .dead = "u0 r0 r1 "},
        {.limit = 2, .before = {.undo = 2, .redo = 2}, .after = {.undo = 0, .redo = 2}, .dead = "u0 u1 "},
        {.limit = 3, .before = {.undo = 2, .redo = 2}, .after = {.undo = 1, .redo = 2}, .dead = "u0 "},
        {.limit = 4, .before = {.undo = 2, .redo = 2}, .after = {.undo = 2, .redo = 2}, .dead = ""},
        {.limit = 5, .before = {.undo = 2, .redo = 2}, .after = {.undo = 2, .redo = 2}, .dead = ""},
        {.limit = largest, .before = {.undo = 3, .redo = 1}, .after = {.undo = 3, .redo = 1}, .dead = ""},
    };
    limit.usesMaxQueueSize = true;
    for (const Case& one : cases)
    {
        fill(one.before);
        limit.maxQueueSize = one.limit;
        EXPECT_EQ(enforce(), one.after) << one.limit;
        EXPECT_EQ(dead, one.dead) << one.limit;
    }
}

TEST_F(QueueLimitTest, TellsWhatItDropsWhileThatIsThere)
{
    limit.usesMaxQueueSize = true;
    limit.maxQueueSize = 1;
    fill({.undo = 3, .redo = 0});
    enforce();
    EXPECT_EQ(watcher.told, "oldest of 3, oldest of 2, ");

    watcher.told.clear();
    fill({.undo = 1, .redo = 2});
    enforce();
    EXPECT_EQ(watcher.told, "all and 1, ");
}

TEST_F(QueueLimitTest, IfItsWatcherThrowsNothingIsDropped)
{
    limit.usesMaxQueueSize = true;
    limit.maxQueueSize = 1;
    fill({.undo = 2, .redo = 0});
    EntryModules modules;
    modules.modulesBefore.front() =
        ModuleSet(std::set<const Object*>{reinterpret_cast<const Object*>(&dead)});
    undoQueue[0].sharedModules = new EntryModules(modules);
    TrackedModules modulesBeforeFirst;

    watcher.fails = true;
    EXPECT_THROW(limit.enforce(undoQueue, redoQueue, modulesBeforeFirst, watcher), std::runtime_error);
    EXPECT_EQ(dead, "");
    EXPECT_EQ(undoQueue.size(), 2U);
    EXPECT_TRUE(modulesBeforeFirst.front().isEmpty());

    watcher.fails = false;
    limit.enforce(undoQueue, redoQueue, modulesBeforeFirst, watcher);
    EXPECT_EQ(dead, "u0 ");
    EXPECT_FALSE(modulesBeforeFirst.front().isEmpty());
}

TEST_F(QueueLimitTest, AnEntryHasLeftItsQueueWhenItsCommandDies)
{
    limit.usesMaxQueueSize = true;
    limit.maxQueueSize = 1;
    fill({.undo = 3, .redo = 0});
    std::string lengths;
    onDeath = [&]
    {
        lengths += std::to_string(undoQueue.size()) + " ";
    };

    enforce();
    EXPECT_EQ(lengths, "2 1 ");

    fill({.undo = 2, .redo = 2});
    lengths.clear();
    enforce();
    EXPECT_EQ(lengths, "0 0 0 0 ");
}

TEST_F(QueueLimitTest, IsKeptAlsoIfACommandThatDiesEmptiesTheQueues)
{
    limit.usesMaxQueueSize = true;
    limit.maxQueueSize = 1;
    fill({.undo = 3, .redo = 0});
    onDeath = [&]
    {
        undoQueue.dropAll();
    };

    EXPECT_EQ(enforce(), Lengths());
    EXPECT_EQ(dead, "u0 u1 u2 ");
}

} // namespace
} // namespace Valdane

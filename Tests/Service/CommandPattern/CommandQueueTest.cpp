#include "Service/CommandPattern/CommandQueue.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

class CommandQueueTest : public testing::Test
{
protected:
    QueuedCommand makeEntry(const std::string& name)
    {
        QueuedCommand entry;
        const auto command = std::make_shared<ScriptedCommand>(name);
        command->onDestroy = [this, name]
        {
            onDeath(name);
        };
        entry.command = command;
        return entry;
    }

    void push(const std::string& name)
    {
        queue.pushBack(makeEntry(name));
    }

    void pushNumbers(int end)
    {
        for (int number = 0; number < end; ++number)
        {
            push(std::to_string(number));
        }
    }

    static std::string nameOf(const QueuedCommand& entry)
    {
        return entry.command->getDescription();
    }

    std::string names() const
    {
        std::string text;
        for (std::size_t index = 0; index < queue.size(); ++index)
        {
            text += nameOf(queue[index]) + " ";
        }
        return text;
    }

    std::string dead;
    std::function<void(const std::string&)> onDeath = [this](const std::string& name)
    {
        dead += name + " ";
    };
    CommandQueue queue;
};

TEST_F(CommandQueueTest, IsEmptyAtFirst)
{
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(queue.size(), 0U);
}

TEST_F(CommandQueueTest, KeepsTheOrderInWhichEntriesCame)
{
    push("a");
    push("b");
    push("c");

    EXPECT_FALSE(queue.empty());
    EXPECT_EQ(names(), "a b c ");
    EXPECT_EQ(nameOf(queue.front()), "a");
    EXPECT_EQ(nameOf(queue.back()), "c");
}

TEST_F(CommandQueueTest, KeepsWhatAnEntryHas)
{
    QueuedCommand entry = makeEntry("a");
    entry.sharedModules = new EntryModules;

    queue.pushBack(QueuedCommand(entry));
    const QueuedCommand taken = queue.takeBack();

    EXPECT_EQ(taken.command, entry.command);
    EXPECT_EQ(taken.sharedModules, entry.sharedModules);
}

TEST_F(CommandQueueTest, AnEntryCanBeChangedInItsPlace)
{
    pushNumbers(40);

    queue[35].command = makeEntry("changed").command;

    EXPECT_EQ(nameOf(queue[35]), "changed");
    EXPECT_EQ(dead, "35 ");
}

TEST_F(CommandQueueTest, WhatIsTakenLivesAsLongAsItsTaker)
{
    push("a");
    push("b");
    {
        const QueuedCommand taken = queue.takeBack();
        EXPECT_EQ(nameOf(taken), "b");
        EXPECT_EQ(dead, "");
    }
    EXPECT_EQ(dead, "b ");
    EXPECT_EQ(nameOf(queue.takeFront()), "a");
    EXPECT_EQ(dead, "b a ");
    EXPECT_TRUE(queue.empty());
}

TEST_F(CommandQueueTest, DroppingDestroysTheOldestFirst)
{
    pushNumbers(70);
    std::string expected;
    for (int number = 0; number < 70; ++number)
    {
        expected += std::to_string(number) + " ";
    }

    queue.dropAll();
    EXPECT_EQ(dead, expected);
    EXPECT_TRUE(queue.empty());

    dead.clear();
    {
        CommandQueue dying;
        for (int number = 0; number < 70; ++number)
        {
            dying.pushBack(makeEntry(std::to_string(number)));
        }
    }
    EXPECT_EQ(dead, expected);
}

TEST_F(CommandQueueTest, EntriesHaveLeftItWhenTheirCommandsDie)
{
    std::string lengths;
    onDeath = [&](const std::string&)
    {
        lengths += std::to_string(queue.size()) + " ";
    };
    pushNumbers(5);

    queue.takeFront();
    queue.takeBack();
    EXPECT_EQ(lengths, "4 3 ");

    lengths.clear();
    queue.dropAll();
    EXPECT_EQ(lengths, "0 0 0 ");
}

TEST_F(CommandQueueTest, ACommandThatDiesMayFillIt)
{
    pushNumbers(40);
    onDeath = [this](const std::string& name)
    {
        if (name.size() < 3)
        {
            push(name + "th");
        }
    };

    queue.dropAll();
    EXPECT_EQ(queue.size(), 40U);
    EXPECT_EQ(nameOf(queue.front()), "0th");
    EXPECT_EQ(nameOf(queue.back()), "39th");
}

TEST_F(CommandQueueTest, CanBeUsedAgainAfterItWasDropped)
{
    pushNumbers(40);
    queue.takeFront();
    queue.dropAll();

    push("a");
    EXPECT_EQ(names(), "a ");
}

TEST_F(CommandQueueTest, AnEntryReservedIsNotInTheQueue)
{
    for (int number = 0; number < 100; ++number)
    {
        queue.reserveOne(queue);
        queue.reserveOne(queue);
        ASSERT_EQ(queue.size(), static_cast<std::size_t>(number));
        push(std::to_string(number));
        ASSERT_EQ(nameOf(queue.back()), std::to_string(number));
    }
}

TEST_F(CommandQueueTest, EntriesMoveBetweenTwoQueues)
{
    CommandQueue other;
    pushNumbers(200);
    for (int round = 0; round < 3; ++round)
    {
        while (!queue.empty())
        {
            other.reserveOne(queue);
            other.pushBack(queue.takeBack());
        }
        ASSERT_EQ(nameOf(other.front()), "199");
        ASSERT_EQ(nameOf(other.back()), "0");
        while (!other.empty())
        {
            queue.reserveOne(other);
            queue.pushBack(other.takeBack());
        }
        for (std::size_t index = 0; index < 200; ++index)
        {
            ASSERT_EQ(nameOf(queue[index]), std::to_string(index));
        }
    }
    EXPECT_EQ(dead, "");
}

TEST_F(CommandQueueTest, ACopiedEntryStaysInTheQueueUntilItIsTaken)
{
    push("a");
    push("b");
    {
        const QueuedCommand copy = queue.back();
        EXPECT_EQ(names(), "a b ");
        EXPECT_EQ(nameOf(queue.take(copy)), "b");
        EXPECT_EQ(names(), "a ");
        EXPECT_EQ(dead, "") << "the copy keeps it";
    }
    EXPECT_EQ(dead, "b ");
}

TEST_F(CommandQueueTest, AnEntryForWhichThereIsNoMemoryLeavesAllAsItWas)
{
    pushNumbers(32);
    QueuedCommand entry = makeEntry("new");
    {
        const FailingAllocation noMemory(0);
        EXPECT_THROW(queue.pushBack(std::move(entry)), std::bad_alloc);
    }
    EXPECT_NE(entry.command, nullptr);
    EXPECT_EQ(queue.size(), 32U);
    EXPECT_EQ(nameOf(queue.takeBack()), "31");
}

TEST_F(CommandQueueTest, ACopiedEntryIsTakenHoweverItHasLeftTheQueue)
{
    const std::function<void()> removals[] = {
        [this] { queue.takeBack(); },
        [this] { queue.takeFront(); },
        [this] { queue.dropAll(); },
        [this]
        {
            push("b");
            queue.dropAll();
        },
    };
    for (const auto& remove : removals)
    {
        push("a");
        {
            const QueuedCommand copy = queue.back();
            remove();
            EXPECT_EQ(dead.find('a'), std::string::npos);
            EXPECT_TRUE(queue.empty());
            EXPECT_EQ(nameOf(queue.take(copy)), "a");
            EXPECT_TRUE(queue.empty());
        }
        EXPECT_NE(dead.find('a'), std::string::npos);
        dead.clear();
    }
}

TEST_F(CommandQueueTest, TakingACopiedEntryRemovesItOnlyFromTheBack)
{
    push("a");
    const QueuedCommand below = queue.back();
    push("b");
    EXPECT_EQ(nameOf(queue.take(below)), "a");
    EXPECT_EQ(names(), "a b ");

    const QueuedCommand again = queue.back();
    queue.pushBack(queue.takeBack());
    EXPECT_EQ(nameOf(queue.take(again)), "b");
    EXPECT_EQ(names(), "a ");
}

TEST_F(CommandQueueTest, TakingACopiedEntryLeavesAnyOtherAtTheBackWhereItIs)
{
    const QueuedCommand first = makeEntry("a");
    const QueuedCommand second = makeEntry("b");
    // Whichever of them has the lower address.
    for (const auto& [copied, other] : {std::pair(&first, &second), std::pair(&second, &first)})
    {
        queue.pushBack(QueuedCommand(*other));
        EXPECT_EQ(queue.take(*copied).command, copied->command);
        EXPECT_EQ(names(), nameOf(*other) + " ");
        queue.dropAll();
    }
}

TEST_F(CommandQueueTest, TheEntryThatIsTakenIsAsItWasCopied)
{
    push("below");
    push("a");
    queue[1].sharedModules = new EntryModules;
    const auto modules = queue.back().sharedModules;
    for (const bool leaves : {false, true})
    {
        const QueuedCommand copy = queue.back();
        queue[1].sharedModules = nullptr;
        if (leaves)
        {
            queue.takeBack();
        }
        QueuedCommand taken = queue.take(copy);
        EXPECT_EQ(nameOf(taken), "a");
        EXPECT_EQ(taken.sharedModules, modules);
        queue.pushBack(std::move(taken));
    }
    EXPECT_EQ(names(), "below a ");
}

TEST_F(CommandQueueTest, DoesWhatADequeDoes)
{
    std::mt19937 random(7);
    std::deque<std::string> expected;
    int number = 0;
    for (int step = 0; step < 40000; ++step)
    {
        // Phases of growing and of shrinking, at either end.
        const unsigned phase = static_cast<unsigned>(step) / 500 % 4;
        const unsigned choice = static_cast<unsigned>(random() % 10);
        if (choice < (phase < 2 ? 6U : 3U) || expected.empty())
        {
            const std::string name = std::to_string(number++);
            push(name);
            expected.push_back(name);
        }
        else if (phase % 2 == 0 ? choice < 9 : choice == 9)
        {
            ASSERT_EQ(nameOf(queue.takeFront()), expected.front());
            expected.pop_front();
        }
        else
        {
            ASSERT_EQ(nameOf(queue.takeBack()), expected.back());
            expected.pop_back();
        }
        ASSERT_EQ(queue.size(), expected.size());
        ASSERT_EQ(queue.empty(), expected.empty());
        if (!expected.empty())
        {
            const std::size_t index = random() % expected.size();
            ASSERT_EQ(nameOf(queue[index]), expected[index]);
            ASSERT_EQ(nameOf(queue.front()), expected.front());
            ASSERT_EQ(nameOf(queue.back()), expected.back());
        }
    }
    EXPECT_GT(number, 10000);
}

/// The heap that queues of entries without commands need, which need none themselves.
class CommandQueueHeap : public testing::Test
{
protected:
    static constexpr std::size_t EntriesInABlock = 32;
    static constexpr std::size_t BlockBytes = EntriesInABlock * sizeof(QueuedCommand);

    static void push(CommandQueue& queue, std::size_t entries)
    {
        for (std::size_t number = 0; number < entries; ++number)
        {
            queue.pushBack(QueuedCommand());
        }
    }

    static std::uint64_t allocationsOf(const std::function<void()>& action)
    {
        const std::uint64_t before = HeapUse::now().allocations;
        action();
        return HeapUse::now().allocations - before;
    }

    CommandQueue queue;
    CommandQueue other;
};

TEST_F(CommandQueueHeap, IsAllocatedOnceFor32Entries)
{
    // Besides, the list of the blocks grows, to twice its length each time.
    EXPECT_LE(allocationsOf([&] { push(queue, 1000 * EntriesInABlock); }), 1000U + 10U);
}

TEST_F(CommandQueueHeap, IsNotAllocatedWhereAsManyEntriesAreTakenAsArePutIn)
{
    push(queue, 3 * EntriesInABlock);
    push(queue, 1);
    queue.takeFront();
    EXPECT_EQ(allocationsOf(
                  [&]
                  {
                      for (std::size_t number = 0; number < 10 * EntriesInABlock; ++number)
                      {
                          push(queue, 1);
                          queue.takeFront();
                      }
                  }),
              0U);

    for (std::size_t level = 0; level < 2 * EntriesInABlock; ++level)
    {
        push(queue, 2);
        queue.takeBack();
        EXPECT_EQ(allocationsOf(
                      [&]
                      {
                          push(queue, 1);
                          queue.takeBack();
                      }),
                  0U)
            << level;
    }
}

TEST_F(CommandQueueHeap, IsGivenBackAsEntriesAreTakenButForOneBlockMoreThanIsNeeded)
{
    for (const bool atTheFront : {false, true})
    {
        CommandQueue shrinking;
        push(shrinking, 1);
        const std::uint64_t withOneBlock = HeapUse::now().bytes;
        push(shrinking, 100 * EntriesInABlock);
        while (!shrinking.empty())
        {
            atTheFront ? shrinking.takeFront() : shrinking.takeBack();
        }
        // The list of the blocks stays as long as it was. At the front the last entry leaves a block behind of
        // which it had the first place.
        const std::uint64_t list = 128 * sizeof(void*);
        const std::uint64_t kept = list + (atTheFront ? BlockBytes : 0) + BlockBytes / 2;
        EXPECT_LT(HeapUse::now().bytes, withOneBlock + kept) << atTheFront;
    }
}

TEST_F(CommandQueueHeap, OfABlockThatIsNotNeededIsTakenOverByTheOtherQueue)
{
    push(queue, EntriesInABlock);
    push(other, EntriesInABlock + 1);
    other.takeBack();
    push(queue, 1);
    queue.takeBack();
    // Each now has a block more than it needs.
    EXPECT_EQ(allocationsOf([&] { queue.reserveOne(other); }), 0U);
    push(queue, EntriesInABlock);
    EXPECT_EQ(allocationsOf(
                  [&]
                  {
                      queue.reserveOne(other);
                      push(queue, EntriesInABlock);
                  }),
              0U)
        << "the block of the other queue";
    EXPECT_EQ(allocationsOf([&] { queue.reserveOne(other); }), 2U) << "a block, and the list of them";
}

TEST_F(CommandQueueHeap, OfAReservedPlaceIsKeptWhenNothingIsDropped)
{
    queue.reserveOne(other);
    queue.dropAll();
    EXPECT_EQ(allocationsOf([&] { push(queue, 1); }), 0U);
}

} // namespace
} // namespace Valdane

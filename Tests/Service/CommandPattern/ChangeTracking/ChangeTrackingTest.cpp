#include "Service/CommandPattern/ChangeTracking.h"

#include "Service/CommandPattern/QueueLimit.h"
#include "Service/CommandTesting/Allocations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

/// Only the addresses matter.
const Object* moduleOf(char letter)
{
    static const char modules[26] = {};
    return reinterpret_cast<const Object*>(modules + (letter - 'a'));
}

ModuleSet setOf(const std::string& letters)
{
    std::set<const Object*> objects;
    for (const char letter : letters)
    {
        objects.insert(moduleOf(letter));
    }
    return ModuleSet(objects);
}

std::string lettersOf(const ModuleSet& set)
{
    std::set<const Object*> objects;
    set.insertInto(objects);
    std::string letters;
    for (char letter = 'a'; letter <= 'z'; ++letter)
    {
        if (objects.contains(moduleOf(letter)))
        {
            letters += letter;
        }
    }
    return letters;
}

/// Of no interest here.
struct NoWatcher final : QueueLimit::Watcher
{
    void willDropOldest() override {}

    void willDropAll() override {}
};

class ChangeTrackingTest : public testing::Test
{
protected:
    void record(const std::string& modules)
    {
        undoQueue.pushBack({nullptr, tracking.makeModules(setOf(modules), undoQueue)});
    }

    void undo()
    {
        redoQueue.pushBack(undoQueue.takeBack());
    }

    void redo()
    {
        undoQueue.pushBack(redoQueue.takeBack());
    }

    std::string position(std::size_t tracker) const
    {
        return lettersOf(tracking.modulesAtPosition(tracker, undoQueue, redoQueue));
    }

    std::string base(std::size_t tracker) const
    {
        return lettersOf(tracking.modulesBeforeFirstCommand[tracker]);
    }

    /// The sets of all entries in the order of their execution: "before>after".
    std::string entries(std::size_t tracker) const
    {
        std::string text;
        const auto append = [&](const QueuedCommand& entry)
        {
            text += text.empty() ? "" : " ";
            text += lettersOf(entry.modules().modulesBefore[tracker]) + ">" +
                    lettersOf(entry.modules().modulesAfter[tracker]);
        };
        for (std::size_t i = 0; i < undoQueue.size(); ++i)
        {
            append(undoQueue[i]);
        }
        for (std::size_t i = redoQueue.size(); i != 0; --i)
        {
            append(redoQueue[i - 1]);
        }
        return text;
    }

    ChangeTracking tracking;
    CommandQueue undoQueue;
    CommandQueue redoQueue;
    QueueLimit limit;
    NoWatcher watcher;
};

TEST_F(ChangeTrackingTest, SetsForWhichThereIsNoMemoryLeaveEverythingAsItWas)
{
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("y")};
    record("b");
    const ModuleSet modules = setOf("a");
    bool isMade = false;
    for (std::size_t successes = 0; !isMade; ++successes)
    {
        const FailingAllocation failing(successes);
        try
        {
            const auto made = tracking.makeModules(modules, undoQueue);
            isMade = true;
            EXPECT_GE(successes, 1U) << "no allocation has failed";
            EXPECT_EQ(lettersOf(made->modulesAfter[1]), "aby");
        }
        catch (const std::bad_alloc&)
        {
            ASSERT_EQ(entries(0), "x>bx");
            ASSERT_EQ(entries(1), "y>by");
        }
    }
}

TEST_F(ChangeTrackingTest, EntriesAccumulateFromTheBaseSetOn)
{
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("y")};
    record("a");
    record("");
    record("ab");
    EXPECT_EQ(entries(0), "x>ax ax>ax ax>abx");
    EXPECT_EQ(entries(1), "y>ay ay>ay ay>aby");
    EXPECT_EQ(lettersOf(undoQueue[0].modules().modulesOfCommand), "a");
    EXPECT_EQ(lettersOf(undoQueue[1].modules().modulesOfCommand), "");
    EXPECT_EQ(lettersOf(undoQueue[2].modules().modulesOfCommand), "ab");
}

TEST_F(ChangeTrackingTest, NeighbouringEntriesShareTheirSetsWithEachOtherAndWithTheBase)
{
    tracking.modulesBeforeFirstCommand = {setOf("xy"), ModuleSet()};
    record("x");
    record("a");
    record("a");
    const ModuleSet& base0 = tracking.modulesBeforeFirstCommand[0];
    EXPECT_TRUE(undoQueue[0].modules().modulesBefore[0].isSharedWith(base0));
    EXPECT_TRUE(undoQueue[0].modules().modulesAfter[0].isSharedWith(base0));
    EXPECT_TRUE(undoQueue[0].modules().modulesAfter[1].isSharedWith(undoQueue[0].modules().modulesOfCommand));
    for (const std::size_t tracker : {0U, 1U})
    {
        EXPECT_TRUE(undoQueue[1].modules().modulesBefore[tracker].isSharedWith(
            undoQueue[0].modules().modulesAfter[tracker]));
        EXPECT_TRUE(undoQueue[2].modules().modulesBefore[tracker].isSharedWith(
            undoQueue[1].modules().modulesAfter[tracker]));
        EXPECT_TRUE(undoQueue[2].modules().modulesAfter[tracker].isSharedWith(
            undoQueue[1].modules().modulesAfter[tracker]));
    }
}

TEST_F(ChangeTrackingTest, AnEntryKeepsNothingWhileNoModuleIsModified)
{
    record("");
    record("");
    EXPECT_EQ(undoQueue[0].sharedModules, nullptr);
    EXPECT_EQ(undoQueue[1].sharedModules, nullptr);

    record("a");
    record("");
    EXPECT_EQ(entries(0), "> > >a a>a");
    tracking.adjustOnSave(0, undoQueue, redoQueue);
    EXPECT_EQ(entries(0), "a>a a>a a> >");
    tracking.adjustOnSave(1, undoQueue, redoQueue);
    EXPECT_EQ(undoQueue[3].sharedModules, nullptr);
}

TEST_F(ChangeTrackingTest, NeighboursWithTheSameSetsShareThemAll)
{
    record("a");
    record("a");
    record("a");
    record("b");
    record("a");
    record("a");
    EXPECT_NE(undoQueue[1].sharedModules, undoQueue[0].sharedModules);
    EXPECT_EQ(undoQueue[2].sharedModules, undoQueue[1].sharedModules);
    EXPECT_NE(undoQueue[3].sharedModules, undoQueue[2].sharedModules);
    EXPECT_NE(undoQueue[4].sharedModules, undoQueue[3].sharedModules);
    EXPECT_EQ(undoQueue[5].sharedModules, undoQueue[4].sharedModules);

    tracking.adjustOnSave(0, undoQueue, redoQueue);
    EXPECT_EQ(entries(0), "ab>ab ab>ab ab>ab ab>a a>a a>");
    EXPECT_EQ(entries(1), ">a a>a a>a a>ab ab>ab ab>ab");
    EXPECT_EQ(undoQueue[2].sharedModules, undoQueue[1].sharedModules);
    EXPECT_NE(undoQueue[4].sharedModules, undoQueue[5].sharedModules);
}

TEST_F(ChangeTrackingTest, TrackersThatStandAtTheSameSavePointShareTheirSets)
{
    record("a");
    record("b");
    record("c");
    for (std::size_t i = 0; i < undoQueue.size(); ++i)
    {
        EXPECT_TRUE(
            undoQueue[i].modules().modulesBefore[0].isSharedWith(undoQueue[i].modules().modulesBefore[1]))
            << i;
        EXPECT_TRUE(
            undoQueue[i].modules().modulesAfter[0].isSharedWith(undoQueue[i].modules().modulesAfter[1]))
            << i;
    }
}

TEST_F(ChangeTrackingTest, ThePositionIsReadOffTheNeighbourOnTheUndoSideFirst)
{
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("y")};
    EXPECT_EQ(position(0), "x");
    EXPECT_EQ(position(1), "y");
    record("a");
    tracking.modulesBeforeFirstCommand = {setOf("z"), setOf("z")};
    EXPECT_EQ(position(0), "ax");
    undo();
    EXPECT_EQ(position(0), "x");
    EXPECT_EQ(position(1), "y");
    redo();
    record("b");
    undo();
    EXPECT_EQ(position(1), "ay");
}

TEST_F(ChangeTrackingTest, ThePositionIsKeptOnlyWhereTheRedoQueueAloneKnowsIt)
{
    tracking.keepPosition(undoQueue, redoQueue);
    EXPECT_EQ(base(0), "");
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("y")};
    tracking.keepPosition(undoQueue, redoQueue);
    EXPECT_EQ(base(0), "x");
    record("a");
    record("b");
    tracking.modulesBeforeFirstCommand = {setOf("z"), setOf("z")};
    tracking.keepPosition(undoQueue, redoQueue);
    undo();
    tracking.keepPosition(undoQueue, redoQueue);
    EXPECT_EQ(base(0), "z");
    undo();
    tracking.keepPosition(undoQueue, redoQueue);
    EXPECT_EQ(base(0), "x");
    EXPECT_EQ(base(1), "y");
}

TEST_F(ChangeTrackingTest, ASaveWalksBothSidesOfOneTracker)
{
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("x")};
    record("a");
    record("b");
    record("c");
    record("d");
    undo();
    undo();

    tracking.adjustOnSave(0, undoQueue, redoQueue);

    EXPECT_EQ(entries(0), "ab>b b> >c c>cd");
    EXPECT_EQ(entries(1), "x>ax ax>abx abx>abcx abcx>abcdx");
    EXPECT_EQ(base(0), "x");
    EXPECT_EQ(lettersOf(undoQueue[1].modules().modulesOfCommand), "b");
}

TEST_F(ChangeTrackingTest, ASaveWithNothingToUndoClearsTheBaseSetOfOneTracker)
{
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("y")};
    tracking.adjustOnSave(1, undoQueue, redoQueue);
    EXPECT_EQ(base(0), "x");
    EXPECT_EQ(base(1), "");
    record("a");
    undo();
    tracking.adjustOnSave(0, undoQueue, redoQueue);
    EXPECT_EQ(base(0), "");
    EXPECT_EQ(entries(0), ">a");
    EXPECT_EQ(entries(1), ">a");
}

TEST_F(ChangeTrackingTest, ASaveReusesSetsWhereNoModuleJoins)
{
    record("a");
    record("b");
    for (int i = 0; i < 10; ++i)
    {
        record(i % 2 == 0 ? "a" : "b");
    }
    undo();
    undo();
    undo();
    undo();

    tracking.adjustOnSave(0, undoQueue, redoQueue);

    for (std::size_t i = 0; i + 2 < undoQueue.size(); ++i)
    {
        EXPECT_TRUE(
            undoQueue[i].modules().modulesBefore[0].isSharedWith(undoQueue[i].modules().modulesAfter[0]))
            << i;
        EXPECT_TRUE(
            undoQueue[i].modules().modulesAfter[0].isSharedWith(undoQueue[i + 1].modules().modulesBefore[0]))
            << i;
    }
    // On the redo side the back comes first: the first module of a command is the whole set.
    EXPECT_TRUE(redoQueue[3].modules().modulesAfter[0].isSharedWith(redoQueue[3].modules().modulesOfCommand));
    EXPECT_TRUE(redoQueue[1].modules().modulesAfter[0].isSharedWith(redoQueue[2].modules().modulesAfter[0]));
    EXPECT_TRUE(redoQueue[0].modules().modulesAfter[0].isSharedWith(redoQueue[2].modules().modulesAfter[0]));
}

/// Many commands, each of which modifies a module of its own.
class ChangeTrackingOfManyModules : public ChangeTrackingTest
{
protected:
    static constexpr std::size_t count = 20'000;

    ChangeTrackingOfManyModules()
    {
        for (const char& module : modules)
        {
            const std::set<const Object*> ofCommand = {reinterpret_cast<const Object*>(&module)};
            undoQueue.pushBack({nullptr, tracking.makeModules(ModuleSet(ofCommand), undoQueue)});
        }
    }

    double bytesOfAnEntry() const
    {
        return static_cast<double>(HeapUse::now().bytes - before.bytes) / count;
    }

    std::size_t modifiedModules(std::size_t tracker) const
    {
        std::set<const Object*> modified;
        tracking.modulesAtPosition(tracker, undoQueue, redoQueue).insertInto(modified);
        return modified.size();
    }

private:
    std::vector<char> modules = std::vector<char>(count);
    HeapUse before = HeapUse::now();
};

TEST_F(ChangeTrackingOfManyModules, EntriesStaySmall)
{
    EXPECT_LE(bytesOfAnEntry(), 200);
    tracking.adjustOnSave(0, undoQueue, redoQueue);
    EXPECT_LE(bytesOfAnEntry(), 280);
    tracking.adjustOnSave(1, undoQueue, redoQueue);
    EXPECT_LE(bytesOfAnEntry(), 200) << "of trackers that share their sets";
    for (std::size_t undone = 0; undone < count / 2; ++undone)
    {
        undo();
    }
    EXPECT_EQ(modifiedModules(0), count / 2);
    tracking.adjustOnSave(1, undoQueue, redoQueue);
    EXPECT_LE(bytesOfAnEntry(), 330) << "of trackers with save points apart";
    EXPECT_EQ(modifiedModules(0), count / 2);
    EXPECT_EQ(modifiedModules(1), 0U);
    undo();
    EXPECT_EQ(modifiedModules(0), count / 2 + 1);
    EXPECT_EQ(modifiedModules(1), 1U);
}

TEST_F(ChangeTrackingOfManyModules, ASaveAllocatesAFewTimesForAnEntry)
{
    const std::uint64_t allocations = HeapUse::now().allocations;
    tracking.adjustOnSave(0, undoQueue, redoQueue);
    EXPECT_LE(HeapUse::now().allocations - allocations, 3 * count + 10);
}

class ChangeTrackingOfBoth : public ChangeTrackingTest, public testing::WithParamInterface<std::size_t>
{
};

INSTANTIATE_TEST_SUITE_P(SavedFirst, ChangeTrackingOfBoth, testing::Values(0U, 1U));

TEST_P(ChangeTrackingOfBoth, ASaveAtThePositionOfTheOtherTrackersSaveSharesItsSets)
{
    for (const char* const modules : {"a", "b", "c", "", "d", "e"})
    {
        record(modules);
    }
    undo();
    undo();
    tracking.adjustOnSave(GetParam(), undoQueue, redoQueue);
    EXPECT_NE(entries(0), entries(1));
    tracking.adjustOnSave(1 - GetParam(), undoQueue, redoQueue);
    EXPECT_EQ(entries(0), "abc>bc bc>c c> > >d d>de");
    EXPECT_EQ(entries(1), entries(0));
    for (const CommandQueue* const queue : {&undoQueue, &redoQueue})
    {
        for (std::size_t i = 0; i < queue->size(); ++i)
        {
            const EntryModules& modules = (*queue)[i].modules();
            EXPECT_TRUE(modules.modulesBefore[0].isSharedWith(modules.modulesBefore[1])) << i;
            EXPECT_TRUE(modules.modulesAfter[0].isSharedWith(modules.modulesAfter[1])) << i;
        }
    }
}

TEST_F(ChangeTrackingTest, ASaveForWhichThereIsNoMemoryChangesNothing)
{
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("y")};
    for (const char* const modules : {"a", "bc", "d", "e"})
    {
        record(modules);
    }
    undo();
    undo();
    const std::string before = entries(0);
    std::size_t failures = 0;
    for (bool isSaved = false; !isSaved;)
    {
        const FailingAllocation failing(failures);
        try
        {
            tracking.adjustOnSave(0, undoQueue, redoQueue);
            isSaved = true;
        }
        catch (const std::bad_alloc&)
        {
            ++failures;
            ASSERT_EQ(entries(0), before) << failures;
        }
    }
    EXPECT_GE(failures, 4U);
    EXPECT_EQ(entries(0), "abc>bc bc> >d d>de");
}

TEST_F(ChangeTrackingTest, TheLimitKeepsTheSetBeforeTheLastEntryDropped)
{
    record("a");
    record("b");
    record("c");
    record("d");
    tracking.adjustOnSave(1, undoQueue, redoQueue);
    const ModuleSet expected = undoQueue[1].modules().modulesBefore[0];
    limit = {2, true};

    limit.enforce(undoQueue, redoQueue, tracking.modulesBeforeFirstCommand, watcher);

    EXPECT_EQ(undoQueue.size(), 2U);
    EXPECT_TRUE(tracking.modulesBeforeFirstCommand[0].isSharedWith(expected));
    EXPECT_EQ(base(0), "a");
    EXPECT_EQ(base(1), "bcd");
    EXPECT_EQ(entries(0), "ab>abc abc>abcd");
}

TEST_F(ChangeTrackingTest, TheLimitCountsTheRedoQueueAndDropsFromTheUndoQueue)
{
    record("a");
    record("b");
    record("c");
    undo();
    limit = {1, true};

    limit.enforce(undoQueue, redoQueue, tracking.modulesBeforeFirstCommand, watcher);

    EXPECT_TRUE(undoQueue.empty());
    EXPECT_EQ(base(0), "a");
    EXPECT_EQ(position(0), "ab");
}

TEST_F(ChangeTrackingTest, TheLimitLeavesTheBaseSetsAloneWhenItDropsNothingOrEverything)
{
    tracking.modulesBeforeFirstCommand = {setOf("x"), setOf("y")};
    record("a");
    record("b");
    record("c");
    undo();
    undo();
    limit = {3, true};
    limit.enforce(undoQueue, redoQueue, tracking.modulesBeforeFirstCommand, watcher);
    EXPECT_EQ(base(0), "x");
    EXPECT_EQ(entries(0), "x>ax ax>abx abx>abcx");

    limit = {1, true};
    limit.enforce(undoQueue, redoQueue, tracking.modulesBeforeFirstCommand, watcher);
    EXPECT_TRUE(undoQueue.empty());
    EXPECT_TRUE(redoQueue.empty());
    EXPECT_EQ(base(0), "x");
    EXPECT_EQ(base(1), "y");
}

TEST_F(ChangeTrackingTest, ALimitThatIsNotInUseDropsNothing)
{
    record("a");
    limit = {0, false};
    limit.enforce(undoQueue, redoQueue, tracking.modulesBeforeFirstCommand, watcher);
    EXPECT_EQ(entries(0), ">a");
}

} // namespace
} // namespace Valdane

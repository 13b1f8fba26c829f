#include "Service/CommandPattern/HistoryChanges.h"

#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using State = HistoryChanges::State;
using testing::IsEmpty;
using ValdaneTests::ElementsAre;

/// Only the addresses matter.
constexpr char addresses[3] = {};

ModuleSet setOf(std::size_t module)
{
    const std::set<const Object*> objects = {reinterpret_cast<const Object*>(addresses + module)};
    return ModuleSet(objects);
}

/// "first -removed +inserted, ..., before to after", then the number of modules and "saved" if there are any.
std::string wordsOf(const HistoryChange& change)
{
    std::string words;
    for (const RowChange& row : change.rows)
    {
        words += std::to_string(row.first) + " -" + std::to_string(row.removed) + " +" +
                 std::to_string(row.inserted) + ", ";
    }
    words += std::to_string(change.positionBefore) + " to " + std::to_string(change.positionAfter);
    if (!change.modulesOfRemoved.empty())
    {
        words += ", modules " + std::to_string(change.modulesOfRemoved.size());
    }
    return words + (change.savedPositionsChanged ? ", saved" : "");
}

class HistoryChangesTest : public testing::Test
{
protected:
    void listen(const State& now)
    {
        connection = changes.connect(
            [this](const HistoryChange& change)
            {
                told.push_back(wordsOf(change));
                if (onTold)
                {
                    onTold();
                }
            },
            now);
    }

    void tell(const State& now)
    {
        state = now;
        changes.tell([this] { return state; });
    }

    HistoryChanges changes;
    State state;
    std::vector<std::string> told;
    std::function<void()> onTold;
    Signals::Connection connection;
};

TEST(HistoryChangeTest, TellsOfNothingUntilItIsFilledIn)
{
    const HistoryChange change;
    EXPECT_EQ(wordsOf(change), "0 to 0");
    EXPECT_EQ(RowChange(), (RowChange{.first = 0, .removed = 0, .inserted = 0}));
}

TEST_F(HistoryChangesTest, NothingIsNotedBeforeTheFirstSlot)
{
    EXPECT_FALSE(changes.areWatched());
    changes.replaceRows(0, 0, 1);
    changes.replaceAllRows();
    changes.addModules(setOf(0));
    EXPECT_EQ(changes.noteCount(), 1U) << "who asks whether rows were replaced is told";

    listen({.size = 1, .position = 1, .saved = {}});
    EXPECT_TRUE(changes.areWatched());
    tell({.size = 1, .position = 1, .saved = {}});
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(HistoryChangesTest, AFurtherSlotHearsOfWhatWasNotToldYet)
{
    listen({});
    changes.replaceRows(0, 0, 1);
    std::vector<std::string> late;
    const auto second = changes.connect([&](const HistoryChange& change) { late.push_back(wordsOf(change)); },
                                        {.size = 1, .position = 1, .saved = {}});
    tell({.size = 1, .position = 1, .saved = {}});
    EXPECT_THAT(told, ElementsAre("0 -0 +1, 0 to 1"));
    EXPECT_EQ(late, told);
}

TEST_F(HistoryChangesTest, WithoutAChangeNobodyIsTold)
{
    listen({.size = 3, .position = 2, .saved = {}});
    changes.replaceRows(1, 0, 0);
    tell({.size = 3, .position = 2, .saved = {}});
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(changes.noteCount(), 0U);
}

TEST_F(HistoryChangesTest, AMoveAndASaveHaveNoRows)
{
    listen({.size = 3, .position = 2, .saved = {}});
    tell({.size = 3, .position = 1, .saved = {}});
    tell({.size = 3, .position = 1, .saved = {1, {}}});
    tell({.size = 3, .position = 1, .saved = {1, {}}});
    tell({.size = 3, .position = 1, .saved = {}});
    EXPECT_THAT(told, ElementsAre("2 to 1", "1 to 1, saved", "1 to 1, saved"));
}

TEST_F(HistoryChangesTest, RowsThatTouchAreOneChange)
{
    struct Case
    {
        std::vector<RowChange> noted;
        std::string told;
    };

    const std::uint64_t size = 4;
    const Case cases[] = {
        {.noted = {{4, 0, 1}}, .told = "4 -0 +1, "},
        {.noted = {{2, 2, 0}, {2, 0, 1}}, .told = "2 -2 +1, "},
        {.noted = {{4, 0, 1}, {0, 1, 0}}, .told = "4 -0 +1, 0 -1 +0, "},
        {.noted = {{0, 1, 0}, {0, 1, 0}, {0, 1, 0}}, .told = "0 -3 +0, "},
        {.noted = {{3, 1, 1}, {3, 1, 1}}, .told = "3 -1 +1, "},
        {.noted = {{1, 1, 2}, {2, 1, 0}}, .told = "1 -1 +1, "},
        {.noted = {{1, 1, 2}, {2, 2, 0}}, .told = "1 -2 +1, "},
        {.noted = {{1, 1, 2}, {3, 1, 0}}, .told = "1 -2 +2, "},
        {.noted = {{0, 1, 0}, {1, 1, 0}}, .told = "0 -1 +0, 1 -1 +0, "},
        {.noted = {{3, 1, 0}, {2, 1, 0}}, .told = "3 -1 +0, 2 -1 +0, "},
        {.noted = {{4, 0, 1}, {4, 1, 0}}, .told = ""},
        {.noted = {{0, 1, 0}, {3, 0, 1}, {3, 1, 0}}, .told = "0 -1 +0, "},
        {.noted = {{0, 0, 1}, {2, 0, 1}, {4, 0, 1}, {6, 0, 1}},
         .told = "0 -0 +1, 2 -0 +1, 4 -0 +1, 6 -0 +1, "},
        {.noted = {{0, 0, 1}, {2, 0, 1}, {4, 0, 1}, {6, 0, 1}, {7, 0, 1}},
         .told = "0 -0 +1, 2 -0 +1, 4 -0 +1, 6 -0 +2, "},
        {.noted = {{0, 0, 1}, {2, 0, 1}, {4, 0, 1}, {6, 0, 1}, {8, 0, 1}}, .told = "0 -4 +9, "},
    };
    for (const Case& one : cases)
    {
        HistoryChanges noting;
        std::vector<std::string> heard;
        const auto slot =
            noting.connect([&](const HistoryChange& change) { heard.push_back(wordsOf(change)); },
                           {.size = size, .position = 0, .saved = {}});
        std::uint64_t sizeAfter = size;
        for (const RowChange& row : one.noted)
        {
            noting.replaceRows(row.first, row.removed, row.inserted);
            sizeAfter += row.inserted - row.removed;
        }
        noting.tell([&] { return State{.size = sizeAfter, .position = 0, .saved = {}}; });
        EXPECT_THAT(heard, ElementsAre(one.told + "0 to 0"));
    }
}

TEST_F(HistoryChangesTest, AllRowsAreReplacedIfNobodyKnowsWhatHasBecomeOfThem)
{
    listen({.size = 4, .position = 4, .saved = {}});
    changes.replaceAllRows();
    tell({.size = 4, .position = 4, .saved = {}});
    changes.replaceRows(0, 1, 0);
    changes.replaceAllRows();
    tell({.size = 3, .position = 3, .saved = {}});
    // More has changed than was noted.
    changes.replaceRows(3, 0, 1);
    tell({.size = 5, .position = 5, .saved = {}});
    changes.replaceRows(5, 0, 1);
    tell({.size = 6, .position = 6, .saved = {}});
    // Fewer are left than was noted.
    changes.replaceRows(6, 0, 1);
    tell({.size = 6, .position = 6, .saved = {}});
    EXPECT_THAT(told, ElementsAre("0 -4 +4, 4 to 4", "0 -4 +3, 4 to 3", "0 -3 +5, 3 to 5", "5 -0 +1, 5 to 6",
                                  "0 -6 +6, 6 to 6"));
}

TEST_F(HistoryChangesTest, AllRowsOfAnEmptyHistoryAreNone)
{
    listen({});
    changes.replaceAllRows();
    tell({});
    EXPECT_THAT(told, ElementsAre("0 to 0"));
}

TEST_F(HistoryChangesTest, ModulesAreToldOnce)
{
    listen({.size = 3, .position = 3, .saved = {}});
    changes.replaceRows(2, 1, 0);
    changes.addModules(setOf(0));
    changes.addModules(setOf(1));
    changes.addModules(setOf(0));
    tell({.size = 2, .position = 2, .saved = {}});
    changes.replaceRows(1, 1, 0);
    tell({.size = 1, .position = 1, .saved = {}});
    EXPECT_THAT(told, ElementsAre("2 -1 +0, 3 to 2, modules 2", "1 -1 +0, 2 to 1"));
}

TEST_F(HistoryChangesTest, WhileItIsHeldNothingIsTold)
{
    listen({.size = 1, .position = 1, .saved = {}});
    {
        const HistoryChanges::Hold hold(changes);
        {
            const HistoryChanges::Hold inner(changes);
            changes.replaceRows(1, 0, 1);
        }
        tell({.size = 2, .position = 2, .saved = {}});
        EXPECT_THAT(told, IsEmpty());
    }
    tell({.size = 2, .position = 2, .saved = {}});
    EXPECT_THAT(told, ElementsAre("1 -0 +1, 1 to 2"));
}

TEST_F(HistoryChangesTest, WhatASlotChangesIsToldWhenAllHaveHeardOfTheFirstChange)
{
    listen({});
    std::vector<std::string> late;
    const auto second =
        changes.connect([&](const HistoryChange& change) { late.push_back(wordsOf(change)); }, {});
    onTold = [&]
    {
        onTold = nullptr;
        changes.replaceRows(1, 0, 1);
        tell({.size = 2, .position = 2, .saved = {}});
        EXPECT_THAT(late, IsEmpty());
    };
    changes.replaceRows(0, 0, 1);
    tell({.size = 1, .position = 1, .saved = {}});
    EXPECT_THAT(told, ElementsAre("0 -0 +1, 0 to 1", "1 -0 +1, 1 to 2"));
    EXPECT_EQ(late, told);
}

TEST_F(HistoryChangesTest, AfterASlotThatThrowsTheNextChangeIsTold)
{
    listen({});
    std::vector<std::string> late;
    const auto second =
        changes.connect([&](const HistoryChange& change) { late.push_back(wordsOf(change)); }, {});
    onTold = []
    {
        fail();
    };
    changes.replaceRows(0, 0, 1);
    EXPECT_THROW(tell({.size = 1, .position = 1, .saved = {}}), std::runtime_error);
    onTold = nullptr;
    tell({.size = 1, .position = 1, .saved = {}});
    changes.replaceRows(1, 0, 1);
    tell({.size = 2, .position = 2, .saved = {}});
    EXPECT_THAT(told, ElementsAre("0 -0 +1, 0 to 1", "1 -0 +1, 1 to 2"));
    EXPECT_THAT(late, ElementsAre("1 -0 +1, 1 to 2"));
}

TEST_F(HistoryChangesTest, WithoutMemoryTheModulesAreToldWithTheNextChange)
{
    listen({.size = 2, .position = 2, .saved = {}});
    changes.replaceRows(1, 1, 0);
    changes.addModules(setOf(0));
    const ModuleSet further = setOf(1);
    {
        const FailingAllocation failing(0);
        EXPECT_THROW(changes.addModules(further), std::bad_alloc);
    }
    {
        const FailingAllocation failing(0);
        EXPECT_THROW(tell({.size = 1, .position = 1, .saved = {}}), std::bad_alloc);
    }
    EXPECT_THAT(told, IsEmpty());
    tell({.size = 1, .position = 1, .saved = {}});
    EXPECT_THAT(told, ElementsAre("1 -1 +0, 2 to 1, modules 1"));
}

} // namespace
} // namespace Valdane

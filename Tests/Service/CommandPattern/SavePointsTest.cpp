#include "Service/CommandPattern/SavePoints.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace Valdane
{
namespace
{

using Place = SavePoints::State;

/// The positions of both trackers: "2 -" if only the first has one.
std::string positionsOf(const SavePoints& points, std::uint64_t loose = 0)
{
    std::string text;
    for (const auto& position : points.positions(loose))
    {
        text += text.empty() ? "" : " ";
        text += position.has_value() ? std::to_string(*position) : "-";
    }
    return text;
}

SavePoints savedAt(const Place& first, const Place& second)
{
    SavePoints points;
    points.save(0, first);
    points.save(1, second);
    return points;
}

SavePoints savedAt(std::uint64_t first, std::uint64_t second)
{
    return savedAt({.position = first}, {.position = second});
}

TEST(SavePointsTest, NothingIsSavedAtFirst)
{
    const SavePoints points;
    EXPECT_EQ(positionsOf(points), "- -");
    EXPECT_FALSE(points.isSaved({}));
}

TEST(SavePointsTest, EachTrackerHasItsOwn)
{
    SavePoints points;
    points.save(1, {.position = 3});
    EXPECT_EQ(positionsOf(points), "- 3");
    points.save(0, {.position = 0});
    EXPECT_EQ(positionsOf(points), "0 3");
    points.save(1, {.position = 1});
    EXPECT_EQ(positionsOf(points), "0 1");
    points.loseAll();
    EXPECT_EQ(positionsOf(points), "- -");
}

TEST(SavePointsTest, UndoAndRedoLeadOnlyToStatesWithTheSameLooseCommands)
{
    const SavePoints points = savedAt({.position = 2, .loose = 7}, {.position = 4});
    EXPECT_EQ(positionsOf(points), "- 4");
    EXPECT_EQ(positionsOf(points, 7), "2 -");
    EXPECT_EQ(positionsOf(points, 8), "- -");
}

TEST(SavePointsTest, AStateIsSavedForWhicheverTracker)
{
    const SavePoints points = savedAt({.position = 2, .loose = 7}, {.position = 4});
    EXPECT_TRUE(points.isSaved({.position = 2, .loose = 7}));
    EXPECT_TRUE(points.isSaved({.position = 4}));
    EXPECT_FALSE(points.isSaved({.position = 2}));
    EXPECT_FALSE(points.isSaved({.position = 4, .loose = 7}));
}

TEST(SavePointsTest, WithTheOldestCommandTheStateBeforeItIsLost)
{
    SavePoints points = savedAt(0, 2);
    points.dropOldest();
    EXPECT_EQ(positionsOf(points), "- 1");
    points.dropOldest();
    EXPECT_EQ(positionsOf(points), "- 0");
    points.dropOldest();
    EXPECT_EQ(positionsOf(points), "- -");
}

TEST(SavePointsTest, WhatCouldBeRedoneTakesItsSavePointsAlong)
{
    SavePoints points = savedAt(2, 3);
    points.dropAfter(3);
    EXPECT_EQ(positionsOf(points), "2 3");
    points.dropAfter(2);
    EXPECT_EQ(positionsOf(points), "2 -");
}

TEST(SavePointsTest, WhenAllIsDroppedOnlyThePresentStateIsLeft)
{
    struct Case
    {
        std::uint64_t position = 0;
        std::string left;
    };

    for (const Case& one : {Case{.position = 0, .left = "- -"}, Case{.position = 1, .left = "0 -"},
                            Case{.position = 2, .left = "- 0"}, Case{.position = 3, .left = "- -"}})
    {
        SavePoints points = savedAt(1, 2);
        points.dropAll(one.position);
        EXPECT_EQ(positionsOf(points), one.left) << one.position;
    }
}

TEST(SavePointsTest, WhatIsTakenStaysInTheData)
{
    struct Case
    {
        std::uint64_t saved = 0;
        std::string left;
    };

    // The states before the third command have not its effect, and no undo leads to them any more.
    for (const Case& one : {Case{.saved = 0, .left = "- -"}, Case{.saved = 2, .left = "- -"},
                            Case{.saved = 3, .left = "- 2"}, Case{.saved = 5, .left = "- 4"}})
    {
        SavePoints points;
        points.save(1, {.position = one.saved});
        points.takeNewest(3);
        EXPECT_EQ(positionsOf(points), one.left) << one.saved;
    }
}

TEST(SavePointsTest, WithTheLastOfTheLooseCommandsTheSaveComesIntoTheHistory)
{
    SavePoints points = savedAt({.position = 2, .loose = 7}, {.position = 2, .loose = 6});
    points.queueLoose(3, 7);
    EXPECT_EQ(positionsOf(points), "3 -");
    EXPECT_EQ(positionsOf(points, 7), "- -");
    EXPECT_EQ(positionsOf(points, 6), "- 2") << "a save between them is in no state of the history";
}

TEST(SavePointsTest, ASaveBeforeTheLooseCommandsStaysWhereItIsWhenTheyAreQueued)
{
    SavePoints points = savedAt({.position = 2}, {.position = 1, .loose = 7});
    points.queueLoose(3, 7);
    EXPECT_EQ(positionsOf(points), "2 -");
    EXPECT_EQ(positionsOf(points, 7), "- 1");
}

TEST(SavePointsTest, LooseCommandsThatAreForgottenStayInTheData)
{
    SavePoints points = savedAt({.position = 2, .loose = 7}, {.position = 2});
    points.dropLoose(7);
    EXPECT_EQ(positionsOf(points), "2 -");

    points = savedAt({.position = 2, .loose = 7}, {.position = 2});
    points.dropLoose(0);
    EXPECT_EQ(positionsOf(points), "- 2");
    EXPECT_EQ(positionsOf(points, 7), "- -");
}

} // namespace
} // namespace Valdane

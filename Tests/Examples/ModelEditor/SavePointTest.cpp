#include "Examples/ModelEditor/SavePoint.h"

#include <gtest/gtest.h>

#include <optional>

namespace
{

using ModelEditor::SavePoint;

TEST(SavePoint, IsNowhereBeforeTheFirstSave)
{
    EXPECT_EQ(SavePoint().getDistance(), std::nullopt);
}

TEST(SavePoint, TellsHowFarItIsToTheSavedState)
{
    SavePoint point;
    point.onCommandAdded();
    point.onSaved();
    EXPECT_EQ(point.getDistance(), 0);
    point.onCommandAdded();
    EXPECT_EQ(point.getDistance(), -1);
    point.onUndone();
    point.onUndone();
    EXPECT_EQ(point.getDistance(), 1);
    point.onRedone();
    EXPECT_EQ(point.getDistance(), 0);
}

TEST(SavePoint, ASavedStateThatANewCommandReplacedIsOutOfReach)
{
    SavePoint point;
    point.onCommandAdded();
    point.onSaved();
    point.onUndone();
    point.onCommandAdded();
    EXPECT_EQ(point.getDistance(), std::nullopt);
    point.onUndone();
    EXPECT_EQ(point.getDistance(), std::nullopt);
    point.onSaved();
    EXPECT_EQ(point.getDistance(), 0);
}

} // namespace

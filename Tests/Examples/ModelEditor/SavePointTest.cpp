#include "Examples/ModelEditor/SavePoint.h"

#include <gtest/gtest.h>

namespace
{

using ModelEditor::SavePoint;

TEST(SavePoint, IsNotModifiedAtFirst)
{
    EXPECT_FALSE(SavePoint().isModified());
}

TEST(SavePoint, UndoingAllSinceTheSaveIsNoModification)
{
    SavePoint point;
    point.onCommandAdded();
    point.onSaved();
    point.onCommandAdded();
    EXPECT_TRUE(point.isModified());
    point.onUndone();
    EXPECT_FALSE(point.isModified());
    point.onUndone();
    EXPECT_TRUE(point.isModified());
    point.onRedone();
    EXPECT_FALSE(point.isModified());
}

TEST(SavePoint, ASavedStateThatANewCommandReplacedIsOutOfReach)
{
    SavePoint point;
    point.onCommandAdded();
    point.onSaved();
    point.onUndone();
    point.onCommandAdded();
    EXPECT_TRUE(point.isModified());
    point.onUndone();
    EXPECT_TRUE(point.isModified());
    point.onSaved();
    EXPECT_FALSE(point.isModified());
}

} // namespace

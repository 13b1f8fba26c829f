// What programs on the library Editing are compiled against: the sizes of the classes that they make.

#include "Service/Editing/ActiveHistory.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/History.h"
#include "Service/Editing/HistoryAction.h"
#include "Service/Editing/MemoryBudget.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/ThreadedRun.h"
#include "Service/Editing/UndoAction.h"
#include "Service/Editing/UnsavedModule.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace Valdane;

TEST(EditingLayout, HasClassesOfTheSizesThatProgramsAllocate)
{
    EXPECT_EQ(sizeof(ActiveHistory), 16U);
    EXPECT_EQ(sizeof(ActiveHistory::Document), 24U);
    EXPECT_EQ(sizeof(CommandGroup), 16U);
    EXPECT_EQ(sizeof(History), 16U);
    EXPECT_EQ(sizeof(HistoryAction), 8U);
    EXPECT_EQ(sizeof(UndoAction), 8U);
    EXPECT_EQ(sizeof(RedoAction), 8U);
    EXPECT_EQ(sizeof(MemoryBudget), 168U);
    EXPECT_EQ(sizeof(MergePolicy), 168U);
    EXPECT_EQ(sizeof(SaveState), 272U);
    EXPECT_EQ(sizeof(ThreadedRun), 16U);
}

TEST(EditingLayout, HasRecordsOfTheSizesThatProgramsPass)
{
    EXPECT_EQ(sizeof(HistoryActionTexts), 64U);
    EXPECT_EQ(sizeof(MergePolicy::Limits), 16U);
    EXPECT_EQ(sizeof(ThreadedRun::Progress), 64U);
    EXPECT_EQ(sizeof(UnsavedCommand), 40U);
    EXPECT_EQ(sizeof(UnsavedModule), 40U);
}

// A virtual operation that is added later would move every field.
TEST(EditingLayout, HasNoVirtualOperations)
{
    EXPECT_FALSE(std::is_polymorphic_v<ActiveHistory>);
    EXPECT_FALSE(std::is_polymorphic_v<CommandGroup>);
    EXPECT_FALSE(std::is_polymorphic_v<History>);
    EXPECT_FALSE(std::is_polymorphic_v<UndoAction>);
    EXPECT_FALSE(std::is_polymorphic_v<RedoAction>);
    EXPECT_FALSE(std::is_polymorphic_v<MemoryBudget>);
    EXPECT_FALSE(std::is_polymorphic_v<MergePolicy>);
    EXPECT_FALSE(std::is_polymorphic_v<SaveState>);
    EXPECT_FALSE(std::is_polymorphic_v<ThreadedRun>);
}

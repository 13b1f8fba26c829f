// What programs on the library CommandTesting are compiled against. Its templates are compiled into them.

#include "Service/CommandTesting/AllocationFaults.h"
#include "Service/CommandTesting/Choices.h"
#include "Service/CommandTesting/CommandSubject.h"
#include "Service/CommandTesting/FailurePoints.h"
#include "Service/CommandTesting/HistoryStep.h"
#include "Service/CommandTesting/Report.h"
#include "Service/CommandTesting/RoundTripOptions.h"
#include "Service/CommandTesting/Snapshot.h"
#include "Tests/Layout/Slots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Valdane;
using namespace Valdane::Layout;

TEST(CommandTestingLayout, HasTheOperationsThatProgramsImplementInOrder)
{
    EXPECT_THAT(slotsOf(&AllocationFaults::begin, &AllocationFaults::end, &AllocationFaults::getBlocksInUse),
                testing::ElementsAre(2, 3, 4));
}

TEST(CommandTestingLayout, HasClassesOfTheSizesThatProgramsAllocate)
{
    EXPECT_EQ(sizeof(AllocationFaults), 8U);
    EXPECT_EQ(sizeof(Choices), 8U);
    EXPECT_EQ(sizeof(CommandSubject), 128U);
    EXPECT_EQ(sizeof(FailurePoints), 88U);
    EXPECT_EQ(sizeof(HistoryStep), 32U);
    EXPECT_EQ(sizeof(ModuleSnapshot), 56U);
    EXPECT_EQ(sizeof(Report), 80U);
    EXPECT_EQ(sizeof(RoundTripOptions), 8U);
    EXPECT_EQ(sizeof(Snapshot), 16U);
}

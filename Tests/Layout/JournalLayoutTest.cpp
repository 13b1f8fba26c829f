// What programs on the library Journal are compiled against: the sizes of the classes that they make and pass.

#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/Journal.h"
#include "Service/Journal/JournalRemains.h"

#include <gtest/gtest.h>

#include <type_traits>

using namespace Valdane;

TEST(JournalLayout, HasClassesOfTheSizesThatProgramsAllocate)
{
    EXPECT_EQ(sizeof(CommandCodecs), 104U);
    EXPECT_EQ(sizeof(Journal), 8U);
    EXPECT_EQ(sizeof(Journal::Options), 24U);
    EXPECT_EQ(sizeof(Journal::Start), 104U);
    EXPECT_EQ(sizeof(Journal::Recovery), 48U);
    EXPECT_EQ(sizeof(JournalRemains), 264U);
}

// A virtual operation that is added later would move every field.
TEST(JournalLayout, HasNoVirtualOperations)
{
    EXPECT_FALSE(std::is_polymorphic_v<CommandCodecs>);
    EXPECT_FALSE(std::is_polymorphic_v<Journal>);
}

#include "Platform/Logging/Logging.h"

#include "Workshop/Journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Valdane::Logging;
using Workshop::Journal;

TEST(OwnLoggingTest, AnErrorIsWrittenBehindTheLastPartOfTheSourceFile)
{
    Journal::get().takeLines();
    Logging("Service/CommandPattern/MacroCommand").logERROR("it failed", "file", "function", 1);
    Logging("Main").logERROR("so did this", nullptr, nullptr, 0);
    EXPECT_THAT(Journal::get().takeLines(),
                ElementsAre("ERROR, MacroCommand: it failed", "ERROR, Main: so did this"));
    EXPECT_THAT(Journal::get().takeLines(), IsEmpty());
}

TEST(OwnLoggingTest, ADetailIsWrittenOnlyWhereTheJournalWantsDetails)
{
    Journal::get().takeLines();
    const Logging logging("Main");
    EXPECT_FALSE(logging.isTraceEnabled());
    logging.logTRACE("unwanted", "file", "function", 1);
    Journal::get().setDetailed(true);
    EXPECT_TRUE(logging.isTraceEnabled());
    logging.logTRACE("wanted", "file", "function", 1);
    Journal::get().setDetailed(false);
    EXPECT_THAT(Journal::get().takeLines(), ElementsAre("detail, Main: wanted"));
}

} // namespace

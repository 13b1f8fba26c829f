#include "Service/CommandTesting/HistoryStep.h"

#include <gtest/gtest.h>

namespace Valdane
{
namespace
{

#define EXPECT_IS_ITS_CODE(code) EXPECT_EQ((code).toText(), #code)

TEST(HistoryStepTest, IsPrintedAsItsCode)
{
    EXPECT_IS_ITS_CODE(HistoryStep::add(1, 2));
    EXPECT_IS_ITS_CODE(HistoryStep::addOrMerge(3, 4));
    EXPECT_IS_ITS_CODE(HistoryStep::addFailing(5, 6, 7));
    EXPECT_IS_ITS_CODE(HistoryStep::undo(8));
    EXPECT_IS_ITS_CODE(HistoryStep::redo(9));
    EXPECT_IS_ITS_CODE(HistoryStep::beginGroup());
    EXPECT_IS_ITS_CODE(HistoryStep::endGroup());
    EXPECT_IS_ITS_CODE(HistoryStep::abandonGroup());
    EXPECT_IS_ITS_CODE(HistoryStep::save());
    EXPECT_IS_ITS_CODE(HistoryStep::limit(10));
}

} // namespace
} // namespace Valdane

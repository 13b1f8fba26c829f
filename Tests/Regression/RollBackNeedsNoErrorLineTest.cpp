// A macro wrote the error line of a failed sub-command before it rolled the others back. Where there was no
// memory for the line, the std::bad_alloc of that took the place of the failure, and nothing was rolled back:
// half a macro stayed done that nobody could undo.

#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace Valdane
{
namespace
{

class OutOfOrder : public std::exception
{
};

class RollBackNeedsNoErrorLine : public testing::Test
{
protected:
    RollBackNeedsNoErrorLine()
    {
        first->onExecute = [this]
        {
            ++done;
        };
        first->onUndo = [this]
        {
            --done;
        };
        second->onExecute = [this]
        {
            noMemory.emplace(0, AllocationsThatFail::AllFromThereOn);
            throw OutOfOrder();
        };
    }

    int done = 0;
    std::shared_ptr<ScriptedCommand> first = std::make_shared<ScriptedCommand>("first");
    std::shared_ptr<ScriptedCommand> second = std::make_shared<ScriptedCommand>("second");
    std::optional<FailingAllocation> noMemory;
    MacroCommand macro;
};

TEST_F(RollBackNeedsNoErrorLine, WhenAMacroIsExecuted)
{
    macro.addCommand(first);
    macro.addCommand(second);
    EXPECT_THROW(macro.execute(), OutOfOrder);
    noMemory.reset();
    EXPECT_EQ(done, 0);
}

TEST_F(RollBackNeedsNoErrorLine, WhenACommandIsExecutedAndAdded)
{
    macro.executeAndAdd(first);
    ASSERT_EQ(done, 1);
    EXPECT_THROW(macro.executeAndAdd(second), OutOfOrder);
    noMemory.reset();
    EXPECT_EQ(done, 0);
    EXPECT_EQ(macro.size(), 1U);
}

} // namespace
} // namespace Valdane

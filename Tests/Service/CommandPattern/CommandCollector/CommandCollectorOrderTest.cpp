#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ManagerJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

static_assert(!std::is_copy_constructible_v<CommandCollector>);
static_assert(!std::is_copy_assignable_v<CommandCollector>);

/// The manager of the fixture is the target.
class CommandCollectorOrder : public ManagerJournal
{
protected:
    CommandCollectorOrder()
    {
        source().setModuleAccessInterface(std::make_shared<AskedModules>());
    }

    CommandManager& source()
    {
        return *collector->getCommandManager();
    }

    /// Executes a command through the collector's manager.
    std::shared_ptr<RecordingCommand> collect(const std::string& name)
    {
        auto command = std::make_shared<RecordingCommand>(name);
        EXPECT_TRUE(source().addCommand(command));
        return command;
    }

    static std::string namesOf(const MacroCommand& macro)
    {
        std::list<std::string> names;
        for (const std::shared_ptr<CommandBase>& command : macro)
        {
            names.push_back(command->getDescription());
        }
        return join(names);
    }

    std::string takeCollected()
    {
        const std::shared_ptr<MacroCommand> macro = collector->getExecutedCommands();
        EXPECT_FALSE(macro->getUseForwardUndoOrder());
        return namesOf(*macro);
    }

    std::unique_ptr<CommandCollector> collector = std::make_unique<CommandCollector>(manager);
};

TEST_F(CommandCollectorOrder, ACommandMovesToTheTargetAsSoonAsItIsQueued)
{
    collector->connect(true);
    const Signals::Connection sourceExecuted =
        source().connectToSigCommandExecuted([this] { note("source executed " + queues()); });

    collect("A");

    // The first two questions are those of the collector's own manager.
    EXPECT_THAT(takeJournal(),
                ElementsAre("  A.progress.reset", "  A.execute", "  A.progress.setComplete",
                            "  modules.modified", "  modules.mark", "  modules.modified", "  modules.mark",
                            "  queueChanged 3 [A|]", "  source executed [A|]"));
    EXPECT_FALSE(source().canUndo());
}

TEST_F(CommandCollectorOrder, CommandsAreRecordedInTheOrderOfTheirExecution)
{
    collector->connect(true);
    const auto a = collect("A");
    collect("B");
    const auto c = collect("C");
    EXPECT_EQ(queues(), "[C B A|]");
    takeJournal();

    const std::shared_ptr<MacroCommand> recorded = collector->getExecutedCommands();

    EXPECT_EQ(namesOf(*recorded), "A B C");
    EXPECT_EQ(recorded->getFirstCommand(), a);
    EXPECT_EQ(recorded->getLastCommand(), c);
    EXPECT_THAT(takeJournal(),
                ElementsAre("  modules.modified", "  modules.modified", "  queueChanged 2 [|]"));
}

TEST_F(CommandCollectorOrder, UnconnectedItCollectsNothingButTheTargetIsClearedAllTheSame)
{
    add("foreign");
    collect("A");
    EXPECT_TRUE(source().canUndo());
    takeJournal();

    EXPECT_EQ(takeCollected(), "");

    EXPECT_EQ(takeJournal().back(), "  queueChanged 2 [|]");
    EXPECT_TRUE(source().canUndo());
}

TEST_F(CommandCollectorOrder, AnEmptyTargetIsNotCleared)
{
    EXPECT_EQ(takeCollected(), "");
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(CommandCollectorOrder, AnyQueueChangeOfItsManagerMovesTheNewestCommand)
{
    collect("A");
    collect("B");
    collect("C");
    collector->connect(true);

    source().undo(1);
    EXPECT_EQ(queues(), "[B|]");
    source().redo(1);
    EXPECT_EQ(queues(), "[C B|]");
    collect("D");
    EXPECT_EQ(queues(), "[D C B|]");
    EXPECT_EQ(join(source().collectUndoCommandDescriptions()), "A");
    source().clear();
    EXPECT_EQ(queues(), "[D C B|]");
    EXPECT_EQ(takeCollected(), "B C D");
}

TEST_F(CommandCollectorOrder, TheTargetHasACommandBeforeTheCollectionDoes)
{
    collector->connect(true);
    modules->onAsk = []
    {
        throw std::runtime_error("not now");
    };
    EXPECT_THROW(source().addCommand(std::make_shared<RecordingCommand>("A")), std::runtime_error);
    modules->onAsk = nullptr;
    collect("B");
    onSignal = [](const std::string& signal)
    {
        if (signal == "queueChanged 3")
        {
            throw std::runtime_error("not now");
        }
    };
    EXPECT_THROW(source().addCommand(std::make_shared<RecordingCommand>("C")), std::runtime_error);
    onSignal = nullptr;

    EXPECT_EQ(queues(), "[C B|]");
    EXPECT_EQ(takeCollected(), "B");
}

TEST_F(CommandCollectorOrder, ConnectingTwiceLeavesOneConnection)
{
    collect("A");
    collect("B");
    collect("C");
    collector->connect(true);
    collector->connect(true);

    source().clear();
    EXPECT_EQ(queues(), "[|]");
    collect("D");
    collector->connect(false);
    collector->connect(false);
    collect("E");

    EXPECT_EQ(queues(), "[D|]");
    EXPECT_EQ(join(source().collectUndoCommandDescriptions()), "E");
    collector->connect(true);
    collect("F");
    EXPECT_EQ(queues(), "[F D|]");
    EXPECT_EQ(takeCollected(), "D F");
}

/// Were there two connections, each queue change would move two commands.
TEST_F(CommandCollectorOrder, ConnectingTwiceMovesOneCommandForEachQueueChange)
{
    collect("A");
    collect("B");
    collect("C");
    collector->connect(true);
    collector->connect(true);
    source().undo(1);
    EXPECT_EQ(queues(), "[B|]");
    EXPECT_EQ(join(source().collectUndoCommandDescriptions()), "A");
}

TEST_F(CommandCollectorOrder, ARecordingCanBeRepeated)
{
    collector->connect(true);
    collect("A");
    EXPECT_EQ(takeCollected(), "A");
    EXPECT_EQ(takeCollected(), "");
    collect("B");
    collect("C");
    EXPECT_EQ(takeCollected(), "B C");
}

TEST_F(CommandCollectorOrder, WhatIsNoLongerExecutedInTheTargetIsNotReturned)
{
    collector->connect(true);
    collect("trimmed");
    collect("A");
    add("foreign");
    collect("B");
    collect("undone");
    manager.undo(1);
    manager.setMaxQueueSize(4);
    manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(queues(), "[B foreign A|undone]");

    EXPECT_EQ(takeCollected(), "A B");

    EXPECT_EQ(queues(), "[|]");
    EXPECT_EQ(takeCollected(), "");
}

TEST_F(CommandCollectorOrder, WhatWasUndoneAndRedoneInTheTargetIsReturned)
{
    collector->connect(true);
    collect("A");
    collect("B");
    manager.undo(2);
    manager.redo(1);
    EXPECT_EQ(takeCollected(), "A");
}

TEST_F(CommandCollectorOrder, WithEverythingUndoneTheTargetKeepsItsRedoQueueAndTheRecordingIsEmpty)
{
    collector->connect(true);
    collect("A");
    manager.undo(1);
    takeJournal();

    EXPECT_EQ(takeCollected(), "");

    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_EQ(queues(), "[|A]");
    manager.redo(1);
    EXPECT_EQ(takeCollected(), "") << "what was recorded before does not count any more";
}

TEST_F(CommandCollectorOrder, WhatIsMergedInTheTargetIsNotReturned)
{
    collector->connect(true);
    collect("A");
    manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("pending"), false);
    collect("B");
    EXPECT_EQ(queues(), "[B A|]");
    EXPECT_EQ(takeCollected(), "A");
}

TEST_F(CommandCollectorOrder, WhatIsMergedInItsOwnManagerIsReturnedAsOneMacro)
{
    collector->connect(true);
    source().addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>("A"), false);
    EXPECT_EQ(queues(), "[|]");
    collect("B");
    const std::shared_ptr<MacroCommand> recorded = collector->getExecutedCommands();
    ASSERT_EQ(recorded->size(), 1U);
    const auto macro = std::dynamic_pointer_cast<MacroCommand>(recorded->getFirstCommand());
    ASSERT_NE(macro, nullptr);
    EXPECT_EQ(namesOf(*macro), "B A");
}

TEST_F(CommandCollectorOrder, AFailingCommandNeverArrives)
{
    collector->connect(true);
    const auto command = std::make_shared<RecordingCommand>("A");
    command->onExecute = []
    {
        throw std::runtime_error("no power");
    };

    EXPECT_FALSE(source().addCommand(command));

    EXPECT_EQ(queues(), "[|]");
    EXPECT_EQ(takeCollected(), "");
}

TEST_F(CommandCollectorOrder, ACommandCollectedTwiceIsReturnedTwice)
{
    collector->connect(true);
    const auto command = collect("A");
    EXPECT_TRUE(source().addCommand(command));
    EXPECT_EQ(takeCollected(), "A A");
}

TEST_F(CommandCollectorOrder, ARecordingThatCannotBeTakenGoesOn)
{
    collector->connect(true);
    collect("A");
    modules->onAsk = []
    {
        throw std::runtime_error("not now");
    };

    EXPECT_THROW(collector->getExecutedCommands(), std::runtime_error);

    modules->onAsk = nullptr;
    EXPECT_EQ(queues(), "[A|]");
    collect("B");
    EXPECT_EQ(takeCollected(), "A B");
}

TEST_F(CommandCollectorOrder, ItsManagerDiesBeforeTheRecordedCommands)
{
    const auto makeDying = [](const std::string& name)
    {
        // The deleter notes the death without another kind of command.
        return std::shared_ptr<RecordingCommand>(new RecordingCommand(name),
                                                 [name](RecordingCommand* command)
                                                 {
                                                     note(name + " dies");
                                                     delete command;
                                                 });
    };
    collector->connect(true);
    source().addCommand(makeDying("recorded"));
    manager.clear();
    source().addCommandToMergeWithNextCommand(makeDying("pending"), false);
    takeJournal();

    collector.reset();

    EXPECT_THAT(takeJournal(), ElementsAre("  pending dies", "  recorded dies"));
}

TEST_F(CommandCollectorOrder, TheDestructorLeavesTheTargetAlone)
{
    collector->connect(true);
    collect("A");
    const std::weak_ptr<CommandBase> pending = [this]
    {
        auto command = std::make_shared<RecordingCommand>("B");
        source().addCommandToMergeWithNextCommand(command, false);
        return std::weak_ptr<CommandBase>(command);
    }();
    takeJournal();

    collector.reset();

    EXPECT_THAT(takeJournal(), IsEmpty());
    EXPECT_TRUE(pending.expired());
    EXPECT_EQ(queues(), "[A|]");
    manager.undo(1);
    EXPECT_EQ(queues(), "[|A]");
}

} // namespace
} // namespace Valdane

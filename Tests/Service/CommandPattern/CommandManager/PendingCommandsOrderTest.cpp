#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/ManagerJournal.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

/// Takes in every other command.
class Greedy : public RecordingCommand, public MergeableCommand
{
public:
    using RecordingCommand::RecordingCommand;

    bool mergeWith(const CommandBase& next) override
    {
        setDescription(getDescription() + "+" + next.getDescription());
        return true;
    }
};

/// What is pending when the manager tells of it, as "pending <number> <newest>", among the signals of the history.
class PendingCommands : public ManagerJournal
{
protected:
    void execute(const std::string& name)
    {
        manager.addExecutedCommand(std::make_shared<RecordingCommand>(name));
    }

    void wait(const std::string& name)
    {
        manager.addCommandToMergeWithNextCommand(std::make_shared<RecordingCommand>(name), false);
    }

    std::string pending() const
    {
        const std::shared_ptr<const CommandBase> newest = manager.getNewestPendingCommand();
        return std::to_string(manager.getPendingCount()) +
               (newest == nullptr ? "" : " " + newest->getDescription());
    }

    Signals::Connection told =
        manager.connectToSigCommandPending([this] { noteSignal("pending " + pending()); });
    Signals::Connection groups =
        manager.connectToSigOpenGroupsChanged([this] { noteSignal("groups " + pending()); });
    Signals::Connection history = manager.connectToSigHistoryChanged([this](const HistoryChange&)
                                                                     { noteSignal("history " + pending()); });
};

TEST_F(PendingCommands, WaitUntilTheNextCommandTakesThemIn)
{
    EXPECT_EQ(pending(), "0");
    wait("A");
    EXPECT_THAT(takeJournal(), ElementsAre("* A.progress.reset", "* A.execute", "* A.progress.setComplete",
                                           "  pending 1 A [|]"));
    wait("B");
    takeJournal();
    EXPECT_EQ(pending(), "2 B");

    execute("C");
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.mark", "  history 0 [C|]",
                                           "  queueChanged 3 [C|]"));

    wait("D");
    takeJournal();
    manager.clear();
    EXPECT_EQ(pending(), "0");
}

TEST_F(PendingCommands, AreThoseOfAllOpenGroupsAndTheLastOneIsTheNewest)
{
    wait("A");
    manager.beginGroup("outer");
    EXPECT_EQ(pending(), "1 A");
    execute("B");
    manager.beginGroup("inner");
    EXPECT_EQ(pending(), "2 B") << "the innermost group is empty";
    takeJournal();

    execute("C");
    EXPECT_THAT(takeJournal(), ElementsAre("  pending 3 C [|]"));
    wait("D");
    takeJournal();
    EXPECT_EQ(pending(), "4 D") << "what waits in a group is newer than what is in it";

    manager.endGroup();
    EXPECT_THAT(takeJournal(), ElementsAre("  groups 3 inner [|]"));

    manager.endGroup();
    EXPECT_THAT(takeJournal(), ElementsAre("  modules.modified", "  modules.mark", "  history 0 [outer|]",
                                           "  queueChanged 3 [outer|]", "  groups 0 [outer|]"));
}

TEST_F(PendingCommands, AreToldAgainWhenOneHasTakenInTheNext)
{
    manager.beginGroup("group");
    manager.addOrMergeCommand(std::make_shared<Greedy>("A"));
    takeJournal();
    manager.addOrMergeCommand(std::make_shared<RecordingCommand>("B"));
    EXPECT_THAT(takeJournal(), ElementsAre("* B.progress.reset", "* B.execute", "* B.progress.setComplete",
                                           "  pending 1 A+B [|]", "  executed [|]"));

    manager.abandonGroup();
    EXPECT_EQ(pending(), "0");
}

} // namespace
} // namespace Valdane

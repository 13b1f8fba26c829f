#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/FailingCommand.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace Valdane
{
namespace
{

using Makers = std::vector<CommandSubject::Maker>;
using Step = FailingCommand::Step;

/// A macro of the first commands of a list, and a manager for it.
class MacroTrial
{
public:
    MacroTrial(const CommandSubject& subject, const Makers& makers, std::size_t count)
        : trial(subject), before(trial.takeSnapshot())
    {
        for (std::size_t index = 0; index < count; ++index)
        {
            macro->addCommand(trial.makeCommand(makers[index]));
        }
        commands = count == 1 ? "the first command" : "the first " + std::to_string(count) + " commands";
    }

    /// So that a failure of one of them is told with its own text.
    void execute()
    {
        trial.add("execute()" + ofMacro(), macro);
    }

    /// The command after them does not execute.
    void failToExecute()
    {
        macro->addCommand(std::make_shared<FailingCommand>(Step::Execute));
        expectFailure("execute()", [this] { return trial.getManager().addCommand(macro); });
        trial.expect(before, "After the roll-back of " + commands, "as before the macro was executed");
    }

    /// The command before them cannot be undone.
    void failToUndo()
    {
        macro->addCommandToFront(std::make_shared<FailingCommand>(Step::Undo));
        trial.add("execute()" + ofMacro(), macro);
        const Snapshot after = trial.takeSnapshot();
        if (!isRedoCapable())
        {
            return;
        }
        expectFailure("undo()", [this] { return trial.getManager().undo(1); });
        trial.expect(after, "After undo() and the redo() that rolls it back, of " + commands,
                     "as before the macro was undone");
    }

    /// The command after them cannot be redone.
    void failToRedo()
    {
        macro->addCommand(std::make_shared<FailingCommand>(Step::Redo));
        trial.add("execute()" + ofMacro(), macro);
        trial.undo("undo()" + ofMacro());
        if (!trial.getManager().canRedo())
        {
            return;
        }
        expectFailure("redo()", [this] { return trial.getManager().redo(1); });
        trial.expect(before, "After redo() and the undo() that rolls it back, of " + commands,
                     "as before the macro was redone");
    }

private:
    std::string ofMacro() const
    {
        return " of a macro of " + commands;
    }

    bool isRedoCapable() const
    {
        bool isCapable = false;
        Mistake::guard("isRedoCapable()", [&] { isCapable = macro->isRedoCapable(); });
        return isCapable;
    }

    void expectFailure(const std::string& step, const std::function<bool()>& operation) const
    {
        bool isDone = false;
        Mistake::guard(step + ofMacro(), [&] { isDone = operation(); });
        if (isDone)
        {
            throw Mistake(step + ofMacro() + " succeeds although one of its commands fails");
        }
    }

    Trial trial;
    Snapshot before;
    std::shared_ptr<MacroCommand> macro = std::make_shared<MacroCommand>("macro");
    std::string commands;
};

CommandSubject::Maker macroOf(const Makers& makers)
{
    return [&makers](const CommandSubject::World& world)
    {
        auto macro = std::make_shared<MacroCommand>("the whole macro");
        for (const CommandSubject::Maker& make : makers)
        {
            macro->addCommand(make(world));
        }
        return macro;
    };
}

// The commands may do and revert the same, which is no mistake of the macro.
Report tryWhole(const CommandSubject& subject, const CommandSubject::Maker& make)
{
    RoundTripOptions options;
    Report report("The whole macro");
    Mistake::collect(report,
                     [&]
                     {
                         Trial trial(subject, make);
                         const Snapshot before = trial.takeSnapshot();
                         trial.add("execute() of the whole macro");
                         options.changesNothing = before == trial.takeSnapshot();
                     });
    return report ? Checks::roundTrip(subject, make, options) : report;
}

} // namespace

Report Checks::inMacro(const CommandSubject& subject, const std::vector<CommandSubject::Maker>& makers)
{
    Report report("In a macro of " + std::to_string(makers.size()) + " commands");
    if (makers.empty())
    {
        report.addMistake("There is no command");
        return report;
    }
    Mistake::collect(report,
                     [&]
                     {
                         for (std::size_t count = 1; count <= makers.size(); ++count)
                         {
                             MacroTrial(subject, makers, count).execute();
                             MacroTrial(subject, makers, count).failToExecute();
                             MacroTrial(subject, makers, count).failToUndo();
                             MacroTrial(subject, makers, count).failToRedo();
                         }
                     });
    if (report)
    {
        report.add(tryWhole(subject, macroOf(makers)));
    }
    return report;
}

} // namespace Valdane

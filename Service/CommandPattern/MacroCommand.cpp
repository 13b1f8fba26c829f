#include "Service/CommandPattern/MacroCommand.h"

#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/CommandTrace.h"
#include "Service/CommandPattern/ExceptionText.h"
#include "Service/CommandPattern/MacroDestruction.h"

#include <algorithm>
#include <iterator>
#include <ranges>
#include <source_location>
#include <utility>

namespace Valdane
{

namespace
{

const Logging logger("Service/CommandPattern/MacroCommand");

// The roll-back must happen even if the line cannot be written.
void logFailure(const char* operation, CommandBase& failed, const std::exception& exception,
                const std::source_location& place)
{
    try
    {
        logger.logERROR(operation + ("MacroCommand: Subcommand '" + failed.getLogDescription()) +
                            "' failed with exception: " + textOf(exception),
                        place.file_name(), place.function_name(), static_cast<int>(place.line()));
    }
    catch (const std::exception&)
    {
        return;
    }
}

} // namespace

MacroCommand::MacroCommand() = default;

MacroCommand::MacroCommand(std::string text) : CommandBase(std::move(text)) {}

MacroCommand::MacroCommand(CommandList list) : valdaneCommands(std::move(list)) {}

MacroCommand::MacroCommand(MacroCommand&&) noexcept = default;
MacroCommand& MacroCommand::operator=(MacroCommand&&) noexcept = default;

MacroCommand::~MacroCommand()
{
    MacroDestruction::destroySubCommands(*this, std::move(valdaneCommands));
}

void MacroCommand::execute()
{
    prepareProgress(Execute);
    auto current = valdaneCommands.begin();
    try
    {
        for (; current != valdaneCommands.end(); ++current)
        {
            executeCommand(*current);
        }
    }
    catch (const std::exception& exception)
    {
        handleExceptionOnExecuteRedo(exception, current);
        throw;
    }
    progressOf(*this).setComplete();
}

void MacroCommand::undo()
{
    prepareProgress(Undo);
    auto current = valdaneUseForwardUndoOrder ? valdaneCommands.begin() : valdaneCommands.end();
    try
    {
        if (valdaneUseForwardUndoOrder)
        {
            for (; current != valdaneCommands.end(); ++current)
            {
                undoCommand(*current);
            }
        }
        else
        {
            while (current != valdaneCommands.begin())
            {
                --current;
                undoCommand(*current);
            }
        }
    }
    catch (const std::exception& exception)
    {
        handleExceptionOnUndo(exception, current);
        throw;
    }
    progressOf(*this).setComplete();
}

void MacroCommand::redo()
{
    prepareProgress(Execute);
    auto current = valdaneCommands.begin();
    try
    {
        for (; current != valdaneCommands.end(); ++current)
        {
            redoCommand(*current);
        }
    }
    catch (const std::exception& exception)
    {
        handleExceptionOnExecuteRedo(exception, current);
        throw;
    }
    progressOf(*this).setComplete();
}

const std::string& MacroCommand::getDescription() const
{
    const std::string& own = CommandBase::getDescription();
    if (own.empty())
    {
        for (const std::shared_ptr<CommandBase>& command : valdaneCommands)
        {
            if (const std::string& text = command->getDescription(); !text.empty())
            {
                return text;
            }
        }
    }
    return own;
}

LegacyProgress::Speed::Rate MacroCommand::getSpeedRate() const
{
    return collectSpeed().getAverageSpeed();
}

bool MacroCommand::isRedoCapable()
{
    return std::ranges::all_of(valdaneCommands, &CommandBase::isRedoCapable);
}

void MacroCommand::addCommand(std::shared_ptr<CommandBase> command)
{
    if (command != nullptr)
    {
        valdaneCommands.push_back(std::move(command));
    }
}

void MacroCommand::addCommandToFront(std::shared_ptr<CommandBase> command)
{
    if (command != nullptr)
    {
        valdaneCommands.push_front(std::move(command));
    }
}

void MacroCommand::addCommands(const CommandList& added)
{
    CommandList copies = added;
    valdaneCommands.splice(valdaneCommands.end(), copies);
}

void MacroCommand::executeAndAdd(std::shared_ptr<CommandBase> command)
{
    if (command == nullptr)
    {
        return;
    }
    // Made first, so that nothing can fail once the command is executed.
    CommandList added{command};
    try
    {
        executeCommand(command);
    }
    catch (const std::exception& exception)
    {
        logFailure("", *command, exception, std::source_location::current());
        undo();
        throw;
    }
    valdaneCommands.splice(valdaneCommands.end(), added);
}

void MacroCommand::removeLastCommand()
{
    if (!valdaneCommands.empty())
    {
        valdaneCommands.pop_back();
    }
}

void MacroCommand::clear()
{
    // Out of the list before they die, because a command's destructor may call the macro.
    CommandList removed;
    removed.swap(valdaneCommands);
}

bool MacroCommand::empty() const
{
    return valdaneCommands.empty();
}

unsigned long long MacroCommand::size() const
{
    return valdaneCommands.size();
}

MacroCommand::CommandList::const_iterator MacroCommand::begin() const
{
    return valdaneCommands.begin();
}

MacroCommand::CommandList::const_iterator MacroCommand::end() const
{
    return valdaneCommands.end();
}

std::shared_ptr<CommandBase> MacroCommand::getFirstCommand()
{
    return valdaneCommands.empty() ? nullptr : valdaneCommands.front();
}

std::shared_ptr<const CommandBase> MacroCommand::getFirstCommand() const
{
    return valdaneCommands.empty() ? nullptr : valdaneCommands.front();
}

std::shared_ptr<CommandBase> MacroCommand::getLastCommand()
{
    return valdaneCommands.empty() ? nullptr : valdaneCommands.back();
}

std::shared_ptr<const CommandBase> MacroCommand::getLastCommand() const
{
    return valdaneCommands.empty() ? nullptr : valdaneCommands.back();
}

bool MacroCommand::getUseForwardUndoOrder() const
{
    return valdaneUseForwardUndoOrder;
}

void MacroCommand::setUseForwardUndoOrder(bool use)
{
    valdaneUseForwardUndoOrder = use;
}

std::shared_ptr<CommandBase> MacroCommand::getOrCreateSingleCommand(const CommandList& list)
{
    switch (list.size())
    {
    case 0:
        return nullptr;
    case 1:
        return list.front();
    default:
        return std::make_shared<MacroCommand>(list);
    }
}

void MacroCommand::prepareExecute(std::shared_ptr<CommandBase> /*command*/) {}

void MacroCommand::finalizeExecute(std::shared_ptr<CommandBase> /*command*/) {}

void MacroCommand::executeCommand(std::shared_ptr<CommandBase> command)
{
    const std::source_location here = std::source_location::current();
    const auto name = logDescriptionOf(*command);
    trace(logger, "Execute MacroCommand '", name, "'...", here);
    prepareExecute(command);
    command->execute();
    finalizeExecute(command);
    trace(logger, "Execute MacroCommand '", name, "' finished.", here);
    progressOf(*command).setComplete();
}

void MacroCommand::undoCommand(std::shared_ptr<CommandBase> command)
{
    const std::source_location here = std::source_location::current();
    const auto name = logDescriptionOf(*command);
    trace(logger, "Undo MacroCommand '", name, "'...", here);
    command->undo();
    trace(logger, "Undo MacroCommand '", name, "' finished.", here);
    progressOf(*command).setComplete();
}

void MacroCommand::redoCommand(std::shared_ptr<CommandBase> command)
{
    const std::source_location here = std::source_location::current();
    const auto name = logDescriptionOf(*command);
    trace(logger, "Redo MacroCommand '", name, "'...", here);
    command->redo();
    trace(logger, "Redo MacroCommand '", name, "' finished.", here);
    progressOf(*command).setComplete();
}

void MacroCommand::prepareProgress(Prepare layout)
{
    const LegacyProgress::Speed speed = collectSpeed();
    LegacyProgress& whole = progressOf(*this);
    whole.reset();
    int start = static_cast<int>(whole.progress());
    const auto append = [&](const std::shared_ptr<CommandBase>& command)
    {
        const int part = speed.getPartitionFromRate(command->getSpeedRate());
        whole.appendSubProgress(&progressOf(*command), start, start + part);
        start += part;
    };
    if (layout == Execute)
    {
        std::ranges::for_each(valdaneCommands, append);
    }
    else if (layout == Undo)
    {
        std::ranges::for_each(valdaneCommands | std::views::reverse, append);
    }
}

void MacroCommand::handleExceptionOnExecuteRedo(const std::exception& exception, CommandList::iterator failed)
{
    logFailure("", **failed, exception, std::source_location::current());
    if (valdaneUseForwardUndoOrder)
    {
        for (auto done = valdaneCommands.begin(); done != failed; ++done)
        {
            undoCommand(*done);
        }
        return;
    }
    while (failed != valdaneCommands.begin())
    {
        --failed;
        undoCommand(*failed);
    }
}

void MacroCommand::handleExceptionOnUndo(const std::exception& exception, CommandList::iterator failed)
{
    logFailure("Undo of ", **failed, exception, std::source_location::current());
    auto undone = valdaneUseForwardUndoOrder ? valdaneCommands.begin() : std::next(failed);
    const auto end = valdaneUseForwardUndoOrder ? failed : valdaneCommands.end();
    for (; undone != end; ++undone)
    {
        redoCommand(*undone);
    }
}

LegacyProgress::Speed MacroCommand::collectSpeed() const
{
    LegacyProgress::Speed speed;
    for (const std::shared_ptr<CommandBase>& command : valdaneCommands)
    {
        speed.add(command->getSpeedRate());
    }
    return speed;
}

} // namespace Valdane

#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Logging/LogMessage.h"
#include "Platform/Logging/Logging.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandProgress.h"
#include "Service/CommandPattern/CommandTrace.h"
#include "Service/CommandPattern/ExceptionText.h"
#include "Service/CommandPattern/RunFinishedSignal.h"

#include <exception>
#include <source_location>
#include <utility>

namespace Valdane
{

namespace
{

const Logging logger("Service/CommandPattern/ThreadedMacroCommand");

void logFailure(CommandBase& failed, const std::exception& exception, const std::source_location& place)
{
    logger.logERROR("Command '" + failed.getLogDescription() +
                        "' failed with exception: " + textOf(exception),
                    place.file_name(), place.function_name(), static_cast<int>(place.line()));
}

} // namespace

ThreadedMacroCommand::ThreadedMacroCommand() : ThreadedMacroCommand("MacroCommand") {}

ThreadedMacroCommand::ThreadedMacroCommand(const std::string& text) : ThreadedMacroCommand(text, false) {}

ThreadedMacroCommand::ThreadedMacroCommand(const std::string& text, bool continues)
    : MacroCommand(text), valdaneCurrentSubCommand(end()), valdaneContinuesOnException(continues)
{
}

ThreadedMacroCommand::~ThreadedMacroCommand() = default;

void ThreadedMacroCommand::execute()
{
    prepareProgress(Execute);
    startExecution(nullptr);
}

bool ThreadedMacroCommand::startExecution(std::shared_ptr<ThreadManager> threadManager)
{
    // First, because a failure from here on is rolled back, and nothing has been executed yet.
    rewind();
    if (empty())
    {
        finish();
        return true;
    }
    prepareProgress(Execute);
    return executeSubCommand(*valdaneCurrentSubCommand, std::move(threadManager));
}

bool ThreadedMacroCommand::continueExecution(std::shared_ptr<ThreadManager> threadManager)
{
    const Next next = goToNext(threadManager);
    return next == Next::SubCommand ? executeSubCommand(*valdaneCurrentSubCommand, std::move(threadManager))
                                    : next == Next::End;
}

void ThreadedMacroCommand::abortExecution()
{
    while (valdaneCurrentSubCommand != begin())
    {
        --valdaneCurrentSubCommand;
        (*valdaneCurrentSubCommand)->undo();
    }
    emitOnce(valdaneRunFinishedSignal, false, *this);
    progressOf(*this).setComplete();
}

void ThreadedMacroCommand::connectToRunFinishedSignal(
    const Signals::Slot<void(bool, const CommandBase*)>& slot)
{
    connectOnce(valdaneRunFinishedSignal, slot);
}

bool ThreadedMacroCommand::continueOnException() const
{
    return valdaneContinuesOnException;
}

void ThreadedMacroCommand::setContinueOnException(bool continues)
{
    valdaneContinuesOnException = continues;
}

void ThreadedMacroCommand::setFailCountToThrow(int count)
{
    valdaneFailCountToThrow = count;
}

int ThreadedMacroCommand::getFailCountToThrow() const
{
    return valdaneFailCountToThrow;
}

// A loop, so that the stack does not grow with the sub-commands.
bool ThreadedMacroCommand::executeSubCommand(std::shared_ptr<CommandBase> subCommand,
                                             std::shared_ptr<ThreadManager> threadManager)
{
    const std::source_location here = std::source_location::current();
    while (true)
    {
        trace(logger, "Execute subcommand: ", logDescriptionOf(*subCommand), "", here);
        if (!startSubCommand(subCommand, threadManager, here))
        {
            return false;
        }
        const Next next = goToNext(threadManager);
        if (next != Next::SubCommand)
        {
            return next == Next::End;
        }
        subCommand = *valdaneCurrentSubCommand;
    }
}

bool ThreadedMacroCommand::finalizeSubCommand(std::shared_ptr<CommandBase> subCommand,
                                              std::shared_ptr<ThreadManager> threadManager)
{
    const auto* thread = dynamic_cast<const Thread*>(subCommand.get());
    if (thread == nullptr || threadManager == nullptr || threadManager->getThreadingMode() == 0)
    {
        return true;
    }
    const std::source_location here = std::source_location::current();
    try
    {
        threadManager->finalizeThread();
    }
    catch (const std::exception& exception)
    {
        logFailure(*subCommand, exception, here);
        if (!valdaneContinuesOnException)
        {
            throw;
        }
        ++valdaneFailCount;
        if (!checkFailCount())
        {
            throw VdException("");
        }
    }
    if (!thread->isAborted())
    {
        trace(logger, "Finished execution of command:", logDescriptionOf(*subCommand), "", here);
        return true;
    }
    subCommand->undo();
    abortExecution();
    trace(logger, "Aborted execution of command:", logDescriptionOf(*subCommand), "", here);
    return false;
}

void ThreadedMacroCommand::sendFinishSignal(bool ok)
{
    emitOnce(valdaneRunFinishedSignal, ok, *this);
}

bool ThreadedMacroCommand::checkFailCount() const
{
    // The conversion makes every negative limit but -1 one that is never reached, as the interface has it.
    return valdaneFailCountToThrow == -1 ||
           valdaneFailCount < static_cast<std::uint64_t>(static_cast<std::int64_t>(valdaneFailCountToThrow));
}

bool ThreadedMacroCommand::isRunning() const
{
    return !empty() && valdaneCurrentSubCommand != end();
}

void ThreadedMacroCommand::rewind()
{
    valdaneCurrentSubCommand = begin();
    valdaneFailCount = 0;
}

// Whether the run can continue at once, because nothing was started on a worker.
bool ThreadedMacroCommand::startSubCommand(const std::shared_ptr<CommandBase>& subCommand,
                                           const std::shared_ptr<ThreadManager>& threadManager,
                                           const std::source_location& place)
{
    if (threadManager != nullptr)
    {
        if (auto thread = std::dynamic_pointer_cast<Thread>(subCommand))
        {
            return startThread(std::move(thread), *subCommand, *threadManager, place);
        }
        if (auto* nested = dynamic_cast<ThreadedMacroCommand*>(subCommand.get()))
        {
            return startNested(*nested, threadManager);
        }
    }
    executeOnThisThread(*subCommand, place);
    return true;
}

bool ThreadedMacroCommand::startThread(std::shared_ptr<Thread> thread, CommandBase& subCommand,
                                       ThreadManager& threadManager, const std::source_location& place)
{
    try
    {
        threadManager.addThread(std::move(thread));
    }
    catch (const std::exception& exception)
    {
        logFailure(subCommand, exception, place);
        skipOrRethrow();
    }
    if (threadManager.getThreadingMode() != 0)
    {
        return false;
    }
    trace(logger, "Subcommand:", logDescriptionOf(subCommand), "'executed.'", place);
    return true;
}

bool ThreadedMacroCommand::startNested(ThreadedMacroCommand& nested,
                                       const std::shared_ptr<ThreadManager>& threadManager)
{
    try
    {
        return nested.startExecution(threadManager);
    }
    catch (const std::exception&)
    {
        nested.abortExecution();
        skipOrRethrow();
        return true;
    }
}

void ThreadedMacroCommand::executeOnThisThread(CommandBase& subCommand, const std::source_location& place)
{
    try
    {
        subCommand.execute();
    }
    catch (const std::exception& exception)
    {
        logFailure(subCommand, exception, place);
        if (valdaneContinuesOnException)
        {
            progressOf(*this).sendMessage(LogMessage(textOf(exception), LogMessage::Type::Error, ""));
        }
        skipOrRethrow();
    }
    trace(logger, "Subcommand:", logDescriptionOf(subCommand), " 'executed.'", place);
}

ThreadedMacroCommand::Next ThreadedMacroCommand::goToNext(const std::shared_ptr<ThreadManager>& threadManager)
{
    if (empty() || valdaneCurrentSubCommand == end())
    {
        finish();
        return Next::End;
    }
    if (auto* nested = dynamic_cast<ThreadedMacroCommand*>(valdaneCurrentSubCommand->get()))
    {
        if (nested->isRunning() && !nested->continueExecution(threadManager))
        {
            return Next::Wait;
        }
    }
    else if (!finalizeSubCommand(*valdaneCurrentSubCommand, threadManager))
    {
        return Next::End;
    }
    ++valdaneCurrentSubCommand;
    if (valdaneCurrentSubCommand != end())
    {
        return Next::SubCommand;
    }
    finish();
    return Next::End;
}

void ThreadedMacroCommand::finish()
{
    sendFinishSignal(true);
    progressOf(*this).setComplete();
}

void ThreadedMacroCommand::skipOrRethrow()
{
    if (!valdaneContinuesOnException)
    {
        throw;
    }
    ++valdaneFailCount;
    if (!checkFailCount())
    {
        throw;
    }
}

} // namespace Valdane

#include "Service/Editing/RunRollback.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"

#include <exception>
#include <utility>

namespace Valdane
{

namespace
{

void addChains(std::vector<MacroChain>& found, MacroChain& chain, const Thread& thread)
{
    bool isHere = false;
    for (const std::shared_ptr<CommandBase>& command : *chain.back())
    {
        isHere |= dynamic_cast<const Thread*>(command.get()) == &thread;
        if (auto nested = std::dynamic_pointer_cast<ThreadedMacroCommand>(command))
        {
            chain.push_back(std::move(nested));
            addChains(found, chain, thread);
            chain.pop_back();
        }
    }
    if (isHere)
    {
        found.push_back(chain);
    }
}

/// Does all of a roll-back, whatever fails in between.
class Attempts
{
public:
    template <typename Work>
    bool operator()(const Work& work)
    {
        try
        {
            work();
            return true;
        }
        catch (...)
        {
            if (first == nullptr)
            {
                first = std::current_exception();
            }
            return false;
        }
    }

    void rethrow() const
    {
        if (first != nullptr)
        {
            std::rethrow_exception(first);
        }
    }

private:
    std::exception_ptr first;
};

} // namespace

std::vector<MacroChain> findChains(const std::shared_ptr<CommandBase>& command, const Thread& thread)
{
    std::vector<MacroChain> found;
    if (auto macro = std::dynamic_pointer_cast<ThreadedMacroCommand>(command))
    {
        MacroChain chain{std::move(macro)};
        addChains(found, chain, thread);
    }
    return found;
}

std::size_t countCommands(const CommandBase& command)
{
    std::size_t count = 1;
    if (const auto* macro = dynamic_cast<const MacroCommand*>(&command))
    {
        for (const std::shared_ptr<CommandBase>& part : *macro)
        {
            count += countCommands(*part);
        }
    }
    return count;
}

RunRollback::RunRollback(MacroChain macros, std::shared_ptr<Thread> runningThread)
    : ThreadedMacroCommand(macros.front()->getDescription()),
      chain(std::move(macros)),
      thread(std::move(runningThread))
{
}

bool RunRollback::startExecution(std::shared_ptr<ThreadManager> /*threadManager*/)
{
    return false;
}

bool RunRollback::continueExecution(std::shared_ptr<ThreadManager> threadManager)
{
    Attempts attempt;
    const bool isHere = threadManager->getCurrentThread() == thread;
    bool hasRun = true;
    if (isHere)
    {
        // Somebody may finalize this before it was aborted. The manager would queue what was not aborted.
        if (!thread->isAborted())
        {
            attempt([&] { threadManager->abortThreadExecution(); });
        }
        hasRun = attempt([&] { threadManager->finalizeThread(); });
    }
    // Each thread of a macro is a command.
    auto& command = dynamic_cast<CommandBase&>(*thread);
    isAllUndone = !hasRun || attempt([&] { command.undo(); });
    for (auto macro = chain.rbegin(); macro != chain.rend(); ++macro)
    {
        // Each failure leaves one sub-command less to undo. A slot and the progress may fail, too.
        for (auto left = (*macro)->size() + 2; left > 0 && !attempt([&] { (*macro)->abortExecution(); });)
        {
            isAllUndone = false;
            --left;
        }
    }
    attempt.rethrow();
    if (!isHere)
    {
        // The manager knows no aborted thread, and would queue this.
        throw VdException("The thread '" + command.getDescription() +
                          "' was finalized without the manager; all is undone");
    }
    return true;
}

bool RunRollback::hasUndoneAll() const noexcept
{
    return isAllUndone;
}

} // namespace Valdane

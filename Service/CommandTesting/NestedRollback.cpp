#include "Service/CommandTesting/NestedRollback.h"

#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/CommandManager.h"

#include <exception>
#include <utility>

namespace Valdane
{
namespace
{

void addChains(std::vector<NestedRollback::Chain>& found, NestedRollback::Chain& chain, const Thread& thread)
{
    for (const std::shared_ptr<CommandBase>& command : *chain.back())
    {
        if (dynamic_cast<const Thread*>(command.get()) == &thread)
        {
            found.push_back(chain);
        }
        if (auto nested = std::dynamic_pointer_cast<ThreadedMacroCommand>(command))
        {
            chain.push_back(std::move(nested));
            addChains(found, chain, thread);
            chain.pop_back();
        }
    }
}

} // namespace

void NestedRollback::putInto(CommandManager& manager)
{
    auto macro = std::dynamic_pointer_cast<ThreadedMacroCommand>(manager.getCurrentThreadedCommand());
    auto thread = manager.getThreadManager()->getCurrentThread();
    if (macro == nullptr || thread == nullptr)
    {
        return;
    }
    std::vector<Chain> found;
    Chain chain{std::move(macro)};
    addChains(found, chain, *thread);
    if (found.size() == 1 && found.front().size() > 1)
    {
        std::shared_ptr<ThreadedMacroCommand> rollback =
            std::make_shared<NestedRollback>(std::move(found.front()), std::move(thread));
        manager.addThreadedCommand(std::move(rollback));
    }
}

NestedRollback::NestedRollback(Chain macros, std::shared_ptr<Thread> runningThread)
    : ThreadedMacroCommand(macros.front()->getDescription()),
      chain(std::move(macros)),
      thread(std::move(runningThread))
{
}

bool NestedRollback::startExecution(std::shared_ptr<ThreadManager> /*threadManager*/)
{
    return false;
}

bool NestedRollback::continueExecution(std::shared_ptr<ThreadManager> threadManager)
{
    std::exception_ptr failure;
    try
    {
        threadManager->finalizeThread();
        if (auto* const command = dynamic_cast<CommandBase*>(thread.get()))
        {
            command->undo();
        }
    }
    catch (...)
    {
        failure = std::current_exception();
    }
    for (auto macro = chain.rbegin(); macro != chain.rend(); ++macro)
    {
        (*macro)->abortExecution();
    }
    if (failure != nullptr)
    {
        std::rethrow_exception(failure);
    }
    return true;
}

} // namespace Valdane

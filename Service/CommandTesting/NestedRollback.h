#pragma once

#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <memory>
#include <vector>

namespace Valdane
{

class CommandManager;
class Thread;

/// Has the abort of a thread in a nested macro undo all that the outer macros have done, as applications want it.
///
/// The manager alone ends the nested macro only. This takes the place of the outer macro in the worker slot, and
/// undoes from the inside out, each sub-command once.
///
/// Thread: as ThreadedMacroCommand.
class NestedRollback final : public ThreadedMacroCommand
{
public:
    /// Puts a roll-back into the worker slot of @p manager, if its thread is in one nested macro. Called while the
    /// thread is running, before the abort.
    static void putInto(CommandManager& manager);

    /// The macros around a thread, the outermost first.
    using Chain = std::vector<std::shared_ptr<ThreadedMacroCommand>>;

    NestedRollback(Chain macros, std::shared_ptr<Thread> runningThread);

    /// Does nothing: the thread is running already. @return false
    bool startExecution(std::shared_ptr<ThreadManager> threadManager) override;

    /// Waits for the thread and undoes all, also if the thread has failed. @throws what the thread has thrown.
    bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override;

private:
    Chain chain;
    std::shared_ptr<Thread> thread;
};

} // namespace Valdane

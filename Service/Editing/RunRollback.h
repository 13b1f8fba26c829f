#pragma once

#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace Valdane
{

class CommandBase;
class Thread;
class ThreadManager;

/// The macros around a thread that is running, the outermost first.
using MacroChain = std::vector<std::shared_ptr<ThreadedMacroCommand>>;

/// All chains in @p command that lead to @p thread, one for each macro that has it; none if it is no macro.
/// @throws std::bad_alloc
std::vector<MacroChain> findChains(const std::shared_ptr<CommandBase>& command, const Thread& thread);

/// How many commands @p command consists of, itself included.
std::size_t countCommands(const CommandBase& command);

/// Takes the place of a macro in the worker slot while a thread of a nested macro is running. Its next step
/// aborts that thread and undoes the macro from the inside out, each sub-command once.
///
/// The macro itself would continue behind the nested one, and undo that one twice if it is aborted later.
///
/// Ownership: shares the macros and the thread.
/// Thread: as ThreadedMacroCommand.
class RunRollback final : public ThreadedMacroCommand
{
public:
    RunRollback(MacroChain macros, std::shared_ptr<Thread> runningThread);

    /// Does nothing: the thread is running already.
    /// @return false
    bool startExecution(std::shared_ptr<ThreadManager> threadManager) override;

    /// Waits for the thread and undoes all. @throws the first exception, when all is undone.
    bool continueExecution(std::shared_ptr<ThreadManager> threadManager) override;

    /// Whether that was called, and no undo() has failed.
    bool hasUndoneAll() const noexcept;

private:
    MacroChain chain;
    std::shared_ptr<Thread> thread;
    bool isAllUndone = false;
};

} // namespace Valdane

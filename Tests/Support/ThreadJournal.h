#pragma once

#include "Journal.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/ManagerJournal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Valdane
{

/// What the test has put in for an operation, by its name; done once it has been noted.
using Actions = std::map<std::string, std::function<void()>>;

inline void noteAndAct(const std::string& name, const std::string& operation, const Actions& actions)
{
    note(name + "." + operation);
    const auto found = actions.find(operation);
    if (found != actions.end())
    {
        // A copy, since it may replace itself.
        const std::function<void()> action = found->second;
        action();
    }
}

/// Notes every call as "<name>.<operation>", then does what the test has put in.
class RecordingThread : public ThreadedCommand
{
public:
    explicit RecordingThread(const std::string& threadName) : ThreadedCommand(threadName), name(threadName)
    {
        getProgressPtr()->label = name + ".progress";
    }

    void run() override
    {
        noteAndAct(name, "run", on);
    }

    void finishRun() override
    {
        noteAndAct(name, "finishRun", on);
    }

    void undo() override
    {
        noteAndAct(name, "undo", on);
    }

    bool isAddableToCommandManager() const override
    {
        noteAndAct(name, "isAddable", on);
        return addable && ThreadedCommand::isAddableToCommandManager();
    }

    Actions on;
    bool addable = true;

protected:
    void prepareRun() override
    {
        noteAndAct(name, "prepareRun", on);
    }

    void abortRun() override
    {
        noteAndAct(name, "abortRun", on);
    }

private:
    std::string name;
};

/// Lays open what is protected, and notes the calls that a step-by-step run must not make.
class OpenMacro : public ThreadedMacroCommand
{
public:
    explicit OpenMacro(const std::string& name, bool continues = false)
        : ThreadedMacroCommand(name, continues)
    {
        getProgressPtr()->label = name + ".progress";
    }

    using ThreadedMacroCommand::checkFailCount;
    using ThreadedMacroCommand::executeSubCommand;
    using ThreadedMacroCommand::finalizeSubCommand;
    using ThreadedMacroCommand::isRunning;
    using ThreadedMacroCommand::sendFinishSignal;

protected:
    void prepareExecute(std::shared_ptr<CommandBase> /*command*/) override
    {
        note(getDescription() + ".prepareExecute");
    }

    void finalizeExecute(std::shared_ptr<CommandBase> /*command*/) override
    {
        note(getDescription() + ".finalizeExecute");
    }
};

using Lines = std::vector<std::string>;

inline Lines operator+(Lines first, const Lines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// A manager whose threads the test steps by hand. Every entry of the journal begins with "* " while the
/// manager says that it is processing a command, else with "  ", and with what is in the worker slot, "-" if
/// it is empty.
class ThreadJournal : public ManagerJournal
{
protected:
    ThreadJournal()
    {
        journalPrefix() = [this]
        {
            const auto command = manager.getCurrentThreadedCommand();
            return (manager.isProcessingCommand() ? "*" : " ") +
                   (command == nullptr ? "-" : command->getDescription()) + " ";
        };
    }

    static std::shared_ptr<RecordingThread> makeThread(const std::string& name)
    {
        return std::make_shared<RecordingThread>(name);
    }

    /// Does @p action at the first entry of the journal that is a call of @p kind, such as a signal.
    void atSignal(const std::string& signal, const std::function<void()>& action)
    {
        onSignal = [this, signal, action](const std::string& emitted)
        {
            if (emitted.starts_with(signal))
            {
                onSignal = nullptr;
                action();
            }
        };
    }

    /// Notes the end of the next run of @p command, and then does @p action.
    template <typename Command>
    static void noteEndOf(const std::shared_ptr<Command>& command,
                          const std::function<void()>& action = nullptr)
    {
        command->connectToRunFinishedSignal(
            [action](bool ok, const CommandBase* ended)
            {
                note("runFinished(" + std::string(ok ? "true" : "false") + ", " + ended->getDescription() +
                     ")");
                if (action)
                {
                    action();
                }
            });
    }

    /// The journal without the layout of progresses, of which only the reset is kept.
    static Lines takeSteps()
    {
        Lines lines = takeJournal();
        std::erase_if(lines,
                      [](const std::string& line)
                      {
                          return line.find("Speed.") != std::string::npos ||
                                 line.find(".appendSubProgress(") != std::string::npos ||
                                 line.ends_with(".progress.progress");
                      });
        return lines;
    }

    std::shared_ptr<ThreadManager> threads = manager.getThreadManager();
    Signals::Connection started =
        manager.connectToSigThreadedCommandStarted([this] { noteSignal("started"); });
    Signals::Connection finished =
        manager.connectToSigThreadedCommandFinished([this] { noteSignal("finished"); });
};

} // namespace Valdane

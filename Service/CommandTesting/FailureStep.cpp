#include "Service/CommandTesting/FailureStep.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/Mistake.h"
#include "Service/CommandTesting/Trial.h"

#include <memory>
#include <utility>

namespace Valdane
{
FailureStep::FailureStep(std::string stepName, Kind stepKind, Caller stepCaller)
    : name(std::move(stepName)), kind(stepKind), caller(stepCaller)
{
}

std::vector<FailureStep> FailureStep::allFor(const CommandBase& command)
{
    std::vector<FailureStep> steps;
    const bool isThreadedMacro = dynamic_cast<const ThreadedMacroCommand*>(&command) != nullptr;
    // Of a threaded macro only addThreadedCommand() rolls back.
    if (!isThreadedMacro)
    {
        steps.push_back({"execute()", Kind::Execute, Caller::Nobody});
    }
    steps.push_back({"undo()", Kind::Undo, Caller::Nobody});
    steps.push_back({"redo()", Kind::Redo, Caller::Nobody});
    if (isThreadedMacro || dynamic_cast<const ThreadedCommand*>(&command) != nullptr)
    {
        steps.push_back({"CommandManager::addThreadedCommand()", Kind::Execute, Caller::ManagerThreads});
    }
    if (!isThreadedMacro)
    {
        steps.push_back({"CommandManager::addCommand()", Kind::Execute, Caller::Manager});
    }
    const Caller adding = isThreadedMacro ? Caller::ManagerThreads : Caller::Manager;
    steps.push_back({"CommandManager::undo()", Kind::Undo, adding});
    steps.push_back({"CommandManager::redo()", Kind::Redo, adding});
    return steps;
}

const std::string& FailureStep::getName() const
{
    return name;
}

bool FailureStep::isByManager() const
{
    return caller != Caller::Nobody;
}

bool FailureStep::callsTheSameAs(const FailureStep& other) const
{
    return kind == other.kind;
}

bool FailureStep::prepare(Trial& trial) const
{
    trial.getManager().getThreadManager()->setThreadingMode(0);
    const auto callOrFail = [&](Kind called, const std::string& calledName)
    {
        bool isDone = false;
        Mistake::guard(calledName, [&] { isDone = call(trial, called); });
        if (!isDone)
        {
            throw Mistake(calledName + " fails");
        }
    };
    if (kind != Kind::Execute)
    {
        callOrFail(Kind::Execute, "execute()");
    }
    if (isByManager() && kind != Kind::Execute && !trial.getManager().canUndo())
    {
        return false;
    }
    if (kind == Kind::Redo)
    {
        callOrFail(Kind::Undo, "undo()");
        return isByManager() ? trial.getManager().canRedo() : trial.getCommand()->isRedoCapable();
    }
    return true;
}

bool FailureStep::run(Trial& trial) const
{
    return call(trial, kind);
}

bool FailureStep::call(Trial& trial, Kind called) const
{
    if (isByManager())
    {
        return callManager(trial, called);
    }
    CommandBase& command = *trial.getCommand();
    switch (called)
    {
    case Kind::Execute:
        command.execute();
        break;
    case Kind::Undo:
        command.undo();
        break;
    case Kind::Redo:
        command.redo();
        break;
    }
    return true;
}

bool FailureStep::callManager(Trial& trial, Kind called) const
{
    CommandManager& manager = trial.getManager();
    switch (called)
    {
    case Kind::Undo:
        return manager.undo(1);
    case Kind::Redo:
        return manager.redo(1);
    case Kind::Execute:
        break;
    }
    if (caller == Caller::Manager)
    {
        return manager.addCommand(trial.getCommand());
    }
    bool isDone = true;
    const auto failing =
        manager.connectToSigCommandFailed([&isDone](const char*, const std::string&) { isDone = false; });
    trial.startThreads();
    return isDone;
}

} // namespace Valdane

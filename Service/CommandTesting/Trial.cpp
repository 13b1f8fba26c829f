#include "Service/CommandTesting/Trial.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/Mistake.h"

#include <utility>

namespace Valdane
{
Trial::Trial(const CommandSubject& triedSubject) : subject(triedSubject)
{
    Mistake::guard("Making the world", [this] { world = subject.makeWorld(); });
    if (world == nullptr)
    {
        throw Mistake("Making the world gives an empty pointer");
    }
    failed =
        manager.connectToSigCommandFailed([this](const char* text, const std::string&) { failure = text; });
    if (subject.modules)
    {
        std::shared_ptr<ModuleAccessInterface> modules;
        Mistake::guard("Making the module access interface", [&] { modules = subject.modules(world); });
        if (modules == nullptr)
        {
            throw Mistake("Making the module access interface gives an empty pointer");
        }
        // What was marked to make the world is not of a command.
        Mistake::guard("markAllModulesInBusinessAsUnmodified()",
                       [&] { modules->markAllModulesInBusinessAsUnmodified(); });
        manager.setModuleAccessInterface(std::move(modules));
    }
}

Trial::Trial(const CommandSubject& triedSubject, const CommandSubject::Maker& make) : Trial(triedSubject)
{
    command = makeCommand(make);
}

std::shared_ptr<CommandBase> Trial::makeCommand(const CommandSubject::Maker& make) const
{
    std::shared_ptr<CommandBase> made;
    Mistake::guard("Making the command", [&] { made = make(world); });
    if (made == nullptr)
    {
        throw Mistake("Making the command gives an empty pointer");
    }
    return made;
}

void Trial::forgetCommand()
{
    command.reset();
}

const CommandSubject::World& Trial::getWorld() const
{
    return world;
}

const std::shared_ptr<CommandBase>& Trial::getCommand() const
{
    return command;
}

CommandManager& Trial::getManager()
{
    return manager;
}

Snapshot Trial::takeSnapshot() const
{
    std::optional<Snapshot> snapshot;
    Mistake::guard("Taking a snapshot", [&] { snapshot = subject.takeSnapshot(world); });
    return *snapshot; // NOLINT(bugprone-unchecked-optional-access) else guard() has thrown
}

void Trial::expect(const Snapshot& expected, const std::string& when, const std::string& asWhen) const
{
    Mistake::unlessEqual(expected, takeSnapshot(), when + " the data are not " + asWhen);
}

void Trial::add(const std::string& step, const std::shared_ptr<CommandBase>& added)
{
    run(step, [&] { return manager.addCommand(added); });
}

void Trial::execute(const std::string& step)
{
    executeOrLeaveNothing(false, [&] { Mistake::guard(step, [this] { command->execute(); }); });
}

void Trial::add(const std::string& step)
{
    executeOrLeaveNothing(false, [&] { add(step, command); });
}

void Trial::addAsItMust(const std::string& step)
{
    mustBeThreaded() ? addThreaded(step) : add(step);
}

void Trial::undo(const std::string& step)
{
    run(step, [this] { return manager.undo(1); });
}

void Trial::redo(const std::string& step)
{
    run(step, [this] { return manager.redo(1); });
}

void Trial::startThreads()
{
    if (const auto macro = std::dynamic_pointer_cast<ThreadedMacroCommand>(command))
    {
        manager.addThreadedCommand(macro);
    }
    else
    {
        manager.addThreadedCommand(std::dynamic_pointer_cast<ThreadedCommand>(command));
    }
}

void Trial::addThreaded(const std::string& step)
{
    const auto operation = [this]
    {
        startThreads();
        while (manager.getCurrentThreadedCommand() != nullptr)
        {
            manager.finalizeThread();
        }
        return !failure.has_value();
    };
    executeOrLeaveNothing(true, [&] { run(step, operation); });
}

bool Trial::isThreaded() const
{
    return dynamic_cast<const ThreadedCommand*>(command.get()) != nullptr ||
           dynamic_cast<const ThreadedMacroCommand*>(command.get()) != nullptr;
}

bool Trial::mustBeThreaded() const
{
    return dynamic_cast<const DelayedInitializedCommand*>(command.get()) != nullptr;
}

void Trial::run(const std::string& step, const std::function<bool()>& operation)
{
    failure.reset();
    bool isDone = false;
    Mistake::guard(step, [&] { isDone = operation(); });
    if (!isDone)
    {
        throw Mistake(step + " fails: " + failure.value_or("the manager does not say why"));
    }
}

// What fails tells what it has left behind.
void Trial::executeOrLeaveNothing(bool rollsThreadsBack, const std::function<void()>& call) const
{
    const Snapshot before = takeSnapshot();
    try
    {
        call();
    }
    catch (const Mistake& mistake)
    {
        const bool isMacro = dynamic_cast<const MacroCommand*>(command.get()) != nullptr;
        const bool isForeign = dynamic_cast<const ForeignMistake*>(&mistake) != nullptr;
        const bool isOfThreads = dynamic_cast<const ThreadedMacroCommand*>(command.get()) != nullptr;
        if (!(isMacro && isForeign) && !(isOfThreads && !rollsThreadsBack))
        {
            Mistake::unlessEqual(before, takeSnapshotAfter(mistake),
                                 mistake.what() + std::string("; then the data are not as before"));
        }
        throw;
    }
}

Snapshot Trial::takeSnapshotAfter(const Mistake& mistake) const
{
    try
    {
        return takeSnapshot();
    }
    catch (const Mistake& second)
    {
        throw Mistake(mistake.what() + std::string("; then: ") + second.what());
    }
}

Report Trial::begin(const std::string& check, const CommandSubject& subject,
                    const CommandSubject::Maker& make)
{
    try
    {
        const Trial trial(subject, make);
        std::string description;
        Mistake::guard("getLogDescription()", [&] { description = trial.command->getLogDescription(); });
        return Report(check + " of \"" + description + "\"");
    }
    catch (const Mistake&)
    {
        return Report(check);
    }
}

} // namespace Valdane

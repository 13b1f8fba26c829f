#include "Service/CommandTesting/Trial.h"

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandTesting/Mistake.h"

#include <optional>

namespace Valdane
{
namespace
{

void failWith(const std::string& step, const std::string& text)
{
    throw Mistake(step + " fails: " + (text.empty() ? "the manager does not say why" : text));
}

} // namespace

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
        Mistake::guard("Making the module access interface",
                       [this] { manager.setModuleAccessInterface(subject.modules(world)); });
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
    return *snapshot;
}

void Trial::expect(const Snapshot& expected, const std::string& when, const std::string& asWhen) const
{
    const Snapshot found = takeSnapshot();
    if (!(expected == found))
    {
        throw Mistake(when + " the data are not " + asWhen + ":\n" + expected.differenceTo(found));
    }
}

void Trial::add(const std::string& step)
{
    bool isDone = false;
    Mistake::guard(step, [&] { isDone = manager.addCommand(command); });
    if (!isDone)
    {
        failWith(step, failure);
    }
}

void Trial::undo(const std::string& step)
{
    bool isDone = false;
    Mistake::guard(step, [&] { isDone = manager.undo(1); });
    if (!isDone)
    {
        failWith(step, failure);
    }
}

void Trial::redo(const std::string& step)
{
    bool isDone = false;
    Mistake::guard(step, [&] { isDone = manager.redo(1); });
    if (!isDone)
    {
        failWith(step, failure);
    }
}

Report Trial::begin(const std::string& check, const CommandSubject& subject,
                    const CommandSubject::Maker& make)
{
    try
    {
        const Trial trial(subject, make);
        return Report(check + " of \"" + trial.command->getLogDescription() + "\"");
    }
    catch (const Mistake&)
    {
        return Report(check);
    }
}

} // namespace Valdane

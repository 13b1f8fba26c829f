#include "Service/Editing/ThreadedRun.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Editing/ThreadedRunPrivate.h"

#include <utility>

namespace Valdane
{

ThreadedRun::ThreadedRun(CommandManager& commandManager, PostFunction post, Edits edits, Clock clock,
                         RunEndFunction onRunEnd)
    : d(std::make_shared<Private>(commandManager, std::move(post), edits, std::move(clock),
                                  std::move(onRunEnd)))
{
}

ThreadedRun::~ThreadedRun()
{
    d->close();
}

void ThreadedRun::start(std::shared_ptr<ThreadedCommand> command)
{
    // The manager is named before the call, which may destroy this object.
    d->start(command, [&manager = d->manager, &command] { manager.addThreadedCommand(command); });
}

void ThreadedRun::start(std::shared_ptr<ThreadedMacroCommand> command)
{
    d->start(command, [&manager = d->manager, &command] { manager.addThreadedCommand(command); });
}

void ThreadedRun::abort()
{
    d->abort();
}

bool ThreadedRun::isRunning() const
{
    return d->isRunning();
}

std::optional<ThreadedRun::Progress> ThreadedRun::getProgress() const
{
    return d->getProgress();
}

bool ThreadedRun::addCommand(std::shared_ptr<CommandBase> command)
{
    if (command == nullptr)
    {
        return false;
    }
    const std::string name = "'" + command->getDescription() + "'";
    return d->edit(name, [&manager = d->manager, command] { return manager.addCommand(command); });
}

bool ThreadedRun::undo(std::uint64_t count)
{
    return d->edit("An undo", [&manager = d->manager, count] { return manager.undo(count); });
}

bool ThreadedRun::redo(std::uint64_t count)
{
    return d->edit("A redo", [&manager = d->manager, count] { return manager.redo(count); });
}

bool ThreadedRun::edit(const std::string& name, std::function<bool()> work)
{
    return d->edit("'" + name + "'", std::move(work));
}

Signals::Connection ThreadedRun::connectToSigStarted(const Signals::Slot<void()>& slot)
{
    return d->told->started.connect(slot);
}

Signals::Connection ThreadedRun::connectToSigProgress(const Signals::Slot<void(const Progress&)>& slot)
{
    return d->connectToProgress(slot);
}

Signals::Connection
ThreadedRun::connectToSigFinished(const Signals::Slot<void(Result, const std::string&)>& slot)
{
    return d->told->finished.connect(slot);
}

} // namespace Valdane

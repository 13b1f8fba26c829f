#include "Service/CommandPattern/ThreadedCommand.h"

#include "Service/CommandPattern/RunFinishedSignal.h"

namespace Valdane
{

ThreadedCommand::ThreadedCommand() : Thread(std::string()) {}

ThreadedCommand::ThreadedCommand(const std::string& text) : CommandBase(text), Thread(text) {}

ThreadedCommand::~ThreadedCommand() = default;

void ThreadedCommand::execute()
{
    prepareRun();
    run();
    finishRun();
}

bool ThreadedCommand::isAddableToCommandManager() const
{
    return true;
}

void ThreadedCommand::connectToRunFinishedSignal(const Signals::Slot<void(bool, const CommandBase*)>& slot)
{
    connectOnce(valdaneRunFinishedSignal, slot);
}

void ThreadedCommand::sendFinishSignal(bool ok)
{
    Thread::sendFinishSignal(ok);
    emitOnce(valdaneRunFinishedSignal, ok, *this);
}

} // namespace Valdane

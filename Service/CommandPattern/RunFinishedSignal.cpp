#include "Service/CommandPattern/RunFinishedSignal.h"

#include "Platform/Signals/Connection.h"

#include <utility>

namespace Valdane
{

void connectOnce(RunFinishedSignal& signal, const Signals::Slot<void(bool, const CommandBase*)>& slot)
{
    if (signal == nullptr)
    {
        signal = std::make_unique<Signals::Signal<void(bool, const CommandBase*)>>();
    }
    signal->connect(slot).releaseWithoutDisconnect();
}

void emitOnce(RunFinishedSignal& signal, bool ok, const CommandBase& command)
{
    // Taken out first: each slot is told once, also if one throws, or emits again, or connects for the next
    // run.
    if (const RunFinishedSignal ended = std::exchange(signal, nullptr))
    {
        (*ended)(ok, &command);
    }
}

} // namespace Valdane

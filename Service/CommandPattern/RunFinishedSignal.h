#pragma once

#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"

#include <memory>

namespace Valdane
{

class CommandBase;

/// Emitted once, at the end of a run; null without slots.
using RunFinishedSignal = std::unique_ptr<Signals::Signal<void(bool, const CommandBase*)>>;

/// Connects @p slot for as long as the signal lasts, making the signal if there is none.
void connectOnce(RunFinishedSignal& signal, const Signals::Slot<void(bool, const CommandBase*)>& slot);

/// Emits the signal, if there is one, and destroys it. A slot that is connected during the emission
/// is for the next run.
void emitOnce(RunFinishedSignal& signal, bool ok, const CommandBase& command);

} // namespace Valdane

#pragma once

#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"

#include <memory>

namespace Valdane
{

class CommandBase;

/// A signal that tells of the end of one run; empty while nobody wants to know.
using RunFinishedSignal = std::unique_ptr<Signals::Signal<void(bool, const CommandBase*)>>;

/// Connects @p slot for as long as the signal lasts, making the signal if there is none.
void connectOnce(RunFinishedSignal& signal, const Signals::Slot<void(bool, const CommandBase*)>& slot);

/// Emits the signal, if there is one, and destroys it. A slot that is connected meanwhile is for the next
/// run.
void emitOnce(RunFinishedSignal& signal, bool ok, const CommandBase& command);

} // namespace Valdane

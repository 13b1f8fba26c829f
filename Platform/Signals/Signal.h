#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Private/SignalHandler.h"
#include "Platform/Signals/Private/SlotList.h"
#include "Platform/Signals/Private/Trackable.h"
#include "Platform/Signals/Slot.h"

namespace Valdane::Signals
{

/// Where in the calling order a slot is connected.
enum class ConnectPosition
{
    Back = 0,  ///< after all slots that are connected now
    Front = 1, ///< before all slots that are connected now
};

template <typename Signature>
class Signal;

/// Calls the slots that are connected to it: synchronously, on the calling thread, one after another.
///
/// ```
/// Signal<void(const std::string&)> changed;
/// Connection connection = changed.connect([](const std::string& name) { std::cout << name; });
/// changed("pump");
/// ```
///
/// A slot may do all of this while it is called, to the signal that calls it too: connect, disconnect itself
/// or others, destroy connections, emit the signal again, destroy the signal.
/// - A slot that is connected during an emission is first called in the next one; one that is begun from
///   within a slot is a next one.
/// - A slot that is disconnected during an emission is not called any more.
/// - When the signal is destroyed all its slots are disconnected, so an emission under way ends with the slot
///   that did it.
///
/// Deliberately unlike Boost.Signals2, whose behaviour it has otherwise: there are no locks, groups,
/// combiners and results; an empty function is refused when the slot is made; arguments by value are shared
/// by all slots (see Slot); connections disconnect when they are destroyed; an emission ends when its signal
/// is destroyed.
///
/// Neither copied nor moved. One pointer wide; allocates nothing until the first connect. No lock is ever
/// taken.
///
/// Ownership: owns copies of the slots; connections own nothing of it and may outlive it.
/// Thread: one thread at a time, together with its connections; a hand-over to another thread needs
/// synchronisation. Different signals are independent.
template <typename... Args>
class Signal<void(Args...)> : private Private::Trackable, private Private::SignalHandler<void(Args...)>
{
public:
    Signal() noexcept = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    /// Disconnects all slots; see Connection for what happens to their callables.
    ~Signal()
    {
        this->close();
    }

    /// Connects a copy of @p slot.
    ///
    /// From within the destructor of the signal (by the destructor of a callable) nothing can be connected
    /// any more; the result is then connected to nothing.
    ///
    /// @return the connection; the slot is disconnected when it is destroyed.
    /// @throws std::bad_function_call if @p slot was moved from; std::bad_alloc; what copying the callable
    ///         throws. The signal is unchanged then.
    /// Complexity: O(1).
    [[nodiscard]] Connection connect(const Slot<void(Args...)>& slot,
                                     ConnectPosition position = ConnectPosition::Back)
    {
        return this->connectSlot(slot, position == ConnectPosition::Front);
    }

    /// Calls all connected slots with the arguments, from the front to the back.
    ///
    /// An argument declared by value is copied once, into this call, and all slots see that copy.
    ///
    /// @throws what a slot throws; the slots after it are not called then, and all stay connected.
    /// Complexity: one test without slots; never allocates itself.
    using Private::SignalHandler<void(Args...)>::operator();

private:
    friend class Private::SignalHandler<void(Args...)>;
};

} // namespace Valdane::Signals

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

/// Calls its connected slots one after another, synchronously and on the calling thread.
///
/// ```
/// Signal<void(const std::string&)> changed;
/// Connection connection = changed.connect([](const std::string& name) { std::cout << name; });
/// changed("pump");
/// ```
///
/// A slot may connect slots, disconnect itself or others, destroy connections, emit this signal again, and
/// destroy this signal, all while the signal is calling it.
/// - A slot that is connected during an emission is first called in the next one. An emission that a slot starts
///   counts as the next one.
/// - A slot that is disconnected during an emission is not called any more, not even in this emission.
/// - Destroying the signal disconnects all slots. A running emission then ends with the current slot.
///
/// It behaves as Boost.Signals2, except for these:
/// - There are no locks, groups, combiners and results.
/// - An empty function is refused when the slot is made.
/// - An argument that is declared by value is copied once for all slots, not once for each (see Slot).
/// - A connection disconnects when it is destroyed.
/// - An emission ends when its signal is destroyed.
///
/// Cannot be copied or moved. Size: one pointer. Allocates nothing until the first connect. Never takes a lock.
///
/// Ownership: owns copies of the slots. Connections own nothing of it and may outlive it.
/// Thread: one thread at a time, together with its connections; a hand-over to another thread needs
/// synchronisation. Different signals are independent.
template <typename... Args>
class Signal<void(Args...)> : private Private::Trackable, private Private::SignalHandler<void(Args...)>
{
public:
    Signal() noexcept = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    /// Disconnects all slots, and destroys their callables as Connection says.
    ~Signal()
    {
        this->close();
    }

    /// Connects a copy of @p slot.
    ///
    /// While the signal is being destroyed, this connects nothing and returns an empty connection.
    ///
    /// @return the connection, which disconnects the slot when it is destroyed.
    /// @throws std::bad_function_call if @p slot was moved from; std::bad_alloc; whatever copying the
    ///         callable throws. The signal is then unchanged.
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
    /// @throws whatever a slot throws. The slots after it are not called; all stay connected.
    /// Complexity: linear in the number of slots; without slots it costs one test. Allocates nothing itself.
    using Private::SignalHandler<void(Args...)>::operator();

private:
    friend class Private::SignalHandler<void(Args...)>;
};

} // namespace Valdane::Signals

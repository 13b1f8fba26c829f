#pragma once

#include "Platform/Signals/Private/SlotList.h"
#include "Platform/Signals/Private/SlotNode.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <utility>

namespace Valdane::Signals
{

namespace Private
{
template <typename Signature>
class SignalHandler;
} // namespace Private

/// Owns the connection of one slot to one signal, and disconnects the slot when it is destroyed.
///
/// A disconnected slot is not called again, not even by an emission that is running. Its callable is destroyed
/// before the disconnecting operation returns. A callable that is running is destroyed when its call returns, or
/// the outermost call if it runs recursively. The callable's destructor may connect, disconnect and destroy
/// whatever it likes.
///
/// A connection may outlive its signal, and may be destroyed by its own slot. Connecting, disconnecting and
/// moving never block. No operation of this class throws.
///
/// Ownership: shares nothing with the caller. Size: one pointer.
/// Thread: one thread at a time, together with its signal; a hand-over to another thread needs
/// synchronisation.
class [[nodiscard]] Connection
{
public:
    /// Connected to nothing.
    Connection() noexcept = default;

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Takes over @p other, which is then connected to nothing.
    Connection(Connection&& other) noexcept = default;

    /// Takes over @p other, which is then connected to nothing, and disconnects the previous slot.
    ///
    /// Assigning a connection to itself changes nothing.
    Connection& operator=(Connection&& other) noexcept
    {
        Connection previous(std::move(other));
        node.swap(previous.node);
        return *this;
    }

    /// Disconnects.
    ~Connection()
    {
        disconnect();
    }

    /// Disconnects the slot, and is then connected to nothing; does nothing if it is not connected.
    ///
    /// Complexity: O(1).
    void disconnect() noexcept
    {
        if (const boost::intrusive_ptr<Private::SlotNode> slot = std::move(node))
        {
            Private::SlotList::disconnect(*slot);
        }
    }

    /// Whether an emission would call the slot: it is not disconnected, and its signal and all objects that it
    /// tracks exist.
    bool connected() const noexcept
    {
        return node != nullptr && node->isConnected();
    }

    /// Leaves the slot connected until its signal is destroyed. This connection is then connected to nothing.
    void releaseWithoutDisconnect() noexcept
    {
        node.reset();
    }

private:
    template <typename Signature>
    friend class Private::SignalHandler;

    explicit Connection(boost::intrusive_ptr<Private::SlotNode> slot) noexcept : node(std::move(slot)) {}

    boost::intrusive_ptr<Private::SlotNode> node;
};

} // namespace Valdane::Signals

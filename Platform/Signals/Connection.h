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

/// Owns the connection of one slot to one signal: when it goes, the slot is disconnected.
///
/// A slot that is disconnected is not called any more, not even by an emission that is under way. Its
/// callable is destroyed before the disconnecting operation returns, or, if it is running, when that call
/// (the outermost one, if it runs recursively) returns. The callable's destructor may connect, disconnect and
/// destroy whatever it likes.
///
/// A connection may outlive its signal, and may be destroyed by its own slot. Connecting, disconnecting and
/// moving never block; nothing here throws.
///
/// Ownership: shares nothing with the caller; is one pointer wide.
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

    /// Takes over @p other, which is then connected to nothing, and disconnects what it had before.
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

    /// Whether the slot would be called: it has not been disconnected, its signal lives and so does all that
    /// it tracks.
    bool connected() const noexcept
    {
        return node != nullptr && node->isConnected();
    }

    /// Leaves the slot connected as long as its signal lives, and is then connected to nothing itself.
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

#pragma once

#include "Platform/Signals/Private/TrackedObjects.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <cstdint>
#include <utility>

namespace Valdane::Signals::Private
{

class SlotList;

/// One connected slot: its place in the signal's list and what it tracks; a derived class has the callable.
///
/// Ownership: shared by the list, as long as it is linked there, and by its connection.
/// Thread: as the signal.
class SlotNode : public boost::intrusive_ref_counter<SlotNode, boost::thread_unsafe_counter>
{
public:
    SlotNode(const SlotNode&) = delete;
    SlotNode& operator=(const SlotNode&) = delete;
    virtual ~SlotNode() = default;

    /// Whether an emission may call the slot: neither disconnected nor without an object that it tracks.
    bool isConnected() const noexcept
    {
        return connected && !trackedObjects.hasExpired();
    }

protected:
    explicit SlotNode(TrackedObjects tracked) noexcept : trackedObjects(std::move(tracked)) {}

    const TrackedObjects& tracked() const noexcept
    {
        return trackedObjects;
    }

private:
    friend class SlotList;

    /// Destroys the callable; user code may run before it returns.
    virtual void destroyCallable() noexcept = 0;

    std::uint32_t calls = 0;  ///< of the callable that have not returned
    SlotList* list = nullptr; ///< valid while linked
    SlotNode* previous = nullptr;
    boost::intrusive_ptr<SlotNode> next;
    std::uint64_t serial = 0;
    std::uint32_t cursors = 0; ///< that stand on this node; while there are any it is not unlinked
    bool connected = false;
    bool hasCallable = true;
    TrackedObjects trackedObjects;
};

} // namespace Valdane::Signals::Private

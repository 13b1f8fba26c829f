#pragma once

#include "Platform/Signals/Private/SlotList.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>

namespace Valdane::Signals::Private
{

/// The part of a signal that connections and emissions keep track of: its list of slots, which may outlive
/// it.
///
/// Empty, and one pointer wide, until a list is asked for. Neither copied nor moved.
///
/// Thread: as the signal.
class Trackable
{
public:
    Trackable() noexcept = default;
    Trackable(const Trackable&) = delete;
    Trackable& operator=(const Trackable&) = delete;
    ~Trackable() = default;

    /// The list, or null if none was needed yet.
    SlotList* slotList() const noexcept
    {
        return list.get();
    }

    /// The list, made now if there is none.
    ///
    /// @throws std::bad_alloc
    SlotList& makeSlotList()
    {
        if (list == nullptr)
        {
            list.reset(new SlotList);
        }
        return *list;
    }

    /// Disconnects all slots and lets no further one in.
    ///
    /// To be called first in the destructor of the whole signal: destructors of callables that come back to
    /// the signal then still find all of it.
    // Inlined, it makes g++ 12 warn, in whoever destroys a signal, that the list is used after it was deleted.
    [[gnu::noinline]] void close() noexcept
    {
        if (list != nullptr)
        {
            list->close();
        }
    }

private:
    boost::intrusive_ptr<SlotList> list;
};

} // namespace Valdane::Signals::Private

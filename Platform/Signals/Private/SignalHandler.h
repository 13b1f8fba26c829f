#pragma once

#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Private/SlotList.h"
#include "Platform/Signals/Private/SlotNode.h"
#include "Platform/Signals/Private/Trackable.h"
#include "Platform/Signals/Slot.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <functional>
#include <memory>

namespace Valdane::Signals
{

template <typename Signature>
class Signal;

namespace Private
{

template <typename Signature>
class SignalHandler;

/// The part of a signal that knows the arguments: connects slots and calls them. Has no state of its own.
///
/// Thread: as the signal.
template <typename... Args>
class SignalHandler<void(Args...)>
{
public:
    SignalHandler(const SignalHandler&) = delete;
    SignalHandler& operator=(const SignalHandler&) = delete;

    // The test for slots is inlined wherever a signal is emitted: that saves 8 instructions of an emission to nobody.
    [[gnu::always_inline]] void operator()(Args... args) const
    {
        SlotList* const list = static_cast<const Signal<void(Args...)>&>(*this).slotList();
        if (list != nullptr && !list->isEmpty())
        {
            callSlots(*list, args...);
        }
    }

protected:
    SignalHandler() noexcept = default;
    ~SignalHandler() = default;

    Connection connectSlot(const Slot<void(Args...)>& slot, bool atFront)
    {
        if (slot.callable == nullptr)
        {
            throw std::bad_function_call();
        }
        // The node first: if the list was made and the node failed, the signal would be left changed.
        auto node = std::make_unique<Node>(slot);
        SlotList& list = static_cast<Signal<void(Args...)>&>(*this).makeSlotList();
        if (list.isClosed())
        {
            return {};
        }
        const boost::intrusive_ptr<SlotNode> shared(node.release());
        list.insert(shared, atFront);
        return Connection(shared);
    }

private:
    class Node final : public SlotNode
    {
    public:
        explicit Node(const Slot<void(Args...)>& slot)
            : SlotNode(slot.trackedObjects), callable(slot.callable)
        {
        }

        void call(SlotArgument<Args>... args)
        {
            if (tracked().isEmpty())
            {
                callFunction(args...);
            }
            else
            {
                callTracked(args...);
            }
        }

    private:
        // Out of the way of slots that track nothing.
        [[gnu::noinline]] void callTracked(SlotArgument<Args>... args)
        {
            if (!tracked().callLocked([&] { callFunction(args...); }))
            {
                SlotList::disconnect(*this);
            }
        }

        void callFunction(SlotArgument<Args>... args)
        {
            const SlotList::Call running(*this);
            callable(args...);
        }

        void destroyCallable() noexcept override
        {
            callable = nullptr;
        }

        std::function<void(SlotArgument<Args>...)> callable;
    };

    // Apart from the test, so that this can be inlined where a signal is emitted; static, because a slot may
    // destroy the signal.
    static void callSlots(SlotList& list, SlotArgument<Args>... args)
    {
        for (SlotList::Cursor cursor(list); !cursor.atEnd(); cursor.advance())
        {
            if (cursor.isDue())
            {
                static_cast<Node&>(cursor.node()).call(args...);
            }
        }
    }
};

} // namespace Private

} // namespace Valdane::Signals

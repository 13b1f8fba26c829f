#pragma once

#include "Platform/Signals/Private/SlotNode.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <cstdint>
#include <utility>

namespace Valdane::Signals::Private
{

/// The slots of a signal, in calling order. Survives the signal if a slot destroys it.
///
/// Two things keep a disconnected node. A cursor on it keeps it linked, so that every emission finds the next node.
/// A running call keeps its callable. Without a call the callable is destroyed at once; without a cursor the node
/// is unlinked at once. A callable's destructor may come back to any of this, so all fields are set before it runs.
///
/// The list is our own because every command emits two signals. In turns with Boost.Signals2, in one process, an
/// emission to one slot took 0.07 to 0.09 of its time (medians of three runs; Benchmarks/README.md has another
/// measurement).
///
/// Ownership: shared by the signal and its running emissions.
/// Thread: as the signal.
class SlotList : public boost::intrusive_ref_counter<SlotList, boost::thread_unsafe_counter>
{
public:
    class Cursor;
    class Call;

    SlotList() noexcept = default;
    SlotList(const SlotList&) = delete;
    SlotList& operator=(const SlotList&) = delete;
    ~SlotList() = default;

    bool isEmpty() const noexcept
    {
        return first == nullptr;
    }

    /// Whether the signal is being, or has been, destroyed.
    bool isClosed() const noexcept
    {
        return closed;
    }

    /// @pre not closed, and @p node was in no list before (not checked).
    void insert(boost::intrusive_ptr<SlotNode> node, bool atFront) noexcept
    {
        node->list = this;
        node->serial = nextSerial++;
        node->connected = true;
        atFront ? prepend(std::move(node)) : append(std::move(node));
    }

    /// Disconnects @p node from its list; nothing if it is not connected.
    static void disconnect(SlotNode& node) noexcept
    {
        if (!node.connected)
        {
            return;
        }
        const boost::intrusive_ptr<SlotNode> disconnected(&node);
        node.connected = false;
        if (node.cursors == 0)
        {
            node.list->unlink(node);
        }
        destroyIdleCallable(node);
    }

    /// Disconnects all nodes, for good.
    void close() noexcept;

private:
    void append(boost::intrusive_ptr<SlotNode> node) noexcept
    {
        node->previous = last;
        last = node.get();
        (node->previous != nullptr ? node->previous->next : first) = std::move(node);
    }

    void prepend(boost::intrusive_ptr<SlotNode> node) noexcept
    {
        (first != nullptr ? first->previous : last) = node.get();
        node->next = std::move(first);
        first = std::move(node);
    }

    // These two are rare; inlined, they would weigh on the walk.
    [[gnu::noinline]] void remove(SlotNode& node) noexcept
    {
        const boost::intrusive_ptr<SlotNode> removed(&node);
        unlink(node);
        destroyIdleCallable(node);
    }

    [[gnu::noinline]] static void destroyIdleCallable(SlotNode& node) noexcept
    {
        if (node.calls == 0 && std::exchange(node.hasCallable, false))
        {
            node.destroyCallable();
        }
    }

    void unlink(SlotNode& node) noexcept
    {
        const boost::intrusive_ptr<SlotNode> following = std::move(node.next);
        (following != nullptr ? following->previous : last) = node.previous;
        (node.previous != nullptr ? node.previous->next : first) = following;
    }

    boost::intrusive_ptr<SlotNode> first;
    SlotNode* last = nullptr;
    std::uint64_t nextSerial = 0;
    bool closed = false;
};

/// A walk over the nodes that stays valid whatever happens to the list, its nodes and its signal.
class SlotList::Cursor
{
public:
    explicit Cursor(SlotList& walked) noexcept
        : list(&walked), end(walked.nextSerial), current(walked.first.get())
    {
        enter(current);
    }

    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    ~Cursor()
    {
        leave(current);
    }

    bool atEnd() const noexcept
    {
        return current == nullptr;
    }

    /// @pre not at the end (not checked).
    SlotNode& node() const noexcept
    {
        return *current;
    }

    /// Whether the node is not disconnected, and was connected before the walk began.
    bool isDue() const noexcept
    {
        return current->connected && current->serial < end;
    }

    void advance() noexcept
    {
        SlotNode* const following = current->next.get();
        // Entered before the current node is left, which may run a destructor that disconnects the following
        // one.
        enter(following);
        leave(std::exchange(current, following));
    }

private:
    static void enter(SlotNode* node) noexcept
    {
        if (node != nullptr)
        {
            ++node->cursors;
        }
    }

    void leave(SlotNode* node) noexcept
    {
        if (node != nullptr && --node->cursors == 0 && !node->connected)
        {
            list->remove(*node);
        }
    }

    boost::intrusive_ptr<SlotList> list;
    std::uint64_t end;
    SlotNode* current;
};

/// A call of a node's callable, which is not destroyed before the outermost one ends.
///
/// @pre a cursor stands on the node (not checked).
class SlotList::Call
{
public:
    explicit Call(SlotNode& called) noexcept : node(called)
    {
        ++node.calls;
    }

    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    ~Call()
    {
        --node.calls;
        if (!node.connected)
        {
            destroyIdleCallable(node);
        }
    }

private:
    SlotNode& node;
};

inline void SlotList::close() noexcept
{
    closed = true;
    for (SlotNode* node = first.get(); node != nullptr; node = node->next.get())
    {
        node->connected = false;
    }
    for (Cursor cursor(*this); !cursor.atEnd(); cursor.advance())
    {
        destroyIdleCallable(cursor.node());
    }
}

} // namespace Valdane::Signals::Private

#pragma once

#include "Service/CommandPattern/QueuedCommand.h"

#include <boost/circular_buffer.hpp>

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

namespace Valdane
{

/// A queue of entries: the oldest at the front, the one to be undone or redone next at the back.
///
/// Only growing can fail. What is taken out has left the queue before its command can die, because a
/// command's destructor may call the manager.
///
/// Cost: constant, amortised for pushBack(). One allocation for 32 entries; none where as many are taken, at
/// either end, as are put in, nor for a queue that was never filled.
/// Thread: as CommandManager.
class CommandQueue
{
public:
    class Hold;

    CommandQueue() noexcept = default;
    CommandQueue(const CommandQueue&) = delete;
    CommandQueue& operator=(const CommandQueue&) = delete;

    /// Destroys the oldest entry first.
    ~CommandQueue();

    bool empty() const noexcept
    {
        return count == 0;
    }

    std::size_t size() const noexcept
    {
        return count;
    }

    /// The entry that has @p index older ones in the queue. @pre there is one (not checked).
    const QueuedCommand& operator[](std::size_t index) const noexcept
    {
        return placeAt(index);
    }

    QueuedCommand& operator[](std::size_t index) noexcept
    {
        return placeAt(index);
    }

    /// @pre not empty (not checked).
    const QueuedCommand& front() const noexcept
    {
        return (*this)[0];
    }

    /// @pre not empty (not checked).
    const QueuedCommand& back() const noexcept
    {
        return *last;
    }

    /// Makes sure that the next pushBack() does not fail. @throws std::bad_alloc
    ///
    /// @param other  gives a block that it does not need, so that entries can move between two queues without
    ///               an allocation.
    void reserveOne(CommandQueue& other)
    {
        if (skipped + count == blocks.size() * BlockSize)
        {
            addBlock(other);
        }
    }

    /// @throws std::bad_alloc, the queue and @p entry then unchanged; not after reserveOne().
    void pushBack(QueuedCommand&& entry)
    {
        reserveOne(*this);
        endHold();
        last = isBlockLimit() ? &placeAt(count) : last + 1;
        *last = std::move(entry);
        ++count;
    }

    /// @pre not empty (not checked).
    QueuedCommand takeFront() noexcept;

    /// @pre not empty (not checked).
    QueuedCommand takeBack() noexcept
    {
        endHold();
        QueuedCommand taken = std::move(*last);
        --count;
        if (isBlockLimit())
        {
            dropSpareBlock();
            last = empty() ? nullptr : &placeAt(count - 1);
        }
        else
        {
            --last;
        }
        return taken;
    }

    /// Empties the queue, then destroys the entries, the oldest first.
    void dropAll() noexcept;

private:
    static constexpr std::size_t BlockSize = 32;

    /// An entry that was taken out leaves an empty one.
    using Block = std::array<QueuedCommand, BlockSize>;

    /// Whether the place behind the entries is not in the same block as the last of them.
    bool isBlockLimit() const noexcept
    {
        return count == 0 || (skipped + count) % BlockSize == 0;
    }

    QueuedCommand& placeAt(std::size_t index) const noexcept
    {
        return (*blocks[(skipped + index) / BlockSize])[(skipped + index) % BlockSize];
    }

    void endHold() noexcept;
    void addBlock(CommandQueue& other);
    bool hasSpareBlock() const noexcept;
    void dropSpareBlock() noexcept;

    /// The entries lie in consecutive places of these blocks. One block at the end may have none.
    boost::circular_buffer<std::unique_ptr<Block>> blocks;
    /// The places before the oldest entry; less than a block.
    std::size_t skipped = 0;
    std::size_t count = 0;
    /// The place of the entry at the back, if there is one.
    QueuedCommand* last = nullptr;
    /// What holds the entry at the back; null if nothing does.
    Hold* hold = nullptr;
};

/// The entry at the back of a queue, whose command stays alive while it runs, whatever it does with the
/// queues.
///
/// The command's pointer is copied only when the queue is about to change: copying a shared pointer is dear.
class CommandQueue::Hold
{
public:
    /// @pre @p heldQueue is not empty, and outlives this (not checked).
    explicit Hold(CommandQueue& heldQueue) noexcept
        : queue(heldQueue), modules(heldQueue.back().sharedModules)
    {
        queue.endHold();
        queue.hold = this;
    }

    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    ~Hold()
    {
        if (isInQueue())
        {
            queue.hold = nullptr;
        }
    }

    /// The entry as it was in the beginning. Removes it from the queue if it is, or is again, at the back.
    QueuedCommand take() noexcept
    {
        if (isInQueue())
        {
            queue.hold = nullptr;
            QueuedCommand taken = queue.takeBack();
            taken.sharedModules.swap(modules);
            return taken;
        }
        if (!queue.empty() && queue.back().command == kept)
        {
            queue.takeBack();
        }
        return {std::move(kept), std::move(modules)};
    }

private:
    friend class CommandQueue;

    bool isInQueue() const noexcept
    {
        return queue.hold == this;
    }

    CommandQueue& queue;
    boost::intrusive_ptr<const EntryModules> modules;
    std::shared_ptr<CommandBase> kept;
};

inline void CommandQueue::endHold() noexcept
{
    if (hold != nullptr)
    {
        std::exchange(hold, nullptr)->kept = back().command;
    }
}

} // namespace Valdane

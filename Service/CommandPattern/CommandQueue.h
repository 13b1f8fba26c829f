#pragma once

#include "Service/CommandPattern/QueuedCommand.h"

#include <boost/circular_buffer.hpp>

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

namespace Valdane
{

/// A queue of entries. The oldest is at the front. The one to be undone or redone next is at the back.
///
/// Only growing can fail. An entry that is taken out leaves the queue before its command can be destroyed,
/// because a command's destructor may call the manager.
///
/// Cost: constant, amortised for pushBack(). One allocation for 32 entries. No allocation if as many entries are
/// taken, at either end, as are put in, nor for a queue that was never filled.
/// Thread: as CommandManager.
class CommandQueue
{
public:
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

    /// Makes sure that the next pushBack() does not fail.
    ///
    /// @param other  gives away a block that it does not need. So entries can move between two queues without
    ///               an allocation.
    /// @throws std::bad_alloc, with nothing changed.
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
        if (isBlockLimit())
        {
            reserveOne(*this);
            last = &placeAt(count);
        }
        else
        {
            ++last;
        }
        last->command.swap(entry.command);
        last->sharedModules.swap(entry.sharedModules);
        ++count;
    }

    /// @pre not empty (not checked).
    QueuedCommand takeFront() noexcept;

    /// @pre not empty (not checked).
    QueuedCommand takeBack() noexcept
    {
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

    /// Removes the entry of which @p copy was made, if it is at the back, or is there again.
    ///
    /// @return the entry as it was when it was copied, even if it has left the queue.
    // Inlined in all its callers: that saves 20 of 480 instructions of an undo and of a redo.
    [[gnu::always_inline]] QueuedCommand take(const QueuedCommand& copy) noexcept
    {
        if (empty() || back().command != copy.command)
        {
            return copy;
        }
        QueuedCommand taken = takeBack();
        if (taken.sharedModules != copy.sharedModules)
        {
            taken.sharedModules = copy.sharedModules;
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
};

} // namespace Valdane

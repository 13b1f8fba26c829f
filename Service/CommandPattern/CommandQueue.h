#pragma once

#include "Service/CommandPattern/QueuedCommand.h"

#include <boost/circular_buffer.hpp>

#include <cstddef>
#include <memory>

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
    CommandQueue() noexcept;
    CommandQueue(const CommandQueue&) = delete;
    CommandQueue& operator=(const CommandQueue&) = delete;

    /// Destroys the oldest entry first.
    ~CommandQueue();

    bool empty() const noexcept;
    std::size_t size() const noexcept;

    /// The entry that has @p index older ones in the queue. @pre there is one (not checked).
    const QueuedCommand& operator[](std::size_t index) const noexcept;
    QueuedCommand& operator[](std::size_t index) noexcept;

    /// @pre not empty (not checked).
    const QueuedCommand& front() const noexcept;

    /// @pre not empty (not checked).
    const QueuedCommand& back() const noexcept;

    /// Makes sure that the next pushBack() does not fail. @throws std::bad_alloc
    void reserveOne();

    /// @throws std::bad_alloc, the queue then unchanged; not after reserveOne().
    void pushBack(QueuedCommand entry);

    /// @pre not empty (not checked).
    QueuedCommand takeFront() noexcept;

    /// @pre not empty (not checked).
    QueuedCommand takeBack() noexcept;

    /// Empties the queue, then destroys the entries, the oldest first.
    void dropAll() noexcept;

private:
    struct Block;

    void dropSpareBlock() noexcept;

    /// The entries lie in consecutive places of these blocks. One block at the end may have none.
    boost::circular_buffer<std::unique_ptr<Block>> blocks;
    /// The places before the oldest entry.
    std::size_t skipped = 0;
    std::size_t count = 0;
};

} // namespace Valdane

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
        return placeAt(index).entry;
    }

    QueuedCommand& operator[](std::size_t index) noexcept
    {
        return placeAt(index).entry;
    }

    /// @pre not empty (not checked).
    const QueuedCommand& front() const noexcept
    {
        return (*this)[0];
    }

    /// @pre not empty (not checked).
    const QueuedCommand& back() const noexcept
    {
        return (*this)[count - 1];
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
        std::construct_at(&placeAt(count).entry, std::move(entry));
        ++count;
    }

    /// @pre not empty (not checked).
    QueuedCommand takeFront() noexcept;

    /// @pre not empty (not checked).
    QueuedCommand takeBack() noexcept
    {
        --count;
        QueuedCommand taken = takeFrom(placeAt(count));
        if ((skipped + count) % BlockSize == 0)
        {
            dropSpareBlock();
        }
        return taken;
    }

    /// Empties the queue, then destroys the entries, the oldest first.
    void dropAll() noexcept;

private:
    static constexpr std::size_t BlockSize = 32;

    /// Room for an entry, which is made when it is put in and destroyed when it is taken out.
    union Place
    {
        Place() noexcept {}

        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

        ~Place() {}

        QueuedCommand entry;
    };

    using Block = std::array<Place, BlockSize>;

    Place& placeAt(std::size_t index) const noexcept
    {
        return (*blocks[(skipped + index) / BlockSize])[(skipped + index) % BlockSize];
    }

    static QueuedCommand takeFrom(Place& place) noexcept
    {
        QueuedCommand taken = std::move(place.entry);
        std::destroy_at(&place.entry);
        return taken;
    }

    void addBlock(CommandQueue& other);
    bool hasSpareBlock() const noexcept;
    void dropSpareBlock() noexcept;

    /// The entries lie in consecutive places of these blocks. One block at the end may have none.
    boost::circular_buffer<std::unique_ptr<Block>> blocks;
    /// The places before the oldest entry; less than a block.
    std::size_t skipped = 0;
    std::size_t count = 0;
};

} // namespace Valdane

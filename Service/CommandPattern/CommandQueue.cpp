#include "Service/CommandPattern/CommandQueue.h"

#include <array>
#include <utility>

namespace Valdane
{

namespace
{

constexpr std::size_t BlockSize = 32;

} // namespace

struct CommandQueue::Block
{
    std::array<QueuedCommand, BlockSize> entries;
};

CommandQueue::CommandQueue() noexcept = default;

CommandQueue::~CommandQueue()
{
    while (!empty())
    {
        takeFront();
    }
}

bool CommandQueue::empty() const noexcept
{
    return count == 0;
}

std::size_t CommandQueue::size() const noexcept
{
    return count;
}

const QueuedCommand& CommandQueue::operator[](std::size_t index) const noexcept
{
    const std::size_t place = skipped + index;
    return blocks[place / BlockSize]->entries[place % BlockSize];
}

QueuedCommand& CommandQueue::operator[](std::size_t index) noexcept
{
    return const_cast<QueuedCommand&>(std::as_const(*this)[index]);
}

const QueuedCommand& CommandQueue::front() const noexcept
{
    return (*this)[0];
}

const QueuedCommand& CommandQueue::back() const noexcept
{
    return (*this)[count - 1];
}

void CommandQueue::reserveOne()
{
    if (skipped + count < blocks.size() * BlockSize)
    {
        return;
    }
    if (blocks.full())
    {
        blocks.set_capacity(2 * blocks.capacity() + 1);
    }
    blocks.push_back(std::make_unique<Block>());
}

void CommandQueue::pushBack(QueuedCommand entry)
{
    reserveOne();
    (*this)[count] = std::move(entry);
    ++count;
}

QueuedCommand CommandQueue::takeFront() noexcept
{
    QueuedCommand taken = std::move((*this)[0]);
    --count;
    ++skipped;
    if (skipped == BlockSize)
    {
        // Behind the others, where it is filled next.
        std::unique_ptr<Block> emptied = std::move(blocks.front());
        blocks.pop_front();
        blocks.push_back(std::move(emptied));
        skipped = 0;
        dropSpareBlock();
    }
    return taken;
}

QueuedCommand CommandQueue::takeBack() noexcept
{
    --count;
    QueuedCommand taken = std::move((*this)[count]);
    dropSpareBlock();
    return taken;
}

void CommandQueue::dropAll() noexcept
{
    CommandQueue dropped;
    std::swap(dropped.blocks, blocks);
    std::swap(dropped.skipped, skipped);
    std::swap(dropped.count, count);
}

// Keeps one, so that a queue that becomes shorter and longer in turn does not allocate each time.
void CommandQueue::dropSpareBlock() noexcept
{
    const std::size_t used = (skipped + count + BlockSize - 1) / BlockSize;
    if (blocks.size() > used + 1)
    {
        blocks.pop_back();
    }
}

} // namespace Valdane

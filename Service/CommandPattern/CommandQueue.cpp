#include "Service/CommandPattern/CommandQueue.h"

namespace Valdane
{

CommandQueue::~CommandQueue()
{
    while (!empty())
    {
        takeFront();
    }
}

QueuedCommand CommandQueue::takeFront() noexcept
{
    endHold();
    QueuedCommand taken = std::move(placeAt(0));
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

void CommandQueue::dropAll() noexcept
{
    if (empty())
    {
        return;
    }
    endHold();
    CommandQueue dropped;
    std::swap(dropped.blocks, blocks);
    std::swap(dropped.skipped, skipped);
    std::swap(dropped.count, count);
    std::swap(dropped.last, last);
}

void CommandQueue::addBlock(CommandQueue& other)
{
    if (blocks.full())
    {
        blocks.set_capacity((2 * blocks.capacity()) + 1);
    }
    if (other.hasSpareBlock())
    {
        blocks.push_back(std::move(other.blocks.back()));
        other.blocks.pop_back();
    }
    else
    {
        blocks.push_back(std::make_unique<Block>());
    }
}

bool CommandQueue::hasSpareBlock() const noexcept
{
    return blocks.size() * BlockSize >= skipped + count + BlockSize;
}

// Keeps one, so that a queue that becomes shorter and longer in turn does not allocate each time.
void CommandQueue::dropSpareBlock() noexcept
{
    if (blocks.size() * BlockSize >= skipped + count + 2 * BlockSize)
    {
        blocks.pop_back();
    }
}

} // namespace Valdane

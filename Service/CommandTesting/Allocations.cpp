#include "Service/CommandTesting/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <malloc.h>
#include <new>

namespace
{

constexpr auto never = std::numeric_limits<std::size_t>::max();

thread_local std::size_t countOfThread = 0;
thread_local std::size_t firstToFail = never;
thread_local std::size_t lastToFail = never;

std::atomic<std::uint64_t> allocationsSoFar = 0;
std::atomic<std::uint64_t> blocksInUse = 0;
std::atomic<std::uint64_t> bytesInUse = 0;

bool isToFail() noexcept
{
    const std::size_t number = countOfThread++;
    return number >= firstToFail && number <= lastToFail;
}

#ifdef _WIN32

// What a DLL has made may come here to be released: so malloc() for all, which gives 16 bytes of alignment.
void* allocateAligned(std::size_t size, std::size_t alignment) noexcept
{
    return alignment <= 16 ? std::malloc(size) : nullptr;
}

std::size_t sizeOf(void* block) noexcept
{
    return _msize(block);
}

#else

void* allocateAligned(std::size_t size, std::size_t alignment) noexcept
{
    return std::aligned_alloc(alignment, size);
}

std::size_t sizeOf(void* block) noexcept
{
    return malloc_usable_size(block);
}

#endif

void* counted(void* block)
{
    if (block == nullptr)
    {
        throw std::bad_alloc();
    }
    allocationsSoFar.fetch_add(1, std::memory_order_relaxed);
    blocksInUse.fetch_add(1, std::memory_order_relaxed);
    bytesInUse.fetch_add(sizeOf(block), std::memory_order_relaxed);
    return block;
}

void release(void* block) noexcept
{
    if (block != nullptr)
    {
        blocksInUse.fetch_sub(1, std::memory_order_relaxed);
        bytesInUse.fetch_sub(sizeOf(block), std::memory_order_relaxed);
        std::free(block);
    }
}

} // namespace

// The array and nothrow forms of the standard library come down to these.
void* operator new(std::size_t size)
{
    return counted(isToFail() ? nullptr : std::malloc(size == 0 ? 1 : size));
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    const auto step = static_cast<std::size_t>(alignment);
    return counted(isToFail() ? nullptr : allocateAligned((size + step - 1) / step * step, step));
}

// Algorithms of the standard library get their temporary room by this.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try
    {
        return operator new(size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void operator delete(void* block, const std::nothrow_t&) noexcept
{
    release(block);
}

void operator delete(void* block) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    release(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
    release(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    release(block);
}

namespace Valdane
{

std::size_t allocationCount() noexcept
{
    return countOfThread;
}

HeapUse HeapUse::now() noexcept
{
    return {.allocations = allocationsSoFar.load(), .blocks = blocksInUse.load(), .bytes = bytesInUse.load()};
}

FailingAllocation::FailingAllocation(std::size_t successes, AllocationsThatFail which) noexcept
    : failsAt(countOfThread + successes)
{
    firstToFail = failsAt;
    lastToFail = which == AllocationsThatFail::One ? failsAt : never;
}

FailingAllocation::~FailingAllocation()
{
    firstToFail = never;
}

bool FailingAllocation::hasFailed() const noexcept
{
    return countOfThread > failsAt;
}

} // namespace Valdane

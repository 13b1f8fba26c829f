#include "Service/CommandTesting/Choices.h"

namespace Valdane
{

Choices::Choices(std::uint64_t seed) noexcept : state(seed) {}

std::uint64_t Choices::below(std::uint64_t end) noexcept
{
    state += 0x9e3779b97f4a7c15U;
    std::uint64_t number = state;
    number = (number ^ (number >> 30U)) * 0xbf58476d1ce4e5b9U;
    number = (number ^ (number >> 27U)) * 0x94d049bb133111ebU;
    number ^= number >> 31U;
    return end == 0 ? 0 : number % end;
}

std::int64_t Choices::between(std::int64_t first, std::int64_t last) noexcept
{
    if (last <= first)
    {
        return first;
    }
    const auto distance = static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(first);
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(first) + below(distance + 1));
}

bool Choices::toss() noexcept
{
    return below(2) == 1;
}

} // namespace Valdane

#include "Service/CommandTesting/Choices.h"

namespace Valdane
{
namespace
{

std::uint64_t draw(std::uint64_t& state) noexcept
{
    state += 0x9e3779b97f4a7c15U;
    std::uint64_t number = state;
    number = (number ^ (number >> 30U)) * 0xbf58476d1ce4e5b9U;
    number = (number ^ (number >> 27U)) * 0x94d049bb133111ebU;
    return number ^ (number >> 31U);
}

} // namespace

Choices::Choices(std::uint64_t seed) noexcept : state(seed) {}

std::uint64_t Choices::below(std::uint64_t end) noexcept
{
    const std::uint64_t number = draw(state);
    return end == 0 ? 0 : number % end;
}

std::int64_t Choices::between(std::int64_t first, std::int64_t last) noexcept
{
    if (last <= first)
    {
        return first;
    }
    const auto distance = static_cast<std::uint64_t>(last) - static_cast<std::uint64_t>(first);
    const std::uint64_t count = distance + 1; // 0: every number there is
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(first) +
                                     (count == 0 ? draw(state) : below(count)));
}

bool Choices::toss() noexcept
{
    return below(2) == 1;
}

} // namespace Valdane

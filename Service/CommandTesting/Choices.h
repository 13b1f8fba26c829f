#pragma once

#include "Service/CommandTesting/CommandTestingExport.h"

#include <cstdint>

namespace Valdane
{

/// What a generator of commands draws from: numbers that depend on a seed alone, the same on every machine.
///
///     [](Plant& plant, Choices& choices) -> std::shared_ptr<CommandBase>
///     {
///         const auto part = choices.below(plant.parts.size());
///         return std::make_shared<SetFlow>(plant, part, choices.between(0, 100));
///     }
///
/// Method: SplitMix64 (Steele, Lea, Flood 2014).
/// Thread: one thread at a time.
class VALDANE_COMMANDTESTING_EXPORT Choices
{
public:
    /// @param seed  what all numbers depend on.
    explicit Choices(std::uint64_t seed) noexcept;

    /// A number from 0 to @p end - 1; 0 if @p end is 0.
    std::uint64_t below(std::uint64_t end) noexcept;

    /// A number from @p first to @p last, both included; @p first if @p last is less.
    std::int64_t between(std::int64_t first, std::int64_t last) noexcept;

    /// True or false.
    bool toss() noexcept;

private:
    std::uint64_t state;
};

} // namespace Valdane

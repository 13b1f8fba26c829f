#pragma once

#include <cstddef>

namespace Valdane::Benchmarks
{

/// What a history is measured with.
struct Setting
{
    std::size_t listeners = 1;         ///< of each signal that is listened to
    bool listensToEverySignal = false; ///< otherwise to the one that tells of changes
    std::size_t limit = 0;             ///< of the history's length; 0 for none
};

/// The text of every command, 24 characters, made for each one.
inline constexpr const char* commandText = "Set the pump's flow rate";

/// What listeners do, so that they are called and cost next to nothing.
inline void hear(std::size_t& calls)
{
    ++calls;
}

} // namespace Valdane::Benchmarks

#pragma once

#include <stdexcept>

namespace Valdane
{

/// Thrown where an exception must not be derived from std::exception.
struct Stranger
{
};

[[noreturn]] inline void fail()
{
    throw std::runtime_error("no power");
}

[[noreturn]] inline void failAgain()
{
    throw std::logic_error("stuck");
}

[[noreturn]] inline void failStrangely()
{
    throw Stranger();
}

} // namespace Valdane

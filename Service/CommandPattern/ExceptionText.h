#pragma once

#include <exception>

namespace Valdane
{

/// What @p exception says; an empty text if its `what()` is null.
inline const char* textOf(const std::exception& exception) noexcept
{
    const char* const text = exception.what();
    return text == nullptr ? "" : text;
}

} // namespace Valdane

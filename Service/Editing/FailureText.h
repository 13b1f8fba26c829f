#pragma once

#include <exception>
#include <string>

namespace Valdane
{

/// Sets @p target to @p text, which may be null. It is empty without memory for it: a failure counts all the same.
void setText(std::string& target, const char* text) noexcept;

/// Sets @p target to what @p exception says.
void describe(const std::exception_ptr& exception, std::string& target) noexcept;

} // namespace Valdane

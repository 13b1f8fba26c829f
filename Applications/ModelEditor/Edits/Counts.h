#pragma once

#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace ModelEditor
{

/// The number that @p word is; nothing if it is none of type T.
template <typename T>
std::optional<T> findCount(const std::string& word)
{
    T value{};
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
    const bool isWhole = result.ec == std::errc() && result.ptr == word.data() + word.size();
    return isWhole ? std::optional<T>(value) : std::nullopt;
}

/// The same. @throws VdException if @p word is none, or less than @p least.
template <typename T>
T parseCount(const std::string& word, T least = 0)
{
    const auto count = findCount<T>(word);
    if (!count || *count < least)
    {
        throw Valdane::VdException(shown(word) + " is not a count");
    }
    return *count;
}

} // namespace ModelEditor

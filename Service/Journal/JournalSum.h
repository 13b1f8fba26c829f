#pragma once

#include "Service/Journal/JournalChange.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace Valdane
{

/// The checksums of a journal, by which damage is noticed, not malice.
std::int64_t sumOf(std::string_view bytes);
std::int64_t sumOf(std::int64_t place, std::int64_t kind, std::int64_t depth, std::string_view data);
std::int64_t sumOf(const JournalState& state);

/// A mark as SQLite has numbers.
std::optional<std::int64_t> asInteger(const std::optional<std::uint64_t>& mark);

} // namespace Valdane

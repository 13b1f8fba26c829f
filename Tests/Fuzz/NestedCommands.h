#pragma once

#include <cstdint>
#include <span>

/// Does to a manager, to a collector that feeds it and to macros within macros what @p bytes say, and requires
/// that no command is ever executed twice or undone twice, and that what fails changes nothing.
void playNestedCommands(std::span<const std::uint8_t> bytes);

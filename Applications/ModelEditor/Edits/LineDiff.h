#pragma once

#include <cstddef>
#include <string>

namespace ModelEditor
{

/// What differs between two texts, in lines as other tools show it: `-` is only in @p before, `+` only in @p after, and each
/// group of such lines has the lines around it, below one that tells where they are.
///
/// Very long lines, of a file that has few, are taken apart behind each `>`.
///
/// @param most  so many lines are told, then how many more there are.
/// @return empty if nothing differs.
/// Cost: nearly linear; what has no line in common that would divide it is told as a whole when it is long.
std::string differencesOf(const std::string& before, const std::string& after, std::size_t most);

/// The same for the program `patch`, which makes @p after of @p before, the file @p path: all of it, byte for byte.
std::string patchOf(const std::string& path, const std::string& before, const std::string& after);

} // namespace ModelEditor

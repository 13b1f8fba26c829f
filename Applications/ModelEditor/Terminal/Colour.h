#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace ModelEditor
{

/// How the text that follows looks at a terminal. The terminal's own colours, and none that is pale on a dark or on a
/// light ground.
enum class Colour
{
    Plain,
    Element,
    Attribute,
    Value,
    Heading,
    Removed,
    Added,
    Error
};

/// What a terminal obeys to show @p colour.
std::string_view sequenceOf(Colour colour);

/// Does nothing unless @p out is a VisibleOutput with colours.
std::ostream& operator<<(std::ostream& out, Colour colour);

/// Whether @p descriptor is a terminal that can move its cursor and change its colours.
bool isAbleTerminal(int descriptor);

/// The same, and the person has nothing against colours (the variable NO_COLOR).
bool wantsColours(int descriptor);

/// What line libraries take for something that has no width stands between two of these.
constexpr char invisibleMark = '\1';

/// @p prompt with the colour of a prompt.
std::string paintedPrompt(const std::string& prompt);

} // namespace ModelEditor

#include "Applications/ModelEditor/Terminal/Colour.h"

#include "Applications/ModelEditor/Terminal/VisibleOutput.h"

#include <cstdlib>
#include <unistd.h>

namespace ModelEditor
{

namespace
{

std::string_view valueOfVariable(const char* name)
{
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::string invisible(Colour colour)
{
    return invisibleMark + std::string(sequenceOf(colour)) + invisibleMark;
}

} // namespace

std::string_view sequenceOf(Colour colour)
{
    switch (colour)
    {
    case Colour::Element:
    case Colour::Heading:
        return "\033[1m";
    case Colour::Attribute:
        return "\033[35m";
    case Colour::Value:
    case Colour::Added:
        return "\033[32m";
    case Colour::Removed:
        return "\033[31m";
    case Colour::Error:
        return "\033[1;31m";
    case Colour::Plain:
        break;
    }
    return "\033[0m";
}

std::ostream& operator<<(std::ostream& out, Colour colour)
{
    if (auto* const visible = dynamic_cast<VisibleOutput*>(&out))
    {
        visible->paint(colour);
    }
    return out;
}

bool isAbleTerminal(int descriptor)
{
    const auto type = valueOfVariable("TERM");
    return isatty(descriptor) != 0 && !type.empty() && type != "dumb";
}

bool wantsColours(int descriptor)
{
    return isAbleTerminal(descriptor) && valueOfVariable("NO_COLOR").empty();
}

std::string paintedPrompt(const std::string& prompt)
{
    // What stands behind the last character would not be obeyed before the next one is typed.
    const auto length = prompt.size() - (prompt.empty() ? 0 : 1);
    return invisible(Colour::Heading) + prompt.substr(0, length) + invisible(Colour::Plain) +
           prompt.substr(length);
}

} // namespace ModelEditor

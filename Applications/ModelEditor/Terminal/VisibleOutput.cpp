#include "Applications/ModelEditor/Terminal/VisibleOutput.h"

#include "Applications/ModelEditor/Edits/Words.h"

#include <cstddef>
#include <string_view>

namespace ModelEditor
{

VisibleOutput::VisibleOutput(std::ostream& target, bool isColoured)
    : std::ostream(nullptr), lines(target), paints(isColoured)
{
    rdbuf(&lines);
}

VisibleOutput::~VisibleOutput()
{
    flush();
}

void VisibleOutput::paint(Colour colour)
{
    if (paints)
    {
        lines.paint(colour);
    }
}

VisibleOutput::Lines::Lines(std::ostream& target) : out(target) {}

void VisibleOutput::Lines::paint(Colour colour)
{
    handOn(waiting.size());
    out << sequenceOf(colour);
}

VisibleOutput::Lines::int_type VisibleOutput::Lines::overflow(int_type character)
{
    if (traits_type::eq_int_type(character, traits_type::eof()))
    {
        return traits_type::not_eof(character);
    }
    const char c = traits_type::to_char_type(character);
    return xsputn(&c, 1) == 1 ? character : traits_type::eof();
}

// A character may come in several pieces, but a line end is none of them.
std::streamsize VisibleOutput::Lines::xsputn(const char* text, std::streamsize length)
{
    const std::size_t before = waiting.size();
    waiting.append(text, static_cast<std::size_t>(length));
    const auto end = std::string_view(waiting).substr(before).rfind('\n');
    if (end != std::string_view::npos)
    {
        handOn(before + end + 1);
    }
    return out ? length : 0;
}

int VisibleOutput::Lines::sync()
{
    handOn(waiting.size());
    return out.flush() ? 0 : -1;
}

void VisibleOutput::Lines::handOn(std::size_t length)
{
    out << visible(std::string_view(waiting).substr(0, length));
    waiting.erase(0, length);
}

} // namespace ModelEditor

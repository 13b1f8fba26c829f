#include "Applications/ModelEditor/Terminal/ArgumentLines.h"

#include <utility>

namespace ModelEditor
{

ArgumentLines::ArgumentLines(std::vector<std::string> given) : lines(std::move(given)) {}

ArgumentLines::~ArgumentLines() = default;

std::optional<std::string> ArgumentLines::next(const std::string& /*prompt*/)
{
    return position < lines.size() ? std::optional(lines[position++]) : std::nullopt;
}

} // namespace ModelEditor

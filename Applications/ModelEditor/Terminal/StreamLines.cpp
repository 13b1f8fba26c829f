#include "Applications/ModelEditor/Terminal/StreamLines.h"

#include "Platform/ExceptionHandling/VdException.h"

namespace ModelEditor
{

StreamLines::StreamLines(std::istream& stream) : input(stream) {}

StreamLines::~StreamLines() = default;

std::optional<std::string> StreamLines::next(const std::string& /*prompt*/)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    std::string line;
    if (!std::getline(input, line))
    {
        if (input.bad())
        {
            throw Valdane::VdException("reading the commands failed");
        }
        return {};
    }
    if (line.ends_with('\r'))
    {
        line.pop_back();
    }
    if (isFirst && line.starts_with(byteOrderMark))
    {
        line.erase(0, byteOrderMark.size());
    }
    isFirst = false;
    return line;
}

} // namespace ModelEditor

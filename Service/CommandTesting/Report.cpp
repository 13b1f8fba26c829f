#include "Service/CommandTesting/Report.h"

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <sstream>
#include <utility>

namespace Valdane
{
namespace
{

// The further lines of a mistake tell more about its first one.
std::string indented(const std::string& text, const std::string& indentation)
{
    std::istringstream lines(text);
    std::string result;
    std::string before = indentation;
    for (std::string line; std::getline(lines, line); before = indentation + "  ")
    {
        result += line.empty() ? "\n" : before + line + "\n";
    }
    return result;
}

constexpr std::size_t LongestMistake = 101;

// Nobody reads more, and a report may tell several differences.
std::string shortened(std::string mistake)
{
    std::size_t end = 0;
    for (std::size_t line = 0; line < LongestMistake && end < mistake.size(); ++line)
    {
        end = std::min(mistake.find('\n', end), mistake.size() - 1) + 1;
    }
    const auto more = std::count(mistake.begin() + static_cast<std::ptrdiff_t>(end), mistake.end(), '\n') + 1;
    if (end < mistake.size() && more > 1)
    {
        mistake.resize(end);
        mistake += "... and " + std::to_string(more) + " lines more";
    }
    return mistake;
}

} // namespace

Report::Report(std::string whatWasChecked) : subject(std::move(whatWasChecked)) {}

Report::operator bool() const noexcept
{
    return mistakes.empty();
}

const std::string& Report::getSubject() const noexcept
{
    return subject;
}

const std::vector<std::string>& Report::getMistakes() const noexcept
{
    return mistakes;
}

void Report::addMistake(std::string mistake)
{
    if (std::ranges::find(mistakes, mistake) == mistakes.end())
    {
        headings.emplace_back();
        mistakes.push_back(std::move(mistake));
    }
}

void Report::add(const Report& other)
{
    for (const std::string& mistake : other.mistakes)
    {
        const std::size_t count = mistakes.size();
        addMistake(other.subject + ":\n" + indented(mistake, ""));
        if (mistakes.size() > count)
        {
            headings.back() = other.subject;
        }
    }
}

std::string Report::toText() const
{
    const std::string count = mistakes.empty() ? "no mistakes" : std::to_string(mistakes.size());
    std::string text = subject + ": " + count;
    if (!mistakes.empty())
    {
        text += mistakes.size() == 1 ? " mistake" : " mistakes";
    }
    text += "\n";
    for (std::size_t i = 0; i < mistakes.size(); ++i)
    {
        std::string lines = indented(shortened(mistakes[i]), "  ");
        if (i > 0 && !headings[i].empty() && headings[i] == headings[i - 1])
        {
            lines.erase(0, lines.find('\n') + 1);
        }
        text += lines;
    }
    return text;
}

std::ostream& operator<<(std::ostream& out, const Report& report)
{
    return out << report.toText();
}

} // namespace Valdane

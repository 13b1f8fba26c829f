#include "Service/CommandTesting/Report.h"

#include <algorithm>
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
        mistakes.push_back(std::move(mistake));
    }
}

void Report::add(const Report& other)
{
    for (const std::string& mistake : other.mistakes)
    {
        addMistake(other.subject + ":\n" + indented(mistake, ""));
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
    for (const std::string& mistake : mistakes)
    {
        text += indented(mistake, "  ");
    }
    return text;
}

std::ostream& operator<<(std::ostream& out, const Report& report)
{
    return out << report.toText();
}

} // namespace Valdane

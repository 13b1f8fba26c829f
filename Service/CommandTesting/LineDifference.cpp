#include "Service/CommandTesting/LineDifference.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace Valdane
{
namespace
{

constexpr std::size_t LargestTable = 1'000'000;

std::vector<std::string> toLines(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

void appendLine(std::string& text, const char* mark, const std::string& line)
{
    text += mark + line + "\n";
}

} // namespace

std::size_t LineDifference::Range::size() const
{
    return end - first;
}

LineDifference::LineDifference(const std::string& expectedText, const std::string& foundText)
    : expected(toLines(expectedText)),
      found(toLines(foundText)),
      expectedMiddle{0, expected.size()},
      foundMiddle{0, found.size()}
{
    const auto firstDifference = std::ranges::mismatch(expected, found);
    expectedMiddle.first = static_cast<std::size_t>(firstDifference.in1 - expected.begin());
    foundMiddle.first = expectedMiddle.first;
    while (expectedMiddle.size() != 0 && foundMiddle.size() != 0 &&
           expected[expectedMiddle.end - 1] == found[foundMiddle.end - 1])
    {
        --expectedMiddle.end;
        --foundMiddle.end;
    }
}

std::string LineDifference::toText() const
{
    std::string text;
    if (expectedMiddle.size() == 0 && foundMiddle.size() == 0)
    {
        return text;
    }
    if (expectedMiddle.first > 0)
    {
        appendLine(text, "  ", expected[expectedMiddle.first - 1]);
    }
    describeMiddle(text);
    text.pop_back();
    return text;
}

std::vector<std::vector<std::size_t>> LineDifference::commonAfter() const
{
    const std::size_t rows = expectedMiddle.size();
    const std::size_t columns = foundMiddle.size();
    if (rows * columns > LargestTable)
    {
        return {};
    }
    std::vector common(rows + 1, std::vector<std::size_t>(columns + 1));
    for (std::size_t row = rows; row-- > 0;)
    {
        for (std::size_t column = columns; column-- > 0;)
        {
            const bool isSame = expectedLine(row) == foundLine(column);
            common[row][column] = isSame ? common[row + 1][column + 1] + 1
                                         : std::max(common[row + 1][column], common[row][column + 1]);
        }
    }
    return common;
}

void LineDifference::describeMiddle(std::string& text) const
{
    const auto common = commonAfter();
    const std::string* lastSame = nullptr;
    const auto append = [&](const char* mark, const std::string& line)
    {
        if (lastSame != nullptr)
        {
            appendLine(text, "  ", *std::exchange(lastSame, nullptr));
        }
        appendLine(text, mark, line);
    };
    std::size_t row = 0;
    std::size_t column = 0;
    const auto isSame = [&]
    {
        return (!common.empty() || row == column) && row < expectedMiddle.size() &&
               column < foundMiddle.size() && expectedLine(row) == foundLine(column);
    };
    const auto isMissing = [&]
    {
        if (row == expectedMiddle.size() || column == foundMiddle.size())
        {
            return column == foundMiddle.size();
        }
        return common.empty() ? row == column : common[row + 1][column] >= common[row][column + 1];
    };
    while (row < expectedMiddle.size() || column < foundMiddle.size())
    {
        if (isSame())
        {
            lastSame = &expectedLine(row++);
            ++column;
        }
        else if (isMissing())
        {
            append("- ", expectedLine(row++));
        }
        else
        {
            append("+ ", foundLine(column++));
        }
    }
}

const std::string& LineDifference::expectedLine(std::size_t row) const
{
    return expected[expectedMiddle.first + row];
}

const std::string& LineDifference::foundLine(std::size_t column) const
{
    return found[foundMiddle.first + column];
}

} // namespace Valdane

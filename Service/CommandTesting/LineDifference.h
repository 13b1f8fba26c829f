#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Valdane
{

/// How two texts differ, line by line, in the fewest lines.
///
/// Cost: the square of the number of lines between the first and the last difference, up to a bound. Above it, all
/// of those lines are compared with the one in their place.
class LineDifference
{
public:
    LineDifference(const std::string& expectedText, const std::string& foundText);

    /// Lines that are missing begin with "- ", those that are there instead with "+ ". Others are left out, except
    /// the one before each difference. Empty if the lines are the same.
    std::string toText() const;

private:
    using Lines = std::vector<std::string>;

    /// The lines from @p first up to @p end.
    struct Range
    {
        std::size_t first;
        std::size_t end;

        std::size_t size() const;
    };

    /// commonAfter()[i][j]: how many lines the rests from i and j have in common, in the same order.
    std::vector<std::vector<std::size_t>> commonAfter() const;

    void describeMiddle(std::string& text) const;

    /// Of what is in the middle.
    const std::string& expectedLine(std::size_t row) const;
    const std::string& foundLine(std::size_t column) const;

    Lines expected;
    Lines found;
    // What is between the lines at the beginning and at the end that are the same.
    Range expectedMiddle;
    Range foundMiddle;
};

} // namespace Valdane

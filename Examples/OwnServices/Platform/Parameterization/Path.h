#pragma once

#include <string>
#include <vector>

namespace Valdane
{

enum class RequestedPathType
{
    FromRoot = 0,
};

enum class GetObjectBehavior
{
    EmptyIfMissing = 0,
};

/// The numbers of the parts from the top of the product down to one, and the name of an attribute of that.
///
/// Thread: safe from any thread as long as nobody assigns to it.
class Path
{
public:
    /// @param attribute  empty for the part itself.
    Path(std::vector<unsigned> partNumbers, std::string attribute);

    const std::vector<unsigned>& getNumbers() const;

    /// Empty for a part.
    const std::string& getAttributeName() const;

    /// For messages, such as `/12/7.length`.
    std::string toString() const;

private:
    std::vector<unsigned> numbers;
    std::string attributeName;
};

} // namespace Valdane

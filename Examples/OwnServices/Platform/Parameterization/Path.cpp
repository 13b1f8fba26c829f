#include "Platform/Parameterization/Path.h"

#include <utility>

namespace Valdane
{

Path::Path(std::vector<unsigned> partNumbers, std::string attribute)
    : numbers(std::move(partNumbers)), attributeName(std::move(attribute))
{
}

const std::vector<unsigned>& Path::getNumbers() const
{
    return numbers;
}

const std::string& Path::getAttributeName() const
{
    return attributeName;
}

std::string Path::toString() const
{
    std::string text;
    for (const unsigned number : numbers)
    {
        text += "/" + std::to_string(number);
    }
    return attributeName.empty() ? text : text + "." + attributeName;
}

} // namespace Valdane

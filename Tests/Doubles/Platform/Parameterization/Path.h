#pragma once

#include <string>

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

class Path
{
public:
    std::string getAttributeName() const
    {
        return attributeName;
    }

    std::string toString() const
    {
        return attributeName.empty() ? objectName : objectName + "." + attributeName;
    }

    std::string objectName;
    std::string attributeName;
};

} // namespace Valdane

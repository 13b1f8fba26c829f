#pragma once

#include <string>

namespace Valdane
{

class NameInterface
{
public:
    virtual ~NameInterface() = default;
    virtual std::string getName() const = 0;
    virtual void setName(const std::string& name, bool notify) = 0;
};

} // namespace Valdane

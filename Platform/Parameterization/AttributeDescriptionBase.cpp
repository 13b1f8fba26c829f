#include "Platform/Parameterization/AttributeDescriptionBase.h"

#include <utility>

namespace Valdane
{

AttributeDescriptionBase::AttributeDescriptionBase(std::string attributeName) : name(std::move(attributeName))
{
}

AttributeDescriptionBase::~AttributeDescriptionBase() = default;

bool AttributeDescriptionBase::emitsChangedSignal() const
{
    return false;
}

const std::string& AttributeDescriptionBase::getName() const noexcept
{
    return name;
}

bool AttributeDescriptionBase::isForStandardEnabled() const noexcept
{
    return forStandardEnabled;
}

void AttributeDescriptionBase::setForStandardEnabled(bool enabled) noexcept
{
    forStandardEnabled = enabled;
}

} // namespace Valdane

#include "Platform/Parameterization/AttributeDescriptionBase.h"

#include <utility>

namespace Valdane
{

AttributeDescriptionBase::AttributeDescriptionBase(std::string name) : attributeName(std::move(name)) {}

AttributeDescriptionBase::~AttributeDescriptionBase() = default;

bool AttributeDescriptionBase::emitsChangedSignal() const
{
    return false;
}

const std::string& AttributeDescriptionBase::getName() const noexcept
{
    return attributeName;
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

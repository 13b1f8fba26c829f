#include "Platform/Parameterization/AttributeDescriptionBase.h"

#include <utility>

namespace Valdane
{

AttributeDescriptionBase::AttributeDescriptionBase(std::string name) : valdaneAttributeName(std::move(name))
{
}

AttributeDescriptionBase::~AttributeDescriptionBase() = default;

bool AttributeDescriptionBase::emitsChangedSignal() const
{
    return false;
}

const std::string& AttributeDescriptionBase::getName() const noexcept
{
    return valdaneAttributeName;
}

bool AttributeDescriptionBase::isForStandardEnabled() const noexcept
{
    return valdaneForStandardEnabled;
}

void AttributeDescriptionBase::setForStandardEnabled(bool enabled) noexcept
{
    valdaneForStandardEnabled = enabled;
}

} // namespace Valdane

#include "Service/CommandPattern/SetAttributeCmd.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ObjectLookup.h"

#include <utility>

namespace Valdane
{

template <typename T>
SetAttributeCmd<T>::SetAttributeCmd(std::weak_ptr<Object> root, Path attributePath, T value, std::string text)
    : CommandBase(std::move(text)),
      object(std::move(root)),
      path(std::move(attributePath)),
      newValue(std::move(value))
{
    if (getDescription().empty())
    {
        setDescription("Set " + path.getAttributeName());
    }
}

template <typename T>
SetAttributeCmd<T>::SetAttributeCmd(SetAttributeCmd&&) noexcept = default;
template <typename T>
SetAttributeCmd<T>& SetAttributeCmd<T>::operator=(SetAttributeCmd&&) noexcept = default;
template <typename T>
SetAttributeCmd<T>::~SetAttributeCmd() = default;

template <typename T>
void SetAttributeCmd<T>::execute()
{
    if (object.expired())
    {
        return;
    }
    getProgressPtr()->reset();
    const std::shared_ptr<Object> target = findObject(object, path);
    if (target->isApplyStandardRunning())
    {
        applyStandardRunning = true;
    }
    const std::shared_ptr<AttributeDescription<T>> attribute = findDescription(*target);
    if (attribute == nullptr)
    {
        throw VdException("There is no attribute of the expected type at '" + path.toString() + "'.");
    }
    oldValue = attribute->getGetter()();
    write(*attribute, newValue);
    getProgressPtr()->setComplete();
}

template <typename T>
void SetAttributeCmd<T>::undo()
{
    if (object.expired())
    {
        return;
    }
    getProgressPtr()->reset();
    const std::shared_ptr<Object> target = findObject(object, path);
    const bool previousState = target->isApplyStandardRunning();
    target->setApplyStandardRunning(applyStandardRunning);
    try
    {
        if (const std::shared_ptr<AttributeDescription<T>> attribute = findDescription(*target))
        {
            write(*attribute, oldValue);
        }
    }
    catch (...)
    {
        target->setApplyStandardRunning(previousState);
        throw;
    }
    target->setApplyStandardRunning(previousState);
    getProgressPtr()->setComplete();
}

template <typename T>
std::shared_ptr<AttributeDescription<T>> SetAttributeCmd<T>::findDescription(Object& target) const
{
    return std::dynamic_pointer_cast<AttributeDescription<T>>(
        target.getAttributeDescription(path.getAttributeName()));
}

template <typename T>
void SetAttributeCmd<T>::write(AttributeDescription<T>& attribute, const T& value) const
{
    attribute.getSetter()(value);
    if (attribute.isForStandardEnabled() || attribute.emitsChangedSignal())
    {
        attribute.getSigChanged()(value);
    }
}

template class SetAttributeCmd<int>;
template class SetAttributeCmd<unsigned int>;
template class SetAttributeCmd<double>;
template class SetAttributeCmd<std::string>;
template class SetAttributeCmd<bool>;

} // namespace Valdane

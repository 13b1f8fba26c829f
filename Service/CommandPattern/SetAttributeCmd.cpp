#include "Service/CommandPattern/SetAttributeCmd.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ObjectLookup.h"

#include <utility>

namespace Valdane
{

namespace
{

template <typename T>
void announce(AttributeDescription<T>& attribute, const T& value)
{
    if (attribute.isForStandardEnabled() || attribute.emitsChangedSignal())
    {
        attribute.getSigChanged()(value);
    }
}

} // namespace

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
    attribute->getSetter()(newValue);
    try
    {
        announce(*attribute, newValue);
    }
    catch (...)
    {
        // Nobody undoes a command that failed, and one that is redone would take the new value for the old
        // one.
        attribute->getSetter()(oldValue);
        throw;
    }
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
            attribute->getSetter()(oldValue);
            announce(*attribute, oldValue);
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

template class SetAttributeCmd<int>;
template class SetAttributeCmd<unsigned int>;
template class SetAttributeCmd<double>;
template class SetAttributeCmd<std::string>;
template class SetAttributeCmd<bool>;

} // namespace Valdane

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
      valdaneObject(std::move(root)),
      valdanePath(std::move(attributePath)),
      valdaneNewValue(std::move(value))
{
    if (getDescription().empty())
    {
        setDescription("Set " + valdanePath.getAttributeName());
    }
}

template <typename T>
SetAttributeCmd<T>::SetAttributeCmd(std::weak_ptr<Object> root, State state, std::string text)
    : SetAttributeCmd(std::move(root), std::move(state.path), std::move(state.newValue), std::move(text))
{
    valdaneOldValue = std::move(state.oldValue);
    valdaneApplyStandardRunning = state.applyStandardRunning;
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
    if (valdaneObject.expired())
    {
        return;
    }
    getProgressPtr()->reset();
    const std::shared_ptr<Object> target = findObject(valdaneObject, valdanePath);
    if (target->isApplyStandardRunning())
    {
        valdaneApplyStandardRunning = true;
    }
    const std::shared_ptr<AttributeDescription<T>> attribute = findDescription(*target);
    if (attribute == nullptr)
    {
        throw VdException("There is no attribute of the expected type at '" + valdanePath.toString() + "'.");
    }
    valdaneOldValue = attribute->getGetter()();
    attribute->getSetter()(valdaneNewValue);
    try
    {
        announce(*attribute, valdaneNewValue);
    }
    catch (...)
    {
        // Nobody undoes a command that failed, and one that is redone would take the new value for the old
        // one.
        attribute->getSetter()(valdaneOldValue);
        throw;
    }
    getProgressPtr()->setComplete();
}

template <typename T>
void SetAttributeCmd<T>::undo()
{
    if (valdaneObject.expired())
    {
        return;
    }
    getProgressPtr()->reset();
    const std::shared_ptr<Object> target = findObject(valdaneObject, valdanePath);
    const bool previousState = target->isApplyStandardRunning();
    target->setApplyStandardRunning(valdaneApplyStandardRunning);
    try
    {
        if (const std::shared_ptr<AttributeDescription<T>> attribute = findDescription(*target))
        {
            attribute->getSetter()(valdaneOldValue);
            announce(*attribute, valdaneOldValue);
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
typename SetAttributeCmd<T>::State SetAttributeCmd<T>::getState() const
{
    return {.path = valdanePath,
            .newValue = valdaneNewValue,
            .oldValue = valdaneOldValue,
            .applyStandardRunning = valdaneApplyStandardRunning};
}

template <typename T>
std::shared_ptr<AttributeDescription<T>> SetAttributeCmd<T>::findDescription(Object& target) const
{
    return std::dynamic_pointer_cast<AttributeDescription<T>>(
        target.getAttributeDescription(valdanePath.getAttributeName()));
}

template class SetAttributeCmd<int>;
template class SetAttributeCmd<unsigned int>;
template class SetAttributeCmd<double>;
template class SetAttributeCmd<std::string>;
template class SetAttributeCmd<bool>;

} // namespace Valdane

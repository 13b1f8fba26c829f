#pragma once

#include "Platform/Parameterization/AttributeDescriptionBase.h"
#include "Platform/Parameterization/ParameterizationExport.h"
#include "Platform/Signals/Signal.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace Valdane
{

class CommandBase;
class Object;
class Path;

/// Reads, writes and watches an attribute of type @p T, and makes the command that sets it.
///
/// The library instantiates it for `bool`, `double`, `std::string`, `unsigned int` and `int`. An application may
/// use any copyable type that is visible outside its own library.
///
/// Thread: the application's main thread only.
template <typename T>
class VALDANE_PARAMETERIZATION_TEMPLATE_EXPORT AttributeDescription : public AttributeDescriptionBase
{
public:
    /// Reads and writes the value.
    using Getter = std::function<T()>;
    using Setter = std::function<void(const T&)>;

    /// Makes a command that sets the attribute at @p attributePath, a path from @p root, to @p value.
    using CommandCreator =
        std::function<std::shared_ptr<CommandBase>(std::shared_ptr<Object> root, const Path& attributePath,
                                                   const T& value, const std::string& commandDescription)>;

    /// @param name   see AttributeDescriptionBase::getName().
    /// @param read   reads the value; if it is empty, the attribute cannot be read.
    /// @param write  writes the value, emits nothing; if it is empty, the attribute cannot be written.
    AttributeDescription(std::string name, Getter read, Setter write);
    ~AttributeDescription() override;

    /// Valid until this description is destroyed. Calling an empty one throws `std::bad_function_call`.
    const Getter& getGetter() const noexcept;
    const Setter& getSetter() const noexcept;

    /// The code that changes the value emits this signal with the new value; AttributeDescriptionBase says when.
    Signals::Signal<void(const T&)>& getSigChanged() noexcept;

    /// Makes this attribute's commands instead of the ordinary ones; empty at first.
    const CommandCreator& getCommandCreator() const noexcept;
    void setCommandCreator(CommandCreator creator) noexcept;

private:
    Getter valdaneGetter;
    Setter valdaneSetter;
    CommandCreator valdaneCommandCreator;
    Signals::Signal<void(const T&)> valdaneSigChanged;
};

template <typename T>
AttributeDescription<T>::AttributeDescription(std::string name, Getter read, Setter write)
    : AttributeDescriptionBase(std::move(name)),
      valdaneGetter(std::move(read)),
      valdaneSetter(std::move(write))
{
}

template <typename T>
AttributeDescription<T>::~AttributeDescription() = default;

template <typename T>
const typename AttributeDescription<T>::Getter& AttributeDescription<T>::getGetter() const noexcept
{
    return valdaneGetter;
}

template <typename T>
const typename AttributeDescription<T>::Setter& AttributeDescription<T>::getSetter() const noexcept
{
    return valdaneSetter;
}

template <typename T>
Signals::Signal<void(const T&)>& AttributeDescription<T>::getSigChanged() noexcept
{
    return valdaneSigChanged;
}

template <typename T>
const typename AttributeDescription<T>::CommandCreator&
AttributeDescription<T>::getCommandCreator() const noexcept
{
    return valdaneCommandCreator;
}

template <typename T>
void AttributeDescription<T>::setCommandCreator(CommandCreator creator) noexcept
{
    valdaneCommandCreator = std::move(creator);
}

extern template class VALDANE_PARAMETERIZATION_EXPORT AttributeDescription<bool>;
extern template class VALDANE_PARAMETERIZATION_EXPORT AttributeDescription<double>;
extern template class VALDANE_PARAMETERIZATION_EXPORT AttributeDescription<std::string>;
extern template class VALDANE_PARAMETERIZATION_EXPORT AttributeDescription<unsigned int>;
extern template class VALDANE_PARAMETERIZATION_EXPORT AttributeDescription<int>;

} // namespace Valdane

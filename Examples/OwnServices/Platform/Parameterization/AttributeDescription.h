#pragma once

#include "Platform/Parameterization/AttributeDescriptionBase.h"
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

/// How to read, change and watch an attribute of a part.
///
/// Thread: the main thread.
template <typename T>
class AttributeDescription : public AttributeDescriptionBase
{
public:
    /// @param write  throws if the part does not take the value.
    AttributeDescription(std::string attributeName, std::function<T()> read,
                         std::function<void(const T&)> write)
        : AttributeDescriptionBase(std::move(attributeName)),
          getter(std::move(read)),
          setter(std::move(write))
    {
    }

    const std::function<T()>& getGetter() const
    {
        return getter;
    }

    const std::function<void(const T&)>& getSetter() const
    {
        return setter;
    }

    /// Emitted with the new value by who changes it.
    Signals::Signal<void(const T&)>& getSigChanged()
    {
        return sigChanged;
    }

    /// Empty: no attribute of this application has commands of its own.
    std::function<std::shared_ptr<CommandBase>(std::shared_ptr<Object> root, const Path& attributePath,
                                               const T& value, const std::string& commandDescription)>
    getCommandCreator() const
    {
        return {};
    }

private:
    std::function<T()> getter;
    std::function<void(const T&)> setter;
    Signals::Signal<void(const T&)> sigChanged;
};

} // namespace Valdane

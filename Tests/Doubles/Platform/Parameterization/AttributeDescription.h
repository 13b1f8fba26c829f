#pragma once

#include "Platform/Parameterization/AttributeDescriptionBase.h"
#include "Platform/Signals/Signal.h"

#include <functional>
#include <memory>
#include <string>

namespace Valdane
{

class CommandBase;
class Object;
class Path;

template <typename T>
class AttributeDescription : public AttributeDescriptionBase
{
public:
    using CommandCreator =
        std::function<std::shared_ptr<CommandBase>(std::shared_ptr<Object> root, const Path& attributePath,
                                                   const T& value, const std::string& commandDescription)>;

    std::function<T()> getGetter() const
    {
        return getter;
    }

    std::function<void(const T&)> getSetter() const
    {
        return setter;
    }

    Signals::Signal<void(const T&)>& getSigChanged()
    {
        return sigChanged;
    }

    CommandCreator getCommandCreator() const
    {
        return commandCreator;
    }

    std::function<T()> getter;
    std::function<void(const T&)> setter;
    Signals::Signal<void(const T&)> sigChanged;
    CommandCreator commandCreator;
};

} // namespace Valdane

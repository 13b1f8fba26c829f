#pragma once

#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/Object.h"

#include <stdexcept>
#include <string>

namespace Valdane
{

/// An object of an application that has a name and refuses one of them.
class NamedObject : public Object, public NameInterface
{
public:
    explicit NamedObject(const std::string& key, std::string name = "old")
        : Object(key), shownName(std::move(name))
    {
    }

    std::string getName() const override
    {
        return shownName;
    }

    void setName(const std::string& name, bool notify) override
    {
        if (name == "refused")
        {
            throw std::invalid_argument("a name that nobody may have");
        }
        shownName = name;
        notifications += notify ? 1 : 0;
    }

    std::string shownName;
    int notifications = 0;
};

} // namespace Valdane

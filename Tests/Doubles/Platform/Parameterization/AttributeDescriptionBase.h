#pragma once

#include "Journal.h"

#include <string>

namespace Valdane
{

class AttributeDescriptionBase
{
public:
    virtual ~AttributeDescriptionBase() = default;

    virtual bool emitsChangedSignal() const
    {
        note(name + ".emitsChangedSignal");
        return emitsChanged;
    }

    const std::string& getName() const
    {
        return name;
    }

    bool isForStandardEnabled() const
    {
        note(name + ".isForStandardEnabled");
        return forStandardEnabled;
    }

    std::string name;
    bool emitsChanged = false;
    bool forStandardEnabled = false;
};

} // namespace Valdane

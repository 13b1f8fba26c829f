#pragma once

#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/Object.h"
#include "Tests/Support/Faults/CallOuts.h"

#include <string>

namespace Valdane::Faults
{

/// An object with a name and a text, each access to which is a call-out. All texts are long enough to be
/// allocated, and the first ones longer than all others.
class NamedThing : public Object, public NameInterface
{
public:
    NamedThing() : Object("the thing that commands edit") {}

    std::string getName() const override
    {
        callOut(Callee::Work);
        return name;
    }

    void setName(const std::string& newName, bool /*notify*/) override
    {
        callOut(Callee::Work);
        name = newName;
    }

    std::string getText() const
    {
        callOut(Callee::Work);
        return text;
    }

    void setText(const std::string& newText)
    {
        callOut(Callee::Work);
        text = newText;
    }

    std::string name = "the name that it has before anything is done";
    std::string text = "the text that it has before anything is done";
};

inline void listen()
{
    callOut(Callee::Notification);
}

} // namespace Valdane::Faults

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlObjectFindings.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <string>
#include <utility>

// Attributes of the file that go and come back.

namespace ModelEditor
{

XmlObject::TakenAttribute XmlObject::takeAttribute(const std::string& name)
{
    if (!element.attribute(name.c_str()) || isAnnotationName(name) || isAdded(name))
    {
        throw Valdane::VdException("the file has no " + name + " at " + getAddress());
    }
    const auto before = requireValue(name).getShown();
    auto taken = detachAttribute(name);
    try
    {
        if (context.changed)
        {
            context.changed({.object = *this, .value = "@" + name, .before = before, .after = std::nullopt});
        }
    }
    catch (...)
    {
        attachAttribute(taken);
        throw;
    }
    return taken;
}

void XmlObject::putAttribute(TakenAttribute& taken)
{
    const std::string name = taken.value.key();
    attachAttribute(taken);
    try
    {
        if (context.changed)
        {
            context.changed({.object = *this,
                             .value = "@" + name,
                             .before = std::nullopt,
                             .after = requireValue(name).getShown()});
        }
    }
    catch (...)
    {
        taken = detachAttribute(name);
        throw;
    }
}

XmlObject::TakenAttribute XmlObject::detachAttribute(const std::string& name)
{
    auto& value = requireValue(name);
    TakenAttribute taken{.text = value.getText()};
    requireAnnotations().take(name, value.getOriginal());
    taken.value = requireFindings().values.extract(name);
    return taken;
}

void XmlObject::attachAttribute(TakenAttribute& taken)
{
    requireAnnotations().putBack(taken.value.key(), taken.value.mapped(), taken.text);
    requireFindings().values.insert(std::move(taken.value));
}

} // namespace ModelEditor

#include "Applications/ModelEditor/Edits/SetValue.h"

#include "Applications/ModelEditor/Document/NamedXmlObject.h"
#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/EditCommands.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetNameCmd.h"

#include <string>

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

std::string namesOfValues(XmlObject& object)
{
    std::string names;
    for (const auto& name : object.getAttributeNames())
    {
        names += (names.empty() ? "" : ", ") + object.getStep(name);
    }
    if (!names.empty())
    {
        return "name one of its values: " + names;
    }
    const bool isEmpty = object.getElement().first_child().empty();
    return isEmpty ? "it is empty; insert puts a text into it" : "it has no values";
}

std::string describe(const Selected& selected, const std::string& text)
{
    switch (selected.part)
    {
    case Part::Name:
        return describeRename(*selected.object, text);
    case Part::Annotation:
        return describeAnnotate(*selected.object, selected.name, text);
    default:
        return describeSet(*selected.object, selected.name, text);
    }
}

} // namespace

void requireValue(const Selected& selected)
{
    switch (selected.part)
    {
    case Part::Element:
        throw VdException(selected.getAddress() + " is an element; " + namesOfValues(*selected.object));
    case Part::Name:
        throw VdException(selected.getAddress() + " is a name");
    case Part::Annotation:
        throw VdException(selected.getAddress() + " is an annotation");
    case Part::Unsupported:
        throw VdException("comments and processing instructions are not edited");
    default:
        break;
    }
}

std::shared_ptr<Valdane::CommandBase> makeSetCommand(const Selected& selected, const std::string& text,
                                                     std::optional<ValueType> wanted, Entered entered)
{
    auto& object = *selected.object;
    requireValue(selected);
    if (wanted && !isOf(*wanted, text))
    {
        throw VdException(shown(text) + " is not a value of type " + std::string(nameOf(*wanted)) +
                          ", which " + selected.getAddress() + " has");
    }
    const bool isMarkup = entered == Entered::AsMarkup || object.takesMarkup(selected.name);
    return std::make_shared<Valdane::SetAttributeCmd<std::string>>(
        object.getRootObjectAlt(),
        object.getPath(nullptr, selected.name, Valdane::RequestedPathType::FromRoot),
        isMarkup ? object.readMarkup(selected.name, text) : text, describe(selected, text));
}

void addSet(EditCommands& commands, const Selected& selected, const std::string& text,
            std::optional<ValueType> wanted, Entered entered)
{
    const bool isName = selected.part == Part::Name;
    if (entered == Entered::AsMarkup || (!isName && selected.part != Part::Annotation))
    {
        commands.add(makeSetCommand(selected, text, wanted, entered));
    }
    else if (isName && dynamic_cast<NamedXmlObject*>(selected.object.get()) != nullptr)
    {
        commands.add(std::make_shared<Valdane::SetNameCmd>(selected.object, text, describe(selected, text)));
    }
    else
    {
        addAttribute(commands, selected, text);
    }
}

void addAttribute(EditCommands& commands, const Selected& missing, const std::string& text)
{
    commands.annotate(missing.object, {.name = missing.name, .text = text}, describe(missing, text));
}

} // namespace ModelEditor

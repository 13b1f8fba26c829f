#include "Applications/ModelEditor/Edits/SetValue.h"

#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"

#include <string>
#include <typeinfo>

namespace ModelEditor
{

namespace
{

using Valdane::AttributeDescription;
using Valdane::CommandBase;
using Valdane::VdException;

// What the factory reads otherwise than a person would: it knows bool as 0 and 1, and takes -1 for an
// unsigned int.
template <typename T>
std::string toFactoryText(const std::string& text)
{
    return text;
}

template <>
std::string toFactoryText<bool>(const std::string& text)
{
    const auto value = valueOf<bool>(text);
    return value ? std::to_string(static_cast<int>(*value)) : text;
}

template <>
std::string toFactoryText<unsigned int>(const std::string& text)
{
    return text.starts_with('-') ? "" : text;
}

template <typename T>
std::shared_ptr<CommandBase> createFor(const std::shared_ptr<Valdane::AttributeDescriptionBase>& description,
                                       const Selected& selected, const std::string& text)
{
    const auto* typed = dynamic_cast<const AttributeDescription<T>*>(description.get());
    if (typed == nullptr)
    {
        return {};
    }
    Valdane::SetAttributecommandFactory factory(selected.object);
    return factory.createCommand(typed, toFactoryText<T>(text),
                                 describeSet(*selected.object, selected.name, text));
}

std::shared_ptr<CommandBase> create(const Selected& selected, const std::string& text)
{
    const auto description = selected.object->getAttributeDescription(selected.name);
    for (const auto& createTyped : {createFor<int>, createFor<unsigned int>, createFor<double>,
                                    createFor<bool>, createFor<std::string>})
    {
        if (auto command = createTyped(description, selected, text))
        {
            return command;
        }
    }
    throw VdException(selected.getAddress() + " cannot be set");
}

std::string namesOfValues(XmlObject& object)
{
    std::string names;
    for (const auto& name : object.getAttributeNames())
    {
        names += (names.empty() ? "" : ", ") + object.getStep(name);
    }
    return names.empty() ? "it has no values" : "name one of its values: " + names;
}

} // namespace

void requireValue(const Selected& selected)
{
    switch (selected.part)
    {
    case Part::Element:
        throw VdException(selected.getAddress() + " is an element; " + namesOfValues(*selected.object));
    case Part::Name:
        throw VdException(selected.getAddress() + " is a name; use rename");
    case Part::Annotation:
        throw VdException(selected.getAddress() + " is an annotation; use annotate");
    case Part::Unsupported:
        throw VdException("comments and processing instructions are not edited");
    default:
        break;
    }
}

std::shared_ptr<CommandBase> makeSetCommand(const Selected& selected, const std::string& text)
{
    requireValue(selected);
    try
    {
        return create(selected, text);
    }
    catch (const std::bad_cast&)
    {
        throw VdException(shown(text) + " is not a value of type " +
                          typeNameOf(*selected.object, selected.name) + ", which " + selected.getAddress() +
                          " has");
    }
}

} // namespace ModelEditor

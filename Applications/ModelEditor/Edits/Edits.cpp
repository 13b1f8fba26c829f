#include "Applications/ModelEditor/Edits/Edits.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/NewMarkup.h"
#include "Applications/ModelEditor/Document/Nodes.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/EditCommands.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/SetValue.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

namespace ModelEditor
{

namespace
{

using Valdane::VdException;

void addClearOf(EditCommands& commands, const std::shared_ptr<XmlObject>& object,
                const std::vector<std::string>& names)
{
    if (names.empty())
    {
        const bool hasOthers =
            std::ranges::any_of(object->getElement().attributes(),
                                [](const auto& attribute) { return isAnnotationName(attribute.name()); });
        throw VdException(object->getAddress() + " has no such annotations" +
                          (hasOthers ? "; those that the file had go by their PREFIX" : ""));
    }
    std::vector<AnnotateCmd::Change> changes;
    std::ranges::transform(names, std::back_inserter(changes),
                           [](const std::string& name)
                           { return AnnotateCmd::Change{.name = name, .text = std::nullopt}; });
    commands.add(std::make_shared<AnnotateCmd>(object, std::move(changes), describeClear(*object)));
}

// Of the prefix of an attribute that elements get, if it has one.
std::string noteOf(const std::string& attributeName, const std::vector<Selected>& nodes)
{
    const std::string prefix = attributeName.substr(0, attributeName.find(':'));
    const bool isDeclared = prefix == attributeName ||
                            std::ranges::all_of(nodes, [&](const Selected& node)
                                                { return isDeclaredAt(node.object->getElement(), prefix); });
    return isDeclared ? "" : noteUndeclared(prefix);
}

Edit makeSetAs(Entered entered, const XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto& text = arguments[1];
    const bool isStrict = arguments.size() > 2;
    if (isStrict && arguments[2] != "--strict")
    {
        throw VdException("no option " + shown(arguments[2]) + "; there is --strict");
    }
    auto selection = model.select(xpath);
    const bool isMissing = selection.nodes.empty() && !selection.value;
    if (isMissing && !isStrict && entered == Entered::AsTheValueIs)
    {
        if (const auto missing = findNewAttribute(model, xpath))
        {
            EditCommands commands("");
            addAttribute(commands, *missing, text);
            return {.command = commands.asOne(), .note = noteOf(missing->name, {*missing})};
        }
    }
    const auto nodes = withTexts(requireNodes(std::move(selection), xpath));
    EditCommands commands(describeSetOfSeveral(xpath, nodes.size(), text));
    for (const auto& node : nodes)
    {
        const auto original =
            isStrict && node.part == Part::Value ? node.object->getOriginalText(node.name) : std::nullopt;
        addSet(commands, node, text, original ? std::optional(typeOf(*original)) : std::nullopt, entered);
    }
    return {.command = commands.asOne(), .note = {}};
}

} // namespace

Edit makeSet(const XmlModel& model, const std::vector<std::string>& arguments)
{
    return makeSetAs(Entered::AsTheValueIs, model, arguments);
}

Edit makeSetMarkup(const XmlModel& model, const std::vector<std::string>& arguments)
{
    return makeSetAs(Entered::AsMarkup, model, arguments);
}

Edit makeRename(const XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto& name = arguments[1];
    const auto nodes = requireNodes(model, xpath);
    EditCommands commands(describeRenameOfSeveral(xpath, nodes.size(), name));
    for (const auto& node : nodes)
    {
        const auto object = requireElement(node);
        if (object->getElement().attribute("name").empty())
        {
            throw VdException(object->getAddress() + " has no attribute name");
        }
        const Selected selected{.object = object, .part = Part::Name, .name = "name", .text = {}};
        addSet(commands, selected, name, std::nullopt);
    }
    return {.command = commands.asOne(), .note = {}};
}

Edit makeAnnotate(const XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto& name = arguments[1];
    const auto& text = arguments[2];
    if (!isAnnotationName(name))
    {
        throw VdException(shown(name) + " is not a name of the form prefix:name");
    }
    const auto nodes = requireNodes(model, xpath);
    EditCommands commands(describeAnnotateOfSeveral(xpath, nodes.size(), name, text));
    for (const auto& node : nodes)
    {
        const auto object = requireElement(node);
        commands.annotate(object, {.name = name, .text = text}, describeAnnotate(*object, name, text));
    }
    return {.command = commands.asOne(), .note = noteOf(name, nodes)};
}

Edit makeClearAnnotations(const XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto nodes = requireNodes(model, xpath);
    EditCommands commands(describeClearOfSeveral(xpath, nodes.size()));
    for (const auto& node : nodes)
    {
        const auto object = requireElement(node);
        addClearOf(commands, object,
                   arguments.size() > 1 ? object->getAnnotationsOf(arguments[1])
                                        : object->getNewAnnotations());
    }
    return {.command = commands.asOne(), .note = {}};
}

} // namespace ModelEditor

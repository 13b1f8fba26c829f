#include "Applications/ModelEditor/Edits/Structure.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/NewMarkup.h"
#include "Applications/ModelEditor/Document/Nodes.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/DeleteAttributeCmd.h"
#include "Applications/ModelEditor/Edits/EditCommands.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/SelectedChildren.h"
#include "Applications/ModelEditor/Edits/StructureCmds.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <iterator>
#include <utility>

// Commands of one edit address their children by numbers. There is one command for each parent, so that none of them
// changes the numbers of the next one.

namespace ModelEditor
{

namespace
{

Valdane::Path wayTo(const XmlObject& element)
{
    return element.getPath(Valdane::RequestedPathType::FromRoot);
}

using Valdane::VdException;

enum class Where
{
    Last,
    First,
    Before,
    After,
};

// Where new children go.
struct Target
{
    std::shared_ptr<XmlObject> parent;
    std::size_t index;
    Layout layout;
    std::string title; // of what the person has named
};

Where parseWhere(const std::vector<std::string>& arguments, std::size_t index)
{
    if (arguments.size() <= index)
    {
        return Where::Last;
    }
    const auto& option = arguments[index];
    if (option != "--first" && option != "--before" && option != "--after")
    {
        throw VdException(shown(option) + " is none of --first, --before and --after");
    }
    if (option == "--first")
    {
        return Where::First;
    }
    return option == "--before" ? Where::Before : Where::After;
}

std::string preposition(Where where)
{
    if (where == Where::Before)
    {
        return " before ";
    }
    return where == Where::After ? " after " : " into ";
}

Target findTarget(XmlModel& model, ChildFinder& finder, const Selected& selected, Where where)
{
    if (where == Where::Before || where == Where::After)
    {
        const auto child = finder.require(selected);
        return {.parent = child.parent,
                .index = child.index + (where == Where::After ? 1 : 0),
                .layout = model.getLayout(*child.parent, child.index),
                .title = selected.object->getTitle()};
    }
    const auto parent = requireElement(selected);
    const auto count = model.getChunks(*parent).all.size();
    const auto neighbour = where == Where::Last ? count - 1 : 0;
    return {.parent = parent,
            .index = where == Where::Last ? count : 0,
            .layout = model.getLayout(*parent, count == 0 ? std::nullopt : std::optional(neighbour)),
            .title = selected.object->getTitle()};
}

NewChildren childrenFor(const Target& target, const NewMarkup& markup)
{
    return {.index = target.index,
            .markup = markup.text,
            .layout = markup.hasTexts ? std::nullopt : std::optional(target.layout.before),
            .tail = markup.hasTexts ? std::string() : target.layout.tail};
}

std::string noteOf(const NewMarkup& markup, const std::vector<Target>& targets)
{
    std::string note;
    for (const auto& prefix : markup.prefixes)
    {
        const bool isDeclared = std::ranges::all_of(
            targets, [&](const Target& target) { return isDeclaredAt(target.parent->getElement(), prefix); });
        note += isDeclared ? "" : noteUndeclared(prefix);
    }
    return note;
}

std::string whatIs(const Child& child)
{
    switch (child.node.type())
    {
    case pugi::node_element:
        return "";
    case pugi::node_comment:
        return "comment of ";
    case pugi::node_pi:
        return "instruction of ";
    default:
        return "text of ";
    }
}

std::string titleOfAll(const std::string& xpath, const std::vector<Selected>& nodes,
                       const std::vector<Child>& children)
{
    return nodes.size() == 1 ? whatIs(children.front()) + brief(nodes.front().object->getTitle())
                             : brief(xpath) + " (" + plural(nodes.size(), "node") + ")";
}

// One for each parent: with a command for each of thousands of children, most of the time would go to their numbers.
void addDeletions(EditCommands& commands, XmlModel& model, const std::vector<Child>& children,
                  const std::string& description)
{
    for (const auto& siblings : byParent(children))
    {
        commands.add(std::make_shared<DeleteCmd>(model, wayTo(*siblings.front().parent), rangesOf(siblings),
                                                 description));
    }
}

Selected requireOne(XmlModel& model, const std::string& xpath)
{
    const auto nodes = requireNodes(model, xpath);
    if (nodes.size() > 1)
    {
        throw VdException(xpath + " selects " + std::to_string(nodes.size()) + " nodes; name one");
    }
    return nodes.front();
}

void requireOutside(const Target& target, const std::vector<Child>& children)
{
    if (isIn(target.parent->getElement(), nodesOf(children)))
    {
        throw VdException(target.parent->getAddress() + " is in what is to be put there");
    }
}

// What stands in the model now, as it has to be written at the target.
NewMarkup markupOf(XmlModel& model, const std::vector<Child>& children, const Target& target)
{
    std::string text;
    bool hasTexts = false;
    for (const auto& child : children)
    {
        appendMarkup(text, withNamespaces(model.getMarkup(*child.parent, child.index), child.node,
                                          target.parent->getElement(), model.getEncoding()));
        hasTexts =
            hasTexts || child.node.type() == pugi::node_pcdata || child.node.type() == pugi::node_cdata;
    }
    if (isBlank(text))
    {
        throw VdException("there is nothing to put there but white space");
    }
    auto markup = readMarkup(text);
    markup.hasTexts = hasTexts;
    return markup;
}

// In its place, on lines of its own if it has some.
NewChildren wrappedIn(const std::string& name, XmlModel& model, const Child& child)
{
    const auto& chunks = model.getChunks(*child.parent);
    const auto line = model.getLayout(*child.parent, child.index).before;
    const bool isOnLine = line.find('\n') != std::string::npos;
    return {.index = child.index,
            .markup = "<" + name + ">" + (isOnLine ? line + model.getIndent() : "") +
                      model.getMarkup(*child.parent, child.index) + (isOnLine ? line : "") + "</" + name +
                      ">",
            .layout = chunks.all.at(child.index).layout,
            .tail = chunks.tail};
}

} // namespace

Edit makeInsert(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto where = parseWhere(arguments, 2);
    const auto markup = readMarkup(arguments[1]);
    model.requireNoWarnings(arguments[1]);
    const auto nodes = requireNodes(model, xpath);
    const std::string start = "Insert " + brief(arguments[1]) + preposition(where);
    const std::string description = start + brief(xpath) + " (" + plural(nodes.size(), "node") + ")";
    ChildFinder finder(model);
    std::vector<Target> targets;
    for (const auto& selected : nodes)
    {
        targets.push_back(findTarget(model, finder, selected, where));
    }
    EditCommands commands(description);
    for (const auto& siblings : byParent(targets))
    {
        std::vector<NewChildren> children;
        std::ranges::transform(siblings, std::back_inserter(children),
                               [&](const Target& target) { return childrenFor(target, markup); });
        commands.add(std::make_shared<InsertCmd>(model, wayTo(*siblings.front().parent), std::move(children),
                                                 siblings.size() == 1 ? start + brief(siblings.front().title)
                                                                      : description));
    }
    return {.command = commands.asOne(), .note = noteOf(markup, targets)};
}

Edit makeDelete(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto nodes = requireNodes(model, arguments[0]);
    std::vector<Selected> attributes;
    std::vector<Selected> others;
    std::ranges::partition_copy(nodes, std::back_inserter(attributes), std::back_inserter(others),
                                isAttribute);
    const auto children = ChildFinder(model).requireAll(others);
    const std::string description =
        "Delete " + (attributes.size() == 1 && others.empty()
                         ? attributes[0].name + " of " + brief(attributes[0].object->getTitle())
                         : titleOfAll(arguments[0], nodes, children));
    EditCommands commands(description);
    const auto gone = nodesOf(children);
    for (const auto& attribute : attributes)
    {
        if (!isIn(attribute.node, gone))
        {
            addAttributeDeletion(commands, attribute, description);
        }
    }
    addDeletions(commands, model, children, description);
    return {.command = commands.asOne(), .note = {}};
}

Edit makeCopy(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto where = parseWhere(arguments, 2);
    const auto nodes = requireNodes(model, arguments[0]);
    ChildFinder finder(model);
    const auto children = finder.requireAll(nodes);
    const auto place = requireOne(model, arguments[1]);
    const auto target = findTarget(model, finder, place, where);
    const auto markup = markupOf(model, children, target);
    return {.command = std::make_shared<InsertCmd>(model, wayTo(*target.parent),
                                                   std::vector{childrenFor(target, markup)},
                                                   "Copy " + titleOfAll(arguments[0], nodes, children) +
                                                       preposition(where) + brief(place.object->getTitle())),
            .note = noteOf(markup, {target})};
}

// The nodes go first, which may change the number of the place for them.
Edit makeMove(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto where = parseWhere(arguments, 2);
    const auto nodes = requireNodes(model, arguments[0]);
    ChildFinder finder(model);
    const auto children = finder.requireAll(nodes);
    const auto place = requireOne(model, arguments[1]);
    const auto target = findTarget(model, finder, place, where);
    requireOutside(target, children);
    const auto markup = markupOf(model, children, target);
    const std::string description = "Move " + titleOfAll(arguments[0], nodes, children) + preposition(where) +
                                    brief(place.object->getTitle());
    const auto goneBefore =
        std::ranges::count_if(children, [&](const Child& child)
                              { return child.parent == target.parent && child.index < target.index; });
    EditCommands commands(description);
    addDeletions(commands, model, children, description);
    auto added = childrenFor(target, markup);
    added.index -= static_cast<std::size_t>(goneBefore);
    commands.add(std::make_shared<InsertCmd>(model, wayTo(*target.parent), std::vector{std::move(added)},
                                             description));
    return {.command = commands.asOne(), .note = noteOf(markup, {target})};
}

Edit makeWrap(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& name = arguments[1];
    const auto nodes = requireNodes(model, arguments[0]);
    const auto children = ChildFinder(model).requireAll(nodes);
    if (children.size() < nodes.size())
    {
        throw VdException(arguments[0] + " selects nodes that are in others of them");
    }
    if (!isAttributeName(name))
    {
        throw VdException(shown(name) + " is not the name of an element");
    }
    const auto empty = readMarkup("<" + name + "/>");
    const std::string description =
        "Wrap " + titleOfAll(arguments[0], nodes, children) + " in " + brief(name);
    EditCommands commands(description);
    std::vector<Target> targets;
    for (const auto& siblings : byParent(children))
    {
        const auto& parent = siblings.front().parent;
        std::vector<NewChildren> wrapped;
        for (const auto& child : siblings)
        {
            wrapped.push_back(wrappedIn(name, model, child));
            wrapped.back().index -= wrapped.size() - 1;
            targets.push_back({.parent = parent, .index = child.index, .layout = {}, .title = {}});
        }
        commands.add(std::make_shared<DeleteCmd>(model, wayTo(*parent), rangesOf(siblings), description));
        commands.add(std::make_shared<InsertCmd>(model, wayTo(*parent), std::move(wrapped), description));
    }
    return {.command = commands.asOne(), .note = noteOf(empty, targets)};
}

} // namespace ModelEditor

#include "Applications/ModelEditor/Edits/Structure.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/NewMarkup.h"
#include "Applications/ModelEditor/Document/Nodes.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/DeleteAttributeCmd.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/StructureCmds.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <algorithm>
#include <iterator>
#include <ranges>
#include <unordered_set>
#include <utility>

// Commands of one edit address their children by numbers. They are executed from the end of the document to its
// beginning, so that none of them changes the numbers of the next one.

namespace ModelEditor
{

namespace
{

using Valdane::CommandBase;
using Valdane::MacroCommand;
using Valdane::VdException;
using Commands = std::vector<std::shared_ptr<CommandBase>>;

enum class Where
{
    Last,
    First,
    Before,
    After,
};

// A node that can be moved: the child of an element.
struct Child
{
    std::shared_ptr<XmlObject> parent;
    pugi::xml_node node;
    std::size_t index;
};

// Where new children go.
struct Target
{
    std::shared_ptr<XmlObject> parent;
    std::size_t index;
    Layout layout;
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

bool isAttribute(const Selected& selected)
{
    return selected.node.type() == pugi::node_element && selected.part != Part::Element;
}

Child requireChild(XmlModel& model, const Selected& selected)
{
    const bool isElement = selected.node.type() == pugi::node_element;
    if (isAttribute(selected))
    {
        throw VdException(selected.getAddress() + " is an attribute");
    }
    const bool isRoot = isElement && selected.object == model.getRoot();
    if (isRoot || selected.node.type() == pugi::node_document)
    {
        throw VdException(selected.getAddress() + " is the root element");
    }
    if (selected.node.parent().type() == pugi::node_document)
    {
        throw VdException("comments and processing instructions outside the root element are not edited");
    }
    auto parent =
        isElement ? std::static_pointer_cast<XmlObject>(selected.object->getOwner()) : selected.object;
    return {.parent = std::move(parent), .node = selected.node, .index = model.indexOf(selected.node)};
}

Target findTarget(XmlModel& model, const Selected& selected, Where where)
{
    if (where == Where::Before || where == Where::After)
    {
        const auto child = requireChild(model, selected);
        return {.parent = child.parent,
                .index = child.index + (where == Where::After ? 1 : 0),
                .layout = model.getLayout(*child.parent, child.index)};
    }
    const auto parent = requireElement(selected);
    const auto count = model.getChunks(*parent).all.size();
    const auto neighbour = where == Where::Last ? count - 1 : 0;
    return {.parent = parent,
            .index = where == Where::Last ? count : 0,
            .layout = model.getLayout(*parent, count == 0 ? std::nullopt : std::optional(neighbour))};
}

NewChildren childrenFor(const Target& target, const NewMarkup& markup)
{
    return {.markup = markup.text,
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

// The command itself if it is the only one.
std::shared_ptr<CommandBase> asOne(const Commands& commands, const std::string& description)
{
    if (commands.size() == 1)
    {
        return commands.front();
    }
    auto macro = std::make_shared<MacroCommand>(description);
    for (const auto& command : commands)
    {
        macro->addCommand(command);
    }
    return macro;
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

using NodeSet = std::unordered_set<const void*>;

NodeSet nodesOf(const std::vector<Child>& children)
{
    NodeSet nodes;
    for (const auto& child : children)
    {
        nodes.insert(child.node.internal_object());
    }
    return nodes;
}

// Whether it is one of them, or below one.
bool isIn(pugi::xml_node node, const NodeSet& nodes)
{
    while (node && !nodes.contains(node.internal_object()))
    {
        node = node.parent();
    }
    return !node.empty();
}

// Without those that are below others of them.
std::vector<Child> requireChildren(XmlModel& model, const std::vector<Selected>& nodes)
{
    std::vector<Child> children;
    for (const auto& selected : nodes)
    {
        children.push_back(requireChild(model, selected));
    }
    std::erase_if(children,
                  [all = nodesOf(children)](const Child& child) { return isIn(child.node.parent(), all); });
    return children;
}

// Those that follow each other go at once: with a command for each of thousands, most of the time would go to their
// numbers.
Commands makeDeletions(XmlModel& model, const std::vector<Child>& children, const std::string& description)
{
    Commands commands;
    for (auto last = children.rbegin(); last != children.rend();)
    {
        auto next = std::next(last);
        std::size_t count = 1;
        while (next != children.rend() && next->parent == last->parent && next->index + count == last->index)
        {
            ++next;
            ++count;
        }
        commands.push_back(
            std::make_shared<DeleteCmd>(model, *last->parent, last->index + 1 - count, count, description));
        last = next;
    }
    return commands;
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
        appendMarkup(text, withNamespaces(model.getMarkup(child.node), child.node,
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

} // namespace

Edit makeInsert(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& xpath = arguments[0];
    const auto where = parseWhere(arguments, 2);
    const auto markup = readMarkup(arguments[1]);
    model.requireNoWarnings(arguments[1]);
    const auto nodes = requireNodes(model, xpath);
    const std::string start = "Insert " + brief(arguments[1]) + preposition(where);
    std::vector<Target> targets;
    Commands commands;
    for (const auto& selected : nodes | std::views::reverse)
    {
        targets.push_back(findTarget(model, selected, where));
        const auto& target = targets.back();
        commands.push_back(std::make_shared<InsertCmd>(model, *target.parent, target.index,
                                                       childrenFor(target, markup),
                                                       start + brief(selected.object->getTitle())));
    }
    return {.command = asOne(commands, start + brief(xpath) + " (" + plural(nodes.size(), "node") + ")"),
            .note = noteOf(markup, targets)};
}

Edit makeDelete(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto nodes = requireNodes(model, arguments[0]);
    std::vector<Selected> attributes;
    std::vector<Selected> others;
    std::ranges::partition_copy(nodes, std::back_inserter(attributes), std::back_inserter(others),
                                isAttribute);
    const auto children = requireChildren(model, others);
    const std::string description =
        "Delete " + (attributes.size() == 1 && others.empty()
                         ? attributes[0].name + " of " + brief(attributes[0].object->getTitle())
                         : titleOfAll(arguments[0], nodes, children));
    Commands commands;
    const auto gone = nodesOf(children);
    for (const auto& attribute : attributes)
    {
        if (!isIn(attribute.node, gone))
        {
            commands.push_back(makeAttributeDeletion(attribute, description));
        }
    }
    std::ranges::copy(makeDeletions(model, children, description), std::back_inserter(commands));
    return {.command = asOne(commands, description), .note = {}};
}

Edit makeCopy(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto where = parseWhere(arguments, 2);
    const auto nodes = requireNodes(model, arguments[0]);
    const auto children = requireChildren(model, nodes);
    const auto place = requireOne(model, arguments[1]);
    const auto target = findTarget(model, place, where);
    const auto markup = markupOf(model, children, target);
    return {.command =
                std::make_shared<InsertCmd>(model, *target.parent, target.index, childrenFor(target, markup),
                                            "Copy " + titleOfAll(arguments[0], nodes, children) +
                                                preposition(where) + brief(place.object->getTitle())),
            .note = noteOf(markup, {target})};
}

// The nodes go first, which may change the number of the place for them.
Edit makeMove(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto where = parseWhere(arguments, 2);
    const auto nodes = requireNodes(model, arguments[0]);
    const auto children = requireChildren(model, nodes);
    const auto place = requireOne(model, arguments[1]);
    const auto target = findTarget(model, place, where);
    requireOutside(target, children);
    const auto markup = markupOf(model, children, target);
    const std::string description = "Move " + titleOfAll(arguments[0], nodes, children) + preposition(where) +
                                    brief(place.object->getTitle());
    const auto goneBefore =
        std::ranges::count_if(children, [&](const Child& child)
                              { return child.parent == target.parent && child.index < target.index; });
    auto commands = makeDeletions(model, children, description);
    commands.push_back(std::make_shared<InsertCmd>(model, *target.parent,
                                                   target.index - static_cast<std::size_t>(goneBefore),
                                                   childrenFor(target, markup), description));
    return {.command = asOne(commands, description), .note = noteOf(markup, {target})};
}

Edit makeWrap(XmlModel& model, const std::vector<std::string>& arguments)
{
    const auto& name = arguments[1];
    const auto nodes = requireNodes(model, arguments[0]);
    const auto children = requireChildren(model, nodes);
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
    Commands commands;
    std::vector<Target> targets;
    for (const auto& child : children | std::views::reverse)
    {
        const auto& chunks = model.getChunks(*child.parent);
        const auto& layout = chunks.all.at(child.index).layout;
        const auto line = model.getLayout(*child.parent, child.index).before;
        const bool isOnLine = line.find('\n') != std::string::npos;
        const std::string text = "<" + name + ">" + (isOnLine ? line + model.getIndent() : "") +
                                 model.getMarkup(child.node) + (isOnLine ? line : "") + "</" + name + ">";
        targets.push_back({.parent = child.parent, .index = child.index, .layout = {}});
        commands.push_back(std::make_shared<DeleteCmd>(model, *child.parent, child.index, 1, description));
        commands.push_back(std::make_shared<InsertCmd>(
            model, *child.parent, child.index,
            NewChildren{.markup = text, .layout = layout, .tail = chunks.tail}, description));
    }
    return {.command = asOne(commands, description), .note = noteOf(empty, targets)};
}

} // namespace ModelEditor

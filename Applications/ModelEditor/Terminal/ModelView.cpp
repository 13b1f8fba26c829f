#include "Applications/ModelEditor/Terminal/ModelView.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/Nodes.h"
#include "Applications/ModelEditor/Document/ValueText.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Document/XmlObject.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/Colour.h"
#include "Applications/ModelEditor/Terminal/HistoryLevel.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"

#include <algorithm>
#include <iomanip>
#include <utility>
#include <vector>

namespace ModelEditor
{

namespace
{

struct Painted
{
    Colour colour;
    std::string text;
};

std::ostream& operator<<(std::ostream& out, const Painted& painted)
{
    return out << painted.colour << painted.text << Colour::Plain;
}

Painted element(std::string text)
{
    return {Colour::Element, std::move(text)};
}

Painted attribute(std::string text)
{
    return {Colour::Attribute, std::move(text)};
}

Painted value(std::string_view text)
{
    return {Colour::Value, shown(text)};
}

Colour colourOfDifference(std::size_t line, std::string_view text)
{
    if (line < 2 || text.starts_with('@'))
    {
        return Colour::Heading;
    }
    if (text.starts_with('-'))
    {
        return Colour::Removed;
    }
    return text.starts_with('+') ? Colour::Added : Colour::Plain;
}

} // namespace

ModelView::ModelView(std::ostream& stream, std::function<void()> beforeLine)
    : out(stream), check(std::move(beforeLine))
{
}

// Of an element that holds nothing else, which is how many files have their values.
void ModelView::printOnlyText(const Selected& selected) const
{
    if (const auto text = findOnlyText(selected))
    {
        out << " = " << Painted{Colour::Value, brief(text->object->getShownText(text->name))};
    }
}

void ModelView::printTree(const std::shared_ptr<XmlObject>& top, std::size_t depth,
                          const std::set<const Valdane::Object*>& marked) const
{
    std::vector<std::pair<std::shared_ptr<XmlObject>, std::size_t>> open{{top, 0}};
    while (!open.empty())
    {
        const auto [object, level] = std::move(open.back());
        open.pop_back();
        check();
        printNode(object, level, level == depth, marked.contains(object.get()));
        if (level < depth)
        {
            const auto children = object->getElements();
            for (auto child = children.rbegin(); child != children.rend(); ++child)
            {
                open.emplace_back(*child, level + 1);
            }
        }
    }
}

void ModelView::printDetails(const Selected& selected) const
{
    check();
    if (selected.part == Part::Element)
    {
        printElement(*selected.object);
        return;
    }
    out << element(selected.getAddress()) << '\n';
    if (selected.part == Part::Value)
    {
        printValue(*selected.object, selected.name);
    }
    else if (selected.part != Part::Unsupported)
    {
        out << "  " << attribute(selected.object->getStep(selected.name)) << " = " << value(selected.text)
            << (selected.part == Part::Name ? " (name)\n" : " (annotation)\n");
    }
}

void ModelView::printLine(const Selected& selected) const
{
    check();
    out << element(selected.getAddress());
    if (selected.part == Part::Element)
    {
        const auto name = selected.object->getElement().attribute("name");
        if (name)
        {
            out << ' ' << value(name.value());
        }
        printOnlyText(selected);
    }
    else if (selected.part == Part::Value)
    {
        out << " = " << value(selected.object->getShownText(selected.name))
            << (selected.object->takesMarkup(selected.name) ? " (markup)" : "");
    }
    else if (selected.part != Part::Unsupported)
    {
        out << " = " << value(selected.text);
    }
    out << '\n';
}

void ModelView::printModule(const XmlObject& module) const
{
    const auto name = module.getElement().attribute("name");
    out << module.getAddress() << (name ? " " + shown(name.value()) : std::string())
        << (module.getOwner() == nullptr ? " (itself)\n" : "\n");
}

void ModelView::printHistory(const std::list<HistoryLevel>& levels, std::uint64_t most) const
{
    for (const auto& level : levels)
    {
        if (level.getKind() == HistoryLevel::Kind::Recording)
        {
            out << "  in this recording:\n";
        }
        else if (level.getKind() == HistoryLevel::Kind::Group)
        {
            out << "  in the group " << brief(level.getName()) << ":\n";
        }
        const auto done = level.history.getPosition();
        const auto hidden = done - std::min(done, most);
        printHidden(hidden);
        printRows(level, hidden, done);
        for (const auto& waiting : level.getWaiting())
        {
            out << "   +  " << waiting.description << " (waits to be merged with the next edit)\n";
        }
    }
    const auto& history = levels.back().history;
    const auto done = history.getPosition();
    const auto undone = history.getRowCount() - done;
    const auto listed = std::min(undone, most);
    out << "  => " << done << " to undo, " << undone << " to redo\n";
    printRows(levels.back(), done, done + listed);
    printHidden(undone - listed);
}

void ModelView::printDifferences(std::string_view lines) const
{
    for (std::size_t line = 0; !lines.empty(); ++line)
    {
        const auto text = lines.substr(0, lines.find('\n'));
        out << Painted{colourOfDifference(line, text), std::string(text)} << '\n';
        lines.remove_prefix(std::min(text.size() + 1, lines.size()));
    }
}

void ModelView::printRows(const HistoryLevel& level, std::uint64_t first, std::uint64_t end) const
{
    for (auto row = first; row < end; ++row)
    {
        check();
        out << std::setw(4) << row + 1 << "  " << level.history.getText(row)
            << (level.isSaved(row) ? "  [saved]\n" : "\n");
    }
}

void ModelView::printHidden(std::uint64_t steps) const
{
    if (steps > 0)
    {
        out << " ...  " << plural(steps, "more step") << '\n';
    }
}

void ModelView::printNode(const std::shared_ptr<XmlObject>& shownObject, std::size_t level, bool isLast,
                          bool isMarked) const
{
    const auto& object = *shownObject;
    const auto name = object.getElement().attribute("name");
    out << std::string(2 * level, ' ') << element(object.getAddressStep());
    if (name)
    {
        out << ' ' << value(name.value());
    }
    printOnlyText({.object = shownObject, .name = {}, .text = {}, .node = object.getElement()});
    if (isLast && object.getChildCount() != 0)
    {
        out << " (+" << object.getChildCount() << ')';
    }
    out << (isMarked ? " *\n" : "\n");
}

void ModelView::printElement(XmlObject& object) const
{
    out << element(object.getAddress()) << '\n';
    if (const auto name = object.getElement().attribute("name"))
    {
        out << "  " << attribute("@name") << " = " << value(name.value()) << " (name)\n";
    }
    for (const auto& name : object.getAttributeNames())
    {
        printValue(object, name);
    }
    if (const auto annotations = object.getDynamicAttributeCollection())
    {
        for (const auto& entry : *annotations)
        {
            if (isAnnotationName(entry.name))
            {
                out << "  " << attribute("@" + entry.name) << " = " << value(entry.text) << " (annotation)\n";
            }
        }
    }
    if (object.getChildCount() != 0)
    {
        out << "  elements: " << object.getChildCount() << '\n';
    }
}

void ModelView::printValue(XmlObject& object, const std::string& attributeName) const
{
    const bool isMarkup = object.takesMarkup(attributeName);
    const auto text = isMarkup ? object.getShownText(attributeName) : object.getText(attributeName);
    out << "  " << attribute(object.getStep(attributeName)) << " = " << value(text) << " ("
        << (isMarkup ? "markup" : nameOf(typeOf(text))) << ")\n";
}

} // namespace ModelEditor

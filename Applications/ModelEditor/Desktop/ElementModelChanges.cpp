#include "Applications/ModelEditor/Desktop/ElementModel.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

// How rows change, come and go.

namespace ModelEditor
{

namespace
{

constexpr std::size_t mostGaps = 256;
constexpr std::size_t mostSingleRows = 64;

} // namespace

void ElementModel::noteChange(pugi::xml_node element)
{
    if (changed.size() <= mostSingleRows)
    {
        changed.push_back(element);
    }
}

void ElementModel::tellColumns(const QModelIndex& parent, int first, int last)
{
    Q_EMIT dataChanged(index(first, 0, parent), index(last, ColumnCount - 1, parent));
}

void ElementModel::refresh()
{
    const auto all = std::exchange(changed, {});
    if (all.size() > mostSingleRows)
    {
        for (const auto& [node, level] : levels)
        {
            if (!level->children.empty())
            {
                tellColumns(indexOf(*level), 0, static_cast<int>(level->children.size()) - 1);
            }
        }
        return;
    }
    for (const auto element : all)
    {
        const auto above =
            element.parent().type() == pugi::node_element ? element.parent() : pugi::xml_node();
        const auto level = levels.find(above.internal_object());
        const int row = level == levels.end() ? -1 : rowOf(*level->second, element, 0);
        if (row >= 0)
        {
            tellColumns(indexOf(*level->second), row, row);
        }
    }
}

void ElementModel::setModified(std::set<const Valdane::Object*> modules)
{
    if (modules == modified)
    {
        return;
    }
    modified = std::move(modules);
    const auto root = index(0, 0);
    tellColumns({}, 0, 0);
    const auto level = levels.find(getNode(root).internal_object());
    if (level != levels.end() && !level->second->children.empty())
    {
        tellColumns(root, 0, static_cast<int>(level->second->children.size()) - 1);
    }
}

// What comes and goes below an element that nobody has looked into has no rows.
void ElementModel::onChildren(const XmlChildren& children)
{
    std::vector<pugi::xml_node> elements;
    std::ranges::copy_if(children.nodes, std::back_inserter(elements),
                         [](pugi::xml_node node) { return node.type() == pugi::node_element; });
    if (!children.haveCome)
    {
        refresh(); // while the rows that have changed are all there
    }
    const auto level = levels.find(children.parent.internal_object());
    if (level == levels.end())
    {
        noteChange(children.parent);
    }
    else if (!elements.empty())
    {
        children.haveCome ? insert(*level->second, elements) : remove(*level->second, elements);
    }
    if (!elements.empty())
    {
        children.haveCome ? Q_EMIT elementsInserted(elements.front()) : Q_EMIT elementsRemoved();
    }
}

void ElementModel::insert(Level& level, std::span<const pugi::xml_node> elements)
{
    // What comes behind the last row gets its row later if others do, too.
    const auto last = level.children.empty() ? pugi::xml_node() : level.children.back();
    std::vector<pugi::xml_node> wanted;
    for (auto child = elementFrom(level.element.first_child());
         child && (level.isWhole || (!last.empty() && (wanted.empty() || wanted.back() != last)));
         child = elementFrom(child.next_sibling()))
    {
        wanted.push_back(child);
    }
    // Runs of rows that follow each other.
    std::vector<std::pair<std::size_t, std::size_t>> runs;
    auto added = elements.begin();
    for (std::size_t row = 0; row < wanted.size() && added != elements.end(); ++row)
    {
        if (wanted[row] != *added)
        {
            continue;
        }
        ++added;
        runs.empty() || runs.back().first + runs.back().second != row ? void(runs.emplace_back(row, 1))
                                                                      : void(++runs.back().second);
    }
    if (runs.size() > mostGaps)
    {
        beginResetModel();
        rebuild();
        endResetModel();
        return;
    }
    const auto parent = indexOf(level);
    for (const auto& [first, count] : runs)
    {
        const auto from = wanted.begin() + static_cast<std::ptrdiff_t>(first);
        beginInsertRows(parent, static_cast<int>(first), static_cast<int>(first + count - 1));
        level.children.insert(level.children.begin() + static_cast<std::ptrdiff_t>(first), from,
                              from + static_cast<std::ptrdiff_t>(count));
        endInsertRows();
    }
}

// From the back, so that the numbers of those before stay right.
void ElementModel::remove(Level& level, std::span<const pugi::xml_node> elements)
{
    std::vector<std::pair<int, int>> runs;
    int row = 0;
    for (const auto element : elements)
    {
        while (row < static_cast<int>(level.children.size()) &&
               level.children[static_cast<std::size_t>(row)] != element)
        {
            ++row;
        }
        if (row == static_cast<int>(level.children.size()))
        {
            break; // neither it nor those behind it have rows yet
        }
        runs.empty() || runs.back().first + runs.back().second != row ? void(runs.emplace_back(row, 1))
                                                                      : void(++runs.back().second);
    }
    const auto parent = indexOf(level);
    std::ranges::reverse(runs);
    const bool isReset = runs.size() > mostGaps;
    isReset ? beginResetModel() : void();
    for (const auto& [first, count] : runs)
    {
        isReset ? void() : beginRemoveRows(parent, first, first + count - 1);
        const auto from = level.children.begin() + first;
        const std::vector<pugi::xml_node> gone(from, from + count);
        level.children.erase(from, from + count);
        std::ranges::for_each(gone, [this](pugi::xml_node element) { forget(element); });
        isReset ? void() : endRemoveRows();
    }
    isReset ? endResetModel() : void();
}

// The levels of an element that goes, and of all below it.
void ElementModel::forget(pugi::xml_node element)
{
    std::vector<pugi::xml_node> todo{element};
    while (!todo.empty())
    {
        const auto node = levels.extract(todo.back().internal_object());
        todo.pop_back();
        if (!node.empty())
        {
            todo.insert(todo.end(), node.mapped()->children.begin(), node.mapped()->children.end());
        }
    }
}

} // namespace ModelEditor

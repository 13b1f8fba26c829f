#include "Applications/ModelEditor/Desktop/ElementModel.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <algorithm>
#include <iterator>
#include <utility>

// Which rows there are, and how they come and go.

namespace ModelEditor
{

namespace
{

constexpr std::size_t mostGaps = 256;
constexpr std::size_t mostSingleRows = 64;

} // namespace

// The node itself or the next sibling that is an element.
pugi::xml_node ElementModel::elementFrom(pugi::xml_node node)
{
    while (!node.empty() && node.type() != pugi::node_element)
    {
        node = node.next_sibling();
    }
    return node;
}

void ElementModel::rebuild()
{
    levels.clear();
    unfilled.clear();
    auto top = std::make_unique<Level>();
    top->children = {model.getRoot()->getElement()};
    top->isWhole = true;
    levels.emplace(nullptr, std::move(top));
}

pugi::xml_node ElementModel::getNode(const QModelIndex& index) const
{
    if (!index.isValid())
    {
        return {};
    }
    const auto* const level = static_cast<const Level*>(index.internalPointer());
    return level->children.at(static_cast<std::size_t>(index.row()));
}

// The level of the rows below @p index, which is made now.
ElementModel::Level* ElementModel::levelOf(const QModelIndex& index) const
{
    if (!index.isValid())
    {
        return levels.at(nullptr).get();
    }
    return requireLevel(getNode(index), static_cast<Level*>(index.internalPointer()), index.row());
}

ElementModel::Level* ElementModel::requireLevel(pugi::xml_node element, Level* above, int rowAbove) const
{
    auto& level = levels[element.internal_object()];
    if (level == nullptr)
    {
        level = std::make_unique<Level>();
        level->element = element;
        level->above = above;
        level->row = rowAbove;
        level->children = takeRows(*level, portion);
        if (!level->isWhole)
        {
            unfilled.push_back(element.internal_object());
            filler.start();
        }
    }
    return level.get();
}

// The first element that has no row yet.
pugi::xml_node ElementModel::nextOf(const Level& level)
{
    return elementFrom(level.children.empty() ? level.element.first_child()
                                              : level.children.back().next_sibling());
}

std::vector<pugi::xml_node> ElementModel::takeRows(Level& level, std::size_t most)
{
    std::vector<pugi::xml_node> rows;
    auto next = nextOf(level);
    for (; !next.empty() && rows.size() < most; next = elementFrom(next.next_sibling()))
    {
        rows.push_back(next);
    }
    level.isWhole = next.empty();
    return rows;
}

void ElementModel::fill(Level& level, std::size_t most)
{
    const auto rows = takeRows(level, most);
    if (!rows.empty())
    {
        const auto first = static_cast<int>(level.children.size());
        beginInsertRows(indexOf(level), first, first + static_cast<int>(rows.size()) - 1);
        level.children.insert(level.children.end(), rows.begin(), rows.end());
        endInsertRows();
    }
}

// Twice as many rows each time: a view looks at all of them after each.
void ElementModel::fillNext()
{
    while (!unfilled.empty())
    {
        const auto level = levels.find(unfilled.back());
        if (level != levels.end() && !level->second->isWhole)
        {
            fill(*level->second, std::max(portion, level->second->children.size()));
            return;
        }
        unfilled.pop_back();
    }
    filler.stop();
}

void ElementModel::fillUpTo(Level& level, pugi::xml_node child)
{
    std::size_t count = 1;
    auto next = nextOf(level);
    for (; !next.empty() && next != child; next = elementFrom(next.next_sibling()))
    {
        ++count;
    }
    fill(level, count);
}

// Rows move when others come and go, so they are looked for from where they were last.
int ElementModel::rowOf(const Level& level, pugi::xml_node child, int guess) const
{
    const auto count = static_cast<int>(level.children.size());
    guess = std::clamp(guess, 0, count);
    for (int distance = 0; distance <= count; ++distance)
    {
        for (const int row : {guess - distance, guess + distance})
        {
            if (row >= 0 && row < count && level.children[static_cast<std::size_t>(row)] == child)
            {
                return row;
            }
        }
    }
    return -1;
}

QModelIndex ElementModel::indexOf(const Level& level) const
{
    if (level.above == nullptr)
    {
        return {};
    }
    auto& found = *levels.at(level.element.internal_object());
    found.row = rowOf(*level.above, level.element, level.row);
    return createIndex(found.row, 0, level.above);
}

QModelIndex ElementModel::findIndex(pugi::xml_node element, int column)
{
    std::vector<pugi::xml_node> way;
    for (auto node = element; node.type() == pugi::node_element; node = node.parent())
    {
        way.push_back(node);
    }
    auto* level = levels.at(nullptr).get();
    QModelIndex found;
    while (!way.empty())
    {
        const auto node = way.back();
        const auto below = levels.find(node.internal_object());
        int row = rowOf(*level, node, below == levels.end() ? 0 : below->second->row);
        if (row < 0 && !level->isWhole)
        {
            fillUpTo(*level, node);
            row = rowOf(*level, node, static_cast<int>(level->children.size()));
        }
        if (row < 0)
        {
            return {};
        }
        found = createIndex(row, way.size() == 1 ? column : 0, level);
        way.pop_back();
        level = way.empty() ? level : requireLevel(node, level, row);
    }
    return found;
}

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

void ElementModel::setFrozen(bool frozen)
{
    isFrozen = frozen;
    frozen ? filler.stop() : filler.start();
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

bool ElementModel::hasChildren(const QModelIndex& parent) const
{
    if (!parent.isValid())
    {
        return true;
    }
    const auto node = getNode(parent);
    const auto level = levels.find(node.internal_object());
    if (parent.column() > 0 || level != levels.end())
    {
        return parent.column() == 0 && !(level->second->children.empty() && level->second->isWhole);
    }
    return !isFrozen && !elementFrom(node.first_child()).empty();
}

} // namespace ModelEditor

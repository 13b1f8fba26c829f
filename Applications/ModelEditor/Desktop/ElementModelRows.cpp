#include "Applications/ModelEditor/Desktop/ElementModel.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <algorithm>
#include <utility>

// Which rows there are.

namespace ModelEditor
{

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

void ElementModel::setFrozen(bool frozen)
{
    isFrozen = frozen;
    frozen ? filler.stop() : filler.start();
}

void ElementModel::setEditable(bool editable)
{
    isEditable = editable;
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

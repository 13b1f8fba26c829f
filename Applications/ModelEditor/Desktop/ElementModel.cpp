#include "Applications/ModelEditor/Desktop/ElementModel.h"

#include "Applications/ModelEditor/Desktop/Icons.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <QFont>
#include <QMimeData>
#include <QPalette>
#include <algorithm>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr auto mimeOfElements = "application/x-valdane-elements";
constexpr std::size_t mostGaps = 256;
constexpr std::size_t mostSingleRows = 64;
constexpr int longestContent = 120;

pugi::xml_node elementAt(pugi::xml_node node)
{
    while (!node.empty() && node.type() != pugi::node_element)
    {
        node = node.next_sibling();
    }
    return node;
}

// What stands in the start tag beside the name, or else the text.
QString contentOf(pugi::xml_node element)
{
    QString text;
    for (const auto attribute : element.attributes())
    {
        const QString name = QString::fromUtf8(attribute.name());
        if (name != QLatin1String("name") && text.size() < longestContent)
        {
            text += (text.isEmpty() ? QString() : QStringLiteral("   ")) + name + QLatin1Char('=') +
                    QString::fromUtf8(attribute.value());
        }
    }
    // Only if it comes first: an element may have very many children.
    if (text.isEmpty())
    {
        text = QString::fromUtf8(element.first_child().value()).simplified();
    }
    return text.size() > longestContent ? text.left(longestContent) + QChar(0x2026) : text;
}

} // namespace

struct ElementModel::Level
{
    pugi::xml_node element; // empty for the level of the root
    Level* above;           // null for that level
    int row;                // of the element, or near it
    std::vector<pugi::xml_node> children;
};

ElementModel::ElementModel(XmlModel& shown, QObject* parent) : QAbstractItemModel(parent), model(shown)
{
    rebuild();
    model.setChildrenListener([this](const XmlChildren& children) { onChildren(children); });
}

ElementModel::~ElementModel()
{
    model.setChildrenListener({});
}

void ElementModel::rebuild()
{
    levels.clear();
    auto top = std::make_unique<Level>();
    top->children = {model.getRoot()->getElement()};
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
        for (auto child = elementAt(element.first_child()); child; child = elementAt(child.next_sibling()))
        {
            level->children.push_back(child);
        }
    }
    return level.get();
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
        const int row = rowOf(*level, node, below == levels.end() ? 0 : below->second->row);
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

void ElementModel::setModified(std::unordered_set<const void*> modules)
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
    std::vector<pugi::xml_node> wanted;
    for (auto child = elementAt(level.element.first_child()); child; child = elementAt(child.next_sibling()))
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
        while (level.children[static_cast<std::size_t>(row)] != element)
        {
            ++row;
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

QModelIndex ElementModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column < 0 || column >= ColumnCount || parent.column() > 0)
    {
        return {};
    }
    auto* const level = levelOf(parent);
    return row < static_cast<int>(level->children.size()) ? createIndex(row, column, level) : QModelIndex();
}

QModelIndex ElementModel::parent(const QModelIndex& index) const
{
    return index.isValid() ? indexOf(*static_cast<const Level*>(index.internalPointer())) : QModelIndex();
}

int ElementModel::rowCount(const QModelIndex& parent) const
{
    return parent.column() > 0 ? 0 : static_cast<int>(levelOf(parent)->children.size());
}

int ElementModel::columnCount(const QModelIndex& /*parent*/) const
{
    return ColumnCount;
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
        return parent.column() == 0 && !level->second->children.empty();
    }
    return !isFrozen && !elementAt(node.first_child()).empty();
}

QVariant ElementModel::textOf(pugi::xml_node element, int column) const
{
    switch (column)
    {
    case Tag:
        return QString::fromUtf8(element.name());
    case Name:
        return QString::fromUtf8(element.attribute("name").value());
    default:
        return contentOf(element);
    }
}

QVariant ElementModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || isFrozen)
    {
        return {};
    }
    const auto element = getNode(index);
    const bool isMarked = modified.contains(element.internal_object());
    switch (role)
    {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return textOf(element, index.column());
    case Qt::ToolTipRole:
        return isMarked ? tr("Changed since the last save") : QVariant();
    case Qt::DecorationRole:
        return index.column() == Tag ? QVariant::fromValue(Icons::get(isMarked ? "modified" : "element"))
                                     : QVariant();
    case Qt::FontRole:
        if (isMarked && index.column() != Content)
        {
            QFont font;
            font.setBold(true);
            return font;
        }
        return {};
    case Qt::ForegroundRole:
        return index.column() == Content ? QVariant::fromValue(QPalette().brush(QPalette::PlaceholderText))
                                         : QVariant();
    case IsModifiedRole:
        return isMarked;
    default:
        return {};
    }
}

QVariant ElementModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
    {
        return {};
    }
    return section == Tag ? tr("Element") : (section == Name ? tr("Name") : tr("Content"));
}

bool ElementModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::EditRole || index.column() != Name || isFrozen || value == data(index, role))
    {
        return false;
    }
    Q_EMIT renameWanted(getNode(index), value.toString());
    return true;
}

Qt::ItemFlags ElementModel::flags(const QModelIndex& index) const
{
    if (!index.isValid() || isFrozen)
    {
        return Qt::NoItemFlags;
    }
    const bool hasName = !getNode(index).attribute("name").empty();
    const bool isRoot = !parent(index).isValid();
    return QAbstractItemModel::flags(index) | Qt::ItemIsDropEnabled |
           (isRoot ? Qt::NoItemFlags : Qt::ItemIsDragEnabled) |
           (index.column() == Name && hasName ? Qt::ItemIsEditable : Qt::NoItemFlags);
}

Qt::DropActions ElementModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

QStringList ElementModel::mimeTypes() const
{
    return {QString::fromLatin1(mimeOfElements)};
}

// Which model, and which of its nodes: they are looked for again when they are dropped.
QMimeData* ElementModel::mimeData(const QModelIndexList& indexes) const
{
    QByteArray bytes = QByteArray::number(reinterpret_cast<qulonglong>(this));
    for (const auto& index : indexes)
    {
        if (index.column() == 0)
        {
            bytes += ' ' + QByteArray::number(reinterpret_cast<qulonglong>(getNode(index).internal_object()));
        }
    }
    auto* const mime = new QMimeData;
    mime->setData(QString::fromLatin1(mimeOfElements), bytes);
    return mime;
}

bool ElementModel::canDropMimeData(const QMimeData* data, Qt::DropAction action, int /*row*/, int /*column*/,
                                   const QModelIndex& parent) const
{
    const auto words = data->data(QString::fromLatin1(mimeOfElements)).split(' ');
    if (isFrozen || action != Qt::MoveAction || words.size() < 2 ||
        words.front().toULongLong() != reinterpret_cast<qulonglong>(this) || !parent.isValid())
    {
        return false;
    }
    for (auto node = getNode(parent); !node.empty(); node = node.parent())
    {
        if (words.contains(QByteArray::number(reinterpret_cast<qulonglong>(node.internal_object()))))
        {
            return false; // into itself
        }
    }
    return true;
}

// The view removes no rows itself: the move does.
bool ElementModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                const QModelIndex& parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
    {
        return false;
    }
    std::vector<pugi::xml_node> dragged;
    for (const auto& word : data->data(QString::fromLatin1(mimeOfElements)).split(' ').sliced(1))
    {
        dragged.emplace_back(reinterpret_cast<pugi::xml_node_struct*>(word.toULongLong()));
    }
    const auto target = parent.siblingAtColumn(0);
    const auto before =
        row < 0 || row >= rowCount(target) ? pugi::xml_node() : getNode(index(row, 0, target));
    Q_EMIT moveWanted(dragged, getNode(target), before);
    return false;
}

} // namespace ModelEditor

#include "Applications/ModelEditor/Desktop/ElementModel.h"

#include "Applications/ModelEditor/Desktop/Icons.h"
#include "Applications/ModelEditor/Document/XmlChange.h"
#include "Applications/ModelEditor/Document/XmlModel.h"

#include <QFont>
#include <QMimeData>
#include <QPalette>
#include <algorithm>
#include <limits>
#include <utility>

namespace ModelEditor
{

namespace
{

constexpr auto mimeOfElements = "application/x-valdane-elements";
constexpr int longestContent = 120;
// Many times what a window shows, and made in no time.
constexpr std::size_t gradualPortion = 4096;

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

ElementModel::ElementModel(XmlModel& shown, Filling filling, QObject* parent)
    : QAbstractItemModel(parent),
      model(shown),
      portion(filling == Filling::Gradual ? gradualPortion : std::numeric_limits<std::size_t>::max())
{
    filler.setInterval(0);
    connect(&filler, &QTimer::timeout, this, &ElementModel::fillNext);
    rebuild();
    model.setChildrenListener([this](const XmlChildren& children) { onChildren(children); });
}

ElementModel::~ElementModel()
{
    model.setChildrenListener({});
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
    const auto* const object = model.findObject(element);
    const bool isMarked = object != nullptr && modified.contains(object);
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
    if (!isEditable)
    {
        return QAbstractItemModel::flags(index);
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
    if (isFrozen || !isEditable || action != Qt::MoveAction || words.size() < 2 ||
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
    const auto before = row < 0                  ? pugi::xml_node()
                        : row < rowCount(target) ? getNode(index(row, 0, target))
                                                 : nextOf(*levelOf(target));
    Q_EMIT moveWanted(dragged, getNode(target), before);
    return false;
}

} // namespace ModelEditor

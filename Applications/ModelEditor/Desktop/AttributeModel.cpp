#include "Applications/ModelEditor/Desktop/AttributeModel.h"

#include "Applications/ModelEditor/Document/Markup.h"
#include "Applications/ModelEditor/Document/ValueText.h"

#include <QFont>
#include <QPalette>
#include <algorithm>
#include <utility>

namespace ModelEditor
{

AttributeModel::AttributeModel(QObject* parent) : QAbstractTableModel(parent) {}

AttributeModel::~AttributeModel() = default;

void AttributeModel::setObject(std::shared_ptr<XmlObject> shown)
{
    if (shown == object)
    {
        refresh();
        return;
    }
    beginResetModel();
    object = std::move(shown);
    rows = readRows();
    endResetModel();
}

const std::shared_ptr<XmlObject>& AttributeModel::getObject() const
{
    return object;
}

std::vector<AttributeModel::Row> AttributeModel::readRows() const
{
    std::vector<Row> found;
    if (object == nullptr || object->getElement().empty())
    {
        return found;
    }
    for (const auto attribute : object->getElement().attributes())
    {
        const std::string name = attribute.name();
        const auto part = partOf(name);
        found.push_back({.name = name,
                         .text = part == Part::Value && !isNamespaceDeclaration(name)
                                     ? object->getShownText(name)
                                     : attribute.value(),
                         .part = part});
    }
    for (const auto& name : object->getAttributeNames())
    {
        if (name.starts_with("text()"))
        {
            found.push_back({.name = name, .text = object->getShownText(name), .part = Part::Value});
        }
    }
    return found;
}

void AttributeModel::refresh()
{
    auto now = readRows();
    if (std::ranges::equal(now, rows, {}, &Row::name, &Row::name))
    {
        for (std::size_t row = 0; row < rows.size(); ++row)
        {
            if (std::exchange(rows[row], now[row]) != now[row])
            {
                const auto number = static_cast<int>(row);
                Q_EMIT dataChanged(index(number, 0), index(number, ColumnCount - 1));
            }
        }
        return;
    }
    beginResetModel();
    rows = std::move(now);
    endResetModel();
}

std::string AttributeModel::getAddress(int row) const
{
    const auto& shown = rows.at(static_cast<std::size_t>(row));
    return Selected{.object = object, .part = shown.part, .name = shown.name, .text = shown.text}
        .getAddress();
}

bool AttributeModel::isNumber(int row) const
{
    const auto type = typeOf(rows.at(static_cast<std::size_t>(row)).text);
    return type != ValueType::Text && type != ValueType::Bool;
}

void AttributeModel::setEditable(bool editable)
{
    isEditable = editable;
}

int AttributeModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

int AttributeModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant AttributeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
    {
        return {};
    }
    const auto& row = rows.at(static_cast<std::size_t>(index.row()));
    if (role == Qt::ForegroundRole && index.column() == Type)
    {
        return QPalette().brush(QPalette::PlaceholderText);
    }
    if (role == Qt::ToolTipRole && index.column() == Value)
    {
        return isNumber(index.row()) ? tr("%1\nDrag to change the number, or press Ctrl+Up and Ctrl+Down")
                                           .arg(QString::fromStdString(row.text))
                                     : QString::fromStdString(row.text);
    }
    if (role != Qt::DisplayRole && role != Qt::EditRole)
    {
        return {};
    }
    switch (index.column())
    {
    case Name:
        return row.name.starts_with("text()") ? tr("text") + QString::fromStdString(row.name.substr(6))
                                              : QString::fromStdString(row.name);
    case Value:
        return QString::fromStdString(row.text);
    default:
        return QString::fromUtf8(nameOf(typeOf(row.text)).data());
    }
}

QVariant AttributeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
    {
        return {};
    }
    return section == Name ? tr("Attribute") : (section == Value ? tr("Value") : tr("Type"));
}

bool AttributeModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::EditRole || index.column() != Value || value == data(index, role))
    {
        return false;
    }
    Q_EMIT valueWanted(getAddress(index.row()), value.toString().toStdString());
    return true;
}

Qt::ItemFlags AttributeModel::flags(const QModelIndex& index) const
{
    const auto flags = QAbstractTableModel::flags(index);
    const bool isFixed = !isEditable || !index.isValid() ||
                         isNamespaceDeclaration(rows.at(static_cast<std::size_t>(index.row())).name);
    return index.column() == Value && !isFixed ? flags | Qt::ItemIsEditable : flags;
}

} // namespace ModelEditor

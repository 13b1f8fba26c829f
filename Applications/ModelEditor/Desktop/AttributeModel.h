#pragma once

#include "Applications/ModelEditor/Document/XmlModel.h"

#include <QAbstractTableModel>
#include <QString>
#include <memory>
#include <string>
#include <vector>

namespace ModelEditor
{

/// The attributes and texts of one element, in the order of the file, with their types.
///
/// Ownership: shares the element's object. Thread: the GUI thread.
class AttributeModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        Name,
        Value, ///< edited in place
        Type,
        ColumnCount
    };

    explicit AttributeModel(QObject* parent = nullptr);
    ~AttributeModel() override;

    /// Shows another element; none if it is empty.
    void setObject(std::shared_ptr<XmlObject> shown);

    /// The element that is shown; may be empty.
    const std::shared_ptr<XmlObject>& getObject() const;

    /// Looks again at all values. Rows are kept as long as the names are the same.
    void refresh();

    /// An XPath that selects the value of @p row. @pre there is that row (not checked).
    std::string getAddress(int row) const;

    /// Whether the value of @p row is a number.
    bool isNumber(int row) const;

    /// Whether values can be edited; at first they can.
    void setEditable(bool editable);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

Q_SIGNALS:
    /// The user wants what @p address selects to be @p text.
    void valueWanted(const std::string& address, const std::string& text);

private:
    struct Row
    {
        std::string name;
        std::string text; ///< as a person is shown it
        Part part;

        bool operator==(const Row&) const = default;
    };

    std::vector<Row> readRows() const;

    std::shared_ptr<XmlObject> object;
    std::vector<Row> rows;
    bool isEditable = true;
};

} // namespace ModelEditor

#pragma once

#include <pugixml.hpp>

#include <QAbstractItemModel>
#include <QString>
#include <QTimer>
#include <memory>
#include <set>
#include <span>
#include <unordered_map>
#include <vector>

namespace Valdane
{
class Object;
} // namespace Valdane

namespace ModelEditor
{

class XmlModel;
struct XmlChildren;

/// The elements of a model as a tree: tag, name, and what else is in the start tag.
///
/// Rows of an element are made when a view asks for them, eight bytes for each: all of them, or the first few thousand, and
/// the others by and by while the event loop has nothing else to do, so that a million elements open at once. What comes and
/// goes is told as the rows that it is; with more than 256 separate places among the same siblings, as a reset.
///
/// While it is frozen it does not look at the model, because a run has that for itself, and the rows have no texts.
///
/// Ownership: refers to the model, which must live longer. Its children listener is taken.
/// Thread: the GUI thread.
class ElementModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column
    {
        Tag,
        Name, ///< the attribute `name`; renamed in place
        Content,
        ColumnCount
    };

    enum Role
    {
        IsModifiedRole = Qt::UserRole, ///< bool: a module that differs from what was saved
    };

    /// How the rows of an element with very many others in it are made.
    enum class Filling
    {
        AtOnce,
        Gradual,
    };

    explicit ElementModel(XmlModel& shown, Filling filling = Filling::AtOnce, QObject* parent = nullptr);
    ~ElementModel() override;

    /// The element of a row; empty if the index is not valid.
    pugi::xml_node getNode(const QModelIndex& index) const;

    /// The row of an element. Makes what is missing on the way. Cost: linear in the siblings on the way.
    QModelIndex findIndex(pugi::xml_node element, int column = Tag);

    /// To be called when the value of @p element has changed: its row is shown anew with the others at refresh().
    void noteChange(pugi::xml_node element);

    /// Shows rows again that have changed; all if there are many.
    void refresh();

    /// Marks these modules, and no others. They may have been destroyed: nothing looks into them.
    void setModified(std::set<const Valdane::Object*> modules);

    void setFrozen(bool frozen);
    /// Whether names can be edited, and rows dragged; at first they can.
    void setEditable(bool editable);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

Q_SIGNALS:
    /// The user wants the element to have another name.
    void renameWanted(pugi::xml_node element, const QString& name);
    /// The user has dragged elements of this model to @p parent, before its element @p before, or to its end.
    void moveWanted(const std::vector<pugi::xml_node>& dragged, pugi::xml_node parent, pugi::xml_node before);
    /// After elements have come.
    void elementsInserted(pugi::xml_node first);
    /// After elements have gone, or their rows at least.
    void elementsRemoved();

private:
    /// The rows of an element that has been looked into.
    struct Level
    {
        pugi::xml_node element{};               ///< empty for the level of the root
        Level* above = nullptr;                 ///< null for that level
        int row = 0;                            ///< of the element, or near it
        std::vector<pugi::xml_node> children{}; ///< the first ones, or all
        bool isWhole = false;
    };

    static pugi::xml_node elementFrom(pugi::xml_node node);
    static pugi::xml_node nextOf(const Level& level);
    Level* levelOf(const QModelIndex& index) const;
    Level* requireLevel(pugi::xml_node element, Level* above, int rowAbove) const;
    static std::vector<pugi::xml_node> takeRows(Level& level, std::size_t most);
    void fill(Level& level, std::size_t most);
    void fillUpTo(Level& level, pugi::xml_node child);
    void fillNext();
    QModelIndex indexOf(const Level& level) const;
    int rowOf(const Level& level, pugi::xml_node child, int guess) const;
    void onChildren(const XmlChildren& children);
    void insert(Level& level, std::span<const pugi::xml_node> elements);
    void remove(Level& level, std::span<const pugi::xml_node> elements);
    void forget(pugi::xml_node element);
    void rebuild();
    QVariant textOf(pugi::xml_node element, int column) const;
    void tellColumns(const QModelIndex& parent, int first, int last);

    XmlModel& model;
    // By the node. The empty node has the level of the root element.
    mutable std::unordered_map<const void*, std::unique_ptr<Level>> levels;
    // How many rows are made at first, and at least each time after.
    std::size_t portion;
    // Elements whose levels were not whole when they came in here.
    mutable std::vector<const void*> unfilled;
    mutable QTimer filler;
    std::set<const Valdane::Object*> modified;
    std::vector<pugi::xml_node> changed;
    bool isFrozen = false;
    bool isEditable = true;
};

} // namespace ModelEditor

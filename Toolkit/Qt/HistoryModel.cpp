#include "Toolkit/Qt/HistoryModel.h"

#include "Service/CommandPattern/CommandManager.h"

#include <QApplication>
#include <QFont>
#include <QPalette>
#include <QStyle>
#include <array>
#include <optional>

namespace Valdane
{

namespace
{

// Nothing but the weight is set, so that all else is as in the view.
QFont boldFont()
{
    QFont font;
    font.setBold(true);
    return font;
}

} // namespace

class HistoryModel::Private
{
public:
    Private(HistoryModel& model, CommandManager& commandManager)
        : manager(commandManager),
          history(commandManager),
          commands(history.getRowCount()),
          start(lookOfStart()),
          removed(history.connectToSigRowsRemoved([this, &model](std::uint64_t first, std::uint64_t count)
                                                  { remove(model, first, count); })),
          inserted(history.connectToSigRowsInserted([this, &model](std::uint64_t first, std::uint64_t count)
                                                    { insert(model, first, count); })),
          changed(history.connectToSigRowsChanged([&model](std::uint64_t first, std::uint64_t count)
                                                  { tell(model, first + 1, count); })),
          settled(history.connectToSigChanged([this, &model] { settle(model); })),
          moved(history.connectToSigMoved([&model](auto) { Q_EMIT model.historyChanged(); }))
    {
    }

    // Which state the model's row is now. While a change of rows is being told, rows still have the numbers of before.
    std::optional<std::uint64_t> stateOf(int row) const
    {
        const auto number = static_cast<std::uint64_t>(row);
        if (number < telling.first)
        {
            return number;
        }
        if (telling.isRemoval)
        {
            return number < telling.first + telling.count ? std::nullopt
                                                          : std::optional(number - telling.count);
        }
        return number + telling.count;
    }

    // The history knows of rows how they look while a change is told. About the state before the first one it has no row.
    bool isDone(std::uint64_t state) const
    {
        return state == 0 || history.isDone(state - 1);
    }

    bool isCurrent(std::uint64_t state) const
    {
        return state == 0 ? history.getPosition() == 0 : history.isCurrent(state - 1);
    }

    bool isSaved(std::uint64_t state, std::uint64_t tracker) const
    {
        return state == 0 ? manager.getSavedPosition(tracker) == 0U : history.isSaved(state - 1, tracker);
    }

    QVariant iconOf(std::uint64_t state) const
    {
        for (std::uint64_t tracker = 0; tracker < icons.size(); ++tracker)
        {
            if (!icons[tracker].isNull() && isSaved(state, tracker))
            {
                return icons[tracker];
            }
        }
        return {};
    }

    CommandManager& manager;
    History history;
    std::array<QIcon, CommandManager::ChangeTrackerCount> icons{
        QIcon::fromTheme("document-save", QApplication::style()->standardIcon(QStyle::SP_DialogSaveButton))};
    // As told to those who use the model.
    std::uint64_t commands;

private:
    struct Look
    {
        bool isCurrent;
        std::array<bool, CommandManager::ChangeTrackerCount> isSaved;

        bool operator==(const Look&) const = default;
    };

    struct Telling
    {
        std::uint64_t first = 0;
        std::uint64_t count = 0;
        bool isRemoval = false;
    };

    Look lookOfStart() const
    {
        return {.isCurrent = isCurrent(0), .isSaved = {isSaved(0, 0), isSaved(0, 1)}};
    }

    // The history tells of rows when they have changed.
    void remove(HistoryModel& model, std::uint64_t first, std::uint64_t count)
    {
        telling = {.first = first + 1, .count = count, .isRemoval = true};
        model.beginRemoveRows({}, static_cast<int>(first + 1), static_cast<int>(first + count));
        telling = {};
        commands -= count;
        model.endRemoveRows();
    }

    void insert(HistoryModel& model, std::uint64_t first, std::uint64_t count)
    {
        telling = {.first = first + 1, .count = count, .isRemoval = false};
        model.beginInsertRows({}, static_cast<int>(first + 1), static_cast<int>(first + count));
        telling = {};
        commands += count;
        model.endInsertRows();
    }

    static void tell(HistoryModel& model, std::uint64_t first, std::uint64_t count)
    {
        Q_EMIT model.dataChanged(model.index(static_cast<int>(first)),
                                 model.index(static_cast<int>(first + count - 1)));
    }

    void settle(HistoryModel& model)
    {
        if (const auto look = lookOfStart(); look != start)
        {
            start = look;
            tell(model, 0, 1);
        }
        if (!history.isMoving())
        {
            Q_EMIT model.historyChanged();
        }
    }

    Look start;
    Telling telling;
    Signals::Connection removed;
    Signals::Connection inserted;
    Signals::Connection changed;
    Signals::Connection settled;
    Signals::Connection moved;
};

HistoryModel::HistoryModel(CommandManager& manager, QObject* parent)
    : QAbstractListModel(parent), d(std::make_unique<Private>(*this, manager))
{
}

HistoryModel::~HistoryModel() = default;

History& HistoryModel::getHistory() const
{
    return d->history;
}

int HistoryModel::getCurrentRow() const
{
    return static_cast<int>(d->history.getPosition());
}

History::MoveResult HistoryModel::goTo(int row)
{
    return d->history.moveTo(static_cast<std::uint64_t>(row));
}

void HistoryModel::setSavedIcon(std::uint64_t tracker, const QIcon& icon)
{
    d->icons.at(tracker) = icon;
    Q_EMIT dataChanged(index(0), index(rowCount() - 1), {Qt::DecorationRole});
}

int HistoryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(d->commands + 1);
}

QVariant HistoryModel::data(const QModelIndex& index, int role) const
{
    const auto state = index.isValid() ? d->stateOf(index.row()) : std::nullopt;
    if (!state)
    {
        return {};
    }
    switch (role)
    {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
        return *state == 0 ? tr("Start") : QString::fromStdString(d->history.getText(*state - 1));
    case Qt::FontRole:
        return d->isCurrent(*state) ? QVariant(boldFont()) : QVariant();
    case Qt::ForegroundRole:
        return d->isDone(*state)
                   ? QVariant()
                   : QVariant(QApplication::palette().brush(QPalette::Disabled, QPalette::Text));
    case Qt::DecorationRole:
        return d->iconOf(*state);
    case IsDoneRole:
        return d->isDone(*state);
    case IsCurrentRole:
        return d->isCurrent(*state);
    case IsSavedRole:
        return d->isSaved(*state, 0);
    case IsSavedForSecondRole:
        return d->isSaved(*state, 1);
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryModel::roleNames() const
{
    auto names = QAbstractListModel::roleNames();
    names.insert({{IsDoneRole, "isDone"},
                  {IsCurrentRole, "isCurrent"},
                  {IsSavedRole, "isSaved"},
                  {IsSavedForSecondRole, "isSavedForSecond"}});
    return names;
}

} // namespace Valdane

#include "Toolkit/Qt/HistoryModel.h"

#include "Service/CommandPattern/MergeableCommand.h"
#include "Tests/Toolkit/Qt/Steps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QFont>
#include <QPixmap>
#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

using QtTestSupport::Counter;
using QtTestSupport::Messages;
using QtTestSupport::Step;
using testing::ElementsAre;
using testing::IsEmpty;
using Valdane::HistoryModel;

/// Takes in any step behind it.
class Drag : public Step, public Valdane::MergeableCommand
{
public:
    using Step::Step;

    bool mergeWith(const Valdane::CommandBase& next) override
    {
        setDescription(getDescription() + "+" + next.getDescription());
        return true;
    }
};

// "* " before the current state, "- " before those that could be redone, "S" and "T" behind those that were saved.
std::string shown(const HistoryModel& model, int row)
{
    const auto index = model.index(row);
    const auto is = [&](HistoryModel::Role role)
    {
        return index.data(role).toBool();
    };
    EXPECT_EQ(index.data(Qt::FontRole).isValid(), is(HistoryModel::IsCurrentRole));
    EXPECT_EQ(index.data(Qt::ForegroundRole).isValid(), !is(HistoryModel::IsDoneRole));
    EXPECT_EQ(index.data(Qt::DecorationRole).isValid(), is(HistoryModel::IsSavedRole));
    return (is(HistoryModel::IsCurrentRole) ? "* "
            : is(HistoryModel::IsDoneRole)  ? ""
                                            : "- ") +
           index.data().toString().toStdString() + (is(HistoryModel::IsSavedRole) ? " S" : "") +
           (is(HistoryModel::IsSavedForSecondRole) ? " T" : "");
}

std::vector<std::string> shown(const HistoryModel& model)
{
    std::vector<std::string> rows;
    for (int row = 0; row < model.rowCount(); ++row)
    {
        rows.push_back(shown(model, row));
    }
    return rows;
}

/// What a view has that only listens.
class Mirror
{
public:
    explicit Mirror(HistoryModel& mirrored) : model(mirrored), rows(shown(model))
    {
        QObject::connect(&model, &HistoryModel::rowsInserted, &model,
                         [this](const QModelIndex&, int first, int last)
                         {
                             for (int row = first; row <= last; ++row)
                             {
                                 rows.insert(rows.begin() + row, shown(model, row));
                             }
                         });
        QObject::connect(&model, &HistoryModel::rowsRemoved, &model,
                         [this](const QModelIndex&, int first, int last)
                         { rows.erase(rows.begin() + first, rows.begin() + last + 1); });
        QObject::connect(&model, &HistoryModel::dataChanged, &model,
                         [this](const QModelIndex& first, const QModelIndex& last)
                         {
                             for (int row = first.row(); row <= last.row(); ++row)
                             {
                                 rows.at(static_cast<std::size_t>(row)) = shown(model, row);
                             }
                         });
        QObject::connect(&model, &HistoryModel::modelReset, &model, [] { ADD_FAILURE() << "a reset"; });
    }

    HistoryModel& model;
    std::vector<std::string> rows;
};

} // namespace

TEST(HistoryModelTest, ARowIsTheStateAfterItsCommand)
{
    Counter counter;
    HistoryModel model(counter.manager);
    EXPECT_THAT(shown(model), ElementsAre("* Start"));
    counter.add("a");
    counter.manager.adjustOnSave(0);
    counter.add("b & c");
    counter.manager.adjustOnSave(1);
    counter.add("d");
    counter.manager.undo(2);
    EXPECT_THAT(shown(model), ElementsAre("Start", "* a S", "- b & c T", "- d"));
    EXPECT_EQ(model.getCurrentRow(), 1);
    EXPECT_EQ(model.index(2).data(Qt::ToolTipRole), "b & c");
    EXPECT_FALSE(model.index(2).data(Qt::CheckStateRole).isValid());
    EXPECT_FALSE(model.index(4).data().isValid());
    EXPECT_EQ(model.rowCount(model.index(0)), 0);
    EXPECT_EQ(model.roleNames().value(HistoryModel::IsSavedRole), "isSaved");
}

TEST(HistoryModelTest, EachTrackerHasAnIcon)
{
    Counter counter;
    HistoryModel model(counter.manager);
    counter.manager.adjustOnSave(1);
    counter.add("a");
    counter.manager.adjustOnSave(0);
    const auto iconOf = [&model](int row)
    {
        return qvariant_cast<QIcon>(model.index(row).data(Qt::DecorationRole)).cacheKey();
    };
    const auto iconOfColour = [](Qt::GlobalColor colour)
    {
        QPixmap pixmap(8, 8);
        pixmap.fill(colour);
        return QIcon(pixmap);
    };
    const auto red = iconOfColour(Qt::red);
    const auto blue = iconOfColour(Qt::blue);
    int changes = 0;
    QObject::connect(&model, &HistoryModel::dataChanged, &model, [&] { ++changes; });
    model.setSavedIcon(0, red);
    model.setSavedIcon(1, blue);
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(iconOf(0), blue.cacheKey());
    EXPECT_EQ(iconOf(1), red.cacheKey());
    counter.manager.adjustOnSave(1);
    EXPECT_EQ(iconOf(1), red.cacheKey());
    model.setSavedIcon(0, {});
    EXPECT_EQ(iconOf(1), blue.cacheKey());
    EXPECT_THROW(model.setSavedIcon(2, red), std::exception);
}

TEST(HistoryModelTest, GoesToAStateAndTellsOnceThatItIsThere)
{
    Counter counter;
    HistoryModel model(counter.manager);
    for (const auto* name : {"a", "b", "c"})
    {
        counter.add(name);
    }
    const Mirror mirror(model);
    int changes = 0;
    QObject::connect(&model, &HistoryModel::historyChanged, &model, [&] { ++changes; });
    EXPECT_EQ(model.goTo(0), Valdane::History::MoveResult::Reached);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(counter.number, 0);
    EXPECT_THAT(mirror.rows, ElementsAre("* Start", "- a", "- b", "- c"));
    EXPECT_EQ(model.goTo(2), Valdane::History::MoveResult::Reached);
    EXPECT_EQ(changes, 2);
    EXPECT_THAT(mirror.rows, ElementsAre("Start", "a", "* b", "- c"));
    counter.manager.beginGroup("g");
    EXPECT_EQ(model.goTo(0), Valdane::History::MoveResult::GroupOpen);
    counter.manager.abandonGroup();
    EXPECT_THROW((void)model.goTo(4), std::exception);
    EXPECT_EQ(model.getCurrentRow(), 2);
}

TEST(HistoryModelTest, WhatWasBeforeTheModelIsShown)
{
    Counter counter;
    counter.add("a");
    counter.manager.adjustOnSave(0);
    const HistoryModel model(counter.manager);
    EXPECT_THAT(shown(model), ElementsAre("Start", "* a S"));
}

TEST(HistoryModelTest, TellsEachChangeAsItIs)
{
    Counter counter;
    HistoryModel model(counter.manager);
    const Mirror mirror(model);
    const Messages messages;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Warning);
    counter.manager.adjustOnSave(0);
    EXPECT_THAT(mirror.rows, ElementsAre("* Start S"));
    counter.manager.setMaxQueueSize(2);
    counter.manager.setUsesMaxQueueSize(true);
    for (const auto* name : {"a", "b", "c"})
    {
        counter.add(name);
    }
    EXPECT_THAT(mirror.rows, ElementsAre("Start", "b", "* c"));
    counter.manager.undo(1);
    counter.manager.adjustOnSave(1);
    counter.add("d");
    EXPECT_THAT(mirror.rows, ElementsAre("Start", "b T", "* d"));
    counter.manager.undo(2);
    counter.manager.forgetRedoCommands();
    EXPECT_THAT(mirror.rows, ElementsAre("* Start"));
    counter.add("e");
    counter.manager.clear();
    EXPECT_THAT(mirror.rows, ElementsAre("* Start"));
    EXPECT_THAT(Messages::all, IsEmpty());
}

TEST(HistoryModelTest, WhoOnlyListensKnowsAllAtRandom)
{
    std::mt19937 random(7); // NOLINT: the same one each time
    const auto below = [&](unsigned int count) -> unsigned int
    {
        return static_cast<unsigned int>(random() % count);
    };
    for (int session = 0; session < 50; ++session)
    {
        Counter counter;
        HistoryModel model(counter.manager);
        const Mirror mirror(model);
        const Messages messages;
        const QAbstractItemModelTester tester(&model,
                                              QAbstractItemModelTester::FailureReportingMode::Warning);
        auto& manager = counter.manager;
        for (int i = 0; i < 100; ++i)
        {
            const auto name = std::to_string(i);
            switch (below(14))
            {
            case 0:
                manager.undo(1 + below(3));
                break;
            case 1:
                manager.redo(1 + below(3));
                break;
            case 2:
                manager.adjustOnSave(below(2));
                break;
            case 3:
                if (manager.getOpenGroups().empty())
                {
                    manager.setUsesMaxQueueSize(below(4) != 0);
                    manager.setMaxQueueSize(1 + below(8));
                }
                break;
            case 4:
                manager.beginGroup("group " + name);
                break;
            case 5:
            case 6:
                if (!manager.getOpenGroups().empty())
                {
                    below(2) == 0 ? manager.endGroup() : static_cast<void>(manager.abandonGroup());
                }
                break;
            case 7:
                manager.addOrMergeCommand(std::make_shared<Drag>(counter.number, name));
                break;
            case 8:
                if (manager.getOpenGroups().empty())
                {
                    manager.forgetRedoCommands();
                }
                break;
            case 9:
                if (manager.getOpenGroups().empty() && below(4) == 0)
                {
                    manager.clear();
                }
                break;
            case 10:
                (void)model.getHistory().moveTo(below(static_cast<unsigned int>(model.rowCount())));
                break;
            default:
                counter.add(name);
            }
            ASSERT_EQ(mirror.rows, shown(model)) << "session " << session << ", step " << i;
            ASSERT_EQ(
                std::ranges::count_if(mirror.rows, [](const auto& row) { return row.starts_with("* "); }), 1);
            ASSERT_EQ(static_cast<std::uint64_t>(model.getCurrentRow()), manager.getPosition());
            for (int row = 1; row < model.rowCount(); ++row)
            {
                ASSERT_EQ(model.index(row).data().toString().toStdString(),
                          manager.getCommand(static_cast<std::uint64_t>(row - 1))->getDescription());
            }
        }
        ASSERT_THAT(Messages::all, IsEmpty()) << "session " << session;
    }
}

TEST(HistoryModelTest, AMillionRowsAreThereAtOnce)
{
    Counter counter;
    const auto step = std::make_shared<Step>(counter.number, "a");
    for (int i = 0; i < 1'000'000; ++i)
    {
        counter.manager.addExecutedCommand(step);
    }
    const HistoryModel model(counter.manager);
    EXPECT_EQ(model.rowCount(), 1'000'001);
    EXPECT_EQ(shown(model, 1'000'000), "* a");
}

// A slot of the model changes the history while it is told of a change.
TEST(HistoryModelTest, ASlotMayChangeTheHistory)
{
    Counter counter;
    HistoryModel model(counter.manager);
    const Mirror mirror(model);
    bool isFirst = true;
    QObject::connect(&model, &HistoryModel::rowsInserted, &model,
                     [&]
                     {
                         if (std::exchange(isFirst, false))
                         {
                             counter.add("b");
                             counter.manager.undo(1);
                         }
                     });
    counter.add("a");
    EXPECT_EQ(mirror.rows, shown(model));
    EXPECT_THAT(mirror.rows, ElementsAre("Start", "* a", "- b"));
}

TEST(HistoryModelTest, ASlotMayDestroyTheModel)
{
    Counter counter;
    auto model = std::make_unique<HistoryModel>(counter.manager);
    counter.add("a");
    QObject::connect(model.get(), &HistoryModel::historyChanged, [&] { model.reset(); });
    EXPECT_EQ(model->goTo(0), Valdane::History::MoveResult::Reached);
    EXPECT_EQ(model, nullptr);
    counter.add("b");
    EXPECT_EQ(counter.number, 1);
}

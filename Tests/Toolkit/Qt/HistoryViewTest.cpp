#include "Toolkit/Qt/HistoryView.h"

#include "Tests/Toolkit/Qt/Steps.h"
#include "Toolkit/Qt/HistoryModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTest>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using QtTestSupport::Counter;
using QtTestSupport::Messages;
using testing::ElementsAre;
using Valdane::HistoryModel;
using Valdane::HistoryView;

/// A view that is open, of a history of three commands.
struct OpenView
{
    OpenView()
    {
        for (const auto* name : {"a", "b", "c"})
        {
            counter.add(name);
        }
        view.setHistory(&model);
        view.resize(200, 400);
        view.show();
        settle();
    }

    static void settle()
    {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }

    void click(int row)
    {
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(model.index(row)).center());
        settle();
    }

    void press(Qt::Key key)
    {
        QTest::keyClick(&view, key);
        settle();
    }

    int getSelectedRow() const
    {
        const auto rows = view.selectionModel()->selectedRows();
        return rows.size() == 1 && rows.front() == view.currentIndex() ? rows.front().row() : -1;
    }

    Counter counter;
    HistoryModel model{counter.manager};
    HistoryView view;
};

/// Records which rows are selected.
class RecordingView : public HistoryView
{
public:
    mutable std::vector<int> selected;

protected:
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event) const override
    {
        selected.push_back(index.row());
        return HistoryView::selectionCommand(index, event);
    }
};

} // namespace

TEST(HistoryViewTest, TheSelectionFollowsTheHistory)
{
    OpenView open;
    EXPECT_EQ(open.getSelectedRow(), 3);
    open.counter.manager.undo(2);
    OpenView::settle();
    EXPECT_EQ(open.getSelectedRow(), 1);
    open.counter.add("d");
    OpenView::settle();
    EXPECT_EQ(open.getSelectedRow(), 2);
    open.counter.manager.setMaxQueueSize(1);
    open.counter.manager.setUsesMaxQueueSize(true);
    OpenView::settle();
    EXPECT_EQ(open.getSelectedRow(), 1);
    EXPECT_TRUE(open.view.viewport()->rect().contains(open.view.visualRect(open.view.currentIndex())));
}

TEST(HistoryViewTest, AThousandStepsMoveTheSelectionOnce)
{
    Counter counter;
    HistoryModel model(counter.manager);
    RecordingView view;
    view.setHistory(&model);
    for (int i = 0; i < 1000; ++i)
    {
        counter.add("a");
    }
    OpenView::settle();
    EXPECT_THAT(view.selected, ElementsAre(0, 1000));
    counter.manager.undo(1000);
    counter.manager.redo(1);
    OpenView::settle();
    EXPECT_THAT(view.selected, ElementsAre(0, 1000, 1));
}

TEST(HistoryViewTest, AClickGoesThere)
{
    OpenView open;
    open.click(1);
    EXPECT_EQ(open.counter.number, 1);
    EXPECT_EQ(open.getSelectedRow(), 1);
    open.click(3);
    EXPECT_EQ(open.counter.number, 3);
    open.click(0);
    EXPECT_EQ(open.counter.number, 0);
    EXPECT_EQ(open.getSelectedRow(), 0);
}

TEST(HistoryViewTest, ArrowsLookAroundAndReturnOrSpaceGoes)
{
    OpenView open;
    open.press(Qt::Key_Up);
    EXPECT_EQ(open.counter.number, 3);
    EXPECT_EQ(open.getSelectedRow(), 2);
    open.press(Qt::Key_Return);
    EXPECT_EQ(open.counter.number, 2);
    open.press(Qt::Key_Home);
    open.press(Qt::Key_Space);
    EXPECT_EQ(open.counter.number, 0);
    open.press(Qt::Key_End);
    open.press(Qt::Key_Enter);
    EXPECT_EQ(open.counter.number, 3);
}

TEST(HistoryViewTest, WhereItCannotGoTheSelectionComesBack)
{
    OpenView open;
    open.counter.manager.beginGroup("g");
    open.click(1);
    EXPECT_EQ(open.counter.number, 3);
    EXPECT_EQ(open.getSelectedRow(), 3);
    open.counter.manager.abandonGroup();
    const auto failing = open.counter.add("d");
    failing->fails = true;
    OpenView::settle();
    open.click(1);
    EXPECT_EQ(open.counter.number, 4);
    EXPECT_EQ(open.getSelectedRow(), 4);
    failing->fails = false;
    const auto spoils =
        open.counter.manager.connectToSigCommandUndone([]() { throw std::runtime_error("spoilt"); });
    const Messages messages;
    open.click(3);
    EXPECT_THAT(Messages::all, ElementsAre("spoilt"));
    EXPECT_EQ(open.counter.number, 3);
    EXPECT_EQ(open.getSelectedRow(), 3);
}

TEST(HistoryViewTest, ShowsTheHistoryOfAnotherDocument)
{
    OpenView open;
    Counter other;
    other.add("x");
    {
        HistoryModel model(other.manager);
        open.view.setHistory(&model);
        EXPECT_EQ(open.view.model()->rowCount(), 2);
        EXPECT_EQ(open.view.currentIndex().row(), 1);
        open.counter.manager.undo(3);
        OpenView::settle();
        EXPECT_EQ(open.view.currentIndex().row(), 1);
    }
    OpenView::settle();
    open.press(Qt::Key_Return);
    EXPECT_EQ(other.number, 1);
    open.view.setHistory(nullptr);
    open.view.setHistory(&open.model);
    EXPECT_EQ(open.getSelectedRow(), 0);
}

TEST(HistoryViewTest, AStepMayCloseIt)
{
    Counter counter;
    counter.add("a");
    auto model = std::make_unique<HistoryModel>(counter.manager);
    auto view = std::make_unique<HistoryView>();
    view->setHistory(model.get());
    view->show();
    const auto closes = counter.manager.connectToSigCommandUndone(
        [&]
        {
            view.reset();
            model.reset();
        });
    QTest::keyClick(view.get(), Qt::Key_Home);
    QTest::keyClick(view.get(), Qt::Key_Return);
    OpenView::settle();
    EXPECT_EQ(view, nullptr);
    EXPECT_EQ(counter.number, 0);
}

TEST(HistoryViewTest, AMillionRowsScroll)
{
    Counter counter;
    const auto step = std::make_shared<QtTestSupport::Step>(counter.number, "a");
    for (int i = 0; i < 1'000'000; ++i)
    {
        counter.manager.addExecutedCommand(step);
    }
    HistoryModel model(counter.manager);
    HistoryView view;
    view.setHistory(&model);
    view.show();
    OpenView::settle();
    EXPECT_EQ(view.currentIndex().row(), 1'000'000);
    view.scrollTo(model.index(500'000));
    EXPECT_TRUE(view.viewport()->rect().intersects(view.visualRect(model.index(500'000))));
    counter.add("b");
    OpenView::settle();
    EXPECT_EQ(view.currentIndex().row(), 1'000'001);
}

// What programs on the library Qt are compiled against. What Qt itself promises, such as the tables of its own classes, is
// left to it.

#include "Tests/Layout/Slots.h"
#include "Toolkit/Qt/CommandFailedBox.h"
#include "Toolkit/Qt/HistoryModel.h"
#include "Toolkit/Qt/HistoryView.h"
#include "Toolkit/Qt/QtCommand.h"
#include "Toolkit/Qt/RunDialog.h"
#include "Toolkit/Qt/RunStatus.h"
#include "Toolkit/Qt/UndoGroup.h"
#include "Toolkit/Qt/UndoStack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QUndoCommand>

using namespace Valdane;
using namespace Valdane::Layout;
using testing::ElementsAre;

TEST(QtLayout, HasTheOperationsOfACommandInOrder)
{
    EXPECT_THAT(commandSlots<QtCommand>(), ElementsAre(2, 3, 4, 5, 6, 7));
    // The operation of the second base has an entry in the table of the first one, too.
    EXPECT_THAT(slotsOf(&QtCommand::mergeWith), ElementsAre(8));
    EXPECT_EQ((offsetOf<MergeableCommand, QtCommand>()), 64U);
}

TEST(QtLayout, AddsToTheClassesOfQtWhatProgramsAllocate)
{
    EXPECT_EQ(sizeof(CommandFailedBox) - sizeof(QObject), 8U);
    EXPECT_EQ(sizeof(HistoryModel) - sizeof(QAbstractListModel), 8U);
    EXPECT_EQ(sizeof(HistoryView) - sizeof(QTableView), 24U);
    EXPECT_EQ(sizeof(RunDialog) - sizeof(QDialog), 8U);
    EXPECT_EQ(sizeof(RunStatus) - sizeof(QWidget), 8U);
    EXPECT_EQ(sizeof(UndoGroup) - sizeof(QObject), 32U);
    EXPECT_EQ(sizeof(UndoStack) - sizeof(QObject), 128U);
    EXPECT_EQ(sizeof(QtCommand), 112U);
}

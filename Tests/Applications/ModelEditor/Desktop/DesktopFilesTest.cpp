#include "Applications/ModelEditor/Desktop/AttributeView.h"
#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QSettings>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTabWidget>
#include <QUrl>
#include <filesystem>

// How files are opened, saved and closed.

namespace
{

using ModelEditor::OpenDocument;
using testing::HasSubstr;
using DesktopFiles = DesktopTour;

TEST_F(DesktopFiles, UndoConcernsTheTabInFront)
{
    auto& first = openBytes("a.xml", "<a b=\"1\"/>");
    type(first, "b", "2");
    auto& second = openBytes("z.xml", "<z/>");
    EXPECT_FALSE(actions.undo->isEnabled());
    EXPECT_FALSE(window.isWindowModified());
    EXPECT_TRUE(actions.saveAll->isEnabled());
    trigger(actions.saveAll);
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
    EXPECT_TRUE(window.closeTab(second));
    EXPECT_EQ(window.getCurrent(), &first);
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(first), "<a b=\"1\"/>");
}

TEST_F(DesktopFiles, UnsavedChangesAreAskedAbout)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Cancel); });
    EXPECT_FALSE(window.close());
    ASSERT_EQ(window.getTabCount(), 1);
    EXPECT_EQ(read("a.xml"), "<a b=\"1\"/>");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Save); });
    EXPECT_TRUE(window.close());
    EXPECT_EQ(window.getTabCount(), 0);
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
}

TEST_F(DesktopFiles, AFileThatAnotherProgramHasChangedIsOverwrittenOnlyIfThatIsWanted)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    directory.write("a.xml", "<other/>");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::No); });
    EXPECT_FALSE(window.save(tab));
    EXPECT_EQ(read("a.xml"), "<other/>");
    EXPECT_TRUE(window.isWindowModified());
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Yes); });
    EXPECT_TRUE(window.save(tab));
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
}

TEST_F(DesktopFiles, AnExportIsNoSave)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    EXPECT_TRUE(window.exportCopy(tab, QString::fromStdString((directory.getPath() / "copy.xml").string())));
    settle();
    EXPECT_EQ(read("copy.xml"), "<a b=\"2\"/>");
    EXPECT_EQ(read("a.xml"), "<a b=\"1\"/>");
    EXPECT_TRUE(tab.getDocument().getSaveState().isModified(OpenDocument::Saved));
    EXPECT_FALSE(tab.getDocument().getSaveState().isModified(OpenDocument::Exported));
}

TEST_F(DesktopFiles, AFileIsReadAgainOnlyIfChangesMayGetLost)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    directory.write("a.xml", "<a b=\"9\"/>");
    onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Discard); });
    EXPECT_TRUE(window.reload(tab));
    EXPECT_EQ(valueOf(*window.getCurrent(), "/a/@b"), "9");
    EXPECT_FALSE(actions.undo->isEnabled());
}

TEST_F(DesktopFiles, AFileThatIsNoModelIsRefusedAndNothingIsOpened)
{
    const auto path = directory.write("bad.xml", "<a>");
    EXPECT_FALSE(window.openFile(QString::fromStdString(path)));
    auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    EXPECT_THAT(box->informativeText().toStdString(), HasSubstr("bad.xml:1:"));
    box->close();
    EXPECT_EQ(window.getTabCount(), 0);
}

// A box that the user has to close.
std::string takeBox()
{
    auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (box == nullptr)
    {
        return "none";
    }
    const auto text = (box->text() + " " + box->informativeText()).toStdString();
    box->close();
    return text;
}

TEST_F(DesktopFiles, WhatIsRecordedIsNeitherSavedNorClosed)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    tab.getDocument().beginRecording("r");
    type(tab, "b", "2");
    EXPECT_FALSE(window.save(tab));
    EXPECT_THAT(takeBox(), HasSubstr("finish or discard the recording first"));
    std::string told;
    onNextDialog([&](QWidget& /*dialog*/) { told = takeBox(); });
    EXPECT_FALSE(window.closeTab(tab));
    settle();
    EXPECT_EQ(told, "Edits are being recorded. Finish or discard the recording first.");
    EXPECT_EQ(read("a.xml"), "<a b=\"1\"/>");
    trigger(actions.finish);
    EXPECT_TRUE(window.save(tab));
    EXPECT_EQ(read("a.xml"), "<a b=\"2\"/>");
    EXPECT_TRUE(window.closeTab(tab));
}

TEST_F(DesktopFiles, TheFileOfAnotherTabIsNotWritten)
{
    openBytes("a.xml", "<a/>");
    auto& tab = openBytes("b.xml", "<b/>");
    const auto other = QString::fromStdString((directory.getPath() / "a.xml").string());
    EXPECT_FALSE(window.save(tab, other));
    EXPECT_THAT(takeBox(), HasSubstr("a.xml is open in another tab"));
    EXPECT_FALSE(window.exportCopy(tab, other));
    EXPECT_THAT(takeBox(), HasSubstr("a.xml is open"));
    EXPECT_EQ(read("a.xml"), "<a/>");
    EXPECT_EQ(takeBox(), "none");
}

TEST_F(DesktopFiles, AReadOnlyFileIsOverwrittenOnlyIfThatIsWanted)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    std::filesystem::permissions(directory.getPath() / "a.xml", std::filesystem::perms::owner_read);
    std::string asked;
    onNextDialog(
        [&](QWidget& dialog)
        {
            asked = dynamic_cast<QMessageBox&>(dialog).text().toStdString();
            press(dialog, QMessageBox::No);
        });
    EXPECT_FALSE(window.save(tab));
    EXPECT_THAT(asked, HasSubstr("a.xml is read-only. Write it anyway?"));
    EXPECT_EQ(read("a.xml"), "<a b=\"1\"/>");
}

TEST_F(DesktopFiles, FilesThatAreDroppedOnTheWindowAreOpened)
{
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QString::fromStdString(directory.write("a.xml", "<a/>"))),
                   QUrl::fromLocalFile(QString::fromStdString(directory.write("b.xml", "<b/>")))});
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &files, Qt::LeftButton, {});
    QApplication::sendEvent(&window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({10, 10}, Qt::CopyAction, &files, Qt::LeftButton, {});
    QApplication::sendEvent(&window, &drop);
    settle();
    ASSERT_EQ(window.getTabCount(), 2);
    EXPECT_EQ(window.getTab(0).getDocument().getName(), "a.xml");
    EXPECT_EQ(window.getTab(1).getDocument().getName(), "b.xml");
    QMimeData text;
    text.setText("<c/>");
    QDragEnterEvent foreign({10, 10}, Qt::CopyAction, &text, Qt::LeftButton, {});
    QApplication::sendEvent(&window, &foreign);
    EXPECT_FALSE(foreign.isAccepted());
}

TEST_F(DesktopFiles, ATabTellsWhetherItsFileIsModified)
{
    auto& first = openBytes("a&b.xml", "<a b=\"1\"/>");
    type(first, "b", "2");
    openBytes("c.xml", "<c/>");
    const auto* const tabs = window.findChild<QTabWidget*>("tabs");
    EXPECT_EQ(tabs->tabText(0), "a&&b.xml ●");
    EXPECT_EQ(tabs->tabText(1), "c.xml");
    EXPECT_EQ(tabs->tabToolTip(1).toStdString(), (directory.getPath() / "c.xml").string());
}

TEST_F(DesktopFiles, WhatIsSavedIsToldByNameAndTheWholePathIsInTheTip)
{
    auto& tab = openBytes("a.xml", "<a b=\"1\"/>");
    type(tab, "b", "2");
    ASSERT_TRUE(tab.getAttributes().hasFocus());
    trigger(actions.save);
    EXPECT_TRUE(tab.getAttributes().hasFocus());
    EXPECT_EQ(window.statusBar()->currentMessage(), "a.xml saved");
    EXPECT_EQ(window.statusBar()->toolTip().toStdString(), (directory.getPath() / "a.xml").string());
    tab.insertElement("<c/>");
    trigger(actions.undo);
    ASSERT_TRUE(ModelEditor::RunActions::check(tab.getDocument()));
    settle();
    EXPECT_EQ(window.statusBar()->currentMessage(), "Check the model");
    EXPECT_EQ(window.statusBar()->toolTip(), "");
}

TEST_F(DesktopFiles, TheLastTenFilesAreKnownTheLatestFirst)
{
    QMenu menu;
    ModelEditor::RecentFiles recent(menu);
    QSettings().clear();
    for (int i = 0; i < 12; ++i)
    {
        recent.add("/tmp/" + QString::number(i));
    }
    recent.add("/tmp/4");
    recent.add("relative");
    recent.remove("relative");
    recent.remove("/tmp/9");
    QStringList expected{"/tmp/4", "/tmp/11", "/tmp/10", "/tmp/8", "/tmp/7", "/tmp/6", "/tmp/5", "/tmp/3"};
    EXPECT_EQ(recent.getAll(), expected);
    EXPECT_EQ(menu.actions().size(), 8);
    QSignalSpy wanted(&recent, &ModelEditor::RecentFiles::wanted);
    menu.actions().at(1)->trigger();
    EXPECT_EQ(wanted.at(0).at(0).toString(), "/tmp/11");
}

TEST_F(DesktopFiles, ColoursThatWereChosenAreThereAtTheNextStart)
{
    const auto before = QApplication::palette();
    window.getTheme().choose(ModelEditor::Theme::Kind::Dark);
    const auto dark = QApplication::palette();
    EXPECT_NE(dark, before);
    QApplication::setPalette(before);
    {
        const ModelEditor::MainWindow next;
        EXPECT_EQ(QApplication::palette(), dark);
    }
    window.getTheme().choose(ModelEditor::Theme::Kind::System);
    EXPECT_EQ(QApplication::palette(), before);
}

} // namespace

#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Tests/Applications/ModelEditor/Desktop/DesktopTour.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QListWidget>
#include <QMessageBox>
#include <QStatusBar>
#include <QTest>
#include <filesystem>
#include <functional>
#include <string>

// What becomes of unsaved work when the program dies.

namespace
{

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class DesktopJournal : public DesktopTour
{
protected:
    DesktopJournal() : file(QString::fromStdString(directory.write("m.xml", "<a x=\"1\" y=\"1\"/>")))
    {
        window.keepJournals(journals);
    }

    /// Has another editor open the file and do this; it ends without closing the file.
    void dieAfter(const std::function<void(ModelEditor::MainWindow&, ModelEditor::DocumentTab&)>& work)
    {
        ModelEditor::MainWindow other;
        other.keepJournals(journals);
        ASSERT_TRUE(other.openFile(file));
        settle();
        work(other, *other.getCurrent());
    }

    void dieWithTwoSteps()
    {
        dieAfter(
            [](ModelEditor::MainWindow&, ModelEditor::DocumentTab& tab)
            {
                tab.select(nodeOf(tab, "/a"));
                tab.addAttribute("z", "3");
                tab.insertElement("<b/>");
                tab.insertElement("<c/>");
                tab.getDocument().getManager().undo(1);
            });
    }

    /// Opens the file, and answers what is asked then.
    ModelEditor::DocumentTab& openAndAnswer(QMessageBox::StandardButton answer)
    {
        onNextDialog(
            [this, answer](QWidget& dialog)
            {
                asked = dynamic_cast<QMessageBox&>(dialog).text().toStdString();
                press(dialog, answer);
            });
        return open();
    }

    ModelEditor::DocumentTab& open()
    {
        EXPECT_TRUE(window.openFile(file));
        settle();
        return *window.getCurrent();
    }

    /// What the window shows under Results.
    std::string getResults() const
    {
        std::string lines;
        for (const auto* list : window.findChildren<QListWidget*>("results"))
        {
            for (int row = 0; row < list->count(); ++row)
            {
                lines += list->item(row)->text().toStdString() + "\n";
            }
        }
        return lines;
    }

    const std::filesystem::path journals = directory.getPath() / "journals";
    const QString file;
    std::string asked;
};

TEST_F(DesktopJournal, WhatWasDoneComesBackWithItsUndoAndRedo)
{
    dieWithTwoSteps();
    auto& tab = openAndAnswer(QMessageBox::Yes);
    EXPECT_THAT(asked, AllOf(HasSubstr(" ended with 2 unsaved steps in "), HasSubstr("m.xml.")));
    EXPECT_THAT(window.statusBar()->currentMessage().toStdString(),
                HasSubstr("Brought back 2 unsaved steps of "));
    EXPECT_EQ(bytesOf(tab), "<a x=\"1\" y=\"1\" z=\"3\"><b/></a>");
    EXPECT_TRUE(window.isWindowModified());
    trigger(actions.redo);
    EXPECT_EQ(bytesOf(tab), "<a x=\"1\" y=\"1\" z=\"3\"><b/><c/></a>");
    trigger(actions.undo);
    trigger(actions.undo);
    trigger(actions.undo);
    EXPECT_EQ(bytesOf(tab), "<a x=\"1\" y=\"1\"/>");
    EXPECT_FALSE(actions.undo->isEnabled());
    EXPECT_FALSE(window.isWindowModified());
    trigger(actions.redo);
    EXPECT_TRUE(window.save(tab));
    EXPECT_EQ(read("m.xml"), "<a x=\"1\" y=\"1\" z=\"3\"/>");
    EXPECT_TRUE(window.closeTab(tab));
    EXPECT_TRUE(std::filesystem::is_empty(journals));
}

TEST_F(DesktopJournal, AfterANoTheFileIsAsItWasSavedAndItIsOfferedAgain)
{
    dieWithTwoSteps();
    for (int time = 0; time < 2; ++time)
    {
        auto& tab = openAndAnswer(QMessageBox::No);
        EXPECT_EQ(bytesOf(tab), "<a x=\"1\" y=\"1\"/>");
        EXPECT_FALSE(window.isWindowModified());
        EXPECT_TRUE(window.closeTab(tab));
    }
    auto& tab = openAndAnswer(QMessageBox::No);
    type(tab, "x", "2");
    EXPECT_TRUE(window.save(tab));
    EXPECT_TRUE(window.closeTab(tab));
    asked.clear();
    open();
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_THAT(getResults(), IsEmpty());
}

TEST_F(DesktopJournal, EscapeIsANoAndReturnAYes)
{
    dieWithTwoSteps();
    onNextDialog([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    auto& tab = open();
    EXPECT_EQ(bytesOf(tab), "<a x=\"1\" y=\"1\"/>");
    EXPECT_TRUE(window.closeTab(tab));
    onNextDialog([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); });
    EXPECT_EQ(bytesOf(open()), "<a x=\"1\" y=\"1\" z=\"3\"><b/></a>");
}

TEST_F(DesktopJournal, ASaveIsWhereTheFileIs)
{
    dieAfter(
        [](ModelEditor::MainWindow& other, ModelEditor::DocumentTab& tab)
        {
            tab.select(nodeOf(tab, "/a"));
            tab.insertElement("<b/>");
            EXPECT_TRUE(other.save(tab));
            tab.insertElement("<c/>");
        });
    EXPECT_EQ(read("m.xml"), "<a x=\"1\" y=\"1\"><b/></a>");
    auto& tab = openAndAnswer(QMessageBox::Yes);
    EXPECT_THAT(asked, HasSubstr("1 unsaved step in "));
    EXPECT_TRUE(window.isWindowModified());
    trigger(actions.undo);
    EXPECT_FALSE(window.isWindowModified());
    EXPECT_EQ(bytesOf(tab), read("m.xml"));
    trigger(actions.undo);
    EXPECT_TRUE(window.isWindowModified());
    EXPECT_EQ(bytesOf(tab), "<a x=\"1\" y=\"1\"/>");
}

TEST_F(DesktopJournal, WhatIsSavedIsNotOffered)
{
    dieAfter(
        [](ModelEditor::MainWindow& other, ModelEditor::DocumentTab& tab)
        {
            tab.insertElement("<b/>");
            EXPECT_TRUE(other.save(tab));
        });
    auto& tab = open();
    EXPECT_EQ(bytesOf(tab), read("m.xml"));
    EXPECT_THAT(getResults(), IsEmpty());
}

TEST_F(DesktopJournal, AFileThatHasChangedIsNotTouched)
{
    dieWithTwoSteps();
    directory.write("m.xml", "<other/>");
    auto& tab = open();
    EXPECT_EQ(bytesOf(tab), "<other/>");
    EXPECT_THAT(getResults(),
                AllOf(HasSubstr("m.xml has changed since it was edited with 2 unsaved steps on "),
                      HasSubstr("; they are kept in "), HasSubstr(".journal, and new ones are not")));
    EXPECT_TRUE(window.closeTab(tab));
    directory.write("m.xml", "<a x=\"1\" y=\"1\"/>");
    openAndAnswer(QMessageBox::Yes);
    EXPECT_THAT(asked, HasSubstr("2 unsaved steps in "));
}

TEST_F(DesktopJournal, EachEditorOfAFileKeepsItsOwn)
{
    dieAfter(
        [this](ModelEditor::MainWindow&, ModelEditor::DocumentTab& tab)
        {
            tab.insertElement("<b/>");
            auto& second = open();
            type(second, "x", "2");
            EXPECT_THAT(getResults(), IsEmpty());
            onNextDialog([](QWidget& dialog) { press(dialog, QMessageBox::Discard); });
            EXPECT_TRUE(window.closeTab(second));
        });
    auto& tab = openAndAnswer(QMessageBox::Yes);
    EXPECT_EQ(bytesOf(tab), "<a x=\"1\" y=\"1\"><b/></a>");
}

TEST_F(DesktopJournal, AFileThatIsReadAgainHasANewJournal)
{
    dieAfter(
        [this](ModelEditor::MainWindow& other, ModelEditor::DocumentTab& tab)
        {
            tab.select(nodeOf(tab, "/a"));
            tab.insertElement("<b/>");
            EXPECT_TRUE(other.save(tab));
            directory.write("m.xml", "<n/>");
            EXPECT_TRUE(other.reload(tab));
            settle();
            other.getCurrent()->insertElement("<c/>");
        });
    auto& tab = openAndAnswer(QMessageBox::Yes);
    EXPECT_THAT(asked, HasSubstr("1 unsaved step in "));
    EXPECT_EQ(bytesOf(tab), "<n><c/></n>");
}

TEST_F(DesktopJournal, WithoutAFolderNothingIsKept)
{
    ModelEditor::MainWindow other;
    EXPECT_TRUE(other.openFile(file));
    other.getCurrent()->insertElement("<b/>");
    EXPECT_FALSE(std::filesystem::exists(journals));
}

} // namespace

#include "Toolkit/Qt/SaveChangesDialog.h"

#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/Editing/SaveState.h"
#include "Tests/Support/NamedObject.h"
#include "Tests/Toolkit/Qt/Steps.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using QtTestSupport::Step;
using Valdane::CommandManager;
using Valdane::Object;
using Valdane::SaveChoice;
using Valdane::SaveState;

/// Modules of which the test says which one the next command changes.
class Modules : public Valdane::ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        return changed;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        changed.clear();
    }

    std::set<const Object*> getAllModulesAsModified() override
    {
        return {};
    }

    std::set<const Object*> changed;
};

class SaveChangesDialogTest : public testing::Test
{
protected:
    SaveChangesDialogTest()
    {
        manager.setModuleAccessInterface(modules);
    }

    void change(const Object& module, const std::string& description)
    {
        modules->changed = {&module};
        manager.addCommand(std::make_shared<Step>(number, description));
    }

    // Asks, and answers when the dialog is there. Tells its texts.
    SaveChoice ask(const std::function<void(QMessageBox&)>& answer, const Valdane::ModuleNames& names = {})
    {
        QTimer::singleShot(0,
                           [this, answer]
                           {
                               auto* const box =
                                   qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
                               ASSERT_NE(box, nullptr);
                               text = box->text().toStdString();
                               modulesText = box->informativeText().toStdString();
                               details = box->detailedText().toStdString();
                               answer(*box);
                           });
        return Valdane::saveChangesDialog(parent.get(), "plant.xml", state, 0, names);
    }

    static void press(QMessageBox& box, QMessageBox::StandardButton button)
    {
        QTest::mouseClick(box.button(button), Qt::LeftButton);
    }

    static void escape(QMessageBox& box)
    {
        QTest::keyClick(&box, Qt::Key_Escape);
    }

    std::unique_ptr<QWidget> parent = std::make_unique<QWidget>();
    int number = 0;
    std::shared_ptr<Modules> modules = std::make_shared<Modules>();
    Valdane::NamedObject pump{"pump", "Pump P-101"};
    CommandManager manager;
    SaveState state{manager};
    std::string text;
    std::string modulesText;
    std::string details;
};

} // namespace

TEST_F(SaveChangesDialogTest, AnswersWhatAPersonWants)
{
    change(pump, "Rename pump");
    EXPECT_EQ(ask([](QMessageBox& box) { press(box, QMessageBox::Save); }), SaveChoice::Save);
    EXPECT_EQ(ask([](QMessageBox& box) { press(box, QMessageBox::Discard); }), SaveChoice::Discard);
    EXPECT_EQ(ask([](QMessageBox& box) { press(box, QMessageBox::Cancel); }), SaveChoice::Cancel);
    EXPECT_EQ(ask(&escape), SaveChoice::Cancel);
    EXPECT_EQ(ask([](QMessageBox& box) { box.close(); }), SaveChoice::Cancel);
    EXPECT_EQ(ask([](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Return); }), SaveChoice::Save);
}

TEST_F(SaveChangesDialogTest, AsksNothingIfThereIsNothingToSave)
{
    EXPECT_EQ(Valdane::saveChangesDialog(nullptr, "plant.xml", state, 0), SaveChoice::Discard);
    change(pump, "Rename pump");
    manager.undo(1);
    EXPECT_EQ(Valdane::saveChangesDialog(nullptr, "plant.xml", state, 0), SaveChoice::Discard);
}

TEST_F(SaveChangesDialogTest, NamesTheModulesAndWhatChangedInThem)
{
    Object tank("tank");
    change(pump, "Rename pump");
    change(tank, "Fill <b>tank</b>");
    (void)ask(&escape);
    EXPECT_EQ(text, "Save the changes to \"plant.xml\"?");
    EXPECT_EQ(modulesText, "Pump P-101: Rename pump\n" +
                               tank.getPath(Valdane::RequestedPathType::FromRoot).toString() +
                               ": Fill <b>tank</b>");
    EXPECT_EQ(details, "");
    (void)ask(&escape, [](const Object&) { return QString("a module"); });
    EXPECT_EQ(modulesText, "a module: Rename pump\na module: Fill <b>tank</b>");
}

TEST_F(SaveChangesDialogTest, TheRestOfALongListIsInTheDetails)
{
    std::vector<std::unique_ptr<Object>> tanks;
    for (int i = 0; i < 7; ++i)
    {
        tanks.push_back(std::make_unique<Object>("tank"));
        change(*tanks.back(), "Fill " + std::to_string(i));
    }
    for (int i = 0; i < 4; ++i)
    {
        change(*tanks.front(), i == 0 ? std::string(100, 'x') : "Drain");
    }
    (void)ask(&escape, [](const Object&) { return QString("t"); });
    EXPECT_EQ(modulesText, "t: Fill 0, " + std::string(57, 'x') +
                               "..., Drain, 2 more\n"
                               "t: Fill 1\nt: Fill 2\nt: Fill 3\nt: Fill 4\n2 more");
    EXPECT_EQ(details, "t\n    Fill 0\n    " + std::string(100, 'x') +
                           "\n    Drain\n    Drain\n    Drain\nt\n    Fill 1\nt\n    Fill 2\nt\n    Fill 3\n"
                           "t\n    Fill 4\nt\n    Fill 5\nt\n    Fill 6");
}

TEST_F(SaveChangesDialogTest, OneChangeThatIsTooLongIsInTheDetailsToo)
{
    change(pump, std::string(61, 'x'));
    (void)ask(&escape);
    EXPECT_EQ(details, "Pump P-101\n    " + std::string(61, 'x'));
    manager.undo(1);
    change(pump, std::string(60, 'x'));
    (void)ask(&escape);
    EXPECT_EQ(details, "");
}

TEST_F(SaveChangesDialogTest, ChangesOfNoModuleAreOtherChanges)
{
    modules->changed = {};
    manager.addCommand(std::make_shared<Step>(number, "Count"));
    (void)ask(&escape);
    EXPECT_EQ(modulesText, "Other changes: Count");
}

TEST_F(SaveChangesDialogTest, ItsWindowMayGoMeanwhile)
{
    change(pump, "Rename pump");
    EXPECT_EQ(ask([this](QMessageBox&) { parent.reset(); }), SaveChoice::Cancel);
}

TEST_F(SaveChangesDialogTest, NamesThatThrowAreToldBeforeAnythingIsAsked)
{
    change(pump, "Rename pump");
    const auto fail = [](const Object&) -> QString
    {
        throw std::runtime_error("no name");
    };
    EXPECT_THROW((void)Valdane::saveChangesDialog(nullptr, "plant.xml", state, 0, fail), std::runtime_error);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(SaveChangesDialogTest, TheTitleFollows)
{
    QWidget window;
    window.setWindowTitle("plant.xml[*]");
    change(pump, "Rename pump");
    {
        const auto connection = Valdane::showModified(window, state, 0);
        EXPECT_TRUE(window.isWindowModified());
        state.saved(1);
        EXPECT_TRUE(window.isWindowModified());
        state.saved(0);
        EXPECT_FALSE(window.isWindowModified());
        manager.undo(1);
        EXPECT_TRUE(window.isWindowModified());
        state.saved(1);
        manager.redo(1);
        EXPECT_FALSE(window.isWindowModified());
    }
    manager.undo(1);
    EXPECT_FALSE(window.isWindowModified());
}

#include "Tests/Applications/ModelEditor/Desktop/DesktopFixture.h"

#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"

#include <QApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>
#include <QTimer>
#include <memory>

namespace
{

// There is one application in a process, and widgets need it.
class DesktopEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        QStandardPaths::setTestModeEnabled(true);
        application = std::make_unique<QApplication>(count, arguments);
        QApplication::setApplicationName("ModelEditorDesktopTests");
        QApplication::setOrganizationName("valdane");
        QApplication::setStyle("Fusion");
        QSettings().clear();
    }

    void TearDown() override
    {
        QSettings().clear();
        application.reset();
    }

private:
    int count = 1;
    char name[8] = "Desktop";
    char* arguments[2] = {name, nullptr};
    std::unique_ptr<QApplication> application;
};

[[maybe_unused]] testing::Environment* const desktopEnvironment =
    testing::AddGlobalTestEnvironment(new DesktopEnvironment);

} // namespace

DesktopFixture::DesktopFixture()
{
    window.show();
    window.activateWindow();
}

DesktopFixture::~DesktopFixture() = default;

ModelEditor::DocumentTab& DesktopFixture::openCopyOf(const std::string& model)
{
    return openBytes(model, readTestFile(besideTests("Data/Models/" + model)));
}

ModelEditor::DocumentTab& DesktopFixture::openBytes(const std::string& name, const std::string& bytes)
{
    const bool isOpen = window.openFile(QString::fromStdString(directory.write(name, bytes)));
    EXPECT_TRUE(isOpen) << name;
    settle();
    return *window.getCurrent();
}

std::string DesktopFixture::read(const std::string& name) const
{
    return directory.read(name);
}

void DesktopFixture::settle()
{
    QCoreApplication::sendPostedEvents();
    QApplication::processEvents();
    for (int i = 0; i < window.getTabCount(); ++i)
    {
        while (window.getTab(i).getDocument().isBusy())
        {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    QApplication::processEvents();
}

void DesktopFixture::onNextDialog(const std::function<void(QWidget& dialog)>& act)
{
    QTimer::singleShot(0, &window,
                       [this, act]
                       {
                           auto* const dialog = QApplication::activeModalWidget();
                           dialog == nullptr ? onNextDialog(act) : act(*dialog);
                       });
}

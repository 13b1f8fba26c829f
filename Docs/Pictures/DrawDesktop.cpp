// Draws the pictures of the desktop editor: draw-desktop MODEL FOLDER, with QT_QPA_PLATFORM=offscreen.

#include "Applications/ModelEditor/Desktop/Actions.h"
#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Desktop/MainWindow.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/Edits.h"
#include "Toolkit/Qt/RunStatus.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

namespace
{

using ModelEditor::DocumentTab;
using ModelEditor::MainWindow;

class Artist
{
public:
    explicit Artist(QString pictureFolder) : folder(std::move(pictureFolder)) {}

    void draw(QWidget& widget, const QString& name) const
    {
        QApplication::processEvents();
        widget.grab().save(folder + "/" + name + ".png");
    }

private:
    QString folder;
};

void set(DocumentTab& tab, const std::string& address, const std::string& value)
{
    tab.getDocument().edit("Set",
                           [&](ModelEditor::XmlModel& model) {
                               return ModelEditor::makeSet(model, {address, value});
                           });
}

void writeLarge(const QString& path)
{
    QByteArray bytes = "<plant>\n";
    for (int i = 0; i < 200000; ++i)
    {
        const auto number = QByteArray::number(i);
        bytes += "  <pump name=\"p" + number + "\" flow=\"" + number + ".5\" to=\"p" + number + "\"/>\n";
    }
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
    {
        file.write(bytes + "</plant>\n");
    }
}

void editSome(DocumentTab& tab)
{
    set(tab, "//link[2]//mass/@value", "8.4");
    set(tab, "//link[2]//inertia/@ixx", "0.02");
    tab.getDocument().edit("Rename",
                           [](ModelEditor::XmlModel& model) {
                               return ModelEditor::makeRename(model, {"//link[3]", "upper_arm"});
                           });
    const auto link = tab.getDocument().getModel().select("//link[2]").nodes.at(0).node;
    tab.select(link.child("inertial").child("mass"));
    QApplication::processEvents();
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QApplication::setApplicationName("draw-desktop");
    QApplication::setOrganizationName("valdane");
    QApplication::setStyle("Fusion");
    if (argc != 3)
    {
        qWarning("usage: draw-desktop MODEL FOLDER");
        return 2;
    }
    QSettings().clear();
    const QTemporaryDir directory;
    const auto model = directory.filePath("robot.urdf");
    QFile::copy(argv[1], model);
    const Artist artist(argv[2]);

    MainWindow window;
    window.getTheme().choose(ModelEditor::Theme::Kind::Light);
    window.show();
    artist.draw(window, "desktop-start");
    window.openFile(model);
    auto& tab = window.getTab(0);
    editSome(tab);
    artist.draw(window, "desktop-light");
    tab.getDocument().save(model.toStdString());
    set(tab, "//link[2]//mass/@value", "9");
    tab.getDocument().getManager().undo(1);
    artist.draw(window, "desktop-history");
    set(tab, "//link[2]//mass/@value", "9");
    window.getTheme().choose(ModelEditor::Theme::Kind::Dark);
    tab.getFindBar().open(true);
    artist.draw(window, "desktop-dark");
    tab.getFindBar().hide();
    // The prompt has an event loop of its own.
    QTimer::singleShot(300, &window,
                       [&]
                       {
                           artist.draw(*QApplication::activeModalWidget(), "desktop-save");
                           QApplication::activeModalWidget()->close();
                       });
    window.closeTab(tab);
    // A file that takes a while.
    const auto large = directory.filePath("large.xml");
    writeLarge(large);
    window.openFile(large);
    auto& second = window.getTab(1);
    for (auto* const status : window.findChildren<Valdane::RunStatus*>())
    {
        status->setMinimumDuration(std::chrono::milliseconds(0));
    }
    ModelEditor::RunActions::check(second.getDocument());
    artist.draw(window, "desktop-run");
    while (second.getDocument().isBusy())
    {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    artist.draw(window, "desktop-results");
    return 0;
}

#include "Applications/ModelEditor/Desktop/MainWindow.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName("model-editor-desktop");
    QApplication::setOrganizationName("valdane");
    QApplication::setApplicationVersion(MODEL_EDITOR_VERSION);
    QApplication::setDesktopFileName("model-editor-desktop");
    QApplication::setStyle("Fusion");
    QCommandLineParser parser;
    parser.setApplicationDescription("Edits XML models in a window.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("MODEL", "files to open", "[MODEL...]");
    const QCommandLineOption noJournal("no-journal", "do not keep what is done and not saved");
    parser.addOption(noJournal);
    parser.process(application);
    ModelEditor::MainWindow window;
    if (!parser.isSet(noJournal))
    {
        window.keepJournals(ModelEditor::FileJournal::findFolder());
    }
    window.show();
    for (const auto& path : parser.positionalArguments())
    {
        window.openFile(path);
    }
    return QApplication::exec();
}

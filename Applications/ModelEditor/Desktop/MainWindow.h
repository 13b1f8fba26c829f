#pragma once

#include "Applications/ModelEditor/Desktop/Actions.h"
#include "Applications/ModelEditor/Desktop/OpenDocument.h"
#include "Applications/ModelEditor/Desktop/RecentFiles.h"
#include "Applications/ModelEditor/Desktop/Theme.h"
#include "Platform/Signals/Connection.h"
#include "Service/Editing/ActiveHistory.h"

#include <QMainWindow>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

class QDockWidget;
class QListWidget;
class QStackedWidget;
class QTabWidget;

namespace Valdane
{
class HistoryView;
class RunStatus;
} // namespace Valdane

namespace ModelEditor
{

class DocumentTab;
class FileJournal;
class StartPage;

/// The window of the editor: files in tabs, their history, and all actions.
///
/// Ownership: owns the tabs and their documents. Thread: the GUI thread.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    /// Keeps what is not saved of the files that are opened from now on in journals in @p folder, and offers what was not
    /// saved of them when a program died. Without, nothing is kept.
    void keepJournals(std::filesystem::path folder);

    /// Opens a file in a tab, or shows its tab. Tells a person what is wrong. @return whether it is open.
    bool openFile(const QString& path);

    /// Saves to the file of the tab, or to @p path. Asks before it overwrites what another program has written, and what is
    /// read-only. @return whether it is saved.
    bool save(DocumentTab& tab, const QString& path = {});
    bool saveAll();
    bool exportCopy(DocumentTab& tab, const QString& path);
    /// Reads the file again. Asks if that loses changes.
    bool reload(DocumentTab& tab);
    /// Closes a tab. Asks whether unsaved changes are to be saved. @return whether it is closed.
    bool closeTab(DocumentTab& tab);

    /// The tab in front; null if no file is open.
    DocumentTab* getCurrent() const;
    DocumentTab& getTab(int index) const;
    int getTabCount() const;
    Actions& getActions();
    Theme& getTheme();

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void makeDocks();
    void connectFiles();
    void connectEdits();
    void connectModel();
    void addTab(LoadedModel loaded, int index);
    std::unique_ptr<DocumentTab> makeTab(LoadedModel loaded);
    std::unique_ptr<FileJournal> openJournal(const std::string& path);
    bool wantsBack(const FileJournal& journal, const std::string& path);
    std::unique_ptr<DocumentTab> bringBack(std::unique_ptr<FileJournal> journal, const std::string& path);
    void warn(const QString& text);
    void dropTab(DocumentTab& tab);
    bool mayLose(DocumentTab& tab);
    bool mayOverwrite(const std::string& path);
    DocumentTab* findTab(const std::string& path) const;
    bool refuse(const QString& what, const std::exception& why);
    void askFilesToOpen();
    void askSaveAs();
    void askExport();
    void askImport();
    void askInsert();
    void askAttribute();
    void askRecording();
    void askScale();
    void showCurrent();
    void showState();
    void showResult(const QString& title, const QString& text);
    void showFinding(const QString& line);
    void showAbout();

    // The documents leave it in their destructors, so it must live longer.
    Valdane::ActiveHistory history;
    KnownFiles known;
    std::filesystem::path journals;
    Actions actions;
    RecentFiles recent;
    Theme theme;
    QStackedWidget* pages;
    StartPage* startPage;
    QTabWidget* tabs;
    QDockWidget* historyDock;
    Valdane::HistoryView* historyView;
    bool wantsHistory = true;
    QDockWidget* resultDock;
    QListWidget* resultList;
    std::map<const DocumentTab*, Valdane::RunStatus*> runs;
    Valdane::Signals::Connection titleFollows;
};

} // namespace ModelEditor

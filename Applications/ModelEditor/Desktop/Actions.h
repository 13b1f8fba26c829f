#pragma once

#include <QKeySequence>
#include <QObject>

class QAction;
class QMainWindow;
class QMenu;

namespace Valdane
{
class ActiveHistory;
} // namespace Valdane

namespace ModelEditor
{

/// What the menus, the toolbar and the shortcuts of the window do. Who makes it connects the actions.
///
/// Ownership: the window owns the actions. Thread: the GUI thread.
class Actions : public QObject
{
    Q_OBJECT

public:
    /// Fills the menu bar and the toolbar of @p window.
    Actions(QMainWindow& window, Valdane::ActiveHistory& history);
    ~Actions() override;

    /// Which actions can be used now.
    struct State
    {
        bool isOpen = false;
        bool isBusy = false;
        bool isReadable = false;
        bool isRecording = false;
        bool isModified = false;
        bool isAnyModified = false;
    };

    void setState(const State& state);

    QMenu* recentMenu;
    QMenu* viewMenu;
    QAction* open;
    QAction* save;
    QAction* saveAs;
    QAction* saveAll;
    QAction* exportCopy;
    QAction* reload;
    QAction* close;
    QAction* quit;
    QAction* undo;
    QAction* redo;
    QAction* cut;
    QAction* copy;
    QAction* paste;
    QAction* remove;
    QAction* rename;
    QAction* insert;
    QAction* addAttribute;
    QAction* moveUp;
    QAction* moveDown;
    QAction* find;
    QAction* findNext;
    QAction* findPrevious;
    QAction* replace;
    QAction* scale;
    QAction* check;
    QAction* import;
    QAction* record;
    QAction* finish;
    QAction* discard;
    QAction* about;

private:
    QAction* make(const char* icon, const QString& text, const QKeySequence& key = {});
    void makeAll(Valdane::ActiveHistory& history);
    void fillMenus();
    void fillToolbar();

    QMainWindow& window;
};

} // namespace ModelEditor

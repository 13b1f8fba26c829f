#include "Applications/ModelEditor/Desktop/Actions.h"

#include "Applications/ModelEditor/Desktop/Icons.h"
#include "Toolkit/Qt/UndoRedoActions.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

namespace ModelEditor
{

Actions::Actions(QMainWindow& ownWindow, Valdane::ActiveHistory& history) : window(ownWindow)
{
    makeAll(history);
    fillMenus();
    fillToolbar();
    setState({});
}

Actions::~Actions() = default;

QAction* Actions::make(const char* icon, const QString& text, const QKeySequence& key)
{
    auto* const action = new QAction(Icons::get(icon), text, &window);
    action->setShortcut(key);
    const auto tip = QString(text).remove(QLatin1Char('&')).remove(QChar(0x2026));
    action->setToolTip(key.isEmpty() ? tip : tip + " (" + key.toString(QKeySequence::NativeText) + ")");
    return action;
}

void Actions::makeAll(Valdane::ActiveHistory& history)
{
    open = make("open", tr("&Open…"), QKeySequence::Open);
    save = make("save", tr("&Save"), QKeySequence::Save);
    saveAs = make("", tr("Save &as…"), QKeySequence(tr("Ctrl+Shift+S")));
    saveAll = make("", tr("Save a&ll"), QKeySequence(tr("Ctrl+Alt+S")));
    exportCopy = make("export", tr("&Export a copy…"), QKeySequence(tr("Ctrl+E")));
    reload = make("", tr("&Reload"), QKeySequence(tr("Ctrl+F5")));
    close = make("", tr("&Close"), QKeySequence(tr("Ctrl+W")));
    quit = make("", tr("&Quit"), QKeySequence(tr("Ctrl+Q")));
    undo = Valdane::createUndoAction(history, &window);
    undo->setIcon(Icons::get("undo"));
    redo = Valdane::createRedoAction(history, &window);
    redo->setIcon(Icons::get("redo"));
    cut = make("cut", tr("Cu&t"), QKeySequence::Cut);
    copy = make("copy", tr("&Copy"), QKeySequence::Copy);
    paste = make("paste", tr("&Paste into the element"), QKeySequence::Paste);
    remove = make("delete", tr("&Delete"), QKeySequence::Delete);
    rename = make("", tr("Re&name"), QKeySequence(Qt::Key_F2));
    insert = make("insert", tr("&Insert an element…"), QKeySequence(tr("Ctrl+Ins")));
    addAttribute = make("", tr("Add an &attribute…"), QKeySequence(tr("Ctrl+Shift+A")));
    moveUp = make("", tr("Move &up"), QKeySequence(tr("Alt+Up")));
    moveDown = make("", tr("Move do&wn"), QKeySequence(tr("Alt+Down")));
    find = make("find", tr("&Find…"), QKeySequence::Find);
    findNext = make("", tr("Find ne&xt"), QKeySequence(Qt::Key_F3));
    findPrevious = make("", tr("Find pre&vious"), QKeySequence(tr("Shift+F3")));
    replace = make("", tr("R&eplace…"), QKeySequence(tr("Ctrl+H")));
    scale = make("scale", tr("&Scale numbers…"), QKeySequence(tr("Ctrl+M")));
    check = make("check", tr("&Check the model"), QKeySequence(Qt::Key_F7));
    import = make("import", tr("&Import modules…"), QKeySequence(tr("Ctrl+I")));
    record = make("record", tr("&Record one step…"), QKeySequence(tr("Ctrl+R")));
    finish = make("finish", tr("&Finish the recording"), QKeySequence(tr("Ctrl+Shift+R")));
    discard = make("discard", tr("&Discard the recording"));
    about = make("", tr("&About the model editor"));
    // In a line of text the keys are those of the text.
    for (auto* const action : {cut, copy, paste, remove})
    {
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    }
}

void Actions::fillMenus()
{
    auto* const bar = window.menuBar();
    auto* const file = bar->addMenu(tr("&File"));
    file->addAction(open);
    recentMenu = file->addMenu(tr("Open &recent"));
    file->addSeparator();
    file->addActions({save, saveAs, saveAll, exportCopy, reload});
    file->addSeparator();
    file->addActions({close, quit});
    auto* const edit = bar->addMenu(tr("&Edit"));
    edit->addActions({undo, redo});
    edit->addSeparator();
    edit->addActions({cut, copy, paste, remove});
    edit->addSeparator();
    edit->addActions({insert, addAttribute, rename, moveUp, moveDown});
    edit->addSeparator();
    edit->addActions({find, findNext, findPrevious, replace});
    auto* const model = bar->addMenu(tr("&Model"));
    model->addActions({scale, check, import});
    model->addSeparator();
    model->addActions({record, finish, discard});
    viewMenu = bar->addMenu(tr("&View"));
    bar->addMenu(tr("&Help"))->addAction(about);
}

void Actions::fillToolbar()
{
    auto* const bar = window.addToolBar(tr("Toolbar"));
    bar->setObjectName("toolbar");
    bar->setMovable(false);
    bar->setIconSize({20, 20});
    bar->addActions({open, save});
    bar->addSeparator();
    bar->addActions({undo, redo});
    bar->addSeparator();
    bar->addActions({cut, copy, paste, insert, remove});
    bar->addSeparator();
    bar->addActions({find, scale, check, import});
    bar->addSeparator();
    bar->addActions({record, finish, discard});
}

void Actions::setState(const State& state)
{
    const bool isIdle = state.isOpen && !state.isBusy;
    for (auto* const action :
         {cut, copy, paste, remove, rename, insert, addAttribute, moveUp, moveDown, replace})
    {
        action->setEnabled(isIdle);
    }
    for (auto* const action : {find, findNext, findPrevious})
    {
        action->setEnabled(state.isOpen && state.isReadable);
    }
    for (auto* const action : {saveAs, exportCopy, reload, close, scale, check, import, record})
    {
        action->setEnabled(isIdle && !state.isRecording);
    }
    save->setEnabled(isIdle && !state.isRecording && state.isModified);
    saveAll->setEnabled(!state.isRecording && state.isAnyModified);
    close->setEnabled(state.isOpen);
    finish->setEnabled(isIdle && state.isRecording);
    discard->setEnabled(isIdle && state.isRecording);
    record->setVisible(!state.isRecording);
    finish->setVisible(state.isRecording);
    discard->setVisible(state.isRecording);
}

} // namespace ModelEditor

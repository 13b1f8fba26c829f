#include "Applications/ModelEditor/Desktop/MainWindow.h"

#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Desktop/Icons.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Applications/ModelEditor/Desktop/StartPage.h"
#include "Toolkit/Qt/HistoryView.h"
#include "Toolkit/Qt/RunStatus.h"
#include "Toolkit/Qt/SaveChangesDialog.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QInputDialog>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabWidget>

namespace ModelEditor
{

MainWindow::MainWindow()
    : actions(*this, history),
      recent(*actions.recentMenu),
      theme(*actions.viewMenu),
      pages(new QStackedWidget),
      startPage(new StartPage),
      tabs(new QTabWidget)
{
    setWindowIcon(Icons::get("app"));
    setAcceptDrops(true);
    resize(1180, 760);
    tabs->setObjectName("tabs");
    tabs->setTabsClosable(true);
    tabs->setMovable(true);
    tabs->setDocumentMode(true);
    pages->addWidget(startPage);
    pages->addWidget(tabs);
    setCentralWidget(pages);
    makeDocks();
    connectFiles();
    connectEdits();
    connectModel();
    startPage->setRecent(recent.getAll());
    showCurrent();
}

// The documents go while the history and all views are still there.
MainWindow::~MainWindow()
{
    titleFollows = {};
    tabs->disconnect(this);
    while (tabs->count() > 0)
    {
        dropTab(getTab(0));
    }
}

void MainWindow::makeDocks()
{
    historyView = new Valdane::HistoryView;
    historyDock = new QDockWidget(tr("History"), this);
    historyDock->setObjectName("historyDock");
    historyDock->setWidget(historyView);
    addDockWidget(Qt::RightDockWidgetArea, historyDock);
    resizeDocks({historyDock}, {260}, Qt::Horizontal);
    auto* const showHistory = historyDock->toggleViewAction();
    showHistory->setText(tr("&History"));
    showHistory->setIcon(Icons::get("history"));
    connect(showHistory, &QAction::triggered, this, [this](bool isWanted) { wantsHistory = isWanted; });
    showHistory->setShortcut(QKeySequence(tr("Ctrl+Shift+H")));

    resultList = new QListWidget;
    resultList->setObjectName("results");
    resultList->setAlternatingRowColors(true);
    resultList->setFrameShape(QFrame::NoFrame);
    connect(resultList, &QListWidget::itemActivated, this,
            [this](const QListWidgetItem* item) { showFinding(item->text()); });
    resultDock = new QDockWidget(tr("Results"), this);
    resultDock->setObjectName("resultDock");
    resultDock->setWidget(resultList);
    addDockWidget(Qt::BottomDockWidgetArea, resultDock);
    resizeDocks({resultDock}, {140}, Qt::Vertical);
    resultDock->hide();
    auto* const showResults = resultDock->toggleViewAction();
    showResults->setText(tr("&Results"));
    actions.viewMenu->addActions({showHistory, showResults});
}

DocumentTab* MainWindow::getCurrent() const
{
    return static_cast<DocumentTab*>(tabs->currentWidget());
}

DocumentTab& MainWindow::getTab(int index) const
{
    return *static_cast<DocumentTab*>(tabs->widget(index));
}

int MainWindow::getTabCount() const
{
    return tabs->count();
}

Actions& MainWindow::getActions()
{
    return actions;
}

Theme& MainWindow::getTheme()
{
    return theme;
}

void MainWindow::connectEdits()
{
    const auto on = [this](QAction* action, auto what)
    {
        connect(action, &QAction::triggered, this,
                [this, what]
                {
                    if (auto* const tab = getCurrent())
                    {
                        what(*tab);
                    }
                });
    };
    on(actions.cut, [](DocumentTab& tab) { tab.cutSelected(); });
    on(actions.copy, [](DocumentTab& tab) { tab.copySelected(); });
    on(actions.paste, [](DocumentTab& tab) { tab.paste(); });
    on(actions.remove, [](DocumentTab& tab) { tab.deleteSelected(); });
    on(actions.rename, [](DocumentTab& tab) { tab.renameSelected(); });
    on(actions.moveUp, [](DocumentTab& tab) { tab.moveSelected(-1); });
    on(actions.moveDown, [](DocumentTab& tab) { tab.moveSelected(1); });
    on(actions.find, [](DocumentTab& tab) { tab.getFindBar().open(false); });
    on(actions.replace, [](DocumentTab& tab) { tab.getFindBar().open(true); });
    on(actions.findNext, [](DocumentTab& tab) { tab.getFindBar().next(); });
    on(actions.findPrevious, [](DocumentTab& tab) { tab.getFindBar().previous(); });
    connect(actions.insert, &QAction::triggered, this, &MainWindow::askInsert);
    connect(actions.addAttribute, &QAction::triggered, this, &MainWindow::askAttribute);
}

void MainWindow::connectModel()
{
    connect(actions.scale, &QAction::triggered, this, &MainWindow::askScale);
    connect(actions.check, &QAction::triggered, this,
            [this] { RunActions::check(getCurrent()->getDocument()); });
    connect(actions.import, &QAction::triggered, this, &MainWindow::askImport);
    connect(actions.record, &QAction::triggered, this, &MainWindow::askRecording);
    connect(actions.finish, &QAction::triggered, this,
            [this] { getCurrent()->getDocument().finishRecording(); });
    connect(actions.discard, &QAction::triggered, this,
            [this] { getCurrent()->getDocument().discardRecording(); });
    connect(actions.about, &QAction::triggered, this, &MainWindow::showAbout);
}

void MainWindow::askInsert()
{
    bool isWanted = false;
    const auto markup = QInputDialog::getMultiLineText(this, tr("Insert an element"),
                                                       tr("Markup of what comes into the selected element"),
                                                       "<new/>", &isWanted);
    if (isWanted)
    {
        getCurrent()->insertElement(markup);
    }
}

void MainWindow::askAttribute()
{
    bool isWanted = false;
    const auto text =
        QInputDialog::getText(this, tr("Add an attribute"), tr("Name and value, such as mass=1.5"),
                              QLineEdit::Normal, {}, &isWanted);
    if (isWanted)
    {
        getCurrent()->addAttribute(text.section(QLatin1Char('='), 0, 0).trimmed(),
                                   text.section(QLatin1Char('='), 1));
    }
}

void MainWindow::askRecording()
{
    bool isWanted = false;
    const auto name =
        QInputDialog::getText(this, tr("Record one step"), tr("All edits become one step with the name"),
                              QLineEdit::Normal, tr("Recorded edits"), &isWanted);
    if (isWanted && !name.isEmpty())
    {
        getCurrent()->getDocument().beginRecording(name);
    }
}

// The value that is selected in the table, or all attributes of the element and below it.
void MainWindow::askScale()
{
    auto& tab = *getCurrent();
    const auto address = QString::fromStdString(tab.getSelectedAddress());
    RunActions::askScale(tab.getDocument(), address.isEmpty() ? QStringLiteral("//@*") : address + "//@*",
                         this);
}

// All that follows the tab in front.
void MainWindow::showCurrent()
{
    auto* const tab = getCurrent();
    pages->setCurrentWidget(tab == nullptr ? static_cast<QWidget*>(startPage) : tabs);
    historyView->setHistory(tab == nullptr ? nullptr : &tab->getDocument().getHistory());
    historyDock->setVisible(tab != nullptr && wantsHistory);
    if (tab == nullptr)
    {
        titleFollows = {};
        setWindowModified(false);
        setWindowTitle(tr("Model Editor"));
        history.deactivate();
    }
    else
    {
        auto& document = tab->getDocument();
        setWindowTitle(document.getName() + "[*] – " + tr("Model Editor"));
        titleFollows = Valdane::showModified(*this, document.getSaveState(), OpenDocument::Saved);
        document.activate();
        // Who types a value and saves goes on typing.
        if (!tab->isAncestorOf(focusWidget()))
        {
            tab->setFocus();
        }
    }
    for (const auto& [owner, status] : runs)
    {
        status->setEnabled(owner == tab);
    }
    showState();
}

void MainWindow::showState()
{
    Actions::State state;
    for (int i = 0; i < tabs->count(); ++i)
    {
        auto& document = getTab(i).getDocument();
        const bool isModified = !document.isBusy() && document.isModified();
        state.isAnyModified = state.isAnyModified || isModified;
        tabs->setTabText(i, document.getName().replace(QLatin1Char('&'), QLatin1String("&&")) +
                                (isModified ? QStringLiteral(" ●") : QString()));
        tabs->setTabToolTip(i, QString::fromStdString(document.getPath()));
        if (&getTab(i) == getCurrent())
        {
            state.isOpen = true;
            state.isBusy = document.isBusy();
            state.isReadable = document.isReadable();
            state.isRecording = document.isRecording();
            state.isModified = isModified;
        }
    }
    actions.setState(state);
}

void MainWindow::showResult(const QString& title, const QString& text)
{
    resultDock->setWindowTitle(title);
    resultList->clear();
    resultList->addItems(text.split(QLatin1Char('\n'), Qt::SkipEmptyParts));
    resultDock->show();
}

// A line about a place begins with its address. It may be gone by now.
void MainWindow::showFinding(const QString& line)
{
    auto* const tab = getCurrent();
    if (tab == nullptr || !tab->getDocument().isReadable() || !line.startsWith(QLatin1Char('/')))
    {
        return;
    }
    try
    {
        const auto address = line.section(QStringLiteral(": "), 0, 0).toStdString();
        const auto found = tab->getDocument().getModel().select(address);
        if (!found.nodes.empty())
        {
            tab->select(found.nodes.front().object->getElement());
        }
    }
    catch (const std::exception&)
    {
        statusBar()->showMessage(tr("This line names no place in the model"), 8000);
    }
}

void MainWindow::showAbout()
{
    QMessageBox::about(
        this, tr("Model Editor"),
        tr("<h3>Model Editor %1</h3><p>Edits XML models. Every change is a command that can be undone, and "
           "all that is not changed is saved as it was read.</p>")
            .arg(QApplication::applicationVersion()));
}

} // namespace ModelEditor

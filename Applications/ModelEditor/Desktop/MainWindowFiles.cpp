#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/ElementView.h"
#include "Applications/ModelEditor/Desktop/FindReplaceBar.h"
#include "Applications/ModelEditor/Desktop/MainWindow.h"
#include "Applications/ModelEditor/Desktop/RunActions.h"
#include "Applications/ModelEditor/Desktop/StartPage.h"
#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Toolkit/Qt/RunStatus.h"
#include "Toolkit/Qt/SaveChangesDialog.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QMessageBox>
#include <QMimeData>
#include <QStatusBar>
#include <QTabWidget>
#include <QUrl>
#include <sstream>

// What concerns the files: open, save, close.

namespace ModelEditor
{

namespace
{

QString fileFilter()
{
    return MainWindow::tr("Models (*.xml *.urdf *.sdf *.xacro);;All files (*)");
}

} // namespace

void MainWindow::connectFiles()
{
    connect(actions.open, &QAction::triggered, this, &MainWindow::askFilesToOpen);
    connect(startPage, &StartPage::openWanted, this, &MainWindow::askFilesToOpen);
    connect(startPage, &StartPage::fileWanted, this, &MainWindow::openFile);
    connect(&recent, &RecentFiles::wanted, this, &MainWindow::openFile);
    connect(&recent, &RecentFiles::changed, this, [this] { startPage->setRecent(recent.getAll()); });
    connect(actions.save, &QAction::triggered, this, [this] { save(*getCurrent()); });
    connect(actions.saveAs, &QAction::triggered, this, &MainWindow::askSaveAs);
    connect(actions.saveAll, &QAction::triggered, this, &MainWindow::saveAll);
    connect(actions.exportCopy, &QAction::triggered, this, &MainWindow::askExport);
    connect(actions.reload, &QAction::triggered, this, [this] { reload(*getCurrent()); });
    connect(actions.close, &QAction::triggered, this, [this] { closeTab(*getCurrent()); });
    connect(actions.quit, &QAction::triggered, this, &QWidget::close);
    connect(tabs, &QTabWidget::currentChanged, this, &MainWindow::showCurrent);
    connect(tabs, &QTabWidget::tabCloseRequested, this, [this](int index) { closeTab(getTab(index)); });
}

bool MainWindow::refuse(const QString& what, const std::exception& why)
{
    auto* const box = new QMessageBox(QMessageBox::Warning, tr("Model Editor"), what, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setInformativeText(QString::fromUtf8(why.what()));
    box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box->open();
    return false;
}

DocumentTab* MainWindow::findTab(const std::string& path) const
{
    for (int i = 0; i < tabs->count(); ++i)
    {
        if (isSameFile(getTab(i).getDocument().getPath(), path))
        {
            return &getTab(i);
        }
    }
    return nullptr;
}

bool MainWindow::openFile(const QString& path)
{
    if (auto* const same = findTab(path.toStdString()))
    {
        tabs->setCurrentWidget(same);
        return true;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    try
    {
        std::ostringstream warnings;
        auto loaded = openModel(path.toStdString(), warnings);
        QApplication::restoreOverrideCursor();
        warn(QString::fromStdString(warnings.str()));
        addTab(std::move(loaded), tabs->count());
        recent.add(path);
        return true;
    }
    catch (const std::exception& exception)
    {
        QApplication::restoreOverrideCursor(); // which does nothing twice
        recent.remove(path);
        return refuse(tr("The file cannot be opened."), exception);
    }
}

void MainWindow::addTab(LoadedModel loaded, int index)
{
    auto* const tab = makeTab(std::move(loaded)).release();
    auto& document = tab->getDocument();
    tab->getTree().addActions({actions.cut, actions.copy, actions.paste, actions.remove, actions.insert,
                               actions.addAttribute, actions.rename, actions.moveUp, actions.moveDown});
    tab->getTree().setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* const status = new Valdane::RunStatus(document.getRun());
    statusBar()->addPermanentWidget(status);
    runs[tab] = status;
    connect(&document, &OpenDocument::changed, this, &MainWindow::showState);
    connect(&document, &OpenDocument::busyChanged, this, &MainWindow::showState);
    connect(&document, &OpenDocument::noted, this,
            [this](const QString& text, const QString& tip)
            {
                statusBar()->showMessage(text, 8000);
                statusBar()->setToolTip(tip);
            });
    connect(&document, &OpenDocument::resultReady, this, &MainWindow::showResult);
    tabs->insertTab(index, tab, document.getName());
    tabs->setCurrentIndex(index);
    showCurrent();
}

void MainWindow::dropTab(DocumentTab& tab)
{
    if (&tab == getCurrent())
    {
        titleFollows = {};
    }
    delete runs.at(&tab);
    runs.erase(&tab);
    tabs->removeTab(tabs->indexOf(&tab));
    delete &tab;
}

// What speaks against writing there is asked, because only a person knows.
bool MainWindow::mayOverwrite(const std::string& path)
{
    auto why = known.tellChange(path);
    if (why.empty() && isReadOnly(path))
    {
        why = path + " is read-only";
    }
    return why.empty() ||
           QMessageBox::question(this, tr("Save"), QString::fromStdString(why) + tr(". Write it anyway?"),
                                 QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
}

bool MainWindow::save(DocumentTab& tab, const QString& path)
{
    try
    {
        auto& document = tab.getDocument();
        const auto file = path.isEmpty() ? document.getPath() : path.toStdString();
        const auto* const other = findTab(file);
        if (other != nullptr && other != &tab)
        {
            throw std::runtime_error(file + " is open in another tab");
        }
        if (!mayOverwrite(file))
        {
            return false;
        }
        document.save(file);
        recent.add(QString::fromStdString(file));
        showCurrent();
        return true;
    }
    catch (const std::exception& exception)
    {
        return refuse(tr("The file cannot be saved."), exception);
    }
}

bool MainWindow::saveAll()
{
    bool areAllSaved = true;
    for (int i = 0; i < tabs->count(); ++i)
    {
        auto& document = getTab(i).getDocument();
        if (!document.isBusy() && document.isModified())
        {
            areAllSaved = save(getTab(i)) && areAllSaved;
        }
    }
    return areAllSaved;
}

bool MainWindow::exportCopy(DocumentTab& tab, const QString& path)
{
    try
    {
        if (findTab(path.toStdString()) != nullptr)
        {
            throw std::runtime_error(path.toStdString() + " is open");
        }
        if (!mayOverwrite(path.toStdString()))
        {
            return false;
        }
        tab.getDocument().exportTo(path.toStdString());
        return true;
    }
    catch (const std::exception& exception)
    {
        return refuse(tr("The copy cannot be written."), exception);
    }
}

bool MainWindow::mayLose(DocumentTab& tab)
{
    auto& document = tab.getDocument();
    if (document.isBusy())
    {
        refuse(tr("A run has the model."), std::runtime_error("Wait for its end, or cancel it."));
        return false;
    }
    if (document.isRecording())
    {
        refuse(tr("Edits are being recorded."), std::runtime_error("Finish or discard the recording first."));
        return false;
    }
    const auto names = [](const Valdane::Object& module)
    {
        return QString::fromStdString(static_cast<const XmlObject&>(module).getTitle());
    };
    switch (Valdane::saveChangesDialog(this, document.getName(), document.getSaveState(), OpenDocument::Saved,
                                       names))
    {
    case Valdane::SaveChoice::Save:
        return save(tab);
    case Valdane::SaveChoice::Discard:
        return true;
    default:
        return false;
    }
}

bool MainWindow::reload(DocumentTab& tab)
{
    if (!mayLose(tab))
    {
        return false;
    }
    try
    {
        auto loaded = loadModel(tab.getDocument().getPath());
        const int index = tabs->indexOf(&tab);
        tab.getDocument().closeJournal();
        dropTab(tab);
        addTab(std::move(loaded), index);
        return true;
    }
    catch (const std::exception& exception)
    {
        return refuse(tr("The file cannot be read again."), exception);
    }
}

bool MainWindow::closeTab(DocumentTab& tab)
{
    tabs->setCurrentWidget(&tab);
    if (!mayLose(tab))
    {
        return false;
    }
    tab.getDocument().closeJournal();
    dropTab(tab);
    showCurrent();
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    while (tabs->count() > 0)
    {
        if (!closeTab(getTab(tabs->count() - 1)))
        {
            event->ignore();
            return;
        }
    }
    event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls())
    {
        event->acceptProposedAction();
    }
}

void MainWindow::dropEvent(QDropEvent* event)
{
    for (const auto& url : event->mimeData()->urls())
    {
        openFile(url.toLocalFile());
    }
}

void MainWindow::askFilesToOpen()
{
    for (const auto& path : QFileDialog::getOpenFileNames(this, tr("Open models"), {}, fileFilter()))
    {
        openFile(path);
    }
}

void MainWindow::askSaveAs()
{
    auto& tab = *getCurrent();
    const auto path = QFileDialog::getSaveFileName(
        this, tr("Save as"), QString::fromStdString(tab.getDocument().getPath()), fileFilter());
    if (!path.isEmpty())
    {
        save(tab, path);
    }
}

void MainWindow::askExport()
{
    const auto path = QFileDialog::getSaveFileName(this, tr("Export a copy"), {}, fileFilter());
    if (!path.isEmpty())
    {
        exportCopy(*getCurrent(), path);
    }
}

void MainWindow::askImport()
{
    const auto path = QFileDialog::getOpenFileName(this, tr("Import modules"), {}, fileFilter());
    if (!path.isEmpty())
    {
        RunActions::import(getCurrent()->getDocument(), path.toStdString());
    }
}

} // namespace ModelEditor

#include "Applications/ModelEditor/Desktop/DocumentTab.h"
#include "Applications/ModelEditor/Desktop/MainWindow.h"
#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"

#include <QDateTime>
#include <QLocale>
#include <QMessageBox>
#include <QStatusBar>
#include <chrono>
#include <exception>
#include <memory>
#include <utility>

// What concerns the journals of the files.

namespace ModelEditor
{

namespace
{

QString stepsOf(const Valdane::JournalRemains& remains)
{
    return QString::fromStdString(plural(remains.unsavedSteps, "unsaved step"));
}

QString timeOf(const Valdane::JournalRemains& remains)
{
    const auto seconds = std::chrono::system_clock::to_time_t(remains.since);
    return QLocale().toString(QDateTime::fromSecsSinceEpoch(seconds), QLocale::ShortFormat);
}

} // namespace

void MainWindow::keepJournals(std::filesystem::path folder)
{
    journals = std::move(folder);
}

std::unique_ptr<DocumentTab> MainWindow::makeTab(LoadedModel loaded)
{
    auto journal = openJournal(loaded.path);
    if (journal != nullptr && journal->hasUnsaved() && wantsBack(*journal, loaded.path))
    {
        if (auto tab = bringBack(std::move(journal), loaded.path))
        {
            return tab;
        }
    }
    auto tab = std::make_unique<DocumentTab>(std::move(loaded), history, known);
    if (journal != nullptr)
    {
        tab->getDocument().keepJournal(std::move(journal));
    }
    return tab;
}

// Who is left without says so, and works on.
std::unique_ptr<FileJournal> MainWindow::openJournal(const std::string& path)
{
    if (journals.empty())
    {
        return nullptr;
    }
    const auto name = QString::fromStdString(shown(path));
    try
    {
        auto journal = std::make_unique<FileJournal>(journals, path, Valdane::Journal::Durability::Interval);
        if (!journal->hasUnsaved() || journal->fits(readFile(path)))
        {
            return journal;
        }
        const auto& remains = *journal->getRemains();
        warn(
            tr("%1 has changed since it was edited with %2 on %3; they are kept in %4, and new ones are not")
                .arg(name, stepsOf(remains), timeOf(remains), QString::fromStdString(remains.file.string())));
    }
    catch (const std::exception& exception)
    {
        warn(tr("what is not saved of %1 is not kept: %2").arg(name, QString::fromUtf8(exception.what())));
    }
    return nullptr;
}

bool MainWindow::wantsBack(const FileJournal& journal, const std::string& path)
{
    const auto& remains = *journal.getRemains();
    QMessageBox box(QMessageBox::Question, tr("Unsaved work"),
                    tr("A session of %1 ended with %2 in %3.")
                        .arg(timeOf(remains), stepsOf(remains), QString::fromStdString(shown(path))),
                    QMessageBox::Yes | QMessageBox::No, this);
    box.setInformativeText(tr("Bring them back? Until you edit something, you will be asked again."));
    box.setDefaultButton(QMessageBox::Yes);
    box.setEscapeButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

// Empty if that fails; then the file is as it was saved, and what is in the journal stays there.
std::unique_ptr<DocumentTab> MainWindow::bringBack(std::unique_ptr<FileJournal> journal,
                                                   const std::string& path)
{
    const auto name = QString::fromStdString(shown(path));
    const auto steps = stepsOf(*journal->getRemains());
    const auto file = QString::fromStdString(journal->getRemains()->file.string());
    try
    {
        auto base = loadModel(path);
        base.model = journal->loadBase();
        auto tab = std::make_unique<DocumentTab>(std::move(base), history, known);
        const auto failure = tab->getDocument().bringBack(std::move(journal));
        if (failure.empty())
        {
            statusBar()->showMessage(tr("Brought back %1 of %2").arg(steps, name), 8000);
        }
        else
        {
            warn(tr("not all came back of %1: %2; the rest is kept in %3, and new steps are not")
                     .arg(name, QString::fromStdString(failure), file));
        }
        return tab;
    }
    catch (const std::exception& exception)
    {
        warn(tr("nothing came back of %1: %2; it is kept in %3, and new steps are not")
                 .arg(name, QString::fromUtf8(exception.what()), file));
        return nullptr;
    }
}

void MainWindow::warn(const QString& text)
{
    const auto told = text.trimmed();
    if (!told.isEmpty())
    {
        showResult(tr("Warnings"), told);
    }
}

} // namespace ModelEditor

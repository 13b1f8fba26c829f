#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Recovery/FileJournal.h"
#include "Applications/ModelEditor/Terminal/Session.h"
#include "Service/CommandPattern/CommandManager.h"

#include <chrono>
#include <ctime>
#include <exception>
#include <iomanip>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

// What concerns the journals of the files that are open.

namespace ModelEditor
{

namespace
{

std::string textOf(std::chrono::system_clock::time_point time)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm local{};
    localtime_r(&seconds, &local);
    std::ostringstream text;
    text << std::put_time(&local, "%Y-%m-%d %H:%M");
    return std::move(text).str();
}

} // namespace

// Who is left without says so, and works on.
void Session::keepJournal(OpenFile& file)
{
    if (settings.journals.empty())
    {
        return;
    }
    try
    {
        auto journal = std::make_unique<FileJournal>(settings.journals, file.path,
                                                     Valdane::Journal::Durability::WhenIdle);
        file.journalEnded = journal->connectToSigEnded([this](const std::string& why)
                                                       { warn("steps are not kept any more: " + why); });
        if (recoverOrStart(file, *journal))
        {
            file.journal = std::move(journal);
        }
    }
    catch (const std::exception& exception)
    {
        warn("what is not saved of " + shown(file.path) + " is not kept: " + exception.what());
    }
}

// Whether the journal follows the file now.
bool Session::recoverOrStart(OpenFile& file, FileJournal& journal)
{
    const auto& remains = journal.getRemains();
    const bool isLost = journal.hasUnsaved();
    if (isLost || (remains && settings.keepsHistory))
    {
        const std::string steps =
            plural(isLost ? remains->unsavedSteps : remains->steps, isLost ? "unsaved step" : "step");
        if (!journal.fits(readFile(file.path)))
        {
            warn(shown(file.path) + " has changed since it was edited with " + steps + " on " +
                 textOf(remains->since) + "; they are kept in " + remains->file.string() +
                 ", and new ones are not");
            return false;
        }
        if (!isLost || agreesTo("A session of " + textOf(remains->since) + " ended with " + steps + " in " +
                                shown(file.path) + ". Bring them back?"))
        {
            recover(file, journal, steps);
            return true;
        }
    }
    journal.start(*file.model, file.editor->getManager());
    return true;
}

void Session::recover(OpenFile& file, FileJournal& journal, const std::string& steps)
{
    auto model = journal.loadBase();
    model->setPrefixes(file.model->getPrefixes());
    auto editor = makeEditor(file, *model);
    const std::string failure = journal.recover(*model, editor->getManager());
    file.editor = std::move(editor);
    file.model = std::move(model);
    if (failure.empty())
    {
        out << "Brought back " << steps << " of " << shown(file.path) << '\n';
    }
    else
    {
        warn("not all came back of " + shown(file.path) + ": " + failure + "; the rest is kept in " +
             journal.getRemains()->file.string() + ", and new steps are not");
    }
}

// What a line has done is written while the next one is typed.
void Session::writeJournals() const
{
    for (const OpenFile* const file : files.getAll())
    {
        if (file->journal != nullptr)
        {
            file->journal->writeSoon();
        }
    }
}

void Session::closeJournal(OpenFile& file) const
{
    if (file.journal == nullptr)
    {
        return;
    }
    if (settings.keepsHistory && file.editor->getUnsaved().empty())
    {
        file.journal->closeAndKeep();
    }
    else
    {
        file.journal->close();
    }
    file.journal.reset();
}

void Session::warn(const std::string& what)
{
    out.flush();
    err << "warning: " << what << '\n' << std::flush;
}

} // namespace ModelEditor

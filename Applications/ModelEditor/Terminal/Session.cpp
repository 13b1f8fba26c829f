#include "Applications/ModelEditor/Terminal/Session.h"

#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Terminal/Colour.h"
#include "Applications/ModelEditor/Terminal/InterruptKey.h"
#include "Applications/ModelEditor/Terminal/LineSource.h"
#include "Applications/ModelEditor/Terminal/Pager.h"
#include "Applications/ModelEditor/Terminal/WakeUp.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <optional>
#include <utility>

namespace ModelEditor
{

namespace
{

std::string join(const std::vector<std::string>& addresses)
{
    constexpr std::size_t most = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(addresses.size(), most); ++i)
    {
        text += (i == 0 ? "" : ", ") + addresses[i];
    }
    return addresses.size() > most ? text + " and " + std::to_string(addresses.size() - most) + " more"
                                   : text;
}

// While it lives, Ctrl-C interrupts what the editor looks for or shows.
class InterruptibleLine
{
public:
    explicit InterruptibleLine(Editor& runs) : editor(runs)
    {
        editor.setInterruption(&key);
    }

    InterruptibleLine(const InterruptibleLine&) = delete;
    InterruptibleLine& operator=(const InterruptibleLine&) = delete;

    ~InterruptibleLine()
    {
        editor.setInterruption(nullptr);
    }

private:
    Editor& editor;
    WakeUp struck;
    InterruptKey key{struck};
};

} // namespace

Session::Session(std::vector<LoadedModel> edited, Settings chosen, std::ostream& results,
                 std::ostream& errors)
    : settings(std::move(chosen)), out(results), err(errors)
{
    for (auto& loaded : edited)
    {
        if (files.find(loaded.path) == nullptr)
        {
            add(std::move(loaded), edited.size() == 1 ? settings.savePath : "");
        }
    }
    files.makeCurrent(*files.getAll().front());
}

Editor& Session::getEditor() const
{
    return *files.getCurrent().editor;
}

bool Session::run(LineSource& source)
{
    source.serve(*this);
    lines = &source;
    for (OpenFile* const file : files.getAll())
    {
        keepJournal(*file);
    }
    files.makeCurrent(*files.getAll().front());
    bool allWell = true;
    bool ends = false;
    while (!ends)
    {
        writeJournals();
        const auto line = source.next(getLinePrompt());
        ++lineNumber;
        bool isWell = line ? runLine(*line) : finish();
        if (!settings.isInteractive)
        {
            isWell = waitForRun() && isWell;
        }
        allWell = allWell && isWell;
        out.flush();
        if (!isWell && !settings.isInteractive && !settings.keepsGoing)
        {
            return false;
        }
        // Who ends the input in a group has meant to end the group, and is told so.
        const bool wantsEnd = line ? getEditor().takeQuit() : isWell || !settings.isInteractive;
        ends = wantsEnd && mayEnd();
    }
    for (OpenFile* const file : files.getAll())
    {
        closeJournal(*file);
    }
    return writePending() && (allWell || settings.isInteractive);
}

bool Session::runLine(const std::string& line)
{
    if (settings.echoes)
    {
        out << (line.empty() || line.starts_with('#') ? "" : "> ") << line << '\n';
    }
    try
    {
        auto& editor = getEditor();
        const bool wasUnderWay = editor.isUnderWay();
        runInterruptibly(line);
        if (!wasUnderWay && editor.isUnderWay())
        {
            runLineNumber = lineNumber;
        }
        if (const auto request = editor.takeRequest())
        {
            tryToCarryOut(*request);
        }
        return true;
    }
    catch (const std::exception& exception)
    {
        // Who types sees that the line has failed, and types it again.
        report(lineNumber, getNameForMessages() + exception.what() +
                               (settings.isInteractive ? "" : getEditor().giveUpGroup()));
        return false;
    }
}

// In a script the key ends the program, as it does with other filters.
void Session::runInterruptibly(const std::string& line)
{
    if (!settings.isInteractive)
    {
        getEditor().run(line);
        return;
    }
    const auto work = [&]
    {
        const InterruptibleLine interruptible(getEditor());
        getEditor().run(line);
    };
    settings.pager == nullptr ? work() : settings.pager->run(line, work);
}

const WakeUp& Session::getWakeUp() const
{
    return getEditor().getWakeUp();
}

bool Session::isUnderWay() const
{
    return getEditor().isUnderWay();
}

// The number tells files of one name apart.
std::string Session::getLinePrompt() const
{
    const auto& file = files.getCurrent();
    const auto name = std::filesystem::path(file.path).filename().string();
    return getEditor().getPrompt(files.areSeveral() ? std::to_string(file.number) + ":" + brief(name)
                                                    : "model");
}

std::string Session::getPrompt() const
{
    constexpr int width = 20;
    const auto progress = getEditor().getProgress();
    const int percent = static_cast<int>(progress.share * 100);
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(progress.elapsed).count();
    std::string bar(static_cast<std::size_t>(percent * width / 100), '#');
    bar.resize(width, '.');
    const auto& step = progress.message;
    return "[" + bar + "] " + std::to_string(percent) + " %, " + std::to_string(seconds) + " s" +
           (step.empty() ? "" : ", " + brief(step)) + "> ";
}

bool Session::goOn()
{
    return getEditor().goOn();
}

void Session::conclude()
{
    isRunWell = true;
    try
    {
        getEditor().conclude();
    }
    catch (const std::exception& exception)
    {
        report(runLineNumber, getNameForMessages() + exception.what());
        isRunWell = false;
    }
    writeJournals();
    out.flush();
}

Completion Session::complete(std::string_view line) const
{
    return getEditor().complete(line);
}

void Session::interrupt()
{
    getEditor().abort();
}

// A pipe is told of every quarter.
bool Session::waitForRun()
{
    if (!getEditor().isUnderWay())
    {
        return true;
    }
    constexpr int quarter = 25;
    int told = 0;
    const InterruptKey key(getEditor().getWakeUp());
    for (bool isOver = false; !isOver;)
    {
        getEditor().getWakeUp().wait();
        if (InterruptKey::takeStroke())
        {
            getEditor().abort();
        }
        isOver = getEditor().goOn();
        const int percent = isOver ? 0 : getEditor().getPercentConcluded();
        if (!settings.isInteractive && percent / quarter > told)
        {
            told = percent / quarter;
            out << "  " << percent << " %\n" << std::flush;
        }
    }
    conclude();
    return isRunWell;
}

// Who ends the input cannot be asked any more whether to wait.
bool Session::finish()
{
    if (settings.isInteractive)
    {
        getEditor().abort();
        waitForRun();
    }
    try
    {
        getEditor().finish();
        return true;
    }
    catch (const std::exception& exception)
    {
        report(lineNumber, getNameForMessages() + exception.what());
        return false;
    }
}

bool Session::mayEnd()
{
    bool isAllSaved = true;
    for (const OpenFile* const file : files.getAll())
    {
        const auto unsaved = file->editor->getUnsaved();
        if (unsaved.empty())
        {
            continue;
        }
        isAllSaved = false;
        const auto modules = join(unsaved) + '\n';
        if (settings.isInteractive)
        {
            out << "Not saved: " << file->path << ": " << modules;
        }
        else
        {
            err << settings.sourceName
                << ": warning: not saved: " << (files.areSeveral() ? file->path + ": " : "") << modules;
        }
    }
    return isAllSaved || !settings.isInteractive || agreesTo("Quit without saving?");
}

// The end key instead of an answer is a no: it may have been struck once too often.
bool Session::agreesTo(const std::string& question)
{
    out.flush();
    const auto answer = lines->next(question + " (y/n) ");
    return answer == "y" || answer == "yes";
}

void Session::report(std::size_t line, const std::string& what)
{
    out.flush();
    if (!settings.isInteractive)
    {
        err << settings.sourceName << ':' << line << ": ";
    }
    err << Colour::Error << what << Colour::Plain << '\n' << std::flush;
}

} // namespace ModelEditor

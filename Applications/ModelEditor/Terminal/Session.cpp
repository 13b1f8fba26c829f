#include "Applications/ModelEditor/Terminal/Session.h"

#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Terminal/Colour.h"
#include "Applications/ModelEditor/Terminal/InterruptKey.h"
#include "Applications/ModelEditor/Terminal/LineSource.h"
#include "Applications/ModelEditor/Terminal/Pager.h"
#include "Applications/ModelEditor/Terminal/WakeUp.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <chrono>
#include <exception>
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

Session::Session(LoadedModel edited, Settings chosen, std::ostream& results, std::ostream& errors)
    : settings(std::move(chosen)),
      out(results),
      err(errors),
      loaded(std::move(edited)),
      editor(makeEditor()),
      ownPath(loaded.path)
{
    known.note(loaded.path, loaded.state);
}

std::unique_ptr<Editor> Session::makeEditor()
{
    return std::make_unique<Editor>(
        *loaded.model, [this](Output output) { accept(std::move(output)); }, out,
        [this] { return Input{.path = ownPath, .bytes = readFile(ownPath)}; });
}

bool Session::run(LineSource& source)
{
    source.serve(*this);
    lines = &source;
    bool allWell = true;
    bool ends = false;
    while (!ends)
    {
        const auto line = source.next(editor->getPrompt());
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
        const bool wantsEnd = line ? editor->takeQuit() : isWell || !settings.isInteractive;
        ends = wantsEnd && mayEnd();
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
        const bool wasUnderWay = editor->isUnderWay();
        runInterruptibly(line);
        if (!wasUnderWay && editor->isUnderWay())
        {
            runLineNumber = lineNumber;
        }
        if (editor->takeReload())
        {
            tryToReload();
        }
        return true;
    }
    catch (const std::exception& exception)
    {
        // Who types sees that the line has failed, and types it again.
        report(lineNumber, exception.what() + (settings.isInteractive ? "" : editor->giveUpGroup()));
        return false;
    }
}

// In a script the key ends the program, as it does with other filters.
void Session::runInterruptibly(const std::string& line)
{
    if (!settings.isInteractive)
    {
        editor->run(line);
        return;
    }
    const auto work = [&]
    {
        const InterruptibleLine interruptible(*editor);
        editor->run(line);
    };
    settings.pager == nullptr ? work() : settings.pager->run(line, work);
}

void Session::tryToReload()
{
    try
    {
        reload();
    }
    catch (const std::exception& exception)
    {
        throw Valdane::VdException(std::string("reload: ") + exception.what());
    }
}

// The commands of the old model go before it does.
void Session::reload()
{
    if (!pending.empty())
    {
        throw Valdane::VdException(pending.back().output.path +
                                   " is still to be saved, at the end of the script");
    }
    const LoadedModel before = std::exchange(loaded, loadModel(ownPath));
    loaded.model->setPrefixes(before.model->getPrefixes());
    const auto former = std::exchange(editor, makeEditor());
    editor->takeLimitOf(*former);
    known.note(ownPath, loaded.state);
    out << "Loaded " << ownPath << "; the history is empty\n";
}

const WakeUp& Session::getWakeUp() const
{
    return editor->getWakeUp();
}

bool Session::isUnderWay() const
{
    return editor->isUnderWay();
}

std::string Session::getPrompt() const
{
    constexpr int width = 20;
    const auto progress = editor->getProgress();
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
    return editor->goOn();
}

void Session::conclude()
{
    isRunWell = true;
    try
    {
        editor->conclude();
    }
    catch (const std::exception& exception)
    {
        report(runLineNumber, exception.what());
        isRunWell = false;
    }
    out.flush();
}

Completion Session::complete(std::string_view line) const
{
    return editor->complete(line);
}

void Session::interrupt()
{
    editor->abort();
}

// A pipe is told of every quarter.
bool Session::waitForRun()
{
    if (!editor->isUnderWay())
    {
        return true;
    }
    constexpr int quarter = 25;
    int told = 0;
    const InterruptKey key(editor->getWakeUp());
    for (bool isOver = false; !isOver;)
    {
        editor->getWakeUp().wait();
        if (InterruptKey::takeStroke())
        {
            editor->abort();
        }
        isOver = editor->goOn();
        const int percent = isOver ? 0 : editor->getPercentConcluded();
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
        editor->abort();
        waitForRun();
    }
    try
    {
        editor->finish();
        return true;
    }
    catch (const std::exception& exception)
    {
        report(lineNumber, exception.what());
        return false;
    }
}

bool Session::mayEnd()
{
    const auto unsaved = editor->getUnsaved();
    if (unsaved.empty())
    {
        return true;
    }
    if (!settings.isInteractive)
    {
        err << settings.sourceName << ": warning: not saved: " << join(unsaved) << '\n';
        return true;
    }
    out << "Not saved: " << join(unsaved) << '\n';
    return agreesTo("Quit without saving?");
}

// The end key instead of an answer is a no: it may have been struck once too often.
bool Session::agreesTo(const std::string& question)
{
    out.flush();
    const auto answer = lines->next(question + " (y/n) ");
    return answer == "y" || answer == "yes";
}

// As early as that can be told: a script is to stop before it does something else.
void Session::requireAllowed(const Output& output)
{
    if (output.isForced)
    {
        return;
    }
    known.requireUnchanged(output.path);
    if (!isReadOnly(output.path))
    {
        return;
    }
    const std::string what = output.path + " is read-only";
    if (!settings.isInteractive || !agreesTo(what + ". Write it anyway?"))
    {
        throw Valdane::VdException(what + (output.verb == "save" ? "; save! writes it anyway" : ""));
    }
}

void Session::accept(Output output)
{
    if (output.path.empty())
    {
        output.path = settings.savePath;
    }
    requireAllowed(output);
    if (settings.isInteractive || settings.keepsGoing)
    {
        write(output);
        return;
    }
    std::erase_if(pending, [&](const PendingOutput& earlier) { return earlier.output.path == output.path; });
    out << "To be saved at the end: " << output.path << '\n';
    pending.push_back({lineNumber, std::move(output)});
}

bool Session::writePending()
{
    bool allWell = true;
    for (const auto& [line, output] : pending)
    {
        try
        {
            // Another process may have been there since the line.
            requireAllowed(output);
            write(output);
        }
        catch (const std::exception& exception)
        {
            report(line, output.verb + ": " + exception.what());
            allWell = false;
        }
    }
    return allWell;
}

void Session::write(const Output& output)
{
    // It may be written to the same place.
    out.flush();
    const auto [whyInPlace, state] = writeFile(output.path, output.bytes);
    const bool isSave = output.verb.starts_with("save");
    if (state && (isSave || known.isKnown(output.path)))
    {
        known.note(output.path, *state);
    }
    if (state && isSave)
    {
        ownPath = output.path;
    }
    out << "Saved " << output.path << " (" << output.bytes.size() << " bytes"
        << (whyInPlace.empty() ? "" : ", in place: ") << whyInPlace << ")\n";
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

#include "Examples/ModelEditor/Session.h"

#include "Examples/ModelEditor/LineSource.h"
#include "Examples/ModelEditor/ModelFile.h"
#include "Examples/ModelEditor/Words.h"
#include "Examples/ModelEditor/XmlModel.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

namespace ModelEditor
{

Session::Session(XmlModel& edited, Settings chosen, std::ostream& results, std::ostream& errors)
    : model(edited),
      settings(std::move(chosen)),
      out(results),
      err(errors),
      editor(
          edited, [this](const std::string& path) { save(path); }, results)
{
}

bool Session::run(LineSource& source)
{
    bool allWell = true;
    const bool goesOn = settings.isInteractive || settings.keepsGoing;
    while (true)
    {
        const auto line = source.next();
        if (!line && endsHere())
        {
            break;
        }
        ++lineNumber;
        allWell = (!line || runLine(*line)) && allWell;
        out.flush();
        if (!allWell && !goesOn)
        {
            return false;
        }
        if (editor.hasQuit())
        {
            break;
        }
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
        const auto words = splitWords(line);
        const bool isQuit = !words.empty() && words.front() == "quit";
        if (!isQuit || words.size() > 1 || endsHere())
        {
            hasWarned = hasWarned && words.empty();
            editor.run(words);
        }
        return true;
    }
    catch (const std::exception& exception)
    {
        report(lineNumber, exception.what());
        return false;
    }
}

// Changes that were not saved are dropped only when the user asks for it twice in a row.
bool Session::endsHere()
{
    if (!settings.isInteractive || !editor.isModified() || std::exchange(hasWarned, true))
    {
        return true;
    }
    out << "There are unsaved changes: save them, or quit again to drop them\n";
    return false;
}

void Session::save(const std::string& path)
{
    const std::string target = path.empty() ? settings.savePath : path;
    auto bytes = model.toBytes();
    if (settings.isInteractive || settings.keepsGoing)
    {
        write(target, bytes);
        return;
    }
    std::erase_if(pending, [&](const PendingSave& earlier) { return earlier.path == target; });
    pending.push_back({lineNumber, target, std::move(bytes)});
    out << "To be saved at the end: " << target << '\n';
}

bool Session::writePending()
{
    bool allWell = true;
    for (const auto& [line, path, bytes] : pending)
    {
        try
        {
            write(path, bytes);
        }
        catch (const std::exception& exception)
        {
            report(line, std::string("save: ") + exception.what());
            allWell = false;
        }
    }
    return allWell;
}

void Session::write(const std::string& path, const std::string& bytes)
{
    replaceFile(path, bytes);
    out << "Saved " << path << " (" << bytes.size() << " bytes)\n";
}

void Session::report(std::size_t line, const std::string& what)
{
    out.flush();
    if (!settings.isInteractive)
    {
        err << settings.sourceName << ':' << line << ": ";
    }
    err << what << '\n' << std::flush;
}

} // namespace ModelEditor

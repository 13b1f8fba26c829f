#include "Applications/ModelEditor/Document/LoadedModel.h"
#include "Applications/ModelEditor/Document/ModelFile.h"
#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Applications/ModelEditor/Terminal/Session.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

// What concerns the files: those that are open, and those that are written.

namespace ModelEditor
{

using Valdane::VdException;

namespace
{

// Not a pipe or a device, which cannot be read again.
bool mayBecomeFile(const std::string& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    return !std::filesystem::exists(status) || std::filesystem::is_regular_file(status);
}

} // namespace

// An editor that was made in vain was the active one for a moment.
void Session::tryToCarryOut(const FileRequest& request)
{
    try
    {
        carryOut(request);
    }
    catch (const std::exception& exception)
    {
        files.getCurrent().editor->activate();
        throw VdException(request.verb + ": " + exception.what());
    }
}

void Session::carryOut(const FileRequest& request)
{
    using Kind = FileRequest::Kind;
    switch (request.kind)
    {
    case Kind::Open:
        open(request.file);
        break;
    case Kind::List:
        list();
        break;
    case Kind::Use:
        files.makeCurrent(files.require(request.file));
        tellCurrent();
        break;
    case Kind::Close:
        close();
        break;
    case Kind::Reload:
        reload();
        break;
    case Kind::SaveAll:
        saveAll();
        break;
    }
}

void Session::add(LoadedModel opened, const std::string& savePath)
{
    auto file = std::make_unique<OpenFile>();
    file->number = files.getNextNumber();
    file->path = opened.path;
    file->savePath = savePath.empty() ? opened.path : savePath;
    file->model = std::move(opened.model);
    known.note(file->path, opened.state);
    file->editor = makeEditor(*file, *file->model);
    files.add(std::move(file));
}

std::unique_ptr<Editor> Session::makeEditor(OpenFile& file, XmlModel& model)
{
    return std::make_unique<Editor>(
        model, [this, &file](Output output) { accept(file, std::move(output)); }, out,
        [&file] { return Input{.path = file.path, .bytes = readFile(file.path)}; }, actions);
}

void Session::open(const std::string& path)
{
    if (const OpenFile* const same = files.find(path))
    {
        files.makeCurrent(*same);
    }
    else
    {
        requireWritten([&path](const PendingOutput& earlier)
                       { return isSameFile(earlier.output.path, path); });
        if (const OpenFile* const other = files.findSavedAt(path))
        {
            throw VdException(path + " is where save writes file " + std::to_string(other->number));
        }
        auto opened = openModel(path, err);
        opened.model->setPrefixes(files.getCurrent().model->getPrefixes());
        add(std::move(opened), "");
        keepJournal(files.getCurrent());
    }
    tellCurrent();
}

void Session::list()
{
    const auto* const current = &files.getCurrent();
    const auto all = files.getAll();
    for (const auto* const file : all)
    {
        out << (file == current ? "> " : "  ") << file->number << ' ' << shown(file->path)
            << (file->editor->getUnsaved().empty() ? "" : " *");
        if (file->savePath != file->path)
        {
            out << " (save writes " << shown(file->savePath) << ')';
        }
        out << '\n';
    }
    out << plural(all.size(), "file") << '\n';
}

void Session::close()
{
    const std::string path = files.getCurrent().path;
    if (files.areSeveral())
    {
        closeJournal(files.getCurrent());
    }
    files.closeCurrent();
    out << "Closed " << shown(path) << '\n';
    tellCurrent();
}

// The commands of the old model go before it does.
void Session::reload()
{
    auto& file = files.getCurrent();
    requireWritten([&file](const PendingOutput& earlier) { return earlier.file == file.number; });
    auto loaded = loadModel(file.path);
    warnOf(loaded, err);
    loaded.model->setPrefixes(file.model->getPrefixes());
    auto editor = makeEditor(file, *loaded.model);
    editor->takeLimitOf(*file.editor);
    known.note(file.path, loaded.state);
    file.editor = std::move(editor);
    file.model = std::move(loaded.model);
    if (file.journal != nullptr)
    {
        file.journal->start(*file.model, file.editor->getManager());
    }
    out << "Loaded " << file.path << "; the history is empty\n";
}

// What fails keeps no other file from being saved.
void Session::saveAll()
{
    std::string failures;
    bool isAnything = false;
    for (const OpenFile* const file : files.getAll())
    {
        try
        {
            if (!file->editor->getUnsaved().empty())
            {
                isAnything = true;
                file->editor->run("save");
            }
        }
        catch (const std::exception& exception)
        {
            failures += (failures.empty() ? "" : "; ") + std::string(exception.what());
        }
    }
    if (!failures.empty())
    {
        throw VdException(failures);
    }
    out << (isAnything ? "" : "Nothing to save\n");
}

void Session::tellCurrent()
{
    const auto& file = files.getCurrent();
    out << "File " << file.number << ": " << shown(file.path) << '\n';
}

// Who types is told by the prompt.
std::string Session::getNameForMessages() const
{
    return files.areSeveral() && !settings.isInteractive ? files.getCurrent().path + ": " : "";
}

// As early as that can be told: a script is to stop before it does something else.
void Session::requireAllowed(const Output& output)
{
    if (output.isForced)
    {
        return;
    }
    if (const auto change = known.tellChange(output.path); !change.empty())
    {
        throw VdException(change + "; save! overwrites it");
    }
    if (!isReadOnly(output.path))
    {
        return;
    }
    const std::string what = output.path + " is read-only";
    if (!settings.isInteractive || !agreesTo(what + ". Write it anyway?"))
    {
        throw VdException(what + (output.verb == "save" ? "; save! writes it anyway" : ""));
    }
}

// Two models must not be saved in one place.
void Session::requireNoOther(const OpenFile& file, const std::string& path) const
{
    for (const OpenFile* const other : {files.find(path), files.findSavedAt(path)})
    {
        if (other != nullptr && other != &file)
        {
            throw VdException(path + " is open as file " + std::to_string(other->number));
        }
    }
}

// What is read must not be older than what a line before it has saved.
void Session::requireWritten(const std::function<bool(const PendingOutput&)>& concerns) const
{
    const auto found = std::ranges::find_if(pending.rbegin(), pending.rend(), concerns);
    if (found != pending.rend())
    {
        throw VdException(found->output.path + " is still to be saved, at the end of the script");
    }
}

void Session::accept(OpenFile& file, Output output)
{
    if (output.path.empty())
    {
        output.path = file.savePath;
    }
    requireNoOther(file, output.path);
    requireAllowed(output);
    const bool isSave = output.verb.starts_with("save");
    if (settings.isInteractive || settings.keepsGoing)
    {
        if (file.journal != nullptr && isSave)
        {
            file.journal->willSave(output.bytes);
        }
        if (write(output) && isSave)
        {
            file.path = output.path;
            file.savePath = output.path;
            if (file.journal != nullptr)
            {
                file.journal->didSave(file.path);
            }
        }
        return;
    }
    if (isSave && mayBecomeFile(output.path))
    {
        file.savePath = output.path;
    }
    std::erase_if(pending, [&](const PendingOutput& earlier) { return earlier.output.path == output.path; });
    out << "To be saved at the end: " << output.path << '\n';
    pending.push_back({lineNumber, file.number, std::move(output)});
}

bool Session::writePending()
{
    bool allWell = true;
    for (const auto& [line, file, output] : pending)
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

// Whether it is a regular file.
bool Session::write(const Output& output)
{
    // It may be written to the same place.
    out.flush();
    const auto [whyInPlace, state] = writeFile(output.path, output.bytes);
    if (state && (output.verb.starts_with("save") || known.isKnown(output.path)))
    {
        known.note(output.path, *state);
    }
    out << "Saved " << output.path << " (" << output.bytes.size() << " bytes"
        << (whyInPlace.empty() ? "" : ", in place: ") << whyInPlace << ")\n";
    return state.has_value();
}

} // namespace ModelEditor

#include "Applications/ModelEditor/Edits/EditorTexts.h"
#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <optional>
#include <string>
#include <utility>

// The verbs about files that are open. Who has the editor carries them out, because the editor may go then.

namespace ModelEditor
{

using Valdane::VdException;

std::optional<FileRequest> Editor::takeRequest() noexcept
{
    return std::exchange(request, std::nullopt);
}

void Editor::open(const Words& arguments)
{
    if (arguments[0].empty())
    {
        throw VdException("the name of the file is empty");
    }
    request = {.kind = FileRequest::Kind::Open, .verb = "open", .file = arguments[0]};
}

void Editor::listFiles(const Words& /*arguments*/)
{
    request = {.kind = FileRequest::Kind::List, .verb = "files"};
}

void Editor::use(const Words& arguments)
{
    request = {.kind = FileRequest::Kind::Use, .verb = "use", .file = arguments[0]};
}

void Editor::close(const Words& arguments)
{
    requireSaved("close!");
    closeAnyway(arguments);
}

void Editor::closeAnyway(const Words& /*arguments*/)
{
    request = {.kind = FileRequest::Kind::Close, .verb = "close"};
}

void Editor::saveAll(const Words& /*arguments*/)
{
    request = {.kind = FileRequest::Kind::SaveAll, .verb = "save-all"};
}

void Editor::reload(const Words& arguments)
{
    requireSaved("reload!");
    reloadAnyway(arguments);
}

void Editor::reloadAnyway(const Words& /*arguments*/)
{
    request = {.kind = FileRequest::Kind::Reload, .verb = "reload"};
}

void Editor::requireSaved(const std::string& insisting) const
{
    const auto unsaved = getUnsaved();
    if (!unsaved.empty())
    {
        throw VdException(plural(unsaved.size(), "module") + " not saved; " + insisting +
                          " loses what has changed there");
    }
}

} // namespace ModelEditor

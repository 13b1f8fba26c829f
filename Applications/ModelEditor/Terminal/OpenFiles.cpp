#include "Applications/ModelEditor/Terminal/OpenFiles.h"

#include "Applications/ModelEditor/Document/KnownFiles.h"
#include "Applications/ModelEditor/Edits/Counts.h"
#include "Applications/ModelEditor/Edits/Words.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

namespace ModelEditor
{

using Valdane::VdException;

OpenFile& OpenFiles::getCurrent() const
{
    return *files.back();
}

bool OpenFiles::areSeveral() const noexcept
{
    return files.size() > 1;
}

std::vector<OpenFile*> OpenFiles::getAll() const
{
    std::vector<OpenFile*> all;
    std::ranges::transform(files, std::back_inserter(all), [](const auto& file) { return file.get(); });
    std::ranges::sort(all, {}, &OpenFile::number);
    return all;
}

std::uint64_t OpenFiles::getNextNumber() const noexcept
{
    return lastNumber + 1;
}

void OpenFiles::add(std::unique_ptr<OpenFile> file)
{
    lastNumber = file->number;
    files.push_back(std::move(file));
}

void OpenFiles::makeCurrent(const OpenFile& file)
{
    const auto place =
        std::ranges::find_if(files, [&file](const auto& other) { return other.get() == &file; });
    file.editor->activate();
    std::rotate(place, place + 1, files.end());
}

void OpenFiles::closeCurrent()
{
    if (!areSeveral())
    {
        throw VdException("it is the only file; quit ends the program");
    }
    files[files.size() - 2]->editor->activate();
    files.pop_back();
}

OpenFile* OpenFiles::find(const std::string& path) const
{
    const auto found =
        std::ranges::find_if(files, [&path](const auto& file) { return isSameFile(file->path, path); });
    return found == files.end() ? nullptr : found->get();
}

OpenFile* OpenFiles::findSavedAt(const std::string& path) const
{
    const auto found =
        std::ranges::find_if(files, [&path](const auto& file) { return isSameFile(file->savePath, path); });
    return found == files.end() ? nullptr : found->get();
}

OpenFile& OpenFiles::require(const std::string& numberOrPath) const
{
    const auto number = findCount<std::uint64_t>(numberOrPath);
    if (auto* const file = number ? nullptr : find(numberOrPath))
    {
        return *file;
    }
    std::vector<OpenFile*> meant;
    for (auto* const file : getAll())
    {
        const bool isMeant =
            number ? file->number == number : std::filesystem::path(file->path).filename() == numberOrPath;
        if (isMeant)
        {
            meant.push_back(file);
        }
    }
    if (meant.empty())
    {
        throw VdException("no file " + shown(numberOrPath) + " is open; files lists them");
    }
    if (meant.size() > 1)
    {
        throw VdException(shown(numberOrPath) + " may be " + std::to_string(meant[0]->number) + " or " +
                          std::to_string(meant[1]->number) + "; files lists them");
    }
    return *meant.front();
}

} // namespace ModelEditor

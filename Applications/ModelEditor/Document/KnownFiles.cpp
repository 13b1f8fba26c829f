#include "Applications/ModelEditor/Document/KnownFiles.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace ModelEditor
{

namespace fs = std::filesystem;

bool isSameFile(const std::string& one, const std::string& other)
{
    std::error_code ignored;
    return fs::equivalent(one, other, ignored) ||
           fs::path(one).lexically_normal() == fs::path(other).lexically_normal();
}

void KnownFiles::note(const std::string& path, const FileState& state)
{
    std::erase_if(files, [&](const KnownFile& file) { return isSameFile(file.path, path); });
    files.push_back({path, state});
}

bool KnownFiles::isKnown(const std::string& path) const
{
    return find(path) != files.end();
}

std::string KnownFiles::tellChange(const std::string& path) const
{
    const auto file = find(path);
    const auto change = file == files.end() ? FileChange::None : file->state.findChange(path);
    if (change == FileChange::None)
    {
        return "";
    }
    return path + " was " + (change == FileChange::Removed ? "removed" : "changed") +
           " by another process since it was loaded or saved";
}

std::vector<KnownFiles::KnownFile>::const_iterator KnownFiles::find(const std::string& path) const
{
    return std::ranges::find_if(files, [&](const KnownFile& file) { return isSameFile(file.path, path); });
}

} // namespace ModelEditor

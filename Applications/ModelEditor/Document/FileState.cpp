#include "Applications/ModelEditor/Document/FileState.h"

#include "Applications/ModelEditor/Document/ModelFile.h"

#include <cerrno>
#include <ctime>
#include <functional>

namespace ModelEditor
{

namespace
{

// Some file systems count times in steps of two seconds.
bool isLongAgo(const timespec& time)
{
    constexpr std::time_t longestStep = 2;
    return time.tv_sec + longestStep < std::time(nullptr);
}

std::size_t hashOf(std::string_view content)
{
    return std::hash<std::string_view>()(content);
}

} // namespace

FileState::FileState(const struct stat& status, std::string_view bytes)
    : device(status.st_dev),
      inode(status.st_ino),
      size(static_cast<off_t>(bytes.size())),
      modified(status.st_mtim),
      content(hashOf(bytes)),
      isSettled(isLongAgo(status.st_mtim))
{
}

FileChange FileState::findChange(const std::string& path) const
{
    struct stat now = {};
    if (::stat(path.c_str(), &now) != 0 && (errno == ENOENT || errno == ENOTDIR))
    {
        return FileChange::Removed;
    }
    return isSure(now) || hashOf(readFile(path)) == content ? FileChange::None : FileChange::Changed;
}

bool FileState::isSure(const struct stat& now) const
{
    return isSettled && now.st_dev == device && now.st_ino == inode && now.st_size == size &&
           now.st_mtim.tv_sec == modified.tv_sec && now.st_mtim.tv_nsec == modified.tv_nsec;
}

} // namespace ModelEditor

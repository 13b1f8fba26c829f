#include "Applications/ModelEditor/Document/TemporaryFile.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <random>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace ModelEditor
{

namespace
{

namespace fs = std::filesystem;

// `.<name of the file>.model-editor-<process>-<number>`. File systems take 255 bytes.
std::string prefixFor(const fs::path& target)
{
    constexpr std::size_t most = 200;
    return "." + target.filename().string().substr(0, most) + ".model-editor-";
}

std::string nameFor(const fs::path& target)
{
    const auto name =
        prefixFor(target) + std::to_string(::getpid()) + "-" + std::to_string(std::random_device()());
    return (target.parent_path() / name).string();
}

// The process that is named behind the prefix; 0 if none is.
pid_t processOf(std::string_view rest)
{
    pid_t process = 0;
    const auto read = std::from_chars(rest.data(), rest.data() + rest.size(), process);
    return read.ec == std::errc() && std::string_view(read.ptr, rest.data() + rest.size()).starts_with('-')
               ? process
               : 0;
}

bool isGone(pid_t process)
{
    return process > 0 && ::kill(process, 0) != 0 && errno == ESRCH;
}

// A process of another container or machine has a number that says nothing here; but it holds the lock.
bool isLocked(const fs::path& path)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    return !file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
           ::flock(file.get(), LOCK_EX | LOCK_NB) != 0;
}

} // namespace

// The signals first, so that there is no time in which one leaves the file behind.
TemporaryFile::TemporaryFile(const fs::path& target)
    : name(nameFor(target)),
      signals(name),
      file(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR)),
      isThere(file.isOpen())
{
    if (isThere)
    {
        ::flock(file.get(), LOCK_EX | LOCK_NB);
    }
}

TemporaryFile::~TemporaryFile()
{
    if (isThere)
    {
        ::unlink(name.c_str());
    }
}

bool TemporaryFile::isOpen() const noexcept
{
    return file.isOpen();
}

const Descriptor& TemporaryFile::getFile() const noexcept
{
    return file;
}

const std::string& TemporaryFile::getName() const noexcept
{
    return name;
}

int TemporaryFile::finish() noexcept
{
    return ::fsync(file.get()) == 0 ? file.close() : errno;
}

int TemporaryFile::takeName(const fs::path& target) noexcept
{
    if (std::rename(name.c_str(), target.c_str()) != 0)
    {
        return errno;
    }
    isThere = false;
    return 0;
}

void TemporaryFile::removeLeftBehind(const fs::path& target)
{
    const auto prefix = prefixFor(target);
    const fs::path directory = target.has_parent_path() ? target.parent_path() : ".";
    // The library's iterator ends the program if it gets no memory.
    const std::unique_ptr<DIR, int (*)(DIR*)> listed(::opendir(directory.c_str()), &::closedir);
    const dirent* entry = nullptr;
    while (listed != nullptr && (entry = ::readdir(listed.get())) != nullptr)
    {
        const std::string_view found = entry->d_name;
        const auto path = directory / found;
        if (found.starts_with(prefix) && isGone(processOf(found.substr(prefix.size()))) && !isLocked(path))
        {
            ::unlink(path.c_str());
        }
    }
}

} // namespace ModelEditor

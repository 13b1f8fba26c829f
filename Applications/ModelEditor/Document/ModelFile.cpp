#include "Applications/ModelEditor/Document/ModelFile.h"

#include "Applications/ModelEditor/Document/Descriptor.h"
#include "Applications/ModelEditor/Document/EndingSignals.h"
#include "Applications/ModelEditor/Document/FileAttributes.h"
#include "Applications/ModelEditor/Document/TemporaryFile.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace ModelEditor
{

namespace
{

namespace fs = std::filesystem;

constexpr int maximumOfLinks = 40;

[[noreturn]] void fail(const std::string& path, int error)
{
    throw Valdane::VdException(path + ": " + std::generic_category().message(error));
}

void requireRegular(const std::string& path, mode_t mode)
{
    if (S_ISDIR(mode))
    {
        throw Valdane::VdException(path + ": is a directory");
    }
    if (!S_ISREG(mode))
    {
        throw Valdane::VdException(path + ": is not a regular file");
    }
}

void requireMemoryFor(const std::string& path, std::uintmax_t size)
{
    const auto memory = static_cast<std::uintmax_t>(sysconf(_SC_PHYS_PAGES)) *
                        static_cast<std::uintmax_t>(sysconf(_SC_PAGE_SIZE));
    if (size > memory)
    {
        throw Valdane::VdException(path + ": is too large for the memory of this machine (" +
                                   std::to_string(size) + " bytes)");
    }
}

std::string readAll(const std::string& path, int file, std::size_t expected)
{
    std::string bytes(expected + 1, '\0');
    std::size_t used = 0;
    while (true)
    {
        const ssize_t count = ::read(file, bytes.data() + used, bytes.size() - used);
        if (count < 0 && errno != EINTR)
        {
            fail(path, errno);
        }
        if (count == 0)
        {
            bytes.resize(used);
            return bytes;
        }
        used += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (used == bytes.size())
        {
            bytes.resize(bytes.size() * 2);
        }
    }
}

// Where the links end that start at the path; that need not exist.
fs::path followLinks(const std::string& path)
{
    fs::path target(path);
    for (int i = 0; i < maximumOfLinks; ++i)
    {
        std::error_code error;
        const fs::path link = fs::read_symlink(target, error);
        if (error)
        {
            return target;
        }
        target = link.is_absolute() ? link : target.parent_path() / link;
    }
    fail(path, ELOOP);
}

std::optional<struct stat> statusOf(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0)
    {
        return status;
    }
    if (errno != ENOENT)
    {
        fail(path, errno);
    }
    return {};
}

void require(const std::string& path, int error)
{
    if (error != 0)
    {
        fail(path, error);
    }
}

// File systems that cannot do this for directories say so; there is nothing better then.
void makeDurable(const std::string& path, const fs::path& directory)
{
    const Descriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.get() >= 0 && ::fsync(opened.get()) != 0 && errno != EINVAL)
    {
        const int error = errno;
        throw Valdane::VdException(
            path + ": written, but perhaps not durably: " + std::generic_category().message(error));
    }
}

bool isForbidden(int error)
{
    return error == EACCES || error == EPERM || error == EROFS;
}

mode_t usualMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666U & ~mask;
}

FileState stateOf(const std::string& path, const Descriptor& file, const std::string& bytes)
{
    struct stat status = {};
    require(path, ::fstat(file.get(), &status) == 0 ? 0 : errno);
    return {status, bytes};
}

// Without a state if the file must be written in place. The permissions last: what is written and a change
// of the owner take some away.
Written replaceFile(const std::string& path, const fs::path& target, const std::optional<struct stat>& old,
                    const std::string& bytes)
{
    if (old && old->st_nlink > 1)
    {
        return {"it has other names"};
    }
    TemporaryFile temporary(target);
    if (!temporary.isOpen())
    {
        if (!old || !isForbidden(errno))
        {
            fail(path, errno);
        }
        return {"its directory cannot be written"};
    }
    const auto lost =
        old ? takeAttributes(temporary.getFile(), temporary.getName(), target.string(), *old) : "";
    if (!lost.empty())
    {
        return {lost + " cannot be given to another file"};
    }
    require(path, temporary.getFile().write(bytes));
    if (::fchmod(temporary.getFile().get(), old ? old->st_mode & 07777U : usualMode()) != 0)
    {
        fail(path, errno);
    }
    const auto state = stateOf(path, temporary.getFile(), bytes);
    require(path, temporary.finish());
    const int error = temporary.takeName(target);
    if (old && (isForbidden(error) || error == EBUSY))
    {
        return {"its name cannot be given to another file"};
    }
    require(path, error);
    return {.state = state};
}

int overwrite(const Descriptor& file, const std::string& bytes)
{
    if (::lseek(file.get(), 0, SEEK_SET) != 0)
    {
        return errno;
    }
    if (const int error = file.write(bytes))
    {
        return error;
    }
    const bool isDone =
        ::ftruncate(file.get(), static_cast<off_t>(bytes.size())) == 0 && ::fsync(file.get()) == 0;
    return isDone ? 0 : errno;
}

FileState writeInPlace(const std::string& path, const fs::path& target, const std::string& bytes)
{
    Descriptor file(::open(target.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY));
    if (!file.isOpen())
    {
        fail(path, errno);
    }
    const std::string before = readAll(path, file.get(), bytes.size());
    const EndingSignals waiting;
    if (const int error = overwrite(file, bytes))
    {
        overwrite(file, before);
        fail(path, error);
    }
    const auto state = stateOf(path, file, bytes);
    require(path, file.close());
    return state;
}

// Standard output or standard error, if the file is one of them: opened once more, it would be written from its start.
std::optional<int> findStandardStream(const struct stat& status)
{
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
    {
        struct stat other = {};
        if (::fstat(stream, &other) == 0 && other.st_dev == status.st_dev && other.st_ino == status.st_ino)
        {
            return stream;
        }
    }
    return {};
}

void writeStream(const std::string& path, int opened, const std::string& bytes)
{
    Descriptor file(opened);
    if (!file.isOpen())
    {
        fail(path, errno);
    }
    require(path, file.write(bytes));
    require(path, file.close());
}

FileContent readOpened(const std::string& path, int opened, bool isRegularOnly)
{
    const Descriptor file(opened);
    if (!file.isOpen())
    {
        fail(path, errno);
    }
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
    {
        fail(path, errno);
    }
    if (isRegularOnly || S_ISDIR(status.st_mode))
    {
        requireRegular(path, status.st_mode);
    }
    requireMemoryFor(path, static_cast<std::uintmax_t>(status.st_size));
    std::string bytes = readAll(path, file.get(), static_cast<std::size_t>(status.st_size));
    const FileState state(status, bytes);
    return {std::move(bytes), state};
}

} // namespace

std::string readFile(const std::string& path)
{
    return loadFile(path).bytes;
}

FileContent loadFile(const std::string& path)
{
    return readOpened(path, ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY), true);
}

std::string readStream(const std::string& path)
{
    return readOpened(path, ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY), false).bytes;
}

Written writeFile(const std::string& path, const std::string& bytes)
{
    const auto old = statusOf(path);
    if (old)
    {
        if (const auto stream = findStandardStream(*old))
        {
            writeStream(path, ::dup(*stream), bytes);
            return {"it is an output of this program"};
        }
        if (S_ISCHR(old->st_mode) || S_ISFIFO(old->st_mode))
        {
            writeStream(path, ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY), bytes);
            return {"it is not a regular file"};
        }
        requireRegular(path, old->st_mode);
    }
    const fs::path target = followLinks(path);
    auto written = replaceFile(path, target, old, bytes);
    if (written.state)
    {
        makeDurable(path, target.has_parent_path() ? target.parent_path() : ".");
    }
    else
    {
        written.state = writeInPlace(path, target, bytes);
    }
    return written;
}

bool isReadOnly(const std::string& path)
{
    constexpr mode_t anybody = S_IWUSR | S_IWGRP | S_IWOTH;
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ((status.st_mode & anybody) == 0 || ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0);
}

void removeTemporaries(const std::string& path)
{
    try
    {
        TemporaryFile::removeLeftBehind(followLinks(path));
    }
    // Somebody may see them there; nothing else depends on it.
    catch (const std::exception&) // NOLINT(bugprone-empty-catch)
    {
    }
}

} // namespace ModelEditor

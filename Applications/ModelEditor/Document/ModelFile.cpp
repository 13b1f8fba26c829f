#include "Applications/ModelEditor/Document/ModelFile.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
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

// Closes what it has opened.
class Descriptor
{
public:
    explicit Descriptor(int opened) : number(opened) {}

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    ~Descriptor()
    {
        if (number >= 0)
        {
            ::close(number);
        }
    }

    int get() const noexcept
    {
        return number;
    }

    // Some file systems report only here that they could not write. @return 0 or an error.
    int close() noexcept
    {
        return ::close(std::exchange(number, -1)) == 0 ? 0 : errno;
    }

private:
    int number;
};

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

// Removed when it goes, unless it has taken another name by then.
class TemporaryFile
{
public:
    TemporaryFile(const std::string& asked, const fs::path& directory)
        : path(asked),
          name((directory / ".model-editor.XXXXXX").string()),
          file(mkostemp(name.data(), O_CLOEXEC))
    {
        if (file.get() < 0)
        {
            fail(path, errno);
        }
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    ~TemporaryFile()
    {
        if (!name.empty())
        {
            ::unlink(name.c_str());
        }
    }

    void write(std::string_view bytes)
    {
        while (!bytes.empty())
        {
            const ssize_t count = ::write(file.get(), bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR)
            {
                fail(path, errno);
            }
            bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
        }
    }

    // The owner first: changing it takes permissions away.
    void takeAttributes(const std::optional<struct stat>& old)
    {
        if (old && ::fchown(file.get(), old->st_uid, old->st_gid) != 0 &&
            ::fchown(file.get(), static_cast<uid_t>(-1), old->st_gid) != 0)
        {
            // Only the super-user may; the file is then this user's.
        }
        const mode_t mask = ::umask(0);
        ::umask(mask);
        require(::fchmod(file.get(), old ? old->st_mode & 07777U : 0666U & ~mask) == 0);
    }

    void moveTo(const fs::path& target)
    {
        require(::fsync(file.get()) == 0);
        if (const int error = file.close())
        {
            fail(path, error);
        }
        require(::rename(name.c_str(), target.c_str()) == 0);
        name.clear();
    }

private:
    void require(bool done) const
    {
        if (!done)
        {
            fail(path, errno);
        }
    }

    std::string path;
    std::string name;
    Descriptor file;
};

std::optional<struct stat> attributesOf(const std::string& path, const fs::path& target)
{
    struct stat status = {};
    if (::stat(target.c_str(), &status) == 0)
    {
        requireRegular(path, status.st_mode);
        return status;
    }
    if (errno != ENOENT)
    {
        fail(path, errno);
    }
    return {};
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

} // namespace

std::string readFile(const std::string& path)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0)
    {
        fail(path, errno);
    }
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
    {
        fail(path, errno);
    }
    requireRegular(path, status.st_mode);
    requireMemoryFor(path, static_cast<std::uintmax_t>(status.st_size));
    return readAll(path, file.get(), static_cast<std::size_t>(status.st_size));
}

void replaceFile(const std::string& path, const std::string& bytes)
{
    const fs::path target = followLinks(path);
    const fs::path directory = target.has_parent_path() ? target.parent_path() : ".";
    const auto old = attributesOf(path, target);
    TemporaryFile temporary(path, directory);
    temporary.write(bytes);
    temporary.takeAttributes(old);
    temporary.moveTo(target);
    makeDurable(path, directory);
}

} // namespace ModelEditor

#include "Examples/ModelEditor/ModelFile.h"
#include "Platform/ExceptionHandling/VdException.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>
#include <windows.h>

namespace ModelEditor
{

namespace
{

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, DWORD error)
{
    throw Valdane::VdException(path + ": " + std::system_category().message(static_cast<int>(error)));
}

// Texts are UTF-8 throughout the editor.
fs::path toPath(const std::string& path)
{
    return fs::path(std::u8string(path.begin(), path.end()));
}

// Closes what it has opened.
class Handle
{
public:
    explicit Handle(HANDLE opened) : handle(opened) {}

    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    ~Handle()
    {
        if (isOpen())
        {
            CloseHandle(handle);
        }
    }

    bool isOpen() const noexcept
    {
        return handle != INVALID_HANDLE_VALUE;
    }

    HANDLE get() const noexcept
    {
        return handle;
    }

    bool close() noexcept
    {
        return CloseHandle(std::exchange(handle, INVALID_HANDLE_VALUE)) != 0;
    }

private:
    HANDLE handle;
};

Handle openToRead(const fs::path& path, DWORD access)
{
    return Handle(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void requireNoDirectory(const std::string& path, const fs::path& target)
{
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
    {
        throw Valdane::VdException(path + ": is a directory");
    }
}

// Not all systems that run programs for Windows refuse that themselves.
void requireWritable(const std::string& path, const fs::path& target)
{
    const DWORD attributes = GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
    {
        throw Valdane::VdException(path + ": is read-only");
    }
}

// A device, NUL for instance, is none.
void requireRegular(const std::string& path, HANDLE file)
{
    if (GetFileType(file) != FILE_TYPE_DISK)
    {
        throw Valdane::VdException(path + ": is not a regular file");
    }
}

std::size_t sizeOf(const std::string& path, HANDLE file)
{
    LARGE_INTEGER size = {};
    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof memory;
    if (GetFileSizeEx(file, &size) == 0 || GlobalMemoryStatusEx(&memory) == 0)
    {
        fail(path, GetLastError());
    }
    if (static_cast<std::uint64_t>(size.QuadPart) > memory.ullTotalPhys)
    {
        throw Valdane::VdException(path + ": is too large for the memory of this machine (" +
                                   std::to_string(size.QuadPart) + " bytes)");
    }
    return static_cast<std::size_t>(size.QuadPart);
}

DWORD atMost(std::size_t size)
{
    return static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<std::int32_t>::max()));
}

// Where the links end that start at a file that is there.
fs::path followLinks(const fs::path& path)
{
    const Handle file = openToRead(path, 0);
    if (!file.isOpen())
    {
        return path;
    }
    std::wstring name(GetFinalPathNameByHandleW(file.get(), nullptr, 0, FILE_NAME_NORMALIZED), L'\0');
    const DWORD length = GetFinalPathNameByHandleW(file.get(), name.data(), static_cast<DWORD>(name.size()),
                                                   FILE_NAME_NORMALIZED);
    return length == 0 || length >= name.size() ? path : fs::path(name.substr(0, length));
}

// Removed when it goes, unless it has taken another name by then.
class TemporaryFile
{
public:
    TemporaryFile(const std::string& asked, const fs::path& directory)
        : path(asked),
          name(makeIn(directory)),
          file(CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                           nullptr))
    {
        if (!file.isOpen())
        {
            const DWORD error = GetLastError();
            DeleteFileW(name.c_str());
            fail(path, error);
        }
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    ~TemporaryFile()
    {
        if (!name.empty())
        {
            // An open file cannot be removed.
            file.close();
            DeleteFileW(name.c_str());
        }
    }

    void write(std::string_view bytes)
    {
        while (!bytes.empty())
        {
            DWORD count = 0;
            require(WriteFile(file.get(), bytes.data(), atMost(bytes.size()), &count, nullptr) != 0);
            bytes.remove_prefix(count);
        }
    }

    // One step for whoever looks, and for a machine that dies.
    void moveTo(const fs::path& target)
    {
        require(FlushFileBuffers(file.get()) != 0);
        require(file.close());
        require(MoveFileExW(name.c_str(), target.c_str(),
                            MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0);
        name.clear();
    }

private:
    fs::path makeIn(const fs::path& directory) const
    {
        std::array<wchar_t, MAX_PATH> made = {};
        require(GetTempFileNameW(directory.c_str(), L"med", 0, made.data()) != 0);
        return made.data();
    }

    void require(bool done) const
    {
        if (!done)
        {
            fail(path, GetLastError());
        }
    }

    std::string path;
    fs::path name;
    Handle file;
};

} // namespace

std::string readFile(const std::string& path)
{
    const fs::path source = toPath(path);
    requireNoDirectory(path, source);
    const Handle file = openToRead(source, GENERIC_READ);
    if (!file.isOpen())
    {
        fail(path, GetLastError());
    }
    requireRegular(path, file.get());
    std::string bytes(sizeOf(path, file.get()), '\0');
    std::size_t used = 0;
    DWORD count = 1;
    while (used < bytes.size() && count != 0)
    {
        if (ReadFile(file.get(), bytes.data() + used, atMost(bytes.size() - used), &count, nullptr) == 0)
        {
            fail(path, GetLastError());
        }
        used += count;
    }
    bytes.resize(used);
    return bytes;
}

void replaceFile(const std::string& path, const std::string& bytes)
{
    const fs::path target = followLinks(toPath(path));
    requireNoDirectory(path, target);
    requireWritable(path, target);
    TemporaryFile temporary(path, target.has_parent_path() ? target.parent_path() : fs::path("."));
    temporary.write(bytes);
    temporary.moveTo(target);
}

} // namespace ModelEditor

#include "Tests/Service/Journal/MemoryDisk.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sqlite3.h>
#include <stdexcept>
#include <utility>

namespace Valdane
{

namespace
{

constexpr std::size_t SectorBytes = 512;

MemoryDisk* disk = nullptr;

// What SQLite has of an open file.
struct OpenMemoryFile
{
    sqlite3_file base;
    std::string* name;
};

std::string& nameOf(sqlite3_file* file)
{
    return *reinterpret_cast<OpenMemoryFile*>(file)->name;
}

int closeFile(sqlite3_file* file)
{
    delete std::exchange(reinterpret_cast<OpenMemoryFile*>(file)->name, nullptr);
    return SQLITE_OK;
}

int readFile(sqlite3_file* file, void* buffer, int count, sqlite3_int64 offset)
{
    return disk->read(nameOf(file), buffer, static_cast<std::size_t>(count),
                      static_cast<std::size_t>(offset));
}

int writeFile(sqlite3_file* file, const void* buffer, int count, sqlite3_int64 offset)
{
    return disk->write(nameOf(file), {static_cast<const char*>(buffer), static_cast<std::size_t>(count)},
                       static_cast<std::size_t>(offset));
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size)
{
    return disk->truncate(nameOf(file), static_cast<std::size_t>(size));
}

int syncFile(sqlite3_file* file, int /*flags*/)
{
    return disk->sync(nameOf(file));
}

int sizeOfFile(sqlite3_file* file, sqlite3_int64* size)
{
    *size = static_cast<sqlite3_int64>(disk->sizeOf(nameOf(file)));
    return SQLITE_OK;
}

int lockFile(sqlite3_file* /*file*/, int /*lock*/)
{
    return SQLITE_OK;
}

int isFileReserved(sqlite3_file* /*file*/, int* isReserved)
{
    *isReserved = 0;
    return SQLITE_OK;
}

int controlFile(sqlite3_file* /*file*/, int /*operation*/, void* /*argument*/)
{
    return SQLITE_NOTFOUND;
}

int sectorOfFile(sqlite3_file* /*file*/)
{
    return static_cast<int>(SectorBytes);
}

// Nothing that would spare a sync.
int traitsOfFile(sqlite3_file* /*file*/)
{
    return 0;
}

constexpr sqlite3_io_methods FileMethods{
    .iVersion = 1,
    .xClose = closeFile,
    .xRead = readFile,
    .xWrite = writeFile,
    .xTruncate = truncateFile,
    .xSync = syncFile,
    .xFileSize = sizeOfFile,
    .xLock = lockFile,
    .xUnlock = lockFile,
    .xCheckReservedLock = isFileReserved,
    .xFileControl = controlFile,
    .xSectorSize = sectorOfFile,
    .xDeviceCharacteristics = traitsOfFile,
    .xShmMap = nullptr,
    .xShmLock = nullptr,
    .xShmBarrier = nullptr,
    .xShmUnmap = nullptr,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

int openFile(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* file, int flags, int* openedWith)
{
    file->pMethods = nullptr;
    const int result = disk->open(name, (flags & SQLITE_OPEN_CREATE) != 0);
    if (result != SQLITE_OK)
    {
        return result;
    }
    reinterpret_cast<OpenMemoryFile*>(file)->name = new std::string(name);
    file->pMethods = &FileMethods;
    if (openedWith != nullptr)
    {
        *openedWith = disk->isReadOnly() ? (flags & ~SQLITE_OPEN_READWRITE) | SQLITE_OPEN_READONLY : flags;
    }
    return SQLITE_OK;
}

int deleteFile(sqlite3_vfs* /*vfs*/, const char* name, int /*syncsFolder*/)
{
    return disk->remove(name);
}

int accessFile(sqlite3_vfs* /*vfs*/, const char* name, int /*flags*/, int* isThere)
{
    *isThere = disk->exists(name) ? 1 : 0;
    return SQLITE_OK;
}

int wholeName(sqlite3_vfs* /*vfs*/, const char* name, int count, char* whole)
{
    sqlite3_snprintf(count, whole, "%s", name);
    return SQLITE_OK;
}

sqlite3_vfs* usualDisk = nullptr;

// The rest is that of the usual one.
sqlite3_vfs makeVfs()
{
    usualDisk = sqlite3_vfs_find(nullptr);
    sqlite3_vfs vfs = *usualDisk;
    vfs.iVersion = 1;
    vfs.szOsFile = sizeof(OpenMemoryFile);
    vfs.zName = "memory-disk";
    vfs.pNext = nullptr;
    vfs.xOpen = openFile;
    vfs.xDelete = deleteFile;
    vfs.xAccess = accessFile;
    vfs.xFullPathname = wholeName;
    return vfs;
}

sqlite3_vfs& getVfs()
{
    static sqlite3_vfs vfs = makeVfs();
    return vfs;
}

void put(std::string& file, std::size_t offset, std::string_view bytes)
{
    file.resize(std::max(file.size(), offset + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), file.begin() + static_cast<std::ptrdiff_t>(offset));
}

} // namespace

MemoryDisk::MemoryDisk()
{
    if (disk != nullptr)
    {
        throw std::logic_error("one disk at a time");
    }
    disk = this;
    sqlite3_vfs_register(&getVfs(), 1);
}

MemoryDisk::~MemoryDisk()
{
    sqlite3_vfs_register(usualDisk, 1);
    disk = nullptr;
}

void MemoryDisk::failAt(std::uint64_t number, int error, bool isForGood)
{
    const std::lock_guard lock(mutex);
    failing = number;
    failure = error;
    isFailureForGood = isForGood;
}

void MemoryDisk::setReadOnly(bool isReadOnly)
{
    const std::lock_guard lock(mutex);
    areFilesReadOnly = isReadOnly;
}

bool MemoryDisk::isReadOnly() const
{
    const std::lock_guard lock(mutex);
    return areFilesReadOnly;
}

std::uint64_t MemoryDisk::getCallCount() const
{
    const std::lock_guard lock(mutex);
    return calls;
}

void MemoryDisk::onCall(std::function<void(Call)> slot)
{
    const std::lock_guard lock(mutex);
    called = std::move(slot);
}

MemoryDisk::Files MemoryDisk::getFiles() const
{
    const std::lock_guard lock(mutex);
    return files;
}

void MemoryDisk::setFiles(Files other)
{
    const std::lock_guard lock(mutex);
    files = std::move(other);
}

MemoryDisk::Files MemoryDisk::afterPowerFailure(const Files& files, std::mt19937& random)
{
    const auto happens = [&random]
    {
        return random() % 2 == 0;
    };
    Files left;
    for (const auto& [name, file] : files)
    {
        if ((!file.isEntrySynced || file.isRemoved) && happens())
        {
            continue;
        }
        std::string bytes = file.synced;
        for (const File::Write& write : file.unsynced)
        {
            if (write.bytes.empty() && happens())
            {
                bytes.resize(std::min(bytes.size(), write.offset));
            }
            for (std::size_t at = 0; at < write.bytes.size();)
            {
                const std::size_t end =
                    std::min(write.bytes.size(), at + SectorBytes - (write.offset + at) % SectorBytes);
                if (happens())
                {
                    put(bytes, write.offset + at, std::string_view(write.bytes).substr(at, end - at));
                }
                at = end;
            }
        }
        left[name] = {.bytes = bytes, .synced = bytes, .isEntrySynced = true};
    }
    return left;
}

// The number of the call is its own, also if it fails.
int MemoryDisk::count(Call call)
{
    std::unique_lock lock(mutex);
    const std::uint64_t number = calls++;
    const bool fails = number == failing || (isFailureForGood && number > failing);
    const int result = fails ? failure : SQLITE_OK;
    const auto slot = called;
    lock.unlock();
    if (slot)
    {
        slot(call);
    }
    return result;
}

int MemoryDisk::open(const std::string& name, bool mayCreate)
{
    if (exists(name))
    {
        return SQLITE_OK;
    }
    if (!mayCreate)
    {
        return SQLITE_CANTOPEN;
    }
    const int result = count(Call::Create);
    const std::lock_guard lock(mutex);
    if (result == SQLITE_OK)
    {
        files[name] = {};
    }
    return result;
}

int MemoryDisk::read(const std::string& name, void* buffer, std::size_t count, std::size_t offset)
{
    const std::lock_guard lock(mutex);
    const std::string& bytes = files.at(name).bytes;
    const std::size_t there = offset < bytes.size() ? std::min(count, bytes.size() - offset) : 0;
    std::memset(buffer, 0, count);
    std::memcpy(buffer, bytes.data() + (there == 0 ? 0 : offset), there);
    return there == count ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int MemoryDisk::write(const std::string& name, std::string_view bytes, std::size_t offset)
{
    const int result = count(Call::Write);
    const std::lock_guard lock(mutex);
    // A write that fails may have written its first part.
    const std::string_view written = result == SQLITE_OK ? bytes : bytes.substr(0, bytes.size() / 2);
    File& file = files.at(name);
    put(file.bytes, offset, written);
    file.unsynced.push_back({.offset = offset, .bytes = std::string(written)});
    return result;
}

int MemoryDisk::truncate(const std::string& name, std::size_t size)
{
    const int result = count(Call::Truncate);
    const std::lock_guard lock(mutex);
    if (result == SQLITE_OK)
    {
        File& file = files.at(name);
        file.bytes.resize(size);
        file.unsynced.push_back({.offset = size, .bytes = {}});
    }
    return result;
}

int MemoryDisk::sync(const std::string& name)
{
    const int result = count(Call::Sync);
    const std::lock_guard lock(mutex);
    if (result == SQLITE_OK)
    {
        File& file = files.at(name);
        file.synced = file.bytes;
        file.unsynced.clear();
        // As SQLite's own: the first sync of a log is one of its folder, too.
        if (!file.isEntrySynced && (name.ends_with("-wal") || name.ends_with("-journal")))
        {
            syncFolder();
        }
    }
    return result;
}

void MemoryDisk::syncFolder()
{
    std::erase_if(files, [](const auto& entry) { return entry.second.isRemoved; });
    for (auto& [name, file] : files)
    {
        file.isEntrySynced = true;
    }
}

int MemoryDisk::remove(const std::string& name)
{
    if (!exists(name))
    {
        return SQLITE_IOERR_DELETE_NOENT;
    }
    const int result = count(Call::Delete);
    const std::lock_guard lock(mutex);
    if (result == SQLITE_OK)
    {
        files.at(name).isRemoved = true;
    }
    return result;
}

bool MemoryDisk::exists(const std::string& name) const
{
    const std::lock_guard lock(mutex);
    const auto found = files.find(name);
    return found != files.end() && !found->second.isRemoved;
}

std::size_t MemoryDisk::sizeOf(const std::string& name) const
{
    const std::lock_guard lock(mutex);
    return files.at(name).bytes.size();
}

} // namespace Valdane

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace Valdane
{

/// A disk in memory that SQLite uses for all files as long as the object exists. Its calls can fail, and it knows what a
/// power failure leaves of each file.
///
/// One at a time in a process. Threads: any.
class MemoryDisk
{
public:
    /// A file, with all that a power failure may leave of it.
    struct File
    {
        /// No bytes: it was cut there.
        struct Write
        {
            std::size_t offset;
            std::string bytes;
        };

        std::string bytes{};           ///< as programs see it
        std::string synced{};          ///< as it was at its last sync
        std::vector<Write> unsynced{}; ///< since then
        bool isEntrySynced = false;    ///< whether its folder has it for good
        bool isRemoved = false;        ///< and may be back after a power failure
    };

    using Files = std::map<std::string, File>;

    /// A call that changes files, or makes sure that they stay.
    enum class Call
    {
        Create,
        Write,
        Sync,
        Truncate,
        Delete,
    };

    MemoryDisk();
    MemoryDisk(const MemoryDisk&) = delete;
    MemoryDisk& operator=(const MemoryDisk&) = delete;
    ~MemoryDisk();

    /// Has the call @p number, counted from 0, fail with @p error of SQLite; and with @p isForGood all that follow.
    void failAt(std::uint64_t number, int error, bool isForGood);

    /// From now on files are opened for reading only.
    void setReadOnly(bool isReadOnly);

    /// How many calls there were.
    std::uint64_t getCallCount() const;

    /// Calls @p slot before each call, with what it is.
    void onCall(std::function<void(Call)> slot);

    /// The files, and others in their place. Nobody has one open.
    Files getFiles() const;
    void setFiles(Files files);

    /// What is left of files when the power has failed: of what was not synced, any sectors.
    static Files afterPowerFailure(const Files& files, std::mt19937& random);

    // What SQLite calls.
    bool isReadOnly() const;
    int open(const std::string& name, bool mayCreate);
    int read(const std::string& name, void* buffer, std::size_t count, std::size_t offset);
    int write(const std::string& name, std::string_view bytes, std::size_t offset);
    int truncate(const std::string& name, std::size_t size);
    int sync(const std::string& name);
    int remove(const std::string& name);
    bool exists(const std::string& name) const;
    std::size_t sizeOf(const std::string& name) const;

private:
    int count(Call call);
    void syncFolder();

    mutable std::mutex mutex;
    Files files;
    bool areFilesReadOnly = false;
    std::uint64_t calls = 0;
    std::uint64_t failing = ~std::uint64_t{0};
    int failure = 0;
    bool isFailureForGood = false;
    std::function<void(Call)> called;
};

} // namespace Valdane

#pragma once

#include "Service/Journal/JournalChange.h"
#include "Service/Journal/JournalContents.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace Valdane
{

/// The SQLite file of a journal. Locked for this process as long as it exists.
///
/// All operations throw VdException naming the file. An operation that fails has changed nothing.
///
/// Thread: one at a time.
class JournalFile
{
public:
    /// Opens a file, or makes one.
    /// @throws JournalInUse if it is used by another process; VdException if it is no journal, of a newer version, damaged or
    ///         cannot be written.
    explicit JournalFile(std::filesystem::path path);
    JournalFile(const JournalFile&) = delete;
    JournalFile& operator=(const JournalFile&) = delete;
    ~JournalFile();

    /// @throws VdException if anything in it is damaged.
    JournalContents read();

    /// The document before the first entry.
    std::string readBase();

    /// Makes all changes, or none. @throws VdException also if the file would exceed @p maxBytes.
    void write(std::span<const JournalChange> changes, std::uint64_t maxBytes);

    const std::filesystem::path& getPath() const noexcept
    {
        return path;
    }

    /// Closes and deletes it.
    void remove();

private:
    struct Connection;

    void apply(const JournalOp& op);
    void putBase(std::string_view base);
    void adoptSaving();
    void put(const JournalOp& op);
    void erase(std::int64_t place);
    void putState(const JournalState& state);

    std::filesystem::path path;
    std::unique_ptr<Connection> connection;
};

} // namespace Valdane

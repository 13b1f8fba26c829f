#pragma once

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/Journal/JournalChange.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;

namespace Valdane
{

class SqliteStatement;

/// All that is in a file but the base.
struct JournalContents
{
    bool isEmpty = true;
    JournalState state;
    std::vector<JournalEntry> entries; ///< by place
    std::vector<JournalEntry> retired; ///< by place
    std::map<std::string, std::string> texts;

    std::string text(const char* key) const;
};

/// Another journal has the file open.
class JournalInUse : public VdException
{
public:
    using VdException::VdException;
};

/// The SQLite file of a journal. Locked for this process as long as it exists.
///
/// All operations throw VdException naming the file. An operation that fails has changed nothing.
///
/// Thread: one at a time.
class JournalFile
{
public:
    /// Opens a file, or makes one.
    /// @throws VdException if it is used by another process, is no journal, of a newer version, damaged or cannot be written.
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
    struct Statements;

    void check(int result, const std::string& what);
    void run(const char* sql);
    void configure();
    void prepareTables();
    void requireIntact();
    void apply(const JournalOp& op);
    void putBase(std::string_view base);
    void adoptSaving();
    void put(const JournalOp& op);
    void storeBlobs(nlohmann::json& value, std::int64_t place);
    std::int64_t storeBlob(std::string_view bytes);
    void restoreBlobs(nlohmann::json& value);
    void erase(std::int64_t place);
    void putState(const JournalState& state);
    std::vector<JournalEntry> readEntries(const char* table);
    JournalState readState();
    std::uint64_t sizeInBytes();

    std::filesystem::path path;
    sqlite3* database = nullptr;
    std::unique_ptr<Statements> statements;
};

} // namespace Valdane

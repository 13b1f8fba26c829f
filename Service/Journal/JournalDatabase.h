#pragma once

#include "Platform/ExceptionHandling/VdException.h"

#include <filesystem>

struct sqlite3;

namespace Valdane
{

/// Another journal has the file open.
class JournalInUse : public VdException
{
public:
    using VdException::VdException;
};

/// The SQLite database of a journal, with its tables. Locked for this process as long as it exists.
class JournalDatabase
{
public:
    /// Opens one, or makes it.
    /// @throws VdException if it is no journal, of a newer version, damaged or cannot be written; JournalInUse.
    explicit JournalDatabase(const std::filesystem::path& path);
    JournalDatabase(const JournalDatabase&) = delete;
    JournalDatabase& operator=(const JournalDatabase&) = delete;
    ~JournalDatabase();

    sqlite3* get() const noexcept
    {
        return database;
    }

    /// Runs statements without results. @throws VdException
    void run(const char* sql);

private:
    void check(int result);
    void configure();
    void prepareTables();

    sqlite3* database = nullptr;
};

} // namespace Valdane

#pragma once

#include "Service/Journal/SqliteStatement.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

struct sqlite3;

namespace Valdane
{

/// Large texts and bytes of commands, each of them once in the file, however many commands have it.
///
/// All operations throw VdException.
class JournalBlobs
{
public:
    explicit JournalBlobs(sqlite3* database);

    /// Stores those in the data of the command at @p place, and leaves their numbers there.
    void store(nlohmann::json& data, std::int64_t place);

    /// Puts them back into data.
    void restore(nlohmann::json& data);

    /// The command at @p place is gone; or all are that are not among the entries.
    void release(std::int64_t place);
    void releaseRetired();

    /// Deletes those that no command has any more.
    void dropUnused();

private:
    std::int64_t storeOne(std::string_view bytes);

    sqlite3* connection;
    SqliteStatement find;
    SqliteStatement get;
    SqliteStatement add;
    SqliteStatement use;
    SqliteStatement isUsing;
    SqliteStatement unuse;
    SqliteStatement unuseRetired;
    SqliteStatement drop;
    bool hasUnused = false;
};

} // namespace Valdane

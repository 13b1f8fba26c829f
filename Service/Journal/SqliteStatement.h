#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace Valdane
{

/// A prepared statement of SQLite. Failures throw VdException with the text of SQLite.
///
/// Thread: that of its database.
class SqliteStatement
{
public:
    SqliteStatement(sqlite3* database, const char* sql);
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;
    ~SqliteStatement();

    /// Binds the parameters from 1 on. Texts are bound as blobs, and must live until run() or step() has ended.
    template <typename... Values>
    SqliteStatement& bind(const Values&... values)
    {
        int index = 0;
        (bindOne(++index, values), ...);
        return *this;
    }

    /// Runs it to its end, for statements without rows.
    void run();

    /// Goes to the next row. @return false at the end, after which it can be bound and run again.
    bool step();

    /// Columns of the row, from 0 on.
    std::int64_t integer(int column);
    std::optional<std::int64_t> integerOrNull(int column);
    std::string_view bytes(int column); ///< until the next step

    /// So that it can be run again before its end.
    void reset() noexcept;

private:
    void bindOne(int index, std::int64_t value);
    void bindOne(int index, std::string_view value);
    void bindOne(int index, const std::optional<std::int64_t>& value);
    void check(int result);

    sqlite3* database;
    sqlite3_stmt* statement = nullptr;
};

} // namespace Valdane

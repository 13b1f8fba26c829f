#include "Service/Journal/SqliteStatement.h"

#include "Platform/ExceptionHandling/VdException.h"

#include <sqlite3.h>

namespace Valdane
{

SqliteStatement::SqliteStatement(sqlite3* usedDatabase, const char* sql) : database(usedDatabase)
{
    check(sqlite3_prepare_v2(database, sql, -1, &statement, nullptr));
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(statement);
}

void SqliteStatement::run()
{
    const int result = sqlite3_step(statement);
    reset();
    if (result != SQLITE_DONE && result != SQLITE_ROW)
    {
        check(result);
    }
}

bool SqliteStatement::step()
{
    const int result = sqlite3_step(statement);
    if (result == SQLITE_ROW)
    {
        return true;
    }
    reset();
    if (result != SQLITE_DONE)
    {
        check(result);
    }
    return false;
}

std::int64_t SqliteStatement::integer(int column)
{
    return sqlite3_column_int64(statement, column);
}

std::optional<std::int64_t> SqliteStatement::integerOrNull(int column)
{
    return sqlite3_column_type(statement, column) == SQLITE_NULL ? std::nullopt
                                                                 : std::optional(integer(column));
}

std::string_view SqliteStatement::bytes(int column)
{
    const auto* const data = static_cast<const char*>(sqlite3_column_blob(statement, column));
    const int size = sqlite3_column_bytes(statement, column);
    return data == nullptr ? std::string_view() : std::string_view(data, static_cast<std::size_t>(size));
}

void SqliteStatement::reset() noexcept
{
    sqlite3_reset(statement);
}

void SqliteStatement::bindOne(int index, std::int64_t value)
{
    check(sqlite3_bind_int64(statement, index, value));
}

void SqliteStatement::bindOne(int index, std::string_view value)
{
    // An empty text is no null.
    check(sqlite3_bind_blob64(statement, index, value.empty() ? "" : value.data(), value.size(),
                              SQLITE_STATIC));
}

void SqliteStatement::bindOne(int index, const std::optional<std::int64_t>& value)
{
    check(value.has_value() ? sqlite3_bind_int64(statement, index, *value)
                            : sqlite3_bind_null(statement, index));
}

void SqliteStatement::check(int result)
{
    if (result != SQLITE_OK)
    {
        throw VdException(sqlite3_errmsg(database));
    }
}

} // namespace Valdane

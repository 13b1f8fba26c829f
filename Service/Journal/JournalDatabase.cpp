#include "Service/Journal/JournalDatabase.h"

#include "Service/Journal/SqliteStatement.h"

#include <sqlite3.h>
#include <utility>

namespace Valdane
{

namespace
{

constexpr std::int64_t ApplicationId = 0x564C4A31;
constexpr std::int64_t FileVersion = 1;

constexpr const char* Tables = R"(
CREATE TABLE text(key TEXT PRIMARY KEY, value BLOB NOT NULL, sum INTEGER NOT NULL) WITHOUT ROWID;
CREATE TABLE state(id INTEGER PRIMARY KEY, position INTEGER, saved INTEGER, saving INTEGER, reachable INTEGER,
                   entries INTEGER, retired INTEGER, mark0 INTEGER, mark1 INTEGER, sum INTEGER NOT NULL);
CREATE TABLE entry(place INTEGER PRIMARY KEY, kind INTEGER, depth INTEGER, data BLOB NOT NULL, sum INTEGER NOT NULL);
CREATE TABLE retired(place INTEGER PRIMARY KEY, kind INTEGER, depth INTEGER, data BLOB NOT NULL, sum INTEGER NOT NULL);
CREATE TABLE blob(id INTEGER PRIMARY KEY, sum INTEGER NOT NULL, data BLOB NOT NULL);
CREATE INDEX blob_by_sum ON blob(sum);
CREATE TABLE uses(blob INTEGER, place INTEGER, PRIMARY KEY(blob, place)) WITHOUT ROWID;
CREATE INDEX uses_by_place ON uses(place);
CREATE TABLE base(part INTEGER PRIMARY KEY, data BLOB NOT NULL, sum INTEGER NOT NULL);
)";

} // namespace

JournalDatabase::JournalDatabase(const std::filesystem::path& path)
{
    try
    {
        check(sqlite3_open_v2(path.string().c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                              nullptr));
        configure();
        prepareTables();
    }
    catch (...)
    {
        sqlite3_close(database);
        throw;
    }
}

JournalDatabase::~JournalDatabase()
{
    sqlite3_close(database);
}

void JournalDatabase::check(int result)
{
    switch (result & 0xFF)
    {
    case SQLITE_OK:
        return;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        throw JournalInUse("another journal has it open");
    case SQLITE_NOTADB:
        throw VdException("it is not a journal");
    default:
        throw VdException(sqlite3_errmsg(database));
    }
}

void JournalDatabase::run(const char* sql)
{
    check(sqlite3_exec(database, sql, nullptr, nullptr, nullptr));
}

void JournalDatabase::configure()
{
    run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA cell_size_check = ON");
    // Before anything is written: it may be somebody else's.
    run("SELECT count(*) FROM sqlite_schema");
    SqliteStatement tables(database, "SELECT count(*) FROM sqlite_schema");
    tables.step();
    SqliteStatement id(database, "PRAGMA application_id");
    id.step();
    SqliteStatement version(database, "PRAGMA user_version");
    version.step();
    const bool isNew = tables.integer(0) == 0 && id.integer(0) == 0;
    if (!isNew && id.integer(0) != ApplicationId)
    {
        throw VdException("it is not a journal");
    }
    if (version.integer(0) > FileVersion)
    {
        throw VdException("it was written by a newer version of this library");
    }
}

void JournalDatabase::prepareTables()
{
    // Each commit reaches the disk: what is written seldom is written in few commits. The lock is taken now.
    run("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; BEGIN IMMEDIATE");
    SqliteStatement tables(database, "SELECT count(*) FROM sqlite_schema");
    tables.step();
    if (tables.integer(0) == 0)
    {
        run(Tables);
        run("PRAGMA application_id = 1447840305; PRAGMA user_version = 1");
    }
    tables.reset();
    run("COMMIT");
}

} // namespace Valdane

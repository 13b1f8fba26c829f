#include "Service/Journal/JournalFile.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/Journal/SqliteStatement.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <sqlite3.h>
#include <utility>

namespace Valdane
{

namespace
{

using Json = nlohmann::json;

constexpr std::int64_t ApplicationId = 0x564C4A31;
constexpr std::int64_t FileVersion = 1;

// In a command's data, the number of such a blob.
constexpr std::uint64_t TextReference = 0x564C4A01;
constexpr std::uint64_t BytesReference = 0x564C4A02;

// SQLite takes a blob of up to a gigabyte.
constexpr std::size_t BasePartBytes = std::size_t{1} << 24;

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

// FNV-1a, 64 bits (Fowler, Noll, Vo): notices damage, not malice.
class Sum
{
public:
    Sum& add(std::string_view bytes) noexcept
    {
        for (const char byte : bytes)
        {
            value = (value ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
        }
        return *this;
    }

    Sum& add(std::int64_t number) noexcept
    {
        for (unsigned shift = 0; shift < 64; shift += 8)
        {
            value = (value ^ ((static_cast<std::uint64_t>(number) >> shift) & 0xFFU)) * 0x100000001B3U;
        }
        return *this;
    }

    std::int64_t get() const noexcept
    {
        return static_cast<std::int64_t>(value);
    }

private:
    std::uint64_t value = 0xCBF29CE484222325U;
};

std::int64_t sumOf(std::string_view bytes)
{
    return Sum().add(bytes).get();
}

std::int64_t sumOf(std::int64_t place, std::int64_t kind, std::int64_t depth, std::string_view data)
{
    return Sum().add(place).add(kind).add(depth).add(data).get();
}

std::string_view viewOf(const std::vector<std::uint8_t>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::optional<std::int64_t> asInteger(const std::optional<std::uint64_t>& mark)
{
    return mark.has_value() ? std::optional(static_cast<std::int64_t>(*mark)) : std::nullopt;
}

std::optional<std::uint64_t> asMark(const std::optional<std::int64_t>& integer)
{
    return integer.has_value() ? std::optional(static_cast<std::uint64_t>(*integer)) : std::nullopt;
}

std::int64_t sumOf(const JournalState& state)
{
    return Sum()
        .add(static_cast<std::int64_t>(state.position))
        .add(state.saved)
        .add(state.saving)
        .add(static_cast<std::int64_t>(state.isReachable))
        .add(static_cast<std::int64_t>(state.entries))
        .add(static_cast<std::int64_t>(state.retired))
        .add(asInteger(state.marks[0]).value_or(-1))
        .add(asInteger(state.marks[1]).value_or(-1))
        .get();
}

[[noreturn]] void refuseDamaged(const std::string& what)
{
    throw VdException("it is damaged (" + what + ")");
}

} // namespace

std::string JournalContents::text(const char* key) const
{
    const auto found = texts.find(key);
    return found == texts.end() ? std::string() : found->second;
}

struct JournalFile::Statements
{
    explicit Statements(sqlite3* database)
        : begin(database, "BEGIN IMMEDIATE"),
          commit(database, "COMMIT"),
          rollback(database, "ROLLBACK"),
          put(database, "INSERT OR REPLACE INTO entry VALUES(?, ?, ?, ?, ?)"),
          data(database, "SELECT depth, data FROM entry WHERE place = ?"),
          mark(database, "UPDATE entry SET kind = ?, depth = ?, sum = ? WHERE place = ?"),
          erase(database, "DELETE FROM entry WHERE place = ?"),
          retire(database, "INSERT INTO retired SELECT * FROM entry WHERE place = ?"),
          forget(database, "DELETE FROM retired"),
          setText(database, "INSERT OR REPLACE INTO text VALUES(?, ?, ?)"),
          setState(database, "INSERT OR REPLACE INTO state VALUES(0, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
          findBlob(database, "SELECT id, data FROM blob WHERE sum = ?"),
          getBlob(database, "SELECT data, sum FROM blob WHERE id = ?"),
          addBlob(database, "INSERT INTO blob(sum, data) VALUES(?, ?)"),
          useBlob(database, "INSERT OR IGNORE INTO uses VALUES(?, ?)"),
          usesBlobs(database, "SELECT 1 FROM uses WHERE place = ? LIMIT 1"),
          unuseBlobs(database, "DELETE FROM uses WHERE place = ?"),
          dropBlobs(database, "DELETE FROM blob WHERE id NOT IN (SELECT blob FROM uses)"),
          pages(database, "PRAGMA page_count"),
          freePages(database, "PRAGMA freelist_count"),
          pageSize(database, "PRAGMA page_size")
    {
    }

    SqliteStatement begin;
    SqliteStatement commit;
    SqliteStatement rollback;
    SqliteStatement put;
    SqliteStatement data;
    SqliteStatement mark;
    SqliteStatement erase;
    SqliteStatement retire;
    SqliteStatement forget;
    SqliteStatement setText;
    SqliteStatement setState;
    SqliteStatement findBlob;
    SqliteStatement getBlob;
    SqliteStatement addBlob;
    SqliteStatement useBlob;
    SqliteStatement usesBlobs;
    SqliteStatement unuseBlobs;
    SqliteStatement dropBlobs;
    SqliteStatement pages;
    SqliteStatement freePages;
    SqliteStatement pageSize;
    // Whether a blob may have lost its last use in this transaction.
    bool hasUnusedBlobs = false;
};

namespace
{

// Names the file in what @p work throws.
template <typename Work>
auto naming(const std::filesystem::path& path, const char* what, const Work& work) -> decltype(work())
{
    try
    {
        return work();
    }
    catch (const JournalInUse& exception)
    {
        throw JournalInUse("The journal '" + path.string() + "' " + what + ": " + exception.what() + ".");
    }
    catch (const std::exception& exception)
    {
        throw VdException("The journal '" + path.string() + "' " + what + ": " + exception.what() + ".");
    }
}

// Does @p work in one transaction of its own.
template <typename Statements, typename Work>
void inTransaction(Statements& statements, const Work& work)
{
    statements.begin.run();
    try
    {
        work();
        statements.commit.run();
    }
    catch (...)
    {
        try
        {
            statements.rollback.run();
        }
        catch (const std::exception&) // NOLINT(bugprone-empty-catch): the first failure is what counts
        {
        }
        throw;
    }
}

} // namespace

JournalFile::JournalFile(std::filesystem::path file) : path(std::move(file))
{
    naming(path, "cannot be opened",
           [&]
           {
               try
               {
                   check(sqlite3_open_v2(path.string().c_str(), &database,
                                         SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr),
                         "");
                   configure();
                   prepareTables();
                   statements = std::make_unique<Statements>(database);
               }
               catch (...)
               {
                   sqlite3_close(std::exchange(database, nullptr));
                   throw;
               }
           });
}

JournalFile::~JournalFile()
{
    statements.reset();
    sqlite3_close(database);
}

void JournalFile::check(int result, const std::string& what)
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
        throw VdException(what + sqlite3_errmsg(database));
    }
}

void JournalFile::run(const char* sql)
{
    check(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), "");
}

void JournalFile::configure()
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

void JournalFile::prepareTables()
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

JournalContents JournalFile::read()
{
    return naming(path, "cannot be read",
                  [&]
                  {
                      requireIntact();
                      JournalContents contents;
                      SqliteStatement texts(database, "SELECT key, value, sum FROM text");
                      while (texts.step())
                      {
                          const std::string key(texts.bytes(0));
                          const std::string value(texts.bytes(1));
                          if (sumOf(key + value) != texts.integer(2))
                          {
                              refuseDamaged("the text '" + key + "'");
                          }
                          contents.texts.emplace(key, value);
                      }
                      contents.isEmpty = contents.texts.empty();
                      if (!contents.isEmpty)
                      {
                          contents.state = readState();
                          contents.entries = readEntries("entry");
                          contents.retired = readEntries("retired");
                          if (contents.entries.size() != contents.state.entries ||
                              contents.retired.size() != contents.state.retired)
                          {
                              refuseDamaged("commands are missing");
                          }
                      }
                      return contents;
                  });
}

void JournalFile::requireIntact()
{
    SqliteStatement quickCheck(database, "PRAGMA quick_check(1)");
    if (quickCheck.step() && quickCheck.bytes(0) != "ok")
    {
        refuseDamaged(std::string(quickCheck.bytes(0)));
    }
}

JournalState JournalFile::readState()
{
    SqliteStatement row(
        database,
        "SELECT position, saved, saving, reachable, entries, retired, mark0, mark1, sum FROM state");
    if (!row.step())
    {
        refuseDamaged("its state is missing");
    }
    const JournalState state{.position = static_cast<std::uint64_t>(row.integer(0)),
                             .saved = row.integer(1),
                             .saving = row.integer(2),
                             .isReachable = row.integer(3) != 0,
                             .entries = static_cast<std::uint64_t>(row.integer(4)),
                             .retired = static_cast<std::uint64_t>(row.integer(5)),
                             .marks = {asMark(row.integerOrNull(6)), asMark(row.integerOrNull(7))}};
    if (sumOf(state) != row.integer(8))
    {
        refuseDamaged("its state");
    }
    return state;
}

std::vector<JournalEntry> JournalFile::readEntries(const char* table)
{
    std::vector<JournalEntry> entries;
    SqliteStatement rows(
        database,
        (std::string("SELECT place, kind, depth, data, sum FROM ") + table + " ORDER BY place").c_str());
    while (rows.step())
    {
        const std::int64_t place = rows.integer(0);
        const std::string_view data = rows.bytes(3);
        if (sumOf(place, rows.integer(1), rows.integer(2), data) != rows.integer(4))
        {
            refuseDamaged("the command at place " + std::to_string(place));
        }
        JournalEntry& entry = entries.emplace_back();
        entry.place = place;
        entry.kind = static_cast<JournalKind>(rows.integer(1));
        entry.depth = static_cast<std::uint32_t>(rows.integer(2));
        entry.data = Json::from_cbor(data, true, true, Json::cbor_tag_handler_t::store);
        restoreBlobs(entry.data);
    }
    return entries;
}

std::string JournalFile::readBase()
{
    return naming(path, "cannot be read",
                  [&]
                  {
                      std::string base;
                      SqliteStatement parts(database, "SELECT data, sum FROM base ORDER BY part");
                      while (parts.step())
                      {
                          if (sumOf(parts.bytes(0)) != parts.integer(1))
                          {
                              refuseDamaged("the document");
                          }
                          base += parts.bytes(0);
                      }
                      return base;
                  });
}

void JournalFile::write(std::span<const JournalChange> changes, std::uint64_t maxBytes)
{
    naming(path, "cannot be written",
           [&]
           {
               statements->hasUnusedBlobs = false;
               inTransaction(*statements,
                             [&]
                             {
                                 for (const JournalChange& change : changes)
                                 {
                                     std::for_each(change.ops.begin(), change.ops.end(),
                                                   [this](const JournalOp& op) { apply(op); });
                                 }
                                 if (statements->hasUnusedBlobs)
                                 {
                                     statements->dropBlobs.run();
                                 }
                                 if (!changes.empty())
                                 {
                                     putState(changes.back().state);
                                 }
                                 if (sizeInBytes() > maxBytes)
                                 {
                                     throw VdException("it would exceed " + std::to_string(maxBytes) +
                                                       " bytes");
                                 }
                             });
           });
}

void JournalFile::apply(const JournalOp& op)
{
    const std::int64_t place = op.entry.place;
    switch (op.kind)
    {
    case JournalOp::Kind::Replace:
        erase(place);
        put(op);
        return;
    case JournalOp::Kind::Put:
        put(op);
        return;
    case JournalOp::Kind::Mark:
        if (statements->data.bind(place).step())
        {
            const auto kind = static_cast<std::int64_t>(op.entry.kind);
            const std::int64_t sum = sumOf(place, kind, op.entry.depth, statements->data.bytes(1));
            statements->data.reset();
            statements->mark.bind(kind, std::int64_t{op.entry.depth}, sum, place).run();
        }
        return;
    case JournalOp::Kind::Retire:
        statements->retire.bind(place).run();
        statements->erase.bind(place).run();
        return;
    case JournalOp::Kind::Erase:
        erase(place);
        return;
    case JournalOp::Kind::StartOver:
        run("DELETE FROM text; DELETE FROM entry; DELETE FROM retired; DELETE FROM uses; DELETE FROM blob; "
            "DELETE FROM base; DELETE FROM state");
        return;
    case JournalOp::Kind::SetBase:
        putBase(op.text);
        return;
    case JournalOp::Kind::ForgetOld:
        statements->forget.run();
        run("DELETE FROM uses WHERE place NOT IN (SELECT place FROM entry)");
        statements->hasUnusedBlobs = true;
        return;
    case JournalOp::Kind::AdoptSaving:
        adoptSaving();
        return;
    case JournalOp::Kind::SetText:
        statements->setText.bind(std::string_view(op.key), std::string_view(op.text), sumOf(op.key + op.text))
            .run();
        return;
    }
}

void JournalFile::putBase(std::string_view base)
{
    SqliteStatement addPart(database, "INSERT INTO base(data, sum) VALUES(?, ?)");
    for (std::size_t at = 0; at < base.size(); at += BasePartBytes)
    {
        const std::string_view part = base.substr(at, BasePartBytes);
        addPart.bind(part, sumOf(part)).run();
    }
}

void JournalFile::adoptSaving()
{
    SqliteStatement saving(database, "SELECT value FROM text WHERE key = ?");
    if (saving.bind(std::string_view(JournalKey::Saving)).step())
    {
        const std::string digest(saving.bytes(0));
        const std::string key = JournalKey::Saved;
        statements->setText.bind(std::string_view(key), std::string_view(digest), sumOf(key + digest)).run();
    }
}

void JournalFile::put(const JournalOp& op)
{
    const JournalEntry& entry = op.entry;
    std::string withBlobs;
    if (!entry.data.is_null())
    {
        Json data = entry.data;
        storeBlobs(data, entry.place);
        Json::to_cbor(data, withBlobs);
    }
    const std::string& bytes = entry.data.is_null() ? op.text : withBlobs;
    const auto kind = static_cast<std::int64_t>(entry.kind);
    statements->put
        .bind(entry.place, kind, std::int64_t{entry.depth}, std::string_view(bytes),
              sumOf(entry.place, kind, entry.depth, bytes))
        .run();
}

void JournalFile::erase(std::int64_t place)
{
    if (statements->usesBlobs.bind(place).step())
    {
        statements->usesBlobs.reset();
        statements->unuseBlobs.bind(place).run();
        statements->hasUnusedBlobs = true;
    }
    statements->erase.bind(place).run();
}

void JournalFile::storeBlobs(Json& value, std::int64_t place)
{
    if (value.is_structured())
    {
        for (Json& member : value)
        {
            storeBlobs(member, place);
        }
        return;
    }
    const bool isText = value.is_string();
    std::string_view bytes;
    if (isText)
    {
        bytes = value.get_ref<const std::string&>();
    }
    else if (value.is_binary() && !value.get_binary().has_subtype())
    {
        bytes = viewOf(value.get_binary());
    }
    if (bytes.size() < JournalBlobBytes)
    {
        return;
    }
    const std::int64_t blob = storeBlob(bytes);
    statements->useBlob.bind(blob, place).run();
    const std::string number = std::to_string(blob);
    value = Json::binary({number.begin(), number.end()}, isText ? TextReference : BytesReference);
}

std::int64_t JournalFile::storeBlob(std::string_view bytes)
{
    const std::int64_t sum = sumOf(bytes);
    statements->findBlob.bind(sum);
    while (statements->findBlob.step())
    {
        if (statements->findBlob.bytes(1) == bytes)
        {
            const std::int64_t found = statements->findBlob.integer(0);
            statements->findBlob.reset();
            return found;
        }
    }
    statements->addBlob.bind(sum, bytes).run();
    return sqlite3_last_insert_rowid(database);
}

void JournalFile::restoreBlobs(Json& value)
{
    if (value.is_structured())
    {
        for (Json& member : value)
        {
            restoreBlobs(member);
        }
        return;
    }
    if (!value.is_binary() || !value.get_binary().has_subtype())
    {
        return;
    }
    const std::uint64_t subtype = value.get_binary().subtype();
    if (subtype != TextReference && subtype != BytesReference)
    {
        return;
    }
    const std::string number(viewOf(value.get_binary()));
    SqliteStatement& get = statements->getBlob;
    if (!get.bind(static_cast<std::int64_t>(std::stoll(number))).step() ||
        sumOf(get.bytes(0)) != get.integer(1))
    {
        get.reset();
        refuseDamaged("the data " + number);
    }
    const std::string_view bytes = get.bytes(0);
    value = subtype == TextReference ? Json(std::string(bytes)) : Json::binary({bytes.begin(), bytes.end()});
    get.reset();
}

void JournalFile::putState(const JournalState& state)
{
    statements->setState
        .bind(static_cast<std::int64_t>(state.position), state.saved, state.saving,
              static_cast<std::int64_t>(state.isReachable), static_cast<std::int64_t>(state.entries),
              static_cast<std::int64_t>(state.retired), asInteger(state.marks[0]), asInteger(state.marks[1]),
              sumOf(state))
        .run();
}

std::uint64_t JournalFile::sizeInBytes()
{
    const auto ask = [](SqliteStatement& pragma)
    {
        pragma.step();
        const std::int64_t answer = pragma.integer(0);
        pragma.reset();
        return static_cast<std::uint64_t>(answer);
    };
    return (ask(statements->pages) - ask(statements->freePages)) * ask(statements->pageSize);
}

void JournalFile::remove()
{
    statements.reset();
    sqlite3_close(std::exchange(database, nullptr));
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    std::filesystem::remove(path.string() + "-wal", ignored);
    std::filesystem::remove(path.string() + "-shm", ignored);
}

} // namespace Valdane

#include "Service/Journal/JournalFile.h"

#include "Service/Journal/JournalBlobs.h"
#include "Service/Journal/JournalDatabase.h"
#include "Service/Journal/JournalReader.h"
#include "Service/Journal/JournalSum.h"
#include "Service/Journal/SqliteStatement.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

namespace Valdane
{

namespace
{

// SQLite takes a blob of up to a gigabyte.
constexpr std::size_t BasePartBytes = std::size_t{1} << 24;

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

struct JournalFile::Connection
{
    explicit Connection(const std::filesystem::path& path)
        : database(path),
          blobs(database.get()),
          begin(database.get(), "BEGIN IMMEDIATE"),
          commit(database.get(), "COMMIT"),
          rollback(database.get(), "ROLLBACK"),
          put(database.get(), "INSERT OR REPLACE INTO entry VALUES(?, ?, ?, ?, ?)"),
          data(database.get(), "SELECT data FROM entry WHERE place = ?"),
          mark(database.get(), "UPDATE entry SET kind = ?, depth = ?, sum = ? WHERE place = ?"),
          erase(database.get(), "DELETE FROM entry WHERE place = ?"),
          retire(database.get(), "INSERT INTO retired SELECT * FROM entry WHERE place = ?"),
          forget(database.get(), "DELETE FROM retired"),
          setText(database.get(), "INSERT OR REPLACE INTO text VALUES(?, ?, ?)"),
          setState(database.get(), "INSERT OR REPLACE INTO state VALUES(0, ?, ?, ?, ?, ?, ?, ?, ?, ?)"),
          pages(database.get(), "PRAGMA page_count"),
          freePages(database.get(), "PRAGMA freelist_count"),
          pageSize(database.get(), "PRAGMA page_size")
    {
    }

    // What is in use of the file.
    std::uint64_t sizeInBytes()
    {
        const auto ask = [](SqliteStatement& pragma)
        {
            pragma.step();
            const std::int64_t answer = pragma.integer(0);
            pragma.reset();
            return static_cast<std::uint64_t>(answer);
        };
        return (ask(pages) - ask(freePages)) * ask(pageSize);
    }

    JournalDatabase database;
    JournalBlobs blobs;
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
    SqliteStatement pages;
    SqliteStatement freePages;
    SqliteStatement pageSize;
};

JournalFile::JournalFile(std::filesystem::path file) : path(std::move(file))
{
    naming(path, "cannot be opened", [&] { connection = std::make_unique<Connection>(path); });
}

JournalFile::~JournalFile() = default;

JournalContents JournalFile::read()
{
    return naming(path, "cannot be read",
                  [&] { return readContents(connection->database.get(), connection->blobs); });
}

std::string JournalFile::readBase()
{
    return naming(path, "cannot be read", [&] { return Valdane::readBase(connection->database.get()); });
}

void JournalFile::write(std::span<const JournalChange> changes, std::uint64_t maxBytes)
{
    naming(path, "cannot be written",
           [&]
           {
               inTransaction(
                   *connection,
                   [&]
                   {
                       for (const JournalChange& change : changes)
                       {
                           std::ranges::for_each(change.ops, [this](const JournalOp& op) { apply(op); });
                       }
                       connection->blobs.dropUnused();
                       if (!changes.empty())
                       {
                           putState(changes.back().state);
                       }
                       if (connection->sizeInBytes() > maxBytes)
                       {
                           throw VdException("it would exceed " + std::to_string(maxBytes) + " bytes");
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
        if (connection->data.bind(place).step())
        {
            const auto kind = static_cast<std::int64_t>(op.entry.kind);
            const std::int64_t sum = sumOf(place, kind, op.entry.depth, connection->data.bytes(0));
            connection->data.reset();
            connection->mark.bind(kind, std::int64_t{op.entry.depth}, sum, place).run();
        }
        return;
    case JournalOp::Kind::Retire:
        connection->retire.bind(place).run();
        connection->erase.bind(place).run();
        return;
    case JournalOp::Kind::Erase:
        erase(place);
        return;
    case JournalOp::Kind::StartOver:
        connection->database.run(
            "DELETE FROM text; DELETE FROM entry; DELETE FROM retired; DELETE FROM uses; DELETE FROM blob; "
            "DELETE FROM base; DELETE FROM state");
        return;
    case JournalOp::Kind::SetBase:
        putBase(op.text);
        return;
    case JournalOp::Kind::ForgetOld:
        connection->forget.run();
        connection->blobs.releaseRetired();
        return;
    case JournalOp::Kind::AdoptSaving:
        adoptSaving();
        return;
    case JournalOp::Kind::SetText:
        connection->setText.bind(std::string_view(op.key), std::string_view(op.text), sumOf(op.key + op.text))
            .run();
        return;
    }
}

void JournalFile::putBase(std::string_view base)
{
    SqliteStatement addPart(connection->database.get(), "INSERT INTO base(data, sum) VALUES(?, ?)");
    for (std::size_t at = 0; at < base.size(); at += BasePartBytes)
    {
        const std::string_view part = base.substr(at, BasePartBytes);
        addPart.bind(part, sumOf(part)).run();
    }
}

void JournalFile::adoptSaving()
{
    SqliteStatement saving(connection->database.get(), "SELECT value FROM text WHERE key = ?");
    if (saving.bind(std::string_view(JournalKey::Saving)).step())
    {
        const std::string digest(saving.bytes(0));
        const std::string key = JournalKey::Saved;
        connection->setText.bind(std::string_view(key), std::string_view(digest), sumOf(key + digest)).run();
    }
}

void JournalFile::put(const JournalOp& op)
{
    const JournalEntry& entry = op.entry;
    std::string withBlobs;
    if (!entry.data.is_null())
    {
        nlohmann::json data = entry.data;
        connection->blobs.store(data, entry.place);
        nlohmann::json::to_cbor(data, withBlobs);
    }
    const std::string& bytes = entry.data.is_null() ? op.text : withBlobs;
    const auto kind = static_cast<std::int64_t>(entry.kind);
    connection->put
        .bind(entry.place, kind, std::int64_t{entry.depth}, std::string_view(bytes),
              sumOf(entry.place, kind, entry.depth, bytes))
        .run();
}

void JournalFile::erase(std::int64_t place)
{
    connection->blobs.release(place);
    connection->erase.bind(place).run();
}

void JournalFile::putState(const JournalState& state)
{
    connection->setState
        .bind(static_cast<std::int64_t>(state.position), state.saved, state.saving,
              static_cast<std::int64_t>(state.isReachable), static_cast<std::int64_t>(state.entries),
              static_cast<std::int64_t>(state.retired), asInteger(state.marks[0]), asInteger(state.marks[1]),
              sumOf(state))
        .run();
}

void JournalFile::remove()
{
    connection.reset();
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    std::filesystem::remove(path.string() + "-wal", ignored);
    std::filesystem::remove(path.string() + "-shm", ignored);
}

} // namespace Valdane

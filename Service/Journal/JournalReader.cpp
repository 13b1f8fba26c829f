#include "Service/Journal/JournalReader.h"

#include "Service/Journal/JournalBlobs.h"
#include "Service/Journal/JournalSum.h"
#include "Service/Journal/SqliteStatement.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <vector>

namespace Valdane
{

namespace
{

using Json = nlohmann::json;

std::optional<std::uint64_t> asMark(const std::optional<std::int64_t>& integer)
{
    return integer.has_value() ? std::optional(static_cast<std::uint64_t>(*integer)) : std::nullopt;
}

void requireIntact(sqlite3* database)
{
    SqliteStatement quickCheck(database, "PRAGMA quick_check(1)");
    if (quickCheck.step() && quickCheck.bytes(0) != "ok")
    {
        refuseDamaged(std::string(quickCheck.bytes(0)));
    }
}

JournalState readState(sqlite3* database)
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

std::vector<JournalEntry> readEntries(sqlite3* database, JournalBlobs& blobs, const char* table)
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
        blobs.restore(entry.data);
    }
    return entries;
}

} // namespace

JournalContents readContents(sqlite3* database, JournalBlobs& blobs)
{
    requireIntact(database);
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
        contents.state = readState(database);
        contents.entries = readEntries(database, blobs, "entry");
        contents.retired = readEntries(database, blobs, "retired");
        requireSound(contents);
    }
    return contents;
}

std::string readBase(sqlite3* database)
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
}

} // namespace Valdane

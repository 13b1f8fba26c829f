#include "Service/Journal/JournalBlobs.h"

#include "Service/Journal/JournalChange.h"
#include "Service/Journal/JournalContents.h"
#include "Service/Journal/JournalSum.h"

#include <nlohmann/json.hpp>
#include <sqlite3.h>
#include <string>
#include <vector>

namespace Valdane
{

namespace
{

using Json = nlohmann::json;

// In a command's data, the number of a blob.
constexpr std::uint64_t TextReference = 0x564C4A01;
constexpr std::uint64_t BytesReference = 0x564C4A02;

std::string_view viewOf(const std::vector<std::uint8_t>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace

JournalBlobs::JournalBlobs(sqlite3* database)
    : connection(database),
      find(database, "SELECT id, data FROM blob WHERE sum = ?"),
      get(database, "SELECT data, sum FROM blob WHERE id = ?"),
      add(database, "INSERT INTO blob(sum, data) VALUES(?, ?)"),
      use(database, "INSERT OR IGNORE INTO uses VALUES(?, ?)"),
      isUsing(database, "SELECT 1 FROM uses WHERE place = ? LIMIT 1"),
      unuse(database, "DELETE FROM uses WHERE place = ?"),
      unuseRetired(database, "DELETE FROM uses WHERE place NOT IN (SELECT place FROM entry)"),
      drop(database, "DELETE FROM blob WHERE id NOT IN (SELECT blob FROM uses)")
{
}

void JournalBlobs::store(Json& value, std::int64_t place)
{
    if (value.is_structured())
    {
        for (Json& member : value)
        {
            store(member, place);
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
    const std::int64_t blob = storeOne(bytes);
    use.bind(blob, place).run();
    const std::string number = std::to_string(blob);
    value = Json::binary({number.begin(), number.end()}, isText ? TextReference : BytesReference);
}

std::int64_t JournalBlobs::storeOne(std::string_view bytes)
{
    const std::int64_t sum = sumOf(bytes);
    find.bind(sum);
    while (find.step())
    {
        if (find.bytes(1) == bytes)
        {
            const std::int64_t found = find.integer(0);
            find.reset();
            return found;
        }
    }
    add.bind(sum, bytes).run();
    return sqlite3_last_insert_rowid(connection);
}

void JournalBlobs::restore(Json& value)
{
    if (value.is_structured())
    {
        for (Json& member : value)
        {
            restore(member);
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

void JournalBlobs::release(std::int64_t place)
{
    if (isUsing.bind(place).step())
    {
        isUsing.reset();
        unuse.bind(place).run();
        hasUnused = true;
    }
}

void JournalBlobs::releaseRetired()
{
    unuseRetired.run();
    hasUnused = true;
}

void JournalBlobs::dropUnused()
{
    if (hasUnused)
    {
        drop.run();
        hasUnused = false;
    }
}

} // namespace Valdane

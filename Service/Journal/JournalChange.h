#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{

/// How a command stands to the history.
enum class JournalKind : std::uint8_t
{
    Row = 0,     ///< in the history, done or undone
    Loose = 1,   ///< done, and not in the history any more: taken, dropped by the limit, cleared
    Pending = 2, ///< done, and not in the history yet: it waits to be merged, or is in an open group
};

/// A command in the file. Places grow in the order in which commands were executed first; there are gaps.
struct JournalEntry
{
    std::int64_t place = 0;
    JournalKind kind = JournalKind::Row;
    /// Of one that is pending: how many groups are open around it. Of a row: how many sub-commands behind the first one
    /// were executed before it, because they had waited for it.
    std::uint32_t depth = 0;
    nlohmann::json data = {}; ///< see CommandCodecs
};

/// Texts and bytes of that size are stored once, however many commands have them.
inline constexpr std::size_t JournalBlobBytes = 4096;

/// One change of the file.
struct JournalOp
{
    enum class Kind : std::uint8_t
    {
        Put,         ///< entry, at a place where nothing was; text is its data as CBOR, if entry has none
        Replace,     ///< entry, in place of what was at its place
        Mark,        ///< gives the entry at place another kind
        Erase,       ///< the entry at place
        Retire,      ///< the entry at place is undone and gone, but in the saved document
        ForgetOld,   ///< the retired entries
        SetText,     ///< text of the key
        StartOver,   ///< nothing of what was in the file stays
        SetBase,     ///< text is the document before the first entry
        AdoptSaving, ///< the digest of the save that had begun is that of the saved document
    };

    Kind kind = Kind::Put;
    JournalEntry entry;
    std::string key;
    std::string text;
};

/// The small part of the file that each change rewrites.
struct JournalState
{
    std::uint64_t position = 0; ///< how many rows are done
    std::int64_t saved = 0;     ///< the document was saved when all at lower places were done
    std::int64_t saving = -1;   ///< the same for a save that has begun; -1 if none has
    bool isReachable = true;    ///< whether replay leads from the saved document to what is now
    std::uint64_t entries = 0;
    std::uint64_t retired = 0;
    std::array<std::optional<std::uint64_t>, 2> marks; ///< CommandManager::getSavedPosition()

    bool operator==(const JournalState&) const = default;
};

/// What one change of the history changes in the file, all or nothing.
struct JournalChange
{
    std::vector<JournalOp> ops;
    JournalState state;
};

/// Keys of the texts in a file.
namespace JournalKey
{
inline constexpr const char* Document = "document";
inline constexpr const char* Since = "since";      ///< milliseconds since 1970
inline constexpr const char* Base = "base";        ///< digest of the document before the first entry
inline constexpr const char* HasBase = "has-base"; ///< "1" if replay begins there
inline constexpr const char* Saved = "saved";      ///< digest of the saved document
inline constexpr const char* Saving = "saving";    ///< the same for a save that has begun
inline constexpr const char* Groups = "groups";    ///< descriptions of the open groups, a JSON array
inline constexpr const char* Closed = "closed";    ///< "1" if the document was closed well
inline constexpr const char* Ended = "ended";      ///< why nothing more was written
} // namespace JournalKey

} // namespace Valdane

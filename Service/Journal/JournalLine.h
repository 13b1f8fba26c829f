#pragma once

#include "Service/Journal/JournalChange.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace Valdane
{

class CommandBase;
class CommandCodecs;
class CommandManager;
struct HistoryChange;
struct JournalContents;

/// What the file has of a history: which command is at which place. Turns changes of the history into changes of the file.
///
/// Replay executes all that is done in the order of places, so a command that has left the history but is still done stays
/// in the file, until the document is saved with it.
///
/// Thread: that of the manager.
class JournalLine
{
public:
    /// @param replaysFromBase  whether replay begins before the first entry, and not at the saved document.
    JournalLine(const CommandCodecs& codecs, bool replaysFromBase);

    /// Takes over what the file has, after the rows in it were replayed. What was pending is to be pending again, and is
    /// dropped until then.
    /// @param isAtSaving  whether the document is that of a save which had begun.
    void restore(const JournalContents& contents, const CommandManager& manager, bool isAtSaving);

    /// Follows a change of the history.
    /// @throws VdException if the change cannot be written.
    void follow(const HistoryChange& change);

    /// Reads commands that are new, or have taken in others, from the manager, and what is pending.
    /// @param pendingChanged  whether the newest pending command may have taken in another one.
    /// @return whether the manager and this agree now. If not, the manager is about to tell of a further change.
    /// @throws VdException naming the class, if a command has no codec.
    bool readFrom(const CommandManager& manager, bool pendingChanged);

    /// The document is about to be saved, or was saved, as it is now.
    void noteSaving();
    void noteSaved();

    /// The changes since the last call.
    JournalChange takeChange();

private:
    struct Row
    {
        std::int64_t place;
        std::weak_ptr<const CommandBase> command;
        bool isKnown;             ///< whether the file has it as it is
        bool isNew;               ///< whether the file has nothing at its place
        std::uint32_t waited = 0; ///< see JournalEntry::depth
    };

    struct Other
    {
        JournalKind kind;
        std::uint32_t depth;
        std::weak_ptr<const CommandBase> command;
        bool isInFile = true;
        bool hasWaited = false; ///< whether the next command takes it in
    };

    void removeRow(std::size_t index, bool isStillDone);
    void insertRows(std::size_t first, std::uint64_t count);
    void readRows(const CommandManager& manager);
    void readMarks(const CommandManager& manager);
    void readPending(const CommandManager& manager, bool newestChanged);
    void dropPending(std::int64_t place);
    void mark(std::int64_t place, JournalKind kind);
    void writePending(std::int64_t place, const CommandBase& command, bool isNew);
    std::uint32_t adoptLoose(const CommandBase& command);
    void forgetWaited(std::size_t first, std::size_t end);
    void write(JournalEntry entry, const CommandBase& command, bool isNew);
    void leave(std::int64_t place, bool isUndone);
    void eraseSavedLoose();
    void eraseFromFile(std::int64_t place);
    void forgetRetired();
    std::int64_t doneEnd() const;

    const CommandCodecs& codecs;
    bool isFromBase;
    std::deque<Row> rows;
    std::map<std::int64_t, Other> others;
    std::size_t looseCount = 0;
    /// Those that are not in the file, because the saved document has them, but can become part of other commands.
    std::size_t savedLoose = 0;
    std::int64_t firstUnsaved = 0;
    std::vector<std::int64_t> pending;
    std::set<std::int64_t> retired;
    std::size_t unknownRows = 0;
    std::int64_t nextPlace = 0;
    JournalState state;
    std::vector<JournalOp> ops;
};

} // namespace Valdane

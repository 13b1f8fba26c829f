#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/Journal/JournalFile.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{

class CommandBase;
class CommandCodecs;
class CommandManager;

/// Brings a history back.
///
/// Thread: that of the manager.
class JournalReplay
{
public:
    /// Makes all commands. @throws VdException if one cannot be read, or the saved document is not where replay can begin.
    JournalReplay(const CommandCodecs& codecs, const JournalContents& contents, CommandManager& manager);

    /// Brings back all but what was pending.
    /// @param isAtSaving  whether the document is that of a save which had begun.
    /// @return false if a command failed.
    bool replayRows(bool isAtSaving);

    /// Brings back what was pending. What was in a group becomes a step, because nobody would end it.
    /// @return false if a command failed.
    bool replayPending();

    /// Why a command failed.
    const std::string& getFailure() const noexcept
    {
        return failure;
    }

    /// How many rows the history had in the file.
    static std::uint64_t countRows(const JournalContents& contents);

private:
    using Command = std::shared_ptr<CommandBase>;

    void forgetMarks();
    void startAtSaved(bool isAtSaving);
    bool replayDone();
    void closeGroups();
    bool execute(const Command& command);
    bool executeMerged(const Command& command, std::uint32_t waited);
    void adoptMarks();

    const JournalContents& contents;
    CommandManager& manager;
    std::vector<Command> commands;
    std::vector<Command> retired;
    bool isFromBase;
    std::int64_t begin;
    std::array<std::optional<std::uint64_t>, 2> marks;
    std::uint64_t rows = 0;
    std::string failure;
    Signals::Connection failed;
};

} // namespace Valdane

#include "Service/Journal/JournalReplay.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Journal/CommandCodecs.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <list>
#include <nlohmann/json.hpp>

namespace Valdane
{

JournalReplay::JournalReplay(const CommandCodecs& codecs, const JournalContents& readContents,
                             CommandManager& target)
    : contents(readContents),
      manager(target),
      isFromBase(readContents.text(JournalKey::HasBase) == "1"),
      begin(std::numeric_limits<std::int64_t>::min()),
      marks(readContents.state.marks)
{
    const auto decodeAll = [&](const std::vector<JournalEntry>& entries, std::vector<Command>& decoded)
    {
        decoded.reserve(entries.size());
        for (const JournalEntry& entry : entries)
        {
            decoded.push_back(codecs.decode(entry.data));
        }
    };
    decodeAll(contents.entries, commands);
    decodeAll(contents.retired, retired);
    // A command reports its failure to the manager's listeners.
    failed = manager.connectToSigCommandFailed([this](const char* text, const std::string& description)
                                               { failure = "'" + description + "' failed: " + text; });
}

std::uint64_t JournalReplay::countRows(const JournalContents& contents)
{
    return static_cast<std::uint64_t>(std::count_if(contents.entries.begin(), contents.entries.end(),
                                                    [](const JournalEntry& entry)
                                                    { return entry.kind == JournalKind::Row; }));
}

bool JournalReplay::replayRows(bool isAtSaving)
{
    forgetMarks();
    if (!isFromBase)
    {
        startAtSaved(isAtSaving);
    }
    return replayDone() && manager.undo(rows - contents.state.position);
}

// The document as it is now was noted as saved when it was opened, which it may not be any more.
void JournalReplay::forgetMarks()
{
    for (std::size_t tracker = 0; tracker < marks.size(); ++tracker)
    {
        if (manager.getSavedPosition(tracker).has_value() && !marks[tracker].has_value())
        {
            manager.markAllModulesBeforeFirstCommandAsModified();
        }
    }
}

// Has everything in the history that the saved document has, and undoes what was undone since and is gone.
void JournalReplay::startAtSaved(bool isAtSaving)
{
    begin = isAtSaving ? contents.state.saving : contents.state.saved;
    for (std::size_t index = 0; index < commands.size() && contents.entries[index].place < begin; ++index)
    {
        if (contents.entries[index].kind == JournalKind::Row)
        {
            adoptMarks();
            manager.addExecutedCommand(commands[index]);
            ++rows;
        }
    }
    if (isAtSaving)
    {
        marks[0] = rows;
    }
    else if (!retired.empty())
    {
        std::ranges::for_each(retired,
                              [this](const Command& command) { manager.addExecutedCommand(command); });
        manager.adjustOnSave(0);
        if (!manager.undo(retired.size()))
        {
            throw VdException(failure);
        }
        manager.forgetRedoCommands();
    }
}

bool JournalReplay::replayDone()
{
    // What left the history before the first row leaves nothing but the modules that it modified.
    bool isCleared = true;
    const auto clear = [&]
    {
        if (!isCleared)
        {
            manager.clear();
            isCleared = true;
        }
        adoptMarks();
    };
    for (std::size_t index = 0; index < commands.size(); ++index)
    {
        const JournalEntry& entry = contents.entries[index];
        if (entry.place < begin || entry.kind == JournalKind::Pending)
        {
            continue;
        }
        const bool isRow = entry.kind == JournalKind::Row;
        if (isRow)
        {
            clear();
        }
        if (!(isRow && entry.depth != 0 ? executeMerged(commands[index], entry.depth)
                                        : execute(commands[index])))
        {
            return false;
        }
        if (isRow)
        {
            ++rows;
        }
        else if (rows == 0)
        {
            isCleared = false;
        }
        else
        {
            manager.takeLastExecutedCommand();
        }
    }
    clear();
    return true;
}

bool JournalReplay::replayPending()
{
    const std::string descriptions = contents.text(JournalKey::Groups);
    const auto groups = descriptions.empty() ? nlohmann::json::array() : nlohmann::json::parse(descriptions);
    bool isDone = true;
    for (std::size_t index = 0; isDone && index < commands.size(); ++index)
    {
        const JournalEntry& entry = contents.entries[index];
        if (entry.kind != JournalKind::Pending || entry.place < begin)
        {
            continue;
        }
        for (std::size_t depth = manager.getOpenGroups().size(); depth > entry.depth; --depth)
        {
            manager.endGroup();
        }
        for (std::size_t depth = manager.getOpenGroups().size(); depth < entry.depth; ++depth)
        {
            manager.beginGroup(depth < groups.size() ? groups[depth].get<std::string>() : std::string());
        }
        isDone = entry.depth == 0 ? manager.addCommandToMergeWithNextCommand(commands[index], false)
                                  : manager.addCommand(commands[index]);
    }
    closeGroups();
    return isDone;
}

void JournalReplay::closeGroups()
{
    while (!manager.getOpenGroups().empty())
    {
        manager.endGroup();
    }
}

// The commands that had waited come first, and the manager makes the macro again.
bool JournalReplay::executeMerged(const Command& command, std::uint32_t waited)
{
    const auto macro = std::dynamic_pointer_cast<MacroCommand>(command);
    if (macro == nullptr || macro->size() != waited + std::size_t{1})
    {
        return execute(command);
    }
    const std::list<Command> parts(macro->begin(), macro->end());
    for (auto part = std::next(parts.begin()); part != parts.end(); ++part)
    {
        if (!manager.addCommandToMergeWithNextCommand(*part, macro->getUseForwardUndoOrder()))
        {
            return false;
        }
    }
    return execute(parts.front());
}

// As it was executed first: what has threads is rolled back as a run if it fails.
bool JournalReplay::execute(const Command& command)
{
    const auto threaded = std::dynamic_pointer_cast<ThreadedCommand>(command);
    const auto macro = std::dynamic_pointer_cast<ThreadedMacroCommand>(command);
    if (threaded == nullptr && macro == nullptr)
    {
        return manager.addCommand(command);
    }
    const std::uint64_t before = manager.getPosition();
    threaded != nullptr ? manager.addThreadedCommand(threaded) : manager.addThreadedCommand(macro);
    while (manager.getCurrentThreadedCommand() != nullptr)
    {
        manager.finalizeThread();
    }
    if (manager.getPosition() == before + 1)
    {
        return true;
    }
    failure = failure.empty() ? "'" + command->getDescription() + "' was aborted." : failure;
    return false;
}

void JournalReplay::adoptMarks()
{
    for (std::size_t tracker = 0; tracker < marks.size(); ++tracker)
    {
        if (marks[tracker] == rows)
        {
            manager.adjustOnSave(tracker);
        }
    }
}

} // namespace Valdane

#include "Service/Journal/JournalLine.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/JournalFile.h"

#include <algorithm>
#include <utility>

namespace Valdane
{

namespace
{

[[noreturn]] void refuseUnknownChange()
{
    throw VdException("A command, or a listener, has changed the history while it was being changed.");
}

// Whether something in it is stored by itself.
bool hasBlob(const nlohmann::json& data)
{
    if (data.is_structured())
    {
        return std::ranges::any_of(data, hasBlob);
    }
    return (data.is_string() && data.get_ref<const std::string&>().size() >= JournalBlobBytes) ||
           (data.is_binary() && data.get_binary().size() >= JournalBlobBytes);
}

} // namespace

JournalLine::JournalLine(const CommandCodecs& usedCodecs, bool replaysFromBase)
    : codecs(usedCodecs), isFromBase(replaysFromBase)
{
}

void JournalLine::restore(const JournalContents& contents, const CommandManager& manager, bool isAtSaving)
{
    state = contents.state;
    // The document may have been saved when the program died.
    readMarks(manager);
    nextPlace = std::max(state.saved, state.saving);
    for (const JournalEntry& entry : contents.retired)
    {
        retired.insert(entry.place);
        nextPlace = std::max(nextPlace, entry.place + 1);
    }
    if (isAtSaving)
    {
        state.isReachable = true;
        state.saved = std::exchange(state.saving, -1);
        forgetRetired();
    }
    for (const JournalEntry& entry : contents.entries)
    {
        nextPlace = std::max(nextPlace, entry.place + 1);
        if (entry.kind == JournalKind::Row)
        {
            rows.push_back({.place = entry.place,
                            .command = manager.getCommand(rows.size()),
                            .isKnown = true,
                            .isNew = false,
                            .waited = entry.depth});
            continue;
        }
        others.emplace(entry.place, Other{.kind = JournalKind::Loose, .depth = 0, .command = {}});
        ++looseCount;
        if (entry.kind == JournalKind::Pending && !isFromBase && entry.place < state.saved)
        {
            // The document has it, and nothing will take it in any more.
            mark(entry.place, JournalKind::Loose);
        }
        else if (entry.kind == JournalKind::Pending)
        {
            leave(entry.place, false);
            others.erase(entry.place);
            --looseCount;
        }
    }
}

void JournalLine::follow(const HistoryChange& change)
{
    if (change.undoneCommandLeft && change.rows.size() > 1)
    {
        // Which one that was cannot be told.
        refuseUnknownChange();
    }
    std::uint64_t done = change.positionBefore;
    for (const RowChange& replaced : change.rows)
    {
        const auto first = static_cast<std::size_t>(replaced.first);
        if (replaced.removed == 1 && replaced.inserted == 1 && first + 1 == done)
        {
            // It has taken in another command.
            unknownRows += rows[first].isKnown ? 1 : 0;
            rows[first].isKnown = false;
            continue;
        }
        const std::uint64_t end = replaced.first + replaced.removed;
        const std::uint64_t doneRemoved = replaced.first < done ? std::min(end, done) - replaced.first : 0;
        if (doneRemoved != 0 && replaced.inserted != 0)
        {
            refuseUnknownChange();
        }
        // The newest first, so that what is retired stays in order.
        for (auto index = static_cast<std::size_t>(end); index != first; --index)
        {
            const bool wasUndone = index > done || (index == done && change.undoneCommandLeft);
            removeRow(index - 1, !wasUndone);
        }
        done -= doneRemoved;
        insertRows(first, replaced.inserted);
        done += replaced.first <= done ? replaced.inserted : 0;
    }
    forgetWaited(static_cast<std::size_t>(change.positionAfter), static_cast<std::size_t>(done));
    state.position = change.positionAfter;
}

// What was undone is redone in the order of the sub-commands.
void JournalLine::forgetWaited(std::size_t first, std::size_t end)
{
    for (std::size_t index = first; index < end; ++index)
    {
        if (std::exchange(rows[index].waited, 0) != 0)
        {
            mark(rows[index].place, JournalKind::Row);
        }
    }
}

void JournalLine::removeRow(std::size_t index, bool isStillDone)
{
    const Row row = rows[index];
    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(index));
    unknownRows -= row.isKnown ? 0 : 1;
    if (row.isNew && isStillDone)
    {
        throw VdException("A command left the history while others were told that it had come.");
    }
    if (!isStillDone)
    {
        if (!row.isNew)
        {
            leave(row.place, true);
        }
        return;
    }
    others.emplace(row.place, Other{.kind = JournalKind::Loose, .depth = 0, .command = row.command});
    ++looseCount;
    mark(row.place, JournalKind::Loose);
}

void JournalLine::insertRows(std::size_t first, std::uint64_t count)
{
    if (count != 0 && first != rows.size())
    {
        refuseUnknownChange();
    }
    for (; count != 0; --count)
    {
        rows.push_back({.place = nextPlace++, .command = {}, .isKnown = false, .isNew = true});
        ++unknownRows;
    }
}

bool JournalLine::readFrom(const CommandManager& manager, bool pendingChanged)
{
    // A slot that was called before may have changed the history again: that is told next.
    if (rows.size() != manager.getQueueSize() || state.position != manager.getPosition())
    {
        return false;
    }
    readPending(manager, pendingChanged);
    readRows(manager);
    readMarks(manager);
    eraseSavedLoose();
    return true;
}

void JournalLine::readMarks(const CommandManager& manager)
{
    for (std::size_t tracker = 0; tracker < state.marks.size(); ++tracker)
    {
        state.marks[tracker] = manager.getSavedPosition(tracker);
    }
}

void JournalLine::readRows(const CommandManager& manager)
{
    for (std::size_t index = rows.size(); unknownRows != 0; --index)
    {
        Row& row = rows[index - 1];
        if (row.isKnown)
        {
            continue;
        }
        const std::shared_ptr<const CommandBase> command = manager.getCommand(index - 1);
        if (!row.isNew && row.command.lock() != command)
        {
            refuseUnknownChange();
        }
        row.command = command;
        row.waited += adoptLoose(*command);
        write({.place = row.place, .kind = JournalKind::Row, .depth = row.waited, .data = {}}, *command,
              row.isNew);
        row.isNew = false;
        row.isKnown = true;
        --unknownRows;
    }
}

void JournalLine::mark(std::int64_t place, JournalKind kind)
{
    ops.push_back({.kind = JournalOp::Kind::Mark,
                   .entry = {.place = place, .kind = kind, .depth = 0, .data = {}},
                   .key = {},
                   .text = {}});
}

void JournalLine::write(JournalEntry entry, const CommandBase& command, bool isNew)
{
    if (!isFromBase && !codecs.keepsUndo(command))
    {
        throw VdException("The codec for '" + command.getDescription() +
                          "' keeps no undo, which only a journal with the document as it was can replay.");
    }
    // What has changed since the save cannot be replayed on the saved document, unless it came after it.
    state.isReachable = state.isReachable && (isNew || entry.place >= state.saved);
    state.saving = !isNew && entry.place < state.saving ? -1 : state.saving;
    nlohmann::json data = codecs.encode(command);
    JournalOp& op = ops.emplace_back();
    op.kind = isNew ? JournalOp::Kind::Put : JournalOp::Kind::Replace;
    op.entry = std::move(entry);
    // One block for the thread that writes, instead of many that it would have to free.
    if (hasBlob(data))
    {
        op.entry.data = std::move(data);
    }
    else
    {
        nlohmann::json::to_cbor(data, op.text);
    }
}

// A command leaves the file: undone, or as a part of another one.
void JournalLine::leave(std::int64_t place, bool isUndone)
{
    JournalOp::Kind kind = JournalOp::Kind::Erase;
    if (!isFromBase && place < state.saved)
    {
        // The saved document has it, so replay begins with undoing it, which it can only if it is the last one.
        const auto above = others.upper_bound(place);
        const bool isLast = above == others.end() || above->first >= state.saved;
        state.isReachable = state.isReachable && isUndone && isLast;
        state.saved = place;
        retired.insert(place);
        kind = JournalOp::Kind::Retire;
    }
    state.saving = place < state.saving ? -1 : state.saving;
    ops.push_back({.kind = kind, .entry = {.place = place}, .key = {}, .text = {}});
}

void JournalLine::eraseFromFile(std::int64_t place)
{
    ops.push_back({.kind = JournalOp::Kind::Erase, .entry = {.place = place}, .key = {}, .text = {}});
}

std::int64_t JournalLine::doneEnd() const
{
    return state.position < rows.size() ? rows[static_cast<std::size_t>(state.position)].place : nextPlace;
}

void JournalLine::noteSaving()
{
    // Done commands beyond one that is undone cannot be told apart by a place.
    const std::int64_t end = doneEnd();
    state.saving = others.lower_bound(end) == others.end() ? end : -1;
}

void JournalLine::noteSaved()
{
    const std::int64_t end = doneEnd();
    state.isReachable = others.lower_bound(end) == others.end();
    state.saved = end;
    state.saving = -1;
    forgetRetired();
    eraseSavedLoose();
}

void JournalLine::forgetRetired()
{
    if (!retired.empty())
    {
        retired.clear();
        ops.emplace_back().kind = JournalOp::Kind::ForgetOld;
    }
}

JournalChange JournalLine::takeChange()
{
    state.entries = rows.size() + others.size() - savedLoose;
    state.retired = retired.size();
    return {.ops = std::exchange(ops, {}), .state = state};
}

} // namespace Valdane

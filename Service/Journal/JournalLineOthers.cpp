#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/Journal/JournalLine.h"

#include <algorithm>
#include <unordered_set>

// What is done and has no row in the history: commands that are pending, and those that have left it.

namespace Valdane
{

namespace
{

// All sub-commands of a macro, at every depth.
std::unordered_set<const CommandBase*> collectParts(const CommandBase& command)
{
    std::unordered_set<const CommandBase*> parts{&command};
    std::vector<const CommandBase*> open{&command};
    while (!open.empty())
    {
        const auto* const macro = dynamic_cast<const MacroCommand*>(open.back());
        open.pop_back();
        if (macro != nullptr)
        {
            for (const std::shared_ptr<CommandBase>& part : *macro)
            {
                parts.insert(part.get());
                open.push_back(part.get());
            }
        }
    }
    return parts;
}

} // namespace

void JournalLine::readPending(const CommandManager& manager, bool newestChanged)
{
    const std::uint64_t count = manager.getPendingCount();
    if (count > pending.size() + 1)
    {
        throw VdException("Commands became pending while others were told of it.");
    }
    const auto dropNewest = [this]
    {
        dropPending(pending.back());
        pending.pop_back();
    };
    while (pending.size() > count)
    {
        dropNewest();
    }
    const std::shared_ptr<const CommandBase> newest = manager.getNewestPendingCommand();
    if (count != 0 && pending.size() == count && others.at(pending.back()).command.lock() != newest)
    {
        // It has become a part of another one.
        dropNewest();
    }
    if (pending.size() < count)
    {
        const std::int64_t place = nextPlace++;
        pending.push_back(place);
        others[place] = {.kind = JournalKind::Pending,
                         .depth = static_cast<std::uint32_t>(manager.getOpenGroups().size()),
                         .command = newest};
        writePending(place, *newest, true);
    }
    else if (count != 0 && newestChanged)
    {
        writePending(pending.back(), *newest, false);
    }
}

// One that waited is loose now, unless the command that is read next has it. What was in a group is undone, or in what the
// group has become.
void JournalLine::dropPending(std::int64_t place)
{
    Other& other = others.at(place);
    if (other.depth == 0)
    {
        other.kind = JournalKind::Loose;
        other.hasWaited = true;
        ++looseCount;
        mark(place, JournalKind::Loose);
        return;
    }
    leave(place, false);
    others.erase(place);
}

void JournalLine::writePending(std::int64_t place, const CommandBase& command, bool isNew)
{
    adoptLoose(command);
    write({.place = place, .kind = JournalKind::Pending, .depth = others.at(place).depth}, command, isNew);
}

// @return how many of them have waited for the command.
std::uint32_t JournalLine::adoptLoose(const CommandBase& command)
{
    if (looseCount == 0)
    {
        return 0;
    }
    std::uint32_t waited = 0;
    const std::unordered_set<const CommandBase*> parts = collectParts(command);
    for (auto other = others.begin(); other != others.end();)
    {
        if (other->second.kind == JournalKind::Loose && parts.contains(other->second.command.lock().get()))
        {
            waited += other->second.hasWaited ? 1 : 0;
            if (other->second.isInFile)
            {
                leave(other->first, false);
            }
            else
            {
                state.isReachable = false;
                --savedLoose;
            }
            other = others.erase(other);
            --looseCount;
        }
        else
        {
            ++other;
        }
    }
    return waited;
}

// What left the history and is in the saved document is of no use any more.
void JournalLine::eraseSavedLoose()
{
    const std::int64_t firstRow = rows.empty() ? state.saved : std::min(rows.front().place, state.saved);
    auto other = others.lower_bound(firstUnsaved);
    while (!isFromBase && other != others.end() && other->first < firstRow &&
           other->second.kind == JournalKind::Loose)
    {
        eraseFromFile(other->first);
        firstUnsaved = other->first + 1;
        if (other->second.command.expired())
        {
            other = others.erase(other);
            --looseCount;
            continue;
        }
        other->second.isInFile = false;
        ++savedLoose;
        ++other;
    }
}

} // namespace Valdane

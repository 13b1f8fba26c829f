#include "Service/Editing/MemoryBudget.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace Valdane
{

namespace
{

// So that the sum of a million commands does not overflow, even if a function gives -1 for them.
constexpr std::uint64_t MostBytesOfCommand = std::uint64_t(1) << 43U;

// Only the limit of the manager can drop the oldest commands.
void dropOldest(CommandManager& manager, std::uint64_t count)
{
    if (count == 0)
    {
        return;
    }
    // They live until the manager has its own limit again, because a destructor may add a command.
    std::vector<std::shared_ptr<const CommandBase>> dropped;
    dropped.reserve(count);
    for (std::uint64_t index = 0; index < count; ++index)
    {
        dropped.push_back(manager.getCommand(index));
    }
    const std::uint32_t ownSize = manager.getMaxQueueSize();
    const bool ownUse = manager.usesMaxQueueSize();
    const auto size = static_cast<std::uint32_t>(manager.getQueueSize() - count);
    const auto restore = [&]
    {
        // A slot may have set another limit of the application's.
        if (manager.usesMaxQueueSize() && manager.getMaxQueueSize() == size)
        {
            // First, because its own size may be too small for the history while it is not in use.
            manager.setUsesMaxQueueSize(ownUse);
            manager.setMaxQueueSize(ownSize);
        }
    };
    try
    {
        manager.setMaxQueueSize(size);
        manager.setUsesMaxQueueSize(true);
    }
    catch (...)
    {
        restore();
        throw;
    }
    restore();
}

} // namespace

MemoryBudget::MemoryBudget(CommandManager& commandManager, std::uint64_t bytes, SizeOf sizeOfCommand)
    : manager(commandManager),
      budget(bytes),
      position(manager.getPosition()),
      sizeOf(std::make_shared<const SizeOf>(std::move(sizeOfCommand)))
{
    if (*sizeOf == nullptr)
    {
        throw VdException("A MemoryBudget needs a function that tells how many bytes a command takes");
    }
    connection = manager.connectToSigHistoryChanged([this](const HistoryChange& change) { follow(change); });
    settle();
}

MemoryBudget::~MemoryBudget() = default;

void MemoryBudget::setBudget(std::uint64_t bytes)
{
    budget = bytes;
    settle();
}

std::uint64_t MemoryBudget::getBudget() const noexcept
{
    return budget;
}

std::uint64_t MemoryBudget::getUsedBytes() const noexcept
{
    return used;
}

void MemoryBudget::follow(const HistoryChange& change)
{
    if (std::exchange(position, change.positionAfter) != change.positionBefore)
    {
        // A slot before this has hidden a change.
        startAfresh();
    }
    else
    {
        std::ranges::for_each(change.rows, [this](const RowChange& row) { apply(row); });
    }
    settle();
}

void MemoryBudget::apply(const RowChange& change)
{
    if (rows.size() < change.first || rows.size() - change.first < change.removed)
    {
        // Not the history of this change: settle() asks for all.
        return;
    }
    const auto first = std::next(rows.begin(), static_cast<std::ptrdiff_t>(change.first));
    const auto last = std::next(first, static_cast<std::ptrdiff_t>(change.removed));
    for (auto row = first; row != last; ++row)
    {
        used -= row->bytes;
        unasked -= row->command == nullptr ? 1 : 0;
    }
    rows.insert(rows.erase(first, last), change.inserted, Row());
    unasked += change.inserted;
}

void MemoryBudget::settle()
{
    ++settled;
    if (!isInStep())
    {
        startAfresh();
    }
    if (askAll())
    {
        // Last, because a slot or a destructor may destroy this.
        dropOldest(manager, countOfTooMany());
    }
}

bool MemoryBudget::isInStep() const
{
    // A slot before this may have changed the history again. Commands leave it at the front and come at the
    // back, so the ends tell.
    const auto isAt = [this](const Row& row, std::uint64_t index)
    {
        return row.command == nullptr || row.command == manager.getCommand(index).get();
    };
    return rows.size() == manager.getQueueSize() &&
           (rows.empty() || (isAt(rows.front(), 0) && isAt(rows.back(), rows.size() - 1)));
}

void MemoryBudget::startAfresh()
{
    rows.clear();
    used = 0;
    unasked = 0;
    rows.resize(manager.getQueueSize());
    unasked = rows.size();
}

bool MemoryBudget::askAll()
{
    const std::weak_ptr<const bool> alive = life;
    const std::shared_ptr<const SizeOf> ask = sizeOf;
    const std::uint64_t settling = settled;
    for (std::size_t index = rows.size(); unasked != 0 && index != 0; --index)
    {
        if (rows[index - 1].command != nullptr)
        {
            continue;
        }
        const std::shared_ptr<const CommandBase> command = manager.getCommand(index - 1);
        if (command == nullptr)
        {
            return false;
        }
        const std::uint64_t bytes = std::min<std::uint64_t>((*ask)(*command), MostBytesOfCommand);
        if (alive.expired() || settled != settling)
        {
            return false;
        }
        rows[index - 1] = {.command = command.get(), .bytes = bytes};
        used += bytes;
        --unasked;
    }
    return isInStep();
}

std::uint64_t MemoryBudget::countOfTooMany() const
{
    const std::uint64_t done = manager.getPosition();
    std::uint64_t count = 0;
    for (std::uint64_t left = used; left > budget && count + 1 < done; ++count)
    {
        left -= rows[count].bytes;
    }
    return count;
}

} // namespace Valdane

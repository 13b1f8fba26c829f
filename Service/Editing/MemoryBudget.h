#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/Editing/EditingExport.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace Valdane
{

class CommandBase;
class CommandManager;
struct HistoryChange;
struct RowChange;

/// Keeps the history within a number of bytes: drops the oldest commands when a new one takes too many.
///
///     MemoryBudget budget(manager, 64 * 1024 * 1024,
///                         [](const CommandBase& command)
///                         {
///                             const auto* image = dynamic_cast<const ReplaceImageCommand*>(&command);
///                             return image == nullptr ? std::size_t(500) : image->pixels().size();
///                         });
///
/// The newest command that is done always stays, even if it is too large alone. Commands that can be redone
/// count but are not dropped; the next command that is added replaces them. Save points and modified modules
/// stay right, as with the manager's limit. The limit of the application holds as well.
///
/// While commands are dropped, the manager has another limit for a moment. It has its own again before a
/// command dies. Slots see the other limit only if the constructor or setBudget() drops commands.
///
/// Failures: what the function throws passes to the caller of the manager, and the command counts nothing
/// until the next change of the history, which asks again. If a slot that was connected before this throws, a
/// change is missed. The next one makes up for it, unless it was that a command took in another: so make this
/// before slots that may throw.
///
/// Re-entrancy: the function, slots and destructors of commands may call any operation, and may destroy this.
///
/// Ownership: the manager must outlive all calls, but not the destructor.
/// Thread: as CommandManager.
class VALDANE_EDITING_EXPORT MemoryBudget
{
public:
    /// Tells how many bytes a command takes. Asked once when it comes into the history, and again when it
    /// takes in another one, or when the history was changed by a slot of its change, or a change was missed.
    using SizeOf = std::function<std::size_t(const CommandBase&)>;

    /// Asks for the size of each command that is there, and drops the oldest that are too many.
    /// @throws VdException if @p sizeOfCommand is empty; what it and slots throw.
    MemoryBudget(CommandManager& commandManager, std::uint64_t bytes, SizeOf sizeOfCommand);
    MemoryBudget(const MemoryBudget&) = delete;
    MemoryBudget& operator=(const MemoryBudget&) = delete;
    ~MemoryBudget();

    /// Sets the number of bytes, and drops the oldest commands that are too many. @throws what slots throw.
    void setBudget(std::uint64_t bytes);
    std::uint64_t getBudget() const noexcept;

    /// The sum of what the commands of the history take.
    std::uint64_t getUsedBytes() const noexcept;

private:
    /// A command of the history.
    struct Row
    {
        /// Only compared; null if it was not asked for its size yet.
        const CommandBase* command = nullptr;
        std::uint64_t bytes = 0;
    };

    void follow(const HistoryChange& change);
    void apply(const RowChange& change);
    void settle();
    bool isInStep() const;
    void startAfresh();
    bool askAll();
    std::uint64_t countOfTooMany() const;

    CommandManager& manager;
    std::uint64_t budget;
    /// CommandManager::getPosition() after the change that was told last.
    std::uint64_t position;
    /// Shared with a call of it, which may destroy this.
    std::shared_ptr<const SizeOf> sizeOf;
    std::deque<Row> rows;
    std::uint64_t used = 0;
    std::size_t unasked = 0;
    /// Changes when settle() is called, also by what it calls.
    std::uint64_t settled = 0;
    /// Expires when this is destroyed, by a slot for example.
    std::shared_ptr<const bool> life = std::make_shared<const bool>(true);
    Signals::Connection connection;
};

} // namespace Valdane

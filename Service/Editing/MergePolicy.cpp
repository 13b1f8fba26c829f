#include "Service/Editing/MergePolicy.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/Editing/StepCommand.h"

#include <utility>

namespace Valdane
{

// What the history tells during one add(), also if the policy is destroyed meanwhile.
class MergePolicy::Listening
{
public:
    explicit Listening(MergePolicy& listening)
        : policy(listening),
          life(listening.life),
          insertedBefore(std::exchange(listening.insertedRows, 0)),
          interruptionsBefore(std::exchange(listening.interruptions, 0))
    {
        ++policy.depth;
    }

    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    ~Listening()
    {
        if (!isOver())
        {
            --policy.depth;
            policy.insertedRows += insertedBefore;
            policy.interruptions += interruptionsBefore;
        }
    }

    bool isOver() const noexcept
    {
        return life.expired();
    }

    // Whether nothing came into the history but the command itself, and nothing was undone.
    bool isUndisturbed() const noexcept
    {
        return policy.interruptions == 0 && policy.insertedRows <= 1;
    }

private:
    MergePolicy& policy;
    std::weak_ptr<const bool> life;
    std::uint64_t insertedBefore;
    std::uint64_t interruptionsBefore;
};

MergePolicy::MergePolicy(CommandManager& commandManager) : MergePolicy(commandManager, Limits()) {}

MergePolicy::MergePolicy(CommandManager& commandManager, const Limits& stepLimits)
    : MergePolicy(commandManager, stepLimits, std::chrono::steady_clock::now)
{
}

MergePolicy::MergePolicy(CommandManager& commandManager, const Limits& stepLimits, Clock stepClock)
    : manager(commandManager), limits(stepLimits), clock(std::move(stepClock))
{
    if (clock == nullptr)
    {
        throw VdException("A MergePolicy needs a clock; leave the argument out for the steady clock");
    }
    connection = manager.connectToSigHistoryChanged([this](const HistoryChange& change) { follow(change); });
    undone = manager.connectToSigCommandUndone([this] { interrupt(); });
}

MergePolicy::~MergePolicy() = default;

bool MergePolicy::add(std::shared_ptr<CommandBase> command, const std::string& key)
{
    if (command == nullptr)
    {
        return false;
    }
    if (key.empty())
    {
        step.reset();
        return manager.addCommand(std::move(command));
    }
    const std::shared_ptr<StepCommand> newest = findStep(key);
    return addToStep(newest, std::make_shared<StepCommand>(std::move(command), newest.get()), key);
}

void MergePolicy::endStep() noexcept
{
    interrupt();
}

std::shared_ptr<StepCommand> MergePolicy::findStep(const std::string& key) const
{
    const auto now = clock();
    const std::shared_ptr<StepCommand> newest = step.lock();
    const bool goesOn = newest != nullptr && key == stepKey && now - stepTime <= limits.pause &&
                        newest->executedCount() < limits.commands;
    return goesOn ? newest : nullptr;
}

bool MergePolicy::addToStep(const std::shared_ptr<StepCommand>& newest,
                            const std::shared_ptr<StepCommand>& next, std::string key)
{
    // What the command and slots add begins steps of its own.
    step.reset();
    const std::size_t executedBefore = newest == nullptr ? 0 : newest->executedCount();
    const Listening listening(*this);
    const bool isExecuted = manager.addOrMergeCommand(next);
    if (listening.isOver() || !listening.isUndisturbed())
    {
        return isExecuted;
    }
    if (!isExecuted)
    {
        step = newest;
        return false;
    }
    const bool isMerged = newest != nullptr && newest->executedCount() > executedBefore;
    const auto end = clock();
    step = isMerged ? newest : next;
    stepKey = std::move(key);
    stepTime = end;
    return true;
}

void MergePolicy::follow(const HistoryChange& change)
{
    std::uint64_t inserted = 0;
    for (const RowChange& row : change.rows)
    {
        inserted += row.inserted;
    }
    const bool isMove = change.rows.empty() && change.positionBefore != change.positionAfter;
    // What the limit, a memory budget or others drop ends no step. If it is the step, nothing can merge with
    // it.
    const bool isRemoval = !change.rows.empty() && inserted == 0;
    if (isMove || (depth == 0 && !isRemoval))
    {
        interrupt();
    }
    insertedRows += inserted;
}

void MergePolicy::interrupt() noexcept
{
    ++interruptions;
    step.reset();
}

} // namespace Valdane

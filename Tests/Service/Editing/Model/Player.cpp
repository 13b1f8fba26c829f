#include "Player.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <chrono>
#include <cstdint>

namespace Valdane::EditingModel
{

namespace
{

constexpr std::size_t deepest = 3;

/// What @p action answers, or how it fails.
template <typename Action>
std::string answerOf(const Action& action)
{
    try
    {
        return action();
    }
    catch (const VdException&)
    {
        return "refused";
    }
    catch (const Stranger&)
    {
        return "stranger";
    }
}

std::string keyOf(const Operation& operation)
{
    static constexpr const char* keys[] = {"", "a", "a", "b", "b"};
    return keys[operation.number];
}

} // namespace

std::string Player::differenceAfter(std::span<const Operation> operations)
{
    sequence = operations;
    next = 0;
    try
    {
        compareState();
        playScope(nullptr);
        return {};
    }
    catch (const Difference& difference)
    {
        return difference.text;
    }
}

void Player::playScope(CommandGroup* group)
{
    while (next < sequence.size())
    {
        const Operation& operation = sequence[next++];
        const bool isEnd = operation.kind >= Kind::Commit && operation.kind <= Kind::Leave;
        if (operation.kind == Kind::BeginGroup)
        {
            playGroup(operation);
        }
        else if (!isEnd)
        {
            play(operation);
        }
        else if (group != nullptr && playEnd(*group, operation))
        {
            return;
        }
    }
}

void Player::playGroup(const Operation& begin)
{
    const std::size_t depth = model.depth();
    if (depth == deepest)
    {
        return;
    }
    const std::string description = begin.number == 0 ? "" : "G" + std::to_string(next);
    Left left;
    try
    {
        CommandGroup group(real.manager, description);
        model.beginGroup(description);
        compareState();
        playScope(&group);
    }
    catch (const Left& thrown)
    {
        left = thrown;
    }
    if (model.depth() > depth)
    {
        model.leave(left.fault);
    }
    compareState();
    if (left.scopes > 1 && depth != 0)
    {
        --left.scopes;
        throw left;
    }
    real.world->fault = {};
}

bool Player::playEnd(CommandGroup& group, const Operation& operation)
{
    Fault fault = arm(operation, Call::Undo);
    if (operation.kind == Kind::Leave)
    {
        throw Left{.scopes = 1 + operation.number, .fault = fault};
    }
    if (operation.kind == Kind::Commit)
    {
        group.commit();
        model.commit();
        return true;
    }
    compareAnswers(answerOf(group.abandon()), model.abandon(fault));
    real.world->fault = {};
    compareState();
    return !group.isOpen();
}

void Player::play(const Operation& operation)
{
    switch (operation.kind)
    {
    case Kind::Undo:
    case Kind::Redo:
    case Kind::MoveTo:
        playMove(operation);
        break;
    case Kind::TakeNewest:
    case Kind::TakeAll:
    case Kind::ForgetRedo:
    case Kind::Clear:
    case Kind::SetLimit:
    case Kind::UseLimit:
        playRemoval(operation);
        break;
    case Kind::Save:
        playSave(operation);
        break;
    default:
        playIntake(operation);
    }
    real.world->fault = {};
    compareState();
}

void Player::playIntake(const Operation& operation)
{
    Fault fault = arm(operation, operation.fault.call);
    const Plan& plan = operation.plan;
    const auto command = real.make(plan);
    const auto answerOfReal = [&](const auto& action)
    {
        return answerOf([&] { return answerOf(action()); });
    };
    switch (operation.kind)
    {
    case Kind::Add:
        compareAnswers(answerOfReal([&] { return real.manager.addCommand(command); }),
                       model.addCommand(plan, fault));
        break;
    case Kind::AddOrMerge:
        compareAnswers(answerOfReal([&] { return real.manager.addOrMergeCommand(command); }),
                       model.addOrMerge(plan, fault));
        break;
    case Kind::AddToStep:
        compareAnswers(answerOfReal([&] { return real.policy.add(command, keyOf(operation)); }),
                       model.addToStep(plan, keyOf(operation), fault));
        break;
    case Kind::AddToMerge:
        compareAnswers(
            answerOfReal(
                [&]
                { return real.manager.addCommandToMergeWithNextCommand(command, operation.number != 0); }),
            model.addToMerge(plan, fault));
        break;
    case Kind::EndStep:
        real.policy.endStep();
        model.endStep();
        break;
    default:
        playWait(operation);
    }
}

void Player::playWait(const Operation& operation)
{
    static constexpr unsigned times[] = {1, longestPause, longestPause + 1};
    const unsigned time = times[operation.number];
    real.now += std::chrono::seconds(time);
    model.wait(time);
}

void Player::playMove(const Operation& operation)
{
    // While a command waits, an application must not undo.
    if (model.hasWaiting())
    {
        return;
    }
    const std::uint64_t target = operation.number % (model.rows().size() + 2);
    const bool isUndo =
        operation.kind == Kind::Undo || (operation.kind == Kind::MoveTo && target < model.getPosition());
    Fault fault = arm(operation, isUndo ? Call::Undo : Call::Redo);
    const std::uint64_t count = 1 + operation.number;
    real.toldMoves.clear();
    switch (operation.kind)
    {
    case Kind::Undo:
        compareAnswers(answerOf([&] { return answerOf(real.manager.undo(count)); }),
                       model.undo(count, fault));
        break;
    case Kind::Redo:
        compareAnswers(answerOf([&] { return answerOf(real.manager.redo(count)); }),
                       model.redo(count, fault));
        break;
    default:
        compareAnswers(answerOf([&] { return nameOf(real.history.moveTo(target)); }) + real.toldMoves,
                       model.moveTo(target, fault));
    }
}

void Player::playRemoval(const Operation& operation)
{
    CommandManager& manager = real.manager;
    switch (operation.kind)
    {
    case Kind::TakeNewest:
        compareAnswers(answerOf(
                           [&]
                           {
                               const auto taken = manager.takeLastExecutedCommand();
                               return taken == nullptr ? "nothing" : "took " + taken->getDescription();
                           }),
                       model.takeNewest());
        break;
    case Kind::TakeAll:
        compareAnswers(answerOf(
                           [&]
                           {
                               const auto taken = manager.takeExecutedCommands();
                               return taken == nullptr ? "nothing" : "took " + std::to_string(taken->size());
                           }),
                       model.takeAll());
        break;
    case Kind::ForgetRedo:
        manager.forgetRedoCommands();
        model.forgetRedo();
        break;
    case Kind::Clear:
        compareAnswers(answerOf(
                           [&]
                           {
                               manager.clear();
                               return std::string("done");
                           }),
                       model.clear());
        break;
    default:
        playLimit(operation);
    }
}

void Player::playLimit(const Operation& operation)
{
    if (operation.kind == Kind::SetLimit)
    {
        real.manager.setMaxQueueSize(operation.number);
        model.setLimit(operation.number);
    }
    else
    {
        real.manager.setUsesMaxQueueSize(operation.number != 0);
        model.useLimit(operation.number != 0);
    }
}

void Player::playSave(const Operation& operation)
{
    // While a command waits, an application must not save.
    if (model.hasWaiting())
    {
        return;
    }
    const std::size_t tracker = operation.number % 2;
    const bool resets = operation.number / 2 != 0;
    real.saveState->saved(tracker);
    if (resets)
    {
        real.world->markAllModulesInBusinessAsUnmodified();
        real.saveState->update();
    }
    model.save(tracker, resets);
}

Fault Player::arm(const Operation& operation, Call call)
{
    Fault fault = operation.fault;
    fault.call = call;
    // A macro is not rolled back if a command throws what is not derived from std::exception.
    const bool mayBeInMacro = call == Call::Undo || call == Call::Redo;
    if (mayBeInMacro && (model.depth() != 0 || !model.hasOnlySingleCommands()))
    {
        fault.isStrange = false;
    }
    real.world->fault = fault;
    return fault;
}

} // namespace Valdane::EditingModel

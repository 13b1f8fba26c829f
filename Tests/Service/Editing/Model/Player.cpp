#include "Player.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <set>
#include <sstream>
#include <vector>

namespace Valdane::EditingModel
{

namespace
{

constexpr std::size_t deepest = 3;

std::string answerOf(bool isDone)
{
    return isDone ? "yes" : "no";
}

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

std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
    {
        text += line + "; ";
    }
    return text;
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

void Player::compareAnswers(const std::string& ofReal, const std::string& ofModel)
{
    compare("the answer", ofReal, ofModel);
}

void Player::compare(const std::string& what, const std::string& ofReal, const std::string& ofModel) const
{
    if (ofReal != ofModel)
    {
        std::ostringstream text;
        text << what << " after operation " << next << ':' << (next == 0 ? Operation() : sequence[next - 1])
             << "expected: " << ofModel << "\nactual:   " << ofReal;
        throw Difference{text.str()};
    }
}

void Player::compareState()
{
    const std::vector<std::string> rows = model.rows();
    compare("the data are right", answerOf(real.world->drawing == model.data()), "yes");
    compare("what a view shows", joined(real.view.rows), joined(rows));
    compare("the number of rows", std::to_string(real.history.getRowCount()), std::to_string(rows.size()));
    for (std::uint64_t row = 0; row < rows.size(); ++row)
    {
        compare("a row", lookOf(real.history, row), rows[row]);
    }
    compare("open groups", std::to_string(real.manager.getOpenGroups().size()),
            std::to_string(model.depth()));
    compare("the position", std::to_string(real.history.getPosition()), std::to_string(model.getPosition()));
    for (std::size_t tracker = 0; tracker < real.toldModified.size(); ++tracker)
    {
        compareChanges(tracker);
    }
}

void Player::compareChanges(std::size_t tracker)
{
    const std::string of = " for tracker " + std::to_string(tracker);
    const bool isModified = model.isModified(tracker);
    compare("modified" + of, answerOf(real.saveState->isModified(tracker)), answerOf(isModified));
    std::string& told = real.toldModified[tracker];
    compare("told once" + of, answerOf(std::ranges::adjacent_find(told) == told.end()), "yes");
    told.erase(0, told.size() - 1);
    compare("told as modified" + of, told, isModified ? "m" : "s");
    const std::vector<std::string> lines = real.unsavedLines(tracker);
    compare("something is unsaved" + of, answerOf(!lines.empty()), answerOf(isModified));
    if (const auto exact = model.exactChanges(tracker))
    {
        compare("unsaved" + of, joined(lines), joined(*exact));
    }
    else
    {
        compareCommands(tracker, lines);
    }
    for (std::size_t layer = 0; layer < moduleCount; ++layer)
    {
        const std::string start = std::to_string(layer) + "|";
        const bool isTold =
            std::ranges::any_of(lines, [&](const std::string& line) { return line.starts_with(start); });
        const bool mustBeTold = (model.modulesToBeTold(tracker) >> layer & 1U) != 0;
        compare("module " + start + of + " in " + joined(lines), answerOf(isTold || !mustBeTold), "yes");
    }
}

void Player::compareCommands(std::size_t tracker, const std::vector<std::string>& lines)
{
    for (std::size_t layer = 0; layer < layerCount; ++layer)
    {
        const std::string key = layer == moduleCount ? "-" : std::to_string(layer);
        const auto line =
            std::ranges::find_if(lines, [&](const std::string& text) { return text.starts_with(key + "|"); });
        std::set<std::string> optional;
        const std::string expected = model.wordsOfCommands(tracker, layer, optional);
        std::string words = (line == lines.end() ? "" : line->substr(key.size())) + "|";
        optional.insert("|other changes");
        for (const std::string& left : optional)
        {
            if (const auto place = words.find(left + "|"); place != std::string::npos)
            {
                words.erase(place, left.size());
            }
        }
        compare("commands of module " + key + " for tracker " + std::to_string(tracker), words,
                expected + "|");
    }
}

} // namespace Valdane::EditingModel

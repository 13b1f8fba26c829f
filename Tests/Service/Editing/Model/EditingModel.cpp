#include "EditingModel.h"

#include <algorithm>
#include <utility>

namespace Valdane::EditingModel
{

namespace
{

std::string answerOfFailure(const Fault& fault)
{
    return fault.isStrange ? "stranger" : "no";
}

} // namespace

std::string Model::addCommand(const Plan& plan, Fault& fault)
{
    if (fault.hits(Call::Execute, 1))
    {
        return answerOfFailure(fault);
    }
    drawing.draw(plan.strokes);
    queue(makeSingle(plan));
    return "yes";
}

std::string Model::addOrMerge(const Plan& plan, Fault& fault)
{
    if (fault.hits(Call::Execute, 1))
    {
        return answerOfFailure(fault);
    }
    Entry* const newest = mayMerge() ? newestCommand() : nullptr;
    drawing.draw(plan.strokes);
    const bool mergesThem = newest != nullptr && newest->parts.empty() && areAlike(newest->plan, plan);
    if (!mergesThem || fault.hits(Call::Merge, 1))
    {
        queue(makeSingle(plan));
        return mergesThem && fault.isStrange ? "stranger" : "yes";
    }
    takeIn(newest->plan, plan);
    noteMerge(*newest);
    return "yes";
}

std::string Model::addToStep(const Plan& plan, const std::string& key, Fault& fault)
{
    const Step before = std::exchange(step, {});
    if (key.empty())
    {
        return addCommand(plan, fault);
    }
    const bool isSameStep =
        before.key == key && now - before.time <= longestPause && before.count < longestStep;
    if (fault.hits(Call::Execute, 1))
    {
        step = isSameStep && !fault.isStrange ? before : Step();
        return answerOfFailure(fault);
    }
    Entry* const newest = isSameStep && mayMerge() ? newestCommand() : nullptr;
    drawing.draw(plan.strokes);
    if (newest != nullptr && newest->id == before.id && mergeIntoStep(*newest, plan, fault))
    {
        step = {.id = before.id, .key = key, .time = now, .count = before.count + 1};
        return "yes";
    }
    const bool hasFailed = newest != nullptr && newest->id == before.id;
    const Entry next = makeMacro("", {makeSingle(plan)});
    queue(next);
    if (hasFailed && fault.isStrange)
    {
        return "stranger";
    }
    step = {.id = next.id, .key = key, .time = now, .count = 1};
    return "yes";
}

std::string Model::addToMerge(const Plan& plan, Fault& fault)
{
    if (fault.hits(Call::Execute, 1))
    {
        return answerOfFailure(fault);
    }
    drawing.draw(plan.strokes);
    waitingHere().push_back(makeSingle(plan));
    return "yes";
}

std::string Model::abandon(Fault& fault)
{
    const Entry macro = makeMacro(groups.back());
    const bool isEmpty = macro.parts.empty();
    if (!isEmpty)
    {
        if (fault.hits(Call::Undo, callsOf(macro)) || !isUndoCapable(macro))
        {
            fault = {};
            return "no";
        }
        erase(macro, drawing);
        step = {};
    }
    groups.pop_back();
    if (!isEmpty && !hasLoose())
    {
        known = drawing;
    }
    return "yes";
}

std::string Model::undo(std::uint64_t count, Fault& fault)
{
    if (!groups.empty())
    {
        return "no";
    }
    for (; count != 0 && position != 0; --count)
    {
        if (!undoOne(fault))
        {
            return answerOfFailure(fault);
        }
    }
    return "yes";
}

std::string Model::redo(std::uint64_t count, Fault& fault)
{
    if (!groups.empty())
    {
        return "no";
    }
    for (; count != 0 && position != history.size(); --count)
    {
        if (!redoOne(fault))
        {
            return answerOfFailure(fault);
        }
    }
    return "yes";
}

std::string Model::moveTo(std::uint64_t target, Fault& fault)
{
    if (target > history.size())
    {
        return "refused";
    }
    bool hasMoved = false;
    const std::string answer = moveTo(target, fault, hasMoved);
    if (!hasMoved)
    {
        return answer;
    }
    return answer + ", told " + (answer == "stranger" ? "interrupted" : answer);
}

std::string Model::moveTo(std::uint64_t target, Fault& fault, bool& hasMoved)
{
    while (position != target)
    {
        if (!groups.empty())
        {
            return "group open";
        }
        if (!(position > target ? undoOne(fault) : redoOne(fault)))
        {
            return fault.isStrange ? "stranger" : "command failed";
        }
        hasMoved = true;
    }
    return "reached";
}

std::string Model::takeNewest()
{
    if (!groups.empty())
    {
        return "refused";
    }
    if (position == 0)
    {
        return "nothing";
    }
    --position;
    const auto newest = history.begin() + static_cast<std::ptrdiff_t>(position);
    const std::string text = textOf(*newest);
    history.erase(newest);
    isVague.fill(true);
    step = {};
    return "took " + text;
}

std::string Model::takeAll()
{
    if (!groups.empty())
    {
        return "refused";
    }
    if (position == 0)
    {
        return "nothing";
    }
    const std::string answer = "took " + std::to_string(position);
    clear();
    return answer;
}

std::string Model::clear()
{
    if (!groups.empty())
    {
        return "refused";
    }
    history.clear();
    position = 0;
    waitingOutside.clear();
    return "done";
}

void Model::save(std::size_t tracker, bool resets)
{
    saved[tracker] = drawing;
    isVague[tracker] = false;
    newestAtSave[tracker] = newestId;
    if (resets)
    {
        for (const Group& group : groups)
        {
            std::ranges::for_each(group.commands,
                                  [&](const Entry& entry) { collectStrokes(entry, unreported); });
        }
        known = drawing;
    }
}

Entry Model::makeMacro(const std::string& description, const std::vector<Entry>& parts)
{
    Plan plan;
    plan.description = description;
    return {.id = ++newestId, .plan = plan, .parts = parts, .reported = 0};
}

Entry Model::makeMacro(const Group& group)
{
    std::vector<Entry> commands = group.commands;
    commands.insert(commands.end(), group.waiting.begin(), group.waiting.end());
    return makeMacro(group.description, commands);
}

Entry Model::mergedWith(const Entry& next, std::vector<Entry>& waiting)
{
    if (waiting.empty())
    {
        return next;
    }
    std::vector<Entry> parts = std::exchange(waiting, {});
    parts.insert(parts.begin(), next);
    return makeMacro(textOf(next), parts);
}

std::vector<Entry>& Model::waitingHere()
{
    return groups.empty() ? waitingOutside : groups.back().waiting;
}

void Model::queue(const Entry& entry)
{
    if (!groups.empty())
    {
        Group& group = groups.back();
        group.commands.push_back(mergedWith(entry, group.waiting));
        return;
    }
    history.resize(position);
    history.push_back(mergedWith(entry, waitingOutside));
    history.back().reported = reportedNow();
    known = drawing;
    ++position;
    step = {};
    applyLimit();
}

void Model::applyLimit()
{
    const std::size_t undone = history.size() - position;
    if (!usesLimit || history.size() <= limit)
    {
        return;
    }
    if (limit < undone)
    {
        history.clear();
        position = 0;
    }
    else
    {
        const std::size_t dropped = history.size() - limit;
        history.erase(history.begin(), history.begin() + static_cast<std::ptrdiff_t>(dropped));
        position -= dropped;
    }
    for (std::size_t tracker = 0; tracker < saved.size(); ++tracker)
    {
        isVague[tracker] = isVague[tracker] || (history.empty() && !savedPosition(tracker).has_value());
    }
}

bool Model::mayMerge() const
{
    const bool isOutside = groups.empty();
    const bool hasOwnWaiting = isOutside ? !waitingOutside.empty() : !groups.back().waiting.empty();
    return (!isOutside || position == history.size()) && !hasOwnWaiting &&
           std::ranges::find(saved, drawing) == saved.end();
}

Entry* Model::newestCommand()
{
    std::vector<Entry>& commands = groups.empty() ? history : groups.back().commands;
    return commands.empty() ? nullptr : &commands.back();
}

bool Model::mergeIntoStep(Entry& newest, const Plan& plan, Fault& fault)
{
    Plan& last = newest.parts.back().plan;
    if (!areAlike(last, plan))
    {
        newest.parts.push_back(makeSingle(plan));
    }
    else if (fault.hits(Call::Merge, 1))
    {
        return false;
    }
    else
    {
        takeIn(last, plan);
    }
    noteMerge(newest);
    return true;
}

void Model::noteMerge(Entry& newest)
{
    if (groups.empty())
    {
        newest.reported |= reportedNow();
        known = drawing;
        step = {};
    }
}

void Model::endGroup()
{
    const Entry macro = makeMacro(groups.back());
    groups.pop_back();
    if (!macro.parts.empty())
    {
        queue(macro);
    }
}

bool Model::undoOne(Fault& fault)
{
    const auto newest = history.begin() + static_cast<std::ptrdiff_t>(position - 1);
    const bool hasFailed = fault.hits(Call::Undo, callsOf(*newest));
    if (hasFailed || !isUndoCapable(*newest))
    {
        fault.isStrange = fault.isStrange && hasFailed;
        return false;
    }
    erase(*newest, drawing);
    --position;
    if (!isRedoCapable(*newest))
    {
        history.resize(position);
    }
    known = drawing;
    step = {};
    return true;
}

bool Model::redoOne(Fault& fault)
{
    const Entry& next = history[position];
    if (fault.hits(Call::Redo, callsOf(next)))
    {
        return false;
    }
    draw(next, drawing);
    ++position;
    known = drawing;
    step = {};
    return true;
}

} // namespace Valdane::EditingModel

#include "Operation.h"

#include <functional>
#include <ostream>
#include <rapidcheck/Random.h>
#include <rapidcheck/Seq.h>
#include <rapidcheck/Shrinkable.h>
#include <rapidcheck/seq/Create.h>
#include <rapidcheck/shrink/Shrink.h>
#include <rapidcheck/shrinkable/Create.h>
#include <utility>

namespace Valdane::Model
{

namespace
{

struct Weight
{
    Kind kind;
    const char* name;
    unsigned ofOperation;
    unsigned ofReaction;
    /// Numbers are below it.
    unsigned numbers;
};

constexpr Weight weights[] = {
    {Kind::Add, "Add", 24, 8, 1},
    {Kind::AddExecuted, "AddExecuted", 4, 2, 1},
    {Kind::AddToMerge, "AddToMerge", 6, 3, 2},
    {Kind::AddOrMerge, "AddOrMerge", 6, 3, 1},
    {Kind::AddNothing, "AddNothing", 1, 1, 1},
    {Kind::ExecuteTaken, "ExecuteTaken", 3, 2, 1},
    {Kind::QueueTaken, "QueueTaken", 3, 2, 1},
    {Kind::TakeLast, "TakeLast", 2, 2, 1},
    {Kind::TakeAll, "TakeAll", 1, 1, 1},
    {Kind::Undo, "Undo", 14, 6, 5},
    {Kind::Redo, "Redo", 12, 6, 5},
    {Kind::UndoAll, "UndoAll", 1, 1, 1},
    {Kind::RedoAll, "RedoAll", 1, 1, 1},
    {Kind::Clear, "Clear", 1, 2, 1},
    {Kind::ForgetRedo, "ForgetRedo", 1, 1, 1},
    {Kind::BeginGroup, "BeginGroup", 3, 1, 1},
    {Kind::EndGroup, "EndGroup", 5, 2, 1},
    {Kind::AbandonGroup, "AbandonGroup", 2, 1, 1},
    {Kind::SetLimit, "SetLimit", 3, 2, 9},
    {Kind::UseLimit, "UseLimit", 2, 2, 2},
    {Kind::SetProgress, "SetProgress", 1, 1, 1},
    {Kind::Complete, "Complete", 1, 1, 1},
    {Kind::Query, "Query", 1, 1, 2},
    {Kind::Save, "Save", 6, 4, 2},
    {Kind::MarkAll, "MarkAll", 1, 1, 1U << moduleCount},
    {Kind::Modify, "Modify", 2, 1, 1U << moduleCount},
    {Kind::WantSaved, "WantSaved", 1, 1, 1U << moduleCount},
    {Kind::FailQuestion, "FailQuestion", 1, 1, 1},
    {Kind::FailMarking, "FailMarking", 1, 1, 1},
    {Kind::StartThread, "StartThread", 10, 4, 1},
    {Kind::DoWork, "DoWork", 3, 1, 1},
    {Kind::Finalize, "Finalize", 8, 4, 1},
    {Kind::Abort, "Abort", 2, 2, 1},
    {Kind::SetMode, "SetMode", 3, 1, 2},
    {Kind::Throw, "Throw", 0, 5, 3},
};

const Weight& weightOf(Kind kind)
{
    return weights[static_cast<std::size_t>(kind)];
}

/// The kinds as often as they weigh.
std::vector<Kind> deal(unsigned Weight::*weight)
{
    std::vector<Kind> kinds;
    for (const Weight& entry : weights)
    {
        kinds.insert(kinds.end(), entry.*weight, entry.kind);
    }
    return kinds;
}

/// Numbers in a row.
class Dice
{
public:
    explicit Dice(std::function<std::uint64_t()> next) : source(std::move(next)) {}

    unsigned below(unsigned limit)
    {
        return static_cast<unsigned>(source() % limit);
    }

    bool oneIn(unsigned chances)
    {
        return below(chances) == chances - 1;
    }

private:
    std::function<std::uint64_t()> source;
};

bool makesCommand(Kind kind)
{
    return kind <= Kind::AddOrMerge || kind == Kind::StartThread;
}

Plan rollPlan(Dice& dice)
{
    Plan plan;
    plan.modules = dice.below(1U << moduleCount);
    plan.redoCapable = !dice.oneIn(10);
    plan.addable = !dice.oneIn(8);
    plan.abortsItself = dice.oneIn(12);
    plan.takesIn = !dice.oneIn(3);
    if (dice.oneIn(4))
    {
        plan.failing = static_cast<Call>(1 + dice.below(10));
        plan.failure = static_cast<Failure>(dice.below(3));
        plan.failures = 1 + dice.below(2);
    }
    return plan;
}

Action rollAction(Dice& dice, const std::vector<Kind>& kinds)
{
    Action action;
    action.kind = kinds[dice.below(static_cast<unsigned>(kinds.size()))];
    action.number = dice.below(weightOf(action.kind).numbers);
    if (makesCommand(action.kind))
    {
        action.plan = rollPlan(dice);
    }
    return action;
}

Operation rollOperation(Dice& dice)
{
    static const std::vector<Kind> ofOperation = deal(&Weight::ofOperation);
    static const std::vector<Kind> ofReaction = deal(&Weight::ofReaction);
    Operation operation{rollAction(dice, ofOperation), {}};
    while (operation.reactions.size() < 3 && dice.oneIn(4))
    {
        operation.reactions.push_back({1 + dice.below(4), rollAction(dice, ofReaction)});
    }
    return operation;
}

std::vector<Action> simplerActions(const Action& action)
{
    std::vector<Action> simpler;
    const auto suggest = [&](const auto& change)
    {
        Action changed = action;
        change(changed);
        simpler.push_back(changed);
    };
    if (action.number > 0)
    {
        suggest([](Action& changed) { changed.number = 0; });
        suggest([](Action& changed) { --changed.number; });
    }
    if (action.plan.modules != 0)
    {
        suggest([](Action& changed) { changed.plan.modules = 0; });
        suggest([](Action& changed) { changed.plan.modules &= changed.plan.modules - 1; });
    }
    if (!action.plan.redoCapable)
    {
        suggest([](Action& changed) { changed.plan.redoCapable = true; });
    }
    if (!action.plan.addable)
    {
        suggest([](Action& changed) { changed.plan.addable = true; });
    }
    if (!action.plan.takesIn)
    {
        suggest([](Action& changed) { changed.plan.takesIn = true; });
    }
    if (action.plan.abortsItself)
    {
        suggest([](Action& changed) { changed.plan.abortsItself = false; });
    }
    if (action.plan.failing != Call::None)
    {
        suggest([](Action& changed) { changed.plan.failing = Call::None; });
        if (action.plan.failure != Failure::Standard)
        {
            suggest([](Action& changed) { changed.plan.failure = Failure::Standard; });
        }
        if (action.plan.failures > 1)
        {
            suggest([](Action& changed) { changed.plan.failures = 1; });
        }
    }
    return simpler;
}

rc::Seq<Operation> simplerOperations(const Operation& operation)
{
    std::vector<Operation> simpler;
    for (std::size_t index = 0; index < operation.reactions.size(); ++index)
    {
        const Reaction& reaction = operation.reactions[index];
        Operation changed = operation;
        changed.reactions.erase(changed.reactions.begin() + static_cast<std::ptrdiff_t>(index));
        simpler.push_back(changed);
        changed = operation;
        if (reaction.after > 1)
        {
            --changed.reactions[index].after;
            simpler.push_back(changed);
        }
        for (const Action& action : simplerActions(reaction.action))
        {
            changed = operation;
            changed.reactions[index].action = action;
            simpler.push_back(changed);
        }
    }
    for (const Action& action : simplerActions(operation.action))
    {
        simpler.push_back({action, operation.reactions});
    }
    return rc::seq::fromContainer(simpler);
}

std::ostream& operator<<(std::ostream& stream, const Plan& plan)
{
    stream << "modules " << plan.modules << (plan.redoCapable ? "" : ", not redo-capable")
           << (plan.addable ? "" : ", not addable") << (plan.abortsItself ? ", aborts itself" : "")
           << (plan.takesIn ? "" : ", takes nothing in");
    if (plan.failing != Call::None)
    {
        static constexpr const char* failures[] = {"standard", "located", "foreign"};
        stream << ", " << nameOf(plan.failing) << " fails " << plan.failures << " times ("
               << failures[static_cast<std::size_t>(plan.failure)] << ')';
    }
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const Action& action)
{
    stream << weightOf(action.kind).name << ' ' << action.number;
    if (makesCommand(action.kind))
    {
        stream << " {" << action.plan << '}';
    }
    return stream;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const Operation& operation)
{
    stream << "\n    " << operation.action;
    for (const Reaction& reaction : operation.reactions)
    {
        stream << "; at moment " << reaction.after << ' ' << reaction.action;
    }
    return stream;
}

rc::Gen<std::vector<Operation>> operations(std::size_t length)
{
    return [length](const rc::Random& random, int /*size*/)
    {
        Dice dice([source = random]() mutable { return source.next(); });
        std::vector<Operation> rolled;
        while (rolled.size() < length)
        {
            rolled.push_back(rollOperation(dice));
        }
        return rc::shrinkable::shrinkRecur(rolled,
                                           [](const std::vector<Operation>& failing)
                                           {
                                               return rc::seq::concat(
                                                   rc::shrink::removeChunks(failing),
                                                   rc::shrink::eachElement(failing, simplerOperations));
                                           });
    };
}

std::vector<Operation> operations(std::span<const std::uint8_t> bytes)
{
    Dice dice(
        [&bytes]
        {
            const std::uint64_t number = bytes.empty() ? 0 : bytes.front();
            bytes = bytes.subspan(bytes.empty() ? 0 : 1);
            return number;
        });
    std::vector<Operation> rolled;
    while (!bytes.empty())
    {
        rolled.push_back(rollOperation(dice));
    }
    return rolled;
}

} // namespace Valdane::Model

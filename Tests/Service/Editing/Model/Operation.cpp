#include "Operation.h"

#include <cstdint>
#include <ostream>

namespace Valdane::EditingModel
{

namespace
{

struct Weight
{
    Kind kind;
    const char* name;
    unsigned weight;
    /// Numbers are below it.
    unsigned numbers;
};

constexpr Weight weights[] = {
    {Kind::Add, "Add", 16, 1},
    {Kind::AddOrMerge, "AddOrMerge", 10, 1},
    {Kind::AddToStep, "AddToStep", 18, 5},
    {Kind::AddToMerge, "AddToMerge", 2, 2},
    {Kind::EndStep, "EndStep", 1, 1},
    {Kind::Wait, "Wait", 3, 3},
    {Kind::BeginGroup, "BeginGroup", 6, 3},
    {Kind::Commit, "Commit", 5, 1},
    {Kind::Abandon, "Abandon", 3, 1},
    {Kind::Leave, "Leave", 2, 3},
    {Kind::Undo, "Undo", 12, 4},
    {Kind::Redo, "Redo", 8, 4},
    {Kind::MoveTo, "MoveTo", 8, 12},
    {Kind::TakeNewest, "TakeNewest", 2, 1},
    {Kind::TakeAll, "TakeAll", 1, 1},
    {Kind::ForgetRedo, "ForgetRedo", 2, 1},
    {Kind::Clear, "Clear", 1, 1},
    {Kind::SetLimit, "SetLimit", 3, 9},
    {Kind::UseLimit, "UseLimit", 2, 2},
    {Kind::Save, "Save", 9, 4},
};

const Weight& weightOf(Kind kind)
{
    return weights[static_cast<std::size_t>(kind)];
}

/// The kinds as often as they weigh.
std::vector<Kind> deal()
{
    std::vector<Kind> kinds;
    for (const Weight& entry : weights)
    {
        kinds.insert(kinds.end(), entry.weight, entry.kind);
    }
    return kinds;
}

class Dice
{
public:
    explicit Dice(std::mt19937_64& numbers) : random(numbers) {}

    unsigned below(std::size_t limit)
    {
        return static_cast<unsigned>(random() % limit);
    }

    bool oneIn(unsigned chances)
    {
        return below(chances) == 0;
    }

private:
    std::mt19937_64& random;
};

Plan rollPlan(Dice& dice, int number)
{
    Plan plan;
    plan.description = dice.oneIn(8) ? "" : "c" + std::to_string(number);
    plan.strokes.push_back({.layer = dice.below(layerCount), .number = number});
    if (dice.oneIn(3))
    {
        plan.strokes.push_back({.layer = dice.below(layerCount), .number = -number});
    }
    plan.shape = dice.below(4) % 3;
    plan.isUndoCapable = !dice.oneIn(40);
    plan.isRedoCapable = !dice.oneIn(12);
    return plan;
}

Fault rollFault(Dice& dice)
{
    Fault fault;
    if (dice.oneIn(6))
    {
        fault.call = dice.oneIn(2) ? Call::Merge : Call::Execute;
        fault.at = 1 + dice.below(4);
        fault.isStrange = dice.oneIn(3);
    }
    return fault;
}

bool makesCommand(Kind kind)
{
    return kind <= Kind::AddToMerge;
}

bool undoes(Kind kind)
{
    return kind >= Kind::Abandon && kind <= Kind::MoveTo;
}

} // namespace

std::vector<Operation> operations(std::mt19937_64& random, std::size_t length)
{
    static const std::vector<Kind> kinds = deal();
    Dice dice(random);
    std::vector<Operation> sequence(length);
    int number = 0;
    for (Operation& operation : sequence)
    {
        operation.kind = kinds[dice.below(kinds.size())];
        operation.number = dice.below(weightOf(operation.kind).numbers);
        operation.fault = rollFault(dice);
        if (makesCommand(operation.kind))
        {
            operation.plan = rollPlan(dice, ++number);
            // A command is executed once, and asked once whether it takes in another one.
            operation.fault.at = operation.fault.at == 0 ? 0 : 1;
        }
    }
    return sequence;
}

std::ostream& operator<<(std::ostream& stream, const Operation& operation)
{
    stream << ' ' << weightOf(operation.kind).name << ' ' << operation.number;
    if (makesCommand(operation.kind))
    {
        const Plan& plan = operation.plan;
        stream << " '" << plan.description << "' in";
        for (const Stroke& stroke : plan.strokes)
        {
            stream << ' ' << stroke.layer;
        }
        stream << " shape " << plan.shape << (plan.isUndoCapable ? "" : ", not undo-capable")
               << (plan.isRedoCapable ? "" : ", not redo-capable");
    }
    if (operation.fault.at != 0 && (makesCommand(operation.kind) || undoes(operation.kind)))
    {
        stream << ", fails at " << operation.fault.at << (operation.fault.isStrange ? " strangely" : "")
               << (makesCommand(operation.kind) && operation.fault.call == Call::Merge ? " to merge" : "");
    }
    return stream << '\n';
}

} // namespace Valdane::EditingModel

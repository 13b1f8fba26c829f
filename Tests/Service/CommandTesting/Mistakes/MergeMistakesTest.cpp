// Commands that merge wrongly, each in one way.

#include "Tests/Service/CommandTesting/Mistakes/MistakeTable.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantMerging.h"

#include <gtest/gtest.h>

namespace Valdane::Plants
{
namespace
{

const DragFlow* asDrag(const CommandBase& command)
{
    return dynamic_cast<const DragFlow*>(&command);
}

class KeepsItsOwnTarget : public DragFlow
{
public:
    using DragFlow::DragFlow;

    bool mergeWith(const CommandBase& next) override
    {
        const DragFlow* const drag = asDrag(next);
        return drag != nullptr && drag->getKey() == key;
    }
};

class TakesInACommandOfAnotherPart : public DragFlow
{
public:
    using DragFlow::DragFlow;

    bool mergeWith(const CommandBase& next) override
    {
        const DragFlow* const drag = asDrag(next);
        if (drag == nullptr)
        {
            return false;
        }
        target = drag->getTarget();
        return true;
    }
};

class RefusesButHasChanged : public DragFlow
{
public:
    using DragFlow::DragFlow;

    bool mergeWith(const CommandBase& next) override
    {
        const DragFlow* const drag = asDrag(next);
        if (drag == nullptr)
        {
            return false;
        }
        target = drag->getTarget(); // too early
        return drag->getKey() == key;
    }
};

class LosesTheFirstOldValue : public DragFlow
{
public:
    using DragFlow::DragFlow;

    bool mergeWith(const CommandBase& next) override
    {
        if (!DragFlow::mergeWith(next))
        {
            return false;
        }
        oldFlow = asDrag(next)->getOldFlow();
        return true;
    }
};

template <typename Command>
Report checkMerging(const CommandKit<Plant>& kit)
{
    return kit.merging(make<Command>("pump", 3.0), make<Command>("pump", 2.0));
}

template <typename Command>
Report checkMergingOfTwoParts(const CommandKit<Plant>& kit)
{
    return kit.merging(make<Command>("pump", 3.0), make<Command>("tank", 7.0));
}

const MistakeRow mergeMistakes[] = {
    {"KeepsItsOwnTarget", checkMerging<KeepsItsOwnTarget>,
     R"(Merging of "Drag the flow of the pump": 1 mistake
  After redo() of the first command, which has taken in the next one, the data are not as after both were executed (- expected, + found):
    - total flow: 13
    + total flow: 14
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 2
    + pump.flow: 3
)"},
    {"LosesTheFirstOldValue", checkMerging<LosesTheFirstOldValue>,
     R"(Merging of "Drag the flow of the pump": 1 mistake
  After undo() of the first command, which has taken in the next one, the data are not as before both were executed (- expected, + found):
    - total flow: 15
    + total flow: 14
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 3
)"},
    {"TakesInACommandOfAnotherPart", checkMergingOfTwoParts<TakesInACommandOfAnotherPart>,
     R"(Merging of "Drag the flow of the pump": 1 mistake
  After undo() of the first command, which has taken in the next one, the data are not as before both were executed (- expected, + found):
    - total flow: 15
    + total flow: 14
      tank.name: "Feed tank"
    - tank.flow: 8
    + tank.flow: 7
)"},
    {"RefusesButHasChanged", checkMergingOfTwoParts<RefusesButHasChanged>,
     R"(Merging of "Drag the flow of the pump": 1 mistake
  After redo() of the first command, which has refused the next one, the data are not as after it was executed (- expected, + found):
    - total flow: 14
    + total flow: 18
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 3
    + pump.flow: 7
)"},
};

class MergeMistakes : public testing::TestWithParam<MistakeRow>
{
};

TEST_P(MergeMistakes, AreFoundAndTold)
{
    expectTheReport(GetParam());
}

INSTANTIATE_TEST_SUITE_P(, MergeMistakes, testing::ValuesIn(mergeMistakes), nameOf);

} // namespace
} // namespace Valdane::Plants

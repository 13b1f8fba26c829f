// Commands whose undo or redo is wrong, each in one way.

#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Service/CommandTesting/Mistakes/MistakeTable.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantCommands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane::Plants
{
namespace
{

class ForgetsOneFieldInUndo : public RenameAndThrottle
{
public:
    using RenameAndThrottle::RenameAndThrottle;

    void undo() override
    {
        plant.setFlow(plant.getPump(), oldFlow);
    }
};

class UndoRestoresAConstant : public Throttle
{
public:
    using Throttle::Throttle;

    void undo() override
    {
        plant.setFlow(plant.getPump(), 0);
    }
};

class RedoAppliesTwice : public HalveFlow
{
public:
    using HalveFlow::HalveFlow;

    void redo() override
    {
        scale(0.5);
        HalveFlow::redo();
    }
};

class RedoDoesNothing : public Throttle
{
public:
    using Throttle::Throttle;

    void redo() override {}
};

class UndoRemovesTheFirstEqualNote : public AddNote
{
public:
    using AddNote::AddNote;

    void undo() override
    {
        std::vector<std::string>& notes = plant.getPump().data.notes;
        notes.erase(std::ranges::find(notes, text));
        plant.getPump().mark();
    }
};

class UndoOfARemovalAppendsAtTheEnd : public RemoveFirstNote
{
public:
    using RemoveFirstNote::RemoveFirstNote;

    void undo() override
    {
        plant.getPump().data.notes.push_back(removed);
        plant.getPump().mark();
    }
};

class UndoDoesNotRestoreTheTotal : public Throttle
{
public:
    using Throttle::Throttle;

    void undo() override
    {
        plant.getPump().data.flow = oldFlow;
        plant.getPump().mark();
    }
};

class MovesItsArgumentOutInExecute : public Rename
{
public:
    using Rename::Rename;

    void execute() override
    {
        oldName = plant.getPump().data.name;
        setName(std::move(newName));
    }
};

class KeepsWhatItRememberedBefore : public TickOffSeal
{
public:
    using TickOffSeal::TickOffSeal;

    void execute() override
    {
        for (const std::size_t index : takeOut())
        {
            removed.push_back(index);
        }
    }
};

class UndoThrowsTheSecondTime : public ThrottleWithItsOwnRedo
{
public:
    using ThrottleWithItsOwnRedo::ThrottleWithItsOwnRedo;

    void undo() override
    {
        ThrottleWithItsOwnRedo::undo();
        oldFlow.reset();
    }
};

class WritesToAnotherPlace : public PlantCommand
{
public:
    explicit WritesToAnotherPlace(Plant& changedPlant) : PlantCommand(changedPlant, "Open pump") {}

    void execute() override
    {
        PartData data = plant.getPump().data; // a reference was meant
        data.isOpen = false;
        plant.getPump().mark();
    }

    void undo() override
    {
        plant.getPump().data.isOpen = true;
        plant.getPump().mark();
    }
};

class RemembersTheOldValueWhenItIsMade : public Throttle
{
public:
    explicit RemembersTheOldValueWhenItIsMade(Plant& throttledPlant) : Throttle(throttledPlant)
    {
        oldFlow = throttledPlant.getPump().data.flow;
    }

    void execute() override
    {
        plant.setFlow(plant.getPump(), newFlow);
    }
};

class RemembersAnObjectInsteadOfItsPath : public PlantCommand
{
public:
    explicit RemembersAnObjectInsteadOfItsPath(Plant& throttledPlant)
        : PlantCommand(throttledPlant, "Throttle pump"),
          pump(std::dynamic_pointer_cast<Part>(throttledPlant.getPump().shared_from_this()))
    {
    }

    void execute() override
    {
        oldFlow = plant.setFlow(*pump, 1);
    }

    void undo() override
    {
        plant.setFlow(*pump, oldFlow);
    }

private:
    std::shared_ptr<Part> pump;
    double oldFlow = 0;
};

/// Sets the flow twice, and sets it back in the same order.
std::shared_ptr<CommandBase> makeMacroUndoneInTheWrongOrder(Plant& plant)
{
    const auto macro = std::make_shared<MacroCommand>("Throttle pump in two steps");
    macro->addCommand(std::make_shared<Throttle>(plant, 2));
    macro->addCommand(std::make_shared<Throttle>(plant, 1));
    macro->setUseForwardUndoOrder(true);
    return macro;
}

const MistakeRow undoMistakes[] = {
    {"ForgetsOneFieldInUndo", checkRoundTrip<ForgetsOneFieldInUndo>,
     R"(Round trip of "Rename and throttle pump": 1 mistake
  After undo 1 the data are not as before execute() (- expected, + found):
      tank.medium: water
    - pump.name: "Circulation pump of the first loop"
    + pump.name: "Circulation pump P-101"
)"},
    {"UndoRestoresAConstant", checkRoundTrip<UndoRestoresAConstant>,
     R"(Round trip of "Throttle pump": 1 mistake
  After undo 1 the data are not as before execute() (- expected, + found):
    - total flow: 15
    + total flow: 11
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 0
)"},
    {"RedoAppliesTwice", checkRoundTrip<RedoAppliesTwice>,
     R"(Round trip of "Halve the flow of the pump": 1 mistake
  After redo 1 the data are not as after execute() (- expected, + found):
    - total flow: 13
    + total flow: 12
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 2
    + pump.flow: 1
)"},
    {"RedoDoesNothing", checkRoundTrip<RedoDoesNothing>, R"(Round trip of "Throttle pump": 1 mistake
  After redo 1 the data are not as after execute() (- expected, + found):
    - total flow: 12
    + total flow: 15
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 1
    + pump.flow: 4
)"},
    {"UndoRemovesTheFirstEqualNote", checkRoundTrip<UndoRemovesTheFirstEqualNote>,
     R"(Round trip of "Add a note to the pump": 1 mistake
  After undo 1 the data are not as before execute() (- expected, + found):
      pump.medium: water
    - pump.note: "check the seal"
      pump.note: "oil"
    + pump.note: "check the seal"
)"},
    {"UndoOfARemovalAppendsAtTheEnd", checkRoundTrip<UndoOfARemovalAppendsAtTheEnd>,
     R"(Round trip of "Remove the first note of the pump": 1 mistake
  After undo 1 the data are not as before execute() (- expected, + found):
      pump.medium: water
    - pump.note: "check the seal"
      pump.note: "oil"
    + pump.note: "check the seal"
)"},
    {"UndoDoesNotRestoreTheTotal", checkRoundTrip<UndoDoesNotRestoreTheTotal>,
     R"(Round trip of "Throttle pump": 1 mistake
  After undo 1 the data are not as before execute() (- expected, + found):
    - total flow: 15
    + total flow: 12
)"},
    {"MovesItsArgumentOutInExecute", checkRoundTrip<MovesItsArgumentOutInExecute>,
     R"(Round trip of "Rename pump": 1 mistake
  After redo 1 the data are not as after execute() (- expected, + found):
      tank.medium: water
    - pump.name: "Circulation pump P-101"
    + pump.name: ""
)"},
    {"KeepsWhatItRememberedBefore", checkRoundTrip<KeepsWhatItRememberedBefore>,
     R"(Round trip of "Tick the seal off": 1 mistake
  After undo 2 the data are not as before execute() (- expected, + found):
      pump.note: "check the seal"
    + pump.note: "check the seal"
    + pump.note: "check the seal"
)"},
    {"UndoThrowsTheSecondTime", checkRoundTrip<UndoThrowsTheSecondTime>,
     R"(Round trip of "Throttle pump": 1 mistake
  Undo 2 throws: bad optional access
)"},
    {"WritesToAnotherPlace", checkRoundTrip<WritesToAnotherPlace>, R"(Round trip of "Open pump": 1 mistake
  execute() changes nothing that the snapshot shows, so nothing is proved of undo(); if that is meant, say so by RoundTripOptions::changesNothing
)"},
    {"MacroUndoneInTheWrongOrder",
     [](const CommandKit<Plant>& kit) { return kit.roundTrip(makeMacroUndoneInTheWrongOrder); },
     R"(Round trip of "Throttle pump in two steps": 1 mistake
  After undo 1 the data are not as before execute() (- expected, + found):
    - total flow: 15
    + total flow: 13
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 2
)"},
    {"RemembersTheOldValueWhenItIsMade",
     [](const CommandKit<Plant>& kit) {
         return kit.inMacro({make<HalveFlow>(), make<RemembersTheOldValueWhenItIsMade>()});
     },
     R"(In a macro of 2 commands: 1 mistake
  After the roll-back of the first 2 commands the data are not as before the macro was executed (- expected, + found):
    - total flow: 15
    + total flow: 19
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 8
)"},
    {"RemembersAnObjectInsteadOfItsPath",
     [](const CommandKit<Plant>& kit)
     { return kit.staleObjects(make<RemembersAnObjectInsteadOfItsPath>(), make<RemovePump>()); },
     R"(Stale objects of "Throttle pump": 1 mistake
  After undo() of the command, whose object was removed and has come back, the data are not as before it was executed (- expected, + found):
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 1
)"},
};

class UndoMistakes : public testing::TestWithParam<MistakeRow>
{
};

TEST_P(UndoMistakes, AreFoundAndTold)
{
    expectTheReport(GetParam());
}

INSTANTIATE_TEST_SUITE_P(, UndoMistakes, testing::ValuesIn(undoMistakes), nameOf);

} // namespace
} // namespace Valdane::Plants

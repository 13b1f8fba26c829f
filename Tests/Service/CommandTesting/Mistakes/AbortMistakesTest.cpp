// Threaded commands that an abort leaves in a mess, each in one way.

#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Service/CommandTesting/Mistakes/MistakeTable.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantCommands.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantThreads.h"

#include <gtest/gtest.h>

#include <memory>

namespace Valdane::Plants
{
namespace
{

class LeavesWhatItsRunHasWritten : public TuneInPlace
{
public:
    using TuneInPlace::TuneInPlace;

protected:
    void takeBack() override {}
};

class RestoresOneOfTwoFieldsAtAnAbort : public TuneInPlace
{
public:
    using TuneInPlace::TuneInPlace;

protected:
    void takeBack() override
    {
        if (isChanged)
        {
            plant.setFlow(plant.getPump(), oldFlow);
            isChanged = false;
        }
    }
};

class HandsOverWithoutAskingWhetherItMay : public FindBestFlow
{
public:
    using FindBestFlow::FindBestFlow;

    void sendFinishSignal(bool ok) override
    {
        handOver();
        ThreadedCommand::sendFinishSignal(ok);
    }
};

class UndoRevertsWhatWasNeverDone : public FindBestFlow
{
public:
    using FindBestFlow::FindBestFlow;

    void undo() override
    {
        plant.setFlow(plant.getPump(), oldFlow);
    }
};

std::shared_ptr<CommandBase> makeMacroOfAThreadWithTheWrongUndo(Plant& plant)
{
    auto macro = std::make_shared<ThreadedMacroCommand>("Optimise pump");
    macro->addCommand(std::make_shared<Rename>(plant));
    macro->addCommand(std::make_shared<UndoRevertsWhatWasNeverDone>(plant));
    return macro;
}

const MistakeRow abortMistakes[] = {
    {"LeavesWhatItsRunHasWritten", checkAborts<LeavesWhatItsRunHasWritten>,
     R"(Aborts of "Tune the pump": 1 mistake
  Aborted on a worker at isAborted() (call 2) and after the run,
    and in synchronous mode at isAborted() (call 2): the data are not as before (- expected, + found):
    - total flow: 15
    + total flow: 13
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    - pump.stages: 1
    + pump.flow: 2
    + pump.stages: 2
    This is the first place; elsewhere the + lines are different.
)"},
    {"RestoresOneOfTwoFieldsAtAnAbort", checkAborts<RestoresOneOfTwoFieldsAtAnAbort>,
     R"(Aborts of "Tune the pump": 1 mistake
  Aborted on a worker at isAborted() (call 2) and after the run,
    and in synchronous mode at isAborted() (call 2): the data are not as before (- expected, + found):
      pump.flow: 4
    - pump.stages: 1
    + pump.stages: 2
    This is the first place; elsewhere the + lines are different.
)"},
    {"HandsOverWithoutAskingWhetherItMay", checkAborts<HandsOverWithoutAskingWhetherItMay>,
     R"(Aborts of "Find the best flow of the pump": 1 mistake
  Aborted on a worker before the run, at isAborted() (calls 1 to 3) and after the run,
    and in synchronous mode before the run and at isAborted() (calls 1 to 3): the data are not as before (- expected, + found):
    - total flow: 15
    + total flow: 11
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 0
    This is the first place; elsewhere the + lines are different.
)"},
    {"UndoRevertsWhatWasNeverDone",
     [](const CommandKit<Plant>& kit) { return kit.aborts(makeMacroOfAThreadWithTheWrongUndo); },
     R"(Aborts of "Optimise pump": 2 mistakes
  Aborted on a worker in "Find the best flow of the pump" before the run, at isAborted() (calls 1 to 3) and after the run: the macro has undone the aborted command and those before it, but the data are not as before (- expected, + found):
    - total flow: 15
    + total flow: 11
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 0
  Aborted in synchronous mode in "Find the best flow of the pump" before the run and at isAborted() (calls 1 to 3): after undo() the data are not as before (- expected, + found):
    - total flow: 15
    + total flow: 11
      pump.name: "Circulation pump of the first loop"
    - pump.flow: 4
    + pump.flow: 0
)"},
};

class AbortMistakes : public testing::TestWithParam<MistakeRow>
{
};

TEST_P(AbortMistakes, AreFoundAndTold)
{
    expectTheReport(GetParam());
}

INSTANTIATE_TEST_SUITE_P(, AbortMistakes, testing::ValuesIn(abortMistakes), nameOf);

} // namespace
} // namespace Valdane::Plants

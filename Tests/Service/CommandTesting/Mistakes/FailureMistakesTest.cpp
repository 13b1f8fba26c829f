// Commands that leave a mess when something fails, each in one way.

#include "Tests/Service/CommandTesting/Mistakes/BreakableCycle.h"
#include "Tests/Service/CommandTesting/Mistakes/MistakeTable.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantCommands.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane::Plants
{
namespace
{

class ThrowsHalfWayAndLeavesOneField : public RenameAndExport
{
public:
    using RenameAndExport::RenameAndExport;

    void execute() override
    {
        oldFile = plant.file;
        std::string name = newName;
        oldName = std::exchange(plant.getPump().data.name, std::move(name));
        plant.writeFile("pump: " + newName);
        oldFlow = plant.setFlow(plant.getPump(), 1);
    }
};

class SwallowsTheFailureWithHalfOfTheWorkDone : public RenameAndExport
{
public:
    using RenameAndExport::RenameAndExport;

    void execute() override
    {
        oldFile = plant.file;
        std::string name = newName;
        std::string file = "pump: " + newName;
        oldName = std::exchange(plant.getPump().data.name, std::move(name));
        oldFlow = plant.setFlow(plant.getPump(), 1);
        try
        {
            plant.writeFile(std::move(file));
        }
        catch (...)
        {
            // As if it did not matter.
        }
    }
};

class RollsBackForStandardExceptionsOnly : public RenameAndExportWithRollBack
{
public:
    using RenameAndExportWithRollBack::RenameAndExportWithRollBack;

    void execute() override
    {
        oldFile = plant.file;
        std::string name = newName;
        std::string& shown = plant.getPump().data.name;
        oldName = std::exchange(shown, std::move(name));
        try
        {
            plant.writeFile("pump: " + shown);
        }
        catch (const std::exception&)
        {
            shown = std::move(oldName);
            throw;
        }
        oldFlow = plant.setFlow(plant.getPump(), 1);
    }
};

class UndoFailsHalfWay : public RenameAndExport
{
public:
    using RenameAndExport::RenameAndExport;

    void undo() override
    {
        plant.getPump().data.name = oldName;
        plant.writeFile(oldFile);
        plant.setFlow(plant.getPump(), oldFlow);
    }
};

class RedoFailsHalfWay : public RenameAndExport
{
public:
    using RenameAndExport::RenameAndExport;

    void redo() override
    {
        plant.getPump().data.name = newName;
        plant.writeFile("pump: " + newName);
        plant.setFlow(plant.getPump(), 1);
    }
};

class CannotBeTriedAgain : public RenameAndExport
{
public:
    using RenameAndExport::RenameAndExport;

    void execute() override
    {
        if (isDone)
        {
            return;
        }
        isDone = true; // too early
        RenameAndExport::execute();
    }

    void undo() override
    {
        RenameAndExport::undo();
        isDone = false;
    }

private:
    bool isDone = false;
};

class LeavesAnEntryThatItCouldNotFill : public AddNote
{
public:
    explicit LeavesAnEntryThatItCouldNotFill(Plant& notedPlant)
        : AddNote(notedPlant, "a note for which memory must be allocated")
    {
    }

    void execute() override
    {
        std::vector<std::string>& notes = plant.getPump().data.notes;
        notes.emplace_back();
        notes.back() = text;
        plant.getPump().mark();
    }
};

/// Each redo links what it remembers with what the redo before it has remembered, both ways.
class LeaksAtTheSecondRedo : public Throttle
{
public:
    using Throttle::Throttle;

    void redo() override
    {
        const auto next = std::make_shared<Step>();
        if (lastStep != nullptr)
        {
            lastStep->next = next;
            next->previous = lastStep;
        }
        lastStep = next;
        Throttle::redo();
    }

private:
    struct Step : BreakableCycle
    {
        void breakUp() noexcept override
        {
            // The last owner of this object may be among them.
            const std::shared_ptr<Step> before = std::move(previous);
            const std::shared_ptr<Step> after = std::move(next);
        }

        std::shared_ptr<Step> previous;
        std::shared_ptr<Step> next;
    };

    std::shared_ptr<Step> lastStep;
};

const MistakeRow failureMistakes[] = {
    {"ThrowsHalfWayAndLeavesOneField", checkFailures<ThrowsHalfWayAndLeavesOneField>,
     R"(Failures of "Rename, throttle and export pump": 1 mistake
  Made to fail in execute() and in redo() at operator new (call 2) and at "write file" (call 1, also if it throws an int): the data are not as before (- expected, + found):
      tank.medium: water
    - pump.name: "Circulation pump of the first loop"
    + pump.name: "Circulation pump P-101"
)"},
    {"SwallowsTheFailureWithHalfOfTheWorkDone", checkFailures<SwallowsTheFailureWithHalfOfTheWorkDone>,
     R"(Failures of "Rename, throttle and export pump": 1 mistake
  Made to fail in execute() and in redo() at "write file" (call 1, also if it throws an int): it hides the failure, but has not done all of its work (- expected, + found):
      total flow: 12
    - file: pump: Circulation pump P-101
    + file: nothing
)"},
    {"RollsBackForStandardExceptionsOnly", checkFailures<RollsBackForStandardExceptionsOnly>,
     R"(Failures of "Rename, throttle and export pump": 1 mistake
  Made to fail in execute() and in redo() at "write file" (call 1, only if it throws an int, not a std::exception): the data are not as before (- expected, + found):
      tank.medium: water
    - pump.name: "Circulation pump of the first loop"
    + pump.name: "Circulation pump P-101"
)"},
    {"UndoFailsHalfWay", checkFailures<UndoFailsHalfWay>,
     R"(Failures of "Rename, throttle and export pump": 1 mistake
  Made to fail in undo() at "write file" (call 1, also if it throws an int): the data are not as before (- expected, + found):
      tank.medium: water
    - pump.name: "Circulation pump P-101"
    + pump.name: "Circulation pump of the first loop"
)"},
    {"RedoFailsHalfWay", checkFailures<RedoFailsHalfWay>,
     R"(Failures of "Rename, throttle and export pump": 1 mistake
  Made to fail in redo() at operator new (call 1) and at "write file" (call 1, also if it throws an int): the data are not as before (- expected, + found):
      tank.medium: water
    - pump.name: "Circulation pump of the first loop"
    + pump.name: "Circulation pump P-101"
)"},
    {"CannotBeTriedAgain", checkFailures<CannotBeTriedAgain>,
     R"(Failures of "Rename, throttle and export pump": 1 mistake
  Made to fail in execute() and in redo() at operator new (calls 1 and 2) and at "write file" (call 1, also if it throws an int): tried again, it has another result (- expected, + found):
    - total flow: 12
    - file: pump: Circulation pump P-101
    + total flow: 15
    + file: nothing
      tank.medium: water
    - pump.name: "Circulation pump P-101"
    - pump.flow: 1
    + pump.name: "Circulation pump of the first loop"
    + pump.flow: 4
)"},
    {"LeavesAnEntryThatItCouldNotFill", checkFailures<LeavesAnEntryThatItCouldNotFill>,
     R"(Failures of "Add a note to the pump": 1 mistake
  Made to fail in execute() at operator new (call 2),
    and in redo() at operator new (call 1): the data are not as before (- expected, + found):
      pump.note: "check the seal"
    + pump.note: ""
)"},
    {"LeaksAtTheSecondRedo", checkFailures<LeaksAtTheSecondRedo>, R"(Failures of "Throttle pump": 1 mistake
  Undone and redone several times, without a failure: 6 blocks are not released
)"},
};

class FailureMistakes : public testing::TestWithParam<MistakeRow>
{
protected:
    ~FailureMistakes() override
    {
        BreakableCycle::breakAll();
    }
};

TEST_P(FailureMistakes, AreFoundAndTold)
{
    expectTheReport(GetParam());
}

INSTANTIATE_TEST_SUITE_P(, FailureMistakes, testing::ValuesIn(failureMistakes), nameOf);

} // namespace
} // namespace Valdane::Plants

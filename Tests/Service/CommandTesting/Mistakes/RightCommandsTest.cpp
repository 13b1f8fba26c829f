// Commands that are right are accused of nothing: the twins of those that are wrong, and the library's own.

#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantCommands.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantKit.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantMerging.h"
#include "Tests/Service/CommandTesting/Mistakes/PlantThreads.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

namespace Valdane::Plants
{
namespace
{

/// A command, or several, with the check that is to find nothing.
struct RightRow
{
    std::string name;
    std::function<Report(const CommandKit<Plant>&)> check;
};

std::ostream& operator<<(std::ostream& out, const RightRow& row)
{
    return out << row.name;
}

RightRow all(std::string name, const Maker& maker)
{
    return {std::move(name), [maker](const CommandKit<Plant>& kit)
            {
                return kit.all(maker);
            }};
}

template <typename T>
Maker setAttribute(const std::string& attribute, const T& value)
{
    return Maker(
        [=](Plant& plant)
        {
            const Path path = plant.getPump().getPath(nullptr, attribute, RequestedPathType::FromRoot);
            return std::make_shared<SetAttributeCmd<T>>(plant.root, path, value, "");
        });
}

std::shared_ptr<CommandBase> makeSetName(Plant& plant)
{
    return std::make_shared<SetNameCmd>(plant.getPump().shared_from_this(), "Circulation pump P-101",
                                        "Rename pump");
}

std::shared_ptr<CommandBase> makeClearAttributes(Plant& plant)
{
    return std::make_shared<ClearDynamicAttributesCmd>(plant.getPump().shared_from_this(),
                                                       "Clear the pump's attributes");
}

template <typename Macro>
std::shared_ptr<Macro> filled(Plant& plant, std::shared_ptr<Macro> macro)
{
    macro->addCommand(std::make_shared<HalveFlow>(plant));
    macro->addCommand(std::make_shared<AddNote>(plant, "throttled"));
    macro->addCommand(std::make_shared<Throttle>(plant));
    return macro;
}

std::shared_ptr<CommandBase> makeMacro(Plant& plant)
{
    return filled(plant, std::make_shared<MacroCommand>("Throttle in steps"));
}

std::shared_ptr<CommandBase> makeMacroWithCallOuts(Plant& plant)
{
    auto macro = filled(plant, std::make_shared<MacroCommand>("Throttle and export"));
    macro->addCommand(std::make_shared<RenameAndExport>(plant));
    macro->addCommand(std::make_shared<Throttle>(plant, 3));
    return macro;
}

/// Its sub-commands do not depend on each other.
std::shared_ptr<CommandBase> makeMacroUndoneForwards(Plant& plant)
{
    const auto macro = std::make_shared<MacroCommand>("Throttle and rename");
    macro->addCommand(std::make_shared<Throttle>(plant));
    macro->addCommand(std::make_shared<Rename>(plant));
    macro->setUseForwardUndoOrder(true);
    return macro;
}

std::shared_ptr<CommandBase> makeNestedMacros(Plant& plant)
{
    const auto inner = filled(plant, std::make_shared<MacroCommand>("Throttle in steps"));
    const auto middle = std::make_shared<MacroCommand>("Throttle and rename");
    middle->addCommand(inner);
    middle->addCommand(makeSetName(plant));
    const auto outer = filled(plant, std::make_shared<MacroCommand>("Throttle, rename, throttle"));
    outer->addCommandToFront(middle);
    return outer;
}

std::shared_ptr<CommandBase> makeThreadedMacro(Plant& plant)
{
    auto macro = filled(plant, std::make_shared<ThreadedMacroCommand>("Optimise pump"));
    macro->addCommand(std::make_shared<FindBestFlow>(plant));
    macro->addCommand(std::make_shared<Rename>(plant));
    macro->addCommand(std::make_shared<TuneInPlace>(plant));
    return macro;
}

std::shared_ptr<CommandBase> makeThreadedMacroWithoutThreads(Plant& plant)
{
    return filled(plant, std::make_shared<ThreadedMacroCommand>("Throttle in steps"));
}

std::shared_ptr<CommandBase> makeNestedThreadedMacros(Plant& plant)
{
    const auto outer = std::make_shared<ThreadedMacroCommand>("Optimise pump twice");
    outer->addCommand(std::make_shared<FindBestFlow>(plant));
    outer->addCommand(makeThreadedMacro(plant));
    return outer;
}

std::shared_ptr<CommandBase> makeDelayed(Plant& plant)
{
    return std::make_shared<DelayedInitializedCommand>([&plant]
                                                       { return std::make_shared<Throttle>(plant); });
}

std::shared_ptr<CommandBase> makeDelayedThread(Plant& plant)
{
    return std::make_shared<DelayedInitializedCommand>([&plant]
                                                       { return std::make_shared<FindBestFlow>(plant); });
}

const RightRow rightCommands[] = {
    all("Throttle", make<Throttle>()),
    all("ThrottleWithItsOwnRedo", make<ThrottleWithItsOwnRedo>()),
    all("HalveFlow", make<HalveFlow>()),
    all("Rename", make<Rename>()),
    all("RenameAndThrottle", make<RenameAndThrottle>()),
    all("AddNote", make<AddNote>()),
    all("AddLongNote", make<AddNote>("a note for which memory must be allocated")),
    all("RemoveFirstNote", make<RemoveFirstNote>()),
    all("TickOffSeal", make<TickOffSeal>()),
    all("RenameAndExport", make<RenameAndExport>()),
    all("RenameAndExportWithRollBack", make<RenameAndExportWithRollBack>()),
    all("RemovePump", make<RemovePump>()),
    all("InspectAll", make<InspectAll>()),
    all("DragFlow", make<DragFlow>("pump", 3.0)),
    all("NotRedoCapable", make<SendReport>()),
    all("SetNameCmd", makeSetName),
    all("SetAttributeCmdOfDouble", setAttribute("pressure", 7.5)),
    all("SetAttributeCmdOfInt", setAttribute("stages", 5)),
    all("SetAttributeCmdOfUnsignedInt", setAttribute("bolts", 6U)),
    all("SetAttributeCmdOfBool", setAttribute("open", false)),
    all("SetAttributeCmdOfText", setAttribute("medium", std::string("water with a lot of glycol"))),
    all("ClearDynamicAttributesCmd", makeClearAttributes),
    all("MacroCommand", makeMacro),
    all("MacroCommandWithCallOuts", makeMacroWithCallOuts),
    all("MacroCommandUndoneForwards", makeMacroUndoneForwards),
    all("NestedMacros", makeNestedMacros),
    all("ThreadedCommand", make<FindBestFlow>()),
    all("ThreadedCommandThatTakesBack", make<TuneInPlace>()),
    all("ThreadedMacroCommand", makeThreadedMacro),
    all("ThreadedMacroCommandWithoutThreads", makeThreadedMacroWithoutThreads),
    all("NestedThreadedMacros", makeNestedThreadedMacros),
    all("DelayedInitializedCommand", makeDelayed),
    all("DelayedInitializedThread", makeDelayedThread),
    {"ProgressOfInspectAll",
     [](const CommandKit<Plant>& kit)
     {
         return kit.progress(make<InspectAll>(), 0.1);
     }},
    {"MergingOfOnePart",
     [](const CommandKit<Plant>& kit)
     {
         return kit.merging(make<DragFlow>("pump", 3.0), make<DragFlow>("pump", 2.0), MergeAnswer::Taken);
     }},
    {"MergingOfTwoParts",
     [](const CommandKit<Plant>& kit)
     {
         return kit.merging(make<DragFlow>("pump", 3.0), make<DragFlow>("tank", 7.0), MergeAnswer::Refused);
     }},
    {"InMacro",
     [](const CommandKit<Plant>& kit)
     {
         return kit.inMacro({make<HalveFlow>(), make<AddNote>(), make<RemoveFirstNote>(), make<Throttle>()});
     }},
    {"StaleObjects",
     [](const CommandKit<Plant>& kit)
     {
         return kit.staleObjects(make<Throttle>(), make<RemovePump>());
     }},
    {"StaleObjectsOfSetNameCmd",
     [](const CommandKit<Plant>& kit)
     {
         return kit.staleObjects(makeSetName, make<RemovePump>());
     }},
};

class RightCommands : public testing::TestWithParam<RightRow>
{
};

TEST_P(RightCommands, AreAccusedOfNothing)
{
    const PlantKit plants;
    const Report report = GetParam().check(plants.kit);
    EXPECT_TRUE(report) << report;
}

INSTANTIATE_TEST_SUITE_P(, RightCommands, testing::ValuesIn(rightCommands),
                         [](const auto& row) { return row.param.name; });

} // namespace
} // namespace Valdane::Plants

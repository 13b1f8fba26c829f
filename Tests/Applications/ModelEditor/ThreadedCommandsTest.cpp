// The commands of the editor that run on a worker thread are proved by the testing kit.

#include "Applications/ModelEditor/Edits/CheckCmd.h"
#include "Applications/ModelEditor/Edits/Import.h"
#include "Applications/ModelEditor/Edits/ScaleValuesCmd.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Applications/ModelEditor/EditorKit.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace
{

using namespace EditorCommands;
using namespace ModelEditor;
using Valdane::CommandBase;
using Valdane::Report;

const std::string gripper = "<robot><link name='finger' mass='1'/><joint>open</joint></robot>";

std::shared_ptr<Valdane::ThreadedMacroCommand> makeScaleOfAll(EditedModel& edited,
                                                              const std::shared_ptr<ScaleFailures>& failures)
{
    auto macro = std::make_shared<Valdane::ThreadedMacroCommand>("Scale");
    for (const auto& selected : edited.model.select("//@mass | //@type").nodes)
    {
        macro->addCommand(std::make_shared<ScaleValuesCmd>(std::span(&selected, 1), 3.0, failures));
    }
    return macro;
}

// What is no number is left alone.
std::shared_ptr<CommandBase> makeScaleOfNumbers(EditedModel& edited)
{
    const auto failures = std::make_shared<ScaleFailures>();
    failures->areLeftAlone = true;
    return makeScaleOfAll(edited, failures);
}

// The same in one command.
std::shared_ptr<CommandBase> makeScaleAtOnce(EditedModel& edited)
{
    const auto failures = std::make_shared<ScaleFailures>();
    failures->areLeftAlone = true;
    const auto values = edited.model.select("//@mass | //@type").nodes;
    return std::make_shared<ScaleValuesCmd>(values, 3.0, failures);
}

std::shared_ptr<CommandBase> makeScaleOfTwo(EditedModel& edited)
{
    auto macro = makeScaleOfAll(edited, std::make_shared<ScaleFailures>());
    macro->removeLastCommand();
    return macro;
}

std::shared_ptr<CheckCmd> makeCheck(EditedModel& edited)
{
    return std::make_shared<CheckCmd>(edited.model);
}

std::shared_ptr<CheckCmd> makeCheckThatTells(EditedModel& edited)
{
    auto check = makeCheck(edited);
    check->connectToRunFinishedSignal(
        [&edited](bool ok, const CommandBase* command)
        {
            if (ok)
            {
                edited.findings = dynamic_cast<const CheckCmd&>(*command).getFindings();
            }
        });
    return check;
}

TEST(ModelEditorThreadedCommands, ScaleIsProved)
{
    const Maker makers[] = {scale("//@count"), makeScaleOfTwo, makeScaleAtOnce};
    for (const auto& make : makers)
    {
        const Report report = EditorKit().all(make);
        EXPECT_TRUE(report) << report;
    }
}

TEST(ModelEditorThreadedCommands, ImportIsProvedAndMayFailToRead)
{
    const EditorKit kit;
    const auto read = [&kit](const std::string&)
    {
        kit.failAt("read the file");
        return gripper;
    };
    const Report report =
        kit.all([&](EditedModel& edited) { return makeImport(edited.model, "gripper.urdf", read); });
    EXPECT_TRUE(report) << report;
}

// Not all(), because aborts() wants to see what a whole run does.
TEST(ModelEditorThreadedCommands, CheckChangesNothingAndTellsNothingIfAborted)
{
    const EditorKit kit;
    Report report = kit.misuse(makeCheck);
    report.add(kit.roundTrip(makeCheck, {.changesNothing = true}));
    report.add(kit.failures(makeCheck));
    report.add(kit.progress(makeCheck, 0.11));
    report.add(kit.tracking(makeCheck));
    report.add(kit.aborts(makeCheckThatTells));
    EXPECT_TRUE(report) << report;
}

// Not all(): it does less of its work if it fails, as it is meant to.
TEST(ModelEditorThreadedCommands, ScaleThatSkipsFailuresIsProved)
{
    const EditorKit kit;
    Report report = kit.roundTrip(makeScaleOfNumbers);
    report.add(kit.aborts(makeScaleOfNumbers));
    report.add(kit.tracking(makeScaleOfNumbers));
    EXPECT_TRUE(report) << report;
}

TEST(ModelEditorThreadedCommands, AreProvedInAMacro)
{
    const Report report = EditorKit().inMacro({makeAppend, edit(makeSet, {"//@mass", "2.5"}),
                                               edit(makeRename, {"//link", "part"}), scale("//@count"),
                                               edit(makeAnnotate, {"//link", "note:by", "them"}),
                                               edit(makeClearAnnotations, {"//link[1]", "note"})});
    EXPECT_TRUE(report) << report;
}

} // namespace

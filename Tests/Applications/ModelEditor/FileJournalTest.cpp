#include "Applications/ModelEditor/Recovery/FileJournal.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/ScaleValuesCmd.h"
#include "Applications/ModelEditor/Recovery/EditCodecs.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/CommandCodecs.h"
#include "Tests/Applications/ModelEditor/ProgramRun.h"
#include "Tests/Applications/ModelEditor/ScriptWriter.h"
#include "Tests/Applications/ModelEditor/TestFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace
{

using ModelEditor::FileJournal;
using ModelEditor::ScaleValuesCmd;
using ModelEditor::XmlModel;

std::filesystem::path onlyFileIn(const std::filesystem::path& folder)
{
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        if (entry.path().extension() == ".journal")
        {
            return entry.path();
        }
    }
    return {};
}

class FileJournals : public testing::TestWithParam<std::string>
{
protected:
    FileJournals() : original(readTestFile(besideTests("Data/Models/" + GetParam())))
    {
        directory.write("model", original);
    }

    std::filesystem::path folder(const std::string& name) const
    {
        return directory.getPath() / name;
    }

    /// The journals of "used" as a program leaves them that dies now, in "left".
    void die() const
    {
        std::filesystem::remove_all(folder("left"));
        std::filesystem::copy(folder("used"), folder("left"));
    }

    std::string pathOfModel() const
    {
        return (directory.getPath() / "model").string();
    }

    TestDirectory directory;
    std::string original;
};

TEST_P(FileJournals, RandomEditsComeBackWithTheirHistory)
{
    for (const unsigned int seed : {1U, 2U, 3U, 4U})
    {
        SCOPED_TRACE(seed);
        ScriptWriter writer(original, seed);
        FileJournal journal(folder("used"), pathOfModel(), Valdane::Journal::Durability::WhenIdle);
        auto& manager = writer.getEditor().getManager();
        journal.start(writer.getModel(), manager);
        std::string script;
        for (int edit = 1; edit <= 120; ++edit)
        {
            script += writer.writeEdit();
            if (edit % 20 != 0)
            {
                continue;
            }
            const auto bytes = writer.getResult().toBytes();
            journal.willSave(bytes);
            die();
            FileJournal left(folder("left"), pathOfModel(), Valdane::Journal::Durability::WhenIdle);
            ASSERT_TRUE(left.getRemains().has_value());
            EXPECT_TRUE(left.fits(bytes));
            EXPECT_TRUE(left.fits(original));
            const auto model = left.loadBase();
            Valdane::CommandManager recovered;
            ASSERT_EQ(left.recover(*model, recovered), "") << script;
            ASSERT_EQ(model->toBytes(), bytes) << script;
            EXPECT_EQ(recovered.collectUndoCommandDescriptions(), manager.collectUndoCommandDescriptions());
            EXPECT_EQ(recovered.collectRedoCommandDescriptions(), manager.collectRedoCommandDescriptions());
            recovered.undoAll();
            ASSERT_EQ(model->toBytes(), original) << script;
            recovered.redoAll();
            ASSERT_EQ(recovered.getPosition(), recovered.getQueueSize());
        }
        journal.close();
        EXPECT_EQ(onlyFileIn(folder("used")), std::filesystem::path());
    }
}

TEST_P(FileJournals, WhatDidNotComeBackIsOfferedAgain)
{
    {
        ScriptWriter writer(original, 1);
        FileJournal journal(folder("used"), pathOfModel(), Valdane::Journal::Durability::WhenIdle);
        journal.start(writer.getModel(), writer.getEditor().getManager());
        for (int edit = 1; edit <= 20; ++edit)
        {
            writer.writeEdit();
        }
        journal.willSave(writer.getResult().toBytes());
        die();
    }
    for (int time = 0; time < 2; ++time)
    {
        FileJournal left(folder("left"), pathOfModel(), Valdane::Journal::Durability::WhenIdle);
        ASSERT_TRUE(left.hasUnsaved());
        const auto model = left.loadBase();
        Valdane::CommandManager manager;
        const auto failing = manager.connectToSigHistoryChanged([](const Valdane::HistoryChange&)
                                                                { throw std::runtime_error("no room"); });
        EXPECT_EQ(left.recover(*model, manager), "no room");
        left.close();
    }
}

TEST_P(FileJournals, WhatIsKeptOfAClosedFileIsNotUnsavedWork)
{
    {
        ScriptWriter writer(original, 1);
        FileJournal journal(folder("used"), pathOfModel(), Valdane::Journal::Durability::WhenIdle);
        journal.start(writer.getModel(), writer.getEditor().getManager());
        writer.writeEdit();
        journal.closeAndKeep();
    }
    const FileJournal journal(folder("used"), pathOfModel(), Valdane::Journal::Durability::WhenIdle);
    ASSERT_TRUE(journal.getRemains().has_value());
    EXPECT_EQ(journal.getRemains()->unsavedSteps, 1U);
    EXPECT_FALSE(journal.hasUnsaved());
}

TEST(EditCodecs, KeepWhetherAScaleLeavesValuesAlone)
{
    XmlModel model("<a x='1'/>", "model");
    Valdane::CommandCodecs codecs;
    ModelEditor::addEditCodecs(codecs, [&]() -> XmlModel& { return model; });
    for (const bool areLeftAlone : {false, true})
    {
        const ScaleValuesCmd command(
            model.getRoot(),
            {.values = {Valdane::Path({}, "x")}, .factor = 2, .areFailuresLeftAlone = areLeftAlone}, "");
        const auto copy = std::dynamic_pointer_cast<ScaleValuesCmd>(codecs.decode(codecs.encode(command)));
        EXPECT_EQ(copy->getState().areFailuresLeftAlone, areLeftAlone);
    }
}

INSTANTIATE_TEST_SUITE_P(Models, FileJournals, testing::Values("ur5_robot.urdf", "Feedthrough.xml"));

} // namespace

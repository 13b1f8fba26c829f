#include "Examples/ModelEditor/EditHistory.h"

#include "Examples/ModelEditor/ModelModules.h"
#include "Examples/ModelEditor/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace
{

using ModelEditor::EditHistory;
using ModelEditor::EditScope;
using ModelEditor::ModelModules;
using ModelEditor::XmlModel;
using testing::IsEmpty;
using Valdane::VdException;
using ValdaneTests::ElementsAre;

class Count : public Valdane::CommandBase
{
public:
    Count() : CommandBase("count") {}

    void execute() override
    {
        ++done;
    }

    void undo() override
    {
        if (sticks)
        {
            throw VdException("stuck");
        }
        --done;
    }

    int done = 0;
    bool sticks = false;
};

class EditHistoryTest : public testing::Test
{
protected:
    void execute(const std::shared_ptr<Count>& command = std::make_shared<Count>())
    {
        history.getCurrent().execute(command, "count\n");
    }

    XmlModel model{"<r/>", "m"};
    EditHistory history{std::make_shared<ModelModules>(model.getRoot()), [](const std::string&) {
                        }};
};

TEST_F(EditHistoryTest, GroupAndRecordingLieWithinEachOther)
{
    EXPECT_FALSE(history.isRecording());
    history.beginRecording();
    EXPECT_TRUE(history.isRecording());
    history.beginGroup("g");
    EXPECT_TRUE(history.isRecording());
    EXPECT_EQ(history.getGroup(), "g");
    EXPECT_EQ(history.getScopes().size(), 3U);
    EXPECT_EQ(history.getCurrent().getKind(), EditScope::Kind::Group);
    history.endGroup();
    EXPECT_EQ(history.getGroup(), std::nullopt);
    EXPECT_EQ(history.getCurrent().getKind(), EditScope::Kind::Recording);
    history.endRecording();
    EXPECT_FALSE(history.isRecording());
    history.beginGroup("g");
    EXPECT_FALSE(history.isRecording());
}

TEST_F(EditHistoryTest, WhatDoesNotFitIsRefusedAndChangesNothing)
{
    EXPECT_THROW(history.endGroup(), VdException);
    EXPECT_THROW(history.abandonGroup(), VdException);
    EXPECT_THROW(history.endRecording(), VdException);
    EXPECT_THROW(history.beginGroup(""), VdException);
    EXPECT_EQ(history.getScopes().size(), 1U);
    history.beginRecording();
    EXPECT_THROW(history.beginRecording(), VdException);
    history.beginGroup("g");
    EXPECT_THROW(history.beginGroup("h"), VdException);
    EXPECT_THROW(history.beginRecording(), VdException);
    EXPECT_THROW(history.endRecording(), VdException);
    EXPECT_EQ(history.getGroup(), "g");
    EXPECT_EQ(history.getScopes().size(), 3U);
}

TEST_F(EditHistoryTest, AGroupOfOneIsAStepOfTheGroupsName)
{
    history.beginGroup("g");
    execute();
    EXPECT_EQ(history.endGroup(), 1U);
    EXPECT_THAT(history.getCurrent().getDone(), ElementsAre("g"));
}

TEST_F(EditHistoryTest, AGroupThatCannotBeUndoneStaysUnderWay)
{
    const auto sticking = std::make_shared<Count>();
    sticking->sticks = true;
    history.beginGroup("g");
    execute(sticking);
    execute();
    EXPECT_THROW(history.abandonGroup(), VdException);
    EXPECT_EQ(history.getGroup(), "g");
    EXPECT_THAT(history.getCurrent().getDone(), ElementsAre("count"));
    sticking->sticks = false;
    EXPECT_EQ(history.abandonGroup(), 1U);
    EXPECT_EQ(sticking->done, 0);
    EXPECT_THAT(history.getCurrent().getDone(), IsEmpty());
}

TEST_F(EditHistoryTest, ARecordingHasTheLinesOfAGroupInIt)
{
    history.beginRecording();
    execute();
    history.beginGroup("a 'b'");
    execute();
    execute();
    history.endGroup();
    const auto recording = history.endRecording();
    EXPECT_EQ(recording.count, 2U);
    EXPECT_EQ(recording.script, "count\ngroup \"a 'b'\"\n  count\n  count\nend\n");
    EXPECT_THAT(history.getCurrent().getDone(), ElementsAre("Recording of 2 steps"));
}

} // namespace

#include "Applications/ModelEditor/Terminal/HistoryLevel.h"

#include "Applications/ModelEditor/Document/XmlModel.h"
#include "Applications/ModelEditor/Edits/ModelModules.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Tests/Support/ElementsAre.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

using ModelEditor::HistoryActions;
using ModelEditor::HistoryLevel;
using ModelEditor::ModelModules;
using ModelEditor::XmlModel;
using ModelEditor::XmlObject;
using testing::IsEmpty;
using Valdane::VdException;
using ValdaneTests::ElementsAre;

// Touches one element, which fails when it is told to.
class Touch : public Valdane::CommandBase
{
public:
    Touch(std::string text, ModelModules& noted, const XmlObject& touched)
        : CommandBase(std::move(text)), modules(noted), object(touched)
    {
    }

    void execute() override
    {
        touch(executeFails);
    }

    void undo() override
    {
        touch(undoFails);
    }

    bool executeFails = false;
    bool undoFails = false;

private:
    void touch(bool fails)
    {
        modules.onChanged(object);
        if (fails)
        {
            throw VdException("jammed");
        }
    }

    ModelModules& modules;
    const XmlObject& object;
};

class HistoryLevelTest : public testing::Test
{
protected:
    std::shared_ptr<Touch> makeTouch(const std::string& name)
    {
        return std::make_shared<Touch>(name, *modules, *model.select("//" + name).nodes.at(0).object);
    }

    const Valdane::Object* find(const std::string& name)
    {
        return model.select("//" + name).nodes.at(0).object.get();
    }

    std::uint64_t undo(std::uint64_t most)
    {
        level.activate();
        return level.undo(most, [this](const std::string& step) { steps.push_back(step); });
    }

    std::uint64_t redo(std::uint64_t most)
    {
        level.activate();
        return level.redo(most, [this](const std::string& step) { steps.push_back(step); });
    }

    // The descriptions of what is done, or of what is undone.
    std::vector<std::string> getRows(bool areDone) const
    {
        std::vector<std::string> texts;
        for (std::uint64_t row = 0; row < level.history.getRowCount(); ++row)
        {
            if (level.history.isDone(row) == areDone)
            {
                texts.push_back(level.history.getText(row));
            }
        }
        return texts;
    }

    std::vector<std::string> getDone() const
    {
        return getRows(true);
    }

    std::vector<std::string> getUndone() const
    {
        return getRows(false);
    }

    std::set<const Valdane::Object*> getModified(std::uint64_t tracker = HistoryLevel::Saved) const
    {
        return level.manager.getModifiedModules(tracker);
    }

    static std::string whatIsThrown(const std::function<void()>& action)
    {
        try
        {
            action();
        }
        catch (const VdException& exception)
        {
            return exception.what();
        }
        return "nothing";
    }

    XmlModel model{"<r><a/><b/></r>", "m"};
    std::shared_ptr<ModelModules> modules = std::make_shared<ModelModules>(model.getRoot());
    std::vector<std::string> steps;
    std::shared_ptr<HistoryActions> actions = std::make_shared<HistoryActions>();
    HistoryLevel level{HistoryLevel::Kind::Model, "", modules, actions};
    HistoryLevel group{HistoryLevel::Kind::Group, "g", modules, actions};
    std::shared_ptr<Touch> a = makeTouch("a");
    std::shared_ptr<Touch> b = makeTouch("b");
};

TEST_F(HistoryLevelTest, TellsOfEveryStepThatWasUndoneOrRedone)
{
    level.execute(a, "");
    level.execute(b, "");
    EXPECT_THAT(steps, IsEmpty());
    EXPECT_EQ(undo(5), 2U);
    EXPECT_EQ(redo(1), 1U);
    EXPECT_THAT(steps, ElementsAre("Undone: b", "Undone: a", "Redone: a"));
    EXPECT_THAT(getDone(), ElementsAre("a"));
    EXPECT_THAT(getUndone(), ElementsAre("b"));
}

TEST_F(HistoryLevelTest, AnEditThatFailsIsNoStepAndChangesNothing)
{
    a->executeFails = true;
    EXPECT_EQ(whatIsThrown([&] { level.execute(a, ""); }), "jammed");
    EXPECT_EQ(whatIsThrown([&] { level.executeToMerge(a, ""); }), "jammed");
    EXPECT_THAT(getDone(), IsEmpty());
    EXPECT_THAT(level.getWaiting(), IsEmpty());
    EXPECT_THAT(getModified(), IsEmpty());
    EXPECT_FALSE(level.saveState.isModified(HistoryLevel::Saved));
}

TEST_F(HistoryLevelTest, AStepThatCannotBeUndoneStaysAndSaysWhy)
{
    level.execute(a, "");
    level.execute(b, "");
    level.saveState.saved(HistoryLevel::Saved);
    a->undoFails = true;
    EXPECT_EQ(whatIsThrown([&] { undo(2); }), "'a' cannot be undone: jammed");
    EXPECT_THAT(getDone(), ElementsAre("a"));
    EXPECT_THAT(getModified(), ElementsAre(find("b")));
    a->undoFails = false;
    EXPECT_EQ(undo(2), 1U);
    EXPECT_THAT(getDone(), IsEmpty());
}

TEST_F(HistoryLevelTest, AStepThatCannotBeRedoneStaysAndSaysWhy)
{
    level.execute(a, "");
    undo(1);
    a->executeFails = true;
    EXPECT_EQ(whatIsThrown([&] { redo(1); }), "'a' cannot be redone: jammed");
    EXPECT_THAT(getUndone(), ElementsAre("a"));
    EXPECT_THAT(getModified(), IsEmpty());
}

TEST_F(HistoryLevelTest, KnowsTheLinesOfWhatWasNotUndone)
{
    group.execute(a, "edit a\n");
    group.execute(b, "edit b\n");
    group.undo(2, [](const std::string&) {});
    EXPECT_EQ(group.getScript(), "");
    group.redo(1, [](const std::string&) {});
    EXPECT_EQ(group.getScript(), "edit a\n");
    group.executeToMerge(b, "edit b again\n");
    group.execute(b, "edit b once more\n");
    EXPECT_EQ(group.getScript(), "edit a\nmerge edit b again\nedit b once more\n");
}

TEST_F(HistoryLevelTest, BecomesOneStepOfTheModulesThatItChanged)
{
    group.execute(a, "");
    group.execute(b, "");
    group.undo(1, [](const std::string&) {});
    EXPECT_THAT(getModified(HistoryLevel::Exported), IsEmpty());
    group.becomeStepOf(level, "both", "");
    EXPECT_THAT(getDone(), ElementsAre("both"));
    EXPECT_THAT(getModified(HistoryLevel::Exported), ElementsAre(find("a")));
    EXPECT_EQ(group.history.getRowCount(), 0U);
    undo(1);
    EXPECT_THAT(getModified(HistoryLevel::Exported), IsEmpty());
}

TEST_F(HistoryLevelTest, WithNothingDoneItBecomesNoStep)
{
    level.execute(b, "");
    undo(1);
    group.execute(a, "");
    group.activate();
    group.undo(1, [](const std::string&) {});
    group.becomeStepOf(level, "nothing", "");
    EXPECT_THAT(getDone(), IsEmpty());
    EXPECT_THAT(getUndone(), ElementsAre("b"));
}

TEST_F(HistoryLevelTest, WhatWaitsToBeMergedIsModifiedAlready)
{
    level.executeToMerge(a, "");
    ASSERT_EQ(level.getWaiting().size(), 1U);
    EXPECT_EQ(level.getWaiting().front().description, "a");
    EXPECT_THAT(getDone(), IsEmpty());
    EXPECT_THAT(getModified(), ElementsAre(find("a")));
    EXPECT_TRUE(level.saveState.isModified(HistoryLevel::Saved));
    level.execute(b, "");
    EXPECT_THAT(level.getWaiting(), IsEmpty());
    EXPECT_THAT(getDone(), ElementsAre("b"));
}

TEST_F(HistoryLevelTest, LimitsAreToldAsTheyWereSet)
{
    EXPECT_EQ(level.getLimit(), std::nullopt);
    for (const std::optional<std::uint32_t> limit : {std::optional<std::uint32_t>(0), {3}, {}, {1}})
    {
        level.setLimit(limit);
        EXPECT_EQ(level.getLimit(), limit);
    }
}

TEST_F(HistoryLevelTest, WithALimitOfNoStepsItKeepsNothingButKnowsWhatIsModified)
{
    level.setLimit(0);
    level.execute(a, "");
    group.execute(b, "");
    group.becomeStepOf(level, "g", "");
    level.executeToMerge(b, "");
    level.settle();
    EXPECT_EQ(level.history.getRowCount(), 0U);
    EXPECT_TRUE(level.saveState.isModified(HistoryLevel::Saved));
    EXPECT_EQ(getModified(), (std::set<const Valdane::Object*>{find("a"), find("b")}));
    level.saveState.saved(HistoryLevel::Saved);
    EXPECT_FALSE(level.saveState.isModified(HistoryLevel::Saved));
    EXPECT_TRUE(level.saveState.isModified(HistoryLevel::Exported));
}

TEST_F(HistoryLevelTest, OnlyASaveIsMarkedAndStaysSoWhileCommandsWait)
{
    level.execute(a, "");
    level.saveState.saved(HistoryLevel::Exported);
    EXPECT_FALSE(level.isSaved(0));
    level.saveState.saved(HistoryLevel::Saved);
    EXPECT_TRUE(level.isSaved(0));
    undo(1);
    EXPECT_TRUE(level.isSaved(0));
    level.executeToMerge(b, "");
    level.executeToMerge(a, "");
    EXPECT_TRUE(level.isSaved(0));
    level.settle();
    EXPECT_FALSE(level.isSaved(0));
}

} // namespace

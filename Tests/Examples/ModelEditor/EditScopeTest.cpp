#include "Examples/ModelEditor/EditScope.h"

#include "Examples/ModelEditor/ModelModules.h"
#include "Examples/ModelEditor/XmlModel.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/MacroCommand.h"
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

using ModelEditor::EditScope;
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

class EditScopeTest : public testing::Test
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

    EditScope::StepListener listener()
    {
        return [this](const std::string& step)
        {
            steps.push_back(step);
        };
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
    EditScope scope{EditScope::Kind::Whole, modules, listener()};
    std::shared_ptr<Touch> a = makeTouch("a");
    std::shared_ptr<Touch> b = makeTouch("b");
};

TEST_F(EditScopeTest, TellsOfEveryStepThatWasUndoneOrRedone)
{
    scope.execute(a, "");
    scope.execute(b, "");
    EXPECT_THAT(steps, IsEmpty());
    EXPECT_EQ(scope.undo(5), 2U);
    EXPECT_EQ(scope.redo(1), 1U);
    EXPECT_THAT(steps, ElementsAre("Undone: b", "Undone: a", "Redone: a"));
    EXPECT_THAT(scope.getDone(), ElementsAre("a"));
    EXPECT_THAT(scope.getUndone(), ElementsAre("b"));
}

TEST_F(EditScopeTest, AnEditThatFailsIsNoStepAndChangesNothing)
{
    a->executeFails = true;
    EXPECT_EQ(whatIsThrown([&] { scope.execute(a, ""); }), "jammed");
    EXPECT_EQ(whatIsThrown([&] { scope.executeToMerge(a, ""); }), "jammed");
    EXPECT_THAT(scope.getDone(), IsEmpty());
    EXPECT_THAT(scope.getWaiting(), IsEmpty());
    EXPECT_THAT(scope.getModifiedModules(0), IsEmpty());
}

TEST_F(EditScopeTest, AStepThatCannotBeUndoneStaysAndSaysWhy)
{
    scope.execute(a, "");
    scope.execute(b, "");
    scope.onSaved(0);
    a->undoFails = true;
    EXPECT_EQ(whatIsThrown([&] { scope.undo(2); }), "'a' cannot be undone: jammed");
    EXPECT_THAT(scope.getDone(), ElementsAre("a"));
    EXPECT_THAT(scope.getModifiedModules(0), ElementsAre(find("b")));
}

TEST_F(EditScopeTest, AStepThatCannotBeRedoneStaysAndSaysWhy)
{
    scope.execute(a, "");
    scope.undo(1);
    a->executeFails = true;
    EXPECT_EQ(whatIsThrown([&] { scope.redo(1); }), "'a' cannot be redone: jammed");
    EXPECT_THAT(scope.getUndone(), ElementsAre("a"));
    EXPECT_THAT(scope.getModifiedModules(0), IsEmpty());
}

TEST_F(EditScopeTest, TakingAGroupGivesItsCommandsLinesAndModules)
{
    EditScope group(EditScope::Kind::Group, modules, listener());
    group.execute(a, "edit a\n");
    group.executeToMerge(b, "edit b\n");
    const auto contents = group.take();
    EXPECT_EQ(contents.commands->size(), 2U);
    EXPECT_EQ(contents.commands->getFirstCommand(), a);
    EXPECT_EQ(contents.script, "edit a\nedit b\n");
    EXPECT_EQ(contents.modules, (std::set<const Valdane::Object*>{find("a"), find("b")}));
    EXPECT_TRUE(group.take().commands->empty());
}

TEST_F(EditScopeTest, TakingARecordingGivesWhatWasNotUndone)
{
    EditScope recording(EditScope::Kind::Recording, modules, listener());
    recording.execute(a, "edit a\n");
    recording.execute(b, "edit b\n");
    recording.undo(1);
    const auto contents = recording.take();
    EXPECT_EQ(contents.commands->size(), 1U);
    EXPECT_EQ(contents.commands->getFirstCommand(), a);
    EXPECT_EQ(contents.script, "edit a\n");
    EXPECT_THAT(contents.modules, ElementsAre(find("a")));
}

TEST_F(EditScopeTest, WhatIsAddedIsOneStepOfTheModulesThatItChanged)
{
    EditScope group(EditScope::Kind::Group, modules, listener());
    group.execute(a, "");
    const auto contents = group.take();
    contents.commands->setDescription("g");
    EXPECT_THAT(scope.getModifiedModules(1), IsEmpty());
    scope.add(contents, "");
    EXPECT_THAT(scope.getDone(), ElementsAre("g"));
    EXPECT_THAT(scope.getModifiedModules(1), ElementsAre(find("a")));
    scope.undo(1);
    EXPECT_THAT(scope.getModifiedModules(1), IsEmpty());
}

TEST_F(EditScopeTest, WhatWaitsToBeMergedIsModifiedAlready)
{
    scope.executeToMerge(a, "");
    EXPECT_THAT(scope.getWaiting(), ElementsAre("a"));
    EXPECT_THAT(scope.getDone(), IsEmpty());
    EXPECT_THAT(scope.getModifiedModules(0), ElementsAre(find("a")));
    scope.execute(b, "");
    EXPECT_THAT(scope.getWaiting(), IsEmpty());
    EXPECT_THAT(scope.getDone(), ElementsAre("b"));
}

TEST_F(EditScopeTest, LimitsAreToldAsTheyWereSet)
{
    EXPECT_EQ(scope.getLimit(), std::nullopt);
    for (const std::optional<std::uint32_t> limit : {std::optional<std::uint32_t>(0), {3}, {}, {1}})
    {
        scope.setLimit(limit);
        EXPECT_EQ(scope.getLimit(), limit);
    }
}

TEST_F(EditScopeTest, OnlyTheFirstSavePointIsAPlaceInTheHistory)
{
    scope.execute(a, "");
    scope.onSaved(1);
    EXPECT_EQ(scope.getDistanceToSaved(), std::nullopt);
    scope.onSaved(0);
    scope.undo(1);
    EXPECT_EQ(scope.getDistanceToSaved(), 1);
}

} // namespace

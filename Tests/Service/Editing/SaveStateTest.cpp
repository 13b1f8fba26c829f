#include "Service/Editing/SaveState.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/MessageOf.h"
#include "Tests/Support/ScriptedCommand.h"
#include "Tests/Support/ScriptedRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
using ValdaneTests::ElementsAre;

class Marks : public ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        if (isBroken)
        {
            fail();
        }
        return marked;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        marked.clear();
    }

    std::set<const Object*> getAllModulesAsModified() override
    {
        return all;
    }

    std::set<const Object*> marked;
    std::set<const Object*> all;
    bool isBroken = false;
};

class SaveStateTest : public testing::Test
{
protected:
    SaveStateTest()
    {
        marks->all = {pumps.get(), pipes.get()};
        manager.setModuleAccessInterface(marks);
        saveState.emplace(manager);
        connection = saveState->connectToSigModifiedChanged(
            [this](std::uint64_t tracker, bool isModified)
            {
                told.push_back(std::to_string(tracker) + (isModified ? " modified" : " saved"));
                EXPECT_EQ(saveState->isModified(tracker), isModified);
            });
    }

    std::shared_ptr<ScriptedCommand> make(const std::string& name, const Object* module)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        command->onExecute = [this, module]
        {
            if (module != nullptr)
            {
                marks->marked.insert(module);
            }
        };
        return command;
    }

    std::shared_ptr<ScriptedCommand> add(const std::string& name, const std::shared_ptr<Object>& module)
    {
        auto command = make(name, module.get());
        manager.addCommand(command);
        return command;
    }

    std::shared_ptr<ScriptedCommand> addNotRedoCapable(const std::string& name,
                                                       const std::shared_ptr<Object>& module)
    {
        auto command = make(name, module.get());
        command->redoCapable = false;
        manager.addCommand(command);
        return command;
    }

    /// A line for each module: its key, and its words.
    std::vector<std::string> unsaved(std::uint64_t tracker = 0) const
    {
        std::vector<std::string> lines;
        for (const UnsavedModule& module : saveState->unsavedChanges(tracker))
        {
            std::string line = module.module == nullptr ? "-" : module.module->getKey();
            for (const std::string& words : module.words())
            {
                line += "|" + words;
            }
            lines.push_back(line);
        }
        return lines;
    }

    std::shared_ptr<Object> pumps = std::make_shared<Object>("pumps");
    std::shared_ptr<Object> pipes = std::make_shared<Object>("pipes");
    std::shared_ptr<Marks> marks = std::make_shared<Marks>();
    CommandManager manager;
    std::optional<SaveState> saveState;
    Signals::Connection connection;
    std::vector<std::string> told;
};

TEST_F(SaveStateTest, DataToWhichNothingHasHappenedAreSaved)
{
    EXPECT_FALSE(saveState->isModified(0));
    EXPECT_FALSE(saveState->isModified(1));
    EXPECT_THAT(unsaved(), IsEmpty());
}

TEST_F(SaveStateTest, WhatWasThereBeforeItIsNotTakenForSaved)
{
    CommandManager edited;
    edited.addCommand(std::make_shared<ScriptedCommand>("a"));
    const SaveState late(edited);
    EXPECT_TRUE(late.isModified(0));
    ASSERT_EQ(late.unsavedChanges(0).size(), 1U);
    EXPECT_THAT(late.unsavedChanges(0).front().words(), ElementsAre("a"));

    CommandManager converted;
    converted.setModuleAccessInterface(marks);
    converted.markAllModulesBeforeFirstCommandAsModified();
    EXPECT_TRUE(SaveState(converted).isModified(0));

    CommandManager inGroup;
    inGroup.beginGroup("G");
    EXPECT_TRUE(SaveState(inGroup).isModified(0));
}

TEST_F(SaveStateTest, EditUndoRedoAndSaveTellBothTrackersOnce)
{
    add("a", pumps);
    add("b", pumps);
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified"));
    told.clear();
    manager.undo(2);
    EXPECT_THAT(told, ElementsAre("0 saved", "1 saved"));
    told.clear();
    manager.redo(1);
    saveState->saved(0);
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified", "0 saved"));
    told.clear();
    manager.redo(1);
    manager.undo(1);
    manager.undo(1);
    EXPECT_THAT(told, ElementsAre("0 modified", "0 saved", "0 modified", "1 saved"));
}

TEST_F(SaveStateTest, ASaveThroughTheManagerCountsAsWell)
{
    add("a", pumps);
    told.clear();
    manager.adjustOnSave(1);
    EXPECT_THAT(told, ElementsAre("1 saved"));
}

TEST_F(SaveStateTest, ItsSlotsHearBeforeTheOtherSignalsOfTheChange)
{
    const auto queueChanged = manager.connectToSigCommandQueueChanged(
        [this](CommandManager::QueueChangeReason) { told.emplace_back("queue changed"); });
    add("a", pumps);
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified", "queue changed"));
}

TEST_F(SaveStateTest, TellsTheCommandsSinceTheSaveOldestFirst)
{
    add("before", pumps);
    saveState->saved(0);
    add("a", pipes);
    add("b", pumps);
    add("c", pipes);
    add("d", nullptr);
    EXPECT_THAT(unsaved(), ElementsAre("pipes|a|c", "pumps|b", "-|d"));
    EXPECT_THAT(unsaved(1), ElementsAre("pumps|before|b", "pipes|a|c", "-|d"));
}

TEST_F(SaveStateTest, TellsWhatWasUndoneSinceTheSave)
{
    add("Rename pump", pumps);
    add("", pipes);
    saveState->saved(0);
    manager.undo(2);
    EXPECT_THAT(unsaved(), ElementsAre("pumps|undone: Rename pump", "pipes|undone: unnamed change"));
    EXPECT_THAT(unsaved(1), IsEmpty());
}

TEST_F(SaveStateTest, WhatWasUndoneAndReplacedIsKnownByItsModule)
{
    add("a", pumps);
    saveState->saved(0);
    manager.undo(1);
    add("b", pipes);
    EXPECT_THAT(unsaved(), ElementsAre("pipes|b", "pumps|other changes"));
    EXPECT_THAT(unsaved(1), ElementsAre("pipes|b"));
    manager.undo(1);
    EXPECT_TRUE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    EXPECT_FALSE(saveState->isModified(1));
}

TEST_F(SaveStateTest, AModuleHasOtherChangesBesideItsCommands)
{
    add("a", pumps);
    saveState->saved(0);
    manager.undo(1);
    add("b", pumps);
    EXPECT_THAT(unsaved(), ElementsAre("pumps|b|other changes"));
}

TEST_F(SaveStateTest, WhatLeftTheHistoryBeforeTheSaveIsNotListed)
{
    add("a", pumps);
    saveState->saved(0);
    manager.undo(1);
    add("b", pipes);
    saveState->saved(0);
    manager.undo(1);
    add("c", pipes);
    EXPECT_THAT(unsaved(), ElementsAre("pipes|c|other changes"));
}

TEST_F(SaveStateTest, WhatLeavesOffThePathToTheSaveIsNotListed)
{
    add("a", pumps);
    saveState->saved(0);
    manager.undo(1);
    add("b", pumps);
    add("c", pipes);
    manager.undo(1);
    manager.forgetRedoCommands();
    EXPECT_THAT(unsaved(), ElementsAre("pumps|b|other changes"));
}

TEST_F(SaveStateTest, ACommandThatTookInAnotherOffThePathToTheSaveIsTold)
{
    struct Growing : ScriptedCommand, MergeableCommand
    {
        using ScriptedCommand::ScriptedCommand;

        bool mergeWith(const CommandBase&) override
        {
            return true;
        }
    };

    manager.addCommand(std::make_shared<Growing>("drag"));
    add("a", pumps);
    saveState->saved(0);
    manager.undo(1);
    manager.forgetRedoCommands();
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    manager.addOrMergeCommand(make("b", pipes.get()));
    ASSERT_EQ(manager.getQueueSize(), 1U);
    EXPECT_THAT(unsaved(), ElementsAre("pipes|drag", "pumps|other changes"));
}

TEST_F(SaveStateTest, TheLimitLeavesModulesOfDroppedCommands)
{
    manager.setMaxQueueSize(1);
    manager.setUsesMaxQueueSize(true);
    add("a", pumps);
    add("b", pipes);
    EXPECT_THAT(unsaved(), ElementsAre("pipes|b", "pumps|other changes"));
    manager.undo(1);
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    saveState->saved(0);
    EXPECT_THAT(unsaved(), IsEmpty());
}

TEST_F(SaveStateTest, WithALimitOfZeroTheDataAreModifiedAllTheSame)
{
    manager.setMaxQueueSize(0);
    manager.setUsesMaxQueueSize(true);
    add("a", pumps);
    ASSERT_THAT(manager.getModifiedModules(0), IsEmpty());
    EXPECT_TRUE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified"));
}

TEST_F(SaveStateTest, ACommandThatWasSavedAndCannotBeRedoneIsMissedAfterItsUndo)
{
    addNotRedoCapable("a", pumps);
    saveState->saved(0);
    manager.undo(1);
    ASSERT_THAT(manager.getModifiedModules(0), IsEmpty());
    EXPECT_TRUE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    EXPECT_FALSE(saveState->isModified(1));
}

TEST_F(SaveStateTest, ATakenCommandIsStillInTheData)
{
    add("a", pumps);
    saveState->saved(0);
    manager.takeLastExecutedCommand();
    EXPECT_FALSE(saveState->isModified(0));
    EXPECT_TRUE(saveState->isModified(1));
    EXPECT_THAT(unsaved(1), ElementsAre("pumps|other changes"));
}

TEST_F(SaveStateTest, DataThatWereSavedAreNotModifiedWhenTheManagerStillCountsWhatWasBefore)
{
    manager.markAllModulesBeforeFirstCommandAsModified();
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified"));
    EXPECT_THAT(unsaved(), UnorderedElementsAre("pumps|other changes", "pipes|other changes"));
    add("a", pumps);
    saveState->saved(0);
    manager.takeLastExecutedCommand();
    EXPECT_FALSE(saveState->isModified(0));
    EXPECT_THAT(manager.getModifiedModules(0), IsEmpty());
    EXPECT_TRUE(saveState->isModified(1));
}

TEST_F(SaveStateTest, ClearKeepsWhatIsModified)
{
    add("a", pumps);
    saveState->saved(1);
    manager.clear();
    EXPECT_TRUE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    EXPECT_FALSE(saveState->isModified(1));
}

TEST_F(SaveStateTest, WithoutModulesTheCommandsTell)
{
    manager.setModuleAccessInterface(std::make_shared<ModuleAccessInterface>());
    add("a", nullptr);
    saveState->saved(0);
    manager.undo(1);
    EXPECT_THAT(unsaved(), ElementsAre("-|undone: a"));
    add("b", nullptr);
    manager.undo(1);
    EXPECT_TRUE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), ElementsAre("-|other changes"));
}

TEST_F(SaveStateTest, AnOpenGroupIsModifiedUntilItIsAbandoned)
{
    manager.beginGroup("G");
    EXPECT_THAT(told, IsEmpty()) << "an empty group changes nothing";
    add("a", pumps);
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    manager.abandonGroup();
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified", "0 saved", "1 saved"));
    EXPECT_THAT(unsaved(), IsEmpty());
}

TEST_F(SaveStateTest, SavedInAGroupTheDataAreModifiedWhenItIsAbandoned)
{
    manager.beginGroup("G");
    add("a", pumps);
    saveState->saved(0);
    marks->marked.clear();
    saveState->update();
    EXPECT_FALSE(saveState->isModified(0));
    manager.abandonGroup();
    EXPECT_TRUE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    EXPECT_FALSE(saveState->isModified(1));
}

TEST_F(SaveStateTest, SavedInAGroupItsModulesAreTakenNoteOfUntilTheNextSave)
{
    manager.beginGroup("G");
    add("a", pumps);
    saveState->saved(0);
    manager.beginGroup("inner");
    add("b", pipes);
    manager.abandonGroup();
    EXPECT_TRUE(manager.abandonGroup());
    EXPECT_THAT(unsaved(), UnorderedElementsAre("pumps|other changes", "pipes|other changes"));

    saveState->saved(0);
    add("c", pipes);
    manager.undo(1);
    add("d", pipes);
    EXPECT_THAT(unsaved(), ElementsAre("pipes|d"));
}

TEST_F(SaveStateTest, WhenTheLimitDropsAllBehindAnOpenGroupTheSaveIsFoundAgain)
{
    add("a", pumps);
    saveState->saved(0);
    manager.beginGroup("G");
    add("b", pipes);
    manager.setMaxQueueSize(0);
    manager.setUsesMaxQueueSize(true);
    manager.abandonGroup();
    EXPECT_FALSE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), IsEmpty());
}

TEST_F(SaveStateTest, WhenACommandIsTakenWhileAnotherWaitsTheSaveIsFoundAgain)
{
    add("a", pumps);
    add("b", pumps);
    saveState->saved(0);
    manager.addCommandToMergeWithNextCommand(make("m", pipes.get()), false);
    manager.takeLastExecutedCommand();
    add("c", pipes);
    EXPECT_TRUE(saveState->isModified(0));
    add("d", pipes);
    manager.undo(2);
    EXPECT_FALSE(saveState->isModified(0));
    EXPECT_THAT(unsaved(), IsEmpty());
}

TEST_F(SaveStateTest, ACommandThatWaitsToBeMergedIsModified)
{
    manager.addCommandToMergeWithNextCommand(make("a", pumps.get()), false);
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified"));
    EXPECT_THAT(unsaved(), ElementsAre("pumps|other changes"));
    add("b", pipes);
    EXPECT_THAT(unsaved(), Not(IsEmpty()));
    told.clear();
    manager.undo(1);
    EXPECT_THAT(told, ElementsAre("0 saved", "1 saved"));
}

TEST_F(SaveStateTest, ModulesThatOnlyTheInterfaceReportsAreToldByUpdate)
{
    marks->marked = {pipes.get()};
    EXPECT_TRUE(saveState->isModified(0)) << "the answer is never old";
    EXPECT_THAT(told, IsEmpty());
    saveState->update();
    saveState->update();
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified"));
    EXPECT_THAT(unsaved(), ElementsAre("pipes|other changes"));
    saveState->saved(0);
    EXPECT_TRUE(saveState->isModified(0)) << "as long as it is reported";
    marks->marked.clear();
    saveState->update();
    EXPECT_FALSE(saveState->isModified(0));
}

TEST_F(SaveStateTest, ASlotThatSavesIsToldOfAfterAllHaveHeard)
{
    std::vector<std::string> late;
    const auto saving = saveState->connectToSigModifiedChanged(
        [&](std::uint64_t tracker, bool isModified)
        {
            if (tracker == 0 && isModified)
            {
                saveState->saved(0);
            }
        });
    const auto last = saveState->connectToSigModifiedChanged(
        [&](std::uint64_t tracker, bool isModified)
        { late.push_back(std::to_string(tracker) + (isModified ? " modified" : " saved")); });
    connection.disconnect();
    add("a", pumps);
    EXPECT_THAT(late, ElementsAre("0 modified", "0 saved", "1 modified"));
}

TEST_F(SaveStateTest, ASlotMayUndoAndHearsOfIt)
{
    connection.disconnect();
    const auto undoing = saveState->connectToSigModifiedChanged(
        [&](std::uint64_t tracker, bool isModified)
        {
            told.push_back(std::to_string(tracker) + (isModified ? " modified" : " saved"));
            if (tracker == 0 && isModified)
            {
                manager.undo(1);
            }
        });
    add("a", pumps);
    EXPECT_THAT(told, ElementsAre("0 modified", "0 saved"));
    EXPECT_EQ(manager.getPosition(), 0U);
}

TEST_F(SaveStateTest, ASlotMayDestroyIt)
{
    connection.disconnect();
    const auto destroying = saveState->connectToSigModifiedChanged(
        [&](std::uint64_t, bool)
        {
            told.emplace_back("destroyed");
            saveState.reset();
        });
    add("a", pumps);
    add("b", pumps);
    EXPECT_THAT(told, ElementsAre("destroyed"));
    EXPECT_EQ(manager.getPosition(), 2U);
}

TEST_F(SaveStateTest, ItMayBeDestroyedWhileItSaves)
{
    connection.disconnect();
    add("a", pumps);
    const auto destroying =
        saveState->connectToSigModifiedChanged([&](std::uint64_t, bool) { saveState.reset(); });
    saveState->saved(0);
    EXPECT_FALSE(saveState.has_value());
    EXPECT_EQ(manager.getSavedPosition(0), 1U);
}

TEST_F(SaveStateTest, ItMayOutliveTheManager)
{
    auto shortLived = std::make_unique<CommandManager>();
    auto state = std::make_unique<SaveState>(*shortLived);
    shortLived.reset();
    state.reset();
    SUCCEED() << "the address sanitizer sees what is touched";
}

TEST_F(SaveStateTest, WhatASlotThrowsPassesAndTheRestIsToldLater)
{
    connection.disconnect();
    bool throws = true;
    connection = saveState->connectToSigModifiedChanged(
        [&](std::uint64_t tracker, bool isModified)
        {
            told.push_back(std::to_string(tracker) + (isModified ? " modified" : " saved"));
            if (std::exchange(throws, false))
            {
                failStrangely();
            }
        });
    EXPECT_THROW(add("a", pumps), Stranger);
    EXPECT_THAT(told, ElementsAre("0 modified"));
    add("b", pumps);
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified"));
    throws = true;
    EXPECT_THROW(saveState->saved(0), Stranger);
    EXPECT_FALSE(saveState->isModified(0));
}

TEST_F(SaveStateTest, AChangeThatAnEarlierSlotHasHiddenIsToldByUpdate)
{
    CommandManager other;
    bool throws = false;
    const auto throwing = other.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (throws)
            {
                fail();
            }
        });
    SaveState state(other);
    throws = true;
    const auto slot = state.connectToSigModifiedChanged(
        [&](std::uint64_t, bool isModified) { told.emplace_back(isModified ? "modified" : "saved"); });
    EXPECT_THROW(other.addCommand(std::make_shared<ScriptedCommand>("a")), std::runtime_error);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_TRUE(state.isModified(0));
    state.update();
    EXPECT_THAT(told, ElementsAre("modified", "modified"));
}

TEST_F(SaveStateTest, WhatTheModuleAccessInterfaceThrowsPasses)
{
    marks->isBroken = true;
    EXPECT_THROW(saveState->isModified(0), std::runtime_error);
    EXPECT_THROW(saveState->update(), std::runtime_error);
    marks->isBroken = false;
    add("a", pumps);
    EXPECT_THAT(told, ElementsAre("0 modified", "1 modified")) << "it can tell again";
}

TEST_F(SaveStateTest, AnUnknownTrackerIsRefused)
{
    const std::string message = "There is no change tracker 2; pass a number less than "
                                "CommandManager::ChangeTrackerCount, which is 2";
    EXPECT_EQ(messageOf([&] { saveState->isModified(2); }), message);
    EXPECT_EQ(messageOf([&] { saveState->unsavedChanges(2); }), message);
    EXPECT_EQ(messageOf([&] { saveState->saved(2); }), message);
}

TEST_F(SaveStateTest, WithoutMemoryForAChangeTheAnswerStaysRight)
{
    std::size_t successes = 0;
    bool hasFailed = true;
    for (; hasFailed; ++successes)
    {
        CommandManager other;
        other.setModuleAccessInterface(marks);
        const SaveState state(other);
        other.addCommand(make("a", pumps.get()));
        other.adjustOnSave(0);
        other.undo(1);
        const auto command = make("b", pipes.get());
        try
        {
            const FailingAllocation failing(successes, AllocationsThatFail::One);
            hasFailed = false;
            try
            {
                other.addExecutedCommand(command);
            }
            catch (const std::bad_alloc&)
            {
                hasFailed = true;
            }
            hasFailed = hasFailed || failing.hasFailed();
        }
        catch (const std::bad_alloc&)
        {
            hasFailed = true;
        }
        EXPECT_TRUE(state.isModified(0)) << successes;
        EXPECT_THAT(state.unsavedChanges(0), Not(IsEmpty())) << successes;
        EXPECT_EQ(state.isModified(1), other.getPosition() != 0) << successes;
    }
    EXPECT_GT(successes, 3U);
}

TEST_F(SaveStateTest, ASaveInTheMiddleOfAMacroIsNoSave)
{
    manager.getThreadManager()->setThreadingMode(0);
    const auto saving = make("b", nullptr);
    saving->onExecute = [this]
    {
        saveState->saved(0);
    };
    const auto macro = std::make_shared<ThreadedMacroCommand>("M");
    macro->addCommand(make("a", pumps.get()));
    macro->addCommand(saving);
    manager.addThreadedCommand(macro);
    told.clear();
    manager.undo(1);
    EXPECT_EQ(manager.getSavedPosition(0), 0U);
    EXPECT_TRUE(saveState->isModified(0)) << "the save has what was undone";
    EXPECT_THAT(saveState->unsavedChanges(0), Not(IsEmpty()));
    EXPECT_THAT(told, ElementsAre("1 saved"));
    saveState->saved(0);
    EXPECT_FALSE(saveState->isModified(0));
    EXPECT_THAT(told, ElementsAre("1 saved", "0 saved"));
}

TEST_F(SaveStateTest, ASaveWhileAThreadedCommandIsRunningIsOne)
{
    manager.getThreadManager()->setThreadingMode(0);
    const auto run = std::make_shared<ScriptedRun>("Fit");
    run->onRun = [this]
    {
        saveState->saved(0);
    };
    manager.addThreadedCommand(run);
    EXPECT_TRUE(saveState->isModified(0));
    manager.undo(1);
    EXPECT_FALSE(saveState->isModified(0));
}

} // namespace
} // namespace Valdane

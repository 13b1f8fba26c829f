// What other modules are compiled against: the sizes of exported classes, and the places of their virtual operations in
// the tables. A change here breaks every module that is not compiled again; it needs another major version.

#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/GeneralServices/Progress.h"
#include "Platform/Multitasking/Runnable.h"
#include "Platform/Multitasking/Thread.h"
#include "Platform/Parameterization/AttributeDescriptionBase.h"
#include "Platform/Parameterization/CommandCreatorInterface.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/DelayedInitializedCommand.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Layout/Slots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace Valdane;
using namespace Valdane::Layout;
using testing::ElementsAre;

// What is protected is named through a class of its own.
struct OpenMacro : MacroCommand
{
    static std::vector<std::size_t> slots()
    {
        return slotsOf(&OpenMacro::prepareExecute, &OpenMacro::finalizeExecute);
    }
};

struct OpenThreadedMacro : ThreadedMacroCommand
{
    static std::vector<std::size_t> slots()
    {
        return slotsOf(&OpenThreadedMacro::prepareExecute, &OpenThreadedMacro::finalizeExecute,
                       &OpenThreadedMacro::startExecution, &OpenThreadedMacro::continueExecution,
                       &OpenThreadedMacro::isRunning);
    }
};

struct OpenThread : Thread
{
    static std::vector<std::size_t> slots()
    {
        return slotsOf(&OpenThread::prepareRun, &OpenThread::abortRun);
    }
};

struct OpenSetNameCmd : SetNameCmd
{
    static std::vector<std::size_t> slots()
    {
        return slotsOf(&OpenSetNameCmd::getName, &OpenSetNameCmd::setName);
    }
};

// The fields of a derived class begin where those of its base end.
struct CommandWithFourBytes : CommandBase
{
    char bytes[4];
};

struct MacroWithSevenBytes : MacroCommand
{
    char bytes[7];
};

struct ThreadWithSevenBytes : Thread
{
    char bytes[7];
};

struct ThreadedMacroWithFourBytes : ThreadedMacroCommand
{
    char bytes[4];
};

} // namespace

// Two entries of each table are the destructors, which therefore come first.
TEST(Layout, HasTheOperationsOfACommandInOrder)
{
    const auto inOrder = ElementsAre(2, 3, 4, 5, 6, 7);
    EXPECT_THAT(commandSlots<CommandBase>(), inOrder);
    EXPECT_THAT(commandSlots<MacroCommand>(), inOrder);
    EXPECT_THAT(commandSlots<ThreadedCommand>(), inOrder);
    EXPECT_THAT(commandSlots<ThreadedMacroCommand>(), inOrder);
    EXPECT_THAT(commandSlots<DelayedInitializedCommand>(), inOrder);
    EXPECT_THAT(commandSlots<SetNameCmd>(), inOrder);
    EXPECT_THAT(commandSlots<SetAttributeCmd<int>>(), inOrder);
    EXPECT_THAT(commandSlots<ClearDynamicAttributesCmd>(), inOrder);
}

TEST(Layout, HasWhatCommandsAddBehindThem)
{
    EXPECT_THAT(OpenMacro::slots(), ElementsAre(8, 9));
    EXPECT_THAT(OpenThreadedMacro::slots(), ElementsAre(8, 9, 10, 11, 12));
    EXPECT_THAT(OpenSetNameCmd::slots(), ElementsAre(8, 9));
    EXPECT_THAT(slotsOf(&DelayedInitializedCommand::startExecution), ElementsAre(10));
    // The operation of the second base has an entry in the table of the first one, too.
    EXPECT_THAT(slotsOf(&ThreadedCommand::isAddableToCommandManager, &ThreadedCommand::sendFinishSignal),
                ElementsAre(8, 9));
}

TEST(Layout, HasTheOperationsOfAThreadInOrder)
{
    EXPECT_THAT(slotsOf(&Runnable::run, &Runnable::finishRun), ElementsAre(2, 3));
    EXPECT_THAT(slotsOf(&Thread::run, &Thread::finishRun, &Thread::sendFinishSignal, &Thread::blockingLevel),
                ElementsAre(2, 3, 4, 5));
    EXPECT_THAT(OpenThread::slots(), ElementsAre(6, 7));
}

TEST(Layout, HasTheOperationsOfWhatApplicationsImplementInOrder)
{
    EXPECT_THAT(slotsOf(&ModuleAccessInterface::getModifiedModulesFromBusiness,
                        &ModuleAccessInterface::getSaveOnNextSaveModulesFromBusiness,
                        &ModuleAccessInterface::markAllModulesInBusinessAsUnmodified,
                        &ModuleAccessInterface::getAllModulesAsModified),
                ElementsAre(2, 3, 4, 5));
    EXPECT_THAT(slotsOf(&MergeableCommand::mergeWith), ElementsAre(2));
    EXPECT_THAT(slotsOf(&NameInterface::getName, &NameInterface::setName), ElementsAre(2, 3));
    EXPECT_THAT(slotsOf(&Progress::addProgress), ElementsAre(2));
    EXPECT_THAT(slotsOf(&LegacyProgress::addProgress, &LegacyProgress::reset, &LegacyProgress::setComplete),
                ElementsAre(2, 3, 4));
}

// The order of the overloads is in the test of CommandCreatorInterface.
TEST(Layout, HasTheOperationsOfObjectsAndTheirAttributesInOrder)
{
    EXPECT_THAT(slotsOf(&Object::getObject, &Object::getAttributeDescription,
                        &Object::getDynamicAttributeCollection, &Object::setDynamicAttributeCollection,
                        &Object::emitSigChanged, &Object::isApplyStandardRunning,
                        &Object::setApplyStandardRunning),
                ElementsAre(2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(slotsOf(&AttributeDescriptionBase::emitsChangedSignal), ElementsAre(2));
    std::shared_ptr<CommandBase> (CommandCreatorInterface::*firstOverload)(
        const void*, const std::string&, const std::string&) = &CommandCreatorInterface::createCommand;
    EXPECT_THAT(slotsOf(firstOverload), ElementsAre(2));
}

TEST(Layout, HasTheCommandFirstInAThreadedCommandAndTheThreadBehindIt)
{
    EXPECT_EQ((offsetOf<CommandBase, ThreadedCommand>()), 0U);
    EXPECT_EQ((offsetOf<Thread, ThreadedCommand>()), 64U);
}

TEST(Layout, LeavesToDerivedClassesWhatIsBehindTheLastField)
{
    EXPECT_EQ(sizeof(CommandWithFourBytes), sizeof(CommandBase));
    EXPECT_EQ(sizeof(MacroWithSevenBytes), sizeof(MacroCommand));
    EXPECT_EQ(sizeof(ThreadWithSevenBytes), sizeof(Thread));
    EXPECT_EQ(sizeof(ThreadedMacroWithFourBytes), sizeof(ThreadedMacroCommand));
}

TEST(Layout, HasCommandsOfTheSizesThatOtherModulesAllocate)
{
    EXPECT_EQ(sizeof(CommandBase), 64U);
    EXPECT_EQ(sizeof(MacroCommand), 96U);
    EXPECT_EQ(sizeof(ThreadedCommand), 120U);
    EXPECT_EQ(sizeof(ThreadedMacroCommand), 136U);
    EXPECT_EQ(sizeof(DelayedInitializedCommand), 168U);
    EXPECT_EQ(sizeof(SetNameCmd), 168U);
    EXPECT_EQ(sizeof(ClearDynamicAttributesCmd), 120U);
    EXPECT_EQ(sizeof(SetAttributeCmd<bool>), 112U);
    EXPECT_EQ(sizeof(SetAttributeCmd<int>), 120U);
    EXPECT_EQ(sizeof(SetAttributeCmd<unsigned int>), 120U);
    EXPECT_EQ(sizeof(SetAttributeCmd<double>), 128U);
    EXPECT_EQ(sizeof(SetAttributeCmd<std::string>), 176U);
}

TEST(Layout, HasTheOtherClassesOfTheSizesThatOtherModulesAllocate)
{
    EXPECT_EQ(sizeof(CommandManager), 8U);
    EXPECT_EQ(sizeof(CommandCollector), 40U);
    EXPECT_EQ(sizeof(SetAttributecommandFactory), 48U);
    EXPECT_EQ(sizeof(HistoryChange), 88U);
    EXPECT_EQ(sizeof(RowChange), 24U);
    EXPECT_EQ(sizeof(MergeableCommand), 8U);
    EXPECT_EQ(sizeof(ModuleAccessInterface), 8U);
    EXPECT_EQ(sizeof(Runnable), 8U);
    EXPECT_EQ(sizeof(Thread), 48U);
    EXPECT_EQ(sizeof(Progress), 8U);
    EXPECT_EQ(sizeof(LegacyProgress), 64U);
    EXPECT_EQ(sizeof(NameInterface), 8U);
    EXPECT_EQ(sizeof(Object), 88U);
    EXPECT_EQ(sizeof(AttributeDescriptionBase), 48U);
    EXPECT_EQ(sizeof(CommandCreatorInterface), 8U);
}

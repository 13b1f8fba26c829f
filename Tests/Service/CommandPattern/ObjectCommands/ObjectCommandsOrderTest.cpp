#include "Journal.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/DynamicAttributeCollection.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ClearDynamicAttributesCmd.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Tests/Support/ElementsAre.h"
#include "Tests/Support/Failures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace Valdane
{
namespace
{

using testing::IsEmpty;
using ValdaneTests::ElementsAre;

class NamedObject : public Object, public NameInterface
{
public:
    using Object::Object;

    std::string getName() const override
    {
        note(name + ".getName");
        return shownName;
    }

    void setName(const std::string& newName, bool notify) override
    {
        note(name + ".setName(" + newName + ", " + (notify ? "true" : "false") + ")");
        shownName = newName;
    }

    std::string shownName = "old";
};

/// A tree of a root, "owner", and "pump" below that.
class ObjectCommandOrder : public testing::Test
{
protected:
    ObjectCommandOrder()
    {
        put(std::make_shared<NamedObject>("pump"));
        takeJournal();
    }

    ~ObjectCommandOrder() override
    {
        takeJournal();
    }

    void put(const std::shared_ptr<Object>& object)
    {
        object->root = root;
        object->owner = owner;
        root->objects[object->name] = object;
    }

    std::shared_ptr<Object> pump()
    {
        return root->objects["pump"];
    }

    std::shared_ptr<Object> root = std::make_shared<Object>("root");
    std::shared_ptr<Object> owner = std::make_shared<Object>("owner");
};

using SetNameCmdOrder = ObjectCommandOrder;

TEST_F(SetNameCmdOrder, TheObjectIsFoundAndItsNameReadOnEveryExecute)
{
    SetNameCmd command(pump(), "new", "");
    EXPECT_THAT(takeJournal(), ElementsAre("pump.getRootObjectAlt", "pump.getPath"));

    command.execute();
    EXPECT_THAT(takeJournal(),
                ElementsAre("root.getObject(pump)", "pump.getName", "pump.setName(new, true)"));
    command.undo();
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "pump.setName(old, true)"));

    std::static_pointer_cast<NamedObject>(pump())->shownName = "renamed elsewhere";
    command.redo();
    command.undo();
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "pump.getName", "pump.setName(new, true)",
                                           "root.getObject(pump)", "pump.setName(renamed elsewhere, true)"));
}

TEST_F(SetNameCmdOrder, TheHooksTakeOverWhereThereIsNoNameInterface)
{
    class HookedCmd : public SetNameCmd
    {
    public:
        using SetNameCmd::getObjectToName;
        using SetNameCmd::getOldName;
        using SetNameCmd::getRoot;
        using SetNameCmd::SetNameCmd;

    protected:
        std::string getName() override
        {
            note("hook.getName");
            return "hooked";
        }

        void setName(const std::string& name) override
        {
            note("hook.setName(" + name + ") instead of " + getOldName());
        }
    };

    put(std::make_shared<Object>("valve"));
    HookedCmd command(root->objects["valve"], "new", "");
    EXPECT_EQ(command.getOldName(), "");
    EXPECT_EQ(command.getRoot(), root);
    EXPECT_EQ(command.getObjectToName(), root->objects["valve"]);
    takeJournal();

    command.execute();
    EXPECT_EQ(command.getOldName(), "hooked");
    command.undo();

    EXPECT_THAT(takeJournal(),
                ElementsAre("root.getObject(valve)", "hook.getName", "hook.setName(new) instead of hooked",
                            "root.getObject(valve)", "hook.setName(hooked) instead of hooked"));
}

TEST_F(SetNameCmdOrder, TheHooksAreNotAskedWhereThereIsANameInterface)
{
    class HookedCmd : public SetNameCmd
    {
    public:
        using SetNameCmd::SetNameCmd;

    protected:
        std::string getName() override
        {
            note("hook.getName");
            return {};
        }

        void setName(const std::string& /*name*/) override
        {
            note("hook.setName");
        }
    };

    HookedCmd command(pump(), "new", "");
    command.execute();
    command.undo();
    EXPECT_THAT(takeJournal(), testing::Not(testing::Contains(testing::HasSubstr("hook"))));
}

TEST_F(SetNameCmdOrder, UndoRenamesWhateverIsAtThePathNow)
{
    SetNameCmd command(pump(), "new", "");
    command.execute();
    const auto replacement = std::make_shared<NamedObject>("pump");
    put(replacement);

    command.undo();

    EXPECT_EQ(replacement->shownName, "old");
}

TEST_F(SetNameCmdOrder, UndoBeforeExecuteSetsTheEmptyName)
{
    SetNameCmd command(pump(), "new", "");
    takeJournal();
    command.undo();
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "pump.setName(, true)"));
}

using ClearDynamicAttributesCmdOrder = ObjectCommandOrder;

TEST_F(ClearDynamicAttributesCmdOrder, TheOwnerAnnouncesTheChangeNotTheObject)
{
    const auto collection = std::make_shared<DynamicAttributeCollection>();
    pump()->dynamicAttributes = collection;
    ClearDynamicAttributesCmd command(pump(), "");
    EXPECT_THAT(takeJournal(), ElementsAre("pump.getRootObjectAlt", "pump.getPath"));

    command.execute();
    EXPECT_THAT(takeJournal(),
                ElementsAre("root.getObject(pump)", "pump.getDynamicAttributeCollection",
                            "pump.setDynamicAttributeCollection(null)", "owner.emitSigChanged"));
    EXPECT_EQ(collection.use_count(), 2) << "the command keeps the collection";

    command.undo();
    EXPECT_THAT(takeJournal(),
                ElementsAre("root.getObject(pump)", "pump.setDynamicAttributeCollection(collection)",
                            "owner.emitSigChanged"));
    EXPECT_EQ(pump()->dynamicAttributes, collection) << "the very same collection";
    EXPECT_EQ(collection.use_count(), 2) << "the command lets go of it";
}

TEST_F(ClearDynamicAttributesCmdOrder, UndoWithNothingSavedOnlyAnnounces)
{
    pump()->dynamicAttributes = std::make_shared<DynamicAttributeCollection>();
    ClearDynamicAttributesCmd command(pump(), "");
    takeJournal();

    command.undo();
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "owner.emitSigChanged"));
    command.execute();
    command.undo();
    takeJournal();
    command.undo();
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "owner.emitSigChanged"));
    EXPECT_NE(pump()->dynamicAttributes, nullptr);
}

TEST_F(ClearDynamicAttributesCmdOrder, UndoGivesBackWhatTheLastExecutionTookAlsoIfThatWasNothing)
{
    const auto first = std::make_shared<DynamicAttributeCollection>();
    const auto second = std::make_shared<DynamicAttributeCollection>();
    ClearDynamicAttributesCmd command(pump(), "");
    pump()->dynamicAttributes = first;
    command.execute();
    pump()->dynamicAttributes = second;
    command.execute();
    EXPECT_EQ(first.use_count(), 1) << "the command lets go of it";
    command.undo();
    EXPECT_EQ(pump()->dynamicAttributes, second);

    command.execute();
    command.execute();
    command.undo();
    EXPECT_EQ(pump()->dynamicAttributes, nullptr);
}

TEST_F(ClearDynamicAttributesCmdOrder, AnObjectWithoutDynamicAttributesIsClearedAndAnnouncedAllTheSame)
{
    ClearDynamicAttributesCmd command(pump(), "");
    takeJournal();
    command.execute();
    EXPECT_THAT(takeJournal(),
                ElementsAre("root.getObject(pump)", "pump.getDynamicAttributeCollection",
                            "pump.setDynamicAttributeCollection(null)", "owner.emitSigChanged"));
    command.undo();
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "owner.emitSigChanged"));
}

TEST_F(ClearDynamicAttributesCmdOrder, NobodyAnnouncesAChangeAtAnObjectWithoutAnOwner)
{
    pump()->owner.reset();
    pump()->dynamicAttributes = std::make_shared<DynamicAttributeCollection>();
    ClearDynamicAttributesCmd command(pump(), "");
    takeJournal();
    command.execute();
    command.undo();
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "pump.getDynamicAttributeCollection",
                                           "pump.setDynamicAttributeCollection(null)", "root.getObject(pump)",
                                           "pump.setDynamicAttributeCollection(collection)"));
}

TEST_F(ClearDynamicAttributesCmdOrder, AnExecutionThatAListenerFailsHasChangedNothingAndCanBeRedone)
{
    const auto collection = std::make_shared<DynamicAttributeCollection>();
    pump()->dynamicAttributes = collection;
    ClearDynamicAttributesCmd command(pump(), "");
    takeJournal();
    owner->onEmitSigChanged = []
    {
        throw Stranger();
    };

    EXPECT_THROW(command.execute(), Stranger);

    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "pump.getDynamicAttributeCollection",
                                           "pump.setDynamicAttributeCollection(null)", "owner.emitSigChanged",
                                           "pump.setDynamicAttributeCollection(collection)"));
    EXPECT_EQ(collection.use_count(), 2) << "the command lets go of it";

    owner->onEmitSigChanged = nullptr;
    command.redo();
    command.undo();
    EXPECT_EQ(pump()->dynamicAttributes, collection);
}

/// The attribute "speed" of the pump, an int.
class SetAttributeCmdOrder : public ObjectCommandOrder
{
protected:
    SetAttributeCmdOrder()
    {
        speed->name = "speed";
        speed->forStandardEnabled = true;
        speed->getter = [this]
        {
            note("get");
            return value;
        };
        speed->setter = [this](const int& newValue)
        {
            note("set " + std::to_string(newValue));
            if (onSet)
            {
                onSet();
            }
            value = newValue;
        };
        pump()->attributes["speed"] = speed;
        command.getProgressPtr()->label = "progress";
    }

    int value = 1;
    std::function<void()> onSet;
    std::shared_ptr<AttributeDescription<int>> speed = std::make_shared<AttributeDescription<int>>();
    Signals::Connection changed = speed->sigChanged.connect(
        [](const int& newValue) { note("speed changed to " + std::to_string(newValue)); });
    SetAttributeCmd<int> command{root, Path{"pump", "speed"}, 2, ""};
};

TEST_F(SetAttributeCmdOrder, ExecuteDoesNotSwitchTheStateOfApplyingStandardValuesButUndoDoes)
{
    EXPECT_THAT(takeJournal(), IsEmpty());

    command.execute();
    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.getAttributeDescription(speed)", "get", "set 2",
                            "speed.isForStandardEnabled", "speed changed to 2", "progress.setComplete"));

    command.undo();
    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.setApplyStandardRunning(false)", "pump.getAttributeDescription(speed)",
                            "set 1", "speed.isForStandardEnabled", "speed changed to 1",
                            "pump.setApplyStandardRunning(false)", "progress.setComplete"));
}

TEST_F(SetAttributeCmdOrder, AStateOfApplyingStandardValuesFoundOnceIsNeverForgotten)
{
    pump()->applyStandardRunning = true;
    command.execute();
    pump()->applyStandardRunning = false;
    command.execute();
    onSet = [this]
    {
        note(pump()->applyStandardRunning ? "applying" : "not applying");
    };
    takeJournal();

    command.undo();

    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.setApplyStandardRunning(true)", "pump.getAttributeDescription(speed)",
                            "set 2", "applying", "speed.isForStandardEnabled", "speed changed to 2",
                            "pump.setApplyStandardRunning(false)", "progress.setComplete"));
}

TEST_F(SetAttributeCmdOrder, UndoPutsTheStateBackThatItFound)
{
    command.execute();
    pump()->applyStandardRunning = true;
    takeJournal();
    command.undo();
    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.setApplyStandardRunning(false)", "pump.getAttributeDescription(speed)",
                            "set 1", "speed.isForStandardEnabled", "speed changed to 1",
                            "pump.setApplyStandardRunning(true)", "progress.setComplete"));
    EXPECT_TRUE(pump()->applyStandardRunning);
}

TEST_F(SetAttributeCmdOrder, UndoPutsTheStateBackAlsoWhenTheSetterThrows)
{
    pump()->applyStandardRunning = true;
    command.execute();
    pump()->applyStandardRunning = false;
    onSet = []
    {
        throw std::runtime_error("jammed");
    };
    takeJournal();

    EXPECT_THROW(command.undo(), std::runtime_error);

    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.setApplyStandardRunning(true)", "pump.getAttributeDescription(speed)",
                            "set 1", "pump.setApplyStandardRunning(false)"));
}

TEST_F(SetAttributeCmdOrder, AnExecutionThatAListenerFailsSetsTheValueBackAndCanBeRedone)
{
    const Signals::Connection failing = speed->sigChanged.connect([](const int&) { throw Stranger(); });

    EXPECT_THROW(command.execute(), Stranger);

    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.getAttributeDescription(speed)", "get", "set 2",
                            "speed.isForStandardEnabled", "speed changed to 2", "set 1"));
    EXPECT_EQ(value, 1);
    EXPECT_THROW(command.redo(), Stranger);
    EXPECT_THROW(command.undo(), Stranger);
    EXPECT_EQ(value, 1);
}

TEST_F(SetAttributeCmdOrder, TheSecondQueryDecidesWhereTheAttributeIsNotEnabledForStandard)
{
    speed->forStandardEnabled = false;
    speed->emitsChanged = true;
    command.execute();
    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.getAttributeDescription(speed)", "get", "set 2",
                            "speed.isForStandardEnabled", "speed.emitsChangedSignal", "speed changed to 2",
                            "progress.setComplete"));

    speed->emitsChanged = false;
    command.undo();
    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.setApplyStandardRunning(false)", "pump.getAttributeDescription(speed)",
                            "set 1", "speed.isForStandardEnabled", "speed.emitsChangedSignal",
                            "pump.setApplyStandardRunning(false)", "progress.setComplete"));
}

TEST_F(SetAttributeCmdOrder, UndoOfAMissingAttributeSwitchesTheStateButWritesNothing)
{
    command.execute();
    pump()->attributes.clear();
    takeJournal();
    command.undo();
    EXPECT_THAT(takeJournal(),
                ElementsAre("progress.reset", "root.getObject(pump.speed)", "pump.isApplyStandardRunning",
                            "pump.setApplyStandardRunning(false)", "pump.getAttributeDescription(speed)",
                            "pump.setApplyStandardRunning(false)", "progress.setComplete"));
}

TEST_F(SetAttributeCmdOrder, WithoutATreeNothingHappensNotEvenAResetOfTheProgress)
{
    root.reset();
    takeJournal();
    command.execute();
    command.redo();
    command.undo();
    EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(SetAttributeCmdOrder, TheFactoryAsksTheObjectForThePathOfTheAttribute)
{
    SetAttributecommandFactory factory(pump());
    EXPECT_THAT(takeJournal(), ElementsAre("pump.getRootObjectAlt", "pump.getPath"));

    const std::shared_ptr<CommandBase> made = factory.createCommand(speed.get(), "7", "");
    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "pump.getPath(root, speed)"));
    EXPECT_EQ(made->getDescription(), "Set speed");
    made->execute();
    EXPECT_EQ(value, 7);
}

TEST_F(SetAttributeCmdOrder, ACreatorOfTheAttributesOwnGetsRootPathValueAndDescription)
{
    const std::shared_ptr<CommandBase> own = std::make_shared<SetAttributeCmd<int>>(root, Path{}, 0, "own");
    speed->commandCreator = [&](std::shared_ptr<Object> givenRoot, const Path& path, const int& newValue,
                                const std::string& description)
    {
        EXPECT_EQ(givenRoot, root);
        note("create(" + path.toString() + ", " + std::to_string(newValue) + ", " + description + ")");
        return std::shared_ptr<CommandBase>(own);
    };
    SetAttributecommandFactory factory(pump());
    takeJournal();

    EXPECT_EQ(factory.createCommand(speed.get(), "7", "text"), own);

    EXPECT_THAT(takeJournal(), ElementsAre("root.getObject(pump)", "pump.getPath(root, speed)",
                                           "create(pump.speed, 7, text)"));
}

} // namespace
} // namespace Valdane

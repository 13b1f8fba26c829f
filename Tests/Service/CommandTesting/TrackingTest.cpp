#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandTesting/CommandKit.h"
#include "Tests/Support/Failures.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

/// Modules that count what is in them, and the application's marks.
struct Depot : ModuleAccessInterface
{
    struct Module : Object
    {
        using Object::Object;
        int count = 0;
    };

    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        return marked;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        marked.clear();
    }

    void change(Module& module, int difference)
    {
        module.count += difference;
        marked.insert(&module);
    }

    Module pumps{"pumps"};
    Module pipes{"pipes"};
    std::set<const Object*> marked = {&pumps, &pipes};
};

using SpoilTracking = std::function<void(ScriptedCommand&, Depot&)>;

CommandKit<Depot> makeDepotKit()
{
    CommandKit<Depot> kit([] { return std::make_shared<Depot>(); }, [](const Depot& store)
                          { return std::to_string(store.pumps.count) + std::to_string(store.pipes.count); });
    // The interface is a part of the store.
    kit.setModules(
        [](Depot& store) { return std::shared_ptr<ModuleAccessInterface>(std::shared_ptr<void>(), &store); },
        [](const Depot& store)
        {
            return std::vector<ModuleSnapshot>{{&store.pumps, "pumps", Snapshot(store.pumps.count)},
                                               {&store.pipes, "pipes", Snapshot(store.pipes.count)}};
        });
    return kit;
}

/// Makes a command that adds a pump.
auto addPump(const SpoilTracking& spoil = {})
{
    return [spoil](Depot& store)
    {
        auto command = std::make_shared<ScriptedCommand>("Add pump");
        command->onExecute = [&store]
        {
            store.change(store.pumps, 1);
        };
        command->onUndo = [&store]
        {
            store.change(store.pumps, -1);
        };
        if (spoil)
        {
            spoil(*command, store);
        }
        return command;
    };
}

std::string trackingReport(const SpoilTracking& spoil)
{
    return makeDepotKit().tracking(addPump(spoil)).toText();
}

const std::string rightTracking = "Tracking of \"Add pump\": no mistakes\n";

TEST(TrackingTest, RightCommandsHaveNoMistakes)
{
    EXPECT_EQ(trackingReport({}), rightTracking);
    EXPECT_EQ(trackingReport([](ScriptedCommand& command, Depot&) { command.redoCapable = false; }),
              rightTracking);
    EXPECT_EQ(makeDepotKit().all(addPump()).toText(),
              "All checks of \"Add pump\", without failing allocations: no mistakes\n");
}

TEST(TrackingTest, AModuleThatIsChangedWithoutAMarkIsFound)
{
    EXPECT_EQ(trackingReport(
                  [](ScriptedCommand& command, Depot& store)
                  {
                      command.onExecute = [&store]
                      {
                          store.change(store.pumps, 1);
                          ++store.pipes.count;
                      };
                      command.onUndo = [&store]
                      {
                          --store.pumps.count;
                          --store.pipes.count;
                      };
                  }),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  After execute() and redo(): module \"pipes\" is not as before execute(), but the manager "
              "does not list it as modified (- before, + after):\n"
              "    - 0\n"
              "    + 1\n");
}

TEST(TrackingTest, AMarkWithoutAChangeIsFound)
{
    EXPECT_EQ(
        trackingReport(
            [](ScriptedCommand& command, Depot& store)
            {
                command.onExecute = [&store]
                {
                    store.change(store.pumps, 1);
                    store.change(store.pipes, 0);
                };
                command.redoCapable = false;
            }),
        "Tracking of \"Add pump\": 1 mistake\n"
        "  After execute(): the manager lists module \"pipes\" as modified, but it is as before execute()\n");
}

TEST(TrackingTest, AnUndoThatForgetsAModuleIsFound)
{
    EXPECT_EQ(trackingReport(
                  [](ScriptedCommand& command, Depot&)
                  {
                      command.onUndo = nullptr;
                      command.onRedo = [] {
                      };
                  }),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  After undo(): module \"pumps\" is not as before execute(), but the manager does not list it "
              "as modified (- before, + after):\n"
              "    - 0\n"
              "    + 1\n");
}

TEST(TrackingTest, AModuleWithoutASnapshotIsFound)
{
    EXPECT_EQ(trackingReport(
                  [](ScriptedCommand& command, Depot& store)
                  {
                      command.onExecute = [&store]
                      {
                          store.change(store.pumps, 1);
                          store.marked.insert(nullptr);
                      };
                      command.redoCapable = false;
                  }),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  After execute(): the manager lists a module of which there is no snapshot\n");
}

TEST(TrackingTest, MakingTheCommandMarksNothing)
{
    EXPECT_EQ(trackingReport(
                  [](ScriptedCommand& command, Depot& store)
                  {
                      store.change(store.pipes, 0);
                      command.redoCapable = false;
                  }),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  After making the command and execute(): the manager lists module \"pipes\" as modified, but "
              "it is as before execute()\n");
}

TEST(TrackingTest, WhatTheKitIsGivenMayBeWrong)
{
    CommandKit<Depot> kit([] { return std::make_shared<Depot>(); }, [](const Depot&) { return 0; });
    EXPECT_EQ(kit.tracking(addPump()).toText(),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  setModules() was not called, so there are no modules to compare\n");
    kit.setModules([](Depot&) { return std::shared_ptr<ModuleAccessInterface>(); },
                   [](const Depot&) { return std::vector<ModuleSnapshot>(); });
    EXPECT_EQ(kit.tracking(addPump()).toText(),
              "Tracking: 1 mistake\n"
              "  Making the module access interface gives an empty pointer\n");
    kit.setModules([](Depot&) { return std::make_shared<ModuleAccessInterface>(); },
                   [](const Depot&) -> std::vector<ModuleSnapshot> { fail(); });
    EXPECT_EQ(kit.tracking(addPump()).toText(), "Tracking of \"Add pump\": 1 mistake\n"
                                                "  Taking the snapshots of the modules throws: no power\n");
}

} // namespace
} // namespace Valdane

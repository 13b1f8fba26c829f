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
struct Store : ModuleAccessInterface
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

using Spoil = std::function<void(ScriptedCommand&, Store&)>;

CommandKit<Store> makeStoreKit()
{
    CommandKit<Store> kit([] { return std::make_shared<Store>(); }, [](const Store& store)
                          { return std::to_string(store.pumps.count) + std::to_string(store.pipes.count); });
    // The interface is a part of the store.
    kit.setModules(
        [](Store& store) { return std::shared_ptr<ModuleAccessInterface>(std::shared_ptr<void>(), &store); },
        [](const Store& store)
        {
            return std::vector<ModuleSnapshot>{{&store.pumps, "pumps", Snapshot(store.pumps.count)},
                                               {&store.pipes, "pipes", Snapshot(store.pipes.count)}};
        });
    return kit;
}

/// Makes a command that adds a pump.
auto addPump(const Spoil& spoil = {})
{
    return [spoil](Store& store)
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

std::string trackingReport(const Spoil& spoil)
{
    return makeStoreKit().tracking(addPump(spoil)).toText();
}

const std::string rightTracking = "Tracking of \"Add pump\": no mistakes\n";

TEST(TrackingTest, RightCommandsHaveNoMistakes)
{
    EXPECT_EQ(trackingReport({}), rightTracking);
    EXPECT_EQ(trackingReport([](ScriptedCommand& command, Store&) { command.redoCapable = false; }),
              rightTracking);
    EXPECT_EQ(makeStoreKit().all(addPump()).toText(), "All checks of \"Add pump\": no mistakes\n");
}

TEST(TrackingTest, AModuleThatIsChangedWithoutAMarkIsFound)
{
    EXPECT_EQ(trackingReport(
                  [](ScriptedCommand& command, Store& store)
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
              "Tracking of \"Add pump\": 2 mistakes\n"
              "  After execute() module \"pipes\" is not as before execute(), but the manager does not list "
              "it as modified:\n"
              "    - 0\n"
              "    + 1\n"
              "  After redo() module \"pipes\" is not as before execute(), but the manager does not list it "
              "as modified:\n"
              "    - 0\n"
              "    + 1\n");
}

TEST(TrackingTest, AMarkWithoutAChangeIsFound)
{
    EXPECT_EQ(
        trackingReport(
            [](ScriptedCommand& command, Store& store)
            {
                command.onExecute = [&store]
                {
                    store.change(store.pumps, 1);
                    store.change(store.pipes, 0);
                };
                command.redoCapable = false;
            }),
        "Tracking of \"Add pump\": 1 mistake\n"
        "  After execute() the manager lists module \"pipes\" as modified, but it is as before execute()\n");
}

TEST(TrackingTest, AnUndoThatForgetsAModuleIsFound)
{
    EXPECT_EQ(trackingReport(
                  [](ScriptedCommand& command, Store&)
                  {
                      command.onUndo = nullptr;
                      command.onRedo = [] {
                      };
                  }),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  After undo() module \"pumps\" is not as before execute(), but the manager does not list it "
              "as modified:\n"
              "    - 0\n"
              "    + 1\n");
}

TEST(TrackingTest, AModuleWithoutASnapshotIsFound)
{
    EXPECT_EQ(trackingReport(
                  [](ScriptedCommand& command, Store& store)
                  {
                      command.onExecute = [&store]
                      {
                          store.change(store.pumps, 1);
                          store.marked.insert(nullptr);
                      };
                      command.redoCapable = false;
                  }),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  After execute() the manager lists a module of which there is no snapshot\n");
}

TEST(TrackingTest, MakingTheCommandMarksNothing)
{
    EXPECT_EQ(
        trackingReport(
            [](ScriptedCommand& command, Store& store)
            {
                store.change(store.pipes, 0);
                command.redoCapable = false;
            }),
        "Tracking of \"Add pump\": 2 mistakes\n"
        "  After making the command the manager lists module \"pipes\" as modified, but it is as before "
        "execute()\n"
        "  After execute() the manager lists module \"pipes\" as modified, but it is as before execute()\n");
}

TEST(TrackingTest, WhatTheKitIsGivenMayBeWrong)
{
    CommandKit<Store> kit([] { return std::make_shared<Store>(); }, [](const Store&) { return 0; });
    EXPECT_EQ(kit.tracking(addPump()).toText(),
              "Tracking of \"Add pump\": 1 mistake\n"
              "  setModules() was not called, so there are no modules to compare\n");
    kit.setModules([](Store&) { return std::shared_ptr<ModuleAccessInterface>(); },
                   [](const Store&) { return std::vector<ModuleSnapshot>(); });
    EXPECT_EQ(kit.tracking(addPump()).toText(),
              "Tracking: 1 mistake\n"
              "  Making the module access interface gives an empty pointer\n");
    kit.setModules([](Store&) { return std::make_shared<ModuleAccessInterface>(); },
                   [](const Store&) -> std::vector<ModuleSnapshot> { fail(); });
    EXPECT_EQ(kit.tracking(addPump()).toText(), "Tracking of \"Add pump\": 1 mistake\n"
                                                "  Taking the snapshots of the modules throws: no power\n");
}

} // namespace
} // namespace Valdane

#include "Service/CommandPattern/ModuleAccessInterface.h"

#include "Service/CommandPattern/CommandManager.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <concepts>
#include <memory>
#include <set>
#include <type_traits>

namespace Valdane
{
namespace
{

using Modules = std::set<const Object*>;

static_assert(std::has_virtual_destructor_v<ModuleAccessInterface>);
static_assert(std::is_default_constructible_v<ModuleAccessInterface>);
static_assert(std::is_copy_constructible_v<ModuleAccessInterface> &&
              std::is_copy_assignable_v<ModuleAccessInterface>);
static_assert(std::same_as<decltype(&ModuleAccessInterface::getModifiedModulesFromBusiness),
                           Modules (ModuleAccessInterface::*)()>);
static_assert(std::same_as<decltype(&ModuleAccessInterface::getSaveOnNextSaveModulesFromBusiness),
                           Modules (ModuleAccessInterface::*)()>);
static_assert(std::same_as<decltype(&ModuleAccessInterface::markAllModulesInBusinessAsUnmodified),
                           void (ModuleAccessInterface::*)()>);
static_assert(std::same_as<decltype(&ModuleAccessInterface::getAllModulesAsModified),
                           Modules (ModuleAccessInterface::*)()>);

class CountingModules : public ModuleAccessInterface
{
public:
    void markAllModulesInBusinessAsUnmodified() override
    {
        ++marks;
    }

    int marks = 0;
};

TEST(ModuleAccessInterface, AsItStandsItReportsNoModules)
{
    ModuleAccessInterface modules;

    EXPECT_EQ(modules.getModifiedModulesFromBusiness(), Modules());
    EXPECT_EQ(modules.getSaveOnNextSaveModulesFromBusiness(), Modules());
    EXPECT_EQ(modules.getAllModulesAsModified(), Modules());
    EXPECT_NO_THROW(modules.markAllModulesInBusinessAsUnmodified());
}

TEST(ModuleAccessInterface, ACopyGoesItsOwnWay)
{
    CountingModules first;
    first.markAllModulesInBusinessAsUnmodified();
    CountingModules second(first);
    second.markAllModulesInBusinessAsUnmodified();
    EXPECT_EQ(first.marks, 1);
    EXPECT_EQ(second.marks, 2);

    first = second;
    first.markAllModulesInBusinessAsUnmodified();
    EXPECT_EQ(first.marks, 3);
    EXPECT_EQ(second.marks, 2);
}

TEST(ModuleAccessInterface, AManagerNeedsNone)
{
    CommandManager manager;

    EXPECT_TRUE(manager.addCommand(std::make_shared<ScriptedCommand>("A")));
    EXPECT_TRUE(manager.undo(1));
    EXPECT_TRUE(manager.redo(1));
}

TEST(ModuleAccessInterface, TheInstalledOneIsToldAtEveryChangeByACommandAndAtNothingElse)
{
    CommandManager manager;
    const auto modules = std::make_shared<CountingModules>();
    manager.setModuleAccessInterface(modules);
    EXPECT_EQ(modules->marks, 0);

    manager.addCommand(std::make_shared<ScriptedCommand>("A"));
    EXPECT_EQ(modules->marks, 1);
    manager.addExecutedCommand(std::make_shared<ScriptedCommand>("B"));
    EXPECT_EQ(modules->marks, 2);
    manager.undo(2);
    EXPECT_EQ(modules->marks, 4);
    manager.redo(2);
    EXPECT_EQ(modules->marks, 6);

    manager.setUsesMaxQueueSize(true);
    manager.setMaxQueueSize(1);
    manager.clear();
    EXPECT_EQ(modules->marks, 6);
}

TEST(ModuleAccessInterface, AnotherOneTakesThePlaceOfTheFirstWhichIsLetGo)
{
    CommandManager manager;
    auto first = std::make_shared<CountingModules>();
    const std::weak_ptr<CountingModules> observedFirst = first;
    const auto second = std::make_shared<CountingModules>();
    manager.setModuleAccessInterface(first);
    first.reset();
    EXPECT_FALSE(observedFirst.expired()) << "shared by the manager";

    manager.setModuleAccessInterface(second);
    manager.addCommand(std::make_shared<ScriptedCommand>("A"));

    EXPECT_TRUE(observedFirst.expired());
    EXPECT_EQ(second->marks, 1);
}

} // namespace
} // namespace Valdane

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandTesting/Allocations.h"
#include "Tests/Support/ElementsAre.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// What a listener of the history is told of modules costs memory. Without it, the history and the save points must still
// belong together.

namespace Valdane
{
namespace
{

using ValdaneTests::ElementsAre;

/// Only the addresses matter.
const Object* moduleOf(char letter)
{
    static const char modules[26] = {};
    return reinterpret_cast<const Object*>(modules + (letter - 'a'));
}

/// Reports one module, and allocates only for that.
class OneMarkedModule : public ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        if (const auto action = std::exchange(whenAsked, nullptr))
        {
            action();
        }
        return marked == nullptr ? std::set<const Object*>() : std::set<const Object*>{marked};
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        marked = nullptr;
    }

    const Object* marked = nullptr;
    /// Called once.
    std::function<void()> whenAsked;
};

class Letter : public CommandBase
{
public:
    using CommandBase::CommandBase;

    void execute() override {}

    void undo() override {}

    bool isRedoCapable() override
    {
        return redoCapable;
    }

    bool redoCapable = true;
};

/// A manager with a listener that allocates nothing.
class WatchedHistory
{
public:
    WatchedHistory()
    {
        manager.setModuleAccessInterface(modules);
    }

    void listen()
    {
        connection =
            manager.connectToSigHistoryChanged([this](const HistoryChange& change) { keep(change); });
    }

    /// Executes commands of one letter, each of which modifies the module of that letter.
    void fill(const std::string& letters, bool redoCapable = true)
    {
        for (const char letter : letters)
        {
            const auto command = std::make_shared<Letter>(std::string(1, letter));
            command->redoCapable = redoCapable;
            modules->marked = moduleOf(letter);
            EXPECT_TRUE(manager.addCommand(command));
        }
    }

    /// The first row that the listener was told last, as "first-removed+inserted", and the modules.
    std::string lastTold() const
    {
        std::string text = std::to_string(row.first) + "-" + std::to_string(row.removed) + "+" +
                           std::to_string(row.inserted) + " ";
        for (char letter = 'a'; letter <= 'z'; ++letter)
        {
            if ((lettersOfRemoved & bitOf(moduleOf(letter))) != 0)
            {
                text += letter;
            }
        }
        return text;
    }

    std::optional<std::uint64_t> savedPosition() const
    {
        return manager.getSavedPosition(0);
    }

    std::shared_ptr<OneMarkedModule> modules = std::make_shared<OneMarkedModule>();
    CommandManager manager;

private:
    static std::uint32_t bitOf(const Object* module)
    {
        return 1U << static_cast<unsigned>(reinterpret_cast<const char*>(module) -
                                           reinterpret_cast<const char*>(moduleOf('a')));
    }

    void keep(const HistoryChange& change)
    {
        row = change.rows.empty() ? RowChange() : change.rows.front();
        lettersOfRemoved = 0;
        for (const Object* const module : change.modulesOfRemoved)
        {
            lettersOfRemoved |= bitOf(module);
        }
    }

    RowChange row;
    std::uint32_t lettersOfRemoved = 0;
    Signals::Connection connection;
};

using Step = std::function<void(WatchedHistory&)>;

/// Lets each allocation of @p operation fail in turn, each time in a new world, and has a look at what that leaves.
/// @return how often it has failed
std::size_t failEverywhere(const Step& prepare, const Step& operation, const Step& look)
{
    for (std::size_t successes = 0;; ++successes)
    {
        WatchedHistory world;
        prepare(world);
        bool hasThrown = false;
        bool hasFailed = false;
        try
        {
            const FailingAllocation failing(successes);
            operation(world);
            hasFailed = failing.hasFailed();
        }
        catch (const std::bad_alloc&)
        {
            hasThrown = true;
        }
        EXPECT_FALSE(hasFailed) << "a failure that nobody is told of, after " << successes;
        if (!hasThrown)
        {
            return successes;
        }
        SCOPED_TRACE("after " + std::to_string(successes) + " allocations");
        look(world);
    }
}

TEST(HistoryWithoutMemory, AnUndoForGoodIsToldWithAllModulesOrNone)
{
    std::vector<std::string> told;
    failEverywhere(
        [](WatchedHistory& world)
        {
            world.fill("a");
            world.fill("x", false);
            world.fill("bc");
            world.manager.undo(2);
            world.listen();
        },
        [](WatchedHistory& world) { world.manager.undo(1); },
        [&](WatchedHistory& world)
        {
            EXPECT_EQ(world.manager.getPosition(), 1U);
            EXPECT_EQ(world.manager.getQueueSize(), 1U);
            // Tells what could not be told.
            world.manager.forgetRedoCommands();
            if (told.empty() || told.back() != world.lastTold())
            {
                told.push_back(world.lastTold());
            }
        });
    EXPECT_THAT(told, ElementsAre("1-3+0 ", "1-3+0 bcx"));
}

TEST(HistoryWithoutMemory, TheLimitDropsNothingWithoutASavePoint)
{
    const std::size_t failures = failEverywhere(
        [](WatchedHistory& world)
        {
            world.fill("abc");
            world.manager.adjustOnSave(0);
            world.manager.setMaxQueueSize(1);
            world.listen();
        },
        [](WatchedHistory& world) { world.manager.setUsesMaxQueueSize(true); },
        [](WatchedHistory& world) {
            EXPECT_EQ(world.savedPosition(), world.manager.getPosition())
                << "nothing was undone since the save";
        });
    EXPECT_NE(failures, 0U);
}

TEST(HistoryWithoutMemory, ACommandThatCannotBeTakenLeavesTheSavePointBehindIt)
{
    const std::size_t failures = failEverywhere(
        [](WatchedHistory& world)
        {
            world.fill("ab");
            world.manager.adjustOnSave(0);
            world.listen();
        },
        [](WatchedHistory& world) { world.manager.takeLastExecutedCommand(); },
        [](WatchedHistory& world) {
            EXPECT_EQ(world.savedPosition(), world.manager.getPosition())
                << "nothing was undone since the save";
        });
    EXPECT_NE(failures, 0U);
}

TEST(HistoryWithoutMemory, AClearThatFailsLeavesTheSavePointToo)
{
    const std::size_t failures = failEverywhere(
        [](WatchedHistory& world)
        {
            world.fill("abc");
            world.manager.undo(1);
            world.manager.addCommandToMergeWithNextCommand(std::make_shared<Letter>("m"), false);
            world.manager.adjustOnSave(0);
            world.listen();
        },
        [](WatchedHistory& world) { world.manager.clear(); },
        [](WatchedHistory& world) {
            EXPECT_EQ(world.savedPosition(), world.manager.getPosition())
                << "nothing was undone since the save";
        });
    EXPECT_NE(failures, 0U);
}

TEST(HistoryWithoutMemory, AClearThatFailsIsNotToldWithTheNextChange)
{
    std::vector<std::string> told;
    failEverywhere(
        [](WatchedHistory& world)
        {
            world.fill("abc");
            world.manager.undo(1);
            world.listen();
        },
        [](WatchedHistory& world) { world.manager.clear(); },
        [&](WatchedHistory& world)
        {
            const bool isCleared = world.manager.getQueueSize() == 0;
            world.manager.forgetRedoCommands();
            told.push_back((isCleared ? "cleared " : "as before ") + world.lastTold());
        });
    told.erase(std::unique(told.begin(), told.end()), told.end());
    EXPECT_THAT(told, ElementsAre("as before 2-1+0 c", "cleared 0-3+0 abc"));
}

TEST(HistoryWithoutMemory, AClearThatFailsDoesNotCountItsCommandsAsForgotten)
{
    const std::size_t failures = failEverywhere(
        [](WatchedHistory& world)
        {
            world.fill("ab");
            world.listen();
        },
        [](WatchedHistory& world) { world.manager.clear(); },
        [](WatchedHistory& world)
        {
            if (world.manager.getQueueSize() != 0)
            {
                world.manager.takeLastExecutedCommand();
                world.manager.takeLastExecutedCommand();
                EXPECT_TRUE(world.manager.getModifiedModules(0).empty()) << "the caller has both commands";
            }
        });
    EXPECT_NE(failures, 0U);
}

TEST(HistoryWithoutMemory, ASaveThatFailsLeavesTheFormerSavePoint)
{
    const std::size_t failures = failEverywhere(
        [](WatchedHistory& world)
        {
            world.manager.adjustOnSave(0);
            world.fill("a");
        },
        [](WatchedHistory& world) { world.manager.adjustOnSave(0); },
        [](WatchedHistory& world) { EXPECT_EQ(world.savedPosition(), std::uint64_t{0}); });
    EXPECT_NE(failures, 0U);
}

TEST(HistoryWithoutMemory, ACommandThatCannotBeQueuedLeavesTheSavePointThatCanBeRedone)
{
    const std::size_t failures = failEverywhere(
        [](WatchedHistory& world)
        {
            world.fill("a");
            world.manager.adjustOnSave(0);
            world.modules->whenAsked = [&world]
            {
                world.manager.undo(1);
                world.modules->marked = moduleOf('x');
            };
        },
        [](WatchedHistory& world) { world.manager.addExecutedCommand(std::make_shared<Letter>("x")); },
        [](WatchedHistory& world)
        { EXPECT_EQ(world.savedPosition(), std::uint64_t{1}) << "undone or not, a is there"; });
    EXPECT_NE(failures, 0U);
}

// The queues are then dropped by the limit, so that what is known about the position before them can be asked for.
TEST(HistoryWithoutMemory, ThePositionIsTakenOverOnlyFromARedoQueueThatIsDropped)
{
    WatchedHistory world;
    world.fill("ab");
    world.manager.undo(1);
    world.manager.takeLastExecutedCommand();
    world.listen();
    {
        const FailingAllocation failing(0);
        EXPECT_THROW(world.manager.forgetRedoCommands(), std::bad_alloc);
    }
    EXPECT_TRUE(world.manager.canRedo());
    world.manager.setMaxQueueSize(0);
    world.manager.setUsesMaxQueueSize(true);
    EXPECT_EQ(world.manager.getModifiedModules(0), std::set<const Object*>());
}

} // namespace
} // namespace Valdane

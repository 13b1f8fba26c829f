#include "Tests/Service/CommandPattern/Scale.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/Sanitizers.h"
#include "Tests/Support/SmallStack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Each case runs with n, 10 n and so on. What it allocates and what it keeps must grow with n and no faster; the
// stack is 256 KiB. VALDANE_SCALE is the largest size (10 n otherwise); where it is set, time must not grow faster
// either, and what was measured is printed.

namespace Valdane
{
namespace
{

/// What n is at first. Ten times as many overflow the stack if they need any, and the sanitizers are slow.
constexpr std::size_t smallest = ValdaneTests::sanitizesAddresses ? 1'000 : 10'000;

class AddThread : public ThreadedCommand
{
public:
    explicit AddThread(std::int64_t& target) : number(target) {}

    void run() override
    {
        ++number;
    }

    void finishRun() override {}

    void undo() override
    {
        --number;
    }

private:
    std::int64_t& number;
};

/// Reports one module at a time, each in its turn.
class ModulesInTurn : public ModuleAccessInterface
{
public:
    explicit ModulesInTurn(std::size_t count) : modules(count) {}

    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        ++turn;
        return {reinterpret_cast<const Object*>(modules.data() + turn % modules.size())};
    }

private:
    std::vector<std::uint64_t> modules;
    std::size_t turn = 0;
};

void runHistory(std::size_t size, Meter& meter, std::shared_ptr<ModuleAccessInterface> modules)
{
    std::int64_t number = 0;
    std::optional<CommandManager> manager(std::in_place);
    manager->setModuleAccessInterface(std::move(modules));
    const auto connection =
        manager->connectToSigCommandQueueChanged([](CommandManager::QueueChangeReason) {});
    const auto add = [&]
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            manager->addCommand(std::make_shared<AddCommand>(number));
        }
    };
    meter.run("execute", add);
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    meter.run("undo all", [&] { manager->undoAll(); });
    EXPECT_EQ(number, 0);
    meter.run("save undone", [&] { manager->adjustOnSave(0); });
    meter.run("redo all", [&] { manager->redoAll(); });
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    meter.run("save", [&] { manager->adjustOnSave(1); });
    meter.run("clear", [&] { manager->clear(); });
    EXPECT_EQ(manager->getQueueSize(), 0U);
    meter.run("execute again", add);
    meter.run("take as macro", [&] { EXPECT_EQ(manager->takeExecutedCommands()->size(), size); });
    meter.run("execute a third time", add);
    meter.run("destroy", [&] { manager.reset(); });
}

void history(std::size_t size, Meter& meter)
{
    runHistory(size, meter, std::make_shared<ModuleAccessInterface>());
}

void historyOfModules(std::size_t size, Meter& meter)
{
    runHistory(size, meter, std::make_shared<ModulesInTurn>(1000));
}

void historyOfModulesOfTheirOwn(std::size_t size, Meter& meter)
{
    runHistory(size, meter, std::make_shared<ModulesInTurn>(size));
}

void limitedHistory(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    CommandManager manager;
    manager.setMaxQueueSize(1000);
    manager.setUsesMaxQueueSize(true);
    meter.run("execute",
              [&]
              {
                  for (std::size_t i = 0; i < size; ++i)
                  {
                      manager.addCommand(std::make_shared<AddCommand>(number));
                  }
              });
    EXPECT_EQ(manager.getQueueSize(), 1000U);
}

void macro(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    CommandManager manager;
    auto commands = std::make_shared<MacroCommand>("Add many");
    meter.run("make",
              [&]
              {
                  for (std::size_t i = 0; i < size; ++i)
                  {
                      commands->addCommand(std::make_shared<AddCommand>(number));
                  }
              });
    meter.run("execute", [&] { EXPECT_TRUE(manager.addCommand(commands)); });
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    meter.run("undo", [&] { EXPECT_TRUE(manager.undo(1)); });
    EXPECT_EQ(number, 0);
    meter.run("redo", [&] { EXPECT_TRUE(manager.redo(1)); });
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    meter.run("destroy",
              [&]
              {
                  manager.clear();
                  commands.reset();
              });
}

void threadedMacro(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    CommandManager manager;
    const auto commands = std::make_shared<ThreadedMacroCommand>("Add many");
    meter.run("make",
              [&]
              {
                  for (std::size_t i = 0; i < size; ++i)
                  {
                      commands->addCommand(std::make_shared<AddCommand>(number));
                  }
                  commands->addCommand(std::make_shared<AddThread>(number));
              });
    meter.run("execute",
              [&]
              {
                  manager.addThreadedCommand(commands);
                  while (manager.getCurrentThreadedCommand() != nullptr)
                  {
                      manager.finalizeThread();
                  }
              });
    EXPECT_EQ(number, static_cast<std::int64_t>(size) + 1);
    meter.run("undo", [&] { EXPECT_TRUE(manager.undo(1)); });
    EXPECT_EQ(number, 0);
    meter.run("redo", [&] { EXPECT_TRUE(manager.redo(1)); });
    EXPECT_EQ(number, static_cast<std::int64_t>(size) + 1);
}

/// An object for every number: a hundred below each.
std::shared_ptr<Object> makeTree(std::size_t size)
{
    std::vector<std::shared_ptr<Object>> objects{std::make_shared<Object>("root")};
    objects.reserve(size);
    for (std::size_t i = 1; i < size; ++i)
    {
        objects.push_back(std::make_shared<Object>(std::to_string(i)));
        objects[(i - 1) / 100]->addChild(objects.back());
    }
    return objects.front();
}

void tree(std::size_t size, Meter& meter)
{
    std::int64_t value = 0;
    std::shared_ptr<Object> root;
    CommandManager manager;
    meter.run("make", [&] { root = makeTree(size); });
    const std::shared_ptr<Object> leaf = root->getChildren().back();
    leaf->addAttributeDescription(std::make_shared<AttributeDescription<int>>(
        "value", [&value] { return static_cast<int>(value); }, [&value](const int& set) { value = set; }));
    meter.run("set an attribute often",
              [&]
              {
                  for (std::size_t i = 1; i <= size; ++i)
                  {
                      const Path path = leaf->getPath(nullptr, "value", RequestedPathType::FromRoot);
                      manager.addCommand(
                          std::make_shared<SetAttributeCmd<int>>(root, path, static_cast<int>(i), ""));
                  }
              });
    EXPECT_EQ(value, static_cast<std::int64_t>(size));
    meter.run("undo all", [&] { manager.undoAll(); });
    EXPECT_EQ(value, 0);
    meter.run("clear", [&] { manager.clear(); });
    meter.run("destroy", [&] { root.reset(); });
}

void listeners(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    std::uint64_t calls = 0;
    CommandManager manager;
    std::vector<Signals::Connection> connections;
    connections.reserve(1000);
    for (int i = 0; i < 1000; ++i)
    {
        connections.push_back(manager.connectToSigCommandQueueChanged(
            [&calls](CommandManager::QueueChangeReason) { ++calls; }));
    }
    meter.run("execute for 1,000 listeners",
              [&]
              {
                  for (std::size_t i = 0; i < size / 100; ++i)
                  {
                      manager.addCommand(std::make_shared<AddCommand>(number));
                  }
              });
    EXPECT_EQ(calls, size / 100 * 1000);
    std::vector<Signals::Connection> many;
    many.reserve(size);
    meter.run("connect",
              [&]
              {
                  for (std::size_t i = 0; i < size; ++i)
                  {
                      many.push_back(manager.connectToSigCommandUndone([&calls] { ++calls; }));
                  }
              });
    meter.run("undo for as many listeners", [&] { EXPECT_TRUE(manager.undo(1)); });
    EXPECT_EQ(calls, size / 100 * 1000 + 1000 + size);
    meter.run("disconnect", [&] { many.clear(); });
}

struct Case
{
    std::string name;
    void (*run)(std::size_t size, Meter& meter);

    friend void PrintTo(const Case& scaled, std::ostream* out)
    {
        *out << scaled.name;
    }
};

std::vector<Phase> measure(const Case& scaled, std::size_t size)
{
    std::vector<Phase> phases;
    runOnSmallStack(
        [&]
        {
            Meter meter;
            scaled.run(size, meter);
            phases = meter.take();
        });
    return phases;
}

/// The best times of three runs; the rest is the same in each.
std::vector<Phase> measureTime(const Case& scaled, std::size_t size)
{
    std::vector<Phase> best = measure(scaled, size);
    for (int repetition = 0; repetition < 2; ++repetition)
    {
        const std::vector<Phase> phases = measure(scaled, size);
        for (std::size_t i = 0; i < best.size(); ++i)
        {
            best[i].nanoseconds = std::min(best[i].nanoseconds, phases[i].nanoseconds);
        }
    }
    return best;
}

void print(std::size_t size, const std::vector<Phase>& phases)
{
    const auto each = [size](auto whole)
    {
        return static_cast<double>(whole) / static_cast<double>(size);
    };
    for (const Phase& phase : phases)
    {
        std::cout << std::setw(10) << size << std::setw(32) << phase.name << std::fixed
                  << std::setprecision(1) << std::setw(10) << each(phase.nanoseconds) << " ns" << std::setw(8)
                  << std::setprecision(3) << each(phase.allocations) << " allocations" << std::setprecision(1)
                  << std::setw(10) << each(phase.bytesKept) << " B, each\n";
    }
}

class ScaleTest : public testing::TestWithParam<Case>
{
};

TEST_P(ScaleTest, GrowsInProportionAndNeedsNoStack)
{
    // A table that doubles has 8 or 16 times the places for ten times the elements. And what is there once.
    constexpr double slack = 1.6;
    constexpr double once = 100000;
    const char* const largest = std::getenv("VALDANE_SCALE");
    const std::size_t end = largest != nullptr ? std::stoul(largest) : 10 * smallest;
    std::vector<Phase> before;
    for (std::size_t size = smallest; size <= end; size *= 10)
    {
        const std::vector<Phase> phases =
            largest != nullptr ? measureTime(GetParam(), size) : measure(GetParam(), size);
        if (largest != nullptr)
        {
            print(size, phases);
        }
        for (std::size_t i = 0; i < before.size(); ++i)
        {
            EXPECT_LE(static_cast<double>(phases[i].allocations),
                      10 * slack * static_cast<double>(before[i].allocations) + 100)
                << phases[i].name;
            EXPECT_LE(static_cast<double>(phases[i].bytesKept),
                      10 * slack * static_cast<double>(before[i].bytesKept) + once)
                << phases[i].name;
            if (largest != nullptr)
            {
                // A cache that is too small for the larger one makes each step up to three times as slow.
                EXPECT_LE(phases[i].nanoseconds, 30 * before[i].nanoseconds + 1e6) << phases[i].name;
            }
        }
        before = phases;
    }
    ASSERT_FALSE(before.empty());
}

const std::vector<Case> cases = {
    {.name = "History", .run = history},
    {.name = "HistoryOfModules", .run = historyOfModules},
    {.name = "HistoryOfModulesOfTheirOwn", .run = historyOfModulesOfTheirOwn},
    {.name = "LimitedHistory", .run = limitedHistory},
    {.name = "Group", .run = scaleGroup},
    {.name = "Groups", .run = scaleGroups},
    {.name = "Merges", .run = scaleMerges},
    {.name = "WaitingCommands", .run = scaleWaitingCommands},
    {.name = "HistoryList", .run = scaleHistoryList},
    {.name = "Journal", .run = scaleJournal},
    {.name = "Macro", .run = macro},
    {.name = "ThreadedMacro", .run = threadedMacro},
    {.name = "Tree", .run = tree},
    {.name = "Listeners", .run = listeners},
};

INSTANTIATE_TEST_SUITE_P(Cases, ScaleTest, testing::ValuesIn(cases),
                         [](const testing::TestParamInfo<Case>& one) { return one.param.name; });

} // namespace
} // namespace Valdane

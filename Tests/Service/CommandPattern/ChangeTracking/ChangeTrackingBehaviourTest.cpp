#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Valdane
{
namespace
{

using Modules = std::set<const Object*>;
constexpr std::uint64_t trackers = CommandManager::ChangeTrackerCount;

/// Only the addresses matter.
const Object* module(std::size_t number)
{
    static const char modules[1000] = {};
    return reinterpret_cast<const Object*>(modules + number);
}

Modules united(Modules first, const Modules& second)
{
    first.insert(second.begin(), second.end());
    return first;
}

/// An application's own marks of what is modified.
class Business : public ModuleAccessInterface
{
public:
    Modules getModifiedModulesFromBusiness() override
    {
        if (questionsToRefuse != 0)
        {
            --questionsToRefuse;
            if (questionsToRefuse == 0)
            {
                throw std::runtime_error("not now");
            }
        }
        return modified;
    }

    Modules getSaveOnNextSaveModulesFromBusiness() override
    {
        return saveOnNextSave;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        modified.clear();
    }

    Modules getAllModulesAsModified() override
    {
        return all;
    }

    Modules modified;
    Modules saveOnNextSave;
    Modules all;
    /// The question with this number, counted from 1, is refused.
    int questionsToRefuse = 0;
};

/// Marks its modules as modified whatever it does.
class TouchCmd : public CommandBase
{
public:
    TouchCmd(Business& touchedBusiness, Modules modulesToTouch)
        : business(touchedBusiness), touched(std::move(modulesToTouch))
    {
    }

    void execute() override
    {
        touch();
    }

    void undo() override
    {
        touch();
    }

    bool isRedoCapable() override
    {
        return redoCapable;
    }

    bool redoCapable = true;
    bool fails = false;

private:
    void touch()
    {
        business.modified.insert(touched.begin(), touched.end());
        if (fails)
        {
            throw std::runtime_error("refused");
        }
    }

    Business& business;
    Modules touched;
};

/// The rules of change tracking in their plainest form: every entry has whole sets of its own.
class Model
{
public:
    struct Entry
    {
        std::array<Modules, trackers> before;
        std::array<Modules, trackers> after;
        Modules ofCommand;
        bool redoCapable = true;
    };

    void record(const Modules& modified, bool redoCapable)
    {
        loseRedo();
        Entry entry;
        entry.before = undoQueue.empty() ? base : undoQueue.back().after;
        for (std::uint64_t tracker = 0; tracker < trackers; ++tracker)
        {
            entry.after[tracker] = united(entry.before[tracker], modified);
        }
        entry.ofCommand = modified;
        entry.redoCapable = redoCapable;
        undoQueue.push_back(entry);
        trim();
    }

    void loseRedo()
    {
        if (undoQueue.empty() && !redoQueue.empty())
        {
            base = redoQueue.back().before;
        }
        redoQueue.clear();
    }

    void undo()
    {
        const Entry entry = undoQueue.back();
        undoQueue.pop_back();
        if (entry.redoCapable)
        {
            redoQueue.push_back(entry);
        }
        else
        {
            redoQueue.clear();
        }
    }

    void redo()
    {
        undoQueue.push_back(redoQueue.back());
        redoQueue.pop_back();
    }

    void save(std::uint64_t tracker)
    {
        if (undoQueue.empty())
        {
            base[tracker].clear();
        }
        Modules passed;
        for (auto entry = redoQueue.rbegin(); entry != redoQueue.rend(); ++entry)
        {
            entry->before[tracker] = passed;
            passed = united(passed, entry->ofCommand);
            entry->after[tracker] = passed;
        }
        passed.clear();
        for (auto entry = undoQueue.rbegin(); entry != undoQueue.rend(); ++entry)
        {
            entry->after[tracker] = passed;
            passed = united(passed, entry->ofCommand);
            entry->before[tracker] = passed;
        }
    }

    void trim()
    {
        if (!limited)
        {
            return;
        }
        if (limit < redoQueue.size())
        {
            undoQueue.clear();
            redoQueue.clear();
        }
        while (undoQueue.size() + redoQueue.size() > limit)
        {
            base = undoQueue.front().before;
            undoQueue.erase(undoQueue.begin());
        }
    }

    void clear(const Modules& modified)
    {
        base = {getModified(0, modified), getModified(1, modified)};
        undoQueue.clear();
        redoQueue.clear();
    }

    Modules getModified(std::uint64_t tracker, const Modules& modified) const
    {
        if (!undoQueue.empty())
        {
            return united(undoQueue.back().after[tracker], modified);
        }
        return united(redoQueue.empty() ? base[tracker] : redoQueue.back().before[tracker], modified);
    }

    std::vector<Entry> undoQueue;
    std::vector<Entry> redoQueue;
    std::array<Modules, trackers> base;
    std::size_t limit = 25;
    bool limited = false;
};

/// Does the same to a manager and to the model, and compares them.
class Walk
{
public:
    Walk(unsigned seed, std::size_t modules) : random(seed), moduleCount(modules)
    {
        for (std::size_t number = 0; number < moduleCount; ++number)
        {
            business->all.insert(module(number));
        }
        manager.setModuleAccessInterface(business);
    }

    /// One random operation. @return what it was.
    std::string step()
    {
        switch (pick(20))
        {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
            return add();
        case 5:
            return addExecuted();
        case 6:
            return addToMerge();
        case 7:
        case 8:
        case 9:
            return undo();
        case 10:
        case 11:
            return redo();
        case 12:
        case 13:
            return save();
        case 14:
            return changeLimit();
        case 15:
            return clearOrTakeAll();
        case 16:
            return takeLast();
        case 17:
            return markAll();
        case 18:
            return changeOutside();
        default:
            return fail();
        }
    }

    void compare() const
    {
        ASSERT_EQ(manager.getQueueSize(), model.undoQueue.size() + model.redoQueue.size());
        ASSERT_EQ(manager.canUndo(), !model.undoQueue.empty());
        ASSERT_EQ(manager.canRedo(), !model.redoQueue.empty());
        for (std::uint64_t tracker = 0; tracker < trackers; ++tracker)
        {
            const Modules expected = model.getModified(tracker, business->modified);
            ASSERT_EQ(manager.getModifiedModules(tracker), expected) << "tracker " << tracker;
            ASSERT_EQ(manager.getModifiedOrSaveOnNextSaveModules(tracker),
                      united(expected, business->saveOnNextSave))
                << "tracker " << tracker;
        }
    }

private:
    std::size_t pick(std::size_t count)
    {
        return random() % count;
    }

    Modules pickModules()
    {
        Modules modules;
        // Of many modules a command sometimes modifies a large part.
        for (std::size_t count = pick(pick(10) == 0 ? 1 + moduleCount / 2 : 4); count != 0; --count)
        {
            modules.insert(module(pick(moduleCount)));
        }
        return modules;
    }

    std::shared_ptr<TouchCmd> makeCommand()
    {
        auto command = std::make_shared<TouchCmd>(*business, pickModules());
        command->redoCapable = pick(12) != 0;
        return command;
    }

    /// The model's part of queueing a command, before the manager forgets what is modified.
    void record(bool redoCapable)
    {
        model.record(business->modified, redoCapable && pendingAreRedoCapable);
        pendingAreRedoCapable = true;
    }

    std::string add()
    {
        const auto command = makeCommand();
        const Modules before = business->modified;
        command->execute();
        record(command->redoCapable);
        business->modified = before;
        EXPECT_TRUE(manager.addCommand(command));
        return "add";
    }

    std::string addExecuted()
    {
        const auto command = makeCommand();
        command->execute();
        record(command->redoCapable);
        manager.addExecutedCommand(command);
        return "add executed";
    }

    std::string addToMerge()
    {
        const auto command = makeCommand();
        pendingAreRedoCapable = pendingAreRedoCapable && command->redoCapable;
        EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(command, pick(2) == 0));
        return "add to merge";
    }

    std::string undo()
    {
        const std::size_t count = pick(4);
        for (std::size_t step = 0; step < count && !model.undoQueue.empty(); ++step)
        {
            model.undo();
        }
        EXPECT_TRUE(manager.undo(count));
        return "undo";
    }

    std::string redo()
    {
        const std::size_t count = pick(4);
        for (std::size_t step = 0; step < count && !model.redoQueue.empty(); ++step)
        {
            model.redo();
        }
        EXPECT_TRUE(manager.redo(count));
        return "redo";
    }

    std::string save()
    {
        const std::uint64_t tracker = pick(trackers);
        model.save(tracker);
        manager.adjustOnSave(tracker);
        return "save " + std::to_string(tracker);
    }

    std::string changeLimit()
    {
        if (pick(2) == 0)
        {
            const bool limited = pick(3) != 0;
            if (std::exchange(model.limited, limited) != limited)
            {
                model.trim();
            }
            manager.setUsesMaxQueueSize(limited);
            return "use limit";
        }
        const std::size_t limit = pick(9);
        if (std::exchange(model.limit, limit) != limit)
        {
            model.trim();
        }
        manager.setMaxQueueSize(static_cast<std::uint32_t>(limit));
        return "change limit";
    }

    std::string clearOrTakeAll()
    {
        const bool take = pick(2) == 0;
        if (!take || !model.undoQueue.empty())
        {
            model.clear(business->modified);
            pendingAreRedoCapable = true;
        }
        if (take)
        {
            manager.takeExecutedCommands();
            return "take all";
        }
        manager.clear();
        return "clear";
    }

    std::string takeLast()
    {
        if (!model.undoQueue.empty())
        {
            model.undoQueue.pop_back();
        }
        manager.takeLastExecutedCommand();
        return "take last";
    }

    std::string markAll()
    {
        model.base = {business->all, business->all};
        manager.markAllModulesBeforeFirstCommandAsModified();
        return "mark all";
    }

    std::string changeOutside()
    {
        business->modified.merge(pickModules());
        business->saveOnNextSave = pickModules();
        return "change outside";
    }

    std::string fail()
    {
        switch (pick(3))
        {
        case 0:
        {
            const auto command = makeCommand();
            command->fails = true;
            EXPECT_FALSE(manager.addCommand(command));
            return "failing add";
        }
        case 1:
        {
            model.loseRedo();
            business->questionsToRefuse = 1;
            EXPECT_THROW(manager.addExecutedCommand(makeCommand()), std::runtime_error);
            return "refused recording";
        }
        default:
            business->questionsToRefuse = static_cast<int>(1 + pick(2));
            EXPECT_THROW(manager.clear(), std::runtime_error);
            return "refused clear";
        }
    }

    std::mt19937 random;
    std::size_t moduleCount;
    std::shared_ptr<Business> business = std::make_shared<Business>();
    CommandManager manager;
    Model model;
    bool pendingAreRedoCapable = true;
};

class ChangeTrackingWalk : public testing::TestWithParam<std::tuple<unsigned, std::size_t>>
{
};

TEST_P(ChangeTrackingWalk, AgreesWithThePlainRulesAfterEveryOperation)
{
    const auto [seed, modules] = GetParam();
    Walk walk(seed, modules);
    std::vector<std::string> operations;
    for (int step = 0; step < 1500; ++step)
    {
        operations.push_back(walk.step());
        walk.compare();
        if (HasFatalFailure() || HasNonfatalFailure())
        {
            FAIL() << "after " << testing::PrintToString(operations);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(FewModules, ChangeTrackingWalk,
                         testing::Combine(testing::Range(1U, 25U), testing::Values(6)));
INSTANTIATE_TEST_SUITE_P(ManyModules, ChangeTrackingWalk,
                         testing::Combine(testing::Range(1U, 9U), testing::Values(150)));

class ChangeTrackingBehaviour : public testing::Test
{
protected:
    ChangeTrackingBehaviour()
    {
        manager.setModuleAccessInterface(business);
    }

    void execute(const Modules& modules)
    {
        EXPECT_TRUE(manager.addCommand(std::make_shared<TouchCmd>(*business, modules)));
    }

    std::shared_ptr<Business> business = std::make_shared<Business>();
    CommandManager manager;
};

TEST_F(ChangeTrackingBehaviour, UndoingToTheSavePointMakesTheModulesUnmodified)
{
    const Modules first = {module(1)};
    const Modules second = {module(2)};
    execute(first);
    manager.adjustOnSave(0);
    execute(second);
    manager.undo(1);
    EXPECT_EQ(manager.getModifiedModules(0), Modules());
    manager.undo(1);
    EXPECT_EQ(manager.getModifiedModules(0), first);
    manager.redo(2);
    EXPECT_EQ(manager.getModifiedModules(0), second);
    EXPECT_EQ(manager.getModifiedModules(1), united(first, second));
}

TEST_F(ChangeTrackingBehaviour, AMacroModifiesTheModulesOfAllItsCommands)
{
    const auto macro = std::make_shared<MacroCommand>();
    macro->addCommand(std::make_shared<TouchCmd>(*business, Modules{module(1)}));
    macro->addCommand(std::make_shared<TouchCmd>(*business, Modules{module(2)}));
    manager.addCommand(macro);
    EXPECT_EQ(manager.getModifiedModules(0), (Modules{module(1), module(2)}));
    manager.undo(1);
    EXPECT_EQ(manager.getModifiedModules(0), Modules());
}

TEST_F(ChangeTrackingBehaviour, ALongHistoryOfManyModulesKnowsEveryPosition)
{
    constexpr std::size_t commands = 100'000;
    constexpr std::size_t saved = commands / 2;
    std::mt19937 random(7);
    std::vector<const Object*> touched;
    for (std::size_t i = 0; i < commands; ++i)
    {
        touched.push_back(module(random() % 1000));
        execute({touched.back()});
        if (i + 1 == saved)
        {
            manager.adjustOnSave(0);
        }
    }
    const auto between = [&](std::size_t from, std::size_t to)
    {
        const auto [first, last] = std::minmax(from, to);
        return Modules(touched.begin() + static_cast<std::ptrdiff_t>(first),
                       touched.begin() + static_cast<std::ptrdiff_t>(last));
    };
    std::size_t position = commands;
    for (const std::size_t target : {commands - 10, saved + 300, saved + 1, saved, saved - 1, saved - 500,
                                     std::size_t{3}, std::size_t{0}, saved, commands})
    {
        EXPECT_TRUE(target < position ? manager.undo(position - target) : manager.redo(target - position));
        position = target;
        EXPECT_EQ(manager.getModifiedModules(0), between(saved, position)) << position;
        EXPECT_EQ(manager.getModifiedModules(1), between(0, position)) << position;
    }
    const std::size_t threeQuarters = commands / 4 * 3;
    manager.undo(commands / 4);
    manager.adjustOnSave(1);
    manager.undo(1000);
    EXPECT_EQ(manager.getModifiedModules(1), between(threeQuarters, threeQuarters - 1000));
    EXPECT_EQ(manager.getModifiedModules(0), between(saved, threeQuarters - 1000));
}

} // namespace
} // namespace Valdane

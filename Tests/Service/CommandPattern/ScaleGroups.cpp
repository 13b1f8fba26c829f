#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/Editing/History.h"
#include "Tests/Service/CommandPattern/Scale.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Valdane
{
namespace
{

/// Takes in the next one.
class DragCommand : public AddCommand, public MergeableCommand
{
public:
    using AddCommand::AddCommand;

    void undo() override
    {
        number -= steps;
    }

    bool mergeWith(const CommandBase& next) override
    {
        const auto* const drag = dynamic_cast<const DragCommand*>(&next);
        steps += drag == nullptr ? 0 : drag->steps;
        return drag != nullptr;
    }

private:
    std::int64_t steps = 1;
};

void addAll(CommandManager& manager, std::int64_t& number, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        manager.addCommand(std::make_shared<AddCommand>(number));
    }
}

void undoAndRedo(CommandManager& manager, const std::int64_t& number, std::size_t size, Meter& meter)
{
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    meter.run("undo all", [&] { manager.undoAll(); });
    EXPECT_EQ(number, 0);
    meter.run("redo all", [&] { manager.redoAll(); });
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    meter.run("clear", [&] { manager.clear(); });
}

} // namespace

/// One group of all commands.
void scaleGroup(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    CommandManager manager;
    manager.beginGroup("Add many");
    meter.run("execute", [&] { addAll(manager, number, size); });
    meter.run("end", [&] { manager.endGroup(); });
    EXPECT_EQ(manager.getQueueSize(), 1U);
    undoAndRedo(manager, number, size, meter);
}

/// A group for every ten commands.
void scaleGroups(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    CommandManager manager;
    const auto addGroups = [&]
    {
        for (std::size_t i = 0; i < size / 10; ++i)
        {
            manager.beginGroup("Add ten");
            addAll(manager, number, 10);
            manager.endGroup();
        }
    };
    meter.run("execute", addGroups);
    EXPECT_EQ(manager.getQueueSize(), size / 10);
    undoAndRedo(manager, number, size, meter);
}

void scaleMerges(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    CommandManager manager;
    const auto drag = [&]
    {
        for (std::size_t i = 0; i < size; ++i)
        {
            manager.addOrMergeCommand(std::make_shared<DragCommand>(number));
        }
    };
    meter.run("execute", drag);
    EXPECT_EQ(manager.getQueueSize(), 1U);
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    meter.run("undo", [&] { EXPECT_TRUE(manager.undo(1)); });
    EXPECT_EQ(number, 0);
}

/// What the next command waits for becomes one entry with it.
void scaleWaitingCommands(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    CommandManager manager;
    const auto wait = [&]
    {
        for (std::size_t i = 1; i < size; ++i)
        {
            manager.addCommandToMergeWithNextCommand(std::make_shared<AddCommand>(number), false);
        }
    };
    meter.run("execute", wait);
    meter.run("merge", [&] { addAll(manager, number, 1); });
    EXPECT_EQ(manager.getQueueSize(), 1U);
    undoAndRedo(manager, number, size, meter);
}

/// A list that hears of every row.
void scaleHistoryList(std::size_t size, Meter& meter)
{
    std::int64_t number = 0;
    std::uint64_t rows = 0;
    std::uint64_t changes = 0;
    CommandManager manager;
    History list(manager);
    const std::vector<Signals::Connection> connections = [&]
    {
        std::vector<Signals::Connection> made;
        made.push_back(
            list.connectToSigRowsInserted([&](std::uint64_t, std::uint64_t count) { rows += count; }));
        made.push_back(
            list.connectToSigRowsRemoved([&](std::uint64_t, std::uint64_t count) { rows -= count; }));
        made.push_back(list.connectToSigRowsChanged([&](std::uint64_t, std::uint64_t) { ++changes; }));
        return made;
    }();
    meter.run("execute", [&] { addAll(manager, number, size); });
    EXPECT_EQ(rows, size);
    meter.run("read every row",
              [&]
              {
                  for (std::uint64_t row = 0; row < rows; ++row)
                  {
                      EXPECT_FALSE(list.getText(row).empty());
                  }
              });
    meter.run("move to the start", [&] { list.moveTo(0); });
    EXPECT_EQ(number, 0);
    meter.run("move to the end", [&] { list.moveTo(size); });
    EXPECT_EQ(number, static_cast<std::int64_t>(size));
    EXPECT_GE(changes, 2 * size);
    meter.run("clear", [&] { manager.clear(); });
    EXPECT_EQ(rows, 0U);
}

} // namespace Valdane

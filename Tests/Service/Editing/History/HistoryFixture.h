#pragma once

#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/Editing/History.h"
#include "Tests/Support/ScriptedCommand.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Valdane
{

/// Takes in what comes after it, under a text of both.
class Drag : public ScriptedCommand, public MergeableCommand
{
public:
    using ScriptedCommand::ScriptedCommand;

    bool mergeWith(const CommandBase& next) override
    {
        if (dynamic_cast<const Drag*>(&next) == nullptr)
        {
            return false;
        }
        setDescription(getDescription() + next.getDescription());
        return true;
    }
};

/// "a" is undone, "a+" done, "a*" current; "!0" is saved for tracker 0.
inline std::string lookOf(const History& history, std::uint64_t row)
{
    std::string look = history.getText(row);
    look += history.isCurrent(row) ? "*" : history.isDone(row) ? "+" : "";
    look += history.isSaved(row, 0) ? "!0" : "";
    look += history.isSaved(row, 1) ? "!1" : "";
    return look;
}

/// What the manager says itself, in the same form.
inline std::vector<std::string> looksOf(const CommandManager& manager)
{
    std::vector<std::string> looks;
    const std::uint64_t position = manager.getPosition();
    for (std::uint64_t row = 0; row < manager.getQueueSize(); ++row)
    {
        std::string look = manager.getCommand(row)->getDescription();
        look += row + 1 == position ? "*" : row < position ? "+" : "";
        look += manager.getSavedPosition(0) == row + 1 ? "!0" : "";
        look += manager.getSavedPosition(1) == row + 1 ? "!1" : "";
        looks.push_back(look);
    }
    return looks;
}

/// An item model that asks for a row when it is told of it, and never again.
class Model
{
public:
    explicit Model(const History& history)
    {
        insert(history, 0, history.getRowCount());
    }

    void connect(History& history)
    {
        removed = history.connectToSigRowsRemoved([&](std::uint64_t first, std::uint64_t count)
                                                  { remove(history, first, count); });
        inserted = history.connectToSigRowsInserted([&](std::uint64_t first, std::uint64_t count)
                                                    { insert(history, first, count); });
        changed = history.connectToSigRowsChanged([&](std::uint64_t first, std::uint64_t count)
                                                  { change(history, first, count); });
    }

    std::vector<std::string> rows;

private:
    auto at(std::uint64_t row)
    {
        return rows.begin() + static_cast<std::ptrdiff_t>(row);
    }

    void remove(const History& history, std::uint64_t first, std::uint64_t count)
    {
        ASSERT_GT(count, 0U);
        ASSERT_LE(first + count, rows.size());
        rows.erase(at(first), at(first + count));
        EXPECT_EQ(history.getRowCount(), rows.size());
    }

    void insert(const History& history, std::uint64_t first, std::uint64_t count)
    {
        ASSERT_LE(first, rows.size());
        for (std::uint64_t row = first; row < first + count; ++row)
        {
            rows.insert(at(row), lookOf(history, row));
        }
        EXPECT_EQ(history.getRowCount(), rows.size());
    }

    void change(const History& history, std::uint64_t first, std::uint64_t count)
    {
        ASSERT_GT(count, 0U);
        ASSERT_LE(first + count, rows.size());
        for (std::uint64_t row = first; row < first + count; ++row)
        {
            rows[row] = lookOf(history, row);
        }
    }

    Signals::Connection removed;
    Signals::Connection inserted;
    Signals::Connection changed;
};

using Journal = std::vector<std::string>;

inline std::string nameOf(History::MoveResult result)
{
    switch (result)
    {
    case History::MoveResult::Reached:
        return "reached";
    case History::MoveResult::CommandFailed:
        return "command failed";
    case History::MoveResult::GroupOpen:
        return "group open";
    case History::MoveResult::RunNotEnded:
        return "run not ended";
    case History::MoveResult::Interrupted:
        return "interrupted";
    }
    return "unknown";
}

/// Notes all signals of a history in words.
class Recorder
{
public:
    explicit Recorder(History& history, Journal& journal)
    {
        const auto noteRows = [&journal](const std::string& what)
        {
            return [&journal, what](std::uint64_t first, std::uint64_t count)
            {
                journal.push_back(what + " " + std::to_string(first) + " " + std::to_string(count));
            };
        };
        connections.push_back(history.connectToSigRowsRemoved(noteRows("removed")));
        connections.push_back(history.connectToSigRowsInserted(noteRows("inserted")));
        connections.push_back(history.connectToSigRowsChanged(noteRows("changed")));
        connections.push_back(history.connectToSigChanged([&] { journal.emplace_back("whole"); }));
        connections.push_back(history.connectToSigMoved([&](History::MoveResult result)
                                                        { journal.push_back(nameOf(result)); }));
    }

private:
    std::vector<Signals::Connection> connections;
};

class HistoryTest : public testing::Test
{
protected:
    std::shared_ptr<ScriptedCommand> add(const std::string& name)
    {
        auto command = std::make_shared<ScriptedCommand>(name);
        manager.addCommand(command);
        return command;
    }

    void addAll(const std::string& names)
    {
        for (const char name : names)
        {
            add(std::string(1, name));
        }
    }

    void limitTo(std::uint32_t size)
    {
        manager.setMaxQueueSize(size);
        manager.setUsesMaxQueueSize(true);
    }

    /// What the history told while @p action ran.
    Journal toldBy(const std::function<void()>& action)
    {
        Journal journal;
        const Recorder recorder(history.value(), journal);
        action();
        return journal;
    }

    Journal looks()
    {
        Journal rows;
        for (std::uint64_t row = 0; row < history->getRowCount(); ++row)
        {
            rows.push_back(lookOf(*history, row));
        }
        return rows;
    }

    /// Connects @p action to each signal of the history in turn, and lets @p test run once for each.
    template <typename Action, typename Test>
    void atEachSignal(const Action& action, const Test& test)
    {
        const auto atRows = [&](std::uint64_t /*first*/, std::uint64_t /*count*/)
        {
            action();
        };
        const auto at = [&](const char* name, const auto& connect)
        {
            SCOPED_TRACE(name);
            Signals::Connection connection = connect();
            test(connection);
        };
        at("removed", [&] { return history->connectToSigRowsRemoved(atRows); });
        at("inserted", [&] { return history->connectToSigRowsInserted(atRows); });
        at("changed", [&] { return history->connectToSigRowsChanged(atRows); });
        at("whole", [&] { return history->connectToSigChanged(action); });
    }

    CommandManager manager;
    std::optional<History> history{manager};
};

} // namespace Valdane

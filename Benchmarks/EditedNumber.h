#pragma once

#include "Benchmarks/Histories/ValdaneHistory.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Editing/History.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Valdane::Benchmarks
{

/// A number and the manager of its changes, for what follows a manager.
struct EditedNumber
{
    int number = 0;
    CommandManager manager;

    std::shared_ptr<CommandBase> make()
    {
        return std::make_shared<SetNumber>(number, 1, commandText);
    }

    void add(std::size_t times)
    {
        for (std::size_t i = 0; i < times; ++i)
        {
            manager.addCommand(make());
        }
    }

    void undo(std::size_t times)
    {
        for (std::size_t i = 0; i < times; ++i)
        {
            manager.undo(1);
        }
    }

    void redo(std::size_t times)
    {
        for (std::size_t i = 0; i < times; ++i)
        {
            manager.redo(1);
        }
    }
};

/// A list of the rows of a history, which hears of all changes.
class ListeningView
{
public:
    explicit ListeningView(CommandManager& manager) : history(manager) {}

    History history;

private:
    std::size_t calls = 0;
    std::array<Signals::Connection, 4> connections{
        history.connectToSigRowsRemoved([this](std::uint64_t, std::uint64_t) { hear(calls); }),
        history.connectToSigRowsInserted([this](std::uint64_t, std::uint64_t) { hear(calls); }),
        history.connectToSigRowsChanged([this](std::uint64_t, std::uint64_t) { hear(calls); }),
        history.connectToSigChanged([this] { hear(calls); })};
};

} // namespace Valdane::Benchmarks

#pragma once

#include "Benchmarks/Histories/Setting.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MergeableCommand.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Valdane::Benchmarks
{

/// Sets a number.
class SetNumber : public CommandBase
{
public:
    SetNumber(int& target, int value, std::string text)
        : CommandBase(std::move(text)), number(target), newValue(value)
    {
    }

    void execute() override
    {
        oldValue = std::exchange(number, newValue);
    }

    void undo() override
    {
        number = oldValue;
    }

private:
    int& number;
    int newValue;
    int oldValue = 0;
};

/// Sets a number, and takes in the next command that does.
class DragNumber : public SetNumber, public MergeableCommand
{
public:
    using SetNumber::SetNumber;

    bool mergeWith(const CommandBase& next) override
    {
        return dynamic_cast<const DragNumber*>(&next) != nullptr;
    }
};

/// Valdane's command manager.
class ValdaneHistory
{
public:
    static constexpr const char* name = "Valdane";

    explicit ValdaneHistory(const Setting& setting)
    {
        for (std::size_t i = 0; i < setting.listeners; ++i)
        {
            listen(setting.listensToEverySignal);
        }
        manager.setMaxQueueSize(static_cast<std::uint32_t>(setting.limit));
        manager.setUsesMaxQueueSize(setting.limit != 0);
    }

    void push(int value)
    {
        manager.addCommand(std::make_shared<SetNumber>(number, value, commandText));
    }

    /// Each but the first is merged into it.
    void drag(int value)
    {
        manager.addOrMergeCommand(std::make_shared<DragNumber>(number, value, commandText));
    }

    void undo()
    {
        manager.undo(1);
    }

    void redo()
    {
        manager.redo(1);
    }

private:
    void listen(bool toEverySignal)
    {
        connections.push_back(manager.connectToSigCommandQueueChanged(
            [this](CommandManager::QueueChangeReason) { hear(calls); }));
        if (toEverySignal)
        {
            const auto heard = [this]
            {
                hear(calls);
            };
            connections.push_back(manager.connectToSigCommandExecuted(heard));
            connections.push_back(manager.connectToSigCommandUndone(heard));
            connections.push_back(
                manager.connectToSigCommandFailed([this](const char*, const std::string&) { hear(calls); }));
            connections.push_back(manager.connectToSigThreadedCommandStarted(heard));
            connections.push_back(manager.connectToSigThreadedCommandFinished(heard));
            connections.push_back(manager.connectToSigUndoRedoProcessCompleted(heard));
        }
    }

    int number = 0;
    std::size_t calls = 0;
    CommandManager manager;
    std::vector<Signals::Connection> connections;
};

} // namespace Valdane::Benchmarks

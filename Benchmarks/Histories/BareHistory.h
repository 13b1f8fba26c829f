#pragma once

#include "Benchmarks/Histories/Setting.h"
#include "Benchmarks/Histories/ValdaneHistory.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

namespace Valdane::Benchmarks
{

/// What no history can do without: the commands themselves, a place for each, and the call of the listener.
class BareHistory
{
public:
    static constexpr const char* name = "bare";

    explicit BareHistory(const Setting& setting)
        : limit(setting.limit), signals(setting.listeners == 0 ? 0 : (setting.listensToEverySignal ? 2 : 1))
    {
    }

    void push(int value)
    {
        commands.push_back(std::make_shared<SetNumber>(number, value, commandText));
        commands.back()->execute();
        if (limit != 0 && commands.size() > limit)
        {
            commands.pop_front();
        }
        done = commands.size();
        tell();
    }

    void undo()
    {
        commands[--done]->undo();
        tell();
    }

    void redo()
    {
        commands[done++]->redo();
        tell();
    }

private:
    void tell()
    {
        for (int i = 0; i < signals; ++i)
        {
            listener();
        }
    }

    std::size_t limit;
    int signals;
    int number = 0;
    std::size_t calls = 0;
    std::function<void()> listener = [this]
    {
        hear(calls);
    };
    std::deque<std::shared_ptr<CommandBase>> commands;
    std::size_t done = 0;
};

} // namespace Valdane::Benchmarks

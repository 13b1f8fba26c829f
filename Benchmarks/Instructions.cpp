// Does one kind of work a given number of times, for a tool that counts the instructions: the difference
// between two numbers of times is what the work itself costs.

#include "Benchmarks/Histories/ValdaneHistory.h"
#include "Benchmarks/SecondThread.h"
#ifdef VALDANE_BENCHMARKS_QT
#include "Benchmarks/Histories/QtHistory.h"
#endif

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

template <typename History>
void push(std::size_t times, const Setting& setting)
{
    // Never destroyed: that is another work.
    auto* const history = new History(setting);
    for (std::size_t i = 0; i < times; ++i)
    {
        history->push(static_cast<int>(i));
    }
}

void drag(std::size_t times)
{
    auto* const history = new ValdaneHistory(Setting{});
    for (std::size_t i = 0; i < times; ++i)
    {
        history->drag(static_cast<int>(i));
    }
}

// The history is of the same length whatever the number of times is.
template <typename History>
void undo(std::size_t times, const Setting& setting)
{
    auto* const history = new History(setting);
    for (int i = 0; i < 2000; ++i)
    {
        history->push(i);
    }
    for (std::size_t i = 0; i < times; ++i)
    {
        history->undo();
    }
}

template <typename History>
void redo(std::size_t times, const Setting& setting)
{
    auto* const history = new History(setting);
    for (int i = 0; i < 2000; ++i)
    {
        history->push(i);
    }
    for (int i = 0; i < 2000; ++i)
    {
        history->undo();
    }
    for (std::size_t i = 0; i < times; ++i)
    {
        history->redo();
    }
}

/// Takes a memory block with each undo. Whoever compares the instructions with those of "undo" must notice it.
class SlowerHistory : public ValdaneHistory
{
public:
    using ValdaneHistory::ValdaneHistory;

    void undo()
    {
        ValdaneHistory::undo();
        block = std::make_unique<int>(0);
    }

private:
    std::unique_ptr<int> block;
};

using Work = std::function<void(std::size_t times)>;

template <typename History>
void addWorks(std::map<std::string, Work>& works, const std::string& prefix)
{
    const Setting everySignal{.listensToEverySignal = true};
    works[prefix + "add"] = [](std::size_t times)
    {
        push<History>(times, {});
    };
    works[prefix + "undo"] = [](std::size_t times)
    {
        undo<History>(times, {});
    };
    works[prefix + "redo"] = [](std::size_t times)
    {
        redo<History>(times, {});
    };
    works[prefix + "add-every-signal"] = [=](std::size_t times)
    {
        push<History>(times, everySignal);
    };
    works[prefix + "undo-every-signal"] = [=](std::size_t times)
    {
        undo<History>(times, everySignal);
    };
    works[prefix + "add-limit-25"] = [](std::size_t times)
    {
        push<History>(times, {.limit = 25});
    };
}

int run(const std::string& name, std::size_t times)
{
    std::map<std::string, Work> works;
    addWorks<ValdaneHistory>(works, "");
    works["add-merging"] = drag;
    works["slower-undo"] = [](std::size_t steps)
    {
        undo<SlowerHistory>(steps, {});
    };
#ifdef VALDANE_BENCHMARKS_QT
    addWorks<QtHistory>(works, "qt-");
#endif
    const auto work = works.find(name);
    if (work == works.end())
    {
        for (const auto& known : works)
        {
            std::cout << known.first << '\n';
        }
        return name == "list" ? 0 : 2;
    }
    work->second(times);
    return 0;
}

} // namespace
} // namespace Valdane::Benchmarks

int main(int argc, char** argv)
{
    const Valdane::Benchmarks::SecondThread thread;
    return argc < 2 ? 2
                    : Valdane::Benchmarks::run(argv[1], argc < 3 ? 0 : std::strtoul(argv[2], nullptr, 10));
}

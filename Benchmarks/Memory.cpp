// What a history takes of the heap: allocations and bytes for one command, and what is left of them without
// the commands themselves.

#include "Benchmarks/Histories/ValdaneHistory.h"
#include "Benchmarks/ModulesInTurn.h"
#include "Service/CommandTesting/Allocations.h"

#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace Valdane::Benchmarks
{
namespace
{

constexpr std::size_t size = 100'000;

struct Use
{
    double allocations = 0;
    double bytes = 0;
};

/// For each of the commands.
template <typename Work>
Use useOf(const Work& work, std::size_t times = size)
{
    const HeapUse before = HeapUse::now();
    for (std::size_t i = 0; i < times; ++i)
    {
        work();
    }
    const HeapUse after = HeapUse::now();
    const auto each = static_cast<double>(times);
    return {.allocations = static_cast<double>(after.allocations - before.allocations) / each,
            .bytes = static_cast<double>(static_cast<std::int64_t>(after.bytes - before.bytes)) / each};
}

void print(const std::string& what, const Use& use)
{
    std::cout << std::left << std::setw(48) << what << std::right << std::fixed << std::setprecision(3)
              << std::setw(8) << use.allocations << " allocations" << std::setprecision(1) << std::setw(8)
              << use.bytes << " bytes\n";
}

Use operator-(const Use& whole, const Use& part)
{
    return {.allocations = whole.allocations - part.allocations, .bytes = whole.bytes - part.bytes};
}

/// Commands that modify the modules in turn. @param savedAfter  how many are added when the application saves
Use addOverModules(std::size_t modules, std::size_t times, std::size_t savedAfter)
{
    int number = 0;
    CommandManager manager;
    manager.setModuleAccessInterface(std::make_shared<ModulesInTurn>(modules));
    std::size_t commandsAdded = 0;
    const auto add = [&]
    {
        manager.addCommand(std::make_shared<SetNumber>(number, 1, commandText));
        if (++commandsAdded == savedAfter)
        {
            manager.adjustOnSave(0);
        }
    };
    return useOf(add, times);
}

void measure()
{
    std::vector<std::shared_ptr<CommandBase>> commands;
    commands.reserve(size);
    int number = 0;
    const auto make = [&]
    {
        commands.push_back(std::make_shared<SetNumber>(number, 1, commandText));
    };
    const Use alone = useOf(make);
    print("a command alone", alone);

    ValdaneHistory history{Setting{}};
    const Use added = useOf([&] { history.push(1); });
    print("a command in a history", added);
    print("  without the command", added - alone);
    print("undo", useOf([&] { history.undo(); }));
    print("redo", useOf([&] { history.redo(); }));

    print("over 1,000 modules, saved in the middle", addOverModules(1000, size, size / 2) - alone);
    print("20,000 over 20,000 modules, not saved", addOverModules(20'000, 20'000, 0) - alone);
    print("20,000 over 20,000 modules, saved", addOverModules(20'000, 20'000, 20'000) - alone);
}

} // namespace
} // namespace Valdane::Benchmarks

int main()
{
    Valdane::Benchmarks::measure();
    return 0;
}

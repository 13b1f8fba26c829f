// Several commands as one step of undo. You learn when to take a macro, and when a group: a macro has
// commands that are all known before it runs, and in a group each command may depend on what the one before
// has done. If a command fails, neither leaves a trace.

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/Editing/CommandGroup.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>

namespace
{

using namespace Valdane;

struct Plant
{
    int north = 6;
    int south = 8;
    int boiler = 0;
};

class Pump : public CommandBase
{
public:
    Pump(int& source, int& target, int amount)
        : CommandBase("Pump " + std::to_string(amount) + " l"), from(source), to(target), litres(amount)
    {
    }

    // A command fails by throwing, before it has changed anything.
    void execute() override
    {
        if (from < litres)
        {
            throw VdException("the tank has only " + std::to_string(from) + " l");
        }
        from -= litres;
        to += litres;
    }

    void undo() override
    {
        from += litres;
        to -= litres;
    }

private:
    int& from;
    int& to;
    int litres;
};

void drain(CommandManager& manager, Plant& plant, int litres)
{
    auto macro = std::make_shared<MacroCommand>("Drain the boiler");
    macro->addCommand(std::make_shared<Pump>(plant.boiler, plant.north, litres));
    macro->addCommand(std::make_shared<Pump>(plant.boiler, plant.south, litres));
    manager.addCommand(macro);
}

void fill(CommandManager& manager, Plant& plant, int litres)
{
    CommandGroup group(manager, "Fill the boiler");
    const int first = std::min(plant.north, litres);
    // A command that fails in a group fails alone. The group is undone if it is left without a commit, also
    // by an exception.
    if (manager.addCommand(std::make_shared<Pump>(plant.north, plant.boiler, first)) &&
        manager.addCommand(std::make_shared<Pump>(plant.south, plant.boiler, litres - first)))
    {
        group.commit();
    }
}

} // namespace

int main()
{
    // The log would write failures to standard output, where the slot below writes them already.
    spdlog::set_level(spdlog::level::off);
    Plant plant;
    CommandManager manager;
    const auto failed = manager.connectToSigCommandFailed(
        [](const char* what, const std::string& description)
        { std::cout << "  " << description << " fails: " << what << "\n"; });
    const auto show = [&](const std::string& what)
    {
        std::cout << what << ": north " << plant.north << ", south " << plant.south << ", boiler "
                  << plant.boiler << "; steps: " << manager.getPosition() << "\n";
    };

    show("at first");
    fill(manager, plant, 10);
    show("filled");
    drain(manager, plant, 2);
    show("drained");
    drain(manager, plant, 4);
    show("not drained");
    fill(manager, plant, 12);
    show("not filled");
    manager.undo(1);
    show("undone");
    manager.undo(1);
    show("undone");
}

// What an application uses of the installed libraries: commands of its own, a worker thread, the object tree, and types
// that cross the borders of the libraries.

#include "Platform/ExceptionHandling/VdException.h"
#include "Platform/GeneralServices/NameInterface.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Platform/Parameterization/AttributeDescription.h"
#include "Platform/Parameterization/Object.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/SetAttributecommandFactory.h"
#include "Service/CommandPattern/SetNameCmd.h"
#include "Service/CommandPattern/ThreadedCommand.h"

#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace
{

class Arm : public Valdane::Object, public Valdane::NameInterface
{
public:
    Arm() : Object("arm"), description(makeDescription()) {}

    std::string getName() const override
    {
        return name;
    }

    void setName(const std::string& newName, bool) override
    {
        name = newName;
    }

    std::shared_ptr<Valdane::AttributeDescription<double>> description;

private:
    std::shared_ptr<Valdane::AttributeDescription<double>> makeDescription()
    {
        return std::make_shared<Valdane::AttributeDescription<double>>(
            "mass", [this] { return mass; }, [this](const double& value) { mass = value; });
    }

    std::string name = "left";
    double mass = 1.5;
};

class AddUp : public Valdane::ThreadedCommand
{
public:
    explicit AddUp(std::uint64_t& variable) : ThreadedCommand("Add up"), total(variable) {}

    void run() override
    {
        for (std::uint64_t i = 1; i <= 1000; ++i)
        {
            sum += i;
        }
    }

    void finishRun() override
    {
        std::swap(total, sum);
    }

    void undo() override
    {
        std::swap(total, sum);
    }

private:
    std::uint64_t& total;
    std::uint64_t sum = 0;
};

void show(const Arm& arm)
{
    std::cout << arm.getName() << " weighs " << arm.description->getGetter()() << "\n";
}

void editTree()
{
    Valdane::CommandManager manager;
    const auto arm = std::make_shared<Arm>();
    arm->addAttributeDescription(arm->description);

    const auto macro = std::make_shared<Valdane::MacroCommand>("Change the arm");
    macro->addCommand(std::make_shared<Valdane::SetNameCmd>(arm, "right", "Rename"));
    macro->addCommand(
        Valdane::SetAttributecommandFactory(arm).createCommand(arm->description.get(), "2.5", ""));
    manager.addCommand(macro);
    show(*arm);
    manager.undo(1);
    show(*arm);
}

void work()
{
    std::uint64_t total = 0;
    Valdane::CommandManager manager;
    manager.addThreadedCommand(std::make_shared<AddUp>(total));
    while (!manager.getThreadManager()->waitForRunEnd(std::chrono::seconds(1)))
    {
    }
    manager.finalizeThread();
    std::cout << "total " << total << "\n";
    manager.undo(1);
    std::cout << "total " << total << "\n";
}

class Fill : public Valdane::CommandBase
{
public:
    Fill() : CommandBase("Fill") {}

    void execute() override
    {
        throw std::runtime_error("no room");
    }

    void undo() override {}
};

// Says so on standard error; standard output is the application's own.
void fail()
{
    Valdane::CommandManager manager;
    std::cout << "filled: " << manager.addCommand(std::make_shared<Fill>()) << "\n";
}

void catchAcrossTheBorder()
{
    try
    {
        const Valdane::SetNameCmd command(nullptr, "right", "Rename");
    }
    catch (const Valdane::VdException& exception)
    {
        std::cout << exception.what() << "\n";
    }
}

} // namespace

int main()
{
    editTree();
    work();
    fail();
    catchAcrossTheBorder();
}

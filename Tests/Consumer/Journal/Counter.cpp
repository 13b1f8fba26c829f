#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/Journal.h"

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

namespace
{

class Add : public Valdane::CommandBase
{
public:
    Add(int& changed, int by) : CommandBase("Add " + std::to_string(by)), number(changed), amount(by) {}

    void execute() override
    {
        number += amount;
    }

    void undo() override
    {
        number -= amount;
    }

    int& number;
    int amount;
};

} // namespace

// Adds two numbers and dies; the next time, undoes one of them.
int main(int /*argc*/, char** argv)
{
    using Valdane::CommandCodecs;
    int number = 0;
    CommandCodecs codecs;
    codecs.add<Add>(
        "counter.add", 1, CommandCodecs::Keeps::Undo,
        [](const Add& add) { return CommandCodecs::Json(add.amount); },
        [&](const CommandCodecs::Json& data, std::uint32_t)
        { return std::make_shared<Add>(number, data.get<int>()); });
    Valdane::CommandManager manager;
    Valdane::Journal journal(codecs, argv[1], {.durability = Valdane::Journal::Durability::EachCommand});
    if (journal.getRemains().has_value())
    {
        std::cout << journal.recover(manager, "nothing").steps << " steps: " << number << "\n";
        manager.undo(1);
        std::cout << "undone: " << number << "\n";
        return 0;
    }
    journal.start(manager, {.document = "counter", .digest = "nothing"});
    manager.addCommand(std::make_shared<Add>(number, 40));
    manager.addCommand(std::make_shared<Add>(number, 2));
    std::cout << number << std::endl;
    std::_Exit(0);
}

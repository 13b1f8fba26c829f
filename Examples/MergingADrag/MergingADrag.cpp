// A drag is many small moves, and one step of undo. You learn how a command takes in the next one, and how
// MergePolicy decides where a step ends: at the release of the mouse button, after a pause, or when something
// else is edited.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MergeableCommand.h"
#include "Service/Editing/MergePolicy.h"

#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

namespace
{

using namespace Valdane;

class MoveTo : public CommandBase, public MergeableCommand
{
public:
    MoveTo(int& shape, int target) : CommandBase("Move shape"), place(shape), other(target) {}

    void execute() override
    {
        std::swap(place, other);
    }

    void undo() override
    {
        std::swap(place, other);
    }

    // There is nothing to take over: this command has the place before both moves, and the shape has the one
    // after them.
    bool mergeWith(const CommandBase& next) override
    {
        const auto* move = dynamic_cast<const MoveTo*>(&next);
        return move != nullptr && &move->place == &place;
    }

private:
    int& place;
    int other;
};

void dragWithoutAPolicy()
{
    int shape = 0;
    CommandManager manager;
    for (const int place : {1, 2, 3})
    {
        manager.addOrMergeCommand(std::make_shared<MoveTo>(shape, place));
    }
    std::cout << "one drag: at " << shape << ", steps: " << manager.getPosition() << "\n";
    // The command cannot know that this is another drag.
    manager.addOrMergeCommand(std::make_shared<MoveTo>(shape, 9));
    std::cout << "another: at " << shape << ", steps: " << manager.getPosition() << "\n";
    manager.undo(1);
    std::cout << "undone: at " << shape << "\n";
}

void dragWithAPolicy()
{
    int shape = 0;
    int label = 0;
    CommandManager manager;
    // This program prints the same each time because it has a clock of its own. Leave it out in yours.
    std::chrono::steady_clock::time_point now;
    MergePolicy policy(manager, {.pause = std::chrono::seconds(1)}, [&] { return now; });
    const auto moveShape = [&](int place)
    {
        policy.add(std::make_shared<MoveTo>(shape, place), "move shape");
    };
    const auto show = [&](const std::string& what)
    {
        std::cout << what << ": at " << shape << ", steps: " << manager.getPosition() << "\n";
    };

    moveShape(1);
    moveShape(2);
    moveShape(3);
    show("one drag");
    policy.endStep();
    moveShape(9);
    show("another, after the button was released");
    now += std::chrono::seconds(2);
    moveShape(10);
    show("after a pause");
    policy.add(std::make_shared<MoveTo>(label, 5), "move label");
    moveShape(11);
    show("after another shape was moved");
    manager.undoAll();
    show("all undone");
}

} // namespace

int main()
{
    std::cout << "without a policy\n";
    dragWithoutAPolicy();
    std::cout << "with a policy\n";
    dragWithAPolicy();
}

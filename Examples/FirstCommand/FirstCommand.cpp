// The first command. You learn what a command is: execute() makes a change, and undo() takes it back. The
// manager runs it, keeps it for undo and redo, and tells the slot that you connect.

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"

#include <iostream>
#include <memory>
#include <utility>

struct SetSpeed : Valdane::CommandBase
{
    SetSpeed(int& variable, int value) : CommandBase("Set speed"), speed(variable), other(value) {}
    void execute() override { std::swap(speed, other); }
    void undo() override { std::swap(speed, other); }

    int& speed;
    int other;
};

int main()
{
    int speed = 1;
    Valdane::CommandManager manager;
    const auto changed = manager.connectToSigCommandQueueChanged(
        [&](auto) { std::cout << "speed " << speed << ", can undo: " << manager.canUndo() << "\n"; });

    manager.addCommand(std::make_shared<SetSpeed>(speed, 5)); // speed 5, can undo: 1
    manager.undo(1);                                          // speed 1, can undo: 0
    manager.redo(1);                                          // speed 5, can undo: 1
}

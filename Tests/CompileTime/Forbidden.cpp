// What must not compile. Each case is compiled by a test of its own, FORBIDDEN being its number, and the compiler's message
// must match what stands behind the number. Without FORBIDDEN all the rest must compile: so it is the line that does not.

#include "Platform/Parameterization/Object.h"
#include "Platform/Parameterization/Path.h"
#include "Platform/Signals/Connection.h"
#include "Platform/Signals/Signal.h"
#include "Platform/Signals/Slot.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/SetAttributeCmd.h"
#include "Service/CommandPattern/ThreadedCommand.h"

#include <memory>
#include <string>
#include <utility>

#ifndef FORBIDDEN
#define FORBIDDEN 0
#endif

using namespace Valdane;

namespace
{

class Command : public CommandBase
{
public:
    void execute() override {}

    void undo() override {}
};

class CommandWithoutUndo : public CommandBase
{
public:
    void execute() override {}
};

class Run : public ThreadedCommand
{
public:
    using ThreadedCommand::ThreadedCommand;

    void run() override {}

    void finishRun() override {}

    void undo() override {}
};

} // namespace

void use(Command& command, MacroCommand& macro, SetAttributeCmd<int>& setter, CommandManager& manager,
         CommandCollector& collector, Signals::Signal<void(int)>& signal, Signals::Connection& connection,
         const std::shared_ptr<Object>& root, const Path& path)
{
    const auto onInt = [](int /*value*/) {
    };
    const auto onNothing = [] {
    };
    connection = signal.connect(onInt);
    connection = manager.connectToSigCommandUndone(onNothing);
    Command takenOver(std::move(command));
    takenOver.execute();
    Run("run").run();
    SetAttributeCmd<int>(root, path, 1, "").execute();
#if FORBIDDEN == 1 // CopyOfACommand: deleted
    Command copy(command);
#elif FORBIDDEN == 2  // AssignmentOfACommand: deleted
    takenOver = command;
#elif FORBIDDEN == 3  // CopyOfAMacro: deleted
    MacroCommand copy(macro);
#elif FORBIDDEN == 4  // CopyOfASetter: deleted
    SetAttributeCmd<int> copy(setter);
#elif FORBIDDEN == 5  // CopyOfAManager: deleted
    CommandManager copy(manager);
#elif FORBIDDEN == 6  // MoveOfAManager: deleted
    CommandManager moved(std::move(manager));
#elif FORBIDDEN == 7  // CopyOfACollector: deleted
    CommandCollector copy(collector);
#elif FORBIDDEN == 8  // CopyOfASignal: deleted
    Signals::Signal<void(int)> copy(signal);
#elif FORBIDDEN == 9  // CopyOfAConnection: deleted
    Signals::Connection copy(connection);
#elif FORBIDDEN == 10 // AConnectionToASignalThatIsIgnored: nodiscard
    signal.connect(onInt);
#elif FORBIDDEN == 11 // AConnectionToAManagerThatIsIgnored: nodiscard
    manager.connectToSigCommandUndone(onNothing);
#elif FORBIDDEN == 12 // ASlotWithOtherArguments: Slot<void *\(int\)>
    connection = signal.connect([](const std::string& /*text*/) {});
#elif FORBIDDEN == 13 // ASlotOfTheManagerWithTooManyArguments: Slot<void *\(\)>
    connection = manager.connectToSigCommandUndone(onInt);
#elif FORBIDDEN == 14 // ASlotThatCannotBeCalled: Slot<void *\(\)>
    const Signals::Slot<void()> slot = 5;
#elif FORBIDDEN == 15 // ASlotThatMovesItsArgument: would move
    const Signals::Slot<void(std::string &&)> slot = [](std::string&& /*text*/) {
    };
#elif FORBIDDEN == 16 // AnObjectOfTheAbstractBase: abstract
    const CommandBase base;
#elif FORBIDDEN == 17 // ACommandWithoutUndo: abstract
    const CommandWithoutUndo command2;
#elif FORBIDDEN == 18 // AnObjectOfTheAbstractThreadedCommand: abstract
    const ThreadedCommand base("run");
#elif FORBIDDEN == 19 // ASetterWithAValueOfAnotherType: no matching
    SetAttributeCmd<int>(root, path, std::string("1"), "").execute();
#elif FORBIDDEN == 20 // ACommandThatIsNoPointer: shared_ptr
    manager.addCommand(takenOver);
#elif FORBIDDEN == 0
    collector.connect(!macro.empty() && setter.isRedoCapable());
#else
#error "no such case"
#endif
}

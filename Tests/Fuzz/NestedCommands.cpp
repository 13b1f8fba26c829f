#include "NestedCommands.h"

#include "FuzzTarget.h"
#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandCollector.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"

#include <array>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Valdane;

/// What the commands change: which of them are done. A family is done in the order of its members, and undone
/// in the opposite one.
struct World
{
    std::vector<std::vector<bool>> families;
    /// Calls up to the one that fails; 0 if none does.
    unsigned callsToFailure = 0;
};

/// One member of a family.
class Member : public CommandBase
{
public:
    Member(World& surroundings, std::size_t familyNumber, bool redoCapable)
        : CommandBase("member"),
          world(surroundings),
          family(familyNumber),
          number(surroundings.families[familyNumber].size()),
          capable(redoCapable)
    {
        world.families[family].push_back(false);
    }

    void execute() override
    {
        change(true);
    }

    void undo() override
    {
        change(false);
    }

    void redo() override
    {
        change(true);
    }

    bool isRedoCapable() override
    {
        return capable;
    }

private:
    void change(bool to)
    {
        auto& members = world.families[family];
        for (std::size_t other = 0; other < members.size(); ++other)
        {
            const bool isDone = other == number ? !to : other < number;
            require(members[other] == isDone, "member " + std::to_string(number) + " of family " +
                                                  std::to_string(family) +
                                                  (to ? " done" : " undone out of turn"));
        }
        if (world.callsToFailure > 0 && --world.callsToFailure == 0)
        {
            throw std::runtime_error("no power");
        }
        members[number] = to;
    }

    World& world;
    std::size_t family;
    std::size_t number;
    bool capable;
};

class Play
{
public:
    explicit Play(std::span<const std::uint8_t> input) : bytes(input) {}

    void run()
    {
        while (!bytes.empty())
        {
            settled = world.families;
            const auto kind = static_cast<unsigned>(next() % operations.size());
            const bool isDone = (this->*operations[kind])();
            const std::string place = " after operation " + std::to_string(kind);
            require(!manager.isProcessingCommand(), "still processing" + place);
            require(isDone || areAsSettled(), "what failed has left a trace" + place);
        }
        collector.connect(false);
        world.callsToFailure = 0;
        goBackAndForth();
    }

private:
    unsigned next()
    {
        const unsigned number = bytes.empty() ? 0 : bytes.front();
        bytes = bytes.subspan(bytes.empty() ? 0 : 1);
        return number;
    }

    /// Whether the members are as they were when the last step was over. New ones are not done.
    bool areAsSettled() const
    {
        for (std::size_t family = 0; family < world.families.size(); ++family)
        {
            for (std::size_t member = 0; member < world.families[family].size(); ++member)
            {
                const bool isKnown = family < settled.size() && member < settled[family].size();
                if (world.families[family][member] != (isKnown && settled[family][member]))
                {
                    return false;
                }
            }
        }
        return true;
    }

    std::shared_ptr<CommandBase> makeMember()
    {
        return std::make_shared<Member>(world, world.families.size() - 1, next() % 16 != 1);
    }

    std::shared_ptr<CommandBase> makeFamily()
    {
        world.families.emplace_back();
        return makeNested<MacroCommand>(0);
    }

    /// A member, or a macro whose parts are such. A threaded macro is rolled back only where it is stepped:
    /// in another one.
    template <typename Macro>
    std::shared_ptr<CommandBase> makeNested(unsigned depth)
    {
        const unsigned shape = next();
        if (depth > 4 || shape % 4 == 0)
        {
            return makeMember();
        }
        return shape % 4 == 1 ? makeMacro<MacroCommand>(shape / 4, depth)
                              : makeMacro<Macro>(shape / 4, depth);
    }

    template <typename Macro>
    std::shared_ptr<Macro> makeMacro(unsigned parts, unsigned depth)
    {
        const auto macro = std::make_shared<Macro>("macro");
        for (unsigned part = 0; part < parts % 4; ++part)
        {
            macro->addCommand(makeNested<Macro>(depth + 1));
        }
        return macro;
    }

    bool add()
    {
        return manager.addCommand(makeFamily());
    }

    bool addToMerge()
    {
        return manager.addCommandToMergeWithNextCommand(makeFamily(), false);
    }

    bool addForwardToMerge()
    {
        return manager.addCommandToMergeWithNextCommand(makeFamily(), true);
    }

    bool addThreaded()
    {
        world.families.emplace_back();
        const auto macro = makeMacro<ThreadedMacroCommand>(next(), 0);
        bool failed = false;
        const auto watch = manager.connectToSigCommandFailed([&](const char* /*what*/, const std::string&)
                                                             { failed = true; });
        manager.addThreadedCommand(macro);
        return !failed;
    }

    bool addBuiltUp()
    {
        world.families.emplace_back();
        const auto macro = std::make_shared<MacroCommand>("built up");
        try
        {
            for (unsigned part = next() % 4; part > 0; --part)
            {
                macro->executeAndAdd(makeNested<MacroCommand>(1));
            }
        }
        catch (const std::runtime_error&)
        {
            return false;
        }
        manager.addExecutedCommand(macro);
        return true;
    }

    bool undo()
    {
        return manager.undo(next() % 5);
    }

    bool redo()
    {
        return manager.redo(next() % 5);
    }

    bool keep(const std::shared_ptr<CommandBase>& command)
    {
        if (command != nullptr)
        {
            taken.push_back(command);
        }
        return true;
    }

    bool takeAll()
    {
        return keep(manager.takeExecutedCommands());
    }

    bool takeLast()
    {
        return keep(manager.takeLastExecutedCommand());
    }

    /// Several that were taken come back as one.
    bool giveBack()
    {
        manager.addExecutedCommand(
            MacroCommand::getOrCreateSingleCommand(std::exchange(taken, MacroCommand::CommandList())));
        return true;
    }

    bool clear()
    {
        manager.clear();
        return true;
    }

    bool limit()
    {
        const unsigned size = next();
        manager.setMaxQueueSize(size / 2 % 8);
        manager.setUsesMaxQueueSize(size % 2 != 0);
        return true;
    }

    bool connectCollector()
    {
        collector.connect(next() % 4 != 0);
        return true;
    }

    bool addToCollector()
    {
        return collector.getCommandManager()->addCommand(makeFamily());
    }

    bool addToMergeInCollector()
    {
        return collector.getCommandManager()->addCommandToMergeWithNextCommand(makeFamily(), next() % 2 != 0);
    }

    bool undoInCollector()
    {
        return collector.getCommandManager()->undo(1);
    }

    bool redoInCollector()
    {
        return collector.getCommandManager()->redo(1);
    }

    bool takeRecorded()
    {
        return keep(collector.getExecutedCommands());
    }

    bool save()
    {
        manager.adjustOnSave(next() % CommandManager::ChangeTrackerCount);
        return true;
    }

    bool fail()
    {
        world.callsToFailure = 1 + next() % 8;
        return true;
    }

    /// What can be undone can be redone, again and again.
    void goBackAndForth()
    {
        manager.undoAll();
        const auto undone = world.families;
        manager.redoAll();
        const auto redone = world.families;
        require(!manager.canRedo(), "something left to redo");
        const auto descriptions = manager.collectUndoCommandDescriptions();
        manager.undoAll();
        require(!manager.canUndo(), "something left to undo");
        require(world.families == undone, "undone once more, it is not the same");
        manager.redoAll();
        const bool isWhole = manager.collectUndoCommandDescriptions() == descriptions;
        require(!isWhole || world.families == redone, "redone once more, it is not the same");
    }

    static constexpr auto operations = std::to_array<bool (Play::*)()>({&Play::add,
                                                                        &Play::addToMerge,
                                                                        &Play::addForwardToMerge,
                                                                        &Play::addThreaded,
                                                                        &Play::undo,
                                                                        &Play::redo,
                                                                        &Play::addBuiltUp,
                                                                        &Play::fail,
                                                                        &Play::takeAll,
                                                                        &Play::takeLast,
                                                                        &Play::giveBack,
                                                                        &Play::clear,
                                                                        &Play::limit,
                                                                        &Play::connectCollector,
                                                                        &Play::addToCollector,
                                                                        &Play::addToMergeInCollector,
                                                                        &Play::save,
                                                                        &Play::undoInCollector,
                                                                        &Play::redoInCollector,
                                                                        &Play::takeRecorded});

    World world;
    std::vector<std::vector<bool>> settled;
    std::span<const std::uint8_t> bytes;
    MacroCommand::CommandList taken;
    CommandManager manager;
    CommandCollector collector{manager};
    Signals::Connection stepDone = manager.connectToSigCommandQueueChanged(
        [this](CommandManager::QueueChangeReason) { settled = world.families; });
};

} // namespace

void playNestedCommands(std::span<const std::uint8_t> bytes)
{
    Play(bytes).run();
}

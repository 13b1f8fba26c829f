#include "ManagerModel.h"
#include "Operation.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/ThreadedCommand.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <list>
#include <memory>
#include <rapidcheck.h>
#include <set>
#include <sstream>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Valdane::Model
{
namespace
{

/// All that a manager tells about itself.
struct State
{
    std::list<std::string> undoable;
    std::list<std::string> redoable;
    std::string undoCommand;
    std::string redoCommand;
    std::uint64_t size = 0;
    std::uint32_t maxSize = 0;
    bool canUndo = false;
    bool canRedo = false;
    bool usesMaxSize = false;
    bool isProcessing = false;
    std::string slot;
    bool isThreadUnderWay = false;
    std::array<Modules, 2> modified = {};
    std::array<Modules, 2> toBeSaved = {};

    bool operator==(const State&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const State& state)
{
    for (const std::string& description : state.undoable)
    {
        stream << description << ' ';
    }
    stream << "| ";
    for (const std::string& description : state.redoable)
    {
        stream << description << ' ';
    }
    return stream << "next " << state.undoCommand << '/' << state.redoCommand << " size " << state.size << '/'
                  << state.maxSize << " can " << state.canUndo << state.canRedo << " limited "
                  << state.usesMaxSize << " processing " << state.isProcessing << " slot " << state.slot
                  << " thread " << state.isThreadUnderWay << " modified " << state.modified[0] << ' '
                  << state.modified[1] << " to be saved " << state.toBeSaved[0] << ' ' << state.toBeSaved[1];
}

std::string prefixOf(bool isProcessing, const std::string& slot)
{
    return (isProcessing ? "*" : " ") + slot + " ";
}

/// The real manager, its commands and its slots.
class RealSide
{
    class PlainCommand : public CommandBase
    {
    public:
        PlainCommand(const std::string& name, const Plan& plan, World& world)
            : CommandBase(name), script(name, plan, world)
        {
            getProgressPtr()->label = name + ".progress";
        }

        void execute() override
        {
            script.run(Call::Execute);
        }

        void undo() override
        {
            script.run(Call::Undo);
        }

        void redo() override
        {
            script.run(Call::Redo);
        }

        bool isRedoCapable() override
        {
            return script.isRedoCapable();
        }

    private:
        Script script;
    };

    class ThreadCommand : public ThreadedCommand
    {
    public:
        ThreadCommand(const std::string& name, const Plan& plan, World& world)
            : ThreadedCommand(name), script(std::make_shared<Script>(name, plan, world))
        {
            getProgressPtr()->label = name + ".progress";
            connectToRunFinishedSignal([this](bool ok, const CommandBase* /*ended*/)
                                       { script->noteEnd(ok); });
        }

        void run() override
        {
            script->run(Call::Run);
        }

        void finishRun() override
        {
            script->run(Call::FinishRun);
        }

        void undo() override
        {
            script->run(Call::Undo);
        }

        bool isRedoCapable() override
        {
            return script->isRedoCapable();
        }

        bool isAddableToCommandManager() const override
        {
            return script->isAddable();
        }

    protected:
        void prepareRun() override
        {
            script->run(Call::PrepareRun);
        }

        void abortRun() override
        {
            script->run(Call::AbortRun);
        }

    private:
        std::shared_ptr<Script> script;
    };

    class WorldModules : public ModuleAccessInterface
    {
    public:
        explicit WorldModules(World& surroundings) : world(surroundings) {}

        std::set<const Object*> getModifiedModulesFromBusiness() override
        {
            return objects(world.ask("modules.modified", world.modified));
        }

        std::set<const Object*> getSaveOnNextSaveModulesFromBusiness() override
        {
            return objects(world.ask("modules.saveOnNextSave", world.saveOnNextSave));
        }

        void markAllModulesInBusinessAsUnmodified() override
        {
            world.mark();
        }

        std::set<const Object*> getAllModulesAsModified() override
        {
            return objects(world.ask("modules.all", world.all));
        }

    private:
        World& world;
    };

    /// Modules are only ever compared by their address.
    static const Object* module(std::size_t number)
    {
        static const char addresses[moduleCount] = {};
        return reinterpret_cast<const Object*>(addresses + number);
    }

    static std::set<const Object*> objects(Modules modules)
    {
        std::set<const Object*> found;
        for (std::size_t number = 0; number < moduleCount; ++number)
        {
            if ((modules >> number & 1U) != 0)
            {
                found.insert(module(number));
            }
        }
        return found;
    }

    static Modules bits(const std::set<const Object*>& modules)
    {
        Modules found = 0;
        for (std::size_t number = 0; number < moduleCount; ++number)
        {
            found |= static_cast<Modules>(modules.count(module(number))) << number;
        }
        return found;
    }

    static std::string join(const std::list<std::string>& texts)
    {
        std::string joined;
        for (const std::string& text : texts)
        {
            joined += (joined.empty() ? "" : " ") + text;
        }
        return joined;
    }

    void emitted(const std::string& signal)
    {
        note(signal + " [" + join(manager.collectUndoCommandDescriptions()) + "|" +
             join(manager.collectRedoCommandDescriptions()) + "]");
        world.onMoment();
    }

public:
    RealSide()
    {
        bar->label = "bar";
        manager.setModuleAccessInterface(std::make_shared<WorldModules>(world));
    }

    static std::string describe(const std::shared_ptr<const CommandBase>& command)
    {
        return command == nullptr ? "-" : command->getDescription();
    }

    std::shared_ptr<CommandBase> makeCommand(const std::string& name, const Plan& plan)
    {
        return std::make_shared<PlainCommand>(name, plan, world);
    }

    std::shared_ptr<ThreadedCommand> makeThread(const std::string& name, const Plan& plan)
    {
        return std::make_shared<ThreadCommand>(name, plan, world);
    }

    void setProgress()
    {
        manager.setProgress(bar);
    }

    ThreadManager& threads() const
    {
        return *manager.getThreadManager();
    }

    std::string prefix() const
    {
        return prefixOf(manager.isProcessingCommand(), describe(manager.getCurrentThreadedCommand()));
    }

    State observe() const
    {
        return {manager.collectUndoCommandDescriptions(),
                manager.collectRedoCommandDescriptions(),
                describe(manager.getUndoCommand()),
                describe(manager.getRedoCommand()),
                manager.getQueueSize(),
                manager.getMaxQueueSize(),
                manager.canUndo(),
                manager.canRedo(),
                manager.usesMaxQueueSize(),
                manager.isProcessingCommand(),
                describe(manager.getCurrentThreadedCommand()),
                threads().getCurrentThread() != nullptr,
                {bits(manager.getModifiedModules(0)), bits(manager.getModifiedModules(1))},
                {bits(manager.getModifiedOrSaveOnNextSaveModules(0)),
                 bits(manager.getModifiedOrSaveOnNextSaveModules(1))}};
    }

    World world;
    CommandManager manager;
    std::shared_ptr<CommandBase> taken;

private:
    std::shared_ptr<LegacyProgress> bar = std::make_shared<LegacyProgress>();
    Signals::Connection completed =
        manager.connectToSigUndoRedoProcessCompleted([this] { emitted("completed"); });
    Signals::Connection queueChanged =
        manager.connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason reason)
                                                { emitted("queueChanged " + std::to_string(reason)); });
    Signals::Connection started = manager.connectToSigThreadedCommandStarted([this] { emitted("started"); });
    Signals::Connection finished =
        manager.connectToSigThreadedCommandFinished([this] { emitted("finished"); });
    Signals::Connection executed = manager.connectToSigCommandExecuted([this] { emitted("executed"); });
    Signals::Connection undone = manager.connectToSigCommandUndone([this] { emitted("undone"); });
    Signals::Connection failed = manager.connectToSigCommandFailed(
        [this](const char* what, const std::string& description)
        { emitted("failed(" + std::string(what) + ", " + description + ")"); });
};

/// The model in its place.
class ModelSide
{
public:
    static std::string describe(const CommandPtr& command)
    {
        return command == nullptr ? "-" : descriptionOf(*command);
    }

    CommandPtr makeCommand(const std::string& name, const Plan& plan)
    {
        return std::make_shared<Command>(
            Command{name, std::make_shared<Script>(name, plan, world), {}, {}, false});
    }

    CommandPtr makeThread(const std::string& name, const Plan& plan)
    {
        const CommandPtr command = makeCommand(name, plan);
        command->thread = std::make_shared<ModelThread>(name, command->script);
        return command;
    }

    void setProgress()
    {
        manager.setProgress();
    }

    ThreadManager& threads()
    {
        return manager.threads;
    }

    std::string prefix() const
    {
        return prefixOf(manager.isProcessing, describe(manager.slot));
    }

    State observe() const
    {
        return {
            describe(manager.undoQueue),
            describe(manager.redoQueue),
            manager.undoQueue.empty() ? "-" : descriptionOf(*manager.undoQueue.back().command),
            manager.redoQueue.empty() ? "-" : descriptionOf(*manager.redoQueue.back().command),
            manager.undoQueue.size() + manager.redoQueue.size(),
            manager.maxQueueSize,
            !manager.undoQueue.empty(),
            !manager.redoQueue.empty(),
            manager.usesMaxQueueSize,
            manager.isProcessing,
            describe(manager.slot),
            manager.threads.getCurrentThread() != nullptr,
            {manager.getModifiedModules(0), manager.getModifiedModules(1)},
            {manager.getModifiedOrSaveOnNextSaveModules(0), manager.getModifiedOrSaveOnNextSaveModules(1)}};
    }

    World world;
    ManagerModel manager{world};
    CommandPtr taken;

private:
    static std::list<std::string> describe(const std::list<ManagerModel::Entry>& queue)
    {
        std::list<std::string> descriptions;
        for (const ManagerModel::Entry& entry : queue)
        {
            descriptions.push_front(descriptionOf(*entry.command));
        }
        return descriptions;
    }
};

/// Does to one side what the operations say, and notes the results.
template <typename Side>
class Player
{
public:
    Player()
    {
        side.world.onMoment = [this]
        {
            react();
        };
    }

    std::vector<std::string> play(const Operation& operation)
    {
        journalPrefix() = [this]
        {
            return side.prefix();
        };
        reactions = &operation.reactions;
        reacted = 0;
        moments = 0;
        try
        {
            perform(operation.action);
        }
        catch (const std::exception& exception)
        {
            note("threw " + std::string(exception.what()));
        }
        catch (const Stranger&)
        {
            note("threw a stranger");
        }
        return takeJournal();
    }

    State observe()
    {
        side.world.isObserved = true;
        State state = side.observe();
        side.world.isObserved = false;
        return state;
    }

private:
    /// The application's turn in one of its slots.
    void react()
    {
        if (reacted < reactions->size() && ++moments == (*reactions)[reacted].after)
        {
            moments = 0;
            perform((*reactions)[reacted++].action);
        }
    }

    static void noteResult(bool result)
    {
        note(result ? "gave true" : "gave false");
    }

    static void noteResult(Modules modules)
    {
        note("gave " + std::to_string(modules));
    }

    auto makeCommand(const Plan& plan)
    {
        return side.makeCommand("c" + std::to_string(++commands), plan);
    }

    void perform(const Action& action)
    {
        auto& manager = side.manager;
        switch (action.kind)
        {
        case Kind::Add:
            return noteResult(manager.addCommand(makeCommand(action.plan)));
        case Kind::AddExecuted:
            return manager.addExecutedCommand(makeCommand(action.plan));
        case Kind::AddToMerge:
            return noteResult(
                manager.addCommandToMergeWithNextCommand(makeCommand(action.plan), action.number != 0));
        case Kind::AddNothing:
            return addNothing();
        case Kind::ExecuteTaken:
            return noteResult(manager.addCommand(std::exchange(side.taken, nullptr)));
        case Kind::QueueTaken:
            return manager.addExecutedCommand(std::exchange(side.taken, nullptr));
        case Kind::TakeLast:
            return take(manager.takeLastExecutedCommand());
        case Kind::TakeAll:
            return take(manager.takeExecutedCommands());
        case Kind::Undo:
            return noteResult(manager.undo(action.number));
        case Kind::Redo:
            return noteResult(manager.redo(action.number));
        case Kind::UndoAll:
            return manager.undoAll();
        case Kind::RedoAll:
            return manager.redoAll();
        case Kind::Clear:
            return manager.clear();
        case Kind::SetLimit:
            return manager.setMaxQueueSize(action.number);
        case Kind::UseLimit:
            return manager.setUsesMaxQueueSize(action.number != 0);
        case Kind::SetProgress:
            return side.setProgress();
        case Kind::Complete:
            return manager.emitSigUndoRedoProcessCompleted();
        case Kind::Save:
            return manager.adjustOnSave(action.number);
        case Kind::MarkAll:
            side.world.all = action.number;
            return manager.markAllModulesBeforeFirstCommandAsModified();
        case Kind::Query:
            return query(action.number);
        case Kind::StartThread:
            return manager.addThreadedCommand(side.makeThread("t" + std::to_string(++commands), action.plan));
        case Kind::Finalize:
            return manager.finalizeThread();
        case Kind::Abort:
            return manager.abortThreadedCommand();
        default:
            return change(action);
        }
    }

    /// What does not concern the manager itself.
    void change(const Action& action)
    {
        switch (action.kind)
        {
        case Kind::Modify:
            side.world.modified |= action.number;
            break;
        case Kind::WantSaved:
            side.world.saveOnNextSave = action.number;
            break;
        case Kind::FailQuestion:
            side.world.questionFails = true;
            break;
        case Kind::FailMarking:
            side.world.markingFails = true;
            break;
        case Kind::DoWork:
            if (side.threads().getCurrentThread() != nullptr)
            {
                side.threads().work();
            }
            break;
        case Kind::SetMode:
            side.threads().mode = static_cast<std::int32_t>(action.number);
            break;
        default:
            throwAs(static_cast<Failure>(action.number));
        }
    }

    void addNothing()
    {
        auto& manager = side.manager;
        noteResult(manager.addCommand(nullptr));
        noteResult(manager.addCommandToMergeWithNextCommand(nullptr, true));
        manager.addExecutedCommand(nullptr);
        manager.addThreadedCommand(decltype(side.makeThread({}, {}))());
    }

    template <typename Taken>
    void take(const Taken& command)
    {
        side.taken = command;
        note("gave " + side.describe(command));
    }

    void query(unsigned tracker)
    {
        noteQueried(side.manager.getModifiedModules(tracker));
        noteQueried(side.manager.getModifiedOrSaveOnNextSaveModules(tracker));
    }

    /// The answer itself is in the state.
    template <typename Answer>
    static void noteQueried(const Answer& /*answer*/)
    {
        note("answered");
    }

    Side side;
    const std::vector<Reaction>* reactions = nullptr;
    std::size_t reacted = 0;
    unsigned moments = 0;
    unsigned commands = 0;
};

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise)
{
    const char* text = std::getenv(variable);
    return text == nullptr ? otherwise : std::stoull(text);
}

std::string textOf(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
    {
        text += "\n  " + line;
    }
    return text;
}

/// Where the two part ways; empty if they never do.
std::string differenceAfter(const std::vector<Operation>& sequence)
{
    Player<RealSide> real;
    Player<ModelSide> model;
    for (std::size_t step = 0; step < sequence.size(); ++step)
    {
        const std::vector<std::string> happened = real.play(sequence[step]);
        const std::vector<std::string> expected = model.play(sequence[step]);
        const State is = real.observe();
        const State shouldBe = model.observe();
        if (happened != expected || is != shouldBe)
        {
            std::ostringstream text;
            text << "operation " << step + 1 << ':' << sequence[step] << "\nexpected:" << textOf(expected)
                 << "\nhappened:" << textOf(happened) << "\nexpected state: " << shouldBe
                 << "\nactual state:   " << is;
            return text.str();
        }
    }
    return {};
}

/// Its own listener and no reproduction of earlier failures: so nothing is read from the library's configuration.
class Silent : public rc::detail::TestListener
{
public:
    void onTestCaseFinished(const rc::detail::CaseDescription& /*description*/) override {}

    void onShrinkTried(const rc::detail::CaseDescription& /*shrink*/, bool /*accepted*/) override {}

    void onTestFinished(const rc::detail::TestMetadata& /*metadata*/,
                        const rc::detail::TestResult& /*result*/) override
    {
    }
};

class CommandManagerModel : public testing::Test
{
protected:
    CommandManagerModel()
    {
        Logging::traceEnabled = true;
    }

    ~CommandManagerModel() override
    {
        journalPrefix() = nullptr;
        takeJournal();
        Logging::lines.clear();
    }
};

TEST_F(CommandManagerModel, RandomOperationsLeaveTheSameStateAndTheSameJournal)
{
    constexpr std::uint64_t length = 100;
    const std::uint64_t wanted = numberFrom("VALDANE_MODEL_OPERATIONS", 1'000'000);
    rc::detail::TestParams parameters;
    parameters.seed = numberFrom("VALDANE_MODEL_SEED", 1);
    parameters.maxSuccess = static_cast<int>((wanted + length - 1) / length);
    std::uint64_t done = 0;
    Silent listener;
    const std::unordered_map<std::string, rc::detail::Reproduce> nothingToReproduce;

    const auto result = rc::detail::checkTestable(
        [&]
        {
            const auto sequence = *operations(length);
            const std::string difference = differenceAfter(sequence);
            Logging::lines.clear();
            done += sequence.size();
            if (!difference.empty())
            {
                RC_FAIL(difference);
            }
        },
        rc::detail::TestMetadata(), parameters, listener, nothingToReproduce);

    if (!result.is<rc::detail::SuccessResult>())
    {
        rc::detail::printResultMessage(result, std::cerr);
        FAIL() << "with VALDANE_MODEL_SEED=" << parameters.seed;
    }
    RecordProperty("operations", std::to_string(done));
    EXPECT_GE(done, wanted);
}

} // namespace
} // namespace Valdane::Model

#include "Benchmarks/Each.h"
#include "Benchmarks/EditedNumber.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Service/Editing/ActiveHistory.h"
#include "Service/Editing/CommandGroup.h"
#include "Service/Editing/MemoryBudget.h"
#include "Service/Editing/MergePolicy.h"
#include "Service/Editing/RedoAction.h"
#include "Service/Editing/SaveState.h"
#include "Service/Editing/ThreadedRun.h"
#include "Service/Editing/UndoAction.h"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

// A step is an undo and a redo, in a document that is followed by the class of the row.

namespace Valdane::Benchmarks
{
namespace
{

constexpr std::size_t stepCount = 1000;

/// A document with a history, followed by nobody.
struct Alone
{
    explicit Alone(std::size_t commands)
    {
        document.add(commands);
    }

    EditedNumber document;
};

struct WithHistory : Alone
{
    using Alone::Alone;

    ListeningView view{document.manager};
};

struct WithActions : Alone
{
    using Alone::Alone;

    std::size_t calls = 0;
    UndoAction undoAction{document.manager};
    RedoAction redoAction{document.manager};
    Signals::Connection undoChanged = undoAction.connectToSigChanged([this] { hear(calls); });
    Signals::Connection redoChanged = redoAction.connectToSigChanged([this] { hear(calls); });
};

struct WithSaveState : Alone
{
    explicit WithSaveState(std::size_t commands) : Alone(commands)
    {
        saveState.saved(0);
    }

    std::size_t calls = 0;
    SaveState saveState{document.manager};
    Signals::Connection changed =
        saveState.connectToSigModifiedChanged([this](std::uint64_t, bool) { hear(calls); });
};

struct WithActiveHistory : Alone
{
    explicit WithActiveHistory(std::size_t commands) : Alone(commands)
    {
        entry.activate();
    }

    std::size_t calls = 0;
    ActiveHistory active;
    ActiveHistory::Document entry{active, document.manager};
    Signals::Connection updated = active.connectToSigUpdated([this] { hear(calls); });
};

struct WithMergePolicy : Alone
{
    using Alone::Alone;

    MergePolicy policy{document.manager};
};

struct WithBudget : Alone
{
    using Alone::Alone;

    MemoryBudget budget{document.manager, 100 * stepCount,
                        [](const CommandBase&)
                        {
                            return std::size_t(100);
                        }};
};

/// Undoes and redoes a history as long as the argument says.
template <typename Followed>
void step(benchmark::State& state)
{
    const auto prepare = [&]
    {
        return std::make_unique<Followed>(static_cast<std::size_t>(state.range(0)));
    };
    measureEach(state, stepCount, prepare,
                [](Followed& followed)
                {
                    followed.document.undo(stepCount);
                    followed.document.redo(stepCount);
                });
}

template <typename Followed>
void add(benchmark::State& state)
{
    const auto prepare = [&]
    {
        return std::make_unique<Followed>(static_cast<std::size_t>(state.range(0)));
    };
    measureEach(state, stepCount, prepare, [](Followed& followed) { followed.document.add(stepCount); });
}

BENCHMARK(step<Alone>)->Arg(stepCount)->Arg(100'000)->UseManualTime();
BENCHMARK(step<WithHistory>)->Arg(stepCount)->Arg(100'000)->UseManualTime();
BENCHMARK(step<WithActions>)->Arg(stepCount)->UseManualTime();
BENCHMARK(step<WithSaveState>)->Arg(stepCount)->Arg(100'000)->UseManualTime();
BENCHMARK(step<WithActiveHistory>)->Arg(stepCount)->UseManualTime();
BENCHMARK(step<WithMergePolicy>)->Arg(stepCount)->UseManualTime();
BENCHMARK(step<WithBudget>)->Arg(stepCount)->UseManualTime();
BENCHMARK(add<Alone>)->Arg(stepCount)->UseManualTime();
BENCHMARK(add<WithHistory>)->Arg(stepCount)->Arg(100'000)->UseManualTime();
/// In steady state: for each command that comes one is dropped.
BENCHMARK(add<WithBudget>)->Arg(stepCount)->UseManualTime();

void addToStep(benchmark::State& state)
{
    const auto prepare = []
    {
        return std::make_unique<WithMergePolicy>(stepCount);
    };
    measureEach(state, stepCount, prepare,
                [](WithMergePolicy& followed)
                {
                    for (std::size_t i = 0; i < stepCount; ++i)
                    {
                        followed.policy.add(followed.document.make(), "drag");
                    }
                });
}

BENCHMARK(addToStep)->UseManualTime();

/// In groups of ten commands.
void commitGroup(benchmark::State& state)
{
    constexpr std::size_t size = 10;
    const auto prepare = []
    {
        return std::make_unique<Alone>(0);
    };
    measureEach(state, stepCount, prepare,
                [](Alone& alone)
                {
                    for (std::size_t i = 0; i < stepCount / size; ++i)
                    {
                        CommandGroup group(alone.document.manager, commandText);
                        alone.document.add(size);
                        group.commit();
                    }
                });
}

BENCHMARK(commitGroup)->UseManualTime();

void unsavedChanges(benchmark::State& state)
{
    WithSaveState followed(0);
    followed.document.add(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto iteration : state)
    {
        benchmark::DoNotOptimize(followed.saveState.unsavedChanges(0));
    }
}

BENCHMARK(unsavedChanges)->Arg(stepCount)->Unit(benchmark::kMicrosecond);

void activateAnotherDocument(benchmark::State& state)
{
    WithActiveHistory followed(1);
    EditedNumber other;
    ActiveHistory::Document entry(followed.active, other.manager);
    for ([[maybe_unused]] auto iteration : state)
    {
        entry.activate();
        followed.entry.activate();
    }
}

BENCHMARK(activateAnotherDocument);

/// Does nothing on its thread.
class EmptyRun : public ThreadedCommand
{
public:
    EmptyRun() : ThreadedCommand(commandText) {}

    void run() override {}

    void finishRun() override {}

    void undo() override {}
};

/// Without a thread: what ThreadedRun itself takes.
void threadedRun(benchmark::State& state)
{
    EditedNumber document;
    document.manager.getThreadManager()->setThreadingMode(0);
    document.manager.setMaxQueueSize(1);
    document.manager.setUsesMaxQueueSize(true);
    ThreadedRun run(
        document.manager, [](std::function<void()> work) { work(); }, ThreadedRun::Edits::Refused);
    for ([[maybe_unused]] auto iteration : state)
    {
        run.start(std::make_shared<EmptyRun>());
    }
}

BENCHMARK(threadedRun);

} // namespace
} // namespace Valdane::Benchmarks

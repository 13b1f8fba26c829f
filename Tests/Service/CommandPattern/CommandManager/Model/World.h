#pragma once

#include "Journal.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Tests/Support/Failures.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace Valdane::Model
{

enum class Failure
{
    Standard, ///< derived from std::exception
    Located,  ///< with a place in the error line
    Foreign,  ///< not derived from std::exception
};

[[noreturn]] inline void throwAs(Failure failure)
{
    switch (failure)
    {
    case Failure::Standard:
        throw std::runtime_error("no power");
    case Failure::Located:
        throw VdException("stuck");
    case Failure::Foreign:
        break;
    }
    throw Stranger();
}

/// One bit for each module.
using Modules = unsigned;
constexpr std::size_t moduleCount = 4;

/// What surrounds a manager, the real one or the model: the application's marks on its modules, and what
/// happens in its slots. Each of the two has its own.
struct World
{
    /// The answer to a question of the manager; notes it.
    Modules ask(const char* question, const Modules& answer)
    {
        if (!isObserved)
        {
            note(question);
            onMoment();
            fail(questionFails);
        }
        return answer;
    }

    /// Told that the manager has taken over the marks.
    void mark()
    {
        note("modules.mark");
        onMoment();
        fail(markingFails);
        modified = 0;
    }

    Modules modified = 0;
    Modules saveOnNextSave = 0;
    Modules all = 0;
    /// Whether the next one throws.
    bool questionFails = false;
    bool markingFails = false;
    /// While the test itself asks: questions leave no trace and do not fail.
    bool isObserved = false;
    /// Called in each slot after it has been noted, and wherever else the application may use the manager.
    std::function<void()> onMoment;
    /// Aborts the run under way.
    std::function<void()> abort;

private:
    static void fail(bool& fails)
    {
        if (std::exchange(fails, false))
        {
            throwAs(Failure::Standard);
        }
    }
};

/// The operations of a command, and of one that is a thread.
enum class Call
{
    None,
    Execute,
    Undo,
    Redo,
    IsRedoCapable,
    PrepareRun,
    Run,
    FinishRun,
    AbortRun,
    IsAddable,
    MergeWith,
};

inline const char* nameOf(Call call)
{
    static constexpr const char* names[] = {"none",          "execute",    "undo",     "redo",
                                            "isRedoCapable", "prepareRun", "run",      "finishRun",
                                            "abortRun",      "isAddable",  "mergeWith"};
    return names[static_cast<std::size_t>(call)];
}

/// What a command is like.
struct Plan
{
    /// What it modifies.
    Modules modules = 0;
    bool redoCapable = true;
    bool addable = true;
    /// Whether its run has itself aborted.
    bool abortsItself = false;
    /// Whether it takes in a command that could be merged with it.
    bool takesIn = true;
    /// The call that fails, and how often it does before it succeeds.
    Call failing = Call::None;
    Failure failure = Failure::Standard;
    unsigned failures = 1;
};

/// What a command does when it is called, in the real manager and in the model.
class Script
{
public:
    Script(std::string commandName, const Plan& commandPlan, World& surroundings)
        : name(std::move(commandName)), plan(commandPlan), world(surroundings)
    {
    }

    void run(Call call)
    {
        note(name + "." + nameOf(call));
        if (!isOfRun(call))
        {
            world.onMoment();
        }
        if (plan.abortsItself && call == Call::Run)
        {
            world.abort();
        }
        if (plan.failing == call && plan.failures > 0)
        {
            --plan.failures;
            throwAs(plan.failure);
        }
        if (call == Call::Execute || call == Call::Undo || call == Call::Redo || call == Call::Run)
        {
            world.modified |= plan.modules;
        }
    }

    bool isRedoCapable()
    {
        run(Call::IsRedoCapable);
        return plan.redoCapable;
    }

    bool isAddable()
    {
        run(Call::IsAddable);
        return plan.addable;
    }

    bool takesIn()
    {
        run(Call::MergeWith);
        return plan.takesIn;
    }

    void noteEnd(bool ok) const
    {
        note("runFinished(" + std::string(ok ? "true" : "false") + ", " + name + ")");
        world.onMoment();
    }

private:
    /// Whether a run is under way in it, so that the manager must not be used: nobody would hold the command.
    static bool isOfRun(Call call)
    {
        return call == Call::PrepareRun || call == Call::Run || call == Call::FinishRun ||
               call == Call::AbortRun;
    }

    std::string name;
    Plan plan;
    World& world;
};

} // namespace Valdane::Model

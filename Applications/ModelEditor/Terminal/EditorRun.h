#pragma once

#include "Applications/ModelEditor/Terminal/Editor.h"
#include "Applications/ModelEditor/Terminal/PostedCalls.h"
#include "Platform/Signals/Connection.h"
#include "Service/Editing/ThreadedRun.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Valdane
{
class CommandBase;
} // namespace Valdane

namespace ModelEditor
{

/// A command of a verb that works on another thread, from its start until what came of it is printed.
///
/// Ownership: refers to the level and to what is woken, which must live longer.
/// Thread: the application's main thread only.
struct Editor::Run
{
    /// Gives what came of it, in lines, when it is over and well.
    using TellResult = std::function<std::string()>;

    /// @param runLevel  where the command comes into the history.
    /// @param woken     what is woken when goOn() is to be called.
    Run(std::string runVerb, std::shared_ptr<Valdane::CommandBase> runCommand, TellResult tell,
        HistoryLevel& runLevel, const WakeUp& woken);
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run();

    /// See Editor::goOn().
    bool goOn();

    /// How far it is; all of it if it is over.
    Valdane::ThreadedRun::Progress getProgress() const;

    /// See Editor::getPercentConcluded().
    int getPercentConcluded() const;

    std::string verb;
    std::shared_ptr<Valdane::CommandBase> command;
    TellResult tellResult; ///< may be empty
    HistoryLevel& level;
    PostedCalls posted;
    Valdane::ThreadedRun thread;
    Valdane::Signals::Connection finished;
    std::optional<Valdane::ThreadedRun::Result> result; ///< once it is over
    std::string failure;                                ///< why it has failed
    std::uint64_t concluded = 0;                        ///< how many threads were finalized
};

} // namespace ModelEditor

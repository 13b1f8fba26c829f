#pragma once

#include "Service/CommandPattern/WorkerSlot.h"

#include <memory>
#include <optional>
#include <source_location>
#include <utility>

namespace Valdane
{

/// One run of a command, as its kind has it. Also tells runs apart, because a command may run again.
class WorkerSlot::Run
{
public:
    Run() = default;
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    virtual ~Run() = default;

    virtual std::shared_ptr<CommandBase> command() const = 0;
    virtual void start(WorkerSlot& slot) = 0;

    /// Does the next step. @return whether it was the last.
    virtual bool proceed(const std::shared_ptr<ThreadManager>& threads) = 0;

    virtual bool isAddable() const = 0;

    /// Have the command clean up after a start, or a later step, that failed.
    virtual void cleanUpStart(Owner& manager) = 0;
    virtual void cleanUpStep(Owner& manager) = 0;
};

/// How a run that has failed ends.
struct WorkerSlot::Failure
{
    std::shared_ptr<CommandBase> command; ///< empty if it is not known what failed
    const char* context;
    bool tellsFinished;
};

/// While it exists, a step of the run is on the stack.
class WorkerSlot::StepOfRun
{
public:
    StepOfRun(WorkerSlot& workerSlot, const Run* run)
        : slot(workerSlot), outer(std::exchange(workerSlot.stepped, run))
    {
    }

    StepOfRun(const StepOfRun&) = delete;
    StepOfRun& operator=(const StepOfRun&) = delete;

    ~StepOfRun()
    {
        slot.stepped = outer;
    }

private:
    WorkerSlot& slot;
    const Run* outer;
};

/// The run of a ThreadedCommand: one thread, and so one step.
class WorkerSlot::CommandRun final : public Run
{
public:
    CommandRun(std::shared_ptr<ThreadedCommand> threadedCommand, const std::source_location& location);

    std::shared_ptr<CommandBase> command() const override;
    void start(WorkerSlot& slot) override;
    bool proceed(const std::shared_ptr<ThreadManager>& threads) override;
    bool isAddable() const override;
    void cleanUpStart(Owner& manager) override;
    void cleanUpStep(Owner& manager) override;

private:
    std::shared_ptr<ThreadedCommand> threaded;
    std::source_location place;
};

/// The run of a ThreadedMacroCommand: a step for each of its threads.
class WorkerSlot::MacroRun final : public Run
{
public:
    /// The context of the error line for a failed start.
    static constexpr const char* startContext = "Threaded execution";

    explicit MacroRun(std::shared_ptr<ThreadedMacroCommand> threadedMacro);

    std::shared_ptr<CommandBase> command() const override;
    void start(WorkerSlot& slot) override;
    bool proceed(const std::shared_ptr<ThreadManager>& threads) override;
    bool isAddable() const override;
    void cleanUpStart(Owner& manager) override;
    void cleanUpStep(Owner& manager) override;

private:
    void end(WorkerSlot& slot);

    std::shared_ptr<ThreadedMacroCommand> macro;
    bool isStarted = false;
};

} // namespace Valdane

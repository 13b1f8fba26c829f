#pragma once

#include <exception>
#include <memory>
#include <source_location>

namespace Valdane
{

class CommandBase;
class Logging;
class Thread;
class ThreadManager;
class ThreadedCommand;
class ThreadedMacroCommand;

/// The place for a manager's one threaded command, and the life of its run.
///
/// A run begins when start() puts its command into the worker slot. Each finalize() takes the run one step
/// further: a ThreadedCommand has one step, a ThreadedMacroCommand one for each of its threads. The run ends
/// after its last step, in start() itself if nothing runs on a worker, or when something fails.
///
/// A run that fails with an exception derived from `std::exception` always ends in fail(): its command cleans
/// up, the worker slot becomes empty, and the owner reports the failure. Listeners who were told of its start
/// hear that the run is finished. Any other exception only empties the worker slot, and passes to the caller.
///
/// Slots of the manager's signals, commands and destructors are called in between. They may finalize the run
/// or start another one. So each operation holds the run that it works on, and asks whether that one is still
/// in the worker slot.
///
/// Ownership: shares the command while it is in the worker slot. The owner must outlive this.
/// Thread: as CommandManager.
class WorkerSlot
{
public:
    /// What the worker slot needs of its manager.
    class Owner
    {
    public:
        /// Puts a command that has run on the undo queue.
        virtual void queue(std::shared_ptr<CommandBase> command) = 0;

        /// Sets what CommandManager::isProcessingCommand() answers.
        virtual void setProcessing(bool processing) = 0;

        /// Emit the signal of that name.
        virtual void tellStarted() = 0;
        virtual void tellExecuted() = 0;
        virtual void tellFinished() = 0;

        /// Writes the error line of a failure, then emits sigCommandFailed. Throws nothing derived from
        /// `std::exception`.
        ///
        /// @param command  null if it is not known what failed.
        virtual void reportRunFailure(const std::exception& exception, const char* context,
                                      const CommandBase* command) = 0;

        /// Writes the error line of a failure that came on top of another one. Throws nothing derived from
        /// `std::exception`: a line that cannot be written is lost.
        virtual void logFurtherFailure(const std::exception& exception, const char* context,
                                       const CommandBase* command) = 0;

        /// Does one step of handling a failure. If it fails itself, logs that, and the next step can follow.
        template <typename Step>
        void attempt(const char* context, const CommandBase* command, const Step& step)
        {
            try
            {
                step();
            }
            catch (const std::exception& exception)
            {
                logFurtherFailure(exception, context, command);
            }
        }

    protected:
        ~Owner() = default;
    };

    /// Empty, with a thread manager of its own.
    /// @param traceLogger  gets the trace lines of synchronous runs; must outlive this.
    WorkerSlot(Owner& manager, const Logging& traceLogger);
    WorkerSlot(const WorkerSlot&) = delete;
    WorkerSlot& operator=(const WorkerSlot&) = delete;
    ~WorkerSlot();

    /// Begins a run of @p command. A run that is in the worker slot is displaced: nobody continues it.
    ///
    /// @param place  where the trace lines of a synchronous run say that they are written.
    void start(std::shared_ptr<ThreadedCommand> command, const std::source_location& place);
    void start(std::shared_ptr<ThreadedMacroCommand> command);

    /// Takes the run in the worker slot one step further. Finalizes the thread of a displaced run if the slot is
    /// empty, or if a step of the run calls this while that thread is there. Does nothing if a step calls this and
    /// there is no thread to finalize.
    void finalize();

    /// Asks the running thread to stop.
    void abort();

    /// Aborts and ends what is running, unless the application shares the thread manager. All operations work
    /// until this returns, so that abortRun() may call them.
    void shutDown();

    bool isEmpty() const noexcept
    {
        return current == nullptr;
    }

    /// Whether it is empty and no thread is running either, not even one of a displaced run.
    bool isIdle() const;

    /// The command in the worker slot; empty if there is none.
    std::shared_ptr<CommandBase> getCommand() const;

    const std::shared_ptr<ThreadManager>& getThreadManager() const noexcept
    {
        return threadManager;
    }

private:
    class Run;
    class CommandRun;
    class MacroRun;
    class StepOfRun;
    struct Failure;

    using RunPointer = std::shared_ptr<Run>;

    /// Makes a run, puts it into the worker slot and starts it.
    template <typename MakeRun, typename DescribeFailure>
    void begin(const MakeRun& makeRun, const DescribeFailure& describeFailure);

    /// Gives the worker slot to @p run.
    void displace(const RunPointer& run);

    void finalizeRun(const RunPointer& run, const Thread* thread);
    void proceed(Run& run, const Thread* thread);
    void finalizeDisplaced(const std::shared_ptr<Thread>& thread);

    /// Does @p work. @p endFailed ends the run if it throws what is derived from `std::exception`; anything
    /// else passes to the caller, with the run out of the worker slot.
    template <typename Work, typename EndFailed>
    void endOnFailure(const RunPointer& run, const Work& work, const EndFailed& endFailed);

    /// Ends a run that has failed. @p run is null if it was displaced, or could not be made.
    template <typename CleanUp>
    void fail(const std::exception& exception, const Run* run, const Failure& failure,
              const CleanUp& cleanUp);

    void release(const Run* run);
    bool isOnWorker() const;

    /// The context of the error line for a failed finalize().
    static constexpr const char* finalization = "Thread finalization";

    Owner& owner;
    const Logging& logger;
    std::shared_ptr<ThreadManager> threadManager;
    /// The run in the worker slot; empty if there is none.
    RunPointer current;
    /// The run of which a step is on the stack just now; null if none is.
    const Run* stepped = nullptr;
    /// The thread that was running when the run in the worker slot got its place.
    std::weak_ptr<Thread> displacedThread;
};

} // namespace Valdane

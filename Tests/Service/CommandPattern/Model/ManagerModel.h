#pragma once

#include "Platform/Multitasking/Thread.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "World.h"

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace Valdane::Model
{

class ModelThread;

/// A command of the model: a script, a script that is a thread, or a macro of others.
struct Command
{
    /// Empty only in a macro that has none of its own.
    std::string description;
    std::shared_ptr<Script> script;
    std::shared_ptr<ModelThread> thread;
    std::vector<std::shared_ptr<Command>> parts;
    bool forwardUndoOrder = false;
};

using CommandPtr = std::shared_ptr<Command>;

std::string descriptionOf(const Command& command);

/// The thread of a command, told once of its end.
class ModelThread : public Thread
{
public:
    ModelThread(const std::string& name, std::shared_ptr<Script> threadScript)
        : Thread(name), script(std::move(threadScript))
    {
    }

    void run() override
    {
        script->run(Call::Run);
    }

    void finishRun() override
    {
        script->run(Call::FinishRun);
    }

    void sendFinishSignal(bool ok) override
    {
        Thread::sendFinishSignal(ok);
        if (!std::exchange(isTold, true))
        {
            script->noteEnd(ok);
        }
    }

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
    bool isTold = false;
};

/// What a CommandManager does, in plain lists and without regard to cost: the expected state, and the expected
/// journal. Its operations have the names of the real ones.
class ManagerModel
{
public:
    static constexpr std::size_t trackerCount = 2;
    using ModulesByTracker = std::array<Modules, trackerCount>;

    struct Entry
    {
        CommandPtr command;
        ModulesByTracker before = {};
        ModulesByTracker after = {};
        Modules own = 0;
    };

    /// What is to be merged with the next command.
    struct Waiting
    {
        std::vector<CommandPtr> commands;
        bool useForwardUndoOrder = false;
    };

    explicit ManagerModel(World& surroundings) : world(surroundings) {}

    bool addCommand(const CommandPtr& command);
    void addExecutedCommand(const CommandPtr& command);
    bool addCommandToMergeWithNextCommand(const CommandPtr& command, bool useForwardUndoOrder);
    CommandPtr takeExecutedCommands();
    CommandPtr takeLastExecutedCommand();
    bool undo(std::uint64_t count);
    bool redo(std::uint64_t count);
    void undoAll();
    void redoAll();
    void clear();
    void setMaxQueueSize(std::uint32_t size);
    void setUsesMaxQueueSize(bool use);
    void setProgress() const;
    Modules getModifiedModules(std::uint64_t tracker) const;
    Modules getModifiedOrSaveOnNextSaveModules(std::uint64_t tracker) const;
    void adjustOnSave(std::uint64_t tracker);
    void markAllModulesBeforeFirstCommandAsModified();
    void addThreadedCommand(const CommandPtr& command);
    void finalizeThread();
    void abortThreadedCommand();
    void emitSigUndoRedoProcessCompleted() const;

    /// Tops are at the back.
    std::list<Entry> undoQueue;
    std::list<Entry> redoQueue;
    std::uint32_t maxQueueSize = 25;
    bool usesMaxQueueSize = false;
    Waiting toMerge;
    ModulesByTracker beforeFirstCommand = {};
    bool isProcessing = false;
    CommandPtr slot;
    ThreadManager threads;

private:
    void emit(const std::string& signal) const;
    void report(const std::string& context, const std::string& description, const std::exception& exception);
    Modules positionOf(std::uint64_t tracker) const;
    Entry makeEntry(const CommandPtr& command, Modules own) const;
    static CommandPtr merge(const CommandPtr& command, const Waiting& waiting);
    Modules askForEntry(const Waiting& waiting);
    void applyLimit();
    void moveToRedo(const Entry& entry);
    static void dropTop(std::list<Entry>& queue, const Entry& entry);
    template <typename Action>
    void process(const std::string& verb, const Command& command, bool flagAfter, const Action& action);
    void keep(const CommandPtr& command);
    void release(const CommandPtr& command);
    template <typename Step>
    void attempt(const std::string& context, const std::string& description, const Step& step);
    void windUp(const CommandPtr& command, const std::string& name, const std::exception& exception);

    World& world;
};

} // namespace Valdane::Model

#pragma once

#include "CommandModel.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "World.h"

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <list>
#include <string>
#include <vector>

namespace Valdane::Model
{

/// What a CommandManager does, in plain lists and without regard to cost: the expected state and journal.
/// Its operations have the names of the real ones.
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
    /// What isProcessing becomes when a command's work has ended.
    using Flag = std::function<bool()>;

    void emit(const std::string& signal) const;
    void report(const std::string& context, const std::string& description, const std::exception& exception);
    Modules positionOf(std::uint64_t tracker) const;
    Entry makeEntry(const CommandPtr& command, Modules own) const;
    static CommandPtr merge(const CommandPtr& command, const Waiting& waiting);
    Modules askForEntry(const Waiting& waiting);
    void applyLimit();
    void moveToRedo(const Entry& entry);
    static void dropTop(std::list<Entry>& queue, const Entry& entry);
    bool process(const std::string& context, const Command& command, const Flag& flagAfter,
                 const std::function<void()>& work);
    bool execute(const Command& command, const Flag& flagAfter);
    bool step(const std::string& verb, const Command& command, Call call);
    void keep(const CommandPtr& command);
    void release(const CommandPtr& command);
    static void attempt(const std::string& context, const std::string& description,
                        const std::function<void()>& action);
    void windUp(const CommandPtr& command, const std::string& name, const std::exception& exception);

    World& world;
};

} // namespace Valdane::Model

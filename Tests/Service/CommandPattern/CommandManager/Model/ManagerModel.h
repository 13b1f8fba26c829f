#pragma once

#include "CommandModel.h"
#include "Platform/Multitasking/ThreadManager.h"
#include "World.h"

#include <array>
#include <cstdint>
#include <exception>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <utility>
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
        /// The state of the data with it.
        unsigned state = 0;
    };

    /// What is to be merged with the next command.
    struct Waiting
    {
        std::vector<CommandPtr> commands;
        bool useForwardUndoOrder = false;
        /// The state of the data with them; 0 if there are none.
        unsigned state = 0;
    };

    struct Group
    {
        std::string description;
        std::vector<CommandPtr> commands;
        Waiting waiting;
        unsigned state = 0;

        bool isEmpty() const
        {
            return commands.empty() && waiting.commands.empty();
        }
    };

    explicit ManagerModel(World& surroundings) : world(surroundings) {}

    bool addCommand(const CommandPtr& command);
    void addExecutedCommand(const CommandPtr& command);
    bool addCommandToMergeWithNextCommand(const CommandPtr& command, bool useForwardUndoOrder);
    bool addOrMergeCommand(const CommandPtr& command);
    CommandPtr takeExecutedCommands();
    CommandPtr takeLastExecutedCommand();
    bool undo(std::uint64_t count);
    bool redo(std::uint64_t count);
    void undoAll();
    void redoAll();
    void clear();
    void forgetRedoCommands();
    void beginGroup(const std::string& description);
    void endGroup();
    bool abandonGroup();
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
    int getSavedPosition(std::uint64_t tracker) const;
    std::list<Modules> modulesOfCommands() const;
    std::list<std::string> openGroups() const;

    /// Tops are at the back.
    std::list<Entry> undoQueue;
    std::list<Entry> redoQueue;
    std::uint32_t maxQueueSize = 25;
    bool usesMaxQueueSize = false;
    Waiting toMerge;
    /// The outermost first.
    std::list<Group> groups;
    ModulesByTracker beforeFirstCommand = {};
    bool isProcessing = false;
    CommandPtr slot;
    ThreadManager threads;

private:
    /// By which a change of the history is noticed.
    using Rows = std::pair<std::size_t, unsigned>;

    /// What isProcessing becomes when a command's work has ended.
    using Flag = std::function<bool()>;

    /// A state of the data: that after an entry, and that with the commands that are no entries yet.
    struct DataState
    {
        unsigned ofEntry = 0;
        unsigned ofLoose = 0;

        bool operator==(const DataState&) const = default;
    };

    /// What listeners have been told.
    struct Told
    {
        std::size_t size = 0;
        std::size_t position = 0;
        std::array<int, trackerCount> saved = {-1, -1};

        bool operator==(const Told&) const = default;
    };

    void emit(const std::string& signal) const;
    void report(const std::string& context, const std::string& description, const std::exception& exception);
    Modules positionOf(std::uint64_t tracker) const;
    Entry makeEntry(const CommandPtr& command, Modules own) const;
    static CommandPtr merge(const CommandPtr& command, const Waiting& waiting);
    Modules askForEntry(const Waiting& waiting);
    void applyLimit();
    void moveToRedo(Entry entry, const Rows& afterwards);
    void changeHistory(const std::function<void()>& work);
    void tell();
    Told whatIs() const;
    /// By position. A command on its way from undo to redo keeps the place that it had.
    std::vector<unsigned> states() const;
    unsigned looseState() const;
    DataState dataState() const;
    bool isSaved() const;
    void forgetRedo();
    void loseSavesAfter(std::size_t position);
    void dropAll();
    void followStep(const Rows& expected, Entry& entry);
    Rows rows() const;
    void touch();
    void queue(const CommandPtr& command);
    void intake(const CommandPtr& command);
    void appendToGroup(Group& group, const CommandPtr& command, unsigned state);
    bool refuses(const std::string& operation) const;
    void requireNoGroup(const std::string& operation) const;
    bool takesIn(const Command& newest, const Command& command);
    bool merges(const CommandPtr& command, bool mayMerge);
    Waiting& waiting();
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
    unsigned stateCount = 0;
    /// The state of the data before the oldest entry.
    unsigned firstState = 0;
    std::array<std::optional<DataState>, trackerCount> saved;
    Told told;
    bool hasChanged = false;
    unsigned changeCount = 0;
    bool isTelling = false;
    /// The entries on their way from undo to redo: the state with each, and its position. Nothing is told meanwhile.
    std::vector<std::pair<unsigned, std::size_t>> moving;
    Modules modulesOfRemoved = 0;
};

} // namespace Valdane::Model

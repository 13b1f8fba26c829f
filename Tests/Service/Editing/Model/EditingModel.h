#pragma once

#include "Drawing.h"
#include "Entry.h"
#include "Operation.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Valdane::EditingModel
{

/// The limits of steps, as the real policy has them.
constexpr unsigned longestPause = 10;
constexpr unsigned longestStep = 4;

/// What History, SaveState, MergePolicy and CommandGroup promise of a manager. Compares the data of all
/// states by value.
///
/// Each operation answers in words. What calls commands takes the fault of the operation.
class Model
{
public:
    std::string addCommand(const Plan& plan, Fault& fault);
    std::string addOrMerge(const Plan& plan, Fault& fault);
    std::string addToStep(const Plan& plan, const std::string& key, Fault& fault);
    std::string addToMerge(const Plan& plan, Fault& fault);

    void endStep()
    {
        step = {};
    }

    void wait(unsigned time)
    {
        now += time;
    }

    void beginGroup(const std::string& description)
    {
        groups.push_back({.description = description, .commands = {}, .waiting = {}});
    }

    void commit()
    {
        endGroup();
    }

    std::string abandon(Fault& fault);

    /// The scope of the innermost group ends.
    void leave(Fault& fault)
    {
        if (abandon(fault) == "no")
        {
            endGroup();
        }
    }

    std::string undo(std::uint64_t count, Fault& fault);
    std::string redo(std::uint64_t count, Fault& fault);
    std::string moveTo(std::uint64_t target, Fault& fault);

    std::string takeNewest();
    std::string takeAll();

    void forgetRedo()
    {
        history.resize(position);
    }

    std::string clear();

    void setLimit(std::size_t size)
    {
        limit = size;
        applyLimit();
    }

    void useLimit(bool use)
    {
        usesLimit = use;
        applyLimit();
    }

    /// @param resets  whether the application resets what it reports as modified
    void save(std::size_t tracker, bool resets);

    std::size_t depth() const
    {
        return groups.size();
    }

    std::uint64_t getPosition() const
    {
        return position;
    }

    /// Whether commands wait to be merged, in a group or outside.
    bool hasWaiting() const;

    /// Whether each command of the history is a single one.
    bool hasOnlySingleCommands() const;

    /// How the rows of the history look, in the form of lookOf().
    std::vector<std::string> rows() const;

    bool isModified(std::size_t tracker) const;

    /// What differs from the save, a line for each module, if that must be told exactly.
    std::optional<std::vector<std::string>> exactChanges(std::size_t tracker) const;

    /// What the line of a module has to say of commands, if not all must be told exactly.
    ///
    /// @param optional  gets the words of commands that may be left out: they were executed in a group before
    ///                  the save, and came into the history after it; or they have taken in another one
    ///                  since, and are undone.
    std::string wordsOfCommands(std::size_t tracker, std::size_t layer,
                                std::set<std::string>& optional) const;

    /// The modules that differ from the save and that the application has reported.
    Layers modulesToBeTold(std::size_t tracker) const;

    const Drawing& data() const
    {
        return drawing;
    }

private:
    struct Group
    {
        std::string description;
        std::vector<Entry> commands;
        std::vector<Entry> waiting;
    };

    struct Step
    {
        std::uint64_t id = 0; ///< of its entry; 0 if the next command begins another one
        std::string key;
        unsigned time = 0; ///< when its last command was executed
        unsigned count = 0;
    };

    Entry makeSingle(const Plan& plan)
    {
        return {.id = ++newestId, .plan = plan, .parts = {}, .reported = 0};
    }

    Entry makeMacro(const std::string& description, const std::vector<Entry>& parts);
    Entry makeMacro(const Group& group);
    Entry mergedWith(const Entry& next, std::vector<Entry>& waiting);
    std::vector<Entry>& waitingHere();

    void queue(const Entry& entry);
    void applyLimit();
    bool mayMerge() const;
    Entry* newestCommand();
    bool mergeIntoStep(Entry& newest, const Plan& plan, Fault& fault);
    void noteMerge(Entry& newest);
    void endGroup();

    bool undoOne(Fault& fault);
    bool redoOne(Fault& fault);
    std::string moveTo(std::uint64_t target, Fault& fault, bool& hasMoved);

    /// The layers of modules that the application reports now.
    Layers reportedNow() const;
    bool hasLoose() const;

    /// Where the save lies: the position whose data are the saved ones.
    std::optional<std::uint64_t> savedPosition(std::size_t tracker) const;

    Drawing drawing;
    /// The data when the application last reset what it reports.
    Drawing known;
    std::vector<Entry> history;
    std::uint64_t position = 0;
    std::vector<Entry> waitingOutside;
    /// The outermost first.
    std::vector<Group> groups;
    std::array<Drawing, 2> saved;
    /// By which it is known what came into the history after the save.
    std::array<std::uint64_t, 2> newestAtSave{};
    /// Whether a command was taken since the save, or the limit dropped all while no place in the history was
    /// saved.
    std::array<bool, 2> isVague{};
    /// Strokes of commands that the application reset before they were in the history.
    std::set<int> unreported;
    std::size_t limit = 25;
    bool usesLimit = false;
    Step step;
    unsigned now = 0;
    std::uint64_t newestId = 0;
};

} // namespace Valdane::EditingModel

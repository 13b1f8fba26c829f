#pragma once

#include "Service/CommandTesting/CommandSubject.h"
#include "Service/CommandTesting/HistoryStep.h"
#include "Service/CommandTesting/Snapshot.h"
#include "Service/CommandTesting/Trial.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Valdane
{

class FailurePoints;

/// Plays a history, and compares the data after each step with what they must be.
///
/// For each position of the manager's history it keeps a snapshot, and the commands that lead there. After a
/// command was executed, a new world executes the same commands from the start: that must give the same data, or
/// the command depends on more than them. After undo, redo and an abandoned group the data must be those that the
/// position had.
class HistoryReplay
{
public:
    HistoryReplay(const CommandSubject& playedSubject,
                  const std::vector<CommandSubject::Generator>& commandGenerators,
                  FailurePoints& failurePoints);

    /// Plays the steps; then ends open groups, undoes everything, and redoes it. @throws Mistake the first one.
    void play(const std::vector<HistoryStep>& steps);

private:
    /// A command of the history: how it was made.
    struct Made
    {
        std::size_t generator;
        std::uint64_t seed;
    };

    struct State
    {
        Snapshot snapshot;
        std::vector<Made> path; ///< the commands that lead from the start to here
    };

    struct Group
    {
        State begin;
        State now;
        bool hasCommands = false;
    };

    void playStep(const HistoryStep& step);
    void finish();
    void add(const HistoryStep& step);
    bool execute(const HistoryStep& step, const std::shared_ptr<CommandBase>& command);
    void enter(State state, bool isMerged);
    void expectReplayed(const State& state) const;
    void undoOrRedo(const HistoryStep& step);
    void undoOne();
    void redoOne();
    void endGroup();
    void abandonGroup();
    void limit(std::uint32_t size);
    void expect(const State& state, const std::string& asWhen) const;
    const State& getCurrent() const;
    std::shared_ptr<CommandBase> makeCommand(const CommandSubject::World& world, const Made& made) const;
    std::string describe(const HistoryStep& step, const std::string& text) const;

    const CommandSubject& subject;
    const std::vector<CommandSubject::Generator>& generators;
    FailurePoints& points;
    Trial trial;
    CommandManager& manager;
    /// One for each position of the manager's history.
    std::vector<State> states;
    std::uint64_t position = 0;
    std::vector<Group> groups;
    /// What is being done, and all that was, in words.
    std::string stepText;
    std::vector<std::string> played;
};

} // namespace Valdane

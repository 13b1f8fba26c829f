#pragma once

#include "Service/CommandTesting/CommandTestingExport.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Valdane
{

/// One step of a history that CommandKit::replay() plays: as a report prints it, so that it can be copied into a
/// test.
///
///     kit.replay(generators, {HistoryStep::add(0, 17), HistoryStep::undo(1)});
struct VALDANE_COMMANDTESTING_EXPORT HistoryStep
{
    /// What is done; each has a function below.
    enum class Kind
    {
        Add,
        AddOrMerge,
        AddFailing,
        Undo,
        Redo,
        BeginGroup,
        EndGroup,
        AbandonGroup,
        Save,
        Limit,
    };

    /// CommandManager::addCommand() with a command of the generator at @p generator, which draws from @p seed.
    static HistoryStep add(std::size_t generator, std::uint64_t seed);

    /// The same with CommandManager::addOrMergeCommand().
    static HistoryStep addOrMerge(std::size_t generator, std::uint64_t seed);

    /// As add(), while the call of CommandKit::failAt() with the number @p point fails; 0 is the first. It throws a
    /// standard exception, or an int if @p seed is odd and the command is no macro: macros do not roll back for that.
    static HistoryStep addFailing(std::size_t generator, std::uint64_t seed, std::uint64_t point);

    /// CommandManager::undo(), redo(). Skipped in a group.
    static HistoryStep undo(std::uint64_t count);
    static HistoryStep redo(std::uint64_t count);

    /// Groups of the manager. The last two are skipped if none is open.
    static HistoryStep beginGroup();
    static HistoryStep endGroup();
    static HistoryStep abandonGroup();

    /// CommandManager::adjustOnSave() for the first tracker.
    static HistoryStep save();

    /// Sets and uses the limit @p size. Skipped in a group.
    static HistoryStep limit(std::uint32_t size);

    /// As it is written in code: "HistoryStep::add(0, 17)".
    std::string toText() const;

    Kind kind = Kind::Undo;    ///< what is done
    std::size_t generator = 0; ///< for the three kinds that add
    std::uint64_t seed = 0;    ///< likewise
    std::uint64_t number = 0;  ///< a count, a size, or the number of the point that fails
};

} // namespace Valdane

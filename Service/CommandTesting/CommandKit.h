#pragma once

#include "Service/CommandTesting/Checks.h"
#include "Service/CommandTesting/Choices.h"
#include "Service/CommandTesting/CommandSubject.h"
#include "Service/CommandTesting/FailurePoints.h"
#include "Service/CommandTesting/HistoryStep.h"
#include "Service/CommandTesting/MergeAnswer.h"
#include "Service/CommandTesting/Report.h"
#include "Service/CommandTesting/RoundTripOptions.h"
#include "Service/CommandTesting/Snapshot.h"

#include <concepts>
#include <functional>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace Valdane
{

class CommandBase;
class ModuleAccessInterface;

/// Proves an application's commands. The application says how to make its world, the data that commands work
/// on, and how to take a snapshot of it. Each check makes worlds and commands of its own, and reports mistakes.
///
///     CommandKit<Document> kit([] { return std::make_unique<Document>(); },
///                              [](const Document& document) { return document.toText(); });
///     const auto rename = [](Document& document) { return std::make_shared<RenameCommand>(document, "new"); };
///     const Report report = kit.all(rename);
///     EXPECT_TRUE(report) << report;
///
/// No test framework is needed; GoogleTest.h has matchers for GoogleTest. A maker makes the same command each
/// time, for a world that is as it was made. It only makes the command, and does not execute it. Worlds,
/// snapshots and commands are deterministic: the same steps give the same data, in each world.
///
/// Failures: what makers, snapshots and commands throw is a mistake with its text, and never passes to the
/// caller. @throws std::bad_alloc
/// Ownership: worlds and commands die before a check returns, unless somebody else keeps them alive. The kit can
/// be copied; copies share the failure points.
/// Thread: one thread at a time.
/// Cost: a check makes a few worlds, and takes a few snapshots of each.
template <typename World>
class CommandKit
{
public:
    /// What makes a command: a callable that takes a `World&` or a `const std::shared_ptr<World>&` and returns a
    /// shared pointer to it.
    class Maker
    {
    public:
        /// @param make  is kept.
        template <typename Make>

        requires(!std::same_as<std::remove_cvref_t<Make>, Maker> &&
                 (std::invocable<const Make&, World&> ||
                  std::invocable<const Make&, const std::shared_ptr<World>&>)) Maker(Make make)
            : erased(
                  [kept = std::move(make)](const CommandSubject::World& world) -> std::shared_ptr<CommandBase>
                  {
                      if constexpr (std::invocable<const Make&, World&>)
                      {
                          return kept(*static_cast<World*>(world.get()));
                      }
                      else
                      {
                          return kept(std::static_pointer_cast<World>(world));
                      }
                  })
        {
        }

    private:
        friend CommandKit;
        CommandSubject::Maker erased;
    };

    /// What makes commands for replay(): a callable that takes a `World&` and a `Choices&`, and returns a shared
    /// pointer to a command for the world as it is; empty if there is none.
    class Generator
    {
    public:
        /// @param generate  is kept.
        template <typename Generate>

        requires(!std::same_as<std::remove_cvref_t<Generate>, Generator> &&
                 std::invocable<const Generate&, World&, Choices&>) Generator(Generate generate)
            : erased([kept = std::move(generate)](const CommandSubject::World& world,
                                                  Choices& choices) -> std::shared_ptr<CommandBase>
                     { return kept(*static_cast<World*>(world.get()), choices); })
        {
        }

    private:
        friend CommandKit;
        CommandSubject::Generator erased;
    };

    /// @param makeWorld     returns a unique or shared pointer to a world, always with the same data in it.
    /// @param takeSnapshot  returns the data of a `const World&` as a SnapshotValue, which must not refer to the
    ///                      world. What it leaves out, no check can see.
    template <std::invocable MakeWorld, std::invocable<const World&> TakeSnapshot>

    requires(std::convertible_to<std::invoke_result_t<MakeWorld&>, std::shared_ptr<World>>&&
                 SnapshotValue<std::remove_cvref_t<std::invoke_result_t<TakeSnapshot&, const World&>>>)
        CommandKit(MakeWorld makeWorld, TakeSnapshot takeSnapshot)
    {
        subject.makeWorld = [make = std::move(makeWorld)]() mutable
        {
            return std::shared_ptr<World>(make());
        };
        subject.takeSnapshot = [take = std::move(takeSnapshot)](const CommandSubject::World& world) mutable
        {
            return Snapshot(take(*static_cast<const World*>(world.get())));
        };
    }

    /// Tells of the world's modules. The managers of all checks use the interface from then on, and tracking()
    /// can be called.
    ///
    /// @param modules    makes the interface that the application gives its managers; not empty.
    /// @param snapshots  takes a snapshot of each module. No module comes or goes by a command that is checked.
    void setModules(std::function<std::shared_ptr<ModuleAccessInterface>(World&)> modules,
                    std::function<std::vector<ModuleSnapshot>(const World&)> snapshots)
    {
        subject.modules = [make = std::move(modules)](const CommandSubject::World& world)
        {
            return make(*static_cast<World*>(world.get()));
        };
        subject.moduleSnapshots = [take = std::move(snapshots)](const CommandSubject::World& world)
        {
            return take(*static_cast<const World*>(world.get()));
        };
    }

    /// Undo is the inverse of execute, as often as one likes: execute, undo, redo, undo and so on, the command by
    /// itself and then through a CommandManager. After each undo the data are those from before, after each redo
    /// those from after execute(). A command that is not redo-capable is only undone. An execute() that fails also
    /// tells what it has left behind in the data.
    Report roundTrip(const Maker& make, const RoundTripOptions& options = {}) const
    {
        return Checks::roundTrip(subject, make.erased, options);
    }

    /// The progress never runs backwards, and moves at least every so often: no move is larger than a share of the
    /// whole. The last move, to the end, is the manager's if the command does not make it itself.
    ///
    /// @param make         makes the command.
    /// @param largestMove  from 0 to 1; 1 allows every move forward. Anything else is a mistake.
    Report progress(const Maker& make, double largestMove = 1) const
    {
        return Checks::progress(subject, make.erased, largestMove);
    }

    /// mergeWith() of the first command, a MergeableCommand, with the next one. It leaves the data as they are. If it
    /// answers true, undo and redo of the first command are those of both. If it answers false or throws, they are
    /// those of each command. The next command is made when the first one is done.
    Report merging(const Maker& makeFirst, const Maker& makeNext,
                   MergeAnswer expected = MergeAnswer::Any) const
    {
        return Checks::merging(subject, makeFirst.erased, makeNext.erased, expected);
    }

    /// The commands as a MacroCommand, which passes roundTrip(). If it fails after its first, second, third ...
    /// command, what is rolled back leaves the data as they were; so in execute(), undo() and redo(). All commands
    /// are made before the first one is executed.
    Report inMacro(const std::vector<Maker>& makers) const
    {
        std::vector<CommandSubject::Maker> erased;
        erased.reserve(makers.size());
        for (const Maker& make : makers)
        {
            erased.push_back(make.erased);
        }
        return Checks::inMacro(subject, erased);
    }

    /// After execute(), undo() and redo() the manager lists those modules as modified whose snapshots differ from
    /// those before execute(). Needs setModules().
    Report tracking(const Maker& make) const
    {
        return Checks::tracking(subject, make.erased);
    }

    /// What a program does wrong around its command: the maker gives no command, or the same one twice; making the
    /// command changes the data already, or destroying it does, be it only made, done or undone; its
    /// getDescription() throws before or after execute(), or after undo(); the command owns the world; the command
    /// never dies; the end of a ThreadedCommand's run is told to nobody. Data that only the command keeps do not belong into the snapshot.
    Report misuse(const Maker& make) const
    {
        return Checks::misuse(subject, make.erased);
    }

    /// A command, then a removal of what it refers to; both undone, both redone, both undone. The data are right each
    /// time. Fails for a command that remembers an object instead of its path, if the undo of the removal puts
    /// another object into its place. Use it with the address sanitizer: such a command may touch what is gone.
    Report staleObjects(const Maker& make, const Maker& makeRemoval) const
    {
        return Checks::staleObjects(subject, make.erased, makeRemoval.erased);
    }

    /// A command comes back from its data: executed in a world as it was made, the decoded command does and undoes what
    /// the command did. If the codec keeps undo, the decoded command also undoes and redoes what was done before it was
    /// made. Description and speed rate are the same, and neither encoding nor decoding changes any data.
    ///
    /// @param make       makes the command, which is encoded when it is done.
    /// @param codec      a callable that takes a `const CommandBase&` and a `World&`, and returns a shared pointer to a
    ///                   command for that world, made of the data of the other one, which is of another world.
    /// @param keepsUndo  whether the data hold what undo() needs.
    template <std::invocable<const CommandBase&, World&> Codec>
    Report codec(const Maker& make, const Codec& codec, bool keepsUndo) const
    {
        return Checks::codec(
            subject, make.erased,
            [&codec](const CommandBase& command,
                     const CommandSubject::World& world) -> std::shared_ptr<CommandBase>
            { return codec(command, *static_cast<World*>(world.get())); },
            keepsUndo);
    }

    /// A failure changes nothing: execute(), undo() and redo() fail once at each failAt() that they reach, with an
    /// exception and with an int, and once at each of their allocations (see the cost). The data are those from before then, and
    /// a second attempt succeeds. A step that hides the failure has done all of its work. Nothing leaks: each
    /// failure happens twice, and what the second time leaves counts; so it is with a round trip without failures.
    /// What is right by itself then fails at each failAt() through the manager, too.
    ///
    /// Allocations fail, and leaks are found, if the program links `Valdane::CommandTestingAllocations`; if not, the
    /// subject of the report says so. Macros do not fail with an int, after which they do not roll back. A
    /// ThreadedMacroCommand, which rolls back only there, is executed by addThreadedCommand(); runs are synchronous.
    ///
    /// Cost: two worlds for each failure that is tried: of those of a kind in a step some 256 in a row, then ever
    /// fewer, and the last one; some 800 of a million.
    Report failures(const Maker& make) const
    {
        return Checks::failures(subject, make.erased, *points);
    }

    /// An abort changes nothing: a threaded command, or a macro with threads, is aborted before each of its runs, at
    /// its questions for isAborted(), and after each run. The data are those from before then. A run that never
    /// asks is a mistake. Nothing leaks, by the run itself or more by an abort; counted as in failures(), if the
    /// program links `Valdane::CommandTestingAllocations`.
    ///
    /// In synchronous mode the manager queues an aborted command all the same; its undo() changes nothing. A macro
    /// continues there; undone, the data are those from before. If a nested macro has the run, the outer one is
    /// undone, too, as applications want it; the manager alone ends the nested one. In synchronous mode abortRun()
    /// is called on a thread of the check.
    ///
    /// Cost: two worlds and runs for each place; of the questions of a run the first 256 are tried, then ever fewer.
    /// Nobody else runs threads meanwhile: see RunProbe.
    ///
    /// @param make            the command. Its run ends if nobody aborts it, too; the check waits for that.
    /// @param changesNothing  whether it is right that the snapshot does not show what the command does.
    Report aborts(const Maker& make, bool changesNothing = false) const
    {
        return Checks::aborts(subject, make.erased, changesNothing);
    }

    /// Every check that fits one command: misuse() and, if that finds nothing, roundTrip(), failures(),
    /// progress(), tracking() if setModules() was called, and aborts() if it runs a thread. Without
    /// `Valdane::CommandTestingAllocations` the subject of the report says so.
    Report all(const Maker& make, const RoundTripOptions& options = {}) const
    {
        return Checks::all(subject, make.erased, options, *points);
    }

    /// Plays a history of commands that the generators make: adds, merges, undo, redo, groups, saves, limits and
    /// failures. After each command the data are what the same commands give when they are executed from the start
    /// in a new world; after each undo, redo and abandoned group they are what they were at that place of the
    /// history. Ends at the first mistake. RandomHistories.h plays histories at random.
    Report replay(const std::vector<Generator>& generators, const std::vector<HistoryStep>& steps) const
    {
        std::vector<CommandSubject::Generator> erased;
        erased.reserve(generators.size());
        for (const Generator& generator : generators)
        {
            erased.push_back(generator.erased);
        }
        return Checks::replay(subject, erased, steps, *points);
    }

    /// To be called by the application's code, or by a test double, where a call may fail: to write a file, to
    /// reach a server. Does nothing, except in a check that makes it fail. @throws what the check wants.
    void failAt(std::string_view name) const
    {
        points->reach(name);
    }

private:
    CommandSubject subject;
    std::shared_ptr<FailurePoints> points = std::make_shared<FailurePoints>();
};

} // namespace Valdane

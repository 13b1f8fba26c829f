#pragma once

#include "Platform/Signals/Connection.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandTesting/CommandSubject.h"
#include "Service/CommandTesting/Report.h"
#include "Service/CommandTesting/Snapshot.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace Valdane
{

class Mistake;

/// A world, a manager for it, and the command that is tried. Whatever cannot be had is a Mistake.
class Trial
{
public:
    /// A world with the manager that it needs, and no command. @throws Mistake
    explicit Trial(const CommandSubject& triedSubject);

    /// The same with a command, which is not executed. @throws Mistake
    Trial(const CommandSubject& triedSubject, const CommandSubject::Maker& make);

    /// Makes another command for the same world. @throws Mistake if it is empty or cannot be made.
    std::shared_ptr<CommandBase> makeCommand(const CommandSubject::Maker& make) const;

    /// Lets go of the command; the manager may still have it.
    void forgetCommand();

    const CommandSubject::World& getWorld() const;
    const std::shared_ptr<CommandBase>& getCommand() const;
    CommandManager& getManager();

    /// @throws Mistake
    Snapshot takeSnapshot() const;

    /// @throws Mistake "<when> the data are not <asWhen>:" with the difference, if the data are not as expected.
    void expect(const Snapshot& expected, const std::string& when, const std::string& asWhen) const;

    /// Executes the command, by itself. @throws Mistake what it throws, and what it has left behind in the data
    void execute(const std::string& step);

    /// Run a step through the manager. The first form adds the command, and tells what it has left behind if it fails.
    /// @throws Mistake "<step> fails: <text of sigCommandFailed>"
    void add(const std::string& step);
    void add(const std::string& step, const std::shared_ptr<CommandBase>& added);
    void undo(const std::string& step);
    void redo(const std::string& step);

    /// add(), unless the command is one that does nothing without addThreadedCommand(). @throws Mistake as add()
    void addAsItMust(const std::string& step);

    /// Gives the command, which is a thread or a macro of threads, to addThreadedCommand(), and throws what that throws.
    void startThreads();

    /// Runs the command, which is a thread or a macro of threads, by addThreadedCommand(), and waits for its end.
    /// @throws Mistake as add()
    void addThreaded(const std::string& step);

    /// Whether the command can be given to addThreadedCommand(), and whether it must be.
    bool isThreaded() const;
    bool mustBeThreaded() const;

    /// "<check> of "<description>"", or "<check>" if there is no command to ask.
    static Report begin(const std::string& check, const CommandSubject& subject,
                        const CommandSubject::Maker& make);

private:
    void run(const std::string& step, const std::function<bool()>& operation);
    void executeOrLeaveNothing(bool rollsThreadsBack, const std::function<void()>& call) const;
    Snapshot takeSnapshotAfter(const Mistake& mistake) const;

    const CommandSubject& subject;
    // Destroyed last to first: the manager's commands may still need the world.
    CommandSubject::World world;
    std::shared_ptr<CommandBase> command;
    CommandManager manager;
    std::optional<std::string> failure;
    Signals::Connection failed;
};

} // namespace Valdane

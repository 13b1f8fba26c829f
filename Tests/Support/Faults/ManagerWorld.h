#pragma once

#include "FaultsOfTheseServices.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Tests/Support/Faults/FaultyCommands.h"

#include <cstdint>
#include <list>
#include <memory>
#include <set>
#include <string>

namespace Valdane::Faults
{

/// A manager, what it manages, and listeners of all its signals.
class ManagerWorld
{
public:
    ManagerWorld();

    static int livingCommands()
    {
        return Counted::living;
    }

    std::shared_ptr<FaultyCommand> make(char letter);
    std::shared_ptr<FaultyThread> makeThread(char letter);

    /// Commands that were executed by the manager, for each letter one; an upper-case one is undone again.
    void fill(const std::string& letters);

    /// Has two commands, m and n, wait for the next one.
    void fillMerge();

    /// Executes a command of that letter as the manager does, without it.
    void applyAside(char letter);

    /// Has a listener of the history told of each change from now on.
    void listenToHistory();

    /// Empties the redo queue by other operations of the manager.
    void forgetRedo();

    /// Whether the operation has not told of a failure.
    bool succeeded() const
    {
        return answer != Answer::False && failures == 0;
    }

    /// Everything that can be observed: the manager at rest, what the open groups become, and each step of a
    /// gesture of the user that begins with a new command and goes to both ends of the history. Checks all
    /// the while that the manager's answers agree.
    std::string takeState();

    /// Declared first, as commands that die with the manager are counted there.
    Services services;
    std::shared_ptr<Document> document = std::make_shared<Document>();
    CommandManager manager;
    Answer answer = Answer::None;
    /// How often sigCommandFailed was emitted.
    int failures = 0;
    /// What an operation is to run, made beforehand.
    std::shared_ptr<FaultyThread> thread;
    std::shared_ptr<ThreadedMacroCommand> macro;
    /// What an operation gave.
    std::shared_ptr<CommandBase> taken;
    /// An application's progress bar.
    std::shared_ptr<LegacyProgress> bar = std::make_shared<LegacyProgress>();

private:
    std::string present() const;
    std::string slot() const;
    std::string groups() const;
    void checkAnswers() const;
    static std::string lettersOf(const std::list<std::string>& descriptions);
    static std::string lettersOf(const std::set<const Object*>& modules);

    std::list<Signals::Connection> connections;
};

} // namespace Valdane::Faults

#pragma once

#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Service/CommandPattern/ThreadedCommand.h"
#include "Tests/Support/Faults/CallOuts.h"
#include "Tests/Support/Faults/FaultRow.h"

#include <array>
#include <cstddef>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

namespace Valdane::Faults
{

/// Modules are only ever compared by their address, so that these need no tree.
inline const Object* moduleOf(char letter)
{
    static const std::array<char, 26> modules{};
    return reinterpret_cast<const Object*>(&modules.at(static_cast<std::size_t>(letter - 'a')));
}

/// The data that the commands change: how often each of them is applied, and the modules that are marked.
class Document : public ModuleAccessInterface
{
public:
    /// Changes either both or nothing.
    void apply(char command)
    {
        modified.insert(moduleOf(command));
        ++applied(command);
    }

    void revert(char command)
    {
        --applied(command);
    }

    int& applied(char command)
    {
        return counts.at(static_cast<std::size_t>(command - 'a'));
    }

    /// The commands that are applied, with the number of times where that is not 1.
    std::string text() const
    {
        std::string result;
        for (std::size_t i = 0; i < counts.size(); ++i)
        {
            if (counts.at(i) != 0)
            {
                result += static_cast<char>('a' + i);
                result += counts.at(i) == 1 ? "" : "(" + std::to_string(counts.at(i)) + " times)";
            }
        }
        return result;
    }

    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        callOut(Callee::Work);
        return modified;
    }

    std::set<const Object*> getSaveOnNextSaveModulesFromBusiness() override
    {
        callOut(Callee::Work);
        return {moduleOf('z')};
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        modified.clear();
        callOut(Callee::Notification);
    }

    std::set<const Object*> getAllModulesAsModified() override
    {
        callOut(Callee::Work);
        return {moduleOf('x'), moduleOf('y')};
    }

    std::set<const Object*> modified;
    /// What all commands say.
    bool isRedoCapable = true;

private:
    std::array<int, 26> counts{};
};

/// Counts the commands that live.
class Counted
{
public:
    Counted()
    {
        ++living;
    }

    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    ~Counted()
    {
        --living;
    }

    inline static int living = 0;
};

/// Long enough to be allocated.
inline std::string descriptionOf(char letter)
{
    return "a command with the letter " + std::string(1, letter);
}

/// What a command of a test does: calls out, and then changes the document or not at all.
class FaultyWork
{
public:
    FaultyWork(char commandLetter, Document& changed) : letter(commandLetter), document(changed) {}

    void apply() const
    {
        callOut(Callee::Work);
        failIf(failsToApply);
        document.apply(letter);
    }

    void revert() const
    {
        callOut(Callee::Work);
        failIf(failsToRevert);
        document.revert(letter);
    }

    char letter;
    Document& document;
    bool failsToApply = false;
    bool failsToRevert = false;
    bool redoCapable = true;

private:
    static void failIf(bool fails)
    {
        if (fails)
        {
            throw std::domain_error("a command that always fails");
        }
    }

    Counted counted;
};

/// Every virtual operation is a call-out, and may thus throw.
class FaultyCommand : public CommandBase
{
public:
    FaultyCommand(char letter, Document& document)
        : CommandBase(descriptionOf(letter)), work(letter, document)
    {
    }

    void execute() override
    {
        work.apply();
    }

    void undo() override
    {
        work.revert();
    }

    void redo() override
    {
        work.apply();
    }

    const std::string& getDescription() const override
    {
        callOut(Callee::Work);
        return CommandBase::getDescription();
    }

    LegacyProgress::Speed::Rate getSpeedRate() const override
    {
        callOut(Callee::Work);
        return CommandBase::getSpeedRate();
    }

    bool isRedoCapable() override
    {
        callOut(Callee::Work);
        return work.redoCapable && work.document.isRedoCapable;
    }

    FaultyWork work;
};

/// The same as a thread. What is not applied is not reverted either, as undo() may follow an abort.
class FaultyThread : public ThreadedCommand
{
public:
    FaultyThread(char letter, Document& document)
        : ThreadedCommand(descriptionOf(letter)), work(letter, document)
    {
    }

    void run() override
    {
        work.apply();
    }

    void finishRun() override
    {
        callOut(Callee::Work);
    }

    void undo() override
    {
        if (work.document.applied(work.letter) != 0)
        {
            work.revert();
        }
    }

    void redo() override
    {
        work.apply();
    }

    const std::string& getDescription() const override
    {
        callOut(Callee::Work);
        return ThreadedCommand::getDescription();
    }

    LegacyProgress::Speed::Rate getSpeedRate() const override
    {
        callOut(Callee::Work);
        return ThreadedCommand::getSpeedRate();
    }

    bool isAddableToCommandManager() const override
    {
        callOut(Callee::Work);
        return ThreadedCommand::isAddableToCommandManager();
    }

    void sendFinishSignal(bool ok) override
    {
        callOut(Callee::Work);
        ThreadedCommand::sendFinishSignal(ok);
    }

    FaultyWork work;

protected:
    void prepareRun() override
    {
        callOut(Callee::Work);
    }

    void abortRun() override
    {
        callOut(Callee::Work);
    }
};

} // namespace Valdane::Faults

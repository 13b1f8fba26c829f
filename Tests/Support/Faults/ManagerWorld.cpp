#include "Tests/Support/Faults/ManagerWorld.h"

#include "Platform/Multitasking/ThreadManager.h"
#include "Service/CommandPattern/HistoryChange.h"
#include "Service/CommandPattern/MacroCommand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>

namespace Valdane::Faults
{

namespace
{

void beTold()
{
    callOut(Callee::Notification);
}

std::string withParts(const CommandBase* command)
{
    std::string text = command == nullptr ? "none" : command->getDescription();
    if (const auto* macro = dynamic_cast<const MacroCommand*>(command))
    {
        for (const auto& part : *macro)
        {
            text += ", " + part->getDescription();
        }
        text += macro->getUseForwardUndoOrder() ? ", forward" : ", backward";
    }
    return text;
}

} // namespace

ManagerWorld::ManagerWorld()
{
    manager.setModuleAccessInterface(document);
    const auto be = [this](Signals::Connection connection)
    {
        connections.push_back(std::move(connection));
    };
    be(manager.connectToSigCommandExecuted(beTold));
    be(manager.connectToSigCommandUndone(beTold));
    be(manager.connectToSigCommandQueueChanged([](CommandManager::QueueChangeReason) { beTold(); }));
    be(manager.connectToSigThreadedCommandStarted(beTold));
    be(manager.connectToSigThreadedCommandFinished(beTold));
    be(manager.connectToSigUndoRedoProcessCompleted(beTold));
    be(manager.connectToSigCommandFailed(
        [this](const char*, const std::string&)
        {
            ++failures;
            callOut(Callee::Work);
        }));
}

std::shared_ptr<FaultyCommand> ManagerWorld::make(char letter)
{
    return std::make_shared<FaultyCommand>(letter, *document);
}

std::shared_ptr<FaultyThread> ManagerWorld::makeThread(char letter)
{
    return std::make_shared<FaultyThread>(letter, *document);
}

void ManagerWorld::fill(const std::string& letters)
{
    std::uint64_t undone = 0;
    for (const char letter : letters)
    {
        const bool isUpper = std::isupper(letter) != 0;
        undone += isUpper ? 1U : 0U;
        EXPECT_TRUE(manager.addCommand(make(static_cast<char>(std::tolower(letter)))));
    }
    // An undo of nothing would be refused in a group.
    EXPECT_TRUE(undone == 0 || manager.undo(undone));
}

void ManagerWorld::fillMerge()
{
    EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(make('m'), false));
    EXPECT_TRUE(manager.addCommandToMergeWithNextCommand(make('n'), true));
}

void ManagerWorld::listenToHistory()
{
    connections.push_back(manager.connectToSigHistoryChanged([](const HistoryChange&) { beTold(); }));
}

void ManagerWorld::applyAside(char letter)
{
    document->apply(letter);
}

void ManagerWorld::forgetRedo()
{
    const std::set<const Object*> modified = std::exchange(document->modified, {});
    manager.addExecutedCommand(make('q'));
    manager.takeLastExecutedCommand();
    document->modified = modified;
}

std::string ManagerWorld::takeState()
{
    EXPECT_FALSE(failures != 0 && answer == Answer::True) << "success and failure at once";
    std::string state;
    if (taken != nullptr)
    {
        state += "took " + withParts(taken.get()) + "\n";
    }
    const auto tell = [&](const char* step)
    {
        checkAnswers();
        state += step + (": " + present()) + "\n";
    };
    Services::waitForRunEnd(*manager.getThreadManager());
    tell("now");
    manager.getThreadManager()->abortThreadExecution();
    manager.finalizeThread();
    manager.finalizeThread();
    tell("finalized");
    while (!manager.getOpenGroups().empty())
    {
        manager.endGroup();
        tell("group ended");
    }
    Services::setThreadingMode(*manager.getThreadManager(), 1);
    EXPECT_TRUE(manager.addCommand(make('p')));
    tell("added p");
    state += "top: " + withParts(manager.getUndoCommand().get()) + "\n";
    manager.undo(1);
    tell("undone 1");
    manager.undoAll();
    tell("undone all");
    manager.redoAll();
    tell("redone all");
    manager.undo(2);
    manager.adjustOnSave(0);
    tell("saved before 2");
    manager.redoAll();
    tell("redone");
    manager.clear();
    tell("cleared");
    return state;
}

std::string ManagerWorld::present() const
{
    return lettersOf(manager.collectUndoCommandDescriptions()) + "|" +
           lettersOf(manager.collectRedoCommandDescriptions()) + " applied " + document->text() +
           " modified " + lettersOf(manager.getModifiedModules(0)) + "/" +
           lettersOf(manager.getModifiedModules(1)) + " to save " +
           lettersOf(manager.getModifiedOrSaveOnNextSaveModules(1)) + " limit " +
           std::to_string(manager.getMaxQueueSize()) +
           (manager.usesMaxQueueSize() ? " in use" : " not used") + " slot " + slot() + groups();
}

std::string ManagerWorld::groups() const
{
    std::string text;
    for (const std::string& description : manager.getOpenGroups())
    {
        text += " in group " + description;
    }
    return text;
}

std::string ManagerWorld::slot() const
{
    const auto command = manager.getCurrentThreadedCommand();
    return (command == nullptr ? "empty" : command->getDescription()) +
           (manager.isProcessingCommand() ? ", processing" : "");
}

void ManagerWorld::checkAnswers() const
{
    const auto undoable = manager.collectUndoCommandDescriptions();
    const auto redoable = manager.collectRedoCommandDescriptions();
    EXPECT_EQ(manager.isProcessingCommand(), manager.getCurrentThreadedCommand() != nullptr);
    EXPECT_EQ(manager.getQueueSize(), undoable.size() + redoable.size());
    const bool isInGroup = !manager.getOpenGroups().empty();
    EXPECT_EQ(manager.canUndo(), !isInGroup && !undoable.empty());
    EXPECT_EQ(manager.canRedo(), !isInGroup && !redoable.empty());
    EXPECT_EQ(manager.getUndoCommand() != nullptr, !undoable.empty());
    EXPECT_EQ(manager.getRedoCommand() != nullptr, !redoable.empty());
    if (!undoable.empty())
    {
        EXPECT_EQ(manager.getUndoCommand()->getDescription(), undoable.front());
    }
    if (!redoable.empty())
    {
        EXPECT_EQ(manager.getRedoCommand()->getDescription(), redoable.front());
    }
    if (!manager.usesMaxQueueSize())
    {
        const std::set<const Object*> modified = manager.getModifiedModules(1);
        for (const char letter : lettersOf(undoable))
        {
            // A macro changes nothing itself.
            EXPECT_TRUE(letter == '-' || document->applied(letter) == 0 ||
                        modified.contains(moduleOf(letter)))
                << letter << " is done and never saved by this tracker";
        }
    }
    std::list<std::string> all = undoable;
    all.insert(all.end(), redoable.begin(), redoable.end());
    all.sort();
    EXPECT_EQ(std::ranges::adjacent_find(all), all.end()) << "queued twice";
}

std::string ManagerWorld::lettersOf(const std::list<std::string>& descriptions)
{
    std::string letters;
    for (const std::string& description : descriptions)
    {
        letters += description.empty() ? '-' : description.back();
    }
    return letters;
}

std::string ManagerWorld::lettersOf(const std::set<const Object*>& modules)
{
    std::string letters;
    for (char letter = 'a'; letter <= 'z'; ++letter)
    {
        letters += modules.contains(moduleOf(letter)) ? std::string(1, letter) : "";
    }
    return letters;
}

} // namespace Valdane::Faults

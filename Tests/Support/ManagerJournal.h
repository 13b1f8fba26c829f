#pragma once

#include "Journal.h"
#include "Platform/GeneralServices/LegacyProgress.h"
#include "Platform/Logging/Logging.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/ModuleAccessInterface.h"
#include "Tests/Support/RecordingCommand.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <set>
#include <string>

namespace Valdane
{

/// Modules are only ever compared by their address, so that these need no tree.
inline const Object* module(std::size_t number)
{
    static const char modules[26] = {};
    return reinterpret_cast<const Object*>(modules + number);
}

/// Notes every question, and reports the modules that the test has put in until they are marked.
class AskedModules : public ModuleAccessInterface
{
public:
    std::set<const Object*> getModifiedModulesFromBusiness() override
    {
        run("modules.modified", onAsk);
        return modified;
    }

    std::set<const Object*> getSaveOnNextSaveModulesFromBusiness() override
    {
        run("modules.saveOnNextSave", onAsk);
        return saveOnNextSave;
    }

    void markAllModulesInBusinessAsUnmodified() override
    {
        run("modules.mark", onMark);
        modified.clear();
    }

    std::set<const Object*> getAllModulesAsModified() override
    {
        run("modules.all", onAsk);
        return all;
    }

    std::set<const Object*> modified;
    std::set<const Object*> saveOnNextSave;
    std::set<const Object*> all;
    std::function<void()> onAsk;
    std::function<void()> onMark;

private:
    /// @param action  a copy, since it may replace itself.
    static void run(const char* question, const std::function<void()> action)
    {
        note(question);
        if (action)
        {
            action();
        }
    }
};

/// A manager whose signals are noted with its queues as a slot sees them, top first. Every entry of the
/// journal begins with "* " while the manager says that it is processing a command, else with "  ".
class ManagerJournal : public testing::Test
{
protected:
    ManagerJournal()
    {
        journalPrefix() = [this]
        {
            return manager.isProcessingCommand() ? "* " : "  ";
        };
        manager.setModuleAccessInterface(modules);
        Logging::traceEnabled = false;
        Logging::lines.clear();
        takeJournal();
    }

    ~ManagerJournal() override
    {
        Logging::onLine = nullptr;
        LegacyProgress::onCall = nullptr;
        journalPrefix() = nullptr;
        takeJournal();
    }

    /// Executes a command that modifies @p modified.
    std::shared_ptr<RecordingCommand> add(const std::string& name,
                                          const std::set<const Object*>& modified = {})
    {
        auto command = std::make_shared<RecordingCommand>(name);
        modules->modified = modified;
        EXPECT_TRUE(manager.addCommand(command));
        takeJournal();
        return command;
    }

    static std::string join(const std::list<std::string>& texts)
    {
        std::string joined;
        for (const std::string& text : texts)
        {
            joined += joined.empty() ? text : " " + text;
        }
        return joined;
    }

    std::string queues() const
    {
        return "[" + join(manager.collectUndoCommandDescriptions()) + "|" +
               join(manager.collectRedoCommandDescriptions()) + "]";
    }

    /// The modified modules of a tracker as the letters of their numbers, without a trace in the journal.
    std::string modifiedOf(std::uint64_t tracker) const
    {
        auto before = takeJournal();
        const std::string text = lettersOf(manager.getModifiedModules(tracker));
        journal() = std::move(before);
        return text;
    }

    static std::string lettersOf(const std::set<const Object*>& objects)
    {
        std::string letters;
        for (std::size_t number = 0; number < 26; ++number)
        {
            if (objects.contains(module(number)))
            {
                letters += static_cast<char>('a' + number);
            }
        }
        return letters;
    }

    void noteSignal(const std::string& signal)
    {
        note(signal + " " + queues());
        // A copy, since it may replace itself.
        if (const auto action = onSignal)
        {
            action(signal);
        }
    }

    CommandManager manager;
    std::shared_ptr<AskedModules> modules = std::make_shared<AskedModules>();
    /// Called in the slot of each signal, after it was noted.
    std::function<void(const std::string& signal)> onSignal;

    Signals::Connection executed = manager.connectToSigCommandExecuted([this] { noteSignal("executed"); });
    Signals::Connection undone = manager.connectToSigCommandUndone([this] { noteSignal("undone"); });
    Signals::Connection failed = manager.connectToSigCommandFailed(
        [this](const char* what, const std::string& description)
        { noteSignal("failed(" + std::string(what) + ", " + description + ")"); });
    Signals::Connection queueChanged =
        manager.connectToSigCommandQueueChanged([this](CommandManager::QueueChangeReason reason)
                                                { noteSignal("queueChanged " + std::to_string(reason)); });
};

} // namespace Valdane

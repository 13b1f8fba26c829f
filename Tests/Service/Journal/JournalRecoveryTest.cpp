#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/CoreCodecs.h"
#include "Service/Journal/Journal.h"
#include "Tests/Service/Journal/Program.h"
#include "Tests/Service/Journal/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <list>
#include <optional>
#include <random>
#include <vector>

namespace Valdane
{
namespace
{

using Keeps = CommandCodecs::Keeps;

// A program that is used at random, and dies after each step: a copy of its journal is recovered each time.
class Session
{
public:
    Session(std::uint32_t seed, Keeps keepsOfCodec)
        : keeps(keepsOfCodec),
          random(seed),
          program(keeps),
          journal(program.codecs, folder.path() / "used.journal",
                  {.durability = Journal::Durability::EachCommand})
    {
        journal.start(program.manager, {.document = "sheet", .digest = saved.text(), .base = baseText()});
    }

    void run(int steps)
    {
        for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step)
        {
            doOne();
            ASSERT_EQ(journal.getFailure(), "") << trace();
            dieAndRecover(saved);
        }
        endAll();
        dieAndRecover(saved);
    }

    int recovered = 0;
    int refused = 0;

private:
    std::optional<std::string> baseText() const
    {
        return keeps == Keeps::Arguments ? std::optional(Sheet().text()) : std::nullopt;
    }

    unsigned any(unsigned count)
    {
        return std::uniform_int_distribution<unsigned>(0, count - 1)(random);
    }

    std::shared_ptr<TypeDigit> makeCommand()
    {
        return makeCommand(any(5));
    }

    std::shared_ptr<TypeDigit> makeCommand(std::size_t cell)
    {
        auto command = std::make_shared<TypeDigit>(program.sheet, cell, static_cast<int>(1 + any(9)));
        command->isKeptForRedo = any(12) != 0;
        return command;
    }

    std::string trace() const
    {
        std::string joined;
        for (const std::string& word : words)
        {
            joined += word + " ";
        }
        return joined;
    }

    void doOne()
    {
        CommandManager& manager = program.manager;
        const bool isInGroup = !manager.getOpenGroups().empty();
        const unsigned choice = any(isInGroup ? 14 : 24);
        words.push_back(std::to_string(choice));
        switch (choice)
        {
        case 0:
        case 1:
        case 2:
        case 3:
            manager.addCommand(makeCommand());
            return;
        case 4:
        case 5:
        case 6:
            manager.addOrMergeCommand(makeCommand());
            return;
        case 7:
            addToMerge();
            return;
        case 8:
            addExecuted();
            return;
        case 9:
            manager.beginGroup("group");
            return;
        case 10:
            if (isInGroup)
            {
                manager.abandonGroup();
            }
            return;
        case 11:
        case 12:
            if (isInGroup)
            {
                manager.endGroup();
            }
            return;
        case 13:
            save();
            return;
        case 14:
        case 15:
        case 16:
        case 17:
        case 18:
            choice < 17 ? manager.undo(1 + any(2)) : manager.redo(1 + any(2));
            return;
        case 19:
            manager.setMaxQueueSize(2 + any(6));
            manager.setUsesMaxQueueSize(any(2) == 0);
            return;
        case 20:
            wrap(manager.takeLastExecutedCommand());
            return;
        case 21:
            any(3) == 0 ? manager.clear() : manager.forgetRedoCommands();
            return;
        case 22:
            any(3) == 0 ? wrap(manager.takeExecutedCommands()) : manager.adjustOnSave(1);
            return;
        default:
            save();
        }
    }

    // Redo and replay execute it after the one that it is merged with, so its place must not matter.
    void addToMerge()
    {
        auto command = makeCommand(5);
        command->factor = 1;
        program.manager.addCommandToMergeWithNextCommand(command, false);
    }

    void addExecuted()
    {
        auto macro = std::make_shared<MacroCommand>("macro");
        macro->executeAndAdd(makeCommand());
        macro->executeAndAdd(makeCommand());
        program.manager.addExecutedCommand(macro);
    }

    void wrap(const std::shared_ptr<CommandBase>& taken)
    {
        isTaken = true;
        dieAndRecover(saved);
        isTaken = false;
        switch (taken == nullptr ? 3 : any(3))
        {
        case 0:
            program.manager.clear();
            return;
        case 1:
            program.manager.addExecutedCommand(taken);
            return;
        case 2:
        {
            auto macro = std::make_shared<MacroCommand>("wrapped");
            macro->addCommand(taken);
            program.manager.addExecutedCommand(macro);
            return;
        }
        default:
            return;
        }
    }

    void save()
    {
        journal.willSave(program.sheet.text());
        // Before the file is replaced, and after it.
        dieAndRecover(saved);
        dieAndRecover(program.sheet);
        saved = program.sheet;
        program.manager.adjustOnSave(0);
        dieAndRecover(saved);
        journal.didSave();
    }

    void endAll()
    {
        while (!program.manager.getOpenGroups().empty())
        {
            program.manager.endGroup();
        }
    }

    void dieAndRecover(const Sheet& onDisk)
    {
        const std::filesystem::path copy = folder.path() / "left.journal";
        copyJournal(folder.path() / "used.journal", copy);
        Program next(keeps);
        next.sheet = baseText().has_value() ? Sheet() : onDisk;
        Journal left(next.codecs, copy, {.durability = Journal::Durability::EachCommand});
        if (!left.getRemains().has_value())
        {
            ASSERT_EQ(program.sheet, Sheet()) << trace();
            ASSERT_EQ(program.manager.getQueueSize(), 0U) << trace();
            return;
        }
        Journal::Recovery recovery;
        try
        {
            recovery = left.recover(next.manager, next.sheet.text());
        }
        catch (const std::exception& exception)
        {
            ASSERT_THAT(exception.what(), testing::HasSubstr("cannot be replayed on the saved document"))
                << trace();
            ASSERT_EQ(next.manager.getQueueSize(), 0U);
            ++refused;
            return;
        }
        ++recovered;
        ASSERT_EQ(recovery.failure, "") << trace();
        ASSERT_EQ(next.sheet, program.sheet) << trace();
        compare(next.manager);
        // What was pending when the document was saved cannot be undone any more, nor what came before it.
        if (!isTaken && (keeps == Keeps::Arguments || program.manager.getPendingCount() == 0))
        {
            goOn(left, next, copy, onDisk);
        }
    }

    void compare(const CommandManager& other)
    {
        const CommandManager& manager = program.manager;
        if (!manager.getOpenGroups().empty())
        {
            return;
        }
        ASSERT_EQ(rowsOf(other), rowsOf(manager)) << trace();
        ASSERT_EQ(other.getPosition(), manager.getPosition()) << trace();
        // What waited when the document was saved waits for nothing any more.
        ASSERT_LE(other.getPendingCount(), manager.getPendingCount()) << trace();
    }

    // What was recovered can be undone and redone, and is in the file as it was.
    void goOn(Journal& left, Program& next, const std::filesystem::path& copy, const Sheet& onDisk)
    {
        const Sheet recoveredSheet = next.sheet;
        const std::uint64_t position = next.manager.getPosition();
        ASSERT_EQ(left.getFailure(), "");
        next.manager.undo(1);
        next.manager.redo(1);
        if (position == next.manager.getPosition())
        {
            ASSERT_EQ(next.sheet, recoveredSheet) << trace();
        }
        const Sheet expected = next.sheet;
        const std::uint64_t expectedPosition = next.manager.getPosition();
        const std::filesystem::path again = folder.path() / "again.journal";
        copyJournal(copy, again);
        Program third(keeps);
        third.sheet = baseText().has_value() ? Sheet() : onDisk;
        Journal journalAgain(third.codecs, again);
        try
        {
            ASSERT_EQ(journalAgain.recover(third.manager, third.sheet.text()).failure, "") << trace();
        }
        catch (const VdException& exception)
        {
            ASSERT_THAT(exception.what(), testing::HasSubstr("cannot be replayed")) << trace();
            return;
        }
        ASSERT_EQ(third.sheet, expected) << trace();
        ASSERT_EQ(third.manager.getPosition(), expectedPosition) << trace();
    }

    Keeps keeps;
    std::mt19937 random;
    TemporaryFolder folder;
    Program program;
    Sheet saved;
    Journal journal;
    // A command is in nobody's history, so what came before it must not be undone.
    bool isTaken = false;
    std::vector<std::string> words;
};

// How many sessions are tried, and from which seed on: more of them in a campaign.
std::uint32_t numberFrom(const char* variable, std::uint32_t otherwise)
{
    const char* const text = std::getenv(variable);
    return text == nullptr ? otherwise : static_cast<std::uint32_t>(std::stoul(text));
}

const std::uint32_t sessions = numberFrom("VALDANE_JOURNAL_SESSIONS", 8);
const std::uint32_t firstSeed = numberFrom("VALDANE_JOURNAL_SEED", 0);
constexpr int steps = 40;

TEST(JournalRecovery, RandomSessionsThatDieAfterEachStepComeBackOnTheSavedDocument)
{
    int recovered = 0;
    int refused = 0;
    for (std::uint32_t seed = firstSeed; seed < firstSeed + sessions && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE(seed);
        Session session(seed, Keeps::Undo);
        session.run(steps);
        recovered += session.recovered;
        refused += session.refused;
    }
    // Where what was saved has become a part of another command, or what is pending was saved.
    EXPECT_GT(recovered, 4 * refused) << refused;
}

TEST(JournalRecovery, RandomSessionsThatDieAfterEachStepComeBackFromTheBase)
{
    for (std::uint32_t seed = firstSeed; seed < firstSeed + sessions && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE(seed);
        Session session(seed, Keeps::Arguments);
        session.run(steps);
        EXPECT_EQ(session.refused, 0);
    }
}

} // namespace
} // namespace Valdane

#include "Service/Journal/Journal.h"

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Tests/Service/Journal/Program.h"
#include "Tests/Service/Journal/TemporaryFolder.h"
#include "Tests/Support/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Valdane
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Durability = Journal::Durability;

/// No journal knows it.
class Stranger : public TypeDigit
{
public:
    using TypeDigit::TypeDigit;
};

/// A program with a journal, and what the next one finds when this one dies.
class JournalTest : public testing::Test
{
protected:
    static constexpr auto Keeps = CommandCodecs::Keeps::Undo;

    std::filesystem::path pathOf(const std::string& name) const
    {
        return folder.path() / name;
    }

    void start(const Journal::Options& options = {.durability = Durability::EachCommand})
    {
        journal = std::make_unique<Journal>(program.codecs, pathOf("a.journal"), options);
        ended = journal->connectToSigEnded([this](const std::string& why) { told.push_back(why); });
        journal->start(program.manager, {.document = "sheet", .digest = program.sheet.text()});
    }

    void type(int digit)
    {
        ASSERT_TRUE(program.manager.addCommand(std::make_shared<TypeDigit>(program.sheet, 0, digit)));
    }

    /// The journal in the file as it is now; empty if there is none.
    std::unique_ptr<Journal> left()
    {
        copyJournal(pathOf("a.journal"), pathOf("left.journal"));
        next = std::make_unique<Program>(Keeps);
        return std::make_unique<Journal>(next->codecs, pathOf("left.journal"));
    }

    /// The rows and the first cell that come back now.
    std::string recovered(const Sheet& onDisk = {})
    {
        auto found = left();
        if (!found->getRemains().has_value())
        {
            return "nothing";
        }
        next->sheet = onDisk;
        const Journal::Recovery recovery = found->recover(next->manager, onDisk.text());
        std::string text;
        for (const std::string& row : rowsOf(next->manager))
        {
            text += row + ", ";
        }
        return text + "at " + std::to_string(next->manager.getPosition()) + ": " +
               std::to_string(next->sheet.cells[0]) + recovery.failure;
    }

    TemporaryFolder folder;
    Program program{Keeps};
    std::unique_ptr<Journal> journal;
    std::vector<std::string> told;
    Signals::Connection ended;
    std::unique_ptr<Program> next;
};

TEST_F(JournalTest, EachCommandIsInTheFileWhenItsOperationReturns)
{
    start();
    EXPECT_EQ(recovered(), "nothing");
    type(1);
    EXPECT_EQ(recovered(), "type 1, at 1: 1");
    type(2);
    program.manager.undo(1);
    EXPECT_EQ(recovered(), "type 1, type 2, at 1: 1");
    program.manager.redo(1);
    EXPECT_EQ(recovered(), "type 1, type 2, at 2: 12");
    program.manager.takeLastExecutedCommand();
    EXPECT_EQ(recovered(), "type 1, at 1: 12") << "what was taken is still done";
    program.manager.clear();
    EXPECT_EQ(recovered(), "at 0: 12");
}

TEST_F(JournalTest, WhenIdleWritesWhenItIsAsked)
{
    start({.durability = Durability::WhenIdle});
    type(1);
    EXPECT_EQ(recovered(), "nothing");
    journal->writeSoon();
    journal->flush();
    type(2);
    program.manager.undo(2);
    EXPECT_EQ(recovered(), "type 1, at 1: 1");
    journal->flush();
    EXPECT_EQ(recovered(), "type 1, type 2, at 0: 0");
}

TEST_F(JournalTest, AnIntervalLetsChangesWait)
{
    start({.durability = Durability::Interval, .interval = std::chrono::hours(1)});
    type(1);
    EXPECT_EQ(recovered(), "nothing");
    journal->flush();
    EXPECT_EQ(recovered(), "type 1, at 1: 1");
    type(2);
    program.manager.setMaxQueueSize(1);
    program.manager.setUsesMaxQueueSize(true);
    journal->writeSoon();
    journal->flush();
    EXPECT_EQ(recovered(), "type 2, at 1: 12");
}

TEST_F(JournalTest, WhatWaitsIsWrittenWhenTheJournalIsDestroyed)
{
    start({.durability = Durability::Interval, .interval = std::chrono::hours(1)});
    type(1);
    journal.reset();
    type(2);
    EXPECT_EQ(told, std::vector<std::string>());

    Program other(Keeps);
    Journal again(other.codecs, pathOf("a.journal"));
    EXPECT_EQ(again.recover(other.manager, Sheet().text()).failure, "");
    EXPECT_THAT(rowsOf(other.manager), ElementsAre("type 1"));
    EXPECT_EQ(other.sheet.cells[0], 1);
}

TEST_F(JournalTest, TellsWhatRemains)
{
    const auto before = std::chrono::system_clock::now();
    start();
    type(1);
    type(2);
    type(3);
    program.manager.undo(1);
    journal->willSave(program.sheet.text());
    program.manager.adjustOnSave(0);
    journal->didSave();
    const std::string saved = program.sheet.text();
    program.manager.undo(1);
    const auto found = left();
    const JournalRemains remains = found->getRemains().value();
    EXPECT_EQ(remains.file, pathOf("left.journal"));
    EXPECT_EQ(remains.document, "sheet");
    EXPECT_GE(remains.since + std::chrono::milliseconds(1), before);
    EXPECT_LE(remains.since, std::chrono::system_clock::now());
    EXPECT_EQ(remains.steps, 3U);
    EXPECT_EQ(remains.unsavedSteps, 1U) << "the undo after the save";
    EXPECT_FALSE(remains.isClosed);
    EXPECT_FALSE(remains.hasBase);
    EXPECT_EQ(remains.digest, saved);
    EXPECT_EQ(remains.savedDigest, saved);
    EXPECT_EQ(remains.ended, "");
    EXPECT_EQ(remains.damage, "");
}

TEST_F(JournalTest, ASavePointComesBack)
{
    start();
    type(1);
    journal->willSave(program.sheet.text());
    const Sheet saved = program.sheet;
    EXPECT_EQ(recovered(), "type 1, at 1: 1") << "the document was not replaced yet";
    EXPECT_EQ(recovered(saved), "type 1, at 1: 1") << "it was";
    program.manager.adjustOnSave(0);
    journal->didSave();
    type(2);
    program.manager.adjustOnSave(1);
    EXPECT_EQ(recovered(saved), "type 1, type 2, at 2: 12");
    EXPECT_EQ(next->manager.getSavedPosition(0), 1U);
    EXPECT_EQ(next->manager.getSavedPosition(1), 2U);
    next->manager.undoAll();
    EXPECT_EQ(next->sheet, Sheet()) << "back behind the save";
}

TEST_F(JournalTest, AnotherDocumentIsRefusedAndNothingIsChanged)
{
    start();
    type(1);
    const auto found = left();
    Sheet edited;
    edited.cells[1] = 4;
    next->sheet = edited;
    EXPECT_EQ(messageOf([&] { found->recover(next->manager, edited.text()); }),
              "The document is not the one to which the history of 'sheet' belongs: it has changed since.");
    EXPECT_EQ(next->sheet, edited);
    EXPECT_EQ(next->manager.getQueueSize(), 0U);

    next->sheet = {};
    EXPECT_EQ(found->recover(next->manager, Sheet().text()).steps, 1U) << "it can be tried again";
}

TEST_F(JournalTest, AHistoryIsRecoveredIntoAnEmptyOne)
{
    start();
    type(1);
    const auto found = left();
    next->manager.addCommand(std::make_shared<TypeDigit>(next->sheet, 2, 2));
    EXPECT_EQ(messageOf([&] { found->recover(next->manager, Sheet().text()); }),
              "A history can only be recovered into an empty one.");
    next->manager.clear();
    next->manager.addCommandToMergeWithNextCommand(std::make_shared<TypeDigit>(next->sheet, 2, 2), false);
    EXPECT_EQ(messageOf([&] { found->recover(next->manager, Sheet().text()); }),
              "A history can only be recovered into an empty one.");
    EXPECT_EQ(messageOf([&] { found->start(next->manager, {}); }), "A journal starts with an empty history.");
    EXPECT_TRUE(found->getRemains().has_value());
}

TEST_F(JournalTest, WhereNothingIsNothingIsRecovered)
{
    Journal fresh(program.codecs, pathOf("fresh.journal"));
    EXPECT_FALSE(fresh.getRemains().has_value());
    EXPECT_EQ(messageOf([&] { fresh.recover(program.manager, ""); }), "There is nothing to recover.");
    EXPECT_EQ(fresh.readBase(), "");
    fresh.willSave("");
    fresh.didSave();
    fresh.writeSoon();
    fresh.closeAndKeep();
    EXPECT_EQ(fresh.getFailure(), "");
}

TEST_F(JournalTest, ACommandWithoutACodecEndsItAndIsToldOnce)
{
    start();
    type(1);
    program.manager.addCommand(std::make_shared<Stranger>(program.sheet, 0, 2));
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(told.front(), HasSubstr("Stranger"));
    EXPECT_EQ(journal->getFailure(), told.front());
    type(3);
    program.manager.undoAll();
    journal->flush();
    EXPECT_EQ(told.size(), 1U);
    EXPECT_EQ(left()->getRemains()->ended, told.front());
    EXPECT_EQ(recovered(), "type 1, at 1: 1");
    EXPECT_FALSE(journal->getRemains().has_value());
}

TEST_F(JournalTest, ACodecThatKeepsNoUndoNeedsABase)
{
    Program forgetful(CommandCodecs::Keeps::Arguments);
    Journal other(forgetful.codecs, pathOf("b.journal"));
    other.start(forgetful.manager, {.document = "sheet", .digest = "d"});
    forgetful.manager.addCommand(std::make_shared<TypeDigit>(forgetful.sheet, 0, 2));
    EXPECT_EQ(other.getFailure(),
              "The codec for 'type 2' keeps no undo, which only a journal with the document "
              "as it was can replay.");
}

TEST_F(JournalTest, AFullFileEndsIt)
{
    start({.durability = Durability::EachCommand, .maxBytes = 400'000});
    int typed = 0;
    for (; told.empty() && typed < 100'000; ++typed)
    {
        auto command = std::make_shared<TypeDigit>(program.sheet, 0, 1);
        command->setDescription(std::string(3000, 'x'));
        program.manager.addCommand(command);
    }
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(told.front(), HasSubstr("a.journal"));
    EXPECT_LT(std::filesystem::file_size(pathOf("a.journal")), 500'000U);
    const auto found = left();
    EXPECT_EQ(found->recover(next->manager, Sheet().text()).steps, static_cast<std::uint64_t>(typed - 1));
}

TEST_F(JournalTest, AFailureOfTheWritingThreadIsToldWithTheNextChange)
{
    start({.durability = Durability::WhenIdle, .maxBytes = 1});
    type(1);
    EXPECT_THAT(told, IsEmpty());
    journal->flush();
    EXPECT_EQ(told.size(), 1U);
    EXPECT_NE(journal->getFailure(), "");
}

TEST_F(JournalTest, WhoIsToldOfItsEndMayDestroyIt)
{
    start();
    const auto connection = journal->connectToSigEnded([this](const std::string&) { journal.reset(); });
    EXPECT_TRUE(program.manager.addCommand(std::make_shared<Stranger>(program.sheet, 0, 2)));
    EXPECT_EQ(journal, nullptr);
    EXPECT_EQ(told.size(), 1U);
    type(1);
}

TEST_F(JournalTest, AClosedDocumentLeavesNothing)
{
    start();
    type(1);
    journal->close();
    EXPECT_FALSE(std::filesystem::exists(pathOf("a.journal")));
    EXPECT_FALSE(std::filesystem::exists(pathOf("a.journal-wal")));
    type(2);
    journal->flush();
    EXPECT_EQ(journal->getFailure(), "");
    EXPECT_FALSE(std::filesystem::exists(pathOf("a.journal")));
}

TEST_F(JournalTest, UndoGoesOnTomorrowIfItIsClosedAndKept)
{
    start({.durability = Durability::WhenIdle});
    type(1);
    type(2);
    journal->willSave(program.sheet.text());
    program.manager.adjustOnSave(0);
    journal->didSave();
    const Sheet saved = program.sheet;
    journal->closeAndKeep();
    type(3);
    EXPECT_TRUE(left()->getRemains()->isClosed);
    EXPECT_EQ(left()->getRemains()->unsavedSteps, 0U);
    EXPECT_EQ(recovered(saved), "type 1, type 2, at 2: 12");
    next->manager.undoAll();
    EXPECT_EQ(next->sheet, Sheet());
}

TEST_F(JournalTest, WhatWasRecoveredGoesOnInTheSameFile)
{
    start();
    type(1);
    journal.reset();

    Program second(Keeps);
    Journal again(second.codecs, pathOf("a.journal"), {.durability = Durability::EachCommand});
    EXPECT_EQ(again.recover(second.manager, Sheet().text()).all, 1U);
    EXPECT_FALSE(again.getRemains().has_value());
    second.manager.addCommand(std::make_shared<TypeDigit>(second.sheet, 0, 7));
    EXPECT_EQ(recovered(), "type 1, type 7, at 2: 17");
}

TEST_F(JournalTest, ACommandThatFailsStopsAndTheRestStaysInTheFile)
{
    start();
    type(1);
    type(2);
    type(3);
    const auto found = left();
    bool fails = true;
    const auto failing = next->manager.connectToSigHistoryChanged(
        [&](const HistoryChange&)
        {
            if (fails && next->manager.getQueueSize() == 2)
            {
                throw std::runtime_error("no room");
            }
        });
    const Journal::Recovery recovery = found->recover(next->manager, Sheet().text());
    EXPECT_EQ(recovery.steps, 2U);
    EXPECT_EQ(recovery.all, 3U);
    EXPECT_EQ(recovery.failure, "no room");
    EXPECT_EQ(found->getFailure(), "no room");
    EXPECT_EQ(next->sheet.cells[0], 12);
    EXPECT_TRUE(found->getRemains().has_value());

    fails = false;
    next->manager.undoAll();
    next->manager.clear();
    EXPECT_EQ(found->recover(next->manager, Sheet().text()).steps, 3U) << "another try";
    EXPECT_EQ(next->sheet.cells[0], 123);
}

TEST_F(JournalTest, AnOpenGroupComesBackAsOneStep)
{
    start();
    program.manager.beginGroup("outer");
    type(1);
    program.manager.beginGroup("inner");
    type(2);
    EXPECT_EQ(recovered(), "outer, at 1: 12");
    program.manager.endGroup();
    EXPECT_EQ(recovered(), "outer, at 1: 12");
    program.manager.abandonGroup();
    EXPECT_EQ(recovered(), "at 0: 0");
}

TEST_F(JournalTest, WhatWaitsToBeMergedWaitsAgain)
{
    start();
    program.manager.addCommandToMergeWithNextCommand(std::make_shared<TypeDigit>(program.sheet, 0, 1), true);
    EXPECT_EQ(recovered(), "at 0: 1");
    EXPECT_EQ(next->manager.getPendingCount(), 1U);
    type(2);
    EXPECT_EQ(recovered(), "type 2, at 1: 12");
    next->manager.undo(1);
    EXPECT_EQ(next->sheet, Sheet());

    // Redo does what had waited last.
    program.manager.undo(1);
    program.manager.redo(1);
    EXPECT_EQ(program.sheet.cells[0], 21);
    EXPECT_EQ(recovered(), "type 2, at 1: 21");
}

TEST_F(JournalTest, KeepsTheDocumentIfReplayIsToBeginThere)
{
    const std::string base = std::string(40'000'000, 'a') + "z";
    journal = std::make_unique<Journal>(program.codecs, pathOf("a.journal"),
                                        Journal::Options{.durability = Durability::EachCommand});
    journal->start(program.manager, {.document = "sheet", .digest = Sheet().text(), .base = base});
    EXPECT_TRUE(journal->readBase() == base);
    type(1);
    {
        const auto found = left();
        EXPECT_TRUE(found->getRemains()->hasBase);
        EXPECT_TRUE(found->readBase() == base);
    }
    EXPECT_EQ(recovered(), "type 1, at 1: 1");
}

TEST_F(JournalTest, StartsOverInAFileThatHasAnother)
{
    start();
    type(1);
    journal.reset();
    Program second(Keeps);
    Journal again(second.codecs, pathOf("a.journal"), {.durability = Durability::EachCommand});
    again.start(second.manager, {.document = "other", .digest = Sheet().text()});
    EXPECT_FALSE(again.getRemains().has_value());
    EXPECT_EQ(left()->getRemains()->document, "sheet") << "nothing was done yet";
    second.manager.addCommand(std::make_shared<TypeDigit>(second.sheet, 0, 7));
    EXPECT_EQ(left()->getRemains()->document, "other");
    EXPECT_EQ(recovered(), "type 7, at 1: 7");
}

TEST_F(JournalTest, FindsWhatDeadProgramsHaveLeft)
{
    EXPECT_THAT(Journal::find(pathOf("nowhere")), IsEmpty());
    start();
    type(1);
    copyJournal(pathOf("a.journal"), pathOf("c.journal"));
    copyJournal(pathOf("a.journal"), pathOf("b.journal"));
    copyJournal(pathOf("a.journal"), pathOf("d.other"));
    std::ofstream(pathOf("e.journal"))
        << "no journal at all, but longer than the header of a database file is; so "
           "that nobody takes it for an empty one";
    const Journal empty(program.codecs, pathOf("f.journal"));

    const std::vector<JournalRemains> found = Journal::find(folder.path());
    ASSERT_EQ(found.size(), 3U) << "not that of a program that lives";
    EXPECT_EQ(found[0].file, pathOf("b.journal"));
    EXPECT_EQ(found[0].steps, 1U);
    EXPECT_EQ(found[1].file, pathOf("c.journal"));
    EXPECT_EQ(found[2].file, pathOf("e.journal"));
    EXPECT_THAT(found[2].damage, HasSubstr("e.journal"));
}

TEST_F(JournalTest, AFileHasOneUser)
{
    start();
    EXPECT_THAT(messageOf([this] { const Journal second(program.codecs, pathOf("a.journal")); }),
                HasSubstr("a.journal"));
    type(1);
    EXPECT_EQ(told, std::vector<std::string>());
}

TEST_F(JournalTest, AManagerThatDiesFirstIsNoMatter)
{
    auto second = std::make_unique<Program>(Keeps);
    Journal other(program.codecs, pathOf("b.journal"));
    {
        CommandManager manager;
        other.start(manager, {.document = "sheet", .digest = "d"});
        manager.addCommand(std::make_shared<TypeDigit>(program.sheet, 0, 1));
    }
    other.flush();
    EXPECT_EQ(other.getFailure(), "");
}

} // namespace
} // namespace Valdane

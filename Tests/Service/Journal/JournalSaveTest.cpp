#include "Service/Journal/Journal.h"
#include "Tests/Service/Journal/Program.h"
#include "Tests/Service/Journal/TemporaryFolder.h"
#include "Tests/Support/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

// What a save leaves, and what is told of it.

namespace Valdane
{
namespace
{

using Durability = Journal::Durability;
using Keeps = CommandCodecs::Keeps;

/// A program that saves, and what the next one finds.
class JournalSave : public testing::Test
{
protected:
    JournalSave()
    {
        journal.start(program.manager, {.document = "sheet", .digest = program.sheet.text()});
    }

    void type(int digit)
    {
        program.manager.addCommand(std::make_shared<TypeDigit>(program.sheet, 0, digit));
    }

    void save(bool isDone = true)
    {
        journal.willSave(program.sheet.text());
        if (isDone)
        {
            program.manager.adjustOnSave(0);
            journal.didSave();
        }
    }

    std::unique_ptr<Journal> open(Program& next) const
    {
        copyJournal(folder.path() / "a.journal", folder.path() / "left.journal");
        return std::make_unique<Journal>(next.codecs, folder.path() / "left.journal",
                                         Journal::Options{.durability = Durability::EachCommand});
    }

    JournalRemains remains() const
    {
        Program next(Keeps::Undo);
        return open(next)->getRemains().value();
    }

    TemporaryFolder folder;
    Program program{Keeps::Undo};
    Journal journal{program.codecs, folder.path() / "a.journal", {.durability = Durability::EachCommand}};
};

TEST_F(JournalSave, WhatWasUndoneSinceAndIsGoneIsUnsavedToo)
{
    type(1);
    type(2);
    save();
    EXPECT_EQ(remains().unsavedSteps, 0U);
    program.manager.undo(1);
    EXPECT_EQ(remains().unsavedSteps, 1U);
    type(3);
    EXPECT_EQ(remains().unsavedSteps, 2U) << "one undone and gone, one done";
    EXPECT_EQ(remains().steps, 2U);
}

TEST_F(JournalSave, OneThatHadBegunWithAllUndoneMayHaveReplacedTheDocument)
{
    type(1);
    type(2);
    save();
    program.manager.undo(2);
    save(false);
    EXPECT_EQ(remains().savingDigest, Sheet().text());
    Program next(Keeps::Undo);
    const auto left = open(next);
    EXPECT_EQ(left->recover(next.manager, Sheet().text()).failure, "");
    EXPECT_EQ(stateOf(next.sheet, next.manager), "0 0 0 0 0 0 | type 1 type 2 | 0 | 0");
    next.manager.redoAll();
    EXPECT_EQ(next.sheet.cells[0], 12);
}

TEST_F(JournalSave, OneThatHadBegunWithACommandWaitingBeyondAnUndoneOneIsNotReplayed)
{
    type(1);
    type(2);
    program.manager.undo(1);
    program.manager.addCommandToMergeWithNextCommand(std::make_shared<TypeDigit>(program.sheet, 0, 3), false);
    save(false);
    Program next(Keeps::Undo);
    next.sheet = program.sheet;
    const auto left = open(next);
    EXPECT_THAT(messageOf([&] { left->recover(next.manager, next.sheet.text()); }),
                testing::HasSubstr("cannot be replayed on the saved document"));
    EXPECT_EQ(next.sheet, program.sheet);
}

TEST_F(JournalSave, AfterRecoveryWhatHadBegunIsTheSavedOne)
{
    type(1);
    save(false);
    const Sheet saved = program.sheet;
    Program second(Keeps::Undo);
    second.sheet = saved;
    {
        const auto left = open(second);
        EXPECT_EQ(left->recover(second.manager, saved.text()).failure, "");
    }
    Program third(Keeps::Undo);
    third.sheet = saved;
    Journal again(third.codecs, folder.path() / "left.journal");
    EXPECT_EQ(again.getRemains()->savedDigest, saved.text());
    EXPECT_EQ(again.getRemains()->digest, saved.text());
    EXPECT_EQ(again.recover(third.manager, saved.text()).failure, "");
    EXPECT_EQ(third.manager.getSavedPosition(0), 1U);
}

TEST_F(JournalSave, RecoveryGoesBeyondTheManagersLimitAndLeavesIt)
{
    for (int digit = 1; digit <= 4; ++digit)
    {
        type(digit);
    }
    program.manager.undo(3);
    Program next(Keeps::Undo);
    next.manager.setMaxQueueSize(2);
    next.manager.setUsesMaxQueueSize(true);
    const auto left = open(next);
    EXPECT_EQ(left->recover(next.manager, Sheet().text()).failure, "");
    EXPECT_EQ(next.sheet.cells[0], 1);
    EXPECT_TRUE(next.manager.usesMaxQueueSize());
}

TEST_F(JournalSave, AfterRecoveryItIsNotClosedNorEnded)
{
    type(1);
    journal.closeAndKeep();
    EXPECT_TRUE(remains().isClosed);
    Program next(Keeps::Undo);
    {
        const auto left = open(next);
        EXPECT_EQ(left->recover(next.manager, Sheet().text()).failure, "");
    }
    Program third(Keeps::Undo);
    const Journal again(third.codecs, folder.path() / "left.journal");
    EXPECT_FALSE(again.getRemains()->isClosed);
    EXPECT_EQ(again.getRemains()->ended, "");
}

TEST_F(JournalSave, ADocumentThatWasNotSavedWhenItDiedIsNotSavedAfterwards)
{
    type(1);
    program.manager.markAllModulesBeforeFirstCommandAsModified();
    type(2);
    ASSERT_FALSE(program.manager.getSavedPosition(0).has_value());
    Program next(Keeps::Undo);
    next.manager.adjustOnSave(0);
    const auto left = open(next);
    EXPECT_EQ(left->recover(next.manager, Sheet().text()).failure, "");
    EXPECT_EQ(next.manager.getSavedPosition(0), std::nullopt);
}

TEST_F(JournalSave, ADocumentThatIsRenamedIsToldAtOnce)
{
    type(1);
    journal.setDocument("other sheet");
    EXPECT_EQ(remains().document, "other sheet");
}

TEST_F(JournalSave, WhatWaitsIsGoneWhenTheHistoryIsCleared)
{
    auto waits = std::make_shared<TypeDigit>(program.sheet, 0, 1);
    program.manager.addCommandToMergeWithNextCommand(waits, false);
    program.manager.clear();
    Program next(Keeps::Undo);
    const auto left = open(next);
    EXPECT_EQ(left->recover(next.manager, Sheet().text()).failure, "");
    EXPECT_EQ(next.manager.getPendingCount(), 0U);
    EXPECT_EQ(next.sheet, program.sheet);
}

} // namespace
} // namespace Valdane

#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/ThreadedMacroCommand.h"
#include "Service/Journal/Journal.h"
#include "Tests/Service/Journal/Program.h"
#include "Tests/Service/Journal/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// What a journal that ends leaves in its file.

namespace Valdane
{
namespace
{

using Durability = Journal::Durability;
using Keeps = CommandCodecs::Keeps;
using testing::ElementsAre;

const std::string emptySheet = Sheet().text();

/// No journal can write it.
class Unwritable : public TypeDigit
{
public:
    using TypeDigit::TypeDigit;
};

void typeInto(Program& program, int digit)
{
    program.manager.addCommand(std::make_shared<TypeDigit>(program.sheet, 0, digit));
}

void typeUnwritable(Program& program)
{
    program.manager.addCommand(std::make_shared<Unwritable>(program.sheet, 0, 9));
}

/// In each mode of writing.
class JournalEnd : public testing::TestWithParam<Durability>
{
protected:
    std::unique_ptr<Journal> open(Program& program, std::uint64_t maxBytes = 1'000'000) const
    {
        return std::make_unique<Journal>(program.codecs, folder.path() / "a.journal",
                                         Journal::Options{.durability = GetParam(), .maxBytes = maxBytes});
    }

    /// Leaves two steps in the file.
    void die() const
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        journal->start(program.manager, {.document = "first", .digest = emptySheet});
        typeInto(program, 1);
        typeInto(program, 2);
    }

    /// Whose steps the file has, which come back, and why it ends.
    std::string left() const
    {
        try
        {
            Program program(Keeps::Undo);
            const auto journal = open(program);
            if (!journal->getRemains())
            {
                return "nothing";
            }
            const JournalRemains remains = *journal->getRemains();
            std::string text = remains.document + ":";
            const auto recovery = journal->recover(program.manager, emptySheet);
            for (const std::string& row : rowsOf(program.manager))
            {
                text += " " + row;
            }
            return text + recovery.failure + (remains.ended.empty() ? "" : ", ended");
        }
        catch (const VdException& exception)
        {
            return exception.what();
        }
    }

    TemporaryFolder folder;
};

TEST_P(JournalEnd, WithTheFirstCommandItTellsWhoseItWas)
{
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        journal->start(program.manager, {.document = "second", .digest = emptySheet});
        typeUnwritable(program);
    }
    EXPECT_EQ(left(), "second:, ended");
}

TEST_P(JournalEnd, WithTheFirstCommandWhatItReplacesIsGone)
{
    die();
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        journal->start(program.manager, {.document = "second", .digest = emptySheet});
        typeUnwritable(program);
    }
    EXPECT_EQ(left(), "second:, ended");
}

TEST_P(JournalEnd, NothingThatComesBehindIsWritten)
{
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        journal->start(program.manager, {.document = "second", .digest = emptySheet});
        typeInto(program, 1);
        typeUnwritable(program);
        journal->setDocument("third");
        EXPECT_EQ(journal->readBase(), "");
        typeInto(program, 3);
        journal->willSave("saved");
        journal->didSave();
        journal->closeAndKeep();
    }
    EXPECT_EQ(left(), "second: type 1, ended");
}

TEST_P(JournalEnd, CloseLeavesWhatWasNotReplacedBecauseWritingFailed)
{
    die();
    {
        Program program(Keeps::Undo);
        const auto journal = open(program, 1);
        journal->start(program.manager, {.document = "second", .digest = emptySheet});
        typeInto(program, 7);
        journal->close();
    }
    EXPECT_EQ(left(), "first: type 1 type 2");
}

TEST_P(JournalEnd, CloseLeavesWhatRecoveryCouldNotBringBack)
{
    die();
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        const auto failing = program.manager.connectToSigHistoryChanged(
            [](const HistoryChange&) { throw std::runtime_error("no room"); });
        program.manager.setUsesMaxQueueSize(true);
        EXPECT_EQ(journal->recover(program.manager, emptySheet).failure, "no room");
        EXPECT_TRUE(program.manager.usesMaxQueueSize());
        journal->close();
        EXPECT_FALSE(journal->getRemains().has_value());
    }
    EXPECT_EQ(left(), "first: type 1 type 2");
}

TEST_P(JournalEnd, WhileItIsRecoveredTheFileIsLeftAsItIs)
{
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        journal->start(program.manager, {.document = "first", .digest = emptySheet});
        typeInto(program, 1);
        program.manager.beginGroup("group");
        typeInto(program, 2);
        typeInto(program, 3);
    }
    {
        Sheet sheet;
        CommandCodecs codecs;
        addCoreCodecs(codecs, [] { return nullptr; });
        codecs.add<TypeDigit>(
            "type-digit", 2, Keeps::Undo,
            [](const TypeDigit&) -> CommandCodecs::Json { throw std::runtime_error("not today"); },
            [&sheet](const CommandCodecs::Json& data, std::uint32_t)
            { return std::make_shared<TypeDigit>(sheet, 0, data.at("digits").get<int>()); });
        CommandManager manager;
        Journal journal(codecs, folder.path() / "a.journal", {.durability = GetParam()});
        EXPECT_EQ(journal.recover(manager, emptySheet).failure, "not today");
    }
    EXPECT_EQ(left(), "first: type 1 group");
}

TEST_P(JournalEnd, AFailureWithoutATextIsOne)
{
    die();
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        const auto failing = program.manager.connectToSigHistoryChanged([](const HistoryChange&)
                                                                        { throw std::runtime_error(""); });
        EXPECT_EQ(journal->recover(program.manager, emptySheet).failure, "Nobody has said why.");
    }
    EXPECT_EQ(left(), "first: type 1 type 2");
}

TEST_P(JournalEnd, ACodecThatFailsWithoutATextEndsIt)
{
    Program program(Keeps::Undo);
    program.codecs.add<Unwritable>(
        "unwritable", 1, Keeps::Undo,
        [](const Unwritable&) -> CommandCodecs::Json { throw std::runtime_error(""); },
        [](const CommandCodecs::Json&, std::uint32_t) { return nullptr; });
    const auto journal = open(program);
    std::vector<std::string> told;
    const auto ended = journal->connectToSigEnded([&](const std::string& why) { told.push_back(why); });
    journal->start(program.manager, {.document = "second", .digest = emptySheet});
    typeUnwritable(program);
    typeInto(program, 3);
    EXPECT_THAT(told, ElementsAre("Nobody has said why."));
    EXPECT_EQ(journal->getFailure(), "Nobody has said why.");
}

TEST_P(JournalEnd, ItIsForgottenWhenAnotherTrySucceeds)
{
    die();
    Program program(Keeps::Undo);
    const auto journal = open(program);
    {
        const auto failing = program.manager.connectToSigHistoryChanged(
            [](const HistoryChange&) { throw std::runtime_error("no room"); });
        journal->recover(program.manager, emptySheet);
    }
    program.manager.undoAll();
    program.manager.clear();
    EXPECT_EQ(journal->recover(program.manager, emptySheet).failure, "");
    journal->closeAndKeep();
    EXPECT_EQ(journal->getFailure(), "");
}

TEST_P(JournalEnd, CloseDeletesWhatWasReplaced)
{
    die();
    Program program(Keeps::Undo);
    const auto journal = open(program);
    journal->start(program.manager, {.document = "second", .digest = emptySheet});
    typeInto(program, 7);
    journal->close();
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_P(JournalEnd, AThreadedMacroThatFailsAgainIsRolledBack)
{
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        journal->start(program.manager, {.document = "first", .digest = emptySheet});
        typeInto(program, 1);
        auto macro = std::make_shared<ThreadedMacroCommand>("both");
        macro->addCommand(std::make_shared<TypeDigit>(program.sheet, 0, 2));
        macro->addCommand(std::make_shared<TypeDigit>(program.sheet, 0, 3));
        program.manager.addThreadedCommand(macro);
        while (program.manager.getCurrentThreadedCommand() != nullptr)
        {
            program.manager.finalizeThread();
        }
        ASSERT_EQ(program.sheet.cells[0], 123);
    }
    EXPECT_EQ(left(), "first: type 1 both");
    Sheet sheet;
    CommandCodecs codecs;
    addCoreCodecs(codecs, [] { return nullptr; });
    codecs.add<TypeDigit>(
        "type-digit", 2, Keeps::Undo, [](const TypeDigit&) { return CommandCodecs::Json(); },
        [&sheet](const CommandCodecs::Json& data, std::uint32_t)
        {
            auto command = std::make_shared<TypeDigit>(sheet, 0, data.at("digits").get<int>());
            command->fails = command->digits == 3;
            return command;
        });
    CommandManager manager;
    Journal journal(codecs, folder.path() / "a.journal", {.durability = GetParam()});
    const auto recovery = journal.recover(manager, emptySheet);
    EXPECT_EQ(recovery.steps, 1U);
    EXPECT_EQ(recovery.failure, "'both' failed: a digit that nobody may type");
    EXPECT_EQ(sheet.cells[0], 1);
}

TEST_P(JournalEnd, CloseLeavesNoFileWhereNoneWas)
{
    Program program(Keeps::Undo);
    const auto journal = open(program);
    journal->start(program.manager, {.document = "second", .digest = emptySheet});
    journal->close();
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_P(JournalEnd, AfterRecoveryItGoesOn)
{
    {
        Program program(Keeps::Undo);
        const auto journal = open(program);
        journal->start(program.manager, {.document = "first", .digest = emptySheet});
        typeInto(program, 1);
        typeUnwritable(program);
    }
    EXPECT_EQ(left(), "first: type 1, ended");
    EXPECT_EQ(left(), "first: type 1");
}

INSTANTIATE_TEST_SUITE_P(EachMode, JournalEnd, testing::Values(Durability::EachCommand, Durability::WhenIdle),
                         [](const auto& tested)
                         { return tested.param == Durability::WhenIdle ? "WhenIdle" : "EachCommand"; });

} // namespace
} // namespace Valdane

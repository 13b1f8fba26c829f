#include "Platform/ExceptionHandling/VdException.h"
#include "Service/Journal/Journal.h"
#include "Tests/Service/Journal/MemoryDisk.h"
#include "Tests/Service/Journal/Program.h"
#include "Tests/Service/Journal/TemporaryFolder.h"
#include "Tests/Support/MessageOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <vector>

// Files that are no journals, or not any more.

namespace Valdane
{
namespace
{

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Durability = Journal::Durability;
using Keeps = CommandCodecs::Keeps;

std::string bytesOf(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void makeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

void runSql(const std::filesystem::path& path, const char* sql)
{
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(path.string().c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
}

/// A journal of five commands, one of them undone, with a base, a large text and a save.
void makeSample(const std::filesystem::path& path)
{
    Program program(Keeps::Arguments);
    Journal journal(program.codecs, path, {.durability = Durability::EachCommand});
    const std::string digest = program.sheet.text();
    journal.start(program.manager, {.document = "sheet", .digest = digest, .base = digest});
    for (int digit = 1; digit <= 5; ++digit)
    {
        auto command = std::make_shared<TypeDigit>(program.sheet, 0, digit);
        command->setDescription(std::string(5000, static_cast<char>('a' + digit)));
        program.manager.addCommand(command);
        if (digit == 3)
        {
            journal.willSave(program.sheet.text());
            program.manager.adjustOnSave(0);
            journal.didSave();
        }
    }
    program.manager.undo(1);
}

/// What comes back of it: "1234 4/5 saved 3", or why nothing does.
std::string comesBack(const std::filesystem::path& path)
{
    try
    {
        Program program(Keeps::Arguments);
        Journal journal(program.codecs, path, {.durability = Durability::EachCommand});
        if (!journal.getRemains().has_value())
        {
            return "nothing";
        }
        if (journal.readBase() != program.sheet.text())
        {
            return "another document";
        }
        const auto failure = journal.recover(program.manager, program.sheet.text()).failure;
        std::string rows;
        for (const std::string& row : rowsOf(program.manager))
        {
            rows += row.size() == 5000 ? row.substr(0, 1) : " " + row;
        }
        return failure.empty() ? rows + " " + std::to_string(program.sheet.cells[0]) + " saved " +
                                     std::to_string(program.manager.getSavedPosition(0).value_or(99))
                               : failure;
    }
    catch (const VdException& exception)
    {
        return exception.what();
    }
}

const std::string wholeSample = "bcdef 1234 saved 3";

class BadJournal : public testing::Test
{
protected:
    std::filesystem::path pathOf(const std::string& name) const
    {
        return folder.path() / name;
    }

    std::string opened(const std::string& name) const
    {
        return messageOf([&] { const Journal journal(codecs, pathOf(name)); });
    }

    std::string refused(const std::string& name, const std::string& why) const
    {
        return "The journal '" + pathOf(name).string() + "' cannot be opened: " + why + ".";
    }

    TemporaryFolder folder;
    CommandCodecs codecs;
};

TEST_F(BadJournal, IsRefusedAndLeftAsItIs)
{
    makeFile(pathOf("text"),
             "Dear diary, today I have changed nothing in this file of somebody else's at all.");
    makeFile(pathOf("random"), std::string(9000, 'Z'));
    runSql(pathOf("database"), "CREATE TABLE text(key); INSERT INTO text VALUES('of another program')");
    runSql(pathOf("marked"), "PRAGMA application_id = 7");
    for (const char* const name : {"text", "random", "database", "marked"})
    {
        const std::string before = bytesOf(pathOf(name));
        EXPECT_EQ(opened(name), refused(name, "it is not a journal"));
        EXPECT_EQ(bytesOf(pathOf(name)), before) << name;
    }
    makeSample(pathOf("newer"));
    runSql(pathOf("newer"), "PRAGMA user_version = 2");
    const std::string newer = bytesOf(pathOf("newer"));
    EXPECT_EQ(opened("newer"), refused("newer", "it was written by a newer version of this library"));
    EXPECT_EQ(bytesOf(pathOf("newer")), newer);
}

TEST_F(BadJournal, OneThatCannotBeAFileIsRefused)
{
    std::filesystem::create_directory(pathOf("folder"));
    EXPECT_EQ(opened("folder"), refused("folder", "unable to open database file"));
    EXPECT_EQ(opened("none/a.journal"), refused("none/a.journal", "unable to open database file"));
    EXPECT_FALSE(std::filesystem::exists(pathOf("none")));
}

TEST_F(BadJournal, AnEmptyFileBecomesOne)
{
    makeFile(pathOf("a"), "");
    EXPECT_EQ(comesBack(pathOf("a")), "nothing");
    makeSample(pathOf("a"));
    EXPECT_EQ(comesBack(pathOf("a")), wholeSample);
}

TEST_F(BadJournal, OneThatIsInUseIsLeftAlone)
{
    makeSample(pathOf("a.journal"));
    const Journal used(codecs, pathOf("a.journal"));
    EXPECT_EQ(opened("a.journal"), refused("a.journal", "another journal has it open"));
    EXPECT_TRUE(Journal::find(folder.path()).empty());
}

TEST_F(BadJournal, OneThatIsCutIsRefusedOrWholeUpToThere)
{
    makeSample(pathOf("a"));
    const std::string bytes = bytesOf(pathOf("a"));
    for (std::size_t size = 0; size < bytes.size(); size += 509)
    {
        makeFile(pathOf("cut"), bytes.substr(0, size));
        const std::string back = comesBack(pathOf("cut"));
        EXPECT_THAT(back, testing::AnyOf("nothing", StartsWith("The journal '" + pathOf("cut").string() +
                                                               "' cannot be ")))
            << size;
        EXPECT_EQ(back == "nothing", size == 0) << size;
        std::filesystem::remove(pathOf("cut"));
    }
}

TEST(JournalOnAMemoryDisk, OneThatIsReadOnlyIsReadAndItIsToldThatNothingIsWritten)
{
    MemoryDisk disk;
    makeSample("/a");
    const auto sample = disk.getFiles();
    disk.setReadOnly(true);
    Program program(Keeps::Arguments);
    Journal journal(program.codecs, "/a", {.durability = Durability::EachCommand});
    std::vector<std::string> told;
    const auto ended = journal.connectToSigEnded([&](const std::string& why) { told.push_back(why); });
    EXPECT_EQ(journal.recover(program.manager, program.sheet.text()).failure, "");
    EXPECT_EQ(program.sheet.cells[0], 1234);
    EXPECT_TRUE(program.manager.addCommand(std::make_shared<TypeDigit>(program.sheet, 0, 7)));
    EXPECT_THAT(told, testing::ElementsAre(
                          "The journal '/a' cannot be written: attempt to write a readonly database."));
    EXPECT_EQ(disk.getFiles().at("/a").bytes, sample.at("/a").bytes);
}

/// Damages one bit in each of these bytes of a journal.
void expectRefusedOrWhole(std::size_t step)
{
    MemoryDisk disk;
    makeSample("/a");
    const auto sample = disk.getFiles();
    ASSERT_EQ(comesBack("/a"), wholeSample);
    const std::size_t size = sample.at("/a").bytes.size();
    int refusals = 0;
    for (std::size_t at = 0; at < size; at += step)
    {
        auto files = sample;
        char& byte = files.at("/a").bytes[at];
        byte = static_cast<char>(byte ^ (1 << at % 8));
        disk.setFiles(files);
        const std::string back = comesBack("/a");
        if (back != wholeSample)
        {
            ++refusals;
            ASSERT_THAT(back, AllOf(StartsWith("The "), HasSubstr("journal"))) << at;
        }
    }
    EXPECT_GT(refusals * 10, size / step) << size;
}

TEST(JournalOnAMemoryDisk, OneThatIsDamagedIsRefusedOrComesBackWhole)
{
    expectRefusedOrWhole(37);
}

// Takes long: run by Tests/Campaigns/kill-journal.
TEST(JournalOnAMemoryDisk, DISABLED_OneThatIsDamagedAnywhereIsRefusedOrComesBackWhole)
{
    expectRefusedOrWhole(1);
}

} // namespace
} // namespace Valdane

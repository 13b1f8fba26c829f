#include "Service/Journal/Journal.h"
#include "Tests/Service/Journal/Program.h"
#include "Tests/Service/Journal/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <utility>
#include <vector>

// Large data, which are stored once.

namespace Valdane
{
namespace
{

using Durability = Journal::Durability;
using Keeps = CommandCodecs::Keeps;
using testing::ElementsAre;
using testing::IsEmpty;

/// A command with bytes.
class Paint : public CommandBase
{
public:
    explicit Paint(std::vector<std::uint8_t> painted) : CommandBase("paint"), bytes(std::move(painted)) {}

    void execute() override {}

    void undo() override {}

    std::vector<std::uint8_t> bytes;
};

class JournalLargeData : public testing::Test
{
protected:
    JournalLargeData()
    {
        addPaint(program.codecs);
        journal.start(program.manager, {.document = "sheet", .digest = program.sheet.text()});
    }

    static void addPaint(CommandCodecs& codecs)
    {
        codecs.add<Paint>(
            "paint", 1, Keeps::Undo,
            [](const Paint& paint) { return CommandCodecs::Json::binary(paint.bytes); },
            [](const CommandCodecs::Json& data, std::uint32_t)
            { return std::make_shared<Paint>(data.get_binary()); });
    }

    void add(char letter, std::size_t size)
    {
        auto command = std::make_shared<TypeDigit>(program.sheet, 0, 1);
        command->setDescription(std::string(size, letter));
        program.manager.addCommand(command);
    }

    void save()
    {
        journal.willSave(program.sheet.text());
        program.manager.adjustOnSave(0);
        journal.didSave();
    }

    std::filesystem::path left() const
    {
        copyJournal(folder.path() / "a.journal", folder.path() / "left.journal");
        return folder.path() / "left.journal";
    }

    /// The sizes of what is stored by itself.
    std::vector<std::int64_t> stored() const
    {
        sqlite3* database = nullptr;
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_open(left().string().c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_prepare_v2(database, "SELECT length(data) FROM blob ORDER BY id", -1, &statement,
                                     nullptr),
                  SQLITE_OK);
        std::vector<std::int64_t> sizes;
        while (sqlite3_step(statement) == SQLITE_ROW)
        {
            sizes.push_back(sqlite3_column_int64(statement, 0));
        }
        sqlite3_finalize(statement);
        sqlite3_close(database);
        return sizes;
    }

    TemporaryFolder folder;
    Program program{Keeps::Undo};
    Journal journal{program.codecs, folder.path() / "a.journal", {.durability = Durability::EachCommand}};
};

TEST_F(JournalLargeData, FourKiBAndMoreAreStoredOnce)
{
    add('a', 4095);
    EXPECT_THAT(stored(), IsEmpty());
    add('a', 4096);
    add('b', 4096);
    add('a', 4096);
    add('a', 4097);
    EXPECT_THAT(stored(), ElementsAre(4096, 4096, 4097));
}

TEST_F(JournalLargeData, GoWithTheLastCommandThatHasThem)
{
    add('a', 5000);
    add('a', 5000);
    add('b', 6000);
    program.manager.undo(2);
    program.manager.forgetRedoCommands();
    EXPECT_THAT(stored(), ElementsAre(5000));
    program.manager.undo(1);
    program.manager.forgetRedoCommands();
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(JournalLargeData, OfASavedStepThatIsGoneStayUntilTheNextSave)
{
    add('a', 5000);
    save();
    const Sheet saved = program.sheet;
    program.manager.undo(1);
    program.manager.forgetRedoCommands();
    EXPECT_THAT(stored(), ElementsAre(5000));
    {
        Program next(Keeps::Undo);
        next.sheet = saved;
        addPaint(next.codecs);
        Journal again(next.codecs, left());
        EXPECT_EQ(again.recover(next.manager, saved.text()).failure, "");
        EXPECT_EQ(next.sheet, Sheet());
    }
    save();
    EXPECT_THAT(stored(), IsEmpty());
}

TEST_F(JournalLargeData, BytesComeBackAsBytes)
{
    std::vector<std::uint8_t> bytes(5000);
    for (std::size_t at = 0; at < bytes.size(); ++at)
    {
        bytes[at] = static_cast<std::uint8_t>(at % 251);
    }
    program.manager.addExecutedCommand(std::make_shared<Paint>(bytes));
    EXPECT_THAT(stored(), ElementsAre(5000));
    Program next(Keeps::Undo);
    addPaint(next.codecs);
    Journal again(next.codecs, left());
    EXPECT_EQ(again.recover(next.manager, Sheet().text()).failure, "");
    ASSERT_EQ(next.manager.getQueueSize(), 1U);
    EXPECT_EQ(dynamic_cast<const Paint&>(*next.manager.getCommand(0)).bytes, bytes);
}

} // namespace
} // namespace Valdane

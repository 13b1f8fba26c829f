// Journals: a file is damaged, or its rows are replaced by others with right checksums. It is refused, or what is in it comes
// back, can be undone and redone, is followed again, and comes back once more.

#include "Service/Journal/Journal.h"

#include "FuzzTarget.h"
#include "Platform/ExceptionHandling/VdException.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/CommandPattern/MacroCommand.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/CoreCodecs.h"
#include "Tests/Service/Journal/MemoryDisk.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace Valdane;
using Json = nlohmann::json;
using Cells = std::array<unsigned int, 4>;

const std::string journalFile = "/a.journal";

/// Adds a number to a cell; fails for one number.
class Add : public CommandBase
{
public:
    Add(Cells& changed, std::size_t changedCell, unsigned int added)
        : CommandBase("Add"), cells(changed), cell(changedCell), number(added)
    {
    }

    void execute() override
    {
        if (number == 13)
        {
            throw VdException("an unlucky number");
        }
        cells[cell] += number;
    }

    void undo() override
    {
        cells[cell] -= number;
    }

    Cells& cells;
    std::size_t cell;
    unsigned int number;
};

struct Program
{
    explicit Program(CommandCodecs::Keeps keeps)
    {
        addCoreCodecs(codecs, [] { return nullptr; });
        codecs.add<Add>(
            "add", 1, keeps,
            [](const Add& add) {
                return Json{add.cell, add.number};
            },
            [this](const Json& data, std::uint32_t /*version*/)
            {
                const auto cell = data.at(0).get<std::size_t>();
                return std::make_shared<Add>(cells, cell % cells.size(), data.at(1).get<unsigned int>());
            });
    }

    Cells cells{};
    CommandCodecs codecs;
    CommandManager manager;
};

/// The bytes of an input, from the first to the last, then zeros.
class Reader
{
public:
    explicit Reader(std::string_view read) : bytes(read) {}

    std::size_t number(std::size_t count = 1)
    {
        std::size_t value = 0;
        for (; count > 0; --count)
        {
            value = (value << 8) | (bytes.empty() ? 0 : static_cast<unsigned char>(bytes.front()));
            bytes.remove_prefix(bytes.empty() ? 0 : 1);
        }
        return value;
    }

    /// Mostly small, and now and then huge or negative.
    std::int64_t integer()
    {
        const auto first = static_cast<std::int64_t>(number());
        return first < 200 ? first : first < 240 ? 200 - first : static_cast<std::int64_t>(number(8));
    }

    std::string text()
    {
        const auto taken = bytes.substr(0, number());
        bytes.remove_prefix(taken.size());
        return std::string(taken);
    }

    bool isAtEnd() const
    {
        return bytes.empty();
    }

private:
    std::string_view bytes;
};

/// The checksum of a journal: FNV-1a, 64 bits.
class Sum
{
public:
    Sum& add(std::string_view bytes)
    {
        for (const char byte : bytes)
        {
            value = (value ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
        }
        return *this;
    }

    Sum& add(std::int64_t number)
    {
        for (unsigned shift = 0; shift < 64; shift += 8)
        {
            value = (value ^ ((static_cast<std::uint64_t>(number) >> shift) & 0xFFU)) * 0x100000001B3U;
        }
        return *this;
    }

    std::int64_t get() const
    {
        return static_cast<std::int64_t>(value);
    }

private:
    std::uint64_t value = 0xCBF29CE484222325U;
};

/// A journal of some commands, on the disk.
void makeSample()
{
    Program program(CommandCodecs::Keeps::Undo);
    Journal journal(program.codecs, journalFile, {.durability = Journal::Durability::EachCommand});
    journal.start(program.manager, {.document = "cells", .digest = "0", .base = "0 0 0 0"});
    for (unsigned int number = 1; number <= 3; ++number)
    {
        program.manager.addCommand(std::make_shared<Add>(program.cells, number, number));
    }
    auto macro = std::make_shared<MacroCommand>("Several");
    macro->addCommand(std::make_shared<Add>(program.cells, 0, 4));
    macro->addCommand(std::make_shared<Add>(program.cells, 1, 5));
    program.manager.addCommand(macro);
    program.manager.adjustOnSave(0);
    program.manager.undo(1);
}

void damage(MemoryDisk& disk, Reader& reader)
{
    auto files = disk.getFiles();
    std::string& bytes = files.at(journalFile).bytes;
    if (const auto cut = reader.number(); cut % 4 == 0)
    {
        bytes.resize(bytes.size() * cut / 256);
    }
    while (!reader.isAtEnd() && !bytes.empty())
    {
        bytes[reader.number(3) % bytes.size()] = static_cast<char>(reader.number());
    }
    disk.setFiles(files);
}

class Database
{
public:
    Database()
    {
        sqlite3_open(journalFile.c_str(), &database);
        run("PRAGMA locking_mode = EXCLUSIVE");
    }

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    ~Database()
    {
        sqlite3_close(database);
    }

    void run(const std::string& sql)
    {
        require(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
                sql + ": " + sqlite3_errmsg(database));
    }

private:
    sqlite3* database = nullptr;
};

std::string blobOf(std::string_view bytes)
{
    std::string literal = "x'";
    for (const char byte : bytes)
    {
        constexpr std::string_view digits = "0123456789abcdef";
        literal += digits[static_cast<unsigned char>(byte) >> 4];
        literal += digits[static_cast<unsigned char>(byte) & 0xFU];
    }
    return literal + "'";
}

/// The data of a command: those of one that there is, or any CBOR.
std::string dataFrom(Reader& reader)
{
    const auto kind = reader.number();
    if (kind < 64)
    {
        return reader.text();
    }
    Json records = Json::array();
    const std::size_t parts = kind < 128 ? 0 : kind % 4;
    if (parts != 0)
    {
        records.push_back({"valdane.macro", 1U, "Several", 0, parts, Json()});
    }
    for (std::size_t part = 0; part < std::max<std::size_t>(1, parts); ++part)
    {
        records.push_back({"add", 1U, "Add", 0, 0U, {reader.number(), reader.number()}});
    }
    std::string bytes;
    Json::to_cbor(records, bytes);
    return bytes;
}

void replaceRows(Reader& reader)
{
    Database database;
    database.run("BEGIN; DELETE FROM entry; DELETE FROM retired; DELETE FROM state");
    if (const auto key = reader.text(); !key.empty())
    {
        const auto value = reader.text();
        database.run("INSERT OR REPLACE INTO text VALUES(CAST(" + blobOf(key) + " AS TEXT), " +
                     blobOf(value) + ", " + std::to_string(Sum().add(key + value).get()) + ")");
    }
    std::array<std::int64_t, 8> state{};
    std::generate(state.begin(), state.end(), [&] { return reader.integer(); });
    const auto isSaved = [&state](std::size_t tracker)
    {
        return state.at(6 + tracker) % 3 != 0;
    };
    const bool countsRight = state[4] % 4 != 0;
    std::array<std::int64_t, 2> counts{};
    while (!reader.isAtEnd())
    {
        const bool isRetired = reader.number() % 8 == 0;
        const auto place = reader.integer();
        const auto kind = static_cast<std::int64_t>(reader.number() % 4);
        const auto depth = reader.integer();
        const auto data = dataFrom(reader);
        database.run(std::string("INSERT OR REPLACE INTO ") + (isRetired ? "retired" : "entry") + " VALUES(" +
                     std::to_string(place) + ", " + std::to_string(kind) + ", " + std::to_string(depth) +
                     ", " + blobOf(data) + ", " +
                     std::to_string(Sum().add(place).add(kind).add(depth).add(data).get()) + ")");
        ++counts[isRetired ? 1 : 0];
    }
    const auto entries = countsRight ? counts[0] : state[4];
    const auto retired = countsRight ? counts[1] : state[5];
    const auto isReachable = static_cast<std::int64_t>(state[3] % 2 != 0);
    const auto sum = Sum()
                         .add(state[0])
                         .add(state[1])
                         .add(state[2])
                         .add(isReachable)
                         .add(entries)
                         .add(retired)
                         .add(isSaved(0) ? state[6] : -1)
                         .add(isSaved(1) ? state[7] : -1)
                         .get();
    database.run("INSERT INTO state VALUES(0, " + std::to_string(state[0]) + ", " + std::to_string(state[1]) +
                 ", " + std::to_string(state[2]) + ", " + std::to_string(isReachable) + ", " +
                 std::to_string(entries) + ", " + std::to_string(retired) + ", " +
                 (isSaved(0) ? std::to_string(state[6]) : "NULL") + ", " +
                 (isSaved(1) ? std::to_string(state[7]) : "NULL") + ", " + std::to_string(sum) + "); COMMIT");
}

/// What comes back: the cells, the rows and how many of them are done; nothing if the journal is refused.
std::optional<std::string> comesBack(CommandCodecs::Keeps keeps, bool goesOn)
{
    Program program(keeps);
    try
    {
        Journal journal(program.codecs, journalFile, {.durability = Journal::Durability::EachCommand});
        if (!journal.getRemains().has_value())
        {
            return {};
        }
        journal.readBase();
        const auto& digest = journal.getRemains()->digest;
        const auto failure = journal.recover(program.manager, std::string(digest)).failure;
        const auto textNow = [&program]
        {
            std::string text = std::to_string(program.manager.getPosition()) + " of " +
                               std::to_string(program.manager.getQueueSize()) + ":";
            for (const unsigned int cell : program.cells)
            {
                text += " " + std::to_string(cell);
            }
            return text;
        };
        const auto text = textNow();
        const auto position = program.manager.getPosition();
        program.manager.undoAll();
        require(program.manager.getPosition() == 0, "not all is undone");
        program.manager.redo(position);
        requireSame(textNow(), text, "undone and redone, it is not as it was");
        if (!failure.empty() || !journal.getFailure().empty())
        {
            return {};
        }
        if (goesOn)
        {
            program.manager.addCommand(std::make_shared<Add>(program.cells, 1, 99));
        }
        return journal.getFailure().empty() ? std::optional(textNow()) : std::nullopt;
    }
    catch (const VdException&)
    {
        require(program.manager.getQueueSize() == 0, "it was refused, and has a history");
        require(program.cells == Cells{}, "it was refused, and has changed the document");
        return {};
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    spdlog::set_level(spdlog::level::off);
    // One for all inputs: SQLite keeps what it knows of a disk.
    static MemoryDisk disk;
    static const MemoryDisk::Files sample = []
    {
        makeSample();
        return disk.getFiles();
    }();
    disk.setFiles(sample);
    Reader reader({reinterpret_cast<const char*>(data), size});
    const auto kind = reader.number();
    kind % 8 == 0 ? damage(disk, reader) : replaceRows(reader);
    const auto keeps = kind % 2 == 0 ? CommandCodecs::Keeps::Undo : CommandCodecs::Keeps::Arguments;
    const auto first = comesBack(keeps, kind % 3 == 0);
    if (first.has_value())
    {
        requireSame(comesBack(keeps, false).value_or("nothing"), *first,
                    "the second time, it does not come back");
    }
    return 0;
}

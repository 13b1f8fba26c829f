// Commands with a journal against bare prepared inserts of the same bytes with the same durability, in one process and in turn;
// what of that the thread of the user waits for; and recovery against executing the same commands.
//
// usage: journal-in-turns [FOLDER]    where the files are, on the disk that is to be measured; the current one otherwise

#include "Benchmarks/Samples.h"
#include "Service/CommandPattern/CommandBase.h"
#include "Service/CommandPattern/CommandManager.h"
#include "Service/Journal/CommandCodecs.h"
#include "Service/Journal/Journal.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace Valdane::Benchmarks
{
namespace
{

using Json = nlohmann::json;
using Durability = Journal::Durability;

class SetValue : public CommandBase
{
public:
    SetValue(int& changed, int newValue)
        : CommandBase("Set value of the pump"), variable(changed), value(newValue)
    {
    }

    void execute() override
    {
        old = variable;
        variable = value;
    }

    void undo() override
    {
        variable = old;
    }

    int& variable;
    int value;
    int old = 0;
};

void addCodec(CommandCodecs& codecs, int& variable)
{
    codecs.add<SetValue>(
        "set-value", 1, CommandCodecs::Keeps::Undo,
        [](const SetValue& set) {
            return Json{{"value", set.value}, {"old", set.old}};
        },
        [&variable](const Json& data, std::uint32_t /*version*/)
        {
            auto set = std::make_shared<SetValue>(variable, data.at("value").get<int>());
            set->old = data.at("old").get<int>();
            return set;
        });
}

/// A document, with a journal or without.
class Document
{
public:
    explicit Document(const std::optional<std::filesystem::path>& file,
                      Durability durability = Durability::WhenIdle)
    {
        addCodec(codecs, variable);
        if (file.has_value())
        {
            journal.emplace(codecs, *file, Journal::Options{.durability = durability});
            if (!journal->getRemains().has_value())
            {
                journal->start(manager, {.document = "pump", .digest = "0"});
            }
        }
    }

    void add(int commands)
    {
        for (int i = 0; i < commands; ++i)
        {
            manager.addCommand(std::make_shared<SetValue>(variable, ++last));
        }
    }

    void require() const
    {
        if (!journal->getFailure().empty())
        {
            throw std::runtime_error(journal->getFailure());
        }
    }

    int variable = 0;
    int last = 0;
    CommandCodecs codecs;
    CommandManager manager;
    std::optional<Journal> journal;
};

/// The least that keeps the same bytes: a prepared insert.
class BareTable
{
public:
    explicit BareTable(const std::filesystem::path& file)
    {
        check(sqlite3_open(file.string().c_str(), &database));
        run("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
            "CREATE TABLE entry(place INTEGER PRIMARY KEY, data BLOB NOT NULL)");
        check(sqlite3_prepare_v2(database, "INSERT INTO entry(data) VALUES(?)", -1, &insert, nullptr));
    }

    BareTable(const BareTable&) = delete;
    BareTable& operator=(const BareTable&) = delete;

    ~BareTable()
    {
        sqlite3_finalize(insert);
        sqlite3_close(database);
    }

    void add(const std::string& bytes)
    {
        sqlite3_bind_blob64(insert, 1, bytes.data(), bytes.size(), SQLITE_STATIC);
        if (sqlite3_step(insert) != SQLITE_DONE)
        {
            throw std::runtime_error(sqlite3_errmsg(database));
        }
        sqlite3_reset(insert);
    }

    void run(const char* sql)
    {
        check(sqlite3_exec(database, sql, nullptr, nullptr, nullptr));
    }

private:
    void check(int result)
    {
        if (result != SQLITE_OK)
        {
            throw std::runtime_error(sqlite3_errmsg(database));
        }
    }

    sqlite3* database = nullptr;
    sqlite3_stmt* insert = nullptr;
};

/// What the journal writes of one command.
std::string bytesOfCommand()
{
    int variable = 0;
    CommandCodecs codecs;
    addCodec(codecs, variable);
    std::string bytes;
    Json::to_cbor(codecs.encode(SetValue(variable, 100'000)), bytes);
    return bytes;
}

void compareEachCommand(const std::filesystem::path& folder)
{
    constexpr int commands = 100;
    constexpr int turns = 21;
    const std::string bytes = bytesOfCommand();
    Document document(folder / "each.journal", Durability::EachCommand);
    BareTable table(folder / "each.bare");
    Samples ours;
    Samples bare;
    for (int turn = 0; turn < turns; ++turn)
    {
        ours.push_back(nanosecondsOf([&] { document.add(commands); }));
        bare.push_back(nanosecondsOf(
            [&]
            {
                for (int i = 0; i < commands; ++i)
                {
                    table.add(bytes);
                }
            }));
    }
    document.require();
    printRow("each command on the disk", ours, bare, commands);
}

void compareLooseModes(const std::filesystem::path& folder)
{
    constexpr int commands = 20'000;
    constexpr int turns = 21;
    const std::string bytes = bytesOfCommand();
    Document document(folder / "idle.journal", Durability::WhenIdle);
    Document without(std::nullopt);
    BareTable table(folder / "idle.bare");
    Samples whole;
    Samples waited;
    Samples alone;
    Samples bare;
    for (int turn = 0; turn < turns; ++turn)
    {
        whole.push_back(nanosecondsOf(
            [&]
            {
                waited.push_back(nanosecondsOf([&] { document.add(commands); }));
                document.journal->flush();
            }));
        alone.push_back(nanosecondsOf([&] { without.add(commands); }));
        bare.push_back(nanosecondsOf(
            [&]
            {
                table.run("BEGIN");
                for (int i = 0; i < commands; ++i)
                {
                    table.add(bytes);
                }
                table.run("COMMIT");
            }));
    }
    document.require();
    printRow("when idle, until all is on the disk", whole, bare, commands);
    printRow("when idle, the thread of the user", waited, bare, commands);
    printRow("the command without a journal", alone, bare, commands);
}

void compareRecovery(const std::filesystem::path& folder)
{
    constexpr int commands = 100'000;
    constexpr int turns = 7;
    {
        Document document(folder / "recovery.journal");
        document.add(commands);
        document.journal->flush();
        document.require();
    }
    Samples recovery;
    Samples executing;
    for (int turn = 0; turn < turns; ++turn)
    {
        recovery.push_back(nanosecondsOf(
            [&]
            {
                Document document(folder / "recovery.journal");
                document.journal->recover(document.manager, "0");
                document.require();
            }));
        executing.push_back(nanosecondsOf(
            [&]
            {
                Document document(std::nullopt);
                document.add(commands);
            }));
    }
    printRow("recovery of 100,000, against executing them", recovery, executing, commands);
    std::cout << "which is " << (quantileOf(recovery, 0.5) - quantileOf(executing, 0.5)) / 1e9 << " s more\n";
}

} // namespace
} // namespace Valdane::Benchmarks

int main(int count, char** arguments)
{
    using namespace Valdane::Benchmarks;
    const std::filesystem::path folder =
        std::filesystem::path(count > 1 ? arguments[1] : ".") / "journal-in-turns-files";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::cout << bytesOfCommand().size() << " bytes for each command\n";
    compareEachCommand(folder);
    compareLooseModes(folder);
    compareRecovery(folder);
    std::filesystem::remove_all(folder);
}
